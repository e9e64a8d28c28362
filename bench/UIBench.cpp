// What a person waits for on screen: a layout pass over a details-like page
// after a change, a step of scrolling through a list of 10,000 rows whose
// cells are placed by constraints, a long frame-placed list following a
// resize, and wrapping a paragraph of text. Each layout figure has its anchor
// in the same run: the same pass solved from nothing, and one screenful of the
// list's rows laid out from nothing.
//
//   cmake --preset bench && cmake --build --preset bench --target velune_ui_bench
//   build/bench/bench/velune_ui_bench
//
// The ratios are printed after the table, from CPU time (the layout pass is
// single-threaded work; CPU time does not count other processes' load).

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "MedianTimesReporter.h"
#include "platform/DeviceInfo.h"
#include "platform/Platform.h"
#include "platform/ui/Label.h"
#include "platform/ui/LayoutConstraint.h"
#include "platform/ui/LayoutEngine.h"
#include "platform/ui/ListView.h"
#include "platform/ui/StackView.h"
#include "platform/ui/TextLayout.h"

namespace {

using namespace velune::ui;

void installDevice() {
  velune::platform::Services services;
  services.device = std::make_shared<velune::platform::DeviceInfo>(Size{390, 844}, 3, UserInterfaceIdiom::Phone);
  velune::platform::Platform::install(services);
}

// A page like the details page: a column of twelve name/value rows under a
// title, pinned inside the page with margins.
std::shared_ptr<View> makeDetailsPage(std::shared_ptr<Label>& title) {
  auto page = View::make(Rect(0, 0, 390, 844));
  auto column = StackView::make();
  column->setAxis(Axis::Vertical);
  column->setSpacing(10);
  column->setTranslatesAutoresizingMaskIntoConstraints(false);
  page->addSubview(column);
  title = Label::make("Quarterly report.pdf");
  title->setFont(Font::fontWithDescriptor(FontDescriptor::preferredFontDescriptorWithTextStyle(TextStyle::Title2), 24));
  column->addArrangedSubview(title);
  std::shared_ptr<Label> previousName;
  for (int i = 0; i < 12; ++i) {
    auto row = View::make();
    row->setTranslatesAutoresizingMaskIntoConstraints(false);
    auto name = Label::make("Name " + std::to_string(i));
    auto value = Label::make("A value that may need more room than the row has, " + std::to_string(i));
    value->setNumberOfLines(i % 3 == 0 ? 3 : 1);
    for (const auto& label : {name, value}) {
      label->setTranslatesAutoresizingMaskIntoConstraints(false);
      row->addSubview(label);
    }
    auto rules = LayoutConstraint::constraintsWithVisualFormat("H:|[name]-10-[value]|", {}, {{"name", name}, {"value", value}});
    LayoutConstraint::activateConstraints(rules.value());
    LayoutConstraint::activateConstraints(LayoutConstraint::constraintsWithVisualFormat("V:|[value]|", {}, {{"value", value}}).value());
    LayoutConstraint::activateConstraints(LayoutConstraint::constraintsWithVisualFormat("V:|[name]", {}, {{"name", name}}).value());
    if (previousName) {
      LayoutConstraint::equal(name, LayoutAttribute::Width, previousName, LayoutAttribute::Width)->setActive(true);
    }
    previousName = name;
    column->addArrangedSubview(row);
  }
  LayoutConstraint::activateConstraints({
      LayoutConstraint::equal(column, LayoutAttribute::Leading, page, LayoutAttribute::Leading, 17),
      LayoutConstraint::equal(column, LayoutAttribute::Trailing, page, LayoutAttribute::Trailing, -17),
      LayoutConstraint::equal(column, LayoutAttribute::Top, page, LayoutAttribute::Top, 81),
  });
  return page;
}

void layoutDetailsPageAfterTitleChanges(benchmark::State& state, LayoutEngine::Strategy strategy) {
  installDevice();
  std::shared_ptr<Label> title;
  auto page = makeDetailsPage(title);
  page->layoutIfNeeded();
  int n = 0;
  for (auto _ : state) {
    title->setText("Quarterly report " + std::to_string(++n) + ".pdf");
    LayoutEngine::layout(*page, strategy);
  }
}

void BM_LayoutDetailsPageAfterATitleChange(benchmark::State& state) {
  layoutDetailsPageAfterTitleChanges(state, LayoutEngine::Strategy::Incremental);
}
BENCHMARK(BM_LayoutDetailsPageAfterATitleChange)->Unit(benchmark::kMicrosecond);

void BM_LayoutDetailsPageAfterATitleChangeFromScratch(benchmark::State& state) {
  layoutDetailsPageAfterTitleChanges(state, LayoutEngine::Strategy::FromScratch);
}
BENCHMARK(BM_LayoutDetailsPageAfterATitleChangeFromScratch)->Unit(benchmark::kMicrosecond);

// A listing of 10,000 documents: each row an icon, a name and a line of
// details, placed by constraints inside the cell.
class DocumentRows : public ListViewDataSource {
 public:
  size_t listViewNumberOfRows(ListView&) override { return 10000; }
  std::shared_ptr<ListViewCell> listViewMakeCell(ListView&) override {
    auto cell = ListViewCell::make();
    const auto& content = cell->contentView();
    auto icon = View::make();
    auto name = Label::make();
    auto details = Label::make();
    details->setFont(Font::preferredFontForTextStyle(TextStyle::Footnote));
    for (const auto& view : std::vector<std::shared_ptr<View>>{icon, name, details}) {
      view->setTranslatesAutoresizingMaskIntoConstraints(false);
      content->addSubview(view);
    }
    using A = LayoutAttribute;
    LayoutConstraint::activateConstraints({
        LayoutConstraint::fixed(icon, A::Width, 40),
        LayoutConstraint::fixed(icon, A::Height, 40),
        LayoutConstraint::equal(icon, A::Leading, content, A::Leading, 16),
        LayoutConstraint::equal(icon, A::CenterY, content, A::CenterY),
        LayoutConstraint::equal(name, A::Leading, icon, A::Trailing, 12),
        LayoutConstraint::lessOrEqual(name, A::Trailing, content, A::Trailing, -16),
        LayoutConstraint::equal(name, A::Top, content, A::Top, 8),
        LayoutConstraint::equal(details, A::Leading, name, A::Leading),
        LayoutConstraint::lessOrEqual(details, A::Trailing, content, A::Trailing, -16),
        LayoutConstraint::equal(details, A::Top, name, A::Bottom, 2),
    });
    return cell;
  }
  void listViewConfigureCell(ListView&, ListViewCell& cell, size_t row) override {
    const auto& views = cell.contentView()->subviews();
    static_cast<Label&>(*views[1]).setText("Document " + std::to_string(row) + ".pdf");
    static_cast<Label&>(*views[2]).setText(std::to_string(row % 97 + 1) + " KB, modified " +
                                           std::to_string(row % 28 + 1) + " March");
  }
};

struct Listing {
  std::shared_ptr<View> root = View::make(Rect(0, 0, 390, 844));
  std::shared_ptr<ListView> list = ListView::make(Rect(0, 0, 390, 844));
  std::shared_ptr<DocumentRows> rows = std::make_shared<DocumentRows>();

