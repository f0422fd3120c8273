#include "core/raw.hpp"

#include <bundle.h>
#include <fmt/format.h>
#include <rpc-port.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <memory>

#include "catalogue/qv_client_catalogue.hpp"
#include "core/failure.hpp"
#include "core/invoke.hpp"
#include "core/output.hpp"
#include "core/suggest.hpp"
#include "core/texts.hpp"

namespace quorvel::cli {
namespace {

using catalogue::Method;
using catalogue::qv_client;
using Wire = catalogue::Kind;
using WireType = catalogue::Type;

const Method& method_named(const std::string& name)
{
    int id = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), id);
    const bool is_number = error == std::errc() && end == name.data() + name.size();
    if (const Method* method = is_number ? qv_client.method(id) : qv_client.method(name))
        return *method;
    std::vector<std::string> names;
    for (const Method& method : qv_client.methods)
        names.emplace_back(method.name);
    const std::string near = nearest(name, names);
    throw Failure(usage, fmt::format("there is no method '{}'", name),
                  fmt::format("{} methods of the interface {}", names.size(), qv_client.name),
                  near.empty() ? "qvctl raw lists them" : fmt::format("did you mean '{}'?", near));
}

// The user's words as the method's values, by name; a callback needs none.
Json values_of_words(const Method& method, const std::vector<std::string>& words)
{
    Json values = Json::object();
    std::size_t at = 0;
    std::string wanted;
    for (const catalogue::Parameter& parameter : method.ins) {
        const std::string name(parameter.name);
        if (parameter.type.kind == Wire::delegate) {
            values[name] = fmt::format("{}#1", parameter.type.delegate->name);
            continue;
        }
        wanted += fmt::format(" {}", name);
        if (at >= words.size())
            throw Failure(usage, fmt::format("the argument {} is missing", name),
                          fmt::format("method {} {}", method.id, method.name),
                          fmt::format("qvctl raw {}{}", method.name, wanted));
        const std::string& word = words[at++];
        values[name] = parameter.type.kind == Wire::text ? Json(word) : Json::parse(word, nullptr, false);
        if (values[name].is_discarded())
            throw Failure(usage, fmt::format("'{}' is not JSON", word),
                          fmt::format("{} is a {}", name, parameter.type.name),
                          "numbers, true, [..] and {..} as JSON");
    }
    if (at < words.size())
        throw Failure(usage, fmt::format("'{}' is one argument too many", words[at]),
                      fmt::format("method {} {}", method.id, method.name),
                      fmt::format("qvctl raw {}{}", method.name, wanted));
    return values;
}

void write_bundle(rpc_port_parcel_h parcel, const Json& value)
{
    const std::unique_ptr<bundle, int (*)(bundle*)> made(bundle_create(), bundle_free);
    for (const auto& [key, one] : value.items()) {
        if (!one.is_array()) {
            bundle_add_str(made.get(), key.c_str(), text_of(one).c_str());
            continue;
        }
        std::vector<std::string> texts;
        for (const Json& text : one)
            texts.push_back(text_of(text));
        std::vector<const char*> pointers = pointers_to(texts);
        bundle_add_str_array(made.get(), key.c_str(), pointers.data(), static_cast<int>(pointers.size()));
    }
    rpc_port_parcel_write_bundle(parcel, made.get());
}

void write(rpc_port_parcel_h parcel, const WireType& type, const Json& value)
{
    const auto number = [&] { return value.is_number() ? value.get<long long>() : 0LL; };
    switch (type.kind) {
        case Wire::text:
            rpc_port_parcel_write_string(parcel, text_of(value).c_str());
            break;
        case Wire::number:
            rpc_port_parcel_write_int32(parcel, static_cast<int>(number()));
            break;
        case Wire::long_number:
            rpc_port_parcel_write_int64(parcel, number());
            break;
        case Wire::flag:
            rpc_port_parcel_write_bool(parcel, value == Json(true));
            break;
        case Wire::bundle:
            write_bundle(parcel, value);
            break;
        case Wire::text_list:
            rpc_port_parcel_write_array_count(parcel, static_cast<int>(value.size()));
            for (const Json& one : value)
                rpc_port_parcel_write_string(parcel, text_of(one).c_str());
            break;
        case Wire::record:
            for (const catalogue::Field& field : type.record->fields)
                write(parcel, field.type, at_path(value, field.name));
            break;
        case Wire::array:
            rpc_port_parcel_write_array_count(parcel, static_cast<int>(value.size()));
            for (const Json& one : value)
                write(parcel, type.array->element, one);
            break;
        case Wire::delegate:
            rpc_port_parcel_write_int32(parcel, type.delegate->id);
            rpc_port_parcel_write_int32(parcel, 1);
            rpc_port_parcel_write_bool(parcel, type.delegate->is_once);
            break;
    }
}

