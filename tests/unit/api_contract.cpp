#include "api_contract.hpp"

#include <memory>

#include "with_agent.hpp"

namespace scripted {

namespace {

constexpr int invalid_parameter = -22;
constexpr int no_space = -28;
constexpr int not_supported = -1073741822;
constexpr int unknown = -1073741824;
constexpr int lower_version = -1073741830;
constexpr int not_connected = -1073741834;

std::string version_text(int number)
{
    return std::to_string(number / 100) + '.' + std::to_string(number % 100) + ".9";
}

std::string with_code(const std::string& text, int code)
{
    return text + '[' + std::to_string(code) + ']';
}

LogLine precondition_line(const std::string& text)
{
    return qc_error("quorvel_client", "check_api_precondition", text);
}

}  // namespace

class ContractTest : public Scripted {
public:
    using Scenario = void (ContractTest::*)();
    ContractTest(const Contract& contract, Scenario scenario) : contract_{contract}, scenario_{scenario} {}

    void IsNotSupportedWithoutAnAgent() { expect_refusal(not_supported, nullptr, {}, "Not Supported"); }

    void RefusesAnAgentOneMinorVersionTooOld()
    {
        const int too_old = contract_.minimum_.number() - 1;
        install(too_old);
        // An agent before 1.0 is not even connected to; it is refused before the handle is looked at.
        if (contract_.takes_handle_ && too_old >= 100)
            connect();
        expect_refusal(lower_version, client_, {}, "Lower version error");
    }

    void WorksWithAnAgentJustNewEnough()
    {
        if (contract_.takes_handle_)
            connect();
        else
            install(contract_.minimum_.number());
        agent().otherwise_answer(0, contract_.good_answer_);
        EXPECT_EQ(contract_.call_(client_), 0);
        const auto lines = log_of(public_tag);
        EXPECT_THAT(lines, testing::Each(testing::Field("priority", &LogLine::priority,
                                                        testing::Ne(static_cast<int>(DLOG_ERROR)))));
        if (contract_.logs_entry_) {
            ASSERT_THAT(lines, testing::Not(testing::IsEmpty()));
            EXPECT_EQ(lines.front(), qc_info(contract_.source_, contract_.function_, "ENTER v[2.4.29]"));
        } else {
            EXPECT_THAT(log(), HasNoText("ENTER v[2.4.29]"));
        }
        if (contract_.method_ != 0) {
            ASSERT_FALSE(agent().request().empty());
            EXPECT_EQ(agent().request()[0], i32(contract_.method_));
        }
    }

    void RefusesAMissingHandle()
    {
        connect();
        expect_condition(invalid_parameter, nullptr, "quorvel_client handle is NULL");
    }

    void RefusesWhileStillConnecting()
    {
        begin_to_connect();
        clear_log();
        expect_condition(not_connected, client_, "quorvel_client is not connected");
    }

    void RefusesAfterTheConnectionEnded()
    {
        connect();
        agent().disconnect();
        clear_log();
        expect_condition(not_connected, client_, "quorvel_client is not connected");
    }

    void RefusesAHandleWithoutAProxy()
    {
        connect();
        // The proxy is the first field of what the handle points to.
        void*& proxy = *static_cast<void**>(client_);
        void* const taken = std::exchange(proxy, nullptr);
        EXPECT_EQ(contract_.call_(client_), contract_.without_proxy_);
        proxy = taken;
        ASSERT_THAT(errors(), testing::Not(testing::IsEmpty()));
        EXPECT_EQ(errors().front().text, "rpc_h is null");
        EXPECT_THAT(agent().requests(), testing::IsEmpty());
    }

    void PassesACodeOfTheTableOn()
    {
        connect();
        agent().otherwise_answer(no_space, contract_.good_answer_);
        EXPECT_EQ(contract_.call_(client_), no_space);
        EXPECT_THAT(errors(), Lines(own_error(with_code(contract_.failing_name_ + " is failed ", no_space))));
    }

    void ReportsACodeOutsideTheTableAsUnknown()
    {
        connect();
        agent().otherwise_answer(-7777, contract_.good_answer_);
        EXPECT_EQ(contract_.call_(client_), unknown);
        EXPECT_THAT(errors(), Lines(qc_error("quorvel_client", "quorvel_client_get_error_code",
                                             "Unknown error [-7777]"),
                                    own_error(with_code(contract_.failing_name_ + " is failed ", unknown))));
    }

    void ReportsAMissingAnswerAsUnknown()
    {
        connect();
        EXPECT_EQ(contract_.call_(client_), unknown);
        const auto lines = errors();
        ASSERT_GE(lines.size(), 3U);
        EXPECT_EQ(lines[lines.size() - 3].text, "Invalid protocol");
        EXPECT_EQ(lines[lines.size() - 2],
                  qc_error("quorvel_client", "quorvel_client_get_error_code", "Unknown error [-1]"));
        EXPECT_EQ(lines.back(), own_error(with_code(contract_.failing_name_ + " is failed ", unknown)));
    }

private:
    void TestBody() override { (this->*scenario_)(); }

    void TearDown() override
    {
        if (client_ != nullptr) {
            EXPECT_EQ(quorvel_client_disconnect(client_), 0);
        }
        Scripted::TearDown();
    }

    void install(int version)
    {
        agent().install(version_text(version));
        is_installed_ = true;
    }

