#pragma once
// Error: the platform's error record. A domain, an integer code, optional user
// information, and the localised texts that the user is shown.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Value.h"

namespace velune::platform {

// The platform's general error domain, and the domain of raw POSIX errors.
inline constexpr std::string_view kPlatformErrorDomain = "PlatformErrorDomain";
inline constexpr std::string_view kPOSIXErrorDomain = "POSIXErrorDomain";

// Keys of an error's user information.
inline constexpr std::string_view kLocalizedDescriptionKey = "LocalizedDescription";
inline constexpr std::string_view kLocalizedFailureReasonKey = "LocalizedFailureReason";
inline constexpr std::string_view kUnderlyingErrorKey = "UnderlyingError";
inline constexpr std::string_view kFilePathErrorKey = "FilePath";

// Codes of the general domain that the system makes or tests.
namespace ErrorCode {
inline constexpr std::int64_t FileNoSuchFile = 4;
inline constexpr std::int64_t FileLocking = 255;
inline constexpr std::int64_t FileReadUnknown = 256;
inline constexpr std::int64_t FileReadNoPermission = 257;
inline constexpr std::int64_t FileReadInvalidFileName = 258;
inline constexpr std::int64_t FileReadCorruptFile = 259;
inline constexpr std::int64_t FileReadNoSuchFile = 260;
inline constexpr std::int64_t FileWriteUnknown = 512;
inline constexpr std::int64_t FileWriteNoPermission = 513;
inline constexpr std::int64_t FileWriteInvalidFileName = 514;
inline constexpr std::int64_t FileWriteFileExists = 516;
inline constexpr std::int64_t FileWriteOutOfSpace = 640;
inline constexpr std::int64_t FileWriteVolumeReadOnly = 642;
inline constexpr std::int64_t UserCancelled = 3072;
inline constexpr std::int64_t FeatureUnsupported = 3328;
inline constexpr std::int64_t CloudFileUnavailable = 4353;
inline constexpr std::int64_t CloudServerNotAvailable = 4355;
}  // namespace ErrorCode

class Error {
 public:
  Error(std::string domain, std::int64_t code, Value::Dictionary userInfo = {});

  // An error of the general domain.
  static Error platform(std::int64_t code, Value::Dictionary userInfo = {});
  // A POSIX error with the text of the C library.
  static Error posix(int errorNumber);
  // A file operation's errno as the general domain's code for it (no such
  // file, no permission, out of space, file exists...), with the POSIX error
  // as underlying error and the path in the user information.
  static Error fromErrno(int errorNumber, std::string_view path, bool writing);

  const std::string& domain() const { return domain_; }
  std::int64_t code() const { return code_; }
  const Value::Dictionary& userInfo() const { return userInfo_; }

  // The text for the user: the user information's description, else the
  // standard text of a known code of the general or POSIX domain, else nothing.
  std::optional<std::string> localizedDescription() const;
  std::optional<std::string> localizedFailureReason() const;
  const Error* underlyingError() const;

  // "Error Domain=D Code=N "text" UserInfo={...}", as the log shows errors.
  std::string description() const;

  bool operator==(const Error& other) const;

 private:
  std::string domain_;
  std::int64_t code_;
  Value::Dictionary userInfo_;
};

}  // namespace velune::platform
