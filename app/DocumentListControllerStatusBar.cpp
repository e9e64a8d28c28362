#include "app/DocumentListControllerStatusBar.h"

#include "app/Settings.h"
#include "platform/Format.h"
#include "platform/ui/BarButtonItem.h"
#include "platform/ui/Color.h"
#include "platform/ui/Label.h"

namespace velune {

void DocumentListControllerStatusBar::createStatusBar() {
  statusLabel_ = std::make_shared<ui::Label>();
  statusLabel_->setIdentifier(statusLabel_->identifier() + ".status");
  statusLabel_->setTextColor(Settings::statusLabelColor());
  statusLabel_->setFont(ui::Font::preferredFontForTextStyle(ui::TextStyle::Footnote));
  const auto space = ui::BarButtonItem::withSystemItem(ui::BarButtonSystemItem::FlexibleSpace);
  toolbarItems_ = {space, ui::BarButtonItem::withCustomView(statusLabel_), space};
}

std::string DocumentListControllerStatusBar::description() const {
  return platform::format("<DocumentListControllerStatusBar label=%@>", statusLabel_);
}

}  // namespace velune
