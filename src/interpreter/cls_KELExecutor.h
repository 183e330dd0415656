// cls_KELExecutor: runs one command. Prepares the command text, takes its tokens from
// cls_KELTokenizer, decodes parameters through cls_KEL::DECODE, evaluates expressions and dispatches
// the command word through one table of {"NAME", handler} rows; what the table does not know goes to
// the module registry. Never rescans raw template text: blocks go back to the front end.
#pragma once

#include <string_view>

#include "frame/Variant.h"
#include "structure/cls_Structure.h"

namespace rykel {

class cls_KEL;

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

class cls_KELExecutor {
 public:
  // EXECUTE: the command's value; errors become error texts in ERRORLIST. Never raises.
  static Variant Execute(cls_KEL& k, std::string_view pCmd, const StructurePtr& pData);
  // True when the command text is a variable reference, "VAR:name" or "DATA:name" (what the
  // autoescape setting escapes).
  static bool IsVariableOutput(std::string_view pCmd);
  // The operator of a token text after LITERAL ("AND" -> And), None when it is no operator.
  static enm_KELOperator OperatorOf(std::string_view pText);
  // The binding level of an operator: lower binds tighter. "*" "/" share a level, as do "+" "-"
  // and the six comparisons; then "||", then "&&", then ":=".
  static int Level(enm_KELOperator pOp);
};

}  // namespace rykel
