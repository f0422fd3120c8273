// What trace show and follow print: a line a call and a line an answer, or a JSON object a call.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "command.hpp"
#include "trace/conversation.hpp"

namespace quorvel::cli::trace {

// Which calls and callbacks are of interest.
struct Filter {
    std::set<std::string> names;        // of methods and delegates
    std::set<std::string> connections;  // "1" or "4121#1"
    double slower = -1;                 // milliseconds
    bool errors = false;
    std::string device;

    // Whether it can be told only when the answer is there.
    [[nodiscard]] bool needs_answer() const { return slower >= 0 || errors; }
    [[nodiscard]] bool wants_connection(const Record& record) const;
    [[nodiscard]] bool wants(const Entry& entry) const;
};

std::vector<Argument> view_arguments();
Filter filter_of(const Context& context);

class View {
public:
    explicit View(Context& context);

    void add(const Record& record);
    // Calls that were never answered, and the whole list in the forms that need it.
    void finish();
    [[nodiscard]] bool over() const { return over_; }
    [[nodiscard]] std::size_t count() const { return shown_; }

private:
    void show(const Entry& entry);
    void show_line(const Entry& entry);
    void show_object(const Entry& entry);
    std::string time_of(const Record& record);

    Context& context_;
    Filter filter_;
    Conversation conversation_;
    std::string time_;
    bool full_;
    bool secrets_;
    std::int64_t first_ = -1;
    std::int64_t last_ = -1;
    std::shared_ptr<Call> last_call_;
    std::vector<std::shared_ptr<Call>> open_;
    Json list_ = Json::array();
    std::size_t shown_ = 0;
    bool over_ = false;
};

// One parcel in one line, without time and speaker.
std::string request_text(const Message& request, bool full);
std::string answer_text(const Message& answer, bool full);
std::string callback_text(const Message& callback, bool full);
// "QUORVEL_CLIENT_ERROR_NO_DATA" is short "NO_DATA"
std::string code_text(int code);

Json object_of(const Entry& entry, bool secrets);

}  // namespace quorvel::cli::trace
