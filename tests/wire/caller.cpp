#include "caller.hpp"

#include <algorithm>
#include <string_view>
#include <utility>

#include "examine.hpp"
#include "interface.hpp"

namespace wire {

using calls::Known;
using calls::Row;

Caller::Caller()
{
    calls::ears().action = [this] { called_back(); };
    calls::ears().on_text = [](const char* text) { examine(text); };
    calls::ears().on_record = [](const Known& type, void* record) { examine(record_type(type), record); };
}

Caller::~Caller()
{
    calls::ears().action = nullptr;
    for (const auto& [type, held] : records_) {
        if (held != nullptr)
            type->destroy(held);
    }
}

int Caller::call(const Row& row)
{
    calls::Attempt attempt{row, *this};
    attempt.run();
    if (quorvel_client_h const made = attempt.take_client())
        connected(made);
    return attempt.code();
}

const char* Caller::keep(std::string value)
{
    return texts_.emplace_back(std::move(value)).c_str();
}

std::vector<const char*> Caller::texts()
{
    std::vector<const char*> some(static_cast<std::size_t>(number() & 3));
    std::ranges::generate(some, [this] { return text(); });
    return some;
}

int Caller::number_for(const Row& row, std::size_t place)
{
    return row.names_property(place) ? property() : number();
}

void* Caller::record(const Known& type, const Row&)
{
    void* taken = std::exchange(records_[&type], nullptr);
    if (taken == nullptr && (taken = type.create()) != nullptr)
        fill(record_type(type), taken);
    return taken;
}

void Caller::give_back(const Known& type, void* record)
{
    // A call from a callback may have brought another one.
    if (void* const other = std::exchange(records_[&type], record))
        type.destroy(other);
}

const quorvel::proxy::RecordType& record_type(const Known& type)
{
    const auto kinds = objects();
    return *std::ranges::find(kinds, std::string_view{type.name}, &ObjectKind::name)->record;
}

}  // namespace wire
