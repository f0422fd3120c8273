// Capture files: one record after the other, read with distrust, and written by ourselves.
//
// A capture comes from another machine as often as from this one. Whatever does not fit is told with the
// file, the offset and what was expected there; everything before it was handed out already.
#pragma once

#include <cstdint>
#include <exception>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvel::cli::trace {

enum class RecordKind : std::uint8_t { parcel, opened, closed };

struct Record {
    std::int64_t time = 0;  // nanoseconds since 1970
    std::int32_t process = 0;
    std::int32_t connection = 0;
    RecordKind kind = RecordKind::parcel;
    bool by_agent = false;
    bool on_callback_port = false;
    bool received = false;
    std::string bytes;         // of a parcel its payload, of an opening a name
    std::uint64_t offset = 0;  // where it begins in its file

    // Requests go to the agent, whoever wrote them down.
    [[nodiscard]] bool to_agent() const { return received == by_agent; }
};

class Reader {
public:
    // Reads the head when there is one yet; a growing file may still be empty.
    explicit Reader(std::filesystem::path file, bool growing = false);

    // The next whole record. Nothing at the end of the file, and before a record that is not whole yet.
    std::optional<Record> next();
    // A file that does not grow has to end behind a record.
    void check_end();

    // "name: value" lines of the head.
    [[nodiscard]] const std::map<std::string, std::string>& head() const { return head_; }

private:
    bool read_head();
    bool take(std::string& bytes, std::uint64_t offset, std::size_t size);
    [[noreturn]] void broken(std::uint64_t offset, const std::string& expected,
                             const std::string& found) const;

    std::filesystem::path file_;
    std::ifstream stream_;
    bool growing_;
    bool has_head_ = false;
    std::map<std::string, std::string> head_;
    std::uint64_t at_ = 0;
    std::uint64_t records_ = 0;
};

// All that could be read, and why it ends early, if it does.
struct Loaded {
    std::map<std::string, std::string> head;
    std::vector<Record> records;
    std::exception_ptr broken;

    // For when everything that there is was shown.
    void rethrow() const
    {
        if (broken)
            std::rethrow_exception(broken);
    }
};
Loaded load(const std::filesystem::path& file);

// Appends records to a file of mode 0600.
class Writer {
public:
    struct Head {
        bool masked = true;
        std::string agent;  // its version, if it is known
    };

    Writer(const std::filesystem::path& file, const Head& head);
    ~Writer();
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    void add(const Record& record, std::string_view bytes);

private:
    void write(std::string_view bytes);

    std::filesystem::path file_;
    int descriptor_ = -1;
};

}  // namespace quorvel::cli::trace
