// rykel classes: the classes a host can create by name.
#include <cstdio>

#include "Commands.h"
#include "host/sys_Global.h"

namespace rykel::cli {

void AddClassesCommand(CLI::App& app) {
  auto* cmd = app.add_subcommand("classes", "List the classes a host can create by name (RyKEL.<name>)");
  cmd->callback([] {
    for (const auto& name : CreatableClasses()) std::printf("RyKEL.%s\n", name.c_str());
  });
}

}  // namespace rykel::cli
