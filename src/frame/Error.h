// Error: the one exception type of the component, and the common error convention.
//
// Every public operation runs its body through Guard(). On failure Guard calls ERRHANDLE, which
// asks the installed error policy for a decision code:
//   3         raise again to the caller, source "module.OPERATION"
//   1         retry the operation (at most kMaxRetries times, then raise)
//   any other continue: the operation returns its default (empty, zero, false) result
// The headless default policy writes the one-line form to stderr and answers 3.
// An error is handled once, where it happened: outer operations pass it on unchanged.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "frame/Variant.h"

namespace rykel {

// Error numbers of the classic runtime that the component raises.
namespace err {
constexpr int kInvalidCall = 5;  // invalid procedure call or argument
constexpr int kOverflow = 6;
constexpr int kOutOfMemory = 7;
constexpr int kOutOfRange = 9;  // subscript out of range
constexpr int kDivisionByZero = 11;
constexpr int kTypeMismatch = 13;
constexpr int kInternal = 51;
constexpr int kFileNotFound = 53;
constexpr int kFileIO = 57;  // device I/O error
constexpr int kDiskFull = 61;
constexpr int kInputPastEnd = 62;
constexpr int kPermissionDenied = 70;
constexpr int kPathFileAccess = 75;
constexpr int kPathNotFound = 76;
constexpr int kInvalidUseOfNull = 94;
constexpr int kObjectRequired = 424;
constexpr int kInvalidData = 1000;  // the component's own errors on bad input
}  // namespace err

class Error : public std::runtime_error {
 public:
  Error(int number, std::string description, std::string source = {});
  int number;
  std::string description;
  std::string source;
  bool handled = false;  // ERRHANDLE has seen it; outer operations pass it on
};

// Throws Error(number, description). The one throw point of the component.
[[noreturn]] void Raise(int number, std::string description, std::string source = {});

// What ERRHANDLE passes to a policy.
struct ErrorContext {
  const Error& error;
  std::string_view project;    // "KEL"
  std::string_view module;     // class or module name, "cls_StructureManager"
  std::string_view procedure;  // operation name as the component spells it, "ITEM.LET"
};
using ErrorPolicy = std::function<int(const ErrorContext&)>;

constexpr int kDecisionRetry = 1;
constexpr int kDecisionRaise = 3;
constexpr int kDecisionContinue = 0;
constexpr int kMaxRetries = 3;

// Installs the process-wide policy; an empty function restores the headless default.
void SetErrorPolicy(ErrorPolicy policy);
// A policy that shows ERRHANDLE's German dialogs through the notifier and maps the answers:
// Retry -> 1, Ignore -> continue, Abort -> the "ACHTUNG" question (Yes ends the process) then raise.
int DialogErrorPolicy(const ErrorContext& ctx);

// The common error handler. The two flags and the extra value are passed on to the policy's log
// line only; they exist for callers written against the classic signature.
int ERRHANDLE(Error& rErr, std::string_view pProject, std::string_view pModule, std::string_view pProcedure,
              bool pFlag1 = true, bool pFlag2 = false, const Variant& pExtra = {});

// "Fehler: #5 - text @ KEL.cls_X.OP"
std::string hErrorLine(const Error& e, std::string_view project, std::string_view module, std::string_view procedure);
// The description as ERRHANDLE frames it: file errors, memory, arguments, unhandled runtime errors.
std::string hErrorFramed(const Error& e);
// Caption and text of the dialog ERRHANDLE shows for this error.
struct ErrorDialog {
  std::string caption;
  std::string text;
};
ErrorDialog hErrorDialog(const Error& e, std::string_view project, std::string_view module, std::string_view procedure);

namespace detail {
// Turns the exception in flight into an Error and runs ERRHANDLE; returns the decision.
int hHandleCurrent(const char* module, const char* procedure, int attempt);
}  // namespace detail

// Runs body under the common error convention. On "continue" returns fallback.
template <class F, class R = std::invoke_result_t<F>>
R Guard(const char* module, const char* procedure, F&& body, R fallback = R{}) {
  for (int attempt = 0;; ++attempt) {
    try {
      return body();
    } catch (...) {
      int decision = detail::hHandleCurrent(module, procedure, attempt);
      if (decision == kDecisionRetry) continue;
      return fallback;
    }
  }
}

template <class F>
void GuardVoid(const char* module, const char* procedure, F&& body) {
  Guard(module, procedure, [&] {
    body();
    return 0;
  });
}

}  // namespace rykel
