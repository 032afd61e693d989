// Comparisons: work measured against a baseline that does the least for the same end.
// SPDX-License-Identifier: MIT
#ifndef BENCH_COMPARISON_H_
#define BENCH_COMPARISON_H_

#include <functional>
#include <string>

struct Comparison {
  std::string name;
  std::function<void()> work;
  std::function<void()> baseline;
  int units = 0;  // how many edits or templates one call handles; 0 = they are not counted
};

// Keeps a comparison for the run. Those of one name form a series, to be added by growing units.
void add(const Comparison& comparison);

// Runs what was added, and prints after Google Benchmark's table one line for each comparison: its
// fastest time in microseconds, that as a multiple of the baseline's, the time for each unit, and
// the time for each unit beyond those of the line before in its series.
// `argc` and `argv` are those of main(). Returns its exit status.
int run_comparisons(int argc, char** argv);

#endif  // BENCH_COMPARISON_H_
