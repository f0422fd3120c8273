// Generated from small.idl by qvidl: change the description, not this file.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "stub/runtime.hpp"

/// The agent's end of the port interface small.
///
/// A service derives from Service and overrides what it serves. Texts that come in are lent for the call.
/// What goes out may be given or, where it outlives the call, lent with `borrow`. A delegate may be kept;
/// `fire` sends one callback to the client that handed it over, and answers false when that client is gone.
namespace quorvel::stub {

/// A lamp.
struct lamp_s {
    /// How the lamp is told apart.
    std::string lamp_id;
    int level = 0;
    Bundle extras;
    std::vector<std::string> tags;
    std::string reserved;
};
void write(Writer& to, const lamp_s& value);
void read(Reader& from, lamp_s& value);

/// A place, "as it is"; everything lies in one bundle.
/// A second line.
struct place_s {
    Bundle bundle_data;
};
void write(Writer& to, const place_s& value);
void read(Reader& from, place_s& value);

/// Lamps.
using array_lamp_s = std::vector<lamp_s>;

/// Texts.
using array_string = std::vector<std::string>;

/// Nothing but a bell.
struct bell_cb {
    static constexpr int id = 1;
    static constexpr const char* name = "bell_cb";
};
bool fire(const Delegate<bell_cb>& delegate);

/// The lamps, after a change.
struct lamps_cb {
    static constexpr int id = 2;
    static constexpr const char* name = "lamps_cb";
};
bool fire(const Delegate<lamps_cb>& delegate, TextRef event, const array_lamp_s& lamps, int count,
          const lamp_s& first, bool all, long long time);

/// A secret that comes later.
struct token_cb {
    static constexpr int id = 4;
    static constexpr const char* name = "token_cb";
};
bool fire(const Delegate<token_cb>& delegate, TextRef token, int result);

/// Names a method where its answer is postponed: `client.postpone<method::NAME>()`.
namespace method {

struct ring {
    static constexpr int id = 2;
    using Postponed = PostponedAnswer<int>;
};

struct is_ringing {
    static constexpr int id = 3;
    using Postponed = PostponedAnswer<bool>;
};

struct find_lamp {
    static constexpr int id = 4;
    using Postponed = PostponedAnswer<int, const lamp_s&>;
};

struct list_lamps {
    static constexpr int id = 5;
    using Postponed = PostponedAnswer<int, const array_lamp_s&, int, bool>;
};

struct watch_lamps {
    static constexpr int id = 8;
    using Postponed = PostponedAnswer<int, const array_string&, const place_s&>;
};

struct exchange_secrets {
    static constexpr int id = 9;
    using Postponed = PostponedAnswer<int, TextRef>;
};

struct ask_for_a_token_with_quite_a_long_name_so_that_lines_must_be_broken_somewhere {
    static constexpr int id = 10;
    using Postponed = PostponedAnswer<int>;
};

}  // namespace method

/// What the agent does: a function a method, which gives the method's result, 0 for success. One that is not
/// overridden says so in the log and answers that it is not supported.
class Service : public BasicService {
public:
    /// Rings. Nothing uses it.
    virtual int ring(Client& client);

    /// Tells whether it rings.
    virtual bool is_ringing(Client& client);

    /// Looks a lamp up.
    virtual int find_lamp(Client& client, std::string_view lamp_id, Out<lamp_s>& lamp);

    /// Lists lamps of some tags.
    virtual int list_lamps(Client& client, const array_string& tags, int limit, bool all,
                           Out<array_lamp_s>& lamps, int& count, bool& more);

    /// Stands behind, but has the smaller number.
    virtual int watch_lamps(Client& client, const Delegate<lamps_cb>& on_lamps, Out<array_string>& names,
                            Out<place_s>& place);

    /// Takes one secret and gives another.
    virtual int exchange_secrets(Client& client, std::string_view old_secret, const place_s& place,
                                 Text& new_secret);

    /// Asks for a token. Secret through its delegate.
    virtual int ask_for_a_token_with_quite_a_long_name_so_that_lines_must_be_broken_somewhere(
        Client& client, const lamp_s& lamp, const Delegate<token_cb>& on_token);
};

/// Serves small on a port of that name.
class Server : public BasicServer {
public:
    explicit Server(Service& service, std::string port_name = "small");
};

}  // namespace quorvel::stub
