#pragma once
// SimpleTextViewController: a screen with one red message label (at most five
// lines, footnote text style), inset 16 points on both sides, whose height is
// the label's. The name prompts put it under their text field to say why a
// name was refused. Main thread only.

#include <memory>

#include "platform/ui/Font.h"
#include "platform/ui/ViewController.h"

namespace velune::ui {
class Label;
}  // namespace velune::ui

namespace velune {

class SimpleTextViewController : public ui::ViewController {
 public:
  SimpleTextViewController();

  std::string_view kind() const override { return "SimpleTextViewController"; }

  void viewDidLoad() override;

  // The label (the view is loaded first when needed).
  const std::shared_ptr<ui::Label>& messageLabel();
  static ui::Font messageLabelFont();
  static double _labelHorizontalInsets() { return 16; }

 private:
  std::shared_ptr<ui::Label> messageLabel_;
};

}  // namespace velune
