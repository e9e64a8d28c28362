#pragma once
// UnavailableViewController: the platform's screen that tells that cloud
// documents are unavailable (no account is signed in). A title and one line
// of explanation, centred; nothing to tap. Looked up by its class name
// ("UnavailableViewController") in ViewControllerClasses. Main thread only.

#include <memory>

#include "platform/ui/Label.h"
#include "platform/ui/ViewController.h"

namespace velune::platform {

class UnavailableViewController : public ui::ViewController {
 public:
  static constexpr const char* kClassName = "UnavailableViewController";

  UnavailableViewController();
  std::string_view kind() const override { return "UnavailableViewController"; }

  void loadView() override;
  // "<controller>.title" and "<controller>.message".
  ui::Label& titleLabel();
  ui::Label& messageLabel();

 private:
  std::shared_ptr<ui::Label> title_;
  std::shared_ptr<ui::Label> message_;
};

}  // namespace velune::platform
