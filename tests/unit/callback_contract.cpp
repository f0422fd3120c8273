#include "callback_contract.hpp"

#include <algorithm>

#include "connected_client.hpp"
#include "failing_allocations.hpp"

namespace scripted {

namespace {

constexpr int no_space = -28;
constexpr int out_of_memory = -12;
constexpr int operation_failed = -1073741825;

class CallbackTest : public ConnectedClient {
protected:
    void disconnect() { EXPECT_EQ(quorvel_client_disconnect(std::exchange(client, nullptr)), 0); }

    void connect_anew()
    {
        ASSERT_EQ(quorvel_client_connect(
                      &client, [](int, int, void*) {}, nullptr),
                  0);
        agent().otherwise_answer(0);
        agent().connect();
    }
};

}  // namespace

class RepeatingCallbackTest : public CallbackTest {
public:
    using Scenario = void (RepeatingCallbackTest::*)();
    RepeatingCallbackTest(const RepeatingCallback& callback, Scenario scenario)
        : about_{callback}, scenario_{scenario}
    {
    }

    void SendsADelegateThatIsNotForOnceAndHearsEveryEvent()
    {
        EXPECT_EQ(set(heard_), 0);
        EXPECT_EQ(agent().request(),
                  (Sent{i32(about_.set_method_), about_.leading_, delegate(about_.delegate_id_, 1, false)}));
        fire(1);
        fire(1);
        EXPECT_EQ(heard_.times, 2);
    }

    void ReplacesTheEarlierOneWithoutTellingTheAgent()
    {
        Heard other;
        EXPECT_EQ(set(heard_), 0);
        EXPECT_EQ(set(other), 0);
        EXPECT_EQ(agent().requests().size(), 2U);
        EXPECT_EQ(agent().request(),
                  (Sent{i32(about_.set_method_), about_.leading_, delegate(about_.delegate_id_, 2, false)}));
        fire(1);
        EXPECT_EQ(heard_.times + other.times, 0) << "the replaced delegate is gone";
        fire(2);
        EXPECT_EQ(heard_.times, 0);
        EXPECT_EQ(other.times, 1);
    }

    void StaysRegisteredWhenTheAgentRefuses()
    {
        EXPECT_EQ(set(heard_, no_space), no_space);
        fire(1);
        EXPECT_EQ(heard_.times, 1);
    }

    void UnsetsAtTheAgentAlsoWhatWasNeverSet()
    {
        EXPECT_EQ(unset(), 0);
        EXPECT_EQ(agent().request(), (Sent{i32(about_.unset_method_)}));
    }

    void HearsNothingOnceUnset()
    {
        set(heard_);
        EXPECT_EQ(unset(), 0);
        EXPECT_EQ(agent().request(), (Sent{i32(about_.unset_method_)}));
        clear_log();
        fire(1);
        EXPECT_EQ(heard_.times, 0);
        EXPECT_THAT(errors(), testing::IsEmpty());
    }

    void HearsNothingOnceUnsetAlsoWhenTheAgentRefuses()
    {
        set(heard_);
        EXPECT_EQ(unset(no_space), no_space);
        fire(1);
        EXPECT_EQ(heard_.times, 0);
    }

    void MayUnsetItselfInside()
    {
        heard_.reaction = [this] { EXPECT_EQ(unset(), 0); };
        set(heard_);
        fire(1);
        fire(1);
        EXPECT_EQ(heard_.times, 1);
    }

    void MayReplaceItselfInside()
    {
        Heard other;
        heard_.reaction = [&] { EXPECT_EQ(set(other), 0); };
        set(heard_);
        fire(1);
        fire(1);
        EXPECT_EQ(heard_.times, 1);
        EXPECT_EQ(other.times, 0);
        fire(2);
        EXPECT_EQ(other.times, 1);
    }

    void MayDisconnectInside()
    {
        heard_.reaction = [this] { disconnect(); };
        set(heard_);
        fire(1);
        EXPECT_EQ(heard_.times, 1);
    }

    void MayDisconnectAndConnectAnewInside()
    {
        heard_.reaction = [this] {
            disconnect();
            connect_anew();
        };
        set(heard_);
        fire(1);
        EXPECT_EQ(heard_.times, 1);
    }

