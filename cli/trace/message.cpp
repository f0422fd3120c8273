#include "trace/message.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <set>

#include "catalogue/qv_client_catalogue.hpp"

namespace quorvel::cli::trace {
namespace {

using catalogue::Kind;
using catalogue::Parameter;
using catalogue::qv_client;
using catalogue::Type;

constexpr std::string_view mask = "***";

struct Malformed {
    std::size_t offset;
    std::string expected;
    std::string found;
};

class Cursor {
public:
    explicit Cursor(std::string_view bytes) : bytes_(bytes) {}

    [[nodiscard]] std::size_t at() const { return at_; }
    [[nodiscard]] std::size_t left() const { return bytes_.size() - at_; }

    template <typename Integer>
    Integer number(const char* what)
    {
        need(sizeof(Integer), what);
        at_ += sizeof(Integer);
        return number_at<Integer>(bytes_, at_ - sizeof(Integer));
    }

    bool flag()
    {
        need(1, "a bool");
        return bytes_[at_++] != '\0';
    }

    // How many things follow, none of which can be smaller than this.
    std::size_t count(std::size_t smallest, const char* what)
    {
        const std::size_t begin = at_;
        const auto value = number<std::int32_t>(what);
        if (value < 0 || static_cast<std::size_t>(value) > left() / smallest)
            throw Malformed{begin, fmt::format("{}, 0 to {}", what, left() / smallest),
                            std::to_string(value)};
        return static_cast<std::size_t>(value);
    }

    std::string_view bytes(std::size_t size, const char* what)
    {
        need(size, what);
        at_ += size;
        return bytes_.substr(at_ - size, size);
    }

    std::string text()
    {
        const std::size_t begin = at_;
        const auto length = number<std::int32_t>("the length of a string");
        if (length < 1 || static_cast<std::size_t>(length) > left())
            throw Malformed{begin, fmt::format("the length of a string, 1 to {}", left()),
                            std::to_string(length)};
        const std::string_view all = bytes(static_cast<std::size_t>(length), "a string");
        if (all.find('\0') != all.size() - 1)
            throw Malformed{begin + 4, "a string with one NUL, at its end", "another one, or none"};
        return std::string(all.substr(0, all.size() - 1));
    }

private:
    void need(std::size_t size, const char* what) const
    {
        if (left() < size)
            throw Malformed{at_, what, left() == 0 ? "the end" : fmt::format("{} bytes", left())};
    }

