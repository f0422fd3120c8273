// SPDX-License-Identifier: Apache-2.0
#include "support.hpp"

namespace quorvel::home {
namespace {

TEST(Models, AtLeastTwentyAreBuiltInAndEachCanBeUsed)
{
    ModelLibrary models;
    const auto ids = models.ids();
    EXPECT_GE(ids.size(), 20U);
    for (const auto& id : ids) {
        const Model* model = models.find(id);
        ASSERT_NE(model, nullptr) << id;
        EXPECT_FALSE(model->slots.empty()) << id;
        for (const auto& slot : model->slots)
            EXPECT_TRUE(slot.attribute->accept(slot.initial)) << id << " " << slot.path;
    }
}

TEST(Models, EachHasMetadataOfItsOwn)
{
    ModelLibrary models;
    std::set<std::string> vids;
    for (const auto& id : models.ids())
        EXPECT_TRUE(vids.insert(models.find(id)->vid).second) << id;
    EXPECT_EQ(models.find_vid("qv-hl-2207"), models.find("light.color"));
    EXPECT_EQ(models.find_vid("no-such-vid"), nullptr);
}

TEST(Models, ACapabilityIsAResourceOfEachComponentThatHasIt)
{
    ModelLibrary models;
    const Model& strip = *models.find("plug.strip");
    EXPECT_NE(strip.resource("/switch"), nullptr);
    EXPECT_NE(strip.resource("/outlet2/switch"), nullptr);
    EXPECT_EQ(strip.resource("/outlet4/switch"), nullptr);
    EXPECT_NE(strip.resource("/device"), nullptr);
}

TEST(Models, AnAttributeIsFoundByItsShortName)
{
    ModelLibrary models;
    const Model& strip = *models.find("plug.strip");
    EXPECT_EQ(strip.slot("switch"), strip.slot("main.switch.switch"));
    EXPECT_NE(strip.slot("outlet1.switch.switch"), strip.slot("switch"));
    EXPECT_FALSE(strip.slot("level"));
}

TEST(Models, AUserAddsOneWithACapabilityOfItsOwn)
{
    ModelLibrary models;
    const Model& model = models.add(R"yaml(
quorvel-model: 1
id: kettle.smart
name: Smart kettle
capabilities:
  boil:
    attributes: {water: {type: integer, min: 0, max: 100, default: 15, unit: C}}
    commands: {boil: {set: {water: 100}}}
    resource: {uri: /boil, types: [my.r.boil]}
components: {main: [switch, boil]}
defaults: {water: 20}
)yaml",
                                    "kettle.smart.yaml");
    EXPECT_EQ(model.slots[*model.slot("water")].initial, 20);
    EXPECT_EQ(model.resource("/boil")->types, std::vector<std::string>{"my.r.boil"});
    EXPECT_EQ(models.find("kettle.smart"), &model);
}

struct BrokenText {
    const char* name;
    const char* text;
    const char* message;
};

const BrokenText broken_models[] = {
    {"HasNoComponents", "quorvel-model: 1\nid: m\nname: M\n", "m.yaml:1:1: expected the key 'components'"},
    {"HasAnUnknownCapability", "quorvel-model: 1\nid: m\nname: M\ncomponents: {main: [swich]}\n",
     "m.yaml:4:21: unknown capability 'swich' (did you mean 'switch'?)"},
    {"HasACapabilityTwice", "quorvel-model: 1\nid: m\nname: M\ncomponents: {main: [switch, switch]}\n",
     "m.yaml:4:29: capability 'switch' given twice"},
    {"HasAnUnknownKey", "quorvel-model: 1\nid: m\nname: M\nmakr: x\ncomponents: {main: [switch]}\n",
     "m.yaml:4:1: unknown key 'makr' (did you mean 'maker'?)"},
    {"HasABadDefault",
     "quorvel-model: 1\nid: m\nname: M\ncomponents: {main: [level]}\ndefaults: {level: 101}\n",
     "m.yaml:5:19: expected a whole number from 0 to 100 for 'level'"},
    {"HasAnUnknownKindOfDynamics",
     "quorvel-model: 1\nid: m\nname: M\ncomponents: {main: [battery]}\ndynamics: [{kind: drian, attribute: "
     "battery}]\n",
     "m.yaml:5:19: expected a kind of dynamics (approach, drain, accumulate, countdown, follow or decay), found "
     "'drian' (did you mean 'drain'?)"},
    {"DrainsAWord",
     "quorvel-model: 1\nid: m\nname: M\ncomponents: {main: [switch]}\ndynamics: [{kind: drain, attribute: switch}]\n",
     "m.yaml:5:37: expected an attribute that is a number for 'drain'"},
    {"HasACommandThatSetsNothingKnown",
     "quorvel-model: 1\nid: m\nname: M\ncapabilities: {c: {attributes: {a: {values: [x, y]}}, commands: {go: {set: {b: "
     "x}}}}}\ncomponents: {main: [c]}\n",
     "m.yaml:4:77: 'c' has no attribute 'b' (did you mean 'a'?)"},
    {"HasAResourceWithoutSlash",
     "quorvel-model: 1\nid: m\nname: M\ncapabilities: {c: {attributes: {a: {values: [x]}}, resource: {uri: a, types: "
     "[t]}}}\ncomponents: {main: [c]}\n",
     "m.yaml:4:68: expected a URI that begins with /, found 'a'"},
};

class BrokenModel : public testing::TestWithParam<BrokenText> {};

TEST_P(BrokenModel, IsRefusedWithPlaceAndReason)
{
    ModelLibrary models;
    EXPECT_EQ(message_of([&] { models.add(GetParam().text, "m.yaml"); }), GetParam().message);
    EXPECT_EQ(models.find("m"), nullptr);
}

INSTANTIATE_TEST_SUITE_P(Each, BrokenModel, testing::ValuesIn(broken_models),
                         [](const auto& each) { return std::string{each.param.name}; });

}  // namespace
}  // namespace quorvel::home
