// WebRequest and WebResponse: one HTTP exchange as the web layer's handlers see it. The server
// fills the request from the HTTP library and sends the response back; the handlers (pages, static
// files, the database browser and its JSON API) never see the library, so they are tested without
// a socket.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace rykel {

struct WebRequest {
  std::string method;  // "GET", "POST", ...
  std::string path;    // decoded, "/_db/kunden/12"
  // Query parameters, then form fields of a POST body, in the order they came.
  std::vector<std::pair<std::string, std::string>> params;
  std::vector<std::pair<std::string, std::string>> headers;  // names lower-cased
  std::string body;

  // The first value of a parameter or header, or nullptr.
  const std::string* Param(const std::string& pName) const;
  const std::string* Header(const std::string& pName) const;
};

// An open file whose content is a response body, sent piece by piece so that memory does not grow
// with it; closed when the last holder lets go. An export's temporary file is unlinked as soon as
// it is open, so nothing is left behind however the sending ends.
class WebFile {
 public:
  // Takes pFd (closes it also when this throws); pUnlink is removed at once when not empty.
  // Raises when pFd is not a readable regular file.
  WebFile(int pFd, const std::string& pName, const std::string& pUnlink = "");
  ~WebFile();
  WebFile(const WebFile&) = delete;
  WebFile& operator=(const WebFile&) = delete;

  uint64_t Size() const { return size_; }
  // Up to pLength bytes from pOffset into rBuffer; the count read, 0 at the end or on failure.
  size_t Read(uint64_t pOffset, char* rBuffer, size_t pLength) const;
  // The whole content (for callers without a socket, such as tests).
  std::string Content() const;

 private:
  int fd_;
  uint64_t size_ = 0;
};

struct WebResponse {
  int status = 200;
  std::string contentType = "text/html; charset=utf-8";
  std::string body;
  std::vector<std::pair<std::string, std::string>> headers;  // extra ones, "Content-Disposition", ...
  // When set, the body is this file's content instead of `body` (a large static file, an export).
  std::shared_ptr<const WebFile> file;
};

}  // namespace rykel
