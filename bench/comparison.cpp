// Google Benchmark with a table of ratios behind its own.
// SPDX-License-Identifier: MIT
#include "comparison.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <vector>

namespace {

std::vector<Comparison>& comparisons() {
  static std::vector<Comparison> added;
  return added;
}

std::string title_of(const Comparison& row) {
  return row.units > 0 ? row.name + ", " + std::to_string(row.units) : row.name;
}

void measure(benchmark::State& state, const std::function<void()>& work) {
  while (state.KeepRunning()) work();
}

class Reporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;
      const double time = 1e6 * run.real_accumulated_time / static_cast<double>(run.iterations);
      double& best = best_.try_emplace(run.run_name.function_name, time).first->second;
      best = std::min(best, time);
    }
  }

  void Finalize() override {
    std::printf("\n%-40s %10s %7s %9s %9s\n", "", "us", "ratio", "us each", "further");
    const Comparison* before = nullptr;
    for (const Comparison& row : comparisons()) {
      const std::string title = title_of(row);
      if (best_.contains(title + "/work") && best_.contains(title + "/baseline")) {
        print(row, before != nullptr && before->name == row.name ? before : nullptr);
        before = &row;
      }
    }
  }

 private:
  double time_of(const Comparison& row) const { return best_.at(title_of(row) + "/work"); }

  void print(const Comparison& row, const Comparison* before) const {
    const double time = time_of(row);
    std::printf("%-40s %10.2f %7.2f", title_of(row).c_str(), time,
                time / best_.at(title_of(row) + "/baseline"));
    if (row.units > 0) std::printf(" %9.3f", time / row.units);
    if (before != nullptr) {
      std::printf(" %9.3f", (time - time_of(*before)) / (row.units - before->units));
    }
    std::printf("\n");
  }

  std::map<std::string, double> best_;
};

}  // namespace

void add(const Comparison& comparison) { comparisons().push_back(comparison); }

int run_comparisons(int argc, char** argv) {
  benchmark::SetDefaultTimeUnit(benchmark::kMicrosecond);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  for (const Comparison& row : comparisons()) {
    benchmark::RegisterBenchmark((title_of(row) + "/work").c_str(), measure, row.work);
    benchmark::RegisterBenchmark((title_of(row) + "/baseline").c_str(), measure, row.baseline);
  }
  Reporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return 0;
}
