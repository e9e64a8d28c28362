#include "shell/ScreenSnapshot.h"

#include <cmath>
#include <numbers>
#include <unordered_map>
#include <variant>

#include "host/HostAppRegistry.h"
#include "platform/DocumentPreviewView.h"
#include "platform/NetworkActivityIndicator.h"
#include "platform/Platform.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/BarButtonItem.h"
#include "platform/ui/Button.h"
#include "platform/ui/GraphicsContext.h"
#include "platform/ui/Image.h"
#include "platform/ui/ImageView.h"
#include "platform/ui/Label.h"
#include "platform/ui/Layer.h"
#include "platform/ui/ListView.h"
#include "platform/ui/ListViewCell.h"
#include "platform/ui/NavigationStackController.h"
#include "platform/ui/Screen.h"
#include "platform/ui/StackView.h"
#include "platform/ui/TextField.h"
#include "platform/ui/Window.h"
#include "shell/DriveFiles.h"
#include "shell/ImageRegistry.h"

namespace velune::shell {

using nlohmann::json;

namespace {

// Deeper trees than this are cut (a page could not draw them anyway).
constexpr int kMaxDepth = 96;

double rounded(double value) {
  if (!std::isfinite(value)) {
    return 0;
  }
  return std::round(value * 100) / 100;
}

json rectJson(ui::Rect rect) {
  return json::array({rounded(rect.minX()), rounded(rect.minY()), rounded(rect.width()), rounded(rect.height())});
}

std::string colorText(const ui::Color& color) { return color.hexString(); }

const char* systemItemName(ui::BarButtonSystemItem item) {
  switch (item) {
    case ui::BarButtonSystemItem::Done: return "done";
    case ui::BarButtonSystemItem::Cancel: return "cancel";
    case ui::BarButtonSystemItem::Edit: return "edit";
    case ui::BarButtonSystemItem::Save: return "save";
    case ui::BarButtonSystemItem::Add: return "add";
    case ui::BarButtonSystemItem::FlexibleSpace: return "flexibleSpace";
    case ui::BarButtonSystemItem::FixedSpace: return "fixedSpace";
    case ui::BarButtonSystemItem::Compose: return "compose";
    case ui::BarButtonSystemItem::Reply: return "reply";
    case ui::BarButtonSystemItem::Action: return "action";
    case ui::BarButtonSystemItem::Organize: return "organize";
    case ui::BarButtonSystemItem::Bookmarks: return "bookmarks";
    case ui::BarButtonSystemItem::Search: return "search";
    case ui::BarButtonSystemItem::Refresh: return "refresh";
    case ui::BarButtonSystemItem::Stop: return "stop";
    case ui::BarButtonSystemItem::Camera: return "camera";
    case ui::BarButtonSystemItem::Trash: return "trash";
  }
  return "unknown";
}

const char* alignmentName(ui::TextAlignment alignment) {
  switch (alignment) {
    case ui::TextAlignment::Center: return "center";
    case ui::TextAlignment::Right: return "right";
    case ui::TextAlignment::Justified: return "justify";
    case ui::TextAlignment::Natural:
    case ui::TextAlignment::Left: return "left";
  }
  return "left";
}

const char* contentModeName(ui::ContentMode mode) {
  switch (mode) {
    case ui::ContentMode::ScaleAspectFit: return "contain";
    case ui::ContentMode::ScaleAspectFill: return "cover";
    case ui::ContentMode::Center: return "none";
    case ui::ContentMode::ScaleToFill: return "fill";
  }
  return "fill";
}

json fontJson(const ui::Font& font) {
  json out{{"size", rounded(font.pointSize())}};
  if (font.weight() == ui::FontWeight::Bold) {
    out["bold"] = true;
  }
  return out;
}

// SVG path data of a path (arcs become SVG arcs, split in halves so that a
// full circle draws).
std::string svgPath(const ui::BezierPath& path) {
  std::string d;
  auto num = [](double v) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.2f", rounded(v));
    return std::string(buffer);
  };
  auto point = [&](double x, double y) { return num(x) + " " + num(y); };
  bool hasPoint = false;
  for (const auto& element : path.elements()) {
    if (const auto* move = std::get_if<ui::BezierPath::MoveTo>(&element)) {
      d += "M" + point(move->point.x, move->point.y);
      hasPoint = true;
    } else if (const auto* line = std::get_if<ui::BezierPath::LineTo>(&element)) {
      d += (hasPoint ? "L" : "M") + point(line->point.x, line->point.y);
      hasPoint = true;
    } else if (const auto* arc = std::get_if<ui::BezierPath::Arc>(&element)) {
      double sweep = arc->endAngle - arc->startAngle;
      if (arc->clockwise && sweep < 0) {
        sweep += 2 * std::numbers::pi * std::ceil(-sweep / (2 * std::numbers::pi));
      } else if (!arc->clockwise && sweep > 0) {
        sweep -= 2 * std::numbers::pi * std::ceil(sweep / (2 * std::numbers::pi));
      }
      sweep = std::clamp(sweep, -2 * std::numbers::pi, 2 * std::numbers::pi);
      const double r = arc->radius;
      const double sx = arc->center.x + r * std::cos(arc->startAngle);
      const double sy = arc->center.y + r * std::sin(arc->startAngle);
      d += (hasPoint ? "L" : "M") + point(sx, sy);
      hasPoint = true;
      const double mid = arc->startAngle + sweep / 2;
      const double end = arc->startAngle + sweep;
      const char* flag = sweep >= 0 ? " 0 0 1 " : " 0 0 0 ";
      for (const double to : {mid, end}) {
        d += "A" + num(r) + " " + num(r) + flag + point(arc->center.x + r * std::cos(to), arc->center.y + r * std::sin(to));
      }
    } else if (const auto* oval = std::get_if<ui::BezierPath::Oval>(&element)) {
      const ui::Rect rect = oval->rect;
      const double rx = rect.width() / 2;
      const double ry = rect.height() / 2;
      d += "M" + point(rect.maxX(), rect.midY());
      d += "A" + num(rx) + " " + num(ry) + " 0 0 1 " + point(rect.minX(), rect.midY());
      d += "A" + num(rx) + " " + num(ry) + " 0 0 1 " + point(rect.maxX(), rect.midY()) + "Z";
      hasPoint = true;
    } else if (std::holds_alternative<ui::BezierPath::Close>(element)) {
      d += "Z";
    }
  }
  return d;
}

class Writer {
 public:
  Writer(ImageRegistry& images, const std::string& documentRoot) : images_(images), documentRoot_(documentRoot) {}

