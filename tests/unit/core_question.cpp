#include "core_question.hpp"

#include "connected_client.hpp"

namespace scripted {

namespace {

constexpr int invalid_parameter = -22;
constexpr int no_space = -28;
constexpr int unknown = -1073741824;

// Two records that differ, for whoever mixes them up.
const BundleItems first_items = {{"id", "one"}, {"name", "first"}};
const BundleItems second_items = {{"id", "two"}};

char untouched_text[] = "untouched";

// Moved out of the library's way at the end of a test, in one place for all kinds of answers.
struct Received {
    char* text = untouched_text;
    void* record = untouched_text;
    void* marker = untouched_text;
    void** list = &marker;
    int count = 4711;

    ~Received()
    {
        if (text != untouched_text)
            std::free(text);
    }
    bool is_untouched() const
    {
        return text == untouched_text && record == untouched_text && list == &marker && count == 4711;
    }
};

}  // namespace

Argument required(const char* good, std::string refusal)
{
    return {good, {nullptr, ""}, std::move(refusal)};
}

Argument unchecked(const char* good)
{
    return {good, {}, {}};
}

Question::Question(std::string function, Version minimum, int method, std::string method_name)
    : function_{std::move(function)}, minimum_{minimum}, method_{method}, method_name_{std::move(method_name)}
{
}

Question Question::given(std::vector<Argument> texts) &&
{
    arguments_ = std::move(texts);
    return std::move(*this);
}

Question Question::sends(std::function<Sent(Texts)> request) &&
{
    request_ = std::move(request);
    return std::move(*this);
}

Question Question::without_proxy(int code) &&
{
    without_proxy_ = code;
    return std::move(*this);
}

Question Question::reported_as(std::string name) &&
{
    reported_as_ = std::move(name);
    return std::move(*this);
}

Question Question::answers_nothing(std::function<int(quorvel_client_h, Texts)> call) &&
{
    call_ = [=](auto client, Texts texts, const Outs&) { return call(client, texts); };
    return std::move(*this);
}

Question Question::answers_text(std::function<int(quorvel_client_h, Texts, char**)> call) &&
{
    kind_ = Kind::text;
    call_ = [=](auto client, Texts texts, const Outs& outs) { return call(client, texts, outs.text); };
    return std::move(*this);
}

Question Question::with_errors() &&
{
    with_errors_ = true;
    return std::move(*this);
}

Question Question::missing_out(std::string words) &&
{
    missing_out_ = std::move(words);
    return std::move(*this);
}

Question Question::looking_at_proxy_first() &&
{
    looks_at_proxy_first_ = true;
    return std::move(*this);
}

Question Question::looking_at_out_first() &&
{
    looks_at_out_first_ = true;
    return std::move(*this);
}

Question Question::clearing_out_first() &&
{
    clears_out_first_ = true;
    return std::move(*this).looking_at_out_first();
}

std::vector<const char*> Question::good_texts() const
{
    std::vector<const char*> texts;
    for (const Argument& argument : arguments_)
        texts.push_back(argument.good);
    return texts;
}

Sent Question::request(Texts texts) const
{
    if (request_)
        return request_(texts);
    Sent sent{i32(method_)};
    for (std::size_t i = 0; i < arguments_.size(); ++i)
        sent.add(text(texts[i] != nullptr ? texts[i] : ""));
    return sent;
}

Values Question::good_answer() const
{
    switch (kind_) {
        case Kind::text:
            return {text("the agent's words")};
        case Kind::record:
            return {bundle_of(first_items)};
        case Kind::list:
            // The number behind the list is nobody's business.
            return {count(2), bundle_of(first_items), bundle_of(second_items), i32(77)};
        case Kind::nothing:
            break;
    }
    return {};
}

// Asks, and releases the answer.
int Question::ask(quorvel_client_h client, Texts texts) const
{
    char* text = nullptr;
    void* record = nullptr;
    void** list = nullptr;
    int count = 0;
    const int code = call_(client, texts, {&text, &record, &list, &count});
    std::free(text);
    if (record != nullptr)
        destroy_(record);
    for (int i = 0; i < count; ++i)
        destroy_(list[i]);
    std::free(list);
    return code;
}

Contract Question::contract() const
{
    Contract made =
        Contract(function_, minimum_, [*this](auto client) { return ask(client, good_texts().data()); })
            .asks(method_, method_name_, good_answer())
            .without_proxy(without_proxy_);
    return reported_as_.empty() ? made : std::move(made).reported_as(reported_as_);
}

class QuestionTest : public ConnectedClient {
public:
    using Scenario = void (QuestionTest::*)();
    QuestionTest(const Question& question, Scenario scenario) : about_{question}, scenario_{scenario} {}

