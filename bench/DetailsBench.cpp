// What an item's tag colours cost a person: reloading the user's tag
// dictionary when another device changes it (10,000 tags, from memory and
// from kvstore.json) and drawing a row of 20 tag blips. Each has an anchor
// measured in the same run: the least any reload must do (taking the names
// and numbers out of the same values, parsing the same file), and cairo
// filling the same 20 circles with fixed colours. And the details page of a
// tagged document turning between portrait and landscape on a phone: the
// size change, the page's switch of rule sets, margins and rows, and the
// window's layout pass, beside its anchor, one layout pass of the same page
// solved from nothing (the least a rotation can cost). Goal: 1 ms.
//
//   cmake --preset bench && cmake --build --preset bench --target velune_details_bench
//   build/bench/bench/velune_details_bench
//
// The ratios are printed after the table, from CPU time.

#include <benchmark/benchmark.h>
#include <cairo.h>

#include <stdlib.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "BenchHomeFolder.h"
#include "MedianTimesReporter.h"
#include "host/FileIO.h"
#include "host/HomeLayout.h"
#include "host/HostCloudKeyValueStore.h"
#include "host/InProcessNotificationService.h"
#include "host/InProcessTransferProgressService.h"
#include "host/MemoryCloudKeyValueStore.h"
#include "host/drive/DemoHome.h"
#include "host/drive/Drive.h"
#include "host/drive/DriveServices.h"
#include "model/DRItem.h"
#include "model/FileTags.h"
#include "platform/DeviceInfo.h"
#include "platform/Platform.h"
#include "platform/RunLoop.h"
#include "platform/ui/Image.h"
#include "platform/ui/LayoutEngine.h"
#include "platform/ui/NavigationStackController.h"
#include "platform/ui/Screen.h"
#include "platform/ui/Window.h"
#include "preview/PreviewItemManager.h"
#include "platform/ui/StackView.h"
#include "views/FileInfoStackView.h"
#include "views/PreviewDetailsViewController.h"

