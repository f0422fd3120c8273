// SPDX-License-Identifier: Apache-2.0
#include "service/gate.hpp"

#include "service/faults.hpp"
#include "service/home_service.hpp"

namespace quorvel::agent {

void Gate::before(const stub::Request& request, stub::Plan& plan)
{
    if (const auto refused = HomeService::refusal(home_, request.id)) {
        plan.serve = false;
        plan.result = home::code(*refused);
    }
    faults_.request(request, plan);
}

void Gate::after(const stub::Request& request, int& result)
{
    const Status kept = home_.commit();
    // Method 4 answers a flag; there a failure to keep something has no place to stand.
    if (kept != Status::ok && result == 0 && request.id != stub::method::check_update_state::id)
        result = home::code(kept);
    faults_.answer(request, result);
}

void Gate::firing(const stub::Request& callback, stub::CallbackPlan& plan)
{
    faults_.callback(callback, plan);
}

}  // namespace quorvel::agent
