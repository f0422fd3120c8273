// SPDX-License-Identifier: Apache-2.0
#include "home/model.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>

namespace quorvel::home {

namespace {

constexpr double far = 1e12;

template <typename List>
std::vector<std::string_view> names_of(const List& list)
{
    std::vector<std::string_view> names;
    names.reserve(list.size());
    for (const auto& item : list)
        names.push_back(item.name);
    return names;
}

AttributeDef read_attribute(const Node& key, const Node& node)
{
    AttributeDef def;
    def.name = key.id();
    node.only({"type", "values", "min", "max", "unit", "default", "event"});
    def.values = node.texts("values");
    def.unit = node.text("unit", "");
    def.event = node.flag("event", false);
    if (const Node* type = node.find("type")) {
        const std::string word =
            type->word({"text", "number", "integer", "boolean", "list", "map"}, "an attribute type");
        using enum AttributeDef::Type;
        def.type = word == "number"    ? number
                   : word == "integer" ? integer
                   : word == "boolean" ? boolean
                   : word == "list"    ? list
                   : word == "map"     ? map
                                       : text;
    }
    if (node.has("min"))
        def.least = node.at("min").number(-far, far);
    if (node.has("max"))
        def.most = node.at("max").number(def.least.value_or(-far), far);
    if (const Node* initial = node.find("default")) {
        const Json given = def.type == AttributeDef::Type::text && initial->is_text() ? Json(initial->text())
                                                                                      : initial->json();
        const auto value = def.accept(given);
        if (!value)
            initial->fail(fmt::format("expected {} as default of '{}'", def.expected(), def.name));
        def.initial = *value;
    } else if (!def.values.empty()) {
        def.initial = def.values.front();
    } else {
        using enum AttributeDef::Type;
        switch (def.type) {
            case text:
                def.initial = "";
                break;
            case number:
                def.initial = def.least.value_or(0.0);
                break;
            case integer:
                def.initial = static_cast<std::int64_t>(def.least.value_or(0));
                break;
            case boolean:
                def.initial = false;
                break;
            case list:
                def.initial = Json::array();
                break;
            case map:
                def.initial = Json::object();
                break;
        }
    }
    return def;
}

}  // namespace

std::optional<Json> AttributeDef::accept(const Json& value) const
{
    const auto in_range = [this](double number) {
        return std::isfinite(number) && number >= least.value_or(-far) && number <= most.value_or(far);
    };
    switch (type) {
        case Type::text:
            if (!value.is_string())
                return std::nullopt;
            if (!values.empty()
                && std::find(values.begin(), values.end(), value.get_ref<const std::string&>())
                       == values.end())
                return std::nullopt;
            return value;
        case Type::number:
            if (!value.is_number() || !in_range(value.get<double>()))
                return std::nullopt;
            return value;
        case Type::integer: {
            if (!value.is_number() || !in_range(value.get<double>()))
                return std::nullopt;
            const double number = value.get<double>();
            if (number != std::floor(number))
                return std::nullopt;
            return static_cast<std::int64_t>(number);
        }
        case Type::boolean:
            return value.is_boolean() ? std::optional<Json>(value) : std::nullopt;
        case Type::list:
            return value.is_array() ? std::optional<Json>(value) : std::nullopt;
        case Type::map:
            return value.is_object() ? std::optional<Json>(value) : std::nullopt;
    }
    return std::nullopt;
}

std::string AttributeDef::expected() const
{
    if (!values.empty())
        return fmt::format("one of {}", fmt::join(values, ", "));
    const auto range = [this] {
        if (least && most)
            return fmt::format(" from {} to {}", *least, *most);
        if (least)
            return fmt::format(" of at least {}", *least);
        return most ? fmt::format(" of at most {}", *most) : std::string{};
    };
    switch (type) {
        case Type::text:
            return "a text";
        case Type::number:
            return "a number" + range();
        case Type::integer:
            return "a whole number" + range();
        case Type::boolean:
            return "true or false";
        case Type::list:
            return "a list";
        case Type::map:
            return "a map";
    }
    return {};
}

std::optional<std::size_t> CapabilityDef::attribute(std::string_view name) const
{
    for (std::size_t i = 0; i < attributes.size(); ++i)
        if (attributes[i].name == name)
            return i;
    return std::nullopt;
}

const CommandDef* CapabilityDef::command(std::string_view name) const
{
    for (const auto& def : commands)
        if (def.name == name)
            return &def;
    return nullptr;
}

const Component::Use* Component::use(std::string_view capability) const
{
    for (const auto& each : capabilities)
        if (each.capability->id == capability)
            return &each;
    return nullptr;
}

const Component* Model::component(std::string_view wanted) const
{
    for (const auto& each : components)
        if (each.id == wanted)
            return &each;
    return nullptr;
}

const Resource* Model::resource(std::string_view uri) const
{
    const auto found = resource_index_.find(std::string{uri});
    return found == resource_index_.end() ? nullptr : &resources[found->second];
}

std::optional<std::size_t> Model::slot(std::string_view wanted) const
{
    const auto found = slot_index_.find(std::string{wanted});
    return found == slot_index_.end() ? std::nullopt : std::optional(found->second);
}

std::vector<std::string_view> Model::slot_names() const
{
    std::vector<std::string_view> names;
    for (const auto& [key, slot] : slot_index_)
        names.push_back(key);
    std::sort(names.begin(), names.end());
    return names;
}

ModelLibrary::ModelLibrary()
{
    for (const auto& [name, text] : embedded_models())
        sources_[std::string{name}] = {fmt::format("{}.yaml", name), text};
}

void ModelLibrary::add_directory(const std::string& path)
{
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator{path, error})
        if (entry.path().extension() == ".yaml") {
            const std::string id = entry.path().stem().string();
            sources_[id] = {entry.path().string(), {}};
            models_.erase(id);
            all_read_ = false;
        }
    if (error)
        throw DocumentError(fmt::format("{}: cannot be read: {}", path, error.message()));
}

