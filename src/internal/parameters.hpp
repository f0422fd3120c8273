#pragma once

#include <quorvel_client_proxy_types.hpp>

#include <cstdlib>
#include <cstring>

#include "internal/api_call.hpp"
#include "internal/request.hpp"
#include "proxy/delegates.hpp"
#include "proxy/records.hpp"

/// The parameters of a method that have more to do than to be passed: see ApiCall.
///
/// What the agent answers with is taken into a value of the parameter's own and handed out when the call went
/// well. What is not handed out is released.
namespace quorvel {

/// Wipes and frees a text that may have been a secret.
inline void release_text(char* text)
{
    if (text != nullptr)
        explicit_bzero(text, std::strlen(text));
    std::free(text);
}

/// Whether a state text of the agent's says yes: "TRUE", with anything behind it.
inline bool says_true(const char* state)
{
    return state != nullptr && std::strncmp(state, "TRUE", 4) == 0;
}

/// A text for the caller; left as it was when the agent gave none.
class TextOut {
public:
    /// Some functions hand the text out together with an error.
    enum class Handed { on_success, always };

    TextOut(char** out, Handed handed) : out_{out}, handed_{handed} {}
    ~TextOut() { release_text(text_); }
    TextOut(const TextOut&) = delete;
    TextOut& operator=(const TextOut&) = delete;

    bool is_given() const { return out_ != nullptr; }
    char** argument() { return &text_; }
    void settle(const ApiCall&, bool ok)
    {
        if (text_ != nullptr && (ok || handed_ == Handed::always))
            *out_ = std::exchange(text_, nullptr);
    }

private:
    char** out_;
    Handed handed_;
    char* text_ = nullptr;
};

inline TextOut text_out(char** out)
{
    return {out, TextOut::Handed::on_success};
}

/// A text that the caller gets even when the call fails.
inline TextOut result_out(char** out)
{
    return {out, TextOut::Handed::always};
}

/// A text that is read as a truth.
class StateOut {
public:
    explicit StateOut(bool* out) : out_{out} {}
    ~StateOut() { release_text(text_); }
    StateOut(const StateOut&) = delete;
    StateOut& operator=(const StateOut&) = delete;

    char** argument() { return &text_; }
    void settle(const ApiCall&, bool ok)
    {
        if (ok)
            *out_ = says_true(text_);
    }

private:
    bool* out_;
    char* text_ = nullptr;
};

/// A number or a truth. Without an out-pointer, which some functions do not check, the agent is asked all the
/// same.
template <typename Value>
class ValueOut {
public:
    ValueOut(Value* out, Value preset) : out_{out}, value_{preset} {}
    Value* argument() { return &value_; }
    void settle(const ApiCall&, bool ok)
    {
        if (ok && out_ != nullptr)
            *out_ = value_;
    }

private:
    Value* out_;
    Value value_;
};

template <typename Value>
ValueOut<Value> value_out(Value* out, Value preset = Value{})
{
    return {out, preset};
}

/// The number behind a list, of which the library makes no use.
class Unused {
public:
    int* argument() { return &value_; }

private:
    int value_ = 0;
};

/// A record as it came; its type is that of the handle.
template <typename Handle>
class RecordOut {
public:
    explicit RecordOut(void** out) : out_{out} {}
    ~RecordOut()
    {
        if (record_ != nullptr)
            proxy::destroy_record(proxy::TypeOf<Handle>::type, record_);
    }
    RecordOut(const RecordOut&) = delete;
    RecordOut& operator=(const RecordOut&) = delete;

    bool is_given() const { return out_ != nullptr; }
    Handle* argument() { return &record_; }
    void settle(const ApiCall&, bool ok)
    {
        if (ok)
            *out_ = std::exchange(record_, nullptr);
    }

private:
    void** out_;
    Handle record_ = nullptr;
};

template <typename Handle>
RecordOut<Handle> record_out(void** out)
{
    return RecordOut<Handle>{out};
}

/// A copy of the record that came.
template <typename Handle>
class RecordCopyOut {
    static constexpr const proxy::RecordType& type = proxy::TypeOf<Handle>::type;

public:
    explicit RecordCopyOut(void** out) : out_{out} {}
    ~RecordCopyOut()
    {
        if (record_ != nullptr)
            proxy::destroy_record(type, record_);
    }
    RecordCopyOut(const RecordCopyOut&) = delete;
    RecordCopyOut& operator=(const RecordCopyOut&) = delete;

