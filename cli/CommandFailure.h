// CommandFailure: how a command of the rykel program reports that it failed. Every failure prints
// one message on stderr, "rykel COMMAND: message", and the program exits with one of three codes.
// Commands throw through Fail/FailUsage; main is the one place that catches and prints them.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace rykel::cli {

// The program's exit codes: 0 success, 1 a runtime or template error, 2 a usage error (an unknown
// command or option, a missing argument, a value that does not fit its field or option).
constexpr int kExitOk = 0;
constexpr int kExitError = 1;
constexpr int kExitUsage = 2;

class CommandFailure : public std::runtime_error {
 public:
  // An empty message means the command has already told the user (render's error list) and only
  // the exit code is left to give.
  CommandFailure(int pExit, std::string pMessage) : std::runtime_error(std::move(pMessage)), exit(pExit) {}
  int exit;
};

// Ends the running command: main prints pMessage once, prefixed with the command, and exits pExit.
[[noreturn]] void Fail(int pExit, std::string pMessage);
// Fail(kExitUsage, pMessage).
[[noreturn]] void FailUsage(std::string pMessage);

// Prints "pCommand: pMessage" as one line on stderr (nothing when pMessage is empty) and returns
// pExit, for a command that reports a failure and goes on (db remove of several ids) and for main.
// pCommand is "rykel" or the command's path, "rykel db add". Line breaks inside pMessage become
// blanks.
int ReportFailure(std::string_view pCommand, std::string_view pMessage, int pExit = kExitError);

}  // namespace rykel::cli
