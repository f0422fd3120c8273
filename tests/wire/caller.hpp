// The public functions, called with whatever a test gives: texts, numbers, records, callbacks. What a call
// hands out is looked at and released.
#pragma once

#include <quorvel_client_proxy_types.hpp>

#include <list>
#include <map>
#include <span>
#include <string>

#include "calls.hpp"

namespace wire {

/// Where the values of the calls come from, and what the calls leave behind for each other. Derive from it.
class Caller : public calls::Source {
public:
    Caller();
    ~Caller() override;

    /// Answers what the function did.
    int call(const calls::Row& row);

    virtual void connected(quorvel_client_h handle) = 0;
    virtual int number() = 0;
    virtual int property() { return number(); }
    /// A callback of the library's has been looked at.
    virtual void called_back() {}
    /// A record was made for a call, with nothing in it.
    virtual void fill(const quorvel::proxy::RecordType&, void*) {}

    /// A text that stays where it is as long as this.
    const char* keep(std::string value);

    std::vector<const char*> texts() override;
    int number_for(const calls::Row& row, std::size_t place) override;
    /// The calls share one record of each type. It is made when it is missing.
    void* record(const calls::Known& type, const calls::Row& row) override;
    void give_back(const calls::Known& type, void* record) override;

private:
    std::list<std::string> texts_;
    std::map<const calls::Known*, void*> records_;
};

/// How the proxy describes a type of records.
const quorvel::proxy::RecordType& record_type(const calls::Known& type);

}  // namespace wire
