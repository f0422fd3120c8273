// Every recorded answer and callback, spoilt in every way that is one step from it, through the real parcels
// and the real proxy. Nothing may crash, take long or take much memory; what comes of it is looked at in
// full.
//
// A figure is reached when each of its inputs was run; a run that is scaled down takes every nth input of the
// whole, and another n would take others.
#include <malloc.h>
#include <time.h>

#include <algorithm>
#include <climits>
#include <fstream>
#include <iterator>
#include <vector>

#include "examine.hpp"
#include "fake_port.hpp"
#include "interface.hpp"
#include "proxy/connection.hpp"
#include "scale.hpp"
#include "wire.hpp"

namespace {

using namespace wire;

constexpr std::size_t kPairParcels = 40;
constexpr std::size_t kPairBits = 16 * 8;
// What is built for finding mistakes is not built for speed.
#if defined(__OPTIMIZE__)
constexpr double kMicrosecondsFor64KiB = kMeasures ? 10'000 : 1'000'000;
#else
constexpr double kMicrosecondsFor64KiB = kMeasures ? 50'000 : 1'000'000;
#endif
constexpr std::size_t kMemoryFactor = 256;
// What a record is apart from its values; an input of a few bytes may still make one.
constexpr std::size_t kMemoryOfItsOwn = 16 * 1024;

struct Recorded {
    bool is_callback;
    std::size_t kind;  // of the methods or delegates
    std::string payload;
};

template <typename Kinds>
std::size_t index_of(const Kinds& kinds, std::string_view name)
{
    const auto found =
        std::find_if(kinds.begin(), kinds.end(), [name](const auto& k) { return k.name == name; });
    require(found != kinds.end(), "a recorded parcel is of a kind that there is");
    return static_cast<std::size_t>(found - kinds.begin());
}

std::vector<Recorded> read_recorded(const char* path)
{
    std::ifstream file{path, std::ios::binary};
    const std::string bytes{std::istreambuf_iterator<char>{file}, {}};
    std::vector<Recorded> all;
    for (std::size_t at = 0; at + 2 <= bytes.size();) {
        const bool is_callback = bytes[at] != 0;
        const auto name_size = static_cast<unsigned char>(bytes[at + 1]);
        const std::string_view name = std::string_view{bytes}.substr(at + 2, name_size);
        at += 2U + name_size;
        const auto size = static_cast<std::size_t>(quorvel::platform::get<std::int32_t>(bytes.data() + at));
        const std::size_t kind = is_callback ? index_of(delegates(), name) : index_of(methods(), name);
        all.push_back({is_callback, kind, bytes.substr(at + 4, size)});
        at += 4 + size;
    }
    return all;
}

double processor_microseconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1e3;
}

class Harness {
public:
    Harness()
    {
        on_answered = [this] {
            end_ = processor_microseconds();
            note_memory();
        };
        for (const DelegateKind& kind : delegates()) {
            void* const delegate = kind.create(false, nullptr);
            seq_ids_.push_back(kind.seq_id(delegate));
            quorvel::proxy::append_delegate(quorvel::proxy::proxy_of(proxy_), delegate);
        }
    }
    ~Harness() { on_answered = nullptr; }
    Harness(const Harness&) = delete;
    Harness& operator=(const Harness&) = delete;

    void run(const Recorded& parcel, const std::string& payload)
    {
        FakePort& port = FakePort::instance();
        // The allocator's own account is slow to read: looked at now and then, once what is made only once is
        // there.
        measures_memory_ = done_ % 64 == 0 && done_ > 1000;
        base_ = measures_memory_ ? mallinfo2().uordblks : 0;
        size_ = payload.size();
        end_ = 0;
        const double begin = processor_microseconds();
        if (parcel.is_callback) {
            port.tell_received(payload);
        } else {
            port.answers.assign(1, payload);
            methods()[parcel.kind].call(proxy_);
            port.answers.clear();
        }
        // Until the values were there; a callback without a delegate has none.
        const double took = (end_ > 0 ? end_ : processor_microseconds()) - begin;
        const auto pieces = static_cast<double>(payload.size() / 65536 + 1);
        // One slow input is run again before it counts: the processor is not ours alone.
        if (took > kMicrosecondsFor64KiB * pieces && ++slow_ > 5)
            require(false, "an input takes at most 10 ms for each 64 KiB (unoptimised: 50)");
        slowest_ = std::max(slowest_, took);
        ++done_;
    }

    /// A callback finds its delegate only by the number that it has in this process.
    std::string addressed(const Recorded& parcel) const
    {
        std::string payload = parcel.payload;
        if (parcel.is_callback && payload.size() >= 12)
            quorvel::platform::put(payload.data() + 8, seq_ids_[parcel.kind]);
        return payload;
    }

    long done() const { return done_; }
    double slowest() const { return slowest_; }
    double greatest_factor() const { return factor_; }

private:
    void note_memory()
    {
        if (!measures_memory_)
            return;
        const std::size_t now = mallinfo2().uordblks;
        const std::size_t taken = now > base_ ? now - base_ : 0;
        require(taken <= kMemoryFactor * size_ + kMemoryOfItsOwn,
                "records take at most 256 times their frame");
        factor_ = std::max(factor_,
                           static_cast<double>(taken) / static_cast<double>(std::max<std::size_t>(size_, 1)));
    }

