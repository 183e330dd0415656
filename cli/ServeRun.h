// ServeRun: what `rykel serve` hands its plug-in ("serve", librykel_serve.so beside librykel),
// which runs the server until Ctrl-C.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "web/cls_SiteServer.h"

namespace rykel::cli {

struct ServeOptions {
  std::string site = ".", host = "127.0.0.1";
  std::vector<std::pair<std::string, std::string>> databases;  // (name, file)
  int port = 8080;
  bool open = false, write = false;
  int64_t requestMax = cls_SiteServer::REQUESTMAX;
};

// The plug-in's table (frame/Plugin.h).
struct ServePlugin {
  const char* version;
  void (*serve)(const ServeOptions& pOptions);
};

}  // namespace rykel::cli
