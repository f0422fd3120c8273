// What stands by itself: the state of everything, and what is wrong with it.
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <unordered_map>

#include "commands/run.hpp"
#include "core/suggest.hpp"

namespace quorvel::cli {
namespace {

constexpr const char* get_state = "quorvel_client_get_state";
constexpr const char* is_signed_in = "quorvel_client_is_signed_in";
constexpr const char* get_login = "quorvel_client_get_login_id";
constexpr const char* get_user = "quorvel_client_get_connected_user_id";
constexpr const char* get_device = "quorvel_client_get_device_id";
constexpr const char* device_list = "quorvel_client_get_device_list";
constexpr const char* detail_list = "quorvel_client_get_device_detail_list";

// The value of a key in the agent's manifest.
std::string manifest_value(const std::string& key)
{
    std::ifstream file(installed_agent());
    for (std::string line; std::getline(file, line);)
        if (line.starts_with(key + "="))
            return line.substr(key.size() + 1);
    return {};
}

// What the agent refuses to tell one who is not signed in is not an error here.
Json asked(Context& context, std::string_view function)
{
    try {
        return ask(context, function);
    } catch (const Failure& failure) {
        if (failure.status != refused && failure.status != no_data)
            throw;
        return nullptr;
    }
}

Json account(Context& context)
{
    Json value = Json::object();
    value["signed_in"] = ask(context, is_signed_in);
    value["login_id"] = asked(context, get_login);
    value["user_id"] = asked(context, get_user);
    value["device_id"] = asked(context, get_device);
    return value;
}

int status_run(Context& context)
{
    context.session.prepare();
    Json value = Json::object();
    value["agent"] = agent_id;
    value["version"] = manifest_value("version");
    value["running"] = listens(agent_socket());
    context.session.connect();
    value["state"] = ask(context, get_state);
    value.update(account(context));
    value["devices"] = ask(context, device_list).size();
    context.out.show(value);
    return ok;
}

int account_show(Context& context)
{
    context.out.show(account(context));
    return ok;
}

// Devices and their details in one: the list knows the ids and types, the details the rest.
int device_list_run(Context& context)
{
    if (only_shown(context, device_list, {}))
        return ok;
    Json devices = ask(context, device_list);
    const Json details = ask(context, detail_list);
    std::unordered_map<std::string, const Json*> details_by_id;
    for (const Json& detail : details)
        details_by_id.emplace(cell(detail["device_id"]), &detail);
    for (Json& device : devices) {
        const auto detail = details_by_id.find(cell(device["device_id"]));
        if (detail == details_by_id.end())
            continue;
        const Json types = device["device_type"];
        device.update(*detail->second);
        device["device_type"] = types;
    }
    std::vector<std::string> columns{"device_id", "device_name", "device_type", "cloud_device_state:CLOUD",
                                     "group_id",  "subgroup_id"};
    // A nick is worth a column when it tells something.
    if (std::ranges::any_of(devices, [](const Json& device) {
            return at_path(device, "nick") != at_path(device, "device_name");
        }))
        columns.insert(columns.begin() + 2, "nick");
    context.out.show(devices, columns);
    return ok;
}

int device_watch(Context& context)
{
    if (context.has("details"))
        return watch(context, {{"quorvel_client_set_device_detail_list_updated_cb",
                                "quorvel_client_unset_device_detail_list_updated_cb"}});
    return watch(context, {{"quorvel_client_set_device_list_updated_cb",
                            "quorvel_client_unset_device_list_updated_cb"}});
}

class Doctor {
public:
    explicit Doctor(Context& context) : context_(context) {}

    int run()
    {
        context_.session.prepare();
        const bool running = listens(agent_socket());
        installation(running);
        directory();
        note("agent runs", running, agent_socket().string(),
             "it is started when somebody connects; or: qvctl agent start");
        note("control socket", listens(control_socket()), control_socket().string(), "qvctl agent start");
        if (step("connection", [&] {
                context_.session.connect();
                return std::string("connected");
            })) {
            step("answers", [&] { return "state " + ask(context_, get_state).dump(); });
            step("account", [&] {
                if (ask(context_, is_signed_in) != Json(true))
                    throw Failure(refused, "nobody is signed in", "",
                                  "sign in on the device; at the reference agent: qvctl sim sign on");
                return "signed in as " + cell(asked(context_, get_login));
            });
            step("devices", [&] { return fmt::format("{}", ask(context_, device_list).size()); });
        }
        context_.out.show(checks_);
        return status_;
    }

private:
    void add(const std::string& check, const char* result, const std::string& detail, const std::string& next)
    {
        checks_.push_back({{"check", check}, {"result", result}, {"detail", detail}, {"next", next}});
    }

    void note(const std::string& check, bool well, const std::string& detail, const std::string& next)
    {
        add(check, well ? "ok" : "note", detail, well ? "" : next);
    }

