#include "core/invoke.hpp"

#include <ffi.h>
#include <fmt/format.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <utility>

#include "core/failure.hpp"
#include "core/suggest.hpp"
#include "core/texts.hpp"
#include "quorvel_client_qc_api.h"

namespace quorvel::cli {
namespace {

std::string taken(char* text)
{
    std::string copy = text == nullptr ? "" : text;
    std::free(text);
    return copy;
}

Json taken_texts(char** list, int count)
{
    Json values = Json::array();
    for (int i = 0; i < count; ++i)
        values.push_back(taken(list[i]));
    std::free(list);
    return values;
}

// What a file holds goes out as its size; its bytes belong into a file, not onto a terminal.
Json file_to_json(void* file)
{
    char* name = nullptr;
    unsigned char* data = nullptr;
    int length = 0;
    if (quorvel_client_file_get_details(file, &name, &data, &length) != QUORVEL_CLIENT_ERROR_NONE)
        return nullptr;
    Json value = Json::object();
    value["name"] = taken(name);
    value["size"] = length;
    std::string bytes;
    for (int i = 0; i < length && data != nullptr; ++i)
        bytes += fmt::format("{:02x}", data[i]);
    value["bytes"] = bytes;
    std::free(data);
    return value;
}

Json property_to_json(const Record& record, const Property& property, void* value)
{
    const auto may_be = [&](PropertyKind kind) {
        return property.kind == kind || property.kind == PropertyKind::unknown;
    };
    char* text = nullptr;
    if (may_be(PropertyKind::text) && record.get_text != nullptr
        && record.get_text(value, property.id, &text) == 0)
        return text == nullptr ? Json(nullptr) : text_or_json(taken(text).c_str());
    int number = 0;
    if (may_be(PropertyKind::integer) && record.get_integer != nullptr
        && record.get_integer(value, property.id, &number) == 0)
        return number;
    bool flag = false;
    if (may_be(PropertyKind::boolean) && record.get_boolean != nullptr
        && record.get_boolean(value, property.id, &flag) == 0)
        return flag;
    char** list = nullptr;
    int count = 0;
    if (may_be(PropertyKind::texts) && record.get_texts != nullptr
        && record.get_texts(value, property.id, &list, &count) == 0)
        return taken_texts(list, count);
    int* numbers = nullptr;
    if (may_be(PropertyKind::integers) && record.get_integers != nullptr
        && record.get_integers(value, property.id, &numbers, &count) == 0) {
        Json values(std::vector<int>(numbers, numbers + count));
        std::free(numbers);
        return values;
    }
    return nullptr;
}

Json taken_record(const Record& record, void* value)
{
    if (value == nullptr)
        return nullptr;
    Json json = record_to_json(record, value);
    record.destroy(value);
    return json;
}

Json taken_records(const Record& record, void** list, int count)
{
    Json values = Json::array();
    for (int i = 0; i < count; ++i)
        values.push_back(taken_record(record, list[i]));
    std::free(list);
    return values;
}

bool boolean_of(const Json& value, std::string_view name)
{
    const std::string text = text_of(value);
    for (const char* yes : {"true", "on", "yes", "1"})
        if (text == yes)
            return true;
    for (const char* no : {"false", "off", "no", "0"})
        if (text == no)
            return false;
    throw Failure(usage, fmt::format("'{}' is neither true nor false", text),
                  fmt::format("argument {}", name), "on, off, true or false");
}

// A record of the library's, made from a JSON object of its properties.
class Made {
public:
    Made(const Record& record, const Json& value) : record_(record)
    {
        if (record.create == nullptr || !value.is_object())
            throw Failure(usage, "a JSON object is needed", fmt::format("a record of {}", record.name),
                          "e.g. '{\""
                              + std::string(record.properties.empty() ? "" : record.properties[0].name)
                              + "\": \"…\"}'");
        // A record made by hand has no handle yet, and so nothing to release, when this throws.
        std::vector<std::pair<const Property*, const Json*>> chosen;
        for (const auto& [name, one] : value.items()) {
            const auto property = std::ranges::find(record.properties, name, &Property::name);
            if (property == record.properties.end()) {
                std::vector<std::string> names;
                for (const Property& known : record.properties)
                    names.emplace_back(known.name);
                const std::string near = nearest(name, names);
                throw Failure(usage, fmt::format("no property '{}'", name),
                              fmt::format("a record of {}", record.name),
                              near.empty() ? fmt::format("one of {}", fmt::join(names, ", "))
                                           : fmt::format("did you mean '{}'?", near));
            }
            chosen.emplace_back(&*property, &one);
        }
        if (const int code = record.create(&handle_); code != 0)
            throw code_failure(record.create_name, code);
        for (const auto& [property, one] : chosen)
            set(*property, *one);
    }
    ~Made() { record_.destroy(handle_); }
    Made(const Made&) = delete;
    Made& operator=(const Made&) = delete;
    [[nodiscard]] void* handle() const { return handle_; }

private:
    void set(const Property& property, const Json& one)
    {
        int code = 0;
        if (one.is_array() && record_.set_texts != nullptr) {
            std::vector<std::string> texts;
            for (const Json& text : one)
                texts.push_back(text_of(text));
            const std::vector<const char*> pointers = pointers_to(texts);
            code =
                record_.set_texts(handle_, property.id, pointers.data(), static_cast<int>(pointers.size()));
        } else {
            code = record_.set_text(handle_, property.id, text_of(one).c_str());
        }
        if (code != 0) {
            record_.destroy(handle_);
            throw code_failure(record_.set_text_name, code, fmt::format("the property {}", property.name));
        }
    }

