// Opening a folder of the drive from a listing, as a person does: a tap on
// the folder's row of the top-level listing, until
//   - the new listing's first items-changed report (its rows can be drawn),
//   - the status line under it shows the count,
//   - the rows on screen have their size and date,
//   - every item of the folder has its record,
// for folders of 10,000 and of 100 items (9 in 10 documents on the phone, 1
// in 10 only in the cloud, 1 in 50 with tags). Anchor, in the same run: a
// plain readdir + fstatat walk of the same folder.
//
//   build/bench/bench/velune_listing_bench --benchmark_repetitions=5 --benchmark_report_aggregates_only=true
//
// Times are real (the system clock); the main run loop is spun by the
// benchmark thread, which is the main thread. The ratios are printed after
// the table (of the medians with repetitions).

#include <benchmark/benchmark.h>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <map>
#include <set>
#include <string>

#include "BenchHomeFolder.h"
#include "MedianTimesReporter.h"
#include "NullLogs.h"
#include "app/DocumentListControllerStatusBar.h"
#include "app/StatusBar.h"
#include "browse/NavController.h"
#include "diag/DRLogging.h"
#include "host/HomeLayout.h"
#include "host/InProcessNotificationService.h"
#include "host/drive/DriveServices.h"
#include "host/drive/PlaceholderMetadata.h"
#include "host/drive/DrivePaths.h"
#include "platform/AccountService.h"
#include "platform/ConsoleLog.h"
#include "platform/DeviceInfo.h"
#include "platform/DispatchQueue.h"
#include "platform/DocumentListCell.h"
#include "platform/Platform.h"
#include "platform/QuotaService.h"
#include "platform/RunLoop.h"
#include "platform/SystemLog.h"
#include "platform/ui/Label.h"
#include "platform/ui/Screen.h"
#include "platform/ui/Window.h"

namespace {

using Clock = std::chrono::steady_clock;
using velune::platform::DocumentListController;

class SignedIn final : public velune::platform::AccountService {
 public:
  std::optional<velune::platform::IdentityToken> identityToken() const override {
    return velune::platform::IdentityToken("bench");
  }
};

class SilentQuota final : public velune::platform::QuotaService {
 public:
  std::string cloudDocumentsContainerIdentifier() const override { return "com.vorlan.VeluneDrive.documents"; }
  void submit(velune::platform::QuotaRequest, Completion) override {}
};

void writeSmallFile(const std::string& path, const std::string& contents) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (fd >= 0) {
    [[maybe_unused]] const ssize_t written = ::write(fd, contents.data(), contents.size());
    ::close(fd);
  }
}

// One home with the two folders and a navigation controller showing the top level.
class BenchHome {
 public:
  static BenchHome& shared() {
    static BenchHome* home = new BenchHome();
    return *home;
  }
  void removeAll() {
    window.reset();
    nav.reset();
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
  }

  std::string documents;
  std::shared_ptr<velune::NavController> nav;
  std::shared_ptr<velune::ui::Window> window;

