// Benchmarks of the drive, each next to the anchor it is judged against:
//
//   StatWalk / ItemRecordWalk            every item of a 10,000-item folder: a plain
//                                        readdir + fstatat walk, and the listing with one
//                                        DRItem per item (goal: at most 5 times the walk);
//                                        StatWalkByPath stats each item by its full path
//   StatNamesAndRename / MoveIntoTakenNames
//                                        a move into a folder where "Report.pdf" and
//                                        "Report 2.pdf" ... "Report 1000.pdf" are taken,
//                                        against the system calls any such move needs
//   UncontendedMutex / CoordinatedWrite  one coordinated write (a new coordinator and an
//                                        empty accessor), with nobody else coordinating;
//                                        also with a presenter registered (the drive is
//                                        then watched)
//
// The ratios are printed after the table (of the medians with repetitions).
// Run from the bench preset:
//   cmake --preset bench && cmake --build --preset bench
//   build/bench/bench/velune_drive_bench --benchmark_repetitions=5 --benchmark_report_aggregates_only=true

#include <benchmark/benchmark.h>
#include <dirent.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <mutex>
#include <set>
#include <string>

#include "BenchHomeFolder.h"
#include "MedianTimesReporter.h"
#include "NullLogs.h"
#include "diag/DRLogging.h"
#include "host/HomeLayout.h"
#include "host/drive/Drive.h"
#include "host/drive/DrivePaths.h"
#include "host/drive/DriveServices.h"
#include "host/drive/HostFileCoordinationService.h"
#include "host/drive/PlaceholderMetadata.h"
#include "model/DRItem.h"
#include "model/FileUtils.h"
#include "platform/ConsoleLog.h"
#include "platform/FileCoordinator.h"
#include "platform/OperationQueue.h"
#include "platform/Platform.h"
#include "platform/SystemLog.h"

namespace {

using velune::platform::URL;

void writeSmallFile(const std::string& path, const std::string& contents) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (fd >= 0) {
    [[maybe_unused]] const ssize_t written = ::write(fd, contents.data(), contents.size());
    ::close(fd);
  }
}

// One home for every benchmark, made before the first runs.
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

  std::string bigFolder;
  std::string reports;
  std::string incoming;
  velune::host::DriveServices services;

 private:
  BenchHome() {
    root_ = velune::bench::makeBenchHomeFolder(std::filesystem::temp_directory_path(), "velune-bench");
    const velune::host::HomeLayout layout(root_);
    const std::string documents = layout.mobileDocuments() + "/com.vorlan.drive/Documents";
    const std::string cloudDocuments = layout.cloud() + "/com.vorlan.drive/Documents";
    bigFolder = documents + "/Ten Thousand";
    reports = documents + "/Reports";
    incoming = documents + "/Incoming";
    for (const auto& folder : {bigFolder, reports, incoming, cloudDocuments + "/Ten Thousand",
                               cloudDocuments + "/Reports", cloudDocuments + "/Incoming"}) {
      std::filesystem::create_directories(folder);
    }
    // 9,000 documents on the phone of several types, 1,000 only in the cloud.
    const char* extensions[] = {"txt", "pdf", "png", "md", "csv", "jpg", "mp4", "docx", "zip", "json"};
    for (int i = 0; i < 10'000; ++i) {
      const std::string name = "Item " + std::to_string(i) + "." + extensions[i % 10];
      if (i % 10 == 3) {
        velune::host::PlaceholderMetadata metadata;
        metadata.size = 1000U + static_cast<std::uint64_t>(i);
        writeSmallFile(bigFolder + "/" + velune::host::placeholderNameFor(name), metadata.serialize());
      } else {
        writeSmallFile(bigFolder + "/" + name, "contents of " + name);
      }
    }
    writeSmallFile(reports + "/Report.pdf", "taken");
    writeSmallFile(cloudDocuments + "/Reports/Report.pdf", "taken");
    for (int n = 2; n <= 1000; ++n) {
      const std::string name = "Report " + std::to_string(n) + ".pdf";
      writeSmallFile(reports + "/" + name, "taken");
      writeSmallFile(cloudDocuments + "/Reports/" + name, "taken");
    }
    services = velune::host::DriveServices::make(layout);
    velune::platform::Services installed;
    installed.systemLog = std::make_shared<velune::bench::NullSystemLog>();
    installed.consoleLog = std::make_shared<velune::bench::NullConsoleLog>();
    installed.logMarkerPath = root_ + "/no-marker";
    services.wire(installed);
    velune::platform::Platform::install(installed);
    velune::DRSetLogLevel(6);  // the app's own level
  }

  std::string root_;
};

