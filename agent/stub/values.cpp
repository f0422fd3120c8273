#include "stub/values.hpp"

#include <cstring>
#include <new>

namespace quorvel::stub {

Bundle::Bundle(const Bundle& other)
{
    if (other.bundle_ == nullptr)
        return;
    bundle_ = bundle_dup(other.bundle_);
    if (bundle_ == nullptr)
        throw std::bad_alloc{};
}

Bundle::~Bundle()
{
    if (bundle_ != nullptr)
        bundle_free(bundle_);
}

bundle* Bundle::made()
{
    if (bundle_ == nullptr)
        bundle_ = bundle_create();
    if (bundle_ == nullptr)
        throw std::bad_alloc{};
    return bundle_;
}

int Bundle::add(const char* key, TextRef text)
{
    return bundle_add_str(made(), key, text.c_str());
}

int Bundle::add(const char* key, std::span<const std::string> texts)
{
    std::vector<const char*> lent;
    lent.reserve(texts.size());
    for (const std::string& text : texts)
        lent.push_back(text.c_str());
    return bundle_add_str_array(made(), key, lent.data(), static_cast<int>(lent.size()));
}

int Bundle::add(const char* key, std::span<const std::byte> bytes)
{
    return bundle_add_byte(made(), key, bytes.data(), bytes.size());
}

std::optional<std::string_view> Bundle::text(const char* key) const
{
    char* text = nullptr;
    if (bundle_ == nullptr || bundle_get_str(bundle_, key, &text) != BUNDLE_ERROR_NONE || text == nullptr)
        return std::nullopt;
    return text;
}

std::vector<std::string_view> Bundle::texts(const char* key) const
{
    int count = 0;
    const char** texts = bundle_ != nullptr ? bundle_get_str_array(bundle_, key, &count) : nullptr;
    std::vector<std::string_view> lent;
    for (int i = 0; texts != nullptr && i < count; ++i)
        lent.emplace_back(texts[i] != nullptr ? texts[i] : "");
    return lent;
}

std::span<const std::byte> Bundle::bytes(const char* key) const
{
    void* bytes = nullptr;
    std::size_t size = 0;
    if (bundle_ == nullptr || bundle_get_byte(bundle_, key, &bytes, &size) != BUNDLE_ERROR_NONE)
        return {};
    return {static_cast<const std::byte*>(bytes), size};
}

int Bundle::size() const
{
    return bundle_ != nullptr ? bundle_get_count(bundle_) : 0;
}

Text::~Text()
{
    if (wipe_ == Wipe::yes)
        explicit_bzero(kept_.data(), kept_.capacity());
}

Text& Text::operator=(std::string&& text)
{
    kept_ = std::move(text);
    borrowed_.reset();
    return *this;
}

Text& Text::operator=(const std::string& text)
{
    return *this = std::string_view{text};
}

Text& Text::operator=(std::string_view text)
{
    kept_ = text;
    borrowed_.reset();
    return *this;
}

Text& Text::operator=(const char* text)
{
    return *this = std::string_view{text != nullptr ? text : ""};
}

}  // namespace quorvel::stub
