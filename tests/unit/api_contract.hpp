// What all public functions have in common, tested for each of them by one line of a table.
//
//     const bool registered = register_contracts("quorvel_client_device", {
//         Contract("quorvel_client_get_device_list", {1, 0},
//                  [](auto client) {
//                      OwnedRecords devices{rpc_port_device_s_destroy};
//                      return quorvel_client_get_device_list(client, devices, devices);
//                  })
//             .asks(12, "get_device_list", {count(0), i32(0)}),
//         Contract::local("quorvel_client_device_destroy", {1, 0},
//                         destroys(rpc_port_device_s_create, rpc_port_device_s_destroy,
//                                  quorvel_client_device_destroy)),
//     });
//
// Each line becomes the tests <function>.<what must hold>: without an agent, with one that is one minor
// version too old or exactly new enough, without a handle, while connecting, after the connection ended,
// without a proxy, with a code of the table, with one outside it and without an answer. What is a
// function's own is left to tests of its own.
//
// The call is made with good arguments and releases whatever it gets; in most tests it fails.
#ifndef QUORVEL_TESTS_API_CONTRACT_HPP
#define QUORVEL_TESTS_API_CONTRACT_HPP

#include <quorvel_client.h>
#include <quorvel_client_proxy.h>

#include <cstdlib>
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "scripted.hpp"

namespace scripted {

// The lowest version of the agent that a function needs.
struct Version {
    int major;
    int minor;
    int number() const { return major * 100 + minor; }
};

class Contract {
public:
    using Call = std::function<int(quorvel_client_h client)>;
    // The lines in which a function tells of a failed precondition, after those of the precondition itself.
    using ConditionLines =
        std::function<std::vector<LogLine>(const std::string& source, const std::string& function, int code)>;

    // A function with a handle.
    Contract(std::string function, Version minimum, Call call);
    // A function without a handle. It is called with NULL.
    static Contract local(std::string function, Version minimum, Call call);

    // The method that it ends up asking the agent for, and what a good answer holds in front of the return
    // value. Without this the tests of answers are left out.
    Contract asks(int method, const std::string& method_name, Values good_answer = {}) &&;
    // Where a failure is reported under something else than rpc_port_proxy_qv_client_invoke_<method>.
    Contract reported_as(std::string name) &&;
    // The code for a handle without a proxy, where it is another one than "invalid parameter".
    Contract without_proxy(int code) &&;
    // Where the failed precondition is told in other lines than "Fail to check condition[%d]".
    Contract telling_conditions_as(ConditionLines lines) &&;
    Contract telling_no_conditions() &&;
    // Where the codes of failed answers are not mapped: only the request and the good answer are tested.
    Contract with_codes_of_its_own() &&;
    // Where the entry is not logged.
    Contract entering_silently() &&;
    // Done on the connected client before each call; the agent answers 0 to all that it sends.
    Contract after(std::function<void(quorvel_client_h client)> preparation) &&;

private:
    friend class ContractTest;
    friend bool register_contracts(const char* source, std::initializer_list<Contract> contracts,
                                   const char* file, int line);

    std::string source_;
    std::string function_;
    Version minimum_{};
    Call call_;
    bool takes_handle_ = true;
    bool logs_entry_ = true;
    bool codes_are_mapped_ = true;
    int method_ = 0;
    std::string failing_name_;
    Values good_answer_;
    int without_proxy_ = -22;
    ConditionLines condition_lines_;
    std::function<void(quorvel_client_h)> preparation_;
};

// The source is the stem that the functions' log lines name. Call it in the initializer of a constant.
bool register_contracts(const char* source, std::initializer_list<Contract> contracts,
                        const char* file = __builtin_FILE(), int line = __builtin_LINE());

// -----------------------------------------------------------------------------------------------------
// Out-values that release what they are given. Each converts to what a function wants.

class OwnedText {
public:
    OwnedText() = default;
    ~OwnedText() { std::free(text_); }
    OwnedText(const OwnedText&) = delete;
    OwnedText& operator=(const OwnedText&) = delete;
    operator char**() { return &text_; }
    const char* get() const { return text_; }

private:
    char* text_ = nullptr;
};

// A vector of strings and its count.
class OwnedTexts {
public:
    OwnedTexts() = default;
    ~OwnedTexts()
    {
        for (int i = 0; list_ != nullptr && i < count_; ++i)
            std::free(list_[i]);
        std::free(list_);
    }
    OwnedTexts(const OwnedTexts&) = delete;
    OwnedTexts& operator=(const OwnedTexts&) = delete;
    operator char***() { return &list_; }
    operator int*() { return &count_; }
    char** list() const { return list_; }
    int count() const { return count_; }
    // NULL elements read as "(null)".
    Strings strings() const
    {
        Strings all;
        for (int i = 0; i < count_; ++i)
            all.emplace_back(list_[i] != nullptr ? list_[i] : "(null)");
        return all;
    }

private:
    char** list_ = nullptr;
    int count_ = 0;
};

// A record behind a public handle.
template <typename Handle>
class OwnedRecord {
public:
    explicit OwnedRecord(int (*destroy)(Handle), void* record = nullptr) : destroy_{destroy}, record_{record}
    {
    }
    ~OwnedRecord()
    {
        if (record_ != nullptr)
            destroy_(static_cast<Handle>(record_));
    }
    OwnedRecord(const OwnedRecord&) = delete;
    OwnedRecord& operator=(const OwnedRecord&) = delete;
    operator void**() { return &record_; }
    void* get() const { return record_; }

private:
    int (*destroy_)(Handle);
    void* record_;
};

// A vector of records and its count.
template <typename Handle>
class OwnedRecords {
public:
    explicit OwnedRecords(int (*destroy)(Handle), void** list = nullptr, int count = 0)
        : destroy_{destroy}, list_{list}, count_{count}
    {
    }
    ~OwnedRecords()
    {
        for (int i = 0; list_ != nullptr && i < count_; ++i) {
            if (list_[i] != nullptr)
                destroy_(static_cast<Handle>(list_[i]));
        }
        std::free(list_);
    }
    OwnedRecords(const OwnedRecords&) = delete;
    OwnedRecords& operator=(const OwnedRecords&) = delete;
    operator void***() { return &list_; }
    operator int*() { return &count_; }
    void** list() const { return list_; }
    int count() const { return count_; }

private:
    int (*destroy_)(Handle);
    void** list_;
    int count_;
};

// -----------------------------------------------------------------------------------------------------
// Calls that many tables need

// Calls a function with a new record; what it does not release is released by the proxy's routine.
template <typename Handle, typename Function>
Contract::Call with_record(int (*create)(Handle*), int (*destroy)(Handle), Function function)
{
    return [=](quorvel_client_h) {
        Handle record = nullptr;
        create(&record);
        const int code = function(static_cast<void*>(record));
        destroy(record);
        return code;
    };
}

// The same for a function that releases the record when it succeeds.
template <typename Handle>
Contract::Call destroys(int (*create)(Handle*), int (*destroy)(Handle), int (*function)(void*))
{
    return [=](quorvel_client_h) {
        Handle record = nullptr;
        create(&record);
        const int code = function(record);
        if (code != 0)
            destroy(record);
        return code;
    };
}

}  // namespace scripted

#endif