  json window(const std::shared_ptr<ui::Window>& window) {
    if (auto root = window->rootViewController()) {
      indexControllers(root, nullptr);
    }
    return view(*window, 0);
  }

 private:
  struct ControllerInfo {
    ui::ViewController* controller = nullptr;
    ui::ViewController* presenter = nullptr;
  };

  // The controllers whose views are in the window, by view: the page marks
  // screens and draws presentations from them.
  void indexControllers(const std::shared_ptr<ui::ViewController>& controller, ui::ViewController* presenter) {
    if (controller->isViewLoaded()) {
      controllers_[controller->view().get()] = ControllerInfo{controller.get(), presenter};
    }
    for (const auto& child : controller->childViewControllers()) {
      indexControllers(child, nullptr);
    }
    if (auto presented = controller->presentedViewController()) {
      indexControllers(presented, controller.get());
    }
  }

  std::string image(const std::shared_ptr<ui::Image>& image) { return images_.name(image); }

  json imageJson(const std::shared_ptr<ui::Image>& img) {
    const ui::Size size = img->size();
    return json{{"src", image(img)}, {"width", rounded(size.width)}, {"height", rounded(size.height)}};
  }

  json barItem(const ui::BarButtonItem& item, std::optional<ui::Rect> frame) {
    json out{{"id", item.identifier()}};
    if (item.systemItem()) {
      out["system"] = systemItemName(*item.systemItem());
    }
    if (item.title()) {
      out["title"] = *item.title();
    }
    out["label"] = item.displayName();
    if (item.style() == ui::BarButtonItemStyle::Done) {
      out["done"] = true;
    }
    if (!item.isEnabled()) {
      out["enabled"] = false;
    }
    if (item.customView()) {
      out["view"] = item.customView()->identifier();
    }
    if (item.isSpace()) {
      out["space"] = true;
    } else if (item.isEnabled() && item.hasAction()) {
      out["actions"] = json::array({"tap"});
    }
    if (item.systemItem() == ui::BarButtonSystemItem::FixedSpace) {
      out["width"] = item.width() > 0 ? item.width() : 8;
    }
    if (frame) {
      out["frame"] = rectJson(*frame);
    }
    return out;
  }

