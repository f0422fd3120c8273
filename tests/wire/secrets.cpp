// What is secret is in no line of the log, whatever is logged, and in no memory once the application has
// released its own: tokens, PINs, passwords, there and back.
//
// The secret stands in this program's memory only while it is used. The search compares with its reversed
// bits, and so does not find itself.
#include <fcntl.h>
#include <quorvel_client.h>
#include <quorvel_client_easy_setup.h>
#include <quorvel_client_qc_api.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "examine.hpp"
#include "fake_port.hpp"
#include "scale.hpp"

namespace {

using wire::FakePort;
using wire::int32;

constexpr std::size_t kSize = 96;
// Enough of it in a row is a find; an allocator may write over the first bytes of a freed block.
constexpr std::size_t kFind = 16;
unsigned char reversed[kSize];

char secret_byte(std::size_t i)
{
    return static_cast<char>(~reversed[i]);
}

/// The secret, wiped when it goes.
class Secret {
public:
    Secret()
    {
        for (std::size_t i = 0; i < kSize; ++i)
            text_[i] = secret_byte(i);
        text_[kSize] = '\0';
    }
    ~Secret() { explicit_bzero(text_, sizeof text_); }
    Secret(const Secret&) = delete;
    Secret& operator=(const Secret&) = delete;
    const char* text() const { return text_; }

private:
    char text_[kSize + 1];
};

/// Bytes with the secret in them, wiped when they go.
class Bytes {
public:
    Bytes& add(std::string_view plain)
    {
        grow(plain.size());
        std::memcpy(bytes_ + size_, plain.data(), plain.size());
        size_ += plain.size();
        return *this;
    }
    Bytes& add_secret()
    {
        add(int32(kSize + 1));
        grow(kSize + 1);
        for (std::size_t i = 0; i < kSize; ++i)
            bytes_[size_++] = secret_byte(i);
        bytes_[size_++] = '\0';
        return *this;
    }
    ~Bytes() { explicit_bzero(bytes_, sizeof bytes_); }
    Bytes() = default;
    Bytes(const Bytes&) = delete;
    Bytes& operator=(const Bytes&) = delete;
    std::string_view all() const { return {bytes_, size_}; }

private:
    void grow(std::size_t size) const { wire::require(size_ + size <= sizeof bytes_, "there is room"); }

