#pragma once

#include <cstdio>
#include <functional>
#include <memory>
#include <string>

/// What every benchmark program is: the server of one system and its client, driven by bench/run.py.
///
///     PROGRAM serve ADDRESS    serves until it is ended; prints "ready" when it can be reached
///     PROGRAM client ADDRESS   connects, then does what its standard input says, a line each:
///                                  WORKLOAD COUNT   prints "SECONDS ALLOCATIONS"
///     PROGRAM start ADDRESS    connects, asks once, prints "MONOTONIC-SECONDS PEAK-KIB MAPPED-KIB" and ends
namespace bench {

class Client {
public:
    Client() = default;
    virtual ~Client() = default;
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    virtual void ask_small() = 0;            ///< W1: nothing in, a 4-character string out
    virtual void ask_large() = 0;            ///< W2: three strings in, one of 4 KiB out
    virtual void ask_details() = 0;          ///< W3: until the application holds them, and released again
    virtual void hear(int callbacks) = 0;    ///< W4: so many, through the main loop
    virtual void ask_from_threads(int each)  ///< W6: four threads do W1
    {
        from_four_threads(each, [this] { ask_small(); });
    }
    /// What only one system can do; false when it is not known.
    virtual bool other(const std::string& workload, int count);

protected:
    static void from_four_threads(int each, const std::function<void()>& ask);
};

[[noreturn]] void give_up(const std::string& what);

/// Tells the driver that clients may connect.
inline void say_ready()
{
    std::puts("ready");
    std::fflush(stdout);
}

/// The main program of a system. A connected client can be asked at once.
int run(int argc, char** argv, const std::function<int(const std::string& address)>& serve,
        const std::function<std::unique_ptr<Client>(const std::string& address)>& connect);

}  // namespace bench
