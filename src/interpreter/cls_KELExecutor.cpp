#include "interpreter/cls_KELExecutor.h"

#include <cmath>
#include <iterator>
#include <string>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Error.h"
#include "frame/Text.h"
#include "frame/mdl_Global.h"
#include "interpreter/KELNames.h"
#include "interpreter/cls_KEL.h"
#include "interpreter/cls_KELDecoder.h"
#include "interpreter/cls_KELFrontEnd.h"
#include "interpreter/cls_KELModules.h"
#include "interpreter/cls_KELState.h"
#include "interpreter/cls_KELTokenizer.h"
#include "structure/cls_StructureManager.h"

namespace rykel {

namespace {

// The operator list: "0" is a filler so that each operator's position is its number.
constexpr std::string_view kOperators[] = {
    "0", "^", "*", "/", "+", "-", ">=", "<=", "!=", "==", "<", ">", "||", "&&", ":="};
static_assert(std::size(kOperators) == static_cast<size_t>(enm_KELOperator::Count_));
// Binding level per operator (lower binds tighter); same order as kOperators.
constexpr int kLevels[] = {99, 1, 2, 2, 3, 3, 4, 4, 4, 4, 4, 4, 5, 6, 7};
static_assert(std::size(kLevels) == std::size(kOperators));
constexpr int kLowestLevel = 7;
// Loops stop after this many rounds unless SYS.LOOP.MAX says otherwise.
constexpr int32_t kDefaultLoopMax = 100000;

struct Ctx {
  cls_KEL& k;
  const StructurePtr& data;
  std::string_view text;  // the prepared command text
  const KELToken* params;
  size_t count;
  KELPlan* plan = nullptr;      // the decoded form of the command text, when it has one
  std::string* sink = nullptr;  // the front end's output, when the command may write into it
};

// The empty text most commands give: one shared text, not a new one per command.
Variant hNoText() {
  static const Variant kEmpty("");
  return kEmpty;
}

// Where a command that makes text (a loop, an IF's block) puts it: straight into the front end's
// output when the front end handed it over, else into a text of its own that becomes the value.
// size() counts only what this command appended.
struct CommandOut {
  std::string own;
  std::string& text;
  const size_t from;
  explicit CommandOut(Ctx& c) : text(c.sink ? *c.sink : own), from(text.size()) {}
  size_t size() const { return text.size() - from; }
  // The command's value: its own text, or "" when it wrote into the front end's output.
  Variant Value() const { return &text == &own ? Variant(own) : hNoText(); }
};

bool hIsDigit(char c) { return c >= '0' && c <= '9'; }
bool hIsLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

std::string_view hInner(const KELToken& t) {
  std::string_view s = t.text;
  if (s.size() >= 2 && ((s.front() == '{' && s.back() == '}') || (s.front() == '(' && s.back() == ')') ||
                        ((s.front() == '"' || s.front() == '\'') && s.back() == s.front())))
    return s.substr(1, s.size() - 2);
  return s.substr(1);
}

// A bare name: a letter or "_" first, then letters, digits, "_" and ".".
bool hIsName(std::string_view w) {
  if (w.empty() || !(hIsLetter(w[0]) || w[0] == '_')) return false;
  for (char c : w)
    if (!(hIsLetter(c) || hIsDigit(c) || c == '_' || c == '.' || static_cast<unsigned char>(c) >= 0x80)) return false;
  return true;
}

// The inner text of a block holds exactly one command: "{...}" from its first to its last character.
bool hIsOneCommand(std::string_view s) {
  if (s.size() < 2 || s.front() != '{' || s.back() != '}') return false;
  int depth = 0;
  for (size_t i = 0; i < s.size(); ++i) {
    char c = s[i];
    if (c == '"' || c == '\'') {
      size_t q = s.find(c, i + 1);
      if (q == std::string_view::npos) return false;
      i = q;
      continue;
    }
    if (c == '{') ++depth;
    else if (c == '}' && --depth == 0) return i == s.size() - 1;
  }
  return false;
}

bool hNumber(const Variant& v, double& d) {
  if (v.isEmpty()) {
    d = 0;
    return true;
  }
  if (v.isString()) return ParseNumber(v.str(), d);
  return NumericValue(v, d);
}

bool hTruth(const Variant& v) {
  if (v.isBool()) return v.rawBool();
  if (v.isObject()) return static_cast<bool>(v.obj());
  double d;
  if (!v.isString() && NumericValue(v, d)) return d != 0;
  if (v.isEmpty() || v.isNull()) return false;
  if (v.isString()) return mdl_Global::hCBool(v);
  return true;
}

std::string hText(cls_KEL& k, const Variant& v) { return k.hToText(v); }

// A text that doubles itself round after round ("(s + s)") would take all memory long before the
// output limit sees it: every text a template joins or stores is bounded by SYS.VALUE.MAX.
bool hValueOver(cls_KEL& k, const Variant& v) { return v.isString() && v.str().size() > k.hState().run.valueMax; }

// Records "Value too large" and stops processing, as the output limit does.
Variant hValueTooLarge(cls_KEL& k) {
  Variant e(k.hState().Cut(
      k.ERRORS("Value too large", "more than " + std::to_string(k.hState().run.valueMax) + " bytes (SYS.VALUE.MAX)")));
  k.hState().quit = true;
  return e;
}

// A variable by name or dotted path ("row.name"), Null when there is none. Short ASCII names are
// upper-cased on the stack, so the lookup allocates nothing.
Variant hVariable(cls_KEL& k, std::string_view name) {
  char up[64];
  if (name.size() <= sizeof up) {
    unsigned high = 0;
    for (size_t i = 0; i < name.size(); ++i) {
      auto ch = static_cast<unsigned char>(name[i]);
      high |= ch;
      up[i] = static_cast<char>(ch - (static_cast<unsigned>(ch - 'a') < 26u ? 32 : 0));
    }
    if (high < 0x80)
      return k.VARIABLES->ItemGetDirect_GET(std::string_view(up, name.size()), 0, Variant::Null(), false);
  }
  return k.VARIABLES->ITEM_GET(Variant(name), Variant::Null());
}

// A bare name as an operand: the variable's value, or the name itself when there is none.
Variant hNameValue(cls_KEL& k, std::string_view name) {
  Variant v = hVariable(k, name);
  return v.isNull() ? Variant(name) : v;
}

// A variable name decoded once: its upper-cased parts as name atoms of the structure manager, so
// that a lookup compares numbers in the slots instead of hashing the name again. Only plain
// names of one or two ASCII parts take this way ("COUNT" means the item count and never does);
// the atoms are checked against the manager's name table before each use (by the hash the table
// keeps with each atom), and whatever the direct walk cannot answer goes to the general lookup.
struct VarPath {
  std::string name;                      // as written
  std::string head, tail;                // upper-cased parts; tail empty for a plain name
  ItemName headName, tailName;           // the parts' hashes, and their atoms once found
  int32_t headSlot = -1, tailSlot = -1;  // where the parts were found last (checked before use)
  bool direct = false;
};

VarPath hMakeVarPath(std::string_view name) {
  VarPath p;
  p.name = name;
  if (name.empty() || name.size() > 64) return p;
  std::string up(name);
  for (char& ch : up) {
    if (static_cast<unsigned char>(ch) >= 0x80) return p;
    if (ch >= 'a' && ch <= 'z') ch = static_cast<char>(ch - 32);
  }
  size_t dot = up.find('.');
  p.head = up.substr(0, dot);
  if (dot != std::string::npos) {
    p.tail = up.substr(dot + 1);
    if (p.tail.empty() || p.tail.find('.') != std::string::npos) return p;
  }
  p.direct = !p.head.empty() && p.head != "COUNT" && p.tail != "COUNT";
  p.headName.hash = NameTable::Hash(p.head);
  p.tailName.hash = NameTable::Hash(p.tail);
  return p;
}

// The first used slot named atom in a small node; -1 when there is none, -2 when the node is too
// big to search here (the manager keeps an index for those). Slot 0 counts only in zero-based nodes.
[[gnu::always_inline]] inline int32_t hSlotIn(const cls_StructureManager& m, int32_t id,
                                              const std::vector<cls_StructureManager::Item>& items, uint32_t atom,
                                              int32_t hint) {
  constexpr int32_t kScanMax = 48;
  const int32_t size = static_cast<int32_t>(items.size());
  int32_t end = size;
  if (hint > 0 && hint < size && hint <= kScanMax && items[hint].used && items[hint].name == atom) [[likely]]
    end = hint;  // the hint holds the name: only an earlier slot could come first
  else if (size > kScanMax) return -2;
  for (int32_t i = 0; i < end; ++i) {
    if (items[i].name != atom || !items[i].used) [[likely]]
      continue;
    if (i == 0 && !m.HASZERO_GET(id)) continue;
    return i;
  }
  return end < size ? end : -1;
}

// The head of a path found last in a run of commands that changes nothing (the row of
// "row.name", "row.city", ...): the next path with the same head starts from its slot.
struct HeadSeen {
  uint32_t atom = 0;
  const cls_StructureManager::Item* item = nullptr;
  const std::vector<cls_StructureManager::Item>* inside = nullptr;  // its slots, when a structure
};

// The direct walk: the variable's slot, nullptr when the walk cannot answer. Valid until the
// variables change.
[[gnu::always_inline]] inline const cls_StructureManager::Item* hVarItemIn(
    const cls_StructureManager& m, int32_t vars, const std::vector<cls_StructureManager::Item>& items, VarPath& p,
    HeadSeen* rSeen = nullptr) {
  if (!p.direct) return nullptr;
  if (!KeptAtom(m.Names(), p.headName, p.head)) return nullptr;
  const cls_StructureManager::Item* item;
  const std::vector<cls_StructureManager::Item>* inside = nullptr;
  if (rSeen && rSeen->atom == p.headName.atom) {
    item = rSeen->item;
    inside = rSeen->inside;
  } else {
    int32_t slot = hSlotIn(m, vars, items, p.headName.atom, p.headSlot);
    if (slot < 0) return nullptr;
    p.headSlot = slot;
    item = &items[slot];
    if (rSeen) *rSeen = {p.headName.atom, item, item->isStruct ? &m.Items(item->child) : nullptr};
  }
  if (!p.tail.empty()) {
    if (!item->isStruct || !KeptAtom(m.Names(), p.tailName, p.tail)) return nullptr;
    const int32_t child = item->child;
    if (!inside) inside = &m.Items(child);
    int32_t inner = hSlotIn(m, child, *inside, p.tailName.atom, p.tailSlot);
    if (inner < 0) return nullptr;
    p.tailSlot = inner;
    item = &(*inside)[inner];
  }
  return item;
}

// hVarItemIn for the variables node vars.
[[gnu::always_inline]] inline const cls_StructureManager::Item* hVarItem(const cls_StructureManager& m, int32_t vars,
                                                                         VarPath& p) {
  return hVarItemIn(m, vars, m.Items(vars), p);
}

// The direct walk: true with rValue set when it could answer.
bool hVarDirect(cls_KEL& k, VarPath& p, Variant& rValue) {
  cls_StructureManager& m = *k.VARIABLES->MANAGER_GET();
  const auto* item = hVarItem(m, k.VARIABLES->SID_GET(), p);
  if (!item) return false;
  rValue = item->isStruct ? Variant(m.Ref(item->child)) : item->value;
  return true;
}

// A bare name as an operand, by its decoded path: the variable's value, or the name itself when
// there is none (as hNameValue).
Variant hPathValue(cls_KEL& k, VarPath& p) {
  Variant v;
  if (!hVarDirect(k, p, v)) v = hVariable(k, p.name);
  return v.isNull() ? Variant(p.name) : v;
}

struct KELCommand;

// The text of a token read as an operator ("AND" -> "&&"; the sign of a "-5" word, with
// rSignWord set); false when the token is no operator (the expression ends before it).
bool hOperatorText(const KELToken& tok, std::string& rText, bool& rSignWord) {
  rSignWord = false;
  if (tok.kind == enm_KELToken::Operator) {
    rText = cls_KELDecoder::LITERAL(tok.text);
    return true;
  }
  if (tok.kind != enm_KELToken::Word) return false;
  if (cls_KELDecoder::IsLiteralWord(tok.text)) {
    std::string literal = cls_KELDecoder::LITERAL(tok.text);
    if (literal != "&&" && literal != "||") return false;
    rText = std::move(literal);
    return true;
  }
  if (tok.text.size() >= 2 && (tok.text[0] == '-' || tok.text[0] == '+') && hIsDigit(tok.text[1])) {
    rText = std::string(1, tok.text[0]);
    rSignWord = true;
    return true;
  }
  return false;
}

// An operand of an expression decoded once: a truth word's text or a constant (a number, a date,
// a quoted text without a command), or a bare name with its path. Anything else is decoded as it
// runs.
struct KELOperand {
  enum Kind : uint8_t { Runtime, Constant, Name };
  Kind kind = Runtime;
  Variant value;  // Constant
  VarPath var;    // Name
  // The token read as an operator (in an operator's place), as hOperatorText reads it.
  bool isOperator = false, signWord = false;
  enm_KELOperator op = enm_KELOperator::None;
  std::string opText;
};

// A list of tokens with its operands decoded, one per token.
struct KELExpression {
  std::shared_ptr<const cls_KELTokenizer::Cached> tokens;
  std::vector<KELOperand> operands;
};

// The operands as hOperand reads them: truth words, then bare names, then the parameter value
// where it needs nothing but the text.
std::vector<KELOperand> hMakeOperands(const std::vector<KELToken>& pTokens) {
  std::vector<KELOperand> ops(pTokens.size());
  for (size_t i = 0; i < pTokens.size(); ++i) {
    const KELToken& t = pTokens[i];
    KELOperand& op = ops[i];
    op.isOperator = hOperatorText(t, op.opText, op.signWord);
    if (op.isOperator) op.op = cls_KELExecutor::OperatorOf(op.opText);
    if (t.kind == enm_KELToken::Word && cls_KELDecoder::IsLiteralWord(t.text)) {
      op.kind = KELOperand::Constant;
      op.value = Variant(cls_KELDecoder::LITERAL(t.text));
    } else if (t.kind == enm_KELToken::Word && hIsName(t.text)) {
      op.kind = KELOperand::Name;
      op.var = hMakeVarPath(t.text);
    } else if (t.kind == enm_KELToken::Word || t.kind == enm_KELToken::Quoted) {
      try {
        KELParam p = cls_KELDecoder::Classify(t.text);
        if (p.kind != enm_KELParamKind::QuotedTemplate && p.kind != enm_KELParamKind::Other) {
          op.kind = KELOperand::Constant;
          op.value = std::move(p.value);
        }
      } catch (const std::exception&) {}  // decoded (and reported) as it runs
    }
  }
  return ops;
}

}  // namespace

// What a command text decodes to, kept by the text: the tokens, the command word's handler, for a
// condition written as a bare name ("(row.active)") that name, and the parameters read as
// expressions with their operands decoded. "VAR:name" alone is only the name. Variables are never
// kept: each use looks them up again.
struct KELPlan {
  enum Kind : uint8_t { Var, Early, Tokens };
  std::string text;
  Kind kind = Tokens;
  VarPath var;  // Var: the variable; Tokens: the condition's bare name when hasCondition
  bool hasCondition = false;
  std::shared_ptr<const cls_KELTokenizer::Cached> tokens;
  const KELCommand* command = nullptr;
  // An IF (or ELSEIF) on a bare name whose blocks are plain text (no command, no script or style
  // section): the text of each branch (views into tokens), for answering it without running it.
  bool plainIf = false, elseIf = false;
  // A CASE on a constant ("CASE 'Berlin' {B}") or a DEFAULT whose block is plain text: its block
  // in branch[0], for answering it without running it.
  bool plainCase = false, plainDefault = false;
  // An ELSE whose block is plain text (in branch[0]).
  bool plainElse = false;
  std::string_view branch[2];
  // The operands of the tokens, for the command's own parameters read as expressions.
  std::vector<KELOperand> operands;
  // Per token, for a "(...)" parameter that is an expression: its tokens and operands, so that a
  // condition, a SWITCH or CASE value or a loop bound is evaluated without decoding it again.
  std::vector<std::unique_ptr<KELExpression>> expressions;
};

namespace {

Variant hValue(Ctx& c, const KELToken& t);
Variant hEvalTokens(Ctx& c, const KELToken* t, size_t n, KELOperand* ops = nullptr);

// Guards the recursion of commands in commands and expressions in expressions: a bound on the
// nesting instead of trusting the stack (a text of 100,000 "{" or "(" must not crash).
struct NestGuard {
  cls_KEL& k;
  bool ok;
  explicit NestGuard(cls_KEL& pK) : k(pK), ok(++k.hState().nest <= 4 * k.hState().run.nestingMax + 100) {}
  ~NestGuard() { --k.hState().nest; }
};

// The text of a text of tokens, evaluated as an expression; pKept, when given, holds its tokens.
Variant hEvalText(Ctx& c, std::string_view s, KELExpression* pKept = nullptr) {
  NestGuard guard(c.k);
  if (!guard.ok) return Variant(c.k.hState().Cut(c.k.ERRORS("Nesting too deep", s)));
  if (pKept) return hEvalTokens(c, pKept->tokens->tokens.data(), pKept->tokens->tokens.size(), pKept->operands.data());
  // A bare name ("(row.active)") is one word token: its operand value, without the tokenizer.
  if (hIsName(s) && !cls_KELDecoder::IsLiteralWord(s)) return hNameValue(c.k, s);
  auto cached = cls_KELTokenizer::TokenizeCached(s);
  return hEvalTokens(c, cached->tokens.data(), cached->tokens.size());
}

// The tokens the plan keeps for a parameter of the command it runs; nullptr for another token.
KELExpression* hKeptExpression(const Ctx& c, const KELToken& t) {
  if (!c.plan || c.plan->expressions.empty()) return nullptr;
  const auto& tokens = c.plan->tokens->tokens;
  if (&t <= tokens.data() || &t >= tokens.data() + tokens.size()) return nullptr;
  return c.plan->expressions[static_cast<size_t>(&t - tokens.data())].get();
}

// A block parameter's output, appended to rOut: a "{...}" group is processed as template text.
void hBlockAppend(Ctx& c, const KELToken& t, std::string& rOut) {
  if (t.kind == enm_KELToken::Braces) {
    std::string_view inner = hInner(t);
    // Text without commands and without script or style sections comes out as it is.
    if (inner.find('{') == std::string_view::npos && inner.find("<s") == std::string_view::npos) {
      rOut.append(inner);
      return;
    }
    cls_KELFrontEnd::ProcessAppend(c.k, inner, c.data, std::string(), false, rOut);
    return;
  }
  rOut += hText(c.k, hValue(c, t));
}

std::string hBlock(Ctx& c, const KELToken& t) {
  std::string out;
  hBlockAppend(c, t, out);
  return out;
}

// The value of one parameter token.
Variant hValue(Ctx& c, const KELToken& t) {
  cls_KELState::RawScope raw(c.k.hState());  // what a parameter's commands give is its value, not page output
  switch (t.kind) {
    case enm_KELToken::Parens: return hEvalText(c, hInner(t), hKeptExpression(c, t));
    case enm_KELToken::Braces: {
      std::string_view inner = hInner(t);
      if (inner.size() >= 1 && inner[0] == '$') return c.k.DECODE(Variant(t.text), c.data);
      if (hIsOneCommand(inner)) return c.k.EXECUTE(inner.substr(1, inner.size() - 2), c.data);
      return Variant(c.k.PROCESS(inner, c.data));
    }
    case enm_KELToken::Quoted: return c.k.DECODE(Variant(t.text), c.data);
    case enm_KELToken::Operator: return Variant(t.text);
    case enm_KELToken::Word:
    default: return c.k.DECODE(Variant(t.text), c.data, {}, cls_KELExecutor::IsReferenceWord(t.text));
  }
}

// An operand of an expression: truth words, then variables by bare name, then the parameter value.
Variant hOperand(Ctx& c, const KELToken& t) {
  if (t.kind == enm_KELToken::Word) {
    if (cls_KELDecoder::IsLiteralWord(t.text)) return Variant(cls_KELDecoder::LITERAL(t.text));
    if (hIsName(t.text)) return hNameValue(c.k, t.text);
  }
  return hValue(c, t);
}

// ---- expressions -------------------------------------------------------------------------------

struct Val {
  Variant v;
  std::string_view name;  // the operand's bare name, for ":="
};

struct Expr {
  Ctx& c;
  const KELToken* t;
  size_t n;
  KELOperand* ops;  // the operands decoded once, one per token; nullptr: none
  size_t i = 0;
  bool unsignNext = false;  // the next operand is a "-5" word whose sign was taken as an operator

