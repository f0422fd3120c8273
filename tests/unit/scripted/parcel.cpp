#include <cstdlib>

#include "state.hpp"

using scripted::Count;
using scripted::Dictionary;
using scripted::Flag;
using scripted::Int32;
using scripted::Int64;
using scripted::Text;
using scripted::Value;
using scripted::Values;
using scripted::detail::Channel;
using scripted::detail::Function;
using scripted::detail::Lock;
using scripted::detail::Parcel;
using scripted::detail::State;
using scripted::detail::state;
using scripted::detail::use;

namespace scripted {
namespace detail {
namespace {

std::size_t size_of(const Value& value)
{
    struct Sizes {
        std::size_t operator()(const Int32&) const { return 4; }
        std::size_t operator()(const Int64&) const { return 8; }
        std::size_t operator()(const Flag&) const { return 1; }
        std::size_t operator()(const Count&) const { return 4; }
        std::size_t operator()(const Text& v) const { return 5 + (v.value ? v.value->size() : 0); }
        std::size_t operator()(const Dictionary& v) const { return v.items ? 4 + 8 * v.items->size() : 4; }
    };
    return std::visit(Sizes{}, value);
}

// A list's elements may hold nothing but a bundle or an empty string, which take 4 bytes at the least.
constexpr std::size_t smallest_element = 4;

rpc_port_parcel_h adopt(State& s, std::vector<Value> values)
{
    auto parcel = std::make_unique<Parcel>();
    parcel->values = std::move(values);
    void* const handle = s.new_handle();
    s.parcels.emplace(handle, std::move(parcel));
    return handle;
}

int write(Function function, rpc_port_parcel_h h, Value value)
{
    const Lock lock(state().mutex);
    if (const auto code = use(function)) {
        return *code;
    }
    Parcel* const parcel = state().parcel(h, name_of(function));
    if (!parcel) {
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    }
    parcel->values.push_back(std::move(value));
    return RPC_PORT_ERROR_NONE;
}

// The next value of a type, handed to take(); what a failed read leaves behind is the caller's.
template <typename T, typename Out, typename Take>
int read(Function function, rpc_port_parcel_h h, Out* out, Take take)
{
    const Lock lock(state().mutex);
    const auto code = use(function);
    Parcel* const parcel = state().parcel(h, name_of(function));
    if (!parcel || !out) {
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    }
    if (code) {
        parcel->failed = true;
        return *code;
    }
    const T* const value = next_value<T>(*parcel);
    if (!value) {
        return RPC_PORT_ERROR_IO_ERROR;
    }
    take(*value);
    return RPC_PORT_ERROR_NONE;
}

}  // namespace

std::size_t bytes_left(const Parcel& parcel)
{
    std::size_t sum = 0;
    for (std::size_t i = parcel.next; i < parcel.values.size(); ++i) {
        sum += size_of(parcel.values[i]);
    }
    return sum;
}

const std::string* next_string(Parcel& parcel)
{
    static const std::string empty;
    const Text* const value = next_value<Text>(parcel);
    if (!value) {
        return nullptr;
    }
    if (!value->value) {
        return &empty;
    }
    if (value->value->find('\0') != std::string::npos) {
        parcel.failed = true;
        return nullptr;
    }
    return &*value->value;
}

}  // namespace detail

rpc_port_parcel_h make_parcel(const Values& values)
{
    const Lock lock(state().mutex);
    return detail::adopt(state(), {values.begin(), values.end()});
}

Values contents(rpc_port_parcel_h h)
{
    const Lock lock(state().mutex);
    Values values;
    if (const Parcel* const parcel = state().parcel(h, "contents")) {
        for (const Value& value : parcel->values) {
            values.add(value);
        }
    }
    return values;
}

int unread(rpc_port_parcel_h h)
{
    const Lock lock(state().mutex);
    const Parcel* const parcel = state().parcel(h, "unread");
    return parcel ? static_cast<int>(parcel->values.size() - parcel->next) : 0;
}

bool has_failed(rpc_port_parcel_h h)
{
    const Lock lock(state().mutex);
    const Parcel* const parcel = state().parcel(h, "has_failed");
    return parcel && parcel->failed;
}

}  // namespace scripted

int rpc_port_parcel_create(rpc_port_parcel_h* h)
{
    const Lock lock(state().mutex);
    if (const auto code = use(Function::rpc_port_parcel_create)) {
        return *code;
    }
    if (!h) {
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    }
    *h = scripted::detail::adopt(state(), {});
    return RPC_PORT_ERROR_NONE;
}

