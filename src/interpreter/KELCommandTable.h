// KELCommandTable: how a module built on a table of commands runs one. A row is
// {name, wanted, run}: the command word (upper case), its wanted parameters for SYNTAXCHECK
// ("" for none) and the function that does the work.
//
//   constexpr MyCommand kCommands[] = {{"HELLO", "NAME", hHello}};
//   ListCommands(*module_, kCommands);                       // what CHECK knows of the module
//   if (!RunCommand(kCommands, pCmd, pParameters, pKEL, rValue, [&](const MyCommand& r) { ... }))
//     rValue = Variant(pKEL.ERRORS("MY function not supported", pCmd));
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "frame/Text.h"
#include "interpreter/cls_KEL.h"
#include "interpreter/cls_KELModule.h"

namespace rykel {

// Lists every command word of the table on the module.
template <class Row, size_t N>
void ListCommands(cls_KELModule& rModule, const Row (&pTable)[N]) {
  for (const Row& row : pTable) rModule.COMMAND(row.name);
}

// Runs the row named pCmd (any case): rValue is pRun(row) once SYNTAXCHECK accepted the row's
// wanted parameters, "" when it did not (SYNTAXCHECK has listed the error). False when no row has
// that name (rValue untouched).
template <class Row, size_t N, class Run>
bool RunCommand(const Row (&pTable)[N], std::string_view pCmd, const StructurePtr& pParameters, cls_KEL& pKEL,
                Variant& rValue, Run&& pRun) {
  const std::string cmd = text::UCase(pCmd);
  for (const Row& row : pTable) {
    if (row.name != cmd) continue;
    if (!row.wanted.empty() && !pKEL.SYNTAXCHECK(pParameters, row.wanted)) rValue = Variant("");
    else rValue = pRun(row);
    return true;
  }
  return false;
}

}  // namespace rykel