    std::string_view bytes_;
    std::size_t at_ = 0;
};

// JSON objects look for a member's name one by one, which many members of a hostile trace would make slow.
void append(Json& object, std::string key, Json value)
{
    auto& members = object.get_ref<Json::object_t&>();
    static_cast<Json::object_t::Container&>(members).emplace_back(std::move(key), std::move(value));
}

Json decode_bundle(Cursor& cursor)
{
    const auto size = static_cast<std::size_t>(cursor.count(1, "the size of a bundle"));
    const std::size_t end = cursor.at() + size;
    constexpr std::size_t smallest_entry = 4 + (4 + 1) + 4;
    const std::size_t count = cursor.count(smallest_entry, "the number of a bundle's entries");
    Json entries = Json::object();
    std::set<std::string> keys;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t begin = cursor.at();
        const auto kind = cursor.number<std::int32_t>("a kind of bundle entry");
        if (kind < 1 || kind > 3)
            throw Malformed{begin, "a kind of bundle entry, 1 to 3", std::to_string(kind)};
        std::string key = cursor.text();
        if (!keys.insert(key).second)
            throw Malformed{begin + 4, "another key in a bundle", fmt::format("'{}' again", key)};
        Json value;
        if (kind == 1) {
            value = cursor.text();
        } else if (kind == 2) {
            value = Json::array();
            for (std::size_t left = cursor.count(5, "the number of strings"); left > 0; --left)
                value.push_back(cursor.text());
        } else {
            const std::string_view bytes = cursor.bytes(cursor.count(1, "a number of bytes"), "bytes");
            value = Json::binary({bytes.begin(), bytes.end()});
        }
        append(entries, std::move(key), std::move(value));
    }
    if (cursor.at() != end)
        throw Malformed{cursor.at(), fmt::format("the end of a bundle at {}", end),
                        cursor.at() < end ? "more of it" : "its last entry"};
    return entries;
}

Json decode(Cursor& cursor, const Type& type)
{
    switch (type.kind) {
        case Kind::text:
            return cursor.text();
        case Kind::number:
            return cursor.number<std::int32_t>("an int32");
        case Kind::long_number:
            return cursor.number<std::int64_t>("an int64");
        case Kind::flag:
            return cursor.flag();
        case Kind::bundle:
            return decode_bundle(cursor);
        case Kind::record: {
            Json value = Json::object();
            for (const catalogue::Field& field : type.record->fields)
                value[std::string(field.name)] = decode(cursor, field.type);
            return value;
        }
        case Kind::text_list:
        case Kind::array: {
            constexpr Type text{Kind::text, "string"};
            const Type& element = type.kind == Kind::array ? type.array->element : text;
            Json values = Json::array();
            for (std::size_t left = cursor.count(4, "the number of elements"); left > 0; --left)
                values.push_back(decode(cursor, element));
            return values;
        }
        case Kind::delegate: {
            const std::size_t begin = cursor.at();
            const auto id = cursor.number<std::int32_t>("the number of a delegate");
            if (id != type.delegate->id)
                throw Malformed{begin, fmt::format("delegate {} {}", type.delegate->id, type.delegate->name),
                                std::to_string(id)};
            Json value{{"delegate", type.delegate->name}};
            value["sequence"] = cursor.number<std::int32_t>("the sequence number of a delegate");
            value["once"] = cursor.flag();
            return value;
        }
    }
    return nullptr;
}

void put_text(std::string& to, std::string_view text)
{
    put(to, static_cast<std::int32_t>(text.size() + 1));
    to += text;
    to += '\0';
}

std::string_view text_in(const Json& value)
{
    return value.is_string() ? std::string_view(value.get_ref<const std::string&>()) : std::string_view();
}

void encode_bundle(std::string& to, const Json& value)
{
    std::string entries;
    put(entries, static_cast<std::int32_t>(value.size()));
    for (const auto& [key, one] : value.items()) {
        put<std::int32_t>(entries, one.is_binary() ? 3 : one.is_array() ? 2 : 1);
        put_text(entries, key);
        if (one.is_binary()) {
            const auto& bytes = one.get_binary();
            put(entries, static_cast<std::int32_t>(bytes.size()));
            entries.append(bytes.begin(), bytes.end());
        } else if (one.is_array()) {
            put(entries, static_cast<std::int32_t>(one.size()));
            for (const Json& text : one)
                put_text(entries, text_in(text));
        } else {
            put_text(entries, text_in(one));
        }
    }
    put(to, static_cast<std::int32_t>(entries.size()));
    to += entries;
}

// Reads values one after the other; what was read before a mistake stays.
template <typename Read>
void reading(Message& message, Cursor& cursor, const Read& read)
{
    try {
        read();
        message.read = cursor.at();
        if (cursor.left() != 0)
            message.problem =
                fmt::format("offset {}: expected the end, found {} bytes more", cursor.at(), cursor.left());
    } catch (const Malformed& malformed) {
        message.problem = fmt::format("offset {}: expected {}, found {}", malformed.offset,
                                      malformed.expected, malformed.found);
    }
}

void read_values(Message& message, Cursor& cursor, std::span<const Parameter> parameters)
{
    for (const Parameter& parameter : parameters) {
        message.values.push_back(
            {parameter.name, parameter.type, parameter.is_secret, decode(cursor, parameter.type)});
        message.read = cursor.at();
    }
}

Type returned_type(const catalogue::Method& method)
{
    return {method.returns, method.returns == Kind::flag ? "bool" : "int32"};
}

// "Login-ID" and "loginId" are the same name.
std::string plain(std::string_view name)
{
    std::string letters;
    for (const char c : name)
        if (std::isalnum(static_cast<unsigned char>(c)) != 0)
            letters += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return letters;
}

bool names_a_secret(std::string_view name)
{
    static constexpr std::array parts{"token",      "password",   "passwd",   "passphrase", "secret",
                                      "credential", "login",      "email",    "latitude",   "longitude",
                                      "coordinate", "accesscode", "authcode", "apikey",     "registrationid"};
    static constexpr std::array whole{"pin", "pincode", "pinnumber", "randompin", "lat",
                                      "lon", "lng",     "pwd",       "wifikey"};
    const std::string key = plain(name);
    return std::ranges::any_of(parts, [&](const char* part) { return key.find(part) != std::string::npos; })
           || std::ranges::find(whole, key) != whole.end();
}

// The value of a parameter of a URL that names a secret.
void mask_url(std::string& text)
{
    for (std::size_t at = text.find('?'); at != std::string::npos; at = text.find('&', at + 1)) {
        const std::size_t equals = text.find('=', at);
        if (equals == std::string::npos)
            return;
        if (!names_a_secret(std::string_view(text).substr(at + 1, equals - at - 1)))
            continue;
        const std::size_t end = std::min(text.find_first_of("&#", equals), text.size());
        text.replace(equals + 1, end - equals - 1, mask);
    }
}

void mask_json(Json& value, bool secret)
{
    if (value.is_object()) {
        for (auto& [key, one] : value.items())
            mask_json(one, secret || names_a_secret(key));
    } else if (value.is_array()) {
        for (Json& one : value)
            mask_json(one, secret);
    } else if (value.is_string()) {
        std::string text = value.get<std::string>();
        if (secret && !text.empty()) {
            text = mask;
        } else if (Json inner = json_in(text); inner.is_structured()) {
            const Json before = inner;
            mask_json(inner, false);
            if (inner != before)
                text = inner.dump(-1, ' ', false, Json::error_handler_t::replace);
        } else if (text.find("://") != std::string::npos) {
            mask_url(text);
        }
        value = text;
    } else if (secret && value.is_number()) {
        value = 0;
    } else if (secret && value.is_binary() && !value.get_binary().empty()) {
        value = Json::binary({'*', '*', '*'});
    }
}

Json masked_value(const Value& value)
{
    // Numbers of delegates, counts and codes are no secrets, whatever they count.
    const bool may_be_secret = value.type.kind != Kind::delegate && value.type.kind != Kind::number
                               && value.type.kind != Kind::flag && value.type.kind != Kind::long_number;
    return may_be_secret ? masked(value.name, value.is_secret, value.json) : value.json;
}

}  // namespace

