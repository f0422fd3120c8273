#include "proxy/records.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "internal/log.hpp"

namespace quorvel::proxy {

namespace {

constexpr std::size_t aligned(std::size_t size)
{
    return (size + alignof(std::max_align_t) - 1) & ~(alignof(std::max_align_t) - 1);
}

/// Stands behind the fields that a record's header shows.
struct alignas(std::max_align_t) Tail {
    std::size_t text_size;  ///< of the vectors and texts that follow it in the record's own block
    bool had_full_lists;    ///< when it was received: none of its lists was empty
};

/// The fields of an array, whatever its elements are.
struct Array {
    rpc_port_parcelable_t parcelable;
    void** elements;
    int count;
};

constexpr auto max_fields = std::size_t{16};
constexpr auto max_record_size = std::size_t{256};

template <typename Value>
Value& at_offset(void* record, std::size_t offset)
{
    return *reinterpret_cast<Value*>(static_cast<char*>(record) + offset);
}

template <typename Value>
const Value& at_offset(const void* record, std::size_t offset)
{
    return *reinterpret_cast<const Value*>(static_cast<const char*>(record) + offset);
}

char*& text_of(void* record, const Field& field)
{
    return at_offset<char*>(record, field.offset);
}

const char* text_of(const void* record, const Field& field)
{
    return at_offset<char*>(record, field.offset);
}

char**& list_of(void* record, const Field& field)
{
    return at_offset<char**>(record, field.offset);
}

int& count_of(void* record, const Field& field)
{
    return at_offset<int>(record, field.size_offset);
}

bundle*& bundle_of(void* record, const Field& field)
{
    return at_offset<bundle*>(record, field.offset);
}

Tail& tail_of(const RecordType& type, void* record)
{
    return at_offset<Tail>(record, aligned(type.size));
}

std::size_t fixed_size(const RecordType& type)
{
    return aligned(type.size) + sizeof(Tail);
}

int refuse(const CallSite& at)
{
    log_proxy(DLOG_ERROR, at, PROXY_TEXT("Invalid parameter"));
    return -1;
}

int out_of_memory(const CallSite& at)
{
    log_proxy(DLOG_ERROR, at, PROXY_TEXT("Out of memory"));
    return -1;
}

/// Whether reading a record or an array was broken off. The port stands between who reads it and who has to
/// know.
thread_local bool is_broken_off = false;

bool break_off(const CallSite& at)
{
    is_broken_off = true;
    return out_of_memory(at) == 0;
}

void report_empty(const char* name, const CallSite& at)
{
    log_proxy(DLOG_WARN, at, PROXY_TEXT("%s is empty"), name);
}

/// Says of the empty lists of a record that has just been received what a copy of it would have said.
void report_empty_lists(const RecordType& type, void* record, const CallSite& at)
{
    if (tail_of(type, record).had_full_lists)
        return;
    for (const Field& field : type.fields) {
        if (field.kind == Kind::text_list && count_of(record, field) == 0)
            report_empty(field.name, CallSite{at.source, at.line, type.clone_name});
    }
}

/// A zeroed vector with one more slot, which stays NULL; nullptr for a count that no list can have.
template <typename Element>
Element* new_vector(int count)
{
    if (count < 0 || count > max_list_size)
        return nullptr;
    return static_cast<Element*>(std::calloc(static_cast<std::size_t>(count) + 1, sizeof(Element)));
}

char* duplicate(const char* text)
{
    return text != nullptr ? strdup(text) : nullptr;
}

char** duplicate_all(const char* const* texts, int count)
{
    char** const copies = new_vector<char*>(count);
    for (int i = 0; copies != nullptr && i < count; ++i)
        copies[i] = duplicate(texts[i]);
    return copies;
}

void free_strings(char** strings, int count)
{
    for (int i = 0; strings != nullptr && i < count; ++i)
        std::free(strings[i]);
    std::free(strings);
}

const char* or_empty(const char* text)
{
    return text != nullptr ? text : "";
}

/// A record's own block: what lies in it goes with the record.
class Block {
public:
    Block(const RecordType& type, void* record)
        : begin_{reinterpret_cast<std::uintptr_t>(record)},
          size_{fixed_size(type) + tail_of(type, record).text_size}
    {
    }

