#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace quorvel {

/// A property by its number, for the families whose numbers belong to several getters.
template <typename Getter>
struct Property {
    int id;
    Getter getter;
};

template <typename Getter, std::size_t size>
struct PropertyTable {
    Getter by_id[size];
};

/// The table of a list of properties, with gaps where the numbers of others are.
template <const auto& properties>
consteval auto property_table()
{
    constexpr auto last = std::max_element(std::begin(properties), std::end(properties),
                                           [](auto& one, auto& other) { return one.id < other.id; });
    PropertyTable<decltype(last->getter), static_cast<std::size_t>(last->id) + 1> table{};
    for (const auto& property : properties)
        table.by_id[property.id] = property.getter;
    return table;
}

}  // namespace quorvel
