// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "home/home.hpp"
#include "stub/qv_client_stub.hpp"

namespace quorvel::agent {

class Faults;

// What every request passes: refused while the account or the agent is not fit for it, made to fail where a
// fault says so, and answered only when what it changed is kept.
class Gate final : public stub::Interceptor {
public:
    Gate(home::Home& home, Faults& faults) : home_(home), faults_(faults) {}

    void before(const stub::Request& request, stub::Plan& plan) override;
    void after(const stub::Request& request, int& result) override;
    void firing(const stub::Request& callback, stub::CallbackPlan& plan) override;

private:
    home::Home& home_;
    Faults& faults_;
};

}  // namespace quorvel::agent
