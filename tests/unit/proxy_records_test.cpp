// The 22 records and 16 arrays: every operation on every field, every message, and the order on the wire.
#include <algorithm>
#include <climits>
#include <functional>

#include "failing_allocations.hpp"
#include "proxy_catalogue.hpp"

namespace catalogue {
namespace {

using scripted::clear_log;
using scripted::count;
using scripted::errors;
using scripted::Lines;
using scripted::live;
using scripted::Live;
using scripted::log;
using scripted::LogLine;
using scripted::make_parcel;
using scripted::platform;
using scripted::proxy_error;
using scripted::proxy_warning;
using scripted::trusted_count;

// ---------------------------------------------------------------------------------------------------------
// The tables: records and their fields, arrays and their elements. Handles go as void pointers.

enum class Kind { text, number, bundle, list, elements };

struct Field {
    Field(const char* field_name, Kind field_kind) : name(field_name), kind(field_kind) {}

    std::string name;
    Kind kind;
    std::function<int(void*, const char*)> set_text;
    std::function<int(void*, char**)> get_text;
    std::function<int(void*, int)> set_number;
    std::function<int(void*, int*)> get_number;
    std::function<int(void*, bundle*)> set_bundle;
    std::function<int(void*, bundle**)> get_bundle;
    std::function<int(void*, const char* const*, int)> set_list;
    std::function<int(void*, char***, int*)> get_list;
    // The vectors of elements go as void pointers, too.
    std::function<int(void*, const std::vector<void*>*)> set_elements;
    std::function<int(void*, void**, int*)> get_elements;
    std::function<void*(void*, int)> element_of_vector;
    std::function<bool(void*)> is_absent;  // as the field lies in the record
    std::function<int(void*)> size;        // of a list, as it lies in the record
};

struct Object {
    std::string name;
    std::vector<Field> fields;
    std::function<int(void**)> create;
    std::function<int(void*)> destroy;
    std::function<int(void*, void**)> clone;
    std::function<void*(int)> make;     // one whose fields are all set
    std::function<Values(int)> values;  // how that one lies in a parcel
    Values empty;
    std::function<rpc_port_parcelable_t*(void*)> parcelable;