  Listing() {
    installDevice();
    list->setAutoresizingMask(Autoresizing::FlexibleWidth | Autoresizing::FlexibleHeight);
    list->setRowHeight(60);
    list->setDataSource(rows);
    root->addSubview(list);
    root->layoutIfNeeded();
  }
  // One step of a slow scroll: half a row, so every other step brings a row in.
  void scrollStep() {
    const double next = list->scrollOffset() + 30;
    list->setScrollOffset(next > list->contentHeight() - 844 ? 0 : next);
  }
};

void scrollThroughTheListing(benchmark::State& state, LayoutEngine::Strategy strategy) {
  Listing listing;
  for (auto _ : state) {
    listing.scrollStep();
    LayoutEngine::layout(*listing.root, strategy);
  }
  state.counters["cells"] = static_cast<double>(listing.list->cellsMade());
}

void BM_ScrollAListOf10000ConstrainedRows(benchmark::State& state) {
  scrollThroughTheListing(state, LayoutEngine::Strategy::Incremental);
}
BENCHMARK(BM_ScrollAListOf10000ConstrainedRows)->Unit(benchmark::kMicrosecond);

void BM_ScrollAListOf10000ConstrainedRowsFromScratch(benchmark::State& state) {
  scrollThroughTheListing(state, LayoutEngine::Strategy::FromScratch);
}
BENCHMARK(BM_ScrollAListOf10000ConstrainedRowsFromScratch)->Unit(benchmark::kMicrosecond);

// The anchor: the rows of one screen laid out from nothing, nothing scrolled.
void BM_LayOutOneScreenOfTheRowsFromScratch(benchmark::State& state) {
  Listing listing;
  listing.list->setScrollOffset(5000 * 60);
  listing.root->layoutIfNeeded();
  for (auto _ : state) {
    LayoutEngine::layout(*listing.root, LayoutEngine::Strategy::FromScratch);
  }
  state.counters["cells"] = static_cast<double>(listing.list->visibleCells().size());
}
BENCHMARK(BM_LayOutOneScreenOfTheRowsFromScratch)->Unit(benchmark::kMicrosecond);

void BM_LayoutListOf10000RowsAfterAResize(benchmark::State& state) {
  installDevice();
  auto root = View::make(Rect(0, 0, 390, 844));
  auto list = View::make();
  list->setTranslatesAutoresizingMaskIntoConstraints(false);
  root->addSubview(list);
  auto width = LayoutConstraint::fixed(list, LayoutAttribute::Width, 390);
  LayoutConstraint::activateConstraints({width, LayoutConstraint::fixed(list, LayoutAttribute::Height, 844),
                                         LayoutConstraint::equal(list, LayoutAttribute::Top, root, LayoutAttribute::Top),
                                         LayoutConstraint::equal(list, LayoutAttribute::Leading, root, LayoutAttribute::Leading)});
  for (int i = 0; i < 10000; ++i) {
    auto row = View::make(Rect(0, 44.0 * i, 390, 44));
    row->setAutoresizingMask(Autoresizing::FlexibleWidth);
    list->addSubview(row);
  }
  bool wide = false;
  for (auto _ : state) {
    wide = !wide;
    width->setConstant(wide ? 844 : 390);
    root->layoutIfNeeded();
  }
}
BENCHMARK(BM_LayoutListOf10000RowsAfterAResize)->Unit(benchmark::kMicrosecond);

void BM_WrapAParagraph(benchmark::State& state) {
  const Font font = Font::preferredFontForTextStyle(TextStyle::Body);
  std::string text;
  for (int i = 0; i < 40; ++i) {
    text += "Every word of this paragraph is measured once per line break decision. ";
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(TextLayout::make(text, font, 300, 0));
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_WrapAParagraph)->Unit(benchmark::kMicrosecond);

// Keeps each benchmark's CPU time per iteration to print the ratios.
void printRatios(const velune::bench::MedianTimesReporter& times) {
  auto ratio = [&](const char* what, const char* measured, const char* anchor) {
    const auto m = times.nanoseconds(measured);
    const auto a = times.nanoseconds(anchor);
    if (m && a) {
      std::printf("%-52s %8.1f us / %8.1f us = %6.3f\n", what, *m / 1e3, *a / 1e3, *m / *a);
    }
  };
  std::printf("\nRatios (CPU time per iteration):\n");
  ratio("details page after a title change: kept / fresh", "BM_LayoutDetailsPageAfterATitleChange",
        "BM_LayoutDetailsPageAfterATitleChangeFromScratch");
  ratio("scroll step of 10,000 rows / one screen from nothing", "BM_ScrollAListOf10000ConstrainedRows",
        "BM_LayOutOneScreenOfTheRowsFromScratch");
  ratio("scroll step of 10,000 rows: kept / fresh", "BM_ScrollAListOf10000ConstrainedRows",
        "BM_ScrollAListOf10000ConstrainedRowsFromScratch");
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
