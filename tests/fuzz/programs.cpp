// Fuzzes programs of up to 64 public calls over a hostile agent: any function with any values, answers and
// events of any contents at any time, connections that are lost and made anew, handles that are stale, sends
// that fail and allocations that fail. Callbacks go on with the program.
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "caller.hpp"
#include "examine.hpp"
#include "failing_allocations.hpp"
#include "fake_port.hpp"
#include "input.hpp"
#include "interface.hpp"

namespace {

constexpr int kMostSteps = 64;
constexpr int kDeepest = 3;

class Program : public wire::Caller {
public:
    explicit Program(fuzz::Input input) : input_{input}
    {
        // Every send's answer is there at once: there is nobody else who could give it.
        port_.on_send = [this](std::string_view sent) { return answer(sent); };
    }
    ~Program() override
    {
        ends_ = true;
        if (live_ != nullptr)
            quorvel_client_disconnect(live_);
        for (quorvel_client_h const each : lost_)
            quorvel_client_disconnect(each);
    }

    void run()
    {
        connect();
        while (!input_.empty() && steps_ < kMostSteps)
            step();
    }

    quorvel_client_h client() override
    {
        // One that was given up is handed over only where it is harmless: with nothing connected.
        if (live_ == nullptr && stale_ != nullptr && input_.byte() % 2 == 0)
            return stale_;
        return live_;
    }
    void connected(quorvel_client_h handle) override
    {
        // One whose agent went away is replaced like this; it is given up later.
        if (live_ != nullptr)
            lost_.push_back(live_);
        live_ = handle;
    }
    const char* text() override
    {
        switch (input_.byte() % 8) {
            case 0:
                return nullptr;
            case 1:
                return "";
            case 2:
                return keep(input_.piece());
            case 3:
                return keep(std::string(101, 'x'));
            default:
                return "text";
        }
    }
    int number() override { return input_.byte() % 4 == 0 ? input_.number() : input_.byte() % 8; }
    bool flag() override { return input_.byte() % 2 != 0; }
    bool has_callback() override { return input_.byte() % 8 != 0; }
    void fill(const quorvel::proxy::RecordType& type, void* record) override
    {
        try {
            rpc_port_parcel_h parcel = wire::parcel_of(input_.piece());
            rpc_port_parcelable_t parcelable = type.parcelable;
            rpc_port_parcel_read(parcel, &parcelable, record);
            rpc_port_parcel_destroy(parcel);
        } catch (const std::bad_alloc&) {
            // Then it stays empty.
        }
    }
    void called_back() override
    {
        if (ends_ || depth_ >= kDeepest || input_.empty() || steps_ >= kMostSteps)
            return;
        ++depth_;
        step();
        --depth_;
    }

private:
    struct Registration {
        int id;
        int seq_id;
    };

    // What a registering request ends with: the delegate that callbacks are for.
    int answer(std::string_view sent)
    {
        constexpr std::size_t delegate_size = 9;
        if (sent.size() >= 4 + delegate_size) {
            fuzz::Input tail{reinterpret_cast<const std::uint8_t*>(sent.data()) + sent.size() - delegate_size,
                             delegate_size};
            const int id = tail.number();
            registrations_.push_back({id, tail.number()});
        }
        const std::uint8_t how = input_.byte();
        if (how % 16 == 15)
            return -5;
        if (how % 16 == 14)
            port_.answers.push_back(input_.piece());
        port_.answers.push_back(wire::int32(0) + (how % 4 == 0 ? wire::int32(0) : "") + input_.piece());
        return 0;
    }

    void step()
    {
        ++steps_;
        const std::uint8_t what = input_.byte();
        switch (what % 8) {
            case 0:
                event();
                break;
            case 1:
                fire();
                break;
            case 2: {
                const int first = 1 + input_.byte() % 8;
                const int how_many = 1 + input_.byte() % 3;
                const bool before = std::exchange(wire::memory_may_fail, true);
                call([&](calls::Attempt& attempt) {
                    const FailingAllocation nth{first, how_many};
                    attempt.call();
                });
                wire::memory_may_fail = before;
                break;
            }
            default:
                call([](calls::Attempt& attempt) { attempt.call(); });
                break;
        }
    }

    template <typename How>
    void call(How how)
    {
        const auto rows = calls::public_rows();
        const calls::Row& row = rows[input_.below(rows.size())];
        // Here, as the handle is then stale, which the next calls ought to know.
        if (row.name == "quorvel_client_disconnect") {
            quorvel_client_h const handle = client();
            quorvel_client_disconnect(handle);
            if (handle != live_)
                return;
            stale_ = std::exchange(live_, nullptr);
            if (!lost_.empty()) {
                live_ = lost_.back();
                lost_.pop_back();
            }
            return;
        }
        calls::Attempt attempt{row, *this};
        how(attempt);
        attempt.settle();
        if (quorvel_client_h const made = attempt.take_client())
            connected(made);
    }

    void event()
    {
        switch (input_.byte() % 4) {
            case 0:
                port_.tell_disconnected();
                break;
            case 1:
                port_.tell_rejected();
                break;
            default:
                if (live_ == nullptr)
                    connect();
                else
                    port_.tell_connected();
                break;
        }
    }

    void connect()
    {
        wire::Caller::call(calls::row_of("quorvel_client_connect"));
        if (live_ != nullptr)
            port_.tell_connected();
    }

    void fire()
    {
        if (registrations_.empty()) {
            port_.tell_received(input_.piece());
            return;
        }
        const Registration one = registrations_[input_.byte() % registrations_.size()];
        port_.tell_received(wire::int32(1) + wire::int32(one.id) + wire::int32(one.seq_id) + '\0'
                            + input_.piece());
    }

    wire::FakePort& port_ = wire::FakePort::instance();
    fuzz::Input input_;
    quorvel_client_h live_ = nullptr;
    quorvel_client_h stale_ = nullptr;
    std::vector<quorvel_client_h> lost_;
    std::vector<Registration> registrations_;
    int steps_ = 0;
    int depth_ = 0;
    bool ends_ = false;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    wire::FakePort::instance().reset();
    Program{fuzz::Input{data, size}}.run();
    wire::FakePort::instance().reset();
    return 0;
}