    std::string function(const std::string& operation) const { return "rpc_port_" + name + "_" + operation; }
    void* create_empty() const
    {
        void* h = nullptr;
        EXPECT_EQ(create(&h), 0);
        return h;
    }
    Values written(void* h) const
    {
        rpc_port_parcel_h parcel = make_parcel({});
        parcelable(h)->to(parcel, h);
        Values all = scripted::contents(parcel);
        rpc_port_parcel_destroy(parcel);
        return all;
    }
    // How many values were left in the parcel.
    int read(void* h, const Values& from) const
    {
        rpc_port_parcel_h parcel = make_parcel(from);
        parcelable(h)->from(parcel, h);
        const int left = scripted::unread(parcel);
        rpc_port_parcel_destroy(parcel);
        return left;
    }
};

std::ostream& operator<<(std::ostream& out, const Object& object)
{
    return out << object.name;
}

template <typename R>
R* as(void* h)
{
    return static_cast<R*>(h);
}

template <typename R>
Field text_field(const char* name, int (*set)(R*, const char*), int (*get)(R*, char**), char* R::*member)
{
    Field field(name, Kind::text);
    field.set_text = [set](void* h, const char* value) { return set(as<R>(h), value); };
    field.get_text = [get](void* h, char** value) { return get(as<R>(h), value); };
    field.is_absent = [member](void* h) { return as<R>(h)->*member == nullptr; };
    return field;
}

template <typename R>
Field number_field(const char* name, int (*set)(R*, int), int (*get)(R*, int*), int R::*)
{
    Field field(name, Kind::number);
    field.set_number = [set](void* h, int value) { return set(as<R>(h), value); };
    field.get_number = [get](void* h, int* value) { return get(as<R>(h), value); };
    return field;
}

template <typename R>
Field bundle_field(const char* name, int (*set)(R*, bundle*), int (*get)(R*, bundle**), bundle* R::*member)
{
    Field field(name, Kind::bundle);
    field.set_bundle = [set](void* h, bundle* value) { return set(as<R>(h), value); };
    field.get_bundle = [get](void* h, bundle** value) { return get(as<R>(h), value); };
    field.is_absent = [member](void* h) { return as<R>(h)->*member == nullptr; };
    return field;
}

template <typename R>
Field list_field(const char* name, int (*set)(R*, const char* const*, int), int (*get)(R*, char***, int*),
                 char** R::*member, int R::*size)
{
    Field field(name, Kind::list);
    field.set_list = [set](void* h, const char* const* values, int n) { return set(as<R>(h), values, n); };
    field.get_list = [get](void* h, char*** values, int* n) { return get(as<R>(h), values, n); };
    field.is_absent = [member](void* h) { return as<R>(h)->*member == nullptr; };
    field.size = [size](void* h) { return as<R>(h)->*size; };
    return field;
}

template <typename R, typename Element>
Field elements_field(const char* name, int (*set)(R*, Element* const*, int), int (*get)(R*, Element***, int*),
                     Element** R::*member, int R::*size)
{
    Field field(name, Kind::elements);
    field.set_elements = [set](void* h, const std::vector<void*>* elements) {
        if (!elements) {
            return set(as<R>(h), nullptr, 1);
        }
        std::vector<Element*> typed{nullptr};  // a vector of none has an address, too
        for (void* each : *elements) {
            typed.insert(typed.end() - 1, as<Element>(each));
        }
        return set(as<R>(h), typed.data(), static_cast<int>(elements->size()));
    };
    field.get_elements = [get](void* h, void** vector, int* n) {
        if (!vector) {
            return get(as<R>(h), nullptr, n);
        }
        auto* typed = static_cast<Element**>(*vector);
        const int code = get(as<R>(h), &typed, n);
        *vector = typed;
        return code;
    };
    field.element_of_vector = [](void* vector, int index) -> void* {
        return static_cast<Element**>(vector)[index];
    };
    field.is_absent = [member](void* h) { return as<R>(h)->*member == nullptr; };
    field.size = [size](void* h) { return as<R>(h)->*size; };
    return field;
}

template <typename Tag, typename R>
Object object(const char* name, int (*create)(R**), int (*destroy)(R*), int (*clone)(R*, R**),
              std::vector<Field> fields)
{
    return {.name = name,
            .fields = std::move(fields),
            .create =
                [create](void** h) {
                    if (!h) {
                        return create(nullptr);
                    }
                    R* typed = as<R>(*h);
                    const int code = create(&typed);
                    *h = typed;
                    return code;
                },
            .destroy = [destroy](void* h) { return destroy(as<R>(h)); },
            .clone =
                [clone](void* h, void** copy) {
                    if (!copy) {
                        return clone(as<R>(h), nullptr);
                    }
                    R* typed = as<R>(*copy);
                    const int code = clone(as<R>(h), &typed);
                    *copy = typed;
                    return code;
                },
            .make = [](int n) -> void* { return Wire<Tag>::make(n); },
            .values = Wire<Tag>::values,
            .empty = Wire<Tag>::empty(),
            .parcelable = [](void* h) { return &as<R>(h)->parcelable; }};
}

#define ACCESS(record, field) \
#field, rpc_port_##record##_set_##field, rpc_port_##record##_get_##field, &rpc_port_##record##_s::field
#define TEXT(record, field) text_field(ACCESS(record, field))
#define NUMBER(record, field) number_field(ACCESS(record, field))
#define BUNDLE(record, field) bundle_field(ACCESS(record, field))
#define LIST(record, field) list_field(ACCESS(record, field), &rpc_port_##record##_s::field##_size)
#define ELEMENTS(record, field) elements_field(ACCESS(record, field), &rpc_port_##record##_s::field##_size)
#define OBJECT(name, ...)                                                                             \
    object<name>(#name, rpc_port_##name##_create, rpc_port_##name##_destroy, rpc_port_##name##_clone, \
                 std::vector<Field>{__VA_ARGS__})
#define BUNDLE_RECORD(name) OBJECT(name, BUNDLE(name, bundle_data))
#define ARRAY(element) OBJECT(array_##element, ELEMENTS(array_##element, array_##element##s))

// clang-format off
const std::vector<Object>& records()
{
    static const std::vector<Object> all = {
        OBJECT(device_s, TEXT(device_s, device_id), LIST(device_s, device_type)),
        OBJECT(group_s,
               TEXT(group_s, parent_id), TEXT(group_s, group_id), TEXT(group_s, group_name),
               TEXT(group_s, group_nick), TEXT(group_s, group_owner), TEXT(group_s, group_type),
               TEXT(group_s, group_background_image), LIST(group_s, device_list), LIST(group_s, subgroup_list)),
        OBJECT(device_detail_s,
               NUMBER(device_detail_s, resource_count), TEXT(device_detail_s, device_id),
               TEXT(device_detail_s, device_name), TEXT(device_detail_s, prefix),
               TEXT(device_detail_s, cloud_device_state), TEXT(device_detail_s, nick), TEXT(device_detail_s, color),
               TEXT(device_detail_s, locale), TEXT(device_detail_s, firmware_version),
               TEXT(device_detail_s, manufacture_name), TEXT(device_detail_s, vid),
               LIST(device_detail_s, device_type), LIST(device_detail_s, observable_resource_uris),
               LIST(device_detail_s, resource_uris), TEXT(device_detail_s, reserved)),
        OBJECT(scene_s, TEXT(scene_s, scene_id), TEXT(scene_s, scene)),
        OBJECT(transfer_data_s,
               TEXT(transfer_data_s, file_name), BUNDLE(transfer_data_s, file_data),
               NUMBER(transfer_data_s, file_length)),
        OBJECT(app_launch_condition_s,
               TEXT(app_launch_condition_s, app_id), TEXT(app_launch_condition_s, device_id),
               TEXT(app_launch_condition_s, res_uri), TEXT(app_launch_condition_s, property_name),
               TEXT(app_launch_condition_s, property_type), TEXT(app_launch_condition_s, property_value),
               TEXT(app_launch_condition_s, bundle_json), TEXT(app_launch_condition_s, reserved)),
        BUNDLE_RECORD(cloud_prop_s),
        BUNDLE_RECORD(device_prop_s),
        BUNDLE_RECORD(access_point_s),
        BUNDLE_RECORD(bookmark_location_s),
        BUNDLE_RECORD(device_conf_s),
        BUNDLE_RECORD(self_signup_info_s),
        BUNDLE_RECORD(installed_app_s),
        BUNDLE_RECORD(location_s),
        BUNDLE_RECORD(room_s),
        BUNDLE_RECORD(core_device_s),
        BUNDLE_RECORD(favorite_s),
        BUNDLE_RECORD(easy_setup_error_code_s),
        BUNDLE_RECORD(core_rule_s),
        BUNDLE_RECORD(core_scene_s),
        BUNDLE_RECORD(easy_setup_prov_info_s),
        BUNDLE_RECORD(device_group_s),
    };
    return all;
}

const std::vector<Object>& arrays_of_records()
{
    static const std::vector<Object> all = {
        ARRAY(access_point_s), ARRAY(app_launch_condition_s), ARRAY(core_device_s), ARRAY(core_rule_s),
        ARRAY(core_scene_s), ARRAY(device_detail_s), ARRAY(device_group_s), ARRAY(device_s), ARRAY(favorite_s),
        ARRAY(group_s), ARRAY(installed_app_s), ARRAY(location_s), ARRAY(room_s), ARRAY(scene_s),
        ARRAY(transfer_data_s),
    };
    return all;
}
// clang-format on

const Object& array_of_strings()
{
    static const Object the_one = OBJECT(array_string, LIST(array_string, array_strings));
    return the_one;
}

std::vector<Object> all_objects()
{
    std::vector<Object> all = records();
    all.insert(all.end(), arrays_of_records().begin(), arrays_of_records().end());
    all.push_back(array_of_strings());
    return all;
}

const Object& element_of(const Object& array)
{
    const std::string name = array.name.substr(std::string("array_").size());
    for (const Object& each : records()) {
        if (each.name == name) {
            return each;
        }
    }
    throw std::invalid_argument(array.name);
}

struct Case {
    Object object;
    Field field;
    std::string function(const std::string& operation) const
    {
        return object.function(operation + "_" + field.name);
    }
};

std::ostream& operator<<(std::ostream& out, const Case& tested)
{
    return out << tested.object.name << "." << tested.field.name;
}

std::vector<Case> fields_of_kind(Kind kind)
{
    std::vector<Case> found;
    for (const Object& each : all_objects()) {
        for (const Field& field : each.fields) {
            if (field.kind == kind) {
                found.push_back({each, field});
            }
        }
    }
    return found;
}

std::string name_of_object(const testing::TestParamInfo<Object>& tested)
{
    return tested.param.name;
}

std::string name_of_field(const testing::TestParamInfo<Case>& tested)
{
    return tested.param.object.name + "_" + tested.param.field.name;
}

TEST(RecordTable, HoldsTwentyTwoRecordsAndSixteenArrays)
{
    EXPECT_EQ(records().size(), 22U);
    EXPECT_EQ(arrays_of_records().size() + 1, 16U);
}

// ---------------------------------------------------------------------------------------------------------
// Whole objects

class EveryObject : public scripted::Scripted, public testing::WithParamInterface<Object> {
protected:
    const Object& object = GetParam();