    bool step(const std::string& check, const std::function<std::string()>& body)
    {
        try {
            add(check, "ok", body(), "");
            return true;
        } catch (const Failure& failure) {
            add(check, "failed", failure.what() + (failure.why.empty() ? "" : ": " + failure.why),
                failure.next);
            if (status_ == ok)
                status_ = failure.status;
            return false;
        }
    }

    void installation(bool running)
    {
        const auto manifest = installed_agent();
        step("agent installed", [&] {
            if (manifest.empty())
                throw Failure(no_agent, running ? "not installed, though one runs" : "not installed", "",
                              "quorvel-agent --install");
            return fmt::format("{} {}", manifest.string(), manifest_value("version"));
        });
    }

    void directory()
    {
        struct stat state {};
        const auto path = socket_directory();
        if (lstat(path.c_str(), &state) != 0)
            return note("socket directory", false, path.string() + " is not there yet",
                        "it is made when needed");
        step("socket directory", [&] {
            if (!S_ISDIR(state.st_mode) || state.st_uid != getuid() || (state.st_mode & 077) != 0)
                throw Failure(refused, path.string() + " is not to be trusted",
                              fmt::format("owner {}, mode {:o}", state.st_uid, state.st_mode & 07777),
                              fmt::format("chmod 700 {}", path.string()));
            return path.string();
        });
    }

    Context& context_;
    Json checks_ = Json::array();
    int status_ = ok;
};

std::string upper(std::string text)
{
    std::ranges::transform(text, text.begin(),
                           [](unsigned char c) { return c == '-' ? '_' : std::toupper(c); });
    return text;
}

int explain(Context& context)
{
    constexpr std::string_view prefix = "QUORVEL_CLIENT_ERROR_";
    const std::string given = context.text("code");
    const auto show = [&](const CodeRow& row) {
        context.out.show({{"code", row.code},
                          {"name", row.name},
                          {"meaning", row.why},
                          {"exit_status", row.status},
                          {"next", row.next}});
        return static_cast<int>(ok);
    };
    int number = 0;
    const auto [end, error] = std::from_chars(given.data(), given.data() + given.size(), number);
    if (error == std::errc() && end == given.data() + given.size()) {
        if (const CodeRow* row = find_code(number); row != nullptr && number < 0)
            return show(*row);
        if (number > signalled && number < 256) {
            context.out.show({{"exit_status", number},
                              {"meaning", fmt::format("ended by signal {}", number - signalled)}});
            return ok;
        }
        for (const StatusRow& row : statuses()) {
            if (row.status != number)
                continue;
            Json codes_of = Json::array();
            for (const CodeRow& code : codes())
                if (code.status == number)
                    codes_of.push_back(code.name);
            context.out.show(
                {{"exit_status", number}, {"name", row.name}, {"meaning", row.meaning}, {"codes", codes_of}});
            return ok;
        }
        throw Failure(no_data, fmt::format("nothing is known of {}", given),
                      "neither a code nor an exit status", "qvctl explain without a code lists them");
    }
    std::vector<std::string> names;
    for (const CodeRow& row : codes()) {
        if (upper(given) == row.name || std::string(prefix) + upper(given) == row.name)
            return show(row);
        names.emplace_back(row.name.substr(prefix.size()));
    }
    if (!given.empty()) {
        const std::string near = nearest(upper(given), names);
        throw Failure(no_data, fmt::format("there is no code '{}'", given), "the codes of the library",
                      near.empty() ? "qvctl explain lists them" : fmt::format("did you mean '{}'?", near));
    }
    Json all = Json::array();
    for (const CodeRow& row : codes())
        all.push_back(
            {{"code", row.code}, {"name", row.name}, {"exit_status", row.status}, {"meaning", row.why}});
    context.out.show(all);
    return ok;
}

}  // namespace

std::vector<Command> session_commands()
{
    const std::vector<std::string> session{"quorvel_client_connect", "quorvel_client_disconnect"};
    const std::vector<std::string> account{is_signed_in, get_login, get_user, get_device};
    return {
        {"status", "Show the agent, the account and what there is", {}, session, status_run},
        {"doctor",
         "Look for what is wrong, and tell what to do",
         {},
         {},
         [](Context& c) { return Doctor(c).run(); }},
        {"explain",
         "Explain a code of the library or an exit status",
         {{"code", "CODE", "number or name; all of them when missing", Argument::Form::positional, false}},
         {},
         explain},
        {"account show", "Show who is signed in", {}, account, account_show},
        {"device list", "List the devices", {}, {device_list, detail_list}, device_list_run},
        {"device watch",
         "Watch the list of devices",
         {{"details", "--details", "watch their details too", Argument::Form::flag, false}},
         {"quorvel_client_set_device_list_updated_cb", "quorvel_client_unset_device_list_updated_cb",
          "quorvel_client_set_device_detail_list_updated_cb",
          "quorvel_client_unset_device_detail_list_updated_cb"},
         device_watch,
         true},
    };
}

}  // namespace quorvel::cli
