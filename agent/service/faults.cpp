// SPDX-License-Identifier: Apache-2.0
#include "service/faults.hpp"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <memory>
#include <thread>

#include "home/document.hpp"
#include "service/places.hpp"

namespace quorvel::agent {

using home::Json;

namespace {

using stub::CallbackPlan;
using stub::Damage;
using stub::Plan;

// Makes the world worse, and answers what makes it well again.
using Undo = std::function<void()>;

Undo lose_device(const Faults::World& world, const Faults::Fault& fault)
{
    home::Home& home = world.home;
    const home::Device* device = home.devices().find(fault.device);
    if (device == nullptr)
        throw home::DocumentError(fmt::format("no device '{}'", fault.device));
    const home::Link before = device->link;
    home::Link link = before;
    link.online = false;
    home.set_link(fault.device, link);
    return [&home, id = fault.device, before] { home.set_link(id, before); };
}

Undo lose_cloud(const Faults::World& world, const Faults::Fault&)
{
    const bool before = world.home.account().cloud;
    world.home.set_cloud(false);
    return [&home = world.home, before] { home.set_cloud(before); };
}

Undo sign_out(const Faults::World& world, const Faults::Fault&)
{
    const bool before = world.home.account().signed_in;
    world.home.sign_in(false);
    return [&home = world.home, before] { home.sign_in(before); };
}

Undo gather_anew(const Faults::World& world, const Faults::Fault& fault)
{
    world.home.set_caching(fault.number);
    return [&home = world.home] { home.set_caching(0); };
}

// Older than any that a client talks to.
Undo grow_old(const Faults::World& world, const Faults::Fault&)
{
    const std::string before = world.home.account().version;
    const auto become = [&home = world.home](const std::string& version) {
        home.set_version(version);
        set_package_version(version);
    };
    become("0.9.0");
    return [become, before] { become(before); };
}

// The process stays, so that it can be called back; for clients there is no agent.
Undo go_away(const Faults::World& world, const Faults::Fault&)
{
    hide_package(true);
    world.drop_clients();
    return [] { hide_package(false); };
}

Undo begin_anew(const Faults::World& world, const Faults::Fault&)
{
    world.restart();
    return [] {};
}

}  // namespace

// A row a fault. What it does is one of the last three: to a request's answer, to a callback, to the world.
struct Faults::Kind {
    enum class When { connecting, request, answer, callback, world };

