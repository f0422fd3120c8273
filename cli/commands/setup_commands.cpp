// `setup run`: a device is onboarded in one go, with a line a stage.
#include <fmt/format.h>
#include <glib-unix.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <optional>

#include "commands/run.hpp"

namespace quorvel::cli {
namespace {

// The number of the stage that follows the questions of ownership.
constexpr int choosing_network = 5;

using Clock = std::chrono::steady_clock;

// While it lives, what is typed is not shown.
class Unseen {
public:
    Unseen()
    {
        is_set_ = tcgetattr(STDIN_FILENO, &before_) == 0;
        termios quiet = before_;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        if (is_set_)
            tcsetattr(STDIN_FILENO, TCSANOW, &quiet);
    }
    ~Unseen()
    {
        if (is_set_)
            tcsetattr(STDIN_FILENO, TCSANOW, &before_);
    }
    Unseen(const Unseen&) = delete;
    Unseen& operator=(const Unseen&) = delete;

private:
    termios before_{};
    bool is_set_;
};

// One onboarding: the calls in their order, the questions that come between them, and the stages for people
// (a line each, with its time) or for scripts (an object each).
//
// Answers come from options; on a terminal what is missing is asked for.
class Onboarding {
public:
    explicit Onboarding(Context& context) : context_(context), for_people_(isatty(STDOUT_FILENO) != 0) {}

    int run()
    {
        context_.session.connect();
        context_.session.catch_signals();
        listen("quorvel_client_set_easy_setup_state_cb", {},
               [this](std::string_view, const Json& values) { stage_ = values["first"].get<int>(); });
        listen("quorvel_client_set_easy_setup_enrollee_error_cb", {},
               [this](std::string_view, const Json& values) {
                   error_ = Json{{"stage", values["first"]}, {"reason", values["second"]}};
               });
        stage("init", [&] {
            answer("quorvel_client_easy_setup_initialize", {{"setup_type", context_.text("type", "0")}});
        });
        stage("start", [&] { start(); });
        stage("wifi", [&] { choose_network(); });
        stage("device", [&] { provision(); });
        stage("configuration", [&] { detail_ = answer("quorvel_client_easy_setup_get_device_conf", {}); });
        stage("cloud", [&] {
            answer("quorvel_client_easy_setup_cloud_provisioning",
                   {{"property", Json{{"ci_host_address", context_.text("cloud", "cloud.example.test")}}}});
        });
        stage("sign-in", [&] { sign_in(); });
        stage("place", [&] {
            answer("quorvel_client_easy_setup_set_bookmark_location",
                   {{"expires_in", "3600"},
                    {"group_id", context_.text("group", "home")},
                    {"subgroup_id", context_.text("subgroup")}});
        });
        call("quorvel_client_easy_setup_stop", {});
        context_.session.disconnect();
        return ok;
    }

private:
    void listen(std::string_view function, const Arguments& arguments, Invocation::Sink sink)
    {
        kept_.push_back(
            std::make_unique<Invocation>(context_.session, function_named(function), std::move(sink)));
        kept_.back()->call(arguments);
    }

    Json call(std::string_view function, const Arguments& arguments)
    {
        return Invocation(context_.session, function_named(function)).call(arguments);
    }

    void heed_device() const
    {
        if (!error_.is_null())
            throw Failure(failed, "the device reported an error",
                          fmt::format("stage {}, reason {}", cell(error_["stage"]), cell(error_["reason"])),
                          "");
    }

    void wait(const std::function<bool()>& done, std::string_view what)
    {
        const auto end =
            context_.session.wait([&] { return done() || !error_.is_null(); }, context_.session.timeout());
        heed_device();
        if (end == Session::End::signalled)
            throw Failure(signalled + context_.session.signal(), "interrupted", std::string(what), "");
        if (end == Session::End::lost)
            throw Failure(lost, "the connection to the agent was lost", std::string(what), "");
        if (end == Session::End::timed_out)
            throw Failure(timed_out, "the device does not go on", std::string(what), "");
    }

