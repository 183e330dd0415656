#include "interpreter/cls_KELChecker.h"

#include <algorithm>
#include <string>

#include "frame/Text.h"
#include "frame/mdl_Limits.h"
#include "interpreter/cls_KEL.h"
#include "interpreter/cls_KELDecoder.h"
#include "interpreter/cls_KELErrorList.h"
#include "interpreter/cls_KELExecutor.h"
#include "interpreter/cls_KELFrontEnd.h"
#include "interpreter/cls_KELModules.h"
#include "interpreter/cls_KELState.h"
#include "interpreter/cls_KELTokenizer.h"

namespace rykel {

namespace {

// Edits from a to b, a swap of neighbours counting as one (optimal string alignment).
size_t hDistance(std::string_view a, std::string_view b) {
  std::vector<size_t> before(b.size() + 1), prev(b.size() + 1), cur(b.size() + 1);
  for (size_t j = 0; j <= b.size(); ++j) prev[j] = j;
  for (size_t i = 1; i <= a.size(); ++i) {
    cur[0] = i;
    for (size_t j = 1; j <= b.size(); ++j) {
      size_t cost = a[i - 1] == b[j - 1] ? 0 : 1;
      cur[j] = std::min({prev[j] + 1, cur[j - 1] + 1, prev[j - 1] + cost});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) cur[j] = std::min(cur[j], before[j - 2] + 1);
    }
    std::swap(before, prev);
    std::swap(prev, cur);
  }
  return prev[b.size()];
}

std::string hMeant(std::string_view pCandidate) {
  return pCandidate.empty() ? std::string() : " (did you mean '" + std::string(pCandidate) + "'?)";
}

// The inner text of a group or quoted token (to the end when it is not closed).
std::string_view hInner(const KELToken& t) {
  std::string_view s = t.text;
  return cls_KELTokenizer::IsClosed(t) && s.size() >= 2 ? s.substr(1, s.size() - 2) : s.substr(1);
}

bool hStartsWithWord(std::string_view s, std::string_view upperWord) {
  if (s.size() < upperWord.size()) return false;
  for (size_t i = 0; i < upperWord.size(); ++i) {
    char c = s[i];
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
    if (c != upperWord[i]) return false;
  }
  return s.size() == upperWord.size() || cls_KELTokenizer::IsSeparator(s[upperWord.size()]) ||
         s[upperWord.size()] == '}' || s[upperWord.size()] == '$';
}

// One check of one template text. Offsets are byte offsets in text_ (the text as PROCESS scans it,
// script and style braces protected); every view handled points into text_.
class Walk {
 public:
  Walk(cls_KEL& k, std::string_view pText, std::string_view pFile) : k_(k), original_(pText), file_(pFile) {
    commandsMax_ = cls_KELState::SettingInt(k.SETTINGS, "SYS.COMMANDS.MAX", 100);
    nestingMax_ = cls_KELState::SettingInt(k.SETTINGS, "SYS.NESTING.MAX", 50);
    findingsMax_ = static_cast<size_t>(cls_KELState::SettingInt(k.SETTINGS, "SYS.ERRORS.MAX", 10000));
    auto& modules = *k.MODULES;
    for (int32_t i = 1; i <= modules.COUNT(); ++i) {
      auto m = modules.MODULE(i);
      auto module = m ? m->MODULE_GET() : nullptr;
      if (!module) continue;
      catchFirst_ = catchFirst_ || module->CATCHFIRST_GET();
      catchAll_ = catchAll_ || module->CATCHALL_GET();
      moduleNames_.push_back(text::UCase(module->ID_GET()));
      for (const auto& a : module->ALIASES_GET()) moduleNames_.push_back(text::UCase(a));
    }
    otherTaken_ = catchFirst_ || catchAll_ || modules.FIND("OTHER") != nullptr;
  }

