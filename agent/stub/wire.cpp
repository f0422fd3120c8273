#include "stub/wire.hpp"

#include <cstdlib>
#include <cstring>

// The platform may leave it out; then texts are copied.
#pragma weak qv_port_parcel_borrow_string

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

void Writer::number(int value) noexcept
{
    if (value == told_size_)
        value = damage_.elements;
    if (const Next what = next(); what != Next::nothing)
        note(rpc_port_parcel_write_int32(parcel_, what == Next::plain ? value : ~value));
}

void Writer::long_number(long long value) noexcept
{
    if (const Next what = next(); what != Next::nothing)
        note(rpc_port_parcel_write_int64(parcel_, what == Next::plain ? value : ~value));
}

void Writer::flag(bool value) noexcept
{
    if (const Next what = next(); what != Next::nothing)
        note(rpc_port_parcel_write_bool(parcel_, what == Next::plain ? value : !value));
}

void Writer::text(const char* value) noexcept
{
    const Next what = damage_.texts == Damage::Texts::missing ? Next::nothing : next();
    if (what == Next::nothing)
        return;
    if (what == Next::corrupt)
        value = corrupt_text;
    else if (damage_.texts == Damage::Texts::empty)
        value = "";
    else if (damage_.texts == Damage::Texts::broken_json && (*value == '{' || *value == '[')) {
        const std::string_view whole{value};
        note(rpc_port_parcel_write_string(parcel_, std::string{whole.substr(0, whole.size() / 2)}.c_str()));
        return;
    }
    note(rpc_port_parcel_write_string(parcel_, value));
}

void Writer::count(std::size_t value) noexcept
{
    const Next what = next();
    if (what == Next::nothing)
        return;
    if (value > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        good_ = false;
        return;
    }
    note(rpc_port_parcel_write_array_count(parcel_,
                                           what == Next::plain ? static_cast<int>(value) : corrupt_count));
}

void Writer::bundle(const Bundle& value) noexcept
{
    if (const Next what = next(); what != Next::nothing)
        note(rpc_port_parcel_write_bundle(parcel_,
                                          what == Next::plain && !damage_.no_keys ? value.get() : nullptr));
}

}  // namespace quorvel::stub
