// The home's records as an agent writes them into a parcel.
#ifndef QUORVEL_TESTS_HOME_VALUES_HPP
#define QUORVEL_TESTS_HOME_VALUES_HPP

#include <string>
#include <vector>

#include "scripted.hpp"

namespace scripted {

struct DeviceValues {
    std::string id = "lamp";
    Strings types{};
    Values on_the_wire() const { return {text(id), texts(types)}; }
};

struct DetailValues {
    int resource_count = 0;
    std::string id{}, name{}, prefix{}, state{}, nick{}, color{}, locale{}, firmware{}, manufacturer{}, vid{};
    Strings types{}, observable_uris{}, uris{};
    std::string reserved{};
    Values on_the_wire() const
    {
        return {i32(resource_count),
                text(id),
                text(name),
                text(prefix),
                text(state),
                text(nick),
                text(color),
                text(locale),
                text(firmware),
                text(manufacturer),
                text(vid),
                texts(types),
                texts(observable_uris),
                texts(uris),
                text(reserved)};
    }
};

struct GroupValues {
    std::string parent{}, id{}, name{}, nick{}, owner{}, type{}, image{};
    Strings devices{}, subgroups{};
    Values on_the_wire() const
    {
        return {text(parent), text(id),    text(name),     text(nick),      text(owner),
                text(type),   text(image), texts(devices), texts(subgroups)};
    }
};

struct SceneValues {
    std::string id{}, body{};
    Values on_the_wire() const { return {text(id), text(body)}; }
};

// An array of them.
template <typename Record>
Values list_of(const std::vector<Record>& records)
{
    Values all{count(static_cast<int>(records.size()))};
    for (const Record& record : records)
        all.add(record.on_the_wire());
    return all;
}

}  // namespace scripted

#endif