    std::vector<LogLine> warnings_about_empty_lists() const
    {
        std::vector<LogLine> expected;
        for (const Field& field : object.fields) {
            if (field.kind == Kind::list || field.kind == Kind::elements) {
                expected.push_back(proxy_warning(object.function("clone"), field.name + " is empty"));
            }
        }
        return expected;
    }
};

TEST_P(EveryObject, IsMadeEmptyAndWritesEveryField)
{
    void* h = object.create_empty();
    ASSERT_NE(h, nullptr);
    for (const Field& field : object.fields) {
        EXPECT_TRUE(!field.is_absent || field.is_absent(h)) << field.name;
        EXPECT_TRUE(!field.size || field.size(h) == 0) << field.name;
    }
    EXPECT_EQ(object.written(h), object.empty);
    EXPECT_THAT(errors(), testing::IsEmpty());
    EXPECT_EQ(object.destroy(h), 0);
}

TEST_P(EveryObject, NeedsAPlaceToBeMade)
{
    EXPECT_EQ(object.create(nullptr), -1);
    EXPECT_EQ(object.destroy(nullptr), -1);
    EXPECT_THAT(errors(), Lines(proxy_error(object.function("create"), "Invalid parameter"),
                                proxy_error(object.function("destroy"), "Invalid parameter")));
}

TEST_P(EveryObject, IsNotMadeWithoutMemory)
{
    void* h = nullptr;
    {
        const FailingAllocation first(1);
        EXPECT_EQ(object.create(&h), -1);
    }
    EXPECT_EQ(h, nullptr);
    EXPECT_THAT(errors(), Lines(proxy_error(object.function("create"), "Out of memory")));
}

TEST_P(EveryObject, WritesItsFieldsInTheOrderOfTheTable)
{
    void* h = object.make(3);
    EXPECT_EQ(object.written(h), object.values(3));
    object.destroy(h);
}

TEST_P(EveryObject, IsWrittenThroughItsParcelable)
{
    void* h = object.make(3);
    rpc_port_parcel_h parcel = make_parcel({});
    EXPECT_EQ(rpc_port_parcel_write(parcel, object.parcelable(h), h), 0);
    EXPECT_EQ(scripted::contents(parcel), object.values(3));
    rpc_port_parcel_destroy(parcel);
    object.destroy(h);
}

TEST_P(EveryObject, ReadsWhatItWrote)
{
    void* h = object.create_empty();
    EXPECT_EQ(object.read(h, object.values(5)), 0) << "to the last value";
    EXPECT_EQ(object.written(h), object.values(5));
    object.destroy(h);
}

TEST_P(EveryObject, LeavesWhatFollowsItInTheParcel)
{
    void* h = object.create_empty();
    EXPECT_EQ(object.read(h, {object.values(5), i32(1), text("next")}), 2);
    object.destroy(h);
}

TEST_P(EveryObject, ForgetsWhatItHeldWhenItIsReadAgain)
{
    void* h = object.make(1);
    object.read(h, object.values(2));
    EXPECT_EQ(object.written(h), object.values(2));
    object.read(h, object.values(3));
    EXPECT_EQ(object.written(h), object.values(3));
    object.destroy(h);
}

TEST_P(EveryObject, TakesAParcelThatEndsEarlyAsItIs)
{
    const Values whole = object.values(2);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        SCOPED_TRACE(length);
        void* h = object.create_empty();
        object.read(h, whole.first(length));
        void* copy = nullptr;
        EXPECT_EQ(object.clone(h, &copy), 0) << "what was read is whole";
        object.destroy(copy);
        object.destroy(h);
    }
}

TEST_P(EveryObject, NeitherWritesNorReadsWithoutAParcelOrWithoutItself)
{
    void* h = object.make(1);
    rpc_port_parcelable_t routines = *object.parcelable(h);
    rpc_port_parcel_h parcel = make_parcel(object.values(2));
    clear_log();
    routines.to(nullptr, h);
    routines.to(parcel, nullptr);
    routines.from(nullptr, h);
    routines.from(parcel, nullptr);
    EXPECT_EQ(scripted::contents(parcel), object.values(2));
    EXPECT_EQ(scripted::unread(parcel), static_cast<int>(object.values(2).size()));
    EXPECT_EQ(object.written(h), object.values(1));
    ASSERT_EQ(errors().size(), 4U);
    for (const LogLine& line : errors()) {
        EXPECT_EQ(line.text, "Invalid parameter");
    }
    rpc_port_parcel_destroy(parcel);
    object.destroy(h);
}

TEST_P(EveryObject, IsCopiedWhole)
{
    void* h = object.make(4);
    void* copy = nullptr;
    clear_log();
    ASSERT_EQ(object.clone(h, &copy), 0);
    EXPECT_NE(copy, h);
    EXPECT_THAT(log(), testing::IsEmpty());
    object.destroy(h);
    EXPECT_EQ(object.written(copy), object.values(4)) << "it shares nothing with the original";
    object.destroy(copy);
}

TEST_P(EveryObject, CopiesWhatWasRead)
{
    void* h = object.create_empty();
    object.read(h, object.values(4));
    void* copy = nullptr;
    ASSERT_EQ(object.clone(h, &copy), 0);
    object.destroy(h);
    EXPECT_EQ(object.written(copy), object.values(4));
    object.destroy(copy);
}

TEST_P(EveryObject, KeepsAbsentWhatIsAbsentInACopyAndWarnsOfEmptyLists)
{
    void* h = object.create_empty();
    void* copy = nullptr;
    clear_log();
    ASSERT_EQ(object.clone(h, &copy), 0);
    for (const Field& field : object.fields) {
        EXPECT_TRUE(!field.is_absent || field.is_absent(copy)) << field.name;
    }
    EXPECT_THAT(log(), testing::ElementsAreArray(warnings_about_empty_lists()));
    object.destroy(copy);
    object.destroy(h);
}

TEST_P(EveryObject, CannotBeCopiedWithoutAnOriginalOrAPlaceForTheCopy)
{
    void* h = object.make(1);
    void* copy = nullptr;
    clear_log();
    EXPECT_EQ(object.clone(nullptr, &copy), -1);
    EXPECT_EQ(object.clone(h, nullptr), -1);
    EXPECT_EQ(copy, nullptr);
    EXPECT_THAT(errors(), Lines(proxy_error(object.function("clone"), "Invalid parameter"),
                                proxy_error(object.function("clone"), "Invalid parameter")));
    object.destroy(h);
}

// Every allocation of a copy fails once. Each failure of a field has its line and leaves no copy; only a
// failed element of a list leaves a hole.
TEST_P(EveryObject, WithoutMemorySaysWhatCouldNotBeCopied)
{
    void* h = object.make(1);
    std::vector<std::string> expected = {"Failed to create " + object.name + " handle"};
    for (const Field& field : object.fields) {
        if (field.kind == Kind::text) {
            expected.push_back("Failed to duplicate h->" + field.name);
        } else if (field.kind == Kind::list || field.kind == Kind::elements) {
            expected.emplace_back("Out of memory");
        }
    }
    std::vector<std::string> seen;
    for (int nth = 1; nth < 1000; ++nth) {
        void* copy = nullptr;
        clear_log();
        FailingAllocation failing(nth);
        const int code = object.clone(h, &copy);
        if (!failing.happened()) {
            object.destroy(copy);
            break;
        }
        if (code == 0) {
            object.destroy(copy);
            continue;
        }
        EXPECT_EQ(code, -1);
        EXPECT_EQ(copy, nullptr);
        const auto lines = log();
        ASSERT_FALSE(lines.empty()) << "allocation " << nth;
        EXPECT_EQ(lines.back().priority, DLOG_ERROR);
        EXPECT_EQ(lines.back().function, object.function("clone"));
        seen.push_back(lines.back().text);
    }
    EXPECT_EQ(seen, expected) << "in the order of the fields";
    EXPECT_EQ(object.written(h), object.values(1));
    object.destroy(h);
}

TEST_P(EveryObject, SaysWhichBundleCouldNotBeCopied)
{
    void* h = object.make(1);
    const Live before = live();
    for (const Field& field : object.fields) {
        if (field.kind == Kind::bundle) {
            void* copy = nullptr;
            clear_log();
            platform().fail("bundle_dup");
            EXPECT_EQ(object.clone(h, &copy), -1);
            EXPECT_EQ(copy, nullptr);
            EXPECT_THAT(errors(),
                        Lines(proxy_error(object.function("clone"), "Failed to duplicate h->" + field.name)));
            EXPECT_EQ(live(), before);
        }
    }
    object.destroy(h);
}

TEST_P(EveryObject, IsReadWithoutMemoryAsFarAsItGoesAndStaysUsable)
{
    void* h = object.create_empty();
    for (int nth = 1; nth < 1000; ++nth) {
        SCOPED_TRACE(nth);
        FailingAllocation failing(nth);
        object.read(h, object.values(2));
        if (!failing.happened()) {
            EXPECT_EQ(object.written(h), object.values(2));
            break;
        }
        void* copy = nullptr;
        EXPECT_EQ(object.clone(h, &copy), 0);
        object.destroy(copy);
        for (const Field& field : object.fields) {
            EXPECT_TRUE(!field.size || field.size(h) == 0 || !field.is_absent(h))
                << field.name << " counts what is not there";
        }
    }
    object.destroy(h);
}

INSTANTIATE_TEST_SUITE_P(Table, EveryObject, testing::ValuesIn(all_objects()), name_of_object);

// ---------------------------------------------------------------------------------------------------------
// Fields

class FieldTest : public scripted::Scripted, public testing::WithParamInterface<Case> {
protected:
    void SetUp() override
    {
        Scripted::SetUp();
        h = object.create_empty();
        clear_log();
    }
    void TearDown() override
    {
        object.destroy(h);
        Scripted::TearDown();
    }

