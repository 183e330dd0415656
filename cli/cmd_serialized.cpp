// rykel serialized ...: check and convert serialized and compact structure texts.
#include <cstdio>
#include <string>

#include "Commands.h"
#include "structure/cls_Structure.h"

namespace rykel::cli {

void AddSerializedCommands(CLI::App& app) {
  auto* ser = app.add_subcommand("serialized", "Check and convert serialized (PHP) and compact (QS1:) structure texts");
  ser->require_subcommand(1);
  static std::string file = "-";

  // Each sub-command reads FILE (or standard input) in either form.
  auto read = [] {
    auto s = cls_Structure::New();
    s->UNSERIALIZE(ReadInput(file));
    return s;
  };
  auto* check = ser->add_subcommand("check", "Read the text and print how many items it holds");
  check->add_option("file", file, "serialized or compact text, - for standard input");
  check->callback([read] {
    auto s = read();
    std::printf("OK: %d items, %d in the whole tree\n", s->COUNT(), s->COUNTALL());
  });
  auto* plain = ser->add_subcommand("plain", "Print the text in the serialized form");
  plain->add_option("file", file, "serialized or compact text, - for standard input");
  plain->callback([read] { std::fputs(read()->SERIALIZE().c_str(), stdout); });
  auto* compact = ser->add_subcommand("compact", "Print the text in the compact form");
  compact->add_option("file", file, "serialized or compact text, - for standard input");
  compact->callback([read] { std::fputs(read()->SERIALIZEBINARY().c_str(), stdout); });
}

}  // namespace rykel::cli
