#include "export/cls_DBExport.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>

#include "database/DBEntryText.h"
#include "export/cls_DBExportHtml.h"
#include "export/cls_DBExportPdf.h"
#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Error.h"
#include "frame/FileIO.h"
#include "host/cls_DB.h"

#include "../CaseTable.h"
#include "../TableDB.h"
#include "../TestSupport.h"

namespace rykel {

namespace fs = std::filesystem;

namespace {

std::vector<std::string> hLines(const std::string& file) {
  std::string all = fileio::ReadFile(file);
  std::vector<std::string> lines;
  size_t at = 0;
  for (size_t end; (end = all.find("\r\n", at)) != std::string::npos; at = end + 2)
    lines.push_back(all.substr(at, end - at));
  EXPECT_EQ(at, all.size()) << "every line ends with CR LF";
  return lines;
}

size_t hFind(const std::vector<std::string>& lines, const std::string& line) {
  for (size_t i = 0; i < lines.size(); ++i) {
    if (lines[i] == line) return i;
  }
  ADD_FAILURE() << "missing line: " << line;
  return lines.size();
}

// Two entries over eight fields of every kind the cell rules tell apart.
DBPtr hPeople() {
  auto db = TableDB({{"NAME", ID_DBFieldType_String, "Name"},
                     {"AGE", ID_DBFieldType_Long, "Alter"},
                     {"SCORE", ID_DBFieldType_Double, "Wert"},
                     {"BORN", ID_DBFieldType_Date, "Geboren"},
                     {"ACTIVE", ID_DBFieldType_Boolean, "Aktiv"},
                     {"PHONE", ID_DBFieldType_String, "Telefon"},
                     {"NOTE", ID_DBFieldType_String, "Notiz"},
                     {"BOSS", ID_DBFieldType_Reference, "Chef"}},
                    {{"Müller Ж €", -1234, 2.5, "2024-02-29", true, "030123", "12:30"},
                     {"Anna <b>", 5, -0.5, "", false, "+49 30 1", "01.02.2024", "Chefin"}});
  db->FIELD("SCORE")->FORMATDIGITS = 2;
  int32_t w = 60;
  for (auto f : {"NAME", "AGE", "SCORE", "BORN", "ACTIVE", "PHONE", "NOTE", "BOSS"}) db->VIEW(1)->COLUMNADD(f, w += 10);
  return db;
}

}  // namespace

TEST(DBExportHtml, TableLinesWithoutTitle) {
  TempDir dir;
  auto db = hPeople();
  ASSERT_TRUE(db->EXPORTFILE(1, dir / "list.htm", "htm"));
  auto lines = hLines(dir / "list.htm");
  ASSERT_GE(lines.size(), 20u);
  EXPECT_EQ(lines[0].rfind("<html xmlns:v=\"urn:schemas-microsoft-com:vml\"", 0), 0u);
  EXPECT_EQ(lines[2], "<meta http-equiv=Content-Type content=\"text/html; charset=windows-1252\">");
  hFind(lines, "tr  {mso-height-source:auto;}");
  hFind(lines, ".header {mso-style-parent:style0; color:#FFFFFF; background:#00659F; mso-pattern:black none;}");
  hFind(lines,
        ".date {mso-style-parent:style0; color:#FFFFFF; text-align:right; background:#00659F; "
        "mso-pattern:black none; padding-right:5px;}");
  size_t body = hFind(lines, "<body>");
  ASSERT_LT(body + 11, lines.size());
  EXPECT_EQ(lines[body + 1],
            "<table border=0 cellpadding=0 cellspacing=0 width=840 style='border-collapse: "
            "collapse;table-layout:fixed;'>    ");
  EXPECT_EQ(lines[body + 2], "<col width=70>");
  EXPECT_EQ(lines[body + 9], "<col width=140>");
  // Without a title the column headers follow the columns at once.
  EXPECT_EQ(lines[body + 10], "<tr class=\"columnheader\" height=20 style='height:15.0pt'>");
  EXPECT_EQ(lines[body + 11], "<td height=20 class=\"columnheader\" style='height:15.0pt'>Name</td>");

  size_t row = hFind(lines, "<tr height=20 style='height:15.0pt'>");
  ASSERT_LT(row + 20, lines.size());
  std::vector<std::string> first(lines.begin() + static_cast<long>(row) + 1,
                                 lines.begin() + static_cast<long>(row) + 10);
  const std::vector<std::string> expected1 = {
      "<td class=\"cell\">M\xFCller &#1046; \x80</td>",
      "<td class=\"cellr\" style=\"mso-number-format:'\\#\\,\\#\\#0_ \\;\\[Red\\]\\\\-\\#\\,\\#\\#0\\\\ "
      "';\">-1234</td>",
      "<td class=\"cellr\" style=\"mso-number-format:'\\#\\,\\#\\#0\\.00_ \\;\\[Red\\]\\\\-\\#\\,\\#\\#0\\.00\\\\ "
      "';\">" +
          db->FIELDTEXT_GET(1, "SCORE") + "</td>",
      "<td class=\"cell\" style=\"mso-number-format:'Short Date';\">29.02.2024</td>",
      "<td class=\"cellc\">Ja</td>",
      "<td class=\"cell\" style=\"mso-number-format:'\\@';\">030123</td>",  // leading zero kept as text
      "<td class=\"cell\" style=\"mso-number-format:'\\@';\">12:30</td>",   // never a time of day
      "<td class=\"cell\">-/-</td>",                                        // empty reference
      "</tr>"};
  EXPECT_EQ(first, expected1);
  const std::vector<std::string> expected2 = {
      "<td class=\"cell\">Anna &lt;b&gt;</td>",
      "<td class=\"cellr\" style=\"mso-number-format:'\\#\\,\\#\\#0_ \\;\\[Red\\]\\\\-\\#\\,\\#\\#0\\\\ ';\">5</td>",
      "<td class=\"cellr\" style=\"mso-number-format:'\\#\\,\\#\\#0\\.00_ \\;\\[Red\\]\\\\-\\#\\,\\#\\#0\\.00\\\\ "
      "';\">" +
          db->FIELDTEXT_GET(2, "SCORE") + "</td>",
      "<td class=\"cell\" style=\"mso-number-format:'Short Date';\"></td>",
      "<td class=\"cellc\">Nein</td>",
      "<td class=\"cell\" style=\"mso-number-format:'\\@';\">+49 30 1</td>",
      "<td class=\"cell\" style=\"mso-number-format:'Short Date';\">01.02.2024</td>",  // a date in a text field
      "<td class=\"cell\">Chefin</td>",
      "</tr>"};
  std::vector<std::string> second(lines.begin() + static_cast<long>(row) + 11,
                                  lines.begin() + static_cast<long>(row) + 20);
  EXPECT_EQ(second, expected2);
  std::vector<std::string> tail(lines.end() - 3, lines.end());
  EXPECT_EQ(tail, (std::vector<std::string>{"</table>", "</body>", "</html>"}));
}

TEST(DBExportHtml, TitleBandColoursAndIndex) {
  TempDir dir;
  auto db = hPeople();
  auto settings = Struct({{"TITLE.SHOW", true}, {"TITLE.TEXT", "Liste & Co"}, {"TITLE.COLOR", 255}, {"INDEX", true}});
  // An id list decides the entries and their order.
  ASSERT_TRUE(db->EXPORTFILE("DEFAULT", dir / "t.xls", "XLS", std::vector<Variant>{2, 1}, settings));
  auto lines = hLines(dir / "t.xls");
  hFind(lines,
        ".title {mso-style-parent:style0; color:#FFFFFF; font-size:18.0pt; background:#FF0000; "
        "mso-pattern:black none; padding-left:10px;}");
  hFind(lines,
        ".columnheader {mso-style-parent:style0; color:#FF0000; background:#F2F2F2; mso-pattern:black none; "
        "overflow:hidden;}");
  size_t body = hFind(lines, "<body>");
  EXPECT_NE(lines[body + 1].find(" width=880 style="), std::string::npos) << lines[body + 1];  // "Nr." is 40 wide
  size_t band = body + 2 + 9;
  ASSERT_LT(band + 30, lines.size());
  const Case<const char*> bandLines[] = {
      // the line's place after the band's start, and the line
      {"0", "<tr class=\"header\" height=20 style='height:15.0pt'>"},
      {"1", "<td height=20 class=\"header\" width=40 style='height:15.0pt;width:26pt'>&nbsp;</td>"},
      {"2", "<td class=\"header\">&nbsp;</td>"},
      {"10", "</tr>"},
      {"11", "<tr class=\"header\" height=31 style='height:23.25pt'>"},
      {"12", "<td height=31 style='height:23.25pt' class=\"title\">Liste &amp; Co</td>"},
      {"22", "<tr class=\"header\" height=20 style='height:15.0pt'>"},
      {"23", "<td height=20 class=\"header\">&nbsp;</td>"},
  };
  ForEachRow(bandLines, [&](const auto& r) { EXPECT_EQ(lines[band + std::stoul(r.name)], r.want); });
  EXPECT_EQ(lines[band + 19], lines[band + 13]) << "seven empty header cells between title and date";
  EXPECT_TRUE(
      std::regex_match(lines[band + 20], std::regex(R"(<td class="date">Stand: \d\d\.\d\d\.\d{4} \d\d:\d\d</td>)")))
      << lines[band + 20];
  size_t header = hFind(lines, "<tr class=\"columnheader\" height=20 style='height:15.0pt'>");
  EXPECT_EQ(lines[header + 1], "<td height=20 class=\"columnheader\" style='height:15.0pt'>Nr.</td>");
  size_t row = hFind(lines, "<tr height=20 style='height:15.0pt'>");
  EXPECT_EQ(
      std::tuple(lines[row + 1], lines[row + 2], lines[row + 12]),
      std::tuple("<td class=\"cellr\">1</td>", "<td class=\"cell\">Anna &lt;b&gt;</td>", "<td class=\"cellr\">2</td>"));
}

TEST(DBExportHtml, RowFormattingRules) {
  TempDir dir;
  auto db = hPeople();
  auto view = db->VIEW(1);
  view->FORMATTING.push_back({"AGE", "<0", "", ""});
  view->FORMATTING.push_back({"NAME", "", "#FF0000 $== anna <b>", "#00FF00"});
  ASSERT_TRUE(db->EXPORTFILE(1, dir / "f.htm", "HTML"));
  auto lines = hLines(dir / "f.htm");
  size_t row = hFind(lines, "<tr height=20 style='height:15.0pt'>");
  EXPECT_EQ(lines[row + 1],
            "<td class=\"cell\" style=\"font-weight:700;background-color:#00FF00;\">M\xFCller &#1046; \x80</td>");
  EXPECT_EQ(lines[row + 11],
            "<td class=\"cell\" style=\"color:#FF0000;background-color:#00FF00;\">Anna &lt;b&gt;</td>");
  EXPECT_EQ(lines[row + 15], "<td class=\"cellc\" style=\"color:#FF0000;background-color:#00FF00;\">Nein</td>");
}

// A formatting rule marks exactly the rows ENTRYQUERY returns for the same field and condition:
// flags ("$", "!"), operator aliases ("=>", "?..."), range and list operators, dates by their
// date part, and a field named with "_" for ".".
TEST(DBExportRows, RulesFollowTheQueryLanguage) {
  const char *day1 = "2024-03-01 10:30:00", *day2 = "2024-03-02", *tags = "rot, grün";
  auto db = TableDB({{"P.NAME", ID_DBFieldType_String, "Name"},
                     {"AGE", ID_DBFieldType_Long, "Alter"},
                     {"BORN", ID_DBFieldType_Date, "Geboren"},
                     {"TAGS", ID_DBFieldType_String, "Tags"}},
                    {{"Anna", 9, day2, "blau"},
                     {"anna", 10, day1, tags},
                     {"Bernd", 100, day2, tags},
                     {"Clara", -3, day1, "blau"},
                     {"", 0, day2, tags},
                     {"Änne", 42, day1, tags},
                     {"bert", 10, day2, "blau"}});
  const std::pair<const char*, const char*> cases[] = {
      {"P_NAME", "anna"},     {"P.NAME", "== anna"},     {"P.NAME", "!$BEGINS a"},      {"P.NAME", "$!?... B"},
      {"P.NAME", "<> Anna"},  {"P.NAME", "$...?... NN"}, {"P.NAME", "IN Anna,bert"},    {"AGE", ">9"},
      {"AGE", "=> 10"},       {"AGE", "[] 0 10"},        {"AGE", "!][ 0 42"},           {"AGE", "$>=5"},
      {"BORN", "2024-03-01"}, {"BORN", "< 2024-03-02"},  {"TAGS", "CONTAINSWORD grün"}, {"TAGS", "CONTAINSONE x,BLAU"},
      {"AGE", "NOSUCHOP 3"},  {"AGE", "> abc"}};
  auto view = db->VIEW(1);
  for (const auto& [field, condition] : cases) {
    SCOPED_TRACE(std::string(field) + " " + condition);
    std::vector<std::string> expected;
    for (const auto& id : db->ENTRYQUERY(Variant(field), "", Variant(condition))) expected.push_back(CStr(id));
    view->FORMATTING = {{field, condition, "#112233 " + std::string(condition), ""}};
    cls_DBExport walk(*db, 1, std::nullopt, nullptr);
    std::vector<std::string> bold, coloured;
    for (const auto& id : walk.IDS()) {
      ExportRow row = walk.ROW(id, 1);
      if (row.bold) bold.push_back(CStr(id));
      if (row.textColor == "#112233") coloured.push_back(CStr(id));
      EXPECT_EQ(row.style != 0, row.bold || !row.textColor.empty());
    }
    EXPECT_EQ(bold, expected);
    EXPECT_EQ(coloured, expected);
  }
  // A colour without a condition marks every row; an unknown field marks none.
  view->FORMATTING = {{"AGE", "", "", "#ABCDEF"}, {"NOPE", "x", "#000000", ""}};
  cls_DBExport walk(*db, 1, std::nullopt, nullptr);
  for (const auto& id : walk.IDS()) {
    ExportRow row = walk.ROW(id, 1);
    EXPECT_EQ(std::tuple(row.backColor, row.bold, row.textColor), std::tuple("#ABCDEF", false, "")) << CStr(id);
  }
}

TEST(DBExportHtml, Windows1252Conversion) {
  const Case<const char*> rows[] = {
      {"aä€ß", "a\xE4\x80\xDF"}, {"Ж😀", "&#1046;&#128512;"}, {"a\xC3", "a?"} /* cut sequence */, {"\xFFz", "?z"}};
  ForEachRow(rows, [](const auto& r) { EXPECT_EQ(hToWindows1252(r.name), r.want); });
  EXPECT_EQ(hHtmlEscape("a&b\r\nc\"d\ne"), "a&amp;b<br>c&quot;d<br>e");
}

// Text a spreadsheet would evaluate as a formula is marked as text; numbers keep their format.
TEST(DBExportHtml, FormulaLikeTextIsKeptAsText) {
  TempDir dir;
  auto db = TableDB({{"NOTE", ID_DBFieldType_String, "Notiz"}, {"AGE", ID_DBFieldType_Long, "Alter"}},
                    {{"=HYPERLINK(\"http://x\")", -1},
                     {"+1+1", -2},
                     {"-2+3", -3},
                     {"@SUM(A1)", -4},
                     {"\tcmd", -5},
                     {"\rcmd", -6},
                     {"a=b", -7},
                     {"", -8}});
  db->VIEW(1)->COLUMNADD("NOTE", 80);
  db->VIEW(1)->COLUMNADD("AGE", 40);
  ASSERT_TRUE(db->EXPORTFILE(1, dir / "f.htm", "htm"));
  std::string all = fileio::ReadFile(dir / "f.htm");
  const std::string text = "<td class=\"cell\" style=\"mso-number-format:'\\@';\" sdnum=\"1031;0;@\">";
  for (const char* t : {"=HYPERLINK(&quot;http://x&quot;)", "+1+1", "-2+3", "@SUM(A1)", "\tcmd", "<br>cmd"})
    EXPECT_NE(all.find(text + t + "</td>"), std::string::npos) << t;
  // "=" later on is harmless, and a negative number is still a number
  for (std::string cell :
       {"<td class=\"cell\">a=b</td>", "<td class=\"cell\"></td>", "\\-\\#\\,\\#\\#0\\\\ ';\">-3</td>"})
    EXPECT_NE(all.find(cell), std::string::npos) << cell;
}

TEST(DBExportFile, BatchUnknownFormatAndErrors) {
  TempDir dir;
  auto db = hPeople();
  ASSERT_TRUE(db->EXPORTFILE(1, dir / "open list.bat", "bat"));
  EXPECT_EQ(fileio::ReadFile(dir / "open list.bat"), "@ECHO OFF\r\nCD Data\r\nSTART excel \"open list.htm\"\r\n");
  auto lines = hLines(dir / "Data/open list.htm");
  EXPECT_EQ(lines.back(), "</html>");

  // a name the batch line cannot quote is refused before anything is written
  for (std::string bad : {"a\"b", "a&b", "a|b", "a<b", "a>b", "a^b", "100%", "a\nb", "a\rb"}) {
    try {
      db->EXPORTFILE(1, (dir.path / "bad" / (bad + ".bat")).string(), "BAT");
      ADD_FAILURE() << bad << " was accepted";
    } catch (const Error& e) {
      EXPECT_EQ(e.number, err::kInvalidCall) << bad;
      EXPECT_NE(e.description.find("holds a character a batch file cannot quote"), std::string::npos) << e.description;
    }
  }
  EXPECT_FALSE(fs::exists(dir / "bad"));

  EXPECT_FALSE(db->EXPORTFILE(1, dir / "x.csv", "CSV"));
  EXPECT_FALSE(fs::exists(dir / "x.csv"));
  try {
    db->EXPORTFILE("NOVIEW", dir / "y.htm", "HTM");
    ADD_FAILURE() << "an unknown view raises";
  } catch (const Error& e) {
    EXPECT_EQ(std::tuple(e.number, e.source), std::tuple(err::kInvalidCall, "cls_DB.EXPORTFILE"));
  }
  EXPECT_FALSE(fs::exists(dir / "y.htm"));
  // A folder that cannot be written: the error carries the file operation.
  EXPECT_THROW(db->EXPORTFILE(1, "/proc/no/such/dir/z.htm", "HTM"), Error);
}

// Every format word in any case; the spreadsheet words write the very same HTML table.
TEST(DBExportFile, EveryFormatWord) {
  TempDir dir;
  auto db = hPeople();
  ASSERT_TRUE(db->EXPORTFILE(1, dir / "ref.htm", "HTM"));
  std::string table = fileio::ReadFile(dir / "ref.htm");
  for (const char* word : {"html", "Xls", "XLSX"}) {
    SCOPED_TRACE(word);
    ASSERT_TRUE(db->EXPORTFILE(1, dir / "t.out", word));
    EXPECT_EQ(fileio::ReadFile(dir / "t.out"), table);
  }
  ASSERT_TRUE(db->EXPORTFILE(1, dir / "go.CMD", "cmd"));
  EXPECT_EQ(fileio::ReadFile(dir / "Data/go.htm"), table);
  EXPECT_EQ(fileio::ReadFile(dir / "go.CMD").substr(0, 20), "@ECHO OFF\r\nCD Data\r\n");
  ASSERT_TRUE(db->EXPORTFILE(1, dir / "l.pdf", "Pdf"));
  EXPECT_EQ(fileio::ReadFile(dir / "l.pdf").substr(0, 5), "%PDF-");
  ASSERT_TRUE(db->EXPORTFILE(1, dir / "copy.txt", "db", std::vector<Variant>{Variant(2)}));
  auto copy = std::make_shared<cls_DB>();
  ASSERT_TRUE(copy->DBOPEN(dir / "copy.txt", dir / "copy.txt.header", false));
  EXPECT_EQ(std::tuple(copy->ENTRYCOUNT(), CStr(copy->ENTRYFIELD_GET(2, "NAME"))), std::tuple(1, "Anna <b>"));
  for (const char* word : {"", "XLSM", "HTM ", "TXT"}) EXPECT_FALSE(db->EXPORTFILE(1, dir / "none", word)) << word;
  EXPECT_FALSE(fs::exists(dir / "none"));
}

// Without an id list the view's own filter and sort choose the rows; a list overrides both.
TEST(DBExportRows, ViewFilterAndSortWithoutList) {
  auto db = hPeople();
  db->ENTRYFIELD_LET(3, "NAME", "Berta");
  db->ENTRYFIELD_LET(3, "AGE", 40);
  auto ids = [&](const cls_DB::IDList& list) {
    std::vector<std::string> out;
    cls_DBExport walk(*db, 1, list, nullptr);
    for (const auto& id : walk.IDS()) out.push_back(CStr(id));
    return out;
  };
  using V = std::vector<std::string>;
  EXPECT_EQ(ids(std::nullopt), (V{"1", "2", "3"}));
  auto view = db->VIEW(1);
  view->SORTFIELD = "NAME";
  EXPECT_EQ(ids(std::nullopt), (V{"2", "3", "1"}));  // Anna, Berta, Müller
  view->FILTERS.emplace_back("AGE", ">0");
  EXPECT_EQ(ids(std::nullopt), (V{"2", "3"}));
  view->SORTREV = true;
  EXPECT_EQ(ids(std::nullopt), (V{"3", "2"}));
  EXPECT_EQ(ids(std::vector<Variant>{Variant(1), Variant(3)}), (V{"1", "3"}));
  // The rows carry the entries' own values whichever way the list was made.
  cls_DBExport walk(*db, 1, std::nullopt, nullptr);
  // an id that is not there: empty cells
  EXPECT_EQ(std::tuple(walk.ROW(walk.IDS()[0], 1).cells[0].text, walk.ROW(Variant(99), 1).cells[0].text),
            std::tuple("Berta", ""));
}

TEST(DBExportFile, ProgressAndNoOsd) {
  TempDir dir;
  auto db = hPeople();
  std::vector<std::pair<int64_t, int64_t>> seen;
  db->EXPORTPROGRESS_SET([&](int64_t done, int64_t total) { seen.emplace_back(done, total); });
  ASSERT_TRUE(db->EXPORTFILE(1, dir / "a.htm", "HTM"));
  EXPECT_EQ(seen, (std::vector<std::pair<int64_t, int64_t>>{{2, 2}}));
  seen.clear();
  ASSERT_TRUE(db->EXPORTFILE(1, dir / "b.htm", "HTM", std::nullopt, Struct({{"NOOSD", true}})));
  EXPECT_TRUE(seen.empty());
}

TEST(DBExportDB, ToObject) {
  auto db = hPeople();
  auto other = std::make_shared<cls_DB>();
  EXPECT_THROW(db->EXPORTFILE(1, "", "DB"), Error);  // no target name
  ASSERT_TRUE(db->EXPORTDB(1, Variant(other)));
  EXPECT_EQ(std::tuple(other->ENTRYCOUNT(), other->FIELDS(), CStr(other->ENTRYFIELD_GET(2, "NAME"))),
            std::tuple(2, 8, "Anna <b>"));
  // Copies, not shared entries.
  other->ENTRYFIELD_LET(2, "NAME", "Berta");
  EXPECT_EQ(CStr(db->ENTRYFIELD_GET(2, "NAME")), "Anna <b>");
}

TEST(DBExportPdf, PagesStatusLinesAndRange) {
  if (std::system("command -v pdftotext >/dev/null 2>&1") != 0) GTEST_SKIP() << "pdftotext is not installed";
  TempDir dir;
  auto db = hPeople();
  for (int i = 3; i <= 150; ++i) db->ENTRYFIELD_LET(i, "NAME", "Person " + std::to_string(i));
  auto settings = Struct({{"TITLE.SHOW", true}, {"TITLE.TEXT", "Mitglieder"}, {"STATUS.CENTER", "{NAME} {DATE}"}});
  ASSERT_TRUE(db->EXPORTPDF(1, dir / "l.pdf", std::nullopt, settings));
  auto text = [&](const std::string& file) {
    std::string cmd = "pdftotext -layout '" + file + "' '" + file + ".txt'";
    EXPECT_EQ(std::system(cmd.c_str()), 0);
    return fileio::ReadFile(file + ".txt");
  };
  std::string all = text(dir / "l.pdf");
  std::smatch m;
  ASSERT_TRUE(std::regex_search(all, m, std::regex("Seite 1 von (\\d+)")));
  int pages = std::stoi(m[1]);
  EXPECT_GE(pages, 3);  // 150 rows of 8 point on landscape A4
  EXPECT_EQ(std::count(all.begin(), all.end(), '\f'), pages);
  for (const std::string& part :
       {"Seite " + std::to_string(pages) + " von " + std::to_string(pages),
        "Mitglieder " + date::Format(date::Now(), "dd.mm.yyyy"), std::string("Person 150"), std::string("Stand: ")})
    EXPECT_NE(all.find(part), std::string::npos) << part;

  LetAll(*settings, "PAGE.FIRST", 2, "PAGE.LAST", 2, "PAGE.PORTRAIT", true, "PAGE.COLUMNS", 2);
  ASSERT_TRUE(db->EXPORTPDF(1, dir / "p.pdf", std::nullopt, settings));
  std::string one = text(dir / "p.pdf");
  EXPECT_EQ(std::count(one.begin(), one.end(), '\f'), 1);
  ASSERT_TRUE(std::regex_search(one, m, std::regex("Seite 2 von (\\d+)")));
  EXPECT_EQ(one.find("Person 3 "), std::string::npos) << "page 1 is not written";
}

TEST(DBExportPdf, StatusPlaceholders) {
  double stamp = 0;
  ASSERT_TRUE(date::Parse("2024-03-05 07:08:00", stamp));
  EXPECT_EQ(cls_DBExportPdf::hStatusText("Seite {PAGE} von {PAGES} {DATE} {TIME} {NAME}", 2, 9, stamp, "Liste"),
            "Seite 2 von 9 05.03.2024 07:08 Liste");
  EXPECT_EQ(cls_DBExportPdf::hStatusText("{PAGE}{PAGE}", 3, 3, stamp, ""), "33");
}

}  // namespace rykel
