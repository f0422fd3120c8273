#include <quorvel_client_group.h>

#include <span>

#include "internal/answer.hpp"
#include "internal/json.hpp"
#include "internal/list_event.hpp"
#include "internal/named.hpp"
#include "internal/parameters.hpp"
#include "internal/properties.hpp"
#include "internal/property_table.hpp"
#include "internal/registration.hpp"

using namespace quorvel;

namespace {

using Group = rpc_port_group_s_h;

constexpr auto group_word = "group";
constexpr auto subgroup_word = "subgroup";
constexpr const char* event_words[] = {"add_group", "update_group", "delete_group"};

Slot group_list_slot;

auto group_result(quorvel_client_group_result_cb cb, void* user_data)
{
    return one_answer(DELEGATE(group_result_cb), _group_result_cb, cb, user_data);
}

/// A vector of texts with a NULL behind the last, freed with them unless it is handed out.
class TextVector {
public:
    TextVector() = default;
    TextVector(char** texts, int size) : texts_{texts}, size_{size} {}
    ~TextVector()
    {
        if (texts_ == nullptr)
            return;
        for (char* const text : std::span{texts_, static_cast<std::size_t>(size_)})
            std::free(text);
        std::free(texts_);
    }
    TextVector(const TextVector&) = delete;
    TextVector& operator=(const TextVector&) = delete;

    bool allocate(int size)
    {
        texts_ = static_cast<char**>(std::calloc(static_cast<std::size_t>(size) + 1, sizeof(char*)));
        size_ = texts_ != nullptr ? size : 0;
        return texts_ != nullptr;
    }
    char*& operator[](int index) { return texts_[index]; }
    int size() const { return size_; }
    char** hand_out() { return std::exchange(texts_, nullptr); }

private:
    char** texts_ = nullptr;
    int size_ = 0;
};

/// Copies the texts of an array; an item that is no text leaves a NULL. False without memory.
bool copy_items(const cJSON* array, TextVector& texts)
{
    if (!texts.allocate(cJSON_GetArraySize(array)))
        return false;
    int index = 0;
    const cJSON* item = nullptr;
    cJSON_ArrayForEach(item, array)
    {
        texts[index] = copy_text(item);
        if (texts[index] == nullptr && cJSON_IsString(item))
            return false;
        ++index;
    }
    return true;
}

constexpr char first_generation[] = "v1";
constexpr char second_generation[] = "v2";

template <const char* key>
int read_device_list(Group group, char*** ids, int* count)
{
    char** entries = nullptr;
    int size = 0;
    rpc_port_group_s_get_device_list(group, &entries, &size);
    const TextVector device_list{entries, size};
    return _parse_device_list(entries, size, key, ids, count);
}

// The properties by their numbers, which are not in the order of the record's fields.
constexpr TextGetter<Group> texts[] = {
    rpc_port_group_s_get_group_id,   rpc_port_group_s_get_group_name,
    rpc_port_group_s_get_group_nick, rpc_port_group_s_get_group_owner,
    rpc_port_group_s_get_group_type, rpc_port_group_s_get_group_background_image,
    rpc_port_group_s_get_parent_id};
constexpr Property<TextListGetter<Group>> text_list_properties[] = {
    {QUORVEL_CLIENT_GROUP_PROP_DEVICE_LIST_V1, read_device_list<first_generation>},
    {QUORVEL_CLIENT_GROUP_PROP_DEVICE_LIST_V2, read_device_list<second_generation>},
    {QUORVEL_CLIENT_GROUP_PROP_SUBGROUP_LIST, rpc_port_group_s_get_subgroup_list},
};
constexpr auto text_lists = property_table<text_list_properties>();

}  // namespace

int _parse_device_list(char** device_list, int count, const char* key, char*** values, int* value_count)
{
    *values = nullptr;
    *value_count = 0;
    for (int i = 0; i < count; ++i) {
        const Json entry{device_list[i]};
        const cJSON* const member = entry.member(key);
        if (member == nullptr)
            continue;
        // The first entry that has the key decides, even with no items in it or without being a list.
        if (!cJSON_IsArray(member) || member->child == nullptr)
            break;
        TextVector copies;
        if (!copy_items(member, copies)) {
            log_api(DLOG_ERROR, CallSite::here(), QC_TEXT("Fail to calloc"));
            return QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY;
        }
        *value_count = copies.size();
        *values = copies.hand_out();
        break;
    }
    return QUORVEL_CLIENT_ERROR_NONE;
}

int quorvel_client_get_group_list(quorvel_client_h handle, int group_type, quorvel_client_group_h** list,
                                  int* count)
{
    const bool is_subgroup = group_type == QUORVEL_CLIENT_GROUP_TYPE_SUBGROUP;
    return ApiCall{handle}
        .agent(1, 0)
        .require(list != nullptr && count != nullptr)
        .require(is_subgroup || group_type == QUORVEL_CLIENT_GROUP_TYPE_GROUP, "group_type is invalid")
        .invoke(METHOD(get_group_list), is_subgroup ? subgroup_word : group_word,
                list_out<rpc_port_array_group_s_h>(list, count), Unused{})
        .result();
}

