// sdbus-c++. This version speaks to a bus only, so its client talks to the server of sd-bus, which greets it
// as a bus would: nothing stands between the two.
#include <glib-unix.h>
#include <glib.h>
#include <poll.h>
#include <sdbus-c++/sdbus-c++.h>

#include "program.hpp"
#include "workload.hpp"

namespace {

constexpr auto name = "bench.Agent";
constexpr auto path = "/bench";
constexpr auto interface = "bench.Agent";

using Strings = std::vector<std::string>;
using Text = std::string;
// As the interface description of such a method would have it.
using Detail = sdbus::Struct<std::int32_t, Text, Text, Text, Text, Text, Text, Text, Text, Text, Text, Text,
                             Strings, Strings, Strings>;

class Bus : public bench::Client {
public:
    explicit Bus(const std::string& address)
        : connection_{sdbus::createSessionBusConnectionWithAddress("unix:path=" + address)},
          proxy_{sdbus::createProxy(*connection_, name, path)}
    {
        proxy_->uponSignal("Notified")
            .onInterface(interface)
            .call([this](const Text&, const Text&, const Text&) { ++heard_; });
        proxy_->finishRegistration();
    }

    void ask_small() override
    {
        Text answer;
        proxy_->callMethod("Small").onInterface(interface).storeResultsTo(answer);
        if (answer != bench::signed_in)
            bench::give_up("sdbus-c++: the wrong answer");
    }
    void ask_large() override
    {
        const auto& [device, component, capability] = bench::question();
        Text answer;
        proxy_->callMethod("Large")
            .onInterface(interface)
            .withArguments(device, component, capability)
            .storeResultsTo(answer);
    }
    void ask_details() override
    {
        std::vector<Detail> details;
        proxy_->callMethod("Details")
            .onInterface(interface)
            .withTimeout(std::chrono::minutes{1})
            .storeResultsTo(details);
        if (details.size() != static_cast<std::size_t>(bench::detail_count))
            bench::give_up("sdbus-c++: the details are not complete");
    }
    void hear(int callbacks) override
    {
        heard_ = 0;
        proxy_->callMethod("Flood")
            .onInterface(interface)
            .withTimeout(std::chrono::minutes{1})
            .withArguments(callbacks);
        const unsigned watch = g_unix_fd_add(
            connection_->getEventLoopPollData().fd, G_IO_IN,
            [](int, GIOCondition, void* self) -> gboolean {
                static_cast<Bus*>(self)->process();
                return G_SOURCE_CONTINUE;
            },
            this);
        process();
        while (heard_ < callbacks)
            g_main_context_iteration(nullptr, TRUE);
        g_source_remove(watch);
    }

private:
    void process()
    {
        while (connection_->processPendingRequest()) {
        }
    }

    std::unique_ptr<sdbus::IConnection> connection_;
    std::unique_ptr<sdbus::IProxy> proxy_;
    int heard_ = 0;
};

}  // namespace

int main(int argc, char** argv)
{
    return bench::run(
        argc, argv, [](const std::string&) -> int { bench::give_up("sd-bus has the server"); },
        [](const std::string& address) { return std::make_unique<Bus>(address); });
}
