// The folder picker of a move, on a temporary home: which folders it offers,
// and what a tap and Cancel do.

#include "platform/MoveTargetPicker.h"

#include <gtest/gtest.h>

#include "platform/ui/Button.h"
#include "tests/support/DriveTestHome.h"
#include "tests/support/UITestSupport.h"

namespace velune::platform {
namespace {

using testing::DriveTestHome;

class RecordingDelegate final : public MoveTargetPickerDelegate {
 public:
  void documentTargetSelectionControllerDidSelectItemAtURL(MoveTargetPicker&, const URL& folder) override {
    chosen.push_back(folder);
  }
  std::vector<URL> chosen;
};

TEST(MoveTargetPickerTest, Folders_LeaveOutHiddenPackagesAndWhatMoves) {
  DriveTestHome home;
  testing::installWithPhone(home.services());
  const std::string docs = home.documents();
  home.makeFolder(docs + "/Projects/Plans/Old");
  home.makeFolder(docs + "/Moving/Inside");
  home.makeFolder(docs + "/.hidden");
  home.makeFolder(docs + "/Mood.board");
  home.writeDocument(docs + "/Notes.txt", "n");

  auto picker = MoveTargetPicker::make({URL::fileURLWithPath(docs + "/Moving", true)});
  auto delegate = std::make_shared<RecordingDelegate>();
  picker->setDelegate(delegate);
  auto root = std::make_shared<ui::ViewController>();
  auto window = testing::showInWindow(root);
  root->presentViewController(picker, true);
  testing::runMainUntilIdle();

  std::vector<std::pair<std::string, int>> defaultContainer;
  for (const auto& row : picker->rows()) {
    if (row.folder.path().rfind(docs, 0) == 0) {
      defaultContainer.emplace_back(row.name, row.depth);
    }
  }
  const std::vector<std::pair<std::string, int>> expected = {
      {"Velune Drive", 0}, {"Projects", 1}, {"Plans", 2}, {"Old", 3}};
  EXPECT_EQ(defaultContainer, expected);
  EXPECT_EQ(picker->rows().front().name, "Velune Drive");  // the drive's own container first
  EXPECT_EQ(picker->listView()->numberOfRows(), picker->rows().size());

  picker->listViewDidSelectRow(*picker->listView(), 2);
  ASSERT_EQ(delegate->chosen.size(), 1U);
  EXPECT_EQ(delegate->chosen[0].path(), docs + "/Projects/Plans");

  picker->cancelButton()->tap();
  testing::runMainUntilIdle();
  EXPECT_FALSE(root->presentedViewController());
  EXPECT_EQ(delegate->chosen.size(), 1U);
}

}  // namespace
}  // namespace velune::platform
