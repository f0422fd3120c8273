// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <glib.h>

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "home/home.hpp"
#include "service/faults.hpp"
#include "service/home_service.hpp"
#include "service/loop.hpp"

// The world around the home, for tests and for people: what devices do by themselves, faults, time,
// snapshots. It goes over a socket of its own beside the port, one JSON object a line in each direction,
// and tells what it did. agent/README.md lists the commands.
namespace quorvel::agent {

class Control {
public:
    struct World {
        Home& home;
        HomeService& service;
        Faults& faults;
        stub::Server& server;
        Loop& loop;
    };

    Control(std::string path, World world) : path_(std::move(path)), world_(world) {}
    ~Control();
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;

    // What kept it from listening, or nothing.
    std::optional<std::string> listen();

    // One command, and what it answers. Never throws.
    Json serve(const Json& command);

private:
    struct Peer {
        Peer(Control& owner, int socket) : control(owner), fd(socket) {}
        Control& control;
        int fd;
        guint in = 0;
        guint out = 0;
        std::string received;
        std::string unsent;
        bool closing = false;
    };

    static gboolean arrived(gint fd, GIOCondition condition, gpointer self);
    static gboolean readable(gint fd, GIOCondition condition, gpointer peer);
    static gboolean writable(gint fd, GIOCondition condition, gpointer peer);
    void accept();
    bool read(Peer& peer);
    bool write(Peer& peer);
    void close(Peer& peer);

    Json status() const;
    Json fire_raw(const Json& command);
    Json obey(const std::string& what, const Json& command);

    std::string path_;
    World world_;
    int listener_ = -1;
    guint source_ = 0;
    std::map<int, std::unique_ptr<Peer>> peers_;
};

}  // namespace quorvel::agent
