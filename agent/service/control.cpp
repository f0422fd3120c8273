// SPDX-License-Identifier: Apache-2.0
#include "service/control.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <glib-unix.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <any>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "service/places.hpp"
#include "service/views.hpp"

namespace quorvel::agent {

using home::code;
using home::DocumentError;
using home::Node;
using home::text_at;
using home::to_text;

namespace {

constexpr std::size_t longest_line = 16U << 20;
constexpr std::size_t most_peers = 32;

// What is wrong with a command, told to whoever sent it.
class Refusal : public std::runtime_error {
public:
    explicit Refusal(const std::string& message, Status status = Status::invalid)
        : std::runtime_error(message), status_(status)
    {
    }
    Status status() const { return status_; }

private:
    Status status_;
};

std::string need(const Json& command, const char* key)
{
    std::string value = text_at(command, key);
    if (value.empty())
        throw Refusal(fmt::format("expected '{}'", key));
    return value;
}

bool flag(const Json& command, const char* key)
{
    if (!command.contains(key) || !command[key].is_boolean())
        throw Refusal(fmt::format("expected '{}' to be true or false", key));
    return command[key].get<bool>();
}

void expect(Status status, const std::string& what)
{
    if (status == Status::no_data)
        throw Refusal("no " + what, status);
    if (status != Status::ok)
        throw Refusal(fmt::format("{}: code {}", what, code(status)), status);
}

Json did(std::string text)
{
    return {{"did", std::move(text)}};
}

bool by_same_user(int fd)
{
    ucred peer{};
    socklen_t size = sizeof peer;
    return getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0
           && (peer.uid == geteuid() || peer.uid == 0);
}

struct Preset {
    const char* name;
    std::initializer_list<const char*> faults;
};

const Preset presets[] = {
    {"slow",
     {R"({"name": "delay", "probability": 0.3, "ms": 40})",
      R"({"name": "delay", "probability": 0.02, "ms": 250})"}},
    {"failing",
     {R"({"name": "result", "probability": 0.05, "code": -101})",
      R"({"name": "result", "probability": 0.02, "code": -1073741825})",
      R"({"name": "result", "probability": 0.01, "code": 12345})",
      R"({"name": "truncate", "probability": 0.02, "keep": 2})"}},
    {"hostile",
     {R"({"name": "unknown-command", "probability": 0.01})",
      R"({"name": "corrupt", "probability": 0.02, "value": 1})",
      R"({"name": "fire-twice", "probability": 0.05})", R"({"name": "fire-stranger", "probability": 0.05})",
      R"({"name": "fire-unknown", "probability": 0.02})", R"({"name": "fire-lying", "probability": 0.05})",
      R"({"name": "fire-truncate", "probability": 0.02})", R"({"name": "fire-corrupt", "probability": 0.02})",
      R"({"name": "fire-misplaced", "probability": 0.01})"}},
};

}  // namespace

Control::~Control()
{
    if (source_ != 0)
        g_source_remove(source_);
    for (auto& [fd, peer] : peers_) {
        if (peer->in != 0)
            g_source_remove(peer->in);
        if (peer->out != 0)
            g_source_remove(peer->out);
        ::close(fd);
    }
    if (listener_ >= 0) {
        ::close(listener_);
        unlink(path_.c_str());
    }
}

std::optional<std::string> Control::listen()
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path_.size() >= sizeof address.sun_path)
        return fmt::format("{}: longer than a socket's path may be", path_);
    path_.copy(address.sun_path, sizeof address.sun_path - 1);
    // The port's own lock says that no other agent is there, so what lies at this path is a dead one's.
    unlink(path_.c_str());
    listener_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (listener_ < 0 || bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0
        || chmod(path_.c_str(), 0600) != 0 || ::listen(listener_, 16) != 0) {
        const std::string problem = fmt::format("{}: {}", path_, std::strerror(errno));
        if (listener_ >= 0)
            ::close(listener_);
        listener_ = -1;
        return problem;
    }
    source_ = g_unix_fd_add(listener_, G_IO_IN, arrived, this);
    return std::nullopt;
}

