#pragma once
// Layer: what a view shows beyond its subviews: corner radius, shadow,
// opacity, and sublayers (shape layers with paths). Every view has one; extra
// layers are added as sublayers of a view's layer. Main thread only.

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/ui/BezierPath.h"
#include "platform/ui/Color.h"
#include "platform/ui/Element.h"
#include "platform/ui/Geometry.h"

namespace velune::ui {

class Layer : public Element {
 public:
  Layer();

  std::string_view kind() const override { return "Layer"; }

  // In the coordinates of the superlayer (a view's own layer: the view's bounds).
  Rect frame() const { return frame_; }
  void setFrame(Rect frame);

  double cornerRadius() const { return cornerRadius_; }
  void setCornerRadius(double radius);
  bool masksToBounds() const { return masksToBounds_; }
  void setMasksToBounds(bool masks);

  double opacity() const { return opacity_; }
  void setOpacity(double opacity);

  std::optional<Color> shadowColor() const { return shadowColor_; }
  void setShadowColor(std::optional<Color> color);
  double shadowOpacity() const { return shadowOpacity_; }
  void setShadowOpacity(double opacity);
  Size shadowOffset() const { return shadowOffset_; }
  void setShadowOffset(Size offset);
  double shadowRadius() const { return shadowRadius_; }
  void setShadowRadius(double radius);

  // Depth among sibling layers: larger is drawn later (on top).
  double zPosition() const { return zPosition_; }
  void setZPosition(double z);

  const std::vector<std::shared_ptr<Layer>>& sublayers() const { return sublayers_; }
  void addSublayer(std::shared_ptr<Layer> layer);
  void removeFromSuperlayer();
  Layer* superlayer() const { return superlayer_; }

 protected:
  explicit Layer(std::string_view kind);

 private:
  Rect frame_;
  double cornerRadius_ = 0;
  bool masksToBounds_ = false;
  double opacity_ = 1;
  std::optional<Color> shadowColor_ = Color::black();
  double shadowOpacity_ = 0;  // no shadow until set
  Size shadowOffset_{0, -3};
  double shadowRadius_ = 3;
  double zPosition_ = 0;
  std::vector<std::shared_ptr<Layer>> sublayers_;
  Layer* superlayer_ = nullptr;  // the owner; cleared when removed
};

// ShapeLayer: a layer that draws a path, filled and/or stroked.
class ShapeLayer : public Layer {
 public:
  ShapeLayer();

  std::string_view kind() const override { return "ShapeLayer"; }

  const std::optional<BezierPath>& path() const { return path_; }
  void setPath(std::optional<BezierPath> path);
  // No colour: nothing is filled (or stroked).
  std::optional<Color> fillColor() const { return fillColor_; }
  void setFillColor(std::optional<Color> color);
  std::optional<Color> strokeColor() const { return strokeColor_; }
  void setStrokeColor(std::optional<Color> color);
  double lineWidth() const { return lineWidth_; }
  void setLineWidth(double width);

 private:
  std::optional<BezierPath> path_;
  std::optional<Color> fillColor_ = Color::black();
  std::optional<Color> strokeColor_;
  double lineWidth_ = 1;
};

}  // namespace velune::ui
