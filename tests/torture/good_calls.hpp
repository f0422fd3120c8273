// Calls that are well made, and an agent that answers them well: an agent that knows the interface's
// catalogue.
//
//     for (const Row& row : rows())
//         Attempt{row, client}.run();
#ifndef QUORVEL_TESTS_TORTURE_GOOD_CALLS_HPP
#define QUORVEL_TESTS_TORTURE_GOOD_CALLS_HPP

#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "calls.hpp"
#include "catalogue/catalogue.hpp"
#include "scripted.hpp"

namespace torture {

using calls::Change;
using calls::ears;
using calls::Known;
using calls::known_type_named;
using calls::Row;
using calls::row_of;
using calls::rows;
using calls::Shape;
using calls::Type;

// ---------------------------------------------------------------------------------------------------------------
// The agent

/// The description's catalogue.
const quorvel::catalogue::Interface& description();
/// A good value of a type: what an agent would send.
scripted::Values sample(const quorvel::catalogue::Type& type, std::string_view name);
scripted::Values sample(std::span<const quorvel::catalogue::Parameter> parameters);
/// From now on the agent answers all that it is asked, and well.
void answer_everything();
/// The same, but each answer says that it is refused: with the values that a good one has.
void refuse_everything();
scripted::Values good_answer(const scripted::Sent& request);
scripted::Values refusal(const scripted::Sent& request);

/// The delegate that came with a request.
struct SentDelegate {
    int id = 0;
    int seq_id = 0;
    bool once = false;
};
std::optional<SentDelegate> delegate_of(const scripted::Sent& request);
/// Those of all requests that brought one, in their order.
std::vector<SentDelegate> sent_delegates();
/// Its callback, with good parameters.
void fire(const SentDelegate& delegate);

// ---------------------------------------------------------------------------------------------------------------
// Calls

/// Values that are as they should be. Without a client, a function that wants one gets NULL.
class GoodValues : public calls::Source {
public:
    explicit GoodValues(quorvel_client_h client) : client_{client} {}

    quorvel_client_h client() override { return client_; }
    const char* text() override { return "text"; }
    std::vector<const char*> texts() override { return {"text", "more"}; }
    int number_for(const Row& row, std::size_t place) override;
    bool flag() override { return true; }
    void* record(const Known& type, const Row& row) override;
    rpc_port_proxy_qv_client_h proxy() override;
    bundle* dictionary() override;
    rpc_port_parcel_h parameters_of(const Known& delegate) override;
    rpc_port_parcel_h written(const Known& delegate) override;

private:
    quorvel_client_h client_;
};

/// A call with good values.
class Attempt : private GoodValues, public calls::Attempt {
public:
    Attempt(const Row& row, quorvel_client_h client, std::span<const Change> changes = {})
        : GoodValues{client}, calls::Attempt{row, *this, changes}
    {
    }
};

/// Codes that the headers tell of, and those that some functions pass on as they come.
bool is_documented(int code);

/// Connects a client: the agent is installed and answers everything.
quorvel_client_h connect();
/// The record at the beginning of a client shows its proxy.
rpc_port_proxy_qv_client_h proxy_of(quorvel_client_h client);
/// Whether a call that always worked still does.
bool ordinary_call_works(quorvel_client_h client);

}  // namespace torture

#endif
