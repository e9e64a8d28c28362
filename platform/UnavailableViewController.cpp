#include "platform/UnavailableViewController.h"

#include "platform/Localization.h"
#include "platform/ui/Font.h"
#include "platform/ui/Screen.h"

namespace velune::platform {

UnavailableViewController::UnavailableViewController() : ui::ViewController("UnavailableViewController") {
  setTitle(localized("Velune Drive Is Unavailable"));
}

void UnavailableViewController::loadView() {
  const auto screen = ui::Screen::mainScreen();
  auto container = ui::View::make(screen ? screen->bounds() : ui::Rect(0, 0, 390, 844));
  container->setIdentifier(identifier() + ".view");
  container->setBackgroundColor(ui::Color::white());
  const ui::Rect b = container->bounds();
  title_ = ui::Label::make(localized("Velune Drive Is Unavailable"));
  title_->setIdentifier(identifier() + ".title");
  title_->setFont(ui::Font::boldSystemFontOfSize(22));
  title_->setTextAlignment(ui::TextAlignment::Center);
  title_->setFrame(ui::Rect(20, b.height() / 2 - 40, b.width() - 40, 30));
  title_->setAutoresizingMask(ui::Autoresizing::FlexibleWidth | ui::Autoresizing::FlexibleTopMargin |
                              ui::Autoresizing::FlexibleBottomMargin);
  message_ = ui::Label::make(localized("Sign in to your account in Settings to see your documents."));
  message_->setIdentifier(identifier() + ".message");
  message_->setNumberOfLines(0);
  message_->setTextAlignment(ui::TextAlignment::Center);
  message_->setFrame(ui::Rect(20, b.height() / 2, b.width() - 40, 50));
  message_->setAutoresizingMask(ui::Autoresizing::FlexibleWidth | ui::Autoresizing::FlexibleTopMargin |
                                ui::Autoresizing::FlexibleBottomMargin);
  container->addSubview(title_);
  container->addSubview(message_);
  setView(container);
}

ui::Label& UnavailableViewController::titleLabel() {
  loadViewIfNeeded();
  return *title_;
}

ui::Label& UnavailableViewController::messageLabel() {
  loadViewIfNeeded();
  return *message_;
}

}  // namespace velune::platform
