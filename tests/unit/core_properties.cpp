#include "core_properties.hpp"

#include <climits>

#include "failing_allocations.hpp"
#include "with_agent.hpp"

namespace scripted {

namespace {

constexpr int invalid_parameter = -22;
constexpr int out_of_memory = -12;
constexpr int operation_failed = -1073741825;

}  // namespace

class PropertyTest : public Scripted {
public:
    using Scenario = void (PropertyTest::*)();
    PropertyTest(const PropertyFamily& family, Scenario scenario) : about_{family}, scenario_{scenario} {}

    void ReadsEachPropertyUnderItsKey()
    {
        make([](const Property& property) { return std::string("value of ") + property.key; });
        for (const Property& property : about_.properties_) {
            EXPECT_EQ(read(property.id), 0);
            EXPECT_EQ(take_value(), std::string("value of ") + property.key);
        }
        EXPECT_THAT(errors(), testing::IsEmpty());
    }

    void ReadsAnEmptyTextAsNull()
    {
        make([](const Property&) { return std::string(); });
        for (const Property& property : about_.properties_) {
            value_ = untouched_;
            EXPECT_EQ(read(property.id), 0);
            EXPECT_EQ(value_, nullptr);
        }
    }

    void FailsForAPropertyThatTheRecordDoesNotHold()
    {
        for (const Property& absent : about_.properties_) {
            BundleItems items;
            for (const Property& property : about_.properties_) {
                if (property.id != absent.id)
                    items[property.key] = std::string("value");
            }
            make(&items);
            expect_failure(absent.id, operation_failed, about_.absent_(absent.id));
        }
    }

    void FailsForEveryPropertyOfARecordWithoutABundle()
    {
        make(nullptr);
        for (const Property& property : about_.properties_) {
            value_ = untouched_;
            EXPECT_EQ(read(property.id), operation_failed);
            EXPECT_THAT(errors(), HasLine(own_error(about_.absent_(property.id))));
            EXPECT_EQ(value_, untouched_);
        }
    }

    void RefusesNumbersThatAreNoTextProperties()
    {
        make([](const Property&) { return std::string("value"); });
        std::vector<int> unknown = {INT_MIN, -1, about_.properties_.back().id + 1, INT_MAX};
        for (int id = 0; id < about_.properties_.back().id; ++id) {
            const auto is_id = [id](const Property& property) { return property.id == id; };
            if (std::none_of(about_.properties_.begin(), about_.properties_.end(), is_id))
                unknown.push_back(id);
        }
        for (const int id : unknown)
            expect_failure(id, invalid_parameter, about_.unknown_(id));
    }

    void RefusesAMissingRecordAndAMissingOutValue()
    {
        make([](const Property&) { return std::string("value"); });
        value_ = untouched_;
        EXPECT_EQ(about_.get_(nullptr, 0, &value_), invalid_parameter);
        EXPECT_EQ(about_.get_(record_, 0, nullptr), invalid_parameter);
        EXPECT_EQ(about_.get_(nullptr, -1, nullptr), invalid_parameter);
        EXPECT_THAT(errors(),
                    testing::AllOf(testing::SizeIs(3), testing::Each(own_error("invalid parameter"))));
        EXPECT_EQ(value_, untouched_);
    }

    void LeavesTheOutValueAloneWhereverMemoryRunsOut()
    {
        make([](const Property&) { return std::string("value"); });
        bool happened = true;
        for (int nth = 1; happened; ++nth) {
            value_ = untouched_;
            FailingAllocation failing{nth};
            const int code = read(about_.properties_.front().id);
            happened = failing.happened();
            if (happened) {
                EXPECT_THAT(code, testing::AnyOf(out_of_memory, operation_failed));
                EXPECT_EQ(value_, untouched_);
            } else {
                EXPECT_GT(nth, 1);
                EXPECT_EQ(take_value(), "value");
            }
        }
    }

