// The one way the rykel program reads a file or standard input: through the library's reader, so
// every command is bounded by INPUT.SIZE.MAX and reports the same errors.
#include <unistd.h>

#include "Commands.h"
#include "frame/FileIO.h"

namespace rykel::cli {

std::string ReadInput(const std::string& path) {
  if (path == "-") return fileio::ReadDescriptor(STDIN_FILENO, "standard input");
  return fileio::ReadFile(path);
}

}  // namespace rykel::cli
