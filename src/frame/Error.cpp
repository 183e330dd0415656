#include "frame/Error.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <new>

#include "frame/Notifier.h"

namespace rykel {

namespace {

std::mutex gPolicyMutex;
ErrorPolicy gPolicy;

int hHeadlessPolicy(const ErrorContext& ctx) {
  if (!std::getenv("RYKEL_QUIET")) {
    std::string line = hErrorLine(ctx.error, ctx.project, ctx.module, ctx.procedure);
    std::fprintf(stderr, "%s\n", line.c_str());
  }
  return kDecisionRaise;
}

bool hIsFileError(int n) { return n >= 52 && n <= 76; }

}  // namespace

Error::Error(int n, std::string d, std::string s)
    : std::runtime_error(d), number(n), description(std::move(d)), source(std::move(s)) {}

void Raise(int number, std::string description, std::string source) {
  throw Error(number, std::move(description), std::move(source));
}

void SetErrorPolicy(ErrorPolicy policy) {
  std::lock_guard<std::mutex> lock(gPolicyMutex);
  gPolicy = std::move(policy);
}

std::string hErrorLine(const Error& e, std::string_view project, std::string_view module, std::string_view procedure) {
  std::string s = "Fehler: #" + std::to_string(e.number) + " - " + e.description + " @ ";
  s.append(project).append(".").append(module).append(".").append(procedure);
  return s;
}

std::string hErrorFramed(const Error& e) {
  if (hIsFileError(e.number)) return "Dateizugriff fehlgeschlagen (" + e.description + ")";
  if (e.number == err::kOutOfMemory) return "Nicht genügend freier Arbeitsspeicher (" + e.description + ")";
  if (e.number == err::kInvalidCall) return "Ungültiger Parameter (" + e.description + ")";
  // Other runtime errors (below the component's own numbers) were not expected by the code.
  if (e.number > 0 && e.number < err::kInvalidData)
    return "Unbehandelter Fehler #" + std::to_string(e.number) + ": " + e.description;
  return e.description;
}

ErrorDialog hErrorDialog(const Error& e, std::string_view project, std::string_view module,
                         std::string_view procedure) {
  const std::string nl = "\r\n";
  ErrorDialog d;
  std::string where = "Anwendung: " + std::string(project) + nl + "Modul: " + std::string(module) + nl +
                      "Prozedur: " + std::string(procedure) + nl;
  if (hIsFileError(e.number)) {
    d.caption = "Datei-Fehler!";
    d.text = "Es ist ein Fehler beim Zugriff auf eine Datei aufgetreten: " + hErrorFramed(e) + nl + nl + where + nl +
             "Wie möchten Sie fortfahren?";
  } else {
    d.caption = "Programmfehler!";
    d.text = "Es ist ein unerwarteter Programmfehler aufgetreten: " + nl + nl + "Fehler: " + hErrorFramed(e) + nl +
             where + "Anweisung: " + nl + "Fehlernummer: #" + std::to_string(e.number) + nl + nl +
             "Wie möchten Sie fortfahren?";
  }
  return d;
}

int DialogErrorPolicy(const ErrorContext& ctx) {
  ErrorDialog d = hErrorDialog(ctx.error, ctx.project, ctx.module, ctx.procedure);
  std::string answer = Notify({d.caption, d.text, "AbortRetryIgnore", "Critical"});
  if (answer == "Retry") return kDecisionRetry;
  if (answer == "Ignore") return kDecisionContinue;
  if (answer == "Abort" && d.caption == "Programmfehler!") {
    std::string sure = Notify({"ACHTUNG: Wirklich beenden?",
                               "Sind Sie sicher, daß Sie dieses Programm sofort beenden möchten? "
                               "Dadurch gehen ungespeicherte Arbeiten eventuell verloren! Trotzdem "
                               "beenden?",
                               "YesNo", "Critical"});
    if (sure == "Yes") std::_Exit(1);
  }
  return kDecisionRaise;
}

int ERRHANDLE(Error& rErr, std::string_view pProject, std::string_view pModule, std::string_view pProcedure, bool, bool,
              const Variant&) {
  ErrorPolicy policy;
  {
    std::lock_guard<std::mutex> lock(gPolicyMutex);
    policy = gPolicy;
  }
  ErrorContext ctx{rErr, pProject, pModule, pProcedure};
  return policy ? policy(ctx) : hHeadlessPolicy(ctx);
}

namespace detail {

namespace {
// One decision for every kind of failure: retry, continue, or mark it handled and raise it.
int hDecide(Error e, const char* module, const char* procedure, int attempt) {
  int decision = ERRHANDLE(e, "KEL", module, procedure);
  if (decision == kDecisionRetry && attempt < kMaxRetries) return kDecisionRetry;
  if (decision == kDecisionRetry || decision == kDecisionRaise) {
    e.handled = true;
    e.source = std::string(module) + "." + procedure;
    throw e;
  }
  return kDecisionContinue;
}
}  // namespace

int hHandleCurrent(const char* module, const char* procedure, int attempt) {
  try {
    throw;
  } catch (const Error& e) {
    if (e.handled) throw;
    return hDecide(e, module, procedure, attempt);
  } catch (const std::bad_alloc&) {
    return hDecide(Error(err::kOutOfMemory, "Out of memory"), module, procedure, attempt);
  } catch (const std::exception& ex) { return hDecide(Error(err::kInternal, ex.what()), module, procedure, attempt); }
}

}  // namespace detail

}  // namespace rykel
