// What the functions of the core family have in common, tested for each of them by one row of a table: what
// is sent, which text is refused with which words and before which other, and how the answer is handed out.
//
//     const bool registered = register_questions("quorvel_core_room", {
//         Question("quorvel_core_get_room_json", {2, 3}, 108, "core_get_room_json")
//             .given({required("home"), required("den")})
//             .answers_text([](auto client, Texts t, char** out) {
//                 return quorvel_core_get_room_json(client, t[0], t[1], out);
//             })
//             .without_proxy(operation_failed),
//     });
//
// Each row is a row of the API contract too (see api_contract.hpp). The tests are named
// Question_<function>.<what holds>.
#ifndef QUORVEL_TESTS_CORE_QUESTION_HPP
#define QUORVEL_TESTS_CORE_QUESTION_HPP

#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "api_contract.hpp"
#include "scripted.hpp"

namespace scripted {

inline constexpr int operation_failed = -1073741825;

// The texts that a function is given, in the order of its declaration.
using Texts = const char* const*;

// One of them: a good one, the values that are refused, and the words of the refusal.
struct Argument {
    const char* good;
    std::vector<const char*> bad;
    std::string refusal;
};
Argument required(const char* good, std::string refusal = "invalid parameter");
// NULL and the empty text go to the agent too.
Argument unchecked(const char* good);

class Question {
public:
    Question(std::string function, Version minimum, int method, std::string method_name);

    Question given(std::vector<Argument> texts) &&;
    // Where the request is another than the method and the texts in their order. A NULL text is sent empty.
    Question sends(std::function<Sent(Texts texts)> request) &&;
    Question without_proxy(int code) &&;
    // Where a failure is reported under another name than that of the method.
    Question reported_as(std::string name) &&;

    Question answers_nothing(std::function<int(quorvel_client_h, Texts)> call) &&;
    Question answers_text(std::function<int(quorvel_client_h, Texts, char** out)> call) &&;
    template <typename Handle>
    Question answers_record(int (*destroy)(Handle), int (*get_bundle)(Handle, bundle**),
                            std::function<int(quorvel_client_h, Texts, void** out)> call) &&
    {
        kind_ = Kind::record;
        read_records_with(destroy, get_bundle);
        call_ = [=](auto client, Texts texts, const Outs& outs) { return call(client, texts, outs.record); };
        return std::move(*this);
    }
    template <typename Handle>
    Question answers_list(int (*destroy)(Handle), int (*get_bundle)(Handle, bundle**),
                          std::function<int(quorvel_client_h, Texts, void*** list, int* count)> call) &&
    {
        kind_ = Kind::list;
        read_records_with(destroy, get_bundle);
        call_ = [=](auto client, Texts texts, const Outs& outs) {
            return call(client, texts, outs.list, outs.count);
        };
        return std::move(*this);
    }

    // A text is handed out also when the agent refuses.
    Question with_errors() &&;
    // Where a handle without a proxy is told before the texts are looked at.
    Question looking_at_proxy_first() &&;
    // What is said about a missing place for the text.
    Question missing_out(std::string words) &&;
    // That place is looked at before anything else; and in most of these functions it is cleared then.
    Question looking_at_out_first() &&;
    Question clearing_out_first() &&;

private:
    friend class QuestionTest;
    friend bool register_questions(const char* source, std::initializer_list<Question> questions,
                                   const char* file, int line);

    enum class Kind { nothing, text, record, list };
    struct Outs {
        char** text = nullptr;
        void** record = nullptr;
        void*** list = nullptr;
        int* count = nullptr;
    };

    template <typename Handle>
    void read_records_with(int (*destroy)(Handle), int (*get_bundle)(Handle, bundle**))
    {
        destroy_ = [=](void* record) { destroy(static_cast<Handle>(record)); };
        contents_ = [=](void* record) {
            bundle* values = nullptr;
            get_bundle(static_cast<Handle>(record), &values);
            const BundleItems items = contents(values);
            bundle_free(values);
            return items;
        };
    }
    std::vector<const char*> good_texts() const;
    Sent request(Texts texts) const;
    Values good_answer() const;
    Contract contract() const;
    int ask(quorvel_client_h client, Texts texts) const;

    std::string source_;
    std::string function_;
    Version minimum_;
    int method_;
    std::string method_name_;
    std::string reported_as_;
    std::vector<Argument> arguments_;
    std::function<Sent(Texts)> request_;
    int without_proxy_ = -22;
    Kind kind_ = Kind::nothing;
    std::function<int(quorvel_client_h, Texts, const Outs&)> call_;
    std::function<void(void*)> destroy_;
    std::function<BundleItems(void*)> contents_;
    bool with_errors_ = false;
    std::string missing_out_ = "invalid parameter";
    bool looks_at_proxy_first_ = false;
    bool looks_at_out_first_ = false;
    bool clears_out_first_ = false;
};

bool register_questions(const char* source, std::initializer_list<Question> questions,
                        const char* file = __builtin_FILE(), int line = __builtin_LINE());

}  // namespace scripted

#endif