    Handle* argument() { return &record_; }
    void settle(ApiCall& call, bool ok)
    {
        void* copy = nullptr;
        if (ok && type.operations.clone(record_, &copy) != 0)
            call.fail(QUORVEL_CLIENT_ERROR_OPERATION_FAILED, QC_TEXT("%s is failed"), type.clone_name);
        if (copy != nullptr)
            *out_ = copy;
    }

private:
    void** out_;
    Handle record_ = nullptr;
};

template <typename Handle>
RecordCopyOut<Handle> record_copy_out(void** out)
{
    return RecordCopyOut<Handle>{out};
}

/// The elements of an array in a vector of the caller's: records, or strings. An empty list is NULL and 0.
template <typename Array, typename Element>
class ListOut {
    static constexpr const proxy::ArrayType& type = proxy::TypeOf<Array>::type;

public:
    static constexpr bool is_counted = true;  ///< in an answer a number stands behind it

    ListOut(Element** out, int* count, const char* opener = type.getter_name, bool shows_code = false)
        : out_{out}, count_{count}, opener_{opener}, shows_code_{shows_code}
    {
    }
    ~ListOut()
    {
        if (array_ != nullptr)
            proxy::destroy_record(type, array_);
    }
    ListOut(const ListOut&) = delete;
    ListOut& operator=(const ListOut&) = delete;

    /// Some functions report a list that cannot be opened under another list's name; it is kept so.
    ListOut opened_as(const char* name) && { return {out_, count_, name, shows_code_}; }
    /// One function shows the code of a list that cannot be opened too; it is kept so.
    ListOut opened_with_code() && { return {out_, count_, opener_, true}; }

    bool is_given() const { return out_ != nullptr && count_ != nullptr; }
    Array* argument() { return &array_; }
    void settle(ApiCall& call, bool ok)
    {
        if (!ok)
            return;
        if (array_ == nullptr) {
            constexpr int code = QUORVEL_CLIENT_ERROR_OPERATION_FAILED;
            call.fail(code, shows_code_ ? QC_TEXT("%s is failed [%d]") : QC_TEXT("%s is failed"), opener_,
                      code);
            return;
        }
        void** elements = nullptr;
        int count = 0;
        proxy::take_elements(type, array_, &elements, &count);
        *out_ = reinterpret_cast<Element*>(elements);
        *count_ = count;
    }

private:
    Element** out_;
    int* count_;
    const char* opener_;
    bool shows_code_;
    Array array_ = nullptr;
};

template <typename Array, typename Element>
ListOut<Array, Element> list_out(Element** out, int* count)
{
    return {out, count};
}

/// Strings from the agent, in the functions that make an array for them beforehand: a lack of memory for one
/// is told before anything is sent. The answer comes in an array of its own.
class StringsOut : public ListOut<rpc_port_array_string_h, char*> {
public:
    using ListOut::ListOut;
    ~StringsOut()
    {
        if (beforehand_ != nullptr)
            rpc_port_array_string_destroy(beforehand_);
    }
    StringsOut(const StringsOut&) = delete;
    StringsOut& operator=(const StringsOut&) = delete;

    bool prepare(ApiCall& call)
    {
        call.require(rpc_port_array_string_create(&beforehand_) == 0, "rpc_port_array_string_create failed",
                     QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY);
        return call.ok();
    }

private:
    rpc_port_array_string_h beforehand_ = nullptr;
};

/// Strings for the agent, as an array.
class StringsIn {
public:
    StringsIn(const char* const* strings, int count) : strings_{strings}, count_{count} {}
    ~StringsIn()
    {
        if (array_ != nullptr)
            rpc_port_array_string_destroy(array_);
    }
    StringsIn(const StringsIn&) = delete;
    StringsIn& operator=(const StringsIn&) = delete;