  json items(const std::vector<std::shared_ptr<ui::BarButtonItem>>& list) {
    json out = json::array();
    for (const auto& item : list) {
      out.push_back(barItem(*item, std::nullopt));
    }
    return out;
  }

  void navigationBar(const ui::NavigationBar& bar, json& out) {
    ui::NavigationItem* item = bar.topItem();
    if (item == nullptr) {
      return;
    }
    if (item->title()) {
      out["title"] = *item->title();
    }
    out["left"] = item->leftBarButtonItem() ? items({item->leftBarButtonItem()}) : json::array();
    out["right"] = items(item->rightBarButtonItems());
    if (bar.showsBackButton()) {
      // The back button shows the title of the screen it goes back to.
      std::string backTitle = "Back";
      if (auto stack = navigationStackOf(bar)) {
        const auto& controllers = stack->viewControllers();
        if (controllers.size() >= 2) {
          const auto& previous = controllers[controllers.size() - 2];
          if (previous->navigationItem().title() && !previous->navigationItem().title()->empty()) {
            backTitle = *previous->navigationItem().title();
          }
        }
      }
      out["back"] = json{{"title", backTitle}};
      addAction(out, "back");
    }
  }

  ui::NavigationStackController* navigationStackOf(const ui::View& bar) {
    for (auto view = bar.superview(); view; view = view->superview()) {
      const auto found = controllers_.find(view.get());
      if (found != controllers_.end()) {
        return dynamic_cast<ui::NavigationStackController*>(found->second.controller);
      }
    }
    return nullptr;
  }

  void toolbar(const ui::Toolbar& bar, json& out) {
    json list = json::array();
    const auto& frames = bar.itemFrames();
    for (size_t i = 0; i < bar.items().size(); ++i) {
      list.push_back(barItem(*bar.items()[i], i < frames.size() ? std::optional(frames[i]) : std::nullopt));
    }
    out["items"] = std::move(list);
  }

  static void addAction(json& out, const char* action) {
    if (!out.contains("actions")) {
      out["actions"] = json::array();
    }
    out["actions"].push_back(action);
  }

  static bool answersTap(const ui::View& view) {
    for (const auto& recognizer : view.gestureRecognizers()) {
      if (recognizer->isEnabled()) {
        return true;
      }
    }
    return false;
  }

  void presentation(const ControllerInfo& info, json& out) {
    json p{{"controller", info.controller->identifier()}, {"kind", std::string(info.controller->kind())}};
    const auto style = info.controller->modalPresentationStyle();
    p["style"] = style == ui::ModalPresentationStyle::Popover ? "popover"
                 : style == ui::ModalPresentationStyle::FormSheet || style == ui::ModalPresentationStyle::PageSheet
                     ? "sheet"
                     : "fullScreen";
    addAction(out, "dismiss");
    if (info.controller->hasPopoverPresentationController()) {
      auto& popover = info.controller->popoverPresentationController();
      json anchor;
      if (auto item = popover.barButtonItem()) {
        anchor["item"] = item->identifier();
      }
      if (auto source = popover.sourceView()) {
        anchor["view"] = source->identifier();
        // In the window's coordinates, so the page can point at it.
        const ui::Rect rect = popover.sourceRect().isEmpty() ? source->bounds() : popover.sourceRect();
        anchor["rect"] = rectJson(source->convertRectToView(rect, nullptr));
      }
      anchor["arrows"] = popover.permittedArrowDirections();
      p["anchor"] = std::move(anchor);
    }
    if (const auto* alert = dynamic_cast<const ui::AlertController*>(info.controller)) {
      p["alert"] = alertJson(*alert);
    }
    out["presentation"] = std::move(p);
  }

