#include "host/drive/HostFileCoordinator.h"

#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>

#include "platform/Log.h"
#include "host/drive/DrivePaths.h"
#include "host/drive/ReadScope.h"
#include "platform/Localization.h"

namespace velune::host {

using platform::Error;
namespace ErrorCode = platform::ErrorCode;
using platform::URL;

namespace {

Error cancelledError() {
  return Error::platform(ErrorCode::UserCancelled);
}

Error notCoordinatable(const URL& url, bool writing) {
  return Error::platform(writing ? ErrorCode::FileWriteUnknown : ErrorCode::FileReadUnknown,
                         {{std::string(platform::kFilePathErrorKey), platform::Value(url.absoluteString())}});
}

bool lexists(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0;
}

bool itemExists(const std::string& path) {
  return lexists(path) || lexists(placeholderPathFor(path));
}

}  // namespace

HostFileCoordinator::HostFileCoordinator(std::shared_ptr<CoordinationCore> core,
                                         std::shared_ptr<platform::FilePresenter> presenter)
    : core_(std::move(core)), presenter_(std::move(presenter)) {}

void HostFileCoordinator::cancel() {
  cancelled_.cancel();
  core_->arbiter().wakeAll();
}

void HostFileCoordinator::itemAtURLWillMoveToURL(const URL& oldURL, const URL& newURL) {
  const auto from = CoordinationCore::claimPath(oldURL);
  const auto to = CoordinationCore::claimPath(newURL);
  if (!from || !to) {
    return;
  }
  std::lock_guard lock(movesMutex_);
  moves_.emplace_back(std::this_thread::get_id(), std::make_pair(*from, *to));
}

std::vector<std::pair<std::string, std::string>> HostFileCoordinator::takeMoves() {
  std::lock_guard lock(movesMutex_);
  std::vector<std::pair<std::string, std::string>> mine;
  const auto self = std::this_thread::get_id();
  std::erase_if(moves_, [&](const auto& entry) {
    if (entry.first != self) {
      return false;
    }
    mine.push_back(entry.second);
    return true;
  });
  return mine;
}

std::optional<Error> HostFileCoordinator::coordinateReadingItemAtURL(const URL& url,
                                                                     platform::FileCoordinatorReadingOptions options,
                                                                     const Accessor& accessor) {
  if (cancelled_.isCancelled()) {
    return cancelledError();
  }
  const auto path = CoordinationCore::claimPath(url);
  if (!path) {
    return notCoordinatable(url, false);
  }
  const auto claim = core_->arbiter().hold({{*path, false}}, cancelled_.flag());
  if (!claim) {
    return cancelledError();
  }

  URL readURL = url;
  if ((options & platform::kReadingResolvesSymbolicLink) != 0) {
    struct stat info {};
    char resolved[PATH_MAX];
    if (::lstat(url.path().c_str(), &info) == 0 && S_ISLNK(info.st_mode) &&
        ::realpath(url.path().c_str(), resolved) != nullptr) {
      struct stat target {};
      ::stat(resolved, &target);
      readURL = URL::fileURLWithPath(resolved, S_ISDIR(target.st_mode));
    }
  }
  const bool needsContents = (options & platform::kReadingImmediatelyAvailableMetadataOnly) == 0;
  if (needsContents && !lexists(*path) && lexists(placeholderPathFor(*path))) {
    auto materializer = core_->materializer();
    if (!materializer) {
      PLATFORM_LOG(kLogWarning, "%@ is only in the cloud and this phone cannot download it", *path);
      return Error::platform(
          ErrorCode::CloudFileUnavailable,
          {{std::string(platform::kFilePathErrorKey), platform::Value(*path)},
           {std::string(platform::kLocalizedFailureReasonKey),
            platform::Value(platform::localized("Downloading documents is not available on this phone yet."))}});
    }
    if (auto error = materializer->materialize(*path, cancelled_)) {
      return error;
    }
    if (cancelled_.isCancelled()) {
      return cancelledError();
    }
  }
  {
    // The item cannot change under this read (from this process): what the
    // accessor's services read of it is read once.
    const ReadScope scope;
    accessor(readURL);
  }
  return std::nullopt;
}

std::optional<Error> HostFileCoordinator::write(std::vector<Target> targets,
                                                const std::function<void(const std::vector<URL>&)>& accessor) {
  if (cancelled_.isCancelled()) {
    return cancelledError();
  }
  std::vector<CoordinationArbiter::Access> accesses;
  std::vector<std::string> paths;
  for (auto& target : targets) {
    const auto path = CoordinationCore::claimPath(target.url);
    if (!path) {
      return notCoordinatable(target.url, true);
    }
    target.path = *path;
    accesses.push_back({*path, true});
    paths.push_back(*path);
  }
  const auto claim = core_->arbiter().hold(std::move(accesses), cancelled_.flag());
  if (!claim) {
    return cancelledError();
  }
  // Ends before the claim is released (declared after it), however the write ends.
  struct Suppression {
    CoordinationCore& core;
    std::uint64_t id;
    ~Suppression() { core.endWrite(id); }
  } suppression{*core_, core_->beginWrite(paths)};
  const platform::FilePresenter* own = presenter_.get();
  for (const auto& target : targets) {
    if ((target.options & platform::kWritingForDeleting) != 0) {
      core_->presenters().itemDeleted(target.path, own, /*waitForPresenters=*/true);
    }
  }
  std::vector<URL> urls;
  for (const auto& target : targets) {
    urls.push_back(target.url);
  }
  takeMoves();          // announcements left over from an earlier call on this thread are not this write's
  ReadScope::forget();  // a write nested in a read makes what that read saw stale
  accessor(urls);
  ReadScope::forget();

  // Tell presenters what really happened (nobody to tell: nothing to look at).
  const auto moves = takeMoves();
  if (core_->presenters().isEmpty()) {
    return std::nullopt;
  }
  std::vector<std::string> moved;
  for (const auto& [from, to] : moves) {
    if (!itemExists(from) && itemExists(to)) {
      core_->presenters().itemMoved(from, to, own);
      moved.push_back(from);
      moved.push_back(to);
    }
  }
  for (const auto& target : targets) {
    const bool involvedInMove = std::find(moved.begin(), moved.end(), target.path) != moved.end();
    // An item written to is told it changed; one that was to move but stayed has not.
    const bool unchangedMover = (target.options & platform::kWritingForMoving) != 0;
    if ((target.options & platform::kWritingForDeleting) == 0 && !unchangedMover && !involvedInMove &&
        itemExists(target.path)) {
      core_->presenters().itemChanged(target.path, own);
    }
  }
  return std::nullopt;
}

std::optional<Error> HostFileCoordinator::coordinateWritingItemAtURL(const URL& url,
                                                                     platform::FileCoordinatorWritingOptions options,
                                                                     const Accessor& accessor) {
  return write({Target{url, {}, options}}, [&](const std::vector<URL>& urls) { accessor(urls[0]); });
}

std::optional<Error> HostFileCoordinator::coordinateWritingItemAtURL(const URL& url1,
                                                                     platform::FileCoordinatorWritingOptions options1,
                                                                     const URL& url2,
                                                                     platform::FileCoordinatorWritingOptions options2,
                                                                     const TwoURLAccessor& accessor) {
  return write({Target{url1, {}, options1}, Target{url2, {}, options2}},
               [&](const std::vector<URL>& urls) { accessor(urls[0], urls[1]); });
}

}  // namespace velune::host
