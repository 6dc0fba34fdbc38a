// SPDX-License-Identifier: Apache-2.0
#include "heap.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <malloc.h>

namespace {

std::atomic<bool> counting{false};
std::atomic<std::int64_t> allocations{0};
std::atomic<std::int64_t> heldBytes{0};
std::atomic<std::int64_t> peakBytes{0};

void* counted(void* block)
{
    if (counting && block) {
        ++allocations;
        const std::int64_t held = heldBytes += static_cast<std::int64_t>(malloc_usable_size(block));
        std::int64_t peak = peakBytes;
        while (held > peak && !peakBytes.compare_exchange_weak(peak, held)) {
        }
    }
    return block;
}

} // namespace

// The program's own definitions come before those of the C library, for every library in the process.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);

void* malloc(std::size_t size)
{
    return counted(__libc_malloc(size));
}

void* calloc(std::size_t count, std::size_t size)
{
    return counted(__libc_calloc(count, size));
}

void* aligned_alloc(std::size_t alignment, std::size_t size)
{
    return counted(__libc_memalign(alignment, size));
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size)
{
    *block = aligned_alloc(alignment, size);
    return *block ? 0 : ENOMEM;
}

void free(void* block)
{
    if (counting && block) {
        heldBytes -= static_cast<std::int64_t>(malloc_usable_size(block));
    }
    __libc_free(block);
}

} // extern "C"
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

void heap::startCounting()
{
    allocations = heldBytes = peakBytes = 0;
    counting = true;
}

heap::Usage heap::stopCounting()
{
    counting = false;
    return {allocations, peakBytes};
}
