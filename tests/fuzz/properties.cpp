// Fuzzes the accessors of properties: records whose bundles hold anything, every getter and setter of theirs
// and every property's number.
#include "input.hpp"
#include "interface.hpp"
#include "property_caller.hpp"

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
    fuzz::PropertyCaller caller{std::string{input.all()}};
    ask_all(caller, *kind.record);
    return 0;
}
