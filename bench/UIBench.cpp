// What a person waits for on screen: a layout pass over a details-like page
// after a change, a long frame-placed list following a resize, and wrapping a
// paragraph of text.
//
//   cmake --preset bench && cmake --build --preset bench --target velune_ui_bench
//   build/bench/bench/velune_ui_bench

#include <benchmark/benchmark.h>

#include "platform/DeviceInfo.h"
#include "platform/Platform.h"
#include "platform/ui/Label.h"
#include "platform/ui/LayoutConstraint.h"
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

void BM_LayoutDetailsPageAfterATitleChange(benchmark::State& state) {
  installDevice();
  std::shared_ptr<Label> title;
  auto page = makeDetailsPage(title);
  page->layoutIfNeeded();
  int n = 0;
  for (auto _ : state) {
    title->setText("Quarterly report " + std::to_string(++n) + ".pdf");
    page->layoutIfNeeded();
  }
}
BENCHMARK(BM_LayoutDetailsPageAfterATitleChange)->Unit(benchmark::kMicrosecond);

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

}  // namespace

BENCHMARK_MAIN();
