// rykel: the command-line host of the component. main is the one place where a command's failure
// is caught and printed: one message on stderr, exit 1 for runtime errors and 2 for usage errors.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <new>
#include <string_view>

#include "CommandFailure.h"
#include "Commands.h"
#include "frame/Error.h"

namespace rykel::cli {

namespace {

// "rykel db add": the program and the sub-commands this run reached.
std::string hCommandPath(const CLI::App& app) {
  std::string path = "rykel";
  const CLI::App* at = &app;
  while (at) {
    auto parsed = at->get_subcommands();
    at = parsed.empty() ? nullptr : parsed.front();
    if (at) path += " " + at->get_name();
  }
  return path;
}

std::string hCommandList(const CLI::App& app) {
  std::string list;
  for (const auto* sub : app.get_subcommands({})) list += (list.empty() ? "" : ", ") + sub->get_name();
  return list;
}

// The sub-command names in argv must name commands: "rykel bogus" or "rykel db bogus" is an unknown
// command, not CLI11's "A subcommand is required". A group of commands takes no other plain
// argument, so the first one that is not an option is a command name. Returns the message, or "".
std::string hUnknownCommand(CLI::App& app, int argc, char** argv) {
  CLI::App* at = &app;
  std::string path = "rykel";
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    if (arg.starts_with("-")) return {};
    if (at->get_subcommands({}).empty()) return {};
    CLI::App* next = nullptr;
    try {
      next = at->get_subcommand(arg);
    } catch (const CLI::OptionNotFound&) {}
    if (!next) {
      std::string where = path == "rykel" ? "commands" : "commands of " + path.substr(6);
      return "unknown command '" + (path == "rykel" ? arg : path.substr(6) + " " + arg) + "'; " + where + ": " +
             hCommandList(*at);
    }
    at = next;
    path += " " + arg;
  }
  // A group given without its command: name the ones it has.
  if (at != &app && !at->get_subcommands({}).empty())
    return "'" + path.substr(6) + "' needs a command: " + hCommandList(*at);
  if (at == &app && argc < 2) return "a command is required: " + hCommandList(app);
  return {};
}

// The program's commands in the order --help lists them; the commands of "db" come from five files.
struct CommandGroup {
  std::string_view name;
  void (*add)(CLI::App&);
};
constexpr CommandGroup kCommandGroups[] = {
    {"classes", AddClassesCommand}, {"struct", AddStructCommands}, {"serialized", AddSerializedCommands},
    {"tree", AddTreeCommands},      {"db", AddDbCommands},         {"db", AddQueryCommands},
    {"db", AddDbExportCommand},     {"db", AddSchemaCommands},     {"db", AddDbImportCommand},
    {"render", AddRenderCommand},   {"check", AddCheckCommand},    {"build", AddBuildCommand},
    {"serve", AddServeCommand},     {"random", AddRandomCommands}, {"help", AddHelpCommand}};

// A run names its command first ("rykel db export ..."): only that command's tree is built, which
// spares the program the options of every other command (most of its start-up and a good part of
// its memory). Anything else (an option, an unknown name, help) gets every command, since it may
// list them.
void hAddCommands(CLI::App& app, std::string_view pFirst) {
  bool known = pFirst != "help" && std::any_of(std::begin(kCommandGroups), std::end(kCommandGroups),
                                               [&](const CommandGroup& g) { return g.name == pFirst; });
  for (const CommandGroup& g : kCommandGroups)
    if (!known || g.name == pFirst) g.add(app);
}

int hRun(CLI::App& app, int argc, char** argv) {
  if (std::string unknown = hUnknownCommand(app, argc, argv); !unknown.empty())
    return ReportFailure("rykel", unknown + " (see rykel --help)", kExitUsage);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& e) { return app.exit(e); } catch (const CLI::CallForAllHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForVersion& e) { return app.exit(e); } catch (const CLI::Success& e) {
    return app.exit(e);
  } catch (const CLI::RuntimeError& e) {
    // Thrown by a command that has already said what went wrong; the code is 1 or 2.
    int code = e.get_exit_code() == kExitUsage ? kExitUsage : kExitError;
    return ReportFailure(hCommandPath(app), e.what() == std::string("Runtime error") ? "" : e.what(), code);
  } catch (const CLI::ParseError& e) {
    std::string path = hCommandPath(app), message = e.what();
    // A check named after its command ("render: give a template") need not say the name twice.
    std::string own = path.substr(path.rfind(' ') + 1) + ": ";
    if (message.starts_with(own)) message.erase(0, own.size());
    return ReportFailure(path, message + " (see " + path + " --help)", kExitUsage);
  } catch (const CommandFailure& e) {
    return ReportFailure(hCommandPath(app), e.what(), e.exit == kExitUsage ? kExitUsage : kExitError);
  } catch (const Error& e) {
    if (e.number == err::kOutOfMemory) return ReportFailure(hCommandPath(app), "out of memory", kExitError);
    return ReportFailure(
        hCommandPath(app),
        e.description + " (#" + std::to_string(e.number) + (e.source.empty() ? "" : ", ") + e.source + ")", kExitError);
  }
  // Output that could not be written (a full disk, a closed pipe) must not look like success.
  std::cout.flush();
  errno = 0;
  if (std::fflush(stdout) != 0 || std::ferror(stdout) || !std::cout)
    return ReportFailure("rykel",
                         std::string("could not write the output: ") + (errno ? std::strerror(errno) : "write error"));
  return kExitOk;
}

}  // namespace

}  // namespace rykel::cli

int main(int argc, char** argv) {
  using namespace rykel::cli;
  try {
    // The library's errors reach main as exceptions and are printed here, once; the headless
    // policy would print each one a second time on its way up.
    rykel::SetErrorPolicy([](const rykel::ErrorContext&) { return rykel::kDecisionRaise; });
    CLI::App app{"rykel: KEL templates, structures and a small file database"};
    app.set_version_flag("--version", std::string("rykel ") + RYKEL_VERSION);
    app.require_subcommand(1);
    hAddCommands(app, argc > 1 ? argv[1] : "");
    return hRun(app, argc, argv);
  } catch (const std::bad_alloc&) {
    // No allocation from here on: the message is a literal.
    std::fputs("rykel: out of memory\n", stderr);
    return kExitError;
  } catch (const std::exception& e) {
    return ReportFailure("rykel", std::string("internal error: ") + e.what(), kExitError);
  } catch (...) {
    std::fputs("rykel: internal error\n", stderr);
    return kExitError;
  }
}