namespace {

using velune::platform::Value;

constexpr int kTagCount = 10'000;

Value dictionaryOf(int count, int colourShift) {
  Value::Array entries;
  entries.reserve(static_cast<size_t>(count));
  for (int i = 0; i < count; ++i) {
    entries.push_back(Value(Value::Dictionary{{"n", Value("Tag number " + std::to_string(i))},
                                              {"l", Value((i + colourShift) % 8)}}));
  }
  return Value(Value::Dictionary{{"TroverTagDictVersion", Value(2)}, {"TroverTags", Value(std::move(entries))}});
}

std::shared_ptr<velune::host::MemoryCloudKeyValueStore> installStore() {
  static auto notifications = std::make_shared<velune::host::InProcessNotificationService>();
  auto store = std::make_shared<velune::host::MemoryCloudKeyValueStore>(notifications);
  velune::platform::Services services;
  services.notifications = notifications;
  services.cloudKeyValueStore = store;
  velune::platform::Platform::install(services);
  return store;
}

// The reload that a change from another device runs: the dictionary read
// into a new map and list that replace the shared ones.
void BM_ReloadTagDictionaryOf10000Tags(benchmark::State& state) {
  const auto store = installStore();
  store->setValue("TroverTagDict", dictionaryOf(kTagCount, 0));
  (void)velune::FileTags::tagColorsByTag();
  for (auto _ : state) {
    velune::FileTags::_tagColorsDidChange();
  }
  if (velune::FileTags::allTags().size() != kTagCount) {
    state.SkipWithError("the dictionary did not load");
  }
}
BENCHMARK(BM_ReloadTagDictionaryOf10000Tags)->Unit(benchmark::kMicrosecond);

// Anchor: only taking every name and colour number out of the same values.
void BM_Anchor_ReadTheNamesAndNumbers(benchmark::State& state) {
  const Value dictionary = dictionaryOf(kTagCount, 0);
  for (auto _ : state) {
    std::vector<std::pair<std::string, std::uint64_t>> entries;
    entries.reserve(kTagCount);
    for (const Value& entry : *dictionary["TroverTags"].asArray()) {
      entries.emplace_back(*entry["n"].asString(), entry["l"].unsignedValue());
    }
    benchmark::DoNotOptimize(entries.data());
  }
}
BENCHMARK(BM_Anchor_ReadTheNamesAndNumbers)->Unit(benchmark::kMicrosecond);

// The whole road of a change made on another device: kvstore.json read and
// parsed, the values compared, the notification posted and FileTags reloaded.
void BM_ReloadFromKvstoreJsonOf10000Tags(benchmark::State& state) {
  static auto notifications = std::make_shared<velune::host::InProcessNotificationService>();
  char folder[] = "/tmp/velune-details-bench-XXXXXX";
  if (::mkdtemp(folder) == nullptr) {
    state.SkipWithError("no temporary folder");
    return;
  }
  const velune::host::HomeLayout layout(folder);
  (void)layout.ensureSkeleton();
  const std::string path = velune::host::HostCloudKeyValueStore::filePath(layout);
  std::string texts[2];
  for (int shift = 0; shift < 2; ++shift) {
    (void)velune::host::HostCloudKeyValueStore::setValue(path, "TroverTagDict", dictionaryOf(kTagCount, shift));
    texts[shift] = velune::host::readWholeFile(path).value();
  }
  auto store = velune::host::HostCloudKeyValueStore::create(layout, notifications);
  velune::platform::Services services;
  services.notifications = notifications;
  services.cloudKeyValueStore = store;
  velune::platform::Platform::install(services);
  (void)velune::FileTags::tagColorsByTag();
  int turn = 0;
  for (auto _ : state) {
    state.PauseTiming();
    (void)velune::host::writeFileAtomically(path, texts[++turn % 2]);
    state.ResumeTiming();
    store->reload();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(texts[0].size()));
  std::filesystem::remove_all(folder);
}
BENCHMARK(BM_ReloadFromKvstoreJsonOf10000Tags)->Unit(benchmark::kMicrosecond);

// Anchor: only parsing the same file's JSON.
void BM_Anchor_ParseTheSameJson(benchmark::State& state) {
  char folder[] = "/tmp/velune-details-bench-XXXXXX";
  if (::mkdtemp(folder) == nullptr) {
    state.SkipWithError("no temporary folder");
    return;
  }
  const std::string path = std::string(folder) + "/kvstore.json";
  (void)velune::host::HostCloudKeyValueStore::setValue(path, "TroverTagDict", dictionaryOf(kTagCount, 0));
  const std::string text = velune::host::readWholeFile(path).value();
  for (auto _ : state) {
    auto json = nlohmann::json::parse(text, nullptr, false);
    benchmark::DoNotOptimize(json.size());
  }
  std::filesystem::remove_all(folder);
}
BENCHMARK(BM_Anchor_ParseTheSameJson)->Unit(benchmark::kMicrosecond);

std::vector<std::string> twentyTags() {
  std::vector<std::string> tags;
  for (int i = 0; i < 20; ++i) {
    tags.push_back("Tag number " + std::to_string(i * 37));
  }
  return tags;
}

// A row of 20 blips at a phone's scale: each tag's colour looked up, filled,
// its rim blended and stroked, the canvas made into an image.
void BM_DrawARowOf20Blips(benchmark::State& state) {
  const auto store = installStore();
  store->setValue("TroverTagDict", dictionaryOf(kTagCount, 0));
  velune::FileTags::_tagColorsDidChange();
  const auto tags = twentyTags();
  for (auto _ : state) {
    auto image = velune::FileTags::blipWithTags(tags, 12, 3);
    benchmark::DoNotOptimize(image.get());
  }
}
BENCHMARK(BM_DrawARowOf20Blips)->Unit(benchmark::kMicrosecond);

// Anchor: cairo alone filling and stroking the same 20 circles on a canvas of
// the same size, without lookups, blending or the image copy.
void BM_Anchor_Cairo20Circles(benchmark::State& state) {
  const double scale = 3;
  const double height = 12;
  for (auto _ : state) {
    cairo_surface_t* surface = cairo_image_surface_create(
        CAIRO_FORMAT_ARGB32, static_cast<int>(std::ceil((height + height / 2 * 19) * scale)),
        static_cast<int>(height * scale));
    cairo_t* cr = cairo_create(surface);
    cairo_scale(cr, scale, scale);
    for (int i = 0; i < 20; ++i) {
      cairo_new_path(cr);
      cairo_arc(cr, i * height / 2 + height / 2, height / 2, height / 2 - 0.5, 0, 2 * M_PI);
      cairo_set_source_rgba(cr, 1, 0, 0, 1);
      cairo_fill_preserve(cr);
      cairo_set_source_rgba(cr, 1, 0.5, 0.5, 1);
      cairo_set_line_width(cr, 1);
      cairo_stroke(cr);
    }
    cairo_destroy(cr);
    cairo_surface_flush(surface);
    benchmark::DoNotOptimize(cairo_image_surface_get_data(surface));
    cairo_surface_destroy(surface);
  }
}
BENCHMARK(BM_Anchor_Cairo20Circles)->Unit(benchmark::kMicrosecond);

// The details page of a document with nine tags on a phone (390 × 844), on
// a home of its own in the working folder, shown in a window.
class RotatingDetailsPage {
 public:
  static RotatingDetailsPage& shared() {
    if (instance_ == nullptr) {
      instance_ = new RotatingDetailsPage();
    }
    return *instance_;
  }
  // Removes the home, when a benchmark made it.
  static void removeHome() {
    if (instance_ != nullptr) {
      std::error_code ignored;
      std::filesystem::remove_all(instance_->root_, ignored);
    }
  }
  // Turns the phone the other way and lets the page and the window finish.
  void rotate() {
    landscape_ = !landscape_;
    device_->setOrientation(landscape_ ? velune::ui::InterfaceOrientation::LandscapeRight
                                       : velune::ui::InterfaceOrientation::Portrait);
    window_->transitionToSize(landscape_ ? velune::ui::Size{844, 390} : velune::ui::Size{390, 844});
    velune::platform::RunLoop::main().runUntilIdle();
    window_->layoutIfNeeded();
  }
  bool shown() const { return page_ && page_->fileInfoView() && page_->fileInfoView()->item(); }
  bool landscape() const { return landscape_; }
  velune::ui::Window& window() { return *window_; }
  const std::shared_ptr<velune::PreviewDetailsViewController>& page() const { return page_; }

