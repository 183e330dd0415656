// Notifier: how the component shows a message box on a machine without a user interface.
// A host installs its own; the headless default writes one line to stderr and answers "Ignore"
// (or "OK" / "No" where "Ignore" is not offered).
#pragma once

#include <functional>
#include <string>

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

}  // namespace rykel