    // A call whose callback comes once.
    Json answer(std::string_view function, const Arguments& arguments)
    {
        auto brought = std::make_shared<std::vector<Json>>();
        listen(function, arguments,
               [brought](std::string_view, Json values) { brought->push_back(std::move(values)); });
        wait([&] { return !brought->empty(); }, function);
        Json values = brought->front();
        if (values.contains("result") && values["result"] != Json(0)) {
            // What the device itself says of it comes right behind, if it says anything.
            context_.session.wait([&] { return !error_.is_null(); }, std::chrono::milliseconds(500));
            heed_device();
            throw code_failure(function,
                               values["result"].is_number_integer() ? values["result"].get<int>() : 1);
        }
        return values.size() == 1 ? *values.begin() : values;
    }

    std::string asked(std::string_view name, const std::string& question, bool secret = false)
    {
        if (context_.has(name))
            return context_.text(name);
        if (!for_people_ || isatty(STDIN_FILENO) == 0)
            throw Failure(usage, fmt::format("--{} is needed", name), question,
                          fmt::format("qvctl setup run --{} …", name));
        // The question stands in the place of the stage's line, which comes again below it.
        write_stdout(fmt::format("\r\033[K    {}: ", question));
        std::optional<Unseen> unseen;
        if (secret)
            unseen.emplace();
        await_line(question);
        std::string line;
        if (!std::getline(std::cin, line))
            throw Failure(usage, "no answer", question, fmt::format("qvctl setup run --{} …", name));
        write_stdout(fmt::format("{}[ ] {}", secret ? "\n" : "", stage_name_));
        return line;
    }

    // Waits where signals are heard: reading would hold them up until the line is whole.
    void await_line(const std::string& question)
    {
        bool ready = false;
        const auto arrived = [](gint, GIOCondition, gpointer flag) -> gboolean {
            *static_cast<bool*>(flag) = true;
            return G_SOURCE_REMOVE;
        };
        const guint source = g_unix_fd_add(
            STDIN_FILENO, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR), arrived, &ready);
        const auto end = context_.session.wait([&] { return ready; }, std::chrono::milliseconds(0));
        if (!ready)
            g_source_remove(source);
        if (end == Session::End::done)
            return;
        write_stdout("\n");
        if (end == Session::End::lost)
            throw Failure(lost, "the connection to the agent was lost", question, "");
        throw Failure(signalled + context_.session.signal(), "interrupted", question, "");
    }

    // The device asks for its ownership to be confirmed, perhaps with a PIN, and then says that it is ours.
    void start()
    {
        // The library may call these until the end of the session.
        auto questions = std::make_shared<Json>(Json::object());
        listen("quorvel_client_easy_setup_start",
               {{"host_address", context_.text("address")},
                {"flag", context_.has("take-over") ? "true" : "false"}},
               [questions](std::string_view callback, const Json& values) {
                   (*questions)[std::string(callback)] = *values.begin();
               });
        for (;;) {
            wait(
                [&] {
                    return stage_ >= choosing_network || questions->contains("otm_feature_cb")
                           || questions->contains("random_pin_cb");
                },
                "waiting for the ownership of the device");
            if (questions->contains("otm_feature_cb")) {
                // What the device offers are bits: 1 takes it without a question, 2 with a PIN, which is the
                // safer.
                const int offered = (*questions)["otm_feature_cb"].get<int>();
                const std::string feature = (offered & 2) != 0 ? "2" : "1";
                questions->erase("otm_feature_cb");
                call("quorvel_client_easy_setup_set_supported_otm_feature",
                     {{"feature", context_.text("otm", feature)}});
            } else if (questions->contains("random_pin_cb")) {
                const std::string digits = cell((*questions)["random_pin_cb"]);
                questions->erase("random_pin_cb");
                call("quorvel_client_easy_setup_set_random_pin",
                     {{"pin", asked("pin", fmt::format("PIN of the device ({} digits)", digits), true)}});
            } else {
                detail_ = {{"owned", questions->value("enrollee_owned_cb", false)}};
                return;
            }
        }
    }

