// SPDX-License-Identifier: Apache-2.0
#include "support.hpp"

namespace quorvel::home {
namespace {

TEST(Document, TakesNumbersAndFlagsAsSuchUnlessTheyAreQuoted)
{
    const Node node = read_yaml("{a: 12, b: \"12\", c: true, d: 1.5, e: word, f: ~, g: [1, x]}", "f");
    EXPECT_EQ(node.json(), Json::parse(R"({"a": 12, "b": "12", "c": true, "d": 1.5, "e": "word", "f": null,
                                          "g": [1, "x"]})"));
}

TEST(Document, ReadsWhatItWroteFromJsonToTheSameValues)
{
    const Json json = Json::parse(R"({"a": [1, 2.5, "3", true, null], "b": {"c": "on"}})");
    EXPECT_EQ(Node::from(json, "f").json(), json);
    EXPECT_EQ(read_yaml(json.dump(), "f").json(), json);
}

TEST(Document, FollowsAliases)
{
    EXPECT_EQ(read_yaml("{a: &x {k: 1}, b: *x}", "f").json(),
              Json::parse(R"({"a": {"k": 1}, "b": {"k": 1}})"));
}

TEST(Document, RefusesAliasesThatGrowWithoutEnd)
{
    std::string text = "a: &a0 [x, x, x, x, x, x, x, x, x, x]\n";
    for (int i = 1; i < 12; ++i)
        text += fmt::format("b{}: &a{} [*a{}, *a{}, *a{}, *a{}, *a{}, *a{}, *a{}, *a{}, *a{}]\n", i, i, i - 1,
                            i - 1, i - 1, i - 1, i - 1, i - 1, i - 1, i - 1, i - 1);
    EXPECT_NE(message_of([&] { read_yaml(text, "f"); }).find("expected a smaller file"), std::string::npos);
}

TEST(Document, RefusesToNestWithoutEnd)
{
    const std::string text = std::string(200, '[') + std::string(200, ']');
    EXPECT_NE(message_of([&] { read_yaml(text, "f"); }).find("expected a file that nests less deeply"),
              std::string::npos);
}

TEST(Document, ReadsTimesInTheirUnits)
{
    const Node node = read_yaml("[250, 250ms, 30s, 5min, 2h, 1d, 1.5s]", "f");
    std::vector<std::int64_t> times;
    for (const auto& item : node.items())
        times.push_back(item.milliseconds());
    EXPECT_EQ(times, (std::vector<std::int64_t>{250, 250, 30'000, 300'000, 7'200'000, 86'400'000, 1500}));
}

TEST(Document, ReadsProbabilitiesBothWays)
{
    const Node node = read_yaml("[0.5%, 0.005, 100%, 1]", "f");
    EXPECT_DOUBLE_EQ(node.items()[0].probability(), 0.005);
    EXPECT_DOUBLE_EQ(node.items()[1].probability(), 0.005);
    EXPECT_DOUBLE_EQ(node.items()[2].probability(), 1);
    EXPECT_DOUBLE_EQ(node.items()[3].probability(), 1);
}

TEST(DidYouMean, SuggestsTheNearestWordAndNothingThatIsFar)
{
    EXPECT_EQ(did_you_mean("kichen", {"kitchen", "hall"}), " (did you mean 'kitchen'?)");
    EXPECT_EQ(did_you_mean("drian", {"drain", "decay"}), " (did you mean 'drain'?)");
    EXPECT_EQ(did_you_mean("garage", {"kitchen", "hall"}), "");
}

TEST(Json, WritesBytesThatAreNoTextWithoutFailing)
{
    EXPECT_EQ(to_text(Json("a\xff"
                           "b")),
              "\"a\xef\xbf\xbd"
              "b\"");
}

TEST(Json, RefusesToReadWhatNestsTooDeeply)
{
    EXPECT_FALSE(parse_json(std::string(100000, '[')));
    EXPECT_FALSE(parse_json(std::string(65, '[') + std::string(65, ']')));
    EXPECT_TRUE(parse_json(std::string(64, '[') + std::string(64, ']')));
    EXPECT_TRUE(
        parse_json(R"({"a": "[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[["})"));
    EXPECT_FALSE(parse_json("{"));
}

}  // namespace
}  // namespace quorvel::home