    const Record& record_;
    void* handle_ = nullptr;
};

// One value on its way into a call or out of it.
union Slot {
    void* pointer;
    const char* text;
    int integer;
    bool boolean;
    long long wide;
};

ffi_type* type_of(Kind kind)
{
    switch (kind) {
        case Kind::integer:
            return &ffi_type_sint;
        case Kind::boolean:
            return &ffi_type_uint8;
        case Kind::long_integer:
            return &ffi_type_sint64;
        case Kind::client:
        case Kind::client_out:
        case Kind::text:
        case Kind::texts:
        case Kind::record:
        case Kind::records:
        case Kind::owned_texts:
        case Kind::callback:
        case Kind::user_data:
        case Kind::out_text:
        case Kind::out_texts:
        case Kind::out_integer:
        case Kind::out_boolean:
        case Kind::out_record:
        case Kind::out_records:
        case Kind::none:
            break;
    }
    return &ffi_type_pointer;
}

// The C types of a parameter list: a counted one is two of them.
std::vector<ffi_type*> types_of(std::span<const Parameter> parameters)
{
    std::vector<ffi_type*> types;
    for (const Parameter& parameter : parameters) {
        types.push_back(type_of(parameter.kind));
        if (parameter.kind == Kind::texts || parameter.kind == Kind::records
            || parameter.kind == Kind::owned_texts)
            types.push_back(&ffi_type_sint);
        else if (parameter.kind == Kind::out_texts || parameter.kind == Kind::out_records)
            types.push_back(&ffi_type_pointer);
    }
    return types;
}

Json named_number(int number, const Enumeration* enumeration)
{
    if (enumeration != nullptr)
        for (const Enumerator& one : enumeration->values)
            if (one.value == number)
                return one.name;
    return number;
}

Json callback_values(const Callback& callback, void** arguments)
{
    Json values = Json::object();
    std::size_t at = 0;
    const auto next = [&]<typename T>(T /*type*/) { return *static_cast<T*>(arguments[at++]); };
    for (const Parameter& parameter : callback.parameters) {
        const std::string name(parameter.name);
        switch (parameter.kind) {
            case Kind::text: {
                const char* text = next(static_cast<const char*>(nullptr));
                values[name] = text == nullptr ? Json(nullptr) : text_or_json(text);
                break;
            }
            case Kind::integer:
                values[name] = named_number(next(0), parameter.enumeration);
                break;
            case Kind::long_integer:
                values[name] = next(0LL);
                break;
            case Kind::boolean:
                values[name] = next(static_cast<unsigned char>(0)) != 0;
                break;
            case Kind::record:
                values[name] = taken_record(*parameter.record, next(static_cast<void*>(nullptr)));
                break;
            case Kind::records: {
                void** list = next(static_cast<void**>(nullptr));
                values[name] = taken_records(*parameter.record, list, next(0));
                break;
            }
            case Kind::owned_texts: {
                char** list = next(static_cast<char**>(nullptr));
                values[name] = taken_texts(list, next(0));
                break;
            }
            case Kind::client:
            case Kind::client_out:
            case Kind::texts:
            case Kind::callback:
            case Kind::user_data:
            case Kind::out_text:
            case Kind::out_texts:
            case Kind::out_integer:
            case Kind::out_boolean:
            case Kind::out_record:
            case Kind::out_records:
            case Kind::none:
                ++at;
                break;
        }
    }
    return values;
}

}  // namespace

Json text_or_json(const char* text)
{
    const char* first = text + std::strspn(text, " \t\r\n");
    if (*first != '{' && *first != '[')
        return text;
    Json value = Json::parse(first, nullptr, false);
    return value.is_discarded() ? Json(text) : value;
}

std::string text_of(const Json& value)
{
    return value.is_string() ? value.get<std::string>() : value.dump();
}

Json record_to_json(const Record& record, void* value)
{
    if (record.name == "quorvel_client_file_h")
        return file_to_json(value);
    Json json = Json::object();
    for (const Property& property : record.properties)
        json[std::string(property.name)] = property_to_json(record, property, value);
    return json;
}

int number_of(const Json& value, const Parameter& parameter)
{
    const std::string text = text_of(value);
    char* end = nullptr;
    errno = 0;
    const long number = std::strtol(text.c_str(), &end, 0);
    if (!text.empty() && *end == '\0' && errno == 0 && number >= INT_MIN && number <= INT_MAX)
        return static_cast<int>(number);
    std::vector<std::string> names;
    if (parameter.enumeration != nullptr)
        for (const Enumerator& one : parameter.enumeration->values) {
            if (text == one.name || text == one.constant)
                return one.value;
            names.emplace_back(one.name);
        }
    const std::string near = nearest(text, names);
    throw Failure(
        usage, fmt::format("'{}' is not a number{}", text, names.empty() ? "" : " and not one of the names"),
        fmt::format("argument {}", parameter.name),
        !near.empty()    ? fmt::format("did you mean '{}'?", near)
        : !names.empty() ? fmt::format("one of {}", fmt::join(names, ", "))
                         : "a whole number");
}

// A callback of the library's, with a C function of its own.
class Invocation::Calls {
public:
    Calls(const Parameter& parameter, const Sink& sink)
        : parameter_(parameter), sink_(sink), types_(types_of(parameter.callback->parameters))
    {
        closure_ = static_cast<ffi_closure*>(ffi_closure_alloc(sizeof(ffi_closure), &code_));
        if (closure_ == nullptr
            || ffi_prep_cif(&interface_, FFI_DEFAULT_ABI, static_cast<unsigned>(types_.size()),
                            &ffi_type_void, types_.data())
                   != FFI_OK
            || ffi_prep_closure_loc(closure_, &interface_, &Calls::run, this, code_) != FFI_OK)
            throw std::runtime_error("a callback cannot be made");
    }
    ~Calls() { ffi_closure_free(closure_); }
    Calls(const Calls&) = delete;
    Calls& operator=(const Calls&) = delete;
    [[nodiscard]] void* code() const { return code_; }

private:
    static void run(ffi_cif* /*interface*/, void* /*result*/, void** arguments, void* self)
    {
        // Nothing that is thrown may pass through the library.
        try {
            auto* calls = static_cast<Calls*>(self);
            calls->sink_(calls->parameter_.name, callback_values(*calls->parameter_.callback, arguments));
        } catch (const std::exception& error) {
            fmt::print(stderr, "qvctl: {}\n", error.what());
            std::_Exit(bug);
        }
    }