gboolean Control::arrived(gint, GIOCondition, gpointer self)
{
    static_cast<Control*>(self)->accept();
    return G_SOURCE_CONTINUE;
}

void Control::accept()
{
    const int fd = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (fd < 0)
        return;
    if (!by_same_user(fd) || peers_.size() >= most_peers) {
        ::close(fd);
        return;
    }
    auto& peer = peers_[fd] = std::make_unique<Peer>(*this, fd);
    peer->in =
        g_unix_fd_add(fd, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR), readable, peer.get());
}

gboolean Control::readable(gint, GIOCondition, gpointer data)
{
    Peer& peer = *static_cast<Peer*>(data);
    if (peer.control.read(peer))
        return G_SOURCE_CONTINUE;
    peer.in = 0;
    peer.control.close(peer);
    return G_SOURCE_REMOVE;
}

gboolean Control::writable(gint, GIOCondition, gpointer data)
{
    Peer& peer = *static_cast<Peer*>(data);
    if (peer.control.write(peer) && !peer.unsent.empty())
        return G_SOURCE_CONTINUE;
    peer.out = 0;
    if (peer.closing)
        peer.control.close(peer);
    return G_SOURCE_REMOVE;
}

bool Control::read(Peer& peer)
{
    char bytes[65536];
    const ssize_t count = recv(peer.fd, bytes, sizeof bytes, 0);
    if (count < 0)
        return errno == EAGAIN || errno == EINTR;
    if (count == 0)
        return false;
    peer.received.append(bytes, static_cast<std::size_t>(count));
    for (std::size_t end = peer.received.find('\n'); end != std::string::npos;
         end = peer.received.find('\n')) {
        const std::string line = peer.received.substr(0, end);
        peer.received.erase(0, end + 1);
        if (line.find_first_not_of(" \t\r") == std::string::npos)
            continue;
        const auto command = home::parse_json(line);
        const Json answer =
            command ? serve(*command)
                    : Json{{"ok", false},
                           {"error", {{"code", code(Status::invalid)}, {"message", "expected JSON"}}}};
        peer.unsent += to_text(answer) + "\n";
    }
    if (peer.received.size() > longest_line)
        return false;
    return write(peer);
}

bool Control::write(Peer& peer)
{
    while (!peer.unsent.empty()) {
        const ssize_t count = send(peer.fd, peer.unsent.data(), peer.unsent.size(), MSG_NOSIGNAL);
        if (count > 0) {
            peer.unsent.erase(0, static_cast<std::size_t>(count));
        } else if (count < 0 && errno == EAGAIN) {
            if (peer.out == 0)
                peer.out = g_unix_fd_add(peer.fd, G_IO_OUT, writable, &peer);
            return true;
        } else if (count < 0 && errno != EINTR) {
            return false;
        }
    }
    return true;
}

void Control::close(Peer& peer)
{
    if (peer.in != 0)
        g_source_remove(std::exchange(peer.in, 0));
    if (peer.out != 0)
        g_source_remove(std::exchange(peer.out, 0));
    const int fd = peer.fd;
    ::close(fd);
    peers_.erase(fd);
}

Json Control::serve(const Json& command)
{
    try {
        const std::string what = text_at(command, "do");
        if (what.empty())
            throw Refusal("expected 'do' with a command");
        const Home::Cause cause{world_.home, "sim"};
        Json answer = obey(what, command);
        if (const Status kept = world_.home.commit(); kept != Status::ok)
            throw Refusal("the change could not be kept", kept);
        answer["ok"] = true;
        return answer;
    } catch (const Refusal& refusal) {
        return {{"ok", false}, {"error", {{"code", code(refusal.status())}, {"message", refusal.what()}}}};
    } catch (const DocumentError& error) {
        return {{"ok", false}, {"error", {{"code", code(Status::invalid)}, {"message", error.what()}}}};
    } catch (const std::exception& error) {
        return {{"ok", false}, {"error", {{"code", code(Status::failed)}, {"message", error.what()}}}};
    }
}

