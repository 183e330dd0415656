#include "frame/FileIO.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <thread>
#include <unordered_map>

#include "frame/Error.h"
#include "frame/Text.h"
#include "frame/mdl_Confine.h"
#include "frame/mdl_Limits.h"

namespace rykel::fileio {

namespace {

namespace fs = std::filesystem;

WriteHook& hHook() {
  static WriteHook hook;
  return hook;
}

// The file error of the classic runtime that best names an errno value.
[[noreturn]] void hRaiseErrno(int e, const std::string& what, const std::string& file) {
  std::string text = what + " '" + file + "': " + std::strerror(e);
  switch (e) {
    case ENOENT: Raise(err::kPathNotFound, text);
    case EACCES:
    case EPERM:
    case EROFS: Raise(err::kPermissionDenied, text);
    case ENOSPC:
    case EDQUOT: Raise(err::kDiskFull, "Disk full: " + text);
    case EISDIR:
    case ENOTDIR: Raise(err::kPathFileAccess, text);
    default: Raise(err::kFileIO, text);
  }
}

mode_t hNewFileMode() {
  static std::once_flag once;
  static mode_t mask = 022;
  std::call_once(once, [] {
    mask = ::umask(0);
    ::umask(mask);
  });
  return 0666 & ~mask;
}

FileStamp hStamp(const struct stat& st) {
  FileStamp s;
  s.device = static_cast<uint64_t>(st.st_dev);
  s.inode = static_cast<uint64_t>(st.st_ino);
  s.size = static_cast<int64_t>(st.st_size);
  s.mtime = static_cast<int64_t>(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec;
  return s;
}

// Reads pFd to its end, never holding more than INPUT.SIZE.MAX bytes: a size known in advance
// (pHint) is checked first, and every read is checked before it is kept, so an endless source
// (/dev/zero, a pipe) stops at the limit. pWhat names the source in the size error, pName in
// the read error.
std::string hReadAll(int pFd, uint64_t pHint, const std::string& pWhat, const std::string& pName) {
  const uint64_t max = static_cast<uint64_t>(mdl_Limits::Get(mdl_Limits::kInputSize));
  std::string data;
  if (pHint > 0) {
    // a file of known size is read straight into the text, in one call when the kernel allows
    mdl_Limits::CheckInputSize(pHint, pWhat);
    data.resize(static_cast<size_t>(pHint));
    size_t got = 0;
    while (got < data.size()) {
      ssize_t n = ::read(pFd, data.data() + got, data.size() - got);
      if (n < 0) {
        if (errno == EINTR) continue;
        hRaiseErrno(errno, "Cannot read", pName);
      }
      if (n == 0) break;
      got += static_cast<size_t>(n);
    }
    data.resize(got);
    if (got < pHint) return data;  // the file ended early: it shrank since its size was taken
  }
  char buf[65536];
  for (;;) {
    ssize_t n = ::read(pFd, buf, sizeof buf);
    if (n < 0) {
      if (errno == EINTR) continue;
      hRaiseErrno(errno, "Cannot read", pName);
    }
    if (n == 0) break;
    if (data.size() + static_cast<uint64_t>(n) > max) mdl_Limits::CheckInputSize(max + 1, pWhat);
    data.append(buf, static_cast<size_t>(n));
  }
  return data;
}

[[noreturn]] void hNotRegular(std::string_view what, const std::string& file) {
  Raise(err::kPathFileAccess, std::string(what) + (what.empty() ? "'" : " '") + file + "' is not a regular file");
}

// Reads an open descriptor to its end and closes it.
std::string hReadAndClose(int fd, const struct stat& st, const std::string& pFile) {
  try {
    std::string data =
        hReadAll(fd, st.st_size > 0 ? static_cast<uint64_t>(st.st_size) : 0, "File '" + pFile + "'", pFile);
    ::close(fd);
    return data;
  } catch (...) {
    ::close(fd);
    throw;
  }
}

// Within a live mdl_Confine::Scope the file is opened confined (outside files look missing).
int hOpenForRead(const std::string& pFile, int flags) {
  const auto* roots = mdl_Confine::ACTIVE();
  int fd = roots ? mdl_Confine::OPEN(pFile, roots) : ::open(pFile.c_str(), O_RDONLY | O_CLOEXEC | flags);
  if (fd < 0) {
    int e = errno;
    if (e == ENOENT) {
      fs::path folder = fs::path(pFile).parent_path();
      std::error_code ec;
      if (folder.empty() || fs::is_directory(folder, ec)) Raise(err::kFileNotFound, "File not found: '" + pFile + "'");
    }
    hRaiseErrno(e, "Cannot open", pFile);
  }
  return fd;
}

}  // namespace

void SetWriteHook(WriteHook pHook) { hHook() = std::move(pHook); }

FileStamp StampOf(const std::string& pFile) {
  struct stat st {};
  if (::stat(pFile.c_str(), &st) != 0) return {};
  return hStamp(st);
}

std::string ReadFile(const std::string& pFile) { return ReadOpened(hOpenForRead(pFile, 0), pFile); }

std::string ReadDescriptor(int pFd, const std::string& pName) {
  struct stat st {};
  uint64_t hint = 0;
  if (::fstat(pFd, &st) == 0 && S_ISREG(st.st_mode) && st.st_size > 0) hint = static_cast<uint64_t>(st.st_size);
  std::string what = pName;
  if (!what.empty()) what[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(what[0])));
  return hReadAll(pFd, hint, what, pName);
}

std::string ReadOpened(int fd, const std::string& pFile) {
  struct stat st {};
  if (::fstat(fd, &st) == 0 && S_ISDIR(st.st_mode)) {
    ::close(fd);
    Raise(err::kPathFileAccess, "Not a file: '" + pFile + "'");
  }
  return hReadAndClose(fd, st, pFile);
}

int OpenRegularFile(const std::string& pFile, FileStamp* rStamp) {
  // O_NONBLOCK: opening a FIFO must not wait for a writer.
  int fd = hOpenForRead(pFile, O_NONBLOCK);
  struct stat st {};
  if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    ::close(fd);
    hNotRegular("", pFile);
  }
  ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
  if (rStamp) *rStamp = hStamp(st);
  return fd;
}

