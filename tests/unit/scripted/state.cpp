#include "state.hpp"

#include <algorithm>
#include <cstdio>
#include <new>
#include <ostream>
#include <stdexcept>

#include "misreads.hpp"

namespace scripted {
namespace detail {

State& state()
{
    static State* const the_one = new State;  // outlives whatever still logs while the process ends
    return *the_one;
}

const char* name_of(Function function)
{
    static constexpr const char* names[] = {
#define SCRIPTED_NAME(name) #name,
        SCRIPTED_FUNCTIONS(SCRIPTED_NAME)
#undef SCRIPTED_NAME
    };
    return names[static_cast<std::size_t>(function)];
}

char* heap_copy(const std::string& string)
{
    char* copy = nullptr;
    if (asprintf(&copy, "%s", string.c_str()) < 0) {
        throw std::bad_alloc();
    }
    return copy;
}

std::optional<int> use(Function function)
{
    FunctionRecord& record = state().functions[static_cast<std::size_t>(function)];
    ++record.uses;
    for (const Fault& fault : record.faults) {
        if (record.uses == fault.at || (fault.lasting && record.uses > fault.at)) {
            return fault.code;
        }
    }
    return std::nullopt;
}

std::shared_ptr<Connection> State::connection(rpc_port_proxy_h handle)
{
    const auto found = std::find_if(connections.begin(), connections.end(), [handle](const auto& each) {
        return each->alive && each->handle == handle;
    });
    if (found != connections.end()) {
        return *found;
    }
    if (handle) {
        misuses.emplace_back("a port proxy that is not alive was used");
    }
    return nullptr;
}

std::shared_ptr<Stub> State::stub(rpc_port_stub_h handle)
{
    const auto found = std::find_if(stubs.begin(), stubs.end(),
                                    [handle](const auto& each) { return each->handle == handle; });
    if (found != stubs.end()) {
        return *found;
    }
    if (handle) {
        misuses.emplace_back("a port stub that is not alive was used");
    }
    return nullptr;
}

Parcel* State::parcel(rpc_port_parcel_h handle, const char* user)
{
    const auto found = parcels.find(handle);
    if (found != parcels.end()) {
        return found->second.get();
    }
    if (handle) {
        misuses.emplace_back(std::string(user) + ": a parcel that is not alive");
    }
    return nullptr;
}

std::shared_ptr<Channel> State::new_channel(Channel::Role role, rpc_port_h& handle)
{
    auto channel = std::make_shared<Channel>();
    channel->role = role;
    channel->open = true;
    handle = new_handle();
    channels.emplace(handle, channel);
    return channel;
}

namespace {

FunctionRecord& record_of(std::string_view function)
{
    for (std::size_t i = 0; i < static_cast<std::size_t>(Function::how_many); ++i) {
        if (function == name_of(static_cast<Function>(i))) {
            return state().functions[i];
        }
    }
    throw std::invalid_argument("no function of the platform: " + std::string(function));
}

void add_fault(std::string_view function, int nth, int code, bool lasting)
{
    const Lock lock(state().mutex);
    FunctionRecord& record = record_of(function);
    record.faults.push_back({record.uses + nth, code, lasting});
}

}  // namespace
}  // namespace detail

using detail::Lock;
using detail::state;

Platform& platform()
{
    static Platform the_one;
    return the_one;
}

void Platform::fail(std::string_view function, int nth, int code)
{
    detail::add_fault(function, nth, code, false);
}

void Platform::fail_from(std::string_view function, int nth, int code)
{
    detail::add_fault(function, nth, code, true);
}

void Platform::fail_no_more()
{
    const Lock lock(state().mutex);
    for (detail::FunctionRecord& record : state().functions) {
        record.faults.clear();
    }
}

void Platform::read_strings_as_null()
{
    const Lock lock(state().mutex);
    state().strings_are_null = true;
}

int Platform::uses(std::string_view function) const
{
    const Lock lock(state().mutex);
    return detail::record_of(function).uses;
}

std::vector<std::string> Platform::functions() const
{
    std::vector<std::string> names;
    for (std::size_t i = 0; i < static_cast<std::size_t>(detail::Function::how_many); ++i) {
        names.emplace_back(detail::name_of(static_cast<detail::Function>(i)));
    }
    return names;
}

Strings misuses()
{
    const Lock lock(state().mutex);
    return state().misuses;
}

int misreads()
{
    const Lock lock(state().mutex);
    return state().misreads;
}

std::ostream& operator<<(std::ostream& out, const Live& live)
{
    return out << live.parcels << " parcels, " << live.bundles << " bundles, " << live.ports << " ports, "
               << live.package_infos << " package infos";
}

Live live()
{
    const Lock lock(state().mutex);
    const auto proxies = std::count_if(state().connections.begin(), state().connections.end(),
                                       [](const auto& each) { return each->alive; });
    return {.parcels = static_cast<int>(state().parcels.size()),
            .bundles = static_cast<int>(state().bundles.size()),
            .ports = static_cast<int>(proxies) + static_cast<int>(state().stubs.size()),
            .package_infos = static_cast<int>(state().package_infos.size())};
}

void reset()
{
    detail::State& s = state();
    const Lock lock(s.mutex);
    s.version.reset();
    s.package_error.reset();
    s.version_unreadable = false;
    // Emptied with all their memory: who counts what a call leaves behind must not find ours.
    const auto give_back = [](auto& container) {
        std::remove_reference_t<decltype(container)>{}.swap(container);
    };
    give_back(s.script);
    s.otherwise.reset();
    s.program = nullptr;
    s.patience = std::chrono::milliseconds{0};
    give_back(s.requests);
    give_back(s.unsent);
    give_back(s.events);
    s.functions = {};
    s.strings_are_null = false;
    give_back(s.misuses);
    give_back(s.log);
    s.keeps_log = true;
    set_last_result(0);
    std::erase_if(s.connections, [](const auto& each) { return !each->alive; });
    s.connections.shrink_to_fit();
    std::erase_if(s.channels, [](const auto& each) { return !each.second->open; });
    s.channels.rehash(0);
    s.parcels.rehash(0);
    s.package_infos.rehash(0);
    s.bundles.rehash(0);
}

}  // namespace scripted
