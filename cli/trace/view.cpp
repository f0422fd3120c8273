#include "trace/view.hpp"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <ctime>

#include "catalogue/qv_client_catalogue.hpp"
#include "core/suggest.hpp"

namespace quorvel::cli::trace {
namespace {

using catalogue::Kind;
using catalogue::qv_client;

std::string dumped(const Json& value)
{
    return shown(value).dump(-1, ' ', false, Json::error_handler_t::replace);
}

// What came from elsewhere must not move the terminal's cursor; more of it than fits helps nobody.
std::string cut(const Value& value, bool full)
{
    if (value.type.kind == Kind::delegate)
        return fmt::format("{}[{}.{}]", value.type.delegate->name, value.type.delegate->id,
                           value.json.value("sequence", 0));
    std::string text = dumped(value.json);
    for (char& c : text)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f)
            c = ' ';
    constexpr std::size_t most = 80;
    if (full || text.size() <= most)
        return text;
    std::size_t end = most;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xc0) == 0x80)
        --end;
    return text.substr(0, end) + "...";
}

// Lists as "3 devices", without the count that repeats it; everything else as name=value.
std::string named_values(const Message& message, bool full)
{
    std::string text;
    bool after_list = false;
    for (const Value& value : message.values) {
        if (value.name == "returned" || (after_list && value.name == "count"))
            continue;
        after_list = value.type.kind == Kind::array || value.type.kind == Kind::text_list;
        text += "  ";
        text += after_list && !full ? fmt::format("{} {}", value.json.size(), value.name)
                                    : fmt::format("{}={}", value.name, cut(value, full));
    }
    return text;
}

std::string problem_text(const Message& message)
{
    return message.problem.empty() ? "" : fmt::format("  !! {}", message.problem);
}

bool mentions(const Json& value, const std::string& text)
{
    if (value.is_string()) {
        if (value.get_ref<const std::string&>() == text)
            return true;
        const Json inner = json_in(value.get_ref<const std::string&>());
        return inner.is_structured() && mentions(inner, text);
    }
    return value.is_structured()
           && std::ranges::any_of(value, [&](const Json& one) { return mentions(one, text); });
}

bool mentions(const Message& message, const std::string& text)
{
    return std::ranges::any_of(message.values, [&](const Value& one) { return mentions(one.json, text); });
}

// Whether the other end said no, or nothing that can be understood.
bool is_error(const Entry& entry)
{
    if (!entry.message.problem.empty())
        return true;
    if (entry.kind != Entry::Kind::callback)
        return entry.message.code() < 0;
    const Value* result = entry.message.value("result");
    return result != nullptr && result->json.is_number() && result->json.get<int>() < 0;
}

std::string rfc3339(std::int64_t time)
{
    return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:06}Z",
                       fmt::gmtime(static_cast<std::time_t>(time / 1'000'000'000)),
                       time % 1'000'000'000 / 1000);
}

Json object_of_values(const Message& message)
{
    Json values = Json::object();
    for (const Value& value : message.values)
        if (value.name != "returned")
            values[std::string(value.name)] = shown(value.json);
    return values;
}

}  // namespace

bool Filter::wants_connection(const Record& record) const
{
    return connections.empty() || connections.contains(std::to_string(record.connection))
           || connections.contains(fmt::format("{}#{}", record.process, record.connection));
}

bool Filter::wants(const Entry& entry) const
{
    if (!wants_connection(entry.record))
        return false;
    if (entry.kind == Entry::Kind::opened || entry.kind == Entry::Kind::closed)
        return names.empty() && device.empty() && !needs_answer();
    const Message& request = entry.call ? entry.call->request : entry.message;
    if (!names.empty()) {
        const std::string_view name = request.method != nullptr     ? request.method->name
                                      : request.delegate != nullptr ? request.delegate->name
                                                                    : std::string_view();
        if (!names.contains(std::string(name)))
            return false;
    }
    if (!device.empty() && !mentions(request, device)
        && !(entry.call && entry.call->answered && mentions(entry.call->answer, device)))
        return false;
    if (slower >= 0 && !(entry.call && entry.call->answered && entry.call->milliseconds() > slower))
        return false;
    return !errors || is_error(entry) || (entry.call && !entry.call->request.problem.empty());
}

std::vector<Argument> view_arguments()
{
    using Form = Argument::Form;
    return {{"method", "--method", "only these methods and delegates, by name or number", Form::option, false,
             false, true},
            {"connection", "--connection", "only these connections: N, or PROCESS#N", Form::option, false,
             false, true},
            {"slower", "--slower", "only calls that took longer, e.g. 10ms", Form::option, false},
            {"errors", "--errors", "only what failed", Form::flag, false},
            {"device", "--device", "only what mentions this device", Form::option, false},
            {"time", "--time", "abs (UTC), rel (from the first) or delta (from the line before)",
             Form::option, false},
            {"full", "--full", "whole values, however long", Form::flag, false}};
}

