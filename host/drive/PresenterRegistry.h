#pragma once
// PresenterRegistry: the registered FilePresenters of the process, and the
// notices they are sent when an item changes, moves or is deleted. Each
// notice goes to the presenter's own operation queue (or a serial queue of the
// registry); the registry holds presenters weakly and skips those that are
// gone. Thread-safe.
//
// Who hears what, for a change at path P:
//   changed  P        presenters of P: presentedItemDidChange;
//                     presenters of a folder above P: presentedSubitemDidChangeAtURL(P)
//   moved    P → Q    presenters of P or of anything inside it: presentedItemDidMoveToURL
//                     (with the new place of what they present)
//   deleted  P        presenters of P or inside it: accommodatePresentedItemDeletion;
//                     presenters above P: accommodatePresentedSubitemDeletionAtURL(P)

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/FilePresenter.h"

namespace velune::platform {
class DispatchQueue;
}

namespace velune::host {

class PresenterRegistry {
 public:
  // How long a coordinated deletion waits for presenters to accommodate it.
  static constexpr std::chrono::seconds kAccommodationTimeout{10};

  PresenterRegistry();

  void add(const std::shared_ptr<platform::FilePresenter>& presenter);
  void remove(const platform::FilePresenter* presenter);
  std::vector<std::shared_ptr<platform::FilePresenter>> all();
  bool isEmpty();

  void itemChanged(const std::string& path, const platform::FilePresenter* excluding);
  void itemMoved(const std::string& from, const std::string& to, const platform::FilePresenter* excluding);
  // With `waitForPresenters`, returns once every presenter told has called its
  // completion handler, or once kAccommodationTimeout has passed on the
  // platform's clock (logging a warning); blocks the calling thread meanwhile.
  void itemDeleted(const std::string& path, const platform::FilePresenter* excluding, bool waitForPresenters);
  // After lost file system notices: every presenter hears that its item changed.
  void everythingChanged();

  // The logical path a presenter presents (normal), or nothing.
  static std::optional<std::string> presentedPath(const platform::FilePresenter& presenter);

 private:
  struct Entry {
    std::weak_ptr<platform::FilePresenter> presenter;
    const platform::FilePresenter* identity;
  };
  struct Presented {
    std::shared_ptr<platform::FilePresenter> presenter;
    std::string path;
  };
  // The registered presenters but `excluding`, with what they present.
  std::vector<Presented> presentedPaths(const platform::FilePresenter* excluding);
  void deliver(const std::shared_ptr<platform::FilePresenter>& presenter,
               std::function<void(platform::FilePresenter&)> notice, std::function<void()> ifGone = {});

  std::mutex mutex_;
  std::vector<Entry> entries_;
  std::shared_ptr<platform::DispatchQueue> fallbackQueue_;
};

}  // namespace velune::host
