#include "views/PreviewDetailsViewController.h"

#include "model/DRItem.h"
#include "model/LaunchUtils.h"
#include "model/RenamePrompt.h"
#include "platform/DispatchQueue.h"
#include "platform/Localization.h"
#include "platform/MainThread.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/Button.h"
#include "platform/ui/LayoutConstraint.h"
#include "platform/ui/StackView.h"
#include "preview/PreviewItemManager.h"
#include "views/ConstraintUtils.h"
#include "views/FileInfoStackView.h"
#include "views/HairlineView.h"
#include "views/ThumbnailImageView.h"
#include "views/UIUtils.h"

namespace velune {

using ui::Axis;
using ui::LayoutAttribute;
using ui::LayoutConstraint;
using ui::StackView;

namespace {

constexpr double kStackSpacing = 15;
constexpr double kFilenameSpacing = 7;
constexpr double kDetailsInset = 8;
constexpr double kFilenameFontSize = 24;
constexpr double kFilenameHeightFactor = 1.2;

ui::Font filenameFont() {
  return ui::Font::fontWithDescriptor(ui::FontDescriptor::preferredFontDescriptorWithTextStyle(ui::TextStyle::Title2),
                                      kFilenameFontSize);
}

// The leading edge of `view` at least the inset inside the details column's,
// its trailing edge at most the inset beyond the column's.
void insetWithin(const std::shared_ptr<ui::View>& view, const std::shared_ptr<ui::View>& column,
                 std::vector<std::shared_ptr<LayoutConstraint>>& rules) {
  rules.push_back(
      LayoutConstraint::greaterOrEqual(view, LayoutAttribute::Leading, column, LayoutAttribute::Leading, kDetailsInset));
  rules.push_back(
      LayoutConstraint::lessOrEqual(view, LayoutAttribute::Trailing, column, LayoutAttribute::Trailing, kDetailsInset));
}

}  // namespace

PreviewDetailsViewController::PreviewDetailsViewController()
    : PreviewBaseViewController("PreviewDetailsViewController") {}

void PreviewDetailsViewController::viewDidLoad() {
  PreviewBaseViewController::viewDidLoad();
  const auto manager = itemManager();
  const auto item = manager ? manager->item() : nullptr;
  if (item && !item->url().absoluteString().empty()) {
    if (const auto name = LaunchUtils::defaultAppNameForDocument(item->url(), true)) {
      openInAppButton_ = ui::Button::buttonWithType(ui::ButtonType::System);
      openInAppButton_->setIdentifier(identifier() + ".openIn");
      openInAppButton_->setTitle(platform::localizedFormat("Open in “%@”", *name), ui::ControlState::Normal);
    }
  }
  setupViewsAndConstraints();
}

std::shared_ptr<HairlineView> PreviewDetailsViewController::makeHairline() {
  auto hairline = HairlineView::init();
  hairline->setIdentifier(identifier() + ".hairline" + std::to_string(hairlineViews_.size() + 1));
  hairlineViews_.push_back(hairline);
  return hairline;
}

void PreviewDetailsViewController::setupViewsAndConstraints() {
  thumbnailView_ = ThumbnailImageView::initWithFrame(ui::Rect());
  thumbnailView_->setIdentifier(identifier() + ".thumbnail");
  for (const Axis axis : {Axis::Horizontal, Axis::Vertical}) {
    thumbnailView_->setContentHuggingPriority(249, axis);
    thumbnailView_->setContentCompressionResistancePriority(ui::kLayoutPriorityRequired, axis);
  }

  const auto top = makeHairline();
  const auto bottom = makeHairline();

  filenameTextField_ = ui::Label::make();
  filenameTextField_->setIdentifier(identifier() + ".filenameTextField");
  filenameTextField_->setNumberOfLines(1);
  // Just below required across: a name wider than the page (255 bytes of
  // wide letters) would otherwise contradict the required width rules and
  // the layout would drop one of those instead, pushing the whole column off
  // the page. At 999 the name is what gives way, cut with "…".
  filenameTextField_->setContentCompressionResistancePriority(ui::kLayoutPriorityRequired - 1, Axis::Horizontal);
  filenameTextField_->setContentCompressionResistancePriority(ui::kLayoutPriorityRequired, Axis::Vertical);
  filenameTextField_->setContentHuggingPriority(0, Axis::Horizontal);
  filenameTextField_->setUserInteractionEnabled(true);
  std::weak_ptr<ViewController> weakSelf = weak_from_this();
  filenameTextField_->addGestureRecognizer(std::make_shared<ui::TapGestureRecognizer>([weakSelf] {
    if (const auto self = std::static_pointer_cast<PreviewDetailsViewController>(weakSelf.lock())) {
      self->filenameWasTapped();
    }
  }));
  filenameTextField_->setFont(filenameFont());

  filenameStackView_ = buildVerticalStackWithSubviews({top, filenameTextField_, bottom}, kFilenameSpacing);
  filenameStackView_->setIdentifier(identifier() + ".filename");

  fileInfoView_ = FileInfoStackView::initWithFrame(ui::Rect());
  fileInfoView_->setIdentifier(identifier() + ".info");
  fileInfoView_->setAxis(Axis::Vertical);

  std::vector<std::shared_ptr<ui::View>> details = {filenameStackView_, fileInfoView_};
  const bool buttonInPage = shouldDisplayOpenInAppButtonInView();
  if (buttonInPage) {
    details.push_back(makeHairline());
    openInAppButton_->setTitleFont(filenameFont());
    openInAppButton_->addAction(ui::ControlEvent::TouchUpInside, [weakSelf](ui::Control&) {
      if (const auto self = std::static_pointer_cast<PreviewDetailsViewController>(weakSelf.lock())) {
        self->openInDefaultApp();
      }
    });
    openInAppButton_->setContentCompressionResistancePriority(ui::kLayoutPriorityRequired, Axis::Horizontal);
    openInAppButton_->setContentCompressionResistancePriority(ui::kLayoutPriorityRequired, Axis::Vertical);
    details.push_back(openInAppButton_);
  }
  fileDetailsView_ = buildVerticalStackWithSubviews(details, kStackSpacing);
  fileDetailsView_->setIdentifier(identifier() + ".details");
  fileDetailsView_->setDistribution(StackView::Distribution::Fill);

  mainStackView_ = buildVerticalStackWithSubviews({thumbnailView_, fileDetailsView_}, kStackSpacing);
  mainStackView_->setIdentifier(identifier() + ".main");
  wrapperView()->addSubview(mainStackView_);
  stretchSubview(mainStackView_, wrapperView());

  filenameTextFieldFullWidthConstraint_ =
      LayoutConstraint::equal(filenameTextField_, LayoutAttribute::Width, top, LayoutAttribute::Width);
  std::vector<std::shared_ptr<LayoutConstraint>> rules = {filenameTextFieldFullWidthConstraint_};
  insetWithin(filenameTextField_, fileDetailsView_, rules);
  insetWithin(fileInfoView_, fileDetailsView_, rules);
  rules.push_back(LayoutConstraint::fixed(filenameTextField_, LayoutAttribute::Height,
                                          kFilenameHeightFactor * filenameTextField_->font().lineHeight()));
  if (buttonInPage) {
    insetWithin(openInAppButton_, fileDetailsView_, rules);
  }
  LayoutConstraint::activateConstraints(rules);

  setupVerticalConstraints();
  setupHorizontalConstraints();
  adjustViewsForOrientation(currentPseudoOrientation());
}

bool PreviewDetailsViewController::shouldDisplayOpenInAppButtonInView() const {
  return openInAppButton_ && UIUtils::tabloMode();
}

std::shared_ptr<ui::Button> PreviewDetailsViewController::openInAppNavControllerButton() {
  return shouldDisplayOpenInAppButtonInView() ? nullptr : openInAppButton_;
}

std::shared_ptr<StackView> PreviewDetailsViewController::buildVerticalStackWithSubviews(
    const std::vector<std::shared_ptr<ui::View>>& views, double spacing) {
  auto stack = StackView::make(views);
  stack->setAxis(Axis::Vertical);
  stack->setDistribution(StackView::Distribution::Fill);
  stack->setAlignment(StackView::Alignment::Center);
  stack->setSpacing(spacing);
  stack->setContentHuggingPriority(ui::kLayoutPriorityRequired, Axis::Vertical);
  stack->setTranslatesAutoresizingMaskIntoConstraints(false);
  return stack;
}

void PreviewDetailsViewController::stretchSubview(const std::shared_ptr<ui::View>& view,
                                                  const std::shared_ptr<ui::View>& container) {
  LayoutConstraint::activateConstraints(ConstraintUtils::stretchSubviewConstraints(view, container));
}

std::vector<std::shared_ptr<LayoutConstraint>> PreviewDetailsViewController::stretchSubviewWidth(
    const std::shared_ptr<ui::View>& view, const std::shared_ptr<ui::View>& container) {
  return {
      LayoutConstraint::equal(view, LayoutAttribute::CenterX, container, LayoutAttribute::CenterX),
      LayoutConstraint::equal(view, LayoutAttribute::Leading, container, LayoutAttribute::Leading),
  };
}

void PreviewDetailsViewController::setupVerticalConstraints() {
  verticalConstraints_ = stretchSubviewWidth(fileDetailsView_, mainStackView_);
  for (const auto& hairline : hairlineViews_) {
    for (auto& rule : stretchSubviewWidth(hairline, view())) {
      verticalConstraints_.push_back(std::move(rule));
    }
  }
}

void PreviewDetailsViewController::setupHorizontalConstraints() {
  horizontalConstraints_ = {
      LayoutConstraint::equal(fileDetailsView_, LayoutAttribute::CenterY, mainStackView_, LayoutAttribute::CenterY),
      LayoutConstraint::lessOrEqual(fileDetailsView_, LayoutAttribute::Height, mainStackView_,
                                    LayoutAttribute::Height),
  };
  for (const auto& hairline : hairlineViews_) {
    horizontalConstraints_.push_back(
        LayoutConstraint::equal(hairline, LayoutAttribute::Leading, fileDetailsView_, LayoutAttribute::Leading));
    horizontalConstraints_.push_back(
        LayoutConstraint::equal(hairline, LayoutAttribute::Trailing, view(), LayoutAttribute::Trailing));
  }
}

void PreviewDetailsViewController::adjustViewsForOrientation(ui::InterfaceOrientation orientation) {
  if (ui::isLandscape(orientation)) {
    mainStackView_->setAxis(Axis::Horizontal);
    mainStackView_->setDistribution(StackView::Distribution::FillEqually);
    fileDetailsView_->setAlignment(StackView::Alignment::Leading);
    filenameStackView_->setAlignment(StackView::Alignment::Leading);
    filenameTextField_->setTextAlignment(ui::TextAlignment::Natural);
    LayoutConstraint::deactivateConstraints(verticalConstraints_);
    LayoutConstraint::activateConstraints(horizontalConstraints_);
  } else {
    mainStackView_->setAxis(Axis::Vertical);
    mainStackView_->setDistribution(StackView::Distribution::Fill);
    fileDetailsView_->setAlignment(StackView::Alignment::Center);
    filenameStackView_->setAlignment(StackView::Alignment::Center);
    filenameTextField_->setTextAlignment(ui::TextAlignment::Center);
    LayoutConstraint::deactivateConstraints(horizontalConstraints_);
    LayoutConstraint::activateConstraints(verticalConstraints_);
  }
}

void PreviewDetailsViewController::viewWillTransitionToSize(ui::Size size, ui::TransitionCoordinator& coordinator) {
  PreviewBaseViewController::viewWillTransitionToSize(size, coordinator);
  if (fileDetailsView_) {
    fileDetailsView_->invalidateIntrinsicContentSize();
  }
  std::weak_ptr<ViewController> weakSelf = weak_from_this();
  platform::DispatchQueue::main()->async([weakSelf, size] {
    const auto self = std::static_pointer_cast<PreviewDetailsViewController>(weakSelf.lock());
    if (!self || !self->mainStackView_) {
      return;
    }
    self->adjustViewsForOrientation(size.width > size.height ? ui::InterfaceOrientation::LandscapeRight
                                                             : ui::InterfaceOrientation::Portrait);
    self->configureMargins();
    self->refreshItem();
  });
}

void PreviewDetailsViewController::refreshItem() {
  PreviewBaseViewController::refreshItem();
  const auto manager = itemManager();
  const auto item = manager ? manager->item() : nullptr;
  if (!fileInfoView_) {
    return;
  }
  fileInfoView_->setItem(item);
  originalFilename_ = item ? item->localizedName() : std::nullopt;
  filenameTextField_->setText(originalFilename_.value_or(std::string()));
  thumbnailView_->setItem(item);
}

void PreviewDetailsViewController::filenameWasTapped() {
  VELUNE_ASSERT_MAIN_THREAD();
  const auto manager = itemManager();
  const auto item = manager ? manager->item() : nullptr;
  if (!item || !item->renameable()) {
    return;
  }
  const platform::URL url = item->url();
  renamePrompt_ = RenamePrompt::newWithFilename(
      item->localizedName().value_or(std::string()),
      [url](const std::string& name, bool& success) -> std::optional<std::string> {
        if (name.empty()) {
          success = false;
          return std::nullopt;
        }
        const auto error = UIUtils::renameItemAtURL(url, name);
        success = !error.has_value();
        return UIUtils::bestMessage(error);
      });
  presentViewController(renamePrompt_->alert(), true);
}

}  // namespace velune
