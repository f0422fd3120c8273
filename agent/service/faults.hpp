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
//   name             what happens                                               parameters
//   reject           a client that connects is dropped at its first request
//   refuse           the client is dropped instead of being answered
//   drop             the request is served and never answered                   (also: no-answer)
//   delay            the answer comes later                                     ms (1000)
//   twice            the answer comes twice
//   truncate         the answer ends after a number of values                   keep (1)
//   corrupt          one value of the answer is another one                     value (0)
//   unknown-command  the answer opens with a number that means nothing          command (7)
//   misplaced        the answer comes on the callback port
//   result           the method answers a code; nothing is done                 code (-1073741825)
//   result-after     the method does its work and answers a code all the same   code
//   die              the agent ends before it answers
//   stall            the agent stops for a while                                ms (1000)
//   fire-never       a callback is not sent
//   fire-twice       a callback is sent twice
//   fire-storm       a callback is sent many times                              copies (100)
//   fire-unknown     a callback is of a kind that there is not                  id (39)
//   fire-stranger    a callback has a number that nobody holds                  seq (1000000)
//   fire-lying       a callback says once when it is not, and the reverse
//   fire-truncate    a callback ends after a number of values                   keep (3)
//   fire-corrupt     one value of a callback is another one                     value (0)
//   fire-misplaced   a callback comes on the main port
namespace quorvel::agent {

class Faults {
public:
    struct Fault {
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
    };

    explicit Faults(home::Clock& clock) : clock_(clock) {}

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
    bool strikes(Fault& fault, const stub::Request& at, bool callback);

    home::Clock& clock_;
    std::list<Fault> faults_;
    int last_id_ = 0;
    std::mt19937 random_{0x464c54};
};

}  // namespace quorvel::agent