    void SaysThatItWasEntered()
    {
        make(nullptr);
        clear_log();
        read(0);
        EXPECT_EQ(log_of(public_tag).front(), qc_info(about_.source_, about_.getter_, "ENTER v[2.4.29]"));
    }

    void ReleasesTheRecord()
    {
        make([](const Property&) { return std::string("value"); });
        EXPECT_EQ(live().bundles, 1);
        clear_log();
        EXPECT_EQ(about_.destroy_(std::exchange(record_, nullptr)), 0);
        EXPECT_EQ(live().bundles, 0);
        EXPECT_THAT(errors(), testing::IsEmpty());
        EXPECT_EQ(log_of(public_tag).front(), qc_info(about_.source_, about_.destroyer_, "ENTER v[2.4.29]"));
    }

    void RefusesToReleaseNothing()
    {
        EXPECT_EQ(about_.destroy_(nullptr), invalid_parameter);
        EXPECT_THAT(errors(), Lines(qc_error(about_.source_, about_.destroyer_, "invalid parameter")));
    }

private:
    void TestBody() override { (this->*scenario_)(); }

    void SetUp() override
    {
        Scripted::SetUp();
        // Whether an agent is there is nobody's business, but for the getters that ask.
        if (about_.checks_agent_)
            agent().install("2.3.0");
    }

    void TearDown() override
    {
        make(nullptr);
        about_.destroy_(record_);
        Scripted::TearDown();
    }

    void make(const BundleItems* items)
    {
        if (record_ != nullptr)
            about_.destroy_(record_);
        record_ = about_.make_(items);
        clear_log();
    }

    void make(const std::function<std::string(const Property&)>& value)
    {
        BundleItems items;
        for (const Property& property : about_.properties_)
            items[property.key] = value(property);
        make(&items);
    }
    void make(std::nullptr_t) { make(static_cast<const BundleItems*>(nullptr)); }

    int read(int id) { return about_.get_(record_, id, &value_); }

    std::string take_value()
    {
        const std::string taken = value_ != nullptr ? value_ : "(null)";
        std::free(std::exchange(value_, nullptr));
        return taken;
    }

    LogLine own_error(const std::string& words) const
    {
        return qc_error(about_.source_, about_.getter_, words);
    }

    void expect_failure(int id, int code, const std::string& words)
    {
        clear_log();
        value_ = untouched_;
        EXPECT_EQ(read(id), code);
        EXPECT_THAT(errors(), Lines(own_error(words)));
        EXPECT_EQ(value_, untouched_);
    }

    const PropertyFamily about_;
    const Scenario scenario_;
    void* record_ = nullptr;
    char* value_ = nullptr;
    char untouched_[10] = "untouched";
};

bool register_properties(const PropertyFamily& family, const char* file, int line)
{
    struct Named {
        const std::string& function;
        const char* name;
        PropertyTest::Scenario scenario;
    };
#define READING(name)                              \
    {                                              \
        family.getter_, #name, &PropertyTest::name \
    }
#define RELEASING(name)                               \
    {                                                 \
        family.destroyer_, #name, &PropertyTest::name \
    }
    const Named scenarios[] = {
        READING(ReadsEachPropertyUnderItsKey),
        READING(ReadsAnEmptyTextAsNull),
        READING(FailsForAPropertyThatTheRecordDoesNotHold),
        READING(FailsForEveryPropertyOfARecordWithoutABundle),
        READING(RefusesNumbersThatAreNoTextProperties),
        READING(RefusesAMissingRecordAndAMissingOutValue),
        READING(LeavesTheOutValueAloneWhereverMemoryRunsOut),
        READING(SaysThatItWasEntered),
        RELEASING(ReleasesTheRecord),
        RELEASING(RefusesToReleaseNothing),
    };
#undef READING
#undef RELEASING
    for (const Named& named : scenarios) {
        testing::RegisterTest(("Property_" + named.function).c_str(), named.name, nullptr, nullptr, file,
                              line, [family, scenario = named.scenario]() -> PropertyTest* {
                                  return new PropertyTest{family, scenario};
                              });
    }
    return true;
}

}  // namespace scripted
