#pragma once

#include <quorvel_client_proxy_types.hpp>

#include <cstdlib>
#include <cstring>
#include <memory>

/// What the events of groups and of scenes have in common.
namespace quorvel {

/// The number of an event from the agent's word for it: 1 for the first of these, and so on; 0 for any other.
template <std::size_t size>
int number_of(const char* word, const char* const (&words)[size])
{
    for (std::size_t i = 0; word != nullptr && i < size; ++i) {
        if (std::strcmp(word, words[i]) == 0)
            return static_cast<int>(i) + 1;
    }
    return 0;
}

struct FreeText {
    void operator()(char* text) const { std::free(text); }
};
using OwnText = std::unique_ptr<char, FreeText>;

/// A copy of the id of a list's only element; none when there are more, or it is not there.
template <typename Handle>
OwnText only_id(Handle const* list, int count, int (*getter)(Handle element, char** id))
{
    char* id = nullptr;
    if (count == 1 && list[0] != nullptr)
        getter(list[0], &id);
    return OwnText{id};
}

}  // namespace quorvel
