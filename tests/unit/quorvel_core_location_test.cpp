// Locations: quorvel_core_location.cpp over the scripted platform, and the two questions about users that
// live in quorvel_client_internal.cpp.
#include <quorvel_core_location.h>

#include "connected_client.hpp"
#include "core_properties.hpp"
#include "core_question.hpp"
#include "failing_allocations.hpp"

namespace scripted {
namespace {

constexpr auto source = "quorvel_core_location";
constexpr int invalid_parameter = -22;

[[maybe_unused]] const bool properties = register_properties(
    PropertyFamily(source, makes(rpc_port_location_s_create, rpc_port_location_s_set_bundle_data))
        .read_by("quorvel_core_location_get_string", quorvel_core_location_get_string)
        .released_by("quorvel_core_location_destroy", quorvel_core_location_destroy)
        .holding({{0, "locationId"},
                  {1, "name"},
                  {2, "countryCode"},
                  {3, "latitude"},
                  {4, "longitude"},
                  {5, "regionRadius"},
                  {6, "temperatureScale"},
                  {7, "timeZoneId"},
                  {8, "locale"},
                  {9, "parentType"},
                  {10, "parentId"}}));

[[maybe_unused]] const bool questions = register_questions(
    source, {
                Question("quorvel_core_get_location", {2, 4}, 149, "core_get_location")
                    .given({required("home")})
                    .answers_record(rpc_port_location_s_destroy, rpc_port_location_s_get_bundle_data,
                                    [](auto client, Texts t, void** location) {
                                        return quorvel_core_get_location(client, t[0], location);
                                    }),
                // It needs an older agent than the question for one of them.
                Question("quorvel_core_get_location_list", {2, 3}, 127, "core_get_location_list")
                    .answers_list(rpc_port_location_s_destroy, rpc_port_location_s_get_bundle_data,
                                  [](auto client, Texts, void*** list, int* count) {
                                      return quorvel_core_get_location_list(client, list, count);
                                  }),
                // Its place is looked at first, and left alone.
                Question("quorvel_core_get_location_json", {2, 3}, 107, "core_get_location_json")
                    .given({required("home")})
                    .without_proxy(operation_failed)
                    .looking_at_out_first()
                    .missing_out("invalid json_str")
                    .answers_text([](auto client, Texts t, char** json) {
                        return quorvel_core_get_location_json(client, t[0], json);
                    }),
                Question("quorvel_core_create_location", {2, 4}, 161, "core_create_location")
                    .given({required("Home"), required("DEU")})
                    .sends([](Texts t) {
                        return Sent{i32(161), bundle_of({{"name", t[0]}, {"countryCode", t[1]}})};
                    })
                    .without_proxy(operation_failed)
                    .with_errors()
                    .clearing_out_first()
                    .missing_out("invalid result_str")
                    .answers_text([](auto client, Texts t, char** result) {
                        return quorvel_core_create_location(client, t[0], t[1], nullptr, "", nullptr, "",
                                                            nullptr, "", nullptr, result);
                    }),
                Question("quorvel_core_update_location", {2, 4}, 162, "core_update_location")
                    .given({required("home", "invalid location id"), required("Home")})
                    .sends([](Texts t) {
                        return Sent{i32(162), text(t[0]), bundle_of({{"name", t[1]}})};
                    })
                    .without_proxy(operation_failed)
                    .with_errors()
                    .clearing_out_first()
                    .missing_out("invalid result_str")
                    .answers_text([](auto client, Texts t, char** result) {
                        return quorvel_core_update_location(client, t[0], t[1], nullptr, "", nullptr, "",
                                                            nullptr, result);
                    }),
                Question("quorvel_core_delete_location", {2, 4}, 163, "core_delete_location")
                    .given({required("home", "invalid location id")})
                    .without_proxy(operation_failed)
                    .with_errors()
                    .clearing_out_first()
                    .missing_out("invalid result_str")
                    .answers_text([](auto client, Texts t, char** result) {
                        return quorvel_core_delete_location(client, t[0], result);
                    }),
            });

[[maybe_unused]] const bool internal_questions = register_questions(
    "quorvel_client_internal",
    {
        Question("quorvel_core_get_location_users", {2, 4}, 181, "core_get_location_users")
            .given({required("home")})
            .without_proxy(operation_failed)
            .clearing_out_first()
            .missing_out("invalid json_str")
            .answers_text([](auto client, Texts t, char** json) {
                return quorvel_core_get_location_users(client, t[0], json);
            }),
        Question("quorvel_core_get_all_location_users", {2, 4}, 182, "core_get_all_location_users")
            .without_proxy(operation_failed)
            .clearing_out_first()
            .missing_out("invalid json_str")
            .answers_text([](auto client, Texts, char** json) {
                return quorvel_core_get_all_location_users(client, json);
            }),
    });

class Location : public ConnectedClient {
protected:
    static LogLine error(const std::string& function, const std::string& words)
    {
        return qc_error(source, function, words);
    }
    static int create(quorvel_client_h client)
    {
        OwnedText result;
        return quorvel_core_create_location(client, "Home", "DEU", "52.5", "13.4", "150", "C", "de_DE",
                                            "account", "me", result);
    }
    static int update(quorvel_client_h client)
    {
        OwnedText result;
        return quorvel_core_update_location(client, "home", "Home", "52.5", "13.4", "150", "C", "de_DE",
                                            result);
    }
};

TEST_F(Location, CreationSendsEveryValueThatIsThere)
{
    agent().answer_next_with(0, {text("")});
    EXPECT_EQ(create(client), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(161), bundle_of({{"name", "Home"},
                                                            {"countryCode", "DEU"},
                                                            {"latitude", "52.5"},
                                                            {"longitude", "13.4"},
                                                            {"regionRadius", "150"},
                                                            {"temperatureScale", "C"},
                                                            {"locale", "de_DE"},
                                                            {"parentType", "account"},
                                                            {"parentId", "me"}})}));
}