    ConnectedProxy proxy_;
    std::vector<int> seq_ids_;
    double end_ = 0;
    bool measures_memory_ = false;
    std::size_t base_ = 0;
    std::size_t size_ = 0;
    long done_ = 0;
    int slow_ = 0;
    double slowest_ = 0;
    double factor_ = 0;
};

/// Runs every nth of the inputs that are offered to it.
class Share {
public:
    Share(const char* what, long full, long in_ci)
        : what_{what}, stride_{std::max(1L, full / std::max(1L, wire::scaled(full, in_ci)))}
    {
    }
    ~Share() { report(what_, done_, offered_); }
    Share(const Share&) = delete;
    Share& operator=(const Share&) = delete;

    template <typename Run>
    void offer(Run&& run)
    {
        if (offered_++ % stride_ == 0) {
            run();
            ++done_;
        }
    }

private:
    const char* what_;
    long stride_;
    long offered_ = 0;
    long done_ = 0;
};

void flip(std::string& payload, std::size_t bit)
{
    payload[bit / 8] = static_cast<char>(payload[bit / 8] ^ (1 << bit % 8));
}

void run_flips(Harness& harness, const std::vector<Recorded>& all)
{
    Share share{"parcels with one bit flipped", 540'000, 54'000};
    for (const Recorded& parcel : all) {
        std::string payload = harness.addressed(parcel);
        for (std::size_t bit = 0; bit < payload.size() * 8; ++bit) {
            share.offer([&] {
                flip(payload, bit);
                harness.run(parcel, payload);
                flip(payload, bit);
            });
        }
    }
}

void run_truncations(Harness& harness, const std::vector<Recorded>& all)
{
    Share share{"parcels cut short", 68'000, 68'000};
    for (const Recorded& parcel : all) {
        const std::string payload = harness.addressed(parcel);
        for (std::size_t size = 0; size < payload.size(); ++size)
            share.offer([&] { harness.run(parcel, payload.substr(0, size)); });
    }
}

void run_pairs(Harness& harness, const std::vector<Recorded>& all)
{
    Share share{"parcels with two bits flipped in their beginning", 250'000, 25'000};
    std::size_t parcels = 0;
    for (std::size_t i = 0; i < all.size() && parcels < kPairParcels; i += all.size() / kPairParcels) {
        std::string payload = harness.addressed(all[i]);
        const std::size_t bits = std::min(kPairBits, payload.size() * 8);
        ++parcels;
        for (std::size_t one = 0; one < bits; ++one) {
            for (std::size_t other = one + 1; other < bits; ++other) {
                share.offer([&] {
                    flip(payload, one);
                    flip(payload, other);
                    harness.run(all[i], payload);
                    flip(payload, one);
                    flip(payload, other);
                });
            }
        }
    }
}

// At every place, as if a count or a length stood there.
void run_numbers(Harness& harness, const std::vector<Recorded>& all)
{
    Share share{"parcels with a hostile count or length", 400'000, 40'000};
    for (const Recorded& parcel : all) {
        const std::string payload = harness.addressed(parcel);
        for (std::size_t at = 0; at + 4 <= payload.size(); ++at) {
            const auto there = quorvel::platform::get<std::int32_t>(payload.data() + at);
            const auto left = static_cast<std::int32_t>(payload.size() - at - 4);
            const auto more = static_cast<std::int32_t>(static_cast<std::uint32_t>(there) + 1);
            for (const std::int32_t number : {-1, INT_MIN, INT_MAX, more, left / 4, left / 4 + 1}) {
                share.offer([&] {
                    std::string spoilt = payload;
                    quorvel::platform::put(spoilt.data() + at, number);
                    harness.run(parcel, spoilt);
                });
            }
        }
    }
}

// Large parcels in which nothing but the counts is true: what they make is bounded by their size.
void run_large(Harness& harness, const std::vector<Recorded>& all)
{
    Share share{"parcels of 64 KiB to 1 MiB that are one list", 1600, 40};
    for (std::size_t size = 65536; size <= (std::size_t{1} << 20); size *= 4) {
        for (const Recorded& parcel : all) {
            const std::string payload = harness.addressed(parcel);
            // Behind the head of a callback, or the command of an answer.
            const std::size_t head = parcel.is_callback ? 13 : 4;
            if (payload.size() < head)
                continue;
            share.offer([&] {
                std::string large = payload.substr(0, head);
                large += int32(static_cast<std::int32_t>(size / 4));
                large.resize(head + 4 + size, '\0');
                harness.run(parcel, large);
            });
        }
    }
}

}  // namespace

int main(int argc, char** argv)
{
    require(argc == 2, "the file of the recorded parcels is given");
    const std::vector<Recorded> all = read_recorded(argv[1]);
    report("recorded parcels", static_cast<long>(all.size()), 400);
    Harness harness;
    for (int round = 0; round < 2; ++round) {
        for (const Recorded& parcel : all)
            harness.run(parcel, harness.addressed(parcel));
    }
    run_flips(harness, all);
    run_truncations(harness, all);
    run_pairs(harness, all);
    run_numbers(harness, all);
    run_large(harness, all);
    std::printf(
        "%ld inputs; the slowest took %.0f us of the processor; the most memory was %.1f times the frame\n",
        harness.done(), harness.slowest(), harness.greatest_factor());
    return 0;
}
