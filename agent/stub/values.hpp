#pragma once

#include <bundle.h>

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// The values that a service is given and gives back.
namespace quorvel::stub {

/// A text that is lent for one call. A NUL stands behind it.
class TextRef {
public:
    TextRef(const char* text) noexcept : text_{text != nullptr ? text : ""} {}
    TextRef(const std::string& text) noexcept : text_{text} {}

    const char* c_str() const noexcept { return text_.data(); }
    std::string_view view() const noexcept { return text_; }

private:
    std::string_view text_;
};

/// A key/value bundle of the platform's, as a value. An empty one takes no memory.
class Bundle {
public:
    Bundle() noexcept = default;
    /// Takes the bundle over.
    explicit Bundle(bundle* taken) noexcept : bundle_{taken} {}
    Bundle(const Bundle& other);
    Bundle(Bundle&& other) noexcept : bundle_{std::exchange(other.bundle_, nullptr)} {}
    Bundle& operator=(Bundle other) noexcept
    {
        std::swap(bundle_, other.bundle_);
        return *this;
    }
    ~Bundle();

    /// All of them answer 0 or a bundle_error_e; a key that is there already is never replaced.
    int add(const char* key, TextRef text);
    int add(const char* key, std::span<const std::string> texts);
    int add(const char* key, std::span<const std::byte> bytes);

    /// What is read is lent by the bundle; an absent key gives nothing.
    std::optional<std::string_view> text(const char* key) const;
    std::vector<std::string_view> texts(const char* key) const;
    std::span<const std::byte> bytes(const char* key) const;
    int size() const;

    bundle* get() const noexcept { return bundle_; }

private:
    bundle* made();

    bundle* bundle_ = nullptr;
};

/// A text on its way out: kept, or borrowed from whoever outlives the call.
class Text {
public:
    enum class Wipe { no, yes };

    explicit Text(Wipe wipe = Wipe::no) noexcept : wipe_{wipe} {}
    ~Text();
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;

    Text& operator=(std::string&& text);
    Text& operator=(const std::string& text);
    Text& operator=(std::string_view text);
    Text& operator=(const char* text);

    /// Sends the text from where it lies.
    void borrow(const std::string& text) noexcept { borrowed_ = text; }
    void borrow(const char* text) noexcept { borrowed_ = text != nullptr ? text : ""; }
    void borrow(std::string&& text) = delete;

    /// A NUL stands behind it.
    std::string_view view() const noexcept { return borrowed_ ? *borrowed_ : std::string_view{kept_}; }

private:
    std::string kept_;
    std::optional<std::string_view> borrowed_;
    Wipe wipe_;
};

/// A record or an array on its way out: kept, or borrowed from whoever outlives the call.
template <typename Value>
class Out {
public:
    Out() = default;
    Out(const Out&) = delete;
    Out& operator=(const Out&) = delete;

    Out& operator=(Value&& value)
    {
        made() = std::move(value);
        return *this;
    }
    Out& operator=(const Value& value)
    {
        made() = value;
        return *this;
    }

    /// The value to fill in place.
    Value& made() noexcept
    {
        borrowed_ = nullptr;
        return kept_;
    }
    Value* operator->() noexcept { return &made(); }

    /// Sends the value from where it lies: nothing is copied.
    void borrow(const Value& value) noexcept { borrowed_ = &value; }
    void borrow(Value&& value) = delete;

    const Value& get() const noexcept { return borrowed_ != nullptr ? *borrowed_ : kept_; }

private:
    Value kept_{};
    const Value* borrowed_ = nullptr;
};

}  // namespace quorvel::stub