int rpc_port_parcel_create_from_port(rpc_port_parcel_h* h, rpc_port_h port)
{
    State& s = state();
    Lock lock(s.mutex);
    if (const auto code = use(Function::rpc_port_parcel_create_from_port)) {
        return *code;
    }
    const auto found = s.channels.find(port);
    if (!h || found == s.channels.end()) {
        if (port) {
            s.misuses.emplace_back("rpc_port_parcel_create_from_port: no such port");
        }
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    }
    const std::shared_ptr<Channel> channel = found->second;
    if (channel->role == Channel::Role::client_main) {
        s.arrived.wait_for(lock, s.patience, [&] { return !channel->inbox.empty() || !channel->open; });
    }
    if (channel->inbox.empty() || !channel->open) {
        return RPC_PORT_ERROR_IO_ERROR;
    }
    *h = scripted::detail::adopt(s, {channel->inbox.front().begin(), channel->inbox.front().end()});
    channel->inbox.pop_front();
    return RPC_PORT_ERROR_NONE;
}

int rpc_port_parcel_send(rpc_port_parcel_h h, rpc_port_h port)
{
    State& s = state();
    const std::lock_guard one_at_a_time(s.sending);
    Lock lock(s.mutex);
    const auto code = use(Function::rpc_port_parcel_send);
    const Parcel* const parcel = s.parcel(h, "rpc_port_parcel_send");
    const auto found = s.channels.find(port);
    if (!parcel || found == s.channels.end()) {
        if (port && parcel) {
            s.misuses.emplace_back("rpc_port_parcel_send: no such port");
        }
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    }
    Values values;
    for (const Value& value : parcel->values) {
        values.add(value);
    }
    const std::shared_ptr<Channel> channel = found->second;
    if (code || !channel->open) {
        s.unsent.push_back(std::move(values));
        return code.value_or(RPC_PORT_ERROR_IO_ERROR);
    }
    if (channel->role == Channel::Role::client_callback) {
        s.misuses.emplace_back("rpc_port_parcel_send: on the callback port, which the agent does not read");
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    }
    if (channel->role == Channel::Role::agent_side) {
        channel->outbox.push_back(std::move(values));
        return RPC_PORT_ERROR_NONE;
    }

    s.requests.push_back(values);
    std::vector<Values> answers;
    bool decided = false;
    if (s.program) {
        const auto program = s.program;
        lock.unlock();
        if (auto answer = program(values)) {
            answers.push_back(std::move(*answer));
            decided = true;
        }
        lock.lock();
    }
    if (!decided && !s.script.empty()) {
        answers = std::move(s.script.front());
        s.script.pop_front();
    } else if (!decided && s.otherwise) {
        answers.push_back(*s.otherwise);
    }
    for (Values& answer : answers) {
        channel->inbox.push_back(std::move(answer));
    }
    s.arrived.notify_all();
    return RPC_PORT_ERROR_NONE;
}

int rpc_port_parcel_destroy(rpc_port_parcel_h h)
{
    const Lock lock(state().mutex);
    const auto code = use(Function::rpc_port_parcel_destroy);
    if (!state().parcel(h, "rpc_port_parcel_destroy")) {
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    }
    state().parcels.erase(h);
    return code.value_or(RPC_PORT_ERROR_NONE);
}

int rpc_port_parcel_write_int32(rpc_port_parcel_h h, int i)
{
    return scripted::detail::write(Function::rpc_port_parcel_write_int32, h, scripted::i32(i));
}

int rpc_port_parcel_write_int64(rpc_port_parcel_h h, long long i)
{
    return scripted::detail::write(Function::rpc_port_parcel_write_int64, h, scripted::i64(i));
}

int rpc_port_parcel_write_bool(rpc_port_parcel_h h, bool b)
{
    return scripted::detail::write(Function::rpc_port_parcel_write_bool, h, scripted::flag(b));
}

int rpc_port_parcel_write_string(rpc_port_parcel_h h, const char* str)
{
    return scripted::detail::write(Function::rpc_port_parcel_write_string, h,
                                   str ? scripted::text(str) : scripted::no_text());
}

int rpc_port_parcel_write_bundle(rpc_port_parcel_h h, bundle* b)
{
    return scripted::detail::write(Function::rpc_port_parcel_write_bundle, h,
                                   b ? scripted::bundle_of(b->items) : scripted::no_bundle());
}

