// rykel: the command-line host of the component.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>

#include "Commands.h"
#include "frame/Error.h"

int main(int argc, char** argv) {
  CLI::App app{"rykel: KEL templates, structures and a small file database"};
  app.set_version_flag("--version", std::string("rykel ") + RYKEL_VERSION);
  app.require_subcommand(1);
  rykel::cli::AddClassesCommand(app);
  rykel::cli::AddStructCommands(app);
  rykel::cli::AddSerializedCommands(app);
  rykel::cli::AddTreeCommands(app);
  rykel::cli::AddDbCommands(app);
  rykel::cli::AddQueryCommands(app);
  rykel::cli::AddDbExportCommand(app);
  rykel::cli::AddRenderCommand(app);
  rykel::cli::AddRandomCommands(app);
  rykel::cli::AddHelpCommand(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    return app.exit(e);
  } catch (const rykel::Error& e) {
    std::fprintf(stderr, "rykel: %s (#%d%s%s)\n", e.description.c_str(), e.number,
                 e.source.empty() ? "" : ", ", e.source.c_str());
    return 1;
  }
  // Output that could not be written (a full disk, a closed pipe) must not look like success.
  std::cout.flush();
  errno = 0;
  if (std::fflush(stdout) != 0 || std::ferror(stdout) || !std::cout) {
    std::fprintf(stderr, "rykel: could not write the output: %s\n",
                 errno ? std::strerror(errno) : "write error");
    return 1;
  }
  return 0;
}