const Model& ModelLibrary::add(std::string_view yaml, const std::string& file)
{
    return read(read_yaml(yaml, file), file);
}

const Model* ModelLibrary::find(const std::string& id)
{
    if (const auto known = models_.find(id); known != models_.end())
        return known->second.get();
    const auto source = sources_.find(id);
    if (source == sources_.end())
        return nullptr;
    const Node root = source->second.text.empty() ? read_yaml_file(source->second.file)
                                                  : read_yaml(source->second.text, source->second.file);
    if (root.at("id").text() != id)
        root.at("id").fail(fmt::format("expected the id '{}', as the file is named", id));
    return &read(root, source->second.file);
}

const Model* ModelLibrary::find_vid(const std::string& vid)
{
    if (!all_read_ && !ids_by_vid_.contains(vid))
        for (const auto& id : ids())
            try {
                find(id);
            } catch (const DocumentError&) {
                // A model of the user's that cannot be used is told of where it is used.
            }
    all_read_ = true;
    const auto found = ids_by_vid_.find(vid);
    return found == ids_by_vid_.end() ? nullptr : find(found->second);
}

std::vector<std::string> ModelLibrary::ids() const
{
    std::vector<std::string> all;
    for (const auto& [id, source] : sources_)
        all.push_back(id);
    for (const auto& [id, model] : models_)
        if (!sources_.contains(id))
            all.push_back(id);
    std::sort(all.begin(), all.end());
    return all;
}

const CapabilityDef* ModelLibrary::capability(const std::string& id)
{
    if (const auto known = capabilities_.find(id); known != capabilities_.end())
        return known->second.get();
    for (const auto& [name, text] : embedded_capabilities())
        if (name == id) {
            read_capability(id, read_yaml(text, fmt::format("capabilities/{}.yaml", id)));
            return capabilities_.at(id).get();
        }
    return nullptr;
}

std::optional<std::size_t> ModelLibrary::capability_attribute(const CapabilityDef& def, const Node& node)
{
    const auto index = def.attribute(node.text());
    if (!index)
        node.fail(fmt::format("'{}' has no attribute '{}'{}", def.id, node.text(),
                              did_you_mean(node.text(), names_of(def.attributes))));
    return index;
}

