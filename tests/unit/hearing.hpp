// Callbacks that write down what they are told.
//
//     Ear ear;
//     quorvel_client_subscribe(client, "lamp", "/light", nullptr, hears<quorvel_client_subscribe_cb>, &ear);
//     ...
//     EXPECT_THAT(ear.heard, ElementsAre(Strings{"one", "two", "three", "four", "six", "five"}));
#ifndef QUORVEL_TESTS_HEARING_HPP
#define QUORVEL_TESTS_HEARING_HPP

#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "scripted.hpp"

namespace scripted {

struct Ear {
    std::vector<Strings> heard;            // the values of each call in their order, as text
    std::function<void()> then = nullptr;  // what the application does in its callback
};

inline std::string as_text(const char* text)
{
    return text != nullptr ? text : "(null)";
}
inline std::string as_text(bool value)
{
    return value ? "true" : "false";
}
inline std::string as_text(int value)
{
    return std::to_string(value);
}

template <typename Callback>
struct Hearing;

// The user data is the Ear; it comes last.
template <typename... Parameters>
struct Hearing<void (*)(Parameters...)> {
    static void hear(Parameters... parameters)
    {
        const auto all = std::tuple{parameters...};
        constexpr std::size_t last = sizeof...(Parameters) - 1;
        auto& ear = *static_cast<Ear*>(std::get<last>(all));
        ear.heard.push_back([&]<std::size_t... place>(std::index_sequence<place...>) {
            return Strings{as_text(std::get<place>(all))...};
        }(std::make_index_sequence<last>{}));
        if (ear.then)
            ear.then();
    }
};

template <typename Callback>
inline constexpr Callback hears = Hearing<Callback>::hear;

}  // namespace scripted

#endif