  json alertJson(const ui::AlertController& alert) {
    json a{{"style", alert.preferredStyle() == ui::AlertControllerStyle::Alert ? "alert" : "actionSheet"}};
    if (alert.alertTitle()) {
      a["title"] = *alert.alertTitle();
    }
    if (alert.message()) {
      a["message"] = *alert.message();
    }
    json actions = json::array();
    const auto preferred = alert.preferredAction();
    for (size_t i = 0; i < alert.actions().size(); ++i) {
      const auto& action = alert.actions()[i];
      json entry{{"id", action->identifier()},
                 {"title", action->title()},
                 {"button", alert.identifier() + ".action." + std::to_string(i)},
                 {"style", action->style() == ui::AlertActionStyle::Cancel        ? "cancel"
                           : action->style() == ui::AlertActionStyle::Destructive ? "destructive"
                                                                                  : "default"}};
      if (!action->isEnabled()) {
        entry["enabled"] = false;
      } else {
        entry["actions"] = json::array({"choose"});
      }
      if (preferred == action) {
        entry["preferred"] = true;
      }
      actions.push_back(std::move(entry));
    }
    a["actions"] = std::move(actions);
    json fields = json::array();
    for (const auto& field : alert.textFields()) {
      fields.push_back(field->identifier());
    }
    a["fields"] = std::move(fields);
    if (alert.contentViewController() && alert.contentViewController()->isViewLoaded()) {
      a["content"] = alert.contentViewController()->view()->identifier();
    }
    return a;
  }

  json layers(const ui::Layer& layer) {
    json list = json::array();
    for (const auto& sub : layer.sublayers()) {
      json entry{{"id", sub->identifier()}, {"frame", rectJson(sub->frame())}};
      if (sub->opacity() < 1) {
        entry["alpha"] = rounded(sub->opacity());
      }
      if (const auto* shape = dynamic_cast<const ui::ShapeLayer*>(sub.get())) {
        if (shape->path()) {
          entry["path"] = svgPath(*shape->path());
        }
        if (shape->fillColor()) {
          entry["fill"] = colorText(*shape->fillColor());
        }
        if (shape->strokeColor()) {
          entry["stroke"] = colorText(*shape->strokeColor());
          entry["lineWidth"] = rounded(shape->lineWidth());
        }
      }
      if (!sub->sublayers().empty()) {
        entry["layers"] = layers(*sub);
      }
      list.push_back(std::move(entry));
    }
    return list;
  }

  json drawing(ui::View& view) {
    json ops = json::array();
    const ui::GraphicsContext* context = view.display();
    if (context == nullptr) {
      return ops;
    }
    for (const auto& op : context->operations()) {
      using Kind = ui::GraphicsContext::Operation::Kind;
      switch (op.kind) {
        case Kind::Fill:
          ops.push_back(json{{"fill", colorText(op.color)}, {"path", svgPath(op.path)}});
          break;
        case Kind::Stroke:
          ops.push_back(json{{"stroke", colorText(op.color)}, {"lineWidth", rounded(op.lineWidth)}, {"path", svgPath(op.path)}});
          break;
        case Kind::Text:
          ops.push_back(json{{"text", op.text}, {"color", colorText(op.color)}, {"rect", rectJson(op.rect)}});
          break;
        case Kind::Image:
          ops.push_back(json{{"imageRect", rectJson(op.rect)}});
          break;
      }
    }
    return ops;
  }

  json styledRuns(const ui::StyledText& text) {
    json runs = json::array();
    for (const auto& run : text.runs()) {
      json entry;
      if (run.attachment && run.attachment->image) {
        entry["image"] = imageJson(run.attachment->image);
        entry["bounds"] = rectJson(run.attachment->bounds);
      } else {
        entry["text"] = run.text;
      }
      if (run.attributes.font) {
        entry["font"] = fontJson(*run.attributes.font);
      }
      if (run.attributes.color) {
        entry["color"] = colorText(*run.attributes.color);
      }
      if (run.attributes.baselineOffset != 0) {
        entry["baseline"] = rounded(run.attributes.baselineOffset);
      }
      runs.push_back(std::move(entry));
    }
    return runs;
  }

