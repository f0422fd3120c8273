#include "frames.hpp"

#include <algorithm>
#include <cstring>
#include <random>

#include "support.hpp"

namespace quorvel::platform::test {
namespace {

class FrameInputTest : public testing::Test {
protected:
    bool feed(std::string_view bytes, std::size_t at_once = SIZE_MAX)
    {
        while (!bytes.empty()) {
            const FrameInput::Room room = input_.room();
            EXPECT_GT(room.size, 0U);
            const std::size_t size = std::min({room.size, bytes.size(), at_once});
            bytes.copy(room.at, size);
            bytes.remove_prefix(size);
            most_room_ = std::max(most_room_, room.size);
            if (!input_.received(size))
                return false;
        }
        return true;
    }
    std::string take()
    {
        const OwnedParcel parcel{Parcel::make()};
        return input_.take(*parcel, false) ? std::string(parcel->payload(), parcel->size()) : "nothing";
    }

    FrameInput input_;
    std::size_t most_room_ = 0;
};

TEST_F(FrameInputTest, GivesWholeFramesInTheirOrder)
{
    feed(frame("one") + frame("") + frame("three") + "\5\0\0");
    EXPECT_EQ(input_.frames(), 3U);
    EXPECT_EQ(input_.bytes(), 7U + 4U + 9U);
    EXPECT_EQ(take(), "one");
    EXPECT_EQ(take(), "");
    EXPECT_EQ(take(), "three");
    EXPECT_EQ(take(), "nothing");
    EXPECT_EQ(input_.bytes(), 0U);
}

TEST_F(FrameInputTest, DoesNotMindWhereTheBytesAreCut)
{
    std::mt19937 random{1};
    std::string stream;
    std::vector<std::string> expected;
    for (int i = 0; i < 300; ++i) {
        const std::size_t size = i % 50 == 7 ? 200000 : random() % 3000;
        expected.emplace_back(size, static_cast<char>('a' + i % 26));
        stream += frame(expected.back());
    }
    for (const std::size_t at_once :
         {std::size_t{1}, std::size_t{3}, std::size_t{4096}, std::size_t{100000}}) {
        FrameInput input;
        std::size_t next = 0;
        std::string_view rest = stream;
        while (!rest.empty()) {
            const FrameInput::Room room = input.room();
            const std::size_t size = std::min({room.size, rest.size(), at_once});
            rest.copy(room.at, size);
            rest.remove_prefix(size);
            ASSERT_TRUE(input.received(size));
            while (input.frames() != 0) {
                const OwnedParcel parcel{Parcel::make()};
                ASSERT_TRUE(input.take(*parcel, false));
                ASSERT_EQ(std::string_view(parcel->payload(), parcel->size()), expected[next]) << next;
                ++next;
            }
        }
        EXPECT_EQ(next, expected.size());
    }
}

TEST_F(FrameInputTest, KeepsFramesThatWereHandedOutIntactWhileMoreArrives)
{
    std::vector<OwnedParcel> held;
    for (int i = 0; i < 500; ++i) {
        feed(frame(std::string(1000, static_cast<char>('a' + i % 26))), 700);
        held.emplace_back(Parcel::make());
        ASSERT_TRUE(input_.take(*held.back(), false));
    }
    for (int i = 0; i < 500; ++i) {
        EXPECT_EQ(std::string(held[static_cast<std::size_t>(i)]->payload(), 1000),
                  std::string(1000, static_cast<char>('a' + i % 26)));
    }
}

TEST_F(FrameInputTest, GrowsWithWhatArrivedNotWithWhatIsAnnounced)
{
    // One that is kept for reuse may be larger, and would hide what is to be seen here.
    Chunk* kept = Chunk::make(kStandardChunk + 1);
    feed(int32(64 << 20) + "only this");
    EXPECT_LE(input_.room().size, 64U * 1024);
    feed(std::string(200000, 'x'));
    EXPECT_LE(input_.room().size, 512U * 1024);
    kept->release();
}

TEST_F(FrameInputTest, AcceptsTheLongestFrame)
{
    const std::string longest(std::size_t{64} << 20, 'x');
    EXPECT_TRUE(feed(int32(64 << 20)));
    EXPECT_TRUE(feed(longest));
    EXPECT_EQ(take().size(), longest.size());
}

TEST_F(FrameInputTest, RefusesALengthAboveTheLongest)
{
    EXPECT_FALSE(feed(int32((64 << 20) + 1)));
}

TEST_F(FrameInputTest, RefusesANegativeLengthButGivesWhatCameBefore)
{
    EXPECT_FALSE(feed(frame("good") + int32(-1)));
    EXPECT_EQ(take(), "good");
}

TEST_F(FrameInputTest, BeginsAgainAtTheFrontOnceEverythingIsRead)
{
    feed(frame("one"));
    const char* first = input_.room().at - 7;
    take();
    EXPECT_EQ(input_.room().at, first);
    // What was there is wiped, since the memory is used again.
    EXPECT_EQ(std::string(first, 7), std::string(7, '\0'));
}

}  // namespace
}  // namespace quorvel::platform::test
