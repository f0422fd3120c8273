// The wire form, pinned by bytes that were written down by hand: both ends could agree on a mistake.
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "parcel.hpp"
#include "sockets.hpp"
#include "support.hpp"

namespace quorvel::platform::test {
namespace {

// Bytes in hexadecimal, then a bar, then what they are; "#" begins a remark.
std::string golden(const std::string& name)
{
    std::ifstream file{std::string(GOLDEN_DIR) + "/" + name + ".txt"};
    EXPECT_TRUE(file.is_open()) << name;
    std::string bytes;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line.front() == '#')
            continue;
        std::istringstream words{line.substr(0, line.find('|'))};
        for (std::string word; words >> word;)
            bytes.push_back(static_cast<char>(std::stoi(word, nullptr, 16)));
    }
    return bytes;
}

class GoldenTest : public testing::Test {
protected:
    GoldenTest() { rpc_port_parcel_create(&written_); }
    ~GoldenTest() override
    {
        rpc_port_parcel_destroy(written_);
        rpc_port_parcel_destroy(read_);
    }
    std::string written() { return std::string{static_cast<Parcel*>(written_)->frame()}; }
    // A parcel as it is when this frame has arrived.
    void arrive(const std::string& name)
    {
        rpc_port_parcel_create(&read_);
        const std::string payload = golden(name).substr(4);
        payload.copy(static_cast<Parcel*>(read_)->append(payload.size()), payload.size());
    }
    int number()
    {
        int value = 4711;
        EXPECT_EQ(rpc_port_parcel_read_int32(read_, &value), 0);
        return value;
    }
    int count()
    {
        int value = 4711;
        EXPECT_EQ(rpc_port_parcel_read_array_count(read_, &value), 0);
        return value;
    }
    bool flag()
    {
        bool value = false;
        EXPECT_EQ(rpc_port_parcel_read_bool(read_, &value), 0);
        return value;
    }
    std::string string()
    {
        char* value = nullptr;
        EXPECT_EQ(rpc_port_parcel_read_string(read_, &value), 0);
        std::string result = value;
        free(value);
        return result;
    }
    void expect_all_read() { EXPECT_EQ(static_cast<Parcel*>(read_)->left(), 0U); }

    rpc_port_parcel_h written_ = nullptr;
    rpc_port_parcel_h read_ = nullptr;
};

TEST_F(GoldenTest, ACallIsWrittenAndReadByteForByte)
{
    rpc_port_parcel_write_int32(written_, 58);
    rpc_port_parcel_write_array_count(written_, 2);
    rpc_port_parcel_write_string(written_, "lamp-1");
    rpc_port_parcel_write_string(written_, "fan");
    rpc_port_parcel_write_int32(written_, 2);
    rpc_port_parcel_write_string(written_, "kitchen");
    rpc_port_parcel_write_string(written_, nullptr);
    rpc_port_parcel_write_int32(written_, 22);
    rpc_port_parcel_write_int32(written_, 1);
    rpc_port_parcel_write_bool(written_, true);
    rpc_port_parcel_write_int64(written_, 123456789);
    rpc_port_parcel_write_int64(written_, -2);
    EXPECT_EQ(written(), golden("call"));

    arrive("call");
    long long large = 0;
    EXPECT_EQ(number(), 58);
    EXPECT_EQ(count(), 2);
    EXPECT_EQ(string(), "lamp-1");
    EXPECT_EQ(string(), "fan");
    EXPECT_EQ(number(), 2);
    EXPECT_EQ(string(), "kitchen");
    EXPECT_EQ(string(), "");
    EXPECT_EQ(number(), 22);
    EXPECT_EQ(number(), 1);
    EXPECT_TRUE(flag());
    EXPECT_EQ(rpc_port_parcel_read_int64(read_, &large), 0);
    EXPECT_EQ(large, 123456789);
    EXPECT_EQ(rpc_port_parcel_read_int64(read_, &large), 0);
    EXPECT_EQ(large, -2);
    expect_all_read();
}

TEST_F(GoldenTest, AResultIsWrittenAndReadByteForByte)
{
    rpc_port_parcel_write_int32(written_, 0);
    rpc_port_parcel_write_string(written_, "h\xc3\xa9!!");
    rpc_port_parcel_write_int32(written_, -22);
    EXPECT_EQ(written(), golden("result"));

    arrive("result");
    EXPECT_EQ(number(), 0);
    EXPECT_EQ(string(), "h\xc3\xa9!!");
    EXPECT_EQ(number(), -22);
    expect_all_read();
}