  std::vector<KELFinding> Run() {
    const auto inputMax = mdl_Limits::Get(mdl_Limits::kInputSize);
    if (original_.size() > static_cast<uint64_t>(inputMax)) {
      text_ = original_;
      AddAt(0, "the text is larger than INPUT.SIZE.MAX (" + std::to_string(inputMax) + " bytes): it is not processed");
      return Finish();
    }
    text_ = original_;
    if (original_.find("<s") != std::string_view::npos) {
      protected_ = original_;
      cls_KELFrontEnd::Encapsulate(protected_, "<script", "</script>");
      cls_KELFrontEnd::Encapsulate(protected_, "<style", "</style>");
      if (protected_ != original_) {
        text_ = protected_;
        MapOffsets();
      }
    }
    Level(text_, 1);
    return Finish();
  }

 private:
  // What the IF chain of one text looks like before the next command: open after IF and ELSEIF;
  // breaker names the command that came between the chain and a later ELSEIF or ELSE.
  struct Chain {
    bool open = false;
    std::string breaker;
    void Break(std::string_view pBy) {
      if (open) breaker = std::string(text::Left(pBy, 30));
      open = false;
    }
  };

  struct Raw {
    size_t offset;
    bool warning;
    std::string message;
  };

  cls_KEL& k_;
  std::string_view original_, file_;
  std::string protected_;
  std::string_view text_;
  std::vector<size_t> map_;  // original offset per offset of protected_ (empty: the same text)
  int32_t commandsMax_ = 100, nestingMax_ = 50;
  size_t findingsMax_ = 10000;
  bool catchFirst_ = false, catchAll_ = false, otherTaken_ = false;
  std::vector<std::string> moduleNames_;
  std::vector<Raw> raw_;
  bool overflow_ = false, deepReported_ = false;
  int nest_ = 0;

  size_t Off(std::string_view part) const { return static_cast<size_t>(part.data() - text_.data()); }

  void AddAt(size_t offset, std::string message, bool warning = false) {
    if (raw_.size() > findingsMax_) {
      overflow_ = true;
      return;
    }
    raw_.push_back({offset, warning, std::move(message)});
  }
  void Add(std::string_view at, std::string message, bool warning = false) {
    AddAt(Off(at), std::move(message), warning);
  }

  // A protected brace became "[[" or "]]": offsets of protected_ are mapped back, walking both texts.
  void MapOffsets() {
    map_.assign(protected_.size() + 1, original_.size());
    size_t i = 0, j = 0;
    while (j < protected_.size()) {
      map_[j] = std::min(i, original_.size());
      if (i < original_.size() && original_[i] != protected_[j] && (original_[i] == '{' || original_[i] == '}') &&
          j + 1 < protected_.size()) {
        map_[j + 1] = i;
        j += 2;
      } else {
        ++j;
      }
      ++i;
    }
  }

  bool TooDeep(std::string_view at) {
    if (nest_ <= 4 * nestingMax_ + 100) return false;
    ReportDeep(at);
    return true;
  }
  void ReportDeep(std::string_view at) {
    if (deepReported_) return;
    deepReported_ = true;
    Add(at, "nested more than SYS.NESTING.MAX (" + std::to_string(nestingMax_) +
                ") levels deep: processing stops there with \"Nesting too deep\"");
  }

  struct Nest {
    int& n;
    explicit Nest(int& pN) : n(++pN) {}
    ~Nest() { --n; }
  };

  // text -> { plain | "}" | command }: one text as PROCESS reads it, each block body a text of its own.
  void Level(std::string_view s, int levels) {
    if (levels > nestingMax_) return ReportDeep(s);
    Nest nest(nest_);
    if (TooDeep(s)) return;
    Chain chain;
    int32_t count = 0;
    size_t pos = 0;
    while (true) {
      size_t open = s.find('{', pos);
      Stray(s.substr(pos, open == std::string_view::npos ? std::string_view::npos : open - pos));
      if (open == std::string_view::npos) return;
      if (++count == commandsMax_ + 1)
        AddAt(Off(s) + open, "more than SYS.COMMANDS.MAX (" + std::to_string(commandsMax_) +
                                 ") commands in one text: it comes out empty (move some into a BLOCK or an INCLUDE)");
      size_t end;
      if (CommentQuote(s, open, end)) {
        chain.Break("COMMENT");
        pos = end + 1;
        continue;
      }
      char unclosed;
      size_t close = cls_KELFrontEnd::MatchCommand(s, open, unclosed);
      if (unclosed) {
        std::string quote(1, unclosed);
        AddAt(Off(s) + close,
              "unclosed quote " + quote +
                  (unclosed == '\'' ? " (an apostrophe inside a command opens a quoted stretch)" : std::string()) +
                  ": the text it stands in comes out empty");
        return;
      }
      if (close >= s.size()) {
        AddAt(Off(s) + open, "unclosed '{': no '}' ends this command");
        Command(s.substr(open + 1), chain, levels);
        return;
      }
      Command(s.substr(open + 1, close - open - 1), chain, levels);
      pos = close + 1;
    }
  }