Filter filter_of(const Context& context)
{
    Filter filter;
    for (const std::string& name : context.texts("method")) {
        int id = 0;
        const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), id);
        const bool is_number = error == std::errc() && end == name.data() + name.size();
        const catalogue::Method* method = is_number ? qv_client.method(id) : qv_client.method(name);
        if (method == nullptr && qv_client.delegate(name) == nullptr) {
            std::vector<std::string> all;
            for (const catalogue::Method& one : qv_client.methods)
                all.emplace_back(one.name);
            for (const catalogue::Delegate& one : qv_client.delegates)
                all.emplace_back(one.name);
            const std::string near = nearest(name, all);
            throw Failure(
                usage, fmt::format("there is no method or delegate '{}'", name), "--method",
                near.empty() ? "qvctl raw lists the methods" : fmt::format("did you mean '{}'?", near));
        }
        filter.names.insert(method == nullptr ? name : std::string(method->name));
    }
    for (const std::string& one : context.texts("connection"))
        filter.connections.insert(one);
    if (context.has("slower")) {
        const std::string text = context.text("slower");
        char* end = nullptr;
        filter.slower = std::strtod(text.c_str(), &end);
        const std::string unit(end);
        if (unit == "s")
            filter.slower *= 1000;
        else if (unit == "us")
            filter.slower /= 1000;
        if (end == text.c_str() || filter.slower < 0
            || (!unit.empty() && unit != "ms" && unit != "s" && unit != "us"))
            throw Failure(usage, fmt::format("'{}' is not a time", text), "--slower",
                          "e.g. 500us, 10ms or 2s");
    }
    filter.errors = context.has("errors");
    filter.device = context.text("device");
    return filter;
}

std::string code_text(int code)
{
    const CodeRow* row = code == 0 ? nullptr : find_code(code);
    if (row == nullptr)
        return std::to_string(code);
    std::string_view name = row->name;
    constexpr std::string_view prefix = "QUORVEL_CLIENT_ERROR_";
    if (name.starts_with(prefix))
        name.remove_prefix(prefix.size());
    return fmt::format("{} {}", code, name);
}

std::string request_text(const Message& request, bool full)
{
    std::string arguments;
    for (const Value& value : request.values)
        arguments += fmt::format("{}{}", arguments.empty() ? "" : ", ", cut(value, full));
    return fmt::format("{}({}){}", method_name(request), arguments, problem_text(request));
}

std::string answer_text(const Message& answer, bool full)
{
    const Value* returned = answer.value("returned");
    std::string code = returned == nullptr          ? "?"
                       : returned->json.is_number() ? code_text(answer.code())
                                                    : dumped(returned->json);
    return fmt::format("{}{}{}", code, named_values(answer, full), problem_text(answer));
}

std::string callback_text(const Message& callback, bool full)
{
    const std::string name = callback.delegate == nullptr ? "?" : std::string(callback.delegate->name);
    return fmt::format("{}[{}.{}]{}{}", name, callback.delegate_id, callback.sequence,
                       named_values(callback, full), problem_text(callback));
}

Json object_of(const Entry& entry, bool secrets)
{
    const auto readable = [&](const Message& message) { return secrets ? message : masked(message); };
    const Record& record = entry.call ? entry.call->sent : entry.record;
    Json object{{"time", rfc3339(record.time)},
                {"by", record.by_agent ? "agent" : "app"},
                {"process", record.process},
                {"connection", record.connection}};
    if (entry.kind == Entry::Kind::opened || entry.kind == Entry::Kind::closed) {
        object["kind"] = entry.kind == Entry::Kind::opened ? "opened" : "closed";
        if (!entry.record.bytes.empty())
            object["name"] = entry.record.bytes;
        return object;
    }
    if (entry.kind == Entry::Kind::callback) {
        const Message message = readable(entry.message);
        object["kind"] = "event";
        object["id"] = message.delegate_id;
        object["delegate"] = message.delegate == nullptr ? Json(nullptr) : Json(message.delegate->name);
        object["sequence"] = message.sequence;
        if (!entry.registered_by.empty())
            object["registered_by"] = entry.registered_by;
        object["values"] = object_of_values(message);
        if (!message.problem.empty())
            object["problem"] = message.problem;
        return object;
    }
    object["kind"] = "call";
    if (entry.call == nullptr) {
        object["id"] = nullptr;
        object["problem"] = "an answer without a call";
        return object;
    }
    const Message request = readable(entry.call->request);
    object["id"] = request.command;
    object["method"] = request.method == nullptr ? Json(nullptr) : Json(request.method->name);
    object["arguments"] = object_of_values(request);
    std::string problem = request.problem;
    if (entry.call->answered) {
        const Message answer = readable(entry.call->answer);
        const Value* returned = answer.value("returned");
        object["returned"] = returned == nullptr ? Json(nullptr) : returned->json;
        object["answer"] = object_of_values(answer);
        object["duration_ms"] = entry.call->milliseconds();
        problem += problem.empty() || answer.problem.empty() ? "" : "; ";
        problem += answer.problem;
    }
    if (!problem.empty())
        object["problem"] = problem;
    return object;
}

