#pragma once
// LayoutConstraint: one linear rule of the layout, as data:
//
//   first.attribute  (== | <= | >=)  multiplier × second.attribute + constant
//
// with a priority (1000 is required) and an active flag. The items are held
// weakly; an active constraint is kept alive by the views it involves, and a
// constraint whose item has gone is ignored. Activating a constraint whose
// items are in different trees is allowed; the layout pass ignores it until
// they share a tree.
//
// constraintsWithVisualFormat() understands the visual format language:
//   "H:|[a]-10-[b]|"  "V:|[a]"  "[a(==b)]"  "[a(>=20@750)]"  "|-(8)-[a]"
// Names refer to the `views` dictionary, numbers may be names of `metrics`.
// A standard space ("-" alone) is 8 points between views and 20 to an edge.
// Main thread only.

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Result.h"
#include "platform/ui/Element.h"
#include "platform/ui/View.h"

namespace velune::ui {

enum class LayoutAttribute {
  NotAnAttribute = 0,
  Left,
  Right,
  Top,
  Bottom,
  Leading,
  Trailing,
  Width,
  Height,
  CenterX,
  CenterY,
  FirstBaseline,
  LastBaseline,
};

enum class LayoutRelation { LessThanOrEqual = -1, Equal = 0, GreaterThanOrEqual = 1 };

class LayoutConstraint : public Element, public std::enable_shared_from_this<LayoutConstraint> {
 public:
  using ViewMap = std::map<std::string, std::shared_ptr<View>, std::less<>>;
  using MetricMap = std::map<std::string, double, std::less<>>;

  // A constant-only rule (first.attribute rel constant) has no second item.
  static std::shared_ptr<LayoutConstraint> make(const std::shared_ptr<View>& first, LayoutAttribute firstAttribute,
                                                LayoutRelation relation, const std::shared_ptr<View>& second,
                                                LayoutAttribute secondAttribute, double multiplier, double constant);
  // Shorthands: first.a == second.b × multiplier + constant, and so on.
  static std::shared_ptr<LayoutConstraint> equal(const std::shared_ptr<View>& first, LayoutAttribute a,
                                                 const std::shared_ptr<View>& second, LayoutAttribute b,
                                                 double constant = 0, double multiplier = 1);
  static std::shared_ptr<LayoutConstraint> lessOrEqual(const std::shared_ptr<View>& first, LayoutAttribute a,
                                                       const std::shared_ptr<View>& second, LayoutAttribute b,
                                                       double constant = 0, double multiplier = 1);
  static std::shared_ptr<LayoutConstraint> greaterOrEqual(const std::shared_ptr<View>& first, LayoutAttribute a,
                                                          const std::shared_ptr<View>& second, LayoutAttribute b,
                                                          double constant = 0, double multiplier = 1);
  // first.a == constant (a width or a height).
  static std::shared_ptr<LayoutConstraint> fixed(const std::shared_ptr<View>& first, LayoutAttribute a,
                                                 double constant);

  static platform::Result<std::vector<std::shared_ptr<LayoutConstraint>>> constraintsWithVisualFormat(
      std::string_view format, const MetricMap& metrics, const ViewMap& views);

  static void activateConstraints(const std::vector<std::shared_ptr<LayoutConstraint>>& constraints);
  static void deactivateConstraints(const std::vector<std::shared_ptr<LayoutConstraint>>& constraints);

  std::string_view kind() const override { return "Constraint"; }

  std::shared_ptr<View> firstItem() const { return first_.lock(); }
  std::shared_ptr<View> secondItem() const { return second_.lock(); }
  bool hasSecondItem() const { return hasSecond_; }
  LayoutAttribute firstAttribute() const { return firstAttribute_; }
  LayoutAttribute secondAttribute() const { return secondAttribute_; }
  LayoutRelation relation() const { return relation_; }
  double multiplier() const { return multiplier_; }
  double constant() const { return constant_; }
  void setConstant(double constant);
  LayoutPriority priority() const { return priority_; }
  void setPriority(LayoutPriority priority);
  bool isActive() const { return active_; }
  void setActive(bool active);

  std::string description() const;

  LayoutConstraint(const std::shared_ptr<View>& first, LayoutAttribute firstAttribute, LayoutRelation relation,
                   const std::shared_ptr<View>& second, LayoutAttribute secondAttribute, double multiplier,
                   double constant);

 private:
  void itemsNeedLayout() const;

  std::weak_ptr<View> first_;
  std::weak_ptr<View> second_;
  bool hasSecond_;
  LayoutAttribute firstAttribute_;
  LayoutAttribute secondAttribute_;
  LayoutRelation relation_;
  double multiplier_;
  double constant_;
  LayoutPriority priority_ = kLayoutPriorityRequired;
  bool active_ = false;
};

const char* layoutAttributeName(LayoutAttribute attribute);

}  // namespace velune::ui