int rpc_port_parcel_write_array_count(rpc_port_parcel_h h, int count)
{
    return scripted::detail::write(Function::rpc_port_parcel_write_array_count, h, scripted::count(count));
}

int rpc_port_parcel_write(rpc_port_parcel_h h, rpc_port_parcelable_t* parcelable, void* data)
{
    {
        const Lock lock(state().mutex);
        if (const auto code = use(Function::rpc_port_parcel_write)) {
            return *code;
        }
        if (!state().parcel(h, "rpc_port_parcel_write") || !parcelable || !parcelable->to) {
            return RPC_PORT_ERROR_INVALID_PARAMETER;
        }
    }
    parcelable->to(h, data);
    return RPC_PORT_ERROR_NONE;
}

int rpc_port_parcel_read_int32(rpc_port_parcel_h h, int* i)
{
    return scripted::detail::read<Int32>(Function::rpc_port_parcel_read_int32, h, i,
                                         [i](const Int32& v) { *i = v.value; });
}

int rpc_port_parcel_read_int64(rpc_port_parcel_h h, long long* i)
{
    return scripted::detail::read<Int64>(Function::rpc_port_parcel_read_int64, h, i,
                                         [i](const Int64& v) { *i = v.value; });
}

int rpc_port_parcel_read_bool(rpc_port_parcel_h h, bool* b)
{
    return scripted::detail::read<Flag>(Function::rpc_port_parcel_read_bool, h, b,
                                        [b](const Flag& v) { *b = v.value; });
}

int rpc_port_parcel_read_string(rpc_port_parcel_h h, char** str)
{
    const Lock lock(state().mutex);
    const auto code = use(Function::rpc_port_parcel_read_string);
    Parcel* const parcel = state().parcel(h, "rpc_port_parcel_read_string");
    if (!parcel || !str) {
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    }
    if (code) {
        parcel->failed = true;
    }
    const std::string* const string = scripted::detail::next_string(*parcel);
    if (string && state().strings_are_null) {
        *str = nullptr;
        return RPC_PORT_ERROR_NONE;
    }
    *str = scripted::detail::heap_copy(string ? *string : "");
    return string ? RPC_PORT_ERROR_NONE : code.value_or(RPC_PORT_ERROR_IO_ERROR);
}

int rpc_port_parcel_read_bundle(rpc_port_parcel_h h, bundle** b)
{
    const int code =
        scripted::detail::read<Dictionary>(Function::rpc_port_parcel_read_bundle, h, b, [b](const auto& v) {
            *b = new _bundle_t{.items = v.items.value_or(scripted::BundleItems{}), .lent = {}};
            state().bundles.insert(*b);
        });
    if (code != RPC_PORT_ERROR_NONE && b) {
        *b = nullptr;
    }
    return code;
}

int rpc_port_parcel_read_array_count(rpc_port_parcel_h h, int* count)
{
    const Lock lock(state().mutex);
    const auto code = use(Function::rpc_port_parcel_read_array_count);
    Parcel* const parcel = state().parcel(h, "rpc_port_parcel_read_array_count");
    if (!parcel || !count) {
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    }
    if (code) {
        parcel->failed = true;
        return *code;
    }
    const Count* const value = scripted::detail::next_value<Count>(*parcel);
    if (!value) {
        return RPC_PORT_ERROR_IO_ERROR;
    }
    const std::size_t most = scripted::detail::bytes_left(*parcel) / scripted::detail::smallest_element;
    if (!value->trusted && (value->value < 0 || static_cast<std::size_t>(value->value) > most)) {
        *count = 0;
        parcel->failed = true;
        return RPC_PORT_ERROR_IO_ERROR;
    }
    *count = value->value;
    return RPC_PORT_ERROR_NONE;
}

int rpc_port_parcel_read(rpc_port_parcel_h h, rpc_port_parcelable_t* parcelable, void* data)
{
    {
        const Lock lock(state().mutex);
        const auto code = use(Function::rpc_port_parcel_read);
        Parcel* const parcel = state().parcel(h, "rpc_port_parcel_read");
        if (!parcel || !parcelable || !parcelable->from) {
            return RPC_PORT_ERROR_INVALID_PARAMETER;
        }
        if (code) {
            parcel->failed = true;
            return *code;
        }
    }
    parcelable->from(h, data);
    return scripted::has_failed(h) ? RPC_PORT_ERROR_IO_ERROR : RPC_PORT_ERROR_NONE;
}