    void IsSetAgainOverANewConnection()
    {
        set(heard_);
        disconnect();
        connect_anew();
        Heard other;
        EXPECT_EQ(set(other), 0);
        fire(1);
        EXPECT_EQ(heard_.times + other.times, 0) << "the earlier connection's delegate is gone";
        fire(2);
        EXPECT_EQ(heard_.times, 0);
        EXPECT_EQ(other.times, 1);
    }

    void FailsWithoutMemoryForTheDelegate()
    {
        clear_log();
        FailingAllocation first{1};
        const int code = about_.set_(client, heard_);
        ASSERT_TRUE(first.happened());
        EXPECT_EQ(code, operation_failed);
        EXPECT_THAT(errors(), HasLine(qc_error(about_.source_, about_.function_, "handle is null")));
        EXPECT_THAT(agent().requests(), testing::IsEmpty());
    }

private:
    void TestBody() override { (this->*scenario_)(); }

    int set(Heard& heard, int answer = 0)
    {
        agent().forget_script();
        agent().answer_next_with(answer);
        return about_.set_(client, heard);
    }
    int unset(int answer = 0)
    {
        agent().forget_script();
        agent().answer_next_with(answer);
        return about_.unset_(client);
    }
    void fire(int seq_id) { agent().fire(about_.delegate_id_, seq_id, false, about_.event_); }

    const RepeatingCallback about_;
    const Scenario scenario_;
    Heard heard_;
};

class OneAnswerTest : public CallbackTest {
public:
    using Scenario = void (OneAnswerTest::*)();
    OneAnswerTest(const OneAnswer& callback, Scenario scenario) : about_{callback}, scenario_{scenario} {}

    void HearsOneAnswerAndNoMore()
    {
        EXPECT_EQ(give(), 0);
        EXPECT_EQ(heard_.times, 0);
        fire(1);
        EXPECT_EQ(heard_.times, 1);
        fire(1);
        EXPECT_EQ(heard_.times, 1);
    }

    void HearsTheAnswersOfTwoCommandsApart()
    {
        Heard other;
        EXPECT_EQ(give(), 0);
        EXPECT_EQ(give_to(other, 0), 0);
        fire(2);
        EXPECT_EQ(heard_.times, 0);
        EXPECT_EQ(other.times, 1);
        fire(1);
        EXPECT_EQ(heard_.times, 1);
    }

    void WorksWithoutACallback()
    {
        if (about_.needs_callback_)
            return;
        agent().forget_script();
        agent().answer_next_with(0);
        EXPECT_EQ(about_.command_(client, false, heard_), 0);
        fire(1);
        EXPECT_EQ(heard_.times, 0);
    }

    void HearsALateAnswerAfterARefusalOnlyIfItsDelegateStays()
    {
        EXPECT_EQ(give(no_space), no_space);
        fire(1);
        EXPECT_EQ(heard_.times, about_.stays_when_refused_ ? 1 : 0);
    }

    void HearsAnAnswerThatComesBeforeTheRefusalOnce()
    {
        agent().on_request([this](const Sent&) {
            fire(1);
            return result(no_space);
        });
        EXPECT_EQ(about_.command_(client, true, heard_), no_space);
        agent().on_request(nullptr);
        fire(1);
        EXPECT_EQ(heard_.times, 1);
    }

    void SurvivesAnAnswerThatNeverComes()
    {
        EXPECT_EQ(give(), 0);
        disconnect();
        EXPECT_EQ(heard_.times, 0);
    }

    void MayDisconnectInside()
    {
        heard_.reaction = [this] { disconnect(); };
        give();
        fire(1);
        EXPECT_EQ(heard_.times, 1);
    }

    void MayGiveTheCommandAgainInside()
    {
        heard_.reaction = [this] {
            if (heard_.times == 1) {
                EXPECT_EQ(give(), 0);
            }
        };
        give();
        fire(1);
        fire(2);
        EXPECT_EQ(heard_.times, 2);
    }

