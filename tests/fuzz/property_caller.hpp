// A caller whose records hold what the input says, for the getters of their properties.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "caller.hpp"
#include "fake_port.hpp"
#include "input.hpp"

namespace fuzz {

class PropertyCaller : public wire::Caller {
public:
    explicit PropertyCaller(std::string record) : record_{std::move(record)} {}

    int id = 0;

    quorvel_client_h client() override { return nullptr; }
    void connected(quorvel_client_h) override {}
    const char* text() override { return "text"; }
    int number() override { return 1; }
    int property() override { return id; }
    bool flag() override { return true; }
    void fill(const quorvel::proxy::RecordType& type, void* record) override
    {
        rpc_port_parcel_h parcel = wire::parcel_of(record_);
        rpc_port_parcelable_t parcelable = type.parcelable;
        rpc_port_parcel_read(parcel, &parcelable, record);
        rpc_port_parcel_destroy(parcel);
    }

private:
    std::string record_;
};

/// An accessor of a record, asked for one property.
struct Question {
    const calls::Row* row;
    int id;

    int ask(PropertyCaller& caller) const
    {
        caller.id = id;
        return caller.call(*row);
    }
};

/// Every accessor of that type of records with every property that there could be. Ids of properties are
/// flags in some families and numbers in others.
inline std::vector<Question> questions_about(const quorvel::proxy::RecordType& type)
{
    std::vector<Question> questions;
    for (const calls::Row& each : calls::public_rows()) {
        const bool is_accessor = each.record != nullptr && !each.takes_client && !each.consumes()
                                 && each.types[0].shape == calls::Shape::pointer;
        if (!is_accessor || &wire::record_type(*each.record) != &type)
            continue;
        for (int i = -1; i < 34; ++i)
            questions.push_back({&each, i});
        for (int bit = 6; bit < 31; ++bit)
            questions.push_back({&each, 1 << bit});
    }
    return questions;
}

}  // namespace fuzz
