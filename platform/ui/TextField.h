#pragma once
// TextField: one line of editable text. A person's edits come through
// typeText() (the whole new text, as after a keystroke): it sends
// EditingChanged. Setting `text` from code sends nothing, as on the platform.
// pressReturn() is the return key: it asks the delegate and answers what the
// delegate answers (nothing happens while the key is disabled).

#include <memory>
#include <optional>
#include <string>

#include "platform/ui/Control.h"
#include "platform/ui/Font.h"

namespace velune::ui {

class TextField;

class TextFieldDelegate {
 public:
  virtual ~TextFieldDelegate() = default;
  virtual bool textFieldShouldBeginEditing(TextField&) { return true; }
  virtual void textFieldDidBeginEditing(TextField&) {}
  virtual void textFieldDidEndEditing(TextField&) {}
  virtual bool textFieldShouldReturn(TextField&) { return true; }
};

enum class TextFieldViewMode { Never, WhileEditing, UnlessEditing, Always };
enum class ReturnKeyType { Default, Go, Next, Search, Send, Done };
enum class AutocapitalizationType { None, Words, Sentences, AllCharacters };
enum class AutocorrectionType { Default, No, Yes };

class TextField : public Control {
 public:
  explicit TextField(Rect frame = Rect());

  std::string_view kind() const override { return "TextField"; }

  const std::string& text() const { return text_; }
  void setText(std::string text);
  const std::optional<std::string>& placeholder() const { return placeholder_; }
  void setPlaceholder(std::optional<std::string> placeholder);
  const Font& font() const { return font_; }
  void setFont(Font font);

  std::shared_ptr<TextFieldDelegate> delegate() const { return delegate_.lock(); }
  void setDelegate(std::weak_ptr<TextFieldDelegate> delegate) { delegate_ = std::move(delegate); }

  TextFieldViewMode clearButtonMode() const { return clearButtonMode_; }
  void setClearButtonMode(TextFieldViewMode mode) { clearButtonMode_ = mode; }
  ReturnKeyType returnKeyType() const { return returnKeyType_; }
  void setReturnKeyType(ReturnKeyType type) { returnKeyType_ = type; }
  bool enablesReturnKeyAutomatically() const { return enablesReturnKeyAutomatically_; }
  void setEnablesReturnKeyAutomatically(bool enables) { enablesReturnKeyAutomatically_ = enables; }
  AutocapitalizationType autocapitalizationType() const { return autocapitalization_; }
  void setAutocapitalizationType(AutocapitalizationType type) { autocapitalization_ = type; }
  AutocorrectionType autocorrectionType() const { return autocorrection_; }
  void setAutocorrectionType(AutocorrectionType type) { autocorrection_ = type; }

  bool isEditing() const { return editing_; }
  bool becomeFirstResponder();
  void resignFirstResponder();
  // Whether the clear button shows now.
  bool showsClearButton() const;
  bool isReturnKeyEnabled() const;

  // A person's edit: the field's whole new text. Begins editing when needed.
  void typeText(const std::string& text);
  // A person's press on the return key; false when nothing handled it.
  bool pressReturn();

  Size intrinsicContentSize() const override;
  bool tap() override;

 private:
  std::string text_;
  std::optional<std::string> placeholder_;
  Font font_ = Font::systemFontOfSize(17);
  std::weak_ptr<TextFieldDelegate> delegate_;
  TextFieldViewMode clearButtonMode_ = TextFieldViewMode::Never;
  ReturnKeyType returnKeyType_ = ReturnKeyType::Default;
  bool enablesReturnKeyAutomatically_ = false;
  AutocapitalizationType autocapitalization_ = AutocapitalizationType::Sentences;
  AutocorrectionType autocorrection_ = AutocorrectionType::Default;
  bool editing_ = false;
};

}  // namespace velune::ui
