#include "frame/Notifier.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace rykel {

namespace {
std::mutex gMutex;
Notifier gNotifier;

std::string hHeadless(const Notification& n) {
  if (!std::getenv("RYKEL_QUIET")) {
    std::string line = n.text;
    for (char& c : line)
      if (c == '\r' || c == '\n') c = ' ';
    std::fprintf(stderr, "[%s] %s\n", n.caption.c_str(), line.c_str());
  }
  if (n.buttons == "AbortRetryIgnore") return "Ignore";
  if (n.buttons == "YesNo") return "No";
  return "OK";
}
}  // namespace

void SetNotifier(Notifier n) {
  std::lock_guard<std::mutex> lock(gMutex);
  gNotifier = std::move(n);
}

std::string Notify(const Notification& n) {
  Notifier copy;
  {
    std::lock_guard<std::mutex> lock(gMutex);
    copy = gNotifier;
  }
  return copy ? copy(n) : hHeadless(n);
}

}  // namespace rykel
