#include "shell/ImageRegistry.h"

#include "platform/ui/Image.h"

namespace velune::shell {

ImageRegistry::ImageRegistry(std::string launchTag) : launchTag_(std::move(launchTag)) {}

std::string ImageRegistry::name(const std::shared_ptr<ui::Image>& image) {
  const std::lock_guard lock(mutex_);
  auto found = byImage_.find(image.get());
  if (found == byImage_.end()) {
    Entry entry;
    entry.image = image;
    entry.key = launchTag_ + "-" + std::to_string(nextSerial_++) + ".png";
    found = byImage_.emplace(image.get(), std::move(entry)).first;
    byKey_.emplace(found->second.key, image.get());
  }
  found->second.lastRound = round_;
  return kPathPrefix + found->second.key;
}

void ImageRegistry::beginRound() {
  const std::lock_guard lock(mutex_);
  ++round_;
  for (auto it = byImage_.begin(); it != byImage_.end();) {
    if (it->second.lastRound + 1 < round_) {
      byKey_.erase(it->second.key);
      it = byImage_.erase(it);
    } else {
      ++it;
    }
  }
}

std::optional<std::shared_ptr<const platform::Value::Data>> ImageRegistry::pngData(const std::string& key) {
  std::shared_ptr<ui::Image> image;
  {
    const std::lock_guard lock(mutex_);
    const auto byKey = byKey_.find(key);
    if (byKey == byKey_.end()) {
      return std::nullopt;
    }
    Entry& entry = byImage_.at(byKey->second);
    if (entry.png) {
      return entry.png;
    }
    image = entry.image;
  }
  // Encoded outside the lock: images are immutable and safe to share.
  auto encoded = image->pngData();
  if (!encoded.ok()) {
    return std::nullopt;
  }
  auto png = std::make_shared<const platform::Value::Data>(std::move(encoded.value()));
  const std::lock_guard lock(mutex_);
  if (const auto byKey = byKey_.find(key); byKey != byKey_.end()) {
    byImage_.at(byKey->second).png = png;
  }
  return png;
}

}  // namespace velune::shell
