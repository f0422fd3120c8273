// SPDX-License-Identifier: Apache-2.0
// The grammar of the home file, which is also that of every saved thing: reading and writing stand side by
// side, so that what is written can be read again.
#include <fmt/format.h>

#include <algorithm>

#include "home/home.hpp"

namespace quorvel::home {

namespace {

constexpr std::int64_t never = 4'102'444'800'000;  // the year 2100; times are before it

void put(Json& to, const char* key, const std::string& value)
{
    if (!value.empty())
        to[key] = value;
}

void put_time(Json& to, const char* key, std::int64_t value)
{
    if (value != 0)
        to[key] = value;
}

std::string hex(const std::string& bytes)
{
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const char c : bytes) {
        text += digits[static_cast<unsigned char>(c) >> 4];
        text += digits[static_cast<unsigned char>(c) & 15];
    }
    return text;
}

std::string unhex(const Node& node)
{
    const std::string text = node.text();
    const auto digit = [&](char c) {
        if (c >= '0' && c <= '9')
            return c - '0';
        if (c >= 'a' && c <= 'f')
            return c - 'a' + 10;
        node.fail("expected bytes as pairs of hexadecimal digits");
    };
    if (text.size() % 2 != 0)
        node.fail("expected bytes as pairs of hexadecimal digits");
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); i += 2)
        bytes += static_cast<char>(digit(text[i]) * 16 + digit(text[i + 1]));
    return bytes;
}

std::int64_t time_of(const Node& node, std::string_view key, std::int64_t fallback)
{
    return node.integer(key, 0, never, fallback);
}

// Reads things into one Contents. Ids are unique over all kinds that a client can name alike.
class Reader {
public:
    Reader(Contents& contents, ModelLibrary& models, std::int64_t now)
        : c_(contents), models_(models), now_(now)
    {
    }

    void agent(const Node& node);
    void place(const Node& node, std::optional<Order> order = {});
    void device(const Node& node, std::optional<Order> order = {});
    void scene(const Node& node, std::optional<Order> order = {});
    void rule(const Node& node, std::optional<Order> order = {});
    void group(const Node& node, std::optional<Order> order = {});
    void favorite(const Node& node, std::optional<Order> order = {});
    void app(const Node& node, std::optional<Order> order = {});
    void store_app(const Node& node, std::optional<Order> order = {});
    void condition(const Node& node, std::optional<Order> order = {});
    void history(const Node& node, std::optional<Order> order = {});
    void enrollee(const Node& node, std::optional<Order> order = {});
    void findable(const Node& node, std::optional<Order> order = {});
    AccessPoint access_point(const Node& node) const;
    void finish();

    const Location& location_of(const Node& node, const char* key = "place") const;

private:
    Order order_of(std::optional<Order> given)
    {
        const Order order = given.value_or(c_.next_order);
        c_.next_order = std::max(c_.next_order, order + 1);
        return order;
    }
    template <typename T>
    std::string fresh_id(const Node& node, const Table<T>& table, const char* kind) const
    {
        std::string id = node.at("id").id();
        if (table.contains(id))
            node.at("id").fail(fmt::format("{} '{}' is there twice", kind, id));
        return id;
    }
    template <typename T>
    const T& named(const Node& node, const Table<T>& table, const char* kind) const
    {
        const std::string id = node.text();
        if (const T* found = table.find(id))
            return *found;
        std::vector<std::string_view> known;
        for (const auto& each : table)
            known.push_back(each.id);
        node.fail(fmt::format("no {} '{}'{}", kind, id, did_you_mean(id, known)));
    }
    const Model& model_of(const Node& node) const
    {
        const std::string id = node.text();
        if (const Model* model = models_.find(id))
            return *model;
        const auto ids = models_.ids();
        node.fail(fmt::format("no model '{}'{}", id, did_you_mean(id, {ids.begin(), ids.end()})));
    }
    void check_values(const Device& device, const Node& values) const;
    Json actions_of(const Node& set) const;
    Json action_of(const Node& action) const;
    Json condition_of(const Node& condition) const;

    Contents& c_;
    ModelLibrary& models_;
    std::int64_t now_;
    std::vector<std::pair<Node, std::string>> parents_;  // looked up when every device is there
};

