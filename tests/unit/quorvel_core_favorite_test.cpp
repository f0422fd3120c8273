// Favorites: quorvel_core_favorite.cpp over the scripted platform.
#include <quorvel_core_favorite.h>

#include <climits>

#include "connected_client.hpp"
#include "core_properties.hpp"
#include "core_question.hpp"
#include "failing_allocations.hpp"

namespace scripted {
namespace {

constexpr auto source = "quorvel_core_favorite";
constexpr int invalid_parameter = -22;
constexpr int no_data = -61;

const auto make_favorite = makes(rpc_port_favorite_s_create, rpc_port_favorite_s_set_bundle_data);

[[maybe_unused]] const bool properties =
    register_properties(PropertyFamily(source, make_favorite)
                            .read_by("quorvel_core_favorite_get_string", quorvel_core_favorite_get_string)
                            .released_by("quorvel_core_favorite_destroy", quorvel_core_favorite_destroy)
                            .holding({{0, "favoriteId"},
                                      {1, "locationId"},
                                      {2, "memberId"},
                                      {3, "memberType"},
                                      {4, "additionalId"},
                                      {5, "bucket"},
                                      {6, "deviceModel"},
                                      {7, "createdDate"},
                                      {8, "lastUpdatedDate"}})
                            .saying([](int id) { return "invalid property id [" + std::to_string(id) + "]"; },
                                    [](int id) { return "get enum[" + std::to_string(id) + "] failed"; })
                            .checking_the_agent());

int read_sort_order(void* favorite)
{
    int value = 0;
    return quorvel_core_favorite_get_int(favorite, 9, &value);
}

// The getters alone look at the agent, which is meant so.
[[maybe_unused]] const bool getters = register_contracts(
    source,
    {
        Contract::local("quorvel_core_favorite_get_string", {2, 3},
                        [](auto) {
                            const BundleItems items = {{"favoriteId", "1"}};
                            const OwnedRecord favorite{rpc_port_favorite_s_destroy, make_favorite(&items)};
                            return quorvel_core_favorite_get_string(favorite.get(), 0, OwnedText{});
                        }),
        Contract::local("quorvel_core_favorite_get_int", {2, 3},
                        [](auto) {
                            const BundleItems items = {{"sortOrder", "1"}};
                            const OwnedRecord favorite{rpc_port_favorite_s_destroy, make_favorite(&items)};
                            return read_sort_order(favorite.get());
                        }),
    });

[[maybe_unused]] const bool questions = register_questions(
    source,
    {
        Question("quorvel_core_get_favorite_list", {2, 3}, 133, "core_get_favorites_list")
            .given({required("home"), unchecked("all")})
            .answers_list(rpc_port_favorite_s_destroy, rpc_port_favorite_s_get_bundle_data,
                          [](auto client, Texts t, void*** list, int* count) {
                              return quorvel_core_get_favorite_list(client, t[0], t[1], list, count);
                          }),
        Question("quorvel_core_get_favorite", {2, 3}, 137, "core_get_favorite")
            .given({required("home"), required("favorite"), unchecked("all")})
            .answers_record(rpc_port_favorite_s_destroy, rpc_port_favorite_s_get_bundle_data,
                            [](auto client, Texts t, void** favorite) {
                                return quorvel_core_get_favorite(client, t[0], t[1], t[2], favorite);
                            }),
        Question("quorvel_core_create_favorite", {2, 3}, 134, "core_create_favorite")
            .given({required("home"), unchecked("all"), required("{}")})
            .answers_record(rpc_port_favorite_s_destroy, rpc_port_favorite_s_get_bundle_data,
                            [](auto client, Texts t, void** favorite) {
                                return quorvel_core_create_favorite(client, t[0], t[1], t[2], favorite);
                            }),
        Question("quorvel_core_replace_favorites", {2, 3}, 135, "core_replace_favorites")
            .given({required("home"), unchecked("all"), required("[]")})
            .answers_list(rpc_port_favorite_s_destroy, rpc_port_favorite_s_get_bundle_data,
                          [](auto client, Texts t, void*** list, int* count) {
                              return quorvel_core_replace_favorites(client, t[0], t[1], t[2], list, count);
                          }),
        Question("quorvel_core_delete_favorites", {2, 3}, 136, "core_delete_favorites")
            .given({required("home"), unchecked("all")})
            .answers_nothing(
                [](auto client, Texts t) { return quorvel_core_delete_favorites(client, t[0], t[1]); }),
        Question("quorvel_core_delete_favorite", {2, 3}, 138, "core_delete_favorite")
            .given({unchecked("home"), required("favorite"), unchecked("all")})
            .answers_nothing(
                [](auto client, Texts t) { return quorvel_core_delete_favorite(client, t[0], t[1], t[2]); }),
        // The status comes first here: no text together with an error.
        Question("quorvel_core_update_favorite_migration_status", {2, 3}, 140,
                 "core_update_favorite_migration_status")
            .given({required("home"), required("done")})
            .answers_text([](auto client, Texts t, char** result) {
                return quorvel_core_update_favorite_migration_status(client, t[0], t[1], result);
            }),
    });

[[maybe_unused]] const bool contracts = register_contracts(
    source,
    {
        Contract("quorvel_core_get_favorite_migration_status", {2, 3},
                 [](auto client) {
                     bool is_migrated = false;
                     return quorvel_core_get_favorite_migration_status(client, "home", &is_migrated,
                                                                       OwnedText{}, OwnedText{});
                 })
            .asks(139, "core_get_favorite_migration_status",
                  {bundle_of({{"isMigrated", "true"}, {"lastUpdatedDate", ""}, {"deviceModel", ""}})}),
    });

// The number of a favorite.
class SortOrder : public WithAgent {
protected:
    std::string version() const override { return "2.3.0"; }
    static LogLine error(const std::string& words)
    {
        return qc_error(source, "quorvel_core_favorite_get_int", words);
    }
    static void expect_failure(const BundleItems* items, int id, int code, const std::string& words)
    {
        const OwnedRecord favorite{rpc_port_favorite_s_destroy, make_favorite(items)};
        clear_log();
        int value = 4711;
        EXPECT_EQ(quorvel_core_favorite_get_int(favorite.get(), id, &value), code);
        EXPECT_THAT(errors(), HasLine(error(words)));
        EXPECT_EQ(value, 4711);
    }
};

TEST_F(SortOrder, IsTheNumberThatItsTextBeginsWith)
{
    const std::pair<const char*, int> orders[] = {
        {"0", 0}, {"12", 12}, {"-3", -3}, {" 4th", 4}, {"fourth", 0}, {"", 0}, {"99999999999999999999", -1}};
    for (const auto& [words, order] : orders) {
        const BundleItems items = {{"sortOrder", words}};
        const OwnedRecord favorite{rpc_port_favorite_s_destroy, make_favorite(&items)};
        int value = 4711;
        EXPECT_EQ(quorvel_core_favorite_get_int(favorite.get(), 9, &value), 0);
        EXPECT_EQ(value, order) << words;
    }
}

TEST_F(SortOrder, FailsWhenItIsAbsent)
{
    const BundleItems items = {{"favoriteId", "1"}};
    expect_failure(&items, 9, operation_failed, "get sortOrder failed");
    expect_failure(nullptr, 9, operation_failed, "get sortOrder failed");
}

TEST_F(SortOrder, IsTheOnlyNumber)
{
    const BundleItems items = {{"favoriteId", "1"}, {"sortOrder", "2"}};
    for (const int id : {0, 8, 10, -1, INT_MIN, INT_MAX})
        expect_failure(&items, id, invalid_parameter, "invalid property id [" + std::to_string(id) + "]");
}

TEST_F(SortOrder, RefusesAMissingRecordAndAMissingOutValue)
{
    const BundleItems items = {{"sortOrder", "2"}};
    const OwnedRecord favorite{rpc_port_favorite_s_destroy, make_favorite(&items)};
    int value = 4711;
    EXPECT_EQ(quorvel_core_favorite_get_int(nullptr, 9, &value), invalid_parameter);
    EXPECT_EQ(quorvel_core_favorite_get_int(favorite.get(), 9, nullptr), invalid_parameter);
    EXPECT_THAT(errors(), Lines(error("invalid parameter"), error("invalid parameter")));
    EXPECT_EQ(value, 4711);
}

class WithoutAgent : public Scripted {};

TEST_F(WithoutAgent, FavoritesLookAtTheAgentBeforeTheirArguments)
{
    EXPECT_EQ(quorvel_core_favorite_get_int(nullptr, -1, nullptr), -1073741822);
    EXPECT_EQ(quorvel_core_favorite_get_string(nullptr, -1, nullptr), -1073741822);
}

// The migration

class Migration : public ConnectedClient {
protected:
    void SetUp() override
    {
        ConnectedClient::SetUp();
        date = model = mark;
    }
    void TearDown() override
    {
        for (char* const text : {date, model}) {
            if (text != mark)
                std::free(text);
        }
        ConnectedClient::TearDown();
    }
    int ask()
    {
        return quorvel_core_get_favorite_migration_status(client, "home", &is_migrated, &date, &model);
    }
    int ask_for(BundleItems items)
    {
        agent().answer_next_with(0, {bundle_of(std::move(items))});
        return ask();
    }
    static LogLine error(const std::string& words)
    {
        return qc_error(source, "quorvel_core_get_favorite_migration_status", words);
    }