    const Object& object = GetParam().object;
    const Field& field = GetParam().field;
    const std::string setter = GetParam().function("set");
    const std::string getter = GetParam().function("get");
    void* h = nullptr;
    char nowhere[1] = "";
};

class EveryTextField : public FieldTest {
protected:
    std::string value()
    {
        char* text = nullptr;
        EXPECT_EQ(field.get_text(h, &text), 0);
        std::string copy = text ? text : "(none)";
        std::free(text);
        return copy;
    }
};

TEST_P(EveryTextField, KeepsACopyAndHandsOutCopies)
{
    char given[] = "first";
    EXPECT_EQ(field.set_text(h, given), 0);
    given[0] = 'x';
    EXPECT_EQ(value(), "first");
    char* one = nullptr;
    char* two = nullptr;
    EXPECT_EQ(field.get_text(h, &one), 0);
    EXPECT_EQ(field.get_text(h, &two), 0);
    EXPECT_NE(one, two);
    std::free(one);
    std::free(two);
    EXPECT_THAT(errors(), testing::IsEmpty());
}

TEST_P(EveryTextField, IsReplacedByTheNextValue)
{
    EXPECT_EQ(field.set_text(h, "first"), 0);
    EXPECT_EQ(field.set_text(h, "a second, which is longer"), 0);
    EXPECT_EQ(value(), "a second, which is longer");
    EXPECT_EQ(field.set_text(h, ""), 0);
    EXPECT_EQ(value(), "");
}

TEST_P(EveryTextField, ThatWasReadIsReplacedToo)
{
    object.read(h, object.values(1));
    EXPECT_EQ(field.set_text(h, "new"), 0);
    EXPECT_EQ(value(), "new");
}

TEST_P(EveryTextField, CannotBeClearedToNothing)
{
    field.set_text(h, "kept");
    EXPECT_EQ(field.set_text(h, nullptr), -1);
    EXPECT_EQ(field.set_text(nullptr, "value"), -1);
    EXPECT_THAT(errors(),
                Lines(proxy_error(setter, "Invalid parameter"), proxy_error(setter, "Invalid parameter")));
    EXPECT_EQ(value(), "kept");
}

TEST_P(EveryTextField, IsNotHandedOutWhenAbsent)
{
    char* text = nowhere;
    EXPECT_EQ(field.get_text(h, &text), -1);
    EXPECT_EQ(text, nowhere);
    EXPECT_THAT(errors(), Lines(proxy_error(getter, "Invalid parameter: h->" + field.name + " is NULL")));
}

TEST_P(EveryTextField, IsNotHandedOutWithoutARecordOrAPlace)
{
    field.set_text(h, "value");
    char* text = nowhere;
    EXPECT_EQ(field.get_text(nullptr, &text), -1);
    EXPECT_EQ(field.get_text(h, nullptr), -1);
    EXPECT_EQ(text, nowhere);
    EXPECT_THAT(errors(),
                Lines(proxy_error(getter, "Invalid parameter"), proxy_error(getter, "Invalid parameter")));
}

TEST_P(EveryTextField, IsNotHandedOutWithoutMemory)
{
    field.set_text(h, "value");
    char* text = nowhere;
    {
        const FailingAllocation first(1);
        EXPECT_EQ(field.get_text(h, &text), -1);
    }
    EXPECT_EQ(text, nowhere);
    EXPECT_THAT(errors(), Lines(proxy_error(getter, "Failed to duplicate " + field.name)));
    EXPECT_EQ(value(), "value");
}

TEST_P(EveryTextField, IsAbsentAfterItCouldNotBeSet)
{
    field.set_text(h, "old");
    {
        const FailingAllocation first(1);
        EXPECT_EQ(field.set_text(h, "new"), -1);
    }
    EXPECT_TRUE(field.is_absent(h));
    EXPECT_THAT(errors(), Lines(proxy_error(setter, "Failed to duplicate data")));
}

TEST_P(EveryTextField, AbsentGoesOverTheWireAsAnEmptyTextAndComesBackAsOne)
{
    object.read(h, object.empty);
    EXPECT_FALSE(field.is_absent(h));
    EXPECT_EQ(value(), "");
}

INSTANTIATE_TEST_SUITE_P(Table, EveryTextField, testing::ValuesIn(fields_of_kind(Kind::text)), name_of_field);

class EveryNumberField : public FieldTest {};

TEST_P(EveryNumberField, HandsOutWhatWasSet)
{
    int number = 7;
    EXPECT_EQ(field.get_number(h, &number), 0);
    EXPECT_EQ(number, 0);
    for (const int value : {1, -1, INT_MAX, INT_MIN, 0}) {
        EXPECT_EQ(field.set_number(h, value), 0);
        EXPECT_EQ(field.get_number(h, &number), 0);
        EXPECT_EQ(number, value);
    }
}

TEST_P(EveryNumberField, NeedsARecordAndAPlace)
{
    int number = 7;
    EXPECT_EQ(field.get_number(nullptr, &number), -1);
    EXPECT_EQ(field.get_number(h, nullptr), -1);
    EXPECT_EQ(field.set_number(nullptr, 1), -1);
    EXPECT_EQ(number, 7);
    EXPECT_THAT(errors(),
                Lines(proxy_error(getter, "Invalid parameter"), proxy_error(getter, "Invalid parameter"),
                      proxy_error(setter, "Invalid parameter")));
}

INSTANTIATE_TEST_SUITE_P(Table, EveryNumberField, testing::ValuesIn(fields_of_kind(Kind::number)),
                         name_of_field);

class EveryBundleField : public FieldTest {
protected:
    void SetUp() override
    {
        FieldTest::SetUp();
        first = scripted::make_bundle({{"n", "1"}});
        second = scripted::make_bundle({{"n", "2"}, {"list", scripted::Strings{"a", "b"}}});
    }
    void TearDown() override
    {
        bundle_free(first);
        bundle_free(second);
        FieldTest::TearDown();
    }
    scripted::BundleItems value()
    {
        bundle* b = nullptr;
        EXPECT_EQ(field.get_bundle(h, &b), 0);
        scripted::BundleItems items = scripted::contents(b);
        EXPECT_EQ(bundle_free(b), 0) << "the copy is the caller's";
        return items;
    }
    bundle* first = nullptr;
    bundle* second = nullptr;
};

TEST_P(EveryBundleField, KeepsACopyAndHandsOutCopies)
{
    EXPECT_EQ(field.set_bundle(h, first), 0);
    bundle_add_str(first, "later", "x");
    EXPECT_EQ(value(), (scripted::BundleItems{{"n", "1"}}));
    EXPECT_EQ(field.set_bundle(h, second), 0);
    EXPECT_EQ(value(), scripted::contents(second));
    EXPECT_THAT(errors(), testing::IsEmpty());
}

TEST_P(EveryBundleField, CannotBeClearedToNothing)
{
    field.set_bundle(h, first);
    EXPECT_EQ(field.set_bundle(h, nullptr), -1);
    EXPECT_EQ(field.set_bundle(nullptr, second), -1);
    EXPECT_EQ(value(), scripted::contents(first));
    EXPECT_THAT(errors(),
                Lines(proxy_error(setter, "Invalid parameter"), proxy_error(setter, "Invalid parameter")));
}

TEST_P(EveryBundleField, IsNotHandedOutWhenAbsentOrWithoutARecordOrAPlace)
{
    bundle* b = first;
    EXPECT_EQ(field.get_bundle(h, &b), -1);
    field.set_bundle(h, second);
    EXPECT_EQ(field.get_bundle(nullptr, &b), -1);
    EXPECT_EQ(field.get_bundle(h, nullptr), -1);
    EXPECT_EQ(b, first);
    EXPECT_THAT(errors(),
                Lines(proxy_error(getter, "Invalid parameter: h->" + field.name + " is NULL"),
                      proxy_error(getter, "Invalid parameter"), proxy_error(getter, "Invalid parameter")));
}

TEST_P(EveryBundleField, SaysThatItCouldNotBeDuplicated)
{
    field.set_bundle(h, first);
    bundle* b = first;
    platform().fail("bundle_dup");
    EXPECT_EQ(field.get_bundle(h, &b), -1);
    EXPECT_EQ(b, first);
    platform().fail("bundle_dup");
    EXPECT_EQ(field.set_bundle(h, second), -1);
    EXPECT_TRUE(field.is_absent(h));
    EXPECT_THAT(errors(), Lines(proxy_error(getter, "Failed to duplicate " + field.name),
                                proxy_error(setter, "Failed to duplicate data")));
}

TEST_P(EveryBundleField, AbsentIsPassedToThePlatformAsItIs)
{
    EXPECT_EQ(object.written(h), object.empty);
    EXPECT_THAT(object.written(h), testing::Contains(scripted::no_bundle()));
}

INSTANTIATE_TEST_SUITE_P(Table, EveryBundleField, testing::ValuesIn(fields_of_kind(Kind::bundle)),
                         name_of_field);

class EveryStringList : public FieldTest {
protected:
    struct Handed {
        int code;
        std::vector<std::string> strings;
    };
    Handed value()
    {
        char** list = nullptr;
        int size = -1;
        Handed handed{field.get_list(h, &list, &size), {}};
        if (handed.code == 0 && list) {
            EXPECT_EQ(list[size], nullptr) << "one more slot, which is NULL";
            for (int i = 0; i < size; ++i) {
                handed.strings.emplace_back(list[i] ? list[i] : "(none)");
                std::free(list[i]);
            }
            std::free(list);
        }
        return handed;
    }
    static constexpr const char* three[] = {"one", "two", "three"};
};

TEST_P(EveryStringList, KeepsACopyAndHandsOutCopies)
{
    char given[] = "one";
    const char* list[] = {given, "two"};
    EXPECT_EQ(field.set_list(h, list, 2), 0);
    given[0] = 'x';
    EXPECT_EQ(value().strings, (std::vector<std::string>{"one", "two"}));
    EXPECT_EQ(field.set_list(h, three, 3), 0);
    EXPECT_EQ(value().strings, (std::vector<std::string>{"one", "two", "three"}));
    EXPECT_EQ(field.size(h), 3);
    EXPECT_THAT(errors(), testing::IsEmpty());
}

TEST_P(EveryStringList, MayBeSetToNone)
{
    EXPECT_EQ(field.set_list(h, three, 3), 0);
    EXPECT_EQ(field.set_list(h, three, 0), 0);
    EXPECT_EQ(field.size(h), 0);
    EXPECT_EQ(object.written(h), object.empty);
}

TEST_P(EveryStringList, WritesAMissingElementAsAnEmptyText)
{
    const char* list[] = {"one", nullptr};
    EXPECT_EQ(field.set_list(h, list, 2), 0);
    const Values written = object.written(h);
    const auto at = std::find(written.begin(), written.end(), count(2));
    ASSERT_NE(at, written.end());
    EXPECT_EQ(*(at + 1), text("one"));
    EXPECT_EQ(*(at + 2), text(""));
}

TEST_P(EveryStringList, EmptyIsNotHandedOutButIsNoFailure)
{
    char* untouched = nullptr;
    char** list = &untouched;
    int size = 77;
    EXPECT_EQ(field.get_list(h, &list, &size), 0);
    EXPECT_EQ(list, &untouched);
    EXPECT_EQ(size, 77);
    EXPECT_THAT(log(), Lines(proxy_warning(getter, field.name + " is empty")));
}

TEST_P(EveryStringList, NeedsARecordAValueAndPlaces)
{
    char** list = nullptr;
    int size = 0;
    EXPECT_EQ(field.set_list(h, three, 3), 0);
    EXPECT_EQ(field.set_list(nullptr, three, 3), -1);
    EXPECT_EQ(field.set_list(h, nullptr, 3), -1);
    EXPECT_EQ(field.get_list(nullptr, &list, &size), -1);
    EXPECT_EQ(field.get_list(h, nullptr, &size), -1);
    EXPECT_EQ(field.get_list(h, &list, nullptr), -1);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(field.size(h), 3);
    EXPECT_THAT(errors(),
                Lines(proxy_error(setter, "Invalid parameter"), proxy_error(setter, "Invalid parameter"),
                      proxy_error(getter, "Invalid parameter"), proxy_error(getter, "Invalid parameter"),
                      proxy_error(getter, "Invalid parameter")));
}

TEST_P(EveryStringList, WithoutMemoryForTheVectorIsNotHandedOutOrSet)
{
    EXPECT_EQ(field.set_list(h, three, 3), 0);
    char** list = nullptr;
    int size = 77;
    {
        const FailingAllocation first(1);
        EXPECT_EQ(field.get_list(h, &list, &size), -1);
    }
    EXPECT_EQ(list, nullptr);
    {
        const FailingAllocation first(1);
        EXPECT_EQ(field.set_list(h, three, 2), -1);
    }
    EXPECT_THAT(errors(), Lines(proxy_error(getter, "Out of memory"), proxy_error(setter, "Out of memory")));
    object.written(h);
}

TEST_P(EveryStringList, WithoutMemoryForAnElementHasAHole)
{
    {
        const FailingAllocation second(2);
        EXPECT_EQ(field.set_list(h, three, 3), 0);
    }
    EXPECT_EQ(value().strings, (std::vector<std::string>{"(none)", "two", "three"}));
    EXPECT_EQ(field.set_list(h, three, 3), 0);
    char** list = nullptr;
    int size = 0;
    {
        const FailingAllocation third(3);
        EXPECT_EQ(field.get_list(h, &list, &size), 0);
    }
    ASSERT_EQ(size, 3);
    EXPECT_STREQ(list[0], "one");
    EXPECT_EQ(list[1], nullptr);
    EXPECT_STREQ(list[2], "three");
    std::free(list[0]);
    std::free(list[2]);
    std::free(list);
    void* copy = nullptr;
    EXPECT_EQ(object.clone(h, &copy), 0);
    object.destroy(copy);
}

// Counts as they come from an agent that lies, over a platform that believes it.
TEST_P(EveryStringList, WithACountThatCannotBeIsTakenForOneWithoutMemory)
{
    for (const int lie : {-1, INT_MIN, 8'388'609, INT_MAX}) {
        // An empty record has one value a field: the fields in front of this one, and then the lie.
        Values lying;
        for (std::size_t at = 0; object.fields[at].name != field.name; ++at) {
            lying.add(object.empty[at]);
        }
        lying.add(trusted_count(lie));
        lying.add(text("left unread"));
        clear_log();
        EXPECT_EQ(object.read(h, lying), 1) << "reading stops there";
        EXPECT_EQ(field.size(h), 0);
        EXPECT_THAT(errors(), testing::ElementsAre(testing::Field(&LogLine::text, "Out of memory")));
        object.written(h);
    }
}

INSTANTIATE_TEST_SUITE_P(Table, EveryStringList, testing::ValuesIn(fields_of_kind(Kind::list)),
                         name_of_field);

// ---------------------------------------------------------------------------------------------------------
// Arrays of records

class EveryArray : public FieldTest {
protected:
    void SetUp() override
    {
        FieldTest::SetUp();
        given = {element.make(1), element.make(2), element.make(3)};
    }
    void TearDown() override
    {
        for (void* each : given) {
            element.destroy(each);
        }
        FieldTest::TearDown();
    }
    // Destroys what was handed out and tells what it was.
    std::vector<Values> taken(void* vector, int size)
    {
        std::vector<Values> all;
        for (int i = 0; i < size; ++i) {
            void* each = field.element_of_vector(vector, i);
            all.push_back(each ? element.written(each) : Values{text("none")});
            if (each) {
                element.destroy(each);
            }
        }
        if (vector) {
            EXPECT_EQ(field.element_of_vector(vector, size), nullptr) << "one more slot, which is NULL";
            std::free(vector);
        }
        return all;
    }
    const Object& element = element_of(object);
    std::vector<void*> given;
};

TEST_P(EveryArray, KeepsCopiesAndHandsOutCopies)
{
    EXPECT_EQ(field.set_elements(h, &given), 0);
    EXPECT_EQ(field.size(h), 3);
    void* vector = nullptr;
    int size = 0;
    EXPECT_EQ(field.get_elements(h, &vector, &size), 0);
    EXPECT_EQ(size, 3);
    EXPECT_EQ(taken(vector, size),
              (std::vector<Values>{element.values(1), element.values(2), element.values(3)}));
    EXPECT_EQ(object.written(h), (Values{count(3), element.values(1), element.values(2), element.values(3)}));
    EXPECT_THAT(errors(), testing::IsEmpty());
}

TEST_P(EveryArray, MayBeSetToNone)
{
    const std::vector<void*> none;
    EXPECT_EQ(field.set_elements(h, &given), 0);
    EXPECT_EQ(field.set_elements(h, &none), 0);
    EXPECT_EQ(field.size(h), 0);
    EXPECT_EQ(object.written(h), Values{count(0)});
}

TEST_P(EveryArray, EmptyIsNotHandedOutButIsNoFailure)
{
    void* vector = nowhere;
    int size = 77;
    EXPECT_EQ(field.get_elements(h, &vector, &size), 0);
    EXPECT_EQ(vector, nowhere);
    EXPECT_EQ(size, 77);
    EXPECT_THAT(log(), Lines(proxy_warning(getter, field.name + " is empty")));
}

TEST_P(EveryArray, NeedsItselfAValueAndPlaces)
{
    void* vector = nullptr;
    int size = 77;
    EXPECT_EQ(field.set_elements(h, &given), 0);
    EXPECT_EQ(field.set_elements(nullptr, &given), -1);
    EXPECT_EQ(field.set_elements(h, nullptr), -1);
    EXPECT_EQ(field.get_elements(nullptr, &vector, &size), -1);
    EXPECT_EQ(field.get_elements(h, nullptr, &size), -1);
    EXPECT_EQ(field.get_elements(h, &vector, nullptr), -1);
    EXPECT_EQ(vector, nullptr);
    EXPECT_EQ(size, 77);
    EXPECT_EQ(field.size(h), 3);
    EXPECT_THAT(errors(),
                Lines(proxy_error(setter, "Invalid parameter"), proxy_error(setter, "Invalid parameter"),
                      proxy_error(getter, "Invalid parameter"), proxy_error(getter, "Invalid parameter"),
                      proxy_error(getter, "Invalid parameter")));
}

TEST_P(EveryArray, WithoutMemoryForTheVectorIsNotHandedOutOrSet)
{
    EXPECT_EQ(field.set_elements(h, &given), 0);
    void* vector = nullptr;
    int size = 77;
    {
        const FailingAllocation first(1);
        EXPECT_EQ(field.get_elements(h, &vector, &size), -1);
    }
    EXPECT_EQ(vector, nullptr);
    {
        const FailingAllocation first(1);
        EXPECT_EQ(field.set_elements(h, &given), -1);
    }
    EXPECT_THAT(errors(), Lines(proxy_error(getter, "Out of memory"), proxy_error(setter, "Out of memory")));
    object.written(h);
}

TEST_P(EveryArray, WithoutMemoryForAnElementHasAHole)
{
    EXPECT_EQ(field.set_elements(h, &given), 0);
    void* vector = nullptr;
    int size = 0;
    {
        const FailingAllocation second(2);
        EXPECT_EQ(field.get_elements(h, &vector, &size), 0);
    }
    ASSERT_EQ(size, 3);
    EXPECT_EQ(taken(vector, size),
              (std::vector<Values>{{text("none")}, element.values(2), element.values(3)}));
    {
        const FailingAllocation second(2);
        EXPECT_EQ(field.set_elements(h, &given), 0);
    }
    EXPECT_EQ(field.size(h), 3);
    void* copy = nullptr;
    EXPECT_EQ(object.clone(h, &copy), 0) << "a hole is copied as one";
    object.destroy(copy);
    object.written(h);
}

TEST_P(EveryArray, StopsReadingWhereAnElementCannotBeMade)
{
    {
        const FailingAllocation second(2);
        EXPECT_GT(object.read(h, {count(2), element.values(1), element.values(2)}), 0);
    }
    EXPECT_THAT(errors(), testing::Contains(testing::Field(&LogLine::text, "Failed to create handle")));
    void* copy = nullptr;
    EXPECT_EQ(object.clone(h, &copy), 0) << "the slots that were not read are holes";
    object.destroy(copy);
}

TEST_P(EveryArray, WithACountThatCannotBeIsTakenForOneWithoutMemory)
{
    for (const int lie : {-1, INT_MIN, 8'388'609, INT_MAX}) {
        clear_log();
        EXPECT_EQ(object.read(h, {trusted_count(lie), text("left unread")}), 1);
        EXPECT_EQ(field.size(h), 0);
        EXPECT_THAT(errors(), testing::ElementsAre(testing::Field(&LogLine::text, "Out of memory")));
        EXPECT_EQ(object.written(h), Values{count(0)});
    }
}

TEST_P(EveryArray, SurvivesACountThatIsTooHigh)
{
    object.read(h, {trusted_count(50), element.values(1)});
    void* copy = nullptr;
    EXPECT_EQ(object.clone(h, &copy), 0);
    object.destroy(copy);
    object.written(h);
}

// An element that came in an array is a record like any other: it may be changed, read into and copied.
TEST_P(EveryArray, HandsOutElementsThatMayBeChanged)
{
    object.read(h, {count(2), element.values(1), element.values(2)});
    void* vector = nullptr;
    int size = 0;
    ASSERT_EQ(field.get_elements(h, &vector, &size), 0);
    ASSERT_EQ(size, 2);
    for (int i = 0; i < size; ++i) {
        void* each = field.element_of_vector(vector, i);
        for (const Field& part : element.fields) {
            if (part.kind == Kind::text) {
                EXPECT_EQ(part.set_text(each, "changed"), 0);
                char* changed = nullptr;
                EXPECT_EQ(part.get_text(each, &changed), 0);
                EXPECT_STREQ(changed, "changed");
                std::free(changed);
            } else if (part.kind == Kind::list) {
                const char* strings[] = {"x", "y", "z"};
                EXPECT_EQ(part.set_list(each, strings, 3), 0);
                EXPECT_EQ(part.size(each), 3);
            }
        }
        EXPECT_EQ(element.read(each, element.values(9)), 0);
        EXPECT_EQ(element.written(each), element.values(9));
    }
    EXPECT_EQ(object.written(h), (Values{count(2), element.values(1), element.values(2)}));
    taken(vector, size);
}

INSTANTIATE_TEST_SUITE_P(Table, EveryArray, testing::ValuesIn(fields_of_kind(Kind::elements)), name_of_field);

// ---------------------------------------------------------------------------------------------------------
// Two forms that look like slips and are not

class DeviceDetail : public scripted::Scripted {};

TEST_F(DeviceDetail, PutsTheIntegerFirstAndTheEmptyReservedLast)
{
    rpc_port_device_detail_s_h h = nullptr;
    ASSERT_EQ(rpc_port_device_detail_s_create(&h), 0);
    rpc_port_device_detail_s_set_resource_count(h, 3);
    rpc_port_device_detail_s_set_cloud_device_state(h, "CONNECTED");
    const Values written = catalogue::written(h);
    ASSERT_EQ(written.size(), 15U);
    EXPECT_EQ(written[0], i32(3));
    EXPECT_EQ(written[4], text("CONNECTED")) << "a state that is a text";
    EXPECT_EQ(written[11], count(0));
    EXPECT_EQ(written[14], text(""));
    rpc_port_device_detail_s_destroy(h);
}

}  // namespace
}  // namespace catalogue
