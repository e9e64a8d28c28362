// Benchmarks of downloads, each next to its anchor in the same run:
//
//   CopyWithCp / DownloadDocument   a 200 MB document: /bin/cp of the server's
//                                   copy to a new file, and the sync engine's
//                                   download through a coordinated read at
//                                   unlimited bandwidth (goal: at least 0.8 of
//                                   cp's throughput); both end with the file
//                                   in place and the destination removed
//                                   outside the timing
//   CopyWithCpAndFlush              cp followed by an fdatasync of the copy:
//                                   the download flushes before it renames the
//                                   document into place, cp does not
//   ProgressReport*                 one progress report: setting the completed
//                                   count with nobody observing, and with a
//                                   download page observing it (the 5 % log
//                                   steps, the hand-over to the main thread)
//
// Throughputs and ratios are printed after the table. Run from the bench preset:
//   cmake --preset bench && cmake --build --preset bench --target velune_download_bench
//   build/bench/bench/velune_download_bench --benchmark_repetitions=5 --benchmark_report_aggregates_only=true

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "BenchHomeFolder.h"
#include "MedianTimesReporter.h"
#include "NullLogs.h"
#include "diag/DRLogging.h"
#include "host/HomeLayout.h"
#include "host/InProcessNotificationService.h"
#include "host/InProcessTransferProgressService.h"
#include "host/drive/DrivePaths.h"
#include "host/drive/DriveServices.h"
#include "host/drive/HostFileCoordinationService.h"
#include "host/drive/PlaceholderMetadata.h"
#include "host/drive/SyncEngine.h"
#include "model/DRItem.h"
#include "platform/ConsoleLog.h"
#include "platform/DispatchQueue.h"
#include "platform/FileCoordinator.h"
#include "platform/Platform.h"
#include "platform/RunLoop.h"
#include "platform/SystemLog.h"
#include "platform/TransferProgress.h"
#include "preview/PreviewDownloadViewController.h"
#include "preview/PreviewItemManager.h"

extern char** environ;

namespace {

constexpr std::size_t kDocumentBytes = 200'000'000;

class BenchHome {
 public:
  static BenchHome& shared() {
    static BenchHome* home = new BenchHome();
    return *home;
  }
  void removeAll() {
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
  }

  std::string document;   // on the phone (where the download goes)
  std::string cloudCopy;  // the server's bytes
  std::string cpTarget;
  velune::host::DriveServices services;

 private:
  BenchHome() {
    // In the build folder's file system rather than /tmp (often memory).
    root_ = velune::bench::makeBenchHomeFolder(std::filesystem::current_path(), "velune-download-bench");
    const velune::host::HomeLayout layout(root_);
    const std::string documents = layout.mobileDocuments() + "/com.vorlan.drive/Documents";
    const std::string cloudDocuments = layout.cloud() + "/com.vorlan.drive/Documents";
    std::filesystem::create_directories(documents);
    std::filesystem::create_directories(cloudDocuments);
    document = documents + "/Film.mov";
    cloudCopy = cloudDocuments + "/Film.mov";
    cpTarget = root_ + "/cp-copy.mov";
    // Real bytes (not a hole): a pattern that no copy can skip.
    std::vector<char> block(1 << 20);
    for (std::size_t i = 0; i < block.size(); ++i) {
      block[i] = static_cast<char>((i * 131) ^ (i >> 7));
    }
    const int fd = ::open(cloudCopy.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    for (std::size_t written = 0; written < kDocumentBytes;) {
      const std::size_t n = std::min(block.size(), kDocumentBytes - written);
      if (::write(fd, block.data(), n) != static_cast<ssize_t>(n)) {
        std::perror("write");
        std::abort();
      }
      written += n;
    }
    ::fsync(fd);
    ::close(fd);
    services = velune::host::DriveServices::make(layout);
    services.sync->setConditionsProvider([] { return velune::host::DownloadConditions{}; });
    velune::platform::Services installed;
    installed.systemLog = std::make_shared<velune::bench::NullSystemLog>();
    installed.consoleLog = std::make_shared<velune::bench::NullConsoleLog>();
    installed.transferProgress = std::make_shared<velune::host::InProcessTransferProgressService>();
    installed.notifications = std::make_shared<velune::host::InProcessNotificationService>();
    services.wire(installed);
    velune::platform::Platform::install(installed);
  }
  std::string root_;
};

void makeCloudOnly(BenchHome& home) {
  ::unlink(home.document.c_str());
  velune::host::PlaceholderMetadata metadata;
  metadata.size = kDocumentBytes;
  const std::string placeholder = velune::host::placeholderPathFor(home.document);
  const int fd = ::open(placeholder.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  const std::string text = metadata.serialize();
  [[maybe_unused]] const ssize_t written = ::write(fd, text.data(), text.size());
  ::close(fd);
}

// cp of the server's copy; with `flush`, followed by an fdatasync of the copy,
// which the download does before it puts the document in place.
void copyWithCp(benchmark::State& state, bool flush) {
  auto& home = BenchHome::shared();
  for (auto _ : state) {
    state.PauseTiming();
    ::unlink(home.cpTarget.c_str());
    state.ResumeTiming();
    std::vector<std::string> arguments = {"/bin/cp", home.cloudCopy, home.cpTarget};
    std::vector<char*> argv;
    for (auto& argument : arguments) {
      argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    pid_t pid = 0;
    int status = 0;
    if (::posix_spawn(&pid, argv[0], nullptr, nullptr, argv.data(), environ) != 0 || ::waitpid(pid, &status, 0) < 0 ||
        status != 0) {
      state.SkipWithError("cp failed");
      break;
    }
    if (flush) {
      const int fd = ::open(home.cpTarget.c_str(), O_WRONLY);
      ::fdatasync(fd);
      ::close(fd);
    }
  }
  ::unlink(home.cpTarget.c_str());
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kDocumentBytes));
}

void CopyWithCp(benchmark::State& state) { copyWithCp(state, false); }
void CopyWithCpAndFlush(benchmark::State& state) { copyWithCp(state, true); }

void DownloadDocument(benchmark::State& state) {
  auto& home = BenchHome::shared();
  const auto url = velune::platform::URL::fileURLWithPath(home.document, false);
  for (auto _ : state) {
    state.PauseTiming();
    makeCloudOnly(home);
    state.ResumeTiming();
    auto error = home.services.coordination->makeCoordinator()->coordinateReadingItemAtURL(
        url, velune::platform::kReadingWithoutChanges | velune::platform::kReadingResolvesSymbolicLink,
        [](const velune::platform::URL&) {});
    if (error) {
      state.SkipWithError(error->description().c_str());
      break;
    }
  }
  ::unlink(home.document.c_str());
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kDocumentBytes));
}

