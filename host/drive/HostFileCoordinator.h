#pragma once
// HostFileCoordinator: the simulated phone's FileCoordinator (see
// platform/FileCoordinator.h for the contract). Claims go through the
// CoordinationArbiter; writes tell the registered presenters (all but this
// coordinator's own) once the accessor has returned: a deletion before it, so
// that presenters can let go. Reads that need a cloud-only document's
// contents ask the CoordinationCore's materializer for it first.

#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "host/drive/CancellationFlag.h"
#include "host/drive/CoordinationCore.h"
#include "platform/FileCoordinator.h"

namespace velune::host {

class HostFileCoordinator final : public platform::FileCoordinator {
 public:
  HostFileCoordinator(std::shared_ptr<CoordinationCore> core, std::shared_ptr<platform::FilePresenter> presenter);

  std::optional<platform::Error> coordinateReadingItemAtURL(const platform::URL& url,
                                                            platform::FileCoordinatorReadingOptions options,
                                                            const Accessor& accessor) override;
  std::optional<platform::Error> coordinateWritingItemAtURL(const platform::URL& url,
                                                            platform::FileCoordinatorWritingOptions options,
                                                            const Accessor& accessor) override;
  std::optional<platform::Error> coordinateWritingItemAtURL(const platform::URL& url1,
                                                            platform::FileCoordinatorWritingOptions options1,
                                                            const platform::URL& url2,
                                                            platform::FileCoordinatorWritingOptions options2,
                                                            const TwoURLAccessor& accessor) override;
  void itemAtURLWillMoveToURL(const platform::URL& oldURL, const platform::URL& newURL) override;
  void cancel() override;
  std::shared_ptr<platform::FilePresenter> filePresenter() const override { return presenter_; }

 private:
  struct Target {
    platform::URL url;
    std::string path;
    platform::FileCoordinatorWritingOptions options = 0;
  };
  std::optional<platform::Error> write(std::vector<Target> targets,
                                       const std::function<void(const std::vector<platform::URL>&)>& accessor);
  std::vector<std::pair<std::string, std::string>> takeMoves();

  std::shared_ptr<CoordinationCore> core_;
  std::shared_ptr<platform::FilePresenter> presenter_;
  CancellationFlag cancelled_;
  std::mutex movesMutex_;
  std::vector<std::pair<std::thread::id, std::pair<std::string, std::string>>> moves_;
};

}  // namespace velune::host
