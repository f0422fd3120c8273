#pragma once

#include "internal/registration.hpp"

namespace quorvel {

/// A delegate's one call of a handler: the answer to a command. Where the application wants none it goes
/// without a line.
class Answer {
public:
    explicit Answer(void* request, CallSite at = CallSite::here()) : event{request, at}, request_{request} {}

    /// Tells the application, with its user data at the end.
    template <typename Callback, typename... Values>
    void tell(Values... values) const
    {
        if (const auto callback = request_.callback<Callback>())
            callback(values..., request_.user_data());
    }

    Event event;

private:
    const AnsweredRequest request_;
};

/// Copies of an array's elements: the application's once they are handed over, else released.
template <typename Array, typename Element>
class Copies {
    static constexpr const proxy::ArrayType& type = proxy::TypeOf<Array>::type;

public:
    /// Without memory there are none, and the event says so.
    Copies(Event& event, Array array, int (*getter)(Array, Element**, int*))
    {
        copy_out(event, array, getter, &list_, &count_);
    }
    ~Copies() { release(); }
    Copies(const Copies&) = delete;
    Copies& operator=(const Copies&) = delete;

    void release()
    {
        for (int i = 0; i < count_; ++i) {
            if constexpr (std::is_same_v<Element, char*>)
                std::free(list_[i]);
            else if (list_[i] != nullptr)
                type.element->operations.destroy(list_[i]);
        }
        std::free(hand_over());
    }
    int count() const { return count_; }
    /// The vector; from here on its elements belong to whoever gets it.
    Element* hand_over()
    {
        count_ = 0;
        return std::exchange(list_, nullptr);
    }

private:
    Element* list_ = nullptr;
    int count_ = 0;
};

}  // namespace quorvel
