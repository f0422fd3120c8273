// Every method of qv_client through the generated stub: the shapes are taken from the catalogue, which other
// tests hold against the wire form that was written down by hand.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "catalogue/qv_client_catalogue.hpp"
#include "log_matchers.hpp"
#include "scripted.hpp"
#include "stub/qv_client_stub.hpp"
#include "with_agent.hpp"

namespace quorvel::stub {
namespace {

using catalogue::Kind;
using scripted::Values;

/// A value of that type as a request may hold it, and as it stands in an answer that nobody filled.
Values value(const catalogue::Type& type, bool is_empty)
{
    switch (type.kind) {
        case Kind::text:
            return {scripted::text(is_empty ? "" : "words")};
        case Kind::number:
            return {scripted::i32(is_empty ? 0 : 42)};
        case Kind::long_number:
            return {scripted::i64(is_empty ? 0 : 42)};
        case Kind::flag:
            return {scripted::flag(!is_empty)};
        case Kind::bundle:
            return {is_empty ? scripted::no_bundle() : scripted::bundle_of({{"key", "value"}})};
        case Kind::text_list:
            return scripted::texts(is_empty ? scripted::Strings{} : scripted::Strings{"one", ""});
        case Kind::record: {
            Values fields;
            for (const catalogue::Field& field : type.record->fields)
                fields.add(value(field.type, is_empty));
            return fields;
        }
        case Kind::array: {
            Values elements = {scripted::count(is_empty ? 0 : 2)};
            for (int i = 0; i < (is_empty ? 0 : 2); ++i)
                elements.add(value(type.array->element, false));
            return elements;
        }
        case Kind::delegate:
            return scripted::delegate(type.delegate->id, 3, type.delegate->is_once);
    }
    return {};
}

Values request(const catalogue::Method& method)
{
    Values whole = {scripted::i32(method.id)};
    for (const catalogue::Parameter& parameter : method.ins)
        whole.add(value(parameter.type, false));
    return whole;
}

class EveryMethod : public scripted::Scripted {
protected:
    void SetUp() override
    {
        Scripted::SetUp();
        server.emplace(service);
        ASSERT_EQ(server->listen(), 0);
    }
    void TearDown() override
    {
        server.reset();
        Scripted::TearDown();
    }

    Service service;
    std::optional<Server> server;
};

TEST_F(EveryMethod, IsReadToItsEndAndAnsweredWithEmptyValuesAndThatItIsNotSupported)
{
    ASSERT_EQ(catalogue::qv_client.methods.size(), 181U);
    scripted::Client client;
    client.connect();
    for (const catalogue::Method& method : catalogue::qv_client.methods) {
        scripted::clear_log();
        ASSERT_EQ(client.call(request(method)), 0) << method.name;
        Values expected = {scripted::i32(0)};
        for (const catalogue::Parameter& parameter : method.outs)
            expected.add(value(parameter.type, true));
        expected.add(method.returns == Kind::flag ? scripted::flag(false) : scripted::i32(-1073741822));
        EXPECT_EQ(client.answers().back(), expected) << method.name;
        ASSERT_EQ(scripted::errors().size(), 1U) << method.name;
        EXPECT_EQ(scripted::errors()[0].whole, std::string{method.name} + " is not served");
    }
}

TEST_F(EveryMethod, DropsAClientThatCutsItsRequestShortAnywhere)
{
    for (const catalogue::Method& method : catalogue::qv_client.methods) {
        const Values whole = request(method);
        for (std::size_t length = 0; length < whole.size(); ++length) {
            scripted::Client client;
            client.connect();
            scripted::clear_log();
            ASSERT_EQ(client.call(whole.first(length)), -1) << method.name << " at " << length;
            EXPECT_TRUE(client.answers().empty()) << method.name << " at " << length;
            EXPECT_EQ(scripted::errors().size(), 1U) << method.name << " at " << length;
        }
    }
    EXPECT_EQ(server->client_count(), 0U);
}

}  // namespace
}  // namespace quorvel::stub