 private:
  BenchHome() {
    root_ = velune::bench::makeBenchHomeFolder(std::filesystem::temp_directory_path(), "velune-listing-bench");
    const velune::host::HomeLayout layout(root_);
    documents = layout.mobileDocuments() + "/com.vorlan.drive/Documents";
    const char* extensions[] = {"txt", "pdf", "png", "md", "csv", "jpg", "mp4", "docx", "zip", "json"};
    for (const int count : {10'000, 100}) {
      const std::string folder = documents + "/Folder of " + std::to_string(count);
      std::filesystem::create_directories(folder);
      std::filesystem::create_directories(layout.cloud() + "/com.vorlan.drive/Documents/Folder of " +
                                          std::to_string(count));
      for (int i = 0; i < count; ++i) {
        const std::string name = "Item " + std::to_string(i) + "." + extensions[i % 10];
        if (i % 10 == 3) {
          velune::host::PlaceholderMetadata metadata;
          metadata.size = 1000U + static_cast<std::uint64_t>(i);
          writeSmallFile(folder + "/" + velune::host::placeholderNameFor(name), metadata.serialize());
        } else {
          writeSmallFile(folder + "/" + name, "contents of " + name);
          if (i % 50 == 0) {
            writeSmallFile(folder + "/" + velune::host::sidecarNameFor(name), R"({"tags": ["Red"]})");
          }
        }
      }
    }
    services_ = velune::host::DriveServices::make(layout);
    velune::platform::Services installed;
    installed.systemLog = std::make_shared<velune::bench::NullSystemLog>();
    installed.consoleLog = std::make_shared<velune::bench::NullConsoleLog>();
    installed.notifications = std::make_shared<velune::host::InProcessNotificationService>();
    installed.logMarkerPath = root_ + "/no-marker";
    installed.account = std::make_shared<SignedIn>();
    installed.quota = std::make_shared<SilentQuota>();
    installed.device = std::make_shared<velune::platform::DeviceInfo>(velune::ui::Size{390, 844}, 3,
                                                                      velune::ui::UserInterfaceIdiom::Phone);
    services_.wire(installed);
    velune::platform::Platform::install(installed);
    velune::DRSetLogLevel(6);  // the app's own level

    nav = velune::NavController::create();
    const auto screen = velune::ui::Screen::mainScreen();
    window = std::make_shared<velune::ui::Window>(screen->bounds(), screen);
    window->setRootViewController(nav);
    window->makeKeyAndVisible();
    spinUntil([&] {
      auto top = nav->getTopDocumentListController();
      return top && top->listing().isLoaded() && top->containedItems().size() >= 2;
    });
  }

 public:
  // Runs the main run loop until `done` holds (at most 30 s).
  template <typename Done>
  static bool spinUntil(Done done) {
    const auto deadline = Clock::now() + std::chrono::seconds(30);
    while (!done()) {
      if (Clock::now() > deadline) {
        return false;
      }
      velune::platform::RunLoop::main().runOnce(std::chrono::milliseconds(5));
    }
    return true;
  }

 private:
  std::string root_;
  velune::host::DriveServices services_;
};

enum class Until { ItemsChanged, StatusLine, VisibleRows, AllRecords };

std::string statusText(DocumentListController& listing) {
  const auto bar = velune::StatusBar::statusBar(listing);
  return bar && bar->statusLabel() ? bar->statusLabel()->text() : std::string();
}

// One open of the folder: the time from the tap until `until`.
double openFolder(int count, Until until) {
  auto& home = BenchHome::shared();
  auto root = home.nav->getTopDocumentListController();
  const std::string folder = home.documents + "/Folder of " + std::to_string(count);
  const auto row = root->listing().indexOfURL(velune::platform::URL::fileURLWithPath(folder, true));
  if (!row) {
    std::fprintf(stderr, "no row for %s\n", folder.c_str());
    std::abort();
  }
  root->rowsView().scrollToRow(*row);
  auto cell = root->rowsView().cellForRow(*row);
  const std::string expected = std::to_string(count) + " items";
  const auto start = Clock::now();
  cell->tap();
  auto pushed = home.nav->getTopDocumentListController();
  const bool reached = BenchHome::spinUntil([&] {
    if (!pushed || pushed == root) {
      pushed = home.nav->getTopDocumentListController();
      return false;
    }
    switch (until) {
      case Until::ItemsChanged:
        return pushed->listing().isLoaded();
      case Until::StatusLine:
        return statusText(*pushed).rfind(expected, 0) == 0;
      case Until::VisibleRows: {
        const auto cells = pushed->rowsView().visibleCells();
        if (cells.empty()) {
          return false;
        }
        for (const auto& [visibleRow, visible] : cells) {
          const auto* documentCell = dynamic_cast<const velune::platform::DocumentListCell*>(visible.get());
          if (documentCell == nullptr || !documentCell->detailLabel() || documentCell->detailLabel()->text().empty()) {
            return false;
          }
        }
        return true;
      }
      case Until::AllRecords:
        if (!pushed->listing().isLoaded()) {
          return false;
        }
        for (const auto& item : pushed->listing().items()) {
          if (!item.record) {
            return false;
          }
        }
        return true;
    }
    return false;
  });
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  if (!reached) {
    std::fprintf(stderr, "the folder of %d did not open in time\n", count);
  }
  home.nav->popViewControllerAnimated(false);
  pushed.reset();
  // Let the pop and the dropped listing's work finish before the next tap.
  velune::platform::DocumentListing::readQueue()->sync([] {});
  while (velune::platform::RunLoop::main().runUntilIdle() > 0) {
  }
  return seconds;
}

void Open(benchmark::State& state, Until until) {
  const int count = static_cast<int>(state.range(0));
  for (auto _ : state) {
    state.SetIterationTime(openFolder(count, until));
  }
}

void OpenUntilItemsChanged(benchmark::State& state) { Open(state, Until::ItemsChanged); }
void OpenUntilStatusLine(benchmark::State& state) { Open(state, Until::StatusLine); }
void OpenUntilVisibleRows(benchmark::State& state) { Open(state, Until::VisibleRows); }
void OpenUntilAllRecords(benchmark::State& state) { Open(state, Until::AllRecords); }

void ReaddirFstatat(benchmark::State& state) {
  const std::string folder = BenchHome::shared().documents + "/Folder of " + std::to_string(state.range(0));
  for (auto _ : state) {
    DIR* stream = ::opendir(folder.c_str());
    const int fd = ::dirfd(stream);
    size_t count = 0;
    while (const dirent* entry = ::readdir(stream)) {
      struct stat info {};
      count += ::fstatat(fd, entry->d_name, &info, AT_SYMLINK_NOFOLLOW) == 0 ? 1 : 0;
    }
    ::closedir(stream);
    benchmark::DoNotOptimize(count);
  }
}

BENCHMARK(OpenUntilItemsChanged)->Arg(10'000)->Arg(100)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(OpenUntilStatusLine)->Arg(10'000)->Arg(100)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(OpenUntilVisibleRows)->Arg(10'000)->Arg(100)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(OpenUntilAllRecords)->Arg(10'000)->Arg(100)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(ReaddirFstatat)->Arg(10'000)->Arg(100)->Unit(benchmark::kMillisecond);

// Keeps each benchmark's time per iteration to print the ratios.
void printRatios(const velune::bench::MedianTimesReporter& times) {
  std::printf("\nRatios to a readdir + fstatat walk of the same folder:\n");
  for (const char* count : {"10000", "100"}) {
    const auto anchor = times.nanoseconds(std::string("ReaddirFstatat/") + count);
    if (!anchor) {
      continue;
    }
    for (const char* measured : {"OpenUntilItemsChanged", "OpenUntilStatusLine", "OpenUntilVisibleRows",
                                 "OpenUntilAllRecords"}) {
      if (const auto m = times.nanoseconds(std::string(measured) + "/" + count)) {
        std::printf("%-28s %6s items: %8.2f ms  %6.1f x\n", measured, count, *m / 1e6, *m / *anchor);
      }
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  BenchHome::shared();
  velune::bench::MedianTimesReporter reporter(velune::bench::MedianTimesReporter::Time::Real, velune::bench::MedianTimesReporter::Naming::FunctionAndArguments);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  printRatios(reporter);
  benchmark::Shutdown();
  velune::DRLogFlush();
  BenchHome::shared().removeAll();
  return 0;
}
