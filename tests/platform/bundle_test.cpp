#include "bundle.hpp"

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "support.hpp"

namespace quorvel::platform::test {
namespace {

class BundleTest : public testing::Test {
protected:
    ~BundleTest() override { bundle_free(b_); }
    std::string string_of(bundle* b, const char* key)
    {
        char* value = nullptr;
        return bundle_get_str(b, key, &value) == 0 ? value : "none";
    }
    std::string wire()
    {
        std::string bytes(bundle_wire_size(b_), '\0');
        write_bundle(b_, bytes.data());
        return bytes;
    }
    static BundleRead read(const std::string& body)
    {
        bundle* made = nullptr;
        const BundleRead result = read_bundle(body.data(), body.size(), &made);
        EXPECT_EQ(made != nullptr, result == BundleRead::complete);
        bundle_free(made);
        return result;
    }

    bundle* b_ = bundle_create();
};

TEST_F(BundleTest, KeepsStringsArraysAndBytesUnderTheirKeys)
{
    const char* rooms[] = {"den", "hall"};
    EXPECT_EQ(bundle_add_str(b_, "name", "lamp"), 0);
    EXPECT_EQ(bundle_add_str_array(b_, "rooms", rooms, 2), 0);
    EXPECT_EQ(bundle_add_byte(b_, "data", "\0\1\2", 3), 0);
    EXPECT_EQ(bundle_get_count(b_), 3);

    EXPECT_EQ(string_of(b_, "name"), "lamp");
    int count = 0;
    const char** array = bundle_get_str_array(b_, "rooms", &count);
    ASSERT_EQ(count, 2);
    EXPECT_STREQ(array[0], "den");
    EXPECT_STREQ(array[1], "hall");
    EXPECT_EQ(array[2], nullptr);
    void* bytes = nullptr;
    size_t size = 0;
    ASSERT_EQ(bundle_get_byte(b_, "data", &bytes, &size), 0);
    EXPECT_EQ(std::string(static_cast<char*>(bytes), size), std::string("\0\1\2", 3));
}

TEST_F(BundleTest, NeverReplacesAValue)
{
    bundle_add_str(b_, "name", "lamp");
    EXPECT_EQ(bundle_add_str(b_, "name", "fan"), BUNDLE_ERROR_KEY_EXISTS);
    EXPECT_EQ(bundle_add_byte(b_, "name", "x", 1), BUNDLE_ERROR_KEY_EXISTS);
    EXPECT_EQ(string_of(b_, "name"), "lamp");
    EXPECT_EQ(bundle_get_count(b_), 1);
}

TEST_F(BundleTest, SaysThatAKeyIsNotThereAlsoWhenItsValueIsOfAnotherKind)
{
    bundle_add_str(b_, "name", "lamp");
    char* value = nullptr;
    void* bytes = nullptr;
    size_t size = 0;
    int count = 7;
    EXPECT_EQ(bundle_get_str(b_, "nick", &value), BUNDLE_ERROR_KEY_NOT_AVAILABLE);
    EXPECT_EQ(bundle_get_byte(b_, "name", &bytes, &size), BUNDLE_ERROR_KEY_NOT_AVAILABLE);
    EXPECT_EQ(bundle_get_str_array(b_, "name", &count), nullptr);
    EXPECT_EQ(count, 0);
}

TEST_F(BundleTest, LendsValuesThatStayWhereTheyAreWhileItGrows)
{
    bundle_add_str(b_, "name", "lamp");
    char* value = nullptr;
    bundle_get_str(b_, "name", &value);
    for (int i = 0; i < 2000; ++i)
        bundle_add_str(b_, std::to_string(i).c_str(), "x");
    EXPECT_STREQ(value, "lamp");
    EXPECT_EQ(bundle_get_count(b_), 2001);
}

TEST_F(BundleTest, IsCopiedWhole)
{
    const char* rooms[] = {"den", nullptr};
    bundle_add_str(b_, "name", "lamp");
    bundle_add_str_array(b_, "rooms", rooms, 2);
    bundle_add_str_array(b_, "none", nullptr, 0);
    bundle_add_byte(b_, "data", "abc", 3);
    bundle* copy = bundle_dup(b_);
    std::string before = wire();
    bundle_free(std::exchange(b_, copy));
    EXPECT_EQ(wire(), before);
    int count = 0;
    EXPECT_STREQ(bundle_get_str_array(copy, "rooms", &count)[1], "");
    EXPECT_NE(bundle_get_str_array(copy, "none", &count), nullptr);
    EXPECT_EQ(count, 0);
}

TEST_F(BundleTest, ComesBackFromTheWireAsItWas)
{
    const char* rooms[] = {"den", ""};
    bundle_add_str(b_, "name", "lamp");
    bundle_add_str_array(b_, "rooms", rooms, 2);
    bundle_add_byte(b_, "data", "", 0);
    const std::string bytes = wire();
    bundle* again = nullptr;
    ASSERT_EQ(read_bundle(bytes.data() + 4, bytes.size() - 4, &again), BundleRead::complete);
    bundle_free(std::exchange(b_, again));
    EXPECT_EQ(wire(), bytes);
}

TEST_F(BundleTest, IsRefusedAtEveryLengthButItsOwn)
{
    const char* rooms[] = {"den", "hall"};
    bundle_add_str(b_, "name", "lamp");
    bundle_add_str_array(b_, "rooms", rooms, 2);
    bundle_add_byte(b_, "data", "abc", 3);
    const std::string body = wire().substr(4);
    EXPECT_EQ(read(body), BundleRead::complete);
    for (std::size_t size = 0; size < body.size(); ++size)
        EXPECT_EQ(read(body.substr(0, size)), BundleRead::malformed) << size;
    EXPECT_EQ(read(body + "x"), BundleRead::malformed);
}

TEST_F(BundleTest, IsRefusedWhenAKeyStandsTwice)
{
    const std::string entry = int32(1) + text("name") + text("lamp");
    EXPECT_EQ(read(int32(2) + entry + entry), BundleRead::malformed);
    std::string many;
    for (int i = 0; i < 100; ++i)
        many += int32(1) + text(std::to_string(i)) + text("");
    EXPECT_EQ(read(int32(100) + many), BundleRead::complete);
    EXPECT_EQ(read(int32(101) + many + int32(1) + text("50") + text("")), BundleRead::malformed);
}

TEST_F(BundleTest, IsRefusedWithAnUnknownKindOrALyingCount)
{
    EXPECT_EQ(read(int32(1) + int32(0) + text("k") + text("v")), BundleRead::malformed);
    EXPECT_EQ(read(int32(1) + int32(4) + text("k") + text("v")), BundleRead::malformed);
    EXPECT_EQ(read(int32(-1)), BundleRead::malformed);
    EXPECT_EQ(read(int32(0x7fffffff) + std::string(100, '\0')), BundleRead::malformed);
    EXPECT_EQ(read(int32(1) + int32(2) + text("k") + int32(0x7fffffff) + text("v")), BundleRead::malformed);
    EXPECT_EQ(read(int32(1) + int32(3) + text("k") + int32(-1)), BundleRead::malformed);
}

TEST_F(BundleTest, WithVeryManyKeysFromTheWireIsReadInMomentsNotMinutes)
{
    std::string many = int32(50000);
    for (int i = 0; i < 50000; ++i)
        many += int32(1) + text(std::to_string(i)) + text("");
    const Stopwatch watch;
    EXPECT_EQ(read(many), BundleRead::complete);
    EXPECT_LT(watch.own(), std::chrono::milliseconds{500} + 5 * kSlack);
}

TEST_F(BundleTest, ChecksItsArguments)
{
    const int invalid = BUNDLE_ERROR_INVALID_PARAMETER;
    char* value = nullptr;
    void* bytes = nullptr;
    size_t size = 0;
    EXPECT_EQ(bundle_free(nullptr), invalid);
    EXPECT_EQ(bundle_dup(nullptr), nullptr);
    EXPECT_EQ(bundle_get_count(nullptr), 0);
    EXPECT_EQ(bundle_add_str(nullptr, "k", "v"), invalid);
    EXPECT_EQ(bundle_add_str(b_, nullptr, "v"), invalid);
    EXPECT_EQ(bundle_add_str(b_, "k", nullptr), invalid);
    EXPECT_EQ(bundle_get_str(b_, "k", nullptr), invalid);
    EXPECT_EQ(bundle_get_str(nullptr, "k", &value), invalid);
    EXPECT_EQ(bundle_get_str(b_, nullptr, &value), invalid);
    EXPECT_EQ(bundle_get_str_array(b_, nullptr, nullptr), nullptr);
    EXPECT_EQ(bundle_add_str_array(nullptr, "k", nullptr, 0), invalid);
    EXPECT_EQ(bundle_add_byte(b_, nullptr, "x", 1), invalid);
    EXPECT_EQ(bundle_get_byte(nullptr, "k", &bytes, &size), invalid);
    EXPECT_EQ(bundle_get_byte(b_, nullptr, &bytes, &size), invalid);
    EXPECT_EQ(bundle_add_str_array(b_, "k", nullptr, 1), invalid);
    EXPECT_EQ(bundle_add_str_array(b_, "k", nullptr, -1), invalid);
    EXPECT_EQ(bundle_get_str_array(nullptr, "k", nullptr), nullptr);
    EXPECT_EQ(bundle_add_byte(b_, "k", nullptr, 1), invalid);
    EXPECT_EQ(bundle_get_byte(b_, "k", nullptr, &size), invalid);
    EXPECT_EQ(bundle_get_byte(b_, "k", &bytes, nullptr), invalid);
    EXPECT_EQ(bundle_get_count(b_), 0);
}

TEST_F(BundleTest, TakesAMissingTextOfAnArrayForAnEmptyOne)
{
    const char* rooms[] = {"den", nullptr};
    EXPECT_EQ(bundle_add_str_array(b_, "rooms", rooms, 2), 0);
    // How many there are need not be asked for: the array ends with NULL.
    const char** const kept = bundle_get_str_array(b_, "rooms", nullptr);
    ASSERT_NE(kept, nullptr);
    EXPECT_STREQ(kept[0], "den");
    EXPECT_STREQ(kept[1], "");
    EXPECT_EQ(kept[2], nullptr);
}

TEST_F(BundleTest, IsRefusedWhenATextOfItsArrayIsNone)
{
    EXPECT_EQ(read(int32(1) + int32(2) + text("k") + int32(1) + int32(1) + "x"), BundleRead::malformed);
    EXPECT_EQ(read(int32(1) + int32(2) + text("k") + int32(1) + int32(9) + "x"), BundleRead::malformed);
    EXPECT_EQ(read(int32(1) + int32(1) + text("k") + int32(2) + "xx"), BundleRead::malformed);
}

}  // namespace
}  // namespace quorvel::platform::test