  // The document of a preview as the page shows it with the browser's own
  // viewers: its path below the drive, the kind of viewer, the revision.
  json document(const platform::DocumentPreviewView& preview) {
    json out{{"revision", preview.revision()}, {"mediaPlayer", preview.wantsDefaultMediaPlayer()}};
    const auto& url = preview.documentURL();
    if (!url || documentRoot_.empty()) {
      out["viewer"] = "none";
      return out;
    }
    const std::string path = url->path();
    if (path.size() <= documentRoot_.size() + 1 || path.compare(0, documentRoot_.size(), documentRoot_) != 0 ||
        path[documentRoot_.size()] != '/') {
      out["viewer"] = "none";
      return out;
    }
    const std::string name = url->lastPathComponent();
    bool inlineView = false;
    const std::string type = DriveFiles::contentTypeFor(name, &inlineView);
    std::string viewer = "none";
    if (inlineView) {
      if (type.rfind("image/", 0) == 0) {
        viewer = "image";
      } else if (type == "application/pdf") {
        viewer = "pdf";
      } else if (type.rfind("text/", 0) == 0) {
        viewer = "text";
      } else if (type.rfind("audio/", 0) == 0) {
        viewer = "audio";
      } else if (type.rfind("video/", 0) == 0) {
        viewer = "video";
      }
    }
    out["path"] = path.substr(documentRoot_.size() + 1);
    out["name"] = name;
    out["viewer"] = viewer;
    return out;
  }

  json view(ui::View& v, int depth) {
    json out{{"id", v.identifier()}, {"kind", std::string(v.kind())}, {"frame", rectJson(v.frame())}};
    if (v.isHidden()) {
      out["hidden"] = true;
      return out;  // nothing of a hidden view shows, nor takes input
    }
    if (v.alpha() < 1) {
      out["alpha"] = rounded(v.alpha());
    }
    if (v.backgroundColor() && v.backgroundColor()->a > 0) {
      out["bg"] = colorText(*v.backgroundColor());
    }
    if (v.layer().cornerRadius() > 0) {
      out["radius"] = rounded(v.layer().cornerRadius());
    }
    if (v.layer().masksToBounds()) {
      out["clips"] = true;
    }
    if (!v.isUserInteractionEnabled()) {
      out["inert"] = true;
    }
    std::optional<std::string> label = v.accessibilityLabel();

    if (auto* textLabel = dynamic_cast<ui::Label*>(&v)) {
      out["text"] = textLabel->text();
      if (textLabel->styledText()) {
        out["runs"] = styledRuns(*textLabel->styledText());
      }
      out["font"] = fontJson(textLabel->font());
      out["color"] = colorText(textLabel->textColor());
      out["align"] = alignmentName(textLabel->textAlignment());
      out["lines"] = textLabel->numberOfLines();
      if (!label && !textLabel->text().empty()) {
        label = textLabel->text();
      }
    } else if (auto* button = dynamic_cast<ui::Button*>(&v)) {
      if (auto title = button->currentTitle()) {
        out["title"] = *title;
        if (!label) {
          label = *title;
        }
      }
      if (auto img = button->currentImage()) {
        out["image"] = imageJson(img);
      }
      out["font"] = fontJson(button->titleFont());
      out["color"] = colorText(button->titleColor().value_or(
          button->buttonType() == ui::ButtonType::System ? v.tintColor().value_or(ui::Color::systemBlue())
                                                         : ui::Color::black()));
      out["buttonType"] = button->buttonType() == ui::ButtonType::System ? "system" : "custom";
    } else if (auto* imageView = dynamic_cast<ui::ImageView*>(&v)) {
      if (imageView->image()) {
        out["image"] = imageJson(imageView->image());
      }
      out["contentMode"] = contentModeName(imageView->contentMode());
    } else if (auto* field = dynamic_cast<ui::TextField*>(&v)) {
      out["text"] = field->text();
      if (field->placeholder()) {
        out["placeholder"] = *field->placeholder();
        if (!label) {
          label = *field->placeholder();
        }
      }
      out["font"] = fontJson(field->font());
      if (field->isEditing()) {
        out["editing"] = true;
      }
      if (!field->isReturnKeyEnabled()) {
        out["returnDisabled"] = true;
      }
    } else if (auto* stack = dynamic_cast<ui::StackView*>(&v)) {
      out["axis"] = stack->axis() == ui::Axis::Vertical ? "vertical" : "horizontal";
    } else if (auto* bar = dynamic_cast<ui::NavigationBar*>(&v)) {
      navigationBar(*bar, out);
    } else if (auto* toolbarView = dynamic_cast<ui::Toolbar*>(&v)) {
      toolbar(*toolbarView, out);
    } else if (auto* list = dynamic_cast<ui::ListView*>(&v)) {
      // Only the rows that have cells are children; the rest is numbers.
      out["rowCount"] = list->numberOfRows();
      out["scrollOffset"] = rounded(list->scrollOffset());
      out["contentHeight"] = rounded(list->contentHeight());
      if (list->isEditing()) {
        out["editing"] = true;
      }
      out["clips"] = true;
      if (v.isUserInteractionEnabled()) {
        addAction(out, "scroll");
      }
    } else if (auto* preview = dynamic_cast<platform::DocumentPreviewView*>(&v)) {
      out["document"] = document(*preview);
    } else if (auto* cell = dynamic_cast<ui::ListViewCell*>(&v)) {
      if (cell->row()) {
        out["row"] = *cell->row();
      }
      if (cell->isChecked()) {
        out["selected"] = true;
      }
      if (v.isUserInteractionEnabled() && cell->row()) {
        addAction(out, "tap");
        addAction(out, "swipe");
      }
    } else if (v.drawsContent()) {
      out["drawing"] = drawing(v);
    }

    if (auto* control = dynamic_cast<ui::Control*>(&v)) {
      if (!control->isEnabled()) {
        out["enabled"] = false;
      }
      if (control->isSelected()) {
        out["selected"] = true;
      }
      if (control->isEnabled() && v.isUserInteractionEnabled()) {
        if (dynamic_cast<ui::TextField*>(&v) != nullptr) {
          addAction(out, "tap");
          addAction(out, "type");
          addAction(out, "return");
        } else {
          addAction(out, "tap");
        }
      }
    } else if (answersTap(v) && v.isUserInteractionEnabled()) {
      addAction(out, "tap");
    }
    if (label) {
      out["label"] = *label;
    }
    if (!v.layer().sublayers().empty()) {
      out["layers"] = layers(v.layer());
    }
    if (const auto found = controllers_.find(&v); found != controllers_.end()) {
      out["controller"] = found->second.controller->identifier();
      if (found->second.presenter != nullptr) {
        presentation(found->second, out);
      }
    }
    if (!v.subviews().empty()) {
      json children = json::array();
      if (depth < kMaxDepth) {
        for (const auto& child : v.subviews()) {
          children.push_back(view(*child, depth + 1));
        }
      }
      out["children"] = std::move(children);
    }
    return out;
  }

