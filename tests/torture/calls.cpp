#include "calls.hpp"

#include <quorvel_client_app_launch.h>
#include <quorvel_client_device.h>
#include <quorvel_client_device_detail.h>
#include <quorvel_client_easy_setup.h>
#include <quorvel_client_group.h>
#include <quorvel_client_internal.h>
#include <quorvel_client_notification.h>
#include <quorvel_client_qc_api.h>
#include <quorvel_client_scene.h>
#include <quorvel_client_udo.h>
#include <quorvel_core.h>
#include <quorvel_core_device.h>
#include <quorvel_core_device_group.h>
#include <quorvel_core_favorite.h>
#include <quorvel_core_history.h>
#include <quorvel_core_installed_app.h>
#include <quorvel_core_location.h>
#include <quorvel_core_oxbarrow.h>
#include <quorvel_core_room.h>
#include <quorvel_core_rule.h>
#include <quorvel_core_scene.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <tuple>
#include <type_traits>
#include <utility>

namespace torture {

namespace {

// ---------------------------------------------------------------------------------------------------------------
// Callbacks that listen

/// Something that a callback of the public interface is given, and has to release.
struct Given {
    enum class What { other, record, records, texts } what = What::other;
    void* pointer = nullptr;
    int number = 0;
};

template <typename Value>
Given given(Value value)
{
    if constexpr (std::is_same_v<Value, void*>)
        return {Given::What::record, value};
    else if constexpr (std::is_same_v<Value, void**>)
        return {Given::What::records, value};
    else if constexpr (std::is_same_v<Value, char**>)
        return {Given::What::texts, value};
    else if constexpr (std::is_same_v<Value, int>)
        return {Given::What::other, nullptr, value};
    else
        return {};
}

void release_record(void* record);

void release(const Given& list, int count)
{
    auto** const elements = static_cast<void**>(list.pointer);
    for (int i = 0; i < count; ++i) {
        if (list.what == Given::What::records)
            release_record(elements[i]);
        else
            std::free(elements[i]);
    }
    std::free(list.pointer);
}

void hear(std::span<const Given> values)
{
    ++ears().heard;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values[i].pointer == nullptr)
            continue;
        if (values[i].what == Given::What::record)
            release_record(values[i].pointer);
        else
            release(values[i], values[i + 1].number);
    }
    if (ears().action)
        ears().action();
}

template <typename Callback>
struct Listening;

template <typename... Values>
struct Listening<void (*)(Values...)> {
    // A public callback has its user data at the end, and what it is given is the application's. A delegate's
    // has it in front, and what it is given lives until it returns.
    static void call(Values... values)
    {
        using Last = std::tuple_element_t<sizeof...(Values) - 1, std::tuple<Values...>>;
        if constexpr (std::is_same_v<Last, void*>) {
            const std::array<Given, sizeof...(Values)> all{given(values)...};
            hear(std::span{all}.first(all.size() - 1));
        } else {
            hear({});
        }
    }
    static AnyFunction as_any() { return reinterpret_cast<AnyFunction>(call); }
};

// ---------------------------------------------------------------------------------------------------------------
// Types

template <typename Handle>
constexpr const Known* known_type = nullptr;

template <typename Handle, int (*create)(Handle*)>
void* create_object()
{
    Handle made = nullptr;
    create(&made);
    return made;
}

template <typename Handle, int (*destroy)(Handle)>
int destroy_object(void* object)
{
    return destroy(static_cast<Handle>(object));
}

template <typename Handle, typename Callback, Handle (*create)(Callback, bool, void*)>
void* create_delegate(bool once, void* user_data)
{
    return create(Listening<Callback>::call, once, user_data);
}

template <typename Handle, int (*dispose)(rpc_port_proxy_qv_client_h, Handle)>
int dispose_delegate(rpc_port_proxy_qv_client_h proxy, void* delegate)
{
    return dispose(proxy, static_cast<Handle>(delegate));
}

#define PUBLIC(...)
#define INVOKE(...)
#define RECORD_FUNCTION(...)
#define DELEGATE_FUNCTION(...)

