#pragma once
// IdentityToken: the opaque identity of a cloud account, as AccountService
// hands it out. Two tokens are equal exactly when they name the same account.
// Its archived form (keyed-archive data) can be kept in preferences and read
// back into an equal token.

#include <optional>
#include <string>

#include "platform/Value.h"

namespace velune::platform {

class IdentityToken {
 public:
  explicit IdentityToken(std::string identity) : identity_(std::move(identity)) {}

  bool operator==(const IdentityToken& other) const { return identity_ == other.identity_; }
  // What "%@" shows: a short fingerprint, not the identity, so that logs do
  // not carry it.
  std::string description() const;

  Value::Data archivedData() const;
  // The token of archived data, or nothing when the data is not an archived token.
  static std::optional<IdentityToken> fromArchivedData(const Value::Data& data);

 private:
  std::string identity_;
};

}  // namespace velune::platform
