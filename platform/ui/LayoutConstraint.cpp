#include "platform/ui/LayoutConstraint.h"

#include <algorithm>

#include "platform/Format.h"
#include "platform/MainThread.h"
#include "platform/ui/ModelChanges.h"

namespace velune::ui {

const char* layoutAttributeName(LayoutAttribute attribute) {
  switch (attribute) {
    case LayoutAttribute::NotAnAttribute:
      return "notAnAttribute";
    case LayoutAttribute::Left:
      return "left";
    case LayoutAttribute::Right:
      return "right";
    case LayoutAttribute::Top:
      return "top";
    case LayoutAttribute::Bottom:
      return "bottom";
    case LayoutAttribute::Leading:
      return "leading";
    case LayoutAttribute::Trailing:
      return "trailing";
    case LayoutAttribute::Width:
      return "width";
    case LayoutAttribute::Height:
      return "height";
    case LayoutAttribute::CenterX:
      return "centerX";
    case LayoutAttribute::CenterY:
      return "centerY";
    case LayoutAttribute::FirstBaseline:
      return "firstBaseline";
    case LayoutAttribute::LastBaseline:
      return "lastBaseline";
  }
  return "?";
}

LayoutConstraint::LayoutConstraint(const std::shared_ptr<View>& first, LayoutAttribute firstAttribute,
                                   LayoutRelation relation, const std::shared_ptr<View>& second,
                                   LayoutAttribute secondAttribute, double multiplier, double constant)
    : Element("Constraint"),
      first_(first),
      second_(second),
      hasSecond_(second != nullptr && secondAttribute != LayoutAttribute::NotAnAttribute),
      firstAttribute_(firstAttribute),
      secondAttribute_(hasSecond_ ? secondAttribute : LayoutAttribute::NotAnAttribute),
      relation_(relation),
      multiplier_(multiplier),
      constant_(constant) {}

std::shared_ptr<LayoutConstraint> LayoutConstraint::make(const std::shared_ptr<View>& first,
                                                         LayoutAttribute firstAttribute, LayoutRelation relation,
                                                         const std::shared_ptr<View>& second,
                                                         LayoutAttribute secondAttribute, double multiplier,
                                                         double constant) {
  return std::make_shared<LayoutConstraint>(first, firstAttribute, relation, second, secondAttribute, multiplier,
                                            constant);
}

std::shared_ptr<LayoutConstraint> LayoutConstraint::equal(const std::shared_ptr<View>& first, LayoutAttribute a,
                                                          const std::shared_ptr<View>& second, LayoutAttribute b,
                                                          double constant, double multiplier) {
  return make(first, a, LayoutRelation::Equal, second, b, multiplier, constant);
}

std::shared_ptr<LayoutConstraint> LayoutConstraint::lessOrEqual(const std::shared_ptr<View>& first, LayoutAttribute a,
                                                                const std::shared_ptr<View>& second,
                                                                LayoutAttribute b, double constant,
                                                                double multiplier) {
  return make(first, a, LayoutRelation::LessThanOrEqual, second, b, multiplier, constant);
}

std::shared_ptr<LayoutConstraint> LayoutConstraint::greaterOrEqual(const std::shared_ptr<View>& first,
                                                                   LayoutAttribute a,
                                                                   const std::shared_ptr<View>& second,
                                                                   LayoutAttribute b, double constant,
                                                                   double multiplier) {
  return make(first, a, LayoutRelation::GreaterThanOrEqual, second, b, multiplier, constant);
}

std::shared_ptr<LayoutConstraint> LayoutConstraint::fixed(const std::shared_ptr<View>& first, LayoutAttribute a,
                                                          double constant) {
  return make(first, a, LayoutRelation::Equal, nullptr, LayoutAttribute::NotAnAttribute, 1, constant);
}

void LayoutConstraint::activateConstraints(const std::vector<std::shared_ptr<LayoutConstraint>>& constraints) {
  for (const auto& constraint : constraints) {
    if (constraint) {
      constraint->setActive(true);
    }
  }
}

void LayoutConstraint::deactivateConstraints(const std::vector<std::shared_ptr<LayoutConstraint>>& constraints) {
  for (const auto& constraint : constraints) {
    if (constraint) {
      constraint->setActive(false);
    }
  }
}

void LayoutConstraint::setActive(bool active) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  if (active == active_) {
    return;
  }
  auto first = firstItem();
  auto second = secondItem();
  if (active) {
    if (!first) {
      return;  // nothing to constrain
    }
    active_ = true;
    auto self = shared_from_this();
    first->attachConstraint(self);
    if (second && second != first) {
      second->attachConstraint(self);
    }
  } else {
    active_ = false;
    auto self = shared_from_this();  // the items' lists may hold the last references
    if (first) {
      first->detachConstraint(this);
    }
    if (second) {
      second->detachConstraint(this);
    }
  }
}

void LayoutConstraint::itemsNeedLayout() const {
  if (!active_) {
    return;
  }
  if (auto first = firstItem()) {
    first->markTreeNeedsLayout();
  }
  if (auto second = secondItem()) {
    second->markTreeNeedsLayout();
  }
}

void LayoutConstraint::setConstant(double constant) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  if (constant_ != constant) {
    constant_ = constant;
    itemsNeedLayout();
  }
}

void LayoutConstraint::setPriority(LayoutPriority priority) {
  VELUNE_ASSERT_MAIN_THREAD();
  ModelChanges::noteChanged();
  priority_ = std::clamp(priority, 1.0F, kLayoutPriorityRequired);
  itemsNeedLayout();
}

std::string LayoutConstraint::description() const {
  const char* relation = relation_ == LayoutRelation::Equal ? "==" : relation_ == LayoutRelation::LessThanOrEqual ? "<=" : ">=";
  auto first = firstItem();
  std::string text = platform::format("%@.%s %s ", first ? first->identifier() : std::string("(gone)"),
                                      layoutAttributeName(firstAttribute_), relation);
  if (hasSecond_) {
    auto second = secondItem();
    text += platform::format("%g*%@.%s + %g", multiplier_, second ? second->identifier() : std::string("(gone)"),
                             layoutAttributeName(secondAttribute_), constant_);
  } else {
    text += platform::format("%g", constant_);
  }
  if (priority_ < kLayoutPriorityRequired) {
    text += platform::format(" @%g", static_cast<double>(priority_));
  }
  return "<" + identifier() + " " + text + ">";
}

}  // namespace velune::ui