Json read(rpc_port_parcel_h parcel, const WireType& type)
{
    switch (type.kind) {
        case Wire::text: {
            char* text = nullptr;
            rpc_port_parcel_read_string(parcel, &text);
            const std::string copy = text == nullptr ? "" : text;
            std::free(text);
            return copy;
        }
        case Wire::number: {
            int number = 0;
            rpc_port_parcel_read_int32(parcel, &number);
            return number;
        }
        case Wire::long_number: {
            long long number = 0;
            rpc_port_parcel_read_int64(parcel, &number);
            return number;
        }
        case Wire::flag: {
            bool flag = false;
            rpc_port_parcel_read_bool(parcel, &flag);
            return flag;
        }
        case Wire::bundle: {
            bundle* read = nullptr;
            rpc_port_parcel_read_bundle(parcel, &read);
            const int count = read == nullptr ? 0 : bundle_get_count(read);
            bundle_free(read);
            return {{"entries", count}};
        }
        case Wire::record: {
            Json value = Json::object();
            for (const catalogue::Field& field : type.record->fields)
                value[std::string(field.name)] = read(parcel, field.type);
            return value;
        }
        case Wire::text_list:
        case Wire::array: {
            constexpr WireType text{Wire::text, "string"};
            const WireType& element = type.kind == Wire::array ? type.array->element : text;
            int count = 0;
            rpc_port_parcel_read_array_count(parcel, &count);
            Json values = Json::array();
            for (int i = 0; i < count; ++i)
                values.push_back(read(parcel, element));
            return values;
        }
        case Wire::delegate:
            break;
    }
    return nullptr;
}

Json read_callback(rpc_port_parcel_h parcel)
{
    int command = -1;
    int id = -1;
    int number = -1;
    bool once = false;
    rpc_port_parcel_read_int32(parcel, &command);
    rpc_port_parcel_read_int32(parcel, &id);
    rpc_port_parcel_read_int32(parcel, &number);
    rpc_port_parcel_read_bool(parcel, &once);
    Json callback{{"callback", id}, {"number", number}, {"once", once}};
    if (command != 1)
        callback["command"] = command;
    if (const catalogue::Delegate* delegate = qv_client.delegate(id)) {
        callback["callback"] = std::string(delegate->name);
        for (const catalogue::Parameter& parameter : delegate->parameters)
            callback["values"][std::string(parameter.name)] = read(parcel, parameter.type);
    }
    return callback;
}

// A connection of our own, beside the library.
struct Port {
    rpc_port_proxy_h proxy = nullptr;
    rpc_port_h main = nullptr;
    bool over = false;
    Json callbacks = Json::array();

    ~Port()
    {
        if (proxy != nullptr)
            rpc_port_proxy_destroy(proxy);
    }
    static void connected(const char* /*endpoint*/, const char* /*name*/, rpc_port_h port, void* self)
    {
        static_cast<Port*>(self)->main = port;
    }
    static void gone(const char* /*endpoint*/, const char* /*name*/, void* self)
    {
        static_cast<Port*>(self)->over = true;
    }
    static void called_back(const char* /*endpoint*/, const char* /*name*/, void* self)
    {
        auto& port = *static_cast<Port*>(self);
        rpc_port_h from = nullptr;
        rpc_port_parcel_h parcel = nullptr;
        if (rpc_port_proxy_get_port(port.proxy, RPC_PORT_PORT_CALLBACK, &from) != 0
            || rpc_port_parcel_create_from_port(&parcel, from) != 0 || parcel == nullptr)
            return;
        const std::unique_ptr<void, int (*)(void*)> owner(parcel, rpc_port_parcel_destroy);
        port.callbacks.push_back(read_callback(parcel));
    }
};

// The delegate among what a method takes, or none.
const catalogue::Delegate* delegate_of(const Method& method)
{
    for (const catalogue::Parameter& parameter : method.ins)
        if (parameter.type.kind == Wire::delegate)
            return parameter.type.delegate;
    return nullptr;
}

}  // namespace

std::vector<std::string> methods_of(std::string_view function)
{
    std::vector<std::string> found;
    for (const Method& method : qv_client.methods)
        if (std::ranges::find(method.users, function) != method.users.end())
            found.push_back(fmt::format("{} {}", method.id, method.name));
    return found;
}

