#include "frame/FileIO.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <mutex>

#include "frame/Error.h"
#include "frame/mdl_Limits.h"

namespace rykel::fileio {

namespace {

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
    case EDQUOT: Raise(err::kDiskFull, text);
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

// Reads pFd to its end, never holding more than INPUT.SIZE.MAX bytes: a size known in advance
// (pHint) is checked first, and every read is checked before it is kept, so an endless source
// (/dev/zero, a pipe) stops at the limit. pWhat names the source in the size error, pName in
// the read error.
std::string hReadAll(int pFd, uint64_t pHint, const std::string& pWhat, const std::string& pName) {
  const uint64_t max = static_cast<uint64_t>(mdl_Limits::Get(mdl_Limits::kInputSize));
  std::string data;
  if (pHint > 0) {
    mdl_Limits::CheckInputSize(pHint, pWhat);
    data.reserve(static_cast<size_t>(pHint));
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

}  // namespace

void SetWriteHook(WriteHook pHook) { hHook() = std::move(pHook); }

std::string ReadFile(const std::string& pFile) {
  int fd = ::open(pFile.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    int e = errno;
    if (e == ENOENT) {
      std::filesystem::path folder = std::filesystem::path(pFile).parent_path();
      std::error_code ec;
      if (folder.empty() || std::filesystem::is_directory(folder, ec))
        Raise(err::kFileNotFound, "File not found: '" + pFile + "'");
    }
    hRaiseErrno(e, "Cannot open", pFile);
  }
  struct stat st {};
  if (::fstat(fd, &st) == 0 && S_ISDIR(st.st_mode)) {
    ::close(fd);
    Raise(err::kPathFileAccess, "Not a file: '" + pFile + "'");
  }
  try {
    std::string data = hReadAll(fd, st.st_size > 0 ? static_cast<uint64_t>(st.st_size) : 0,
                                "File '" + pFile + "'", pFile);
    ::close(fd);
    return data;
  } catch (...) {
    ::close(fd);
    throw;
  }
}

std::string ReadDescriptor(int pFd, const std::string& pName) {
  struct stat st {};
  uint64_t hint = 0;
  if (::fstat(pFd, &st) == 0 && S_ISREG(st.st_mode) && st.st_size > 0) hint = static_cast<uint64_t>(st.st_size);
  std::string what = pName;
  if (!what.empty()) what[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(what[0])));
  return hReadAll(pFd, hint, what, pName);
}

namespace {

// The body of both WriteFileAtomic forms: pNext sets rPiece to the next piece and returns false
// after the last one.
void hWriteAtomic(const std::string& pFile, const std::function<bool(std::string_view& rPiece)>& pNext) {
  namespace fs = std::filesystem;
  fs::path target(pFile);
  fs::path folder = target.parent_path();
  std::error_code ec;
  if (!folder.empty() && !fs::is_directory(folder, ec))
    Raise(err::kPathNotFound, "Path not found: '" + folder.string() + "'");
  if (fs::is_directory(target, ec)) Raise(err::kPathFileAccess, "Not a file: '" + pFile + "'");

  std::string temp = pFile + ".XXXXXX";
  int fd = ::mkstemp(temp.data());
  if (fd < 0) hRaiseErrno(errno, "Cannot create a temporary file for", pFile);

  // Everything below removes the temporary file before it raises.
  auto fail = [&](int e, const char* what) {
    if (fd >= 0) ::close(fd);
    ::unlink(temp.c_str());
    hRaiseErrno(e, what, pFile);
  };
  struct stat old {};
  mode_t mode = ::stat(pFile.c_str(), &old) == 0 ? (old.st_mode & 07777) : hNewFileMode();
  if (::fchmod(fd, mode) != 0) fail(errno, "Cannot set the permissions of");

  const WriteHook& hook = hHook();
  std::string_view piece;
  for (bool more = true; more;) {
    try {
      more = pNext(piece);
    } catch (...) {
      ::close(fd);
      ::unlink(temp.c_str());
      throw;
    }
    size_t done = 0;
    while (done < piece.size()) {
      ssize_t n = hook ? hook(fd, piece.data() + done, piece.size() - done)
                       : ::write(fd, piece.data() + done, piece.size() - done);
      if (n < 0) {
        if (errno == EINTR) continue;
        fail(errno, "Cannot write");
      }
      if (n == 0) fail(EIO, "Cannot write");
      done += static_cast<size_t>(n);
    }
  }
  if (::fsync(fd) != 0) fail(errno, "Cannot flush");
  if (::close(fd) != 0) {
    fd = -1;
    fail(errno, "Cannot close");
  }
  fd = -1;
  if (::rename(temp.c_str(), pFile.c_str()) != 0) fail(errno, "Cannot replace");

  // Make the rename itself durable; a failure here leaves a complete file, so it is not an error.
  int dfd = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dfd >= 0) {
    ::fsync(dfd);
    ::close(dfd);
  }
}

}  // namespace

void WriteFileAtomic(const std::string& pFile, std::string_view pData) {
  hWriteAtomic(pFile, [&](std::string_view& rPiece) {
    rPiece = pData;
    return false;
  });
}

void WriteFileAtomic(const std::string& pFile, const PieceSource& pNext) {
  std::string buffer;
  hWriteAtomic(pFile, [&](std::string_view& rPiece) {
    buffer.clear();
    bool more = pNext(buffer);
    rPiece = buffer;
    return more;
  });
}

}  // namespace rykel::fileio