void Reader::agent(const Node& node)
{
    node.only({"version",          "signed-in",        "login",     "user-id",       "device-id",
               "caching-ms",       "environments",     "suspended", "cloud",         "update-waiting",
               "migrated",         "dynamics",         "push",      "next-id",       "token-generation",
               "metadata-version", "last-setup-error", "time",      "access-points", "uploads"});
    Account& a = c_.account;
    a.version = node.text("version", a.version);
    if (const Node* version = node.find("version")) {
        const bool well = !a.version.empty()
                          && a.version.find_first_not_of("0123456789.") == std::string::npos
                          && a.version.find('.') != std::string::npos;
        if (!well)
            version->fail(fmt::format("expected a version such as 2.4.0, found '{}'", a.version));
    }
    a.signed_in = node.flag("signed-in", a.signed_in);
    a.login = node.text("login", a.login);
    a.user = node.text("user-id", a.user);
    a.device = node.text("device-id", a.device);
    a.caching = node.integer("caching-ms", 0, 600'000, a.caching);
    a.suspended = node.flag("suspended", a.suspended);
    a.cloud = node.flag("cloud", a.cloud);
    a.update_waiting = node.flag("update-waiting", a.update_waiting);
    a.migrated = node.flag("migrated", a.migrated);
    a.dynamics = node.flag("dynamics", a.dynamics);
    if (const Node* environments = node.find("environments")) {
        const auto& items = environments->items();
        if (items.size() != 2)
            environments->fail("expected two environments");
        for (std::size_t i = 0; i < 2; ++i)
            a.environments[i] = static_cast<int>(items[i].integer(0, 2));
    }
    if (const Node* push = node.find("push")) {
        push->only({"enabled", "topics", "registrations"});
        a.push_enabled = push->flag("enabled", true);
        a.push_topics = push->texts("topics");
        if (const Node* registrations = push->find("registrations"))
            for (const auto& item : registrations->items()) {
                item.only({"provider", "registration", "app", "locale"});
                a.registrations.push_back({item.at("provider").text(), item.at("registration").text(),
                                           item.at("app").text(), item.text("locale", "")});
            }
    }
    a.next_id = static_cast<std::uint64_t>(node.integer("next-id", 1, INT64_MAX, 1));
    a.token_generation = static_cast<std::uint64_t>(node.integer("token-generation", 1, INT64_MAX, 1));
    a.metadata_version = static_cast<std::uint64_t>(node.integer("metadata-version", 1, INT64_MAX, 1));
    a.last_setup_error = node.text("last-setup-error", "");
    a.time = time_of(node, "time", 0);
    if (const Node* uploads = node.find("uploads"))
        for (const auto& [content, type] : uploads->entries("a map of contents"))
            a.uploads[content.text()] = type.text();
    if (const Node* points = node.find("access-points"))
        for (const auto& item : points->items())
            c_.access_points.push_back(access_point(item));
}

Json write(const Account& a, const std::vector<AccessPoint>& points);

AccessPoint Reader::access_point(const Node& node) const
{
    node.only(
        {"ssid", "mac", "channel", "encryption", "security", "rate", "signal", "frequency", "password"});
    AccessPoint point;
    point.ssid = node.at("ssid").text();
    point.mac = node.text("mac", "02:00:00:00:00:01");
    point.channel = std::to_string(node.integer("channel", 1, 196, 6));
    point.encryption = node.text("encryption", "AES");
    point.security = node.text("security", node.has("password") ? "WPA2-PSK" : "NONE");
    point.rate = node.text("rate", "144");
    point.signal = std::to_string(node.integer("signal", -120, 0, -55));
    point.frequency = std::to_string(node.integer("frequency", 2400, 7200, 2437));
    point.password = node.text("password", "");
    return point;
}

Json write(const AccessPoint& point)
{
    Json to{{"ssid", point.ssid},
            {"mac", point.mac},
            {"encryption", point.encryption},
            {"security", point.security},
            {"rate", point.rate}};
    to["channel"] = std::stoi(point.channel);
    to["signal"] = std::stoi(point.signal);
    to["frequency"] = std::stoi(point.frequency);
    put(to, "password", point.password);
    return to;
}

Json write(const Account& a, const std::vector<AccessPoint>& points)
{
    Json to{{"version", a.version},
            {"signed-in", a.signed_in},
            {"login", a.login},
            {"user-id", a.user},
            {"device-id", a.device},
            {"caching-ms", a.caching},
            {"environments", {a.environments[0], a.environments[1]}},
            {"suspended", a.suspended},
            {"cloud", a.cloud},
            {"update-waiting", a.update_waiting},
            {"migrated", a.migrated},
            {"dynamics", a.dynamics},
            {"next-id", a.next_id},
            {"token-generation", a.token_generation},
            {"metadata-version", a.metadata_version},
            {"time", a.time}};
    put(to, "last-setup-error", a.last_setup_error);
    if (!a.uploads.empty())
        to["uploads"] = a.uploads;
    Json push{{"enabled", a.push_enabled}, {"topics", a.push_topics}};
    for (const auto& each : a.registrations)
        push["registrations"].push_back({{"provider", each.provider},
                                         {"registration", each.registration},
                                         {"app", each.app},
                                         {"locale", each.locale}});
    to["push"] = std::move(push);
    to["access-points"] = Json::array();
    for (const auto& point : points)
        to["access-points"].push_back(write(point));
    return to;
}

void Reader::place(const Node& node, std::optional<Order> order)
{
    node.only({"id", "name", "nick", "image", "owner", "country", "latitude", "longitude", "radius",
               "temperature-scale", "time-zone", "locale", "parent-type", "parent-id", "rooms", "users",
               "favorites-migrated", "migration-date", "migration-model"});
    Location place;
    place.order = order_of(order);
    place.id = fresh_id(node, c_.locations, "place");
    if (c_.rooms.contains(place.id))
        node.at("id").fail(fmt::format("'{}' is a room already", place.id));
    place.name = node.text("name", place.id);
    place.nick = node.text("nick", "");
    place.image = node.text("image", "");
    place.owner = node.text("owner", c_.account.user);
    place.country = node.text("country", "");
    place.latitude = node.text("latitude", "");
    place.longitude = node.text("longitude", "");
    place.radius = node.text("radius", "");
    place.scale = node.text("temperature-scale", "C");
    if (place.scale != "C" && place.scale != "F")
        node.at("temperature-scale").word({"C", "F"}, "a temperature scale");
    place.time_zone = node.text("time-zone", "UTC");
    place.locale = node.text("locale", "en-GB");
    place.parent_type = node.text("parent-type", "");
    place.parent_id = node.text("parent-id", "");
    place.favorites_migrated = node.flag("favorites-migrated", false);
    place.migration_date = node.text("migration-date", "");
    place.migration_model = node.text("migration-model", "");
    if (const Node* users = node.find("users")) {
        for (const auto& item : users->items("a list of users")) {
            item.only({"id", "name", "role"});
            User user{item.at("id").id(), item.text("name", item.at("id").text()), "member"};
            if (const Node* role = item.find("role"))
                user.role = role->word({"owner", "member", "guest"}, "a role");
            place.users.push_back(std::move(user));
        }
    } else {
        place.users.push_back({c_.account.user, c_.account.login, "owner"});
    }
    std::vector<Room> rooms;
    if (const Node* list = node.find("rooms"))
        for (const auto& item : list->items("a list of rooms")) {
            Room room;
            room.location = place.id;
            if (item.is_map()) {
                item.only({"id", "name", "nick", "image", "order"});
                room.id = item.at("id").id();
                room.name = item.text("name", room.id);
                room.nick = item.text("nick", "");
                room.image = item.text("image", "");
                if (const Node* given = item.find("order"))
                    room.order = order_of(static_cast<Order>(given->integer(1, INT64_MAX)));
            } else {
                room.id = item.id();
                room.name = room.id;
                room.name[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(room.name[0])));
            }
            if (room.order == 0)
                room.order = order_of({});
            if (c_.rooms.contains(room.id)
                || std::any_of(rooms.begin(), rooms.end(), [&](const Room& r) { return r.id == room.id; }))
                item.fail(fmt::format("room '{}' is there twice", room.id));
            if (c_.locations.contains(room.id) || room.id == place.id)
                item.fail(fmt::format("'{}' is a place already", room.id));
            place.rooms.emplace(room.order, room.id);
            rooms.push_back(std::move(room));
        }
    c_.locations.add(std::move(place));
    for (auto& room : rooms)
        c_.rooms.add(std::move(room));
}