void ProgressReportUnobserved(benchmark::State& state) {
  velune::platform::TransferProgress progress(std::string(velune::platform::kProgressKindFile), kDocumentBytes);
  std::int64_t completed = 0;
  for (auto _ : state) {
    progress.setCompletedUnitCount(completed += 4096);
  }
}

// The download page's observation: the 5 % log step and the coalesced hand-over
// to the main thread, whose queue is drained outside the timing.
void ProgressReportObservedByPage(benchmark::State& state) {
  auto& home = BenchHome::shared();
  makeCloudOnly(home);
  auto manager = velune::PreviewItemManager::create();
  manager->setMode(0);
  auto page = std::make_shared<velune::PreviewDownloadViewController>();
  page->setItemManager(manager);
  auto progress = std::make_shared<velune::platform::TransferProgress>(
      std::string(velune::platform::kProgressKindFile), static_cast<std::int64_t>(kDocumentBytes));
  progress->addFractionCompletedObserver([page](velune::platform::TransferProgress& changed) {
    page->observeFractionCompleted(changed.shared_from_this());
  });
  std::int64_t completed = 0;
  std::int64_t reports = 0;
  for (auto _ : state) {
    progress->setCompletedUnitCount(completed = (completed + 4096) % static_cast<std::int64_t>(kDocumentBytes));
    if (++reports % 4096 == 0) {
      state.PauseTiming();
      velune::platform::RunLoop::main().runUntilIdle();
      state.ResumeTiming();
    }
  }
  velune::platform::RunLoop::main().runUntilIdle();
  ::unlink(velune::host::placeholderPathFor(home.document).c_str());
}

BENCHMARK(CopyWithCp)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(CopyWithCpAndFlush)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(DownloadDocument)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(ProgressReportUnobserved)->Unit(benchmark::kNanosecond);
BENCHMARK(ProgressReportObservedByPage)->Unit(benchmark::kNanosecond);

void printRatios(const velune::bench::MedianTimesReporter& times) {
  const auto at = [&](const char* name) { return times.nanoseconds(name).value_or(0.0); };
  std::printf("\n");
  if (at("CopyWithCp") > 0 && at("DownloadDocument") > 0) {
    const double cp = static_cast<double>(kDocumentBytes) / (at("CopyWithCp") / 1e9) / 1e6;
    const double download = static_cast<double>(kDocumentBytes) / (at("DownloadDocument") / 1e9) / 1e6;
    std::printf("cp of 200 MB:             %8.1f MB/s\n", cp);
    std::printf("download of 200 MB:       %8.1f MB/s\n", download);
    std::printf("download / cp throughput: %8.2f  (goal: at least 0.80)\n", download / cp);
    if (at("CopyWithCpAndFlush") > 0) {
      const double flushed = static_cast<double>(kDocumentBytes) / (at("CopyWithCpAndFlush") / 1e9) / 1e6;
      std::printf("cp + fdatasync of 200 MB: %8.1f MB/s\n", flushed);
      std::printf("download / (cp + fdatasync): %5.2f\n", download / flushed);
    }
  }
  if (at("ProgressReportUnobserved") > 0 && at("ProgressReportObservedByPage") > 0) {
    std::printf("progress report, nobody observing:     %8.1f ns\n", at("ProgressReportUnobserved"));
    std::printf("progress report, a download page:      %8.1f ns\n", at("ProgressReportObservedByPage"));
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  BenchHome::shared();
  velune::bench::MedianTimesReporter reporter(velune::bench::MedianTimesReporter::Time::Real);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  printRatios(reporter);
  benchmark::Shutdown();
  velune::DRLogFlush();
  BenchHome::shared().removeAll();
  return 0;
}
