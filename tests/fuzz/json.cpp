// Fuzzes the two places where a text from the agent is JSON: what a device's details keep in reserve, and the
// devices of a group.
#include "examine.hpp"
#include "input.hpp"
#include "property_caller.hpp"

namespace {

using quorvel::proxy::Field;
using quorvel::proxy::Kind;
using quorvel::proxy::RecordType;

// The record's wire form with that text in the field, and nothing in the others.
std::string with(const RecordType& type, std::string_view field, const std::string& json)
{
    std::string payload;
    for (const Field& each : type.fields) {
        const bool is_it = each.name == field;
        // A text on the wire holds no NUL but its last.
        const std::string text = wire::text(is_it ? json.c_str() : "");
        switch (each.kind) {
            case Kind::number:
                payload += wire::int32(0);
                break;
            case Kind::text:
                payload += text;
                break;
            case Kind::text_list:
                payload += is_it ? wire::int32(2) + text + text : wire::int32(0);
                break;
            case Kind::bundle:
                payload += wire::int32(4) + wire::int32(0);
                break;
        }
    }
    return payload;
}

// The questions about the properties that there are. The others never come to the text.
std::vector<fuzz::Question> answered_questions(const RecordType& type)
{
    std::vector<fuzz::Question> questions = fuzz::questions_about(type);
    fuzz::PropertyCaller caller{with(type, "", "")};
    std::erase_if(questions, [&](const fuzz::Question& each) { return each.ask(caller) != 0; });
    wire::require(!questions.empty(), "there is a property");
    return questions;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Input input{data, size};
    wire::FakePort::instance().reset();
    const bool detail = input.byte() % 2 == 0;
    const RecordType& type = detail ? quorvel::proxy::device_detail_s : quorvel::proxy::group_s;
    static const auto detail_questions = answered_questions(quorvel::proxy::device_detail_s);
    static const auto group_questions = answered_questions(quorvel::proxy::group_s);
    const std::string json{input.all()};
    fuzz::PropertyCaller caller{with(type, detail ? "reserved" : "device_list", json)};
    for (const fuzz::Question& each : detail ? detail_questions : group_questions)
        each.ask(caller);
    return 0;
}