Json Control::status() const
{
    Json clients = Json::array();
    world_.server.for_each_client([&](stub::Client& client) {
        const auto* version = std::any_cast<std::string>(&client.data);
        clients.push_back({{"sender", client.sender()},
                           {"instance", client.instance()},
                           {"library", version ? *version : ""}});
    });
    const home::Account& account = world_.home.account();
    return {{"pid", getpid()},
            {"version", account.version},
            {"signedIn", account.signed_in},
            {"cloud", account.cloud},
            {"suspended", account.suspended},
            {"caching", world_.home.caching()},
            {"time", home::rfc3339(world_.home.clock().now())},
            {"speed", world_.home.clock().speed()},
            {"kept", world_.home.kept()},
            {"locations", world_.home.locations().size()},
            {"rooms", world_.home.rooms().size()},
            {"devices", world_.home.devices().size()},
            {"setup", home::Setup::name(world_.service.setup().stage())},
            {"faults", world_.faults.list().size()},
            {"clients", std::move(clients)},
            {"registrations", world_.service.registrations()}};
}

// Three kinds of callback are asked for by no method; a client that wants one has to be named.
Json Control::fire_raw(const Json& command)
{
    const std::string kind = need(command, "delegate");
    const int seq = command.value("seq", 1);
    const std::string wanted = text_at(command, "client");
    const std::string id = text_at(command, "id");
    const Home& home = world_.home;
    int fired = 0;
    world_.server.for_each_client([&](stub::Client& client) {
        if (!wanted.empty() && wanted != client.sender() && wanted != client.instance())
            return;
        const auto held = client.weak_from_this();
        if (kind == "device_cb" && home.devices().contains(id))
            fired += fire(stub::Delegate<stub::device_cb>{seq, false, held},
                          device_record(*home.devices().find(id)));
        else if (kind == "device_detail_cb" && home.devices().contains(id))
            fired += fire(stub::Delegate<stub::device_detail_cb>{seq, false, held},
                          detail_record(home, *home.devices().find(id)));
        else if (kind == "group_cb" && home.locations().contains(id))
            fired += fire(stub::Delegate<stub::group_cb>{seq, false, held},
                          group_record(home, *home.locations().find(id)));
        else
            throw Refusal(
                fmt::format("expected device_cb, device_detail_cb or group_cb with the id of a device "
                            "or group, not '{}' of '{}'",
                            kind, id));
    });
    return {{"did", fmt::format("fired {} at {} clients", kind, fired)}, {"fired", fired}};
}

