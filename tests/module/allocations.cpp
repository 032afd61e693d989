// Counted memory: stands before the allocator of the C library (or of a sanitizer).
// SPDX-License-Identifier: MIT
#include "allocations.h"

#include <dlfcn.h>

#include <cstddef>
#include <cstring>

// The allocator behind: a sanitizer's when there is one, else the C library's.
#define DECLARE_ALLOCATOR(result, name, ...)                                 \
  extern "C" __attribute__((weak)) result __interceptor_##name(__VA_ARGS__); \
  extern "C" result __libc_##name(__VA_ARGS__);
#define REAL_ALLOCATOR(name) \
  (__interceptor_##name != nullptr ? __interceptor_##name : __libc_##name)

DECLARE_ALLOCATOR(void*, malloc, std::size_t)
DECLARE_ALLOCATOR(void*, calloc, std::size_t, std::size_t)
DECLARE_ALLOCATOR(void*, memalign, std::size_t, std::size_t)
DECLARE_ALLOCATOR(void*, realloc, void*, std::size_t)
DECLARE_ALLOCATOR(void, free, void*)

extern "C" {
__attribute__((weak)) void __lsan_disable();
__attribute__((weak)) void __lsan_enable();
}

namespace {

long to_failure = 0;
bool failed = false;
Allocator counted_allocator = Allocator::any;
int test_depth = 0;
long held = 0;

bool is_module(const void* caller) {
  Dl_info info{};
  return dladdr(caller, &info) != 0 && std::strstr(info.dli_fname, "libhttp_parser") != nullptr;
}

bool fails_now(const void* caller) {
  if (to_failure == 0 || test_depth != 0) return false;
  if (counted_allocator == Allocator::module && !is_module(caller)) return false;
  failed = --to_failure == 0;
  return failed;
}

void* counted(void* block) {
  if (block != nullptr) ++held;
  return block;
}

}  // namespace

TestMemory::TestMemory() { ++test_depth; }
TestMemory::~TestMemory() { --test_depth; }

void fail_allocation(long n, Allocator whose) {
  failed = false;
  counted_allocator = whose;
  to_failure = n;
}

bool allocation_failed() { return failed; }

long held_blocks() { return held; }

ExpectedLeak::ExpectedLeak() {
  if (__lsan_disable != nullptr) __lsan_disable();
}

ExpectedLeak::~ExpectedLeak() {
  if (__lsan_enable != nullptr) __lsan_enable();
}

extern "C" {

void* malloc(std::size_t size) {
  return fails_now(__builtin_return_address(0)) ? nullptr : counted(REAL_ALLOCATOR(malloc)(size));
}

void* calloc(std::size_t count, std::size_t size) {
  return fails_now(__builtin_return_address(0)) ? nullptr
                                                : counted(REAL_ALLOCATOR(calloc)(count, size));
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
  return fails_now(__builtin_return_address(0))
             ? nullptr
             : counted(REAL_ALLOCATOR(memalign)(alignment, size));
}

void* realloc(void* block, std::size_t size) {
  if (fails_now(__builtin_return_address(0))) return nullptr;
  void* grown = REAL_ALLOCATOR(realloc)(block, size);
  return block == nullptr ? counted(grown) : grown;
}

// A sanitizer's own would take its memory from behind.
char* strdup(const char* text) {
  const std::size_t size = std::strlen(text) + 1;
  void* copy = malloc(size);
  return copy != nullptr ? static_cast<char*>(std::memcpy(copy, text, size)) : nullptr;
}

void free(void* block) {
  if (block != nullptr) --held;
  REAL_ALLOCATOR(free)(block);
}
}
