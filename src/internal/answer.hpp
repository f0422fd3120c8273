#pragma once

#include <cstdlib>
#include <type_traits>
#include <utility>

#include "internal/registration.hpp"

namespace quorvel {

/// A delegate's one call of a handler: the answer to a command. Where the application wants none it goes
/// without a line.
struct Answer {
    Event event;
    const AnsweredRequest request;

    explicit Answer(void* request_data, CallSite at = CallSite::here())
        : event{request_data, at}, request{request_data}
    {
    }

    /// Tells the application, with its user data at the end.
    template <typename Callback, typename... Values>
    void tell(Values... values) const
    {
        if (const auto callback = request.callback<Callback>())
            callback(values..., request.user_data());
    }
};

/// Copies of an array's elements, released unless they are handed over.
template <typename Array, typename Element>
class Copies {
public:
    /// Without memory there are none, and the event has failed.
    Copies(Event& event, Array array, int (*getter)(Array, Element**, int*))
    {
        copy_out(event, array, getter, &list_, &count_);
    }
    ~Copies() { release(); }
    Copies(const Copies&) = delete;
    Copies& operator=(const Copies&) = delete;

    int count() const { return count_; }
    /// The vector; its elements belong to whoever gets it.
    Element* hand_over() { return std::exchange(list_, nullptr); }
    void release()
    {
        for (int i = 0; list_ != nullptr && i < count_; ++i)
            release_element(list_[i]);
        std::free(hand_over());
        count_ = 0;
    }

private:
    static void release_element(Element element)
    {
        if constexpr (std::is_same_v<Element, char*>)
            std::free(element);
        else if (element != nullptr)
            proxy::destroy_record(proxy::TypeOf<Element>::type, element);
    }

    Element* list_ = nullptr;
    int count_ = 0;
};

}  // namespace quorvel