#define RECORD(type)                                                               \
    constexpr Known known_##type{                                                  \
        .name = #type,                                                             \
        .destroy = destroy_object<rpc_port_##type##_h, rpc_port_##type##_destroy>, \
        .create = create_object<rpc_port_##type##_h, rpc_port_##type##_create>,    \
    };                                                                             \
    template <>                                                                    \
    constexpr const Known* known_type<rpc_port_##type##_h> = &known_##type;
#define DELEGATE(type)                                                                                    \
    constexpr Known known_##type{                                                                         \
        .name = #type,                                                                                    \
        .is_delegate = true,                                                                              \
        .destroy = destroy_object<rpc_port_qv_client_##type##_h, rpc_port_qv_client_##type##_destroy>,    \
        .to = __qv_client_##type##_to,                                                                    \
        .create_delegate = create_delegate<rpc_port_qv_client_##type##_h, rpc_port_qv_client_##type##_cb, \
                                           rpc_port_qv_client_##type##_create>,                           \
        .dispose =                                                                                        \
            dispose_delegate<rpc_port_qv_client_##type##_h, rpc_port_proxy_qv_client_##type##_dispose>,   \
        .dispatch = __qv_client_delegate_##type,                                                          \
    };                                                                                                    \
    template <>                                                                                           \
    constexpr const Known* known_type<rpc_port_qv_client_##type##_h> = &known_##type;
#include "rows.inc"
#undef RECORD
#undef DELEGATE

constexpr const Known* known_types[] = {
#define RECORD(type) &known_##type,
#define DELEGATE(type) &known_##type,
#include "rows.inc"
#undef RECORD
#undef DELEGATE
};
#undef PUBLIC
#undef INVOKE
#undef RECORD_FUNCTION
#undef DELEGATE_FUNCTION

/// Every record begins with the functions that write and read it, which tell its type.
rpc_port_parcelable_t& parcelable_of(void* record)
{
    return *static_cast<rpc_port_parcelable_t*>(record);
}

void release_record(void* record)
{
    static const auto destroyers = [] {
        std::map<decltype(rpc_port_parcelable_t::to), const Known*> found;
        for (const Known* const known : known_types) {
            if (known->is_delegate)
                continue;
            void* const made = known->create();
            found.emplace(parcelable_of(made).to, known);
            known->destroy(made);
        }
        return found;
    }();
    if (record != nullptr)
        destroyers.at(parcelable_of(record).to)->destroy(record);
}

template <typename Parameter>
constexpr Type type_of()
{
    using Bare = std::remove_pointer_t<Parameter>;
    if constexpr (std::is_same_v<Parameter, bool>)
        return {Shape::flag};
    else if constexpr (std::is_arithmetic_v<Parameter>)
        return {Shape::number};
    else if constexpr (std::is_same_v<Parameter, const char*>)
        return {Shape::text};
    else if constexpr (std::is_same_v<Parameter, const char* const*>)
        return {Shape::texts};
    else if constexpr (std::is_same_v<Parameter, void*>)
        return {Shape::pointer};
    else if constexpr (std::is_function_v<Bare>)
        return {Shape::callback, nullptr, Listening<Parameter>::as_any};
    else if constexpr (std::is_same_v<Parameter, const rpc_port_proxy_qv_client_callback_s*>)
        return {Shape::callbacks};
    else if constexpr (std::is_same_v<Parameter, rpc_port_proxy_qv_client_h>)
        return {Shape::proxy};
    else if constexpr (std::is_same_v<Parameter, rpc_port_proxy_qv_client_h*>)
        return {Shape::out_proxy};
    else if constexpr (std::is_same_v<Parameter, bundle*>)
        return {Shape::dictionary};
    else if constexpr (std::is_same_v<Parameter, bundle**>)
        return {Shape::out_dictionary};
    else if constexpr (std::is_same_v<Parameter, GList**>)
        return {Shape::parcel_list};
    else if constexpr (std::is_same_v<Parameter, int*>)
        return {Shape::out_number};
    else if constexpr (std::is_same_v<Parameter, bool*>)
        return {Shape::out_flag};
    else if constexpr (std::is_same_v<Parameter, char**>)
        return {Shape::out_text};
    else if constexpr (std::is_same_v<Parameter, char***>)
        return {Shape::out_texts};
    else if constexpr (std::is_same_v<Parameter, int**>)
        return {Shape::out_numbers};
    else if constexpr (std::is_same_v<Parameter, unsigned char**>)
        return {Shape::out_bytes};
    else if constexpr (std::is_same_v<Parameter, void**>)
        return {Shape::out_pointer};
    else if constexpr (std::is_same_v<Parameter, void***>)
        return {Shape::out_pointers};
    else if constexpr (known_type<Parameter> != nullptr)
        return {Shape::object, known_type<Parameter>};
    else if constexpr (known_type<std::remove_const_t<Bare>> != nullptr)
        return {std::is_const_v<Bare> ? Shape::objects : Shape::out_object,
                known_type<std::remove_const_t<Bare>>};
    else
        return {Shape::out_objects, known_type<std::remove_pointer_t<Bare>>};
}

