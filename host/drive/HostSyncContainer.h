#pragma once
// HostSyncContainer: a container of the simulated drive, from its declaration
// in containers.json (or a folder found on disk).

#include <memory>

#include "host/drive/ContainerRegistry.h"
#include "host/drive/Drive.h"
#include "platform/SyncContainer.h"

namespace velune::host {

class HostSyncContainer final : public platform::SyncContainer {
 public:
  HostSyncContainer(std::shared_ptr<const ContainerDeclaration> declaration, std::shared_ptr<Drive> drive);

  const std::string& identifier() const override { return declaration_->identifier; }
  const std::string& localizedName() const override { return declaration_->localizedName; }
  std::optional<platform::URL> documentsURL() const override;
  const platform::Value& supportedFolderLevels() const override { return declaration_->folderDepth; }
  const platform::Value& documentTypes() const override { return declaration_->documentTypes; }
  std::optional<platform::Error> deleteAllContentsOnClientAndServer() override;
  std::string description() const override;

  std::string documentsPath() const;

 private:
  std::shared_ptr<const ContainerDeclaration> declaration_;
  std::shared_ptr<Drive> drive_;
};

}  // namespace velune::host