const Value* Message::value(std::string_view name) const
{
    const auto found = std::ranges::find(values, name, &Value::name);
    return found == values.end() ? nullptr : &*found;
}

int Message::code() const
{
    const Value* returned = value("returned");
    return returned != nullptr && returned->json.is_number() ? returned->json.get<int>() : 0;
}

Message read_request(std::string_view bytes)
{
    Message message;
    message.part = Part::request;
    message.size = bytes.size();
    Cursor cursor(bytes);
    reading(message, cursor, [&] {
        message.command = cursor.number<std::int32_t>("the number of a method");
        message.read = cursor.at();
        message.method = qv_client.method(message.command);
        if (message.method == nullptr)
            throw Malformed{0, "the number of a method", std::to_string(message.command)};
        read_values(message, cursor, message.method->ins);
    });
    return message;
}

Message read_answer(std::string_view bytes, const catalogue::Method* method)
{
    Message message;
    message.part = Part::answer;
    message.size = bytes.size();
    message.method = method;
    Cursor cursor(bytes);
    reading(message, cursor, [&] {
        message.command = cursor.number<std::int32_t>("0, which opens an answer");
        message.read = cursor.at();
        if (message.command != 0)
            throw Malformed{0, "0, which opens an answer", std::to_string(message.command)};
        if (method == nullptr)
            throw Malformed{4, "a call that it answers", "none"};
        read_values(message, cursor, method->outs);
        const Type type = returned_type(*method);
        message.values.push_back({"returned", type, false, decode(cursor, type)});
        message.read = cursor.at();
    });
    return message;
}