void StatWalk(benchmark::State& state) {
  const auto& home = BenchHome::shared();
  for (auto _ : state) {
    DIR* folder = ::opendir(home.bigFolder.c_str());
    const int fd = ::dirfd(folder);
    size_t count = 0;
    while (const dirent* entry = ::readdir(folder)) {
      struct stat info {};
      if (entry->d_name[0] != '.' || entry->d_name[1] != '\0') {
        count += ::fstatat(fd, entry->d_name, &info, AT_SYMLINK_NOFOLLOW) == 0 ? 1 : 0;
      }
    }
    ::closedir(folder);
    benchmark::DoNotOptimize(count);
  }
  state.SetItemsProcessed(state.iterations() * 10'000);
}

// The same walk looking each item up by its full path, as anything that
// works by URL must.
void StatWalkByPath(benchmark::State& state) {
  const auto& home = BenchHome::shared();
  for (auto _ : state) {
    DIR* folder = ::opendir(home.bigFolder.c_str());
    size_t count = 0;
    while (const dirent* entry = ::readdir(folder)) {
      struct stat info {};
      if (entry->d_name[0] != '.' || entry->d_name[1] != '\0') {
        const std::string path = home.bigFolder + "/" + entry->d_name;
        count += ::lstat(path.c_str(), &info) == 0 ? 1 : 0;
      }
    }
    ::closedir(folder);
    benchmark::DoNotOptimize(count);
  }
  state.SetItemsProcessed(state.iterations() * 10'000);
}

void ItemRecordWalk(benchmark::State& state) {
  auto& home = BenchHome::shared();
  size_t made = 0;
  for (auto _ : state) {
    auto entries = home.services.drive->contentsOfFolder(home.bigFolder, false);
    for (const auto& entry : entries.value()) {
      auto item = velune::DRItem::initWithURL(entry.url);
      made += item ? 1 : 0;
      benchmark::DoNotOptimize(item);
    }
  }
  if (made != static_cast<size_t>(state.iterations()) * 10'000) {
    state.SkipWithError("some item records could not be read");
  }
  state.SetItemsProcessed(state.iterations() * 10'000);
}

// The least any move into that folder must do: look at the taken names, then rename.
void StatNamesAndRename(benchmark::State& state) {
  const auto& home = BenchHome::shared();
  const std::string source = home.incoming + "/Anchor.pdf";
  const std::string destination = home.reports + "/Report 1001.pdf";
  for (auto _ : state) {
    state.PauseTiming();
    writeSmallFile(source, "new report");
    state.ResumeTiming();
    struct stat info {};
    benchmark::DoNotOptimize(::stat((home.reports + "/Report.pdf").c_str(), &info));
    for (int n = 2; n <= 1001; ++n) {
      benchmark::DoNotOptimize(::stat((home.reports + "/Report " + std::to_string(n) + ".pdf").c_str(), &info));
    }
    ::renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, destination.c_str(), RENAME_NOREPLACE);
    state.PauseTiming();
    ::unlink(destination.c_str());
    state.ResumeTiming();
  }
}

void MoveIntoTakenNames(benchmark::State& state) {
  auto& home = BenchHome::shared();
  const std::string source = home.incoming + "/Report.pdf";
  const std::string cloudSource = home.services.drive->cloudPath(*home.services.drive->relativePath(source));
  const std::string arrived = home.reports + "/Report 1001.pdf";
  for (auto _ : state) {
    state.PauseTiming();
    writeSmallFile(source, "new report");
    writeSmallFile(cloudSource, "new report");
    state.ResumeTiming();
    auto error = velune::FileUtils::move(URL::fileURLWithPath(source, false),
                                         URL::fileURLWithPath(home.reports + "/Report.pdf", false));
    state.PauseTiming();
    if (error || ::access(arrived.c_str(), F_OK) != 0) {
      state.SkipWithError("the move did not end at Report 1001.pdf");
    }
    home.services.drive->removeItem(arrived);
    state.ResumeTiming();
  }
}

void UncontendedMutex(benchmark::State& state) {
  std::mutex mutex;
  for (auto _ : state) {
    mutex.lock();
    benchmark::ClobberMemory();
    mutex.unlock();
  }
}

void CoordinatedWrite(benchmark::State& state) {
  auto& home = BenchHome::shared();
  auto& coordination = *home.services.coordination;
  const URL url = URL::fileURLWithPath(home.incoming + "/Written.txt", false);
  for (auto _ : state) {
    auto coordinator = coordination.makeCoordinator();
    auto error = coordinator->coordinateWritingItemAtURL(url, velune::platform::kWritingForReplacing,
                                                         [](const URL& written) { benchmark::DoNotOptimize(written); });
    benchmark::DoNotOptimize(error);
  }
}

// A presenter elsewhere in the drive: the watcher runs, every write is
// suppressed in it and wakes it once.
class IdlePresenter final : public velune::platform::FilePresenter {
 public:
  explicit IdlePresenter(URL url) : url_(std::move(url)) {}
  URL presentedItemURL() const override { return url_; }
  velune::platform::OperationQueue* presentedItemOperationQueue() const override { return nullptr; }

 private:
  URL url_;
};

void CoordinatedWriteWhilePresenting(benchmark::State& state) {
  auto& home = BenchHome::shared();
  auto& coordination = *home.services.coordination;
  auto presenter = std::make_shared<IdlePresenter>(URL::fileURLWithPath(home.reports + "/Report.pdf", false));
  coordination.addFilePresenter(presenter);
  const URL url = URL::fileURLWithPath(home.incoming + "/Written.txt", false);
  for (auto _ : state) {
    auto coordinator = coordination.makeCoordinator();
    auto error = coordinator->coordinateWritingItemAtURL(url, velune::platform::kWritingForReplacing,
                                                         [](const URL& written) { benchmark::DoNotOptimize(written); });
    benchmark::DoNotOptimize(error);
  }
  coordination.removeFilePresenter(presenter.get());
}

BENCHMARK(StatWalk)->Unit(benchmark::kMillisecond);
BENCHMARK(StatWalkByPath)->Unit(benchmark::kMillisecond);
BENCHMARK(ItemRecordWalk)->Unit(benchmark::kMillisecond);
BENCHMARK(StatNamesAndRename)->Unit(benchmark::kMicrosecond);
BENCHMARK(MoveIntoTakenNames)->Unit(benchmark::kMicrosecond);
BENCHMARK(UncontendedMutex)->Unit(benchmark::kNanosecond);
BENCHMARK(CoordinatedWrite)->Unit(benchmark::kNanosecond);
BENCHMARK(CoordinatedWriteWhilePresenting)->Unit(benchmark::kNanosecond);

// Keeps each benchmark's time per iteration to print the ratios.
void printRatios(const velune::bench::MedianTimesReporter& times) {
  auto ratio = [&](const char* what, const char* measured, const char* anchor) {
    const auto m = times.nanoseconds(measured);
    const auto a = times.nanoseconds(anchor);
    if (m && a) {
      std::printf("%-48s %10.1f x  (%s / %s)\n", what, *m / *a, measured, anchor);
    }
  };
  std::printf("\nRatios:\n");
  ratio("item records of 10,000 items vs a stat walk", "ItemRecordWalk", "StatWalk");
  ratio("item records vs a stat walk by full path", "ItemRecordWalk", "StatWalkByPath");
  ratio("move past 1,000 taken names vs its syscalls", "MoveIntoTakenNames", "StatNamesAndRename");
  ratio("coordinated write vs an uncontended mutex", "CoordinatedWrite", "UncontendedMutex");
  ratio("coordinated write while presenting vs mutex", "CoordinatedWriteWhilePresenting", "UncontendedMutex");
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