  void Stray(std::string_view plain) {
    for (size_t i = plain.find('}'); i != std::string_view::npos; i = plain.find('}', i + 1))
      AddAt(Off(plain) + i, "unmatched '}': it is printed as it is", true);
  }

  // A COMMENT whose text holds a quote that is not closed before the "}" that would end the comment
  // if quotes did not count: the quote carries the command on past it. rEnd is that "}".
  bool CommentQuote(std::string_view s, size_t open, size_t& rEnd) {
    size_t i = open + 1;
    while (i < s.size() && (s[i] == '$' || cls_KELTokenizer::IsSeparator(s[i]))) ++i;
    if (!hStartsWithWord(s.substr(i), "COMMENT")) return false;
    int depth = 1;
    size_t end = open + 1;
    for (; end < s.size(); ++end) {
      if (s[end] == '{') ++depth;
      else if (s[end] == '}' && --depth == 0) break;
    }
    if (end >= s.size()) return false;
    for (size_t q = i + 7; q < end; ++q) {
      char c = s[q];
      if (c != '"' && c != '\'') continue;
      size_t partner = s.find(c, q + 1);
      if (partner == std::string_view::npos || partner > end) {
        AddAt(Off(s) + q, std::string("quote ") + c +
                              " inside COMMENT: it carries the comment on past its '}' (leave quotes out of comments)");
        rEnd = end;
        return true;
      }
      q = partner;
    }
    return false;
  }

  // command -> reference | table-word params | expression | ALIAS:CMD params | word params
  void Command(std::string_view cmd, Chain& chain, int levels) {
    Nest nest(nest_);
    std::string_view s = cls_KELExecutor::Prepare(cmd);
    if (TooDeep(s)) return;
    if (s.empty()) return chain.Break("{}");
    if (cls_KELExecutor::ReferenceOf(s) != enm_KELReference::None) return chain.Break(s);
    auto tokens = cls_KELTokenizer::Tokenize(s);
    if (tokens.empty()) return chain.Break(s);
    const KELToken& word = tokens[0];
    const KELToken* params = tokens.data() + 1;
    const size_t count = tokens.size() - 1;
    if (word.kind == enm_KELToken::Word && cls_KELExecutor::IsCommandWord(word.text))
      return TableCommand(word, params, count, s, chain, levels);
    chain.Break(word.text);
    if (word.kind != enm_KELToken::Word || (count >= 1 && params[0].kind == enm_KELToken::Operator))
      return Expression(tokens, levels);
    std::string upper = text::UCase(word.text);
    if (upper.find(':') != std::string::npos) Module(word.text);
    else if (k_.FUNCTIONS->ITEMBYID_GET(upper, Variant::Null()).isNull() && !otherTaken_)
      Add(word.text, "unknown command '" + std::string(word.text) + "'" + hMeant(CommandMeant(upper)));
    for (size_t i = 0; i < count; ++i) Param(params[i], levels);
  }