Message read_callback(std::string_view bytes)
{
    Message message;
    message.part = Part::callback;
    message.size = bytes.size();
    Cursor cursor(bytes);
    reading(message, cursor, [&] {
        message.command = cursor.number<std::int32_t>("1, which opens a callback");
        message.read = cursor.at();
        if (message.command != 1)
            throw Malformed{0, "1, which opens a callback", std::to_string(message.command)};
        message.delegate_id = cursor.number<std::int32_t>("the number of a delegate");
        message.sequence = cursor.number<std::int32_t>("the sequence number of a delegate");
        message.once = cursor.flag();
        message.read = cursor.at();
        message.delegate = qv_client.delegate(message.delegate_id);
        if (message.delegate == nullptr)
            throw Malformed{4, "the number of a delegate", std::to_string(message.delegate_id)};
        read_values(message, cursor, message.delegate->parameters);
    });
    return message;
}

void encode(std::string& to, const Type& type, const Json& value)
{
    const auto number = [&] { return value.is_number() ? value.get<std::int64_t>() : 0; };
    switch (type.kind) {
        case Kind::text:
            put_text(to, text_in(value));
            break;
        case Kind::number:
            put(to, static_cast<std::int32_t>(number()));
            break;
        case Kind::long_number:
            put(to, number());
            break;
        case Kind::flag:
            to += static_cast<char>(value == Json(true));
            break;
        case Kind::bundle:
            encode_bundle(to, value);
            break;
        case Kind::record:
            for (const catalogue::Field& field : type.record->fields)
                encode(to, field.type,
                       value.is_object() ? value.value(std::string(field.name), Json()) : Json());
            break;
        case Kind::text_list:
        case Kind::array: {
            constexpr Type text{Kind::text, "string"};
            put(to, static_cast<std::int32_t>(value.size()));
            for (const Json& one : value)
                encode(to, type.kind == Kind::array ? type.array->element : text, one);
            break;
        }
        case Kind::delegate:
            put(to, static_cast<std::int32_t>(type.delegate->id));
            put(to, value.is_object() ? value.value("sequence", 0) : 0);
            to += static_cast<char>(value.is_object() && value.value("once", false));
            break;
    }
}

std::string write_message(const Message& message)
{
    std::string bytes;
    if (message.read >= 4)
        put(bytes, static_cast<std::int32_t>(message.command));
    if (message.part == Part::callback && message.read >= 13) {
        put(bytes, static_cast<std::int32_t>(message.delegate_id));
        put(bytes, static_cast<std::int32_t>(message.sequence));
        bytes += static_cast<char>(message.once);
    }
    for (const Value& value : message.values)
        encode(bytes, value.type, value.json);
    return bytes.append(message.size - message.read, '*');
}

std::string empty_answer(const catalogue::Method& method, int code)
{
    std::string bytes;
    put(bytes, std::int32_t{0});
    for (const Parameter& parameter : method.outs)
        encode(bytes, parameter.type, nullptr);
    encode(bytes, returned_type(method), method.returns == Kind::flag ? Json(code == 0) : Json(code));
    return bytes;
}

Message masked(Message message)
{
    for (Value& value : message.values)
        value.json = masked_value(value);
    return message;
}

Json masked(std::string_view name, bool secret, Json value)
{
    mask_json(value, secret || names_a_secret(name));
    return value;
}

std::vector<std::string> secrets_of(const Message& message)
{
    std::vector<std::string> names;
    for (const Value& value : message.values)
        if (masked_value(value) != value.json)
            names.emplace_back(value.name);
    return names;
}

Json json_in(std::string_view text)
{
    if (text.empty() || (text.front() != '{' && text.front() != '['))
        return Json(Json::value_t::discarded);
    // Deep nesting would end the stack of whoever walks it.
    int depth = 0;
    for (const char c : text) {
        depth += c == '{' || c == '[' ? 1 : c == '}' || c == ']' ? -1 : 0;
        if (depth > 200)
            return Json(Json::value_t::discarded);
    }
    return Json::parse(text, nullptr, false);
}

Json shown(const Json& value)
{
    if (value.is_binary())
        return Json{{"bytes", value.get_binary().size()}};
    if (!value.is_structured())
        return value;
    Json copy = value;
    for (Json& one : copy)
        one = shown(one);
    return copy;
}

}  // namespace quorvel::cli::trace
