#pragma once
// PreviewNavController: a navigation stack with no behaviour of its own,
// kept for pages that want a stack of their own around a preview. Nothing in
// the app makes one today. Main thread only.

#include "platform/ui/NavigationStackController.h"

namespace velune {

class PreviewNavController final : public ui::NavigationStackController {
 public:
  std::string_view kind() const override { return "PreviewNavController"; }
  void viewDidLoad() override;
  void didReceiveMemoryWarning();
};

}  // namespace velune