    bool holds(const void* address) const
    {
        return reinterpret_cast<std::uintptr_t>(address) - begin_ < size_;
    }
    /// Whether the field's value goes with the record; a list has its texts where its vector is.
    bool holds_value(const void* record, const Field& field) const
    {
        return (field.kind == Kind::text || field.kind == Kind::text_list)
               && holds(at_offset<const void*>(record, field.offset));
    }
    /// Frees what is a block of its own.
    void release(char* text) const
    {
        if (!holds(text))
            std::free(text);
    }
    /// Lists are replaced as a whole: one that lies in the record's block has its texts there too.
    void release(char** list, int count) const
    {
        if (!holds(list))
            free_strings(list, count);
    }

private:
    std::uintptr_t begin_;
    std::size_t size_;
};

void release_list(const Block& block, void* record, const Field& field)
{
    char**& list = list_of(record, field);
    int& count = count_of(record, field);
    block.release(list, count);
    list = nullptr;
    count = 0;
}

void release_field(const Block& block, void* record, const Field& field)
{
    switch (field.kind) {
        case Kind::text:
            block.release(text_of(record, field));
            text_of(record, field) = nullptr;
            break;
        case Kind::bundle:
            if (bundle_of(record, field) != nullptr)
                bundle_free(bundle_of(record, field));
            bundle_of(record, field) = nullptr;
            break;
        case Kind::text_list:
            release_list(block, record, field);
            break;
        case Kind::number:
            break;
    }
}

void release_fields(const RecordType& type, void* record)
{
    const Block block{type, record};
    for (const Field& field : type.fields)
        release_field(block, record, field);
}

void* allocate_record(const RecordType& type, std::size_t text_size)
{
    void* const record = std::malloc(fixed_size(type) + text_size);
    if (record == nullptr)
        return nullptr;
    std::memset(record, 0, fixed_size(type));
    at_offset<rpc_port_parcelable_t>(record, 0) = type.parcelable;
    tail_of(type, record).text_size = text_size;
    return record;
}

/// Writes an element with its own routine. The count is on its way already, so a missing element goes as one
/// whose fields are all absent.
void write_element(const RecordType& type, rpc_port_parcel_h parcel, void* element)
{
    alignas(std::max_align_t) char absent[max_record_size] = {};
    rpc_port_parcelable_t parcelable = type.parcelable;
    rpc_port_parcel_write(parcel, &parcelable, element != nullptr ? element : absent);
}

bool clone_field(const void* source, void* copy, const Field& field, const CallSite& at)
{
    const auto duplicated = [&](bool is_duplicated) {
        if (!is_duplicated)
            log_proxy(DLOG_ERROR, at, PROXY_TEXT("Failed to duplicate h->%s"), field.name);
        return is_duplicated;
    };

    switch (field.kind) {
        case Kind::text: {
            const char* const text = text_of(source, field);
            text_of(copy, field) = duplicate(text);
            return duplicated(text == nullptr || text_of(copy, field) != nullptr);
        }
        case Kind::bundle: {
            bundle* const original = at_offset<bundle*>(source, field.offset);
            if (original != nullptr)
                bundle_of(copy, field) = bundle_dup(original);
            return duplicated(original == nullptr || bundle_of(copy, field) != nullptr);
        }
        case Kind::text_list: {
            const int count = at_offset<int>(source, field.size_offset);
            if (count == 0) {
                report_empty(field.name, at);
                return true;
            }
            list_of(copy, field) = duplicate_all(at_offset<char**>(source, field.offset), count);
            if (list_of(copy, field) == nullptr)
                return out_of_memory(at) == 0;
            count_of(copy, field) = count;
            return true;
        }
        case Kind::number:
            at_offset<int>(copy, field.offset) = at_offset<int>(source, field.offset);
            return true;
    }
    return true;
}

/// Reads the count of a list. A count that cannot be honoured reads as an empty list and answers false.
template <typename Element>
bool read_vector(rpc_port_parcel_h parcel, Element*& vector, int& count, const CallSite& at)
{
    int announced = 0;
    rpc_port_parcel_read_array_count(parcel, &announced);
    if (announced == 0)
        return true;
    vector = new_vector<Element>(announced);
    if (vector == nullptr)
        return break_off(at);
    count = announced;
    return true;
}

bool read_field(rpc_port_parcel_h parcel, void* record, const Field& field, const CallSite& at)
{
    switch (field.kind) {
        case Kind::text:
            rpc_port_parcel_read_string(parcel, &text_of(record, field));
            break;
        case Kind::number:
            rpc_port_parcel_read_int32(parcel, &at_offset<int>(record, field.offset));
            break;
        case Kind::bundle:
            rpc_port_parcel_read_bundle(parcel, &bundle_of(record, field));
            break;
        case Kind::text_list: {
            char**& list = list_of(record, field);
            if (!read_vector(parcel, list, count_of(record, field), at))
                return false;
            for (int i = 0; i < count_of(record, field); ++i)
                rpc_port_parcel_read_string(parcel, &list[i]);
            break;
        }
    }
    return true;
}

/// Reads one record of an array into a single block: its texts are borrowed from the parcel until the size is
/// known. Where they lie there one after the other, that piece of the parcel is copied behind the record as
/// it is, and a text is found in the copy where it was found in the parcel; otherwise they are copied one by
/// one.
class Gathering {
public:
    // cppcheck-suppress uninitMemberVar ; room for texts, which is looked at as far as it was filled.
    explicit Gathering(const RecordType& type, const CallSite& at) : type_{type}, at_{at} {}
    ~Gathering()
    {
        if (texts_ != inline_texts_)
            std::free(texts_);
    }
    Gathering(const Gathering&) = delete;
    Gathering& operator=(const Gathering&) = delete;

