// What tools find in a catalogue.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "catalogue/small_catalogue.hpp"

namespace quorvel::catalogue {
namespace {

using testing::ElementsAre;

TEST(Catalogue, FindsAMethodByNumberAndByName)
{
    const Method* found = small.method(5);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->name, "list_lamps");
    EXPECT_EQ(small.method("list_lamps"), found);
}

TEST(Catalogue, HasNothingForANumberThatIsRetiredOrBeyondTheEnds)
{
    for (const int id : {-1, 0, 1, 6, 7, 11})
        EXPECT_EQ(small.method(id), nullptr) << id;
    for (const int id : {0, 3, 5})
        EXPECT_EQ(small.delegate(id), nullptr) << id;
    EXPECT_EQ(small.method("list"), nullptr);
}

TEST(Catalogue, TellsTheShapeOfAMethod)
{
    const Method& method = *small.method("list_lamps");
    EXPECT_EQ(method.family, "home");
    EXPECT_EQ(method.returns, Kind::number);
    EXPECT_EQ(small.method("is_ringing")->returns, Kind::flag);
    ASSERT_EQ(method.ins.size(), 3U);
    EXPECT_EQ(method.ins[0].type.array, small.array("array_string"));
    EXPECT_EQ(method.ins[1].type.kind, Kind::number);
    EXPECT_EQ(method.ins[2].type.kind, Kind::flag);
    ASSERT_EQ(method.outs.size(), 3U);
    EXPECT_EQ(method.outs[0].type.array->element.record, small.record("lamp_s"));
    EXPECT_THAT(method.users, ElementsAre("home_list_lamps", "home_list_all_lamps"));
}

TEST(Catalogue, TellsTheFieldsOfARecordInTheirOrder)
{
    const Record& lamp = *small.record("lamp_s");
    ASSERT_EQ(lamp.fields.size(), 5U);
    EXPECT_EQ(lamp.fields[0].name, "lamp_id");
    EXPECT_EQ(lamp.fields[1].type.kind, Kind::number);
    EXPECT_EQ(lamp.fields[2].type.kind, Kind::bundle);
    EXPECT_EQ(lamp.fields[3].type.kind, Kind::text_list);
    EXPECT_EQ(small.record("place_s")->doc,
              "A place, \"as it is\"; everything lies in one bundle. A second line.");
}

TEST(Catalogue, KnowsWhatIsSecretAlsoThroughADelegate)
{
    EXPECT_TRUE(small.method("exchange_secrets")->ins[0].is_secret);
    EXPECT_TRUE(small.method("exchange_secrets")->outs[0].is_secret);
    EXPECT_FALSE(small.method("find_lamp")->is_secret);
    const Method& asks = *small.method(10);
    EXPECT_FALSE(asks.ins[1].is_secret);
    EXPECT_TRUE(asks.is_secret);
    EXPECT_EQ(asks.ins[1].type.delegate, small.delegate("token_cb"));
    EXPECT_TRUE(small.delegate(4)->is_once);
    EXPECT_TRUE(small.delegate(4)->parameters[0].is_secret);
    EXPECT_FALSE(small.delegate(2)->is_once);
}

}  // namespace
}  // namespace quorvel::catalogue
