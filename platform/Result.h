#pragma once
// Result<T>: a value or an Error. Failures are values; a failed result is never
// forced open: callers test ok() and take error() or value().

#include <cassert>
#include <utility>
#include <variant>

#include "platform/Error.h"

namespace velune::platform {

template <typename T>
class [[nodiscard]] Result {
 public:
  Result(T value) : state_(std::in_place_index<0>, std::move(value)) {}      // NOLINT: implicit by design
  Result(Error error) : state_(std::in_place_index<1>, std::move(error)) {}  // NOLINT: implicit by design

  bool ok() const { return state_.index() == 0; }
  explicit operator bool() const { return ok(); }

  const T& value() const& {
    assert(ok() && "value() of a failed Result");
    return std::get<0>(state_);
  }
  T& value() & {
    assert(ok() && "value() of a failed Result");
    return std::get<0>(state_);
  }
  T&& value() && {
    assert(ok() && "value() of a failed Result");
    return std::get<0>(std::move(state_));
  }
  const Error& error() const {
    assert(!ok() && "error() of a successful Result");
    return std::get<1>(state_);
  }
  T valueOr(T fallback) const { return ok() ? std::get<0>(state_) : std::move(fallback); }

 private:
  std::variant<T, Error> state_;
};

}  // namespace velune::platform
