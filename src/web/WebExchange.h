// WebRequest and WebResponse: one HTTP exchange as the web layer's handlers see it. The server
// fills the request from the HTTP library and sends the response back; the handlers (pages, static
// files, the database browser and its JSON API) never see the library, so they are tested without
// a socket.
#pragma once

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

struct WebResponse {
  int status = 200;
  std::string contentType = "text/html; charset=utf-8";
  std::string body;
  std::vector<std::pair<std::string, std::string>> headers;  // extra ones, "Content-Disposition", ...
  // When set, the body is this file's content instead of `body` (an export written to a temporary
  // file); the server removes the file after sending when fileIsTemporary.
  std::string file;
  bool fileIsTemporary = false;
};

}  // namespace rykel