    char mark[5] = "mark";
    bool is_migrated = false;
    char* date = nullptr;
    char* model = nullptr;
};

TEST_F(Migration, HandsOutWhatTheAgentKnows)
{
    is_migrated = true;
    EXPECT_EQ(ask_for({{"isMigrated", "true"}, {"lastUpdatedDate", "today"}, {"deviceModel", "T-1000"}}), 0);
    EXPECT_FALSE(is_migrated);
    EXPECT_STREQ(date, "today");
    EXPECT_STREQ(model, "T-1000");
    EXPECT_EQ(agent().request(), (Sent{i32(139), text("home")}));
    EXPECT_THAT(errors(), testing::IsEmpty());
}

TEST_F(Migration, FlagIsFalseForTrueAndTrueForEverythingElse)
{
    const std::pair<const char*, bool> flags[] = {{"true", false}, {"truetrue", false}, {"true ", false},
                                                  {"false", true}, {"TRUE", true},      {"", true},
                                                  {"tru", true},   {" true", true},     {"1", true}};
    for (const auto& [words, flag] : flags) {
        is_migrated = !flag;
        EXPECT_EQ(ask_for({{"isMigrated", words}}), 0);
        EXPECT_EQ(is_migrated, flag) << words;
    }
}

TEST_F(Migration, HasNoDataWithoutTheFlag)
{
    EXPECT_EQ(ask_for({{"lastUpdatedDate", "today"}, {"deviceModel", "T-1000"}}), no_data);
    EXPECT_THAT(errors(), Lines(error("get isMigrated failed"), error("is_migrated is no data")));
    EXPECT_FALSE(is_migrated);
    EXPECT_EQ(date, mark);
    EXPECT_EQ(model, mark);
}

// A missing model is told as a missing date, which is meant so.
TEST_F(Migration, LeavesAbsentTextsAsTheyWereAndTellsOfBothAsTheDate)
{
    EXPECT_EQ(ask_for({{"isMigrated", "false"}}), 0);
    EXPECT_THAT(errors(),
                Lines(error("get last_updated_date failed"), error("get last_updated_date failed")));
    EXPECT_TRUE(is_migrated);
    EXPECT_EQ(date, mark);
    EXPECT_EQ(model, mark);
}

TEST_F(Migration, HandsOutTheModelAlsoWithoutADate)
{
    EXPECT_EQ(ask_for({{"isMigrated", "false"}, {"deviceModel", "T-1000"}}), 0);
    EXPECT_EQ(date, mark);
    EXPECT_STREQ(model, "T-1000");
}

TEST_F(Migration, HandsEmptyTextsOutAsEmptyCopies)
{
    EXPECT_EQ(ask_for({{"isMigrated", "false"}, {"lastUpdatedDate", ""}, {"deviceModel", ""}}), 0);
    EXPECT_STREQ(date, "");
    EXPECT_STREQ(model, "");
}

TEST_F(Migration, AsksAlsoWithoutPlacesForTheValues)
{
    agent().answer_next_with(
        0, {bundle_of({{"isMigrated", "true"}, {"lastUpdatedDate", "today"}, {"deviceModel", "T-1000"}})});
    EXPECT_EQ(quorvel_core_get_favorite_migration_status(client, "home", nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(139), text("home")}));
}

TEST_F(Migration, RefusesALocationThatIsNotThere)
{
    for (const char* const bad : {static_cast<const char*>(nullptr), ""}) {
        clear_log();
        EXPECT_EQ(quorvel_core_get_favorite_migration_status(client, bad, &is_migrated, &date, &model),
                  invalid_parameter);
        EXPECT_THAT(errors(), Lines(error("invalid parameter")));
    }
    EXPECT_THAT(agent().requests(), testing::IsEmpty());
}

TEST_F(Migration, LeavesEverythingAsItWasWhenTheAgentRefuses)
{
    agent().answer_next_with(-28, {bundle_of({{"isMigrated", "false"}, {"lastUpdatedDate", "today"}})});
    EXPECT_EQ(ask(), -28);
    EXPECT_FALSE(is_migrated);
    EXPECT_EQ(date, mark);
    EXPECT_EQ(live().bundles, 0);
}

TEST_F(Migration, HandsOutAllOrNothingWhereverMemoryRunsOut)
{
    bool ran_out_of_copies = false;
    bool happened = true;
    for (int nth = 1; happened; ++nth) {
        agent().forget_script();
        agent().answer_next_with(
            0, {bundle_of({{"isMigrated", "false"}, {"lastUpdatedDate", "today"}, {"deviceModel", "T"}})});
        is_migrated = false;
        FailingAllocation failing{nth};
        const int code = ask();
        happened = failing.happened();
        if (!happened) {
            EXPECT_EQ(code, 0);
            break;
        }
        ran_out_of_copies = ran_out_of_copies || code == -12;
        EXPECT_NE(code, 0);
        EXPECT_FALSE(is_migrated);
        EXPECT_EQ(date, mark);
        EXPECT_EQ(model, mark);
    }
    EXPECT_TRUE(ran_out_of_copies);
}

}  // namespace
}  // namespace scripted
