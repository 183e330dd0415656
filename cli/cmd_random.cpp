// rykel random: random German test data from a field name or a pattern, one value a line.
#include <cstdio>
#include <memory>
#include <string>

#include "Commands.h"
#include "host/sys_Global.h"
#include "tools/cls_DBTool.h"

namespace rykel::cli {

void AddRandomCommands(CLI::App& app) {
  auto* cmd = app.add_subcommand(
      "random",
      "Print random test data, one value a line: a field name (VORNAME, NACHNAME, STRASSE, PLZ, ORT,\n"
      "TELEFON, EMAIL, WEB, DOMAIN, FIRMA, ...) or a pattern such as \"{D*5}\" or \"0{d[4-5]}-{d[4-10]}\"");
  struct Options {
    std::string what;
    long long count = 1;
    long long seed = 0;
    int type = 1;
    std::string members;
  };
  auto opt = std::make_shared<Options>();
  cmd->add_option("PATTERN_OR_FIELD", opt->what, "Field name or pattern with {placeholders}")->required();
  cmd->add_option("-n,--count", opt->count, "Number of values (default 1)")->check(CLI::NonNegativeNumber);
  auto* seed = cmd->add_option("--seed", opt->seed, "Seed for reproducible values (default: a fresh sequence)");
  cmd->add_option("-t,--type", opt->type,
                  "Field type code for names without a generator: 0 whole number, 1 text, 2 date, 3 boolean,\n"
                  "5 choice, 7 number, 10 multiple choice (default 1)");
  cmd->add_option("--members", opt->members, "Members of a choice field, separated by \",\"");
  cmd->callback([opt, seed] {
    const auto& tool = sys_Global::DBTOOL_GET();
    if (*seed) tool->RANDOMIZE(opt->seed);
    // One buffer for every value; written out in blocks.
    std::string buffer;
    buffer.reserve(1 << 16);
    for (long long i = 0; i < opt->count; ++i) {
      tool->hRandomAppend(buffer, opt->what, opt->type, opt->members);
      buffer += '\n';
      if (buffer.size() >= (1 << 16) - 1024) {
        std::fwrite(buffer.data(), 1, buffer.size(), stdout);
        buffer.clear();
      }
    }
    std::fwrite(buffer.data(), 1, buffer.size(), stdout);
  });
}

}  // namespace rykel::cli
