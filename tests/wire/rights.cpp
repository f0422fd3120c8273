// Everything that the library does once it is connected, with the rights that it needs for that and no
// others: the kernel ends the process when it opens a file to write, starts a program, makes a socket of the
// network, or does anything else that is not on the list below.
#include <fcntl.h>
#include <glib.h>
#include <seccomp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <sys/wait.h>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <string>

#include "caller.hpp"
#include "examine.hpp"
#include "scale.hpp"

namespace {

class Application : public wire::Caller {
public:
    quorvel_client_h handle = nullptr;

    quorvel_client_h client() override { return handle; }
    void connected(quorvel_client_h made) override
    {
        if (handle == nullptr)
            handle = made;
    }
    const char* text() override { return texts_[next_++ % std::size(texts_)]; }
    int number() override { return 1; }
    int property() override { return property_++ % 40; }
    bool flag() override { return true; }

private:
    static constexpr const char* texts_[] = {"text", "{}", "tv-living", "1"};
    std::size_t next_ = 0;
    int property_ = 0;
};

void iterate(int milliseconds)
{
    bool over = false;
    g_timeout_add(
        static_cast<guint>(milliseconds),
        [](void* data) -> gboolean {
            *static_cast<bool*>(data) = true;
            return G_SOURCE_REMOVE;
        },
        &over);
    while (!over)
        g_main_context_iteration(nullptr, TRUE);
}

void give_up_rights()
{
    const scmp_filter_ctx filter = seccomp_init(SCMP_ACT_TRAP);
    for (const char* name : {"read",           "readv",
                             "write",          "writev",
                             "close",          "poll",
                             "ppoll",          "recvfrom",
                             "recvmsg",        "sendto",
                             "sendmsg",        "shutdown",
                             "getsockopt",     "setsockopt",
                             "connect",        "futex",
                             "mmap",           "munmap",
                             "mremap",         "mprotect",
                             "madvise",        "brk",
                             "clock_gettime",  "clock_nanosleep",
                             "gettimeofday",   "rt_sigaction",
                             "rt_sigreturn",   "rt_sigprocmask",
                             "exit",           "exit_group",
                             "getpid",         "gettid",
                             "geteuid",        "getuid",
                             "getrandom",      "fstat",
                             "newfstatat",     "lseek",
                             "getdents64",     "fcntl",
                             "sched_yield",    "set_robust_list",
                             "rseq",           "clone3",
                             "clone",          "eventfd2",
                             "restart_syscall"})
        seccomp_rule_add(filter, SCMP_ACT_ALLOW, seccomp_syscall_resolve_name(name), 0);
    // Only to read: the package's file, for the agent's version.
    const scmp_arg_cmp only_to_read{2, SCMP_CMP_MASKED_EQ, O_ACCMODE | O_CREAT | O_TRUNC, O_RDONLY};
    seccomp_rule_add_array(filter, SCMP_ACT_ALLOW, SCMP_SYS(openat), 1, &only_to_read);
    const scmp_arg_cmp on_this_machine{0, SCMP_CMP_EQ, AF_UNIX, 0};
    seccomp_rule_add_array(filter, SCMP_ACT_ALLOW, SCMP_SYS(socket), 1, &on_this_machine);
    wire::require(seccomp_load(filter) == 0, "rights can be given up");
    seccomp_release(filter);
}

// The last call is one that is not allowed, to see that it is noticed.
volatile sig_atomic_t violation_is_expected = 0;

extern "C" void tell_of_violation(int, siginfo_t* info, void*)
{
    if (violation_is_expected != 0)
        std::_Exit(0);
    char* const name = seccomp_syscall_resolve_num_arch(SCMP_ARCH_NATIVE, info->si_syscall);
    std::fprintf(stderr, "FAILED: a call of %s, which the library has no right to\n", name);
    std::_Exit(1);
}

[[noreturn]] void be_the_application()
{
    Application application;
    application.call(calls::row_of("quorvel_client_connect"));
    int state = 0;
    for (int i = 0; i < 500 && quorvel_client_get_state(application.handle, &state) != 0; ++i)
        iterate(20);
    wire::require(quorvel_client_get_state(application.handle, &state) == 0, "a connection is made");
    struct sigaction action {};
    action.sa_sigaction = tell_of_violation;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGSYS, &action, nullptr);
    give_up_rights();

    long made = 0;
    long well = 0;
    for (int round = 0; round < 3; ++round) {
        for (const calls::Row& each : calls::public_rows()) {
            if (each.name == "quorvel_client_disconnect")
                continue;
            well += application.call(each) == 0 ? 1 : 0;
            ++made;
        }
        iterate(100);
    }
    quorvel_client_disconnect(application.handle);
    application.handle = nullptr;
    ++made;
    wire::report("public functions without a right too much", static_cast<long>(calls::public_rows().size()),
                 233);
    std::printf("%ld calls, %ld of them answered with 0; not one thing that is not allowed\n", made, well);
    std::fflush(stdout);
    violation_is_expected = 1;
    static_cast<void>(open("/dev/null", O_WRONLY));
    std::fprintf(stderr, "FAILED: a violation is not noticed\n");
    std::_Exit(1);
}

// The agent, which the library started, is ours once the application is gone.
void end_children()
{
    std::ifstream children{"/proc/self/task/" + std::to_string(getpid()) + "/children"};
    for (pid_t child = 0; children >> child;)
        kill(child, SIGKILL);
    while (waitpid(-1, nullptr, 0) > 0)
        ;
}

}  // namespace

int main(int argc, char** argv)
{
    wire::require(argc == 2, "the agent's program is given");
    char home[] = "/tmp/quorvel-rights-XXXXXX";
    wire::require(mkdtemp(home) != nullptr, "there is a place");
    const std::filesystem::path packages = std::filesystem::path{home} / "packages";
    std::filesystem::create_directory(packages);
    const std::filesystem::path manifest = packages / "com.veltrane.norvik.quorvel-client.package";
    std::ofstream{manifest} << "id=com.veltrane.norvik.quorvel-client\nversion=2.4.0\nexec=" << argv[1]
                            << "\n";
    std::filesystem::permissions(manifest, std::filesystem::perms{0644});
    setenv("QUORVEL_HOME_DIR", home, 1);

    // A second process tidies up: the first will not be able to.
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    const pid_t child = fork();
    if (child == 0)
        be_the_application();
    int status = 0;
    waitpid(child, &status, 0);
    end_children();
    std::error_code ignored;
    std::filesystem::remove_all(home, ignored);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}
