// What the text getters and the destroyers of the core family's records have in common, tested for each
// family.
//
//     const bool registered = register_properties(
//         PropertyFamily("quorvel_core_room", makes(rpc_port_room_s_create, rpc_port_room_s_set_bundle_data))
//             .read_by("quorvel_core_room_get_string", quorvel_core_room_get_string)
//             .released_by("quorvel_core_room_destroy", quorvel_core_room_destroy)
//             .holding({{0, "roomId"}, {1, "name"}, {2, "locationId"}}));
#ifndef QUORVEL_TESTS_CORE_PROPERTIES_HPP
#define QUORVEL_TESTS_CORE_PROPERTIES_HPP

#include <functional>
#include <string>
#include <vector>

#include "scripted.hpp"

namespace scripted {

// Makes a record of the family, with these values or, for NULL, without a bundle.
using MakeRecord = std::function<void*(const BundleItems* items)>;

template <typename Handle>
MakeRecord makes(int (*create)(Handle*), int (*set_bundle)(Handle, bundle*))
{
    return [=](const BundleItems* items) -> void* {
        Handle record = nullptr;
        create(&record);
        if (items != nullptr) {
            bundle* const values = make_bundle(*items);
            set_bundle(record, values);
            bundle_free(values);
        }
        return record;
    };
}

struct Property {
    int id;
    const char* key;
};

class PropertyFamily {
public:
    using Words = std::function<std::string(int id)>;

    PropertyFamily(std::string source, MakeRecord make) : source_{std::move(source)}, make_{std::move(make)}
    {
    }

    PropertyFamily read_by(std::string function, int (*get)(void*, int, char**)) &&
    {
        getter_ = std::move(function);
        get_ = get;
        return std::move(*this);
    }
    PropertyFamily released_by(std::string function, int (*destroy)(void*)) &&
    {
        destroyer_ = std::move(function);
        destroy_ = destroy;
        return std::move(*this);
    }
    PropertyFamily holding(std::vector<Property> properties) &&
    {
        properties_ = std::move(properties);
        return std::move(*this);
    }
    // Where the family does not say "Invalid property id[7]" and "Failed to get enum[7]".
    PropertyFamily saying(Words unknown, Words absent) &&
    {
        unknown_ = std::move(unknown);
        absent_ = std::move(absent);
        return std::move(*this);
    }
    // Its getters work only where the agent is installed.
    PropertyFamily checking_the_agent() &&
    {
        checks_agent_ = true;
        return std::move(*this);
    }

private:
    friend class PropertyTest;
    friend bool register_properties(const PropertyFamily& family, const char* file, int line);

    std::string source_;
    MakeRecord make_;
    std::string getter_;
    int (*get_)(void*, int, char**) = nullptr;
    std::string destroyer_;
    int (*destroy_)(void*) = nullptr;
    std::vector<Property> properties_;
    Words unknown_ = [](int id) { return "Invalid property id[" + std::to_string(id) + "]"; };
    Words absent_ = [](int id) { return "Failed to get enum[" + std::to_string(id) + "]"; };
    bool checks_agent_ = false;
};

bool register_properties(const PropertyFamily& family, const char* file = __builtin_FILE(),
                         int line = __builtin_LINE());

}  // namespace scripted

#endif
