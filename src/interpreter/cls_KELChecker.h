// cls_KELChecker: reads a template without running it and lists its mistakes (cls_KEL::CHECK).
//
// It walks the text as PROCESS would (the same command scan, script and style sections protected
// the same way) and each command as EXECUTE would (the same preparation, tokens, command table and
// parameter-count messages), but runs nothing: block bodies, quoted templates and parenthesised
// expressions are walked where they stand, each block body as a text of its own. It reports
//   - a "{" without its "}", a quote without its partner, a "(" without its ")"; a "}" outside any
//     command and a ")" outside any group (warnings: they are printed as they are)
//   - command words that neither the command table, FUNCTIONS nor a module takes, module aliases
//     the registry does not know, module commands the module does not list (cls_KELModule
//     COMMANDS; a module that lists none takes any), with "did you mean" for a close name
//   - parameter counts of the table's commands and a DO without WHILE or UNTIL
//   - ELSEIF and ELSE that do not follow an IF or ELSEIF of their own text
//   - INCLUDE and MASTER names that LOCATE cannot find (names built by a command are skipped)
//   - operator runs that are no operator ("=+")
//   - a text of more than SYS.COMMANDS.MAX commands, block bodies nested more than
//     SYS.NESTING.MAX deep, a text larger than INPUT.SIZE.MAX
//   - a quote inside COMMENT that carries the comment past its "}"
// The registry, DIRECTORIES, FUNCTIONS and SETTINGS are read as they are at the call, so a module
// added to the interpreter is known to the check. Findings come in text order, at most
// SYS.ERRORS.MAX of them and then one line that says so.
#pragma once

#include <string_view>
#include <vector>

#include "interpreter/KELFinding.h"

namespace rykel {

class cls_KEL;

class cls_KELChecker {
 public:
  // The findings of one template text; pFile is the name they carry. Raises only when memory runs out.
  static std::vector<KELFinding> Check(cls_KEL& k, std::string_view pText, std::string_view pFile);
  // The closest of pCandidates to pName (same case expected) that a slip of one character (two for
  // names longer than four) explains; "" when none is that close. A swap of neighbours is one slip.
  static std::string_view Closest(std::string_view pName, const std::vector<std::string_view>& pCandidates);
};

}  // namespace rykel
