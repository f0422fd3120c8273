#pragma once

#include <string>
#include <vector>

namespace quorvel::cli {

/// Texts as functions of C take them: for as long as the texts live.
inline std::vector<const char*> pointers_to(const std::vector<std::string>& texts)
{
    std::vector<const char*> pointers;
    pointers.reserve(texts.size());
    for (const std::string& text : texts)
        pointers.push_back(text.c_str());
    return pointers;
}

}  // namespace quorvel::cli
