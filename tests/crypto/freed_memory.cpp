#include "tests/crypto/freed_memory.h"

#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <new>
#include <utility>

static bool s_secretStays = false;

bool secretWasFreed()
{
    return std::exchange(s_secretStays, false);
}

void* operator new[](std::size_t size, std::nothrow_t const&) noexcept
{
    return std::malloc(size + (size == 0));
}

void* operator new[](std::size_t size)
{
    if (void* const memory = ::operator new[](size, std::nothrow))
        return memory;
    throw std::bad_alloc();
}

void operator delete[](void* memory) noexcept
{
    if (memory != nullptr && ::memmem(memory, ::malloc_usable_size(memory), SECRET, sizeof(SECRET) - 1) != nullptr)
        s_secretStays = true;
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept
{
    ::operator delete[](memory);
}
