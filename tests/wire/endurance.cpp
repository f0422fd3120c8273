// What only shows after a while, one mode each:
//
//     endurance cycles   connections that are made, used and given up, some of them by the agent's death
//     endurance flood    callbacks at full speed, also while the loop's thread is in a call
//     endurance soak     calls of several threads under events, for a time
//     endurance forks    children of a busy process
#include <fcntl.h>
#include <malloc.h>
#include <quorvel_client_device.h>
#include <quorvel_client_notification.h>
#include <quorvel_client_qc_api.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <optional>

#include "raw_agent.hpp"
#include "scale.hpp"
#include "support.hpp"

namespace {

using namespace wire;
using integration::Connection;
using integration::pump_until;
using namespace std::chrono_literals;

int failures = 0;

void expect(bool holds, const char* what)
{
    if (!holds) {
        ++failures;
        std::printf("FAILED: %s\n", what);
    }
}

long kibibytes(const char* what)
{
    std::ifstream status{"/proc/self/status"};
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(what))
            return std::strtol(line.c_str() + std::strlen(what) + 1, nullptr, 10);
    }
    return 0;
}

double seconds(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

// Callbacks that a client registered for, written in large pieces: their texts count from 0.
void flood(AgentSide& side, const std::string& head, int count)
{
    std::string bytes;
    for (int i = 0; i < count; ++i) {
        bytes += frame(head + text(std::to_string(i)) + text("t") + text("b"));
        if (bytes.size() > 60'000 || i + 1 == count) {
            side.send_callback(bytes);
            bytes.clear();
        }
    }
}

int number_behind(const std::string& vid, std::string_view word)
{
    int number = 0;
    if (vid.starts_with(word))
        std::from_chars(vid.data() + word.size(), vid.data() + vid.size(), number);
    return number;
}

// One client after the other.
void serve(AgentSide& side)
{
    for (;;) {
        side.accept();
        side.welcome();
        std::string head;
        while (const auto request = side.next_request()) {
            const std::int32_t method = int32_at(*request, 0);
            if (method == kSetNotificationCb)
                head = callback_head(*request);
            if (method != kGetUiMetadata) {
                side.answer(done());
                continue;
            }
            const std::string vid = vid_of(*request);
            // Before the answer, or after it.
            flood(side, head, number_behind(vid, "before:"));
            side.answer(answer_to_metadata(*request));
            flood(side, head, number_behind(vid, "after:"));
        }
    }
}

struct Heard {
    int next = 0;
    int wrong = 0;
};

void hear(const char* kind, const char*, const char*, void* user_data)
{
    auto& heard = *static_cast<Heard*>(user_data);
    int number = -1;
    std::from_chars(kind, kind + std::strlen(kind), number);
    heard.wrong += number != heard.next;
    ++heard.next;
}

void cycles()
{
    constexpr long full = 10'000;
    constexpr long each_death = 50;
    const long count = scaled(full, 1000);
    const long warm = count / 10;
    const integration::TemporaryHome home;
    home.install("2.4.0", "/bin/false");
    auto agent = std::make_unique<RawAgent>(home.socket(), serve);
    long memory = 0;
    int descriptors = 0;
    const double begin = seconds(CLOCK_MONOTONIC);
    for (long i = 0; i < count && failures == 0; ++i) {
        if (i == warm) {
            memory = kibibytes("VmRSS");
            pump_until([] { return false; }, 20ms);
            descriptors = integration::open_descriptors();
        }
        Connection connection;
        expect(connection.establish(), "a connection is made");
        std::string answer;
        expect(integration::ask_metadata(connection.handle, "vid", answer) == 0, "a call is answered");
        expect(quorvel_client_subscribe(
                   connection.handle, "device", "/uri", "type", [](auto...) {}, nullptr)
                   == 0,
               "a subscription is made");
        expect(quorvel_client_get_accessory_list(
                   connection.handle, [](auto...) {}, nullptr)
                   == 0,
               "a question whose answer never comes is asked");
        if (i % each_death == each_death - 1) {
            agent->signal(SIGKILL);
            expect(pump_until([&] { return connection.disconnected == 1; }), "the agent's death is heard");
            connection.disconnect();
            agent = std::make_unique<RawAgent>(home.socket(), serve);
        }
    }
    const double took = seconds(CLOCK_MONOTONIC) - begin;
    expect(pump_until([&] { return integration::open_descriptors() <= descriptors; }, 2s),
           "as many descriptors are open as before");
    const long grown = kibibytes("VmRSS") - memory;
    expect(!kMeasures || grown <= 256, "memory grows by at most 256 KiB after the first tenth");
    report("connections made and given up", count, full);
    std::printf(
        "%.1f s; resident memory grew by %ld KiB after the first %ld; one in %ld ended with the agent's death\n",
        took, grown, warm, each_death);
}

/// Another source of the loop, one that always has something to do: what lies between two of its turns.
///
/// That is counted in callbacks, and in time of the processor, since the machine may have other work. What a
/// virtual machine does not get of its processor counts as well: now and then a wait is long that is not
/// ours.
class OtherSource {
public:
    explicit OtherSource(const Heard& heard) : heard_{heard}
    {
        id_ = g_idle_add_full(
            G_PRIORITY_DEFAULT, [](void* self) { return static_cast<OtherSource*>(self)->turn(); }, this,
            nullptr);
    }
    ~OtherSource() { g_source_remove(id_); }
    OtherSource(const OtherSource&) = delete;
    OtherSource& operator=(const OtherSource&) = delete;

    int most_callbacks() const { return most_callbacks_; }
    /// The longest but for one in a hundred, in seconds.
    double long_wait()
    {
        const auto rank = waits_.begin() + static_cast<std::ptrdiff_t>(waits_.size() * 99 / 100);
        std::nth_element(waits_.begin(), rank, waits_.end());
        return *rank;
    }
    double longest_wait() const { return *std::max_element(waits_.begin(), waits_.end()); }

private:
    gboolean turn()
    {
        const double now = seconds(CLOCK_THREAD_CPUTIME_ID);
        const int told = heard_.next - told_;
        most_callbacks_ = std::max(most_callbacks_, told);
        // With nothing to tell, the loop turns for nothing.
        if (told > 0)
            waits_.push_back(now - last_);
        last_ = now;
        told_ = heard_.next;
        return G_SOURCE_CONTINUE;
    }

    const Heard& heard_;
    int told_ = heard_.next;
    double last_ = seconds(CLOCK_THREAD_CPUTIME_ID);
    int most_callbacks_ = 0;
    std::vector<double> waits_{0.0};
    guint id_ = 0;
};

void floods()
{
    constexpr long full = 1'000'000;
    constexpr int full_nested = 250'000;
    const long count = scaled(full, 200'000);
    const auto nested = static_cast<int>(scaled(full_nested, full_nested));
    const integration::TemporaryHome home;
    home.install("2.4.0", "/bin/false");
    const RawAgent agent{home.socket(), serve};
    Connection connection;
    expect(connection.establish(), "a connection is made");
    Heard heard;
    quorvel_client_set_notification_cb(connection.handle, hear, &heard);
    std::string answer;
    integration::ask_metadata(connection.handle, "after:1000", answer);
    pump_until([&] { return heard.next == 1000; });
    const long before = kibibytes("VmRSS");

    heard = {};
    std::optional<OtherSource> other{heard};
    const double begin = seconds(CLOCK_MONOTONIC);
    expect(integration::ask_metadata(connection.handle, "after:" + std::to_string(count), answer) == 0,
           "the flood is asked for");
    expect(pump_until([&] { return heard.next >= count || connection.disconnected > 0; }, 300s), "it ends");
    const double took = seconds(CLOCK_MONOTONIC) - begin;
    expect(heard.next == count && heard.wrong == 0, "all callbacks are told, in their order");
    const int most_callbacks = other->most_callbacks();
    const double wait = other->long_wait();
    const double longest_wait = other->longest_wait();
    other.reset();
    expect(most_callbacks <= 64, "other sources of the loop run after at most 64 callbacks");
    expect(!kMeasures || wait <= 0.010, "and at least every 10 ms");
    expect(!kMeasures || longest_wait <= 0.100, "whatever else the machine does");
    const long peak = kibibytes("VmHWM");
    expect(!kMeasures || peak - before <= 32 * 1024, "a flood takes at most 32 MiB");

    heard = {};
    expect(integration::ask_metadata(connection.handle, "before:" + std::to_string(nested), answer) == 0,
           "a call is answered although the agent floods before it answers");
    expect(heard.next == 0, "callbacks wait for the loop");
    expect(pump_until([&] { return heard.next >= nested || connection.disconnected > 0; }, 60s), "they come");
    expect(heard.next == nested && heard.wrong == 0, "all of them, in their order");
    expect(connection.disconnected == 0, "the connection is not lost over it");
    const long nested_peak = kibibytes("VmHWM");
    expect(!kMeasures || nested_peak - before <= 32 * 1024, "and take at most 32 MiB");
    report("callbacks at full speed", count, full);
    report("callbacks while the loop's thread is in a call", nested, full_nested);
    std::printf(
        "%.0f callbacks a second; other sources waited for at most %d callbacks and %.2f ms, 99 in 100 times "
        "%.2f ms; memory rose by %ld KiB, in a call by %ld\n",
        static_cast<double>(count) / took, most_callbacks, longest_wait * 1e3, wait * 1e3, peak - before,
        nested_peak - before);
}

// The slope of a line through the points.
double slope(const std::vector<std::pair<double, double>>& points)
{
    double x = 0;
    double y = 0;
    for (const auto& [px, py] : points) {
        x += px / static_cast<double>(points.size());
        y += py / static_cast<double>(points.size());
    }
    double above = 0;
    double below = 0;
    for (const auto& [px, py] : points) {
        above += (px - x) * (py - y);
        below += (px - x) * (px - x);
    }
    return below > 0 ? above / below : 0;
}

/// A client of the echoing agent, whose threads call until it is at rest. Each question is another one, so
/// that an answer to somebody else's shows.
class BusyClient {
public:
    explicit BusyClient(int threads, const std::function<void(BusyClient&)>& call_more = {})
    {
        home_.install("2.4.0", ECHO_AGENT);
        expect(connection_.establish(), "a connection is made");
        for (int thread = 0; thread < threads; ++thread) {
            callers_.emplace_back([this, thread, call_more](const std::stop_token& over) {
                for (long i = 0; !over.stop_requested(); ++i) {
                    const std::string nonce = std::to_string(thread) + "-" + std::to_string(i);
                    std::string answer;
                    went(integration::ask_metadata(handle(), nonce, answer) == 0
                         && answer == "metadata of " + nonce);
                    if (call_more)
                        call_more(*this);
                }
            });
        }
    }
    ~BusyClient()
    {
        rest();
        home_.kill_agent(SIGKILL);
    }
    BusyClient(const BusyClient&) = delete;
    BusyClient& operator=(const BusyClient&) = delete;

    quorvel_client_h handle() const { return connection_.handle; }
    const Connection& connection() const { return connection_; }
    void went(bool well)
    {
        ++calls_;
        wrong_ += well ? 0 : 1;
    }
    long calls() const { return calls_; }
    long wrong() const { return wrong_; }
    /// No call is made any more.
    void rest() { callers_.clear(); }

private:
    integration::TemporaryHome home_;
    Connection connection_;
    std::atomic<long> calls_ = 0;
    std::atomic<long> wrong_ = 0;
    std::vector<std::jthread> callers_;
};

void list_devices_and_look_at_account(BusyClient& client)
{
    quorvel_client_device_h* devices = nullptr;
    int count = 0;
    client.went(quorvel_client_get_device_list(client.handle(), &devices, &count) == 0 && count == 12);
    for (int i = 0; i < count; ++i)
        quorvel_client_device_destroy(devices[i]);
    std::free(devices);
    bool is_signed_in = false;
    client.went(quorvel_client_is_signed_in(client.handle(), &is_signed_in) == 0 && is_signed_in);
}

void soak()
{
    constexpr long full = 120;
    const long duration = scaled(full, 12);
    BusyClient client{4, list_devices_and_look_at_account};
    std::atomic<long> heard{0};
    const auto on_event = [](const char*, const char*, const char*, void* data) {
        ++*static_cast<std::atomic<long>*>(data);
    };
    std::vector<std::pair<double, double>> points;
    const double begin = seconds(CLOCK_MONOTONIC);
    const int descriptors = integration::open_descriptors();
    int most_descriptors = descriptors;
    for (double now = begin; now < begin + static_cast<double>(duration); now = seconds(CLOCK_MONOTONIC)) {
        quorvel_client_set_notification_cb(client.handle(), on_event, &heard);
        std::string answer;
        integration::ask_metadata(client.handle(), "storm:200", answer);
        pump_until([] { return false; }, 100ms);
        quorvel_client_unset_notification_cb(client.handle());
        // The beginning fills caches.
        if (now > begin + static_cast<double>(duration) / 3)
            points.emplace_back(static_cast<double>(client.calls()) / 10'000,
                                static_cast<double>(kibibytes("VmRSS")));
        most_descriptors = std::max(most_descriptors, integration::open_descriptors());
    }
    client.rest();
    const double found = slope(points);
    expect(client.wrong() == 0, "every call has its own answer");
    expect(heard > 0, "events come");
    expect(!kMeasures || found <= 1.0, "memory grows by at most 1 KiB in 10,000 calls");
    expect(most_descriptors <= descriptors, "no descriptor more is open");
    report("seconds of mixed load", duration, full);
    std::printf(
        "%ld calls, %ld wrong, %ld events; memory grows by %.3f KiB in 10,000 calls; at most %d descriptors more\n",
        client.calls(), client.wrong(), heard.load(), found, most_descriptors - descriptors);
}

// In a program that was started by a child: what it finds open.
int look_at_descriptors()
{
    int open = 0;
    for (int fd = 3; fd < 1024; ++fd) {
        if (fcntl(fd, F_GETFD) == -1)
            continue;
        std::error_code ignored;
        const auto what = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd), ignored);
        std::printf("open: %d, %s\n", fd, what.c_str());
        ++open;
    }
    std::fflush(stdout);
    return open == 0 ? 0 : 1;
}

