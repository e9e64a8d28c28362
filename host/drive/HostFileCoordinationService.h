#pragma once
// HostFileCoordinationService: the simulated phone's file coordination. Makes
// HostFileCoordinators and keeps the presenters; once a presenter is
// registered, the drive is watched so that changes made by other processes
// (another device through vdtool, a shell) reach presenters too.

#include <memory>

#include "host/drive/CoordinationCore.h"
#include "platform/FileCoordinationService.h"

namespace velune::host {

class HostFileCoordinationService final : public platform::FileCoordinationService {
 public:
  // `drive` may be null: then nothing is watched and cloud-only documents are unknown.
  explicit HostFileCoordinationService(std::shared_ptr<Drive> drive);

  std::shared_ptr<platform::FileCoordinator> makeCoordinator(
      std::shared_ptr<platform::FilePresenter> filePresenter = nullptr) override;
  void addFilePresenter(const std::shared_ptr<platform::FilePresenter>& presenter) override;
  void removeFilePresenter(const platform::FilePresenter* presenter) override;
  std::vector<std::shared_ptr<platform::FilePresenter>> filePresenters() override;

  void setMaterializer(std::shared_ptr<PlaceholderMaterializer> materializer);
  // Returns once every change made to the drive before the call has been
  // told to presenters (their queues may still be running the notices).
  void waitUntilWatcherCaughtUp();
  CoordinationCore& core() { return *core_; }

 private:
  std::shared_ptr<CoordinationCore> core_;
};

}  // namespace velune::host
