// Cap'n Proto. Its event loop belongs to one thread, so four calls are in flight from there where others have
// four threads.
#include <capnp/rpc-twoparty.h>
#include <kj/async-io.h>

#include "agent.capnp.h"
#include "program.hpp"
#include "workload.hpp"

namespace {

class Answers final : public Agent::Server {
public:
    kj::Promise<void> small(SmallContext context) override
    {
        context.getResults().setAnswer(bench::signed_in);
        return kj::READY_NOW;
    }
    kj::Promise<void> large(LargeContext context) override
    {
        context.getResults().setAnswer(bench::status().c_str());
        return kj::READY_NOW;
    }
    kj::Promise<void> details(DetailsContext context) override
    {
        auto list = context.getResults().initDetails(bench::detail_count);
        unsigned i = 0;
        for (const bench::Detail& detail : bench::details()) {
            Detail::Builder one = list[i++];
            one.setResourceCount(detail.resource_count);
            void (Detail::Builder::*const setters[])(capnp::Text::Reader) = {
                &Detail::Builder::setDeviceId,
                &Detail::Builder::setDeviceName,
                &Detail::Builder::setPrefix,
                &Detail::Builder::setCloudDeviceState,
                &Detail::Builder::setNick,
                &Detail::Builder::setColor,
                &Detail::Builder::setLocale,
                &Detail::Builder::setFirmwareVersion,
                &Detail::Builder::setManufactureName,
                &Detail::Builder::setVid,
                &Detail::Builder::setReserved};
            for (std::size_t text = 0; text < bench::text_count; ++text)
                (one
                 .*setters[text])(capnp::Text::Reader{detail.texts[text].data(), detail.texts[text].size()});
            capnp::List<capnp::Text>::Builder (Detail::Builder::*const lists[])(unsigned) = {
                &Detail::Builder::initDeviceType, &Detail::Builder::initObservableResourceUris,
                &Detail::Builder::initResourceUris};
            for (std::size_t l = 0; l < bench::list_count; ++l) {
                auto elements = (one.*lists[l])(static_cast<unsigned>(detail.lists[l].size()));
                unsigned element = 0;
                for (const std::string& text : detail.lists[l])
                    elements.set(element++, capnp::Text::Reader{text.data(), text.size()});
            }
        }
        return kj::READY_NOW;
    }
    kj::Promise<void> flood(FloodContext context) override
    {
        auto listener = context.getParams().getListener();
        return fire(listener, context.getParams().getCount());
    }

private:
    /// A window of callbacks is on its way at a time.
    static kj::Promise<void> fire(Listener::Client listener, int count)
    {
        if (count == 0)
            return kj::READY_NOW;
        const int window = std::min(count, 500);
        auto waiting = kj::heapArrayBuilder<kj::Promise<void>>(static_cast<std::size_t>(window));
        const auto& [kind, title, body] = bench::notification();
        for (int i = 0; i < window; ++i) {
            auto call = listener.notifiedRequest();
            call.setKind(capnp::Text::Reader{kind.data(), kind.size()});
            call.setTitle(capnp::Text::Reader{title.data(), title.size()});
            call.setBody(capnp::Text::Reader{body.data(), body.size()});
            waiting.add(call.send().ignoreResult());
        }
        return kj::joinPromises(waiting.finish()).then([listener, left = count - window]() mutable {
            return fire(kj::mv(listener), left);
        });
    }
};

int serve(const std::string& address)
{
    auto io = kj::setupAsyncIo();
    auto listener =
        io.provider->getNetwork().parseAddress(("unix:" + address).c_str()).wait(io.waitScope)->listen();
    capnp::TwoPartyServer server{kj::heap<Answers>()};
    bench::say_ready();
    server.listen(*listener).wait(io.waitScope);
    return 0;
}

class Hearer final : public Listener::Server {
public:
    explicit Hearer(int& heard) : heard_{heard} {}
    kj::Promise<void> notified(NotifiedContext context) override
    {
        const auto texts = context.getParams();
        if (texts.getKind().size() + texts.getTitle().size() + texts.getBody().size() > 0)
            ++heard_;
        return kj::READY_NOW;
    }

private:
    int& heard_;
};

/// What a client consists of.
struct Ends {
    explicit Ends(const std::string& address)
        : io{kj::setupAsyncIo()},
          stream{io.provider->getNetwork()
                     .parseAddress(("unix:" + address).c_str())
                     .wait(io.waitScope)
                     ->connect()
                     .wait(io.waitScope)},
          client{*stream},
          agent{client.bootstrap().castAs<Agent>()}
    {
    }

