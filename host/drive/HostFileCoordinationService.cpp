#include "host/drive/HostFileCoordinationService.h"

#include "host/drive/HostFileCoordinator.h"

namespace velune::host {

HostFileCoordinationService::HostFileCoordinationService(std::shared_ptr<Drive> drive)
    : core_(std::make_shared<CoordinationCore>(std::move(drive))) {}

std::shared_ptr<platform::FileCoordinator> HostFileCoordinationService::makeCoordinator(
    std::shared_ptr<platform::FilePresenter> filePresenter) {
  return std::make_shared<HostFileCoordinator>(core_, std::move(filePresenter));
}

void HostFileCoordinationService::addFilePresenter(const std::shared_ptr<platform::FilePresenter>& presenter) {
  core_->presenters().add(presenter);
  core_->startWatching();
}

void HostFileCoordinationService::removeFilePresenter(const platform::FilePresenter* presenter) {
  core_->presenters().remove(presenter);
}

std::vector<std::shared_ptr<platform::FilePresenter>> HostFileCoordinationService::filePresenters() {
  return core_->presenters().all();
}

void HostFileCoordinationService::setMaterializer(std::shared_ptr<PlaceholderMaterializer> materializer) {
  core_->setMaterializer(std::move(materializer));
}

void HostFileCoordinationService::waitUntilWatcherCaughtUp() {
  core_->waitUntilWatcherCaughtUp();
}

}  // namespace velune::host