void forks()
{
    constexpr long full = 200;
    const long count = scaled(full, 60);
    BusyClient client{8};
    long started = 0;
    for (long i = 0; i < count; ++i) {
        const bool starts = i % 4 == 3;
        started += starts ? 1 : 0;
        const pid_t child = fork();
        if (child == 0) {
            alarm(20);
            if (starts) {
                execl("/proc/self/exe", "endurance", "--look-at-descriptors", nullptr);
                _exit(126);
            }
            bool is_signed_in = false;
            std::string answer;
            const bool right = quorvel_client_is_signed_in(client.handle(), &is_signed_in)
                                   == QUORVEL_CLIENT_ERROR_NOT_CONNECTED
                               && integration::ask_metadata(client.handle(), "child", answer)
                                      == QUORVEL_CLIENT_ERROR_NOT_CONNECTED;
            _exit(right ? 0 : 1);
        }
        int status = -1;
        waitpid(child, &status, 0);
        expect(status == 0, starts ? "a program that a child becomes finds only its standard streams open"
                                   : "a child is not connected, and can tell");
        pump_until([] { return false; }, 1ms);
    }
    client.rest();
    expect(client.wrong() == 0 && client.connection().disconnected == 0, "the parent loses nothing");
    report("children of a process with 8 busy threads", count, full);
    std::printf("%ld of them became another program; the parent made %ld calls meanwhile, %ld wrong\n",
                started, client.calls(), client.wrong());
}

}  // namespace

int main(int argc, char** argv)
{
    const std::string_view mode = argc == 2 ? argv[1] : "";
    if (mode == "--look-at-descriptors")
        return look_at_descriptors();
    // Whoever started this may have left some open, which are none of ours.
    close_range(3, ~0U, 0);
    if (mode == "cycles")
        cycles();
    else if (mode == "flood")
        floods();
    else if (mode == "soak")
        soak();
    else if (mode == "forks")
        forks();
    else
        expect(false, "a mode is given: cycles, flood, soak or forks");
    return failures == 0 ? 0 : 1;
}
