// The fixed colours of Settings.

#include "app/Settings.h"
#include "platform/ui/Color.h"

namespace velune {

ui::Color Settings::backgroundColor() { return ui::Color::white(); }

ui::Color Settings::statusLabelColor() { return ui::Color::black(); }

}  // namespace velune
