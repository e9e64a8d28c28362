#include "platform/Error.h"

#include <cerrno>
#include <cstring>

#include "platform/Format.h"
#include "platform/Localization.h"

namespace velune::platform {
namespace {

std::string fileNameFrom(const Value::Dictionary& userInfo) {
  const auto it = userInfo.find(kFilePathErrorKey);
  if (it == userInfo.end() || !it->second.isString()) {
    return {};
  }
  const std::string& path = *it->second.asString();
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// Standard texts of the general domain; with a file name when one is known.
std::optional<std::string> standardDescription(std::int64_t code, const Value::Dictionary& userInfo) {
  const std::string name = fileNameFrom(userInfo);
  auto pick = [&](std::string_view withName, std::string_view withoutName) {
    return name.empty() ? localized(withoutName) : localizedFormat(withName, name);
  };
  switch (code) {
    case ErrorCode::FileNoSuchFile:
    case ErrorCode::FileReadNoSuchFile:
      return pick("The file “%@” couldn’t be opened because there is no such file.",
                  "The file couldn’t be opened because it doesn’t exist.");
    case ErrorCode::FileReadNoPermission:
      return pick("The file “%@” couldn’t be opened because you don’t have permission to view it.",
                  "The file couldn’t be opened because you don’t have permission to view it.");
    case ErrorCode::FileReadCorruptFile:
      return pick("The file “%@” couldn’t be opened because it isn’t in the correct format.",
                  "The file couldn’t be opened because it isn’t in the correct format.");
    case ErrorCode::FileReadUnknown:
    case ErrorCode::FileReadInvalidFileName:
      return pick("The file “%@” couldn’t be opened.", "The file couldn’t be opened.");
    case ErrorCode::FileWriteNoPermission:
      return pick("You don’t have permission to save the file “%@”.",
                  "You don’t have permission to save the file.");
    case ErrorCode::FileWriteInvalidFileName:
      return pick("The file name “%@” is invalid.", "The file name is invalid.");
    case ErrorCode::FileWriteFileExists:
      return pick("The file “%@” couldn’t be saved because a file with the same name already exists.",
                  "The file couldn’t be saved because a file with the same name already exists.");
    case ErrorCode::FileWriteOutOfSpace:
      return pick("The file “%@” couldn’t be saved because there isn’t enough space.",
                  "The file couldn’t be saved because there isn’t enough space.");
    case ErrorCode::FileWriteVolumeReadOnly:
      return pick("The file “%@” couldn’t be saved because the volume is read only.",
                  "The file couldn’t be saved because the volume is read only.");
    case ErrorCode::FileWriteUnknown:
    case ErrorCode::FileLocking:
      return pick("The file “%@” couldn’t be saved.", "The file couldn’t be saved.");
    case ErrorCode::UserCancelled:
      return localized("The operation was cancelled.");
    case ErrorCode::FeatureUnsupported:
      return localized("The requested operation is not supported.");
    case ErrorCode::CloudFileUnavailable:
      return localized("The file is not available in Velune Drive.");
    case ErrorCode::CloudServerNotAvailable:
      return localized("Velune Drive is not available right now.");
    default:
      return std::nullopt;
  }
}

std::int64_t generalCodeForErrno(int errorNumber, bool writing) {
  switch (errorNumber) {
    case ENOENT:
    case ENOTDIR:
      return writing ? ErrorCode::FileNoSuchFile : ErrorCode::FileReadNoSuchFile;
    case EACCES:
    case EPERM:
      return writing ? ErrorCode::FileWriteNoPermission : ErrorCode::FileReadNoPermission;
    case EEXIST:
    case ENOTEMPTY:
      return ErrorCode::FileWriteFileExists;
    case ENOSPC:
    case EDQUOT:
      return ErrorCode::FileWriteOutOfSpace;
    case EROFS:
      return ErrorCode::FileWriteVolumeReadOnly;
    case ENAMETOOLONG:
    case EILSEQ:
      return writing ? ErrorCode::FileWriteInvalidFileName : ErrorCode::FileReadInvalidFileName;
    default:
      return writing ? ErrorCode::FileWriteUnknown : ErrorCode::FileReadUnknown;
  }
}

}  // namespace

Error::Error(std::string domain, std::int64_t code, Value::Dictionary userInfo)
    : domain_(std::move(domain)), code_(code), userInfo_(std::move(userInfo)) {}

Error Error::platform(std::int64_t code, Value::Dictionary userInfo) {
  return Error(std::string(kPlatformErrorDomain), code, std::move(userInfo));
}

Error Error::posix(int errorNumber) { return Error(std::string(kPOSIXErrorDomain), errorNumber); }

Error Error::fromErrno(int errorNumber, std::string_view path, bool writing) {
  Value::Dictionary info;
  info.emplace(std::string(kUnderlyingErrorKey), Value(posix(errorNumber)));
  if (!path.empty()) {
    info.emplace(std::string(kFilePathErrorKey), Value(std::string(path)));
  }
  return platform(generalCodeForErrno(errorNumber, writing), std::move(info));
}

std::optional<std::string> Error::localizedDescription() const {
  if (const auto it = userInfo_.find(kLocalizedDescriptionKey); it != userInfo_.end() && it->second.isString()) {
    return *it->second.asString();
  }
  if (domain_ == kPlatformErrorDomain) {
    return standardDescription(code_, userInfo_);
  }
  if (domain_ == kPOSIXErrorDomain && code_ > 0 && code_ < 4096) {
    char buffer[256];
    return std::string(strerror_r(static_cast<int>(code_), buffer, sizeof buffer));
  }
  return std::nullopt;
}

std::optional<std::string> Error::localizedFailureReason() const {
  if (const auto it = userInfo_.find(kLocalizedFailureReasonKey); it != userInfo_.end() && it->second.isString()) {
    return *it->second.asString();
  }
  return std::nullopt;
}

const Error* Error::underlyingError() const {
  const auto it = userInfo_.find(kUnderlyingErrorKey);
  return it == userInfo_.end() ? nullptr : it->second.asError();
}

std::string Error::description() const {
  std::string out = "Error Domain=" + domain_ + " Code=" + std::to_string(code_);
  if (const auto text = localizedDescription()) {
    out += " \"" + *text + "\"";
  }
  if (!userInfo_.empty()) {
    out += " UserInfo={";
    bool first = true;
    for (const auto& [key, value] : userInfo_) {
      if (!first) {
        out += ", ";
      }
      first = false;
      out += key + "=" + value.description();
    }
    out += "}";
  }
  return out;
}

bool Error::operator==(const Error& other) const {
  return code_ == other.code_ && domain_ == other.domain_ && userInfo_ == other.userInfo_;
}

}  // namespace velune::platform
