// GLib ends the process when it has no memory. So it is asked for some in few places only, and there the end
// is a clean one: an abort with a message, never a crash. A registration takes none.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <set>

#include "live.hpp"
#include "scenarios.hpp"

using namespace torture;

namespace {

/// The functions that make a connection, which is what needs GLib's tables and its mutex, and those that
/// subscribe: their keys hold a checksum, and their tables grow.
bool may_allocate(const Scenario& scenario)
{
    static const std::set<std::string_view> functions = {
        "quorvel_client_connect",
        "quorvel_client_subscribe",
        "quorvel_client_unsubscribe",
        "quorvel_client_start_monitoring_cloud_device_state",
        "quorvel_client_stop_monitoring_cloud_device_state",
        "rpc_port_proxy_qv_client_create",
    };
    return scenario.row != nullptr && functions.contains(scenario.row->name);
}

/// Ends like GLib without memory ends: by its own decision.
Finding aborts(const Scenario& scenario, int nth)
{
    const pid_t child = fork();
    if (child == 0) {
        close(STDERR_FILENO);
        run(
            scenario, [nth] { fail_glib_allocation(nth); }, [] { fail_glib_allocation(0); });
        _exit(EXIT_SUCCESS);
    }
    int status = 0;
    waitpid(child, &status, 0);
    const bool is_abort = WIFSIGNALED(status) && (WTERMSIG(status) == SIGABRT || WTERMSIG(status) == SIGTRAP);
    return is_abort ? Finding{} : "ended with status " + std::to_string(status);
}

}  // namespace

int main(int argc, char** argv)
{
    Proof proof{argc, argv, "memory of GLib's", 1'300};
    if (!counts_memory) {
        std::printf("nothing is counted under a sanitizer\n");
        return EXIT_SUCCESS;
    }
    proof.scale(1);
    warm_up();
    Shared<int> allocations;
    int functions = 0;
    int most = 0;
    for (const Scenario& scenario : scenarios()) {
        allocations.value() = 0;
        proof.check_always(scenario.name + "/none", [&] {
            const Finding finding = run(
                scenario, [] { fail_glib_allocation(0); }, [&] { allocations.value() = glib_allocations(); });
            const bool is_expected = allocations.value() == 0 || may_allocate(scenario);
            return !finding.empty() || is_expected
                       ? finding
                       : "takes memory of GLib's: " + std::to_string(allocations.value());
        });
        functions += allocations.value() > 0 ? 1 : 0;
        most = std::max(most, allocations.value());
        for (int nth = 1; nth <= allocations.value(); ++nth)
            proof.check(scenario.name + "/" + std::to_string(nth), [&] { return aborts(scenario, nth); });
    }
    proof.also_report("calls that take memory of GLib's: " + std::to_string(functions) + ", at most "
                      + std::to_string(most) + " times");
    return proof.report();
}
