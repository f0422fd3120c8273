// One call of the system, or one allocation, fails at each point of a conversation in turn. Whatever comes of
// that one, the next goes as if nothing had been.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ostream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "failing_allocations.hpp"
#include "failing_calls.hpp"
#include "package_info.h"
#include "support.hpp"

namespace quorvel::platform::test {
namespace {

using namespace std::chrono_literals;

constexpr auto kDeadline = 150ms + kSlack;

// A request, its answer and a callback, on this thread. What it keeps for itself takes no memory.
class Conversation {
public:
    Conversation() = default;
    ~Conversation()
    {
        if (proxy_ != nullptr)
            rpc_port_proxy_destroy(proxy_);
        if (stub_ != nullptr)
            rpc_port_stub_destroy(stub_);
    }
    Conversation(const Conversation&) = delete;
    Conversation& operator=(const Conversation&) = delete;

    // True when all of it came through.
    bool had() { return prepare() && connect() && ask() && be_called() && part(); }

private:
    bool prepare()
    {
        return rpc_port_stub_create(&stub_, kPort) == 0
               && rpc_port_stub_add_connected_event_cb(stub_, note_instance, this) == 0
               && rpc_port_stub_add_disconnected_event_cb(stub_, note_end_of_client, this) == 0
               && rpc_port_stub_add_received_event_cb(stub_, answer, this) == 0
               && rpc_port_proxy_create(&proxy_) == 0
               && rpc_port_proxy_add_connected_event_cb(proxy_, note_connection, this) == 0
               && rpc_port_proxy_add_disconnected_event_cb(proxy_, note_end, this) == 0
               && rpc_port_proxy_add_rejected_event_cb(proxy_, note_end, this) == 0
               && rpc_port_proxy_add_received_event_cb(proxy_, note_event, this) == 0;
    }
    bool connect()
    {
        return rpc_port_stub_listen(stub_) == 0 && rpc_port_proxy_connect(proxy_, kApp, kPort) == 0
               && comes([this] { return main_ != nullptr; });
    }
    bool ask()
    {
        return say(main_) == 0 && comes([this] { return was_asked_; }) && hear(main_) == 0;
    }
    bool be_called()
    {
        rpc_port_h to_client = nullptr;
        rpc_port_h from_agent = nullptr;
        return rpc_port_stub_get_port(stub_, RPC_PORT_PORT_CALLBACK, instance_, &to_client) == 0
               && say(to_client) == 0 && comes([this] { return was_called_; })
               && rpc_port_proxy_get_port(proxy_, RPC_PORT_PORT_CALLBACK, &from_agent) == 0
               && hear(from_agent) == 0;
    }
    bool part()
    {
        rpc_port_proxy_destroy(std::exchange(proxy_, nullptr));
        return comes([this] { return is_client_gone_; });
    }

    template <typename Condition>
    bool comes(Condition&& condition) const
    {
        run_until([&] { return condition() || has_ended_; }, 2 * kDeadline);
        return condition();
    }
    static int say(rpc_port_h port)
    {
        rpc_port_parcel_h parcel = nullptr;
        int result = rpc_port_parcel_create(&parcel);
        if (result == 0)
            result = rpc_port_parcel_send(parcel, port);
        if (parcel != nullptr)
            rpc_port_parcel_destroy(parcel);
        return result;
    }
    static int hear(rpc_port_h port)
    {
        rpc_port_parcel_h parcel = nullptr;
        const int result = rpc_port_parcel_create_from_port(&parcel, port);
        if (result == 0)
            rpc_port_parcel_destroy(parcel);
        return result;
    }

    static Conversation& self(void* data) { return *static_cast<Conversation*>(data); }
    static void note_instance(const char*, const char* instance, void* data)
    {
        std::snprintf(self(data).instance_, sizeof self(data).instance_, "%s", instance);
    }
    static void note_end_of_client(const char*, const char*, void* data)
    {
        self(data).is_client_gone_ = true;
    }
    static int answer(const char*, const char*, rpc_port_h port, void* data)
    {
        self(data).was_asked_ = true;
        const int heard = hear(port);
        return heard == 0 ? say(port) : heard;
    }
    static void note_connection(const char*, const char*, rpc_port_h port, void* data)
    {
        self(data).main_ = port;
    }
    static void note_end(const char*, const char*, void* data) { self(data).has_ended_ = true; }
    static void note_event(const char*, const char*, void* data) { self(data).was_called_ = true; }