// ---------------------------------------------------------------------------------------------------------------
// Functions

template <typename Parameter>
Parameter argument(const Slot& slot)
{
    if constexpr (std::is_arithmetic_v<Parameter>)
        return static_cast<Parameter>(slot.number);
    else if constexpr (std::is_function_v<std::remove_pointer_t<Parameter>>)
        return reinterpret_cast<Parameter>(slot.function);
    else
        return static_cast<Parameter>(slot.pointer);
}

template <auto function, typename Function = decltype(function)>
struct Thunk;

template <auto function, typename Result, typename... Parameters>
struct Thunk<function, Result (*)(Parameters...)> {
    static constexpr std::array<Type, sizeof...(Parameters)> types{type_of<Parameters>()...};

    static Answered call(const Slot* slots) { return call(slots, std::index_sequence_for<Parameters...>{}); }

private:
    template <std::size_t... places>
    static Answered call([[maybe_unused]] const Slot* slots, std::index_sequence<places...>)
    {
        if constexpr (std::is_void_v<Result>) {
            function(argument<Parameters>(slots[places])...);
            return {Answered::Kind::nothing, 0, nullptr};
        } else {
            const Result result = function(argument<Parameters>(slots[places])...);
            if constexpr (std::is_pointer_v<Result>)
                return {Answered::Kind::object, 0, result};
            else
                return {std::is_same_v<Result, bool> ? Answered::Kind::truth : Answered::Kind::number,
                        static_cast<int>(result), nullptr};
        }
    }
};

