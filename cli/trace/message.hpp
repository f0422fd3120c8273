// What the bytes of a parcel say: the catalogue's values, and back to bytes.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "catalogue/catalogue.hpp"
#include "core/json.hpp"

namespace quorvel::cli::trace {

// Integers are little-endian on the wire, and nothing is aligned.
template <typename Integer>
Integer number_at(std::string_view bytes, std::size_t at)
{
    std::uint64_t number = 0;
    for (std::size_t i = sizeof(Integer); i-- > 0;)
        number = number << 8 | static_cast<unsigned char>(bytes[at + i]);
    return static_cast<Integer>(number);
}

template <typename Integer>
void put(std::string& to, Integer value)
{
    for (std::size_t i = 0; i < sizeof(Integer); ++i)
        to += static_cast<char>(static_cast<std::uint64_t>(value) >> (8 * i));
}

// Texts are strings, bundles objects whose members are strings, lists of strings or binaries, and a delegate
// is an object with its number and flag.
struct Value {
    std::string_view name;
    catalogue::Type type;
    bool is_secret = false;
    Json json;
};

enum class Part { request, answer, callback, unknown };

struct Message {
    Part part = Part::unknown;
    int command = 0;  // what the parcel opens with
    const catalogue::Method* method = nullptr;
    const catalogue::Delegate* delegate = nullptr;
    int delegate_id = 0;
    int sequence = 0;
    bool once = false;
    std::vector<Value>
        values;  // what goes in; what comes out, and at last "returned"; a callback's parameters
    std::size_t size = 0;
    std::size_t read = 0;  // the bytes behind that are not understood
    std::string problem;   // why not: "offset 12: expected ..., found ..."; empty when all was there

    [[nodiscard]] const Value* value(std::string_view name) const;
    // The code that was answered; a flag gives 0.
    [[nodiscard]] int code() const;
};

Message read_request(std::string_view bytes);
// The method is the one that was asked; none is known for an answer that nobody asked for.
Message read_answer(std::string_view bytes, const catalogue::Method* method);
Message read_callback(std::string_view bytes);

// The bytes again, with these values. Bytes that were not understood become as many asterisks.
std::string write_message(const Message& message);
// What a method answers who has nothing to say: the code, and empty values before it.
std::string empty_answer(const catalogue::Method& method, int code);

void encode(std::string& to, const catalogue::Type& type, const Json& value);

// The same without tokens, passwords, PINs, logins and coordinates.
Message masked(Message message);
Json masked(std::string_view name, bool secret, Json value);
// The names of the values that masking changes.
std::vector<std::string> secrets_of(const Message& message);

// A text as JSON, if it is an object or a list that is not nested beyond reason; otherwise discarded.
Json json_in(std::string_view text);
// For people and for JSON: binaries only say how long they are.
Json shown(const Json& value);

}  // namespace quorvel::cli::trace
