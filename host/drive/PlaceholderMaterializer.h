#pragma once
// PlaceholderMaterializer: what makes a cloud-only document present when a
// coordinated read needs its contents (a read without the metadata-only
// option). The sync engine that downloads from the cloud side implements it
// and is installed with HostFileCoordinationService::setMaterializer(); until
// one is installed such reads fail with ErrorCode::CloudFileUnavailable.
//
// materialize() runs on the reading thread, inside the read's claim on the
// item, and blocks until the document is present, the download failed
// (offline: ErrorCode::CloudServerNotAvailable) or `cancelled` was set by
// FileCoordinator::cancel() (then ErrorCode::UserCancelled). A materializer
// publishes its progress itself.

#include <optional>
#include <string>

#include "host/drive/CancellationFlag.h"
#include "platform/Error.h"

namespace velune::host {

class PlaceholderMaterializer {
 public:
  virtual ~PlaceholderMaterializer() = default;
  virtual std::optional<platform::Error> materialize(const std::string& logicalPath,
                                                     const CancellationFlag& cancelled) = 0;
};

}  // namespace velune::host
