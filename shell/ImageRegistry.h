#pragma once
// ImageRegistry: names the images of the UI model for the page. A snapshot
// refers to an image by a path ("/api/image/<launch>-<n>.png"); the page
// fetches it from the server, which encodes the image as PNG once.
//
// An image keeps its name while it lives (images are immutable), so a page
// caches it for good; the launch part keeps names of different runs apart.
// The registry holds the images of the snapshots it has named recently (the
// current and the previous round) so that a page that is one snapshot behind
// still finds them, and lets go of the rest.
//
// name() and beginRound(): main thread (the snapshot writer). pngData():
// any thread (the server). Thread-safe.

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

#include "platform/Value.h"

namespace velune::ui {
class Image;
}

namespace velune::shell {

class ImageRegistry {
 public:
  explicit ImageRegistry(std::string launchTag);

  // The path under which the page fetches the image.
  std::string name(const std::shared_ptr<ui::Image>& image);
  // Starts a new round of naming: images named in neither this nor the last
  // round are let go.
  void beginRound();

  // The PNG bytes of a named image (encoded on first request), or nothing for
  // a name that is unknown or let go. `key` is the last path component.
  std::optional<std::shared_ptr<const platform::Value::Data>> pngData(const std::string& key);

  static constexpr const char* kPathPrefix = "/api/image/";

 private:
  struct Entry {
    std::shared_ptr<ui::Image> image;
    std::string key;
    std::uint64_t lastRound = 0;
    std::shared_ptr<const platform::Value::Data> png;
  };

  const std::string launchTag_;
  std::mutex mutex_;
  std::unordered_map<const ui::Image*, Entry> byImage_;
  std::unordered_map<std::string, const ui::Image*> byKey_;
  std::uint64_t round_ = 1;
  std::uint64_t nextSerial_ = 1;
};

}  // namespace velune::shell
