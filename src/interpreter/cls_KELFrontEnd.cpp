#include "interpreter/cls_KELFrontEnd.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <iterator>
#include <unordered_map>

#include "frame/Convert.h"
#include "frame/Error.h"
#include "frame/FileIO.h"
#include "frame/Notifier.h"
#include "frame/Text.h"
#include "frame/mdl_Confine.h"
#include "frame/mdl_Global.h"
#include "frame/mdl_Limits.h"
#include "interpreter/TextCache.h"
#include "interpreter/cls_KEL.h"
#include "interpreter/cls_KELExecutor.h"
#include "interpreter/cls_KELState.h"

namespace rykel {

namespace {

// Restores the nesting level and the error place when a PROCESS level ends, however it ends.
struct LevelGuard {
  cls_KEL& k;
  int& depth;
  std::vector<cls_KELState::Source>* sources;
  bool pushed;
  ~LevelGuard() {
    --depth;
    if (pushed) sources->pop_back();
  }
};

std::string hSlashes(std::string_view p) {
  std::string s(p);
  for (char& c : s)
    if (c == '\\') c = '/';
  return s;
}

bool hEscapes(const std::string& p) {
  if (!p.empty() && p[0] == '/') return true;
  std::filesystem::path path(p);
  for (const auto& part : path)
    if (part == "..") return true;
  return false;
}

std::string hJoin(const std::string& dir, const std::string& file) {
  if (dir.empty() || dir.back() == '/') return dir + file;
  return dir + "/" + file;
}

// Where a scan for the "}" that closes a command stands: its depth, and the quote it is inside
// (with the quote's place) when the text ended within a quoted stretch.
struct MatchState {
  int depth = 1;
  char quote = 0;
  size_t quoteAt = 0;
};

// Scans from i for the "}" that brings the depth to 0 and returns its index; npos when the text
// ends first, with the state kept so that the scan can go on in a following piece. Quotes jump to
// their partner, and braces inside them do not count.
size_t hMatchOn(std::string_view work, size_t i, MatchState& st) {
  while (i < work.size()) {
    if (st.quote) {
      size_t q = work.find(st.quote, i);
      if (q == std::string_view::npos) return std::string_view::npos;
      st.quote = 0;
      i = q + 1;
      continue;
    }
    char c = work[i];
    if (c == '"' || c == '\'') {
      st.quote = c;
      st.quoteAt = i;
    } else if (c == '{') {
      ++st.depth;
    } else if (c == '}' && --st.depth == 0) {
      return i;
    }
    ++i;
  }
  return std::string_view::npos;
}

// From the "{" at open, the index of its matching "}" (text size when there is none); a quote
// without its partner sets rUnclosed and gives the quote's index.
size_t hMatch(std::string_view work, size_t open, char& rUnclosed) {
  MatchState st;
  size_t close = hMatchOn(work, open + 1, st);
  rUnclosed = 0;
  if (close != std::string_view::npos) return close;
  if (!st.quote) return work.size();
  rUnclosed = st.quote;
  return st.quoteAt;
}

// A template text prepared once: script and style sections protected, and the commands found by
// the scan that runs when no result has to be scanned again, each with its plan (the decoded
// command). A pure function of the text.
struct Prepared {
  std::string text;
  std::vector<KELSpan> spans;
};

constexpr size_t kPlansMax = 64;

std::shared_ptr<const Prepared> hPrepare(std::string_view pText) {
  struct Kept {
    TextCache<std::shared_ptr<const Prepared>> cache{512};
    // A loop processes the same few block texts round after round (its body, an IF's or a
    // SWITCH's blocks): those are compared, not hashed.
    struct Recent {
      std::string text;
      std::shared_ptr<const Prepared> prepared;
    };
    std::array<Recent, 4> recent;
    size_t next = 0;
  };
  thread_local Kept kept;
  for (const auto& r : kept.recent)
    if (r.prepared && r.text == pText) return r.prepared;
  auto remember = [&](const std::shared_ptr<const Prepared>& p) {
    auto& r = kept.recent[kept.next++ % kept.recent.size()];
    r.text = pText;
    r.prepared = p;
    return p;
  };
  if (auto found = kept.cache.Find(pText)) return remember(*found);
  auto p = std::make_shared<Prepared>();
  p->text = pText;
  if (p->text.find("<s") != std::string::npos) {
    cls_KELFrontEnd::Encapsulate(p->text, "<script", "</script>");
    cls_KELFrontEnd::Encapsulate(p->text, "<style", "</style>");
  }
  std::string_view w = p->text;
  size_t pos = 0;
  // The same command text shares one plan; a text keeps at most kPlansMax of them (the kept texts
  // must not hold a plan for each of thousands of commands: the others are decoded as they run).
  std::unordered_map<std::string_view, std::shared_ptr<KELPlan>> plans;
  while (true) {
    size_t open = w.find('{', pos);
    if (open == std::string_view::npos) break;
    char unclosed;
    size_t close = hMatch(w, open, unclosed);
    if (unclosed || close >= w.size()) {
      p->spans.push_back({open, close, unclosed, nullptr});
      break;
    }
    std::string_view cmd = w.substr(open + 1, close - open - 1);
    std::shared_ptr<KELPlan> plan;
    if (auto it = plans.find(cmd); it != plans.end()) plan = it->second;
    else if (plans.size() < kPlansMax) plan = plans[cmd] = cls_KELExecutor::PlanOf(cmd);
    p->spans.push_back({open, close, unclosed, std::move(plan)});
    pos = close + 1;
  }
  kept.cache.Put(pText, p);
  return remember(p);
}

// With autoescape, a variable's text put into the page: HTML-escaped and data. Error texts and
// structures shown in their HTML form stay as they are.
void hAutoescape(cls_KEL& k, std::string_view pCmd, const Variant& pValue, std::string_view& rResult,
                 std::string& rConverted) {
  if ((pValue.isObject() && k.hState().run.html) || rResult.substr(0, 4) == "ERR:") return;
  if (rResult.find_first_of("&<>\"'{}$") == std::string_view::npos) return;  // nothing to escape or mark
  if (!cls_KELExecutor::IsVariableOutput(pCmd)) return;
  rConverted = k.hData(text::HtmlEscapeText(rResult));
  rResult = rConverted;
}

// Texts up to this size are prepared once and kept; longer ones are scanned as they come.
constexpr size_t kPrepareLimit = 16384;

}  // namespace

bool cls_KELFrontEnd::Encapsulate(std::string& rData, std::string_view pStartTag, std::string_view pEndTag) {
  if (pStartTag.empty()) return true;
  size_t p = rData.find(pStartTag);
  while (p != std::string::npos) {
    size_t e = rData.find(pEndTag, p + pStartTag.size());
    size_t end = e == std::string::npos ? rData.size() : e + pEndTag.size();
    std::string_view stretch(rData.data() + p, end - p);
    if (stretch.find_first_of("{}") != std::string_view::npos) {
      std::string s;
      s.reserve(stretch.size() + 16);
      for (char c : stretch) {
        if (c == '{') s += "[[";
        else if (c == '}') s += "]]";
        else s += c;
      }
      s = text::Replace(text::Replace(s, "[[$", "{$"), "$]]", "$}");
      rData.replace(p, end - p, s);
    }
    p = rData.find(pStartTag, p + 1);
  }
  return true;
}

std::string cls_KELFrontEnd::Process(cls_KEL& k, std::string_view pText, const StructurePtr& pData,
                                     const std::string& pFile, bool pNewSource) {
  std::string out;
  ProcessAppend(k, pText, pData, pFile, pNewSource, out);
  return out;
}

void cls_KELFrontEnd::ProcessAppend(cls_KEL& k, std::string_view pText, const StructurePtr& pData,
                                    const std::string& pFile, bool pNewSource, std::string& rOut) {
  // This level's output is what follows base in rOut.
  std::string& out = rOut;
  const size_t base = out.size();
  cls_KELState& st = k.hState();
  const bool outermost = st.depth == 0;
  if (outermost) {
    st.quit = false;
    st.master.clear();
    st.ReadSettings(k.SETTINGS);
  }
  if (outermost && pText.size() > static_cast<uint64_t>(mdl_Limits::Get(mdl_Limits::kInputSize))) {
    out += st.Cut(k.ERRORS("Input too large", "more than " + std::to_string(mdl_Limits::Get(mdl_Limits::kInputSize)) +
                                                  " bytes (INPUT.SIZE.MAX)"));
    return;
  }
  const int32_t maxDepth = st.run.nestingMax;
  if (st.depth >= maxDepth) {
    bool go = true;
    if (k.WARNING) {
      st.ShowCalls(k.RECURSIONS);
      k.WARNING("Nesting too deep", go);
    }
    if (!go) st.quit = true;
    out += st.Cut(k.ERRORS("Nesting too deep", "more than " + std::to_string(maxDepth) + " levels"));
    return;
  }
  ++st.depth;
  bool pushed = pNewSource || st.sources.empty();
  if (pushed) st.sources.push_back({pFile, std::make_shared<const std::string>(pText), 0});
  LevelGuard guard{k, st.depth, &st.sources, pushed};
  if (outermost) k.SIGNAL(kelSignalProcessStart);

  try {
    // The text is scanned in two pieces: head, results still to be scanned again (a result that
    // holds "{" goes back in front of the rest), and text, the level's own text from tpos on. The
    // rest of the text is never copied for a result, so a level costs its results and not its
    // text again (nested levels would otherwise each hold a copy of what follows them).
    std::string owned;  // the level's text once it had to change (script and style sections)
    std::string_view text = pText;
    std::shared_ptr<const Prepared> prepared;  // its commands, while the scan follows them
    size_t nextSpan = 0;
    if (pText.size() <= kPrepareLimit) {
      prepared = hPrepare(pText);
      text = prepared->text;
    } else if (text.find("<s") != std::string_view::npos) {
      owned = pText;
      Encapsulate(owned, "<script", "</script>");
      Encapsulate(owned, "<style", "</style>");
      text = owned;
    }
    // The output is usually about as long as the text; a caller's buffer keeps growing by halves.
    // A nested level reserves little ahead: all levels of a deeply nested text are open at once,
    // and each reserving its whole text would cost the text's size per level.
    size_t ahead = outermost ? text.size() : std::min(text.size(), kPrepareLimit);
    if (out.capacity() < base + ahead) out.reserve(std::max(base + ahead, out.capacity() * 3 / 2));

    const int32_t limit = st.run.commandsMax;
    std::string head;
    bool inHead = false;
    size_t hpos = 0, tpos = 0;
    size_t headOrigin = 0;  // error places in head: the command whose result it is
    std::string joined;     // a command that begins in head and ends in text
    int32_t count = 0;
    std::string failure, failureDetail;
    size_t failureAt = 0;  // the place of the cut in the level's text
    while (true) {
      size_t open, close = 0, place;
      char unclosed = 0;
      size_t unclosedAt = 0;
      KELPlan* plan = nullptr;  // the command's plan, when the prepared scan has it
      bool spans = false;       // the command begins in head and goes on in text
      if (inHead) {
        open = head.find('{', hpos);
        if (open == std::string::npos) {
          out.append(head, hpos);
          head.clear();
          inHead = false;
          continue;
        }
        place = headOrigin;
        MatchState st;
        close = hMatchOn(head, open + 1, st);
        if (close == std::string_view::npos) {
          // No "}" in the head: the command goes on in the text.
          spans = true;
          if (st.quote) st.quoteAt = std::string_view::npos;  // a quote opened in the head
          close = hMatchOn(text, tpos, st);
          if (close == std::string_view::npos) {
            close = text.size();
            if (st.quote) {
              unclosed = st.quote;
              unclosedAt = st.quoteAt == std::string_view::npos ? headOrigin : st.quoteAt;
            }
          }
        }
      } else {
        if (prepared) {
          // Commands answered from their plans (variables, IFs between plain texts) whose text
          // needs no second scan go straight to the output, one after the other; anything else
          // (and any bound about to be reached) takes the general way.
          if (!st.run.autoescape && count < limit && !st.quit) {
            const size_t answered = cls_KELExecutor::AppendPlanned(
                k, prepared->spans.data() + nextSpan,
                std::min(prepared->spans.size() - nextSpan, static_cast<size_t>(limit - count)), text, tpos, out,
                base + st.run.outputMax);
            count += static_cast<int32_t>(answered);
            nextSpan += answered;
          }
          if (nextSpan < prepared->spans.size()) {
            const auto& sp = prepared->spans[nextSpan++];
            open = sp.open;
            close = sp.close;
            unclosed = sp.unclosed;
            plan = sp.plan.get();
          } else {
            open = std::string_view::npos;
          }
        } else {
          open = text.find('{', tpos);
          if (open != std::string_view::npos) close = hMatch(text, open, unclosed);
        }
        if (open == std::string_view::npos) {
          out.append(text.substr(tpos));
          break;
        }
        place = open;
        unclosedAt = close;  // hMatch gives the quote's place for an unclosed quote
      }
      if (++count > limit || unclosed) {
        // The report quotes the text from the "{" on.
        std::string from =
            inHead ? head.substr(open, 404) + std::string(text.substr(tpos, 404)) : std::string(text.substr(open, 404));
        from = std::string(text::Left(from, 101));
        if (count > limit) {
          failure = "Not parseable";
          failureDetail = from;
          failureAt = place;
        } else {
          failure = "Syntax error";
          failureDetail = std::string("Unclosed ") + unclosed + ": " + from;
          failureAt = unclosedAt;
        }
        break;
      }
      std::string_view cmd;
      if (inHead) {
        out.append(head, hpos, open - hpos);
        if (spans) {
          joined.assign(head, open + 1);
          joined.append(text.substr(tpos, close - tpos));
          cmd = joined;
        } else {
          cmd = std::string_view(head).substr(open + 1, close - open - 1);
        }
      } else {
        out.append(text.substr(tpos, open - tpos));
        cmd = text.substr(open + 1, std::min(close, text.size()) - open - 1);
      }
      if (st.quit) break;
      if (pushed) st.sources.back().offset = place;
      // A command that makes text from blocks (a loop, an IF) writes it straight into out: what it
      // appended there is its text, so a long loop's output is never copied.
      const size_t appendedAt = out.size();
      Variant value = cls_KELExecutor::ExecutePlanned(k, cmd, pData, plan, &out);
      bool inOut = out.size() > appendedAt;  // the result is what follows appendedAt in out
      if (inOut && !(value.isString() && value.str().empty())) {
        out.resize(appendedAt);  // it failed midway: only its error text counts, as it would alone
        inOut = false;
      }
      std::string converted;
      std::string_view result;
      if (inOut) {
        result = std::string_view(out).substr(appendedAt);
      } else if (value.isString()) {
        result = value.str();
      } else {
        converted = k.hToText(value);
        result = converted;
      }
      if (st.run.autoescape && st.rawDepth == 0 && !inOut) hAutoescape(k, cmd, value, result, converted);
      if (!st.quit && (inOut ? out.size() - base : out.size() - base + result.size()) > st.run.outputMax) {
        // a template that multiplies its own output (loops, self-doubling variables) stops here
        out.resize(appendedAt);
        out += st.Cut(
            k.ERRORS("Output too large", "more than " + std::to_string(st.run.outputMax) + " bytes (SYS.OUTPUT.MAX)"));
        st.quit = true;
        break;
      }
      if (st.quit) {
        if (!inOut) out += result;
        break;
      }
      // Where the scan goes on: after the command, in head or in text.
      std::string_view headRest;
      if (inHead && !spans) {
        headRest = std::string_view(head).substr(close + 1);
      } else {
        tpos = close < text.size() ? close + 1 : text.size();
        if (spans) {
          prepared.reset();  // the text goes on after a "}" the prepared scan did not see
          head.clear();
          inHead = false;
        }
      }
      // Error texts are never scanned again (their titles may hold braces).
      if (result.find('{') == std::string_view::npos || result.substr(0, 4) == "ERR:") {
        if (!inOut) out += result;
        if (inHead) hpos = close + 1;
      } else {
        std::string next;
        next.reserve(result.size() + headRest.size());
        next.append(result).append(headRest);
        if (inOut) out.resize(appendedAt);
        head = std::move(next);
        headOrigin = place;
        inHead = true;
        hpos = 0;
      }
    }
    if (!failure.empty()) {
      bool go = true;
      if (failure == "Not parseable" && k.WARNING) {
        st.ShowCalls(k.RECURSIONS);
        k.WARNING("Not parseable", go);
      }
      if (!go) st.quit = true;
      out.resize(base);
      // Always listed, at the command past the count or at the quote; the output stays empty
      // unless DEVELOPER.DEBUG asks for the report in it.
      if (pushed) st.sources.back().offset = failureAt;
      std::string report = st.Cut(k.ERRORS(failure, failureDetail));
      if (st.run.debug) out += report;
    }
  } catch (const std::exception& e) { out += k.ERRORS("Could not execute", e.what()); }

  if (outermost) {
    try {
      if (k.LATER->COUNT() > 0 && !k.LATER->ISEMPTY()) {
        Notify({"KEL", "Later", "OK", "Information"});
        // Deferred commands run once, in the order deferred; each result replaces its marker.
        auto entries = k.LATER;
        k.LATER = cls_Structure::New();
        for (int32_t n = entries->BASE(); n <= entries->MAX(); ++n) {
          if (!entries->EXISTS_GET(n)) continue;
          std::string marker = "@@__LATER__" + std::to_string(n) + "@@";
          std::string cmd = CStr(entries->ITEM_GET(n));
          ++st.depth;
          std::string r = Process(k, "{" + cmd + "}", pData, std::string(), false);
          --st.depth;
          size_t at = out.find(marker, base);
          if (at != std::string::npos) out.replace(at, marker.size(), r);
        }
      }
      if (!st.master.empty()) {
        std::string master = st.master;
        st.master.clear();
        std::string path, textIn;
        st.sources.push_back(st.masterSource);
        bool found = hLoad(k, master, path, textIn);
        st.sources.pop_back();
        if (found) {  // else the page stays as it is, as after a missing INCLUDE
          k.VARIABLES->ITEM_LET("CONTENT", std::string_view(out).substr(base));
          out.resize(base);
          ++st.depth;
          out += Process(k, textIn, pData, path, true);
          --st.depth;
        }
      }
    } catch (const std::exception& e) { out += k.ERRORS("Could not execute", e.what()); }
    k.SIGNAL(kelSignalProcessEnd);
    // The page is finished (inside a host's EXECUTE, that EXECUTE finishes its own result).
    if (st.nest == 0) k.hDataFinish(out, base);
  }
}

bool cls_KELFrontEnd::SyntaxCheck(cls_KEL& k, const StructurePtr& rValue, std::string_view pParaWanted) {
  if (!rValue) return false;
  // What was delivered, before completion: names, or positions for numbered items.
  std::string delivered;
  for (int32_t i = rValue->BASE(); i <= rValue->MAX(); ++i) {
    if (!rValue->EXISTS_GET(i)) continue;
    std::string name = rValue->ID_GET(i);
    if (!delivered.empty()) delivered += ",";
    delivered += name.empty() ? std::to_string(i) : name;
  }
  bool ok = true;
  std::string required;
  int32_t position = 0;
  for (const auto& raw : text::Split(pParaWanted, ",")) {
    std::string_view entry = text::Trim(raw);
    if (entry.empty()) continue;
    ++position;
    size_t eq = entry.find('=');
    std::string name = text::UCase(text::Trim(entry.substr(0, eq)));
    if (!required.empty()) required += ",";
    required += name;
    if (rValue->EXISTSBYID_GET(name)) continue;
    Variant value("__ERR__");
    int32_t slot = rValue->BASE() + position - 1;
    if (slot >= rValue->BASE() && slot <= rValue->MAX() && rValue->EXISTS_GET(slot) && rValue->ID_GET(slot).empty()) {
      value = rValue->ITEM_GET(slot);
    } else if (eq != std::string_view::npos) {
      std::string_view def = text::Trim(entry.substr(eq + 1));
      if (def.size() >= 2 && (def.front() == '\'' || def.front() == '"') && def.back() == def.front())
        def = def.substr(1, def.size() - 2);
      value = Variant(def);
    }
    if (value.isString() && value.str() == "__ERR__") ok = false;
    rValue->ITEMBYID_LET(name, value);
  }
  if (!ok)
    k.ERRORS("The command " + k.hCurrentCommand() + " needs other parameters: " + required + " required, " + delivered +
             " delivered");
  return ok;
}

namespace {

// The one way a template reaches a file: the name itself (not when confined), then each
// DIRECTORIES entry + name, the first that exists. Confined, each candidate is opened and judged
// by the file opened (mdl_Confine), so the file checked is the file read; rFd then holds it open
// (the caller closes it). Not confined, rFd is -1 and the file is read by its path. rAll, when
// given, collects every candidate found instead of stopping at the first.
std::string hFind(cls_KEL& k, std::string_view pFile, int& rFd, std::vector<std::string>* rAll) {
  rFd = -1;
  std::string file = hSlashes(pFile);
  if (file.empty()) return {};
  const bool confined = k.hConfined();
  if (confined && hEscapes(file)) return {};
  auto found = [&](const std::string& path, int fd) {
    if (rAll) {
      rAll->push_back(path);
      if (fd >= 0) ::close(fd);
      return false;
    }
    rFd = fd;
    return true;
  };
  if (!confined && mdl_FileTools::FILEEXISTS(file) && found(file, -1)) return file;
  auto& dirs = *k.DIRECTORIES;
  for (int32_t i = dirs.BASE(); i <= dirs.MAX(); ++i) {
    if (!dirs.EXISTS_GET(i)) continue;
    std::string dir = hSlashes(CStr(dirs.ITEM_GET(i)));
    std::string path = hJoin(dir, file);
    if (!confined) {
      if (mdl_FileTools::FILEEXISTS(path) && found(path, -1)) return path;
      continue;
    }
    const std::vector<std::string> root{dir.empty() ? std::string(".") : dir};
    int fd = mdl_Confine::OPEN(path, &root);
    if (fd >= 0 && found(path, fd)) return path;
  }
  return {};
}

}  // namespace

std::string cls_KELFrontEnd::Locate(cls_KEL& k, std::string_view pFile, std::string_view pDefault) {
  int fd;
  std::string path = hFind(k, pFile, fd, nullptr);
  if (fd >= 0) ::close(fd);
  return path.empty() ? std::string(pDefault) : path;
}

std::vector<std::string> cls_KELFrontEnd::LocateAll(cls_KEL& k, std::string_view pFile) {
  std::vector<std::string> found;
  int fd;
  hFind(k, pFile, fd, &found);
  return found;
}

std::vector<std::string> cls_KELFrontEnd::ConfinedRoots(cls_KEL& k) {
  std::vector<std::string> roots;
  auto& dirs = *k.DIRECTORIES;
  for (int32_t i = dirs.BASE(); i <= dirs.MAX(); ++i)
    if (dirs.EXISTS_GET(i)) {
      std::string dir = hSlashes(CStr(dirs.ITEM_GET(i)));
      roots.push_back(dir.empty() ? std::string(".") : dir);
    }
  return roots;
}

namespace {

// The template file of a name: ".kel" added when it has no extension, found as given, then under
// "pages/", then under "inc/". rFd as hFind gives it.
std::string hFindTemplate(cls_KEL& k, std::string_view pName, int& rFd) {
  std::string name(pName);
  std::string base = std::filesystem::path(hSlashes(name)).filename().string();
  if (base.find('.') == std::string::npos) name += ".kel";
  std::string path = hFind(k, name, rFd, nullptr);
  if (path.empty()) path = hFind(k, "pages/" + name, rFd, nullptr);
  if (path.empty()) path = hFind(k, "inc/" + name, rFd, nullptr);
  return path;
}

}  // namespace

std::string cls_KELFrontEnd::FindTemplate(cls_KEL& k, std::string_view pName) {
  int fd = -1;
  std::string path = hFindTemplate(k, pName, fd);
  if (fd >= 0) ::close(fd);
  return path;
}

size_t cls_KELFrontEnd::MatchCommand(std::string_view pText, size_t pOpen, char& rUnclosed) {
  return hMatch(pText, pOpen, rUnclosed);
}

bool cls_KELFrontEnd::hLoad(cls_KEL& k, std::string_view pName, std::string& rPath, std::string& rText) {
  int fd = -1;
  std::string path = hFindTemplate(k, pName, fd);
  if (path.empty()) {
    k.ERRORS("Could not include '" + std::string(pName) + "'");
    return false;
  }
  try {
    // bounded by INPUT.SIZE.MAX; confined, the file read is the one opened and checked
    rText = fd >= 0 ? fileio::ReadOpened(fd, path) : fileio::ReadFile(path);
  } catch (const Error& e) {
    k.ERRORS("Could not include '" + std::string(pName) + "'", e.description);
    return false;
  }
  rPath = std::move(path);
  return true;
}

std::string cls_KELFrontEnd::Include(cls_KEL& k, std::string_view pName, const StructurePtr& pData) {
  std::string path, textIn;
  if (!hLoad(k, pName, path, textIn)) return "";
  return Process(k, textIn, pData, path, true);
}

}  // namespace rykel