Json raw_request(const std::string& name, const std::vector<std::string>& arguments)
{
    if (name.empty()) {
        Json all = Json::array();
        for (const Method& method : qv_client.methods) {
            Json ins = Json::array();
            for (const catalogue::Parameter& parameter : method.ins)
                ins.push_back(fmt::format("{}:{}", parameter.name, parameter.type.name));
            all.push_back(
                {{"id", method.id}, {"method", method.name}, {"family", method.family}, {"arguments", ins}});
        }
        return all;
    }
    const Method& method = method_named(name);
    return {{"id", method.id}, {"method", method.name}, {"values", values_of_words(method, arguments)}};
}

Json raw_call(Session& session, const std::string& name, const std::vector<std::string>& arguments, int limit,
              bool listens)
{
    const Method& method = method_named(name);
    const Json values = values_of_words(method, arguments);
    session.prepare();
    Port port;
    if (rpc_port_proxy_create(&port.proxy) != 0)
        throw std::runtime_error("no proxy can be made");
    rpc_port_proxy_add_connected_event_cb(port.proxy, Port::connected, &port);
    rpc_port_proxy_add_disconnected_event_cb(port.proxy, Port::gone, &port);
    rpc_port_proxy_add_rejected_event_cb(port.proxy, Port::gone, &port);
    rpc_port_proxy_add_received_event_cb(port.proxy, Port::called_back, &port);
    if (rpc_port_proxy_connect(port.proxy, agent_id, "qv_client") != 0)
        throw Failure(no_agent, "the agent cannot be reached", "the port qv_client", "qvctl doctor");
    session.wait([&] { return port.main != nullptr || port.over; }, session.timeout());
    if (port.main == nullptr)
        throw Failure(no_agent, "the agent cannot be reached", "rejected, or no word in time",
                      "qvctl doctor");
    rpc_port_parcel_h request = nullptr;
    rpc_port_parcel_create(&request);
    rpc_port_parcel_write_int32(request, method.id);
    for (const catalogue::Parameter& parameter : method.ins)
        write(request, parameter.type, values[std::string(parameter.name)]);
    const int sent = rpc_port_parcel_send(request, port.main);
    rpc_port_parcel_destroy(request);
    rpc_port_parcel_h answer = nullptr;
    if (sent != 0 || rpc_port_parcel_create_from_port(&answer, port.main) != 0 || answer == nullptr)
        throw Failure(lost, "no answer came", fmt::format("method {} {}", method.id, method.name),
                      "qvctl agent log");
    const std::unique_ptr<void, int (*)(void*)> owner(answer, rpc_port_parcel_destroy);
    int command = -1;
    rpc_port_parcel_read_int32(answer, &command);
    if (command != 0)
        throw Failure(failed, fmt::format("the answer opens with {}, not with 0", command),
                      fmt::format("method {} {}", method.id, method.name), "qvctl agent log");
    Json result = Json::object();
    for (const catalogue::Parameter& parameter : method.outs)
        result[std::string(parameter.name)] = read(answer, parameter.type);
    // After the first value that is missing no other can be read, so the last one speaks for all of them.
    bool flag = false;
    int number = 0;
    if ((method.returns == Wire::flag ? rpc_port_parcel_read_bool(answer, &flag)
                                      : rpc_port_parcel_read_int32(answer, &number))
        != 0)
        throw Failure(failed, "the answer ends before its time",
                      fmt::format("method {} {}: {}", method.id, method.name, result.dump()),
                      "qvctl agent log");
    result["returned"] = method.returns == Wire::flag ? Json(flag) : Json(number);
    const catalogue::Delegate* delegate = delegate_of(method);
    if (delegate == nullptr || result["returned"] != Json(0))
        return result;
    // An outcome comes once; what was registered for comes as often as the user waits for.
    const std::size_t wanted = limit > 0 ? static_cast<std::size_t>(limit) : delegate->is_once ? 1 : 0;
    const auto time = wanted > 0 || listens ? session.timeout() : std::chrono::milliseconds(1);
    const auto end =
        session.wait([&] { return (wanted > 0 && port.callbacks.size() >= wanted) || port.over; }, time);
    result["callbacks"] = port.callbacks;
    if (port.over || end == Session::End::lost)
        throw Failure(lost, "the connection to the agent was lost",
                      fmt::format("method {} {}: waiting for {}", method.id, method.name, delegate->name),
                      "qvctl agent log");
    if (port.callbacks.size() < wanted)
        throw Failure(
            timed_out, "no callback in time",
            fmt::format("method {} {}: answered, but {} of {} {} came within {} ms", method.id, method.name,
                        port.callbacks.size(), wanted, delegate->name, session.timeout().count()),
            "give it more time with --timeout 30s");
    return result;
}

}  // namespace quorvel::cli
