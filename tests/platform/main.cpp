#include <gtest/gtest.h>

#include <cstring>

#include "support.hpp"

#ifdef __SANITIZE_THREAD__
// A forked child makes a connection of its own, and with it a thread. The sanitizer's library looks for this.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options();
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options()
{
    return "die_after_fork=0";
}
#endif

// The program runs its tests, or one of the parts that a test needs in a process of its own.
int main(int argc, char** argv)
{
    if (argc == 3 && std::strcmp(argv[1], "--role") == 0)
        return quorvel::platform::test::run_named_role(argv[2]);
    // Made before there are threads, since the thread sanitizer does not know the lock under which GLib makes
    // it.
    g_main_context_default();
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
