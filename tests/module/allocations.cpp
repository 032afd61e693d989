// Counted memory: stands before the allocator of the C library (or of a sanitizer).
// SPDX-License-Identifier: MIT
#include "allocations.h"

#include <dlfcn.h>
#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

#include <atomic>
#include <cstddef>
#include <cstring>

namespace {

std::atomic<long> to_failure = 0;
std::atomic<bool> failed = false;
Allocator counted_allocator = Allocator::any;
int test_depth = 0;
std::atomic<long> held = 0;

template <typename Function>
Function* next(Function*& cached, const char* name) {
  if (cached == nullptr) cached = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
  return cached;
}

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

#if defined(__SANITIZE_ADDRESS__)
ExpectedLeak::ExpectedLeak() { __lsan_disable(); }
ExpectedLeak::~ExpectedLeak() { __lsan_enable(); }
#else
ExpectedLeak::ExpectedLeak() = default;
ExpectedLeak::~ExpectedLeak() = default;
#endif

extern "C" {

void* malloc(std::size_t size) {
  static void* (*real)(std::size_t);
  return fails_now(__builtin_return_address(0)) ? nullptr : counted(next(real, "malloc")(size));
}

void* calloc(std::size_t count, std::size_t size) {
  static void* (*real)(std::size_t, std::size_t);
  return fails_now(__builtin_return_address(0)) ? nullptr
                                                : counted(next(real, "calloc")(count, size));
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
  static void* (*real)(std::size_t, std::size_t);
  return fails_now(__builtin_return_address(0))
             ? nullptr
             : counted(next(real, "aligned_alloc")(alignment, size));
}

void* realloc(void* block, std::size_t size) {
  static void* (*real)(void*, std::size_t);
  if (fails_now(__builtin_return_address(0))) return nullptr;
  void* grown = next(real, "realloc")(block, size);
  return block == nullptr ? counted(grown) : grown;
}

void free(void* block) {
  static void (*real)(void*);
  if (block != nullptr) --held;
  next(real, "free")(block);
}
}
