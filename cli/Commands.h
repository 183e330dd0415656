// The rykel program's sub-commands; each area adds its own in its own file.
#pragma once

#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <vector>

#include "database/cls_DB.h"
#include "structure/cls_Structure.h"

namespace rykel::cli {

// Reads a whole file, or standard input for "-", never more than INPUT.SIZE.MAX bytes. Raises the
// library's file errors (53 not found, 1000 "... is larger than INPUT.SIZE.MAX", ...).
std::string ReadInput(const std::string& path);

// The filter structure of ENTRYFILTERADVANCED from "FIELD=CONDITION" texts (all must hold, or any
// with pOr). A text without "=" or without a field, or (given pDB) a field pDB does not have, fails
// with a usage error naming pOption.
std::shared_ptr<rykel::cls_Structure> FilterFromConditions(const std::vector<std::string>& pConditions, bool pOr,
                                                           const std::string& pOption,
                                                           const rykel::cls_DB* pDB = nullptr);

void AddClassesCommand(CLI::App& app);
void AddStructCommands(CLI::App& app);
void AddSerializedCommands(CLI::App& app);
void AddTreeCommands(CLI::App& app);
void AddDbCommands(CLI::App& app);
// db query / filter / search / sort; REQUIRES: AddDbCommands ran.
void AddQueryCommands(CLI::App& app);
// rykel db export: after AddDbCommands, under its "db" command.
void AddDbExportCommand(CLI::App& app);
void AddRenderCommand(CLI::App& app);
void AddRandomCommands(CLI::App& app);
// rykel help [TOPIC] and the manual page.
void AddHelpCommand(CLI::App& app);

}  // namespace rykel::cli
