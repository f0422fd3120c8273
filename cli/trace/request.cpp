#include "trace/request.hpp"

#include <fmt/format.h>
#include <glib.h>
#include <signal.h>

#include <cstdlib>
#include <thread>

#include "core/places.hpp"
#include "core/raw.hpp"
#include "trace/port.hpp"
#include "trace/view.hpp"

namespace quorvel::cli {
namespace {

// Every function is allowed with an agent as new as this.
constexpr const char* newest_agent = "99.0";

// Sixteen bytes a line, as they are and as text.
std::string dump(std::string_view bytes)
{
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += 16) {
        const std::string_view row = bytes.substr(at, 16);
        std::string hex;
        std::string letters;
        for (const char c : row) {
            const auto byte = static_cast<unsigned char>(c);
            hex += fmt::format("{:02x} ", byte);
            letters += byte >= 0x20 && byte < 0x7f ? c : '.';
        }
        text += fmt::format("    {:04x}  {:<48} {}\n", at, hex, letters);
    }
    return text;
}

std::string request_lines(const std::string& bytes, bool secrets)
{
    trace::Message message = trace::read_request(bytes);
    if (!secrets)
        message = trace::masked(std::move(message));
    const std::string sent = trace::write_message(message);
    return fmt::format("→ {}\n{}", trace::request_text(message, true), dump(sent));
}

// What a qvctl of these words sends, to an agent that answers everything with nothing.
std::string parcels_of(std::vector<std::string> words, bool secrets)
{
    const trace::TemporaryDirectory directory;
    const std::filesystem::path captured = directory.path() / "capture";
    const trace::Variable home("QUORVEL_HOME_DIR", directory.path().string());
    std::filesystem::create_directory(directory.path() / "packages");
    std::ofstream(directory.path() / "packages" / fmt::format("{}.package", agent_id))
        << fmt::format("id={}\nversion={}\nexec=/bin/false\n", agent_id, newest_agent);
    const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
    pid_t agent = 0;
    {
        const trace::Variable nothing("QUORVEL_CAPTURE", "");
        const trace::Variable name("QUORVEL_APP_ID", agent_id);
        agent = start_program({self, "__answer"}, false, directory.path() / "log");
    }
    for (int tries = 0; tries < 500 && !listens(agent_socket()); ++tries)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    int status = 0;
    {
        const trace::Variable capture("QUORVEL_CAPTURE", captured.string());
        words.insert(words.begin(), self);
        status = run_program(words, directory.path() / "log");
    }
    kill(agent, SIGTERM);
    wait_for(agent);
    std::string text;
    if (std::filesystem::exists(captured))
        for (const trace::Record& record : trace::load(captured).records) {
            if (record.kind != trace::RecordKind::parcel || !record.to_agent())
                continue;
            // The connection's own, before any call.
            const catalogue::Method* method = trace::read_request(record.bytes).method;
            if (method == nullptr || method->name != "set_api_version")
                text += request_lines(record.bytes, secrets);
        }
    if (text.empty())
        text = fmt::format("/* nothing is sent: the library itself {} */\n",
                           status == ok ? "answers" : "refuses the arguments");
    return text;
}

}  // namespace

std::string parcels_text(const Context& context, const Function& function, const Arguments& arguments)
{
    Json call{{"function", function.name}, {"arguments", Json::object()}};
    for (const auto& [parameter, value] : arguments)
        call["arguments"][parameter] = value;
    return parcels_of({"__call", call.dump(-1, ' ', false, Json::error_handler_t::replace)},
                      context.globals.secrets);
}

std::string parcels_text(const Context& context, const std::string& method,
                         const std::vector<std::string>& arguments)
{
    std::vector<std::string> words{"raw", method};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return parcels_of(words, context.globals.secrets);
}

int answer_everything()
{
    trace::Tap tap;
    rpc_port_stub_h stub = nullptr;
    if (rpc_port_stub_create(&stub, "qv_client") != RPC_PORT_ERROR_NONE)
        return failed;
    const auto received = [](const char* /*sender*/, const char* /*instance*/, rpc_port_h port, void* self) {
        const auto bytes = static_cast<trace::Tap*>(self)->receive(port);
        const catalogue::Method* method = bytes ? trace::read_request(*bytes).method : nullptr;
        return method != nullptr && trace::send_bytes(port, trace::empty_answer(*method, 0)) ? 0 : -1;
    };
    rpc_port_stub_add_received_event_cb(stub, received, &tap);
    if (rpc_port_stub_listen(stub) != RPC_PORT_ERROR_NONE)
        return failed;
    g_main_loop_run(g_main_loop_new(nullptr, FALSE));
    return ok;
}

int call_once(const std::string& text)
{
    const Json call = Json::parse(text);
    const Function* function = find_function(call.at("function").get<std::string>());
    if (function == nullptr)
        return usage;
    Arguments arguments;
    for (const auto& [name, value] : call.at("arguments").items())
        arguments[name] = value;
    Session session({"running", std::chrono::milliseconds(5000)});
    try {
        Invocation(session, *function).call(arguments);
    } catch (const Failure& failure) {
        return failure.status;
    }
    return ok;
}

}  // namespace quorvel::cli