  Variant hFail(std::string_view op) {
    return Variant(c.k.ERRORS("Operator failed", "Operator implementation failed: " + std::string(op)));
  }

  // primary -> ("-" | "!") primary | operand
  Val Primary() {
    if (i >= n) return {};
    const KELToken& tok = t[i++];
    if (unsignNext) {
      unsignNext = false;
      return {c.k.DECODE(Variant(tok.text.substr(1)), c.data), {}};
    }
    if (tok.kind == enm_KELToken::Operator) {
      if (tok.text == "-") {
        Val v = Primary();
        double d;
        if (!hNumber(v.v, d)) return {hFail("-"), {}};
        return {Variant(-d), {}};
      }
      if (tok.text == "!") return {Variant(hTruth(Primary().v) ? 0 : 1), {}};
      return {hFail(tok.text), {}};
    }
    const std::string_view name = tok.kind == enm_KELToken::Word ? tok.text : std::string_view();
    if (ops) {
      KELOperand& op = ops[i - 1];
      if (op.kind == KELOperand::Constant) return {op.value, name};
      if (op.kind == KELOperand::Name) return {hPathValue(c.k, op.var), name};
    }
    return {hOperand(c, tok), name};
  }

  // expr(level) -> primary { op primary }, taking operators of this level or tighter;
  // left-associative, ":=" right-associative.
  Val Parse(int maxLevel) {
    Val lhs = Primary();
    while (i < n) {
      const KELToken& tok = t[i];
      std::string own;
      std::string_view opText;
      bool signWord = false;
      enm_KELOperator op;
      if (ops) {
        const KELOperand& kept = ops[i];
        if (!kept.isOperator) break;  // two operands side by side: the expression ends here
        opText = kept.opText;
        signWord = kept.signWord;
        op = kept.op;
      } else {
        if (!hOperatorText(tok, own, signWord)) break;
        opText = own;
        op = cls_KELExecutor::OperatorOf(own);
      }
      if (op == enm_KELOperator::None) {
        ++i;
        lhs = {hFail(tok.text), {}};
        continue;
      }
      int level = cls_KELExecutor::Level(op);
      if (level > maxLevel) break;
      if (signWord) unsignNext = true;
      else ++i;
      Val rhs = Parse(op == enm_KELOperator::Assign ? level : level - 1);
      lhs = {Apply(op, opText, lhs, rhs), {}};
    }
    return lhs;
  }

