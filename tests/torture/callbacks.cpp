// A callback may do anything to its own registration, and to the connection it came on: every kind of
// callback × every such thing, again and again, and nothing is left behind.
#include <glib.h>

#include <algorithm>
#include <map>
#include <set>

#include "scenarios.hpp"

using namespace torture;

namespace {

constexpr int repetitions = 100;

/// The connection that a callback works on: it may end and begin in its middle.
quorvel_client_h client = nullptr;

void disconnect()
{
    if (client != nullptr)
        quorvel_client_disconnect(std::exchange(client, nullptr));
}

void call(std::string_view name)
{
    if (client != nullptr)
        Attempt{row_of(name), client}.run();
}

struct Action {
    const char* name;
    std::function<void(const Row* registration, const SentDelegate& delegate)> run;
};

const Action actions[] = {
    {"unset",
     [](const Row* registration, const SentDelegate&) {
         call(registration != nullptr ? ending_of(*registration) : "quorvel_client_unsubscribe");
     }},
    {"replace",
     [](const Row* registration, const SentDelegate&) {
         call(registration != nullptr ? registration->name : "quorvel_client_subscribe");
     }},
    {"unsubscribe", [](const Row*, const SentDelegate&) { call("quorvel_client_unsubscribe"); }},
    {"call", [](const Row*, const SentDelegate&) { call("quorvel_client_get_device_id"); }},
    {"disconnect", [](const Row*, const SentDelegate&) { disconnect(); }},
    {"reconnect",
     [](const Row*, const SentDelegate&) {
         disconnect();
         client = connect();
     }},
    {"nested loop",
     [](const Row*, const SentDelegate& delegate) {
         scripted::agent().post(delegate.id, delegate.seq_id, delegate.once,
                                sample(description().delegate(delegate.id)->parameters));
         scripted::agent().run_events();
     }},
};

/// Runs once, in the first callback that is heard.
void act_once(const Action& action, const Row* registration, const SentDelegate& delegate)
{
    ears().action = [&action, registration, delegate, has_acted = false]() mutable {
        if (!std::exchange(has_acted, true))
            action.run(registration, delegate);
    };
}

/// A callback of one that a public function registers.
Finding registered(const Scenario& scenario, const Action& action)
{
    client = connect();
    for (const Row* const row : scenario.before) {
        Attempt{*row, client}.run();
        if (row->name == "quorvel_client_easy_setup_initialize" && row != scenario.before.back())
            fire(sent_delegates().back());
    }
    const auto sent = sent_delegates();
    if (sent.size() < scenario.delegate)
        return "no delegate was sent";
    const SentDelegate delegate = sent[sent.size() - scenario.delegate];
    const int heard_before = ears().heard;
    act_once(action, scenario.before.back(), delegate);
    fire(delegate);
    ears().action = nullptr;
    Finding finding;
    if (ears().heard == heard_before)
        finding = "the callback was not called";
    // Whatever became of it, one that is late is for nobody or for the same.
    if (client != nullptr)
        fire(delegate);
    if (client != nullptr && !ordinary_call_works(client))
        finding = "an ordinary call fails afterwards";
    disconnect();
    return finding;
}

/// A callback of a delegate that no public function makes: created and dispatched by itself.
Finding dispatched(const Known& known, const Action& action)
{
    client = connect();
    const auto& described = *description().delegate(std::string_view{known.name});
    GList* list = g_list_append(nullptr, known.create_delegate(false, nullptr));
    auto* const delegate = static_cast<rpc_port_qv_client_device_cb_h>(list->data);
    const int seq_id = delegate->seq_id;
    rpc_port_parcel_h const parcel = scripted::make_parcel(sample(described.parameters));
    const int heard_before = ears().heard;
    const bool is_unset = std::string_view{action.name} == "unset";
    ears().action = [&, has_acted = false]() mutable {
        if (std::exchange(has_acted, true))
            return;
        if (is_unset) {
            list = g_list_remove(list, delegate);
            known.destroy(delegate);
        } else if (std::string_view{action.name} == "nested loop") {
            rpc_port_parcel_h const again = scripted::make_parcel(sample(described.parameters));
            known.dispatch(&list, again, seq_id, described.id);
            rpc_port_parcel_destroy(again);
        } else {
            action.run(nullptr, {described.id, seq_id, false});
        }
    };
    known.dispatch(&list, parcel, seq_id, described.id);
    ears().action = nullptr;
    rpc_port_parcel_destroy(parcel);
    if (!is_unset)
        known.destroy(delegate);
    g_list_free(list);
    disconnect();
    return ears().heard > heard_before ? Finding{} : "the callback was not called";
}

}  // namespace

int main(int argc, char** argv)
{
    Proof proof{argc, argv, "callbacks that change their own registration", 266L * repetitions};
    proof.scale(0.25);
    warm_up();

    std::set<int> kinds;
    Shared<int> kind;
    long cells = 0;
    const auto each_action = [&](const std::string& name, const auto& once) {
        for (const Action& action : actions) {
            proof.check(
                name + "/" + action.name,
                [&] {
                    proof.did(repetitions);
                    return repeated(repetitions, [&] { return once(action); });
                },
                120);
            ++cells;
        }
    };
    for (const Scenario& scenario : scenarios()) {
        if (scenario.what != Scenario::What::callback)
            continue;
        kind.value() = 0;
        proof.check_always(scenario.name + "/none", [&] {
            const Action none{"none",
                              [&](const Row*, const SentDelegate& delegate) { kind.value() = delegate.id; }};
            return repeated(1, [&] { return registered(scenario, none); });
        });
        kinds.insert(kind.value());
        each_action(scenario.name, [&](const Action& action) { return registered(scenario, action); });
    }
    for (const auto& described : description().delegates) {
        if (kinds.contains(described.id))
            continue;
        kinds.insert(described.id);
        const Known& known = known_type_named(described.name);
        each_action(std::string{described.name},
                    [&](const Action& action) { return dispatched(known, action); });
    }
    kinds.erase(0);
    proof.also_report(std::to_string(kinds.size()) + " kinds of callbacks, " + std::to_string(cells)
                      + " cells of " + std::to_string(repetitions) + " repetitions");
    return proof.report();
}
