#include "frame/mdl_Confine.h"

#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace rykel::mdl_Confine {

namespace {

thread_local const std::vector<std::string>* tActive = nullptr;

// The real path of a name, "" when it cannot be resolved.
std::string hReal(const std::string& p) {
  char buf[PATH_MAX];
  return ::realpath(p.c_str(), buf) ? std::string(buf) : std::string();
}

// The real path of what fd has open: read back from /proc; where /proc is not mounted, the
// realpath of the name, accepted only when it is the very file fd has open.
std::string hRealOfOpen(int fd, const std::string& pPath, const struct stat& st) {
  char buf[PATH_MAX];
  std::string link = "/proc/self/fd/" + std::to_string(fd);
  ssize_t n = ::readlink(link.c_str(), buf, sizeof buf - 1);
  if (n > 0 && buf[0] == '/') return std::string(buf, static_cast<size_t>(n));
  std::string real = hReal(pPath);
  struct stat now {};
  if (real.empty() || ::stat(real.c_str(), &now) != 0 || now.st_dev != st.st_dev || now.st_ino != st.st_ino)
    return std::string();
  return real;
}

bool hUnder(const std::string& real, const std::string& root) {
  if (root.empty()) return false;
  if (root == "/") return true;
  return real.size() > root.size() && real.compare(0, root.size(), root) == 0 && real[root.size()] == '/';
}

}  // namespace

int OPEN(const std::string& pPath, const std::vector<std::string>* pRoots) {
  // O_NONBLOCK: a FIFO planted under the name must not hang the open.
  int fd = ::open(pPath.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | (pRoots ? O_NONBLOCK : 0));
  if (fd < 0 || !pRoots) return fd;
  struct stat st {};
  bool ok = ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
  if (ok) {
    std::string real = hRealOfOpen(fd, pPath, st);
    ok = false;
    for (const auto& r : *pRoots)
      if (!real.empty() && hUnder(real, hReal(r))) ok = true;
  }
  if (ok) {
    int flags = ::fcntl(fd, F_GETFL);
    if (flags >= 0) ::fcntl(fd, F_SETFL, flags & ~O_NONBLOCK);
    return fd;
  }
  ::close(fd);
  errno = ENOENT;
  return -1;
}

const std::vector<std::string>* ACTIVE() { return tActive; }

Scope::Scope(std::vector<std::string> pRoots) : roots_(std::move(pRoots)), previous_(tActive) { tActive = &roots_; }

Scope::~Scope() { tActive = previous_; }

}  // namespace rykel::mdl_Confine
