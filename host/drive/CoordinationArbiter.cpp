#include "host/drive/CoordinationArbiter.h"

#include "host/drive/DrivePaths.h"

namespace velune::host {

bool CoordinationArbiter::conflicts(const std::vector<Access>& a, const std::vector<Access>& b) {
  for (const auto& first : a) {
    for (const auto& second : b) {
      if (!first.write && !second.write) {
        continue;
      }
      if (isSameOrInside(first.path, second.path) || isSameOrInside(second.path, first.path)) {
        return true;
      }
    }
  }
  return false;
}

bool CoordinationArbiter::mayRun(const std::list<Claim>::iterator& claim, bool ownerHoldsClaims) const {
  bool earlier = true;
  for (auto other = claims_.begin(); other != claims_.end(); ++other) {
    if (other == claim) {
      earlier = false;
      continue;
    }
    const bool relevant = other->running ? other->owner != claim->owner : (earlier && !ownerHoldsClaims);
    if (relevant && conflicts(other->accesses, claim->accesses)) {
      return false;
    }
  }
  return true;
}

std::optional<CoordinationArbiter::HeldClaim> CoordinationArbiter::hold(std::vector<Access> accesses,
                                                                        const std::atomic<bool>& cancelled) {
  const auto id = acquire(std::move(accesses), cancelled);
  if (!id) {
    return std::nullopt;
  }
  return std::optional<HeldClaim>(std::in_place, *this, *id);
}

std::optional<CoordinationArbiter::ClaimId> CoordinationArbiter::acquire(std::vector<Access> accesses,
                                                                         const std::atomic<bool>& cancelled) {
  std::unique_lock lock(mutex_);
  const auto self = std::this_thread::get_id();
  bool ownerHoldsClaims = false;
  for (const auto& claim : claims_) {
    ownerHoldsClaims = ownerHoldsClaims || (claim.running && claim.owner == self);
  }
  Claim made;
  made.id = nextId_++;
  made.accesses = std::move(accesses);
  made.owner = self;
  const auto it = claims_.insert(claims_.end(), std::move(made));
  while (!mayRun(it, ownerHoldsClaims)) {
    if (cancelled.load()) {
      claims_.erase(it);
      changed_.notify_all();  // a waiter behind this one may now run
      return std::nullopt;
    }
    changed_.wait(lock);
  }
  if (cancelled.load()) {
    claims_.erase(it);
    changed_.notify_all();
    return std::nullopt;
  }
  it->running = true;
  return it->id;
}

void CoordinationArbiter::release(ClaimId id) {
  {
    std::lock_guard lock(mutex_);
    for (auto it = claims_.begin(); it != claims_.end(); ++it) {
      if (it->id == id) {
        claims_.erase(it);
        break;
      }
    }
  }
  changed_.notify_all();
}

void CoordinationArbiter::wakeAll() {
  { std::lock_guard lock(mutex_); }
  changed_.notify_all();
}

size_t CoordinationArbiter::claimCount() const {
  std::lock_guard lock(mutex_);
  return claims_.size();
}

}  // namespace velune::host
