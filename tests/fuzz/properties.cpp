// Fuzzes the accessors of properties: records whose bundles hold anything, their getters and setters and
// every property's number.
//
// An input names the type, the agent's version and a handful of questions, each in two bytes; the rest is the
// record. All questions about each record would be hundreds of calls, nearly always with the same answers.
#include <map>

#include "input.hpp"
#include "interface.hpp"
#include "property_caller.hpp"

namespace {

constexpr int kHandful = 8;

const std::vector<fuzz::Question>& questions_about(const quorvel::proxy::RecordType& type)
{
    static std::map<const quorvel::proxy::RecordType*, std::vector<fuzz::Question>> known;
    const auto [place, is_new] = known.try_emplace(&type);
    if (is_new)
        place->second = fuzz::questions_about(type);
    return place->second;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Input input{data, size};
    const auto kinds = wire::objects();
    const wire::ObjectKind& kind = kinds[input.byte() % kinds.size()];
    wire::FakePort::instance().reset();
    if (input.byte() % 4 == 0)
        wire::FakePort::instance().version = "1.1.0";
    if (kind.record == nullptr)
        return 0;
    const std::vector<fuzz::Question>& questions = questions_about(*kind.record);
    if (questions.empty())
        return 0;
    std::vector<const fuzz::Question*> chosen;
    for (int i = 0; i < kHandful; ++i)
        chosen.push_back(&questions[input.below(questions.size())]);
    fuzz::PropertyCaller caller{std::string{input.all()}};
    for (const fuzz::Question* const each : chosen)
        each->ask(caller);
    return 0;
}
