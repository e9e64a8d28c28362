#pragma once
// Opening a path below a root folder without ever leaving it, whatever links
// the folders on the way hold: the drive and the cloud side are trees the
// user (or another program) can fill with symbolic links to anywhere.
//
// The path is resolved by the kernel with openat2(RESOLVE_BENEATH |
// RESOLVE_NO_MAGICLINKS): a link that stays inside the root is followed, a
// link or ".." that leads out of it, an absolute link and a /proc magic link
// are refused (EXDEV or ELOOP). Where the kernel has no openat2 the same rule
// is applied by a walk that opens one component at a time with O_NOFOLLOW
// and resolves each link by hand below the root.
//
// The result is an open descriptor: operations made relative to it (the
// *at() calls) act on the folder that was checked, even when a link is
// swapped into the path afterwards.
//
// Pure functions; any thread.

#include <string>
#include <string_view>

namespace velune::host {

// An owned file descriptor (-1 for none), closed when it goes.
class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : fd_(fd) {}
  ~UniqueFd();
  UniqueFd(UniqueFd&& other) noexcept : fd_(other.release()) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept;
  UniqueFd(const UniqueFd&) = delete;
  UniqueFd& operator=(const UniqueFd&) = delete;

  int get() const { return fd_; }
  bool valid() const { return fd_ >= 0; }
  int release() {
    const int fd = fd_;
    fd_ = -1;
    return fd;
  }

 private:
  int fd_ = -1;
};

enum class BeneathResolution {
  Automatic,      // openat2 where the kernel has it, else the walk
  ComponentWalk,  // always the walk (tests of the fallback)
};

// Opens `relative` (no leading slash; "" is the root itself) below the
// folder `rootFd` with `flags` (O_CLOEXEC is added). The last component is
// not followed when `flags` holds O_NOFOLLOW. Returns the descriptor, or
// minus the errno: EXDEV or ELOOP when the path leads outside the root.
int openBeneath(int rootFd, std::string_view relative, int flags,
                BeneathResolution resolution = BeneathResolution::Automatic);

// Whether an errno of openBeneath() means "this path leads outside its root".
bool isOutsideRootError(int errorNumber);

}  // namespace velune::host
