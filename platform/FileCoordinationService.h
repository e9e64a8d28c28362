#pragma once
// FileCoordinationService: makes FileCoordinators and keeps the registered
// FilePresenters of the process (the platform's class-level operations of
// the coordinator). Callable from any thread.

#include <memory>
#include <vector>

namespace velune::platform {

class FileCoordinator;
class FilePresenter;

class FileCoordinationService {
 public:
  virtual ~FileCoordinationService() = default;

  // A coordinator; with a presenter, changes made through it are not told to
  // that presenter.
  virtual std::shared_ptr<FileCoordinator> makeCoordinator(std::shared_ptr<FilePresenter> filePresenter = nullptr) = 0;

  // The service holds presenters weakly; adding one twice keeps one entry.
  virtual void addFilePresenter(const std::shared_ptr<FilePresenter>& presenter) = 0;
  virtual void removeFilePresenter(const FilePresenter* presenter) = 0;
  virtual std::vector<std::shared_ptr<FilePresenter>> filePresenters() = 0;
};

}  // namespace velune::platform