    void SendsExactlyWhatItWasGiven()
    {
        answer(0);
        auto texts = about_.good_texts();
        EXPECT_EQ(about_.ask(client, texts.data()), 0);
        EXPECT_THAT(agent().requests(), testing::ElementsAre(about_.request(texts.data())));
        EXPECT_THAT(errors(), testing::IsEmpty());
        EXPECT_EQ(log_of(public_tag).back(), qc_info(about_.source_, about_.function_, "EXIT"));
    }

    void RefusesEachBadTextInItsOwnWords()
    {
        for_each_bad_text([&](const std::vector<const char*>& texts, const std::string& words) {
            expect_refused(texts, words);
        });
    }

    void NamesTheFirstOfTwoBadTexts()
    {
        const auto& arguments = about_.arguments_;
        for (std::size_t later = 1; later < arguments.size(); ++later) {
            for (std::size_t earlier = 0; earlier < later; ++earlier) {
                if (arguments[earlier].bad.empty() || arguments[later].bad.empty())
                    continue;
                auto texts = about_.good_texts();
                texts[earlier] = arguments[earlier].bad.front();
                texts[later] = arguments[later].bad.front();
                expect_refused(texts, arguments[earlier].refusal);
            }
        }
    }

    void PassesUncheckedTextsOnWhateverTheyAre()
    {
        for (std::size_t i = 0; i < about_.arguments_.size(); ++i) {
            if (!about_.arguments_[i].bad.empty())
                continue;
            for (const char* const odd : {static_cast<const char*>(nullptr), "", "\n", "\xff\xfe"}) {
                auto texts = about_.good_texts();
                texts[i] = odd;
                agent().forget_script();
                answer(0);
                EXPECT_EQ(about_.ask(client, texts.data()), 0);
                EXPECT_EQ(agent().request(), about_.request(texts.data()));
            }
        }
    }

    void LooksAtTheHandleBeforeTheTexts()
    {
        for_each_bad_text([&](const std::vector<const char*>& texts, const std::string& words) {
            clear_log();
            EXPECT_EQ(about_.ask(nullptr, texts.data()), invalid_parameter);
            EXPECT_EQ(errors().front(),
                      qc_error("quorvel_client", "check_api_precondition", "quorvel_client handle is NULL"));
            EXPECT_THAT(log(), HasNoLine(own_error(words)));
        });
    }

    void LooksAtTheTextsBeforeTheProxy()
    {
        void*& proxy = *static_cast<void**>(client);
        void* const taken = std::exchange(proxy, nullptr);
        for_each_bad_text([&](const std::vector<const char*>& texts, const std::string& words) {
            expect_refused(texts, words);
        });
        proxy = taken;
    }

    // Answers of every kind

    void LeavesTheOutValueWhenACheckFails()
    {
        Received received;
        EXPECT_EQ(ask_into(received, nullptr), invalid_parameter);
        expect_nothing_handed_out(received);
    }

    void LeavesTheOutValueWithoutAnAnswer()
    {
        Received received;
        EXPECT_EQ(ask_into(received), unknown);
        expect_nothing_handed_out(received);
    }

    void HandsOutNothingButATextWhenTheAgentRefuses()
    {
        answer(no_space);
        Received received;
        EXPECT_EQ(ask_into(received), no_space);
        if (about_.with_errors_)
            EXPECT_STREQ(received.text, "the agent's words");
        else
            expect_nothing_handed_out(received);
    }

