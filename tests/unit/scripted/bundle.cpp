#include "bundle.h"

#include "state.hpp"

using scripted::BundleItem;
using scripted::BundleItems;
using scripted::Bytes;
using scripted::Strings;
using scripted::detail::Function;
using scripted::detail::Lock;
using scripted::detail::state;
using scripted::detail::use;

namespace {

bundle* adopt(BundleItems items)
{
    auto* const b = new _bundle_t{.items = std::move(items), .lent = {}};
    state().bundles.insert(b);
    return b;
}

// Is it a bundle that is alive? The mutex is held.
bool alive(bundle* b, Function user)
{
    if (state().bundles.count(b) != 0) {
        return true;
    }
    if (b) {
        state().misuses.emplace_back(std::string(scripted::detail::name_of(user))
                                     + ": a bundle that is not alive");
    }
    return false;
}

template <typename MakeItem>
int add(Function function, bundle* b, const char* key, bool valid, MakeItem make_item)
{
    const Lock lock(state().mutex);
    if (const auto code = use(function)) {
        return *code;
    }
    if (!alive(b, function) || !key || !valid) {
        return BUNDLE_ERROR_INVALID_PARAMETER;
    }
    return b->items.emplace(key, make_item()).second ? BUNDLE_ERROR_NONE : BUNDLE_ERROR_KEY_EXISTS;
}

// What a key holds, if it holds a T. The mutex is held.
template <typename T>
T* find(bundle* b, const char* key)
{
    const auto found = b->items.find(key);
    return found == b->items.end() ? nullptr : std::get_if<T>(&found->second);
}

}  // namespace

namespace scripted {

BundleItems contents(bundle* b)
{
    const Lock lock(state().mutex);
    return alive(b, Function::bundle_get_str) ? b->items : BundleItems{};
}

bundle* make_bundle(const BundleItems& items)
{
    const Lock lock(state().mutex);
    return adopt(items);
}

}  // namespace scripted

bundle* bundle_create(void)
{
    const Lock lock(state().mutex);
    return use(Function::bundle_create) ? nullptr : adopt({});
}

int bundle_free(bundle* b)
{
    const Lock lock(state().mutex);
    const auto code = use(Function::bundle_free);
    if (!alive(b, Function::bundle_free)) {
        return BUNDLE_ERROR_INVALID_PARAMETER;
    }
    state().bundles.erase(b);
    delete b;
    return code.value_or(BUNDLE_ERROR_NONE);
}

bundle* bundle_dup(bundle* b)
{
    const Lock lock(state().mutex);
    if (use(Function::bundle_dup) || !alive(b, Function::bundle_dup)) {
        return nullptr;
    }
    return adopt(b->items);
}

int bundle_get_count(bundle* b)
{
    const Lock lock(state().mutex);
    if (use(Function::bundle_get_count) || !alive(b, Function::bundle_get_count)) {
        return 0;
    }
    return static_cast<int>(b->items.size());
}

int bundle_add_str(bundle* b, const char* key, const char* str)
{
    return add(Function::bundle_add_str, b, key, str != nullptr,
               [str] { return BundleItem(std::string(str)); });
}

int bundle_get_str(bundle* b, const char* key, char** str)
{
    const Lock lock(state().mutex);
    if (const auto code = use(Function::bundle_get_str)) {
        return *code;
    }
    if (!alive(b, Function::bundle_get_str) || !key || !str) {
        return BUNDLE_ERROR_INVALID_PARAMETER;
    }
    auto* const found = find<std::string>(b, key);
    if (!found) {
        return BUNDLE_ERROR_KEY_NOT_AVAILABLE;
    }
    *str = found->data();
    return BUNDLE_ERROR_NONE;
}

int bundle_add_str_array(bundle* b, const char* key, const char** strs, const int len)
{
    return add(Function::bundle_add_str_array, b, key, len >= 0 && (strs || len == 0), [strs, len] {
        Strings strings;
        for (int i = 0; i < len; ++i) {
            strings.emplace_back(strs[i] ? strs[i] : "");
        }
        return BundleItem(std::move(strings));
    });
}

const char** bundle_get_str_array(bundle* b, const char* key, int* len)
{
    const Lock lock(state().mutex);
    if (use(Function::bundle_get_str_array) || !alive(b, Function::bundle_get_str_array) || !key || !len) {
        return nullptr;
    }
    const auto* const found = find<Strings>(b, key);
    if (!found) {
        return nullptr;
    }
    std::vector<const char*>& lent = b->lent[key];
    lent.clear();
    for (const std::string& string : *found) {
        lent.push_back(string.c_str());
    }
    *len = static_cast<int>(lent.size());
    lent.push_back(nullptr);
    return lent.data();
}

int bundle_add_byte(bundle* b, const char* key, const void* bytes, const size_t size)
{
    return add(Function::bundle_add_byte, b, key, bytes || size == 0, [bytes, size] {
        const auto* const begin = static_cast<const unsigned char*>(bytes);
        return BundleItem(size == 0 ? Bytes() : Bytes(begin, begin + size));
    });
}

int bundle_get_byte(bundle* b, const char* key, void** bytes, size_t* size)
{
    const Lock lock(state().mutex);
    if (const auto code = use(Function::bundle_get_byte)) {
        return *code;
    }
    if (!alive(b, Function::bundle_get_byte) || !key || !bytes || !size) {
        return BUNDLE_ERROR_INVALID_PARAMETER;
    }
    auto* const found = find<Bytes>(b, key);
    if (!found) {
        return BUNDLE_ERROR_KEY_NOT_AVAILABLE;
    }
    *bytes = found->data();
    *size = found->size();
    return BUNDLE_ERROR_NONE;
}