int quorvel_client_get_group(quorvel_client_h handle, const char* group_id, quorvel_client_group_h* group)
{
    return ApiCall{handle}
        .agent(1, 0)
        .require(is_set(group_id), "group id is invalid")
        .require(group != nullptr)
        .invoke(METHOD(get_group), group_id, record_out<Group>(group))
        .result();
}

int quorvel_client_group_destroy(quorvel_client_group_h group)
{
    return LocalCall{}.agent(1, 0).require(group != nullptr).then(released<Group>(group)).result();
}

int quorvel_client_group_get_string(quorvel_client_group_h group, int property_id, char** value)
{
    return LocalCall{}
        .agent(1, 0)
        .require(group != nullptr && value != nullptr)
        .then(text_property(texts, group, property_id, value))
        .result();
}

int quorvel_client_group_get_string_array(quorvel_client_group_h group, int property_id, char*** list,
                                          int* count)
{
    return LocalCall{}
        .agent(1, 0)
        .require(group != nullptr && list != nullptr && count != nullptr)
        .then(text_list_property(text_lists.by_id, group, property_id, list, count))
        .result();
}

int quorvel_client_set_group_list_updated_cb(quorvel_client_h handle, quorvel_client_group_list_updated_cb cb,
                                             void* user_data)
{
    return ApiCall{handle}
        .agent(1, 0)
        .require(cb != nullptr, "user_cb is NULL")
        .invoke(METHOD(set_group_list_cb), registration(group_list_slot, DELEGATE(group_list_cb),
                                                        _group_list_cb, &Client::group_list, cb, user_data))
        .result();
}

int quorvel_client_unset_group_list_updated_cb(quorvel_client_h handle)
{
    return ApiCall{handle}
        .agent(1, 0)
        .proxied()
        .then(unregistered(group_list_slot, &Client::group_list))
        .invoke(METHOD(unset_group_list_cb))
        .result();
}

void _group_list_cb(void* user_data, const char* event_word, const char* type_word,
                    rpc_port_array_group_s_h groups, int)
{
    Event event{user_data};
    const auto pair = event.has_user_data().callback(&Client::group_list, "No group list cb");
    Group* list = nullptr;
    int count = 0;
    if (!event.ok() || !copy_out(event, groups, rpc_port_array_group_s_get_array_group_ss, &list, &count))
        return;
    // Whatever is no subgroup counts as a group, which is meant so.
    const int type = number_of(type_word, {subgroup_word}) != 0 ? QUORVEL_CLIENT_GROUP_TYPE_SUBGROUP
                                                                : QUORVEL_CLIENT_GROUP_TYPE_GROUP;
    // Told whatever the event is, other than for scenes.
    const OwnText id = only_id(list, count, rpc_port_group_s_get_group_id);
    pair.callback(number_of(event_word, event_words), type, reinterpret_cast<quorvel_client_group_h*>(list),
                  count, id.get(), pair.user_data);
}

int quorvel_client_add_group(quorvel_client_h handle, const char* first, const char* group_name,
                             const char* third, const char* fourth, const char* fifth,
                             quorvel_client_group_result_cb cb, void* user_data)
{
    return ApiCall{handle}
        .agent(1, 6)
        .require(is_set(group_name), "group_name is invalid")
        .invoke(METHOD(add_group), first, group_name, third, fourth, fifth, group_result(cb, user_data))
        .result();
}

int quorvel_client_remove_group(quorvel_client_h handle, const char* group_id, const char* second,
                                quorvel_client_group_result_cb cb, void* user_data)
{
    return ApiCall{handle}
        .agent(1, 6)
        .require(is_set(group_id), "group_id is invalid")
        .invoke(METHOD(remove_group), group_id, second, group_result(cb, user_data))
        .result();
}

int quorvel_client_update_group(quorvel_client_h handle, const char* group_id, const char* second,
                                const char* third, const char* fourth, const char* fifth, const char* sixth,
                                quorvel_client_group_result_cb cb, void* user_data)
{
    return ApiCall{handle}
        .agent(1, 6)
        .require(is_set(group_id), "group_id is invalid")
        .invoke(METHOD(update_group), group_id, second, third, fourth, fifth, sixth,
                group_result(cb, user_data))
        .result();
}

// The third value comes first, which is meant so.
void _group_result_cb(void* request, const char* group_id, const char* second, int result)
{
    const Answer answer{request};
    log_api(DLOG_DEBUG, answer.event.at(), QC_TEXT("_group_result_cb group id [%s]"), shown(group_id));
    answer.tell<quorvel_client_group_result_cb>(result, group_id, second);
}
