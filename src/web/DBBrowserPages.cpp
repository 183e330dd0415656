#include "web/DBBrowserPages.h"

#include <algorithm>

#include "database/enm_DBFieldType.h"
#include "frame/Convert.h"
#include "frame/Text.h"

namespace rykel::DBBrowserPages {

namespace {

// At most this many choices of one field are listed in the sidebar.
constexpr int32_t kMaxFacetChoices = 40;

constexpr const char* kStyle =
    "body{font:14px/1.4 system-ui,sans-serif;margin:0;color:#222}"
    "header{background:#2d4a6b;color:#fff;padding:.6em 1em}header a{color:#fff}"
    "main{display:flex;gap:1.5em;padding:1em}#facets{min-width:14em;max-width:18em}"
    "#facets h3{font-size:1em;margin:.8em 0 .2em}#facets ul{list-style:none;margin:0;padding:0}"
    ".count{color:#777;margin-left:.4em}.chosen{font-weight:bold}"
    "table{border-collapse:collapse}th,td{border:1px solid #ccc;padding:.25em .5em;text-align:left;"
    "vertical-align:top}thead th{background:#eef2f7}#filters input{width:100%;box-sizing:border-box}"
    "#pages,#exports,#total{margin:.6em 0}#exports a,#pages a{margin-right:.6em}"
    ".problem{color:#a00}form.inline{display:inline}";

std::string hE(std::string_view pText) { return text::HtmlEscapeText(pText); }

std::string hPage(const std::string& pTitle, const std::string& pBody) {
  return "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><title>" + hE(pTitle) + "</title><style>" +
         kStyle + "</style></head><body><header><a href=\"/_db/\">Databases</a> / " + hE(pTitle) + "</header>\n" +
         pBody + "</body></html>\n";
}

std::string hDbPath(const Context& pContext) { return "/_db/" + text::UrlEncode(pContext.name); }

std::string hDisplayName(const cls_DBField& pField) { return pField.NAME.empty() ? pField.ID : pField.NAME; }

std::string hHidden(const std::string& pName, const std::string& pValue) {
  return "<input type=\"hidden\" name=\"" + hE(pName) + "\" value=\"" + hE(pValue) + "\">";
}

// Inputs v.FIELD for every field but structures, filled from the entry (none for a new one).
std::string hValueInputs(cls_DB& rDB, const Variant* pID) {
  std::string out = "<table>";
  for (int32_t f = 1; f <= rDB.FIELDS(); ++f) {
    auto field = rDB.FIELD(f);
    if (field->TYPE == ID_DBFieldType_Structure) continue;
    std::string value = pID ? CStr(rDB.ENTRYFIELD_GET(*pID, f)) : std::string();
    out += "<tr><th><label for=\"v." + hE(field->ID) + "\">" + hE(hDisplayName(*field)) +
           "</label></th><td><input id=\"v." + hE(field->ID) + "\" name=\"v." + hE(field->ID) + "\" value=\"" +
           hE(value) + "\"></td></tr>";
  }
  return out + "</table>";
}

std::string hFacets(cls_DB& rDB, const Context& pContext, const DBViewQuery& pQuery, const cls_DB::IdList& pIds) {
  std::string out = "<aside id=\"facets\"><h2>Facets</h2>";
  for (const auto& id : FacetFields(rDB, pQuery)) {
    auto field = rDB.FIELD(Variant(id));
    const std::string chosen = pQuery.ConditionOf(id);
    out += "<section class=\"facet\" data-field=\"" + hE(id) + "\"><h3>" + hE(hDisplayName(*field)) + "</h3><ul>";
    if (!chosen.empty())
      out += "<li><a class=\"clear\" href=\"" + hE(pQuery.Link([&](DBViewQuery& q) {
               std::erase_if(q.chosen, [&](const auto& c) { return c.first == id; });
               std::erase_if(q.typed, [&](const auto& c) { return c.first == id; });
               q.page = 1;
             })) +
             "\">&times; " + hE(chosen) + "</a></li>";
    const DBFacets& facets = pContext.facets(id, [&] { return pQuery.Narrows() ? &pIds : nullptr; });
    int32_t shown = 0;
    for (const auto& c : facets.choices) {
      if (++shown > kMaxFacetChoices) {
        out += "<li class=\"more\">" + std::to_string(facets.choices.size() - kMaxFacetChoices) + " more</li>";
        break;
      }
      std::string link = pQuery.Link([&](DBViewQuery& q) {
        std::erase_if(q.typed, [&](const auto& t) { return t.first == id; });
        std::erase_if(q.chosen, [&](const auto& t) { return t.first == id; });
        q.chosen.emplace_back(id, c.condition);
        q.page = 1;
      });
      out += "<li" + std::string(c.condition == chosen ? " class=\"chosen\"" : "") + "><a class=\"choice\" href=\"" +
             hE(link) + "\" data-condition=\"" + hE(c.condition) + "\">" + hE(c.label) + "</a><span class=\"count\">" +
             std::to_string(c.count) + "</span></li>";
    }
    out += "</ul></section>";
  }
  // Facets for another field.
  out += "<form id=\"facet-form\" method=\"get\">";
  for (const auto& [name, value] : pQuery.Params()) out += hHidden(name, value);
  out += "<select name=\"facet\">";
  for (int32_t f = 1; f <= rDB.FIELDS(); ++f)
    out += "<option value=\"" + hE(rDB.FIELD(f)->ID) + "\">" + hE(hDisplayName(*rDB.FIELD(f))) + "</option>";
  return out + "</select> <button>Add facet</button></form></aside>";
}

}  // namespace

std::vector<std::string> FacetFields(const cls_DB& pDB, const DBViewQuery& pQuery) {
  std::vector<std::string> out;
  auto add = [&](const std::string& pID) {
    if (std::find(out.begin(), out.end(), pID) == out.end()) out.push_back(pID);
  };
  for (int32_t f = 1; f <= pDB.FIELDS(); ++f) {
    auto field = pDB.FIELD(f);
    if (DBFieldTypeIsChoice(field->TYPE) || field->TYPE == ID_DBFieldType_Boolean || field->INDEXED) add(field->ID);
  }
  for (const auto& id : pQuery.facets) add(id);
  for (const auto& [id, condition] : pQuery.chosen) add(id);
  return out;
}

std::string Index(const std::vector<Summary>& pDatabases) {
  std::string body =
      "<main><table id=\"databases\"><thead><tr><th>Database</th><th>Entries</th><th>Fields</th>"
      "<th>File</th></tr></thead><tbody>";
  for (const auto& d : pDatabases) {
    body += "<tr data-name=\"" + hE(d.name) + "\"><td><a href=\"/_db/" + hE(text::UrlEncode(d.name)) + "\">" +
            hE(d.name) + "</a></td>";
    if (d.problem.empty())
      body += "<td class=\"entries\">" + std::to_string(d.entries) + "</td><td class=\"fields\">" +
              std::to_string(d.fields) + "</td>";
    else body += "<td colspan=\"2\" class=\"problem\">" + hE(d.problem) + "</td>";
    body += "<td>" + hE(d.file) + "</td></tr>";
  }
  return hPage("Databases", body + "</tbody></table></main>");
}

std::string Table(cls_DB& rDB, const Context& pContext, const DBViewQuery& pQuery, const cls_DB::IdList& pAll) {
  const cls_DB::IdList page = pQuery.Page(pAll);
  const int32_t pages = std::max<int32_t>(1, static_cast<int32_t>((pAll.size() + pQuery.size - 1) / pQuery.size));
  std::string body = "<main>" + hFacets(rDB, pContext, pQuery, pAll) + "<section id=\"view\">";
  body +=
      "<form id=\"view-form\" method=\"get\"><input id=\"search\" name=\"search\" type=\"search\" "
      "placeholder=\"Search\" value=\"" +
      hE(pQuery.search) + "\">";
  for (const auto& [name, value] : pQuery.Params([](DBViewQuery& q) {
         q.typed.clear();
         q.search.clear();
         q.page = 1;
         q.size = DBViewQuery::kDefaultPageSize;
       }))
    body += hHidden(name, value);
  body += " <select id=\"size\" name=\"size\">";
  std::vector<int32_t> sizes{20, 50, 100, 200, DBViewQuery::kMaxPageSize};
  if (std::find(sizes.begin(), sizes.end(), pQuery.size) == sizes.end()) sizes.insert(sizes.begin(), pQuery.size);
  for (int32_t size : sizes)
    body += "<option" + std::string(size == pQuery.size ? " selected" : "") + ">" + std::to_string(size) + "</option>";
  body += "</select> per page <button id=\"apply\">Apply</button> <a href=\"" + hE(hDbPath(pContext)) +
          "\">Reset</a></form>";
  body += "<p id=\"total\"><span id=\"count\">" + std::to_string(pAll.size()) + "</span> of " +
          std::to_string(rDB.ENTRYCOUNT()) + " entries</p>";

  // Headers sort (a second click turns the order), and each field has its filter input.
  body += "<table id=\"entries\"><thead><tr><th>ID</th>";
  for (int32_t f = 1; f <= rDB.FIELDS(); ++f) {
    auto field = rDB.FIELD(f);
    bool sorted = pQuery.sort == field->ID;
    std::string link = pQuery.Link([&](DBViewQuery& q) {
      q.sort = field->ID;
      q.desc = sorted && !q.desc;
      q.page = 1;
    });
    body += "<th><a class=\"sort\" data-field=\"" + hE(field->ID) + "\" href=\"" + hE(link) + "\">" +
            hE(hDisplayName(*field)) + "</a>" + (sorted ? (pQuery.desc ? " &#9660;" : " &#9650;") : "") + "</th>";
  }
  body += "</tr><tr id=\"filters\"><th></th>";
  for (int32_t f = 1; f <= rDB.FIELDS(); ++f) {
    const std::string& id = rDB.FIELD(f)->ID;
    std::string typed;
    for (const auto& [field, text] : pQuery.typed)
      if (field == id) typed = text;
    body += "<th><input class=\"filter\" form=\"view-form\" name=\"f." + hE(id) + "\" value=\"" + hE(typed) +
            "\" placeholder=\"condition\"></th>";
  }
  body += "</tr></thead><tbody>";
  for (const auto& id : page) {
    const std::string idText = CStr(id);
    body += "<tr data-id=\"" + hE(idText) + "\"><td><a class=\"entry-link\" href=\"" +
            hE(hDbPath(pContext) + "/" + text::UrlEncode(idText)) + "\">" + hE(idText) + "</a></td>";
    for (int32_t f = 1; f <= rDB.FIELDS(); ++f) body += "<td>" + hE(rDB.FIELDTEXT_GET(id, f)) + "</td>";
    body += "</tr>";
  }
  body += "</tbody></table>";

  body += "<nav id=\"pages\">";
  if (pQuery.page > 1)
    body += "<a id=\"prev\" href=\"" + hE(pQuery.Link([](DBViewQuery& q) { --q.page; })) + "\">&larr; previous</a>";
  body += "page <span id=\"page\">" + std::to_string(pQuery.page) + "</span> of " + std::to_string(pages);
  if (pQuery.page < pages)
    body += " <a id=\"next\" href=\"" + hE(pQuery.Link([](DBViewQuery& q) { ++q.page; })) + "\">next &rarr;</a>";
  body += "</nav><div id=\"exports\">Export this view:";
  for (const char* format : {"xlsx", "htm", "pdf", "csv", "json"}) {
    std::string link = pQuery.Link([](DBViewQuery& q) { q.page = 1; });
    link += (link.empty() ? "?" : "&") + std::string("export=") + format;
    body +=
        " <a class=\"export\" id=\"export-" + std::string(format) + "\" href=\"" + hE(link) + "\">" + format + "</a>";
  }
  body += "</div>";
  if (pContext.writable)
    body += "<details><summary>Add an entry</summary><form id=\"add-form\" method=\"post\" action=\"" +
            hE(hDbPath(pContext)) + "\">" + hHidden("token", pContext.token) + hValueInputs(rDB, nullptr) +
            "<button>Add</button></form></details>";
  return hPage(pContext.name, body + "</section></main>");
}

std::string Entry(cls_DB& rDB, const Context& pContext, const Variant& pID) {
  const std::string idText = CStr(pID);
  std::string body = "<main><section><h2>" + hE(pContext.name) + " / " + hE(idText) + "</h2><table id=\"entry\">";
  for (int32_t f = 1; f <= rDB.FIELDS(); ++f) {
    auto field = rDB.FIELD(f);
    body += "<tr data-field=\"" + hE(field->ID) + "\"><th>" + hE(hDisplayName(*field)) + "</th><td>" +
            hE(rDB.FIELDTEXT_GET(pID, f)) + "</td></tr>";
  }
  body += "</table><p><a href=\"" + hE(hDbPath(pContext)) + "\">back to the table</a></p>";
  if (pContext.writable) {
    std::string action = hE(hDbPath(pContext) + "/" + text::UrlEncode(idText));
    body += "<h3>Edit</h3><form id=\"edit-form\" method=\"post\" action=\"" + action + "\">" +
            hHidden("token", pContext.token) + hHidden("action", "save") + hValueInputs(rDB, &pID) +
            "<button>Save</button></form><form id=\"delete-form\" method=\"post\" action=\"" + action + "\">" +
            hHidden("token", pContext.token) + hHidden("action", "delete") +
            "<button>Delete this entry</button></form>";
  }
  return hPage(pContext.name + " / " + idText, body + "</section></main>");
}

std::string Failure(int pStatus, const std::string& pMessage) {
  return hPage("Error " + std::to_string(pStatus),
               "<main><p class=\"problem\" id=\"problem\">" + hE(pMessage) + "</p></main>");
}

}  // namespace rykel::DBBrowserPages
