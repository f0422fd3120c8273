#include "support.hpp"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace quorvel::platform::test {

using namespace std::chrono_literals;

ScopedVariable::ScopedVariable(const char* name, const std::string& value)
    : name_(name), was_set_(std::getenv(name) != nullptr), before_(was_set_ ? std::getenv(name) : "")
{
    setenv(name, value.c_str(), 1);
}

ScopedVariable::~ScopedVariable()
{
    if (was_set_)
        setenv(name_.c_str(), before_.c_str(), 1);
    else
        unsetenv(name_.c_str());
}

static std::string new_directory()
{
    char path[] = "/tmp/qvpXXXXXX";
    return mkdtemp(path);
}

Home::Home() : path_(new_directory()), home_("QUORVEL_HOME_DIR", path_), app_id_("QUORVEL_APP_ID", kApp) {}

Home::~Home()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

void Home::install(const std::string& text, const std::string& id) const
{
    std::filesystem::create_directories(path_ + "/packages");
    std::ofstream{path_ + "/packages/" + id + ".package"} << text;
}

std::string Home::read(const std::string& relative) const
{
    std::ifstream file{path_ + "/" + relative, std::ios::binary};
    return {std::istreambuf_iterator<char>{file}, {}};
}

#ifdef __SANITIZE_ADDRESS__
NoLeakCheck::NoLeakCheck()
{
    __lsan_disable();
}
NoLeakCheck::~NoLeakCheck()
{
    __lsan_enable();
}
#else
NoLeakCheck::NoLeakCheck() = default;
NoLeakCheck::~NoLeakCheck() = default;
#endif

pid_t fork_with_parent()
{
    const pid_t child = fork();
    if (child == 0)
        prctl(PR_SET_PDEATHSIG, SIGKILL);
    return child;
}

bool run_until(const std::function<bool()>& condition, std::chrono::milliseconds patience)
{
    const auto end = std::chrono::steady_clock::now() + patience;
    // A timer of its own, so that an iteration ends although nothing happens.
    const guint timer = g_timeout_add(
        5, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
    while (!condition() && std::chrono::steady_clock::now() < end)
        g_main_context_iteration(nullptr, TRUE);
    g_source_remove(timer);
    return condition();
}

void run_for(std::chrono::milliseconds time)
{
    run_until([] { return false; }, time);
}

static std::map<std::string, Role>& roles()
{
    static std::map<std::string, Role> all;
    return all;
}

void add_role(const char* name, Role role)
{
    roles()[name] = role;
}

int run_named_role(const std::string& name)
{
    return roles().at(name)();
}

Outcome run_role(const std::string& role, const std::vector<std::pair<std::string, std::string>>& variables)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return {-1, {}};
    const pid_t child = fork();
    if (child == 0) {
        for (const auto& [name, value] : variables)
            setenv(name.c_str(), value.c_str(), 1);
        dup2(ends[1], STDERR_FILENO);
        execl("/proc/self/exe", "platform_tests", "--role", role.c_str(), nullptr);
        _exit(126);
    }
    close(ends[1]);
    Outcome outcome{};
    char buffer[4096];
    for (ssize_t count = 0; (count = read(ends[0], buffer, sizeof buffer)) > 0;)
        outcome.errors.append(buffer, static_cast<std::size_t>(count));
    close(ends[0]);
    waitpid(child, &outcome.status, 0);
    return outcome;
}