TEST_F(Location, UpdateSendsEveryValueThatIsThere)
{
    agent().answer_next_with(0, {text("")});
    EXPECT_EQ(update(client), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(162), text("home"),
                                       bundle_of({{"name", "Home"},
                                                  {"latitude", "52.5"},
                                                  {"longitude", "13.4"},
                                                  {"regionRadius", "150"},
                                                  {"temperatureScale", "C"},
                                                  {"locale", "de_DE"}})}));
}

// In the order in which they are added. The parent's id goes by the word of its type, which is meant so.
TEST_F(Location, CreationNamesTheValueThatCannotBeAdded)
{
    const char* const words[] = {"name",      "countryCode",   "latitude",
                                 "longitude", "region_radius", "temperature_scale",
                                 "locale",    "parent_type",   "parent_type"};
    for (int nth = 1; nth <= 9; ++nth) {
        clear_log();
        platform().fail("bundle_add_str", nth);
        EXPECT_EQ(create(client), operation_failed);
        EXPECT_THAT(errors(), Lines(error("quorvel_core_create_location",
                                          std::string("Failed to add ") + words[nth - 1])));
    }
    EXPECT_THAT(agent().requests(), testing::IsEmpty());
}

TEST_F(Location, UpdateNamesTheValueThatCannotBeAdded)
{
    const char* const words[] = {"name",          "latitude",          "longitude",
                                 "region_radius", "temperature_scale", "locale"};
    for (int nth = 1; nth <= 6; ++nth) {
        clear_log();
        platform().fail("bundle_add_str", nth);
        EXPECT_EQ(update(client), operation_failed);
        EXPECT_THAT(errors(), Lines(error("quorvel_core_update_location",
                                          std::string("Failed to add ") + words[nth - 1])));
    }
    EXPECT_THAT(agent().requests(), testing::IsEmpty());
}

TEST_F(Location, CreationFailsWithoutABundle)
{
    platform().fail("bundle_create", 1);
    EXPECT_EQ(create(client), operation_failed);
    EXPECT_THAT(errors(), Lines(error("quorvel_core_create_location", "Failed to add name")));
    EXPECT_THAT(agent().requests(), testing::IsEmpty());
}

TEST_F(Location, CreationFailsWithoutMemoryForItsRecord)
{
    FailingAllocation first{1};
    EXPECT_EQ(create(client), operation_failed);
    ASSERT_TRUE(first.happened());
    EXPECT_EQ(errors().back(), error("quorvel_core_create_location", "rpc_port_location_s_create failed"));
    EXPECT_THAT(agent().requests(), testing::IsEmpty());
}

TEST_F(Location, CreationFailsWhenItsRecordCannotTakeTheValues)
{
    platform().fail("bundle_dup", 1);
    EXPECT_EQ(create(client), operation_failed);
    EXPECT_EQ(errors().back(),
              error("quorvel_core_create_location", "rpc_port_location_s_set_bundle_data failed"));
    EXPECT_THAT(agent().requests(), testing::IsEmpty());
}

// The record of the request is released whatever comes of the call: the fixture finds none alive.
TEST_F(Location, RequestRecordIsReleasedAlsoWhenTheAgentRefuses)
{
    agent().answer_next_with(-28, {text("no")});
    EXPECT_EQ(create(client), -28);
    EXPECT_EQ(update(client), -1073741824);
    EXPECT_EQ(live().bundles, 0);
}

TEST_F(Location, ChecksOfAnUpdateComeBeforeItsRecordIsMade)
{
    OwnedText result;
    EXPECT_EQ(quorvel_core_update_location(client, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                           nullptr, result),
              invalid_parameter);
    EXPECT_EQ(platform().uses("bundle_create"), 0);
    EXPECT_THAT(errors(), Lines(error("quorvel_core_update_location", "invalid location id")));
}

class WithoutAgent : public Scripted {};

TEST_F(WithoutAgent, LocationsRefuseAMissingResultFirst)
{
    EXPECT_EQ(quorvel_core_delete_location(nullptr, nullptr, nullptr), invalid_parameter);
    EXPECT_EQ(quorvel_core_get_location_json(nullptr, nullptr, nullptr), invalid_parameter);
    EXPECT_EQ(quorvel_core_get_all_location_users(nullptr, nullptr), invalid_parameter);
    EXPECT_THAT(errors(), Lines(qc_error(source, "quorvel_core_delete_location", "invalid result_str"),
                                qc_error(source, "quorvel_core_get_location_json", "invalid json_str"),
                                qc_error("quorvel_client_internal", "quorvel_core_get_all_location_users",
                                         "invalid json_str")));
}

TEST_F(WithoutAgent, UsersAreClearedButTheJsonOfALocationIsLeftAsItWas)
{
    char mark[] = "mark";
    char* users = mark;
    char* json = mark;
    EXPECT_EQ(quorvel_core_get_location_users(nullptr, "home", &users), -1073741822);
    EXPECT_EQ(quorvel_core_get_location_json(nullptr, "home", &json), -1073741822);
    EXPECT_EQ(users, nullptr);
    EXPECT_EQ(json, mark);
}

}  // namespace
}  // namespace scripted
