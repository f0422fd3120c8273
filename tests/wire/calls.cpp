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

#include <cstdlib>
#include <tuple>
#include <type_traits>
#include <utility>

#include "examine.hpp"

namespace wire {

using namespace quorvel::proxy;

Caller* Caller::current = nullptr;

Caller::Caller() : previous_{std::exchange(current, this)} {}

Caller::~Caller()
{
    forget();
    current = previous_;
}

const char* Caller::keep(std::string value)
{
    return texts_.emplace_back(std::move(value)).c_str();
}

void* Caller::record(const RecordType& type)
{
    void*& held = records_[&type];
    if (held == nullptr && type.operations.create(&held) == 0)
        fill(type, held);
    return held;
}

void* Caller::take_record(const RecordType& type)
{
    void* const taken = record(type);
    records_.erase(&type);
    return taken;
}

void Caller::give_back(const RecordType& type, void* record)
{
    void*& held = records_[&type];
    if (held != nullptr)
        type.operations.destroy(held);
    held = record;
}

void Caller::forget()
{
    for (const auto& [type, held] : records_) {
        if (held != nullptr)
            type->operations.destroy(held);
    }
    records_.clear();
    texts_.clear();
}

namespace {

void release_record(const RecordType& type, void* record)
{
    if (record == nullptr)
        return;
    examine(type, record);
    type.operations.destroy(record);
}

void release_texts(char** texts, int count)
{
    for (int i = 0; texts != nullptr && i < count; ++i) {
        examine(texts[i]);
        std::free(texts[i]);
    }
    std::free(texts);
}

void release_records(const RecordType& type, void** list, int count)
{
    for (int i = 0; list != nullptr && i < count; ++i)
        release_record(type, list[i]);
    std::free(list);
}

// What a callback is told. Everything in a handle is handed over.
struct Told {
    void** list = nullptr;
    char** texts = nullptr;
    void* one = nullptr;
    int number = 0;
};

template <typename Value>
Told told(Value value)
{
    Told all;
    if constexpr (std::is_same_v<Value, const char*>)
        examine(value);
    else if constexpr (std::is_same_v<Value, char**>)
        all.texts = value;
    else if constexpr (std::is_same_v<Value, void**>)
        all.list = value;
    else if constexpr (std::is_same_v<Value, void*>)
        all.one = value;
    else
        all.number = static_cast<int>(value);
    return all;
}

template <typename Function, typename Record>
struct Taker;
template <typename... Values, typename Record>
struct Taker<void (*)(Values...), Record> {
    static void take(Values... values)
    {
        const Told all[] = {told(values)...};
        // The last one is the user's data.
        for (std::size_t i = 0; i + 1 < sizeof...(Values); ++i) {
            release_texts(all[i].texts, all[i + 1].number);
            if constexpr (!std::is_void_v<Record>) {
                release_record(TypeOf<Record>::type, all[i].one);
                release_records(TypeOf<Record>::type, all[i].list, all[i + 1].number);
            }
        }
        Caller::current->called_back();
    }
};

// The parameters: each is made, passed, looked at and released.

struct Plain {
    void finish(Caller&) {}
};

struct Client : Plain {
    quorvel_client_h made;
    explicit Client(Caller& caller) : made{caller.client()} {}
    quorvel_client_h value() { return made; }
};

struct OutClient {
    quorvel_client_h held = nullptr;
    explicit OutClient(Caller&) {}
    quorvel_client_h* value() { return &held; }
    void finish(Caller& caller)
    {
        if (held != nullptr)
            caller.connected(held);
    }
};

struct Text : Plain {
    const char* made;
    explicit Text(Caller& caller) : made{caller.text()} {}
    const char* value() { return made; }
};

struct Number : Plain {
    int made;
    explicit Number(Caller& caller)
        : made{caller.texts_given >= 0 ? std::exchange(caller.texts_given, -1) : caller.number()}
    {
    }
    int value() { return made; }
};

struct Property : Plain {
    int made;
    explicit Property(Caller& caller) : made{caller.property()} {}
    int value() { return made; }
};

struct Unsigned : Plain {
    unsigned made;
    explicit Unsigned(Caller& caller) : made{static_cast<unsigned>(caller.number())} {}
    unsigned value() { return made; }
};

struct Truth : Plain {
    bool made;
    explicit Truth(Caller& caller) : made{caller.truth()} {}
    bool value() { return made; }
};

struct UserData : Plain {
    explicit UserData(Caller&) {}
    void* value() { return nullptr; }
};

struct Texts : Plain {
    const char* made[4] = {};
    explicit Texts(Caller& caller)
    {
        caller.texts_given = caller.number() & 3;
        for (int i = 0; i < caller.texts_given; ++i)
            made[i] = caller.text();
    }
    const char* const* value() { return made; }
};

template <typename Function, typename Record>
struct Callback : Plain {
    Function made;
    explicit Callback(Caller& caller) : made{caller.has_callback() ? &Taker<Function, Record>::take : nullptr}
    {
    }
    Function value() { return made; }
};

template <typename Handle>
struct Record : Plain {
    void* made;
    explicit Record(Caller& caller) : made{caller.record(TypeOf<Handle>::type)} {}
    void* value() { return made; }
};

template <typename Handle>
struct ConsumedRecord {
    void* made;
    explicit ConsumedRecord(Caller& caller) : made{caller.take_record(TypeOf<Handle>::type)} {}
    void* value() { return made; }
    void finish(Caller& caller)
    {
        if (caller.result != 0 && made != nullptr)
            caller.give_back(TypeOf<Handle>::type, made);
    }
};

template <typename Handle>
struct ConsumedList {
    void** made;
    explicit ConsumedList(Caller& caller) : made{static_cast<void**>(std::calloc(2, sizeof(void*)))}
    {
        made[0] = caller.take_record(TypeOf<Handle>::type);
    }
    void** value() { return made; }
    void finish(Caller& caller)
    {
        if (caller.result == 0)
            return;
        if (made[0] != nullptr)
            caller.give_back(TypeOf<Handle>::type, made[0]);
        std::free(made);
    }
};

// What a list waits for.
struct Counted {
    int* count = nullptr;
    explicit Counted(Caller& caller) { caller.list_parameter = this; }
    int size() const { return count != nullptr ? *count : 0; }
};

struct OutNumber : Plain {
    int held = 0;
    explicit OutNumber(Caller& caller)
    {
        if (void* const list = std::exchange(caller.list_parameter, nullptr))
            static_cast<Counted*>(list)->count = &held;
    }
    OutNumber(const OutNumber&) = delete;
    OutNumber& operator=(const OutNumber&) = delete;
    int* value() { return &held; }
};

struct OutTruth : Plain {
    bool held = false;
    explicit OutTruth(Caller&) {}
    bool* value() { return &held; }
};

struct OutText {
    char* held = nullptr;
    explicit OutText(Caller&) {}
    char** value() { return &held; }
    void finish(Caller& caller)
    {
        examine(held);
        if (held != nullptr)
            caller.handed_out(held);
        std::free(held);
    }
};

struct OutTexts : Counted {
    char** held = nullptr;
    using Counted::Counted;
    char*** value() { return &held; }
    void finish(Caller&) { release_texts(held, size()); }
};

struct OutNumbers : Counted {
    int* held = nullptr;
    using Counted::Counted;
    int** value() { return &held; }
    void finish(Caller&) { std::free(held); }
};

struct OutBytes : Counted {
    unsigned char* held = nullptr;
    using Counted::Counted;
    unsigned char** value() { return &held; }
    void finish(Caller&)
    {
        static volatile unsigned sum;
        for (int i = 0; held != nullptr && i < size(); ++i)
            sum = sum + held[i];
        std::free(held);
    }
};

template <typename Handle>
struct OutRecord {
    void* held = nullptr;
    explicit OutRecord(Caller&) {}
    void** value() { return &held; }
    void finish(Caller&) { release_record(TypeOf<Handle>::type, held); }
};

template <typename Handle>
struct OutRecords : Counted {
    void** held = nullptr;
    using Counted::Counted;
    void*** value() { return &held; }
    void finish(Caller&) { release_records(TypeOf<Handle>::type, held, size()); }
};

// One call. The parameters are made one after the other, since a list and its count have to find each other.
template <auto function, typename... Made>
int call_with(Caller& caller, Made&... made)
{
    const int result = function(made.value()...);
    // A callback may have made calls of its own in between.
    caller.result = result;
    (..., made.finish(caller));
    return result;
}

template <auto function, typename Next, typename... Rest, typename... Made>
int call_made(Caller& caller, Made&... made)
{
    Next next{caller};
    if constexpr (sizeof...(Rest) == 0)
        return call_with<function>(caller, made..., next);
    else
        return call_made<function, Rest...>(caller, made..., next);
}

template <auto function, typename... Parameters>
int call(Caller& caller)
{
    caller.list_parameter = nullptr;
    caller.texts_given = -1;
    return call_made<function, Parameters...>(caller);
}

template <typename... Parameters>
struct PropertyOf {
    static constexpr const RecordType* type = nullptr;
};
template <typename Handle, typename... Rest>
struct PropertyOf<Record<Handle>, Property, Rest...> {
    static constexpr const RecordType* type = &TypeOf<Handle>::type;
};
template <typename Handle>
struct PropertyOf<Record<Handle>, OutText, OutBytes, OutNumber> {
    static constexpr const RecordType* type = &TypeOf<Handle>::type;
};

}  // namespace

std::span<const PublicCall> public_calls()
{
    static const PublicCall all[] = {
#define PUBLIC_CALL(function, ...) {#function, call<function, __VA_ARGS__>, PropertyOf<__VA_ARGS__>::type},
#include "public_calls.inc"
    };
    return all;
}

}  // namespace wire
