// Generated from small.idl by qvidl: change the description, not this file.
#include "stub/small_stub.hpp"

namespace quorvel::stub {

void write(Writer& to, const lamp_s& value)
{
    write(to, value.lamp_id);
    write(to, value.level);
    write(to, value.extras);
    write(to, value.tags);
    write(to, value.reserved);
}

void read(Reader& from, lamp_s& value)
{
    read(from, value.lamp_id);
    read(from, value.level);
    read(from, value.extras);
    read(from, value.tags);
    read(from, value.reserved);
}

void write(Writer& to, const place_s& value)
{
    write(to, value.bundle_data);
}

void read(Reader& from, place_s& value)
{
    read(from, value.bundle_data);
}

bool fire(const Delegate<bell_cb>& delegate)
{
    return send_callback(delegate);
}

bool fire(const Delegate<lamps_cb>& delegate, TextRef event, const array_lamp_s& lamps, int count,
          const lamp_s& first, bool all, long long time)
{
    return send_callback(delegate, event, lamps, count, first, all, time);
}

bool fire(const Delegate<token_cb>& delegate, TextRef token, int result)
{
    return send_callback(delegate, token, result);
}

int Service::ring(Client&)
{
    return unserved("ring");
}

bool Service::is_ringing(Client&)
{
    unserved("is_ringing");
    return false;
}

int Service::find_lamp(Client&, std::string_view, Out<lamp_s>&)
{
    return unserved("find_lamp");
}

int Service::list_lamps(Client&, const array_string&, int, bool, Out<array_lamp_s>&, int&, bool&)
{
    return unserved("list_lamps");
}

int Service::watch_lamps(Client&, const Delegate<lamps_cb>&, Out<array_string>&, Out<place_s>&)
{
    return unserved("watch_lamps");
}

int Service::exchange_secrets(Client&, std::string_view, const place_s&, Text&)
{
    return unserved("exchange_secrets");
}

int Service::ask_for_a_token_with_quite_a_long_name_so_that_lines_must_be_broken_somewhere(
    Client&, const lamp_s&, const Delegate<token_cb>&)
{
    return unserved("ask_for_a_token_with_quite_a_long_name_so_that_lines_must_be_broken_somewhere");
}

namespace {

Service& of(BasicService& service)
{
    return static_cast<Service&>(service);
}

void serve_ring(BasicService& service, Call& call)
{
    if (!call.complete())
        return;
    const auto ask = [&] { return of(service).ring(call.client()); };
    call.answer(ask);
}

void serve_is_ringing(BasicService& service, Call& call)
{
    if (!call.complete())
        return;
    const auto ask = [&] { return of(service).is_ringing(call.client()); };
    call.answer(ask);
}

void serve_find_lamp(BasicService& service, Call& call)
{
    const InText lamp_id = call.in().text();
    Out<lamp_s> lamp;
    if (!call.complete())
        return;
    const auto ask = [&] { return of(service).find_lamp(call.client(), lamp_id, lamp); };
    call.answer(ask, lamp);
}

void serve_list_lamps(BasicService& service, Call& call)
{
    array_string tags;
    read(call.in(), tags);
    const int limit = call.in().number();
    const bool all = call.in().flag();
    Out<array_lamp_s> lamps;
    int count = 0;
    bool more = false;
    if (!call.complete())
        return;
    const auto ask = [&] {
        return of(service).list_lamps(call.client(), tags, limit, all, lamps, count, more);
    };
    call.answer(ask, lamps, count, more);
}

void serve_watch_lamps(BasicService& service, Call& call)
{
    const auto on_lamps = call.delegate<lamps_cb>();
    Out<array_string> names;
    Out<place_s> place;
    if (!call.complete())
        return;
    const auto ask = [&] { return of(service).watch_lamps(call.client(), on_lamps, names, place); };
    call.answer(ask, names, place);
}

void serve_exchange_secrets(BasicService& service, Call& call)
{
    const InText old_secret = call.in().secret_text();
    place_s place;
    read(call.in(), place);
    Text new_secret{Text::Wipe::yes};
    if (!call.complete())
        return;
    const auto ask = [&] {
        return of(service).exchange_secrets(call.client(), old_secret, place, new_secret);
    };
    call.answer(ask, new_secret);
}

void serve_ask_for_a_token_with_quite_a_long_name_so_that_lines_must_be_broken_somewhere(
    BasicService& service, Call& call)
{
    lamp_s lamp;
    read(call.in(), lamp);
    const auto on_token = call.delegate<token_cb>();
    if (!call.complete())
        return;
    const auto ask = [&] {
        return of(service).ask_for_a_token_with_quite_a_long_name_so_that_lines_must_be_broken_somewhere(
            call.client(), lamp, on_token);
    };
    call.answer(ask);
}

constexpr int first_method = 2;

// By the number of the method; numbers without one stay empty.
constexpr MethodEntry methods[] = {
    {"ring", serve_ring},
    {"is_ringing", serve_is_ringing},
    {"find_lamp", serve_find_lamp},
    {"list_lamps", serve_list_lamps},
    {nullptr, nullptr},
    {nullptr, nullptr},
    {"watch_lamps", serve_watch_lamps},
    {"exchange_secrets", serve_exchange_secrets},
    {"ask_for_a_token_with_quite_a_long_name_so_that_lines_must_be_broken_somewhere",
     serve_ask_for_a_token_with_quite_a_long_name_so_that_lines_must_be_broken_somewhere},
};

}  // namespace

Server::Server(Service& service, std::string port_name)
    : BasicServer{service, methods, first_method, std::move(port_name)}
{
}

}  // namespace quorvel::stub
