#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "failing_calls.hpp"
#include "support.hpp"

namespace quorvel::platform::test {
namespace {

using namespace std::chrono_literals;

// In a process of its own, since a process captures from its first connection on or not at all.
int exchange_some_parcels()
{
    Agent agent;
    agent.listen();
    Client client;
    if (!client.connect_to_open())
        return 1;
    auto answer = call_aside(client.main, "secret");
    run_until([&] { return answer.wait_for(0s) == std::future_status::ready; });
    send_text(agent.port(RPC_PORT_PORT_CALLBACK), "event");
    run_until([&] { return client.received.size() == 1; });
    client.destroy();
    run_until([&] { return agent.gone.size() == 1; });
    return 0;
}
const RoleAdder exchange{"exchange-some-parcels", exchange_some_parcels};

int exchange_while_interrupted()
{
    FailingCall interrupted{"writev", EINTR, 3};
    return exchange_some_parcels() == 0 && interrupted.happened() ? 0 : 1;
}
const RoleAdder interrupted{"exchange-while-interrupted", exchange_while_interrupted};

int exchange_until_the_disk_is_full()
{
    FailingCall full{"writev", ENOSPC, 2};
    return exchange_some_parcels() == 0 && full.happened() ? 0 : 1;
}
const RoleAdder full_disk{"exchange-until-the-disk-is-full", exchange_until_the_disk_is_full};

// The file's first use of each call; nothing else uses them before.
int exchange_without_a_head()
{
    FailingCall full{"write", ENOSPC};
    return exchange_some_parcels() == 0 && full.happened() ? 0 : 1;
}
const RoleAdder headless{"exchange-without-a-head", exchange_without_a_head};

int exchange_without_rights()
{
    FailingCall forbidden{"fchmod", EPERM};
    return exchange_some_parcels() == 0 && forbidden.happened() ? 0 : 1;
}
const RoleAdder rightless{"exchange-without-rights", exchange_without_rights};

struct Record {
    std::int64_t time;
    std::int32_t process;
    std::int32_t connection;
    int kind;
    int role;
    int port;
    int direction;
    std::string bytes;
};

template <typename Integer>
Integer number_at(const std::string& bytes, std::size_t at)
{
    Integer value{};
    std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
}

std::vector<Record> records_of(const std::string& file)
{
    std::vector<Record> records;
    std::size_t at = file.find("\n\n") + 2;
    while (at + 24 <= file.size()) {
        const auto size = static_cast<std::size_t>(number_at<std::int32_t>(file, at));
        records.push_back({number_at<std::int64_t>(file, at + 4), number_at<std::int32_t>(file, at + 12),
                           number_at<std::int32_t>(file, at + 16), file[at + 20], file[at + 21],
                           file[at + 22], file[at + 23], file.substr(at + 24, size - 20)});
        at += 4 + size;
    }
    EXPECT_EQ(at, file.size());
    return records;
}

TEST(Capture, HoldsEveryParcelAsItWas)
{
    const Home home;
    const std::string path = home.path() + "/capture";
    ASSERT_EQ(run_role("exchange-some-parcels", {{"QUORVEL_CAPTURE", path}}).status, 0);

    struct stat info {};
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600U);
    const std::string file = home.read("capture");
    EXPECT_TRUE(file.starts_with("quorvel-capture 1\n# Every parcel, its bytes as they were"));

    // Kind: 0 parcel, 1 opened, 2 closed; role: 0 client, 1 agent; port: 0 main, 1 callback; direction: 0
    // sent.
    std::vector<std::string> seen;
    for (const Record& record : records_of(file)) {
        EXPECT_GT(record.time, 1600000000000000000);
        EXPECT_GT(record.process, 1);
        seen.push_back(std::to_string(record.kind) + std::to_string(record.role) + std::to_string(record.port)
                       + std::to_string(record.direction) + (record.kind == 0 ? record.bytes : ""));
    }
    const auto count = [&](const std::string& wanted) {
        return std::count(seen.begin(), seen.end(), wanted);
    };
    EXPECT_EQ(count("0000" + text("secret")), 1);
    EXPECT_EQ(count("0101" + text("secret")), 1);
    EXPECT_EQ(count("0100" + text("echo:secret")), 1);
    EXPECT_EQ(count("0001" + text("echo:secret")), 1);
    EXPECT_EQ(count("0110" + text("event")), 1);
    EXPECT_EQ(count("0011" + text("event")), 1);
    EXPECT_EQ(count("1000"), 1);
    EXPECT_EQ(count("1100"), 1);
    EXPECT_EQ(count("2000"), 1);
    EXPECT_EQ(count("2100"), 1);
    EXPECT_EQ(seen.size(), 10U);
}

TEST(Capture, OfSeveralProcessesFitsIntoOneFile)
{
    const Home home;
    const std::string path = home.path() + "/capture";
    for (int i = 0; i < 2; ++i)
        ASSERT_EQ(run_role("exchange-some-parcels", {{"QUORVEL_CAPTURE", path}}).status, 0);
    EXPECT_EQ(records_of(home.read("capture")).size(), 20U);
}

TEST(Capture, DoesNotFollowALinkAndSaysSo)
{
    const Home home;
    ASSERT_EQ(symlink((home.path() + "/target").c_str(), (home.path() + "/capture").c_str()), 0);
    const Outcome outcome =
        run_role("exchange-some-parcels", {{"QUORVEL_CAPTURE", home.path() + "/capture"}});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(outcome.errors.find("nothing is captured"), std::string::npos);
    EXPECT_EQ(access((home.path() + "/target").c_str(), F_OK), -1);
}

TEST(Capture, LeavesNoFileWhenItIsOff)
{
    const Home home;
    ASSERT_EQ(run_role("exchange-some-parcels").status, 0);
    EXPECT_EQ(access((home.path() + "/capture").c_str(), F_OK), -1);
}

TEST(Capture, GoesOnAfterAnInterruption)
{
    const Home home;
    ASSERT_EQ(run_role("exchange-while-interrupted", {{"QUORVEL_CAPTURE", home.path() + "/capture"}}).status,
              0);
    EXPECT_EQ(records_of(home.read("capture")).size(), 10U);
}

TEST(Capture, EndsWhenTheDiskIsFullAndSaysSoOnce)
{
    const Home home;
    const Outcome outcome =
        run_role("exchange-until-the-disk-is-full", {{"QUORVEL_CAPTURE", home.path() + "/capture"}});
    ASSERT_EQ(outcome.status, 0);
    const std::size_t said = outcome.errors.find("capturing ends");
    ASSERT_NE(said, std::string::npos);
    EXPECT_EQ(outcome.errors.find("capturing ends", said + 1), std::string::npos);
    EXPECT_EQ(records_of(home.read("capture")).size(), 1U);
}

TEST(Capture, IsNotBegunInAFileThatCannotBeMadeTheUsersOwn)
{
    for (const char* role : {"exchange-without-a-head", "exchange-without-rights"}) {
        const Home home;
        const Outcome outcome = run_role(role, {{"QUORVEL_CAPTURE", home.path() + "/capture"}});
        EXPECT_EQ(outcome.status, 0) << role;
        EXPECT_NE(outcome.errors.find("nothing is captured"), std::string::npos) << role;
        EXPECT_EQ(home.read("capture"), "") << role;
    }
    const Home home;
    const Outcome outcome = run_role("exchange-some-parcels", {{"QUORVEL_CAPTURE", "/dev/null"}});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(outcome.errors.find("nothing is captured"), std::string::npos);
}

}  // namespace
}  // namespace quorvel::platform::test