Client::Client()
{
    rpc_port_proxy_create(&proxy);
    rpc_port_proxy_add_connected_event_cb(
        proxy,
        [](const char*, const char*, rpc_port_h port, void* data) {
            auto& self = *static_cast<Client*>(data);
            ++self.connected;
            self.main = port;
            rpc_port_proxy_get_port(self.proxy, RPC_PORT_PORT_CALLBACK, &self.callback);
            if (self.on_connected)
                self.on_connected();
        },
        this);
    rpc_port_proxy_add_disconnected_event_cb(
        proxy,
        [](const char*, const char*, void* data) {
            auto& self = *static_cast<Client*>(data);
            ++self.disconnected;
            if (self.on_disconnected)
                self.on_disconnected();
        },
        this);
    rpc_port_proxy_add_rejected_event_cb(
        proxy, [](const char*, const char*, void* data) { ++static_cast<Client*>(data)->rejected; }, this);
    rpc_port_proxy_add_received_event_cb(
        proxy,
        [](const char*, const char*, void* data) {
            auto& self = *static_cast<Client*>(data);
            rpc_port_parcel_h parcel = nullptr;
            if (rpc_port_parcel_create_from_port(&parcel, self.callback) != 0)
                return;
            char* value = nullptr;
            rpc_port_parcel_read_string(parcel, &value);
            self.received.emplace_back(value != nullptr ? value : "");
            free(value);
            rpc_port_parcel_destroy(parcel);
            if (self.on_received)
                self.on_received();
        },
        this);
}

Client::~Client()
{
    destroy();
}

void Client::destroy()
{
    if (proxy != nullptr)
        rpc_port_proxy_destroy(std::exchange(proxy, nullptr));
}

int Client::connect(const char* app, const char* port)
{
    return rpc_port_proxy_connect(proxy, app, port);
}

bool Client::connect_to_open()
{
    return connect() == 0 && run_until([this] { return connected + ended() != 0; }) && connected == 1;
}

int send_text(rpc_port_h port, const std::string& value)
{
    rpc_port_parcel_h parcel = nullptr;
    rpc_port_parcel_create(&parcel);
    rpc_port_parcel_write_string(parcel, value.c_str());
    const int result = rpc_port_parcel_send(parcel, port);
    rpc_port_parcel_destroy(parcel);
    return result;
}

Answer call(rpc_port_h main, const std::string& value)
{
    Answer answer{send_text(main, value), 0, {}};
    rpc_port_parcel_h parcel = nullptr;
    answer.read = rpc_port_parcel_create_from_port(&parcel, main);
    if (answer.read == 0) {
        char* result = nullptr;
        rpc_port_parcel_read_string(parcel, &result);
        answer.text = result;
        free(result);
        rpc_port_parcel_destroy(parcel);
    }
    return answer;
}

std::future<Answer> call_aside(rpc_port_h main, const std::string& value)
{
    return std::async(std::launch::async, [main, value] { return call(main, value); });
}

std::string int32(std::int32_t value)
{
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8)
        bytes.push_back(static_cast<char>(static_cast<std::uint32_t>(value) >> shift));
    return bytes;
}

std::string text(std::string_view value)
{
    return int32(static_cast<std::int32_t>(value.size() + 1)) + std::string(value) + '\0';
}

std::string frame(std::string_view payload)
{
    return int32(static_cast<std::int32_t>(payload.size())) + std::string(payload);
}

bool write_all(int fd, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

std::string read_some(int fd, std::size_t size)
{
    std::string bytes(size, '\0');
    std::size_t used = 0;
    while (used < size) {
        pollfd waiting{fd, POLLIN, 0};
        if (poll(&waiting, 1, 5000) <= 0)
            break;
        const ssize_t count = recv(fd, bytes.data() + used, size - used, 0);
        if (count <= 0)
            break;
        used += static_cast<std::size_t>(count);
    }
    bytes.resize(used);
    return bytes;
}

std::string read_frame(int fd)
{
    const std::string head = read_some(fd, 4);
    if (head.size() < 4)
        return "no frame";
    std::int32_t size = 0;
    std::memcpy(&size, head.data(), 4);
    return read_some(fd, static_cast<std::size_t>(size));
}

bool is_at_end(int fd)
{
    char byte = 0;
    pollfd waiting{fd, POLLIN, 0};
    return poll(&waiting, 1, 5000) == 1 && recv(fd, &byte, 1, 0) <= 0;
}

static sockaddr_un address_of(const Home& home)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    home.socket().copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

RawAgent::RawAgent(const Home& home) : listener_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    mkdir((home.path() + "/run").c_str(), 0700);
    const sockaddr_un address = address_of(home);
    if (bind(listener_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0
        || ::listen(listener_.get(), 16) != 0)
        std::abort();
}

Descriptor RawAgent::accept_one()
{
    pollfd waiting{listener_.get(), POLLIN, 0};
    if (poll(&waiting, 1, 5000) != 1)
        return {};
    return Descriptor{accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC)};
}

