// Notifier: how the component shows a message box on a machine without a user interface.
// A host installs its own; the headless default writes one line to stderr and answers "Ignore"
// (or "OK" / "No" where "Ignore" is not offered). Informational notices (icon "Information", such
// as "Later") are not errors: without a notifier of the host they go to the log (LogInfo), which
// is off unless the environment variable RYKEL_LOG is "info". RYKEL_QUIET silences both.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace rykel {

struct Notification {
  std::string caption;
  std::string text;
  std::string buttons;  // "OK", "AbortRetryIgnore", "YesNo"
  std::string icon;     // "Critical", "Information", ""
};

// Returns the answer: "OK", "Abort", "Retry", "Ignore", "Yes" or "No".
using Notifier = std::function<std::string(const Notification&)>;

// Installs the process-wide notifier; an empty function restores the headless default.
void SetNotifier(Notifier n);
std::string Notify(const Notification& n);
// The headless answer: "Ignore" where offered, else "No" for YesNo, else "OK".
std::string DefaultAnswer(const Notification& n);
// True when informational lines are written (RYKEL_LOG=info, any case, and no RYKEL_QUIET).
bool LogInfoOn();
// Writes "[caption] text" (line breaks as blanks) to stderr when LogInfoOn().
void LogInfo(std::string_view pCaption, std::string_view pText);

}  // namespace rykel
