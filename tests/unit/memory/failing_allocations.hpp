// Lets the library run out of memory at a chosen point.
//
// A program that is linked with the target failing_allocations has the allocation functions of its own
// objects, and those of the archives in it, redirected (ld's --wrap). Shared libraries keep the real ones, so
// GLib, the standard library's strings and GoogleTest never fail by accident.
//
//     FailingAllocation nth(2);                 // the second from here on fails, on this thread
//     EXPECT_EQ(rpc_port_device_s_clone(h, &copy), -1);
//     EXPECT_TRUE(nth.happened());
#ifndef QUORVEL_TESTS_FAILING_ALLOCATIONS_HPP
#define QUORVEL_TESTS_FAILING_ALLOCATIONS_HPP

class FailingAllocation {
public:
    explicit FailingAllocation(int nth, int how_many = 1);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    // Did it come that far? No more allocation fails after this.
    bool happened();
};

// Does the one that is asked for now fail? For a program that redirects further functions.
bool allocation_fails();

// How many allocations this thread has asked for since the last FailingAllocation was made.
int allocations_seen();

#endif