constexpr Row all_rows[] = {
#define RECORD(...)
#define DELEGATE(...)
#define ROW(family, function, client) \
    {Row::Family::family, #function, client, Thunk<&function>::types, Thunk<&function>::call},
#define PUBLIC(function, client) ROW(public_api, function, client)
#define INVOKE(function) ROW(invoke, function, false)
#define RECORD_FUNCTION(function) ROW(record, function, false)
#define DELEGATE_FUNCTION(function) ROW(delegate, function, false)
#include "rows.inc"
};

// ---------------------------------------------------------------------------------------------------------------
// What the types do not tell

/// The type of the records that a family of public functions works on, by how their names begin. The longest
/// beginning decides.
constexpr std::pair<std::string_view, std::string_view> record_types[] = {
    {"quorvel_client_device_", "device_s"},
    {"quorvel_client_device_detail_", "device_detail_s"},
    {"quorvel_client_group_", "group_s"},
    {"quorvel_client_scene_", "scene_s"},
    {"quorvel_client_add_app_launch_condition", "app_launch_condition_s"},
    {"quorvel_client_remove_app_launch_condition", "app_launch_condition_s"},
    {"quorvel_client_is_app_launch_condition_added", "app_launch_condition_s"},
    {"quorvel_client_app_launch_condition_", "app_launch_condition_s"},
    {"quorvel_client_easy_setup_access_point_", "access_point_s"},
    {"quorvel_client_easy_setup_destroy_access_point", "access_point_s"},
    {"quorvel_client_easy_setup_device_pro", "device_prop_s"},
    {"quorvel_client_easy_setup_cloud_pro", "cloud_prop_s"},
    {"quorvel_client_easy_setup_device_conf_", "device_conf_s"},
    {"quorvel_client_provisioning_info_", "easy_setup_prov_info_s"},
    {"quorvel_client_file_", "transfer_data_s"},
    {"quorvel_client_self_sign_up_info_", "self_signup_info_s"},
    {"quorvel_core_device_", "core_device_s"},
    {"quorvel_core_device_group_", "device_group_s"},
    {"quorvel_core_location_", "location_s"},
    {"quorvel_core_room_", "room_s"},
    {"quorvel_core_favorite_", "favorite_s"},
    {"quorvel_core_rule_", "core_rule_s"},
    {"quorvel_core_scene_", "core_scene_s"},
    {"quorvel_core_installed_app_", "installed_app_s"},
};

/// The numbers that are good where 1 is not: mostly properties.
const std::map<std::string_view, int> good_numbers = {
    {"quorvel_client_device_get_string", 0},
    {"quorvel_client_device_detail_get_int", QUORVEL_CLIENT_DEVICE_DETAIL_PROP_RESOURCE_COUNT},
    {"quorvel_client_device_detail_get_string", QUORVEL_CLIENT_DEVICE_DETAIL_PROP_GROUP_ID},
    {"quorvel_client_device_detail_get_string_array", QUORVEL_CLIENT_DEVICE_DETAIL_PROP_RESOURCE_URIS},
    {"quorvel_client_group_get_string_array", QUORVEL_CLIENT_GROUP_PROP_DEVICE_LIST_V1},
    {"quorvel_client_easy_setup_initialize", QUORVEL_CLIENT_EASY_SETUP_TYPE_HOST_ADDRESS},
    {"quorvel_client_easy_setup_access_point_get_string", 0},
    {"quorvel_client_easy_setup_device_property_set_string", 0},
    {"quorvel_client_easy_setup_device_property_get_string", 0},
    {"quorvel_client_easy_setup_device_property_set_string_array", 13},
    {"quorvel_client_easy_setup_device_property_get_string_array", 13},
    {"quorvel_client_easy_setup_cloud_property_set_string", 0},
    {"quorvel_client_easy_setup_cloud_property_get_string", 0},
    {"quorvel_client_easy_setup_device_conf_get_bool", 0},
    {"quorvel_client_easy_setup_device_conf_get_int", QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_FREQ},
    {"quorvel_client_easy_setup_device_conf_get_string",
     QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_DEVICE_NAME},
    {"quorvel_client_easy_setup_device_conf_get_int_array",
     QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_WIFI_MODES},
    {"quorvel_client_provisioning_info_get_bool", QUORVEL_CLIENT_PROVISIONING_INFO_PROP_OWNED},
    {"quorvel_client_provisioning_info_get_int", QUORVEL_CLIENT_PROVISIONING_INFO_PROP_OTM_SUPPORT},
    {"quorvel_client_provisioning_info_get_string", QUORVEL_CLIENT_PROVISIONING_INFO_PROP_SOFT_AP_ADDRESS},
    {"quorvel_client_provisioning_info_get_string_array",
     QUORVEL_CLIENT_PROVISIONING_INFO_PROP_PROTOCOL_LIST},
    {"quorvel_client_self_sign_up_info_get_string", 0},
    {"quorvel_core_device_get_string", QUORVEL_CORE_DEVICE_PROP_DEVICE_ID},
    {"quorvel_core_device_group_get_string", QUORVEL_CORE_DEVICE_GROUP_PROP_GROUP_ID},
    {"quorvel_core_device_group_get_int", QUORVEL_CORE_DEVICE_GROUP_PROP_RESTRICTION_TIER},
    {"quorvel_core_location_get_string", QUORVEL_CORE_LOCATION_PROP_LOCATION_ID},
    {"quorvel_core_room_get_string", QUORVEL_CORE_ROOM_PROP_ROOM_ID},
    {"quorvel_core_favorite_get_string", QUORVEL_CORE_FAVORITE_PROP_FAVORITE_ID},
    {"quorvel_core_favorite_get_int", QUORVEL_CORE_FAVORITE_PROP_SORT_ORDER},
    {"quorvel_core_rule_get_string", QUORVEL_CORE_RULE_PROP_RULE_ID},
    {"quorvel_core_scene_get_string", QUORVEL_CORE_SCENE_PROP_SCENE_ID},
    {"quorvel_core_installed_app_get_string", QUORVEL_CORE_INSTALLED_APP_PROP_INSTALLED_APP_ID},
};

int good_number(std::string_view function)
{
    const auto found = good_numbers.find(function);
    return found != good_numbers.end() ? found->second : 1;
}

const Known& record_type_of(std::string_view function)
{
    std::pair<std::string_view, std::string_view> longest;
    for (const auto& each : record_types) {
        if (function.starts_with(each.first) && each.first.size() > longest.first.size())
            longest = each;
    }
    return known_type_named(longest.second);
}

/// A property is added, never replaced: a setter gets a record without any.
bool wants_empty_record(std::string_view function)
{
    return function.find("_property_set_") != std::string_view::npos;
}

void* make_record(const Known& type, bool is_empty = false)
{
    void* const made = type.create();
    if (is_empty || made == nullptr)
        return made;
    scripted::Values content;
    const std::string_view name = type.name;
    if (const auto* const record = description().record(name))
        content = sample({.kind = quorvel::catalogue::Kind::record, .name = name, .record = record}, name);
    else
        content = sample(
            {.kind = quorvel::catalogue::Kind::array, .name = name, .array = description().array(name)},
            name);
    rpc_port_parcel_h const parcel = scripted::make_parcel(content);
    parcelable_of(made).from(parcel, made);
    rpc_port_parcel_destroy(parcel);
    return made;
}

constexpr const char* good_texts[] = {"text", "more"};
constexpr const char* good_text = good_texts[0];

char untouched_place;
void* const untouched = &untouched_place;

void no_event(rpc_port_proxy_qv_client_h, void*) {}

}  // namespace

