#include "support.hpp"

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <iostream>

namespace integration {

namespace {

constexpr auto package = "com.veltrane.norvik.quorvel-client";

}  // namespace

int scaled(const char* what, int full, int in_ci)
{
    const char* const scale = std::getenv("QUORVEL_TEST_SCALE");
    const int count = scale != nullptr && std::strcmp(scale, "all") == 0 ? full : in_ci;
    std::cout << what << ": " << count << " of " << full << " (" << 100.0 * count / full << " %)\n";
    return count;
}

int open_descriptors()
{
    int count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator{"/proc/self/fd"})
        ++count;
    return count;
}

TemporaryHome::TemporaryHome()
{
    std::string name = std::filesystem::temp_directory_path() / "quorvel-test-XXXXXX";
    path_ = mkdtemp(name.data());
    std::filesystem::create_directory(path_ / "packages");
    setenv("QUORVEL_HOME_DIR", path_.c_str(), 1);
}

TemporaryHome::~TemporaryHome()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path TemporaryHome::manifest() const
{
    return path_ / "packages" / (std::string{package} + ".package");
}

void TemporaryHome::install(std::string_view version, std::string_view command) const
{
    std::ofstream{manifest()} << "id=" << package << "\nversion=" << version << "\nexec=" << command << "\n";
    chmod(manifest().c_str(), 0644);
}

void TemporaryHome::uninstall() const
{
    std::filesystem::remove(manifest());
}

// Whoever holds the lock beside the socket is the one that listens.
pid_t TemporaryHome::agent() const
{
    for (const auto& process : std::filesystem::directory_iterator{"/proc"}) {
        const std::string pid = process.path().filename();
        if (pid.find_first_not_of("0123456789") != std::string::npos)
            continue;
        std::ifstream environment{process.path() / "environ"};
        const std::string values{std::istreambuf_iterator<char>{environment}, {}};
        if (values.find("QUORVEL_HOME_DIR=" + path_.string()) != std::string::npos
            && values.find(std::string{"QUORVEL_APP_ID="} + package) != std::string::npos)
            return std::stoi(pid);
    }
    return 0;
}

void TemporaryHome::kill_agent(int signal) const
{
    if (const pid_t pid = agent(); pid > 0)
        kill(pid, signal);
}

bool pump_until(const std::function<bool()>& condition, std::chrono::milliseconds most)
{
    // A timer, so that an iteration that waits for events comes back.
    const guint timer = g_timeout_add(
        20, [](void*) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
    const auto end = std::chrono::steady_clock::now() + most;
    while (!condition() && std::chrono::steady_clock::now() < end)
        g_main_context_iteration(nullptr, TRUE);
    g_source_remove(timer);
    return condition();
}

LoopThread::LoopThread() : loop_{g_main_loop_new(nullptr, FALSE)}, thread_{[this] { g_main_loop_run(loop_); }}
{
}

LoopThread::~LoopThread()
{
    // From within the loop: one that has not begun to run would miss it.
    g_idle_add(
        [](void* loop) -> gboolean {
            g_main_loop_quit(static_cast<GMainLoop*>(loop));
            return G_SOURCE_REMOVE;
        },
        loop_);
    thread_.join();
    g_main_loop_unref(loop_);
}

int Connection::connect()
{
    return quorvel_client_connect(
        &handle,
        [](int result, int state, void* user_data) {
            auto& self = *static_cast<Connection*>(user_data);
            self.last_result = result;
            ++(state == QUORVEL_CLIENT_CONNECTION_CONNECTED      ? self.connected
               : state == QUORVEL_CLIENT_CONNECTION_DISCONNECTED ? self.disconnected
                                                                 : self.rejected);
            if (state == QUORVEL_CLIENT_CONNECTION_DISCONNECTED && self.on_disconnected)
                self.on_disconnected();
        },
        this);
}

bool Connection::establish()
{
    const int before = connected;
    return connect() == QUORVEL_CLIENT_ERROR_NONE
           && pump_until([&] { return connected > before || rejected > 0 || disconnected > 0; })
           && connected > before;
}

void Connection::disconnect()
{
    if (handle != nullptr)
        quorvel_client_disconnect(handle);
    handle = nullptr;
}

int ask_metadata(quorvel_client_h handle, const std::string& vid, std::string& answer)
{
    char* metadata = nullptr;
    const int code = quorvel_client_get_ui_metadata(handle, vid.c_str(), &metadata);
    const Text owner{metadata};
    answer = metadata != nullptr ? metadata : "";
    return code;
}

}  // namespace integration
