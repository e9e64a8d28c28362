#pragma once
// Button: a control with a title and/or an image. Custom buttons show exactly
// their image and title; system buttons show their title in the tint colour
// with room around it. The intrinsic size is the content's size (system
// buttons add 6 points above and below the title).

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "platform/ui/Control.h"
#include "platform/ui/Font.h"

namespace velune::ui {

class Image;

enum class ButtonType { Custom = 0, System = 1 };
enum class ControlState { Normal, Highlighted, Disabled, Selected };

class Button : public Control {
 public:
  explicit Button(ButtonType type = ButtonType::Custom);
  static std::shared_ptr<Button> buttonWithType(ButtonType type) { return std::make_shared<Button>(type); }

  std::string_view kind() const override { return "Button"; }

  ButtonType buttonType() const { return type_; }

  // The state's own title, else the normal one.
  std::optional<std::string> titleForState(ControlState state) const;
  void setTitle(std::optional<std::string> title, ControlState state);
  // The title shown now (disabled buttons show the disabled title when set).
  std::optional<std::string> currentTitle() const;
  std::shared_ptr<Image> imageForState(ControlState state) const;
  void setImage(std::shared_ptr<Image> image, ControlState state);
  std::shared_ptr<Image> currentImage() const;

  const Font& titleFont() const { return titleFont_; }
  void setTitleFont(Font font);
  std::optional<Color> titleColor() const { return titleColor_; }
  void setTitleColor(std::optional<Color> color);

  Size intrinsicContentSize() const override;
  Size sizeThatFits(Size size) const override;
  void setEnabled(bool enabled) override;
  bool drawsContent() const override { return true; }
  void drawRect(GraphicsContext& context, Rect rect) override;

 private:
  ControlState currentState() const;

  ButtonType type_;
  std::map<ControlState, std::string> titles_;
  std::map<ControlState, std::shared_ptr<Image>> images_;
  Font titleFont_ = Font::systemFontOfSize(17);
  std::optional<Color> titleColor_;
};

}  // namespace velune::ui
