#include "api/api.hpp"

#include <algorithm>

namespace quorvel::cli {
namespace {

template <typename T>
const T* named(std::span<const T> all, std::string_view name)
{
    const auto found = std::ranges::find(all, name, &T::name);
    return found == all.end() ? nullptr : &*found;
}

}  // namespace

const Function* find_function(std::string_view name)
{
    return named(functions(), name);
}
const Enumeration* find_enumeration(std::string_view name)
{
    return named(enumerations(), name);
}

}  // namespace quorvel::cli