    void FailsWithoutMemoryForTheRequestOrTheDelegate()
    {
        const std::string without_request = "memory allocation is failed";
        const std::string without_delegate = about_.create_name_ + " failed";
        std::vector<std::string> texts;
        bool happened = true;
        for (int nth = 1; happened && nth < 200; ++nth) {
            forget();
            agent().otherwise_answer(0);
            FailingAllocation failing{nth};
            const int code = about_.command_(client, true, heard_);
            happened = failing.happened();
            for (const LogLine& line : errors()) {
                if (line.source != about_.source_ || line.function != about_.function_)
                    continue;
                texts.push_back(line.text);
                if (line.text == without_request || line.text == without_delegate) {
                    EXPECT_EQ(code, out_of_memory);
                    EXPECT_THAT(agent().requests(), testing::IsEmpty());
                }
            }
        }
        EXPECT_THAT(texts, testing::Contains(without_request));
        EXPECT_THAT(texts, testing::Contains(without_delegate));
    }

private:
    void TestBody() override { (this->*scenario_)(); }

    void SetUp() override
    {
        CallbackTest::SetUp();
        if (about_.preparation_) {
            agent().otherwise_answer(0);
            about_.preparation_(client);
            forget();
        }
    }

    int give(int answer = 0) { return give_to(heard_, answer); }
    int give_to(Heard& heard, int answer)
    {
        agent().forget_script();
        agent().answer_next_with(answer);
        return about_.command_(client, true, heard);
    }
    void fire(int seq_id) { agent().fire(about_.delegate_id_, seq_id, true, about_.answer_); }

    const OneAnswer about_;
    const Scenario scenario_;
    Heard heard_;
};

namespace {

template <typename Test, typename Callback, std::size_t size>
void add(const Callback& callback, const std::string& function,
         const std::pair<const char*, typename Test::Scenario> (&scenarios)[size], const char* file, int line)
{
    for (const auto& [name, scenario] : scenarios) {
        testing::RegisterTest(("Callback_" + function).c_str(), name, nullptr, nullptr, file, line,
                              [callback, scenario = scenario]() -> Test* {
                                  return new Test{callback, scenario};
                              });
    }
}

}  // namespace

#define SCENARIO(name)     \
    {                      \
#name, &Test::name \
    }

bool register_callbacks(std::initializer_list<RepeatingCallback> callbacks, const char* file, int line)
{
    using Test = RepeatingCallbackTest;
    static constexpr std::pair<const char*, Test::Scenario> scenarios[] = {
        SCENARIO(SendsADelegateThatIsNotForOnceAndHearsEveryEvent),
        SCENARIO(ReplacesTheEarlierOneWithoutTellingTheAgent),
        SCENARIO(StaysRegisteredWhenTheAgentRefuses),
        SCENARIO(UnsetsAtTheAgentAlsoWhatWasNeverSet),
        SCENARIO(HearsNothingOnceUnset),
        SCENARIO(HearsNothingOnceUnsetAlsoWhenTheAgentRefuses),
        SCENARIO(MayUnsetItselfInside),
        SCENARIO(MayReplaceItselfInside),
        SCENARIO(MayDisconnectInside),
        SCENARIO(MayDisconnectAndConnectAnewInside),
        SCENARIO(IsSetAgainOverANewConnection),
        SCENARIO(FailsWithoutMemoryForTheDelegate)};
    for (const RepeatingCallback& callback : callbacks)
        add<Test>(callback, callback.function_, scenarios, file, line);
    return true;
}

bool register_callbacks(std::initializer_list<OneAnswer> callbacks, const char* file, int line)
{
    using Test = OneAnswerTest;
    static constexpr std::pair<const char*, Test::Scenario> scenarios[] = {
        SCENARIO(HearsOneAnswerAndNoMore),
        SCENARIO(HearsTheAnswersOfTwoCommandsApart),
        SCENARIO(WorksWithoutACallback),
        SCENARIO(HearsALateAnswerAfterARefusalOnlyIfItsDelegateStays),
        SCENARIO(HearsAnAnswerThatComesBeforeTheRefusalOnce),
        SCENARIO(SurvivesAnAnswerThatNeverComes),
        SCENARIO(MayDisconnectInside),
        SCENARIO(MayGiveTheCommandAgainInside),
        SCENARIO(FailsWithoutMemoryForTheRequestOrTheDelegate)};
    for (const OneAnswer& callback : callbacks)
        add<Test>(callback, callback.function_, scenarios, file, line);
    return true;
}

#undef SCENARIO

}  // namespace scripted