TEST_F(GoldenTest, ACallbackIsWrittenAndReadByteForByte)
{
    rpc_port_parcel_write_int32(written_, 1);
    rpc_port_parcel_write_int32(written_, 3);
    rpc_port_parcel_write_int32(written_, 7);
    rpc_port_parcel_write_bool(written_, false);
    rpc_port_parcel_write_array_count(written_, 2);
    rpc_port_parcel_write_string(written_, "a");
    rpc_port_parcel_write_array_count(written_, 2);
    rpc_port_parcel_write_string(written_, "x.light");
    rpc_port_parcel_write_string(written_, "x.switch");
    rpc_port_parcel_write_string(written_, "b");
    rpc_port_parcel_write_array_count(written_, 0);
    rpc_port_parcel_write_int32(written_, 2);
    EXPECT_EQ(written(), golden("callback"));

    arrive("callback");
    EXPECT_EQ(number(), 1);
    EXPECT_EQ(number(), 3);
    EXPECT_EQ(number(), 7);
    EXPECT_FALSE(flag());
    EXPECT_EQ(count(), 2);
    EXPECT_EQ(string(), "a");
    EXPECT_EQ(count(), 2);
    EXPECT_EQ(string(), "x.light");
    EXPECT_EQ(string(), "x.switch");
    EXPECT_EQ(string(), "b");
    EXPECT_EQ(count(), 0);
    EXPECT_EQ(number(), 2);
    expect_all_read();
}

TEST_F(GoldenTest, ABundleIsWrittenAndReadByteForByte)
{
    const char* ids[] = {"1", ""};
    bundle* b = bundle_create();
    bundle_add_str(b, "name", "Den");
    bundle_add_str_array(b, "ids", ids, 2);
    bundle_add_byte(b, "d", "\0\xff\n", 3);
    rpc_port_parcel_write_bundle(written_, b);
    bundle_free(b);
    EXPECT_EQ(written(), golden("bundle"));

    arrive("bundle");
    ASSERT_EQ(rpc_port_parcel_read_bundle(read_, &b), 0);
    expect_all_read();
    char* name = nullptr;
    int count = 0;
    void* bytes = nullptr;
    size_t size = 0;
    EXPECT_EQ(bundle_get_count(b), 3);
    ASSERT_EQ(bundle_get_str(b, "name", &name), 0);
    EXPECT_STREQ(name, "Den");
    const char** list = bundle_get_str_array(b, "ids", &count);
    ASSERT_EQ(count, 2);
    EXPECT_STREQ(list[0], "1");
    EXPECT_STREQ(list[1], "");
    ASSERT_EQ(bundle_get_byte(b, "d", &bytes, &size), 0);
    EXPECT_EQ(std::string(static_cast<char*>(bytes), size), std::string("\0\xff\n", 3));
    bundle_free(b);
}

TEST_F(GoldenTest, NoBundleIsWrittenAsAnEmptyOne)
{
    rpc_port_parcel_write_bundle(written_, nullptr);
    EXPECT_EQ(written(), golden("empty_bundle"));
}

TEST_F(GoldenTest, TheFirstWordsOfASocketAreWrittenAndReadByteForByte)
{
    Introduction introduction{PortKind::callback, {}, "demo"};
    std::string_view{"0123456789abcdef"}.copy(introduction.token.data(), introduction.token.size());
    write_introduction(*static_cast<Parcel*>(written_), introduction);
    EXPECT_EQ(written(), golden("introduction"));

    arrive("introduction");
    const auto read = read_introduction(*static_cast<Parcel*>(read_));
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(read->port, PortKind::callback);
    EXPECT_EQ(read->token, introduction.token);
    EXPECT_EQ(read->sender, "demo");
}

TEST_F(GoldenTest, TheWelcomeIsWrittenAndReadByteForByte)
{
    write_welcome(*static_cast<Parcel*>(written_), 0);
    EXPECT_EQ(written(), golden("welcome"));

    arrive("welcome");
    EXPECT_EQ(read_welcome(*static_cast<Parcel*>(read_)), 0);
}

}  // namespace
}  // namespace quorvel::platform::test