    void begin_to_connect()
    {
        if (!is_installed_)
            install(contract_.minimum_.number());
        ASSERT_EQ(quorvel_client_connect(
                      &client_, [](int, int, void*) {}, nullptr),
                  0);
    }

    void connect()
    {
        begin_to_connect();
        agent().otherwise_answer(0);
        agent().connect();
        if (contract_.preparation_)
            contract_.preparation_(client_);
        agent().forget_script();
        agent().forget_requests();
        clear_log();
    }

    LogLine own_error(const std::string& text) const
    {
        return qc_error(contract_.source_, contract_.function_, text);
    }

    // The agent's check failed: its own line, then those of whoever asked it.
    void expect_refusal(int code, quorvel_client_h client, std::vector<LogLine> lines, const char* why)
    {
        lines.push_back(qc_error("quorvel_client", "check_agent", why));
        if (contract_.takes_handle_)
            lines.push_back(precondition_line(with_code("Fail to check condition", code)));
        expect_code_and_lines(code, client, std::move(lines));
    }

    // The handle's check failed: one line of the check, then the function's own.
    void expect_condition(int code, quorvel_client_h client, const char* why)
    {
        expect_code_and_lines(code, client, {precondition_line(why)});
    }

    void expect_code_and_lines(int code, quorvel_client_h client, std::vector<LogLine> lines)
    {
        const auto own = contract_.condition_lines_
                             ? contract_.condition_lines_(contract_.source_, contract_.function_, code)
                             : std::vector{own_error(with_code("Fail to check condition", code))};
        lines.insert(lines.end(), own.begin(), own.end());
        EXPECT_EQ(contract_.call_(client), code);
        EXPECT_THAT(errors(), testing::ElementsAreArray(lines));
        EXPECT_THAT(agent().requests(), testing::IsEmpty());
    }

    const Contract contract_;
    const Scenario scenario_;
    quorvel_client_h client_ = nullptr;
    bool is_installed_ = false;
};

Contract::Contract(std::string function, Version minimum, Call call)
    : function_{std::move(function)}, minimum_{minimum}, call_{std::move(call)}
{
}

Contract Contract::local(std::string function, Version minimum, Call call)
{
    Contract made{std::move(function), minimum, std::move(call)};
    made.takes_handle_ = false;
    return made;
}

Contract Contract::asks(int method, const std::string& method_name, Values good_answer) &&
{
    method_ = method;
    failing_name_ = "rpc_port_proxy_qv_client_invoke_" + method_name;
    good_answer_ = std::move(good_answer);
    return std::move(*this);
}

Contract Contract::reported_as(std::string name) &&
{
    failing_name_ = std::move(name);
    return std::move(*this);
}

Contract Contract::without_proxy(int code) &&
{
    without_proxy_ = code;
    return std::move(*this);
}

Contract Contract::telling_conditions_as(ConditionLines lines) &&
{
    condition_lines_ = std::move(lines);
    return std::move(*this);
}

Contract Contract::telling_no_conditions() &&
{
    return std::move(*this).telling_conditions_as(
        [](const auto&, const auto&, int) { return std::vector<LogLine>{}; });
}

Contract Contract::with_codes_of_its_own() &&
{
    codes_are_mapped_ = false;
    return std::move(*this);
}

Contract Contract::entering_silently() &&
{
    logs_entry_ = false;
    return std::move(*this);
}

Contract Contract::after(std::function<void(quorvel_client_h)> preparation) &&
{
    preparation_ = std::move(preparation);
    return std::move(*this);
}

bool register_contracts(const char* source, std::initializer_list<Contract> contracts, const char* file,
                        int line)
{
    struct Named {
        const char* name;
        ContractTest::Scenario scenario;
    };
#define SCENARIO(name)             \
    {                              \
#name, &ContractTest::name \
    }
    static constexpr Named of_the_agent[] = {SCENARIO(IsNotSupportedWithoutAnAgent),
                                             SCENARIO(RefusesAnAgentOneMinorVersionTooOld),
                                             SCENARIO(WorksWithAnAgentJustNewEnough)};
    static constexpr Named of_the_handle[] = {
        SCENARIO(RefusesAMissingHandle), SCENARIO(RefusesWhileStillConnecting),
        SCENARIO(RefusesAfterTheConnectionEnded), SCENARIO(RefusesAHandleWithoutAProxy)};
    static constexpr Named of_the_answer[] = {SCENARIO(PassesACodeOfTheTableOn),
                                              SCENARIO(ReportsACodeOutsideTheTableAsUnknown),
                                              SCENARIO(ReportsAMissingAnswerAsUnknown)};
#undef SCENARIO
    for (Contract contract : contracts) {
        contract.source_ = source;
        const auto add = [&](const auto& scenarios) {
            for (const Named& named : scenarios) {
                testing::RegisterTest(contract.function_.c_str(), named.name, nullptr, nullptr, file, line,
                                      [contract, scenario = named.scenario]() -> ContractTest* {
                                          return new ContractTest{contract, scenario};
                                      });
            }
        };
        add(of_the_agent);
        if (contract.takes_handle_)
            add(of_the_handle);
        if (contract.method_ != 0 && contract.codes_are_mapped_)
            add(of_the_answer);
    }
    return true;
}

}  // namespace scripted