Link RawAgent::accept(std::int32_t status)
{
    Descriptor one = accept_one();
    Descriptor other = accept_one();
    const std::string first = read_frame(one.get());
    read_frame(other.get());
    // The port's kind stands behind the magic number and the version.
    const bool one_is_main = first.size() > 8 && first[8] == 0;
    Link link{one_is_main ? std::move(one) : std::move(other),
              one_is_main ? std::move(other) : std::move(one)};
    write_all(link.main.get(), frame("QVRP" + int32(status)));
    return link;
}

Descriptor connect_raw(const Home& home)
{
    Descriptor fd{socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    const sockaddr_un address = address_of(home);
    if (::connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return {};
    return fd;
}

std::string introduction(std::int32_t port, char token_fill, const std::string& sender)
{
    return frame("QVRP" + int32(1) + int32(port) + std::string(16, token_fill) + text(sender));
}

Link introduce_raw(const Home& home, char token_fill)
{
    Link link{connect_raw(home), connect_raw(home)};
    write_all(link.main.get(), introduction(0, token_fill));
    write_all(link.callback.get(), introduction(1, token_fill));
    return link;
}

Agent::Agent()
{
    rpc_port_stub_create(&stub, kPort);
    rpc_port_stub_add_connected_event_cb(
        stub,
        [](const char*, const char* instance, void* data) {
            static_cast<Agent*>(data)->instances.emplace_back(instance);
        },
        this);
    rpc_port_stub_add_disconnected_event_cb(
        stub,
        [](const char*, const char* instance, void* data) {
            auto& self = *static_cast<Agent*>(data);
            self.gone.emplace_back(instance);
            if (self.on_gone)
                self.on_gone();
        },
        this);
    rpc_port_stub_add_received_event_cb(
        stub,
        [](const char*, const char*, rpc_port_h port, void* data) {
            auto& self = *static_cast<Agent*>(data);
            if (self.on_request)
                return self.on_request(port);
            rpc_port_parcel_h parcel = nullptr;
            if (rpc_port_parcel_create_from_port(&parcel, port) != 0)
                return -1;
            char* value = nullptr;
            rpc_port_parcel_read_string(parcel, &value);
            self.requests.emplace_back(value);
            free(value);
            rpc_port_parcel_destroy(parcel);
            send_text(port, "echo:" + self.requests.back());
            return 0;
        },
        this);
}

Agent::~Agent()
{
    if (stub != nullptr)
        rpc_port_stub_destroy(stub);
}

int Agent::listen()
{
    return rpc_port_stub_listen(stub);
}

rpc_port_h Agent::port(rpc_port_port_type_e type, std::size_t client) const
{
    rpc_port_h port = nullptr;
    rpc_port_stub_get_port(stub, type, instances.at(client).c_str(), &port);
    return port;
}

int read_one(rpc_port_h port, std::string* value)
{
    rpc_port_parcel_h parcel = nullptr;
    const int result = rpc_port_parcel_create_from_port(&parcel, port);
    if (result != 0)
        return result;
    char* got = nullptr;
    rpc_port_parcel_read_string(parcel, &got);
    if (value != nullptr)
        *value = got;
    free(got);
    rpc_port_parcel_destroy(parcel);
    return result;
}

std::size_t open_descriptors()
{
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        ++count;
    return count;
}

}  // namespace quorvel::platform::test
