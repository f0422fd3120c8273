#include "trace/conversation.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <span>

#include "catalogue/qv_client_catalogue.hpp"

namespace quorvel::cli::trace {
namespace {

using catalogue::Kind;
using catalogue::qv_client;

constexpr std::array all_rules{
    Rule{"before-connected", Severity::error, "a call before its connection was opened"},
    Rule{"after-closed", Severity::error, "a parcel on a connection that was closed"},
    Rule{"overlapping", Severity::note, "a call before the one before it was answered"},
    Rule{"misplaced", Severity::error, "a callback on the main port, or an answer on the callback port"},
    Rule{"stranger", Severity::error, "a callback for a delegate that nobody holds"},
    Rule{"late", Severity::note, "a callback that was on its way when its delegate was taken back"},
    Rule{"registered-twice", Severity::error, "a delegate that is registered while it is registered"},
    Rule{"never-disposed", Severity::note, "a delegate that is still registered at the end"},
    Rule{"once", Severity::warning, "a callback whose flag differs from its registration's"},
    Rule{"too-short", Severity::error, "a parcel that ends before its values, or whose values are broken"},
    Rule{"too-long", Severity::error, "a parcel with more behind its values"},
    Rule{"unknown", Severity::error, "a method, delegate or opening that there is not"},
    Rule{"unasked", Severity::error, "an answer without a call"},
    Rule{"unanswered", Severity::warning, "a call without an answer"},
    Rule{"in-clear", Severity::warning, "a secret that is not masked"},
};

// The text without its prefix, if it has it.
std::string without(std::string_view text, std::string_view prefix)
{
    return text.starts_with(prefix) ? std::string(text.substr(prefix.size())) : std::string();
}

// The arguments that choose what is taken back. Where the second is empty, everything of the first is.
std::string text_argument(const Message& message, std::size_t index)
{
    return index < message.values.size() && message.values[index].json.is_string()
               ? message.values[index].json.get<std::string>()
               : std::string();
}

// What a method takes back: the method that is its opposite, by the names that the interface gives such
// pairs.
const catalogue::Method* opposite(const catalogue::Method& method)
{
    const std::string name(method.name);
    if (const std::string rest = without(name, "unset_"); !rest.empty())
        return qv_client.method("set_" + rest);
    if (const std::string rest = without(name, "un"); !rest.empty())
        return qv_client.method(rest);
    if (const std::string rest = without(name, "stop_"); !rest.empty())
        return qv_client.method("start_" + rest);
    return nullptr;
}

const catalogue::Method* disposer(const catalogue::Method& method)
{
    for (const catalogue::Method& other : qv_client.methods)
        if (opposite(other) == &method)
            return &other;
    return nullptr;
}

}  // namespace

std::span<const Rule> rules()
{
    return all_rules;
}

std::string method_name(const Message& request)
{
    return request.method == nullptr ? std::to_string(request.command)
                                     : fmt::format("{} {}", request.method->id, request.method->name);
}

std::string speaker(const Record& record)
{
    return fmt::format("{}[{}] #{}", record.by_agent ? "agent" : "app", record.process, record.connection);
}

void Conversation::find(std::string_view rule, const Record& where, std::string text)
{
    Record place = where;
    place.bytes.clear();
    findings_.push_back({rule, std::move(text), std::move(place)});
}

void Conversation::look_at_values(const Record& record, const Message& message, const std::string& name)
{
    if (!message.problem.empty()) {
        const bool more = message.read > 4 && message.problem.ends_with("bytes more");
        const bool known = message.method != nullptr || message.delegate != nullptr;
        find(!known ? "unknown"
             : more ? "too-long"
                    : "too-short",
             record, fmt::format("{}: {}", name, message.problem));
    }
    if (const std::vector<std::string> secrets = secrets_of(message); !secrets.empty())
        find("in-clear", record, fmt::format("{}: {}", name, fmt::join(secrets, ", ")));
}

Entry Conversation::add(const Record& record)
{
    Connection& connection = connections_[{record.process, record.connection, record.by_agent}];
    if (record.kind == RecordKind::opened) {
        // A process of the same number may have written here before.
        end(connection);
        connection = {};
        connection.open = true;
        return {Entry::Kind::opened, record, {}, nullptr, ""};
    }
    if (record.kind == RecordKind::closed) {
        connection.open = false;
        connection.closed = true;
        return {Entry::Kind::closed, record, {}, nullptr, ""};
    }
    if (connection.closed)
        find("after-closed", record, fmt::format("a parcel of {} bytes", record.bytes.size()));
    if (record.to_agent())
        return request(connection, record);
    const bool opens_callback = record.bytes.size() >= 4 && number_at<std::int32_t>(record.bytes, 0) == 1;
    const bool opens_answer = record.bytes.size() >= 4 && number_at<std::int32_t>(record.bytes, 0) == 0;
    const bool is_callback = record.on_callback_port ? !opens_answer : opens_callback;
    if (is_callback != record.on_callback_port)
        find("misplaced", record,
             is_callback ? "a callback on the main port" : "an answer on the callback port");
    return is_callback ? callback(connection, record) : answer(connection, record);
}

Entry Conversation::request(Connection& connection, const Record& record)
{
    auto call = std::make_shared<Call>();
    call->sent = record;
    call->request = read_request(record.bytes);
    const std::string name = method_name(call->request);
    if (!connection.open && !connection.closed)
        find("before-connected", record, name);
    if (!connection.waiting.empty())
        find("overlapping", record,
             fmt::format("{} while {} waits", name, method_name(connection.waiting.back()->request)));
    look_at_values(record, call->request, name);
    take_delegates(connection, record, call->request);
    connection.waiting.push_back(call);
    return {Entry::Kind::request, record, call->request, call, ""};
}

void Conversation::take_delegates(Connection& connection, const Record& record, const Message& message)
{
    for (const Value& value : message.values) {
        if (value.type.kind != Kind::delegate)
            continue;
        Holding holding;
        holding.delegate = value.type.delegate->name;
        holding.id = value.type.delegate->id;
        holding.sequence = value.json.value("sequence", 0);
        holding.once = value.json.value("once", false);
        holding.method = message.method->name;
        holding.since = record;
        holding.since.bytes = text_argument(message, 0) + '\n' + text_argument(message, 1);
        if (const catalogue::Method* by = disposer(*message.method))
            holding.dispose_by = by->name;
        const DelegateKey key{holding.id, holding.sequence};
        if (connection.holdings.contains(key))
            find("registered-twice", record,
                 fmt::format("{}[{}.{}] by {}, held since {}", holding.delegate, key.first, key.second,
                             holding.method, connection.holdings[key].method));
        // One that was faster than the record of the request that asked for it.
        holding.called =
            static_cast<int>(std::erase_if(connection.unclaimed, [&](const std::pair<Record, Message>& one) {
                return DelegateKey(one.second.delegate_id, one.second.sequence) == key
                       && record.time - one.first.time < 50'000'000;
            }));
        if (holding.called == 0 || !holding.once)
            connection.holdings[key] = holding;
    }
}

// An answer of 0 to unset_x_cb takes back what set_x_cb brought; with arguments, only what had the same ones.
void Conversation::dispose(Connection& connection, const Message& message)
{
    const catalogue::Method* method = message.method == nullptr ? nullptr : opposite(*message.method);
    if (method == nullptr)
        return;
    std::erase_if(connection.holdings, [&](const auto& one) {
        const std::string& arguments = one.second.since.bytes;
        const std::string first = arguments.substr(0, arguments.find('\n'));
        const std::string second = arguments.substr(first.size() + 1);
        const std::string taken = text_argument(message, 1);
        const bool is_it = one.second.method == method->name
                           && (message.values.empty()
                               || (text_argument(message, 0) == first && (taken.empty() || taken == second)));
        if (is_it)
            connection.taken_back.insert(one.first);
        return is_it;
    });
}

Entry Conversation::answer(Connection& connection, const Record& record)
{
    std::shared_ptr<Call> call;
    if (!connection.waiting.empty()) {
        call = connection.waiting.front();
        connection.waiting.pop_front();
    }
    Message message = read_answer(record.bytes, call ? call->request.method : nullptr);
    if (call == nullptr) {
        find("unasked", record, fmt::format("an answer of {} bytes", record.bytes.size()));
        return {Entry::Kind::answer, record, message, nullptr, ""};
    }
    const std::string name = method_name(call->request);
    if (message.command != 0)
        find("unknown", record, fmt::format("{}: {}", name, message.problem));
    else
        look_at_values(record, message, fmt::format("the answer to {}", name));
    call->answered = true;
    call->received = record;
    call->received.bytes.clear();
    call->answer = message;
    if (message.code() == 0)
        dispose(connection, call->request);
    return {Entry::Kind::answer, record, message, call, ""};
}

Entry Conversation::callback(Connection& connection, const Record& record)
{
    Message message = read_callback(record.bytes);
    const std::string name = message.delegate == nullptr ? "a callback" : std::string(message.delegate->name);
    look_at_values(record, message, name);
    Entry entry{Entry::Kind::callback, record, message, nullptr, ""};
    if (message.delegate == nullptr)
        return entry;
    const auto held = connection.holdings.find({message.delegate_id, message.sequence});
    if (held == connection.holdings.end()) {
        Record place = record;
        place.bytes.clear();
        connection.unclaimed.emplace_back(place, message);
        return entry;
    }
    entry.registered_by = held->second.method;
    ++held->second.called;
    if (message.once != held->second.once)
        find("once", record,
             fmt::format("{}[{}.{}] says {}, its registration {}", name, message.delegate_id,
                         message.sequence, message.once, held->second.once));
    if (held->second.once)
        connection.holdings.erase(held);
    return entry;
}

void Conversation::end(Connection& connection)
{
    for (const auto& call : connection.waiting)
        find("unanswered", call->sent, method_name(call->request));
    connection.waiting.clear();
    for (const auto& [record, message] : connection.unclaimed)
        find(connection.taken_back.contains({message.delegate_id, message.sequence}) ? "late" : "stranger",
             record, fmt::format("{}[{}.{}]", message.delegate->name, message.delegate_id, message.sequence));
    connection.unclaimed.clear();
    for (const auto& [key, holding] : connection.holdings)
        find("never-disposed", holding.since,
             fmt::format("{}[{}.{}] of {}{}", holding.delegate, key.first, key.second, holding.method,
                         holding.once                 ? ", which never called back"
                         : holding.dispose_by.empty() ? ""
                                                      : fmt::format("; {} ends it", holding.dispose_by)));
}

void Conversation::finish()
{
    for (auto& [key, connection] : connections_)
        end(connection);
    std::ranges::stable_sort(findings_, {}, [](const Finding& one) { return one.where.offset; });
}

std::vector<Conversation::Holding> Conversation::holdings() const
{
    std::vector<Holding> all;
    for (const auto& [key, connection] : connections_)
        for (const auto& [delegate, holding] : connection.holdings)
            all.push_back(holding);
    return all;
}

}  // namespace quorvel::cli::trace