    /// The next record of the parcel; nullptr when there is no memory for it.
    void* read(rpc_port_parcel_h parcel)
    {
        // The one whose fields are read is the record's own type, as far as the port is concerned.
        static constexpr auto from = [](rpc_port_parcel_h h, void* data) {
            static_cast<Gathering*>(data)->gather(h);
        };
        rpc_port_parcelable_t parcelable{nullptr, from};
        forget();
        rpc_port_parcel_read(parcel, &parcelable, this);
        void* const record = complete_ ? lay_out() : nullptr;
        if (record == nullptr)
            release_bundles();
        return record;
    }

private:
    struct FieldValue {
        int number;  ///< or the count of a list
        bundle* bundle_data;
    };

    /// Nothing of the record before is this one's, also when the port does not ask for the fields at all.
    void forget()
    {
        fields_read_ = 0;
        text_count_ = 0;
        vector_size_ = 0;
        piece_end_ = 0;
        is_one_piece_ = true;
        complete_ = true;
    }

    void gather(rpc_port_parcel_h parcel)
    {
        const std::size_t size = type_.fields.size();
        while (fields_read_ < size) {
            std::size_t next = fields_read_ + 1;
            bool is_read = false;
            if (type_.fields[fields_read_].kind == Kind::text) {
                // Most fields are texts, so those that follow each other are borrowed together.
                while (next < size && type_.fields[next].kind == Kind::text)
                    ++next;
                is_read = borrow(parcel, next - fields_read_);
            } else {
                is_read = gather_field(parcel, type_.fields[fields_read_], values_[fields_read_]);
            }
            if (!is_read)
                return;
            fields_read_ = next;
        }
    }

    bool gather_field(rpc_port_parcel_h parcel, const Field& field, FieldValue& value)
    {
        value = {};
        switch (field.kind) {
            case Kind::text:
                break;
            case Kind::number:
                rpc_port_parcel_read_int32(parcel, &value.number);
                return true;
            case Kind::bundle:
                rpc_port_parcel_read_bundle(parcel, &value.bundle_data);
                return true;
            case Kind::text_list: {
                int count = 0;
                rpc_port_parcel_read_array_count(parcel, &count);
                if (count < 0 || count > max_list_size)
                    return break_off(at_);
                value.number = count;
                if (count > 0)
                    vector_size_ += (static_cast<std::size_t>(count) + 1) * sizeof(char*);
                return borrow(parcel, static_cast<std::size_t>(count));
            }
        }
        return true;
    }

