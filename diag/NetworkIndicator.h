#pragma once
// NetworkIndicator: shows the platform's NetworkActivityIndicator while at
// least one named activity runs.
//
// A set of identifiers, not a count: show() of an identifier that is already
// shown changes nothing, and one hide() removes it. show() and hide() may be
// called from any thread; each holds the indicator's lock for its test, its
// change of the set and its change of the platform's indicator, so the
// platform's indicator always matches the set.
//
// The process uses the one shared instance; tests make their own.

#include <mutex>
#include <set>
#include <string>

namespace velune {

// The identifier the preview shows while it downloads a document.
inline constexpr const char* kPreviewDownloadActivity = "PreviewDownload";

class NetworkIndicator {
 public:
  NetworkIndicator() = default;
  NetworkIndicator(const NetworkIndicator&) = delete;
  NetworkIndicator& operator=(const NetworkIndicator&) = delete;

  // The shared instance, made exactly once on first use.
  static NetworkIndicator& sharedNetworkIndicator();

  void show(const std::string& identifier);
  void hide(const std::string& identifier);

  bool isShowing(const std::string& identifier) const;

 private:
  mutable std::mutex _lock;
  std::set<std::string> _ids;
};

}  // namespace velune
