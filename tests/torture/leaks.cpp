// What a call leaves behind: nothing, but for the few that deliberately keep something until the disconnect;
// and those keep exactly what they say.
#include <map>

#include "live.hpp"
#include "scenarios.hpp"

using namespace torture;

namespace {

constexpr int repetitions = 20;

/// Blocks that one call keeps until the disconnect.
const std::map<std::string_view, long> deliberately_kept = {
    // The record, its two texts, and the note of it.
    {"quorvel_client_get_scene", 4},
    // The pair and the note of it, and the delegate that stays in the list.
    {"quorvel_core_set_sse_cb_by_device_id", 3},
};

/// Calls a function again and again on one connection, and lets its callback come; how many blocks each call
/// left.
Finding leaves(const Row& row, long& left)
{
    quorvel_client_h const client = connect();
    scripted::keep_log(false);
    const bool wants_setup = row.name.starts_with("quorvel_client_easy_setup_start");
    const auto once = [&] {
        scripted::agent().forget_requests();
        Attempt attempt{row, client};
        attempt.run();
        if (attempt.succeeded()) {
            for (const SentDelegate& delegate : sent_delegates()) {
                if (delegate.once)
                    fire(delegate);
            }
        }
        scripted::agent().forget_requests();
        return attempt.succeeded();
    };
    if (wants_setup) {
        Attempt{row_of("quorvel_client_easy_setup_initialize"), client}.run();
        fire(sent_delegates().back());
    }
    // What is made once, and kept for the next call, is made by the first ones.
    for (int i = 0; i < repetitions; ++i) {
        if (!once())
            return "failed without a fault";
    }
    const Held before = held();
    for (int i = 0; i < repetitions; ++i)
        once();
    const Held after = held();
    left = after.blocks - before.blocks;
    quorvel_client_disconnect(client);
    if (left % repetitions != 0)
        return "leaves " + std::to_string(left) + " blocks in " + std::to_string(repetitions) + " calls";
    left /= repetitions;
    const auto kept = deliberately_kept.find(row.name);
    const long expected = kept != deliberately_kept.end() ? kept->second : 0;
    return left == expected
               ? Finding{}
               : "keeps " + std::to_string(left) + " blocks a call, not " + std::to_string(expected);
}

}  // namespace

int main(int argc, char** argv)
{
    Proof proof{argc, argv, "what calls leave behind", 400};
    proof.scale(1);
    warm_up();
    Shared<long> left;
    for (const Row& row : rows()) {
        const bool is_own = row.name == "quorvel_client_disconnect" || row.name == "quorvel_client_connect";
        const bool is_call = row.family == Row::Family::public_api || row.family == Row::Family::invoke;
        if (is_own || !is_call || !counts_memory)
            continue;
        proof.check_always(std::string{row.name}, [&] { return leaves(row, left.value()); });
    }
    return proof.report();
}