  void TableCommand(const KELToken& word, const KELToken* params, size_t count, std::string_view s, Chain& chain,
                    int levels) {
    std::string upper = text::UCase(word.text);
    std::string error = cls_KELExecutor::ParameterError(upper, params, count);
    if (!error.empty()) Add(word.text, error);
    if ((upper == "ELSEIF" || upper == "ELSE") && !chain.open)
      Add(word.text,
          upper + " without IF" +
              (chain.breaker.empty() ? std::string() : " ('" + chain.breaker + "' comes between it and its IF)"));
    if (upper == "IF" || upper == "ELSEIF") {
      chain.open = true;
      chain.breaker.clear();
    } else if (upper == "ELSE") {
      chain.open = false;
      chain.breaker.clear();
    } else {
      chain.Break(upper);
    }
    if (upper == "COMMENT" || upper == "LOCATE" || upper == "DISPOSE") return;
    if (upper == "INCLUDE" || upper == "MASTER") return Include(s, word);
    if (upper == "LATER") {
      if (count == 0) return;
      const KELToken& t = params[0];
      Chain own;
      bool inner = t.kind == enm_KELToken::Braces || t.kind == enm_KELToken::Quoted;
      return Command(inner ? hInner(t) : t.text, own, levels + 1);
    }
    if (upper == "BLOCK") {
      // The body is kept as written and processed as a text of its own where it is used.
      if (count < 2) return;
      const KELToken& body = params[1];
      bool inner = body.kind == enm_KELToken::Braces || body.kind == enm_KELToken::Quoted;
      return Level(inner ? hInner(body) : body.text, levels + 1);
    }
    // Names that are taken as written, not decoded.
    size_t name = upper == "VAR" || upper == "FOR" || upper == "ITERATE" ? 0 : (upper == "DO" ? 1 : count);
    for (size_t i = 0; i < count; ++i)
      if (i != name) Param(params[i], levels);
  }

  // The suggestion for an unknown command word: the same word as a module's command, else a close
  // command word of the table or a close FUNCTIONS name.
  std::string CommandMeant(const std::string& upper) {
    auto& modules = *k_.MODULES;
    for (int32_t i = 1; i <= modules.COUNT(); ++i) {
      auto m = modules.MODULE(i);
      auto module = m ? m->MODULE_GET() : nullptr;
      if (!module) continue;
      const auto& commands = module->COMMANDS_GET();
      if (std::find(commands.begin(), commands.end(), upper) != commands.end())
        return text::UCase(module->ID_GET()) + ":" + upper;
    }
    std::vector<std::string_view> words = cls_KELExecutor::CommandWords();
    std::vector<std::string> functions;
    for (int32_t i = k_.FUNCTIONS->BASE(); i <= k_.FUNCTIONS->MAX(); ++i)
      if (k_.FUNCTIONS->EXISTS_GET(i)) functions.push_back(text::UCase(k_.FUNCTIONS->ID_GET(i)));
    for (const auto& f : functions) words.push_back(f);
    return std::string(cls_KELChecker::Closest(upper, words));
  }

  // ALIAS:CMD through the registry as it is now.
  void Module(std::string_view word) {
    if (catchFirst_) return;  // a catch-first module may take anything
    std::string upper = text::UCase(word);
    size_t colon = upper.find(':');
    std::string alias = upper.substr(0, colon), command = upper.substr(colon + 1);
    auto m = k_.MODULES->FIND(alias);
    if (!m) {
      if (catchAll_) return;
      std::vector<std::string_view> names(moduleNames_.begin(), moduleNames_.end());
      Add(word, "unknown module '" + alias + "' in '" + std::string(word) + "'" +
                    hMeant(cls_KELChecker::Closest(alias, names)));
      return;
    }
    auto module = m->MODULE_GET();
    if (!module) return;
    const auto& commands = module->COMMANDS_GET();
    if (commands.empty() || std::find(commands.begin(), commands.end(), command) != commands.end()) return;
    std::vector<std::string_view> names(commands.begin(), commands.end());
    std::string_view close = cls_KELChecker::Closest(command, names);
    Add(word,
        "unknown command '" + std::string(word) + "'" + hMeant(close.empty() ? "" : alias + ":" + std::string(close)));
  }

