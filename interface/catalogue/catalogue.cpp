#include "catalogue/catalogue.hpp"

#include <algorithm>

namespace quorvel::catalogue {
namespace {

template <typename Entry>
const Entry* by_id(std::span<const Entry> entries, int id) noexcept
{
    const auto found = std::ranges::lower_bound(entries, id, {}, &Entry::id);
    return found != entries.end() && found->id == id ? &*found : nullptr;
}

template <typename Entry>
const Entry* by_name(std::span<const Entry> entries, std::string_view name) noexcept
{
    const auto found = std::ranges::find(entries, name, &Entry::name);
    return found != entries.end() ? &*found : nullptr;
}

}  // namespace

const Method* Interface::method(int id) const noexcept
{
    return by_id(methods, id);
}

const Method* Interface::method(std::string_view method_name) const noexcept
{
    return by_name(methods, method_name);
}

const Delegate* Interface::delegate(int id) const noexcept
{
    return by_id(delegates, id);
}

const Delegate* Interface::delegate(std::string_view delegate_name) const noexcept
{
    return by_name(delegates, delegate_name);
}

const Record* Interface::record(std::string_view record_name) const noexcept
{
    return by_name(records, record_name);
}

const Array* Interface::array(std::string_view array_name) const noexcept
{
    return by_name(arrays, array_name);
}

}  // namespace quorvel::catalogue
