#include "live.hpp"

#include <dirent.h>
#include <link.h>
#include <malloc.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define HAS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define HAS_SANITIZER 1
#endif
#endif

namespace torture {

namespace {

std::atomic<long> blocks{0};
std::atomic<long> bytes{0};

int entries_of(const char* directory)
{
    DIR* const opened = opendir(directory);
    int count = 0;
    while (opened != nullptr && readdir(opened) != nullptr)
        ++count;
    if (opened != nullptr)
        closedir(opened);
    return count;
}

std::string told(const Held& held)
{
    return std::to_string(held.blocks) + " blocks, " + std::to_string(held.bytes) + " bytes, "
           + std::to_string(held.descriptors) + " descriptors, " + std::to_string(held.threads) + " threads";
}

}  // namespace

std::string difference(const Held& at_first, const Held& at_last)
{
    return "held at first " + told(at_first) + ", at last " + told(at_last);
}

Held held()
{
    const long now_blocks = blocks.load(std::memory_order_relaxed);
    const long now_bytes = bytes.load(std::memory_order_relaxed);
    return {now_blocks, now_bytes, entries_of("/proc/self/fd"), entries_of("/proc/self/task")};
}

#ifdef HAS_SANITIZER
const bool counts_memory = false;

void fail_glib_allocation(int) {}

int glib_allocations()
{
    return 0;
}
#else
const bool counts_memory = true;

namespace {

void* counted(void* block)
{
    if (block != nullptr) {
        blocks.fetch_add(1, std::memory_order_relaxed);
        bytes.fetch_add(static_cast<long>(malloc_usable_size(block)), std::memory_order_relaxed);
    }
    return block;
}

/// Where GLib's code lies.
struct Range {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    bool holds(const void* address) const
    {
        const auto place = reinterpret_cast<std::uintptr_t>(address);
        return place >= begin && place < end;
    }
};

Range glib;
[[gnu::tls_model("initial-exec")]] thread_local int glib_seen = 0;
[[gnu::tls_model("initial-exec")]] thread_local int glib_failing = 0;

[[gnu::constructor]] void find_glib()
{
    dl_iterate_phdr(
        [](dl_phdr_info* object, std::size_t, void*) {
            if (std::strstr(object->dlpi_name, "/libglib-2.0") == nullptr)
                return 0;
            for (int i = 0; i < object->dlpi_phnum; ++i) {
                const auto& segment = object->dlpi_phdr[i];
                if (segment.p_type == PT_LOAD && (segment.p_flags & PF_X) != 0)
                    glib = {object->dlpi_addr + segment.p_vaddr,
                            object->dlpi_addr + segment.p_vaddr + segment.p_memsz};
            }
            return 1;
        },
        nullptr);
}

bool fails_for(const void* caller)
{
    return glib.holds(caller) && ++glib_seen == glib_failing;
}

void uncounted(void* block)
{
    if (block != nullptr) {
        blocks.fetch_sub(1, std::memory_order_relaxed);
        bytes.fetch_sub(static_cast<long>(malloc_usable_size(block)), std::memory_order_relaxed);
    }
}

}  // namespace

void fail_glib_allocation(int nth)
{
    glib_seen = 0;
    glib_failing = nth;
}

int glib_allocations()
{
    return glib_seen;
}
#endif

}  // namespace torture

#ifndef HAS_SANITIZER
// The C library's own, under the names that it keeps for those who replace them.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);

[[gnu::visibility("default")]] void* malloc(std::size_t size) noexcept
{
    if (torture::fails_for(__builtin_return_address(0)))
        return nullptr;
    return torture::counted(__libc_malloc(size));
}

[[gnu::visibility("default")]] void* calloc(std::size_t count, std::size_t size) noexcept
{
    if (torture::fails_for(__builtin_return_address(0)))
        return nullptr;
    return torture::counted(__libc_calloc(count, size));
}

[[gnu::visibility("default")]] void* realloc(void* block, std::size_t size) noexcept
{
    if (torture::fails_for(__builtin_return_address(0)))
        return nullptr;
    torture::uncounted(block);
    void* const moved = __libc_realloc(block, size);
    if (moved == nullptr && size != 0)
        torture::counted(block);  // it is still there
    return torture::counted(moved);
}

[[gnu::visibility("default")]] void* memalign(std::size_t alignment, std::size_t size) noexcept
{
    return torture::counted(__libc_memalign(alignment, size));
}

[[gnu::visibility("default")]] void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept
{
    return memalign(alignment, size);
}

[[gnu::visibility("default")]] int posix_memalign(void** block, std::size_t alignment,
                                                  std::size_t size) noexcept
{
    if (torture::fails_for(__builtin_return_address(0)))
        return ENOMEM;
    *block = memalign(alignment, size);
    return *block != nullptr ? 0 : ENOMEM;
}

[[gnu::visibility("default")]] void free(void* block) noexcept
{
    torture::uncounted(block);
    __libc_free(block);
}
}
#endif
