// Counts what any library of the process asks malloc for, in a program that includes this once. The
// sanitizers bring an allocator of their own, which cannot be counted this way.
#pragma once

#include <cstdlib>

namespace {

std::size_t allocations = 0;

}  // namespace

extern "C" {
// glibc's own allocator, under the names that stay when a program replaces the public ones.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);

void* malloc(std::size_t size) {
    ++allocations;
    return __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) {
    ++allocations;
    return __libc_calloc(count, size);
}
void* realloc(void* block, std::size_t size) {
    ++allocations;
    return __libc_realloc(block, size);
}
}
