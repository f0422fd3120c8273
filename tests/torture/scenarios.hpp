// A call under a fault, and everything that must hold afterwards: the same for every kind of fault.
#ifndef QUORVEL_TESTS_TORTURE_SCENARIOS_HPP
#define QUORVEL_TESTS_TORTURE_SCENARIOS_HPP

#include <string>
#include <string_view>
#include <vector>

#include "good_calls.hpp"
#include "runner.hpp"

namespace torture {

/// One call or event, and the calls that lead up to it.
struct Scenario {
    enum class What { call, callback, connected, rejected, disconnected };

    std::string name;
    What what = What::call;
    const Row* row = nullptr;          // of a call
    std::vector<const Row*> before{};  // called on the connected client, well
    bool is_refused = false;           // the agent answers with everything, and a code
    bool is_unheard = false;           // its lines may get lost
    std::size_t delegate = 1;          // of a callback: counted from the last one that was sent
};

/// Every function; every registration a second time; every callback of every function that takes one; and the
/// connection's own events.
std::vector<Scenario> scenarios();

/// What ends a registration; unsubscribing where there is nothing better.
std::string_view ending_of(const Row& beginning);

/// Runs a scenario: from no connection to no connection. The fault is there between `arm` and `disarm`.
/// Where nothing fails the call has to go well.
Finding run(const Scenario& scenario, const std::function<void()>& arm, const std::function<void()>& disarm,
            bool must_succeed = false);

/// Lets something happen again and again, which must leave nothing behind. The first time makes what the
/// process keeps.
Finding repeated(long times, const std::function<Finding()>& once);

/// To be called once before cases are forked: what the process makes once and keeps is there then.
void warm_up();

}  // namespace torture

#endif