    bool borrow(rpc_port_parcel_h parcel, std::size_t count)
    {
        if (!reserve(text_count_ + count))
            return complete_ = false;
        constexpr std::uintptr_t most_between = 16;  // a length, and what little may stand before it
        const char** text = texts_ + text_count_;
        const char** const last = text + count;
        std::uintptr_t end = piece_end_;
        int length = 0;
        for (; text != last; ++text) {
            qv_port_parcel_borrow_string(parcel, text, &length);
            const auto begin = reinterpret_cast<std::uintptr_t>(*text);
            if (begin - end > most_between && end != 0)
                is_one_piece_ = false;
            end = begin + static_cast<unsigned>(length) + 1;
        }
        text_count_ += count;
        piece_end_ = end;
        return true;
    }

    /// How much room the texts take behind the record.
    std::size_t text_size() const
    {
        if (is_one_piece_)
            return text_count_ != 0 ? piece_end_ - reinterpret_cast<std::uintptr_t>(*texts_) : 0;
        std::size_t size = 0;
        for (std::size_t i = 0; i < text_count_; ++i)
            size += std::strlen(texts_[i]) + 1;
        return size;
    }

    /// Copies the texts to where they stay; answers how far each of `texts_` is from there.
    std::ptrdiff_t place_texts(char* to)
    {
        if (is_one_piece_ && text_count_ != 0) {
            const auto from = reinterpret_cast<std::uintptr_t>(*texts_);
            std::memcpy(to, *texts_, piece_end_ - from);
            return static_cast<std::ptrdiff_t>(reinterpret_cast<std::uintptr_t>(to) - from);
        }
        for (std::size_t i = 0; i < text_count_; ++i) {
            char* const end = stpcpy(to, texts_[i]) + 1;
            texts_[i] = std::exchange(to, end);
        }
        return 0;
    }

    bool reserve(std::size_t count)
    {
        if (count <= text_capacity_)
            return true;
        const std::size_t capacity = count * 2;
        auto** const larger = static_cast<const char**>(std::malloc(capacity * sizeof(char*)));
        if (larger == nullptr)
            return false;
        std::memcpy(larger, texts_, text_count_ * sizeof(char*));
        if (texts_ != inline_texts_)
            std::free(texts_);
        texts_ = larger;
        text_capacity_ = capacity;
        return true;
    }

    void* lay_out()
    {
        void* const record = allocate_record(type_, vector_size_ + text_size());
        if (record == nullptr)
            return nullptr;
        // The vectors first, so that they are aligned; then the texts, in wire order.
        auto* vector = reinterpret_cast<char**>(static_cast<char*>(record) + fixed_size(type_));
        const std::ptrdiff_t distance = place_texts(reinterpret_cast<char*>(vector) + vector_size_);
        const char* const* text = texts_;
        const auto placed = [distance](const char* lent) { return const_cast<char*>(lent) + distance; };
        bool& had_full_lists = tail_of(type_, record).had_full_lists;
        had_full_lists = fields_read_ == type_.fields.size();

        for (std::size_t i = 0; i < fields_read_; ++i) {
            const Field& field = type_.fields[i];
            switch (field.kind) {
                case Kind::text:
                    text_of(record, field) = placed(*text++);
                    break;
                case Kind::number:
                    at_offset<int>(record, field.offset) = values_[i].number;
                    break;
                case Kind::bundle:
                    bundle_of(record, field) = values_[i].bundle_data;
                    break;
                case Kind::text_list:
                    if (values_[i].number == 0) {
                        had_full_lists = false;
                        break;
                    }
                    list_of(record, field) = vector;
                    count_of(record, field) = values_[i].number;
                    vector = std::transform(text, text + values_[i].number, vector, placed);
                    text += values_[i].number;
                    *vector++ = nullptr;
                    break;
            }
        }
        return record;
    }

    void release_bundles()
    {
        for (std::size_t i = 0; i < fields_read_; ++i) {
            if (type_.fields[i].kind == Kind::bundle && values_[i].bundle_data != nullptr)
                bundle_free(values_[i].bundle_data);
        }
    }