    void choose_network()
    {
        const Json networks = answer("quorvel_client_easy_setup_get_access_point_list", {});
        std::string names;
        const Json list = networks.is_array() ? networks : networks.value("list", Json::array());
        for (const Json& network : list)
            names += (names.empty() ? "" : ", ") + network.value("ssid", "");
        network_ = context_.has("ssid") || !for_people_
                       ? context_.text("ssid", list.empty() ? "" : list[0].value("ssid", ""))
                       : asked("ssid", "Network, one of " + names);
        detail_ = {{"ssid", network_}};
    }

    void provision()
    {
        Json property{{"ssid", network_}, {"language", "en_US"}, {"country", "US"}};
        if (context_.has("password"))
            property["password"] = context_.text("password");
        else if (for_people_ && !network_.empty())
            property["password"] = asked("password", "Password of " + network_, true);
        answer("quorvel_client_easy_setup_device_provisioning", {{"property", property}});
    }

    void sign_in()
    {
        auto signed_in = std::make_shared<bool>(false);
        listen("quorvel_client_easy_setup_monitoring_enrollee_sign_in", {},
               [signed_in](std::string_view, const Json& values) {
                   *signed_in = values["signed_in"] == Json(true);
               });
        wait([&] { return *signed_in; }, "waiting for the device to sign in");
    }

    void stage(const std::string& name, const std::function<void()>& body)
    {
        const auto begin = Clock::now();
        const auto elapsed = [&] {
            return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin).count();
        };
        detail_ = nullptr;
        stage_name_ = name;
        if (for_people_)
            write_stdout(fmt::format("[ ] {}", name));
        try {
            body();
        } catch (const Failure& failure) {
            tell(name, "failed", elapsed());
            throw Failure(failure.status, fmt::format("onboarding failed at {}: {}", name, failure.what()),
                          failure.why + last_error(),
                          failure.next.empty() || failure.status != usage ? fmt::format(
                              "qvctl setup run {}; or first: qvctl setup reset", context_.text("address"))
                                                                          : failure.next,
                          failure.code);
        }
        tell(name, "done", elapsed());
    }

    void tell(const std::string& name, const std::string& state, long long milliseconds)
    {
        if (for_people_)
            return write_stdout(fmt::format("\r\033[K[{}] {:<14} {:>6.1f} s{}\n", state == "done" ? "x" : "!",
                                            name, static_cast<double>(milliseconds) / 1000, in_words()));
        Json line{{"time", now()}, {"stage", name}, {"state", state}, {"ms", milliseconds}};
        if (!detail_.is_null())
            line["detail"] = detail_;
        context_.out.stream(line);
    }

    // What a stage found out, when that is little.
    std::string in_words() const
    {
        std::string words;
        if (detail_.is_object() && detail_.size() < 3)
            for (const auto& [name, value] : detail_.items())
                words += fmt::format("  {} {}", name,
                                     value.is_boolean() ? (value.get<bool>() ? "yes" : "no") : cell(value));
        return words;
    }

    std::string last_error()
    {
        try {
            const std::string code = cell(call("quorvel_client_easy_setup_get_last_error_code", {}));
            return code.empty() ? "" : "; last error " + code;
        } catch (const Failure&) {
            return "";
        }
    }

    Context& context_;
    bool for_people_;
    int stage_ = 0;
    Json error_;
    Json detail_;
    std::string network_;
    std::string stage_name_;
    // What the library may call back until the end.
    std::vector<std::unique_ptr<Invocation>> kept_;
};

}  // namespace

std::vector<Command> setup_commands()
{
    const auto option = [](const char* name, const char* help, Argument::Form form = Argument::Form::option) {
        return Argument{name, fmt::format("--{}", name), help, form, false};
    };
    return {{"setup run",
             "Onboard a device, stage by stage",
             {{"address", "ADDRESS", "the device's address"},
              option("type", "the kind of session (0)"),
              option("pin", "the answer to the device's PIN question"),
              option("otm", "the way of taking ownership (what the device offers)"),
              option("take-over", "take the device over when somebody owns it", Argument::Form::flag),
              option("ssid", "the network (the first that the device sees)"),
              option("password", "the network's password"),
              option("cloud", "the host of the cloud"),
              option("group", "the group that the device goes to (home)"),
              option("subgroup", "the subgroup that the device goes to")},
             {},
             [](Context& context) { return Onboarding(context).run(); }}};
}

}  // namespace quorvel::cli
