// What the screen costs on the server's side: writing the snapshot of a
// listing of 100 visible rows (beside its anchor, dumping the same JSON
// without walking the model), its size on the wire, and one tap from the
// event to the published frame (dispatch, the change signal, layout,
// snapshot, comparison with the last frame).
//
//   cmake --preset bench && cmake --build --preset bench --target velune_screen_bench
//   build/bench/bench/velune_screen_bench

#include <benchmark/benchmark.h>

#include "platform/DeviceInfo.h"
#include "platform/Platform.h"
#include "platform/RunLoop.h"
#include "platform/ui/Button.h"
#include "platform/ui/Image.h"
#include "platform/ui/ImageView.h"
#include "platform/ui/Label.h"
#include "platform/ui/NavigationStackController.h"
#include "platform/ui/Window.h"
#include "shell/ImageRegistry.h"
#include "shell/ScreenPublisher.h"
#include "shell/ScreenSnapshot.h"

namespace {

using namespace velune;

struct Listing {
  std::shared_ptr<ui::Window> window;
  std::shared_ptr<ui::Button> button;
  std::shared_ptr<ui::Label> status;
};

// A listing like the drive's: 100 rows of an icon, a name, a detail line and
// a separator, under a navigation bar, with a toolbar holding a status line.
Listing makeListing() {
  platform::Services services;
  services.device = std::make_shared<platform::DeviceInfo>(ui::Size{390, 844}, 3, ui::UserInterfaceIdiom::Phone);
  platform::Platform::install(services);
  auto root = std::make_shared<ui::ViewController>();
  root->setTitle("Velune Drive");
  auto icon = ui::Image::blank(ui::Size{36, 36}, 3);
  for (int i = 0; i < 100; ++i) {
    auto row = ui::View::make(ui::Rect(0, 64 + i * 60, 390, 60));
    row->setAccessibilityLabel("Document " + std::to_string(i) + ".pdf");
    row->addGestureRecognizer(std::make_shared<ui::TapGestureRecognizer>([] {}));
    auto image = std::make_shared<ui::ImageView>(icon);
    image->setFrame(ui::Rect(16, 12, 36, 36));
    auto name = ui::Label::make("Document " + std::to_string(i) + ".pdf");
    name->setFrame(ui::Rect(64, 10, 280, 22));
    auto detail = ui::Label::make("1.2 MB, 3 Nov 2026");
    detail->setFont(ui::Font::systemFontOfSize(13));
    detail->setFrame(ui::Rect(64, 32, 280, 18));
    auto line = ui::View::make(ui::Rect(64, 59.5, 326, 0.5));
    line->setBackgroundColor(ui::Color::lightGray());
    for (const auto& view : std::vector<std::shared_ptr<ui::View>>{image, name, detail, line}) {
      row->addSubview(view);
    }
    root->view()->addSubview(row);
  }
  Listing listing;
  listing.status = ui::Label::make("100 items");
  listing.status->setFrame(ui::Rect(0, 0, 200, 44));
  root->setToolbarItems({ui::BarButtonItem::withSystemItem(ui::BarButtonSystemItem::FlexibleSpace),
                         ui::BarButtonItem::withCustomView(listing.status),
                         ui::BarButtonItem::withSystemItem(ui::BarButtonSystemItem::FlexibleSpace)});
  listing.button = ui::Button::buttonWithType(ui::ButtonType::System);
  listing.button->setIdentifier("bench.tap");
  listing.button->setFrame(ui::Rect(300, 20, 80, 44));
  auto status = listing.status;
  listing.button->addAction(ui::ControlEvent::TouchUpInside, [status](ui::Control&) {
    status->setText(status->text() == "100 items" ? "100 items, 4.2 GB available" : "100 items");
  });
  root->view()->addSubview(listing.button);
  auto nav = ui::NavigationStackController::make(root);
  nav->setToolbarHidden(false, false);
  listing.window = std::make_shared<ui::Window>(ui::Rect(0, 0, 390, 844), ui::Screen::mainScreen());
  listing.window->setRootViewController(nav);
  listing.window->makeKeyAndVisible();
  platform::RunLoop::main().runUntilIdle();
  listing.window->layoutIfNeeded();
  return listing;
}

void BM_Snapshot100Rows(benchmark::State& state) {
  auto listing = makeListing();
  shell::ImageRegistry images("b");
  size_t bytes = 0;
  for (auto _ : state) {
    const std::string text = shell::ScreenSnapshot::text(listing.window, 1, images);
    bytes = text.size();
    benchmark::DoNotOptimize(text.data());
  }
  state.counters["update_bytes"] = static_cast<double>(bytes);
}
BENCHMARK(BM_Snapshot100Rows)->Unit(benchmark::kMicrosecond);

// The anchor: only the JSON text of the same snapshot, without the model walk.
void BM_Anchor_DumpSameJson(benchmark::State& state) {
  auto listing = makeListing();
  shell::ImageRegistry images("b");
  const auto json = shell::ScreenSnapshot::make(listing.window, 1, images);
  for (auto _ : state) {
    const std::string text = json.dump();
    benchmark::DoNotOptimize(text.data());
  }
}
BENCHMARK(BM_Anchor_DumpSameJson)->Unit(benchmark::kMicrosecond);

// A tap that changes the status line, to the published frame.
void BM_TapToPublishedFrame(benchmark::State& state) {
  auto listing = makeListing();
  auto publisher = shell::ScreenPublisher::create("b");
  publisher->start();
  auto event = shell::ScreenEvent::parse(R"({"type":"tap","target":"bench.tap"})").value();
  std::uint64_t published = publisher->latest().sequence;
  for (auto _ : state) {
    const auto outcome = publisher->dispatcher().apply(event, listing.window);
    platform::RunLoop::main().runUntilIdle();
    if (outcome.status != shell::ScreenEventDispatcher::Status::Handled || publisher->latest().sequence <= published) {
      state.SkipWithError("the tap published no frame");
      break;
    }
    published = publisher->latest().sequence;
  }
  state.counters["frame_bytes"] = static_cast<double>(publisher->latest().text->size());
  publisher->stop();
}
BENCHMARK(BM_TapToPublishedFrame)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
