// What an item's tag colours cost a person: reloading the user's tag
// dictionary when another device changes it (10,000 tags, from memory and
// from kvstore.json) and drawing a row of 20 tag blips. Each has an anchor
// measured in the same run: the least any reload must do (taking the names
// and numbers out of the same values, parsing the same file), and cairo
// filling the same 20 circles with fixed colours. The details page itself
// (and so its layout after a rotation) is not built, so it is not measured.
//
//   cmake --preset bench && cmake --build --preset bench --target velune_details_bench
//   build/bench/bench/velune_details_bench
//
// The ratios are printed after the table, from CPU time.

#include <benchmark/benchmark.h>
#include <cairo.h>

#include <cmath>
#include <filesystem>
#include <cstdio>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "MedianTimesReporter.h"
#include "host/FileIO.h"
#include "host/HostCloudKeyValueStore.h"
#include "host/InProcessNotificationService.h"
#include "host/MemoryCloudKeyValueStore.h"
#include "model/FileTags.h"
#include "platform/Platform.h"
#include "platform/ui/Image.h"

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
  return 0;
}