Json write(const Location& place, const Contents& c)
{
    Json to{{"id", place.id},
            {"name", place.name},
            {"owner", place.owner},
            {"temperature-scale", place.scale},
            {"time-zone", place.time_zone},
            {"locale", place.locale}};
    put(to, "nick", place.nick);
    put(to, "image", place.image);
    put(to, "country", place.country);
    put(to, "latitude", place.latitude);
    put(to, "longitude", place.longitude);
    put(to, "radius", place.radius);
    put(to, "parent-type", place.parent_type);
    put(to, "parent-id", place.parent_id);
    put(to, "migration-date", place.migration_date);
    put(to, "migration-model", place.migration_model);
    if (place.favorites_migrated)
        to["favorites-migrated"] = true;
    to["users"] = Json::array();
    for (const auto& user : place.users)
        to["users"].push_back({{"id", user.id}, {"name", user.name}, {"role", user.role}});
    to["rooms"] = Json::array();
    for (const auto& [order, id] : place.rooms) {
        const Room& room = *c.rooms.find(id);
        Json item{{"id", room.id}, {"name", room.name}, {"order", room.order}};
        put(item, "nick", room.nick);
        put(item, "image", room.image);
        to["rooms"].push_back(std::move(item));
    }
    return to;
}

const Location& Reader::location_of(const Node& node, const char* key) const
{
    if (const Node* place = node.find(key))
        return named(*place, c_.locations, "place");
    if (c_.locations.empty())
        node.fail("expected at least one place in 'places'");
    return c_.locations.front();
}