 private:
  static inline RotatingDetailsPage* instance_ = nullptr;

  RotatingDetailsPage() {
    root_ = velune::bench::makeBenchHomeFolder(std::filesystem::current_path(), "velune-details-bench");
    const velune::host::HomeLayout layout(root_);
    (void)velune::host::writeFileAtomically(layout.containersJson(), velune::host::DemoHome::containersJson());
    const std::string documents = layout.mobileDocuments() + "/com.vorlan.drive/Documents/Projects";
    std::filesystem::create_directories(documents);
    std::filesystem::create_directories(layout.cloud() + "/com.vorlan.drive/Documents/Projects");
    const std::string document = documents + "/Brochure.pdf";
    (void)velune::host::writeFileAtomically(document, "%PDF-1.4\n%%EOF\n");
    services_ = velune::host::DriveServices::make(layout);
    velune::platform::Services installed;
    installed.notifications = std::make_shared<velune::host::InProcessNotificationService>();
    installed.transferProgress = std::make_shared<velune::host::InProcessTransferProgressService>();
    auto store = std::make_shared<velune::host::MemoryCloudKeyValueStore>(installed.notifications);
    installed.cloudKeyValueStore = store;
    device_ = std::make_shared<velune::platform::DeviceInfo>(velune::ui::Size{390, 844}, 3,
                                                             velune::ui::UserInterfaceIdiom::Phone);
    installed.device = device_;
    services_.wire(installed);
    velune::platform::Platform::install(installed);
    const std::vector<std::string> tags = {"Red", "Orange", "Yellow", "Green", "Blue",
                                           "Purple", "Grey", "Work", "Draft"};
    Value::Array entries;
    for (size_t i = 0; i + 1 < tags.size(); ++i) {
      entries.push_back(Value(Value::Dictionary{{"n", Value(tags[i])}, {"l", Value(static_cast<int>(i % 8))}}));
    }
    store->setValue("TroverTagDict", Value(Value::Dictionary{{"TroverTagDictVersion", Value(2)},
                                                             {"TroverTags", Value(std::move(entries))}}));
    velune::FileTags::_tagColorsDidChange();
    (void)services_.drive->setAttributes(document, velune::host::ItemAttributes{tags, false, "owner", false});

    auto root = std::make_shared<velune::ui::ViewController>();
    root->setTitle(std::string("Velune Drive"));
    navigation_ = velune::ui::NavigationStackController::make(root);
    window_ = std::make_shared<velune::ui::Window>(velune::ui::Rect(0, 0, 390, 844),
                                                   velune::ui::Screen::mainScreen());
    window_->setRootViewController(navigation_);
    window_->makeKeyAndVisible();
    velune::platform::RunLoop::main().runUntilIdle();
    manager_ = velune::PreviewItemManager::create();
    manager_->setMode(1);
    manager_->setNavigationController(navigation_);
    manager_->previewItem(velune::DRItem::initWithURL(services_.drive->itemURL(document)));
    velune::platform::RunLoop::main().runUntilIdle();
    window_->layoutIfNeeded();
    page_ = std::dynamic_pointer_cast<velune::PreviewDetailsViewController>(navigation_->topViewController());
  }