std::string ReadRegularFile(const std::string& pFile, FileStamp* rStamp) {
  int fd = OpenRegularFile(pFile, rStamp);
  struct stat st {};
  ::fstat(fd, &st);
  return hReadAndClose(fd, st, pFile);
}

void RequireRegularFile(const std::string& pFile, std::string_view pWhat) {
  // confined reads refuse what is not a regular file themselves, and must not tell what lies outside
  if (mdl_Confine::ACTIVE()) return;
  struct stat st {};
  if (::stat(pFile.c_str(), &st) == 0 && !S_ISREG(st.st_mode)) hNotRegular(pWhat, pFile);
}

std::string WriteTarget(const std::string& pFile) {
  // Follow the link chain one step at a time (a dangling link names the file to create).
  fs::path p(pFile);
  std::error_code ec;
  for (int hops = 0; hops < 40 && fs::is_symlink(p, ec); ++hops) {
    fs::path next = fs::read_symlink(p, ec);
    if (ec) break;
    p = next.is_absolute() ? next : p.parent_path() / next;
  }
  return p.lexically_normal().string();
}

namespace {

// One temporary file beside the write target: created on construction, renamed over the target by
// Commit, removed by the destructor when not committed.
class TempFile {
 public:
  explicit TempFile(const std::string& pFile) : file_(pFile), target_(WriteTarget(pFile)) {
    fs::path t(target_);
    folder_ = t.parent_path().string();
    name_ = t.filename().string();
    std::error_code ec;
    if (!folder_.empty() && !fs::is_directory(folder_, ec))
      Raise(err::kPathNotFound, "Folder '" + folder_ + "' does not exist (cannot write '" + pFile + "')");
    struct stat st {};
    if (::stat(target_.c_str(), &st) == 0) {
      if (!S_ISREG(st.st_mode)) hNotRegular("", pFile);
      old_ = st;
      hasOld_ = true;
    }
    if (::stat(folder_.empty() ? "." : folder_.c_str(), &st) == 0) {
      folderTime_ = st.st_mtim;  // before this write adds its own file
      hasFolderTime_ = true;
    }
    std::string prefix =
        (folder_.empty() ? std::string() : folder_ + "/") + name_ + ".~" + std::to_string(::getpid()) + ".";
    static constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    for (int attempt = 0; attempt < 100 && fd_ < 0; ++attempt) {
      unsigned char raw[10];
      if (::getrandom(raw, sizeof raw, 0) != static_cast<ssize_t>(sizeof raw)) {
        for (auto& c : raw) c = static_cast<unsigned char>(std::rand());
      }
      std::string random;
      for (unsigned char c : raw) random += kLetters[c % 36];
      path_ = prefix + random + ".tmp";
      fd_ = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
      if (fd_ < 0 && errno != EEXIST) hRaiseErrno(errno, "Cannot create a temporary file for", pFile);
    }
    if (fd_ < 0) hRaiseErrno(EEXIST, "Cannot create a temporary file for", pFile);
  }
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;
  ~TempFile() {
    if (fd_ >= 0) ::close(fd_);
    if (!committed_) ::unlink(path_.c_str());
  }

