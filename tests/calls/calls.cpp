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

namespace calls {

namespace {

// ---------------------------------------------------------------------------------------------------------------
// Callbacks that listen

/// Something that a callback of the public interface is given, and has to release.
struct Given {
    enum class What { other, text, record, records, texts } what = What::other;
    void* pointer = nullptr;
    int number = 0;
};

template <typename Value>
Given given(Value value)
{
    if constexpr (std::is_same_v<Value, const char*>)
        return {Given::What::text, const_cast<char*>(value)};
    else if constexpr (std::is_same_v<Value, void*>)
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

void look_at_text(const void* text)
{
    if (ears().on_text && text != nullptr)
        ears().on_text(static_cast<const char*>(text));
}

void release_text(void* text)
{
    look_at_text(text);
    std::free(text);
}

void release_record(void* record)
{
    if (record == nullptr)
        return;
    const Known& type = known_type_of(record);
    if (ears().on_record)
        ears().on_record(type, record);
    type.destroy(record);
}

void release_list(void* list, int count, void (*release_element)(void*))
{
    auto** const elements = static_cast<void**>(list);
    for (int i = 0; elements != nullptr && i < count; ++i)
        release_element(elements[i]);
    std::free(list);
}

void hear(std::span<const Given> values)
{
    ++ears().heard;
    for (std::size_t i = 0; i < values.size(); ++i) {
        switch (values[i].what) {
            case Given::What::other:
                break;
            case Given::What::text:
                look_at_text(values[i].pointer);
                break;
            case Given::What::record:
                release_record(values[i].pointer);
                break;
            case Given::What::records:
                release_list(values[i].pointer, values[i + 1].number, release_record);
                break;
            case Given::What::texts:
                release_list(values[i].pointer, values[i + 1].number, release_text);
                break;
        }
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

#define RECORD(type)                                                               \
    constexpr Known known_##type{                                                  \
        .name = #type,                                                             \
        .destroy = destroy_object<rpc_port_##type##_h, rpc_port_##type##_destroy>, \
        .create = create_object<rpc_port_##type##_h, rpc_port_##type##_create>,    \
    };                                                                             \
    constexpr const Known* record_##type = &known_##type;                          \
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

constexpr const Known* record_none = nullptr;

constexpr const Known* known_types[] = {
#define RECORD(type) &known_##type,
#define DELEGATE(type) &known_##type,
#include "rows.inc"
};

/// Every record begins with the functions that write and read it, which tell its type.
rpc_port_parcelable_t& parcelable_of(void* record)
{
    return *static_cast<rpc_port_parcelable_t*>(record);
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
#define ROW(family, function, client, record) \
    {Row::Family::family, #function, client, record, Thunk<&function>::types, Thunk<&function>::call},
#define PUBLIC(function, client, type) ROW(public_api, function, client, record_##type)
#define INVOKE(function) ROW(invoke, function, false, nullptr)
#define RECORD_FUNCTION(function) ROW(record, function, false, nullptr)
#define DELEGATE_FUNCTION(function) ROW(delegate, function, false, nullptr)
#include "rows.inc"
};

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

const Known& known_type_of(void* record)
{
    static const auto found = [] {
        std::map<decltype(rpc_port_parcelable_t::to), const Known*> types;
        for (const Known* const known : known_types) {
            if (known->is_delegate)
                continue;
            void* const made = known->create();
            types.emplace(parcelable_of(made).to, known);
            known->destroy(made);
        }
        return types;
    }();
    return *found.at(parcelable_of(record).to);
}

std::span<const Row> rows()
{
    return all_rows;
}

std::span<const Row> public_rows()
{
    const auto* const end =
        std::ranges::find_if(all_rows, [](const Row& row) { return row.family != Row::Family::public_api; });
    return {std::begin(all_rows), end};
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

bool Row::names_property(std::size_t place) const
{
    return place == 1 && family == Family::public_api && !takes_client && types[0].shape == Shape::pointer
           && types[1].shape == Shape::number;
}

bool Row::is_length(std::size_t place) const
{
    return place > 0 && types[place].shape == Shape::number
           && (types[place - 1].shape == Shape::texts || types[place - 1].shape == Shape::objects);
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

Attempt::Attempt(const Row& row, Source& source, std::span<const Change> changes)
    : row_{row},
      source_{source},
      proxy_{row.family != Row::Family::public_api ? source.proxy() : nullptr},
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
        case Shape::number:
            slot.number = row_.is_length(place) ? static_cast<long long>(places_[place - 1].list.size() - 1)
                                                : source_.number_for(row_, place);
            break;
        case Shape::flag:
            slot.number = source_.flag() ? 1 : 0;
            break;
        case Shape::text:
            slot.pointer = const_cast<char*>(source_.text());
            break;
        case Shape::texts:
            for (const char* const text : source_.texts())
                kept.list.push_back(const_cast<char*>(text));
            kept.list.push_back(nullptr);
            slot.pointer = kept.list.data();
            break;
        case Shape::callback:
            slot.function = source_.has_callback() ? type.listener() : nullptr;
            break;
        case Shape::callbacks:
            slot.pointer = &kept.callbacks;
            break;
        case Shape::pointer:
            if (place == 0 && row_.takes_client)
                slot.pointer = source_.client();
            else if (row_.family == Row::Family::delegate
                     || (place > 0
                         && (row_.types[place - 1].shape == Shape::callback
                             || row_.types[place - 1].shape == Shape::callbacks)))
                slot.pointer = nullptr;
            else
                slot.pointer = kept.pointer = source_.record(*row_.record, row_);
            break;
        case Shape::object:
            kept.pointer = type.known->is_delegate ? type.known->create_delegate(true, nullptr)
                                                   : source_.record(*type.known, row_);
            slot.pointer = kept.pointer;
            break;
        case Shape::objects:
            kept.list = {source_.record(*type.known, row_), source_.record(*type.known, row_), nullptr};
            slot.pointer = kept.list.data();
            break;
        case Shape::proxy:
            if (row_.consumes()) {
                rpc_port_proxy_qv_client_h made = nullptr;
                rpc_port_proxy_qv_client_create(source_.text(), &kept.callbacks, nullptr, &made);
                slot.pointer = kept.pointer = made;
            } else {
                slot.pointer = proxy_;
            }
            break;
        case Shape::dictionary:
            slot.pointer = kept.pointer = source_.dictionary();
            break;
        case Shape::parcel_list:
            slot.pointer = &kept.delegates;
            break;
        case Shape::out_pointer:
            // The one list that goes in this way: it ends with NULL.
            if (row_.name.ends_with("_destroy_access_point_list")) {
                auto** const list = static_cast<void**>(std::calloc(3, sizeof(void*)));
                for (int i = 0; list != nullptr && i < 2; ++i)
                    list[i] = source_.record(*row_.record, row_);
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
    if (row_.name.starts_with("__qv_client_delegate_")) {
        if (type.shape == Shape::parcel_list) {
            kept.pointer = known.create_delegate(false, nullptr);
            kept.delegates = g_list_append(nullptr, kept.pointer);
        } else if (type.shape == Shape::pointer) {
            slot.pointer = kept.pointer = source_.parameters_of(known);
        } else if (type.shape == Shape::number) {
            const auto& delegate = *static_cast<rpc_port_qv_client_device_cb_h>(places_[0].pointer);
            slot.number = place == 2 ? delegate.seq_id : delegate.id;
        }
    } else if (row_.name.starts_with("__qv_client_")) {
        slot.pointer = kept.pointer =
            place == 0 ? source_.written(known) : known.create_delegate(false, nullptr);
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
                source_.give_back(*row_.record, pointer);
            }
            break;
        case Shape::object:
            if (!is_own || is_consumed)
                break;
            if (!type.known->is_delegate)
                source_.give_back(*type.known, pointer);
            // One that came into the list of a proxy is disposed of there.
            else if (row_.name.ends_with("_dispose") && succeeded_ && !kept.is_changed)
                break;
            else if (proxy_ == nullptr || type.known->dispose(proxy_, pointer) != 0)
                type.known->destroy(pointer);
            break;
        case Shape::objects:
            kept.list.pop_back();
            for (void* const element : kept.list)
                source_.give_back(*type.known, element);
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
                release_text(pointer);
            }
            break;
        case Shape::out_texts:
            if (is_own)
                release_list(pointer, number_behind(place), release_text);
            break;
        case Shape::out_numbers:
            if (is_own)
                std::free(pointer);
            break;
        case Shape::out_bytes:
            if (is_own) {
                // All of them are there to be read.
                static volatile unsigned sum;
                for (int i = 0; i < number_behind(place); ++i)
                    sum = sum + static_cast<const unsigned char*>(pointer)[i];
                std::free(pointer);
            }
            break;
        case Shape::out_pointer:
            if (!is_own || is_consumed)
                break;
            if (row_.name == "quorvel_client_connect") {
                made_client_ = pointer;
            } else if (row_.consumes()) {
                for (auto** element = static_cast<void**>(pointer); *element != nullptr; ++element)
                    source_.give_back(*row_.record, *element);
                std::free(pointer);
            } else {
                release_record(pointer);
            }
            break;
        case Shape::out_pointers:
            if (is_own)
                release_list(pointer, number_behind(place), release_record);
            break;
        case Shape::out_object:
            if (is_own)
                type.known->destroy(pointer);
            break;
        case Shape::out_objects:
            if (is_own)
                release_list(pointer, number_behind(place), release_record);
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

}  // namespace calls
