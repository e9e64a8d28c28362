// The name prompts, driven as a person drives them: typing into the field,
// tapping Done or Cancel, pressing return; checked on the alert, its buttons
// and its error line.

#include <gtest/gtest.h>

#include "diag/DRLogging.h"
#include "model/NewFolderPrompt.h"
#include "model/RenamePrompt.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/Label.h"
#include "tests/support/LogLines.h"
#include "tests/support/UITestSupport.h"
#include "views/SimpleTextViewController.h"

namespace velune {
namespace {

class FilenamePromptTest : public testing::UITestCase {
 protected:
  void SetUp() override {
    UITestCase::SetUp();
    DRSetLogLevel(7);
    root_ = std::make_shared<ui::ViewController>();
    window_ = testing::showInWindow(root_);
  }
  void present(const FilenamePrompt& prompt) {
    ASSERT_TRUE(root_->presentViewController(prompt.alert(), true));
    testing::runMainUntilIdle();
  }
  bool shown(const FilenamePrompt& prompt) const { return root_->presentedViewController() == prompt.alert(); }
  static ui::TextField& field(const FilenamePrompt& prompt) { return *prompt.alert()->textFields().front(); }
  static std::optional<std::string> errorLine(const FilenamePrompt& prompt) {
    const auto& controller = prompt.errMsgViewController();
    if (controller->view()->isHidden()) {
      return std::nullopt;
    }
    return controller->messageLabel()->text();
  }

