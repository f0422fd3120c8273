// What all callbacks have in common, tested for each of them by one line of a table: those that are
// registered and called again and again, and those that hear the one answer to a command.
//
//     const bool registered = register_callbacks({
//         RepeatingCallback("quorvel_client_set_device_list_updated_cb", "quorvel_client_device")
//             .set([](auto client, Heard& heard) {
//                 return quorvel_client_set_device_list_updated_cb(client, hear_devices, &heard);
//             })
//             .unset(quorvel_client_unset_device_list_updated_cb)
//             .speaks(9, 10, 3, {count(0), i32(0)}),
//         OneAnswer("quorvel_client_remove_device", "quorvel_client_device")
//             .command([](auto client, auto cb, Heard& heard) { … })
//             .answered(22, {i32(0)}, "rpc_port_qv_client_…_create"),
//     });
//
// The values that a callback hands over, their order and their owners are left to tests of each function.
#ifndef QUORVEL_TESTS_CALLBACK_CONTRACT_HPP
#define QUORVEL_TESTS_CALLBACK_CONTRACT_HPP

#include <quorvel_client.h>

#include <functional>
#include <initializer_list>
#include <string>

#include "scripted.hpp"

namespace scripted {

// The user data of a callback under test: it counts, and then does what the test wants done inside.
struct Heard {
    int times = 0;
    std::function<void()> reaction;
    void hear()
    {
        ++times;
        if (reaction)
            reaction();
    }
};

class RepeatingCallback {
public:
    using Set = std::function<int(quorvel_client_h client, Heard& heard)>;
    using Unset = std::function<int(quorvel_client_h client)>;

    RepeatingCallback(std::string set_function, std::string source)
        : function_{std::move(set_function)}, source_{std::move(source)}
    {
    }

    // Registers a callback that releases what it is given and lets the user data hear.
    RepeatingCallback set(Set set) &&
    {
        set_ = std::move(set);
        return std::move(*this);
    }
    RepeatingCallback unset(Unset unset) &&
    {
        unset_ = std::move(unset);
        return std::move(*this);
    }
    // The methods that set and unset, the delegate's type, and the parameters of an event that is told.
    RepeatingCallback speaks(int set_method, int unset_method, int delegate_id, Values event) &&
    {
        set_method_ = set_method;
        unset_method_ = unset_method;
        delegate_id_ = delegate_id;
        event_ = std::move(event);
        return std::move(*this);
    }
    // What stands between the method that sets and the delegate in its request.
    RepeatingCallback sending(Values leading) &&
    {
        leading_ = std::move(leading);
        return std::move(*this);
    }

private:
    friend class RepeatingCallbackTest;
    friend bool register_callbacks(std::initializer_list<RepeatingCallback> callbacks, const char* file,
                                   int line);

    std::string function_;
    std::string source_;
    Set set_;
    Unset unset_;
    int set_method_ = 0;
    int unset_method_ = 0;
    int delegate_id_ = 0;
    Values event_;
    Values leading_;
};

class OneAnswer {
public:
    // Gives the command with good arguments and a callback that lets the user data hear, or with none.
    using Command = std::function<int(quorvel_client_h client, bool with_callback, Heard& heard)>;

    OneAnswer(std::string function, std::string source)
        : function_{std::move(function)}, source_{std::move(source)}
    {
    }

    OneAnswer command(Command command) &&
    {
        command_ = std::move(command);
        return std::move(*this);
    }
    // The delegate's type, the parameters of the answer, and what is logged (with " failed") when the
    // delegate cannot be made.
    OneAnswer answered(int delegate_id, Values answer, std::string create_name) &&
    {
        delegate_id_ = delegate_id;
        answer_ = std::move(answer);
        create_name_ = std::move(create_name);
        return std::move(*this);
    }
    // Where the delegate stays after the agent refused, so that a late answer is heard.
    OneAnswer staying_when_refused() &&
    {
        stays_when_refused_ = true;
        return std::move(*this);
    }
    // Where a missing callback is an argument that is refused.
    OneAnswer needing_a_callback() &&
    {
        needs_callback_ = true;
        return std::move(*this);
    }
    // What precedes each command on a fresh connection; the agent answers 0.
    OneAnswer after(std::function<void(quorvel_client_h client)> preparation) &&
    {
        preparation_ = std::move(preparation);
        return std::move(*this);
    }

private:
    friend class OneAnswerTest;
    friend bool register_callbacks(std::initializer_list<OneAnswer> callbacks, const char* file, int line);

    std::string function_;
    std::string source_;
    Command command_;
    int delegate_id_ = 0;
    Values answer_;
    std::string create_name_;
    bool stays_when_refused_ = false;
    bool needs_callback_ = false;
    std::function<void(quorvel_client_h)> preparation_;
};

// Call these in the initializer of a constant. The tests are named <function>.<what must hold>.
bool register_callbacks(std::initializer_list<RepeatingCallback> callbacks,
                        const char* file = __builtin_FILE(), int line = __builtin_LINE());
bool register_callbacks(std::initializer_list<OneAnswer> callbacks, const char* file = __builtin_FILE(),
                        int line = __builtin_LINE());

}  // namespace scripted

#endif