    rpc_port_stub_h stub_ = nullptr;
    rpc_port_proxy_h proxy_ = nullptr;
    rpc_port_h main_ = nullptr;
    char instance_[300] = "";
    bool was_asked_ = false;
    bool was_called_ = false;
    bool has_ended_ = false;
    bool is_client_gone_ = false;
};

bool converse()
{
    return Conversation{}.had();
}

struct Fault {
    const char* call;
    int error;
    // What a conversation makes at the least of this call; that many of them are seen to fail.
    int uses;
};
void PrintTo(const Fault& fault, std::ostream* out)
{
    *out << fault.call << " fails with " << fault.error;
}

class ConversationUnderFaults : public testing::TestWithParam<Fault> {
protected:
    Home home_;
    ScopedVariable deadline_{"QUORVEL_DEADLINE_MS", std::to_string(kDeadline.count())};
    ScopedVariable connect_deadline_{"QUORVEL_CONNECT_DEADLINE_MS", std::to_string(kDeadline.count())};
};

TEST_P(ConversationUnderFaults, IsHadAgainAfterEachOfThem)
{
    const std::size_t descriptors = open_descriptors();
    int happened = 0;
    for (int nth = 1; nth <= 12; ++nth) {
        {
            FailingCall fault{GetParam().call, GetParam().error, nth};
            converse();
            if (!fault.happened())
                break;
        }
        ++happened;
        EXPECT_TRUE(converse()) << nth;
    }
    EXPECT_GE(happened, GetParam().uses);
    EXPECT_TRUE(run_until([&] { return open_descriptors() <= descriptors; }, 1s));
}

INSTANTIATE_TEST_SUITE_P(
    Calls, ConversationUnderFaults,
    testing::Values(Fault{"accept4", EMFILE, 2}, Fault{"accept4", ECONNABORTED, 2},
                    Fault{"bind", EADDRINUSE, 1}, Fault{"chmod", EPERM, 1}, Fault{"connect", EINTR, 2},
                    Fault{"connect", EAGAIN, 2}, Fault{"connect", EACCES, 2},
                    Fault{"connect", ECONNREFUSED, 2}, Fault{"epoll_create1", EMFILE, 1},
                    Fault{"epoll_ctl", ENOMEM, 3}, Fault{"fcntl", EBADF, 2}, Fault{"flock", EWOULDBLOCK, 1},
                    Fault{"fstat", EBADF, 2}, Fault{"getrandom", EINTR, 1}, Fault{"getrandom", EIO, 1},
                    Fault{"getsockopt", ENOBUFS, 4}, Fault{"listen", EADDRINUSE, 1}, Fault{"open", EMFILE, 1},
                    Fault{"recv", EINTR, 6}, Fault{"recv", EAGAIN, 6}, Fault{"recv", ECONNRESET, 6},
                    Fault{"send", EINTR, 6}, Fault{"send", EAGAIN, 6}, Fault{"send", EPIPE, 6},
                    Fault{"setsockopt", EBADF, 1}, Fault{"socket", EMFILE, 3}, Fault{"syscall", EPERM, 2},
                    Fault{"syscall", EMFILE, 2}));

class WithoutMemory : public ConversationUnderFaults {};

TEST_F(WithoutMemory, AConversationIsHadAgainAfterwards)
{
    const std::size_t descriptors = open_descriptors();
    int happened = 0;
    for (int nth = 1; nth <= 200; ++nth) {
        {
            FailingAllocation fault{nth};
            converse();
            if (!fault.happened())
                break;
        }
        ++happened;
        EXPECT_TRUE(converse()) << nth;
    }
    // Stub, proxy, their eight callbacks, and both ends of the connection.
    EXPECT_GE(happened, 12);
    EXPECT_LT(happened, 200);
    EXPECT_TRUE(run_until([&] { return open_descriptors() <= descriptors; }, 1s));
}

// Lets the first allocation of an attempt fail, then the second…, until it succeeds; how many were needed.
template <typename Attempt>
int allocations_needed(Attempt&& attempt)
{
    for (int nth = 1;; ++nth) {
        FailingAllocation fault{nth};
        const bool succeeded = attempt();
        if (!fault.happened()) {
            EXPECT_TRUE(succeeded);
            return nth - 1;
        }
        EXPECT_FALSE(succeeded) << nth;
    }
}

class BundleWithoutMemory : public testing::Test {
protected:
    ~BundleWithoutMemory() override { bundle_free(b_); }