  int Fd() const { return fd_; }
  const std::string& Path() const { return path_; }
  const std::string& File() const { return file_; }
  [[noreturn]] void Fail(int e, const char* what) { hRaiseErrno(e, what, file_); }

  // Writes all of pData; raises the system's error.
  void Write(const char* pData, size_t pSize) {
    if (int e = TryWrite(pData, pSize)) Fail(e, "Cannot write");
  }
  // The same, answering the errno value of a failure (0 on success).
  int TryWrite(const char* pData, size_t pSize) {
    const WriteHook& hook = hHook();
    size_t done = 0;
    while (done < pSize) {
      ssize_t n = hook ? hook(fd_, pData + done, pSize - done) : ::write(fd_, pData + done, pSize - done);
      if (n < 0) {
        if (errno == EINTR) continue;
        return errno ? errno : EIO;
      }
      if (n == 0) return EIO;
      done += static_cast<size_t>(n);
    }
    return 0;
  }

  // Flushes the data, gives it the old file's permissions and renames it over the target. Durable:
  // the data and the rename reach the disk before Commit returns, and stale temporary files of the
  // target are swept.
  void Commit(bool pDurable = true) {
    // A writer that opened the file by name may have replaced it: work on what the name holds now.
    int fd = ::open(path_.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) Fail(errno, "Cannot reopen the temporary file of");
    struct stat st {};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
      ::close(fd);
      Fail(EINVAL, "The temporary file is not a regular file for");
    }
    if (hasOld_ && (st.st_uid != old_.st_uid || st.st_gid != old_.st_gid))
      (void)::fchown(fd, old_.st_uid, old_.st_gid);  // only a privileged writer may; the data matters more
    if (::fchmod(fd, hasOld_ ? (old_.st_mode & 07777) : hNewFileMode()) != 0 || (pDurable && ::fsync(fd) != 0)) {
      int e = errno;
      ::close(fd);
      Fail(e, "Cannot flush");
    }
    ::close(fd);
    if (::close(fd_) != 0) {
      fd_ = -1;
      Fail(errno, "Cannot close");
    }
    fd_ = -1;
    if (::rename(path_.c_str(), target_.c_str()) != 0) Fail(errno, "Cannot replace");
    committed_ = true;
    if (!pDurable) return;
    // Make the rename itself durable; a failure here leaves a complete file, so it is not an error.
    int dfd = ::open(folder_.empty() ? "." : folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dfd >= 0) {
      ::fsync(dfd);
      ::close(dfd);
    }
    hRemoveStale();
  }

 private:
  // Removes the temporary files "<name>.~<pid>[.<random>].tmp" of this target whose writer is gone.
  // A folder is read once and what it held is remembered with its modification time; while no one
  // else changed the folder (its time is still the one this process saw after its own last write),
  // the next write of any file there uses that list. Writing many files into one folder would
  // otherwise read the whole folder for every file.
  void hRemoveStale() const {
    struct Folder {
      struct timespec time {};
      std::unordered_map<std::string, std::vector<std::string>> stale;  // target name: its leftovers
    };
    static std::mutex lock;
    static std::unordered_map<std::string, Folder> folders;
    const char* path = folder_.empty() ? "." : folder_.c_str();
    std::lock_guard<std::mutex> guard(lock);
    auto [at, fresh] = folders.try_emplace(folder_);
    Folder& f = at->second;
    if (fresh || !hasFolderTime_ || !hSameTime(f.time, folderTime_)) {
      f.stale.clear();
      DIR* dir = ::opendir(path);
      if (!dir) return;
      while (struct dirent* d = ::readdir(dir)) {
        std::string_view n(d->d_name);
        size_t mark = n.rfind(".~");
        if (mark == std::string_view::npos || n.size() < mark + 7 || n.substr(n.size() - 4) != ".tmp") continue;
        std::string_view rest = n.substr(mark + 2, n.size() - mark - 6);
        size_t digits = 0;
        while (digits < rest.size() && rest[digits] >= '0' && rest[digits] <= '9') ++digits;
        if (digits == 0 || digits > 9 || (digits < rest.size() && rest[digits] != '.')) continue;
        pid_t pid = static_cast<pid_t>(std::stol(std::string(rest.substr(0, digits))));
        if (pid == ::getpid() || ::kill(pid, 0) == 0 || errno != ESRCH) continue;
        f.stale[std::string(n.substr(0, mark))].emplace_back(n);
      }
      ::closedir(dir);
    }
    if (auto mine = f.stale.find(name_); mine != f.stale.end()) {
      for (const auto& leftover : mine->second) ::unlink(((folder_.empty() ? "" : folder_ + "/") + leftover).c_str());
      f.stale.erase(mine);
    }
    struct stat now {};
    if (::stat(path, &now) == 0) f.time = now.st_mtim;
  }
  static bool hSameTime(const struct timespec& a, const struct timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
  }

