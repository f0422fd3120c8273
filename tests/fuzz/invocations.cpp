// Fuzzes each method against an agent that answers anything: none, one or several parcels, and perhaps a send
// that fails.
#include "examine.hpp"
#include "fake_port.hpp"
#include "input.hpp"
#include "interface.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Input input{data, size};
    wire::FakePort& port = wire::FakePort::instance();
    port.reset();
    {
        const wire::ConnectedProxy proxy;
        const std::size_t method = input.byte() % wire::methods().size();
        const std::uint8_t how = input.byte();
        port.on_send = [how](std::string_view) { return how % 16 == 15 ? -5 : 0; };
        if (how % 4 == 3) {
            while (!input.empty())
                port.answers.push_back(input.piece());
        } else {
            // What is most often looked at: one parcel that begins as an answer does.
            port.answers.push_back((how % 4 == 0 ? "" : wire::int32(0)) + std::string{input.all()});
        }
        wire::methods()[method].call(proxy);
        // Nothing stays behind that keeps the next call from its answer.
        port.answers.assign(1, wire::int32(0) + wire::int32(0));
        port.on_send = nullptr;
        wire::methods()[0].call(proxy);
        wire::require(port.answers.empty(), "the next call reads its answer");
    }
    return 0;
}