const Known& known_type_named(std::string_view name)
{
    const auto* const found = std::ranges::find(known_types, name, &Known::name);
    if (found == std::end(known_types)) {
        std::fprintf(stderr, "there is no type %s\n", std::string(name).c_str());
        std::exit(EXIT_FAILURE);
    }
    return **found;
}

std::span<const Row> rows()
{
    return all_rows;
}

const Row& row_of(std::string_view name)
{
    const auto* const found = std::ranges::find(all_rows, name, &Row::name);
    if (found == std::end(all_rows)) {
        std::fprintf(stderr, "there is no function %s\n", std::string(name).c_str());
        std::exit(EXIT_FAILURE);
    }
    return *found;
}

bool Row::consumes() const
{
    return name.ends_with("_destroy") || name.find("_destroy_access_point") != std::string_view::npos
           || name == "quorvel_client_disconnect";
}

const Known* Row::known_delegate() const
{
    const auto* found = static_cast<const Known*>(nullptr);
    for (const Known* const known : known_types) {
        const std::string_view type = known->name;
        if (known->is_delegate && name.find(type) != std::string_view::npos
            && (found == nullptr || type.size() > std::string_view{found->name}.size()))
            found = known;
    }
    return family == Family::delegate ? found : nullptr;
}

Ears& ears()
{
    static Ears the_ones;
    return the_ones;
}

// ---------------------------------------------------------------------------------------------------------------
// Attempts

/// What stands behind one argument.
struct Attempt::Place {
    union {
        void* pointer = untouched;
        int number;
        bool flag;
    };
    std::vector<void*> list;
    std::string text;
    rpc_port_proxy_qv_client_callback_s callbacks{no_event, no_event, no_event};
    GList* delegates = nullptr;
    bool is_changed = false;
};

