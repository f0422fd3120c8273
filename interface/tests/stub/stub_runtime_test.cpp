// The agent's stub over the scripted platform, on the small interface: what a service is given, what goes
// back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

#include "log_matchers.hpp"
#include "scripted.hpp"
#include "stub/small_stub.hpp"
#include "with_agent.hpp"

namespace quorvel::stub {
namespace {

using scripted::bundle_of;
using scripted::count;
using scripted::delegate;
using scripted::flag;
using scripted::i32;
using scripted::i64;
using scripted::result;
using scripted::text;
using scripted::texts;
using scripted::Values;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* long_name =
    "ask_for_a_token_with_quite_a_long_name_so_that_lines_must_be_broken_somewhere";

class Home : public Service {
public:
    int find_lamp(Client& client, std::string_view lamp_id, Out<lamp_s>& lamp) override
    {
        asked.emplace_back(lamp_id);
        if (throws)
            throw std::runtime_error{"the lamp is hot"};
        if (drops)
            client.drop();
        if (is_postponed) {
            found.emplace(client.postpone<method::find_lamp>());
            return 0;
        }
        if (is_lent)
            lamp.borrow(kept);
        else
            lamp = kept;
        return status;
    }

    int list_lamps(Client&, const array_string& tags, int limit, bool all, Out<array_lamp_s>& lamps,
                   int& count_, bool& more) override
    {
        for (const std::string& tag : tags)
            asked.push_back(tag);
        asked.push_back(std::to_string(limit) + (all ? " of all" : ""));
        lamps.borrow(list);
        count_ = static_cast<int>(list.size());
        more = true;
        return 0;
    }

    int watch_lamps(Client&, const Delegate<lamps_cb>& on_lamps, Out<array_string>& names,
                    Out<place_s>& place) override
    {
        watchers.push_back(on_lamps);
        *&names.made() = {"den", ""};
        place->bundle_data.add("name", "den");
        return 7;
    }

    int exchange_secrets(Client&, std::string_view old_secret, const place_s& place,
                         Text& new_secret) override
    {
        asked.emplace_back(old_secret);
        asked.emplace_back(place.bundle_data.text("name").value_or("-"));
        new_secret = "new";
        return 0;
    }

    bool is_ringing(Client& client) override
    {
        if (is_postponed)
            ringing.emplace(client.postpone<method::is_ringing>());
        return true;
    }

    void on_client_connected(Client& client) override { heard.push_back("+" + client.sender()); }
    void on_client_disconnected(Client& client) override
    {
        heard.push_back((client.alive() ? "?" : "-") + client.sender());
    }

    std::vector<std::string> asked;
    std::vector<std::string> heard;
    std::vector<Delegate<lamps_cb>> watchers;
    lamp_s kept{"l1", 40, {}, {"a", "b"}, ""};
    array_lamp_s list{{"l1", 1, {}, {}, "x"}, {"l2", 2, {}, {"t"}, ""}};
    std::optional<method::find_lamp::Postponed> found;
    std::optional<method::is_ringing::Postponed> ringing;
    int status = 0;
    bool is_lent = false;
    bool is_postponed = false;
    bool throws = false;
    bool drops = false;
};

/// Does to the next requests and callbacks what a test says.
class Meddler : public Interceptor {
public:
    void before(const Request& request, Plan& plan) override
    {
        seen.push_back(std::string{request.name} + "#" + std::to_string(request.id));
        for (const std::string_view one : request.texts)
            seen.emplace_back(one);
        if (on_request)
            on_request(plan);
    }
    void after(const Request&, int& result) override
    {
        if (new_result)
            result = *new_result;
    }
    void firing(const Request& callback, CallbackPlan& plan) override
    {
        seen.emplace_back(callback.name);
        for (const std::string_view one : callback.texts)
            seen.emplace_back(one);
        if (on_callback)
            on_callback(plan);
    }

