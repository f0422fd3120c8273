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

namespace quorvel::agent {

using home::Json;

namespace {

struct Kind {
    const char* name;
    const char* parameter;  // or none
    std::int64_t fallback;
    const char* text;
};

constexpr Kind kinds[] = {
    {"reject", nullptr, 0, "a client that connects is dropped at its first request"},
    {"refuse", nullptr, 0, "the client is dropped instead of being answered"},
    {"drop", nullptr, 0, "the request is served and never answered"},
    {"no-answer", nullptr, 0, "the request is served and never answered"},
    {"delay", "ms", 1000, "the answer comes later"},
    {"twice", nullptr, 0, "the answer comes twice"},
    {"truncate", "keep", 1, "the answer ends after a number of values"},
    {"corrupt", "value", 0, "one value of the answer is another one"},
    {"unknown-command", "command", 7, "the answer opens with a number that means nothing"},
    {"misplaced", nullptr, 0, "the answer comes on the callback port"},
    {"result", "code", -1073741825, "the method answers a code and nothing is done"},
    {"result-after", "code", -1073741825, "the method does its work and answers a code all the same"},
    {"die", nullptr, 0, "the agent ends before it answers"},
    {"stall", "ms", 1000, "the agent stops for a while"},
    {"fire-never", nullptr, 0, "a callback is not sent"},
    {"fire-twice", nullptr, 0, "a callback is sent twice"},
    {"fire-storm", "copies", 100, "a callback is sent many times"},
    {"fire-unknown", "id", 39, "a callback is of a kind that there is not"},
    {"fire-stranger", "seq", 1'000'000, "a callback has a number that nobody holds"},
    {"fire-lying", nullptr, 0, "a callback says once when it is not, and the reverse"},
    {"fire-truncate", "keep", 3, "a callback ends after a number of values"},
    {"fire-corrupt", "value", 0, "one value of a callback is another one"},
    {"fire-misplaced", nullptr, 0, "a callback comes on the main port"},
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
        const Kind* kind = kind_of(fault.name);
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
    } catch (const home::DocumentError& error) {
        return error.what();
    }
    fault.id = id = ++last_id_;
    faults_.push_back(std::move(fault));
    return std::nullopt;
}

bool Faults::remove(int id)
{
    return std::erase_if(faults_, [&](const Fault& each) { return each.id == id; }) > 0;
}

void Faults::clear()
{
    faults_.clear();
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
        const Kind& kind = *kind_of(fault.name);
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

bool Faults::strikes(Fault& fault, const stub::Request& at, bool callback)
{
    if (callback != fault.name.starts_with("fire-") || fault.left == 0)
        return false;
    const std::string& named = callback ? fault.delegate : fault.method;
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
        if (fault.name == "reject" && strikes(fault, {client, 0, "", {}}, false))
            return false;
    return true;
}

void Faults::request(const stub::Request& request, stub::Plan& plan)
{
    for (auto& fault : faults_) {
        if (fault.name == "result-after" || fault.name == "reject" || !strikes(fault, request, false))
            continue;
        const int number = static_cast<int>(fault.number);
        if (fault.name == "refuse") {
            plan.drop_client = true;
        } else if (fault.name == "drop" || fault.name == "no-answer") {
            plan.copies = 0;
        } else if (fault.name == "delay") {
            // The answer waits for as long as this holds on to it.
            auto held = std::make_shared<stub::Later>(plan.hold());
            clock_.after(fault.number, [held] { held->release(); });
        } else if (fault.name == "twice") {
            plan.copies = 2;
        } else if (fault.name == "truncate") {
            plan.damage.keep = number;
        } else if (fault.name == "corrupt") {
            plan.damage.corrupt = number;
        } else if (fault.name == "unknown-command") {
            plan.command = number;
        } else if (fault.name == "misplaced") {
            plan.on_callback_port = true;
        } else if (fault.name == "result") {
            plan.serve = false;
            plan.result = number;
        } else if (fault.name == "die") {
            kill(getpid(), SIGKILL);
        } else if (fault.name == "stall") {
            std::this_thread::sleep_for(std::chrono::milliseconds{fault.number});
        }
    }
}

void Faults::answer(const stub::Request& request, int& result)
{
    for (auto& fault : faults_)
        if (fault.name == "result-after" && strikes(fault, request, false))
            result = static_cast<int>(fault.number);
}

void Faults::callback(const stub::Request& callback, stub::CallbackPlan& plan)
{
    for (auto& fault : faults_) {
        if (!strikes(fault, callback, true))
            continue;
        const int number = static_cast<int>(fault.number);
        if (fault.name == "fire-never")
            plan.copies = 0;
        else if (fault.name == "fire-twice")
            plan.copies = 2;
        else if (fault.name == "fire-storm")
            plan.copies = number;
        else if (fault.name == "fire-unknown")
            plan.id = number;
        else if (fault.name == "fire-stranger")
            plan.seq_id = number;
        else if (fault.name == "fire-lying")
            plan.once = !plan.once;
        else if (fault.name == "fire-truncate")
            plan.damage.keep = number;
        else if (fault.name == "fire-corrupt")
            plan.damage.corrupt = number;
        else if (fault.name == "fire-misplaced")
            plan.on_main_port = true;
    }
}

}  // namespace quorvel::agent
