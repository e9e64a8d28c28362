#include "model/FileTags.h"

#include <cmath>
#include <mutex>

#include "diag/DRLogging.h"
#include "model/vLDAppFileTagColors.h"
#include "platform/CloudKeyValueStore.h"
#include "platform/NotificationService.h"
#include "platform/Notifications.h"
#include "platform/Platform.h"
#include "platform/ui/BezierPath.h"
#include "platform/ui/GraphicsContext.h"
#include "platform/ui/Image.h"

namespace velune {

using platform::Value;

namespace {

constexpr std::string_view kTagDictionaryKey = "TroverTagDict";
constexpr std::string_view kTagDictionaryVersionKey = "TroverTagDictVersion";
constexpr std::string_view kTagsKey = "TroverTags";
constexpr std::uint64_t kTagDictionaryVersion = 2;
// Canvases are capped at this many pixels a side; blips past it would not show.
constexpr double kLargestCanvasPixels = 16384;

struct TagState {
  FileTags::TagColorMap colors;
  std::vector<std::string> tags;
};

// The shared dictionary: replaced whole by a reload, read by copying the
// pointer, so readers never see a map and a list from different reloads.
std::mutex stateMutex;
std::shared_ptr<const TagState> sharedState = std::make_shared<const TagState>();
std::once_flag subscribed;
// Owner of the notification's observation (for the process's lifetime).
const char kObserver = 0;

std::shared_ptr<const TagState> currentState() {
  std::call_once(subscribed, [] {
    if (const auto notifications = platform::Platform::services()->notifications) {
      notifications->addObserver(&kObserver, std::string(platform::kCloudKeyValueStoreDidChangeExternallyNotification),
                                 nullptr, [](const platform::Notification&) { FileTags::_tagColorsDidChange(); });
    }
    FileTags::_tagColorsDidChange();
  });
  std::lock_guard lock(stateMutex);
  return sharedState;
}

// The colour of one tag in a dictionary, without copying the map; nothing for
// a tag the dictionary does not know.
std::optional<ui::Color> colorForTag(const TagState& state, const std::string& tag) {
  const auto found = state.colors.find(tag);
  if (found == state.colors.end()) {
    return std::nullopt;
  }
  return found->second;
}

ui::Color floatColor(float r, float g, float b, float a) {
  return ui::Color::rgba(r, g, b, a);
}

ui::Color floatColor(const ui::Color& color) {
  return floatColor(static_cast<float>(color.r), static_cast<float>(color.g), static_cast<float>(color.b),
                    static_cast<float>(color.a));
}

}  // namespace

const std::array<ui::Color, 8>& FileTags::_tagBlipColors() {
  static const std::array<ui::Color, 8> colors = {
      floatColor(0.8F, 0.8F, 0.8F, 1.0F), floatColor(ui::Color::gray()),   floatColor(ui::Color::green()),
      floatColor(ui::Color::purple()),    floatColor(ui::Color::blue()),   floatColor(ui::Color::yellow()),
      floatColor(ui::Color::red()),       floatColor(ui::Color::orange()),
  };
  return colors;
}

void FileTags::_tagColorsDidChange() {
  const auto services = platform::Platform::services();
  Value dictionary = services->cloudKeyValueStore ? services->cloudKeyValueStore->objectForKey(kTagDictionaryKey)
                                                  : Value();
  if (!dictionary.isNull()) {
    const std::uint64_t version = dictionary[kTagDictionaryVersionKey].unsignedValue();
    if (version != kTagDictionaryVersion) {
      DRLOG(kLogDebug, "Trover tag dictionary has incorrect version (%lu, should be 2)", version);
      dictionary = Value();
    }
  }
  if (dictionary.isNull() || dictionary.count() == 0) {
    DRLOG(kLogWarning, "Trover tag dictionary is empty");
  }
  const auto& table = _tagBlipColors();
  auto state = std::make_shared<TagState>();
  if (const auto* entries = dictionary[kTagsKey].asArray()) {
    state->tags.reserve(entries->size());
    state->colors.reserve(entries->size());
    for (const Value& entry : *entries) {
      const auto* name = entry["n"].asString();
      if (name == nullptr) {
        continue;  // a tag is named by a text; anything else could never match an item's tag
      }
      const std::uint64_t number = entry["l"].unsignedValue();
      state->tags.push_back(*name);
      state->colors.insert_or_assign(*name, table[number < table.size() ? number : 0]);
    }
  }
  std::shared_ptr<const TagState> replaced = std::move(state);
  {
    std::lock_guard lock(stateMutex);
    sharedState.swap(replaced);
  }
  // The old dictionary is freed here, outside the lock, unless a reader still holds it.
  replaced.reset();
  if (services->notifications) {
    services->notifications->post(std::string(kFileTagsDidChangeNotification));
  }
}

FileTags::TagColorMap FileTags::tagColorsByTag() {
  return currentState()->colors;
}

std::vector<std::string> FileTags::allTags() {
  (void)tagColorsByTag();
  return currentState()->tags;
}

std::shared_ptr<ui::Image> FileTags::blipWithTag(const std::optional<std::string>& tag, ui::Size imageSize,
                                                 double blipHeight, ui::Point offset) {
  if (!tag) {
    return nullptr;
  }
  // A tag the dictionary does not know has no colour: nothing shows.
  const ui::Color color = colorForTag(*currentState(), *tag).value_or(ui::Color::clear());
  ui::GraphicsContext canvas(imageSize, 1.0);
  canvas.setFillColor(color);
  canvas.fill(ui::BezierPath::ovalInRect(ui::Rect(offset.x, offset.y, blipHeight, blipHeight)));
  return canvas.makeImage();
}

std::shared_ptr<ui::Image> FileTags::blipWithTags(const std::vector<std::string>& tags, double height, double scale) {
  if (tags.empty() || !(height > 0) || !std::isfinite(height)) {
    return nullptr;
  }
  const double step = height * 0.5;
  const double diameter = std::ceil(height);
  const double width = diameter + step * static_cast<double>(tags.size() - 1);
  ui::GraphicsContext canvas(ui::Size{width, diameter}, scale);
  // What the canvas can hold (it caps its pixels); blips past it are not drawn.
  const double visibleWidth = kLargestCanvasPixels / canvas.scale();
  const std::optional<ui::Color> white = ui::Color::whiteWithAlpha(1.0, 0.5);
  // One dictionary for the whole row: a reload on the store's thread while
  // the row is drawn must not give its blips colours of two dictionaries.
  const auto state = currentState();
  double x = 0;
  for (const auto& tag : tags) {
    if (x >= visibleWidth) {
      break;
    }
    const std::optional<ui::Color> color = colorForTag(*state, tag);
    auto circle = ui::BezierPath::ovalInRect(ui::Rect(x, 0, diameter, diameter).insetBy(0.5, 0.5));
    circle.setLineWidth(1.0);
    canvas.setFillColor(color.value_or(ui::Color::clear()));
    canvas.fill(circle);
    // A lighter rim; a tag without a colour has none.
    canvas.setStrokeColor(color ? _colorBlendedWithColor(*color, white) : ui::Color::clear());
    canvas.stroke(circle);
    x += step;
  }
  return canvas.makeImage();
}

}  // namespace velune