    std::vector<std::string> seen;
    std::function<void(Plan&)> on_request;
    std::function<void(CallbackPlan&)> on_callback;
    std::optional<int> new_result;
};

class StubRuntime : public scripted::Scripted {
protected:
    void SetUp() override
    {
        Scripted::SetUp();
        server.emplace(home);
        ASSERT_EQ(server->listen(), 0);
        app.connect();
    }
    void TearDown() override
    {
        home.found.reset();
        home.ringing.reset();
        server.reset();
        home.kept = {};
        home.list = {};
        Scripted::TearDown();
    }

    Values last_answer() const
    {
        const auto answers = app.answers();
        return answers.empty() ? Values{} : answers.back();
    }

    static Values lamp(const std::string& id, int level, const scripted::Strings& tags,
                       const std::string& reserved)
    {
        return {text(id), i32(level), scripted::no_bundle(), texts(tags), text(reserved)};
    }

    static Values watch(int seq_id) { return {i32(8), delegate(2, seq_id, false)}; }

    Home home;
    std::optional<Server> server;
    scripted::Client app{"app"};
};

// Requests and answers.

TEST_F(StubRuntime, AnswersWithTheValuesAndThenTheResult)
{
    home.status = 3;
    EXPECT_EQ(app.call({i32(4), text("l1")}), 0);
    EXPECT_THAT(home.asked, ElementsAre("l1"));
    EXPECT_EQ(last_answer(), result(3, lamp("l1", 40, {"a", "b"}, "")));
}

TEST_F(StubRuntime, SendsALentRecordLikeAGivenOne)
{
    home.is_lent = true;
    app.call({i32(4), text("l1")});
    EXPECT_EQ(last_answer(), result(0, lamp("l1", 40, {"a", "b"}, "")));
}

TEST_F(StubRuntime, ReadsListsNumbersAndTruthsAndAnswersWithALentList)
{
    EXPECT_EQ(app.call({i32(5), texts({"x", ""}), i32(-1), flag(true)}), 0);
    EXPECT_THAT(home.asked, ElementsAre("x", "", "-1 of all"));
    EXPECT_EQ(last_answer(),
              result(0, {count(2), lamp("l1", 1, {}, "x"), lamp("l2", 2, {"t"}, ""), i32(2), flag(true)}));
}

TEST_F(StubRuntime, AnEmptyListIsACountOfZero)
{
    home.list.clear();
    app.call({i32(5), texts({}), i32(0), flag(false)});
    EXPECT_THAT(home.asked, ElementsAre("0"));
    EXPECT_EQ(last_answer(), result(0, {count(0), i32(0), flag(true)}));
}

TEST_F(StubRuntime, CarriesBundlesBothWays)
{
    app.call({i32(9), text("old"), bundle_of({{"name", "den"}})});
    EXPECT_THAT(home.asked, ElementsAre("old", "den"));
    EXPECT_EQ(last_answer(), result(0, {text("new")}));
    app.call(watch(1));
    EXPECT_EQ(last_answer(), result(7, {texts({"den", ""}), bundle_of({{"name", "den"}})}));
}

TEST_F(StubRuntime, AnswersAMethodThatReturnsATruthWithOne)
{
    app.call({i32(3)});
    EXPECT_EQ(last_answer(), (Values{i32(0), flag(true)}));
}

TEST_F(StubRuntime, SaysThatAMethodIsNotServedAndAnswersSo)
{
    EXPECT_EQ(app.call({i32(10), lamp("l", 1, {}, ""), delegate(4, 1, true)}), 0);
    EXPECT_EQ(last_answer(), result(-1073741822));
    ASSERT_THAT(scripted::errors(), SizeIs(1));
    EXPECT_EQ(scripted::errors()[0].whole, std::string{long_name} + " is not served");
}

TEST_F(StubRuntime, AnswersAMethodThatItDoesNotKnowAndKeepsTheClient)
{
    for (const int id : {0, 1, 6, 11, -5, 2147483647, -2147483647 - 1}) {
        EXPECT_EQ(app.call({i32(id), text("who knows")}), 0) << id;
        EXPECT_EQ(last_answer(), result(-1073741822)) << id;
    }
    EXPECT_THAT(home.heard, ElementsAre("+app"));
}

TEST_F(StubRuntime, AnswersAThrowingServiceWithAFailure)
{
    home.throws = true;
    EXPECT_EQ(app.call({i32(4), text("l1")}), 0);
    EXPECT_EQ(last_answer(), result(-1073741825, lamp("", 0, {}, "")));
    ASSERT_THAT(scripted::errors(), SizeIs(1));
    EXPECT_EQ(scripted::errors()[0].whole, "find_lamp failed: the lamp is hot");
}

// Clients.

TEST_F(StubRuntime, TellsOfClientsThatComeAndGo)
{
    scripted::Client other{"other"};
    other.connect();
    EXPECT_EQ(server->client_count(), 2U);
    app.disconnect();
    EXPECT_EQ(server->client_count(), 1U);
    other.call({i32(4), text("l1")});
    EXPECT_THAT(other.answers(), SizeIs(1));
    EXPECT_THAT(home.heard, ElementsAre("+app", "+other", "-app"));
}

TEST_F(StubRuntime, KeepsWhatTheServiceKeepsForAClient)
{
    server->for_each_client([](Client& client) { client.data = std::string{"mine"}; });
    server->for_each_client(
        [](Client& client) { EXPECT_EQ(std::any_cast<std::string>(client.data), "mine"); });
}

TEST_F(StubRuntime, DropsAClientWhoseRequestIsCutShortWithOneLine)
{
    const Values whole = {i32(5), texts({"x", "y"}), i32(1), flag(true)};
    for (std::size_t length = 0; length < whole.size(); ++length) {
        scripted::clear_log();
        scripted::Client cut{"cut"};
        cut.connect();
        EXPECT_EQ(cut.call(whole.first(length)), -1) << length;
        EXPECT_THAT(cut.answers(), IsEmpty()) << length;
        EXPECT_THAT(scripted::errors(), SizeIs(1)) << length;
    }
    EXPECT_THAT(home.asked, IsEmpty());
    EXPECT_EQ(server->client_count(), 1U) << "only the one that did nothing wrong";
}

TEST_F(StubRuntime, DropsAClientWhoseCountLies)
{
    for (const int claimed : {-1, 3, 2147483647}) {
        scripted::Client liar{"liar"};
        liar.connect();
        EXPECT_EQ(liar.call({i32(5), scripted::trusted_count(claimed), text("x")}), -1) << claimed;
    }
    EXPECT_THAT(home.asked, IsEmpty());
}

TEST_F(StubRuntime, DropsAClientThatHandsOverADelegateOfAnotherType)
{
    EXPECT_EQ(app.call({i32(8), delegate(4, 1, false)}), -1);
    EXPECT_THAT(home.watchers, IsEmpty());
    EXPECT_THAT(home.heard, ElementsAre("+app", "-app"));
}

TEST_F(StubRuntime, TellsOnceThatADroppedClientIsGone)
{
    home.drops = true;
    EXPECT_EQ(app.call({i32(4), text("l1")}), -1);
    EXPECT_THAT(app.answers(), IsEmpty());
    EXPECT_THAT(home.heard, ElementsAre("+app", "-app"));
}

TEST_F(StubRuntime, DropsAClientWhoseAnswerCannotBeWrittenWhole)
{
    scripted::platform().fail("rpc_port_parcel_write_array_count");
    EXPECT_EQ(app.call({i32(4), text("l1")}), -1);
    EXPECT_THAT(app.answers(), IsEmpty());
}

TEST_F(StubRuntime, DropsAClientWhenThereIsNoParcelForItsAnswer)
{
    scripted::platform().fail("rpc_port_parcel_create");
    EXPECT_EQ(app.call({i32(4), text("l1")}), -1);
    EXPECT_THAT(scripted::errors(), SizeIs(1));
}

TEST_F(StubRuntime, ReportsAPortThatCannotBeMade)
{
    scripted::platform().fail("rpc_port_stub_create", 1, -13);
    EXPECT_EQ(Server{home}.listen(), -13);
    scripted::platform().fail("rpc_port_stub_add_received_event_cb", 1, -12);
    EXPECT_EQ(Server{home}.listen(), -12);
    scripted::platform().fail("rpc_port_stub_listen", 1, -5);
    EXPECT_EQ(Server{home}.listen(), -5);
}

// Callbacks.

TEST_F(StubRuntime, FiresADelegateOfTheClientThatHandedItOver)
{
    scripted::Client other{"other"};
    other.connect();
    app.call(watch(5));
    other.call(watch(6));
    ASSERT_THAT(home.watchers, SizeIs(2));
    EXPECT_TRUE(fire(home.watchers[0], "added", home.list, 2, home.kept, true, 1LL << 40));
    EXPECT_EQ(app.callbacks().at(0),
              scripted::callback(2, 5, false,
                                 {text("added"), count(2), lamp("l1", 1, {}, "x"), lamp("l2", 2, {"t"}, ""),
                                  i32(2), lamp("l1", 40, {"a", "b"}, ""), flag(true), i64(1LL << 40)}));
    EXPECT_THAT(other.callbacks(), IsEmpty());
}

TEST_F(StubRuntime, ADelegateOutlivesItsClientAndThenFiresNothing)
{
    app.call(watch(5));
    EXPECT_TRUE(home.watchers[0].alive());
    app.disconnect();
    EXPECT_FALSE(home.watchers[0].alive());
    EXPECT_FALSE(fire(home.watchers[0], "added", home.list, 0, home.kept, false, 0));
    server.reset();
    EXPECT_FALSE(fire(home.watchers[0], "added", home.list, 0, home.kept, false, 0));
}

TEST_F(StubRuntime, DelegatesAreEqualWhenClientAndNumberAre)
{
    scripted::Client other{"other"};
    other.connect();
    app.call(watch(5));
    app.call(watch(5));
    app.call(watch(6));
    other.call(watch(5));
    EXPECT_EQ(home.watchers[0], home.watchers[1]);
    EXPECT_NE(home.watchers[0], home.watchers[2]);
    EXPECT_NE(home.watchers[0], home.watchers[3]);
}

TEST_F(StubRuntime, ReportsACallbackThatCannotBeSent)
{
    app.call(watch(5));
    scripted::platform().fail("rpc_port_parcel_send", 1, -5);
    EXPECT_FALSE(fire(home.watchers[0], "added", home.list, 0, home.kept, false, 0));
    EXPECT_TRUE(fire(home.watchers[0], "added", home.list, 0, home.kept, false, 0));
    scripted::platform().fail("rpc_port_parcel_write_string", 1, -12);
    EXPECT_FALSE(fire(home.watchers[0], "added", home.list, 0, home.kept, false, 0));
    EXPECT_THAT(app.callbacks(), SizeIs(1));
}

// Answers that come later.

TEST_F(StubRuntime, AnswersLaterAndKeepsTheAnswersBehindInTheirOrder)
{
    home.is_postponed = true;
    app.call({i32(4), text("l1")});
    home.is_postponed = false;
    app.call({i32(3)});
    app.call({i32(9), text("old"), scripted::no_bundle()});
    EXPECT_THAT(app.answers(), IsEmpty());
    EXPECT_THAT(home.asked, ElementsAre("l1", "old", "-")) << "served at once all the same";
    EXPECT_TRUE(home.found->answer(5, home.kept));
    EXPECT_THAT(app.answers(), ElementsAre(result(5, lamp("l1", 40, {"a", "b"}, "")),
                                           Values{i32(0), flag(true)}, result(0, {text("new")})));
    EXPECT_FALSE(home.found->answer(5, home.kept)) << "it was answered already";
    EXPECT_THAT(app.answers(), SizeIs(3));
}

TEST_F(StubRuntime, SeveralLateAnswersStillGoInTheOrderOfTheRequests)
{
    home.is_postponed = true;
    app.call({i32(4), text("l1")});
    app.call({i32(3)});
    EXPECT_TRUE(home.ringing->answer(true));
    EXPECT_THAT(app.answers(), IsEmpty());
    home.found->answer(0, home.kept);
    EXPECT_THAT(app.answers(),
                ElementsAre(result(0, lamp("l1", 40, {"a", "b"}, "")), Values{i32(0), flag(true)}));
}

TEST_F(StubRuntime, ALateAnswerThatIsForgottenIsAFailure)
{
    home.is_postponed = true;
    app.call({i32(4), text("l1")});
    app.call({i32(3)});
    home.found.reset();
    home.ringing.reset();
    EXPECT_THAT(app.answers(),
                ElementsAre(result(-1073741825, lamp("", 0, {}, "")), Values{i32(0), flag(false)}));
}

TEST_F(StubRuntime, ALateAnswerToAClientThatIsGoneGoesNowhere)
{
    home.is_postponed = true;
    app.call({i32(4), text("l1")});
    app.disconnect();
    EXPECT_FALSE(home.found->answer(0, home.kept));
}

TEST_F(StubRuntime, OnlyTheRequestThatIsServedCanBePostponed)
{
    server->for_each_client([](Client& client) {
        auto nothing = client.postpone<method::find_lamp>();
        EXPECT_FALSE(nothing);
        EXPECT_FALSE(nothing.answer(0, lamp_s{}));
    });
    EXPECT_THAT(scripted::errors(), SizeIs(1));
}

// Faults by name.

class StubFaults : public StubRuntime {
protected:
    void SetUp() override
    {
        StubRuntime::SetUp();
        server->intercept(&meddler);
    }