void ModelLibrary::read_capability(const std::string& id, const Node& node)
{
    auto def = std::make_unique<CapabilityDef>();
    def->id = id;
    node.only({"attributes", "commands", "resource"});
    for (const auto& [key, value] : node.at("attributes").entries())
        def->attributes.push_back(read_attribute(key, value));

    const auto value_for = [&](std::size_t attribute, const Node& at) {
        const AttributeDef& target = def->attributes[attribute];
        const Json given =
            target.type == AttributeDef::Type::text && at.is_text() ? Json(at.text()) : at.json();
        const auto value = target.accept(given);
        if (!value)
            at.fail(fmt::format("expected {} for '{}'", target.expected(), target.name));
        return *value;
    };

    if (const Node* commands = node.find("commands"))
        for (const auto& [key, body] : commands->entries("a map of commands")) {
            CommandDef command;
            command.name = key.id();
            body.only({"arguments", "set", "toggle", "step"});
            if (const Node* arguments = body.find("arguments"))
                for (const auto& item : arguments->items()) {
                    CommandDef::Argument argument;
                    if (item.is_map()) {
                        item.only({"name", "sets", "optional"});
                        argument.name = item.at("name").text();
                        argument.attribute = *capability_attribute(*def, item.at("sets"));
                        argument.optional = item.flag("optional", false);
                    } else {
                        argument.name = item.text();
                        argument.attribute = *capability_attribute(*def, item);
                    }
                    command.arguments.push_back(std::move(argument));
                }
            if (const Node* sets = body.find("set"))
                for (const auto& [attribute, value] : sets->entries()) {
                    const auto index = *capability_attribute(*def, attribute);
                    command.sets.emplace_back(index, value_for(index, value));
                }
            if (const Node* toggle = body.find("toggle")) {
                command.toggles = capability_attribute(*def, *toggle);
                if (def->attributes[*command.toggles].values.size() < 2)
                    toggle->fail("expected an attribute with two values to toggle");
            }
            if (const Node* step = body.find("step")) {
                step->only({"attribute", "by"});
                command.steps = {*capability_attribute(*def, step->at("attribute")),
                                 step->at("by").number(-far, far)};
            }
            def->commands.push_back(std::move(command));
        }

    if (const Node* resource = node.find("resource")) {
        resource->only({"uri", "types", "observable", "properties"});
        ResourceDef view;
        view.uri = resource->at("uri").id();
        if (!view.uri.starts_with('/'))
            resource->at("uri").fail(fmt::format("expected a URI that begins with /, found '{}'", view.uri));
        view.types = resource->at("types").texts();
        if (view.types.empty())
            resource->at("types").fail("expected at least one resource type");
        view.observable = resource->flag("observable", true);
        if (const Node* properties = resource->find("properties")) {
            for (const auto& [key, body] : properties->entries()) {
                ResourceDef::Property property;
                property.name = key.id();
                if (body.is_text()) {
                    property.attribute = *capability_attribute(*def, body);
                } else {
                    body.only({"attribute", "words", "read-only"});
                    property.attribute = *capability_attribute(*def, body.at("attribute"));
                    property.read_only = body.flag("read-only", false);
                    if (const Node* words = body.find("words"))
                        for (const auto& [from, to] : words->entries())
                            property.words.emplace_back(value_for(property.attribute, from), to.json());
                }
                view.properties.push_back(std::move(property));
            }
        } else {
            for (std::size_t i = 0; i < def->attributes.size(); ++i)
                view.properties.push_back({def->attributes[i].name, i, {}, false});
        }
        def->resource = std::move(view);
    }
    capabilities_[id] = std::move(def);
}

