// The cost of logging, side by side with spdlog in the same program:
//
//   Anchor_RelaxedAtomicCompare  the floor of a disabled call: one relaxed
//                   atomic load and compare
//   Disabled/*      a call below the level: DRLOG vs spdlog's disabled call
//   EnabledCaller/* the caller's cost of an enabled call (format + hand-off):
//                   DRLOG vs spdlog's asynchronous logger
//   Sustained/*     records per second through the log queue into a file:
//                   DRLOG into the JSON-lines system log vs spdlog async into a file
//
// Run:  cmake --preset bench && cmake --build --preset bench --target velune_log_bench
//       build/bench/bench/velune_log_bench
// Ratios are printed at the end (ours / spdlog; below 1 means faster).

#include <benchmark/benchmark.h>
#include <spdlog/async.h>
#include <spdlog/async_logger.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#include <stdlib.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <map>
#include <string>

#include "NullLogs.h"
#include "diag/DRLogging.h"
#include "host/SystemLogs.h"
#include "platform/ConsoleLog.h"
#include "platform/Platform.h"
#include "platform/URL.h"

namespace {

std::string scratchDirectory() {
  static const std::string dir = [] {
    std::string pattern = (std::filesystem::temp_directory_path() / "velune-bench-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
      std::perror("mkdtemp");
      std::exit(1);
    }
    return pattern;
  }();
  return dir;
}

void installLogging() {
  static const bool installed = [] {
    velune::platform::Services services;
    services.systemLog = std::make_shared<velune::host::JsonLinesSystemLog>(scratchDirectory() + "/ours.jsonl");
    services.consoleLog = std::make_shared<velune::bench::NullConsoleLog>();
    services.logMarkerPath = scratchDirectory() + "/no-marker";
    velune::platform::Platform::install(services);
    velune::DRSetLogLevel(6);
    return true;
  }();
  (void)installed;
}

const velune::platform::URL& sampleURL() {
  static const auto url =
      velune::platform::URL::fileURLWithPath("/Mobile Documents/com~vorlan~Drive/Documents/Report 2026.pdf", false);
  return url;
}

// --- Disabled calls -------------------------------------------------------

std::atomic<int> gAnchorLevel{6};

void Anchor_RelaxedAtomicCompare(benchmark::State& state) {
  int level = velune::kLogDebug;
  for (auto _ : state) {
    benchmark::DoNotOptimize(level);
    bool enabled = level <= gAnchorLevel.load(std::memory_order_relaxed);
    benchmark::DoNotOptimize(enabled);
  }
}
BENCHMARK(Anchor_RelaxedAtomicCompare);

void Disabled_DRLog(benchmark::State& state) {
  installLogging();
  const auto& url = sampleURL();
  int i = 0;
  for (auto _ : state) {
    DRLOG(velune::kLogDebug, "Item %d at %@", i++, url);
  }
}
BENCHMARK(Disabled_DRLog);

void Disabled_Spdlog(benchmark::State& state) {
  static auto logger = spdlog::basic_logger_mt("disabled", scratchDirectory() + "/spdlog-disabled.log");
  logger->set_level(spdlog::level::info);
  const std::string url = sampleURL().absoluteString();
  int i = 0;
  for (auto _ : state) {
    logger->debug("Item {} at {}", i++, url);
  }
}
BENCHMARK(Disabled_Spdlog);

// --- Enabled calls: what the caller pays ------------------------------------

void EnabledCaller_DRLog(benchmark::State& state) {
  installLogging();
  const auto& url = sampleURL();
  int i = 0;
  for (auto _ : state) {
    DRLOG(velune::kLogInfo, "Item %d at %@", i++, url);
    if ((i & 1023) == 0) {
      state.PauseTiming();  // keep the queue from growing without bound
      velune::DRLogFlush();
      state.ResumeTiming();
    }
  }
  velune::DRLogFlush();  // after the timed loop
}
BENCHMARK(EnabledCaller_DRLog);

void EnabledCaller_SpdlogAsync(benchmark::State& state) {
  auto pool = std::make_shared<spdlog::details::thread_pool>(65536, 1);
  auto sink = std::make_shared<spdlog::sinks::basic_file_sink_mt>(scratchDirectory() + "/spdlog-enabled.log", true);
  auto logger = std::make_shared<spdlog::async_logger>("enabled", sink, pool, spdlog::async_overflow_policy::block);
  const std::string url = sampleURL().absoluteString();
  int i = 0;
  for (auto _ : state) {
    logger->info("Item {} at {}", i++, url);
  }
  logger.reset();
  pool.reset();  // drains and joins, after the timed loop
}
BENCHMARK(EnabledCaller_SpdlogAsync);

// --- Sustained throughput into a file ---------------------------------------

constexpr int kBatch = 20000;

void Sustained_DRLog(benchmark::State& state) {
  installLogging();
  const auto& url = sampleURL();
  for (auto _ : state) {
    for (int i = 0; i < kBatch; ++i) {
      DRLOG(velune::kLogInfo, "Item %d at %@", i, url);
    }
    velune::DRLogFlush();
  }
  state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(Sustained_DRLog)->Unit(benchmark::kMillisecond);

void Sustained_SpdlogAsync(benchmark::State& state) {
  const std::string url = sampleURL().absoluteString();
  for (auto _ : state) {
    auto pool = std::make_shared<spdlog::details::thread_pool>(65536, 1);
    auto sink = std::make_shared<spdlog::sinks::basic_file_sink_mt>(scratchDirectory() + "/spdlog-sustained.log", true);
    auto logger = std::make_shared<spdlog::async_logger>("sustained", sink, pool, spdlog::async_overflow_policy::block);
    for (int i = 0; i < kBatch; ++i) {
      logger->info("Item {} at {}", i, url);
    }
    logger.reset();
    pool.reset();  // the pool's destructor waits until every record is written
  }
  state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(Sustained_SpdlogAsync)->Unit(benchmark::kMillisecond);

// Collects each run's time per iteration to print the ratios at the end.
class RatioReporter final : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Iteration && !run.error_occurred) {
        times_[run.benchmark_name()] = run.GetAdjustedCPUTime();
      }
    }
  }
  void Finalize() override {
    ConsoleReporter::Finalize();
    std::printf("\nRatios (ours / spdlog, CPU time per iteration):\n");
    print("disabled call", "Disabled_DRLog", "Disabled_Spdlog");
    std::printf("Ratio (ours / a relaxed atomic compare):\n");
    print("disabled call", "Disabled_DRLog", "Anchor_RelaxedAtomicCompare");
    print("enabled call, caller side", "EnabledCaller_DRLog", "EnabledCaller_SpdlogAsync");
    print("sustained, 20000 records into a file", "Sustained_DRLog", "Sustained_SpdlogAsync");
  }

 private:
  void print(const char* what, const std::string& ours, const std::string& theirs) {
    const auto a = times_.find(ours);
    const auto b = times_.find(theirs);
    if (a != times_.end() && b != times_.end() && b->second > 0) {
      std::printf("  %-40s %.2f\n", what, a->second / b->second);
    }
  }
  std::map<std::string, double> times_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  std::filesystem::remove_all(scratchDirectory());
  return 0;
}
