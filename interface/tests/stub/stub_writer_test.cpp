// What the stub puts straight into a parcel is what the platform's own functions would have written.
#include <gtest/gtest.h>

#include "parcel.hpp"
#include "stub/wire.hpp"

namespace quorvel::stub {
namespace {

class StubWriter : public testing::Test {
protected:
    StubWriter()
    {
        rpc_port_parcel_create(&written_);
        rpc_port_parcel_create(&expected_);
    }
    ~StubWriter() override
    {
        rpc_port_parcel_destroy(written_);
        rpc_port_parcel_destroy(expected_);
    }

    void expect_same(Writer& out)
    {
        ASSERT_TRUE(out.finish());
        ASSERT_EQ(bytes_of(written_), bytes_of(expected_));
    }
    static std::string_view bytes_of(rpc_port_parcel_h parcel)
    {
        auto* const inside = static_cast<platform::Parcel*>(parcel);
        return {inside->payload(), inside->size()};
    }

    rpc_port_parcel_h written_ = nullptr;
    rpc_port_parcel_h expected_ = nullptr;
};

TEST_F(StubWriter, WritesATextOfEveryLength)
{
    Writer out{written_, {}};
    for (std::size_t length = 0; length < 600; ++length) {
        const std::string text(length, static_cast<char>('a' + length % 26));
        write(out, text);
        rpc_port_parcel_write_string(expected_, text.c_str());
    }
    expect_same(out);
}

TEST_F(StubWriter, EndsATextAtANulWhereverItIs)
{
    Writer out{written_, {}};
    for (std::size_t length = 1; length < 300; length += 7) {
        for (std::size_t nul = 0; nul < length; ++nul) {
            std::string text(length, 'x');
            text[nul] = '\0';
            write(out, text);
            rpc_port_parcel_write_string(expected_, text.c_str());
        }
    }
    expect_same(out);
}

TEST_F(StubWriter, WritesValuesOfAllKindsInTheirOrder)
{
    Writer out{written_, {}};
    Bundle values;
    values.add("room", "hall");
    out.number(-7);
    out.flag(true);
    out.long_number(-5'000'000'000);
    out.bundle(values);
    out.count(3);
    out.text("lamp");
    out.bundle(Bundle{});
    out.flag(false);

    rpc_port_parcel_write_int32(expected_, -7);
    rpc_port_parcel_write_bool(expected_, true);
    rpc_port_parcel_write_int64(expected_, -5'000'000'000);
    rpc_port_parcel_write_bundle(expected_, values.get());
    rpc_port_parcel_write_array_count(expected_, 3);
    rpc_port_parcel_write_string(expected_, "lamp");
    rpc_port_parcel_write_bundle(expected_, nullptr);
    rpc_port_parcel_write_bool(expected_, false);
    expect_same(out);
}

TEST_F(StubWriter, GrowsWithWhatIsWritten)
{
    Writer out{written_, {}};
    const std::string large(100'000, 'l');
    for (int i = 0; i < 50; ++i) {
        out.number(i);
        write(out, large);
        rpc_port_parcel_write_int32(expected_, i);
        rpc_port_parcel_write_string(expected_, large.c_str());
    }
    expect_same(out);
}

TEST_F(StubWriter, GoesOnAfterItsParcelWasLookedAt)
{
    Writer out{written_, {}};
    out.number(1);
    rpc_port_parcel_write_int32(expected_, 1);
    expect_same(out);
    out.number(2);
    rpc_port_parcel_write_int32(expected_, 2);
    expect_same(out);
}

TEST_F(StubWriter, SaysThatATextIsMoreThanAFrameHolds)
{
    Writer out{written_, {}};
    const std::string huge((std::size_t{64} << 20) + 1, 'h');
    write(out, huge);
    EXPECT_FALSE(out.finish());
}

}  // namespace
}  // namespace quorvel::stub
