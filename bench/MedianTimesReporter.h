#pragma once
// MedianTimesReporter: the console report of a benchmark run that also keeps
// each benchmark's time per iteration, for the ratios to the anchors that a
// benchmark prints after its table. With --benchmark_repetitions the median
// is kept, else the one run.

#include <benchmark/benchmark.h>

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace velune::bench {

class MedianTimesReporter final : public benchmark::ConsoleReporter {
 public:
  enum class Time { Real, CPU };
  // Whether a benchmark is named by its function only or also by its
  // arguments ("Open/10000"), for benchmarks run with several arguments.
  enum class Naming { Function, FunctionAndArguments };

  explicit MedianTimesReporter(Time time, Naming naming = Naming::Function) : time_(time), naming_(naming) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const auto& run : runs) {
      const double scale = run.time_unit == benchmark::kMillisecond   ? 1e6
                           : run.time_unit == benchmark::kMicrosecond ? 1e3
                                                                      : 1.0;
      const std::string name = naming_ == Naming::Function
                                   ? run.run_name.function_name
                                   : run.run_name.function_name + "/" + run.run_name.args;
      const double time = (time_ == Time::CPU ? run.GetAdjustedCPUTime() : run.GetAdjustedRealTime()) * scale;
      if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median") {
        nanoseconds_[name] = time;
        medians_.insert(name);
      } else if (run.run_type == Run::RT_Iteration && run.iterations > 0 && medians_.count(name) == 0) {
        nanoseconds_[name] = time;
      }
    }
  }

  // The benchmark's time per iteration in nanoseconds; nothing when it did
  // not run (filtered out) or took no time.
  std::optional<double> nanoseconds(const std::string& name) const {
    const auto found = nanoseconds_.find(name);
    if (found == nanoseconds_.end() || found->second <= 0) {
      return std::nullopt;
    }
    return found->second;
  }

 private:
  Time time_;
  Naming naming_;
  std::map<std::string, double> nanoseconds_;
  std::set<std::string> medians_;
};

}  // namespace velune::bench
