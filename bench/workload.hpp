#pragma once

#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

/// What all systems carry, so that they carry the same.
namespace bench {

inline constexpr auto signed_in = "TRUE";
inline constexpr std::size_t status_length = 4096;
inline constexpr int detail_count = 1000;
inline constexpr std::size_t text_count = 11;
inline constexpr std::size_t list_count = 3;

/// A text of that length, which differs a little from its neighbours.
inline std::string text(std::size_t length, int seed)
{
    std::string result(length, 'a');
    for (std::size_t i = 0; i < length; ++i)
        result[i] = static_cast<char>('a' + (static_cast<std::size_t>(seed) * 7 + i * 3) % 26);
    return result;
}

inline const std::array<std::string, 3>& question()
{
    static const std::array<std::string, 3> texts{text(36, 1), text(36, 2), text(36, 3)};
    return texts;
}

inline const std::string& status()
{
    static const std::string answer = text(status_length, 4);
    return answer;
}

inline const std::array<std::string, 3>& notification()
{
    static const std::array<std::string, 3> texts{text(16, 5), text(40, 6), text(64, 7)};
    return texts;
}

/// One device with all that is known of it: 1 integer, 11 strings, and lists of 1, 10 and 20 strings.
struct Detail {
    int resource_count = 0;
    std::array<std::string, text_count> texts;
    std::array<std::vector<std::string>, list_count> lists;
};

inline const std::vector<Detail>& details()
{
    static const std::vector<Detail> made = [] {
        constexpr std::array<std::size_t, text_count> lengths{36, 24, 8, 9, 20, 8, 10, 12, 16, 28, 14};
        constexpr std::array<std::size_t, list_count> sizes{1, 10, 20};
        std::vector<Detail> result(detail_count);
        int seed = 0;
        for (Detail& detail : result) {
            detail.resource_count = seed;
            for (std::size_t i = 0; i < text_count; ++i)
                detail.texts[i] = text(lengths[i], ++seed);
            for (std::size_t i = 0; i < list_count; ++i) {
                for (std::size_t j = 0; j < sizes[i]; ++j)
                    detail.lists[i].push_back(text(16 + j % 9, ++seed));
            }
        }
        return result;
    }();
    return made;
}

/// What a client of a system without types of its own makes of a detail, so that its application may keep it:
/// plain C, a block a string, as it would be without this library.
class HeldDetails {
public:
    explicit HeldDetails(std::size_t count) { details_.reserve(count); }
    ~HeldDetails()
    {
        for (const One& one : details_) {
            for (char* value : one.texts)
                std::free(value);
            for (const auto& list : one.lists) {
                for (char* value : list)
                    std::free(value);
            }
        }
    }
    HeldDetails(const HeldDetails&) = delete;
    HeldDetails& operator=(const HeldDetails&) = delete;

    void begin(int resource_count)
    {
        details_.emplace_back();
        details_.back().resource_count = resource_count;
        next_text_ = 0;
    }
    void add_text(const char* value) { details_.back().texts[next_text_++] = strdup(value); }
    void begin_list(std::size_t list, std::size_t size) { details_.back().lists[list].reserve(size); }
    void add_to_list(std::size_t list, const char* value)
    {
        details_.back().lists[list].push_back(strdup(value));
    }
    /// As many as there must be, with all that is in them.
    bool complete() const
    {
        return details_.size() == static_cast<std::size_t>(detail_count) && next_text_ == text_count
               && details_.back().lists[2].size() == 20;
    }

private:
    struct One {
        int resource_count = 0;
        std::array<char*, text_count> texts{};
        std::array<std::vector<char*>, list_count> lists;
    };
    std::vector<One> details_;
    std::size_t next_text_ = 0;
};

}  // namespace bench