  std::string file_, target_, folder_, name_, path_;
  int fd_ = -1;
  bool hasOld_ = false, committed_ = false, hasFolderTime_ = false;
  struct stat old_ {};
  struct timespec folderTime_ {};
};

// A stdio stream over a temporary file: its writes go through TempFile::Write, and the first
// system error is kept so that it can be raised as what it is.
struct StreamCookie {
  TempFile* temp;
  int error = 0;
};

ssize_t hCookieWrite(void* pCookie, const char* pData, size_t pSize) {
  auto* c = static_cast<StreamCookie*>(pCookie);
  if (c->error) {
    errno = c->error;
    return -1;
  }
  if ((c->error = c->temp->TryWrite(pData, pSize)) != 0) {
    errno = c->error;
    return -1;
  }
  return static_cast<ssize_t>(pSize);
}

}  // namespace

void WriteFileAtomic(const std::string& pFile, std::string_view pData) {
  TempFile temp(pFile);
  temp.Write(pData.data(), pData.size());
  temp.Commit();
}

void WriteFileReplace(const std::string& pFile, std::string_view pData) {
  TempFile temp(pFile);
  temp.Write(pData.data(), pData.size());
  temp.Commit(false);
}

void WriteFileAtomic(const std::string& pFile, const PieceSource& pNext) {
  TempFile temp(pFile);
  std::string buffer;
  for (bool more = true; more;) {
    buffer.clear();
    more = pNext(buffer);
    temp.Write(buffer.data(), buffer.size());
  }
  temp.Commit();
}

void WriteFileAtomicStream(const std::string& pFile, const StreamWriter& pWrite) {
  TempFile temp(pFile);
  StreamCookie cookie{&temp};
  cookie_io_functions_t io{};
  io.write = hCookieWrite;
  std::FILE* f = ::fopencookie(&cookie, "w", io);
  if (!f) temp.Fail(errno, "Cannot write");
  try {
    pWrite(f);
  } catch (...) {
    std::fflush(f);
    std::fclose(f);
    if (cookie.error) temp.Fail(cookie.error, "Cannot write");  // the cause, not its consequence
    throw;
  }
  bool flushed = std::fflush(f) == 0 && !std::ferror(f);
  std::fclose(f);
  if (cookie.error || !flushed) temp.Fail(cookie.error ? cookie.error : EIO, "Cannot write");
  temp.Commit();
}

void WriteFileAtomicByName(const std::string& pFile, const std::function<void(const std::string& pTemp)>& pWrite) {
  TempFile temp(pFile);
  try {
    pWrite(temp.Path());
  } catch (Error& e) {
    // the writer's message names the file the user asked for, not the temporary one
    e.description = text::Replace(e.description, temp.Path(), pFile);
    throw;
  }
  temp.Commit();
}

// ---- the database lock ----------------------------------------------------------------------------

void FileLock::Acquire(const std::string& pFile, double pWaitSeconds) {
  Release();
  std::string lockFile = WriteTarget(pFile) + ".lock";
  int fd = ::open(lockFile.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, hNewFileMode());
  if (fd < 0) {
    int e = errno;
    if (e == ENOENT) {
      fs::path folder = fs::path(lockFile).parent_path();
      Raise(err::kPathNotFound, "Folder '" + folder.string() + "' does not exist (cannot lock '" + pFile + "')");
    }
    hRaiseErrno(e, "Cannot create the lock file of", pFile);
  }
  auto until = std::chrono::steady_clock::now() + std::chrono::duration<double>(pWaitSeconds);
  auto pause = std::chrono::milliseconds(1);
  while (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
    if (errno == EINTR) continue;
    if (errno != EWOULDBLOCK || std::chrono::steady_clock::now() >= until) {
      int e = errno;
      ::close(fd);
      if (e == EWOULDBLOCK) Raise(err::kPermissionDenied, "'" + pFile + "' is locked by another process");
      hRaiseErrno(e, "Cannot lock", pFile);
    }
    std::this_thread::sleep_for(pause);
    pause = std::min(pause * 2, std::chrono::milliseconds(50));
  }
  fd_ = fd;
}

void FileLock::Release() {
  if (fd_ < 0) return;
  ::close(fd_);  // closing the descriptor ends the lock
  fd_ = -1;
}

}  // namespace rykel::fileio