    // Texts

    void HandsOutTheText()
    {
        answer(0);
        Received received;
        EXPECT_EQ(ask_into(received), 0);
        EXPECT_STREQ(received.text, "the agent's words");
    }

    void HandsOutAnEmptyTextAsOne()
    {
        agent().answer_next_with(0, {text("")});
        Received received;
        EXPECT_EQ(ask_into(received), 0);
        EXPECT_STREQ(received.text, "");
    }

    // An empty text is one; only NULL is none.
    void LeavesTheOutValueWhenTheAgentGivesNoText()
    {
        platform().read_strings_as_null();
        answer(0);
        Received received;
        EXPECT_EQ(ask_into(received), 0);
        expect_nothing_handed_out(received);
        EXPECT_THAT(errors(), testing::IsEmpty());
    }

    void RefusesAMissingOutValue() { expect_refused_outs({}, about_.missing_out_); }

    void LooksAtTheOutValueBeforeTheHandle()
    {
        auto texts = about_.good_texts();
        for (const char*& text : texts)
            text = nullptr;
        EXPECT_EQ(about_.call_(nullptr, texts.data(), {}), invalid_parameter);
        EXPECT_THAT(errors(), Lines(own_error(about_.missing_out_)));
    }

    // Records

    void HandsOutTheRecord()
    {
        answer(0);
        Received received;
        EXPECT_EQ(ask_into(received), 0);
        EXPECT_EQ(about_.contents_(received.record), first_items);
        about_.destroy_(received.record);
    }

    // Lists

    void HandsOutTheListAndItsCount()
    {
        answer(0);
        Received received;
        EXPECT_EQ(ask_into(received), 0);
        ASSERT_EQ(received.count, 2);
        EXPECT_EQ(about_.contents_(received.list[0]), first_items);
        EXPECT_EQ(about_.contents_(received.list[1]), second_items);
        EXPECT_EQ(received.list[2], nullptr) << "one slot more, for those who look for an end";
        about_.destroy_(received.list[0]);
        about_.destroy_(received.list[1]);
        std::free(received.list);
    }

    void HandsOutAnEmptyListAsNullAndZero()
    {
        agent().answer_next_with(0, {count(0), i32(0)});
        Received received;
        EXPECT_EQ(ask_into(received), 0);
        EXPECT_EQ(received.list, nullptr);
        EXPECT_EQ(received.count, 0);
    }

    void RefusesAMissingListOrCount()
    {
        Received received;
        expect_refused_outs({.list = &received.list}, "invalid parameter");
        expect_refused_outs({.count = &received.count}, "invalid parameter");
        expect_refused_outs({}, "invalid parameter");
        EXPECT_TRUE(received.is_untouched());
    }

private:
    void TestBody() override { (this->*scenario_)(); }

    // The oldest agent that the function runs with.
    std::string version() const override
    {
        return std::to_string(about_.minimum_.major) + '.' + std::to_string(about_.minimum_.minor) + ".0";
    }

    void answer(int status) { agent().answer_next_with(status, about_.good_answer()); }

    LogLine own_error(const std::string& words) const
    {
        return qc_error(about_.source_, about_.function_, words);
    }

    int ask_into(Received& received) { return ask_into(received, client); }
    int ask_into(Received& received, quorvel_client_h handle)
    {
        auto texts = about_.good_texts();
        return about_.call_(handle, texts.data(),
                            {&received.text, &received.record, &received.list, &received.count});
    }

    void expect_nothing_handed_out(Received& received) const
    {
        if (about_.clears_out_first_)
            EXPECT_EQ(received.text, nullptr);
        else
            EXPECT_TRUE(received.is_untouched());
    }