    bundle* b_ = bundle_create();
    // More than a bundle keeps room for, so that it takes a block of its own.
    const std::string long_text_ = std::string(5000, 'x');
};

TEST_F(BundleWithoutMemory, IsNotMade)
{
    EXPECT_EQ(allocations_needed([] {
                  bundle* const made = bundle_create();
                  if (made != nullptr)
                      bundle_free(made);
                  return made != nullptr;
              }),
              1);
}

TEST_F(BundleWithoutMemory, StaysAsItWas)
{
    // Its table of entries, a block for the key, another for the text. What an attempt got it keeps for the
    // next.
    EXPECT_EQ(allocations_needed([&] {
                  const int result = bundle_add_str(b_, "text", long_text_.c_str());
                  if (result != 0) {
                      EXPECT_EQ(result, BUNDLE_ERROR_OUT_OF_MEMORY);
                      EXPECT_EQ(bundle_get_count(b_), 0);
                      bundle_free(b_);
                      b_ = bundle_create();
                  }
                  return result == 0;
              }),
              3);
    char* kept = nullptr;
    EXPECT_EQ(bundle_get_str(b_, "text", &kept), 0);
    EXPECT_EQ(kept, long_text_);
}

TEST_F(BundleWithoutMemory, TakesNoHalfOfAnArrayAndNoHalfOfItsBytes)
{
    const char* texts[] = {"short", long_text_.c_str()};
    EXPECT_GE(allocations_needed([&] {
                  const int result = bundle_add_str_array(b_, "texts", texts, 2);
                  if (result != 0) {
                      EXPECT_EQ(bundle_get_str_array(b_, "texts", nullptr), nullptr);
                      bundle_free(b_);
                      b_ = bundle_create();
                  }
                  return result == 0;
              }),
              3);
    // So many places for texts that they take a block of their own.
    std::vector<const char*> many(1000, "");
    EXPECT_GE(allocations_needed([&] {
                  return bundle_add_str_array(b_, "many", many.data(), static_cast<int>(many.size())) == 0;
              }),
              1);
    EXPECT_GE(allocations_needed(
                  [&] { return bundle_add_byte(b_, "bytes", long_text_.data(), long_text_.size()) == 0; }),
              1);
    EXPECT_EQ(bundle_get_count(b_), 3);
}

TEST_F(BundleWithoutMemory, IsNotCopiedByHalf)
{
    // An array's texts were cut to measure, one by one; the copy's places for them stand between.
    std::vector<const char*> many(1000, "");
    bundle_add_str(b_, "text", long_text_.c_str());
    bundle_add_str_array(b_, "many", many.data(), static_cast<int>(many.size()));
    EXPECT_GE(allocations_needed([&] {
                  bundle* const copy = bundle_dup(b_);
                  if (copy == nullptr)
                      return false;
                  EXPECT_EQ(bundle_get_count(copy), 2);
                  bundle_free(copy);
                  return true;
              }),
              3);
}

TEST_F(BundleWithoutMemory, IsNotReadByHalf)
{
    std::vector<const char*> many(1000, "");
    bundle_add_str_array(b_, "many", many.data(), static_cast<int>(many.size()));
    bundle_add_str(b_, "text", long_text_.c_str());
    bundle_add_byte(b_, "bytes", long_text_.data(), long_text_.size());
    // So many keys that they are sorted to find two alike.
    for (int i = 0; i < 40; ++i)
        bundle_add_str(b_, std::to_string(i).c_str(), "");
    EXPECT_GE(allocations_needed([&] {
                  rpc_port_parcel_h parcel = nullptr;
                  if (rpc_port_parcel_create(&parcel) != 0)
                      return false;
                  const bool written = rpc_port_parcel_write_bundle(parcel, b_) == 0;
                  bundle* read = nullptr;
                  const bool complete = rpc_port_parcel_read_bundle(parcel, &read) == 0;
                  EXPECT_EQ(complete, read != nullptr);
                  if (read != nullptr)
                      bundle_free(read);
                  rpc_port_parcel_destroy(parcel);
                  return written && complete;
              }),
              5);
}

TEST(ParcelWithoutMemory, FailsTheWriteOrTheReadAndAllThatFollow)
{
    // Longer than what a parcel holds within itself.
    const std::string text(100000, 'x');
    // A thread of its own has no parcels to spare.
    std::thread{[&] {
        EXPECT_GE(allocations_needed([&] {
                      rpc_port_parcel_h parcel = nullptr;
                      if (rpc_port_parcel_create(&parcel) != 0)
                          return false;
                      const int written = rpc_port_parcel_write_string(parcel, text.c_str());
                      char* copy = nullptr;
                      const int read = rpc_port_parcel_read_string(parcel, &copy);
                      EXPECT_EQ(written == 0 && read == 0, copy != nullptr && copy == text);
                      std::free(copy);
                      if (read == RPC_PORT_ERROR_OUT_OF_MEMORY) {
                          int value = 7;
                          EXPECT_EQ(rpc_port_parcel_read_int32(parcel, &value), RPC_PORT_ERROR_IO_ERROR);
                          EXPECT_EQ(value, 7);
                      }
                      rpc_port_parcel_destroy(parcel);
                      return written == 0 && read == 0;
                  }),
                  2);
    }}.join();
}

TEST(PackageWithoutMemory, HasNoVersion)
{
    const Home home;
    home.install("id=com.example.agent\nversion=2.3.15\n");
    package_info_h info = nullptr;
    ASSERT_EQ(package_info_create(kApp, &info), 0);
    char* version = nullptr;
    {
        FailingAllocation fault{1};
        EXPECT_EQ(package_info_get_version(info, &version), RPC_PORT_ERROR_OUT_OF_MEMORY);
        EXPECT_TRUE(fault.happened());
    }
    EXPECT_EQ(version, nullptr);
    EXPECT_EQ(package_info_destroy(info), 0);
}

}  // namespace
}  // namespace quorvel::platform::test
