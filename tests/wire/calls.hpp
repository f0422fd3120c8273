// Every public function, called with whatever a test gives: texts, numbers, records, callbacks. What a call
// hands out is looked at and released.
#pragma once

#include <quorvel_client.h>
#include <quorvel_client_proxy_types.hpp>

#include <list>
#include <map>
#include <span>
#include <string>

namespace wire {

/// Where the values of the calls come from, and what the calls leave behind for each other. Derive from it.
class Caller {
public:
    Caller();
    virtual ~Caller();
    Caller(const Caller&) = delete;
    Caller& operator=(const Caller&) = delete;

    /// The one that callbacks belong to: the last that was made.
    static Caller* current;

    virtual quorvel_client_h client() = 0;
    virtual void connected(quorvel_client_h handle) = 0;
    virtual const char* text() = 0;
    virtual int number() = 0;
    virtual int property() { return number(); }
    virtual bool truth() = 0;
    virtual bool has_callback() { return true; }
    /// A callback of the library's has been looked at.
    virtual void called_back() {}
    /// A string was handed out.
    virtual void handed_out(const char*) {}
    /// A record was made for a call, with nothing in it.
    virtual void fill(const quorvel::proxy::RecordType&, void*) {}

    /// A text that stays where it is until forget().
    const char* keep(std::string value);
    /// The record of that type which the calls share. It is made when it is missing.
    void* record(const quorvel::proxy::RecordType& type);
    /// The same, for a call that releases it; given back when the call refused.
    void* take_record(const quorvel::proxy::RecordType& type);
    void give_back(const quorvel::proxy::RecordType& type, void* record);
    /// Releases the texts and records.
    void forget();

    // Between the parameters of one call.
    void* list_parameter = nullptr;  // a list that waits for its count
    int texts_given = -1;            // how many texts the list before had
    int result = 0;                  // what the call answered

private:
    std::list<std::string> texts_;
    std::map<const quorvel::proxy::RecordType*, void*> records_;
    Caller* previous_;
};

struct PublicCall {
    const char* name;
    int (*call)(Caller& caller);
    /// The record whose getter or setter it is: its first parameter is one, and its second a property's
    /// number.
    const quorvel::proxy::RecordType* property_of;
};
std::span<const PublicCall> public_calls();

}  // namespace wire