  Variant Apply(enm_KELOperator op, std::string_view opText, const Val& l, const Val& r) {
    double a = 0, b = 0;
    bool num = hNumber(l.v, a) && hNumber(r.v, b);
    auto flag = [](bool x) { return Variant(x ? 1 : 0); };
    switch (op) {
      case enm_KELOperator::Assign:
        if (l.name.empty()) return hFail(opText);
        if (hValueOver(c.k, r.v)) return hValueTooLarge(c.k);
        c.k.VARIABLES->ITEM_LET(Variant(l.name), r.v);
        return r.v;
      case enm_KELOperator::Add: {
        if (num) return Variant(a + b);
        std::string joined = hText(c.k, l.v);
        const std::string right = hText(c.k, r.v);
        if (joined.size() + right.size() > c.k.hState().run.valueMax) return hValueTooLarge(c.k);
        return Variant(joined.append(right));
      }
      case enm_KELOperator::Subtract: return num ? Variant(a - b) : hFail(opText);
      case enm_KELOperator::Multiply: return num ? Variant(a * b) : hFail(opText);
      case enm_KELOperator::Divide: return num && b != 0 ? Variant(a / b) : hFail(opText);
      case enm_KELOperator::Power: {
        if (!num) return hFail(opText);
        double p = std::pow(a, b);
        return std::isfinite(p) ? Variant(p) : hFail(opText);
      }
      case enm_KELOperator::Or: return flag(hTruth(l.v) || hTruth(r.v));
      case enm_KELOperator::And: return flag(hTruth(l.v) && hTruth(r.v));
      default: break;
    }
    int cmp;
    if (num) {
      cmp = a < b ? -1 : (a > b ? 1 : 0);
    } else {
      std::string x = hText(c.k, l.v), y = hText(c.k, r.v);
      cmp = x.compare(y) < 0 ? -1 : (x == y ? 0 : 1);
    }
    switch (op) {
      case enm_KELOperator::GreaterEqual: return flag(cmp >= 0);
      case enm_KELOperator::LessEqual: return flag(cmp <= 0);
      case enm_KELOperator::NotEqual: return flag(cmp != 0);
      case enm_KELOperator::Equal: return flag(cmp == 0);
      case enm_KELOperator::Less: return flag(cmp < 0);
      case enm_KELOperator::Greater: return flag(cmp > 0);
      default: return hFail(opText);
    }
  }
};

Variant hEvalTokens(Ctx& c, const KELToken* t, size_t n, KELOperand* ops) {
  if (n == 0) return hNoText();
  if (!ops && c.plan && !c.plan->operands.empty()) {
    // the command's own parameters: the plan has their operands
    const auto& tokens = c.plan->tokens->tokens;
    if (t >= tokens.data() && t + n <= tokens.data() + tokens.size()) ops = &c.plan->operands[t - tokens.data()];
  }
  Expr e{c, t, n, ops};
  return e.Parse(kLowestLevel).v;
}

bool hCondition(Ctx& c, const KELToken& t) {
  // "(name)" as the first parameter: the plan has the name decoded.
  if (c.plan && c.plan->hasCondition && &t == c.params) {
    NestGuard guard(c.k);
    if (guard.ok) {
      Variant v;
      if (!hVarDirect(c.k, c.plan->var, v)) v = hVariable(c.k, c.plan->var.name);
      return hTruth(v.isNull() ? Variant(c.plan->var.name) : v);
    }
  }
  return hTruth(hEvalTokens(c, &t, 1));
}

bool hEquals(cls_KEL& k, const Variant& a, const Variant& b) {
  double x, y;
  if (hNumber(a, x) && hNumber(b, y)) return x == y;
  if (a.isString() && b.isString()) return a.str() == b.str();  // the texts, without copies
  return hText(k, a) == hText(k, b);
}

int32_t hLoopMax(cls_KEL& k) {
  Variant v = k.SETTINGS->ITEM_GET(Variant("SYS.LOOP.MAX"));
  double d;
  if (!v.isEmpty() && hNumber(v, d) && d >= 1) return d > 2e9 ? 2000000000 : static_cast<int32_t>(d);
  return kDefaultLoopMax;
}

// The rare end of hStepOver, apart so that the count stays a few instructions.
[[gnu::noinline]] bool hStepLimit(cls_KEL& k, std::string& rOut) {
  cls_KELState& st = k.hState();
  if (!st.quit) {
    rOut += st.Cut(
        k.ERRORS("Step limit reached", "more than " + std::to_string(st.run.stepsMax) + " steps (SYS.STEPS.MAX)"));
    st.quit = true;
  }
  return true;
}

// Counts one step of the whole outermost PROCESS (a command or a loop round). Nested loops and
// blocks that call blocks multiply their rounds, so each bound alone would not bound the time: this
// one does. True, with processing stopped and "Step limit reached" appended once, past SYS.STEPS.MAX.
bool hStepOver(cls_KEL& k, std::string& rOut) {
  cls_KELState& st = k.hState();
  if (++st.steps <= st.run.stepsMax) [[likely]]
    return false;
  return hStepLimit(k, rOut);
}

// True (and processing stopped with "Output too large") once a loop's output passes
// SYS.OUTPUT.MAX: a loop must not build an unbounded text before the front end sees it.
bool hOutputFull(Ctx& c, CommandOut& rOut) {
  if (rOut.size() <= c.k.hState().run.outputMax) return false;
  rOut.text += c.k.hState().Cut(c.k.ERRORS(
      "Output too large", "more than " + std::to_string(c.k.hState().run.outputMax) + " bytes (SYS.OUTPUT.MAX)"));
  c.k.hState().quit = true;
  return true;
}

// The rest of the command text after the command word (a name), processed when it holds a command.
std::string hRest(Ctx& c) {
  std::string_view s = cls_KELExecutor::RestOf(c.text);
  if (s.find('{') != std::string_view::npos) return c.k.PROCESS(s, c.data);
  return std::string(s);
}

std::string hNameOf(const KELToken& t) {
  if (t.kind == enm_KELToken::Quoted) return std::string(hInner(t));
  return std::string(t.text);
}

// Parameters of a module or user command: NAME = value triples become named items, the others
// numbered items in order.
StructurePtr hParamStruct(Ctx& c) {
  auto s = cls_Structure::New();
  for (size_t i = 0; i < c.count; ++i) {
    const KELToken& t = c.params[i];
    if (t.kind == enm_KELToken::Word && i + 2 < c.count && c.params[i + 1].kind == enm_KELToken::Operator &&
        c.params[i + 1].text == "=") {
      s->ITEMBYID_LET(text::UCase(t.text), hValue(c, c.params[i + 2]));
      i += 2;
      continue;
    }
    s->ADD(hValue(c, t));
  }
  return s;
}

// Remembers the outcome of an IF chain for the command that comes next at this level.
void hChainSet(cls_KEL& k, int64_t calls, bool taken);

// ---- the commands ------------------------------------------------------------------------------

// One command word of the table. The parameter count is checked before the handler runs: a count
// outside min..max gives the error head + count + tail (max -1: any count).
struct KELCommand {
  std::string_view name;
  Variant (*run)(Ctx&);
  int min = 0, max = -1;
  std::string_view head = {};
  std::string_view tail = " were given!";
};

Variant hIf(Ctx& c);
Variant hElseIf(Ctx& c);
Variant hElse(Ctx& c);
Variant hWhile(Ctx& c);
Variant hDo(Ctx& c);
Variant hSwitch(Ctx& c);
Variant hCase(Ctx& c);
Variant hDefault(Ctx& c);
Variant hFor(Ctx& c);
Variant hIterate(Ctx& c);
Variant hVar(Ctx& c);
Variant hBlockCmd(Ctx& c);
Variant hLater(Ctx& c);
Variant hStruct(Ctx& c);
Variant hInclude(Ctx& c);
Variant hDispose(Ctx& c);
Variant hComment(Ctx&) { return hNoText(); }
Variant hMute(Ctx& c);
Variant hNested(Ctx& c);
Variant hNow(Ctx&) { return Variant::Date(date::Now()); }
Variant hLocate(Ctx& c) { return Variant(c.k.LOCATE(hRest(c), "")); }
Variant hMaster(Ctx& c);

constexpr KELCommand kCommands[] = {
    {"IF", hIf, 2, 3, "IF requires 2 or 3 parameters, "},
    {"ELSEIF", hElseIf, 2, 3, "ELSEIF requires 2 or 3 parameters, "},
    {"ELSE", hElse},
    {"WHILE", hWhile, 2, 2, "WHILE requires 2 parameters, ",
     " were given! Try encapsulating the conditon like WHILE (i < 10) {...};"},
    {"DO", hDo, 3, 3, "DO requires 3 parameters, ",
     " were given! Try encapsulating the conditon like DO {...} WHILE (i < 10);"},
    {"SWITCH", hSwitch, 1, 2, "SWITCH requires 1 or 2 parameters, "},
    {"CASE", hCase, 2, 2, "CASE requires 2 parameters, "},
    {"DEFAULT", hDefault},
    {"FOR", hFor, 5, 5, "FOR requires 5 parameters, "},
    {"ITERATE", hIterate, 3, 3, "ITERATE requires 3 parameters, "},
    {"VAR", hVar, 2, 2, "VAR requires 2 parameters, "},
    {"BLOCK", hBlockCmd, 2, 2, "BLOCK requires 2 parameters, "},
    {"LATER", hLater, 1, 1, "LATER requires 1 parameter, "},
    {"STRUCT", hStruct},
    {"STRUCTURE", hStruct},
    {"INCLUDE", hInclude},
    {"DISPOSE", hDispose},
    {"COMMENT", hComment},
    {"MUTE", hMute},
    {"NESTED", hNested},
    {"NOW", hNow},
    {"LOCATE", hLocate},
    {"MASTER", hMaster},
};

// A DO loop's second parameter: "WHILE" or "UNTIL", in any case.
bool hIsDoEnding(std::string_view w) {
  if (w.size() != 5) return false;
  char up[5];
  for (size_t i = 0; i < 5; ++i) up[i] = (w[i] >= 'a' && w[i] <= 'z') ? w[i] - 32 : w[i];
  std::string_view u(up, 5);
  return u == "WHILE" || u == "UNTIL";
}

bool hCountFits(const KELCommand& cmd, size_t count) {
  return cmd.max < 0 || (count >= static_cast<size_t>(cmd.min) && count <= static_cast<size_t>(cmd.max));
}

// True when a table command's parameters let it run: the count fits, and a DO ends in WHILE or UNTIL.
bool hParametersFit(const KELCommand& cmd, const KELToken* params, size_t count) {
  return hCountFits(cmd, count) && (cmd.run != hDo || hIsDoEnding(params[1].text));
}

// The error the parameters of a table command give before it runs; "" when they fit.
std::string hParameterError(const KELCommand& cmd, const KELToken* params, size_t count) {
  if (!hCountFits(cmd, count)) return std::string(cmd.head) + std::to_string(count) + std::string(cmd.tail);
  if (!hParametersFit(cmd, params, count)) return "Wrong ending for DO loop";
  return {};
}

const KELCommand* hFindCommand(std::string_view word) {
  if (word.size() > 9) return nullptr;
  char up[9];
  for (size_t i = 0; i < word.size(); ++i) up[i] = (word[i] >= 'a' && word[i] <= 'z') ? word[i] - 32 : word[i];
  std::string_view u(up, word.size());
  for (const auto& row : kCommands)
    if (row.name == u) return &row;
  return nullptr;
}

void hChainSet(cls_KEL& k, int64_t calls, bool taken);

// IF (cond) {then} [{else}]
Variant hIfLike(Ctx& c) {
  bool taken = hCondition(c, c.params[0]);
  CommandOut out(c);
  if (taken) hBlockAppend(c, c.params[1], out.text);
  else if (c.count == 3) hBlockAppend(c, c.params[2], out.text);
  hChainSet(c.k, c.k.hState().calls, taken || c.count == 3);
  return out.Value();
}

Variant hIf(Ctx& c) { return hIfLike(c); }

// The chain record left for this command by the IF or ELSEIF before it; -1 when there is none.
int hChainGet(cls_KEL& k) {
  cls_KELState& st = k.hState();
  if (st.chainAt != st.calls) return -1;
  st.chainAt = 0;
  return st.chainTaken ? 1 : 0;
}

Variant hElseIf(Ctx& c) {
  int before = hChainGet(c.k);
  if (before < 0) return Variant(c.k.ERRORS("ELSEIF without IF", c.text));
  if (before == 1) {
    hChainSet(c.k, c.k.hState().calls, true);
    return hNoText();
  }
  return hIfLike(c);
}

Variant hElse(Ctx& c) {
  int before = hChainGet(c.k);
  if (before < 0) return Variant(c.k.ERRORS("ELSE without IF", c.text));
  if (before == 1 || c.count == 0) return hNoText();
  CommandOut out(c);
  hBlockAppend(c, c.params[0], out.text);
  return out.Value();
}

// WHILE (cond) {block}
Variant hWhile(Ctx& c) {
  CommandOut out(c);
  int32_t max = hLoopMax(c.k), rounds = 0;
  while (!c.k.hState().quit && hCondition(c, c.params[0])) {
    if (++rounds > max) {
      out.text += c.k.hState().Cut(c.k.ERRORS("Loop limit reached", c.text));
      return out.Value();
    }
    if (hStepOver(c.k, out.text)) break;
    hBlockAppend(c, c.params[1], out.text);
    if (hOutputFull(c, out)) break;
  }
  return out.Value();
}

// DO {block} WHILE|UNTIL (cond)
Variant hDo(Ctx& c) {
  bool until = text::UCase(c.params[1].text) == "UNTIL";
  CommandOut out(c);
  int32_t max = hLoopMax(c.k), rounds = 0;
  do {
    if (++rounds > max) {
      out.text += c.k.hState().Cut(c.k.ERRORS("Loop limit reached", c.text));
      return out.Value();
    }
    if (hStepOver(c.k, out.text)) break;
    hBlockAppend(c, c.params[0], out.text);
    if (hOutputFull(c, out)) break;
  } while (!c.k.hState().quit && hCondition(c, c.params[2]) != until);
  return out.Value();
}

// SWITCH value [{CASE ... DEFAULT ...}]
Variant hSwitch(Ctx& c) {
  Variant value = hEvalTokens(c, &c.params[0], 1);
  if (c.count == 1) {
    c.k.hState().looseSwitch = {value, false};
    return hNoText();
  }
  c.k.hState().switches.push_back({value, false});
  CommandOut out(c);
  try {
    hBlockAppend(c, c.params[1], out.text);
  } catch (...) {
    c.k.hState().switches.pop_back();
    throw;
  }
  c.k.hState().switches.pop_back();
  return out.Value();
}

cls_KELState::SwitchFrame& hSwitchFrame(cls_KEL& k) {
  return k.hState().switches.empty() ? k.hState().looseSwitch : k.hState().switches.back();
}

Variant hCase(Ctx& c) {
  auto& frame = hSwitchFrame(c.k);
  if (frame.matched) return hNoText();
  if (!hEquals(c.k, hEvalTokens(c, &c.params[0], 1), frame.value)) return hNoText();
  hSwitchFrame(c.k).matched = true;
  CommandOut out(c);
  hBlockAppend(c, c.params[1], out.text);
  return out.Value();
}

Variant hDefault(Ctx& c) {
  auto& frame = hSwitchFrame(c.k);
  if (frame.matched || c.count == 0) return hNoText();
  frame.matched = true;
  CommandOut out(c);
  hBlockAppend(c, c.params[c.count - 1], out.text);
  return out.Value();
}

// FOR name start end step {block}
Variant hFor(Ctx& c) {
  std::string name = hNameOf(c.params[0]);
  double from, to, step;
  if (!hNumber(hEvalTokens(c, &c.params[1], 1), from) || !hNumber(hEvalTokens(c, &c.params[2], 1), to) ||
      !hNumber(hEvalTokens(c, &c.params[3], 1), step) || step == 0)
    return Variant(c.k.ERRORS("FOR needs numbers and a step other than 0", c.text));
  CommandOut out(c);
  int32_t max = hLoopMax(c.k), rounds = 0;
  for (double i = from; step > 0 ? i <= to : i >= to; i += step) {
    if (c.k.hState().quit) break;
    if (++rounds > max) {
      out.text += c.k.hState().Cut(c.k.ERRORS("Loop limit reached", c.text));
      return out.Value();
    }
    if (hStepOver(c.k, out.text)) break;
    c.k.VARIABLES->ITEM_LET(Variant(name), Variant(i));
    hBlockAppend(c, c.params[4], out.text);
    if (hOutputFull(c, out)) break;
  }
  return out.Value();
}

// The loop variables of ITERATE (name, name_KEY, name_INDEX), bound in place: each round stores
// the item straight into the variable's slot, found by its name atom (the block may have moved or
// removed it), with no key text to upper-case and no handle on the row. What a direct store cannot
// do as ITEM_LET would (a dotted or empty name, VARIABLES in DEFAULTMODE or on another thread's
// manager than the structure) takes ITEM_LET.
class LoopBinding {
 public:
  LoopBinding(cls_KEL& k, const std::shared_ptr<cls_StructureManager>& pManager, std::string_view pUpper)
      : k_(k), manager_(*pManager), upper_(pUpper) {
    inPlace_ = !upper_.empty() && upper_.find('.') == std::string::npos;
    if (inPlace_) {
      names_[0] = manager_.NAME(upper_);
      names_[1] = manager_.NAME(upper_ + "_KEY");
      names_[2] = manager_.NAME(upper_ + "_INDEX");
    }
  }
  // Binds one round: pItem, the slot pSlot of the structure walked (manager_'s), its key and position.
  void Bind(const cls_StructureManager::Item& pItem, int32_t pSlot, int32_t pPosition) {
    const auto& item = pItem;
    const auto& vars = k_.VARIABLES;
    const int32_t vid = vars->SID_GET();
    if (inPlace_ && vars->MANAGER_GET().get() == &manager_ &&
        !(manager_.Flags(vid) & cls_StructureManager::kDefaultMode)) [[likely]] {
      const uint32_t keyAtom = item.name;
      // The variables' slots, read once: storing into a slot never moves them; a new slot may.
      const std::vector<cls_StructureManager::Item>* slots = &manager_.Items(vid);
      if (item.isStruct) {
        const int32_t child = item.child;
        manager_.AddRef(child);  // the variable's own reference; the one it held is released
        manager_.SetChild(vid, hSlot(vid, slots, 0), child);
      } else {
        Variant value = item.value;  // the slot table may move while the variable is stored
        manager_.SetValue(vid, hSlot(vid, slots, 0), std::move(value));
      }
      manager_.SetValue(vid, hSlot(vid, slots, 1), keyAtom ? Variant(manager_.Names().Name(keyAtom)) : Variant(pSlot));
      manager_.SetValue(vid, hSlot(vid, slots, 2), Variant(pPosition));
      return;
    }
    Variant value = item.isStruct ? Variant(manager_.Ref(item.child)) : item.value;
    Variant key = item.name ? Variant(manager_.Names().Name(item.name)) : Variant(pSlot);
    vars->ITEM_LET(Variant(upper_), value);
    vars->ITEM_LET(Variant(upper_ + "_KEY"), key);
    vars->ITEM_LET(Variant(upper_ + "_INDEX"), Variant(pPosition));
  }

