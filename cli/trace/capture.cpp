#include "trace/capture.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <sstream>
#include <utility>

#include "core/failure.hpp"
#include "trace/message.hpp"

namespace quorvel::cli::trace {
namespace {

constexpr std::string_view first_line = "quorvel-capture 1";
constexpr std::size_t largest_head = 65536;
constexpr std::int32_t fields_size = 20;
constexpr std::int32_t largest_record = fields_size + (64 << 20);

std::string quoted(std::string_view text)
{
    std::string safe;
    for (const char c : text.substr(0, 40)) {
        const auto byte = static_cast<unsigned char>(c);
        safe += byte >= 0x20 && byte < 0x7f ? std::string(1, c) : fmt::format("\\x{:02x}", byte);
    }
    return fmt::format("'{}'", safe);
}

}  // namespace

Reader::Reader(std::filesystem::path file, bool growing) : file_(std::move(file)), growing_(growing)
{
    std::error_code error;
    if (std::filesystem::is_directory(file_, error))
        throw Failure(bad_argument, fmt::format("{} is a directory", file_.string()), "a trace was expected",
                      "qvctl trace record FILE -- COMMAND makes one");
    stream_.open(file_, std::ios::binary);
    if (!stream_)
        throw Failure(no_data, fmt::format("{} cannot be read", file_.string()), std::strerror(errno),
                      "qvctl trace record FILE -- COMMAND makes one");
    if (!read_head() && !growing_)
        check_end();
}

void Reader::broken(std::uint64_t offset, const std::string& expected, const std::string& found) const
{
    throw Failure(
        bad_argument,
        fmt::format("{}: offset {}: expected {}, found {}", file_.string(), offset, expected, found),
        has_head_ ? fmt::format("record {}", records_ + 1) : "the head of the file",
        has_head_ && records_ > 0 ? fmt::format("the {} records before it were read", records_)
                                  : "qvctl trace record FILE -- COMMAND makes a trace");
}

bool Reader::take(std::string& bytes, std::uint64_t offset, std::size_t size)
{
    bytes.clear();
    stream_.clear();
    stream_.seekg(static_cast<std::streamoff>(offset));
    // In pieces: what a length announces may not be there.
    while (bytes.size() < size && stream_) {
        const std::size_t before = bytes.size();
        bytes.resize(before + std::min<std::size_t>(size - before, 1 << 20));
        stream_.read(bytes.data() + before, static_cast<std::streamsize>(bytes.size() - before));
        bytes.resize(before + static_cast<std::size_t>(stream_.gcount()));
    }
    return bytes.size() == size;
}

bool Reader::read_head()
{
    std::string text;
    take(text, 0, largest_head);
    const std::string_view line = std::string_view(text).substr(0, text.find('\n'));
    const bool whole = text.find('\n') != std::string::npos || text.size() > first_line.size();
    if (whole && line != first_line) {
        if (line.starts_with("quorvel-capture "))
            broken(16, "version 1", quoted(line.substr(16)));
        broken(0, "the line 'quorvel-capture 1'", quoted(line));
    }
    const std::size_t end = text.find("\n\n");
    if (end == std::string::npos) {
        if (text.size() == largest_head)
            broken(largest_head, "an empty line, which ends the head", "more of the head");
        return false;
    }
    std::istringstream lines(text.substr(0, end));
    for (std::string one; std::getline(lines, one);)
        if (const std::size_t colon = one.find(": "); !one.starts_with('#') && colon != std::string::npos)
            head_[one.substr(0, colon)] = one.substr(colon + 2);
    at_ = end + 2;
    has_head_ = true;
    return true;
}

std::optional<Record> Reader::next()
{
    if (!has_head_ && !read_head())
        return std::nullopt;
    std::string length_bytes;
    if (!take(length_bytes, at_, 4))
        return std::nullopt;
    const auto length = number_at<std::int32_t>(length_bytes, 0);
    if (length < fields_size || length > largest_record)
        broken(at_, fmt::format("the length of a record, {} to {}", fields_size, largest_record),
               std::to_string(length));
    std::string bytes;
    if (!take(bytes, at_ + 4, static_cast<std::size_t>(length)))
        return std::nullopt;
    const auto field = [&](std::size_t place, int largest, const char* what) {
        const int value = static_cast<unsigned char>(bytes[place]);
        if (value > largest)
            broken(at_ + 4 + place, fmt::format("{}, 0 to {}", what, largest), std::to_string(value));
        return value;
    };
    Record record;
    record.offset = at_;
    record.time = number_at<std::int64_t>(bytes, 0);
    record.process = number_at<std::int32_t>(bytes, 8);
    record.connection = number_at<std::int32_t>(bytes, 12);
    if (record.time < 0)
        broken(at_ + 4, "nanoseconds since 1970", std::to_string(record.time));
    if (record.process < 1)
        broken(at_ + 12, "the number of a process, from 1 on", std::to_string(record.process));
    if (record.connection < 1)
        broken(at_ + 16, "the number of a connection, from 1 on", std::to_string(record.connection));
    record.kind = static_cast<RecordKind>(
        field(16, 2, "a kind of record (parcel, connection opened, connection closed)"));
    record.by_agent = field(17, 1, "a role (client, agent)") != 0;
    record.on_callback_port = field(18, 1, "a port (main, callback)") != 0;
    record.received = field(19, 1, "a direction (sent, received)") != 0;
    record.bytes = bytes.substr(fields_size);
    if (record.kind == RecordKind::closed && !record.bytes.empty())
        broken(at_ + 4 + fields_size, "nothing behind the closing of a connection",
               fmt::format("{} bytes", record.bytes.size()));
    at_ += 4 + static_cast<std::uint64_t>(length);
    ++records_;
    return record;
}

void Reader::check_end()
{
    std::error_code error;
    const std::uint64_t size = std::filesystem::file_size(file_, error);
    if (!has_head_ && size == 0)
        broken(0, "the line 'quorvel-capture 1'", "an empty file");
    if (!has_head_)
        broken(size, "an empty line, which ends the head", "the end of the file");
    if (size - at_ >= 4) {
        std::string length_bytes;
        take(length_bytes, at_, 4);
        broken(at_, fmt::format("a record of {} bytes", number_at<std::int32_t>(length_bytes, 0)),
               fmt::format("{} bytes and the end of the file", size - at_ - 4));
    }
    if (size > at_)
        broken(at_, "the 4 bytes of a record's length",
               fmt::format("{} and the end of the file", size - at_));
}

Loaded load(const std::filesystem::path& file)
{
    Loaded loaded;
    Reader reader(file);
    loaded.head = reader.head();
    try {
        while (std::optional<Record> record = reader.next())
            loaded.records.push_back(std::move(*record));
        reader.check_end();
    } catch (const Failure&) {
        loaded.broken = std::current_exception();
    }
    return loaded;
}

Writer::Writer(const std::filesystem::path& file, const Head& head) : file_(file)
{
    descriptor_ = open(file.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW, 0600);
    struct stat info {};
    if (descriptor_ < 0 || fstat(descriptor_, &info) != 0 || !S_ISREG(info.st_mode)
        || fchmod(descriptor_, 0600) != 0) {
        const int why = errno;
        if (descriptor_ >= 0)
            close(descriptor_);
        throw Failure(usage, fmt::format("{} cannot be written", file.string()), std::strerror(why),
                      "a trace goes into a file of yours");
    }
    if (info.st_size == 0) {
        write(fmt::format(
            "{}\n# {}\n{}{}\n", first_line,
            head.masked
                ? "Written by qvctl. Tokens, passwords, PINs, logins and coordinates are masked in here."
                : "Every parcel, its bytes as they were: tokens, passwords and PINs too. Keep this file to "
                  "yourself.",
            head.masked ? "masked: yes\n" : "",
            head.agent.empty() ? "" : fmt::format("agent: {}\n", head.agent)));
        return;
    }
    try {
        if (Reader(file).head().contains("masked") && !head.masked)
            throw Failure(usage, fmt::format("{} says that its secrets are masked", file.string()),
                          "what is recorded with --secrets cannot stand behind that", "use another file");
    } catch (...) {
        close(descriptor_);
        throw;
    }
}

Writer::~Writer()
{
    close(descriptor_);
}

void Writer::write(std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor_, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            throw Failure(failed, fmt::format("{} cannot be written", file_.string()), std::strerror(errno),
                          "the records before were kept");
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

void Writer::add(const Record& record, std::string_view bytes)
{
    std::string whole;
    put(whole, static_cast<std::int32_t>(fields_size + bytes.size()));
    put(whole, record.time);
    put(whole, record.process);
    put(whole, record.connection);
    for (const int field : {static_cast<int>(record.kind), static_cast<int>(record.by_agent),
                            static_cast<int>(record.on_callback_port), static_cast<int>(record.received)})
        whole += static_cast<char>(field);
    whole += bytes;
    write(whole);
}

}  // namespace quorvel::cli::trace
