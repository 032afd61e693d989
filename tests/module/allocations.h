// Counted memory: fails the n-th allocation of a stretch, and tells how many blocks are held.
// SPDX-License-Identifier: MIT
#ifndef TESTS_MODULE_ALLOCATIONS_H_
#define TESTS_MODULE_ALLOCATIONS_H_

// Whose allocations are counted down: the module's own, or everybody's but the test's (what is
// allocated while a TestMemory lives).
enum class Allocator { module, any };

// From now on the n-th allocation (1 is the next) returns null; 0 means none does.
void fail_allocation(long n, Allocator whose);

class TestMemory {
 public:
  TestMemory();
  ~TestMemory();
  TestMemory(const TestMemory&) = delete;
  TestMemory& operator=(const TestMemory&) = delete;
};

// Tells whether the allocation that was to fail has been asked for.
bool allocation_failed();

// What is allocated while one lives is meant to stay: a leak checker does not tell of it.
class ExpectedLeak {
 public:
  ExpectedLeak();
  ~ExpectedLeak();
  ExpectedLeak(const ExpectedLeak&) = delete;
  ExpectedLeak& operator=(const ExpectedLeak&) = delete;
};

// Number of blocks that the process holds.
long held_blocks();

#endif  // TESTS_MODULE_ALLOCATIONS_H_