    bool prepare(ApiCall& call)
    {
        if (rpc_port_array_string_create(&array_) != 0) {
            call.fail(QUORVEL_CLIENT_ERROR_OPERATION_FAILED,
                      QC_TEXT("rpc_port_array_string_create is failed"));
        } else if (rpc_port_array_string_set_array_strings(array_, strings_, count_) != 0) {
            call.fail(QUORVEL_CLIENT_ERROR_OPERATION_FAILED,
                      QC_TEXT("rpc_port_array_string_set_array_strings is failed"));
        }
        return call.ok();
    }
    rpc_port_array_string_h argument() { return array_; }

private:
    const char* const* strings_;
    int count_;
    rpc_port_array_string_h array_ = nullptr;
};

/// A delegate type, as the functions that make one know it.
template <typename Handle, typename Callback>
struct DelegateKind {
    Handle (*create)(Callback callback, bool once, void* user_data);
    int (*destroy)(Handle delegate);
    const char* create_name;
};

template <typename Handle, typename Callback>
DelegateKind(Handle (*)(Callback, bool, void*), int (*)(Handle), const char*)
    -> DelegateKind<Handle, Callback>;

#define DELEGATE(name)                                                                                \
    (::quorvel::DelegateKind{rpc_port_qv_client_##name##_create, rpc_port_qv_client_##name##_destroy, \
                             "rpc_port_qv_client_" #name "_create"})

/// A command that the agent answers once, later: a request for the application's callback, and a once
/// delegate for it.
template <typename Handle, typename Handler>
class OneAnswer {
public:
    /// What becomes of delegate and request when the agent refuses.
    enum class Refused { released, destroyed, stays };

    OneAnswer(const DelegateKind<Handle, Handler>& kind, Handler handler, void (*callback)(), void* user_data)
        : kind_{kind}, handler_{handler}, callback_{callback}, user_data_{user_data}
    {
    }

    /// Some functions report a failed creation under another delegate's name; it is kept so.
    OneAnswer created_as(const char* name) &&
    {
        kind_.create_name = name;
        return std::move(*this);
    }
    /// Destroyed rather than disposed of: the same, but for the line that a disposal logs.
    OneAnswer destroyed_when_refused() &&
    {
        refused_ = Refused::destroyed;
        return std::move(*this);
    }
    /// After a refusal a late event still finds the delegate; it goes with the connection.
    OneAnswer stays_when_refused() &&
    {
        refused_ = Refused::stays;
        return std::move(*this);
    }

    bool prepare(ApiCall& call)
    {
        void* kept = nullptr;
        Request* const request = new_request(call.client(), callback_, user_data_, &kept);
        if (request == nullptr) {
            call.fail(QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY, QC_TEXT("memory allocation is failed"));
            return false;
        }
        const Handle delegate = kind_.create(handler_, true, request);
        if (delegate == nullptr) {
            call.fail(QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY, QC_TEXT("%s failed"), kind_.create_name);
            if (refused_ == Refused::stays)
                leave_unanswered(kept);
            else
                release_unanswered(kept);
            return false;
        }
        proxy::keep_for_callback(delegate, kept, release_unanswered);
        delegate_ = proxy::DelegateRef{delegate};
        return true;
    }
    Handle argument() { return static_cast<Handle>(static_cast<void*>(delegate_.get())); }
    void settle(const ApiCall&, bool ok)
    {
        if (ok || !delegate_)
            return;
        // Where the call itself never left, nothing can answer it.
        if (refused_ == Refused::stays && proxy::is_listed(delegate_))
            return;
        if (refused_ == Refused::destroyed)
            kind_.destroy(argument());
        else
            proxy::retire_delegate(delegate_);
    }

private:
    DelegateKind<Handle, Handler> kind_;
    Handler handler_;
    void (*callback_)();
    void* user_data_;
    Refused refused_ = Refused::released;
    proxy::DelegateRef delegate_;
};

template <typename Handle, typename Handler, typename Callback>
OneAnswer<Handle, Handler*> one_answer(const DelegateKind<Handle, Handler*>& kind, Handler* handler,
                                       Callback callback, void* user_data)
{
    return {kind, handler, reinterpret_cast<void (*)()>(callback), user_data};
}

}  // namespace quorvel