  // One parameter: a block or quoted template is a text of its own, a group an expression, and a
  // word that DECODE would run is a command.
  void Param(const KELToken& t, int levels) {
    switch (t.kind) {
      case enm_KELToken::Braces: {
        std::string_view inner = hInner(t);
        if (!inner.empty() && inner[0] == '$') return;  // "{$...}" is given back unevaluated
        return Level(inner, levels + 1);
      }
      case enm_KELToken::Parens: {
        if (!cls_KELTokenizer::IsClosed(t)) Add(t.text, "unclosed '(': no ')' closes it");
        Nest nest(nest_);
        if (TooDeep(t.text)) return;
        return Expression(cls_KELTokenizer::Tokenize(hInner(t)), levels);
      }
      case enm_KELToken::Quoted:
        if (cls_KELDecoder::Classify(t.text).kind == enm_KELParamKind::QuotedTemplate) Level(hInner(t), levels + 1);
        return;
      case enm_KELToken::Word: {
        size_t paren = t.text.find(')');
        if (paren != std::string_view::npos) return AddAt(Off(t.text) + paren, "unmatched ')'", true);
        if (cls_KELExecutor::IsReferenceWord(t.text) &&
            cls_KELDecoder::Classify(t.text).kind == enm_KELParamKind::Other) {
          Chain own;
          Command(t.text, own, levels);
        }
        return;
      }
      case enm_KELToken::Operator: return;
    }
  }

  // expression -> { operand | operator }: operands as parameters; an operator run must be one.
  void Expression(const std::vector<KELToken>& tokens, int levels) {
    for (const auto& t : tokens) {
      if (t.kind != enm_KELToken::Operator) {
        Param(t, levels);
        continue;
      }
      std::string op = cls_KELDecoder::LITERAL(t.text);
      if (op != "-" && op != "!" && cls_KELExecutor::OperatorOf(op) == enm_KELOperator::None)
        Add(t.text, "unknown operator '" + std::string(t.text) + "'");
    }
  }

  void Include(std::string_view s, const KELToken& word) {
    std::string_view name = cls_KELExecutor::RestOf(s);
    if (name.find('{') != std::string_view::npos) return;  // the name is made when the page runs
    if (!cls_KELFrontEnd::FindTemplate(k_, name).empty()) return;
    Add(word.text, "Could not include '" + std::string(name) + "' (not found as given, under pages/ or inc/)");
  }

  std::vector<KELFinding> Finish() {
    for (auto& r : raw_)
      if (!map_.empty()) r.offset = map_[std::min(r.offset, map_.size() - 1)];
    std::stable_sort(raw_.begin(), raw_.end(), [](const Raw& a, const Raw& b) { return a.offset < b.offset; });
    if (raw_.size() > findingsMax_) {
      raw_.resize(findingsMax_ + 1);
      overflow_ = true;
    }
    if (overflow_) {
      raw_.back().warning = false;
      raw_.back().message =
          "more than " + std::to_string(findingsMax_) + " findings (SYS.ERRORS.MAX): the rest are not listed";
    }
    std::vector<KELFinding> out;
    out.reserve(raw_.size());
    size_t at = 0;
    int32_t line = 1, column = 1;
    for (const auto& r : raw_) {
      size_t offset = std::min(r.offset, original_.size());
      int32_t lines, col;
      cls_KELErrorList::LineColumn(original_.substr(at, offset - at), offset - at, lines, col);
      if (lines == 1) column += col - 1;
      else line += lines - 1, column = col;
      at = offset;
      out.push_back({std::string(file_), line, column, r.warning ? "warning" : "error", r.message});
    }
    return out;
  }
};

}  // namespace

std::string_view cls_KELChecker::Closest(std::string_view pName, const std::vector<std::string_view>& pCandidates) {
  const size_t reach = pName.size() <= 4 ? 1 : 2;
  std::string_view best;
  size_t bestDistance = reach + 1;
  for (std::string_view c : pCandidates) {
    if (c == pName || (c.size() > pName.size() ? c.size() - pName.size() : pName.size() - c.size()) > reach) continue;
    size_t d = hDistance(pName, c);
    if (d < bestDistance) {
      best = c;
      bestDistance = d;
    }
  }
  return best;
}

std::vector<KELFinding> cls_KELChecker::Check(cls_KEL& k, std::string_view pText, std::string_view pFile) {
  return Walk(k, pText, pFile).Run();
}

}  // namespace rykel