Json Control::obey(const std::string& what, const Json& command)
{
    Home& home = world_.home;
    if (what == "status")
        return status();
    if (what == "home")
        return {{"home", home.save()}};
    if (what == "set") {
        const std::string device = need(command, "device");
        Json values = command.value("set", Json::object());
        if (command.contains("attribute"))
            values[need(command, "attribute")] = command.value("value", Json());
        if (!values.is_object() || values.empty())
            throw Refusal("expected 'attribute' and 'value', or 'set' with a map of them");
        for (const auto& [attribute, value] : values.items()) {
            std::string problem;
            if (const Status status = home.report(device, attribute, value, problem); status != Status::ok)
                throw Refusal(problem, status);
        }
        return did(fmt::format("set {} of {}", to_text(values), device));
    }
    if (what == "press") {
        const std::string device = need(command, "device");
        std::string problem;
        const Status status =
            home.report(device, "button.button", text_at(command, "kind", "pushed"), problem);
        if (status != Status::ok)
            throw Refusal(problem, status);
        return did(fmt::format("pressed {}", device));
    }
    if (what == "push") {
        home.notify(text_at(command, "kind", "message"), text_at(command, "title"), text_at(command, "body"));
        return did("pushed a notification");
    }
    if (what == "health") {
        const std::string device = need(command, "device");
        const std::string state = need(command, "state");
        expect(home.set_health(device, state, text_at(command, "detail", "sim")),
               fmt::format("device '{}' to be {}", device, state));
        return did(fmt::format("{} is {}", device, state));
    }
    if (what == "link") {
        const std::string device = need(command, "device");
        const home::Device* found = home.devices().find(device);
        if (found == nullptr)
            throw Refusal(fmt::format("no device '{}'", device), Status::no_data);
        const Node node = Node::from(command, "link");
        home::Link link = found->link;
        link.latency = node.integer("latency-ms", 0, 600'000, link.latency);
        link.jitter = node.integer("jitter-ms", 0, 600'000, link.jitter);
        link.drop = node.probability("drop", link.drop);
        link.online = node.flag("online", link.online);
        expect(home.set_link(device, link), fmt::format("device '{}'", device));
        return did(fmt::format("changed the link of {}", device));
    }
    if (what == "firmware") {
        const std::string device = need(command, "device");
        expect(home.set_firmware(device, need(command, "version")), fmt::format("device '{}'", device));
        return did(fmt::format("updated {}", device));
    }
    if (what == "device-add") {
        expect(home.add_device(Node::from(command.value("device", Json::object()), "device")),
               "room for that device, or its id is taken");
        return did("added a device");
    }
    if (what == "device-remove") {
        const std::string device = need(command, "device");
        expect(home.remove_device(device), fmt::format("device '{}'", device));
        return did(fmt::format("removed {}", device));
    }
    if (what == "enrollee-add") {
        expect(home.add_enrollee(Node::from(command.value("enrollee", Json::object()), "enrollee")),
               "room for that enrollee, or its id is taken");
        return did("an enrollee waits");
    }
    if (what == "enrollee-remove") {
        const std::string id = need(command, "id");
        expect(home.remove_enrollee(id), fmt::format("enrollee '{}'", id));
        return did(fmt::format("{} waits no more", id));
    }
    if (what == "enrollee-list") {
        Json list = Json::array();
        for (const auto& each : home.enrollees())
            list.push_back({{"id", each.id},
                            {"name", each.name},
                            {"model", each.model},
                            {"address", each.address},
                            {"owned", each.owned}});
        return {{"enrollees", std::move(list)}};
    }
    if (what == "sign") {
        home.sign_in(flag(command, "in"));
        return did(home.account().signed_in ? "signed in" : "signed out");
    }
    if (what == "cloud") {
        home.set_cloud(flag(command, "up"));
        return did(home.account().cloud ? "the cloud is up" : "the cloud is down");
    }
    if (what == "suspend") {
        home.set_suspended(flag(command, "on"));
        return did(home.account().suspended ? "suspended" : "resumed");
    }
    if (what == "update") {
        home.set_update_waiting(flag(command, "waiting"));
        return did(home.account().update_waiting ? "an update waits" : "no update waits");
    }
    if (what == "caching") {
        home.set_caching(Node::from(command, "caching").at("ms").integer(0, 600'000));
        return did("gathers anew");
    }
    if (what == "tokens") {
        home.renew_tokens();
        return did("renewed the tokens");
    }
    if (what == "metadata") {
        const std::string vid = need(command, "vid");
        if (home.models().find_vid(vid) == nullptr)
            throw Refusal(fmt::format("no model with vid '{}'", vid), Status::no_data);
        home.bump_metadata(vid);
        return did(fmt::format("metadata of {} changed", vid));
    }
    if (what == "time") {
        home::Clock& clock = home.clock();
        const Node node = Node::from(command, "time");
        if (node.has("speed"))
            clock.set_speed(node.at("speed").number(0, 1e6));
        if (node.has("advance"))
            clock.advance(node.at("advance").milliseconds());
        return {{"did", "set the time"}, {"time", home::rfc3339(clock.now())}, {"speed", clock.speed()}};
    }
    if (what == "fault-add") {
        int id = 0;
        if (const auto problem = world_.faults.add(command.value("fault", Json::object()), id))
            throw Refusal(*problem);
        return {{"did", fmt::format("set fault {}", id)}, {"id", id}};
    }
    if (what == "fault-preset") {
        const std::string name = need(command, "name");
        for (const auto& preset : presets)
            if (preset.name == name) {
                for (const char* fault : preset.faults) {
                    int id = 0;
                    if (const auto problem = world_.faults.add(Json::parse(fault), id))
                        throw Refusal(*problem);
                }
                return did(fmt::format("set {} faults", preset.faults.size()));
            }
        std::vector<std::string_view> known;
        for (const auto& preset : presets)
            known.push_back(preset.name);
        throw Refusal(fmt::format("no preset '{}', expected {}", name, fmt::join(known, ", ")),
                      Status::no_data);
    }
    if (what == "fault-remove") {
        const int id = command.value("id", 0);
        if (!world_.faults.remove(id))
            throw Refusal(fmt::format("no fault {}", id), Status::no_data);
        return did(fmt::format("removed fault {}", id));
    }
    if (what == "fault-list")
        return {{"faults", world_.faults.list()}};
    if (what == "fault-names")
        return {{"names", Faults::names()}};
    if (what == "fault-clear") {
        world_.faults.clear();
        return did("cleared the faults");
    }
    if (what == "snapshot-save") {
        const Json saved = home.save();
        const std::string path = text_at(command, "file");
        if (path.empty())
            return {{"home", saved}};
        std::ofstream file{path, std::ios::trunc};
        file << saved.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
        file.close();
        if (!file)
            throw Refusal(fmt::format("{}: {}", path, std::strerror(errno)), Status::io_error);
        return did(fmt::format("saved {}", path));
    }
    if (what == "snapshot-load") {
        const std::string path = text_at(command, "file");
        // Checked as a whole before anything of the home is touched.
        const Json saved = path.empty() ? command.value("home", Json()) : home::read_yaml_file(path).json();
        home.restore(saved);
        world_.service.setup().clear();
        return did(path.empty() ? "loaded a snapshot" : fmt::format("loaded {}", path));
    }
    if (what == "fire")
        return fire_raw(command);
    if (what == "drop") {
        const std::string wanted = text_at(command, "client");
        int dropped = 0;
        world_.server.for_each_client([&](stub::Client& client) {
            if (wanted.empty() || wanted == client.sender() || wanted == client.instance()) {
                client.drop();
                ++dropped;
            }
        });
        return {{"did", fmt::format("dropped {} clients", dropped)}, {"dropped", dropped}};
    }
    if (what == "version") {
        const std::string version = need(command, "version");
        if (version.find_first_not_of("0123456789.") != std::string::npos)
            throw Refusal(fmt::format("expected a version such as 2.4.0, found '{}'", version));
        home.set_version(version);
        const bool installed = set_package_version(version);
        return {{"did", fmt::format("is version {}", version)}, {"installed", installed}};
    }
    if (what == "restart") {
        world_.loop.post([this] { world_.loop.restart(); });
        return did("begins anew");
    }
    if (what == "stop") {
        world_.loop.post([this] { world_.loop.quit(); });
        return did("stops");
    }
    static constexpr std::string_view known[] = {
        "status",        "home",        "set",         "press",         "push",          "health",
        "link",          "firmware",    "device-add",  "device-remove", "enrollee-add",  "enrollee-remove",
        "enrollee-list", "sign",        "cloud",       "suspend",       "update",        "caching",
        "tokens",        "metadata",    "time",        "fault-add",     "fault-preset",  "fault-remove",
        "fault-list",    "fault-names", "fault-clear", "snapshot-save", "snapshot-load", "fire",
        "drop",          "stop",        "version",     "restart"};
    throw Refusal(fmt::format("no command '{}'{}", what,
                              home::did_you_mean(what, {std::begin(known), std::end(known)})),
                  Status::unsupported);
}

}  // namespace quorvel::agent
