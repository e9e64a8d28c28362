#pragma once
// CoordinationArbiter: who may read or write which items now. A claim names
// paths, each for reading or writing; two claims conflict when one of their
// paths is the same as, inside or above one of the other's and at least one
// of the two is a write. Claims are served in arrival order: a claim waits for
// every earlier conflicting claim, waiting or running, so a waiting writer is
// not overtaken by later readers. A thread that already holds a claim is
// blocked only by running claims of other threads (its nested claims would
// otherwise wait for themselves).
//
// Thread-safe. Waits are ended by release() of a conflicting claim or by the
// waiter's own cancellation flag (wakeAll()).

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <list>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace velune::host {

class CoordinationArbiter {
 public:
  struct Access {
    std::string path;  // absolute, lexically normal
    bool write = false;
  };
  using ClaimId = std::uint64_t;

  // A running claim, released when the guard goes (an early return or an
  // exception out of the accessor cannot leave it held). Movable, not copyable.
  class HeldClaim {
   public:
    HeldClaim(CoordinationArbiter& arbiter, ClaimId id) : arbiter_(&arbiter), id_(id) {}
    HeldClaim(HeldClaim&& other) noexcept : arbiter_(std::exchange(other.arbiter_, nullptr)), id_(other.id_) {}
    HeldClaim& operator=(HeldClaim&&) = delete;
    HeldClaim(const HeldClaim&) = delete;
    HeldClaim& operator=(const HeldClaim&) = delete;
    ~HeldClaim() {
      if (arbiter_ != nullptr) {
        arbiter_->release(id_);
      }
    }

   private:
    CoordinationArbiter* arbiter_;
    ClaimId id_;
  };

  // Blocks until the claim may run; nothing when `cancelled` was set first.
  std::optional<ClaimId> acquire(std::vector<Access> accesses, const std::atomic<bool>& cancelled);
  void release(ClaimId id);
  // acquire(), the claim held by the returned guard.
  std::optional<HeldClaim> hold(std::vector<Access> accesses, const std::atomic<bool>& cancelled);
  // Wakes every waiter so that it looks at its cancellation flag again.
  void wakeAll();

  // Claims running or waiting (tests).
  size_t claimCount() const;

  static bool conflicts(const std::vector<Access>& a, const std::vector<Access>& b);

 private:
  struct Claim {
    ClaimId id = 0;
    std::vector<Access> accesses;
    std::thread::id owner;
    bool running = false;
  };
  bool mayRun(const std::list<Claim>::iterator& claim, bool ownerHoldsClaims) const;

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::list<Claim> claims_;  // in arrival order
  ClaimId nextId_ = 1;
};

}  // namespace velune::host