  std::shared_ptr<ui::ViewController> root_;
  std::shared_ptr<ui::Window> window_;
};

TEST_F(FilenamePromptTest, Opening_NewFolderIsEmptyAndRenameStartsWithTheName) {
  const auto folder = NewFolderPrompt::newWithTitle("New Folder", std::nullopt, nullptr);
  EXPECT_EQ(folder->alert()->alertTitle(), "New Folder");
  EXPECT_EQ(folder->alert()->message(), "Enter a name for this folder.");
  EXPECT_EQ(field(*folder).text(), "");
  EXPECT_EQ(field(*folder).placeholder(), "Folder Name");
  EXPECT_FALSE(folder->defaultAction()->isEnabled());
  EXPECT_EQ(folder->defaultAction()->title(), "Done");  // a missing Done text
  EXPECT_FALSE(errorLine(*folder));
  // Cancel first, in the default style, then Done.
  ASSERT_EQ(folder->alert()->actions().size(), 2U);
  EXPECT_EQ(folder->alert()->actions()[0]->title(), "Cancel");
  EXPECT_EQ(folder->alert()->actions()[0]->style(), ui::AlertActionStyle::Default);
  EXPECT_EQ(folder->alert()->actions()[1], folder->defaultAction());

  const auto rename = RenamePrompt::newWithFilename("Report.pdf", nullptr);
  EXPECT_EQ(rename->alert()->alertTitle(), "Rename Item");
  EXPECT_EQ(rename->alert()->message(), "Enter a new name for this item.");
  EXPECT_EQ(field(*rename).text(), "Report.pdf");
  EXPECT_EQ(field(*rename).placeholder(), "Report.pdf");
  EXPECT_TRUE(rename->defaultAction()->isEnabled());
  EXPECT_EQ(field(*rename).returnKeyType(), ui::ReturnKeyType::Done);
  EXPECT_TRUE(field(*rename).enablesReturnKeyAutomatically());
  EXPECT_EQ(field(*rename).clearButtonMode(), ui::TextFieldViewMode::WhileEditing);
  EXPECT_EQ(field(*rename).autocapitalizationType(), ui::AutocapitalizationType::Words);
  EXPECT_EQ(field(*rename).autocorrectionType(), ui::AutocorrectionType::No);
}

TEST_F(FilenamePromptTest, Typing_ChecksTheNameAndEnablesDoneOnlyForAValidOne) {
  const auto prompt = RenamePrompt::newWithFilename("Notes.txt", nullptr);
  present(*prompt);
  field(*prompt).typeText(".hidden");
  EXPECT_EQ(errorLine(*prompt), "Choose a different name.");
  EXPECT_FALSE(prompt->defaultAction()->isEnabled());
  for (const char* bad : {"a/b", "a:b"}) {
    field(*prompt).typeText(bad);
    EXPECT_EQ(errorLine(*prompt), "Character not allowed in filename") << bad;
    EXPECT_FALSE(prompt->defaultAction()->isEnabled());
  }
  field(*prompt).typeText("Fine name");
  EXPECT_FALSE(errorLine(*prompt));
  EXPECT_TRUE(prompt->defaultAction()->isEnabled());
  // Blanks only count as empty: no message, Done disabled.
  field(*prompt).typeText(" \t\u2028 ");
  EXPECT_FALSE(errorLine(*prompt));
  EXPECT_FALSE(prompt->defaultAction()->isEnabled());
  // Tapping the disabled Done does nothing.
  EXPECT_FALSE(prompt->alert()->tapAction(prompt->defaultAction()));
  EXPECT_TRUE(shown(*prompt));
}

TEST_F(FilenamePromptTest, Done_HandsOverTheTrimmedNameAndStaysOpenWhenRefused) {
  std::vector<std::string> received;
  bool allow = false;
  const auto prompt = RenamePrompt::newWithFilename("Old.txt", [&](const std::string& name, bool& mayClose) {
    received.push_back(name);
    mayClose = allow;
    return allow ? std::optional<std::string>() : std::optional<std::string>("The name is taken.");
  });
  present(*prompt);
  field(*prompt).typeText("  New name.txt \n");
  EXPECT_TRUE(prompt->alert()->tapAction(prompt->defaultAction()));
  testing::runMainUntilIdle();
  EXPECT_EQ(received, std::vector<std::string>{"New name.txt"});
  EXPECT_TRUE(shown(*prompt));
  EXPECT_EQ(errorLine(*prompt), "The name is taken.");
  // A later valid edit clears the message.
  field(*prompt).typeText("Newer.txt");
  EXPECT_FALSE(errorLine(*prompt));

  // The return key does what Done does, and closes the alert itself when allowed.
  allow = true;
  testing::clearLogs();
  EXPECT_TRUE(field(*prompt).pressReturn());
  testing::runMainUntilIdle();
  EXPECT_EQ(received.back(), "Newer.txt");
  EXPECT_FALSE(shown(*prompt));
  EXPECT_EQ(testing::countOf("textFieldShouldReturn"), 1U);
}

TEST_F(FilenamePromptTest, Cancel_ClosesWithoutTheCallbackAndInvalidNamesNeverReachIt) {
  int calls = 0;
  const auto prompt = RenamePrompt::newWithFilename("Old.txt", [&](const std::string&, bool& mayClose) {
    ++calls;
    mayClose = true;
    return std::optional<std::string>();
  });
  present(*prompt);
  field(*prompt).typeText("a/b");
  EXPECT_FALSE(prompt->handleDoneAction());
  EXPECT_FALSE(field(*prompt).pressReturn());
  EXPECT_EQ(calls, 0);
  EXPECT_TRUE(prompt->alert()->tapAction(prompt->alert()->actions()[0]));
  testing::runMainUntilIdle();
  EXPECT_FALSE(shown(*prompt));
  EXPECT_EQ(calls, 0);
}

// Names of 255 bytes in scripts of two, three and four bytes a character,
// between blanks of other scripts (an ideographic space, a no-break space, a
// line separator): the blanks go, and every byte of the name reaches the
// callback, not cut inside a character.
TEST_F(FilenamePromptTest, Done_HandsOverNamesOf255BytesInAnyScriptWhole) {
  const auto ofLength255 = [](const std::string& unit) {
    std::string name;
    while (name.size() + unit.size() <= 255) {
      name += unit;
    }
    return name + std::string(255 - name.size(), 'a');
  };
  std::vector<std::string> received;
  const auto prompt = NewFolderPrompt::newWithTitle("New Folder", std::nullopt,
                                                    [&](const std::string& name, bool& mayClose) {
                                                      received.push_back(name);
                                                      mayClose = false;
                                                      return std::optional<std::string>();
                                                    });
  present(*prompt);
  const std::vector<std::string> names = {ofLength255("\u6587"), ofLength255("\u0628"), ofLength255("\U0001F600"),
                                          ofLength255("e\u0301"), ofLength255("\u0928\u092E\u0938\u094D")};
  for (const auto& name : names) {
    SCOPED_TRACE(name.substr(0, 12));
    field(*prompt).typeText("\u3000\u00A0" + name + "\u2028 ");
    EXPECT_FALSE(errorLine(*prompt));
    EXPECT_TRUE(prompt->defaultAction()->isEnabled());
    EXPECT_TRUE(prompt->alert()->tapAction(prompt->defaultAction()));
    testing::runMainUntilIdle();
    ASSERT_FALSE(received.empty());
    EXPECT_EQ(received.back(), name);
    EXPECT_TRUE(shown(*prompt));
  }
  EXPECT_EQ(received.size(), names.size());
}

}  // namespace
}  // namespace velune