 private:
  // The slot of loop variable n: the first used slot with its name (where it was last round,
  // usually), else a fresh one, as ITEM_LET finds it.
  int32_t hSlot(int32_t pVars, const std::vector<cls_StructureManager::Item>*& rSlots, int n) {
    int32_t slot = hSlotIn(manager_, pVars, *rSlots, names_[n].atom, hints_[n]);
    if (slot < 0) {
      slot = manager_.SlotFor(pVars, names_[n].atom);
      rSlots = &manager_.Items(pVars);
    }
    return hints_[n] = slot;
  }

  cls_KEL& k_;
  cls_StructureManager& manager_;
  std::string upper_;
  ItemName names_[3];
  int32_t hints_[3] = {-1, -1, -1};
  bool inPlace_ = false;
};

// ITERATE name structure {block}
Variant hIterate(Ctx& c) {
  std::string name = hNameOf(c.params[0]);
  Variant sv = hEvalTokens(c, &c.params[1], 1);
  auto s = sv.as<cls_Structure>();
  if (!s) return Variant(c.k.ERRORS("ITERATE needs a structure", c.text));
  LoopBinding binding(c.k, s->MANAGER_GET(), text::UCase(name));
  // The slots are read in place (the block may change the structure: they are looked up anew
  // each round, as BASE and MAX are).
  const auto& manager = s->MANAGER_GET();
  const int32_t sid = s->SID_GET();
  CommandOut out(c);
  int32_t position = 0;
  for (int32_t i = s->BASE(); i <= s->MAX(); ++i) {
    if (c.k.hState().quit) break;
    const auto& slots = manager->Items(sid);
    if (static_cast<size_t>(i) >= slots.size() || !slots[i].used) continue;
    if (hStepOver(c.k, out.text)) break;
    binding.Bind(slots[i], i, ++position);
    hBlockAppend(c, c.params[2], out.text);
    if (hOutputFull(c, out)) break;
  }
  return out.Value();
}

// VAR name value
Variant hVar(Ctx& c) {
  Variant value = hValue(c, c.params[1]);
  if (hValueOver(c.k, value)) return hValueTooLarge(c.k);
  c.k.VARIABLES->ITEM_LET(Variant(hNameOf(c.params[0])), std::move(value));
  return hNoText();
}

// BLOCK name {text}: the text is kept as written and processed where it is used.
Variant hBlockCmd(Ctx& c) {
  const KELToken& body = c.params[1];
  std::string_view textOf =
      body.kind == enm_KELToken::Braces || body.kind == enm_KELToken::Quoted ? hInner(body) : body.text;
  c.k.BLOCKS->ITEMBYID_LET(text::UCase(hNameOf(c.params[0])), Variant(textOf));
  return hNoText();
}

std::string hDefer(cls_KEL& k, std::string_view cmd) {
  int32_t n = k.LATER->ADD(Variant(cmd));
  return "@@__LATER__" + std::to_string(n) + "@@";
}

// LATER {command}
Variant hLater(Ctx& c) {
  const KELToken& t = c.params[0];
  std::string_view cmd = t.kind == enm_KELToken::Braces || t.kind == enm_KELToken::Quoted ? hInner(t) : t.text;
  return Variant(hDefer(c.k, cmd));
}

// STRUCT [name] [KEY = value ...]: a new structure; stored as variable name when one is given.
Variant hStruct(Ctx& c) {
  std::string name;
  Ctx rest = c;
  if (c.count >= 1 && !(c.count >= 2 && c.params[1].kind == enm_KELToken::Operator && c.params[1].text == "=")) {
    name = hNameOf(c.params[0]);
    rest.params = c.params + 1;
    rest.count = c.count - 1;
  }
  StructurePtr s = hParamStruct(rest);
  if (name.empty()) return Variant(s);
  c.k.VARIABLES->ITEM_LET(Variant(name), Variant(s));
  return hNoText();
}

Variant hInclude(Ctx& c) { return Variant(cls_KELFrontEnd::Include(c.k, hRest(c), c.data)); }

// DISPOSE name ...: removes the variables and lists their names in DISPOSELIST. Without names it
// removes every variable DISPOSELIST names and empties the list.
Variant hDispose(Ctx& c) {
  if (c.count == 0) {
    auto& list = *c.k.DISPOSELIST;
    for (int32_t i = list.BASE(); i <= list.MAX(); ++i)
      if (list.EXISTS_GET(i)) c.k.VARIABLES->REMOVE(list.ITEM_GET(i));
    list.CLEAR();
    return hNoText();
  }
  for (size_t i = 0; i < c.count; ++i) {
    std::string name = hNameOf(c.params[i]);
    c.k.VARIABLES->REMOVE(Variant(name));
    c.k.DISPOSELIST->ADD(Variant(name));
  }
  return hNoText();
}

// MUTE {block} ...: runs the blocks for their effects, yields nothing.
Variant hMute(Ctx& c) {
  for (size_t i = 0; i < c.count; ++i) hBlock(c, c.params[i]);
  return hNoText();
}

// NESTED value: the value's text is processed once more as a template.
Variant hNested(Ctx& c) {
  std::string out;
  for (size_t i = 0; i < c.count; ++i) out += c.k.PROCESS(hText(c.k, hValue(c, c.params[i])), c.data);
  return Variant(out);
}

// MASTER file: when the outermost PROCESS ends, its output becomes the variable CONTENT and the file
// (found as INCLUDE finds it) is processed in its place. A file that cannot be found is reported at
// this command, and the page stays as it is.
Variant hMaster(Ctx& c) {
  c.k.hState().master = hRest(c);
  c.k.hState().masterSource = c.k.hState().sources.empty() ? cls_KELState::Source{} : c.k.hState().sources.back();
  return hNoText();
}

void hChainSet(cls_KEL& k, int64_t calls, bool taken) {
  // Only the next command can read the record; any older one is past.
  k.hState().chainAt = calls + 1;
  k.hState().chainTaken = taken;
}

// "%n": the n-th item of the parameter structure.
Variant hPlaceholder(cls_KEL& k, std::string_view s, const StructurePtr& data) {
  if (!data) return Variant(k.ERRORS("No parameter delivered - " + std::string(s) + " unavailable"));
  double d = 0;
  ParseNumber(s.substr(1), d);
  int32_t n = static_cast<int32_t>(d);
  int32_t available = data->MAX() - data->BASE() + 1;
  if (n < 1 || n > available) {
    std::string list;
    for (int32_t i = data->BASE(); i <= data->MAX(); ++i) {
      if (!list.empty()) list += ", ";
      list += cls_KELDecoder::ENCODE(data->ITEM_GET(i), true);
    }
    return Variant(k.ERRORS("Missing parameter - " + std::string(s) + ". Available: " + list));
  }
  return data->ITEM_GET(data->BASE() + n - 1);
}

bool hStartsWithUpper(std::string_view s, std::string_view prefix) {
  if (s.size() < prefix.size()) return false;
  for (size_t i = 0; i < prefix.size(); ++i) {
    char c = s[i];
    if (c >= 'a' && c <= 'z') c -= 32;
    if (c != prefix[i]) return false;
  }
  return true;
}

Variant hRunTokens(cls_KEL& k, std::string_view s, const StructurePtr& data, const cls_KELTokenizer::Cached& cached,
                   KELPlan* plan, std::string* sink);

bool hOneWord(std::string_view s) {
  for (char ch : s)
    if (cls_KELTokenizer::IsSeparator(ch)) return false;
  return true;
}

// The plan of a command text. Texts that run again usually come from the same place (a prepared
// template or block kept by the front end), so the table is indexed by where the text lies and
// each hit is confirmed by comparing the text itself: a text at a reused address is never
// mistaken. A miss decodes the text and takes the entry over; long texts get no plan.
std::shared_ptr<KELPlan> hPlanFor(std::string_view s) {
  constexpr size_t kEntries = 1024, kTextMax = 256;
  if (s.size() > kTextMax) return nullptr;
  thread_local std::vector<std::shared_ptr<KELPlan>> table(kEntries);
  auto at = reinterpret_cast<uintptr_t>(s.data());
  auto& entry = table[((at >> 3) ^ (at >> 13) ^ s.size()) & (kEntries - 1)];
  if (entry && entry->text == s) return entry;
  auto plan = std::make_shared<KELPlan>();
  plan->text = s;
  const enm_KELReference reference = cls_KELExecutor::ReferenceOf(s);
  if (reference == enm_KELReference::Var) {
    plan->kind = KELPlan::Var;
    plan->var = hMakeVarPath(s.substr(4));
  } else if (reference != enm_KELReference::None) {
    plan->kind = KELPlan::Early;
  } else {
    plan->tokens = cls_KELTokenizer::TokenizeCached(s);
    const auto& tokens = plan->tokens->tokens;
    if (!tokens.empty() && tokens[0].kind == enm_KELToken::Word) plan->command = hFindCommand(tokens[0].text);
    if (tokens.size() >= 2 && tokens[1].kind == enm_KELToken::Parens) {
      std::string_view inner = hInner(tokens[1]);
      if (hIsName(inner) && !cls_KELDecoder::IsLiteralWord(inner)) {
        plan->var = hMakeVarPath(inner);
        plan->hasCondition = true;
      }
    }
    plan->operands = hMakeOperands(tokens);
    // The expressions of the parameters ("(i < 10)", "(a + 1)", "(row.city)").
    for (size_t i = 1; i < tokens.size(); ++i) {
      if (tokens[i].kind != enm_KELToken::Parens) continue;
      std::string_view inner = hInner(tokens[i]);
      if (plan->expressions.empty()) plan->expressions.resize(tokens.size());
      auto e = std::make_unique<KELExpression>();
      e->tokens = cls_KELTokenizer::TokenizeCached(inner);
      e->operands = hMakeOperands(e->tokens->tokens);
      plan->expressions[i] = std::move(e);
    }
    if (plan->hasCondition && plan->command && (plan->command->run == hIf || plan->command->run == hElseIf) &&
        (tokens.size() == 3 || tokens.size() == 4)) {
      plan->plainIf = true;
      plan->elseIf = plan->command->run == hElseIf;
      for (size_t i = 2; i < tokens.size(); ++i) {
        std::string_view inner = hInner(tokens[i]);
        if (tokens[i].kind != enm_KELToken::Braces || inner.find('{') != std::string_view::npos ||
            inner.find("<s") != std::string_view::npos)
          plan->plainIf = false;
        plan->branch[i - 2] = inner;
      }
    }
    if (plan->command && plan->command->run == hElse && tokens.size() >= 2) {
      std::string_view inner = hInner(tokens[1]);
      plan->plainElse = tokens[1].kind == enm_KELToken::Braces && inner.find('{') == std::string_view::npos &&
                        inner.find("<s") == std::string_view::npos;
      plan->branch[0] = inner;
    }
    if (plan->command && (plan->command->run == hCase || plan->command->run == hDefault) && tokens.size() >= 2) {
      const KELToken& block = tokens.back();
      std::string_view inner = hInner(block);
      const bool plain = block.kind == enm_KELToken::Braces && inner.find('{') == std::string_view::npos &&
                         inner.find("<s") == std::string_view::npos;
      plan->branch[0] = inner;
      if (plan->command->run == hCase)
        plan->plainCase = plain && tokens.size() == 3 && plan->operands[1].kind == KELOperand::Constant;
      else plan->plainDefault = plain;
    }
  }
  entry = plan;
  return plan;
}

// A command text that no plan covers, or one whose plan says only that it is a reference.
Variant hRunUnplanned(cls_KEL& k, std::string_view s, const StructurePtr& data, std::string* sink) {
  switch (cls_KELExecutor::ReferenceOf(s)) {
    case enm_KELReference::Deferred: return Variant(hDefer(k, s.substr(2)));
    case enm_KELReference::Var: {
      std::string_view name = s.substr(4);
      Variant v = hVariable(k, name);
      if (v.isNull()) return Variant(k.ERRORS("VAR not found", name));
      return v;
    }
    case enm_KELReference::Data: {
      // The variable's value as data: output as it is, never run (mdl_KELData).
      std::string_view name = s.substr(5);
      Variant v = hVariable(k, name);
      if (v.isNull()) return Variant(k.ERRORS("VAR not found", name));
      if (!v.isString() && !v.isObject()) return v;
      return Variant(k.hData(k.hToText(v)));
    }
    case enm_KELReference::Block: {
      std::string_view name = s.substr(6);
      Variant v = k.BLOCKS->ITEMBYID_GET(text::UCase(name), Variant::Null());
      if (v.isNull()) return Variant(k.ERRORS("BLOCK not found", name));
      return Variant(k.PROCESS(CStr(v), data));
    }
    case enm_KELReference::Placeholder: return hPlaceholder(k, s, data);
    case enm_KELReference::None: break;
  }
  return hRunTokens(k, s, data, *cls_KELTokenizer::TokenizeCached(s), nullptr, sink);
}

// A prepared command text by its plan. REQUIRES: the plan is the one of s.
Variant hRunPlanned(cls_KEL& k, std::string_view s, const StructurePtr& data, KELPlan& plan, std::string* sink) {
  if (plan.kind == KELPlan::Var) {
    Variant v;
    if (!hVarDirect(k, plan.var, v)) v = hVariable(k, plan.var.name);
    if (v.isNull()) return Variant(k.ERRORS("VAR not found", plan.var.name));
    return v;
  }
  if (plan.kind == KELPlan::Tokens) return hRunTokens(k, s, data, *plan.tokens, &plan, sink);
  return hRunUnplanned(k, s, data, sink);
}

Variant hRun(cls_KEL& k, std::string_view s, const StructurePtr& data, std::string* sink) {
  if (s.empty()) return hNoText();
  if (std::shared_ptr<KELPlan> plan = hPlanFor(s)) return hRunPlanned(k, s, data, *plan, sink);
  return hRunUnplanned(k, s, data, sink);
}

// A command text by its tokens: a command word of the table, an expression, a module command, a
// user function or a command routed to the modules.
Variant hRunTokens(cls_KEL& k, std::string_view s, const StructurePtr& data, const cls_KELTokenizer::Cached& cached,
                   KELPlan* plan, std::string* sink) {
  const auto& tokens = cached.tokens;
  if (tokens.empty()) return hNoText();
  Ctx c{k, data, cached.text, tokens.data() + 1, tokens.size() - 1, plan, sink};
  const KELToken& word = tokens[0];
  if (word.kind == enm_KELToken::Word) {
    if (const KELCommand* cmd = plan ? plan->command : hFindCommand(word.text)) {
      if (!hParametersFit(*cmd, c.params, c.count))
        return Variant(k.ERRORS(hParameterError(*cmd, c.params, c.count), c.text));
      return cmd->run(c);
    }
  }
  if (word.kind != enm_KELToken::Word || (tokens.size() >= 2 && tokens[1].kind == enm_KELToken::Operator))
    return hEvalTokens(c, tokens.data(), tokens.size());

  std::string upper = text::UCase(word.text);
  if (upper.find(':') != std::string::npos) {
    StructurePtr params = hParamStruct(c);
    std::string saved = std::move(k.hState().currentCommand);
    k.hState().currentCommand = upper;
    k.hState().ShowCalls(k.RECURSIONS);
    Variant r = k.MODULES->EXECUTE(k, upper, params);
    k.hState().currentCommand = std::move(saved);
    return r;
  }
  Variant body = k.FUNCTIONS->ITEMBYID_GET(upper, Variant::Null());
  if (!body.isNull()) return Variant(k.PROCESS(CStr(body), hParamStruct(c)));

  StructurePtr params = hParamStruct(c);
  Variant r;
  k.hState().currentCommand = "OTHER:" + upper;
  k.hState().ShowCalls(k.RECURSIONS);
  bool taken = k.MODULES->hRoute(k, "OTHER:" + upper, params, nullptr, r);
  k.hState().currentCommand.clear();
  if (!taken) return Variant(k.ERRORS("Cannot execute", s));
  return r;
}

}  // namespace

bool cls_KELExecutor::IsVariableOutput(std::string_view pCmd) {
  std::string_view s = Prepare(pCmd);
  return hOneWord(s) && (hStartsWithUpper(s, "VAR:") || hStartsWithUpper(s, "DATA:"));
}

enm_KELOperator cls_KELExecutor::OperatorOf(std::string_view pText) {
  for (size_t i = 1; i < std::size(kOperators); ++i)
    if (kOperators[i] == pText) return static_cast<enm_KELOperator>(i);
  return enm_KELOperator::None;
}

int cls_KELExecutor::Level(enm_KELOperator pOp) { return kLevels[static_cast<size_t>(pOp)]; }

std::string_view cls_KELExecutor::Prepare(std::string_view pCmd) {
  std::string_view s = pCmd;
  while (s.size() >= 2 && s.front() == '$' && s.back() == '$') s = s.substr(1, s.size() - 2);
  while (!s.empty() && cls_KELTokenizer::IsSeparator(s.front()) && s.front() != ',' && s.front() != ';')
    s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r' || s.back() == '\n'))
    s.remove_suffix(1);
  return s;
}

enm_KELReference cls_KELExecutor::ReferenceOf(std::string_view s) {
  if (s.size() >= 2 && s[0] == '@' && s[1] == '@') return enm_KELReference::Deferred;
  if (!hOneWord(s)) return enm_KELReference::None;
  if (hStartsWithUpper(s, "VAR:")) return enm_KELReference::Var;
  if (hStartsWithUpper(s, "DATA:")) return enm_KELReference::Data;
  if (hStartsWithUpper(s, "BLOCK:")) return enm_KELReference::Block;
  if (s.size() >= 2 && s[0] == '%' && IsNumericText(s.substr(1))) return enm_KELReference::Placeholder;
  return enm_KELReference::None;
}

bool cls_KELExecutor::IsReferenceWord(std::string_view w) {
  if (w.size() >= 2 && w[0] == '%' && hIsDigit(w[1])) return true;
  if (w.size() >= 2 && w[0] == '@' && w[1] == '@') return true;
  size_t colon = w.find(':');
  return colon != std::string_view::npos && colon > 0 && hIsLetter(w[0]);
}

std::string_view cls_KELExecutor::RestOf(std::string_view pCmd) {
  std::string_view s = pCmd;
  size_t i = 0;
  while (i < s.size() && !cls_KELTokenizer::IsSeparator(s[i])) ++i;
  s = s.substr(i);
  while (!s.empty() && cls_KELTokenizer::IsSeparator(s.front())) s.remove_prefix(1);
  while (!s.empty() && cls_KELTokenizer::IsSeparator(s.back())) s.remove_suffix(1);
  if (s.size() >= 2 && (s.front() == '"' || s.front() == '\'') && s.back() == s.front()) s = s.substr(1, s.size() - 2);
  return s;
}

std::vector<std::string_view> cls_KELExecutor::CommandWords() {
  std::vector<std::string_view> words;
  for (const auto& row : kCommands) words.push_back(row.name);
  return words;
}

bool cls_KELExecutor::IsCommandWord(std::string_view pWord) { return hFindCommand(pWord) != nullptr; }

std::string cls_KELExecutor::ParameterError(std::string_view pWord, const KELToken* pParams, size_t pCount) {
  const KELCommand* cmd = hFindCommand(pWord);
  return cmd ? hParameterError(*cmd, pParams, pCount) : std::string();
}

std::shared_ptr<KELPlan> cls_KELExecutor::PlanOf(std::string_view pCmd) {
  std::string_view s = Prepare(pCmd);
  return s.empty() ? nullptr : hPlanFor(s);
}

Variant cls_KELExecutor::Execute(cls_KEL& k, std::string_view pCmd, const StructurePtr& pData) {
  return ExecutePlanned(k, pCmd, pData, nullptr, nullptr);
}

size_t cls_KELExecutor::AppendPlanned(cls_KEL& k, const KELSpan* pSpans, size_t pCount, std::string_view pText,
                                      size_t& rPos, std::string& rOut, size_t pOutMax) {
  cls_KELState& st = k.hState();
  if (st.depth == 0) return 0;
  // Nothing runs between the commands answered here: the variables, the bounds and the nesting
  // stay as they are for the whole run, so they are read once.
  const cls_Structure& vars = *k.VARIABLES;
  const cls_StructureManager& m = *vars.MANAGER_GET();
  const int32_t vid = vars.SID_GET();
  const auto& items = m.Items(vid);
  // running a command would count a step and a call and enter one level (an IF's condition a second)
  const int32_t nestMax = 4 * st.run.nestingMax + 100;
  const bool varFits = st.nest + 1 <= nestMax, ifFits = st.nest + 2 <= nestMax;
  const int64_t stepsLeft = st.run.stepsMax > st.steps ? st.run.stepsMax - st.steps : 0;
  const size_t count = static_cast<size_t>(std::min<int64_t>(static_cast<int64_t>(pCount), stepsLeft));
  size_t pos = rPos, n = 0;
  const KELPlan* lastVar = nullptr;  // the variable answered last, and its text
  std::string_view lastValue;
  HeadSeen seen;
  for (; n < count; ++n) {
    const KELSpan& span = pSpans[n];
    KELPlan* plan = span.plan.get();
    if (!plan) break;
    std::string_view value;
    bool ifTaken = false, caseTaken = false, elseRead = false;
    cls_KELState::SwitchFrame* switchFrame = nullptr;
    if (plan == lastVar) {
      value = lastValue;  // the same variable again: nothing has changed it
    } else if (plan->kind == KELPlan::Var) {
      if (!varFits) break;
      const auto* item = hVarItemIn(m, vid, items, plan->var, &seen);
      if (!item || item->isStruct || !item->value.isString()) break;
      value = item->value.str();
      if (value.find('{') != std::string_view::npos) break;
      lastVar = plan;
      lastValue = value;
    } else if (plan->plainElse) {
      // as hElse: the IF chain record left by the command just before; without one the ELSE runs
      // (and reports itself)
      if (!varFits || st.chainAt != st.calls + 1) break;
      value = st.chainTaken ? std::string_view() : plan->branch[0];
      elseRead = true;
    } else if (plan->plainCase || plan->plainDefault) {
      if (!varFits) break;
      // as hCase and hDefault: the first that matches the SWITCH's value (a DEFAULT always does)
      // gives its block, the others nothing
      switchFrame = &hSwitchFrame(k);
      caseTaken =
          !switchFrame->matched && (plan->plainDefault || hEquals(k, plan->operands[1].value, switchFrame->value));
      value = caseTaken ? plan->branch[0] : std::string_view();
    } else {
      if (!plan->plainIf || !ifFits) break;
      // an ELSEIF reads the chain record as hElseIf does; without one it runs (and reports itself)
      if (plan->elseIf && st.chainAt != st.calls + 1) break;
      if (plan->elseIf && st.chainTaken) {
        ifTaken = true;  // a branch before it was taken: nothing, and the chain stays taken
      } else {
        const auto* item = hVarItemIn(m, vid, items, plan->var, &seen);
        // the condition as hCondition reads a bare name; a Null variable, whose name is then the
        // value, runs the command
        if (!item || (!item->isStruct && item->value.isNull())) break;
        const bool taken = item->isStruct || hTruth(item->value);
        value = taken ? plan->branch[0] : plan->branch[1];
        ifTaken = taken || plan->tokens->tokens.size() == 4;
      }
    }
    const std::string_view before = pText.substr(pos, span.open - pos);
    if (rOut.size() + before.size() + value.size() > pOutMax) break;
    ++st.calls;
    // the IF chain record, as hIfLike leaves it: a branch was taken when the condition held or
    // when there is an else block
    if (plan->plainIf) hChainSet(k, st.calls, ifTaken);
    if (caseTaken) switchFrame->matched = true;
    if (elseRead) st.chainAt = 0;  // the record is read once
    rOut.append(before).append(value);
    pos = span.close + 1;
  }
  st.steps += static_cast<int64_t>(n);
  rPos = pos;
  return n;
}

Variant cls_KELExecutor::ExecutePlanned(cls_KEL& k, std::string_view pCmd, const StructurePtr& pData, KELPlan* pPlan,
                                        std::string* pSink) {
  cls_KELState& st = k.hState();
  // A host's own EXECUTE shows its count in RECURSIONS when it returns.
  struct ShowCalls {
    cls_KEL* k;
    ~ShowCalls() {
      if (k) k->hState().ShowCalls(k->RECURSIONS);
    }
  } show{st.depth == 0 && st.nest == 0 ? &k : nullptr};
  if (st.depth == 0) {
    st.quit = false;
    st.ReadSettings(k.SETTINGS);
  }
  ++st.calls;
  std::string_view s = pCmd;
  {
    std::string over;
    if (hStepOver(k, over)) return Variant(over);
  }
  try {
    s = Prepare(s);
    NestGuard guard(k);
    if (!guard.ok) return Variant(st.Cut(k.ERRORS("Nesting too deep", s)));
    Variant r = pPlan ? hRunPlanned(k, s, pData, *pPlan, pSink) : hRun(k, s, pData, pSink);
    if (show.k && r.isString() && !st.dataKey.empty()) {
      // a host's own EXECUTE gets data as it is, like the end of an outermost PROCESS
      std::string t(r.str());
      k.hDataFinish(t);
      r = Variant(t);
    }
    return r;
  } catch (const std::exception& e) { return Variant(k.ERRORS("Could not execute", s)); }
}

}  // namespace rykel
