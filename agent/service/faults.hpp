// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "home/clock.hpp"
#include "home/home.hpp"
#include "stub/qv_client_stub.hpp"

// Faults by name.
//
// A fault says what goes wrong, how often, and for whom: it has a probability, a count, and filters by
// client, method, delegate and device. While none is set a request costs one look at an empty list.
//
// `Faults::names` lists them, with their parameters. Those of the world act when they are set and are undone
// when they are removed.
namespace quorvel::agent {

class Faults {
public:
    struct Kind;

    struct Fault {
        const Kind* kind = nullptr;
        int id = 0;
        std::string name;
        double probability = 1;
        std::int64_t left = -1;  // how many more times; below 0: always
        std::int64_t times = 0;  // how many times it struck
        std::string client;      // the sender or the instance
        std::string method;
        std::string delegate;
        std::string device;        // a text among the parameters
        std::int64_t number = -1;  // the fault's parameter
        std::function<void()> undo;
    };

    struct World {
        home::Home& home;
        std::function<void()> drop_clients;
        std::function<void()> restart;
    };

    explicit Faults(World world) : world_(std::move(world)) {}

    // What is wrong with the description, or nothing. `id` is what it is called from now on.
    std::optional<std::string> add(const home::Json& description, int& id);
    bool remove(int id);
    void clear();
    home::Json list() const;
    static home::Json names();

    bool admits(stub::Client& client);
    void request(const stub::Request& request, stub::Plan& plan);
    void answer(const stub::Request& request, int& result);
    void callback(const stub::Request& callback, stub::CallbackPlan& plan);

private:
    bool strikes(Fault& fault, const stub::Request& at);

    World world_;
    std::list<Fault> faults_;
    int last_id_ = 0;
    std::mt19937 random_{0x464c54};
};

}  // namespace quorvel::agent
