// The database browser answered without a socket: listing, the table view's sort, search,
// filters, facets and paging, the entry view, escaping, writes with their token, exports, and
// many threads at once.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <thread>

#include "web/cls_DBBrowser.h"

#include "../TableDB.h"
#include "../TestSupport.h"

namespace rykel {
namespace {

using nlohmann::json;

// people.ry-dbb in a scratch folder: five entries, two of them with markup and a template command
// in their names, served as "people".
struct Browser : TempDir {
  std::string file = *this / "people.ry-dbb";
  cls_DBBrowser browser;
  QuietNotices quiet;
  Browser() {
    auto table = TableDB({{"NAME", ID_DBFieldType_String, "Name"},
                          {"CITY", ID_DBFieldType_Enum, "Ort", false, "Kiel,Bonn,Ulm"},
                          {"AGE", ID_DBFieldType_Long, "Alter"}},
                         {{"Anna", "Kiel", 34},
                          {"Bernd", "Bonn", 28},
                          {"<script>alert(1)</script>", "Kiel", 41},
                          {"{VAR:x}", "Ulm", 19},
                          {"Carla", "Bonn", 52}});
    auto db = std::make_shared<cls_DB>();
    db->HEADERSTRUCTURE_LET(table->HEADERSTRUCTURE_GET());
    EXPECT_TRUE(db->HEADERSAVE(*this / "people.header"));
    EXPECT_TRUE(db->DBOPEN(file, *this / "people.header", true));
    db->DBCOPY(table);
    db->ENTRYCHANGED_LET(true);
    EXPECT_TRUE(db->DBCLOSE());
    browser.DBADD("people", file);
  }
  WebResponse Call(const std::string& pMethod, const std::string& pPath,
                   std::vector<std::pair<std::string, std::string>> pParams = {}) {
    WebRequest request{pMethod, pPath, std::move(pParams), {}, {}};
    WebResponse response;
    EXPECT_TRUE(browser.HANDLE(request, response)) << pPath;
    return response;
  }
  WebResponse Get(const std::string& pPath, std::vector<std::pair<std::string, std::string>> pParams = {}) {
    return Call("GET", pPath, std::move(pParams));
  }
  // The ids of an API answer's rows, "1,2".
  std::string RowIds(const WebResponse& pResponse) {
    std::string out;
    const json answer = json::parse(pResponse.body);
    for (const auto& row : answer["rows"]) out += (out.empty() ? "" : ",") + row["id"].dump();
    return out;
  }
};

TEST(DBBrowser, ListsDatabasesAndLeavesOtherPathsAlone) {
  Browser b;
  b.browser.DBADD("broken", b / "missing.ry-dbb");
  auto page = b.Get("/_db/");
  EXPECT_TRUE(page.body.find("<td class=\"entries\">5</td><td class=\"fields\">3</td>") != std::string::npos &&
              page.body.find("cannot be opened") != std::string::npos)
      << page.body;
  EXPECT_EQ(json::parse(b.Get("/_api").body)[1], json({{"name", "people"}, {"entries", 5}, {"fields", 3}}));
  WebResponse untouched;
  for (const char* path : {"/", "/_dbx", "/x/_db", "/_apis/people"})
    EXPECT_FALSE(b.browser.HANDLE(WebRequest{"GET", path, {}, {}, {}}, untouched)) << path;
  EXPECT_EQ(untouched.body, "");
  EXPECT_THROW(b.browser.DBADD("people", b.file), Error);
  EXPECT_THROW(b.browser.DBADD("../x", b.file), Error);
}

TEST(DBBrowser, ApiRowsFollowSortSearchFiltersAndPaging) {
  Browser b;
  const struct {
    std::vector<std::pair<std::string, std::string>> params;
    const char* ids;
    int total;
  } cases[] = {
      {{}, "1,2,3,4,5", 5},
      {{{"sort", "AGE"}}, "4,2,1,3,5", 5},
      {{{"sort", "Alter"}, {"desc", "1"}}, "5,3,1,2,4", 5},
      {{{"search", "anna | carla"}}, "1,5", 2},
      {{{"f.CITY", "kiel"}}, "1,3", 2},
      {{{"filter", "AGE=>= 30"}, {"sort", "NAME"}, {"desc", "1"}}, "5,1,3", 3},
      {{{"c.CITY", "= Bonn"}, {"f.AGE", "< 40"}}, "2", 1},
      {{{"f.NAME", "BEGINS <"}}, "3", 1},
      {{{"size", "2"}, {"page", "2"}}, "3,4", 5},
      {{{"size", "2"}, {"page", "3"}}, "5", 5},
      {{{"size", "2"}, {"page", "4"}}, "", 5},
  };
  for (const auto& c : cases) {
    auto r = b.Get("/_api/people", c.params);
    ASSERT_EQ(r.status, 200) << r.body;
    EXPECT_EQ(std::tuple(r.contentType, b.RowIds(r), json::parse(r.body)["total"].get<int>()),
              std::tuple("application/json", c.ids, c.total))
        << r.body;
  }
  EXPECT_EQ(json::parse(b.Get("/_api/people/4").body),
            json({{"id", 4}, {"fields", {{"NAME", "{VAR:x}"}, {"CITY", "Ulm"}, {"AGE", 19}}}}));
}

TEST(DBBrowser, RefusesBadRequestsWithTheirStatus) {
  Browser b;
  const struct {
    const char* method;
    const char* path;
    std::vector<std::pair<std::string, std::string>> params;
    int status;
    const char* message;
  } cases[] = {
      {"GET", "/_api/people", {{"f.AGE", "> abc"}}, 400, "AGE: condition '> abc': 'abc' is not a LONG"},
      {"GET", "/_api/people", {{"c.AGE", "FOO 1"}}, 400, "unknown operator 'FOO'"},
      {"GET", "/_api/people", {{"filter", "AGE"}}, 400, "filter: expected FIELD=CONDITION: AGE"},
      {"GET", "/_api/people", {{"f.WHO", "x"}}, 400, "unknown field 'WHO'; fields: NAME, CITY, AGE"},
      {"GET", "/_api/people", {{"size", "0"}}, 400, "size: '0' is not a whole number from 1 to 500"},
      {"GET", "/_api/people", {{"size", "501"}}, 400, "from 1 to 500"},
      {"GET", "/_api/people", {{"page", "x"}}, 400, "page: 'x'"},
      {"GET", "/_api/people", {{"search", std::string(40, '(') + "a"}}, 400, "search: search groups nested"},
      {"GET", "/_api/nobody", {}, 404, "no database 'nobody'"},
      {"GET", "/_api/people/99", {}, 404, "no entry '99' in people"},
      {"GET", "/_api/people/facets/WHO", {}, 404, "no field 'WHO' in people"},
      {"GET", "/_db/people/1/more", {}, 404, "no such page"},
      {"GET", "/_db/people", {{"export", "doc"}}, 400, "is none of xlsx, htm, pdf, csv, json"},
      {"DELETE", "/_db/people", {}, 405, "method DELETE"},
      {"POST", "/_api/people", {}, 405, "method POST"},
  };
  for (const auto& c : cases) {
    auto r = b.Call(c.method, c.path, c.params);
    EXPECT_EQ(r.status, c.status) << c.path << " " << r.body;
    bool api = std::string_view(c.path).starts_with("/_api");
    std::string message = api ? json::parse(r.body)["error"].get<std::string>() : r.body;
    EXPECT_NE(message.find(c.message), std::string::npos) << message;
  }
}

TEST(DBBrowser, FacetsCountTheNarrowedEntriesAndTheirLinksNarrow) {
  Browser b;
  auto counts = [&](std::vector<std::pair<std::string, std::string>> pParams) {
    std::string out;
    const json answer = json::parse(b.Get("/_api/people/facets/CITY", pParams).body);
    for (const auto& c : answer["choices"])
      if (c["count"] != 0) out += c["label"].get<std::string>() + "=" + c["count"].dump() + " ";
    return out;
  };
  EXPECT_EQ(counts({}), "Kiel=2 Bonn=2 Ulm=1 Etwas gewählt=5 -Nicht leer-=5 ");
  EXPECT_EQ(counts({{"f.AGE", ">= 30"}}), "Kiel=2 Bonn=1 Etwas gewählt=3 -Nicht leer-=3 ");
  // The table's sidebar offers the choice fields' facets; a choice's link narrows the rows and
  // the counts.
  auto page = b.Get("/_db/people", {{"f.AGE", ">= 30"}});
  EXPECT_NE(page.body.find("<a class=\"choice\" href=\"?f.AGE=%3E%3D%2030&amp;c.CITY=CONTAINS%20Bonn\""),
            std::string::npos);
  page = b.Get("/_db/people", {{"f.AGE", ">= 30"}, {"c.CITY", "CONTAINS Bonn"}});
  auto has = [&](const char* part) { return page.body.find(part) != std::string::npos; };
  EXPECT_EQ((std::vector<bool>{has("<span id=\"count\">1</span> of 5 entries"), has("<tr data-id=\"5\">"),
                               has("<tr data-id=\"1\">"), has("Bonn</a><span class=\"count\">1</span>")}),
            (std::vector<bool>{true, true, false, true}));
}

TEST(DBBrowser, PagesShowDisplayNamesSortLinksAndEscapeEveryValue) {
  Browser b;
  auto table = b.Get("/_db/people", {{"sort", "AGE"}, {"size", "2"}});
  ASSERT_EQ(table.status, 200);
  for (const char* part : {
           "<a class=\"sort\" data-field=\"AGE\" href=\"?sort=AGE&amp;desc=1&amp;size=2\">Alter</a> &#9650;",
           "<a class=\"sort\" data-field=\"CITY\" href=\"?sort=CITY&amp;size=2\">Ort</a>",
           "<td>{VAR:x}</td>",  // as stored: never run through the template language
           "page <span id=\"page\">1</span> of 3",
           "<a id=\"next\" href=\"?sort=AGE&amp;page=2&amp;size=2\">",
           "<a class=\"export\" id=\"export-csv\" href=\"?sort=AGE&amp;size=2&amp;export=csv\">",
       })
    EXPECT_NE(table.body.find(part), std::string::npos) << part;
  EXPECT_EQ(table.body.find("id=\"add-form\""), std::string::npos);  // read-only
  for (const char* id : {"3", "4"}) {
    auto entry = b.Get(std::string("/_db/people/") + id);
    EXPECT_EQ(
        std::pair(entry.body.find("<script>") == std::string::npos, entry.body.find("{VAR:x}") != std::string::npos),
        std::pair(true, std::string(id) == "4"));
  }
  auto all = b.Get("/_db/people", {{"search", "<script>"}});
  EXPECT_TRUE(all.body.find("<script>") == std::string::npos &&
              all.body.find("&lt;script&gt;alert(1)&lt;/script&gt;") != std::string::npos);
}

TEST(DBBrowser, WritesNeedTheTokenAndFittingValuesAndLandInTheFile) {
  Browser b;
  const std::string token = b.browser.TOKEN_GET();
  EXPECT_EQ(b.Call("POST", "/_db/people/1", {{"token", token}, {"v.AGE", "35"}}).status, 403);  // read-only
  b.browser.WRITABLE_LET(true);
  const struct {
    std::vector<std::pair<std::string, std::string>> params;
    int status;
    const char* message;
  } refused[] = {
      {{{"v.AGE", "35"}}, 403, "token is missing or wrong"},
      {{{"token", token + "x"}, {"v.AGE", "35"}}, 403, "token is missing or wrong"},
      {{{"token", token}, {"v.AGE", "old"}}, 400, "AGE: &#39;old&#39; is not a LONG (a whole number)"},
      {{{"token", token}, {"v.CITY", "Rom"}}, 400, "is not a member of the ENUM field (Kiel, Bonn, Ulm)"},
      {{{"token", token}, {"v.WHO", "x"}}, 400, "unknown field"},
      {{{"token", token}, {"action", "burn"}}, 400, "none of save, delete"},
  };
  for (const auto& r : refused) {
    auto response = b.Call("POST", "/_db/people/1", r.params);
    EXPECT_EQ(std::pair(response.status, response.body.find(r.message) != std::string::npos), std::pair(r.status, true))
        << response.body;
  }
  EXPECT_NE(b.Get("/_db/people/1").body.find("id=\"edit-form\""), std::string::npos);
  EXPECT_EQ(json::parse(b.Get("/_api/people/1").body)["fields"]["AGE"], 34);  // opened before the change
  auto kiel = [&] { return json::parse(b.Get("/_api/people/facets/CITY").body)["choices"][0]["count"]; };
  EXPECT_EQ(kiel(), 2);  // counted now and kept until the file changes
  EXPECT_EQ(b.RowIds(b.Get("/_api/people", {{"f.CITY", "Bonn"}})), "2,5");  // kept as well

  EXPECT_EQ(b.Call("POST", "/_db/people/1", {{"token", token}, {"v.AGE", "35"}, {"v.CITY", "bonn"}}).status, 303);
  auto added = b.Call("POST", "/_db/people", {{"token", token}, {"v.NAME", "Dora"}, {"v.CITY", "Ulm"}});
  EXPECT_EQ(added.headers, (decltype(added.headers){{"Location", "/_db/people/6"}}));
  EXPECT_EQ(b.Call("POST", "/_db/people/2", {{"token", token}, {"action", "delete"}}).status, 303);
  auto file = std::make_shared<cls_DB>();
  ASSERT_TRUE(file->DBOPEN(b.file, "", true));
  EXPECT_EQ(Ids(file->ENTRYALL_IDS()) + " " + file->FIELDTEXT_GET(1, "AGE") + " " + file->FIELDTEXT_GET(1, "CITY"),
            "1,3,4,5,6 35 Bonn");
  // The browser sees the file as it is now: Anna moved to Bonn.
  EXPECT_EQ(std::tuple(b.RowIds(b.Get("/_api/people", {{"f.CITY", "Bonn"}})), kiel().get<int>()), std::tuple("1,5", 1));
}

TEST(DBBrowser, ExportsWriteTheCurrentView) {
  Browser b;
  const std::vector<std::pair<std::string, std::string>> view{{"f.AGE", ">= 30"}, {"sort", "AGE"}, {"desc", "1"}};
  // the temporary file is gone once the export is open: nothing is left however the sending ends
  auto leftovers = [] {
    int n = 0;
    for (const auto& e : std::filesystem::directory_iterator(std::filesystem::temp_directory_path()))
      n += e.path().filename().string().starts_with("rykel-export-");
    return n;
  };
  const int before = leftovers();
  for (const char* format : {"csv", "json", "xlsx", "htm", "pdf"}) {
    auto params = view;
    params.emplace_back("export", format);
    auto r = b.Get("/_db/people", params);
    ASSERT_EQ(r.status, 200) << format << r.body;
    ASSERT_TRUE(r.file) << format;
    EXPECT_EQ(r.headers.front().second, std::string("attachment; filename=\"people.") + format + "\"");
    std::string content = r.file->Content();
    if (std::string(format) == "csv") {
      EXPECT_EQ(content.substr(content.find('\n') + 1),
                "Carla,Bonn,52\r\n<script>alert(1)</script>,Kiel,41\r\nAnna,Kiel,34\r\n");
    } else if (std::string(format) == "json") {
      std::string names;
      for (const auto& row : json::parse(content)) names += row["NAME"].get<std::string>() + ";";
      EXPECT_EQ(names, "Carla;<script>alert(1)</script>;Anna;");
    } else {
      EXPECT_GT(content.size(), 100u) << format;
    }
  }
  EXPECT_EQ(leftovers(), before);
}

TEST(DBBrowser, AnswersManyThreadsAtOnce) {
  Browser b;
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 6; ++t)
    threads.emplace_back([&, t] {
      for (int i = 0; i < 20; ++i) {
        WebResponse r;
        b.browser.HANDLE(WebRequest{"GET", t % 2 ? "/_api/people/facets/CITY" : "/_db/people", {}, {}, {}}, r);
        if (r.status != 200) ++wrong;
      }
    });
  for (auto& t : threads) t.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace rykel
