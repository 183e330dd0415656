// Progress: the progress bar of the program's long-running commands (db fill, db import).
#pragma once

#include <unistd.h>

#include <cstdio>
#include <string>

namespace rykel::cli {

// A progress bar on stderr, drawn only when stderr is a terminal and only when the percentage moves.
class Progress {
 public:
  explicit Progress(long long pTotal) : total_(pTotal), shown_(isatty(STDERR_FILENO) && pTotal > 0) {}
  void Step(long long pDone) {
    if (!shown_) return;
    int percent = static_cast<int>(pDone * 100 / total_);
    if (percent == last_) return;
    last_ = percent;
    std::string bar(static_cast<size_t>(percent / 2), '#');
    std::fprintf(stderr, "\r[%-50s] %3d%%", bar.c_str(), percent);
    if (pDone == total_) std::fprintf(stderr, "\n");
  }

 private:
  long long total_;
  bool shown_;
  int last_ = -1;
};

}  // namespace rykel::cli
