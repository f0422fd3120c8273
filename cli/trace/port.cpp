#include "trace/port.hpp"

#include <bundle.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>

#include "core/failure.hpp"
#include "core/places.hpp"
#include "core/texts.hpp"

namespace quorvel::cli::trace {
namespace {

using catalogue::Kind;
using Parcel = std::unique_ptr<void, int (*)(void*)>;

constexpr const char* port_name = "qv_client";

Parcel new_parcel()
{
    rpc_port_parcel_h parcel = nullptr;
    if (rpc_port_parcel_create(&parcel) != RPC_PORT_ERROR_NONE)
        throw std::bad_alloc();
    return {parcel, rpc_port_parcel_destroy};
}

std::string copied_text(const Json& value)
{
    return value.is_string() ? value.get<std::string>() : std::string();
}

void write_bundle(rpc_port_parcel_h parcel, const Json& value)
{
    const std::unique_ptr<bundle, int (*)(bundle*)> made(bundle_create(), bundle_free);
    for (const auto& [key, one] : value.items()) {
        if (one.is_binary()) {
            const auto& bytes = one.get_binary();
            bundle_add_byte(made.get(), key.c_str(), bytes.data(), bytes.size());
        } else if (one.is_array()) {
            std::vector<std::string> texts;
            for (const Json& text : one)
                texts.push_back(copied_text(text));
            std::vector<const char*> pointers = pointers_to(texts);
            bundle_add_str_array(made.get(), key.c_str(), pointers.data(), static_cast<int>(pointers.size()));
        } else {
            bundle_add_str(made.get(), key.c_str(), copied_text(one).c_str());
        }
    }
    rpc_port_parcel_write_bundle(parcel, made.get());
}

void write(rpc_port_parcel_h parcel, const catalogue::Type& type, const Json& value)
{
    switch (type.kind) {
        case Kind::text:
            rpc_port_parcel_write_string(parcel, copied_text(value).c_str());
            break;
        case Kind::number:
            rpc_port_parcel_write_int32(parcel, value.get<int>());
            break;
        case Kind::long_number:
            rpc_port_parcel_write_int64(parcel, value.get<long long>());
            break;
        case Kind::flag:
            rpc_port_parcel_write_bool(parcel, value.get<bool>());
            break;
        case Kind::bundle:
            write_bundle(parcel, value);
            break;
        case Kind::record:
            for (const catalogue::Field& field : type.record->fields)
                write(parcel, field.type, value.at(std::string(field.name)));
            break;
        case Kind::text_list:
        case Kind::array: {
            constexpr catalogue::Type text{Kind::text, "string"};
            rpc_port_parcel_write_array_count(parcel, static_cast<int>(value.size()));
            for (const Json& one : value)
                write(parcel, type.kind == Kind::array ? type.array->element : text, one);
            break;
        }
        case Kind::delegate:
            rpc_port_parcel_write_int32(parcel, type.delegate->id);
            rpc_port_parcel_write_int32(parcel, value.at("sequence").get<int>());
            rpc_port_parcel_write_bool(parcel, value.at("once").get<bool>());
            break;
    }
}

}  // namespace

Tap::Tap()
{
    if (const char* set = std::getenv("QUORVEL_CAPTURE"); set != nullptr && *set != '\0') {
        file_ = set;
        return;
    }
    directory_.emplace();
    file_ = directory_->path() / "capture";
    variable_.emplace("QUORVEL_CAPTURE", file_.string());
}

Tap::~Tap() = default;

std::optional<std::string> Tap::receive(rpc_port_h port)
{
    rpc_port_parcel_h parcel = nullptr;
    if (rpc_port_parcel_create_from_port(&parcel, port) != RPC_PORT_ERROR_NONE || parcel == nullptr)
        return std::nullopt;
    rpc_port_parcel_destroy(parcel);
    if (!reader_)
        reader_.emplace(file_, true);
    // What was sent, opened and closed since the last parcel stands before this one.
    std::optional<std::string> bytes;
    while (std::optional<Record> record = reader_->next())
        if (record->kind == RecordKind::parcel && record->received && record->process == getpid())
            bytes = std::move(record->bytes);
    return bytes;
}

// The port knows words of four bytes, and flags of one that are 0 or 1. From the end back: from where the
// rest can be made of them. An answer's and a callback's first bytes are all 0 or 1, so that these always
// can.
bool send_bytes(rpc_port_h port, std::string_view bytes)
{
    const std::size_t size = bytes.size();
    std::vector<bool> possible(size + 4, false);
    possible[size] = true;
    const auto is_flag = [&](std::size_t at) { return static_cast<unsigned char>(bytes[at]) <= 1; };
    for (std::size_t at = size; at-- > 0;)
        possible[at] = (at + 4 <= size && possible[at + 4]) || (is_flag(at) && possible[at + 1]);
    if (!possible[0])
        return false;
    const Parcel parcel = new_parcel();
    for (std::size_t at = 0; at < size;) {
        if (at + 4 <= size && possible[at + 4]) {
            rpc_port_parcel_write_int32(parcel.get(), number_at<std::int32_t>(bytes, at));
            at += 4;
        } else {
            rpc_port_parcel_write_bool(parcel.get(), bytes[at++] != 0);
        }
    }
    return rpc_port_parcel_send(parcel.get(), port) == RPC_PORT_ERROR_NONE;
}

bool send_request(rpc_port_h port, const Message& request)
{
    if (!request.problem.empty())
        return false;
    const Parcel parcel = new_parcel();
    rpc_port_parcel_write_int32(parcel.get(), request.command);
    for (const Value& value : request.values)
        write(parcel.get(), value.type, value.json);
    return rpc_port_parcel_send(parcel.get(), port) == RPC_PORT_ERROR_NONE;
}

ClientPort::ClientPort(Session& session, Tap& tap, OnCallback on_callback)
    : tap_(tap), on_callback_(std::move(on_callback))
{
    if (rpc_port_proxy_create(&proxy_) != RPC_PORT_ERROR_NONE)
        throw std::bad_alloc();
    rpc_port_proxy_add_connected_event_cb(proxy_, connected, this);
    rpc_port_proxy_add_disconnected_event_cb(proxy_, gone, this);
    rpc_port_proxy_add_rejected_event_cb(proxy_, gone, this);
    rpc_port_proxy_add_received_event_cb(proxy_, received, this);
    if (rpc_port_proxy_connect(proxy_, agent_id, port_name) == RPC_PORT_ERROR_NONE)
        session.wait([this] { return main_ != nullptr || over_; }, session.timeout());
    if (main_ == nullptr || over_) {
        rpc_port_proxy_destroy(proxy_);
        throw Failure(no_agent, "the agent cannot be reached", fmt::format("the port {}", port_name),
                      "qvctl doctor");
    }
}

ClientPort::~ClientPort()
{
    rpc_port_proxy_destroy(proxy_);
}

void ClientPort::connected(const char* /*endpoint*/, const char* /*name*/, rpc_port_h port, void* self)
{
    static_cast<ClientPort*>(self)->main_ = port;
}

void ClientPort::gone(const char* /*endpoint*/, const char* /*name*/, void* self)
{
    static_cast<ClientPort*>(self)->over_ = true;
}

void ClientPort::received(const char* /*endpoint*/, const char* /*name*/, void* self)
{
    auto& port = *static_cast<ClientPort*>(self);
    rpc_port_h callback = nullptr;
    if (rpc_port_proxy_get_port(port.proxy_, RPC_PORT_PORT_CALLBACK, &callback) != RPC_PORT_ERROR_NONE)
        return;
    if (const auto bytes = port.tap_.receive(callback))
        port.on_callback_(read_callback(*bytes));
}

std::optional<Message> ClientPort::ask(const Message& request)
{
    if (!send_request(main_, request))
        return std::nullopt;
    const auto bytes = tap_.receive(main_);
    return bytes ? std::optional(read_answer(*bytes, request.method)) : std::nullopt;
}

AgentPort::AgentPort(Tap& tap, const std::string& version, OnRequest on_request)
    : home_variable_("QUORVEL_HOME_DIR", home_.path().string()), tap_(tap), on_request_(std::move(on_request))
{
    std::filesystem::create_directory(home_.path() / "packages");
    std::ofstream package(home_.path() / "packages" / fmt::format("{}.package", agent_id));
    package << fmt::format("id={}\nversion={}\nexec=/bin/false\n", agent_id, version);
    package.close();
    const Variable name("QUORVEL_APP_ID", agent_id);
    if (rpc_port_stub_create(&stub_, port_name) != RPC_PORT_ERROR_NONE)
        throw std::bad_alloc();
    rpc_port_stub_add_connected_event_cb(stub_, connected, this);
    rpc_port_stub_add_disconnected_event_cb(stub_, disconnected, this);
    rpc_port_stub_add_received_event_cb(stub_, received, this);
    if (const int result = rpc_port_stub_listen(stub_); result != RPC_PORT_ERROR_NONE) {
        rpc_port_stub_destroy(stub_);
        throw Failure(failed, "no port can be opened in a directory of our own",
                      fmt::format("{}: {}", home_.path().string(), result), "is its path too long?");
    }
}

AgentPort::~AgentPort()
{
    rpc_port_stub_destroy(stub_);
}

void AgentPort::connected(const char* /*sender*/, const char* instance, void* self)
{
    auto& agent = *static_cast<AgentPort*>(self);
    Client& client = agent.clients_[instance];
    client.instance = instance;
    rpc_port_stub_get_port(agent.stub_, RPC_PORT_PORT_MAIN, instance, &client.main);
    rpc_port_stub_get_port(agent.stub_, RPC_PORT_PORT_CALLBACK, instance, &client.callback);
    if (agent.on_connected)
        agent.on_connected(client);
}

void AgentPort::disconnected(const char* /*sender*/, const char* instance, void* self)
{
    static_cast<AgentPort*>(self)->clients_.erase(instance);
}

int AgentPort::received(const char* /*sender*/, const char* instance, rpc_port_h port, void* self)
{
    auto& agent = *static_cast<AgentPort*>(self);
    const auto client = agent.clients_.find(instance);
    const auto bytes = agent.tap_.receive(port);
    return client != agent.clients_.end() && bytes && agent.on_request_(client->second, *bytes) ? 0 : -1;
}

}  // namespace quorvel::cli::trace
