// Counts a process's heap allocations: preloaded, it stands before the C library's functions.
#include <dlfcn.h>

#include <atomic>
#include <cstddef>

namespace {

std::atomic<unsigned long> count{0};

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t number, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) unsigned long bench_allocations()
{
    return count.load(std::memory_order_relaxed);
}

__attribute__((visibility("default"))) void* malloc(std::size_t size)
{
    count.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}

__attribute__((visibility("default"))) void* calloc(std::size_t number, std::size_t size)
{
    count.fetch_add(1, std::memory_order_relaxed);
    return __libc_calloc(number, size);
}

__attribute__((visibility("default"))) void* realloc(void* block, std::size_t size)
{
    count.fetch_add(1, std::memory_order_relaxed);
    return __libc_realloc(block, size);
}

__attribute__((visibility("default"))) void* memalign(std::size_t alignment, std::size_t size)
{
    count.fetch_add(1, std::memory_order_relaxed);
    return __libc_memalign(alignment, size);
}

__attribute__((visibility("default"))) void* aligned_alloc(std::size_t alignment, std::size_t size)
{
    return memalign(alignment, size);
}

__attribute__((visibility("default"))) int posix_memalign(void** block, std::size_t alignment,
                                                          std::size_t size)
{
    constexpr int out_of_memory = 12;
    *block = memalign(alignment, size);
    return *block != nullptr || size == 0 ? 0 : out_of_memory;
}

}  // extern "C"
