#include "web/mdl_WebOverlay.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "frame/FileIO.h"
#include "frame/Text.h"
#include "frame/mdl_Confine.h"

namespace rykel::mdl_WebOverlay {

namespace fs = std::filesystem;

namespace {

// Templates bigger than this are not read for one line of the overlay.
constexpr uintmax_t kSourceMax = 4 << 20;

// Line pLine (from 1) of a template inside pRoot, or "".
std::string hSourceLine(const std::string& pFile, const std::string& pRoot, int32_t pLine) {
  const std::vector<std::string> roots{pRoot};
  for (const auto& candidate : {fs::path(pFile), fs::path(pRoot) / pFile}) {
    std::error_code ec;
    if (fs::file_size(candidate, ec) > kSourceMax || ec) continue;
    const int fd = mdl_Confine::OPEN(candidate.string(), &roots);
    if (fd < 0) continue;
    std::string text;
    try {
      text = fileio::ReadOpened(fd, candidate.string());
    } catch (...) { continue; }
    size_t start = 0;
    for (int32_t n = 1; n < pLine && start != std::string::npos; ++n) {
      start = text.find('\n', start);
      if (start != std::string::npos) ++start;
    }
    if (start == std::string::npos || start > text.size()) return {};
    std::string line = text.substr(start, text.find('\n', start) - start);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
  }
  return {};
}

// Blanks up to the column's character (tabs kept, so the caret lines up), then "^".
std::string hCaret(const std::string& pSource, int32_t pColumn) {
  std::string caret;
  size_t i = 0;
  for (int32_t c = 1; c < pColumn && i < pSource.size(); ++c) {
    caret += pSource[i] == '\t' ? '\t' : ' ';
    i += std::max<size_t>(1, text::Utf8CharLen(pSource, i));
  }
  return caret + "^";
}

bool hNumber(const std::string& s, size_t pFrom, size_t pTo, int32_t& rValue) {
  if (pFrom >= pTo || pTo - pFrom > 9) return false;
  rValue = 0;
  for (size_t i = pFrom; i < pTo; ++i) {
    if (!std::isdigit(static_cast<unsigned char>(s[i]))) return false;
    rValue = rValue * 10 + (s[i] - '0');
  }
  return true;
}

}  // namespace

ErrorPlace PLACE(const std::string& pLine, const std::string& pRoot) {
  ErrorPlace p;
  p.message = pLine;
  // "file:line:column: message": the place ends at the first ": " after two numbers
  for (size_t sep = pLine.find(": "); sep != std::string::npos; sep = pLine.find(": ", sep + 1)) {
    const size_t c2 = pLine.rfind(':', sep - 1);
    if (c2 == std::string::npos || c2 == 0) continue;
    const size_t c1 = pLine.rfind(':', c2 - 1);
    if (c1 == std::string::npos || c1 == 0) continue;
    int32_t line = 0, column = 0;
    if (!hNumber(pLine, c1 + 1, c2, line) || !hNumber(pLine, c2 + 1, sep, column)) continue;
    p.line = line;
    p.column = column;
    p.where = pLine.substr(0, sep);
    p.message = pLine.substr(sep + 2);
    p.source = hSourceLine(pLine.substr(0, c1), pRoot, p.line);
    break;
  }
  return p;
}

std::string OVERLAY(const std::vector<std::string>& pErrors, const std::string& pRoot) {
  std::string html =
      "\n<div id=\"rykel-overlay\" style=\"position:fixed;left:0;right:0;bottom:0;max-height:60vh;overflow:auto;"
      "z-index:2147483647;background:#1e1e1e;color:#eee;font:14px/1.4 monospace;padding:12px 16px;"
      "border-top:4px solid #e5484d;box-shadow:0 -4px 16px rgba(0,0,0,.4)\">"
      "<button type=\"button\" onclick=\"this.parentNode.remove()\" style=\"float:right;font:inherit\">"
      "close</button><div style=\"color:#ff8080;font-weight:bold\">" +
      std::to_string(pErrors.size()) + (pErrors.size() == 1 ? " error" : " errors") +
      " in this page</div><ol style=\"margin:8px 0 0;padding-left:24px\">";
  for (const auto& e : pErrors) {
    const ErrorPlace p = PLACE(e, pRoot);
    html += "<li class=\"rykel-error\" style=\"margin:6px 0\">";
    if (!p.where.empty())
      html += "<span class=\"rykel-where\" style=\"color:#8ab4f8\">" + text::HtmlEscapeText(p.where) + "</span>: ";
    html += "<span class=\"rykel-message\">" + text::HtmlEscapeText(p.message) + "</span>";
    if (!p.source.empty())
      html += "<pre class=\"rykel-source\" style=\"margin:4px 0;color:#ccc;background:#2a2a2a;padding:4px 8px\">" +
              text::HtmlEscapeText(p.source) + "\n<span style=\"color:#e5484d\">" +
              text::HtmlEscapeText(hCaret(p.source, p.column)) + "</span></pre>";
    html += "</li>";
  }
  return html + "</ol></div>\n";
}

std::string LOGTEXT(const std::vector<std::string>& pErrors, const std::string& pRoot) {
  std::string log;
  for (const auto& e : pErrors) {
    log += e + "\n";
    const ErrorPlace p = PLACE(e, pRoot);
    if (!p.source.empty()) log += "    " + p.source + "\n    " + hCaret(p.source, p.column) + "\n";
  }
  return log;
}

std::string RELOADSCRIPT(uint64_t pGeneration) {
  return "\n<script id=\"rykel-reload\">(function(){var s=new EventSource(\"/_rykel/events?since=" +
         std::to_string(pGeneration) +
         "\");s.addEventListener(\"reload\",function(){s.close();location.reload();});})();</script>\n";
}

std::string INJECT(const std::string& pHtml, const std::string& pSnippet) {
  constexpr std::string_view kEnd = "</body>";
  for (size_t at = pHtml.size() >= kEnd.size() ? pHtml.size() - kEnd.size() + 1 : 0; at-- > 0;) {
    bool same = true;
    for (size_t i = 0; i < kEnd.size() && same; ++i)
      same = std::tolower(static_cast<unsigned char>(pHtml[at + i])) == kEnd[i];
    if (same) return pHtml.substr(0, at) + pSnippet + pHtml.substr(at);
  }
  return pHtml + pSnippet;
}

std::string STATUSPAGE(int32_t pStatus, const std::string& pTitle, const std::string& pText) {
  const std::string title = std::to_string(pStatus) + " " + text::HtmlEscapeText(pTitle);
  return "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>" + title +
         "</title></head>\n<body style=\"font-family:sans-serif;margin:2em\"><h1>" + title + "</h1>\n<p>" +
         text::HtmlEscapeText(pText) + "</p>\n</body></html>\n";
}

}  // namespace rykel::mdl_WebOverlay
