#include "trace/record.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "core/failure.hpp"
#include "core/places.hpp"
#include "trace/conversation.hpp"

namespace quorvel::cli::trace {
namespace {

// The version of the installed agent, which a replay has to give itself.
std::string agent_version()
{
    std::ifstream package(installed_agent());
    for (std::string line; std::getline(package, line);)
        if (line.starts_with("version="))
            return line.substr(8);
    return {};
}

}  // namespace

TemporaryDirectory::TemporaryDirectory()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "qvctl-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr)
        throw Failure(failed, "no directory of our own can be made", std::strerror(errno),
                      "look at the directory for temporary files");
    path_ = pattern;
}

TemporaryDirectory::~TemporaryDirectory()
{
    std::error_code error;
    std::filesystem::remove_all(path_, error);
}

Variable::Variable(std::string name, const std::string& value) : name_(std::move(name))
{
    if (const char* before = std::getenv(name_.c_str()); before != nullptr)
        before_ = before;
    if (value.empty())
        unsetenv(name_.c_str());
    else
        setenv(name_.c_str(), value.c_str(), 1);
}

Variable::~Variable()
{
    if (before_.empty())
        unsetenv(name_.c_str());
    else
        setenv(name_.c_str(), before_.c_str(), 1);
}

Recorded keep(const std::filesystem::path& captured, const std::filesystem::path& trace, bool secrets)
{
    Recorded recorded;
    Writer writer(trace, {!secrets, agent_version()});
    std::error_code error;
    if (std::filesystem::file_size(captured, error) == 0 || error)
        return recorded;
    const Loaded loaded = load(captured);
    Conversation conversation;
    for (const Record& record : loaded.records) {
        const Entry entry = conversation.add(record);
        recorded.calls += entry.kind == Entry::Kind::request ? 1 : 0;
        recorded.callbacks += entry.kind == Entry::Kind::callback ? 1 : 0;
        writer.add(record, secrets || record.kind != RecordKind::parcel
                               ? record.bytes
                               : write_message(masked(entry.message)));
    }
    loaded.rethrow();
    return recorded;
}

int record_while(const std::string& trace, bool secrets, const std::function<int()>& run, Recorded* recorded)
{
    // A trace that cannot be written is told before anything is done.
    static_cast<void>(Writer(trace, {!secrets, agent_version()}));
    std::string captured = trace + ".recording-XXXXXX";
    const int file = mkostemp(captured.data(), O_CLOEXEC);
    if (file < 0)
        throw Failure(usage, fmt::format("no file can be made beside {}", trace), std::strerror(errno),
                      "record into a directory of yours");
    close(file);
    const auto finish = [&] {
        const Recorded kept = keep(captured, trace, secrets);
        if (recorded != nullptr)
            *recorded = kept;
        std::filesystem::remove(captured);
    };
    int status = ok;
    try {
        const Variable capture("QUORVEL_CAPTURE", captured);
        status = run();
    } catch (...) {
        finish();
        throw;
    }
    finish();
    return status;
}

}  // namespace quorvel::cli::trace