    const Parameter& parameter_;
    const Sink& sink_;
    std::vector<ffi_type*> types_;
    ffi_cif interface_{};
    ffi_closure* closure_ = nullptr;
    void* code_ = nullptr;
};

Invocation::Invocation(Session& session, const Function& function, Sink sink)
    : session_(session), function_(function), sink_(std::move(sink))
{
}

Invocation::~Invocation() = default;

bool Invocation::takes(const Parameter& parameter)
{
    return parameter.kind == Kind::text || parameter.kind == Kind::texts || parameter.kind == Kind::integer
           || parameter.kind == Kind::boolean || parameter.kind == Kind::record;
}

bool Invocation::streams(const Function& function)
{
    const auto has = [&](std::string_view part) {
        return function.name.find(part) != std::string_view::npos;
    };
    return (has("_set_") && (function.name.ends_with("_cb") || has("_sse_cb")))
           || function.name.ends_with("_subscribe") || has("start_monitoring") || has("easy_setup_start")
           || has("monitoring_enrollee");
}

Json Invocation::call(const Arguments& arguments)
{
    void* client = session_.connect();
    std::deque<std::string> texts;
    std::deque<std::vector<const char*>> lists;
    std::deque<Made> made;
    std::deque<Slot> slots, outs;
    std::vector<void*> values;
    const auto pass = [&](Slot slot) { values.push_back(&slots.emplace_back(slot)); };
    const auto out = [&](Slot begin) -> Slot& {
        Slot& place = outs.emplace_back(begin);
        pass({.pointer = &place});
        return place;
    };
    // How each thing that is handed out becomes JSON, once the call has succeeded.
    std::vector<std::pair<std::string, std::function<Json()>>> results;

    for (const Parameter& parameter : function_.parameters) {
        const auto given = arguments.find(parameter.name);
        const Json value = given == arguments.end() ? Json(nullptr) : given->second;
        const std::string name(parameter.name);
        switch (parameter.kind) {
            case Kind::client:
                pass({.pointer = client});
                break;
            case Kind::text:
                pass({.text = value.is_null() ? nullptr : texts.emplace_back(text_of(value)).c_str()});
                break;
            case Kind::texts: {
                auto& list = lists.emplace_back();
                for (const Json& one : value)
                    list.push_back(texts.emplace_back(text_of(one)).c_str());
                pass({.pointer = list.data()});
                pass({.integer = static_cast<int>(list.size())});
                break;
            }
            case Kind::integer:
                pass({.integer = value.is_null() ? 0 : number_of(value, parameter)});
                break;
            case Kind::boolean:
                pass({.boolean = !value.is_null() && boolean_of(value, parameter.name)});
                break;
            case Kind::record:
                pass({.pointer = made.emplace_back(*parameter.record, value).handle()});
                break;
            case Kind::callback:
                pass({.pointer = calls_.emplace_back(std::make_unique<Calls>(parameter, sink_))->code()});
                break;
            case Kind::out_text: {
                Slot& place = out({.pointer = nullptr});
                results.emplace_back(name, [&place] {
                    auto* text = static_cast<char*>(place.pointer);
                    return text == nullptr ? Json(nullptr) : text_or_json(taken(text).c_str());
                });
                break;
            }
            case Kind::out_integer: {
                Slot& place = out({.integer = 0});
                results.emplace_back(name, [&place] { return Json(place.integer); });
                break;
            }
            case Kind::out_boolean: {
                Slot& place = out({.boolean = false});
                results.emplace_back(name, [&place] { return Json(place.boolean); });
                break;
            }
            case Kind::out_record: {
                Slot& place = out({.pointer = nullptr});
                results.emplace_back(
                    name, [&place, &parameter] { return taken_record(*parameter.record, place.pointer); });
                break;
            }
            case Kind::out_texts: {
                Slot& list = out({.pointer = nullptr});
                Slot& count = out({.integer = 0});
                results.emplace_back(
                    name, [&] { return taken_texts(static_cast<char**>(list.pointer), count.integer); });
                break;
            }
            case Kind::out_records: {
                Slot& list = out({.pointer = nullptr});
                Slot& count = out({.integer = 0});
                results.emplace_back(name, [&] {
                    return taken_records(*parameter.record, static_cast<void**>(list.pointer), count.integer);
                });
                break;
            }
            case Kind::user_data:
                pass({.pointer = nullptr});
                break;
            case Kind::client_out:
            case Kind::long_integer:
            case Kind::records:
            case Kind::owned_texts:
            case Kind::none:
                throw Failure(usage, fmt::format("{} cannot be called by hand", function_.name),
                              fmt::format("its parameter {} is a {}", parameter.name, parameter.type),
                              "qvctl api list shows which can");
        }
    }

    std::vector<ffi_type*> types = types_of(function_.parameters);
    ffi_cif interface {
    };
    if (ffi_prep_cif(&interface, FFI_DEFAULT_ABI, static_cast<unsigned>(types.size()), &ffi_type_sint,
                     types.data())
        != FFI_OK)
        throw std::runtime_error("the call cannot be made");
    ffi_arg returned = 0;
    ffi_call(&interface, function_.address, &returned, values.data());
    const int code = static_cast<int>(returned);
    if (code != QUORVEL_CLIENT_ERROR_NONE) {
        // The reference agent says more in the text that comes with a code.
        std::string detail;
        for (auto& [name, result] : results)
            if (const Json value = result(); value.is_object() && value.contains("error"))
                detail = value["error"].value("message", "");
        // The disconnected event, if there is one, comes with the loop.
        session_.wait([] { return false; }, std::chrono::milliseconds(1));
        Failure failure = code_failure(function_.name, code, detail);
        if (session_.lost() && failure.status == failed) {
            failure.status = lost;
            failure.why += "; the connection is gone";
        }
        throw Failure{std::move(failure)};
    }
    if (results.empty())
        return nullptr;
    if (results.size() == 1)
        return results[0].second();
    Json object = Json::object();
    for (auto& [name, result] : results)
        object[name] = result();
    return object;
}

}  // namespace quorvel::cli