View::View(Context& context)
    : context_(context),
      filter_(filter_of(context)),
      time_(context.text("time", "abs")),
      full_(context.has("full")),
      secrets_(context.globals.secrets)
{
    if (time_ != "abs" && time_ != "rel" && time_ != "delta")
        throw Failure(usage, fmt::format("there is no time '{}'", time_), "--time", "abs, rel or delta");
}

void View::add(const Record& record)
{
    if (first_ < 0)
        first_ = last_ = record.time;
    const Entry entry = conversation_.add(record);
    const bool objects = context_.out.form != Form::table;
    if (entry.kind == Entry::Kind::request) {
        open_.push_back(entry.call);
        if (objects || filter_.needs_answer())
            return;
    }
    if (entry.kind == Entry::Kind::answer)
        std::erase(open_, entry.call);
    if (!filter_.wants(entry))
        return;
    if (entry.kind == Entry::Kind::answer && !objects && entry.call && filter_.needs_answer())
        show({Entry::Kind::request, entry.call->sent, entry.call->request, entry.call, ""});
    show(entry);
}

void View::show(const Entry& entry)
{
    if (over_)
        return;
    ++shown_;
    if (context_.out.form == Form::table)
        show_line(entry);
    else
        show_object(entry);
}

std::string View::time_of(const Record& record)
{
    const std::int64_t since = record.time - (time_ == "rel" ? first_ : last_);
    last_ = record.time;
    if (time_ == "abs")
        return fmt::format("{:%H:%M:%S}.{:03}",
                           fmt::gmtime(static_cast<std::time_t>(record.time / 1'000'000'000)),
                           record.time % 1'000'000'000 / 1'000'000);
    return fmt::format("{:+12.6f}", static_cast<double>(since) / 1e9);
}

void View::show_line(const Entry& entry)
{
    const Message message = secrets_ ? entry.message : masked(entry.message);
    std::string text;
    switch (entry.kind) {
        case Entry::Kind::opened:
            text = fmt::format("opened  {}", entry.record.bytes);
            break;
        case Entry::Kind::closed:
            text = "closed";
            break;
        case Entry::Kind::request:
            text = "→ " + request_text(message, full_);
            break;
        case Entry::Kind::answer:
            text = "← " + answer_text(message, full_);
            if (entry.call)
                text += fmt::format("  {:.1f} ms", entry.call->milliseconds());
            // Where other lines stand between, which call this answers cannot be seen.
            if (entry.call && entry.call != last_call_)
                text += fmt::format("  ({})", method_name(entry.call->request));
            break;
        case Entry::Kind::callback:
            text = "⇐ " + callback_text(message, full_);
            break;
    }
    for (char& c : text)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f)
            c = ' ';
    last_call_ = entry.call;
    const bool red = context_.out.colour && entry.kind != Entry::Kind::request && is_error(entry);
    write_stdout(fmt::format("{}{}  {} {}{}\n", red ? "\033[31m" : "", time_of(entry.record),
                             speaker(entry.record), text, red ? "\033[0m" : ""));
    const Globals& globals = context_.globals;
    if (entry.kind != Entry::Kind::request)
        over_ = (globals.limit > 0 && shown_ >= static_cast<std::size_t>(globals.limit))
                || (!globals.until.empty() && holds(object_of(entry, secrets_), globals.until));
}

void View::show_object(const Entry& entry)
{
    const Json object = object_of(entry, secrets_);
    if (context_.out.form == Form::jsonl)
        context_.out.stream(object);
    else
        list_.push_back(object);
    const Globals& globals = context_.globals;
    over_ = (globals.limit > 0 && shown_ >= static_cast<std::size_t>(globals.limit))
            || (!globals.until.empty() && holds(object, globals.until));
}

void View::finish()
{
    if (context_.out.form != Form::table || filter_.needs_answer())
        for (const auto& call : open_)
            if (const Entry entry{Entry::Kind::request, call->sent, call->request, call, ""};
                filter_.wants(entry))
                show(entry);
    open_.clear();
    if (context_.out.form == Form::json || context_.out.form == Form::tsv)
        context_.out.show(list_);
}

}  // namespace quorvel::cli::trace