const Model& ModelLibrary::read(const Node& root, const std::string& file)
{
    root.only({"quorvel-model", "id", "name", "maker", "number", "vid", "mnmn", "type", "category",
               "firmware", "color", "tier", "hub", "infrared", "capabilities", "components", "defaults",
               "dynamics", "preferences"});
    root.at("quorvel-model").integer(1, 1);
    auto model = std::make_unique<Model>();
    model->source = file;
    model->id = root.at("id").id();
    model->name = root.at("name").text();
    model->maker = root.text("maker", "Quorvel Works");
    model->number = root.text("number", model->id);
    model->vid = root.text("vid", "qv-" + model->id);
    model->mnmn = root.text("mnmn", "qv01");
    model->type = root.text("type", "qv.d.generic");
    model->category = root.text("category", "other");
    model->firmware = root.text("firmware", "1.0.0");
    model->color = root.text("color", "white");
    model->tier = static_cast<int>(root.integer("tier", 0, 10, 0));
    model->hub = root.flag("hub", false);
    model->infrared = root.flag("infrared", false);
    model->preferences = root.json("preferences", Json::object());
    if (!model->preferences.is_object())
        root.at("preferences").fail("expected a map of preferences");

    if (const Node* own = root.find("capabilities"))
        for (const auto& [key, value] : own->entries("a map of capabilities"))
            read_capability(key.id(), value);

    std::unordered_map<std::string, std::size_t> index;
    const auto name_slot = [&](std::size_t slot, const std::string& component, const std::string& capability,
                               const std::string& attribute) {
        index.emplace(component + "." + capability + "." + attribute, slot);
        index.emplace(capability + "." + attribute, slot);
        index.emplace(attribute, slot);
    };
    const auto& components = root.at("components").entries("a map of components");
    if (components.empty())
        root.at("components").fail("expected at least one component");
    for (const auto& [key, value] : components) {
        Component component;
        component.id = key.id();
        component.label = component.id;
        const Node* list = &value;
        if (value.is_map()) {
            value.only({"label", "capabilities"});
            component.label = value.text("label", component.id);
            list = &value.at("capabilities");
        }
        for (const auto& item : list->items("a list of capabilities")) {
            const CapabilityDef* def = capability(item.id());
            if (def == nullptr) {
                std::vector<std::string_view> known;
                for (const auto& each : embedded_capabilities())
                    known.push_back(each.name);
                for (const auto& each : capabilities_)
                    known.push_back(each.first);
                item.fail(
                    fmt::format("unknown capability '{}'{}", item.text(), did_you_mean(item.text(), known)));
            }
            if (component.use(def->id) != nullptr)
                item.fail(fmt::format("capability '{}' given twice", def->id));
            const std::size_t first = model->slots.size();
            component.capabilities.push_back({def, first});
            for (const auto& attribute : def->attributes) {
                name_slot(model->slots.size(), component.id, def->id, attribute.name);
                model->slots.push_back({model->components.size(), component.capabilities.size() - 1, def,
                                        &attribute, component.id + "." + def->id + "." + attribute.name,
                                        attribute.initial});
            }
            if (def->resource) {
                const std::string prefix = component.id == "main" ? "" : "/" + component.id;
                model->resources.push_back({prefix + def->resource->uri, &*def->resource, first,
                                            def->resource->types, def->resource->observable});
            }
        }
        model->components.push_back(std::move(component));
    }
    model->resources.push_back({"/device", nullptr, 0, {"qv.r.device"}, true});
    model->resources.push_back({"/platform", nullptr, 0, {"qv.r.platform"}, false});
    model->slot_index_ = std::move(index);
    for (std::size_t i = 0; i < model->resources.size(); ++i)
        if (!model->resource_index_.emplace(model->resources[i].uri, i).second)
            root.at("components")
                .fail(fmt::format("two resources have the URI '{}'", model->resources[i].uri));

    const auto slot_of = [&](const Node& at) {
        const auto slot = model->slot(at.text());
        if (!slot)
            at.fail(fmt::format("unknown attribute '{}'{}", at.text(),
                                did_you_mean(at.text(), model->slot_names())));
        return *slot;
    };
    const auto value_of = [&](std::size_t slot, const Node& at) {
        const AttributeDef& target = *model->slots[slot].attribute;
        const Json given =
            target.type == AttributeDef::Type::text && at.is_text() ? Json(at.text()) : at.json();
        const auto value = target.accept(given);
        if (!value)
            at.fail(fmt::format("expected {} for '{}'", target.expected(), target.name));
        return *value;
    };
    const auto values_of = [&](const Node* map) {
        std::vector<std::pair<std::size_t, Json>> all;
        if (map != nullptr)
            for (const auto& [key, value] : map->entries()) {
                const auto slot = slot_of(key);
                all.emplace_back(slot, value_of(slot, value));
            }
        return all;
    };
    for (auto& [slot, value] : values_of(root.find("defaults")))
        model->slots[slot].initial = value;

    if (const Node* dynamics = root.find("dynamics"))
        for (const auto& item : dynamics->items("a list of dynamics")) {
            item.only(
                {"kind", "attribute", "toward", "from", "by", "per", "value", "otherwise", "when", "then"});
            Dynamic dynamic;
            const std::string kind = item.at("kind").word(
                {"approach", "drain", "accumulate", "countdown", "follow", "decay"}, "a kind of dynamics");
            using enum Dynamic::Kind;
            dynamic.kind = kind == "approach"     ? approach
                           : kind == "accumulate" ? accumulate
                           : kind == "countdown"  ? countdown
                           : kind == "follow"     ? follow
                           : kind == "decay"      ? decay
                                                  : drain;
            dynamic.slot = slot_of(item.at("attribute"));
            const bool numeric = dynamic.kind != follow && dynamic.kind != decay;
            const auto type = model->slots[dynamic.slot].attribute->type;
            if (numeric && type != AttributeDef::Type::number && type != AttributeDef::Type::integer)
                item.at("attribute")
                    .fail(fmt::format("expected an attribute that is a number for '{}'", kind));
            if (dynamic.kind == approach) {
                const Node& toward = item.at("toward");
                if (const auto slot = model->slot(toward.text()))
                    dynamic.other = slot;
                else
                    dynamic.toward = toward.number(-far, far);
            }
            if (dynamic.kind == accumulate)
                dynamic.other = slot_of(item.at("from"));
            dynamic.by = item.number("by", 1e-6, far, 1);
            dynamic.per = std::max<std::int64_t>(100, item.milliseconds("per", 60'000));
            if (!numeric)
                dynamic.value = value_of(dynamic.slot, item.at("value"));
            if (dynamic.kind == follow)
                dynamic.otherwise = value_of(dynamic.slot, item.at("otherwise"));
            dynamic.when = values_of(item.find("when"));
            dynamic.then = values_of(item.find("then"));
            model->dynamics.push_back(std::move(dynamic));
        }

    const std::string id = model->id;
    ids_by_vid_[model->vid] = id;
    auto& place = models_[id];
    place = std::move(model);
    return *place;
}

}  // namespace quorvel::home