    const RecordType& type_;
    const CallSite& at_;
    bool complete_ = true;
    std::size_t fields_read_ = 0;
    FieldValue values_[max_fields] = {};
    std::size_t text_count_ = 0;
    std::size_t vector_size_ = 0;   ///< of the lists' vectors
    std::uintptr_t piece_end_ = 0;  // a number, since texts of different pieces are compared
    bool is_one_piece_ = true;      ///< the texts lie one after the other, up to there
    std::size_t text_capacity_ = 128;
    const char* inline_texts_[128];
    const char** texts_ = inline_texts_;
};

void release_elements(const ArrayType& type, Array& array)
{
    if (type.element == nullptr) {
        free_strings(reinterpret_cast<char**>(array.elements), array.count);
    } else {
        for (int i = 0; i < array.count; ++i) {
            if (array.elements[i] != nullptr)
                type.element->operations.destroy(array.elements[i]);
        }
        std::free(array.elements);
    }
    array.elements = nullptr;
    array.count = 0;
}

/// Copies of the elements in a vector of their own; a copy that fails leaves NULL.
void** clone_elements(const ArrayType& type, void* const* elements, int count)
{
    if (type.element == nullptr)
        return reinterpret_cast<void**>(duplicate_all(reinterpret_cast<const char* const*>(elements), count));
    void** const copies = new_vector<void*>(count);
    for (int i = 0; copies != nullptr && i < count; ++i)
        type.element->operations.clone(elements[i], &copies[i]);
    return copies;
}

int replace_elements(const ArrayType& type, void* object, void* const* elements, int count,
                     const CallSite& at)
{
    if (object == nullptr || elements == nullptr)
        return refuse(at);
    auto& array = *static_cast<Array*>(object);
    void** const copies = clone_elements(type, elements, count);
    release_elements(type, array);
    if (copies == nullptr)
        return out_of_memory(at);
    array.elements = copies;
    array.count = count;
    return 0;
}

int copy_elements(const ArrayType& type, const void* object, void*** elements, int* count, const CallSite& at)
{
    if (object == nullptr || elements == nullptr || count == nullptr)
        return refuse(at);
    const auto& array = *static_cast<const Array*>(object);
    if (array.count == 0) {
        report_empty(type.elements_name, at);
        return 0;
    }
    void** const copies = clone_elements(type, array.elements, array.count);
    if (copies == nullptr)
        return out_of_memory(at);
    *elements = copies;
    *count = array.count;
    return 0;
}

}  // namespace

int create_object(const RecordType& type, void** record, const CallSite& at)
{
    if (record == nullptr)
        return refuse(at);
    void* const made = allocate_record(type, 0);
    if (made == nullptr)
        return out_of_memory(at);
    *record = made;
    return 0;
}

int destroy_object(const RecordType& type, void* record, const CallSite& at)
{
    if (record == nullptr)
        return refuse(at);
    const Block block{type, record};
    for (const Field& field : type.fields) {
        if (!block.holds_value(record, field))
            release_field(block, record, field);
    }
    std::free(record);
    return 0;
}

int clone_object(const RecordType& type, const void* record, void** copy, const CallSite& at)
{
    if (record == nullptr || copy == nullptr)
        return refuse(at);
    void* made = nullptr;
    if (type.operations.create(&made) != 0) {
        log_proxy(DLOG_ERROR, at, PROXY_TEXT("Failed to create %s handle"), type.name);
        return -1;
    }
    for (const Field& field : type.fields) {
        if (!clone_field(record, made, field, at)) {
            type.operations.destroy(made);
            return -1;
        }
    }
    *copy = made;
    return 0;
}

void write_record(const RecordType& type, rpc_port_parcel_h parcel, void* record, CallSite at)
{
    if (parcel == nullptr || record == nullptr) {
        refuse(at);
        return;
    }
    for (const Field& field : type.fields) {
        switch (field.kind) {
            case Kind::text:
                rpc_port_parcel_write_string(parcel, or_empty(text_of(record, field)));
                break;
            case Kind::number:
                rpc_port_parcel_write_int32(parcel, at_offset<int>(record, field.offset));
                break;
            case Kind::bundle:
                rpc_port_parcel_write_bundle(parcel, bundle_of(record, field));
                break;
            case Kind::text_list:
                rpc_port_parcel_write_array_count(parcel, count_of(record, field));
                for (int i = 0; i < count_of(record, field); ++i)
                    rpc_port_parcel_write_string(parcel, or_empty(list_of(record, field)[i]));
                break;
        }
    }
}

void read_record(const RecordType& type, rpc_port_parcel_h parcel, void* record, CallSite at)
{
    if (parcel == nullptr || record == nullptr) {
        refuse(at);
        return;
    }
    is_broken_off = false;
    release_fields(type, record);
    for (const Field& field : type.fields) {
        if (!read_field(parcel, record, field, at))
            return;
    }
}

int set_text(const RecordType& type, void* record, const Field& field, const char* value, CallSite at)
{
    if (record == nullptr || value == nullptr)
        return refuse(at);
    char* const copy = duplicate(value);
    Block{type, record}.release(text_of(record, field));
    text_of(record, field) = copy;
    if (copy == nullptr) {
        log_proxy(DLOG_ERROR, at, PROXY_TEXT("Failed to duplicate data"));
        return -1;
    }
    return 0;
}

int get_text(const RecordType&, const void* record, const Field& field, char** value, CallSite at)
{
    if (record == nullptr || value == nullptr)
        return refuse(at);
    if (text_of(record, field) == nullptr) {
        log_proxy(DLOG_ERROR, at, PROXY_TEXT("Invalid parameter: h->%s is NULL"), field.name);
        return -1;
    }
    char* const copy = duplicate(text_of(record, field));
    if (copy == nullptr) {
        log_proxy(DLOG_ERROR, at, PROXY_TEXT("Failed to duplicate %s"), field.name);
        return -1;
    }
    *value = copy;
    return 0;
}

int set_number(const RecordType&, void* record, const Field& field, int value, CallSite at)
{
    if (record == nullptr)
        return refuse(at);
    at_offset<int>(record, field.offset) = value;
    return 0;
}

int get_number(const RecordType&, const void* record, const Field& field, int* value, CallSite at)
{
    if (record == nullptr || value == nullptr)
        return refuse(at);
    *value = at_offset<int>(record, field.offset);
    return 0;
}

int set_bundle(const RecordType& type, void* record, const Field& field, bundle* value, CallSite at)
{
    if (record == nullptr || value == nullptr)
        return refuse(at);
    bundle* const copy = bundle_dup(value);
    release_field(Block{type, record}, record, field);
    bundle_of(record, field) = copy;
    if (copy == nullptr) {
        log_proxy(DLOG_ERROR, at, PROXY_TEXT("Failed to duplicate data"));
        return -1;
    }
    return 0;
}

int get_bundle(const RecordType&, const void* record, const Field& field, bundle** value, CallSite at)
{
    if (record == nullptr || value == nullptr)
        return refuse(at);
    bundle* const original = at_offset<bundle*>(record, field.offset);
    if (original == nullptr) {
        log_proxy(DLOG_ERROR, at, PROXY_TEXT("Invalid parameter: h->%s is NULL"), field.name);
        return -1;
    }
    bundle* const copy = bundle_dup(original);
    if (copy == nullptr) {
        log_proxy(DLOG_ERROR, at, PROXY_TEXT("Failed to duplicate %s"), field.name);
        return -1;
    }
    *value = copy;
    return 0;
}

int set_text_list(const RecordType& type, void* record, const Field& field, const char* const* values,
                  int count, CallSite at)
{
    if (record == nullptr || values == nullptr)
        return refuse(at);
    char** const copies = duplicate_all(values, count);
    release_list(Block{type, record}, record, field);
    if (copies == nullptr)
        return out_of_memory(at);
    list_of(record, field) = copies;
    count_of(record, field) = count;
    return 0;
}

int get_text_list(const RecordType&, const void* record, const Field& field, char*** values, int* count,
                  CallSite at)
{
    if (record == nullptr || values == nullptr || count == nullptr)
        return refuse(at);
    const int size = at_offset<int>(record, field.size_offset);
    if (size == 0) {
        report_empty(field.name, at);
        return 0;
    }
    char** const copies = duplicate_all(at_offset<char**>(record, field.offset), size);
    if (copies == nullptr)
        return out_of_memory(at);
    *count = size;
    *values = copies;
    return 0;
}

int create_object(const ArrayType& type, void** array, const CallSite& at)
{
    if (array == nullptr)
        return refuse(at);
    auto* const made = static_cast<Array*>(std::calloc(1, sizeof(Array)));
    if (made == nullptr)
        return out_of_memory(at);
    made->parcelable = type.parcelable;
    *array = made;
    return 0;
}

int destroy_object(const ArrayType& type, void* array, const CallSite& at)
{
    if (array == nullptr)
        return refuse(at);
    release_elements(type, *static_cast<Array*>(array));
    std::free(array);
    return 0;
}

int clone_object(const ArrayType& type, const void* object, void** copy, const CallSite& at)
{
    if (object == nullptr || copy == nullptr)
        return refuse(at);
    void* made = nullptr;
    if (create_object(type, &made, at) != 0) {
        log_proxy(DLOG_ERROR, at, PROXY_TEXT("Failed to create %s handle"), type.name);
        return -1;
    }
    auto& array = *static_cast<Array*>(made);
    if (copy_elements(type, object, &array.elements, &array.count, at) != 0) {
        destroy_object(type, made, at);
        return -1;
    }
    *copy = made;
    return 0;
}

void write_array(const ArrayType& type, rpc_port_parcel_h parcel, void* object, CallSite at)
{
    if (parcel == nullptr || object == nullptr) {
        refuse(at);
        return;
    }
    const auto& array = *static_cast<const Array*>(object);
    rpc_port_parcel_write_array_count(parcel, array.count);
    for (int i = 0; i < array.count; ++i) {
        if (type.element == nullptr)
            rpc_port_parcel_write_string(parcel, or_empty(static_cast<const char*>(array.elements[i])));
        else
            write_element(*type.element, parcel, array.elements[i]);
    }
}

void read_array(const ArrayType& type, rpc_port_parcel_h parcel, void* object, CallSite at)
{
    if (parcel == nullptr || object == nullptr) {
        refuse(at);
        return;
    }
    is_broken_off = false;
    auto& array = *static_cast<Array*>(object);
    release_elements(type, array);
    if (!read_vector(parcel, array.elements, array.count, at))
        return;
    if (type.element == nullptr) {
        for (int i = 0; i < array.count; ++i)
            rpc_port_parcel_read_string(parcel, reinterpret_cast<char**>(&array.elements[i]));
        return;
    }

    Gathering gathering{*type.element, at};
    for (int i = 0; i < array.count; ++i) {
        void*& element = array.elements[i];
        if (qv_port_parcel_borrow_string != nullptr)
            element = gathering.read(parcel);
        else if (type.element->operations.create(&element) == 0)
            rpc_port_parcel_read(parcel, &at_offset<rpc_port_parcelable_t>(element, 0), element);
        if (element == nullptr) {
            log_proxy(DLOG_ERROR, at, PROXY_TEXT("Failed to create handle"));
            is_broken_off = true;
        }
        if (is_broken_off)
            return;
    }
}

bool read_whole(rpc_port_parcel_h parcel, rpc_port_parcelable_t& parcelable, void* object)
{
    is_broken_off = false;
    rpc_port_parcel_read(parcel, &parcelable, object);
    return !is_broken_off;
}

int set_strings(const ArrayType& type, void* array, const char* const* values, int count, CallSite at)
{
    return set_array_elements(type, array, values, count, at);
}

int get_strings(const ArrayType& type, const void* array, char*** values, int* count, CallSite at)
{
    return get_array_elements(type, array, reinterpret_cast<void***>(values), count, at);
}

int set_array_elements(const ArrayType& type, void* array, const void* elements, int count,
                       const CallSite& at)
{
    return replace_elements(type, array, static_cast<void* const*>(elements), count, at);
}

int get_array_elements(const ArrayType& type, const void* array, void*** elements, int* count,
                       const CallSite& at)
{
    return copy_elements(type, array, elements, count, at);
}

void take_elements(const ArrayType& type, void* object, void*** elements, int* count)
{
    const CallSite at = CallSite::named(type.getter_name);
    auto& array = *static_cast<Array*>(object);
    if (array.count == 0) {
        report_empty(type.elements_name, at);
        return;
    }
    *elements = array.elements;
    *count = array.count;
    array.elements = nullptr;
    array.count = 0;
    if (type.element == nullptr)
        return;
    for (int i = 0; i < *count; ++i) {
        if ((*elements)[i] != nullptr)
            report_empty_lists(*type.element, (*elements)[i], at);
    }
}

}  // namespace quorvel::proxy
