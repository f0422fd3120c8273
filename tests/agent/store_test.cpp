// SPDX-License-Identifier: Apache-2.0
#include "home/store.hpp"

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <random>

#include "support.hpp"

namespace quorvel::home {
namespace {

class KeptHome : public HomeTest {
protected:
    // The home as another process would find it.
    Json reopened()
    {
        Home again{models, clock};
        again.keep_in(std::make_unique<Store>(file.path()));
        Json saved = again.save();
        saved["agent"]["time"] = 0;
        return saved;
    }
    Json now()
    {
        Json saved = home.save();
        saved["agent"]["time"] = 0;
        return saved;
    }
    TemporaryFile file{"home.db"};
};

TEST_F(KeptHome, AnEmptyFileGetsTheHome)
{
    home.keep_in(std::make_unique<Store>(file.path()));
    EXPECT_EQ(reopened(), now());
}

TEST_F(KeptHome, EveryKindOfChangeIsFoundAgain)
{
    home.keep_in(std::make_unique<Store>(file.path()));
    std::string id;
    std::string problem;
    home.set_nick("lamp", "Sun");
    home.command("lamp", "main", "level", "setLevel", Json::parse("[3]"));
    home.move_device("plug", "home", "hall");
    Home::PlaceValues values;
    values.name = "Attic";
    ASSERT_EQ(home.add_room("home", values, id), Status::ok);
    ASSERT_EQ(home.add_location(values, id), Status::ok);
    ASSERT_EQ(
        home.add_scene("home", Json::parse(R"({"name": "s", "actions": [{"notify": "x"}]})"), id, problem),
        Status::ok);
    home.remove_device("button");
    home.remove_rule("on-motion");
    home.add_favorite("home", "", {{"memberId", "light"}}, id, problem);
    home.begin_installation("clock-app", "home", Json::object(), id);
    home.create_infrared("hub", {{"name", "TV"}}, id);
    home.register_push({"p", "r", "a", "l"});
    home.set_push(true, {"news"});
    home.announce_upload("content", "image");
    home.sign_in(false);
    ASSERT_EQ(home.commit(), Status::ok);
    EXPECT_EQ(reopened(), now());
}

TEST_F(KeptHome, ADeletedRoomIsGoneAfterARestart)
{
    home.keep_in(std::make_unique<Store>(file.path()));
    home.remove_room("living");
    home.commit();
    Home again{models, clock};
    again.keep_in(std::make_unique<Store>(file.path()));
    EXPECT_FALSE(again.rooms().contains("living"));
    EXPECT_EQ(again.devices().find("lamp")->room, "");
}

TEST_F(KeptHome, ASnapshotIsKeptToo)
{
    home.keep_in(std::make_unique<Store>(file.path()));
    const Json saved = home.save();
    home.remove_device("lamp");
    home.commit();
    home.restore(saved);
    home.commit();
    EXPECT_EQ(reopened(), now());
}

struct BrokenState {
    const char* name;
    const char* sql;
    const char* message;  // behind the file's name
};

// What is in the file is as broken as somebody's own hand can make it; the file is not changed by being
// refused.
const BrokenState broken_states[] = {
    {"HasADeviceThatIsNoJson", "UPDATE thing SET body = '{' WHERE kind = 'device' AND id = 'lamp'",
     ": device 'lamp': expected JSON"},
    {"HasADeviceOfAModelThatIsGone",
     "UPDATE thing SET body = replace(body, 'light.color', 'light.colr') WHERE kind = 'device' AND id = 'lamp'",
     ": device 'lamp': no model 'light.colr' (did you mean 'light.color'?)"},
    {"HasNoPlace",
     "DELETE FROM thing WHERE kind IN ('place', 'device', 'scene', 'rule', 'group', 'favorite')",
     ": expected at least one place"},
    {"HasALaterLayout", "PRAGMA user_version = 2", ": expected a state file of layout 1, found 2"},
    {"IsOfAnotherProgram", "PRAGMA application_id = 77",
     ": expected a state file of this agent, found another database"},
};

class BrokenStateFile : public KeptHome, public testing::WithParamInterface<BrokenState> {};

TEST_P(BrokenStateFile, IsRefusedWithItsNameAndKeepsWhatItHolds)
{
    home.keep_in(std::make_unique<Store>(file.path()));
    Home other{models, clock};
    const std::string command = fmt::format("sqlite3 '{}' \"{}\"", file.path(), GetParam().sql);
    if (std::system("command -v sqlite3 > /dev/null") != 0)
        GTEST_SKIP() << "needs the sqlite3 shell";
    ASSERT_EQ(std::system(command.c_str()), 0);
    EXPECT_EQ(message_of([&] { other.keep_in(std::make_unique<Store>(file.path())); }),
              file.path() + GetParam().message);
    EXPECT_FALSE(other.kept());
}

INSTANTIATE_TEST_SUITE_P(Each, BrokenStateFile, testing::ValuesIn(broken_states),
                         [](const auto& each) { return std::string{each.param.name}; });

TEST_F(KeptHome, AFileThatIsNoDatabaseIsRefusedAndLeftAlone)
{
    std::ofstream{file.path()}
        << "a text that is somebody's own, and long enough to be read as a header by mistake\n";
    EXPECT_EQ(message_of([&] { Store{file.path()}; }),
              file.path() + ": cannot be used as a state file: file is not a database");
    std::ifstream read{file.path()};
    std::string word;
    read >> word;
    EXPECT_EQ(word, "a");
}

TEST_F(KeptHome, APathThatCannotBeWrittenIsRefused)
{
    EXPECT_EQ(message_of([] { Store{"/no/such/directory/home.db"}; }),
              "/no/such/directory/home.db: cannot be used as a state file: unable to open database file");
}

// A process that renames a device again and again, says so when that is kept, and is killed at any moment.
TEST_F(KeptHome, AKilledProcessLosesNoAcknowledgedWriteAndLeavesNoHalfOfOne)
{
    home.keep_in(std::make_unique<Store>(file.path()));
    std::mt19937 random{7};
    for (int round = 0; round < 100; ++round) {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            close(ends[0]);
            Clock own_clock;
            ModelLibrary own_models;
            Home own{own_models, own_clock};
            own.keep_in(std::make_unique<Store>(file.path()));
            for (int i = 0;; ++i) {
                // Two things in one transaction, so that a half of it could be seen.
                own.set_nick("lamp", std::to_string(i));
                own.set_nick("light", std::to_string(i));
                if (own.commit() != Status::ok || write(ends[1], &i, sizeof i) != sizeof i)
                    _exit(1);
            }
        }
        close(ends[1]);
        int acknowledged = -1;
        const int wanted = std::uniform_int_distribution{0, 8}(random);
        for (int seen = 0; seen <= wanted && read(ends[0], &acknowledged, sizeof acknowledged) > 0;)
            ++seen;
        usleep(std::uniform_int_distribution<useconds_t>{0, 3000}(random));
        kill(child, SIGKILL);
        int next = 0;
        while (read(ends[0], &next, sizeof next) == sizeof next)
            acknowledged = next;
        close(ends[0]);
        waitpid(child, nullptr, 0);

        Home again{models, clock};
        again.keep_in(std::make_unique<Store>(file.path()));
        const std::string lamp = again.devices().find("lamp")->nick;
        ASSERT_EQ(lamp, again.devices().find("light")->nick) << "round " << round;
        ASSERT_GE(acknowledged, 0) << "round " << round;
        ASSERT_GE(std::stoi(lamp), acknowledged) << "round " << round;
    }
}

}  // namespace
}  // namespace quorvel::home
