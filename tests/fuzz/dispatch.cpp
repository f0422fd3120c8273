// Fuzzes the dispatcher: delegates of every kind come and go, callbacks arrive with any contents, and what is
// called disposes, registers, invokes, disconnects or runs the next step itself.
#include <memory>
#include <optional>
#include <vector>

#include "examine.hpp"
#include "fake_port.hpp"
#include "input.hpp"
#include "interface.hpp"
#include "proxy/connection.hpp"

namespace {

constexpr int kMostSteps = 64;
constexpr int kDeepest = 4;

class Run {
public:
    explicit Run(fuzz::Input input) : input_{input}
    {
        wire::on_call = [this](void*) { step_inside(); };
        proxy_.emplace();
    }
    ~Run()
    {
        proxy_.reset();
        wire::on_call = nullptr;
    }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    void all()
    {
        while (!input_.empty() && steps_ < kMostSteps)
            step();
    }

private:
    struct Registered {
        const wire::DelegateKind* kind;
        void* delegate;
        int seq_id;
        bool once;
    };

    void step_inside()
    {
        if (depth_ >= kDeepest || input_.empty() || steps_ >= kMostSteps)
            return;
        ++depth_;
        step();
        --depth_;
    }

    void step()
    {
        ++steps_;
        const std::uint8_t what = input_.byte();
        switch (what % 8) {
            case 0:
            case 1:
                add();
                break;
            case 2:
                remove();
                break;
            case 3:
            case 4:
                fire();
                break;
            case 5:
                wire::FakePort::instance().answers.push_back(wire::int32(0) + input_.piece());
                if (proxy_)
                    wire::methods()[what % wire::methods().size()].call(*proxy_);
                break;
            case 6:
                if (what % 3 == 0)
                    disconnect();
                else if (!proxy_)
                    proxy_.emplace();
                break;
            default:
                wire::FakePort::instance().tell_received(input_.piece());
                break;
        }
    }

    void add()
    {
        if (!proxy_)
            return;
        const auto kinds = wire::delegates();
        const wire::DelegateKind& kind = kinds[input_.byte() % kinds.size()];
        const bool once = input_.byte() % 2 != 0;
        void* const delegate = kind.create(once, nullptr);
        const int seq_id = kind.seq_id(delegate);
        quorvel::proxy::append_delegate(quorvel::proxy::proxy_of(*proxy_), delegate);
        registered_.push_back({&kind, delegate, seq_id, once});
    }

    void remove()
    {
        if (!proxy_ || registered_.empty())
            return;
        const std::size_t which = input_.byte() % registered_.size();
        const Registered one = registered_[which];
        // A once delegate may be gone already; naming it is not allowed, so it is left to the proxy.
        if (one.once)
            return;
        registered_.erase(registered_.begin() + static_cast<std::ptrdiff_t>(which));
        wire::require(one.kind->dispose(*proxy_, one.delegate) == 0, "what is registered can be disposed");
    }

    void fire()
    {
        if (registered_.empty())
            return;
        const Registered& one = registered_[input_.byte() % registered_.size()];
        wire::FakePort::instance().tell_received(wire::int32(1) + wire::int32(one.kind->id)
                                                 + wire::int32(one.seq_id) + (one.once ? '\1' : '\0')
                                                 + input_.piece());
    }

    void disconnect()
    {
        proxy_.reset();
        registered_.clear();
    }

    fuzz::Input input_;
    std::optional<wire::ConnectedProxy> proxy_;
    std::vector<Registered> registered_;
    int steps_ = 0;
    int depth_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    wire::FakePort::instance().reset();
    Run{fuzz::Input{data, size}}.all();
    return 0;
}