    char bytes_[1024];
    std::size_t size_ = 0;
};

void wipe_and_free(char* text)
{
    if (text != nullptr)
        explicit_bzero(text, std::strlen(text));
    std::free(text);
}

bool is_secret_at(const char* at)
{
    for (std::size_t offset = 0; offset + kFind <= kSize; ++offset) {
        std::size_t same = 0;
        while (same < kFind && static_cast<unsigned char>(~at[same]) == reversed[offset + same])
            ++same;
        if (same == kFind)
            return true;
    }
    return false;
}

long finds_in(const char* begin, const char* end)
{
    // Only where the first byte occurs is it worth to look closer.
    bool occurs[256] = {};
    for (const unsigned char byte : reversed)
        occurs[static_cast<unsigned char>(~byte)] = true;
    long finds = 0;
    for (const char* at = begin; at + kFind <= end; ++at) {
        if (occurs[static_cast<unsigned char>(*at)] && occurs[static_cast<unsigned char>(at[kFind - 1])]
            && is_secret_at(at)) {
            ++finds;
            at += kSize;
        }
    }
    return finds;
}

// The heap and every other piece of memory that belongs to no file and can be written; the stack apart.
long finds_in_heap()
{
    long finds = 0;
    std::ifstream maps{"/proc/self/maps"};
    for (std::string line; std::getline(maps, line);) {
        unsigned long begin = 0;
        unsigned long end = 0;
        char rights[5] = {};
        unsigned long offset = 0;
        char device[16] = {};
        unsigned long inode = 0;
        if (std::sscanf(line.c_str(), "%lx-%lx %4s %lx %15s %lu", &begin, &end, rights, &offset, device,
                        &inode)
                != 6
            || rights[0] != 'r' || rights[1] != 'w' || inode != 0
            || line.find("[stack]") != std::string::npos)
            continue;
        finds += finds_in(reinterpret_cast<const char*>(begin), reinterpret_cast<const char*>(end));
    }
    return finds;
}

// The application's side.

quorvel_client_h client;
std::map<std::int32_t, std::string> delegates;  // as they end the requests that register them, by id
int told = 0;

void answer(std::string_view payload)
{
    // In the block where it stays, so that no copy is left of a string that grew.
    std::string& placed = FakePort::instance().answers.emplace_back(payload.size(), '\0');
    std::copy(payload.begin(), payload.end(), placed.begin());
}

int take(std::string_view sent)
{
    constexpr std::size_t delegate = 9;
    if (sent.size() >= 4 + delegate) {
        const std::string_view tail = sent.substr(sent.size() - delegate);
        const std::int32_t id = wire::int32_at(tail, 0);
        // Not the end of a text, which may be a secret's.
        if (id >= 1 && id <= 38)
            delegates[id] = tail;
    }
    if (FakePort::instance().answers.empty())
        answer(int32(0) + int32(0));
    return 0;
}

void call_back(std::int32_t id, const Bytes& values)
{
    wire::require(delegates.count(id) == 1, "the callback was registered for");
    Bytes payload;
    payload.add(int32(1)).add(delegates[id]).add(values.all());
    FakePort::instance().tell_received(payload.all());
}

struct Scene {
    const char* what;
    std::function<void()> run;
};

const Scene scenes[] = {
    {"an access token",
     [] {
         {
             Bytes payload;
             answer(payload.add(int32(0)).add_secret().add(int32(0)).all());
         }
         char* token = nullptr;
         wire::require(quorvel_client_get_access_token(client, &token) == 0 && std::strlen(token) == kSize,
                       "it comes");
         ++told;
         wipe_and_free(token);
     }},
    {"a device's token",
     [] {
         quorvel_client_get_vxr_device_token(
             client, [](auto...) { ++told; }, nullptr);
         Bytes values;
         call_back(15, values.add_secret().add(int32(0)));
     }},
    {"a peer's token",
     [] {
         quorvel_client_get_vxr_device_peer_token(
             client, "device", [](auto...) { ++told; }, nullptr);
         Bytes values;
         call_back(20, values.add_secret().add_secret().add(std::string(1, '\1')).add(int32(0)));
     }},
    {"a PIN that the agent tells",
     [] {
         quorvel_client_easy_setup_initialize(
             client, 0, [](auto...) {}, nullptr);
         Bytes well;
         call_back(33, well.add(int32(0)));
         quorvel_client_easy_setup_start(
             client, "type", true, [](auto...) {}, [](auto...) { ++told; }, [](auto...) {}, nullptr);
         Bytes values;
         call_back(24, values.add_secret().add(int32(kSize)));
     }},
    {"a PIN that is set",
     [] {
         const Secret pin;
         quorvel_client_easy_setup_set_random_pin(client, pin.text());
         ++told;
     }},
    {"a network's password",
     [] {
         quorvel_client_easy_setup_device_property_h property = nullptr;
         quorvel_client_easy_setup_device_property_create(&property);
         {
             const Secret password;
             for (int id = 0; id < 16; ++id)
                 quorvel_client_easy_setup_device_property_set_string(property, id, password.text());
         }
         quorvel_client_easy_setup_device_provisioning(
             client, property, [](auto...) {}, nullptr);
         quorvel_client_easy_setup_device_property_destroy(property);
         ++told;
     }},
    {"an account's token for a new device",
     [] {
         quorvel_client_easy_setup_cloud_property_h property = nullptr;
         quorvel_client_easy_setup_cloud_property_create(&property);
         {
             const Secret token;
             for (int id = 0; id < 16; ++id)
                 quorvel_client_easy_setup_cloud_property_set_string(property, id, token.text());
         }
         quorvel_client_easy_setup_cloud_provisioning(
             client, property, [](auto...) {}, nullptr);
         quorvel_client_easy_setup_cloud_property_destroy(property);
         ++told;
     }},
    {"what a device signs up with",
     [] {
         {
             Bytes entries;
             entries.add(int32(1)).add(int32(1)).add(wire::text("access_token")).add_secret();
             Bytes payload;
             payload.add(int32(0)).add(int32(static_cast<std::int32_t>(entries.all().size())));
             payload.add(int32(1)).add(int32(1)).add(wire::text("access_token")).add_secret().add(int32(0));
             answer(payload.all());
         }
         quorvel_client_self_sign_up_info_h info = nullptr;
         wire::require(quorvel_client_get_self_sign_up_info(client, "group", "options", &info) == 0,
                       "it comes");
         quorvel_client_self_sign_up_info_destroy(info);
         ++told;
     }},
    {"a failed answer that is cut within the token",
     [] {
         {
             Bytes payload;
             payload.add(int32(0)).add_secret();
             answer(payload.all().substr(0, payload.all().size() - 8));
         }
         char* token = nullptr;
         quorvel_client_get_access_token(client, &token);
         ++told;
         wipe_and_free(token);
     }},
};

}  // namespace

int main()
{
    // Chosen anew each time, of bytes that a text can have.
    wire::require(getentropy(reversed, sizeof reversed) == 0, "there is chance");
    for (unsigned char& byte : reversed)
        byte = static_cast<unsigned char>(~('!' + byte % 90));

    char log[] = "/tmp/quorvel-secrets-XXXXXX";
    const int file = mkstemp(log);
    const int before = dup(STDERR_FILENO);
    setenv("QUORVEL_LOG", "*:verbose", 1);
    dup2(file, STDERR_FILENO);

    FakePort& port = FakePort::instance();
    port.on_send = take;
    quorvel_client_connect(
        &client, [](int, int, void*) {}, nullptr);
    port.tell_connected();

    // That the search finds: one that nobody wiped.
    char* const planted = static_cast<char*>(std::malloc(kSize));
    for (std::size_t i = 0; i < kSize; ++i)
        planted[i] = secret_byte(i);
    const bool finds_planted = finds_in_heap() == 1;
    explicit_bzero(planted, kSize);
    std::free(planted);
    long finds = 0;
    std::vector<std::pair<const char*, long>> account;
    for (const Scene& scene : scenes) {
        const int told_before = told;
        scene.run();
        wire::require(told == told_before + 1, "the secret was used");
        account.emplace_back(scene.what, finds_in_heap() - finds);
        finds += account.back().second;
    }
    quorvel_client_disconnect(client);

    dup2(before, STDERR_FILENO);
    std::ifstream lines{log, std::ios::binary};
    const std::string logged{std::istreambuf_iterator<char>{lines}, {}};
    unlink(log);
    const long in_log = finds_in(logged.data(), logged.data() + logged.size());
    for (const auto& [what, found] : account) {
        if (found != 0)
            std::printf("FAILED: %s is found %ld times in memory\n", what, found);
    }
    wire::report("kinds of secrets looked for in memory and log", static_cast<long>(account.size()),
                 static_cast<long>(std::size(scenes)));
    std::printf("%ld found in memory, %ld in %zu bytes of log; one that was planted was %s\n", finds, in_log,
                logged.size(), finds_planted ? "found" : "NOT FOUND");
    return finds == 0 && in_log == 0 && finds_planted && !logged.empty() ? 0 : 1;
}
