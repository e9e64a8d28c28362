#pragma once
// QuotaService: the free storage of the signed-in user's cloud account.
//
// One kind of request: the user's quota, for one database of a cloud
// container, with a priority class and a cellular-access flag. A submitted
// request completes exactly once, on a queue of the service (never inside
// submit()), with the bytes still available or an error. The service holds
// the completion until then; a completion that must not keep its owner alive
// holds it weakly.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Error.h"
#include "platform/QualityOfService.h"

namespace velune::platform {

// Errors of the service (besides the general domain's
// ErrorCode::CloudServerNotAvailable when the device is offline).
inline constexpr std::string_view kQuotaErrorDomain = "QuotaErrorDomain";
namespace QuotaErrorCode {
// No account is signed in.
inline constexpr std::int64_t NotAuthenticated = 1;
// The request names a container or database that the account does not have.
inline constexpr std::int64_t UnknownContainer = 2;
// The only network is cellular and the request does not allow it.
inline constexpr std::int64_t CellularAccessDenied = 3;
// The service could not count what the account stores.
inline constexpr std::int64_t StorageUnreadable = 4;
}  // namespace QuotaErrorCode

enum class QuotaDatabaseScope { Private, Shared, Public };

struct QuotaRequest {
  // The container whose database is asked; QuotaService::cloudDocumentsContainerIdentifier()
  // for the container that keeps the user's drive.
  std::string containerIdentifier;
  QuotaDatabaseScope databaseScope = QuotaDatabaseScope::Private;
  QualityOfService qualityOfService = QualityOfService::Utility;
  bool allowsCellularAccess = true;
};

class QuotaService {
 public:
  using Completion = std::function<void(std::uint64_t bytesAvailable, std::optional<Error> error)>;

  virtual ~QuotaService() = default;

  // The identifier of the container that the cloud-documents service uses for
  // the user's drive.
  virtual std::string cloudDocumentsContainerIdentifier() const = 0;
  virtual void submit(QuotaRequest request, Completion completion) = 0;
};

}  // namespace velune::platform
