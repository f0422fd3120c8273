// UDO URLs: quorvel_client_udo.cpp over the scripted platform.
#include <quorvel_client_udo.h>

#include <limits>

#include "api_contract.hpp"
#include "connected_client.hpp"

namespace scripted {
namespace {

using testing::IsEmpty;

constexpr auto source = "quorvel_client_udo";
constexpr int invalid_parameter = -22;
constexpr int no_space = -28;
constexpr int not_supported = -1073741822;

constexpr auto upload = "quorvel_client_get_udo_upload_url";
constexpr auto download = "quorvel_client_get_udo_download_url";

[[maybe_unused]] const bool contracts = register_contracts(
    source, {
                // The failed precondition is told once, which is meant so.
                Contract(upload, {1, 6},
                         [](auto client) {
                             return quorvel_client_get_udo_upload_url(client, "one", "two", "three", 1,
                                                                      OwnedText{}, OwnedText{});
                         })
                    .asks(90, "get_udo_upload_url", {text("there"), text("here")})
                    .telling_no_conditions(),
                Contract(download, {1, 6},
                         [](auto client) {
                             return quorvel_client_get_udo_download_url(client, "one", "two", "three",
                                                                        OwnedText{});
                         })
                    .asks(91, "get_udo_download_url", {text("here")})
                    .telling_no_conditions(),
            });

class Udo : public ConnectedClient {
protected:
    void refused(const char* function, const char* message, int code)
    {
        EXPECT_EQ(code, invalid_parameter);
        EXPECT_THAT(errors(), Lines(qc_error(source, function, message)));
        EXPECT_THAT(agent().requests(), IsEmpty());
        clear_log();
    }
    OwnedText first;
    OwnedText second;
};

TEST_F(Udo, UploadSendsThreeTextsAndTheLengthAndGivesTwo)
{
    agent().answer_next_with(0, {text("upload here"), text("find there")});
    EXPECT_EQ(quorvel_client_get_udo_upload_url(client, "one", "two", "three", 4, first, second), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(90), text("one"), text("two"), text("three"), i32(4)}));
    EXPECT_STREQ(first.get(), "upload here");
    EXPECT_STREQ(second.get(), "find there");
}

TEST_F(Udo, DownloadSendsThreeTextsAndGivesOne)
{
    agent().answer_next_with(0, {text("")});
    EXPECT_EQ(quorvel_client_get_udo_download_url(client, "one", "two", "three", first), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(91), text("one"), text("two"), text("three")}));
    // An empty text is one.
    EXPECT_STREQ(first.get(), "");
}

TEST_F(Udo, OutPointersStayUntouchedWhenTheAgentRefuses)
{
    char untouched[] = "untouched";
    char* one = untouched;
    char* two = untouched;
    agent().answer_next_with(no_space, {text("upload here"), text("find there")});
    EXPECT_EQ(quorvel_client_get_udo_upload_url(client, "one", "two", "three", 4, &one, &two), no_space);
    agent().answer_next_with(no_space, {text("here")});
    EXPECT_EQ(quorvel_client_get_udo_download_url(client, "one", "two", "three", &one), no_space);
    EXPECT_EQ(one, untouched);
    EXPECT_EQ(two, untouched);
}

TEST_F(Udo, UploadBlamesTextsAndOutPointersThenTheLengthThenTheProxy)
{
    void*& proxy = *static_cast<void**>(client);
    void* const taken = std::exchange(proxy, nullptr);
    const auto ask = [&](const char* one, const char* two, const char* three, int length, char** out1,
                         char** out2) {
        return quorvel_client_get_udo_upload_url(client, one, two, three, length, out1, out2);
    };
    for (const char* const bad : {static_cast<const char*>(nullptr), ""}) {
        refused(upload, "invalid parameter", ask(bad, "two", "three", 0, first, second));
        refused(upload, "invalid parameter", ask("one", bad, "three", 0, first, second));
        refused(upload, "invalid parameter", ask("one", "two", bad, 0, first, second));
    }
    refused(upload, "invalid parameter", ask("one", "two", "three", 0, nullptr, second));
    refused(upload, "invalid parameter", ask("one", "two", "three", 0, first, nullptr));
    refused(upload, "content_length is invalid[0]", ask("one", "two", "three", 0, first, second));
    refused(upload, "content_length is invalid[-2147483648]",
            ask("one", "two", "three", std::numeric_limits<int>::min(), first, second));
    refused(upload, "rpc_h is null", ask("one", "two", "three", 1, first, second));
    proxy = taken;
}

TEST_F(Udo, DownloadBlamesTextsAndOutPointerThenTheProxy)
{
    void*& proxy = *static_cast<void**>(client);
    void* const taken = std::exchange(proxy, nullptr);
    const auto ask = [&](const char* one, const char* two, const char* three, char** out) {
        return quorvel_client_get_udo_download_url(client, one, two, three, out);
    };
    for (const char* const bad : {static_cast<const char*>(nullptr), ""}) {
        refused(download, "invalid parameter", ask(bad, "two", "three", first));
        refused(download, "invalid parameter", ask("one", bad, "three", first));
        refused(download, "invalid parameter", ask("one", "two", bad, first));
    }
    refused(download, "invalid parameter", ask("one", "two", "three", nullptr));
    refused(download, "rpc_h is null", ask("one", "two", "three", first));
    proxy = taken;
}

// The precondition has told everything; the function itself adds no line.
TEST_F(Scripted, AMissingAgentIsToldByThePreconditionAlone)
{
    char* url = nullptr;
    EXPECT_EQ(quorvel_client_get_udo_download_url(nullptr, nullptr, nullptr, nullptr, &url), not_supported);
    EXPECT_THAT(errors(), Lines(qc_error("quorvel_client", "check_agent", "Not Supported"),
                                qc_error("quorvel_client", "check_api_precondition",
                                         "Fail to check condition[-1073741822]")));
}

}  // namespace
}  // namespace scripted
