// What the process holds: memory, descriptors, threads.
//
// The program's malloc and its kin are replaced, for everything in the process: GLib and the standard library
// are counted too, so a leak through one of them is seen. A sanitizer brings an allocator of its own and
// counts itself; there nothing is counted here.
#ifndef QUORVEL_TESTS_TORTURE_LIVE_HPP
#define QUORVEL_TESTS_TORTURE_LIVE_HPP

#include <iosfwd>

namespace torture {

struct Held {
    long blocks = 0;
    long bytes = 0;
    int descriptors = 0;
    int threads = 0;
    bool operator==(const Held&) const = default;
};

Held held();
/// Whether memory is counted in this build.
extern const bool counts_memory;

}  // namespace torture

#endif
