// A long listing on the screen: the snapshot carries only the rows that have
// cells, with the row count and scroll offset; scroll and swipe events reach
// the list and its rows.

#include <gtest/gtest.h>

#include "platform/ui/Button.h"
#include "platform/ui/Label.h"
#include "platform/ui/ListView.h"
#include "platform/ui/ListViewCell.h"
#include "shell/ImageRegistry.h"
#include "shell/ScreenEventDispatcher.h"
#include "shell/ScreenSnapshot.h"
#include "tests/support/UITestSupport.h"

namespace velune::shell {
namespace {

using nlohmann::json;

class Names : public ui::ListViewDataSource, public ui::ListViewDelegate {
 public:
  size_t listViewNumberOfRows(ui::ListView&) override { return 10'000; }
  void listViewConfigureCell(ui::ListView&, ui::ListViewCell& cell, size_t row) override {
    cell.setAccessibilityLabel("Document " + std::to_string(row));
  }
  std::vector<ui::ListRowAction> listViewActionsForRow(ui::ListView&, size_t) override {
    return {ui::ListRowAction{0, "Delete", true}};
  }
  void listViewPerformRowAction(ui::ListView&, size_t row, int action, const std::shared_ptr<ui::View>&) override {
    performed.emplace_back(row, action);
  }
  std::vector<std::pair<size_t, int>> performed;
};

class ScreenListTest : public testing::UITestCase {
 protected:
  void SetUp() override {
    UITestCase::SetUp();
    root_ = std::make_shared<ui::ViewController>();
    list_ = ui::ListView::make(ui::Rect(0, 64, 390, 736));
    list_->setIdentifier("listing");
    list_->setRowHeight(60);
    list_->setDataSource(names_);
    list_->setDelegate(names_);
    root_->view()->addSubview(list_);
    window_ = testing::showInWindow(root_);
    testing::runMainUntilIdle();
  }
  json listNode() {
    const json snap = ScreenSnapshot::make(window_, 1, images_);
    const json& rootView = snap["window"]["children"][0];
    for (const auto& child : rootView["children"]) {
      if (child["id"] == "listing") {
        return child;
      }
    }
    return json();
  }
  ScreenEventDispatcher::Status apply(const std::string& body) {
    const auto status = dispatcher_.apply(ScreenEvent::parse(body).value(), window_).status;
    testing::runMainUntilIdle();
    return status;
  }

  std::shared_ptr<Names> names_ = std::make_shared<Names>();
  std::shared_ptr<ui::ViewController> root_;
  std::shared_ptr<ui::ListView> list_;
  std::shared_ptr<ui::Window> window_;
  ImageRegistry images_{"t"};
  ScreenEventDispatcher dispatcher_;
};

TEST_F(ScreenListTest, LongListing_SendsOnlyItsCellsWithRowCountAndOffset) {
  const json node = listNode();
  ASSERT_FALSE(node.is_null());
  EXPECT_EQ(node["rowCount"], 10'000);
  EXPECT_EQ(node["scrollOffset"], 0);
  EXPECT_EQ(node["contentHeight"], 600'000);
  EXPECT_LT(node["children"].size(), 25U) << "only the rows on screen (and a margin) have cells";
  EXPECT_EQ(node["children"][0]["row"], 0);
  EXPECT_EQ(node["children"][0]["label"], "Document 0");

  EXPECT_EQ(apply(R"({"type":"scroll","target":"listing","offset":300000})"), ScreenEventDispatcher::Status::Handled);
  const json scrolled = listNode();
  EXPECT_EQ(scrolled["scrollOffset"], 300'000);
  bool sawRow5000 = false;
  for (const auto& cell : scrolled["children"]) {
    sawRow5000 = sawRow5000 || (cell.contains("row") && cell["row"] == 5000 && cell["label"] == "Document 5000");
  }
  EXPECT_TRUE(sawRow5000);
  EXPECT_EQ(apply(R"({"type":"scroll","target":"listing","offset":-50})"), ScreenEventDispatcher::Status::Handled);
  EXPECT_EQ(listNode()["scrollOffset"], 0) << "the list keeps the offset within its content";
  EXPECT_EQ(apply(R"({"type":"scroll","target":")" + root_->view()->identifier() + R"(","offset":10})"),
            ScreenEventDispatcher::Status::Ignored);
}

TEST_F(ScreenListTest, SwipeOnARow_RevealsItsActionsWhichATapChooses) {
  const auto cell = list_->cellForRow(3);
  ASSERT_NE(cell, nullptr);
  EXPECT_EQ(apply(R"({"type":"swipe","target":")" + cell->identifier() + "\"}"), ScreenEventDispatcher::Status::Handled);
  ASSERT_EQ(cell->actionButtons().size(), 1U);
  EXPECT_EQ(apply(R"({"type":"tap","target":")" + cell->actionButtons()[0]->identifier() + "\"}"),
            ScreenEventDispatcher::Status::Handled);
  ASSERT_EQ(names_->performed.size(), 1U);
  EXPECT_EQ(names_->performed[0], std::make_pair(size_t{3}, 0));
  EXPECT_EQ(apply(R"({"type":"swipe","target":"listing"})"), ScreenEventDispatcher::Status::Ignored)
      << "the list itself is no row";
}

}  // namespace
}  // namespace velune::shell
