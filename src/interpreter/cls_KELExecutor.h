// cls_KELExecutor: runs one command. Prepares the command text, takes its tokens from
// cls_KELTokenizer, decodes parameters through cls_KEL::DECODE, evaluates expressions and dispatches
// the command word through one table of {"NAME", handler} rows; what the table does not know goes to
// the module registry. Never rescans raw template text: blocks go back to the front end.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "frame/Variant.h"
#include "interpreter/cls_KELTokenizer.h"
#include "structure/cls_Structure.h"

namespace rykel {

class cls_KEL;
// A command text decoded once: its tokens, its command word's handler, its variable paths as name
// atoms, its parameters' expressions with their operands and operators. Known only to the executor; the front end keeps
// one with each command of a prepared text.
struct KELPlan;

// A command of a prepared template text: the "{" that begins it, the "}" that ends it (the text's
// size when none does), the quote left open when it has one (0 otherwise), and its plan.
struct KELSpan {
  size_t open, close;
  char unclosed;
  std::shared_ptr<KELPlan> plan;  // nullptr: the command is decoded when it runs
};

// The operators in binding order; the position in the list (1..14) is the operator's number.
// ORDER: kOperators in cls_KELExecutor.cpp follows this enum.
enum class enm_KELOperator : uint8_t {
  None = 0,
  Power,
  Multiply,
  Divide,
  Add,
  Subtract,
  GreaterEqual,
  LessEqual,
  NotEqual,
  Equal,
  Less,
  Greater,
  Or,
  And,
  Assign,
  Count_
};

// What a one-word command text refers to, read before any tokens: "VAR:name", "DATA:name",
// "BLOCK:name", "%n" (a parameter of the call), "@@command" (deferred); None for anything else.
enum class enm_KELReference : uint8_t { None, Var, Data, Block, Placeholder, Deferred };

class cls_KELExecutor {
 public:
  // EXECUTE: the command's value; errors become error texts in ERRORLIST. Never raises.
  static Variant Execute(cls_KEL& k, std::string_view pCmd, const StructurePtr& pData);
  // The plan of a command text, as Execute decodes it; nullptr for a text that gets none (empty
  // or long ones). The plan holds its own copy of the text.
  static std::shared_ptr<KELPlan> PlanOf(std::string_view pCmd);
  // Execute with the plan PlanOf gave for pCmd (nullptr: as Execute). With pSink, the front end's
  // output, a command that makes text from blocks (a loop, IF, ELSEIF, ELSE) appends it there and
  // gives "" (the caller treats what was appended as the command's text); pSink must end with
  // everything output before the command.
  static Variant ExecutePlanned(cls_KEL& k, std::string_view pCmd, const StructurePtr& pData, KELPlan* pPlan,
                                std::string* pSink = nullptr);
  // Answers planned commands without running them, inside a PROCESS, when their text needs no
  // second scan: a "VAR:name" whose variable holds a text, or an IF on a bare name ("(row.active)")
  // whose blocks are plain text. Takes the commands pSpans[0..pCount) of the prepared text pText
  // one after the other, from rPos (where the text not yet output begins): appends the text
  // before each and its answer to rOut, records it as running it would have (counts, an IF's
  // chain record) and moves rPos past it. Stops at the first command that must run: another kind,
  // a value of another kind, a text holding "{", rOut growing past pOutMax, or a bound to be
  // reported; that one and the text before it are left alone. The number of commands answered.
  static size_t AppendPlanned(cls_KEL& k, const KELSpan* pSpans, size_t pCount, std::string_view pText, size_t& rPos,
                              std::string& rOut, size_t pOutMax);
  // True when the command text is a variable reference, "VAR:name" or "DATA:name" (what the
  // autoescape setting escapes).
  static bool IsVariableOutput(std::string_view pCmd);
  // The operator of a token text after LITERAL ("AND" -> And), None when it is no operator.
  static enm_KELOperator OperatorOf(std::string_view pText);
  // The binding level of an operator: lower binds tighter. "*" "/" share a level, as do "+" "-"
  // and the six comparisons; then "||", then "&&", then ":=".
  static int Level(enm_KELOperator pOp);

  // The rules EXECUTE applies before it runs anything, for readers that must not run the command
  // (the template check, cls_KELChecker).
  // The command text as EXECUTE takes it: "$" pairs around it, leading blanks, tabs and line breaks
  // and trailing ones dropped. A view into pCmd.
  static std::string_view Prepare(std::string_view pCmd);
  // The reference a prepared command text is; None when it goes to the tokenizer.
  static enm_KELReference ReferenceOf(std::string_view pCmd);
  // A parameter word that DECODE runs as a command: "VAR:x", "IO:DATE", "%1", "@@...".
  static bool IsReferenceWord(std::string_view pWord);
  // The text after the command word, trimmed and unquoted: the name INCLUDE, MASTER and LOCATE
  // take (processed first when it holds "{"). A view into pCmd.
  static std::string_view RestOf(std::string_view pCmd);
  // The command words of the executor's own table (IF, ELSE, WHILE, VAR, ...), in table order.
  static std::vector<std::string_view> CommandWords();
  // True when the word (any case) is one of them.
  static bool IsCommandWord(std::string_view pWord);
  // The error title a table command's parameters give before it runs ("IF requires 2 or 3
  // parameters, 1 were given!", "Wrong ending for DO loop"); "" when they fit or when the word is
  // not in the table.
  static std::string ParameterError(std::string_view pWord, const KELToken* pParams, size_t pCount);
};

}  // namespace rykel
