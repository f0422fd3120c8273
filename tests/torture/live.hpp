// What the process holds: memory, descriptors, threads.
//
// The program's malloc and its kin are replaced, for everything in the process: GLib and the standard library
// are counted too, so a leak through one of them is seen. A sanitizer brings an allocator of its own and
// counts itself; there nothing is counted here.
#ifndef QUORVEL_TESTS_TORTURE_LIVE_HPP
#define QUORVEL_TESTS_TORTURE_LIVE_HPP

#include <cstdlib>
#include <string>

namespace torture {

struct Held {
    long blocks = 0;
    long bytes = 0;
    int descriptors = 0;
    int threads = 0;
    /// A block that takes the place of an equal one may be a few bytes larger: what is left over and of no
    /// other use.
    bool operator==(const Held& other) const
    {
        constexpr long left_over = 64;
        return blocks == other.blocks && std::labs(bytes - other.bytes) <= left_over
               && descriptors == other.descriptors && threads == other.threads;
    }
};

Held held();
/// In words, for a finding.
std::string difference(const Held& at_first, const Held& at_last);
/// Whether memory is counted in this build.
extern const bool counts_memory;

/// GLib ends the process when it has no memory. From now on the n-th allocation that it makes on this thread
/// fails; 0 lets all succeed, and counts on.
void fail_glib_allocation(int nth);
/// How many it has made on this thread since.
int glib_allocations();

}  // namespace torture

#endif
