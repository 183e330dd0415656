#include "frame/mdl_Confine.h"

#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <unordered_map>

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

// The real path of a folder to confine to, remembered per thread: a page's includes open files in
// the same few folders again and again, and each realpath costs a readlink per part of the path. The
// folder is checked to be the same one (device and inode, links followed) on every use, so a link
// that is made to point elsewhere is resolved anew.
std::string hRealRoot(const std::string& pRoot) {
  struct Known {
    std::string real;
    dev_t dev;
    ino_t ino;
  };
  thread_local std::unordered_map<std::string, Known> known;
  struct stat st {};
  if (::stat(pRoot.c_str(), &st) != 0) return std::string();
  if (auto at = known.find(pRoot); at != known.end() && at->second.dev == st.st_dev && at->second.ino == st.st_ino)
    return at->second.real;
  std::string real = hReal(pRoot);
  struct stat now {};
  if (real.empty() || ::stat(real.c_str(), &now) != 0 || now.st_dev != st.st_dev || now.st_ino != st.st_ino)
    return real;  // moved meanwhile: use it once, remember nothing
  if (known.size() >= 256) known.clear();
  known[pRoot] = Known{real, st.st_dev, st.st_ino};
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
      if (!real.empty() && hUnder(real, hRealRoot(r))) ok = true;
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