    const char* name;
    const char* parameter;  // or none
    std::int64_t fallback;
    const char* text;
    When when;
    void (*request)(Plan& plan, int number, home::Clock& clock) = nullptr;
    void (*callback)(CallbackPlan& plan, int number) = nullptr;
    Undo (*world)(const World& world, const Fault& fault) = nullptr;
};

namespace {

using Kind = Faults::Kind;
using When = Kind::When;

constexpr Kind on_connecting(const char* name, const char* text)
{
    return {name, nullptr, 0, text, When::connecting};
}

constexpr Kind on_request(const char* name, const char* parameter, std::int64_t fallback, const char* text,
                          void (*does)(Plan&, int, home::Clock&))
{
    return {name, parameter, fallback, text, When::request, does};
}

constexpr Kind on_callback(const char* name, const char* parameter, std::int64_t fallback, const char* text,
                           void (*does)(CallbackPlan&, int))
{
    return {name, parameter, fallback, text, When::callback, nullptr, does};
}

constexpr Kind on_world(const char* name, const char* parameter, std::int64_t fallback, const char* text,
                        Undo (*does)(const Faults::World&, const Faults::Fault&))
{
    return {name, parameter, fallback, text, When::world, nullptr, nullptr, does};
}

void answer_nothing(Plan& plan, int, home::Clock&)
{
    plan.copies = 0;
}

// The answer waits for as long as this holds on to it.
void delay(Plan& plan, int number, home::Clock& clock)
{
    auto held = std::make_shared<stub::Later>(plan.hold());
    clock.after(number, [held] { held->release(); });
}

const Kind kinds[] = {
    on_connecting("reject", "a client that connects is turned away"),
    on_request("refuse", nullptr, 0, "the client is dropped instead of being answered",
               [](Plan& plan, int, home::Clock&) { plan.drop_client = true; }),
    on_request("reset", "keep", 6, "the connection ends after so many bytes of the answer",
               [](Plan& plan, int number, home::Clock&) { plan.damage.break_after = number; }),
    on_request("drop", nullptr, 0, "the request is served and never answered", answer_nothing),
    on_request("no-answer", nullptr, 0, "the request is served and never answered", answer_nothing),
    on_request("delay", "ms", 1000, "the answer comes later", delay),
    on_request("slice", "bytes", 1, "the answer comes in pieces of so many bytes",
               [](Plan& plan, int number, home::Clock&) { plan.damage.slice = number; }),
    on_request("twice", nullptr, 0, "the answer comes twice",
               [](Plan& plan, int, home::Clock&) { plan.copies = 2; }),
    on_request("truncate", "keep", 1, "the answer ends after a number of values",
               [](Plan& plan, int number, home::Clock&) { plan.damage.keep = number; }),
    on_request("corrupt", "value", 0, "one value of the answer is another one",
               [](Plan& plan, int number, home::Clock&) { plan.damage.corrupt = number; }),
    on_request("unknown-command", "command", 7, "the answer opens with a number that means nothing",
               [](Plan& plan, int number, home::Clock&) { plan.command = number; }),
    on_request("misplaced", nullptr, 0, "the answer comes on the callback port",
               [](Plan& plan, int, home::Clock&) { plan.on_callback_port = true; }),
    on_request("result", "code", -1073741825, "the method answers a code and nothing is done",
               [](Plan& plan, int number, home::Clock&) {
                   plan.serve = false;
                   plan.result = number;
               }),
    {"result-after", "code", -1073741825, "the method does its work and answers a code all the same",
     When::answer},
    on_request("empty-text", nullptr, 0, "every text of the answer is empty",
               [](Plan& plan, int, home::Clock&) { plan.damage.texts = Damage::Texts::empty; }),
    on_request("missing-text", nullptr, 0, "the texts of the answer are not there",
               [](Plan& plan, int, home::Clock&) { plan.damage.texts = Damage::Texts::missing; }),
    on_request("broken-json", nullptr, 0, "every JSON text of the answer breaks off in its middle",
               [](Plan& plan, int, home::Clock&) { plan.damage.texts = Damage::Texts::broken_json; }),
    on_request("missing-key", nullptr, 0, "the bundles of the answer lack their keys",
               [](Plan& plan, int, home::Clock&) { plan.damage.no_keys = true; }),
    on_request("many", "records", 100'000, "a list that is not empty has so many elements",
               [](Plan& plan, int number, home::Clock&) { plan.damage.elements = number; }),
    on_request("die", nullptr, 0, "the agent ends before it answers",
               [](Plan&, int, home::Clock&) { kill(getpid(), SIGKILL); }),
    on_request("stall", "ms", 1000, "the agent stops for a while",
               [](Plan&, int number, home::Clock&) {
                   std::this_thread::sleep_for(std::chrono::milliseconds{number});
               }),
    on_callback("fire-never", nullptr, 0, "a callback is not sent",
                [](CallbackPlan& plan, int) { plan.copies = 0; }),
    on_callback("fire-twice", nullptr, 0, "a callback is sent twice",
                [](CallbackPlan& plan, int) { plan.copies = 2; }),
    on_callback("fire-storm", "copies", 100, "a callback is sent many times",
                [](CallbackPlan& plan, int number) { plan.copies = number; }),
    on_callback("fire-slice", "bytes", 1, "a callback comes in pieces of so many bytes",
                [](CallbackPlan& plan, int number) { plan.damage.slice = number; }),
    on_callback("fire-unknown", "id", 39, "a callback is of a kind that there is not",
                [](CallbackPlan& plan, int number) { plan.id = number; }),
    on_callback("fire-stranger", "seq", 1'000'000, "a callback has a number that nobody holds",
                [](CallbackPlan& plan, int number) { plan.seq_id = number; }),
    on_callback("fire-lying", nullptr, 0, "a callback says once when it is not, and the reverse",
                [](CallbackPlan& plan, int) { plan.once = !plan.once; }),
    on_callback("fire-truncate", "keep", 3, "a callback ends after a number of values",
                [](CallbackPlan& plan, int number) { plan.damage.keep = number; }),
    on_callback("fire-corrupt", "value", 0, "one value of a callback is another one",
                [](CallbackPlan& plan, int number) { plan.damage.corrupt = number; }),
    on_callback("fire-misplaced", nullptr, 0, "a callback comes on the main port",
                [](CallbackPlan& plan, int) { plan.on_main_port = true; }),
    on_world("offline", nullptr, 0, "the device that is named cannot be reached", lose_device),
    on_world("cloud-down", nullptr, 0, "the cloud cannot be reached", lose_cloud),
    on_world("signed-out", nullptr, 0, "nobody is signed in", sign_out),
    on_world("caching", "ms", 600'000, "the agent gathers its devices anew, for so long", gather_anew),
    on_world("older-agent", nullptr, 0, "the agent is too old for any client", grow_old),
    on_world("no-agent", nullptr, 0, "the agent is not installed, and turns clients away", go_away),
    on_world("restart", nullptr, 0, "the agent begins anew", begin_anew),
};

const Kind* kind_of(std::string_view name)
{
    const auto found =
        std::find_if(std::begin(kinds), std::end(kinds), [&](const Kind& each) { return each.name == name; });
    return found == std::end(kinds) ? nullptr : found;
}

}  // namespace

std::optional<std::string> Faults::add(const Json& description, int& id)
{
    Fault fault;
    try {
        const home::Node node = home::Node::from(description, "fault");
        fault.name = node.at("name").text();
        const Kind* kind = fault.kind = kind_of(fault.name);
        if (kind == nullptr) {
            std::vector<std::string_view> known;
            for (const auto& each : kinds)
                known.push_back(each.name);
            return fmt::format("no fault '{}'{}", fault.name, home::did_you_mean(fault.name, known));
        }
        const char* parameter = kind->parameter ? kind->parameter : "name";
        node.only({"name", "probability", "count", "client", "method", "delegate", "device", parameter});
        fault.probability = node.probability("probability", 1);
        fault.left = node.integer("count", -1, 1'000'000'000, -1);
        fault.client = node.text("client", "");
        fault.method = node.text("method", "");
        fault.delegate = node.text("delegate", "");
        fault.device = node.text("device", "");
        fault.number = kind->fallback;
        if (kind->parameter != nullptr)
            fault.number = node.integer(kind->parameter, INT32_MIN, INT32_MAX, kind->fallback);
        if (kind->world != nullptr)
            fault.undo = kind->world(world_, fault);
    } catch (const home::DocumentError& error) {
        return error.what();
    }
    fault.id = id = ++last_id_;
    faults_.push_back(std::move(fault));
    return std::nullopt;
}

bool Faults::remove(int id)
{
    const auto found =
        std::find_if(faults_.begin(), faults_.end(), [&](const Fault& each) { return each.id == id; });
    if (found == faults_.end())
        return false;
    if (found->undo)
        found->undo();
    faults_.erase(found);
    return true;
}

// The last one first: each goes back to what it found.
void Faults::clear()
{
    while (!faults_.empty())
        remove(faults_.back().id);
}

Json Faults::list() const
{
    Json all = Json::array();
    for (const auto& fault : faults_) {
        Json item{{"id", fault.id},
                  {"name", fault.name},
                  {"probability", fault.probability},
                  {"count", fault.left},
                  {"struck", fault.times}};
        const Kind& kind = *fault.kind;
        if (kind.parameter != nullptr)
            item[kind.parameter] = fault.number;
        for (const auto& [key, value] : {std::pair{"client", &fault.client},
                                         {"method", &fault.method},
                                         {"delegate", &fault.delegate},
                                         {"device", &fault.device}})
            if (!value->empty())
                item[key] = *value;
        all.push_back(std::move(item));
    }
    return all;
}

Json Faults::names()
{
    Json all = Json::array();
    for (const auto& kind : kinds) {
        Json item{{"name", kind.name}, {"text", kind.text}};
        if (kind.parameter != nullptr) {
            item["parameter"] = kind.parameter;
            item["default"] = kind.fallback;
        }
        all.push_back(std::move(item));
    }
    return all;
}

bool Faults::strikes(Fault& fault, const stub::Request& at)
{
    if (fault.left == 0)
        return false;
    const std::string& named = fault.kind->when == When::callback ? fault.delegate : fault.method;
    if (!named.empty() && named != at.name && named != std::to_string(at.id))
        return false;
    if (!fault.client.empty() && fault.client != at.client.sender() && fault.client != at.client.instance())
        return false;
    if (!fault.device.empty() && std::find(at.texts.begin(), at.texts.end(), fault.device) == at.texts.end())
        return false;
    if (fault.probability < 1 && !std::bernoulli_distribution{fault.probability}(random_))
        return false;
    if (fault.left > 0)
        --fault.left;
    ++fault.times;
    return true;
}

bool Faults::admits(stub::Client& client)
{
    for (auto& fault : faults_)
        if (fault.kind->world == go_away
            || (fault.kind->when == When::connecting && strikes(fault, {client, 0, "", {}})))
            return false;
    return true;
}

void Faults::request(const stub::Request& request, stub::Plan& plan)
{
    for (auto& fault : faults_)
        if (fault.kind->when == When::request && strikes(fault, request))
            fault.kind->request(plan, static_cast<int>(fault.number), world_.home.clock());
}

void Faults::answer(const stub::Request& request, int& result)
{
    for (auto& fault : faults_)
        if (fault.kind->when == When::answer && strikes(fault, request))
            result = static_cast<int>(fault.number);
}

void Faults::callback(const stub::Request& callback, stub::CallbackPlan& plan)
{
    for (auto& fault : faults_)
        if (fault.kind->when == When::callback && strikes(fault, callback))
            fault.kind->callback(plan, static_cast<int>(fault.number));
}

}  // namespace quorvel::agent