Attempt::Attempt(const Row& row, quorvel_client_h client, std::span<const Change> changes)
    : row_{row},
      client_{client},
      proxy_{client != nullptr && row.family != Row::Family::public_api ? proxy_of(client) : nullptr},
      places_(row.types.size()),
      slots_(row.types.size())
{
    for (std::size_t place = 0; place < places_.size(); ++place)
        prepare(place);
    for (const Change& change : changes) {
        Slot& slot = slots_.at(change.place);
        places_[change.place].is_changed = true;
        switch (change.to) {
            case Change::To::null:
                slot.pointer = nullptr;
                break;
            case Change::To::number:
                slot.number = change.number;
                break;
            case Change::To::text:
                slot.pointer = const_cast<char*>(change.text);
                break;
        }
    }
}

Attempt::~Attempt() = default;

void Attempt::prepare(std::size_t place)
{
    const Type& type = row_.types[place];
    Place& kept = places_[place];
    Slot& slot = slots_[place];
    slot.number = 0;
    switch (type.shape) {
        case Shape::number: {
            const bool is_length = place > 0
                                   && (row_.types[place - 1].shape == Shape::texts
                                       || row_.types[place - 1].shape == Shape::objects);
            slot.number = is_length ? 2 : good_number(row_.name);
            break;
        }
        case Shape::flag:
            slot.number = 1;
            break;
        case Shape::text:
            slot.pointer = const_cast<char*>(good_text);
            break;
        case Shape::texts:
            slot.pointer = const_cast<const char**>(good_texts);
            break;
        case Shape::callback:
            slot.function = type.listener();
            break;
        case Shape::callbacks:
            slot.pointer = &kept.callbacks;
            break;
        case Shape::pointer:
            if (place == 0 && row_.takes_client)
                slot.pointer = client_;
            else if (row_.family == Row::Family::delegate
                     || (place > 0
                         && (row_.types[place - 1].shape == Shape::callback
                             || row_.types[place - 1].shape == Shape::callbacks)))
                slot.pointer = nullptr;
            else
                slot.pointer = kept.pointer =
                    make_record(record_type_of(row_.name), wants_empty_record(row_.name));
            break;
        case Shape::object:
            kept.pointer = type.known->is_delegate ? type.known->create_delegate(true, nullptr)
                                                   : make_record(*type.known);
            slot.pointer = kept.pointer;
            break;
        case Shape::objects:
            kept.list = {make_record(*type.known), make_record(*type.known)};
            slot.pointer = kept.list.data();
            break;
        case Shape::proxy:
            if (row_.consumes()) {
                rpc_port_proxy_qv_client_h made = nullptr;
                rpc_port_proxy_qv_client_create(good_text, &kept.callbacks, nullptr, &made);
                slot.pointer = kept.pointer = made;
            } else {
                slot.pointer = proxy_;
            }
            break;
        case Shape::dictionary: {
            const auto content = sample({.kind = quorvel::catalogue::Kind::bundle, .name = ""}, "");
            kept.pointer = scripted::make_bundle(*std::get<scripted::Dictionary>(content[0]).items);
            slot.pointer = kept.pointer;
            break;
        }
        case Shape::parcel_list:
            slot.pointer = &kept.delegates;
            break;
        case Shape::out_pointer:
            // The one list that goes in this way: it ends with NULL.
            if (row_.name.ends_with("_destroy_access_point_list")) {
                auto** const list = static_cast<void**>(std::calloc(3, sizeof(void*)));
                for (int i = 0; list != nullptr && i < 2; ++i)
                    list[i] = make_record(record_type_of(row_.name));
                slot.pointer = kept.pointer = list;
                break;
            }
            slot.pointer = &kept.pointer;
            break;
        case Shape::out_number:
        case Shape::out_flag:
        case Shape::out_text:
        case Shape::out_texts:
        case Shape::out_numbers:
        case Shape::out_bytes:
        case Shape::out_pointers:
        case Shape::out_object:
        case Shape::out_objects:
        case Shape::out_proxy:
        case Shape::out_dictionary:
            slot.pointer = &kept.pointer;
            break;
    }
    if (row_.family != Row::Family::delegate)
        return;
    // A dispatch, and a delegate that is written or read: parcels that hold what is wanted.
    const Known& known = *row_.known_delegate();
    const auto& described = *description().delegate(std::string_view{known.name});
    if (row_.name.starts_with("__qv_client_delegate_")) {
        if (type.shape == Shape::parcel_list) {
            kept.pointer = known.create_delegate(false, nullptr);
            kept.delegates = g_list_append(nullptr, kept.pointer);
        } else if (type.shape == Shape::pointer) {
            slot.pointer = kept.pointer = scripted::make_parcel(sample(described.parameters));
        } else if (type.shape == Shape::number) {
            const auto& delegate = *static_cast<rpc_port_qv_client_device_cb_h>(places_[0].pointer);
            slot.number = place == 2 ? delegate.seq_id : delegate.id;
        }
    } else if (row_.name.starts_with("__qv_client_")) {
        slot.pointer = kept.pointer =
            place == 0
                ? scripted::make_parcel({scripted::i32(described.id), scripted::i32(1), scripted::flag(true)})
                : known.create_delegate(false, nullptr);
    }
}

