#include "platform/ui/TextField.h"

#include <algorithm>
#include <cmath>

#include "platform/MainThread.h"
#include "platform/ui/ModelChanges.h"

namespace velune::ui {

TextField::TextField(Rect frame) : Control(frame, "TextField") {}

void TextField::setText(std::string text) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  text_ = sanitizedUTF8(text);
  invalidateIntrinsicContentSize();
  setNeedsDisplay();
}

void TextField::setPlaceholder(std::optional<std::string> placeholder) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  placeholder_ = std::move(placeholder);
  invalidateIntrinsicContentSize();
}

void TextField::setFont(Font font) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  font_ = std::move(font);
  invalidateIntrinsicContentSize();
}

bool TextField::becomeFirstResponder() {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  if (editing_) {
    return true;
  }
  if (!isEnabled()) {
    return false;
  }
  auto keep = shared_from_this();
  if (auto d = delegate(); d && !d->textFieldShouldBeginEditing(*this)) {
    return false;
  }
  editing_ = true;
  if (auto d = delegate()) {
    d->textFieldDidBeginEditing(*this);
  }
  sendActionsForControlEvent(ControlEvent::EditingDidBegin);
  return true;
}

void TextField::resignFirstResponder() {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  if (!editing_) {
    return;
  }
  auto keep = shared_from_this();
  editing_ = false;
  if (auto d = delegate()) {
    d->textFieldDidEndEditing(*this);
  }
  sendActionsForControlEvent(ControlEvent::EditingDidEnd);
}

bool TextField::showsClearButton() const {
  if (text_.empty()) {
    return false;
  }
  switch (clearButtonMode_) {
    case TextFieldViewMode::Never:
      return false;
    case TextFieldViewMode::WhileEditing:
      return editing_;
    case TextFieldViewMode::UnlessEditing:
      return !editing_;
    case TextFieldViewMode::Always:
      return true;
  }
  return false;
}

bool TextField::isReturnKeyEnabled() const { return !(enablesReturnKeyAutomatically_ && text_.empty()); }

void TextField::typeText(const std::string& text) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  if (!isEnabled() || !acceptsInput()) {
    return;
  }
  if (!editing_ && !becomeFirstResponder()) {
    return;
  }
  setText(text);
  sendActionsForControlEvent(ControlEvent::EditingChanged);
}

bool TextField::pressReturn() {
  VELUNE_ASSERT_MAIN_THREAD();
  if (!editing_ || !isReturnKeyEnabled()) {
    return false;
  }
  auto keep = shared_from_this();
  bool result = true;
  if (auto d = delegate()) {
    result = d->textFieldShouldReturn(*this);
  }
  sendActionsForControlEvent(ControlEvent::EditingDidEndOnExit);
  return result;
}

Size TextField::intrinsicContentSize() const {
  const std::string& shown = text_.empty() ? placeholder_.value_or("") : text_;
  return Size{std::ceil(font_.widthOfText(shown)) + 14, std::ceil(font_.lineHeight()) + 8};
}

bool TextField::tap() {
  if (!isEnabled() || !acceptsInput()) {
    return false;
  }
  return becomeFirstResponder();
}

}  // namespace velune::ui
