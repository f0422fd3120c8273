#include "internal/bundle_properties.hpp"

#include <regex.h>

#include <cstdlib>
#include <cstring>

namespace quorvel {

namespace {

/// An extended POSIX expression; one that cannot be compiled matches nothing.
class Pattern {
public:
    explicit Pattern(const char* expression)
        : is_compiled_{regcomp(&expression_, expression, REG_EXTENDED | REG_NOSUB) == 0}
    {
    }
    ~Pattern()
    {
        if (is_compiled_)
            regfree(&expression_);
    }
    Pattern(const Pattern&) = delete;
    Pattern& operator=(const Pattern&) = delete;

    bool matches(const char* text) const
    {
        return is_compiled_ && text != nullptr && regexec(&expression_, text, 0, nullptr, 0) == 0;
    }

private:
    regex_t expression_{};
    bool is_compiled_;
};

// An empty number passes, and is 0; a sign does not.
constexpr auto number_pattern = "^[0-9]*$";
constexpr auto truth_pattern = "^[0-1]{1}$";

/// What atoi makes of it, but defined for every number of digits.
int to_number(const char* digits)
{
    return static_cast<int>(std::strtol(digits, nullptr, 10));
}

/// One property that is looked for: its entry in the table, and what the bundle has under its key.
class Lookup {
public:
    Lookup(LocalCall& call, const BundleProperties& family, bundle* held, int id, PropertyKind kind)
        : call_{call}, family_{family}, held_{held}, id_{id}
    {
        const auto index = static_cast<std::size_t>(id);
        if (id >= 0 && index < family.table.size() && family.table[index].kind == kind)
            property_ = &family.table[index];
        else
            call.fail(QUORVEL_CLIENT_ERROR_INVALID_PARAMETER, family.invalid_id, id);
    }

    const char* key() const { return property_ != nullptr ? property_->key : nullptr; }

    const char* text() const
    {
        if (property_ == nullptr)
            return nullptr;
        const char* const found = bundle_text(held_, property_->key);
        require(found != nullptr);
        return found;
    }
    /// A text of that form.
    const char* text_like(const char* expression) const
    {
        const char* const found = text();
        if (found != nullptr)
            require(Pattern{expression}.matches(found));
        return found;
    }
    std::span<const char* const> texts() const
    {
        if (property_ == nullptr)
            return {};
        int count = 0;
        const char** const found =
            held_ != nullptr ? bundle_get_str_array(held_, property_->key, &count) : nullptr;
        require(found != nullptr);
        return {found, found != nullptr && count > 0 ? static_cast<std::size_t>(count) : 0};
    }
    bool require(bool readable) const
    {
        if (!readable) {
            const bool has_line = property_->unreadable != nullptr;
            call_.fail(QUORVEL_CLIENT_ERROR_OPERATION_FAILED,
                       has_line ? property_->unreadable : family_.unreadable, id_);
        }
        return readable;
    }

private:
    LocalCall& call_;
    const BundleProperties& family_;
    bundle* held_;
    int id_;
    const BundleProperty* property_ = nullptr;
};

void release(char** texts)
{
    for (char** text = texts; text != nullptr && *text != nullptr; ++text)
        std::free(*text);
    std::free(texts);
}

/// Copies of all texts, with a NULL behind the last one; NULL without memory.
char** copy_all(std::span<const char* const> texts)
{
    auto** const copies = static_cast<char**>(std::calloc(texts.size() + 1, sizeof(char*)));
    for (std::size_t i = 0; copies != nullptr && i < texts.size(); ++i) {
        copies[i] = strdup(texts[i] != nullptr ? texts[i] : "");
        if (copies[i] == nullptr) {
            release(copies);
            return nullptr;
        }
    }
    return copies;
}

/// Adds to a record's bundle, and makes it one if it has none.
template <typename Add>
void add_property(LocalCall& call, const BundleProperties& family, bundle*& held, int id, PropertyKind kind,
                  Add add)
{
    const Lookup property{call, family, held, id, kind};
    if (!call.ok())
        return;
    if (held == nullptr)
        held = bundle_create();
    call.fail(held != nullptr ? add(held, property.key()) : QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY);
}

}  // namespace

void hand_out(LocalCall& call, const BundleProperties& family, bundle* held, int id, char** text)
{
    const char* const found = Lookup{call, family, held, id, PropertyKind::text}.text();
    if (call.ok())
        hand_out_copy(call, found, text);
}

void hand_out(LocalCall& call, const BundleProperties& family, bundle* held, int id, int* number)
{
    const Lookup property{call, family, held, id, PropertyKind::number};
    const char* const digits = property.text_like(number_pattern);
    if (call.ok())
        *number = to_number(digits);
}

void hand_out(LocalCall& call, const BundleProperties& family, bundle* held, int id, bool* truth)
{
    const Lookup property{call, family, held, id, PropertyKind::truth};
    const char* const digit = property.text_like(truth_pattern);
    if (call.ok())
        *truth = to_number(digit) != 0;
}

void hand_out(LocalCall& call, const BundleProperties& family, bundle* held, int id, char*** texts,
              int* count)
{
    const auto found = Lookup{call, family, held, id, PropertyKind::text_list}.texts();
    if (!call.ok())
        return;
    char** const copies = found.empty() ? nullptr : copy_all(found);
    if (!call.require(copies != nullptr || found.empty(), "fail to calloc",
                      QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY)
             .ok())
        return;
    *texts = copies;
    *count = static_cast<int>(found.size());
}

void hand_out(LocalCall& call, const BundleProperties& family, bundle* held, int id, int** numbers,
              int* count)
{
    const Lookup property{call, family, held, id, PropertyKind::number_list};
    const auto found = property.texts();
    if (!call.ok())
        return;
    int* const values = found.empty() ? nullptr : static_cast<int*>(std::calloc(found.size(), sizeof(int)));
    call.require(values != nullptr || found.empty(), "Fail to mem alloc", QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY);
    const Pattern number{number_pattern};
    for (std::size_t i = 0; values != nullptr && call.ok() && i < found.size(); ++i) {
        if (property.require(number.matches(found[i])))
            values[i] = to_number(found[i]);
    }
    if (!call.ok()) {
        std::free(values);
        return;
    }
    *numbers = values;
    *count = static_cast<int>(found.size());
}

void take_in(LocalCall& call, const BundleProperties& family, bundle*& held, int id, const char* text)
{
    if (!call.require(is_set(text)).ok())
        return;
    add_property(call, family, held, id, PropertyKind::text,
                 [text](bundle* b, const char* key) { return bundle_add_str(b, key, text); });
}

// The count is taken as it is, which is meant so; the platform copies the texts and leaves them alone.
void take_in(LocalCall& call, const BundleProperties& family, bundle*& held, int id, const char* const* texts,
             int count)
{
    if (!call.require(texts != nullptr && texts[0] != nullptr).ok())
        return;
    add_property(call, family, held, id, PropertyKind::text_list, [=](bundle* b, const char* key) {
        return bundle_add_str_array(b, key, const_cast<const char**>(texts), count);
    });
}

}  // namespace quorvel