void Reader::device(const Node& node, std::optional<Order> order)
{
    node.only({"id",          "name",   "nick",     "model",  "place",       "room",   "parent", "owner",
               "firmware",    "color",  "locale",   "serial", "cloud-state", "legacy", "local",  "link",
               "preferences", "labels", "infrared", "files",  "created",     "state",  "times"});
    Device device;
    device.order = order_of(order);
    device.id = fresh_id(node, c_.devices, "device");
    device.model = &model_of(node.at("model"));
    device.name = node.text("name", device.model->name);
    device.nick = node.text("nick", device.name);
    if (const Node* room = node.find("room")) {
        const Room& found = named(*room, c_.rooms, "room");
        device.room = found.id;
        device.location = found.location;
        if (node.has("place") && location_of(node).id != found.location)
            room->fail(fmt::format("room '{}' is not in place '{}'", found.id, location_of(node).id));
    } else {
        device.location = location_of(node).id;
    }
    if (const Node* parent = node.find("parent")) {
        device.parent = parent->text();
        parents_.emplace_back(*parent, device.id);
    }
    device.owner = node.text("owner", c_.account.user);
    device.firmware = node.text("firmware", device.model->firmware);
    device.color = node.text("color", device.model->color);
    device.locale = node.text("locale", "en-GB");
    device.serial =
        node.text("serial", fmt::format("QV{:08}", std::hash<std::string>{}(device.id) % 100'000'000));
    if (const Node* state = node.find("cloud-state"))
        device.cloud_state = state->word({"CONNECTED", "DISCONNECTED", "INACTIVE"}, "a cloud state");
    device.legacy = node.flag("legacy", false);
    device.local = node.flag("local", false);
    if (const Node* link = node.find("link")) {
        link->only({"latency-ms", "drop", "online"});
        if (const Node* latency = link->find("latency-ms")) {
            if (latency->is_list()) {
                const auto& items = latency->items();
                if (items.size() != 2)
                    latency->fail("expected a latency and its jitter, such as [40, 15]");
                device.link.latency = items[0].integer(0, 600'000);
                device.link.jitter = items[1].integer(0, 600'000);
            } else {
                device.link.latency = latency->integer(0, 600'000);
            }
        }
        device.link.drop = link->probability("drop", 0);
        device.link.online = link->flag("online", true);
    }
    device.preferences = device.model->preferences;
    if (const Node* preferences = node.find("preferences")) {
        preferences->entries("a map of preferences");
        device.preferences.update(preferences->json());
    }
    device.labels = node.json("labels", Json::object());
    if (!device.labels.is_object())
        node.at("labels").fail("expected a map of labels");
    device.infrared = node.json("infrared", nullptr);
    if (const Node* files = node.find("files"))
        for (const auto& item : files->items("a list of files")) {
            item.only({"name", "uri", "text", "hex"});
            DeviceFile file{item.at("name").text(), item.at("uri").text(), item.text("text", "")};
            if (const Node* bytes = item.find("hex"))
                file.bytes = unhex(*bytes);
            if (device.model->resource(file.uri) == nullptr)
                item.at("uri").fail(
                    fmt::format("model '{}' has no resource '{}'", device.model->id, file.uri));
            device.files.push_back(std::move(file));
        }
    device.created = time_of(node, "created", now_);
    device.attributes.reserve(device.model->slots.size());
    for (const auto& slot : device.model->slots)
        device.attributes.push_back({slot.initial, device.created});
    const auto slot_of = [&](const Node& key) {
        const auto slot = device.model->slot(key.text());
        if (!slot)
            key.fail(fmt::format("model '{}' has no attribute '{}'{}", device.model->id, key.text(),
                                 did_you_mean(key.text(), device.model->slot_names())));
        return *slot;
    };
    if (const Node* state = node.find("state"))
        for (const auto& [key, value] : state->entries("a map of attributes")) {
            const auto slot = slot_of(key);
            const AttributeDef& def = *device.model->slots[slot].attribute;
            const Json given =
                def.type == AttributeDef::Type::text && value.is_text() ? Json(value.text()) : value.json();
            const auto accepted = def.accept(given);
            if (!accepted)
                value.fail(fmt::format("expected {} for '{}'", def.expected(), key.text()));
            device.attributes[slot].value = *accepted;
        }
    if (const Node* times = node.find("times"))
        for (const auto& [key, value] : times->entries())
            device.attributes[slot_of(key)].time = value.integer(0, never);
    const Device& added = c_.devices.add(std::move(device));
    c_.locations.find(added.location)->devices.emplace(added.order, added.id);
    if (!added.room.empty())
        c_.rooms.find(added.room)->devices.emplace(added.order, added.id);
}

Json write(const Device& device)
{
    Json to{{"id", device.id},
            {"name", device.name},
            {"nick", device.nick},
            {"model", device.model->id},
            {"place", device.location},
            {"owner", device.owner},
            {"firmware", device.firmware},
            {"color", device.color},
            {"locale", device.locale},
            {"serial", device.serial},
            {"created", device.created}};
    put(to, "room", device.room);
    put(to, "parent", device.parent);
    if (device.cloud_state != "CONNECTED")
        to["cloud-state"] = device.cloud_state;
    if (device.legacy)
        to["legacy"] = true;
    if (device.local)
        to["local"] = true;
    if (device.link.latency != 0 || device.link.jitter != 0 || device.link.drop > 0 || !device.link.online)
        to["link"] = {{"latency-ms", {device.link.latency, device.link.jitter}},
                      {"drop", device.link.drop},
                      {"online", device.link.online}};
    if (!device.preferences.empty())
        to["preferences"] = device.preferences;
    if (!device.labels.empty())
        to["labels"] = device.labels;
    if (!device.infrared.is_null())
        to["infrared"] = device.infrared;
    for (const auto& file : device.files)
        to["files"].push_back({{"name", file.name}, {"uri", file.uri}, {"hex", hex(file.bytes)}});
    for (std::size_t slot = 0; slot < device.attributes.size(); ++slot) {
        const auto& state = device.attributes[slot];
        const std::string& path = device.model->slots[slot].path;
        if (state.value != device.model->slots[slot].initial)
            to["state"][path] = state.value;
        if (state.time != device.created)
            to["times"][path] = state.time;
    }
    return to;
}

void Reader::check_values(const Device& device, const Node& values) const
{
    for (const auto& [attribute, value] : values.entries("a map of attributes")) {
        const auto slot = device.model->slot(attribute.text());
        if (!slot)
            attribute.fail(fmt::format("model '{}' has no attribute '{}'{}", device.model->id,
                                       attribute.text(),
                                       did_you_mean(attribute.text(), device.model->slot_names())));
        const AttributeDef& def = *device.model->slots[*slot].attribute;
        if (!def.accept(value.json()))
            value.fail(fmt::format("expected {} for '{}'", def.expected(), attribute.text()));
    }
}

// The home file may write what a scene or a rule does as {set: {lamp-1: {level: 10}}}.
Json Reader::actions_of(const Node& set) const
{
    Json actions = Json::array();
    for (const auto& [key, values] : set.entries("a map of devices")) {
        const Device& device = named(key, c_.devices, "device");
        check_values(device, values);
        actions.push_back({{"device", device.id}, {"set", values.json()}});
    }
    return actions;
}

Json Reader::action_of(const Node& action) const
{
    action.entries("an action");
    action.only(
        {"device", "set", "component", "capability", "command", "arguments", "scene", "notify", "title"});
    if (const Node* key = action.find("device")) {
        const Device& device = named(*key, c_.devices, "device");
        if (const Node* set = action.find("set")) {
            check_values(device, *set);
        } else {
            const Component* component = device.model->component(action.text("component", "main"));
            if (component == nullptr)
                action.at("component")
                    .fail(fmt::format("model '{}' has no component '{}'", device.model->id,
                                      action.at("component").text()));
            const Component::Use* use = component->use(action.at("capability").text());
            if (use == nullptr)
                action.at("capability")
                    .fail(fmt::format("model '{}' has no capability '{}'", device.model->id,
                                      action.at("capability").text()));
            if (use->capability->command(action.at("command").text()) == nullptr)
                action.at("command").fail(fmt::format("capability '{}' has no command '{}'",
                                                      use->capability->id, action.at("command").text()));
        }
    } else if (!action.has("scene") && !action.has("notify")) {
        action.fail("expected 'device', 'scene' or 'notify' in an action");
    }
    return action.json();
}

Json Reader::condition_of(const Node& condition) const
{
    condition.entries("a condition");
    condition.only(
        {"device", "attribute", "is", "not", "above", "below", "all", "any", "every", "at", "scene"});
    for (const char* list : {"all", "any"})
        if (const Node* parts = condition.find(list))
            for (const auto& part : parts->items("a list of conditions"))
                condition_of(part);
    if (const Node* key = condition.find("device")) {
        const Device& device = named(*key, c_.devices, "device");
        const Node& attribute = condition.at("attribute");
        const auto slot = device.model->slot(attribute.text());
        if (!slot)
            attribute.fail(fmt::format("model '{}' has no attribute '{}'{}", device.model->id,
                                       attribute.text(),
                                       did_you_mean(attribute.text(), device.model->slot_names())));
        const AttributeDef& def = *device.model->slots[*slot].attribute;
        for (const char* test : {"is", "not"})
            if (const Node* value = condition.find(test); value != nullptr && !def.accept(value->json()))
                value->fail(fmt::format("expected {} for '{}'", def.expected(), attribute.text()));
        for (const char* test : {"above", "below"})
            if (const Node* value = condition.find(test))
                value->number(-1e12, 1e12);
        if (!condition.has("is") && !condition.has("not") && !condition.has("above")
            && !condition.has("below"))
            condition.fail("expected 'is', 'not', 'above' or 'below' in a condition on a device");
    } else if (const Node* every = condition.find("every")) {
        if (every->milliseconds() < 1000)
            every->fail("expected a time of at least 1s");
    } else if (const Node* at = condition.find("at")) {
        const std::string time = at->text();
        if (time.size() != 5 || time[2] != ':')
            at->fail(fmt::format("expected a time of the day such as \"18:30\", found '{}'", time));
    } else if (const Node* scene = condition.find("scene")) {
        named(*scene, c_.scenes, "scene");
    } else if (!condition.has("all") && !condition.has("any")) {
        condition.fail("expected 'device', 'all', 'any', 'every', 'at' or 'scene' in a condition");
    }
    return condition.json();
}

void Reader::scene(const Node& node, std::optional<Order> order)
{
    node.only({"id", "name", "icon", "place", "set", "actions", "body", "last-run"});
    Scene scene;
    scene.order = order_of(order);
    scene.id = fresh_id(node, c_.scenes, "scene");
    scene.location = location_of(node).id;
    if (const Node* body = node.find("body")) {
        body->entries("a scene's body");
        scene.body = body->json();
    } else {
        scene.body["name"] = node.text("name", scene.id);
        if (node.has("icon"))
            scene.body["icon"] = node.at("icon").text();
        scene.body["actions"] = Json::array();
        if (const Node* set = node.find("set"))
            scene.body["actions"] = actions_of(*set);
        if (const Node* actions = node.find("actions"))
            for (const auto& item : actions->items("a list of actions"))
                scene.body["actions"].push_back(action_of(item));
        if (scene.body["actions"].empty())
            node.fail(fmt::format("expected 'set' or 'actions' in scene '{}'", scene.id));
    }
    scene.last_run = time_of(node, "last-run", 0);
    const Scene& added = c_.scenes.add(std::move(scene));
    c_.locations.find(added.location)->scenes.emplace(added.order, added.id);
}

Json write(const Scene& scene)
{
    Json to{{"id", scene.id}, {"place", scene.location}, {"body", scene.body}};
    put_time(to, "last-run", scene.last_run);
    return to;
}

void Reader::rule(const Node& node, std::optional<Order> order)
{
    node.only({"id", "name", "place", "enabled", "when", "for", "then", "else", "set", "body", "last-run"});
    Rule rule;
    rule.order = order_of(order);
    rule.id = fresh_id(node, c_.rules, "rule");
    rule.location = location_of(node).id;
    rule.enabled = node.flag("enabled", true);
    if (const Node* body = node.find("body")) {
        body->entries("a rule's body");
        rule.body = body->json();
    } else {
        rule.body["name"] = node.text("name", rule.id);
        rule.body["when"] = condition_of(node.at("when"));
        if (const Node* hold = node.find("for")) {
            hold->milliseconds();
            rule.body["for"] = hold->text();
        }
        rule.body["then"] = Json::array();
        if (const Node* set = node.find("set"))
            rule.body["then"] = actions_of(*set);
        for (const char* part : {"then", "else"})
            if (const Node* actions = node.find(part))
                for (const auto& item : actions->items("a list of actions"))
                    rule.body[part].push_back(action_of(item));
        if (rule.body["then"].empty())
            node.fail(fmt::format("expected 'set' or 'then' in rule '{}'", rule.id));
    }
    rule.last_run = time_of(node, "last-run", 0);
    const Rule& added = c_.rules.add(std::move(rule));
    c_.locations.find(added.location)->rules.emplace(added.order, added.id);
}

Json write(const Rule& rule)
{
    Json to{{"id", rule.id}, {"place", rule.location}, {"enabled", rule.enabled}, {"body", rule.body}};
    put_time(to, "last-run", rule.last_run);
    return to;
}

void Reader::group(const Node& node, std::optional<Order> order)
{
    node.only({"id", "name", "type", "place", "room", "devices"});
    DeviceGroup group;
    group.order = order_of(order);
    group.id = fresh_id(node, c_.groups, "device group");
    group.name = node.text("name", group.id);
    group.type = "GENERIC";
    if (const Node* type = node.find("type"))
        group.type =
            type->word({"UNDETERMINED", "GENERIC", "VIDEO CAMERA", "LIGHTING"}, "a device group type");
    group.location = location_of(node).id;
    if (const Node* room = node.find("room"))
        group.room = named(*room, c_.rooms, "room").id;
    for (const auto& item : node.at("devices").items("a list of device ids"))
        group.devices.push_back(named(item, c_.devices, "device").id);
    c_.groups.add(std::move(group));
}

Json write(const DeviceGroup& group)
{
    Json to{{"id", group.id},
            {"name", group.name},
            {"type", group.type},
            {"place", group.location},
            {"devices", group.devices}};
    put(to, "room", group.room);
    return to;
}

void Reader::favorite(const Node& node, std::optional<Order> order)
{
    node.only({"id", "place", "visibility", "device", "scene", "device-group", "app", "additional", "bucket",
               "device-model", "sort-order", "created", "updated"});
    Favorite favorite;
    favorite.order = order_of(order);
    favorite.location = location_of(node).id;
    if (const Node* device = node.find("device")) {
        favorite.member = named(*device, c_.devices, "device").id;
        favorite.member_type = "DEVICE";
    } else if (const Node* scene = node.find("scene")) {
        favorite.member = named(*scene, c_.scenes, "scene").id;
        favorite.member_type = "SCENE";
    } else if (const Node* group = node.find("device-group")) {
        favorite.member = named(*group, c_.groups, "device group").id;
        favorite.member_type = "DEVICE_GROUP";
    } else if (const Node* app = node.find("app")) {
        favorite.member = named(*app, c_.apps, "app").id;
        favorite.member_type = "INSTALLED_APP";
    } else {
        node.fail("expected one of 'device', 'scene', 'device-group' or 'app' in a favorite");
    }
    favorite.id = node.text("id", "favorite-" + favorite.member);
    if (c_.favorites.contains(favorite.id))
        node.fail(fmt::format("favorite '{}' is there twice", favorite.id));
    favorite.visibility = node.text("visibility", "");
    favorite.additional = node.text("additional", "");
    favorite.bucket = node.text("bucket", "");
    favorite.device_model = node.text("device-model", "");
    favorite.sort_order = node.integer("sort-order", 0, 1'000'000, static_cast<std::int64_t>(favorite.order));
    favorite.created = time_of(node, "created", now_);
    favorite.updated = time_of(node, "updated", favorite.created);
    c_.favorites.add(std::move(favorite));
}

Json write(const Favorite& favorite)
{
    Json to{{"id", favorite.id},
            {"place", favorite.location},
            {"sort-order", favorite.sort_order},
            {"created", favorite.created},
            {"updated", favorite.updated}};
    to[favorite.member_type == "DEVICE"         ? "device"
       : favorite.member_type == "SCENE"        ? "scene"
       : favorite.member_type == "DEVICE_GROUP" ? "device-group"
                                                : "app"] = favorite.member;
    put(to, "visibility", favorite.visibility);
    put(to, "additional", favorite.additional);
    put(to, "bucket", favorite.bucket);
    put(to, "device-model", favorite.device_model);
    return to;
}

void Reader::app(const Node& node, std::optional<Order> order)
{
    node.only({"id", "app", "name", "type", "status", "place", "configuration", "notices", "settings",
               "dashboard", "created", "updated", "runs"});
    InstalledApp app;
    app.order = order_of(order);
    app.id = fresh_id(node, c_.apps, "app");
    app.app = node.text("app", app.id);
    app.name = node.text("name", app.app);
    app.type = node.text("type", "AUTOMATION");
    app.status = "ACTIVE";
    if (const Node* status = node.find("status"))
        app.status = status->word({"PENDING", "ACTIVE", "DISABLED"}, "an app's status");
    app.location = location_of(node).id;
    app.configuration = node.text("configuration", "");
    app.notices = node.json("notices", Json::array());
    app.settings = node.json("settings", Json::object());
    app.dashboard = node.json("dashboard", nullptr);
    app.created = time_of(node, "created", now_);
    app.updated = time_of(node, "updated", app.created);
    app.runs = node.integer("runs", 0, INT64_MAX, 0);
    c_.apps.add(std::move(app));
}

Json write(const InstalledApp& app)
{
    Json to{{"id", app.id},           {"app", app.app},           {"name", app.name},
            {"type", app.type},       {"status", app.status},     {"place", app.location},
            {"notices", app.notices}, {"settings", app.settings}, {"created", app.created},
            {"updated", app.updated}, {"runs", app.runs}};
    put(to, "configuration", app.configuration);
    if (!app.dashboard.is_null())
        to["dashboard"] = app.dashboard;
    return to;
}

void Reader::store_app(const Node& node, std::optional<Order> order)
{
    node.only({"id", "name", "type", "asks"});
    StoreApp app;
    app.order = order_of(order);
    app.id = fresh_id(node, c_.store_apps, "app");
    app.name = node.text("name", app.id);
    app.type = node.text("type", "AUTOMATION");
    app.asks = node.texts("asks");
    c_.store_apps.add(std::move(app));
}

Json write(const StoreApp& app)
{
    return {{"id", app.id}, {"name", app.name}, {"type", app.type}, {"asks", app.asks}};
}

void Reader::condition(const Node& node, std::optional<Order> order)
{
    node.only({"id", "app", "device", "uri", "property", "type", "value", "bundle", "reserved"});
    LaunchCondition condition;
    condition.order = order_of(order);
    condition.id = node.text("id", fmt::format("condition-{}", condition.order));
    if (c_.conditions.contains(condition.id))
        node.fail(fmt::format("launch condition '{}' is there twice", condition.id));
    condition.app = node.at("app").text();
    condition.device = named(node.at("device"), c_.devices, "device").id;
    condition.uri = node.at("uri").text();
    condition.property = node.at("property").text();
    condition.type = node.text("type", "string");
    condition.value = node.at("value").text();
    condition.bundle = node.text("bundle", "");
    condition.reserved = node.text("reserved", "");
    c_.conditions.add(std::move(condition));
}

Json write(const LaunchCondition& condition)
{
    Json to{{"id", condition.id},      {"app", condition.app},           {"device", condition.device},
            {"uri", condition.uri},    {"property", condition.property}, {"type", condition.type},
            {"value", condition.value}};
    put(to, "bundle", condition.bundle);
    put(to, "reserved", condition.reserved);
    return to;
}

void Reader::history(const Node& node, std::optional<Order> order)
{
    node.only({"id", "kind", "time", "place", "device", "title", "text", "details"});
    HistoryItem item;
    item.order = order_of(order);
    item.id = node.text("id", fmt::format("history-{}", item.order));
    if (c_.history.contains(item.id))
        node.fail(fmt::format("history item '{}' is there twice", item.id));
    item.kind = node.at("kind").word({"activity", "notification"}, "a kind of history");
    item.time = time_of(node, "time", now_);
    // A thing of the past may be of a place or device that is no more.
    item.location = node.text("place", "");
    item.device = node.text("device", "");
    item.title = node.text("title", "");
    item.text = node.text("text", "");
    item.details = node.json("details", Json::object());
    c_.history.add(std::move(item));
}

Json write(const HistoryItem& item)
{
    Json to{{"id", item.id}, {"kind", item.kind}, {"time", item.time}, {"title", item.title}};
    put(to, "place", item.location);
    put(to, "device", item.device);
    put(to, "text", item.text);
    if (!item.details.empty())
        to["details"] = item.details;
    return to;
}

void Reader::enrollee(const Node& node, std::optional<Order> order)
{
    node.only({"id", "name", "model", "address", "serial", "owned", "asks", "stage-ms", "fails-at",
               "access-points"});
    Enrollee enrollee;
    enrollee.order = order_of(order);
    enrollee.id = fresh_id(node, c_.enrollees, "enrollee");
    const Model& model = model_of(node.at("model"));
    enrollee.model = model.id;
    enrollee.name = node.text("name", model.name);
    enrollee.address = node.text("address", fmt::format("192.168.8.{}", 1 + c_.enrollees.size()));
    enrollee.serial = node.text("serial", "QVE-" + enrollee.id);
    enrollee.owned = node.flag("owned", false);
    enrollee.stage_time = node.milliseconds("stage-ms", 150);
    if (const Node* asks = node.find("asks"))
        for (const auto& item : asks->items("a list of what it asks")) {
            if (item.is_map()) {
                item.only({"pin"});
                enrollee.pin = item.at("pin").text();
                if (enrollee.pin.size() < 4 || enrollee.pin.size() > 8
                    || enrollee.pin.find_first_not_of("0123456789") != std::string::npos)
                    item.at("pin").fail("expected a PIN of 4 to 8 digits, in quotes");
            } else {
                item.word({"ownership"}, "what an enrollee asks (or {pin: \"1234\"})");
                enrollee.asks_ownership = true;
            }
        }
    if (const Node* fails = node.find("fails-at")) {
        fails->only({"stage", "code", "times"});
        enrollee.fails_at = fails->at("stage").word(
            {"init", "start", "ownership", "pin", "wifi", "device", "configuration", "cloud", "sign-in"},
            "a stage");
        enrollee.fails_with = static_cast<int>(fails->integer("code", 1, 99, 1));
        enrollee.fails_times = static_cast<int>(fails->integer("times", 0, 1'000'000, 1));
    }
    if (const Node* points = node.find("access-points"))
        for (const auto& item : points->items())
            enrollee.access_points.push_back(access_point(item));
    c_.enrollees.add(std::move(enrollee));
}

Json write(const Enrollee& enrollee)
{
    Json to{{"id", enrollee.id},
            {"name", enrollee.name},
            {"model", enrollee.model},
            {"address", enrollee.address},
            {"serial", enrollee.serial},
            {"owned", enrollee.owned},
            {"stage-ms", enrollee.stage_time},
            {"asks", Json::array()}};
    if (enrollee.asks_ownership)
        to["asks"].push_back("ownership");
    if (!enrollee.pin.empty())
        to["asks"].push_back({{"pin", enrollee.pin}});
    if (!enrollee.fails_at.empty())
        to["fails-at"] = {
            {"stage", enrollee.fails_at}, {"code", enrollee.fails_with}, {"times", enrollee.fails_times}};
    for (const auto& point : enrollee.access_points)
        to["access-points"].push_back(write(point));
    return to;
}

void Reader::findable(const Node& node, std::optional<Order> order)
{
    node.only({"id", "name", "model", "hub", "after-ms", "protocol"});
    Findable thing;
    thing.order = order_of(order);
    thing.id = fresh_id(node, c_.findables, "findable device");
    const Model& model = model_of(node.at("model"));
    thing.model = model.id;
    thing.name = node.text("name", model.name);
    if (const Node* hub = node.find("hub"))
        thing.hub = named(*hub, c_.devices, "device").id;
    thing.after = node.milliseconds("after-ms", 500);
    thing.protocol = static_cast<int>(node.integer("protocol", 0, 100, 0));
    c_.findables.add(std::move(thing));
}

Json write(const Findable& thing)
{
    Json to{{"id", thing.id},
            {"name", thing.name},
            {"model", thing.model},
            {"after-ms", thing.after},
            {"protocol", thing.protocol}};
    put(to, "hub", thing.hub);
    return to;
}

void Reader::finish()
{
    for (const auto& [node, child] : parents_) {
        const Device& parent = named(node, c_.devices, "device");
        if (parent.id == child)
            node.fail(fmt::format("device '{}' cannot be its own parent", child));
        c_.devices.find(parent.id)->children.emplace(c_.devices.find(child)->order, child);
    }
    parents_.clear();
}

struct Section {
    const char* key;   // in the home file
    const char* kind;  // in the store
    void (Reader::*read)(const Node&, std::optional<Order>);
};

// In the order in which one may name another.
constexpr Section sections[] = {
    {"places", "place", &Reader::place},
    {"devices", "device", &Reader::device},
    {"scenes", "scene", &Reader::scene},
    {"rules", "rule", &Reader::rule},
    {"device-groups", "group", &Reader::group},
    {"apps", "app", &Reader::app},
    {"app-store", "store-app", &Reader::store_app},
    {"favorites", "favorite", &Reader::favorite},
    {"launch-conditions", "condition", &Reader::condition},
    {"enrollees", "enrollee", &Reader::enrollee},
    {"findable", "findable", &Reader::findable},
    {"history", "history", &Reader::history},
};

}  // namespace

const char* kind_name(Kind kind)
{
    switch (kind) {
        case Kind::agent:
            return "agent";
        case Kind::place:
            return "place";
        case Kind::device:
            return "device";
        case Kind::scene:
            return "scene";
        case Kind::rule:
            return "rule";
        case Kind::group:
            return "group";
        case Kind::favorite:
            return "favorite";
        case Kind::app:
            return "app";
        case Kind::store_app:
            return "store-app";
        case Kind::condition:
            return "condition";
        case Kind::history:
            return "history";
        case Kind::enrollee:
            return "enrollee";
        case Kind::findable:
            return "findable";
    }
    return "";
}

Contents read_home(const Node& root, ModelLibrary& models, std::int64_t now)
{
    root.entries("a home file: a map with 'quorvel-home: 1'");
    root.only({"quorvel-home", "agent", "places", "devices", "scenes", "rules", "device-groups", "apps",
               "app-store", "favorites", "launch-conditions", "enrollees", "findable", "history"});
    root.at("quorvel-home").integer(1, 1);
    Contents contents;
    Reader reader{contents, models, now};
    if (const Node* agent = root.find("agent"))
        reader.agent(*agent);
    for (const auto& section : sections) {
        if (const Node* list = root.find(section.key))
            for (const auto& item : list->items()) {
                item.entries();
                (reader.*section.read)(item, {});
            }
        if (section.read == &Reader::device)
            reader.finish();
    }
    if (contents.locations.empty())
        root.fail("expected at least one place in 'places'");
    return contents;
}

Contents read_state(const Store& store, ModelLibrary& models, std::int64_t now)
{
    Contents contents;
    Reader reader{contents, models, now};
    const auto node_of = [&](const char* kind, const std::string& id, const std::string& body) {
        const std::string name = fmt::format("{}: {} '{}'", store.path(), kind, id);
        const auto json = parse_json(body);
        if (!json)
            throw DocumentError(name + ": expected JSON");
        return Node::from(*json, name);
    };
    store.each("agent", [&](const std::string& id, Order, const std::string& body) {
        reader.agent(node_of("agent", id, body));
    });
    for (const auto& section : sections) {
        store.each(section.kind, [&](const std::string& id, Order order, const std::string& body) {
            (reader.*section.read)(node_of(section.kind, id, body), order);
        });
        if (section.read == &Reader::device)
            reader.finish();
    }
    if (contents.locations.empty())
        throw DocumentError(fmt::format("{}: expected at least one place", store.path()));
    return contents;
}

Json write_home(const Contents& c)
{
    Json to{{"quorvel-home", 1}, {"agent", write(c.account, c.access_points)}};
    const auto all = [&](const char* key, const auto& table, const auto& write_one) {
        if (table.empty())
            return;
        to[key] = Json::array();
        for (const auto& thing : table)
            to[key].push_back(write_one(thing));
    };
    const auto plainly = [](const auto& thing) { return write(thing); };
    all("places", c.locations, [&](const Location& place) { return write(place, c); });
    all("devices", c.devices, plainly);
    all("scenes", c.scenes, plainly);
    all("rules", c.rules, plainly);
    all("device-groups", c.groups, plainly);
    all("apps", c.apps, plainly);
    all("app-store", c.store_apps, plainly);
    all("favorites", c.favorites, plainly);
    all("launch-conditions", c.conditions, plainly);
    all("enrollees", c.enrollees, plainly);
    all("findable", c.findables, plainly);
    all("history", c.history, plainly);
    return to;
}

std::optional<std::pair<Json, Order>> write_thing(const Contents& c, Kind kind, std::string_view id)
{
    using Written = std::optional<std::pair<Json, Order>>;
    const auto one = [&](const auto& table) -> Written {
        const auto* thing = table.find(id);
        if (thing == nullptr)
            return std::nullopt;
        return std::pair{write(*thing), thing->order};
    };
    switch (kind) {
        case Kind::agent:
            return std::pair{write(c.account, c.access_points), Order{0}};
        case Kind::place: {
            const Location* place = c.locations.find(id);
            return place == nullptr ? Written{} : std::pair{write(*place, c), place->order};
        }
        case Kind::device:
            return one(c.devices);
        case Kind::scene:
            return one(c.scenes);
        case Kind::rule:
            return one(c.rules);
        case Kind::group:
            return one(c.groups);
        case Kind::favorite:
            return one(c.favorites);
        case Kind::app:
            return one(c.apps);
        case Kind::store_app:
            return one(c.store_apps);
        case Kind::condition:
            return one(c.conditions);
        case Kind::history:
            return one(c.history);
        case Kind::enrollee:
            return one(c.enrollees);
        case Kind::findable:
            return one(c.findables);
    }
    return std::nullopt;
}

}  // namespace quorvel::home
