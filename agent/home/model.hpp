// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "home/document.hpp"
#include "home/json.hpp"

// What kinds of device there are.
//
// A capability says which attributes a device has, which commands change them and as which resource they
// are seen; a model is a named set of capabilities in components, with defaults and with what happens to
// them by themselves. Both are data (agent/models), so that a user adds a device without compiling.
namespace quorvel::home {

struct AttributeDef {
    enum class Type { text, number, integer, boolean, list, map };

    std::string name;
    Type type = Type::text;
    std::vector<std::string> values;  // the words that the attribute may be, when it is not free
    std::optional<double> least;
    std::optional<double> most;
    std::string unit;
    Json initial;
    bool event = false;  // every write is an event, also of the same value (a button is pressed again)

    // The value as this attribute holds it, or none when it cannot be one.
    std::optional<Json> accept(const Json& value) const;
    // What is expected, for messages: "one of on, off", "a number from 0 to 100".
    std::string expected() const;
};

struct CommandDef {
    struct Argument {
        std::string name;
        std::size_t attribute;  // of the capability: what the argument sets
        bool optional = false;
    };
    std::string name;
    std::vector<Argument> arguments;
    std::vector<std::pair<std::size_t, Json>> sets;
    std::optional<std::size_t> toggles;
    std::optional<std::pair<std::size_t, double>> steps;
};

struct ResourceDef {
    struct Property {
        std::string name;
        std::size_t attribute;                     // of the capability
        std::vector<std::pair<Json, Json>> words;  // attribute value, property value; empty: the same
        bool read_only = false;
    };
    std::string uri;
    std::vector<std::string> types;
    bool observable = true;
    std::vector<Property> properties;
};

struct CapabilityDef {
    std::string id;
    std::vector<AttributeDef> attributes;
    std::vector<CommandDef> commands;
    std::optional<ResourceDef> resource;

    std::optional<std::size_t> attribute(std::string_view name) const;
    const CommandDef* command(std::string_view name) const;
};

// One attribute of a model: a device keeps its values in the order of its model's slots.
struct Slot {
    std::size_t component;
    std::size_t use;  // of the component's capabilities
    const CapabilityDef* capability;
    const AttributeDef* attribute;
    std::string path;  // main.switch.switch
    Json initial;
};

struct Component {
    struct Use {
        const CapabilityDef* capability;
        std::size_t first;  // slot of the capability's first attribute
    };
    std::string id;
    std::string label;
    std::vector<Use> capabilities;

    const Use* use(std::string_view capability) const;
};

// A resource of a model: a capability's, seen from outside. Its URI is the capability's for the main
// component and begins with the component's name for every other.
struct Resource {
    std::string uri;
    const ResourceDef* def;  // none for what every device has: /device and /platform
    std::size_t first = 0;   // slot of the capability's first attribute
    std::vector<std::string> types;
    bool observable = false;
};

// What changes by itself. `when` holds while every named slot has the named value.
struct Dynamic {
    enum class Kind {
        approach,    // a step of `by` each `per` toward another attribute or a number
        drain,       // a step of `by` down each `per`
        accumulate,  // adds another attribute × the time in hours ÷ 1000 each `per`
        countdown,   // a step of `by` down each `per`; at nothing, `then`
        follow,      // is `value` while `when` holds, `otherwise` when not
        decay,       // back to `value` when `per` passed since it last became something else
    };
    Kind kind = Kind::drain;
    std::size_t slot = 0;
    std::optional<std::size_t> other;
    double toward = 0;
    double by = 1;
    std::int64_t per = 60'000;
    Json value;
    Json otherwise;
    std::vector<std::pair<std::size_t, Json>> when;
    std::vector<std::pair<std::size_t, Json>> then;
};

struct Model {
    std::string id;
    std::string name;
    std::string maker;
    std::string number;  // the maker's model number
    std::string vid;
    std::string mnmn;
    std::string type;  // device type, such as qv.d.light
    std::string category;
    std::string firmware;
    std::string color;
    int tier = 0;
    bool hub = false;
    bool infrared = false;  // can drive infrared devices
    std::vector<Component> components;
    std::vector<Slot> slots;
    std::vector<Resource> resources;
    std::vector<Dynamic> dynamics;
    Json preferences = Json::object();
    std::string source;  // where it was read from

    const Component* component(std::string_view id) const;
    const Resource* resource(std::string_view uri) const;
    // By its whole path, by capability.attribute, or by an attribute's name alone when it is the only one
    // (the main component's before any other's).
    std::optional<std::size_t> slot(std::string_view name) const;
    std::vector<std::string_view> slot_names() const;

private:
    friend class ModelLibrary;
    std::unordered_map<std::string, std::size_t> slot_index_;
    std::unordered_map<std::string, std::size_t> resource_index_;
};

// The models that are known: those built in and those in the user's directory, which may also replace a
// built-in one. A model is read when it is first asked for, so that starting costs only what is used.
class ModelLibrary {
public:
    ModelLibrary();
    // Adds every *.yaml in the directory. A file that cannot be used is an error only when its model is
    // asked for, except that its id is its file name.
    void add_directory(const std::string& path);
    // Adds one model from a text.
    const Model& add(std::string_view yaml, const std::string& file);

    // None when there is no such model. Throws DocumentError when it is there and wrong.
    const Model* find(const std::string& id);
    // By the id of its metadata; reads every model that there is the first time.
    const Model* find_vid(const std::string& vid);
    std::vector<std::string> ids() const;
    const CapabilityDef* capability(const std::string& id);

private:
    struct Source {
        std::string file;
        std::string_view text;  // built in; empty for a file of the user's
    };
    const Model& read(const Node& root, const std::string& file);
    void read_capability(const std::string& id, const Node& node);
    std::optional<std::size_t> capability_attribute(const CapabilityDef& def, const Node& node);

    std::unordered_map<std::string, Source> sources_;
    std::unordered_map<std::string, std::unique_ptr<Model>> models_;
    std::unordered_map<std::string, std::unique_ptr<CapabilityDef>> capabilities_;
    std::unordered_map<std::string, std::string> ids_by_vid_;
    bool all_read_ = false;
};

// The files that are built in, by name without extension.
struct EmbeddedFile {
    std::string_view name;
    std::string_view text;
};
extern const std::vector<EmbeddedFile>& embedded_models();
extern const std::vector<EmbeddedFile>& embedded_capabilities();
extern std::string_view embedded_home();

}  // namespace quorvel::home