  std::string root_;
  velune::host::DriveServices services_;
  std::shared_ptr<velune::platform::DeviceInfo> device_;
  std::shared_ptr<velune::ui::NavigationStackController> navigation_;
  std::shared_ptr<velune::ui::Window> window_;
  std::shared_ptr<velune::PreviewItemManager> manager_;
  std::shared_ptr<velune::PreviewDetailsViewController> page_;
  bool landscape_ = false;
};

// One rotation of the shown page, alternately to landscape and back: the
// window's size change, the page's queued switch of rule sets, its margins
// and rows set again, and the layout pass of the whole window.
void BM_LayoutDetailsPageAfterARotation(benchmark::State& state) {
  auto& shown = RotatingDetailsPage::shared();
  if (!shown.shown()) {
    state.SkipWithError("the details page did not show");
    return;
  }
  for (auto _ : state) {
    shown.rotate();
    benchmark::DoNotOptimize(shown.page()->fileDetailsView()->frame());
  }
  if (shown.landscape()) {
    shown.rotate();
  }
}
BENCHMARK(BM_LayoutDetailsPageAfterARotation)->Unit(benchmark::kMicrosecond);

// Anchor: one layout pass of the same window and page, solved from nothing
// and changing nothing.
void BM_Anchor_LayoutTheSamePageFromScratch(benchmark::State& state) {
  auto& shown = RotatingDetailsPage::shared();
  if (!shown.shown()) {
    state.SkipWithError("the details page did not show");
    return;
  }
  for (auto _ : state) {
    velune::ui::LayoutEngine::layout(shown.window(), velune::ui::LayoutEngine::Strategy::FromScratch);
    benchmark::DoNotOptimize(shown.page()->fileDetailsView()->frame());
  }
}
BENCHMARK(BM_Anchor_LayoutTheSamePageFromScratch)->Unit(benchmark::kMicrosecond);

// Keeps each benchmark's CPU time per iteration to print the ratios.
void printRatios(const velune::bench::MedianTimesReporter& times) {
  auto ratio = [&](const char* what, const char* measured, const char* anchor) {
    const auto m = times.nanoseconds(measured);
    const auto a = times.nanoseconds(anchor);
    if (m && a) {
      std::printf("%-56s %9.1f us / %9.1f us = %6.2f\n", what, *m / 1e3, *a / 1e3, *m / *a);
    }
  };
  std::printf("\nRatios (CPU time per iteration):\n");
  ratio("reload of 10,000 tags / reading their names and numbers", "BM_ReloadTagDictionaryOf10000Tags",
        "BM_Anchor_ReadTheNamesAndNumbers");
  ratio("kvstore.json of 10,000 tags to reloaded / parsing it", "BM_ReloadFromKvstoreJsonOf10000Tags",
        "BM_Anchor_ParseTheSameJson");
  ratio("row of 20 blips / cairo's 20 circles", "BM_DrawARowOf20Blips", "BM_Anchor_Cairo20Circles");
  ratio("details page after a rotation / one fresh layout of it", "BM_LayoutDetailsPageAfterARotation",
        "BM_Anchor_LayoutTheSamePageFromScratch");
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  velune::bench::MedianTimesReporter reporter(velune::bench::MedianTimesReporter::Time::CPU);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  printRatios(reporter);
  benchmark::Shutdown();
  RotatingDetailsPage::removeHome();
  return 0;
}
