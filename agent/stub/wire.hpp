#pragma once

#include <rpc-port.h>

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "stub/values.hpp"

/// Reading a request and writing an answer, value by value, over the platform's parcels.
namespace quorvel::stub {

/// A text that came in, where it lies in the parcel; where the platform cannot lend it, a copy.
class InText {
public:
    InText(const char* lent, int length) noexcept : text_{lent, static_cast<std::size_t>(length)} {}
    /// Takes the copy over; `wipe` clears it before it is released.
    InText(char* copy, bool wipe) noexcept;
    ~InText();
    InText(const InText&) = delete;
    InText& operator=(const InText&) = delete;

    operator std::string_view() const noexcept { return text_; }

private:
    std::string_view text_;
    char* copy_ = nullptr;
    bool wipe_ = false;
};

/// Reads a parcel from its front. After the first value that is missing or lies, `good` stays false.
class Reader {
public:
    explicit Reader(rpc_port_parcel_h parcel) noexcept : parcel_{parcel} {}
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    bool good() const noexcept { return good_; }
    /// What was read is well-formed, but cannot be meant.
    void reject() noexcept { good_ = false; }

    int number() noexcept;
    long long long_number() noexcept;
    bool flag() noexcept;
    InText text() noexcept { return take_text(false); }
    InText secret_text() noexcept { return take_text(true); }
    /// How many elements follow; 0 after a failure.
    int count() noexcept;

    void read(std::string& text);
    void read(Bundle& bundle);

    /// The texts that were read as values of their own, the first few of them; no secret ones.
    std::span<const std::string_view> texts() const noexcept { return {texts_.data(), text_count_}; }

private:
    InText take_text(bool secret) noexcept;
    void note(int result) noexcept { good_ = good_ && result == RPC_PORT_ERROR_NONE; }

    rpc_port_parcel_h parcel_;
    bool good_ = true;
    std::array<std::string_view, 8> texts_;
    std::size_t text_count_ = 0;
};

/// What may be done to a parcel on its way out, so that the other end can be seen to cope.
struct Damage {
    static constexpr int none = std::numeric_limits<int>::max();

    int keep = none;     ///< the parcel ends after so many values
    int corrupt = none;  ///< the value at this place (from 0) is another one; a count becomes a huge one

    enum class Texts { whole, empty, missing, broken_json };
    Texts texts = Texts::whole;
    bool no_keys = false;  ///< bundles are empty
    int elements = none;   ///< a list that is not empty has so many, the same ones again and again

    int slice = 0;           ///< the parcel leaves in pieces of so many bytes
    int break_after = none;  ///< the connection ends after so many bytes of it

    friend bool operator==(const Damage&, const Damage&) = default;
};

/// Writes a parcel from its front, without an allocation. Where the platform has room for that, values are
/// put where they leave from, since lists have tens of thousands of them; otherwise one call a value hands
/// them over.
class Writer {
public:
    Writer(rpc_port_parcel_h parcel, const Damage& damage) noexcept
        : parcel_{parcel}, damage_{damage}, is_damaged_{damage != Damage{}}
    {
    }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    /// Before the parcel is used: hands over what is left. False when the port did not take everything.
    bool finish() noexcept
    {
        leave_room();
        return good_;
    }

    void number(int value) noexcept;
    void long_number(long long value) noexcept;
    void flag(bool value) noexcept;
    /// A NUL stands behind it; one within it ends it.
    void text(std::string_view value) noexcept
    {
        if (is_damaged_) [[unlikely]]
            damaged_text(value);
        else
            plain_text(value);
    }
    void count(std::size_t value) noexcept;
    void bundle(const Bundle& value) noexcept;

    /// How many elements of a list to write that has `size`.
    std::size_t elements(std::size_t size) noexcept
    {
        if (damage_.elements == Damage::none || size == 0) [[likely]]
            return size;
        // The number that stands behind a list says once more how long it is.
        told_size_ = static_cast<int>(size);
        return static_cast<std::size_t>(damage_.elements);
    }

private:
    enum class Next { plain, corrupt, nothing };

    Next next() noexcept
    {
        if (!is_damaged_) [[likely]]
            return Next::plain;
        const int place = place_++;
        if (place >= damage_.keep)
            return Next::nothing;
        return place == damage_.corrupt ? Next::corrupt : Next::plain;
    }
    void note(int result) noexcept { good_ = good_ && result == RPC_PORT_ERROR_NONE; }
    template <typename Wire, typename Value>
    void put_value(Value plain, Value corrupt, int (*write)(rpc_port_parcel_h, Value)) noexcept;
    void plain_text(std::string_view value) noexcept;
    void any_text(std::string_view value) noexcept;
    void damaged_text(std::string_view value) noexcept;
    /// Room for so many bytes; nullptr where there is none.
    char* room(std::size_t size) noexcept
    {
        return static_cast<std::size_t>(room_end_ - room_) >= size || find_room(size)
                   ? std::exchange(room_, room_ + size)
                   : nullptr;
    }
    bool find_room(std::size_t size) noexcept;
    void leave_room() noexcept;

    rpc_port_parcel_h parcel_;
    Damage damage_;
    bool is_damaged_;
    char* room_begin_ = nullptr;
    char* room_ = nullptr;  ///< in the parcel, behind what was written
    char* room_end_ = nullptr;
    int place_ = 0;
    bool good_ = true;
    int told_size_ = Damage::none;
};

// One name for writing anything and one for reading it; the generated records add theirs.

inline void write(Writer& to, int value)
{
    to.number(value);
}

inline void write(Writer& to, long long value)
{
    to.long_number(value);
}

/// Only a bool is one: a pointer would become one too readily.
template <std::same_as<bool> Flag>
void write(Writer& to, Flag value)
{
    to.flag(value);
}

inline void write(Writer& to, TextRef value)
{
    to.text(value.view());
}

inline void write(Writer& to, const Text& value)
{
    to.text(value.view());
}

inline void write(Writer& to, const std::string& value)
{
    to.text(value);
}

inline void write(Writer& to, const Bundle& value)
{
    to.bundle(value);
}

template <typename Element>
void write(Writer& to, const std::vector<Element>& values)
{
    std::size_t left = to.elements(values.size());
    to.count(left);
    while (left > 0) {
        const std::size_t round = std::min(left, values.size());
        for (std::size_t i = 0; i < round; ++i)
            write(to, values[i]);
        left -= round;
    }
}

template <typename Value>
void write(Writer& to, const Out<Value>& value)
{
    write(to, value.get());
}

inline void read(Reader& from, int& value)
{
    value = from.number();
}

inline void read(Reader& from, std::string& value)
{
    from.read(value);
}

inline void read(Reader& from, Bundle& value)
{
    from.read(value);
}

template <typename Element>
void read(Reader& from, std::vector<Element>& values)
{
    const int count = from.count();
    values.clear();
    // Grows with what arrives: a count alone is a claim.
    for (int i = 0; i < count && from.good(); ++i)
        read(from, values.emplace_back());
}

}  // namespace quorvel::stub