void Attempt::call()
{
    const Answered answered = row_.call(slots_.data());
    switch (answered.kind) {
        case Answered::Kind::nothing:
            succeeded_ = true;
            break;
        case Answered::Kind::number:
            code_ = answered.number;
            succeeded_ = code_ == 0;
            break;
        case Answered::Kind::truth:
            succeeded_ = true;
            break;
        case Answered::Kind::object:
            succeeded_ = answered.object != nullptr;
            code_ = succeeded_ ? 0 : -1;
            if (succeeded_)
                row_.known_delegate()->destroy(answered.object);
            break;
    }
}

void Attempt::settle()
{
    for (std::size_t place = 0; place < places_.size(); ++place)
        settle(place);
}

/// The number that was handed out with a list.
int Attempt::number_behind(std::size_t place) const
{
    const std::size_t behind = place + 1;
    const bool is_there = behind < places_.size() && row_.types[behind].shape == Shape::out_number
                          && slots_[behind].pointer != nullptr;
    return is_there ? places_[behind].number : 0;
}

void Attempt::settle(std::size_t place)
{
    const Type& type = row_.types[place];
    Place& kept = places_[place];
    void* const pointer = kept.pointer;
    const bool is_own = pointer != untouched && pointer != nullptr;
    // Where NULL went in, what was made for the place is still ours.
    const bool is_consumed = row_.consumes() && succeeded_ && !kept.is_changed;
    const auto release_list = [&](void (*release_element)(void*)) {
        auto** const list = static_cast<void**>(pointer);
        const int count = number_behind(place);
        for (int i = 0; i < count; ++i)
            release_element(list[i]);
        std::free(list);
    };
    switch (type.shape) {
        case Shape::number:
        case Shape::flag:
        case Shape::text:
        case Shape::texts:
        case Shape::callback:
        case Shape::callbacks:
        case Shape::out_number:
        case Shape::out_flag:
            break;
        case Shape::pointer:
            if (!is_own || is_consumed)
                break;
            if (row_.family == Row::Family::delegate) {
                if (place == 0 || row_.name.starts_with("__qv_client_delegate_"))
                    rpc_port_parcel_destroy(pointer);
                else
                    row_.known_delegate()->destroy(pointer);
            } else {
                release_record(pointer);
            }
            break;
        case Shape::object:
            if (!is_own || is_consumed)
                break;
            if (!type.known->is_delegate)
                type.known->destroy(pointer);
            // One that came into the list of a proxy is disposed of there.
            else if (row_.name.ends_with("_dispose") && succeeded_ && !kept.is_changed)
                break;
            else if (proxy_ == nullptr || type.known->dispose(proxy_, pointer) != 0)
                type.known->destroy(pointer);
            break;
        case Shape::objects:
            std::ranges::for_each(kept.list, type.known->destroy);
            break;
        case Shape::proxy:
            if (is_own && !is_consumed)
                rpc_port_proxy_qv_client_destroy(static_cast<rpc_port_proxy_qv_client_h>(pointer));
            break;
        case Shape::dictionary:
            bundle_free(static_cast<bundle*>(pointer));
            break;
        case Shape::parcel_list:
            g_list_free(kept.delegates);
            row_.known_delegate()->destroy(pointer);
            break;
        case Shape::out_text:
            if (is_own) {
                // A text that cannot be read to its end would end the process here.
                if (std::strlen(static_cast<const char*>(pointer)) > 64U << 20)
                    complaint_ = "a text without an end was handed out";
                std::free(pointer);
            }
            break;
        case Shape::out_texts:
            if (is_own)
                release_list(std::free);
            break;
        case Shape::out_numbers:
        case Shape::out_bytes:
            if (is_own)
                std::free(pointer);
            break;
        case Shape::out_pointer:
            if (!is_own || is_consumed)
                break;
            if (row_.name == "quorvel_client_connect") {
                made_client_ = pointer;
            } else if (row_.consumes()) {
                for (int i = 0; i < 2; ++i)
                    release_record(static_cast<void**>(pointer)[i]);
                std::free(pointer);
            } else {
                release_record(pointer);
            }
            break;
        case Shape::out_pointers:
            if (is_own)
                release_list(release_record);
            break;
        case Shape::out_object:
            if (is_own)
                type.known->destroy(pointer);
            break;
        case Shape::out_objects:
            if (is_own)
                release_list(release_record);
            break;
        case Shape::out_proxy:
            if (is_own)
                rpc_port_proxy_qv_client_destroy(static_cast<rpc_port_proxy_qv_client_h>(pointer));
            break;
        case Shape::out_dictionary:
            if (is_own)
                bundle_free(static_cast<bundle*>(pointer));
            break;
    }
}

