#include "CommandFailure.h"

#include <cstdio>

namespace rykel::cli {

void Fail(int pExit, std::string pMessage) { throw CommandFailure(pExit, std::move(pMessage)); }

void FailUsage(std::string pMessage) { Fail(kExitUsage, std::move(pMessage)); }

int ReportFailure(std::string_view pCommand, std::string_view pMessage, int pExit) {
  if (!pMessage.empty()) {
    // Messages from the library end their lines with CR LF; one failure is one line here.
    std::string line;
    for (char c : pMessage) {
      bool lineBreak = c == '\r' || c == '\n';
      if (!lineBreak) line += c;
      else if (!line.empty() && line.back() != ' ') line += ' ';
    }
    std::fprintf(stderr, "%.*s: %s\n", static_cast<int>(pCommand.size()), pCommand.data(), line.c_str());
  }
  return pExit;
}

}  // namespace rykel::cli
