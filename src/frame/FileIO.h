// Whole-file reads, crash-safe whole-file writes and the database lock, with the classic file error
// numbers. Every file the component writes goes through WriteFileAtomic (or one of its forms).
//
// How a write works, and what it guarantees:
// - The write target is the path itself, or, when the path is a symbolic link, the file the link
//   finally points at: the data goes there and the link stays a link.
// - The data goes to a new temporary file in the target's folder, created with
//   O_CREAT|O_EXCL|O_NOFOLLOW under an unpredictable name "<name>.~<pid>.<random>.tmp" (so a file
//   or link planted there is never written through). It gets the old file's permission bits (and,
//   where allowed, its owner), or 0666 minus the umask for a new file; it is flushed to disk
//   (fsync) and renamed over the target. The folder is flushed as well.
// - On any failure the temporary file is removed, the old file stays as it was, and a file error
//   is raised. After a successful write, temporary files of the same target whose writing process
//   is gone (a save killed half-way) are removed.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace rykel::fileio {

// What a file looked like when it was last read or written: a save compares it with the file on
// disk to find out whether someone else wrote the file in between.
struct FileStamp {
  uint64_t device = 0, inode = 0;
  int64_t size = -1;  // -1: the file does not exist
  int64_t mtime = 0;  // modification time in nanoseconds
  bool Exists() const { return size >= 0; }
  bool operator==(const FileStamp&) const = default;
};
// The stamp of the file a path names now (links followed); Exists() false when there is none.
FileStamp StampOf(const std::string& pFile);

// The whole content of a file. Raises 53 (file not found), 76 (path not found), 70 (permission
// denied), 75 (a folder or otherwise not a readable file) or 57 (I/O error), and 1000 "File
// 'name' is larger than INPUT.SIZE.MAX (n bytes)" before it holds more than that limit, whether
// the size is known (a file) or not (a pipe, a device such as /dev/zero).
// Within a live mdl_Confine::Scope only files inside its folders are read (others raise 53).
std::string ReadFile(const std::string& pFile);
// The same for a file already open (read from where fd stands; fd is closed); pFile names it in
// messages. Bounded by INPUT.SIZE.MAX like ReadFile.
std::string ReadOpened(int fd, const std::string& pFile);
// The same for a file that must be a regular file (a FIFO, device or folder raises 75 "'f' is not
// a regular file" without blocking); rStamp, when given, gets the stamp of exactly what was read.
std::string ReadRegularFile(const std::string& pFile, FileStamp* rStamp = nullptr);
// The same file opened for reading piece by piece (the same errors and confinement; no size
// bound, as nothing is held whole). Returns the descriptor, which the caller closes.
int OpenRegularFile(const std::string& pFile, FileStamp* rStamp = nullptr);
// Raises 75 "<pWhat> 'f' is not a regular file" when pFile exists (links followed) and is a
// folder, FIFO, device or socket; a missing file passes.
void RequireRegularFile(const std::string& pFile, std::string_view pWhat);
// The rest of an open descriptor (standard input, a pipe), bounded the same way. pName names the
// source in messages ("standard input"). Raises 57 for an I/O error. Does not close pFd.
std::string ReadDescriptor(int pFd, const std::string& pName);

// The path a write of pFile replaces (see the header comment).
std::string WriteTarget(const std::string& pFile);

// Replaces the file's content by pData (see the header comment). Raises 76 "Folder 'd' does not
// exist" when the folder is missing, 75 when the target is not a regular file, 70 when the folder
// is not writable, 61 "Disk full: ..." when the disk is full, 57 for other failures.
void WriteFileAtomic(const std::string& pFile, std::string_view pData);
// As WriteFileAtomic (a reader sees the old file or the new one, never a part of it), without
// waiting for the disk (no fsync) and without the sweep for stale temporary files: for output that
// can be made again and is written many files at a time, such as a site build.
void WriteFileReplace(const std::string& pFile, std::string_view pData);
// The same for content made piece by piece, so that a large file is never held whole in memory:
// pNext appends the next piece to rBuffer (emptied before every call) and returns false once it
// has given the last one. An error raised by pNext removes the temporary file and passes on.
using PieceSource = std::function<bool(std::string& rBuffer)>;
void WriteFileAtomic(const std::string& pFile, const PieceSource& pNext);
// The same for writers that print to a stdio stream (HTML tables, PDF pages, the binary database
// form). A write error of the stream (a full disk) is raised as such, also when pWrite raised an
// error of its own because of it.
using StreamWriter = std::function<void(std::FILE* pStream)>;
void WriteFileAtomicStream(const std::string& pFile, const StreamWriter& pWrite);
// The same for writers that open the file by name themselves (the workbook writer, LibreOffice):
// pWrite writes the file whose path it gets (the temporary file), which is then flushed and renamed.
void WriteFileAtomicByName(const std::string& pFile, const std::function<void(const std::string& pTemp)>& pWrite);

// Test hook: replaces the write(2) call of the writers above (an empty function restores it). A
// hook that returns -1 with errno set simulates a failing device.
using WriteHook = std::function<ssize_t(int fd, const char* data, size_t size)>;
void SetWriteHook(WriteHook pHook);

// The exclusive lock of one database file among cooperating processes: an advisory lock (flock) on
// the lock file "<target>.lock" beside the file's write target. The lock file itself stays (it is
// empty); removing it while locked would let two writers in.
class FileLock {
 public:
  FileLock() = default;
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;
  ~FileLock() { Release(); }
  // Takes the lock, waiting up to pWaitSeconds for another holder to let go. Raises 70
  // "'f' is locked by another process" when the wait ends, or the file error of the lock file.
  void Acquire(const std::string& pFile, double pWaitSeconds);
  void Release();
  bool Held() const { return fd_ >= 0; }

 private:
  int fd_ = -1;
};

}  // namespace rykel::fileio
