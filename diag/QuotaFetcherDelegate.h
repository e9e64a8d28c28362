#pragma once
// QuotaFetcherDelegate: what a QuotaFetcher tells its delegate. The one
// operation is optional: a delegate that does not override it is simply not
// told (the fetcher still keeps the value).

#include <cstdint>

namespace velune {

class QuotaFetcher;

class QuotaFetcherDelegate {
 public:
  virtual ~QuotaFetcherDelegate() = default;

  // Main thread, after each successful fetch (also when the value did not change).
  virtual void quotaFetcherDidUpdateValue(QuotaFetcher& /*fetcher*/, std::uint64_t /*bytesAvailable*/) {}
};

}  // namespace velune
