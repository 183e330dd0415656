// mdl_WebOverlay: what the server adds to the pages it serves. The error overlay lists a page's
// errors over its normal output, each with the line of the template it points at; the reload script
// makes an open page reload itself when a file of the site changes. Everything taken from the
// errors or the templates is HTML-escaped.
//
//   html = mdl_WebOverlay::INJECT(html, mdl_WebOverlay::OVERLAY(page.errors, site.ROOT()));
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace rykel::mdl_WebOverlay {

// One error line "file:line:column: message" taken apart, with the template line it points at.
struct ErrorPlace {
  std::string where;    // "pages/x.kel:2:4", or "" when the line names no place
  std::string message;  // the rest of the line
  std::string source;   // the template's line (tabs kept), or "" when it cannot be read
  int32_t line = 0, column = 0;
};
// pLine taken apart; the template is looked for as named (relative to the working folder) and
// then inside the site folder pRoot, and read only when its real path lies inside pRoot.
ErrorPlace PLACE(const std::string& pLine, const std::string& pRoot);

// The overlay for a page's error lines: a fixed box with one item per error, the place, the
// message and the source line with a caret under the column (id "rykel-overlay", items
// class "rykel-error"). A button closes it.
std::string OVERLAY(const std::vector<std::string>& pErrors, const std::string& pRoot);
// The same errors for the server's log: the line, then the source line and the caret, indented.
std::string LOGTEXT(const std::vector<std::string>& pErrors, const std::string& pRoot);

// The script that listens to the server's change events (GET /_rykel/events?since=pGeneration)
// and reloads the page on the first one.
std::string RELOADSCRIPT(uint64_t pGeneration);

// pHtml with pSnippet put before its last "</body>" (any case), or at its end when it has none.
std::string INJECT(const std::string& pHtml, const std::string& pSnippet);

// A small page for a status the server answers itself (404, 405, 500, ...): the title and the
// text, both escaped.
std::string STATUSPAGE(int32_t pStatus, const std::string& pTitle, const std::string& pText);

}  // namespace rykel::mdl_WebOverlay
