#include "web/WebExchange.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "frame/Error.h"

namespace rykel {

namespace {

const std::string* hFirst(const std::vector<std::pair<std::string, std::string>>& pList, const std::string& pName) {
  for (const auto& [name, value] : pList)
    if (name == pName) return &value;
  return nullptr;
}

}  // namespace

const std::string* WebRequest::Param(const std::string& pName) const { return hFirst(params, pName); }

const std::string* WebRequest::Header(const std::string& pName) const { return hFirst(headers, pName); }

WebFile::WebFile(int pFd, const std::string& pName, const std::string& pUnlink) : fd_(pFd) {
  if (!pUnlink.empty()) ::unlink(pUnlink.c_str());
  struct stat st {};
  if (::fstat(fd_, &st) != 0 || !S_ISREG(st.st_mode)) {
    ::close(fd_);
    Raise(err::kPathFileAccess, "Not a file: '" + pName + "'");
  }
  size_ = static_cast<uint64_t>(st.st_size);
}

WebFile::~WebFile() { ::close(fd_); }

size_t WebFile::Read(uint64_t pOffset, char* rBuffer, size_t pLength) const {
  ssize_t got;
  do got = ::pread(fd_, rBuffer, pLength, static_cast<off_t>(pOffset));
  while (got < 0 && errno == EINTR);
  return got > 0 ? static_cast<size_t>(got) : 0;
}

std::string WebFile::Content() const {
  std::string out(size_, '\0');
  size_t done = 0;
  while (done < out.size()) {
    size_t got = Read(done, out.data() + done, out.size() - done);
    if (got == 0) break;
    done += got;
  }
  out.resize(done);
  return out;
}

}  // namespace rykel