    void for_each_bad_text(
        const std::function<void(const std::vector<const char*>& texts, const std::string& words)>& visit)
    {
        for (std::size_t i = 0; i < about_.arguments_.size(); ++i) {
            for (const char* const bad : about_.arguments_[i].bad) {
                auto texts = about_.good_texts();
                texts[i] = bad;
                visit(texts, about_.arguments_[i].refusal);
            }
        }
    }

    void expect_refused(const std::vector<const char*>& texts, const std::string& words)
    {
        clear_log();
        EXPECT_EQ(about_.ask(client, texts.data()), invalid_parameter);
        EXPECT_THAT(errors(), Lines(own_error(words)));
        EXPECT_THAT(agent().requests(), testing::IsEmpty());
    }

    void expect_refused_outs(const Question::Outs& outs, const std::string& words)
    {
        clear_log();
        auto texts = about_.good_texts();
        EXPECT_EQ(about_.call_(client, texts.data(), outs), invalid_parameter);
        EXPECT_THAT(errors(), Lines(own_error(words)));
        EXPECT_THAT(agent().requests(), testing::IsEmpty());
    }

    const Question about_;
    const Scenario scenario_;
};

bool register_questions(const char* source, std::initializer_list<Question> questions, const char* file,
                        int line)
{
    struct Named {
        const char* name;
        QuestionTest::Scenario scenario;
    };
#define SCENARIO(name)             \
    {                              \
#name, &QuestionTest::name \
    }
    static constexpr Named of_all[] = {SCENARIO(SendsExactlyWhatItWasGiven)};
    static constexpr Named of_texts[] = {
        SCENARIO(RefusesEachBadTextInItsOwnWords), SCENARIO(NamesTheFirstOfTwoBadTexts),
        SCENARIO(PassesUncheckedTextsOnWhateverTheyAre), SCENARIO(LooksAtTheHandleBeforeTheTexts)};
    static constexpr Named of_answers[] = {SCENARIO(LeavesTheOutValueWhenACheckFails),
                                           SCENARIO(LeavesTheOutValueWithoutAnAnswer),
                                           SCENARIO(HandsOutNothingButATextWhenTheAgentRefuses)};
    static constexpr Named of_a_text[] = {SCENARIO(HandsOutTheText), SCENARIO(HandsOutAnEmptyTextAsOne),
                                          SCENARIO(LeavesTheOutValueWhenTheAgentGivesNoText),
                                          SCENARIO(RefusesAMissingOutValue)};
    static constexpr Named of_a_first_out[] = {SCENARIO(LooksAtTheOutValueBeforeTheHandle)};
    static constexpr Named of_a_record[] = {SCENARIO(HandsOutTheRecord), SCENARIO(RefusesAMissingOutValue)};
    static constexpr Named of_a_list[] = {SCENARIO(HandsOutTheListAndItsCount),
                                          SCENARIO(HandsOutAnEmptyListAsNullAndZero),
                                          SCENARIO(RefusesAMissingListOrCount)};
    static constexpr Named of_the_proxy[] = {SCENARIO(LooksAtTheTextsBeforeTheProxy)};
#undef SCENARIO
    for (Question question : questions) {
        question.source_ = source;
        register_contracts(source, {question.contract()}, file, line);
        const auto add = [&](const auto& scenarios) {
            for (const Named& named : scenarios) {
                testing::RegisterTest(("Question_" + question.function_).c_str(), named.name, nullptr,
                                      nullptr, file, line,
                                      [question, scenario = named.scenario]() -> QuestionTest* {
                                          return new QuestionTest{question, scenario};
                                      });
            }
        };
        add(of_all);
        if (!question.arguments_.empty()) {
            add(of_texts);
            if (!question.looks_at_proxy_first_)
                add(of_the_proxy);
        }
        if (question.kind_ != Question::Kind::nothing)
            add(of_answers);
        if (question.kind_ == Question::Kind::text)
            add(of_a_text);
        if (question.looks_at_out_first_)
            add(of_a_first_out);
        if (question.kind_ == Question::Kind::record)
            add(of_a_record);
        if (question.kind_ == Question::Kind::list)
            add(of_a_list);
    }
    return true;
}

}  // namespace scripted
