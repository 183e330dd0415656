// Whole-file reads and crash-safe whole-file writes, with the classic file error numbers.
//
// WriteFileAtomic never leaves a half-written file behind: the data goes to a temporary file in the
// target's folder, is flushed to disk (fsync) and then renamed over the target. On any failure the
// temporary file is removed and the previous file, if there was one, stays as it was.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace rykel::fileio {

// The whole content of a file. Raises 53 (file not found), 76 (path not found), 70 (permission
// denied), 75 (a folder or otherwise not a readable file) or 57 (I/O error), and 1000 "File
// 'name' is larger than INPUT.SIZE.MAX (n bytes)" before it holds more than that limit, whether
// the size is known (a file) or not (a pipe, a device such as /dev/zero).
std::string ReadFile(const std::string& pFile);
// The rest of an open descriptor (standard input, a pipe), bounded the same way. pName names the
// source in messages ("standard input"). Raises 57 for an I/O error. Does not close pFd.
std::string ReadDescriptor(int pFd, const std::string& pName);

// Replaces the file's content by pData (see the header comment). A new file gets the permissions
// 0666 minus the umask; an existing file keeps its permissions. Raises 76 when the folder does not
// exist, 70 when it is not writable, 61 when the disk is full, 57 or 75 for other failures.
void WriteFileAtomic(const std::string& pFile, std::string_view pData);
// The same for content made piece by piece, so that a large file is never held whole in memory:
// pNext appends the next piece to rBuffer (emptied before every call) and returns false once it
// has given the last one. An error raised by pNext removes the temporary file and passes on.
using PieceSource = std::function<bool(std::string& rBuffer)>;
void WriteFileAtomic(const std::string& pFile, const PieceSource& pNext);

// Test hook: replaces the write(2) call of WriteFileAtomic (an empty function restores it). A hook
// that returns -1 with errno set simulates a failing device.
using WriteHook = std::function<ssize_t(int fd, const char* data, size_t size)>;
void SetWriteHook(WriteHook pHook);

}  // namespace rykel::fileio
