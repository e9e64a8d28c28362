#include "preview/PreviewNavController.h"

namespace velune {

void PreviewNavController::viewDidLoad() { ui::NavigationStackController::viewDidLoad(); }

void PreviewNavController::didReceiveMemoryWarning() {}

}  // namespace velune
