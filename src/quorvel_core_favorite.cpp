#include <quorvel_core_favorite.h>

#include "internal/bundle_records.hpp"
#include "internal/core_call.hpp"

using namespace quorvel;

namespace {

constexpr TextProperty texts[] = {
    {QUORVEL_CORE_FAVORITE_PROP_FAVORITE_ID, "favoriteId"},
    {QUORVEL_CORE_FAVORITE_PROP_LOCATION_ID, "locationId"},
    {QUORVEL_CORE_FAVORITE_PROP_MEMBER_ID, "memberId"},
    {QUORVEL_CORE_FAVORITE_PROP_MEMBER_TYPE, "memberType"},
    {QUORVEL_CORE_FAVORITE_PROP_ADDITIONAL_ID, "additionalId"},
    {QUORVEL_CORE_FAVORITE_PROP_BUCKET, "bucket"},
    {QUORVEL_CORE_FAVORITE_PROP_DEVICE_MODEL, "deviceModel"},
    {QUORVEL_CORE_FAVORITE_PROP_CREATED_DATE, "createdDate"},
    {QUORVEL_CORE_FAVORITE_PROP_LAST_UPDATED_DATE, "lastUpdatedDate"},
};

constexpr NumberProperty numbers[] = {
    {QUORVEL_CORE_FAVORITE_PROP_SORT_ORDER, "sortOrder", leading_number},
};

constexpr RecordFamily<rpc_port_favorite_s_h> favorites{
    .kind = RECORD(favorite_s),
    .texts = texts,
    .numbers = numbers,
    .wording = {.unknown_text = QC_TEXT("invalid property id [%d]"),
                .absent_text = QC_TEXT("get enum[%d] failed"),
                .unknown_number = QC_TEXT("invalid property id [%d]"),
                .absent_number = QC_TEXT("get %s failed")},
    // Unlike those of the other families these getters look at the agent, which is meant so.
    .check_agent = [](LocalCall& call) { call.agent(2, 3); },
};

/// The answer about the migration: a record of which three values are handed out, each where there is a place
/// for it.
class MigrationStatusOut {
public:
    MigrationStatusOut(bool* is_migrated, char** last_updated_date, char** device_model)
        : is_migrated_{is_migrated}, last_updated_date_{last_updated_date}, device_model_{device_model}
    {
    }
    ~MigrationStatusOut()
    {
        if (record_ != nullptr)
            rpc_port_favorite_s_destroy(record_);
    }
    MigrationStatusOut(const MigrationStatusOut&) = delete;
    MigrationStatusOut& operator=(const MigrationStatusOut&) = delete;

    rpc_port_favorite_s_h* argument() { return &record_; }
    void settle(ApiCall& call, bool ok)
    {
        if (!ok)
            return;
        const BundleCopy values{rpc_port_favorite_s_get_bundle_data, record_};
        const char* const flag = values.text("isMigrated");
        if (flag == nullptr) {
            log_api(DLOG_ERROR, call.at(), QC_TEXT("get isMigrated failed"));
            call.fail(QUORVEL_CLIENT_ERROR_NO_DATA, QC_TEXT("is_migrated is no data"));
            return;
        }
        OwnText last_updated_date{copy_of(call, values.text("lastUpdatedDate"))};
        OwnText device_model{copy_of(call, values.text("deviceModel"))};
        if (!call.ok())
            return;
        // "true" is handed out as false and everything else as true, which is meant so.
        if (is_migrated_ != nullptr)
            *is_migrated_ = std::strncmp(flag, "true", 4) != 0;
        hand_out(last_updated_date, last_updated_date_);
        hand_out(device_model, device_model_);
    }

private:
    struct Free {
        void operator()(char* text) const { std::free(text); }
    };
    using OwnText = std::unique_ptr<char, Free>;

    /// The text says "last_updated_date" of a missing model too, which is meant so.
    static char* copy_of(ApiCall& call, const char* text)
    {
        if (text == nullptr) {
            log_api(DLOG_ERROR, call.at(), QC_TEXT("get last_updated_date failed"));
            return nullptr;
        }
        char* const copy = strdup(text);
        if (copy == nullptr)
            call.fail(QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY);
        return copy;
    }
    static void hand_out(OwnText& copy, char** out)
    {
        if (copy != nullptr && out != nullptr)
            *out = copy.release();
    }

    bool* is_migrated_;
    char** last_updated_date_;
    char** device_model_;
    rpc_port_favorite_s_h record_ = nullptr;
};

}  // namespace

int quorvel_core_get_favorite_list(quorvel_client_h handle, const char* location_id, const char* visibility,
                                   quorvel_core_favorite_h** list, int* count)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_get_favorites_list),
               list_out<rpc_port_array_favorite_s_h>(list, count), location_id, Unchecked{visibility});
}

int quorvel_core_get_favorite(quorvel_client_h handle, const char* location_id, const char* favorite_id,
                              const char* visibility, quorvel_core_favorite_h* favorite)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_get_favorite),
               record_out<rpc_port_favorite_s_h>(favorite), location_id, favorite_id, Unchecked{visibility});
}

int quorvel_core_create_favorite(quorvel_client_h handle, const char* location_id, const char* visibility,
                                 const char* favorite_json, quorvel_core_favorite_h* favorite)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_create_favorite),
               record_out<rpc_port_favorite_s_h>(favorite), location_id, Unchecked{visibility},
               favorite_json);
}

int quorvel_core_replace_favorites(quorvel_client_h handle, const char* location_id, const char* visibility,
                                   const char* favorites_json, quorvel_core_favorite_h** list, int* count)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_replace_favorites),
               list_out<rpc_port_array_favorite_s_h>(list, count), location_id, Unchecked{visibility},
               favorites_json);
}

int quorvel_core_delete_favorites(quorvel_client_h handle, const char* location_id, const char* visibility)
{
    return tell(ApiCall{handle}.agent(2, 3), METHOD(core_delete_favorites), location_id,
                Unchecked{visibility});
}

int quorvel_core_delete_favorite(quorvel_client_h handle, const char* location_id, const char* favorite_id,
                                 const char* visibility)
{
    return tell(ApiCall{handle}.agent(2, 3), METHOD(core_delete_favorite), Unchecked{location_id},
                favorite_id, Unchecked{visibility});
}

// The out-pointers are not checked: without them the agent is asked all the same.
int quorvel_core_get_favorite_migration_status(quorvel_client_h handle, const char* location_id,
                                               bool* is_migrated, char** last_updated_date,
                                               char** device_model)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_get_favorite_migration_status),
               MigrationStatusOut{is_migrated, last_updated_date, device_model}, location_id);
}

int quorvel_core_update_favorite_migration_status(quorvel_client_h handle, const char* location_id,
                                                  const char* status, char** result)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_update_favorite_migration_status), text_out(result),
               location_id, status);
}

int quorvel_core_favorite_get_string(quorvel_core_favorite_h favorite, int property_id, char** value)
{
    return get_text(favorites, favorite, property_id, value);
}

int quorvel_core_favorite_get_int(quorvel_core_favorite_h favorite, int property_id, int* value)
{
    return get_number(favorites, favorite, property_id, value);
}

int quorvel_core_favorite_destroy(quorvel_core_favorite_h favorite)
{
    return destroy(favorites, favorite);
}
