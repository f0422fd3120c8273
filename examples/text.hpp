// A text that the library handed out, released as it has to be.
#pragma once

#include <cstdlib>
#include <memory>
#include <string>

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

// Calls a getter whose last argument is a text to be filled in; empty when it failed.
template <typename Getter, typename... Arguments>
std::string text_of(Getter getter, Arguments... arguments)
{
    char* text = nullptr;
    if (getter(arguments..., &text) != 0 || text == nullptr)
        return {};
    const std::unique_ptr<char, Free> owner(text);
    return text;
}