bool is_documented(int code)
{
    switch (code) {
        case QUORVEL_CLIENT_ERROR_NONE:
        case QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY:
        case QUORVEL_CLIENT_ERROR_PERMISSION_DENIED:
        case QUORVEL_CLIENT_ERROR_INVALID_PARAMETER:
        case QUORVEL_CLIENT_ERROR_NO_SPACE:
        case QUORVEL_CLIENT_ERROR_NO_DATA:
        case QUORVEL_CLIENT_ERROR_NETWORK_UNREACHABLE:
        case QUORVEL_CLIENT_ERROR_NOT_SUPPORTED:
        case QUORVEL_CLIENT_ERROR_UNKNOWN:
        case QUORVEL_CLIENT_ERROR_OPERATION_FAILED:
        case QUORVEL_CLIENT_ERROR_AGENT_DEFINED_1:
        case QUORVEL_CLIENT_ERROR_AGENT_DEFINED_2:
        case QUORVEL_CLIENT_ERROR_IO_ERROR:
        case QUORVEL_CLIENT_ERROR_AGENT_DEFINED_3:
        case QUORVEL_CLIENT_ERROR_LOWER_VERSION:
        case QUORVEL_CLIENT_ERROR_AGENT_DEFINED_4:
        case QUORVEL_CLIENT_ERROR_ALREADY_CONNECTING:
        case QUORVEL_CLIENT_ERROR_ALREADY_CONNECTED:
        case QUORVEL_CLIENT_ERROR_NOT_CONNECTED:
        case -1:
            return true;  // the proxy's own, and what the filtered registrations pass on
        default:
            return false;
    }
}

namespace {

void on_state(int, int, void*) {}

}  // namespace

quorvel_client_h connect()
{
    quorvel_client_h client = nullptr;
    scripted::agent().install("2.4.0");
    answer_everything();
    if (quorvel_client_connect(&client, on_state, nullptr) != QUORVEL_CLIENT_ERROR_NONE)
        return nullptr;
    scripted::agent().connect();
    return client;
}

rpc_port_proxy_qv_client_h proxy_of(quorvel_client_h client)
{
    return *static_cast<rpc_port_proxy_qv_client_h*>(client);
}

bool ordinary_call_works(quorvel_client_h client)
{
    char* id = nullptr;
    const int code = quorvel_client_get_device_id(client, &id);
    const bool works = code == QUORVEL_CLIENT_ERROR_NONE && id != nullptr;
    std::free(id);
    return works;
}

}  // namespace torture