    kj::AsyncIoContext io;
    kj::Own<kj::AsyncIoStream> stream;
    capnp::TwoPartyClient client;
    Agent::Client agent;
};

class Connection : public bench::Client {
public:
    explicit Connection(const std::string& address)
        : ends_{std::make_unique<Ends>(address)}, agent_{ends_->agent}, scope_{ends_->io.waitScope}
    {
    }

    void ask_small() override
    {
        auto reply = agent_.smallRequest().send().wait(scope_);
        std::free(strdup(reply.getAnswer().cStr()));
    }
    void ask_large() override
    {
        const auto& [device, component, capability] = bench::question();
        auto call = agent_.largeRequest();
        call.setDevice(device.c_str());
        call.setComponent(component.c_str());
        call.setCapability(capability.c_str());
        auto reply = call.send().wait(scope_);
        std::free(strdup(reply.getAnswer().cStr()));
    }
    void ask_details() override
    {
        auto reply = agent_.detailsRequest().send().wait(scope_);
        bench::HeldDetails held{bench::detail_count};
        for (const Detail::Reader one : reply.getDetails()) {
            held.begin(one.getResourceCount());
            for (const capnp::Text::Reader text :
                 {one.getDeviceId(), one.getDeviceName(), one.getPrefix(), one.getCloudDeviceState(),
                  one.getNick(), one.getColor(), one.getLocale(), one.getFirmwareVersion(),
                  one.getManufactureName(), one.getVid(), one.getReserved()})
                held.add_text(text.cStr());
            std::size_t list = 0;
            for (const auto texts :
                 {one.getDeviceType(), one.getObservableResourceUris(), one.getResourceUris()}) {
                held.begin_list(list, texts.size());
                for (const capnp::Text::Reader text : texts)
                    held.add_to_list(list, text.cStr());
                ++list;
            }
        }
        if (!held.complete())
            bench::give_up("Cap'n Proto: the details are not complete");
    }
    void hear(int callbacks) override
    {
        heard_ = 0;
        auto call = agent_.floodRequest();
        call.setCount(callbacks);
        call.setListener(kj::heap<Hearer>(heard_));
        call.send().wait(scope_);
        if (heard_ != callbacks)
            bench::give_up("Cap'n Proto: callbacks are missing");
    }
    void ask_from_threads(int each) override
    {
        auto threads = kj::heapArrayBuilder<kj::Promise<void>>(4);
        for (int i = 0; i < 4; ++i)
            threads.add(ask_on(each));
        kj::joinPromises(threads.finish()).wait(scope_);
    }

private:
    kj::Promise<void> ask_on(int left)
    {
        if (left == 0)
            return kj::READY_NOW;
        return agent_.smallRequest().send().then([this, left](capnp::Response<Agent::SmallResults>&& reply) {
            std::free(strdup(reply.getAnswer().cStr()));
            return ask_on(left - 1);
        });
    }

    std::unique_ptr<Ends> ends_;
    Agent::Client& agent_;
    kj::WaitScope& scope_;
    int heard_ = 0;
};

}  // namespace

int main(int argc, char** argv)
{
    return bench::run(argc, argv, serve,
                      [](const std::string& address) { return std::make_unique<Connection>(address); });
}
