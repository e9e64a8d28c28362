#include "platform/ui/Layer.h"

#include <algorithm>

#include "platform/MainThread.h"
#include "platform/ui/ModelChanges.h"

namespace velune::ui {

Layer::Layer() : Layer("Layer") {}

Layer::Layer(std::string_view kind) : Element(kind) {}

void Layer::setFrame(Rect frame) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  frame_ = frame;
}

void Layer::setCornerRadius(double radius) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  cornerRadius_ = radius;
}

void Layer::setMasksToBounds(bool masks) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  masksToBounds_ = masks;
}

void Layer::setOpacity(double opacity) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  opacity_ = std::clamp(opacity, 0.0, 1.0);
}

void Layer::setShadowColor(std::optional<Color> color) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  shadowColor_ = color;
}

void Layer::setShadowOpacity(double opacity) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  shadowOpacity_ = std::clamp(opacity, 0.0, 1.0);
}

void Layer::setShadowOffset(Size offset) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  shadowOffset_ = offset;
}

void Layer::setShadowRadius(double radius) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  shadowRadius_ = radius;
}

void Layer::setZPosition(double z) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  zPosition_ = z;
}

void Layer::addSublayer(std::shared_ptr<Layer> layer) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  if (!layer || layer.get() == this) {
    return;
  }
  layer->removeFromSuperlayer();
  layer->superlayer_ = this;
  sublayers_.push_back(std::move(layer));
}

void Layer::removeFromSuperlayer() {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  if (superlayer_ == nullptr) {
    return;
  }
  auto& siblings = superlayer_->sublayers_;
  superlayer_ = nullptr;
  // Keep this layer alive until it is out of the list (the list may hold the last reference).
  std::shared_ptr<Layer> keep;
  for (auto it = siblings.begin(); it != siblings.end(); ++it) {
    if (it->get() == this) {
      keep = *it;
      siblings.erase(it);
      break;
    }
  }
}

ShapeLayer::ShapeLayer() : Layer("ShapeLayer") {}

void ShapeLayer::setPath(std::optional<BezierPath> path) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  path_ = std::move(path);
}

void ShapeLayer::setFillColor(std::optional<Color> color) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  fillColor_ = color;
}

void ShapeLayer::setStrokeColor(std::optional<Color> color) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  strokeColor_ = color;
}

void ShapeLayer::setLineWidth(double width) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  lineWidth_ = width;
}

}  // namespace velune::ui
