// Rooms: quorvel_core_room.cpp over the scripted platform.
#include <quorvel_core_room.h>

#include "connected_client.hpp"
#include "core_properties.hpp"
#include "core_question.hpp"
#include "failing_allocations.hpp"

namespace scripted {
namespace {

constexpr auto source = "quorvel_core_room";

[[maybe_unused]] const bool properties =
    register_properties(PropertyFamily(source, makes(rpc_port_room_s_create, rpc_port_room_s_set_bundle_data))
                            .read_by("quorvel_core_room_get_string", quorvel_core_room_get_string)
                            .released_by("quorvel_core_room_destroy", quorvel_core_room_destroy)
                            .holding({{0, "roomId"}, {1, "name"}, {2, "locationId"}}));

[[maybe_unused]] const bool questions = register_questions(
    source, {
                Question("quorvel_core_get_room", {2, 4}, 150, "core_get_room")
                    .given({required("home"), required("den")})
                    .answers_record(rpc_port_room_s_destroy, rpc_port_room_s_get_bundle_data,
                                    [](auto client, Texts t, void** room) {
                                        return quorvel_core_get_room(client, t[0], t[1], room);
                                    }),
                Question("quorvel_core_get_room_list", {2, 3}, 128, "core_get_room_list")
                    .given({required("home")})
                    .answers_list(rpc_port_room_s_destroy, rpc_port_room_s_get_bundle_data,
                                  [](auto client, Texts t, void*** list, int* count) {
                                      return quorvel_core_get_room_list(client, t[0], list, count);
                                  }),
                Question("quorvel_core_get_room_json", {2, 3}, 108, "core_get_room_json")
                    .given({required("home"), required("den")})
                    .without_proxy(operation_failed)
                    .answers_text([](auto client, Texts t, char** json) {
                        return quorvel_core_get_room_json(client, t[0], t[1], json);
                    }),
                Question("quorvel_core_create_room", {2, 4}, 164, "core_create_room")
                    .given({required("home"), required("Den", "invalid name")})
                    .sends([](Texts t) {
                        return Sent{i32(164), text(t[0]), bundle_of({{"name", t[1]}})};
                    })
                    .without_proxy(operation_failed)
                    .with_errors()
                    .clearing_out_first()
                    .missing_out("invalid result_str")
                    .answers_text([](auto client, Texts t, char** result) {
                        return quorvel_core_create_room(client, t[0], t[1], result);
                    }),
                // Reported under the name of another method, which is meant so.
                Question("quorvel_core_change_room_name", {2, 4}, 165, "core_create_room")
                    .given({required("home", "invalid location id"), required("den", "invalid room id"),
                            required("Den", "invalid name")})
                    .sends([](Texts t) {
                        return Sent{i32(165), text(t[0]), text(t[1]), bundle_of({{"name", t[2]}})};
                    })
                    .without_proxy(operation_failed)
                    .with_errors()
                    .clearing_out_first()
                    .missing_out("invalid result_str")
                    .answers_text([](auto client, Texts t, char** result) {
                        return quorvel_core_change_room_name(client, t[0], t[1], t[2], result);
                    }),
                Question("quorvel_core_delete_room", {2, 4}, 166, "core_delete_room")
                    .given({required("home", "invalid location id"), required("den", "invalid room id")})
                    .without_proxy(operation_failed)
                    .with_errors()
                    .clearing_out_first()
                    .missing_out("invalid result_str")
                    .answers_text([](auto client, Texts t, char** result) {
                        return quorvel_core_delete_room(client, t[0], t[1], result);
                    }),
            });

class Room : public ConnectedClient {};

TEST_F(Room, CreationNamesTheValueThatCannotBeAdded)
{
    platform().fail("bundle_add_str", 1);
    OwnedText result;
    EXPECT_EQ(quorvel_core_create_room(client, "home", "Den", result), operation_failed);
    EXPECT_THAT(errors(), Lines(qc_error(source, "quorvel_core_create_room", "Failed to add name")));
    EXPECT_THAT(agent().requests(), testing::IsEmpty());
}

TEST_F(Room, RenamingFailsWithoutMemoryForItsRecord)
{
    OwnedText result;
    FailingAllocation first{1};
    EXPECT_EQ(quorvel_core_change_room_name(client, "home", "den", "Den", result), operation_failed);
    ASSERT_TRUE(first.happened());
    EXPECT_EQ(errors().back(),
              qc_error(source, "quorvel_core_change_room_name", "rpc_port_room_s_create failed"));
    EXPECT_THAT(agent().requests(), testing::IsEmpty());
}

TEST_F(Room, RequestRecordIsReleasedAlsoWhenTheAgentRefuses)
{
    agent().answer_next_with(-28, {text("no")});
    OwnedText result;
    EXPECT_EQ(quorvel_core_create_room(client, "home", "Den", result), -28);
    EXPECT_EQ(live().bundles, 0);
}

class WithoutAgent : public Scripted {};

TEST_F(WithoutAgent, RoomsRefuseAMissingResultFirst)
{
    EXPECT_EQ(quorvel_core_change_room_name(nullptr, nullptr, nullptr, nullptr, nullptr), -22);
    EXPECT_THAT(errors(), Lines(qc_error(source, "quorvel_core_change_room_name", "invalid result_str")));
}

}  // namespace
}  // namespace scripted
