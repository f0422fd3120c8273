#include "parcel.hpp"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <ostream>
#include <thread>
#include <utility>

#include "support.hpp"
#include "wire.hpp"

namespace quorvel::platform::test {
namespace {

class ParcelTest : public testing::Test {
protected:
    ParcelTest() { rpc_port_parcel_create(&parcel_); }
    ~ParcelTest() override { rpc_port_parcel_destroy(parcel_); }

    Parcel& inside() { return *static_cast<Parcel*>(parcel_); }
    // What stands in the parcel from here on is this.
    void hold(const std::string& bytes)
    {
        if (!bytes.empty())
            bytes.copy(inside().append(bytes.size()), bytes.size());
    }
    std::string read_string(int expected)
    {
        char* value = nullptr;
        EXPECT_EQ(rpc_port_parcel_read_string(parcel_, &value), expected);
        std::string result = value != nullptr ? value : "no string at all";
        free(value);
        return result;
    }

    rpc_port_parcel_h parcel_ = nullptr;
};

TEST_F(ParcelTest, GivesBackEveryKindOfValueInOrder)
{
    rpc_port_parcel_write_int32(parcel_, INT_MIN);
    rpc_port_parcel_write_int64(parcel_, LLONG_MAX);
    rpc_port_parcel_write_bool(parcel_, true);
    rpc_port_parcel_write_string(parcel_, "kitchen");
    rpc_port_parcel_write_array_count(parcel_, 0);
    rpc_port_parcel_write_bool(parcel_, false);

    int number = 0;
    long long large = 0;
    bool flag = false;
    int count = -1;
    EXPECT_EQ(rpc_port_parcel_read_int32(parcel_, &number), 0);
    EXPECT_EQ(number, INT_MIN);
    EXPECT_EQ(rpc_port_parcel_read_int64(parcel_, &large), 0);
    EXPECT_EQ(large, LLONG_MAX);
    EXPECT_EQ(rpc_port_parcel_read_bool(parcel_, &flag), 0);
    EXPECT_TRUE(flag);
    EXPECT_EQ(read_string(0), "kitchen");
    EXPECT_EQ(rpc_port_parcel_read_array_count(parcel_, &count), 0);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(rpc_port_parcel_read_bool(parcel_, &flag), 0);
    EXPECT_FALSE(flag);
}

TEST_F(ParcelTest, LeavesTheTargetsOfFailedIntegerReadsAsTheyWere)
{
    hold("abc");
    int number = 7;
    long long large = 8;
    EXPECT_EQ(rpc_port_parcel_read_int32(parcel_, &number), RPC_PORT_ERROR_IO_ERROR);
    EXPECT_EQ(number, 7);
    EXPECT_EQ(rpc_port_parcel_read_int64(parcel_, &large), RPC_PORT_ERROR_IO_ERROR);
    EXPECT_EQ(large, 8);
}

TEST_F(ParcelTest, FailsEveryReadAfterAFailedOne)
{
    hold("abc");
    int number = 7;
    bool flag = true;
    int count = 9;
    bundle* b = reinterpret_cast<bundle*>(this);
    EXPECT_EQ(rpc_port_parcel_read_int32(parcel_, &number), RPC_PORT_ERROR_IO_ERROR);
    EXPECT_EQ(rpc_port_parcel_read_bool(parcel_, &flag), RPC_PORT_ERROR_IO_ERROR);
    EXPECT_TRUE(flag);
    EXPECT_EQ(read_string(RPC_PORT_ERROR_IO_ERROR), "");
    EXPECT_EQ(rpc_port_parcel_read_bundle(parcel_, &b), RPC_PORT_ERROR_IO_ERROR);
    EXPECT_EQ(b, nullptr);
    EXPECT_EQ(rpc_port_parcel_read_array_count(parcel_, &count), RPC_PORT_ERROR_IO_ERROR);
    EXPECT_EQ(count, 0);
}

TEST_F(ParcelTest, TakesAMissingStringForAnEmptyOne)
{
    rpc_port_parcel_write_string(parcel_, nullptr);
    EXPECT_EQ(std::string(inside().payload(), inside().size()), text(""));
    EXPECT_EQ(read_string(0), "");
}

TEST_F(ParcelTest, TakesAMissingBundleForAnEmptyOne)
{
    rpc_port_parcel_write_bundle(parcel_, nullptr);
    bundle* b = nullptr;
    ASSERT_EQ(rpc_port_parcel_read_bundle(parcel_, &b), 0);
    EXPECT_EQ(bundle_get_count(b), 0);
    bundle_free(b);
}

struct BadString {
    const char* why;
    std::string bytes;
};

// The framework would show the record's bytes, its padding too.
void PrintTo(const BadString& tested, std::ostream* out)
{
    *out << tested.why;
}

class BadStrings : public ParcelTest, public testing::WithParamInterface<BadString> {};

TEST_P(BadStrings, AreReadAsAnAllocatedEmptyOneByEitherReader)
{
    hold(GetParam().bytes);
    EXPECT_EQ(read_string(RPC_PORT_ERROR_IO_ERROR), "");

    rpc_port_parcel_h again = nullptr;
    rpc_port_parcel_create(&again);
    GetParam().bytes.copy(static_cast<Parcel*>(again)->append(GetParam().bytes.size()),
                          GetParam().bytes.size());
    const char* borrowed = nullptr;
    int length = -1;
    EXPECT_EQ(qv_port_parcel_borrow_string(again, &borrowed, &length), RPC_PORT_ERROR_IO_ERROR);
    EXPECT_STREQ(borrowed, "");
    EXPECT_EQ(length, 0);
    rpc_port_parcel_destroy(again);
}

INSTANTIATE_TEST_SUITE_P(Parcel, BadStrings,
                         testing::Values(BadString{"NoLength", std::string("\1\0", 2)},
                                         BadString{"LengthOfZero", int32(0)},
                                         BadString{"NegativeLength", int32(-1) + "abc"},
                                         BadString{"LowestLength", int32(INT_MIN) + "abc"},
                                         BadString{"HighestLength", int32(INT_MAX) + "abc"},
                                         BadString{"OneByteShort", int32(5) + "abc" + '\0'},
                                         BadString{"NoNul", int32(3) + "abc"},
                                         BadString{"NulWithin", int32(4) + std::string("a\0c\0", 4)}),
                         [](const auto& tested) { return std::string(tested.param.why); });

// Short strings with much behind them are looked at in another way than the others.
TEST_F(ParcelTest, LendsAStringOfEveryLengthWhateverStandsBehindIt)
{
    for (int length = 0; length < 200; ++length) {
        for (const int behind : {0, 1, 46, 47, 48, 52, 200}) {
            rpc_port_parcel_h parcel = nullptr;
            rpc_port_parcel_create(&parcel);
            const std::string text(static_cast<std::size_t>(length), 'x');
            rpc_port_parcel_write_string(parcel, text.c_str());
            for (int i = 0; i < behind; ++i)
                rpc_port_parcel_write_bool(parcel, i % 2 == 0);
            const char* borrowed = nullptr;
            int found = -1;
            ASSERT_EQ(qv_port_parcel_borrow_string(parcel, &borrowed, &found), 0)
                << length << " and " << behind;
            ASSERT_EQ(borrowed, text);
            ASSERT_EQ(found, length);
            ASSERT_EQ(static_cast<Parcel*>(parcel)->left(), static_cast<std::size_t>(behind));
            rpc_port_parcel_destroy(parcel);
        }
    }
}

TEST_F(ParcelTest, RefusesANulAtEveryPlaceOfAStringWhateverStandsBehindIt)
{
    constexpr int length = 140;
    for (int size = 2; size <= length; ++size) {
        for (int nul = 0; nul < size - 1; ++nul) {
            for (const std::size_t behind : {0, 200}) {
                rpc_port_parcel_h parcel = nullptr;
                rpc_port_parcel_create(&parcel);
                std::string bytes = int32(size) + std::string(static_cast<std::size_t>(size), 'x');
                bytes[static_cast<std::size_t>(4 + nul)] = bytes.back() = '\0';
                bytes.append(behind, 'y');
                bytes.copy(static_cast<Parcel*>(parcel)->append(bytes.size()), bytes.size());
                const char* borrowed = nullptr;
                int found = -1;
                ASSERT_EQ(qv_port_parcel_borrow_string(parcel, &borrowed, &found), RPC_PORT_ERROR_IO_ERROR)
                    << size << " bytes, the NUL at " << nul;
                ASSERT_STREQ(borrowed, "");
                ASSERT_EQ(found, 0);
                ASSERT_EQ(static_cast<Parcel*>(parcel)->left(), 0U);
                rpc_port_parcel_destroy(parcel);
            }
        }
    }
}

TEST_F(ParcelTest, PassesBytesOfAStringThroughWithoutJudgingThem)
{
    const std::string odd = "\x01\x7f\x80\xc3\x28\xff";
    rpc_port_parcel_write_string(parcel_, odd.c_str());
    EXPECT_EQ(read_string(0), odd);
}

TEST_F(ParcelTest, LendsAStringWhereItLies)
{
    rpc_port_parcel_write_string(parcel_, "hall");
    const char* borrowed = nullptr;
    int length = 0;
    ASSERT_EQ(qv_port_parcel_borrow_string(parcel_, &borrowed, &length), 0);
    EXPECT_EQ(borrowed, inside().payload() + 4);
    EXPECT_STREQ(borrowed, "hall");
    EXPECT_EQ(length, 4);
}

TEST_F(ParcelTest, LetsACountPassThatTheRestCanHold)
{
    hold(int32(2) + std::string(8, 'x'));
    int count = 0;
    EXPECT_EQ(rpc_port_parcel_read_array_count(parcel_, &count), 0);
    EXPECT_EQ(count, 2);
}

TEST_F(ParcelTest, RefusesACountThatTheRestCannotHold)
{
    hold(int32(3) + std::string(11, 'x'));
    int count = 5;
    EXPECT_EQ(rpc_port_parcel_read_array_count(parcel_, &count), RPC_PORT_ERROR_IO_ERROR);
    EXPECT_EQ(count, 0);
    int next = 6;
    EXPECT_EQ(rpc_port_parcel_read_int32(parcel_, &next), RPC_PORT_ERROR_IO_ERROR);
    EXPECT_EQ(next, 6);
}

TEST_F(ParcelTest, RefusesANegativeCount)
{
    hold(int32(-1) + std::string(64, 'x'));
    int count = 5;
    EXPECT_EQ(rpc_port_parcel_read_array_count(parcel_, &count), RPC_PORT_ERROR_IO_ERROR);
    EXPECT_EQ(count, 0);
}

TEST_F(ParcelTest, CallsARecordsOwnRoutinesAndAddsNothing)
{
    struct Lamp {
        rpc_port_parcelable_t routines;
        int level;
    } lamp{{[](rpc_port_parcel_h h, void* data) {
                rpc_port_parcel_write_int32(h, static_cast<Lamp*>(data)->level);
            },
            [](rpc_port_parcel_h h, void* data) {
                rpc_port_parcel_read_int32(h, &static_cast<Lamp*>(data)->level);
            }},
           40};
    EXPECT_EQ(rpc_port_parcel_write(parcel_, &lamp.routines, &lamp), 0);
    EXPECT_EQ(std::string(inside().payload(), inside().size()), int32(40));
    lamp.level = 0;
    EXPECT_EQ(rpc_port_parcel_read(parcel_, &lamp.routines, &lamp), 0);
    EXPECT_EQ(lamp.level, 40);
}

TEST_F(ParcelTest, GrowsThroughEverySizeWithoutLosingAByte)
{
    std::string expected;
    for (int i = 0; i < 3000; ++i) {
        const std::string word(static_cast<std::size_t>(i % 997), static_cast<char>('a' + i % 26));
        ASSERT_EQ(rpc_port_parcel_write_string(parcel_, word.c_str()), 0);
        expected += text(word);
    }
    EXPECT_EQ(std::string(inside().payload(), inside().size()), expected);
}

TEST_F(ParcelTest, RefusesAStringThatNoFrameHoldsAndMarksTheParcel)
{
    const std::string huge(std::size_t{64} << 20, 'x');
    EXPECT_EQ(rpc_port_parcel_write_string(parcel_, huge.c_str()), RPC_PORT_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(inside().write_error(), RPC_PORT_ERROR_INVALID_PARAMETER);
}

TEST_F(ParcelTest, IsWipedWhenItIsDestroyed)
{
    rpc_port_parcel_h other = nullptr;
    rpc_port_parcel_create(&other);
    rpc_port_parcel_write_string(other, "hunter2 hunter2 hunter2");
    const char* bytes = static_cast<Parcel*>(other)->payload();
    rpc_port_parcel_destroy(other);
    // The object is kept for the next parcel of this thread, so the bytes may still be looked at.
    rpc_port_parcel_create(&other);
    ASSERT_EQ(static_cast<Parcel*>(other)->payload(), bytes);
    EXPECT_EQ(std::string(bytes, 28), std::string(28, '\0'));
    rpc_port_parcel_destroy(other);
}

TEST_F(ParcelTest, IsReusedByTheNextCallOfTheThread)
{
    rpc_port_parcel_h first = nullptr;
    rpc_port_parcel_create(&first);
    rpc_port_parcel_destroy(first);
    rpc_port_parcel_h second = nullptr;
    rpc_port_parcel_create(&second);
    EXPECT_EQ(first, second);
    rpc_port_parcel_destroy(second);
}

TEST_F(ParcelTest, MayBeDestroyedByAnotherThread)
{
    rpc_port_parcel_h other = nullptr;
    rpc_port_parcel_create(&other);
    std::thread{[other] { EXPECT_EQ(rpc_port_parcel_destroy(other), 0); }}.join();
}

TEST(ParcelArguments, AreCheckedBeforeAnythingIsTouched)
{
    int number = 0;
    long long large = 0;
    bool flag = false;
    char* string = nullptr;
    bundle* b = nullptr;
    rpc_port_parcelable_t empty{};
    const int invalid = RPC_PORT_ERROR_INVALID_PARAMETER;
    EXPECT_EQ(rpc_port_parcel_create(nullptr), invalid);
    EXPECT_EQ(rpc_port_parcel_destroy(nullptr), invalid);
    EXPECT_EQ(rpc_port_parcel_send(nullptr, nullptr), invalid);
    EXPECT_EQ(rpc_port_parcel_create_from_port(nullptr, nullptr), invalid);
    EXPECT_EQ(rpc_port_parcel_write_int32(nullptr, 1), invalid);
    EXPECT_EQ(rpc_port_parcel_write_int64(nullptr, 1), invalid);
    EXPECT_EQ(rpc_port_parcel_write_bool(nullptr, true), invalid);
    EXPECT_EQ(rpc_port_parcel_write_string(nullptr, ""), invalid);
    EXPECT_EQ(rpc_port_parcel_write_bundle(nullptr, nullptr), invalid);
    EXPECT_EQ(rpc_port_parcel_write_array_count(nullptr, 1), invalid);
    EXPECT_EQ(rpc_port_parcel_write(nullptr, &empty, nullptr), invalid);
    EXPECT_EQ(rpc_port_parcel_read_int32(nullptr, &number), invalid);
    EXPECT_EQ(rpc_port_parcel_read_int64(nullptr, &large), invalid);
    EXPECT_EQ(rpc_port_parcel_read_bool(nullptr, &flag), invalid);
    EXPECT_EQ(rpc_port_parcel_read_string(nullptr, &string), invalid);
    EXPECT_EQ(rpc_port_parcel_read_bundle(nullptr, &b), invalid);
    EXPECT_EQ(rpc_port_parcel_read_array_count(nullptr, &number), invalid);
    EXPECT_EQ(rpc_port_parcel_read(nullptr, &empty, nullptr), invalid);

    rpc_port_parcel_h parcel = nullptr;
    rpc_port_parcel_create(&parcel);
    EXPECT_EQ(rpc_port_parcel_write(parcel, nullptr, nullptr), invalid);
    EXPECT_EQ(rpc_port_parcel_write(parcel, &empty, nullptr), invalid);
    EXPECT_EQ(rpc_port_parcel_read(parcel, &empty, nullptr), invalid);
    EXPECT_EQ(rpc_port_parcel_read(parcel, nullptr, nullptr), invalid);
    EXPECT_EQ(rpc_port_parcel_read_int32(parcel, nullptr), invalid);
    EXPECT_EQ(rpc_port_parcel_read_int64(parcel, nullptr), invalid);
    EXPECT_EQ(rpc_port_parcel_read_bool(parcel, nullptr), invalid);
    EXPECT_EQ(rpc_port_parcel_read_string(parcel, nullptr), invalid);
    EXPECT_EQ(rpc_port_parcel_read_bundle(parcel, nullptr), invalid);
    EXPECT_EQ(rpc_port_parcel_read_array_count(parcel, nullptr), invalid);
    const char* lent = nullptr;
    int length = 0;
    EXPECT_EQ(qv_port_parcel_borrow_string(nullptr, &lent, &length), invalid);
    EXPECT_EQ(qv_port_parcel_borrow_string(parcel, nullptr, &length), invalid);
    EXPECT_EQ(qv_port_parcel_borrow_string(parcel, &lent, nullptr), invalid);
    EXPECT_EQ(rpc_port_parcel_send(parcel, nullptr), invalid);
    rpc_port_parcel_destroy(parcel);
    EXPECT_EQ(rpc_port_parcel_create_from_port(&parcel, nullptr), invalid);
    EXPECT_EQ(parcel, nullptr);
}

TEST(WireString, OfEveryLengthIsNoneWithANulAtAnyOtherPlaceThanItsEnd)
{
    for (std::size_t length = 0; length < 300; ++length) {
        // What follows on the wire is no part of it.
        std::string wire = text(std::string(length, 'x')) + std::string(60, '\0');
        EXPECT_EQ(wire_string_size(wire.data(), wire.size()), length + 1) << length;
        // Up to 256 bytes with the NUL are looked at quickly, where the processor can.
#ifdef __SSE2__
        constexpr std::size_t longest = 256;
#else
        constexpr std::size_t longest = kQuickString;
#endif
        EXPECT_EQ(quick_wire_string_size(wire.data(), wire.size()), length < longest ? length + 1 : 0)
            << length;
        for (std::size_t at = 0; at < length; ++at) {
            wire[4 + at] = '\0';
            EXPECT_EQ(wire_string_size(wire.data(), wire.size()), 0U) << length << ", " << at;
            EXPECT_EQ(quick_wire_string_size(wire.data(), wire.size()), 0U) << length << ", " << at;
            wire[4 + at] = 'x';
        }
        const std::size_t all_but_its_nul = 4 + length;
        EXPECT_EQ(wire_string_size(wire.data(), all_but_its_nul), 0U) << length;
        EXPECT_EQ(quick_wire_string_size(wire.data(), all_but_its_nul), 0U) << length;
        wire[4 + length] = 'x';
        EXPECT_EQ(wire_string_size(wire.data(), wire.size()), 0U) << length;
        EXPECT_EQ(quick_wire_string_size(wire.data(), wire.size()), 0U) << length;
    }
}

TEST(WireString, OfEveryLengthIsLentAndCopiedOnlyWithItsNulAtItsEnd)
{
    const auto parcel_of = [](std::string_view wire) {
        OwnedParcel parcel{Parcel::make()};
        wire.copy(parcel->append(wire.size()), wire.size());
        return parcel;
    };
    for (std::size_t length = 0; length < 300; ++length) {
        const std::string value(length, 'x');
        for (const std::size_t behind : {std::size_t{0}, std::size_t{60}}) {
            std::string wire = text(value) + std::string(behind, '\0');
            const char* lent = nullptr;
            int lent_length = -1;
            const OwnedParcel whole = parcel_of(wire);
            ASSERT_EQ(qv_port_parcel_borrow_string(whole.get(), &lent, &lent_length), 0) << length;
            EXPECT_EQ(std::string_view(lent, static_cast<std::size_t>(lent_length)), value);
            EXPECT_EQ(lent, whole->payload() + 4);
            EXPECT_EQ(whole->left(), behind);
            char* copy = nullptr;
            ASSERT_EQ(rpc_port_parcel_read_string(parcel_of(wire).get(), &copy), 0) << length;
            EXPECT_EQ(copy, value);
            std::free(copy);

            // A NUL too early, in the middle and just before its end; and none at its end.
            for (const std::size_t at : {std::size_t{0}, length / 2, length - 1, length}) {
                if (at > length)
                    continue;
                const char before = std::exchange(wire[4 + at], at < length ? '\0' : 'x');
                const OwnedParcel broken = parcel_of(wire);
                EXPECT_EQ(qv_port_parcel_borrow_string(broken.get(), &lent, &lent_length),
                          RPC_PORT_ERROR_IO_ERROR)
                    << length << ", " << at;
                EXPECT_STREQ(lent, "");
                EXPECT_EQ(lent_length, 0);
                EXPECT_TRUE(broken->failed());
                wire[4 + at] = before;
            }
        }
    }
}

TEST(WireString, ThatIsCopiedInBlocksIsWholeAndHasNoNul)
{
    for (std::size_t size = 0; size < 300; ++size) {
        std::string bytes(size, 'x');
        std::string copy(size, '?');
        for (std::size_t i = 0; i < size; ++i)
            bytes[i] = static_cast<char>('a' + i % 26);
        const bool is_copied = copy_short_text(copy.data(), bytes.data(), size);
        EXPECT_TRUE(!is_copied || copy == bytes) << size;
#ifdef __SSE2__
        EXPECT_EQ(is_copied, size >= 4 && size <= 256) << size;
#endif
        for (char& byte : bytes) {
            byte = '\0';
            EXPECT_FALSE(copy_short_text(copy.data(), bytes.data(), size)) << size;
            byte = 'x';
        }
    }
}

}  // namespace
}  // namespace quorvel::platform::test
