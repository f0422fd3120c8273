// Records as a conversation: which call an answer belongs to, who holds the delegate of a callback, and what
// is wrong.
//
// Answers carry no number: they come in the order of a connection's requests. A callback names the delegate
// that a request brought. So one record is understood only by those before it; this remembers what is needed
// of them.
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "trace/capture.hpp"
#include "trace/message.hpp"

namespace quorvel::cli::trace {

enum class Severity { note, warning, error };

struct Rule {
    std::string_view name;
    Severity severity;
    std::string_view meaning;
};

// What lint looks for.
std::span<const Rule> rules();

struct Finding {
    std::string_view rule;
    std::string text;
    Record where;  // without its bytes
};

struct Call {
    Record sent;
    Message request;
    bool answered = false;
    Record received;
    Message answer;

    [[nodiscard]] double milliseconds() const { return static_cast<double>(received.time - sent.time) / 1e6; }
};

// A record that was understood.
struct Entry {
    enum class Kind { opened, closed, request, answer, callback };

    Kind kind = Kind::request;
    Record record;
    Message message;
    std::shared_ptr<Call> call;  // of a request and its answer
    std::string registered_by;   // of a callback: the method that brought its delegate
};

class Conversation {
public:
    // A delegate that was not disposed of.
    struct Holding {
        std::string delegate;
        int id = 0;
        int sequence = 0;
        bool once = false;
        std::string method;
        Record since;
        std::string dispose_by;  // the method and arguments that take it back, if there is one
        int called = 0;
    };

    Entry add(const Record& record);
    // What is still open: calls without an answer, delegates, callbacks that nobody claimed.
    void finish();

    [[nodiscard]] const std::vector<Finding>& findings() const { return findings_; }
    [[nodiscard]] std::vector<Holding> holdings() const;

private:
    using Key = std::tuple<std::int32_t, std::int32_t, bool>;
    using DelegateKey = std::pair<int, int>;

    struct Connection {
        bool open = false;
        bool closed = false;
        std::deque<std::shared_ptr<Call>> waiting;
        std::map<DelegateKey, Holding> holdings;
        std::set<DelegateKey> taken_back;
        std::vector<std::pair<Record, Message>> unclaimed;
    };

    void find(std::string_view rule, const Record& where, std::string text);
    void look_at_values(const Record& record, const Message& message, const std::string& name);
    void end(Connection& connection);
    Entry request(Connection& connection, const Record& record);
    Entry answer(Connection& connection, const Record& record);
    Entry callback(Connection& connection, const Record& record);
    void take_delegates(Connection& connection, const Record& record, const Message& message);
    void dispose(Connection& connection, const Message& message);

    std::map<Key, Connection> connections_;
    std::vector<Finding> findings_;
};

// "12 get_device_list", or the number alone.
std::string method_name(const Message& request);
// "app[4121] #1"
std::string speaker(const Record& record);

}  // namespace quorvel::cli::trace
