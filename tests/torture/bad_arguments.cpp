// Every function with every pointer NULL, alone and in pairs, with numbers and texts that nobody expects, in
// every state of the connection.
#include <algorithm>
#include <climits>
#include <map>
#include <set>

#include "live.hpp"
#include "scenarios.hpp"

using namespace torture;

namespace {

enum class State { connected, connecting, lost, closed };
constexpr std::pair<State, const char*> states[] = {{State::connected, "connected"},
                                                    {State::connecting, "connecting"},
                                                    {State::lost, "lost"},
                                                    {State::closed, "closed"}};

void on_state(int, int, void*) {}

/// A client in some state. A closed one is the address of one that was: no connection is there to take it for
/// its own.
class Client {
public:
    explicit Client(State state) : state_{state} { renew(); }
    ~Client() { end(); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    quorvel_client_h handle() const { return handle_; }
    /// As at first, whatever a call did.
    void renew()
    {
        end();
        if (state_ == State::connecting) {
            scripted::agent().install("2.4.0");
            answer_everything();
            quorvel_client_connect(&handle_, on_state, nullptr);
            return;
        }
        handle_ = connect();
        if (state_ == State::lost)
            scripted::agent().disconnect();
        if (state_ == State::closed)
            quorvel_client_disconnect(handle_);
    }
    void forget() { handle_ = nullptr; }

private:
    void end()
    {
        if (handle_ != nullptr && state_ != State::closed)
            quorvel_client_disconnect(handle_);
        handle_ = nullptr;
    }

    State state_;
    quorvel_client_h handle_ = nullptr;
};

const std::string& text_of(std::size_t size)
{
    static std::map<std::size_t, std::string> kept;
    return kept.try_emplace(size, size, 'x').first->second;
}

/// Texts that nobody expects.
std::vector<const char*> bad_texts(std::size_t longest)
{
    static const std::string high = [] {
        std::string bytes;
        for (int byte = 0x80; byte <= 0xFF; ++byte)
            bytes += static_cast<char>(byte);
        return bytes;
    }();
    std::vector<const char*> texts{nullptr, "", "\n", "x", high.c_str(), "\xC3\x28 \xED\xA0\x80 \xF8\x88",
                                   "%s%n%d"};
    for (const std::size_t size : {100U, 101U, 102U, 103U})
        texts.push_back(text_of(size).c_str());
    texts.push_back(text_of(longest).c_str());
    return texts;
}

/// The changes that a row is tried with, one or two at a time.
std::vector<std::vector<Change>> changes_of(const Row& row, bool is_whole)
{
    // More than a frame holds, for one text of each function; it takes its time.
    constexpr std::size_t longest_text = 64U << 20;
    constexpr std::size_t long_text = 64U << 10;
    bool has_long_text = is_whole && row.family == Row::Family::public_api;
    std::vector<std::vector<Change>> all;
    const auto can_be_null = [&](std::size_t place) { return row.types[place].is_pointer(); };
    for (std::size_t place = 0; place < row.types.size(); ++place) {
        const Type& type = row.types[place];
        if (can_be_null(place)) {
            all.push_back({{.place = place}});
            for (std::size_t other = place + 1; other < row.types.size(); ++other) {
                if (can_be_null(other))
                    all.push_back({{.place = place}, {.place = other}});
            }
        }
        if (type.shape == Shape::number) {
            // A number behind a list is its length: more than there is would be read.
            for (const int number : {INT_MIN, -1, 0, 1, row.is_length(place) ? 2 : INT_MAX})
                all.push_back({{.place = place, .to = Change::To::number, .number = number}});
        }
        if (type.shape == Shape::text) {
            for (const char* const text : bad_texts(has_long_text ? longest_text : long_text))
                all.push_back({{.place = place, .to = Change::To::text, .text = text}});
            has_long_text = false;
        }
    }
    if (all.empty())
        all.push_back({});
    return all;
}

/// Whether the function's header says that this argument must not be NULL.
bool is_required(const Row& row, std::size_t place)
{
    static const std::set<std::pair<std::string_view, std::size_t>> required = {
#include "required_arguments.inc"
    };
    return required.contains({row.name, place});
}

std::string told(const Row& row, const std::vector<Change>& changes)
{
    std::string text{row.name};
    for (const Change& change : changes) {
        text += " " + std::to_string(change.place) + "=";
        if (change.to == Change::To::number)
            text += std::to_string(change.number);
        else
            text += change.to == Change::To::null || change.text == nullptr ? "NULL" : "a text";
    }
    return text;
}

/// What a call with one argument missing has to answer.
Finding judge(const Row& row, State state, const std::vector<Change>& changes, const Attempt& attempt)
{
    if (!attempt.complaint().empty())
        return attempt.complaint();
    if (row.family != Row::Family::public_api)
        return {};
    if (!is_documented(attempt.code()))
        return "the code is not documented";
    const bool is_missing_one = changes.size() == 1 && changes[0].to == Change::To::null;
    // Where there is a connection already, a second one is refused before its arguments are looked at.
    const State where_arguments_count =
        row.name == "quorvel_client_connect" ? State::closed : State::connected;
    if (state == where_arguments_count && is_missing_one && is_required(row, changes[0].place)
        && attempt.code() != QUORVEL_CLIENT_ERROR_INVALID_PARAMETER)
        return "what must not be NULL was missing, and it answered";
    if (row.takes_client && state != State::connected && row.name != "quorvel_client_disconnect"
        && attempt.succeeded())
        return "it went well without a connection";
    return {};
}

Finding try_all(const Row& row, State state, bool is_whole, Proof& proof)
{
    long tried = 0;
    {
        Client client{state};
        scripted::keep_log(false);
        for (const auto& changes : changes_of(row, is_whole)) {
            Attempt attempt{row, client.handle(), changes};
            attempt.run();
            ++tried;
            const Finding finding = judge(row, state, changes, attempt);
            if (!finding.empty())
                return told(row, changes) + ": " + finding + ": " + std::to_string(attempt.code());
            const bool is_disconnect = row.name == "quorvel_client_disconnect" && attempt.succeeded();
            if (quorvel_client_h const made = attempt.take_client())
                quorvel_client_disconnect(made);
            if (is_disconnect)
                client.forget();
            if (is_disconnect || row.name == "quorvel_client_connect")
                client.renew();
            scripted::agent().forget_requests();
        }
        if (state == State::connected && !ordinary_call_works(client.handle()))
            return "an ordinary call fails afterwards";
    }
    proof.did(tried);
    return {};
}

}  // namespace

int main(int argc, char** argv)
{
    Proof proof{argc, argv, "bad arguments", 20'000};
    proof.scale(0.25);
    warm_up();
    for (const Row& row : rows()) {
        for (const auto& each : states) {
            const State state = each.first;
            // What works on no client is the same in all states.
            if (state != State::connected && row.family != Row::Family::public_api)
                continue;
            proof.check(
                std::string{row.name} + "/" + each.second,
                [&] { return try_all(row, state, proof.is_whole(), proof); }, 120);
        }
    }
    return proof.report();
}
