#include "frame/Notifier.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace rykel {

namespace {
std::mutex gMutex;
Notifier gNotifier;

// "[caption] text" on one line of stderr.
void hPrint(std::string_view pCaption, std::string_view pText) {
  std::string line(pText);
  for (char& c : line)
    if (c == '\r' || c == '\n') c = ' ';
  std::fprintf(stderr, "[%.*s] %s\n", static_cast<int>(pCaption.size()), pCaption.data(), line.c_str());
}

std::string hHeadless(const Notification& n) {
  if (n.icon == "Information") LogInfo(n.caption, n.text);
  else if (!std::getenv("RYKEL_QUIET")) hPrint(n.caption, n.text);
  return DefaultAnswer(n);
}
}  // namespace

std::string DefaultAnswer(const Notification& n) {
  if (n.buttons == "AbortRetryIgnore") return "Ignore";
  if (n.buttons == "YesNo") return "No";
  return "OK";
}

bool LogInfoOn() {
  const char* v = std::getenv("RYKEL_LOG");
  if (!v || std::getenv("RYKEL_QUIET")) return false;
  std::string level(v);
  for (char& c : level) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return level == "info";
}

void LogInfo(std::string_view pCaption, std::string_view pText) {
  if (LogInfoOn()) hPrint(pCaption, pText);
}

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
