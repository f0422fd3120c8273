#include "failing_allocations.hpp"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

struct Plan {
    int until = 0;    // allocations that still succeed, and the first that fails
    int failing = 0;  // how many fail then
    bool happened = false;
    int seen = 0;  // all, whether they failed or not
};
thread_local Plan plan;

}  // namespace

FailingAllocation::FailingAllocation(int nth, int how_many)
{
    plan = {nth, how_many, false, 0};
}

FailingAllocation::~FailingAllocation()
{
    plan.failing = 0;
}

bool FailingAllocation::happened()
{
    plan.failing = 0;
    return plan.happened;
}

bool allocation_fails()
{
    ++plan.seen;
    if (plan.failing == 0) {
        return false;
    }
    if (plan.until > 1) {
        --plan.until;
        return false;
    }
    --plan.failing;
    plan.happened = true;
    return true;
}

int allocations_seen()
{
    return plan.seen;
}

// The linker sends every call of malloc to __wrap_malloc, and __real_malloc is malloc.
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
char* __real_strdup(const char* string);
char* __real_strndup(const char* string, std::size_t size);
void* __real__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag);

void* __wrap_malloc(std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);
void* __wrap_realloc(void* block, std::size_t size);
char* __wrap_strdup(const char* string);
char* __wrap_strndup(const char* string, std::size_t size);
void* __wrap__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag);

void* __wrap_malloc(std::size_t size)
{
    return allocation_fails() ? nullptr : __real_malloc(size);
}

void* __wrap_calloc(std::size_t count, std::size_t size)
{
    return allocation_fails() ? nullptr : __real_calloc(count, size);
}

void* __wrap_realloc(void* block, std::size_t size)
{
    return allocation_fails() ? nullptr : __real_realloc(block, size);
}

char* __wrap_strdup(const char* string)
{
    return allocation_fails() ? nullptr : __real_strdup(string);
}

char* __wrap_strndup(const char* string, std::size_t size)
{
    return allocation_fails() ? nullptr : __real_strndup(string, size);
}

void* __wrap__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag)
{
    return allocation_fails() ? nullptr : __real__ZnwmRKSt9nothrow_t(size, tag);
}
}