    void find() { app.call({i32(4), text("l1")}); }

    Meddler meddler;
};

TEST_F(StubFaults, AnInterceptorSeesNameNumberAndTextsButNoSecrets)
{
    find();
    app.call({i32(9), text("old secret"), scripted::no_bundle()});
    app.call(watch(5));
    fire(home.watchers[0], "added", home.list, 0, home.kept, false, 0);
    EXPECT_THAT(meddler.seen,
                ElementsAre("find_lamp#4", "l1", "exchange_secrets#9", "watch_lamps#8", "lamps_cb", "added"));
}

TEST_F(StubFaults, AnswersACodeWithoutAskingTheService)
{
    meddler.on_request = [](Plan& plan) {
        plan.serve = false;
        plan.result = -61;
    };
    find();
    EXPECT_THAT(home.asked, IsEmpty());
    EXPECT_EQ(last_answer(), result(-61, lamp("", 0, {}, "")));
}

TEST_F(StubFaults, ChangesTheResultAfterTheService)
{
    meddler.new_result = 99;
    find();
    EXPECT_EQ(last_answer(), result(99, lamp("l1", 40, {"a", "b"}, "")));
}

TEST_F(StubFaults, NeverAnswersOrAnswersTwiceOrWithAnotherCommand)
{
    meddler.on_request = [](Plan& plan) { plan.copies = 0; };
    find();
    EXPECT_THAT(app.answers(), IsEmpty());
    meddler.on_request = [](Plan& plan) { plan.copies = 2; };
    find();
    EXPECT_THAT(app.answers(), SizeIs(2));
    meddler.on_request = [](Plan& plan) { plan.command = 7; };
    find();
    EXPECT_EQ(last_answer()[0], i32(7));
}

TEST_F(StubFaults, AnswersOnTheCallbackPort)
{
    meddler.on_request = [](Plan& plan) { plan.on_callback_port = true; };
    find();
    EXPECT_THAT(app.answers(), IsEmpty());
    EXPECT_THAT(app.callbacks(), SizeIs(1));
}

TEST_F(StubFaults, DropsTheClientInsteadOfAnswering)
{
    meddler.on_request = [](Plan& plan) { plan.drop_client = true; };
    EXPECT_EQ(app.call({i32(4), text("l1")}), -1);
    EXPECT_THAT(app.answers(), IsEmpty());
    EXPECT_THAT(home.asked, IsEmpty());
}

TEST_F(StubFaults, CutsAnAnswerShortAtEveryValue)
{
    const Values whole = result(0, lamp("l1", 40, {"a", "b"}, ""));
    for (int keep = 0; keep <= static_cast<int>(whole.size()); ++keep) {
        meddler.on_request = [keep](Plan& plan) { plan.damage.keep = keep; };
        find();
        EXPECT_EQ(last_answer(), whole.first(static_cast<std::size_t>(keep))) << keep;
    }
}

TEST_F(StubFaults, CorruptsOneValueOfAnAnswer)
{
    meddler.on_request = [](Plan& plan) { plan.damage.corrupt = 2; };
    find();
    EXPECT_EQ(last_answer()[1], text("l1"));
    EXPECT_EQ(last_answer()[2], i32(~40));
    meddler.on_request = [](Plan& plan) { plan.damage.corrupt = 4; };
    find();
    EXPECT_EQ(last_answer()[4], count(268435455));
}

TEST_F(StubFaults, HoldsAnAnswerBackAndThoseBehindIt)
{
    Later later;
    meddler.on_request = [&later](Plan& plan) { later = plan.hold(); };
    find();
    meddler.on_request = nullptr;
    app.call({i32(3)});
    EXPECT_THAT(app.answers(), IsEmpty());
    later.release();
    EXPECT_THAT(app.answers(),
                ElementsAre(result(0, lamp("l1", 40, {"a", "b"}, "")), Values{i32(0), flag(true)}));
}

TEST_F(StubFaults, HoldsALateAnswerBackUntilBothAreThrough)
{
    Later later;
    meddler.on_request = [&later](Plan& plan) { later = plan.hold(); };
    home.is_postponed = true;
    find();
    later.release();
    EXPECT_THAT(app.answers(), IsEmpty());
    home.found->answer(0, home.kept);
    EXPECT_THAT(app.answers(), SizeIs(1));
    find();
    home.found->answer(0, home.kept);
    EXPECT_THAT(app.answers(), SizeIs(1));
    later = {};
    EXPECT_THAT(app.answers(), SizeIs(2));
}

TEST_F(StubFaults, SpoilsALateAnswerLikeAnyOther)
{
    meddler.on_request = [](Plan& plan) {
        plan.copies = 2;
        plan.damage.keep = 1;
    };
    home.is_postponed = true;
    find();
    home.found->answer(0, home.kept);
    EXPECT_THAT(app.answers(), ElementsAre(Values{i32(0)}, Values{i32(0)}));
}

TEST_F(StubFaults, AHeldAnswerOfAClientThatWentIsForgotten)
{
    Later later;
    meddler.on_request = [&later](Plan& plan) { later = plan.hold(); };
    find();
    app.disconnect();
    later.release();
    EXPECT_THAT(app.answers(), IsEmpty());
}

TEST_F(StubFaults, SpoilsCallbacks)
{
    app.call(watch(5));
    const auto fire_once = [this] { return fire(home.watchers[0], "x", {}, 0, {}, false, 0); };
    meddler.on_callback = [](CallbackPlan& plan) { plan.copies = 0; };
    EXPECT_TRUE(fire_once()) << "the service does not see that it was lost";
    EXPECT_THAT(app.callbacks(), IsEmpty());
    meddler.on_callback = [](CallbackPlan& plan) {
        plan = {.id = 77, .seq_id = 9, .once = true, .damage = {}};
    };
    fire_once();
    EXPECT_EQ(app.callbacks().back().first(4), (Values{i32(1), i32(77), i32(9), flag(true)}));
    meddler.on_callback = [](CallbackPlan& plan) {
        plan.copies = 3;
        plan.on_main_port = true;
    };
    const std::size_t before = app.answers().size();
    fire_once();
    EXPECT_THAT(app.answers(), SizeIs(before + 3));
}

}  // namespace
}  // namespace quorvel::stub
