#include "stub/wire.hpp"

#include <cstdlib>
#include <cstring>

#include "room/qv-port-room.h"
#include "src/wire.hpp"

// The platform may leave it out; then texts are copied.
#pragma weak qv_port_parcel_borrow_string
// Only the host platform's objects have them.
#pragma weak qv_port_parcel_room
#pragma weak qv_port_parcel_filled

namespace quorvel::stub {
namespace {

constexpr int corrupt_count = std::numeric_limits<int>::max() / 8;
constexpr const char* corrupt_text = "\xC3\x28 not what it was";

}  // namespace

InText::InText(char* copy, bool wipe) noexcept : text_{copy != nullptr ? copy : ""}, copy_{copy}, wipe_{wipe}
{
}

InText::~InText()
{
    if (copy_ == nullptr)
        return;
    if (wipe_)
        explicit_bzero(copy_, text_.size());
    std::free(copy_);
}

int Reader::number() noexcept
{
    int value = 0;
    note(rpc_port_parcel_read_int32(parcel_, &value));
    return value;
}

long long Reader::long_number() noexcept
{
    long long value = 0;
    note(rpc_port_parcel_read_int64(parcel_, &value));
    return value;
}

bool Reader::flag() noexcept
{
    bool value = false;
    note(rpc_port_parcel_read_bool(parcel_, &value));
    return value;
}

int Reader::count() noexcept
{
    int value = 0;
    note(rpc_port_parcel_read_array_count(parcel_, &value));
    if (value < 0)
        reject();
    return good_ ? value : 0;
}

InText Reader::take_text(bool secret) noexcept
{
    const auto noted = [this, secret](std::string_view text) {
        if (!secret && text_count_ < texts_.size())
            texts_[text_count_++] = text;
    };
    if (qv_port_parcel_borrow_string != nullptr) {
        const char* text = "";
        int length = 0;
        note(qv_port_parcel_borrow_string(parcel_, &text, &length));
        noted({text, static_cast<std::size_t>(length)});
        return {text, length};
    }
    char* copy = nullptr;
    note(rpc_port_parcel_read_string(parcel_, &copy));
    if (copy == nullptr)
        reject();
    else
        noted(copy);
    return {copy, secret};
}

void Reader::read(std::string& text)
{
    if (qv_port_parcel_borrow_string != nullptr) {
        const char* lent = "";
        int length = 0;
        note(qv_port_parcel_borrow_string(parcel_, &lent, &length));
        text.assign(lent, static_cast<std::size_t>(length));
        return;
    }
    char* copy = nullptr;
    note(rpc_port_parcel_read_string(parcel_, &copy));
    if (copy == nullptr)
        reject();
    const InText taken{copy, false};
    text = std::string_view{taken};
}

void Reader::read(Bundle& bundle)
{
    ::bundle* taken = nullptr;
    note(rpc_port_parcel_read_bundle(parcel_, &taken));
    bundle = Bundle{taken};
}

bool Writer::find_room(std::size_t size) noexcept
{
    leave_room();
    std::size_t found = 0;
    if (qv_port_parcel_room != nullptr)
        room_begin_ = room_ = qv_port_parcel_room(parcel_, size, &found);
    room_end_ = room_ + found;
    return room_ != nullptr;
}

void Writer::leave_room() noexcept
{
    if (room_ != nullptr)
        qv_port_parcel_filled(parcel_, static_cast<std::size_t>(room_ - room_begin_));
    room_begin_ = room_ = room_end_ = nullptr;
}

template <typename Wire, typename Value>
void Writer::put_value(Value plain, Value corrupt, int (*write)(rpc_port_parcel_h, Value)) noexcept
{
    const Next what = next();
    if (what == Next::nothing)
        return;
    const Value written = what == Next::plain ? plain : corrupt;
    if (char* at = room(sizeof(Wire)))
        platform::put(at, static_cast<Wire>(written));
    else
        note(write(parcel_, written));
}

void Writer::number(int value) noexcept
{
    if (value == told_size_)
        value = damage_.elements;
    put_value<std::int32_t>(value, ~value, rpc_port_parcel_write_int32);
}

void Writer::long_number(long long value) noexcept
{
    put_value<std::int64_t>(value, ~value, rpc_port_parcel_write_int64);
}

void Writer::flag(bool value) noexcept
{
    put_value<std::uint8_t>(value, !value, rpc_port_parcel_write_bool);
}

void Writer::damaged_text(std::string_view value) noexcept
{
    const Next what = damage_.texts == Damage::Texts::missing ? Next::nothing : next();
    if (what == Next::nothing)
        return;
    if (what == Next::corrupt)
        plain_text(corrupt_text);
    else if (damage_.texts == Damage::Texts::empty)
        plain_text("");
    else if (damage_.texts == Damage::Texts::broken_json
             && (value.starts_with('{') || value.starts_with('[')))
        plain_text(std::string{value.substr(0, value.size() / 2)});
    else
        plain_text(value);
}

namespace {

constexpr std::size_t text_head = sizeof(std::int32_t);

// What stands around the bytes of a text. Answers where the next value begins.
char* frame_text(char* at, std::size_t length) noexcept
{
    platform::put(at, static_cast<std::int32_t>(length + 1));
    at[text_head + length] = '\0';
    return at + text_head + length + 1;
}

}  // namespace

void Writer::plain_text(std::string_view value) noexcept
{
    const std::size_t size = value.size();
    if (text_head + size < static_cast<std::size_t>(room_end_ - room_)
        && platform::copy_short_text(room_ + text_head, value.data(), size))
        room_ = frame_text(room_, size);
    else
        any_text(value);
}

void Writer::any_text(std::string_view value) noexcept
{
    value = value.substr(0, ::strnlen(value.data(), value.size()));
    if (char* at = room(text_head + value.size() + 1)) {
        value.copy(at + text_head, value.size());
        frame_text(at, value.size());
    } else {
        note(rpc_port_parcel_write_string(parcel_, value.data()));
    }
}

void Writer::count(std::size_t value) noexcept
{
    if (value > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        good_ = false;
    else
        put_value<std::int32_t>(static_cast<int>(value), corrupt_count, rpc_port_parcel_write_array_count);
}

void Writer::bundle(const Bundle& value) noexcept
{
    const Next what = next();
    if (what == Next::nothing)
        return;
    leave_room();
    note(rpc_port_parcel_write_bundle(parcel_,
                                      what == Next::plain && !damage_.no_keys ? value.get() : nullptr));
}

}  // namespace quorvel::stub