  ImageRegistry& images_;
  const std::string& documentRoot_;
  std::unordered_map<const ui::View*, ControllerInfo> controllers_;
};

const char* orientationName(ui::InterfaceOrientation orientation) {
  return ui::isLandscape(orientation) ? "landscape" : "portrait";
}

}  // namespace

json ScreenSnapshot::make(const std::shared_ptr<ui::Window>& window, std::uint64_t generation, ImageRegistry& images,
                          const std::string& documentRoot) {
  images.beginRound();
  json out{{"format", kFormat}, {"generation", generation}};
  std::shared_ptr<ui::Screen> screen = window ? window->screen() : ui::Screen::mainScreen();
  if (screen) {
    const ui::Rect bounds = screen->bounds();
    out["screen"] = json{{"width", rounded(bounds.width())},
                         {"height", rounded(bounds.height())},
                         {"scale", rounded(screen->scale())},
                         {"idiom", screen->idiom() == ui::UserInterfaceIdiom::Tablet ? "tablet" : "phone"},
                         {"orientation", orientationName(screen->interfaceOrientation())},
                         {"statusBar", rectJson(screen->statusBarFrame())}};
  }
  const auto indicator = platform::Platform::services()->networkActivityIndicator;
  out["networkActivity"] = indicator && indicator->isNetworkActivityIndicatorVisible();
  if (const auto apps = std::dynamic_pointer_cast<host::HostAppRegistry>(platform::Platform::services()->apps)) {
    const auto opened = apps->openedDocuments();
    if (!opened.empty()) {
      out["opened"] = json{{"sequence", opened.back().sequence},
                           {"name", opened.back().url.lastPathComponent()},
                           {"app", opened.back().applicationName}};
    }
  }
  if (window) {
    window->layoutIfNeeded();
    out["window"] = Writer(images, documentRoot).window(window);
  } else {
    out["window"] = nullptr;
  }
  return out;
}

std::string ScreenSnapshot::text(const std::shared_ptr<ui::Window>& window, std::uint64_t generation,
                                 ImageRegistry& images, const std::string& documentRoot) {
  // Invalid UTF-8 in a text of the model becomes U+FFFD instead of an exception.
  return make(window, generation, images, documentRoot).dump(-1, ' ', false, json::error_handler_t::replace);
}

}  // namespace velune::shell
