// Differential test: random entries go into a cls_DB and into an in-memory SQLite table; random
// conditions of every operator, flag and field type must select the same ids as the equivalent
// SQL, filters must agree with AND / OR of the conditions, cls_DBTool.FILTER must agree with the
// query entry by entry, and sorts must agree with ORDER BY.
#include <gtest/gtest.h>

#include <sqlite3.h>
#include <unicode/uchar.h>
#include <unicode/utf8.h>
#include "TestSupport.h"

#include <cmath>
#include <random>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "host/cls_DB.h"
#include "tools/cls_DBTool.h"

namespace rykel {

namespace {

// UCASE(x) in SQL: simple upper-case mapping per code point, straight from ICU.
void hSqlUcase(sqlite3_context* ctx, int, sqlite3_value** argv) {
  const auto* s = reinterpret_cast<const uint8_t*>(sqlite3_value_text(argv[0]));
  if (!s) return sqlite3_result_null(ctx);
  int32_t n = sqlite3_value_bytes(argv[0]);
  std::string out(static_cast<size_t>(n) * 2 + 4, '\0');
  int32_t i = 0, o = 0;
  while (i < n) {
    UChar32 c;
    U8_NEXT(s, i, n, c);
    UBool failed = false;
    U8_APPEND(reinterpret_cast<uint8_t*>(out.data()), o, static_cast<int32_t>(out.size()), u_toupper(c), failed);
    (void)failed;  // an upper-cased code point always fits
  }
  out.resize(static_cast<size_t>(o));
  sqlite3_result_text(ctx, out.c_str(), o, SQLITE_TRANSIENT);
}

std::string Q(const std::string& s) {  // SQL string literal
  std::string out = "'";
  for (char c : s) out += (c == '\'' ? std::string("''") : std::string(1, c));
  return out + "'";
}

struct Fixture {
  sqlite3* sql = nullptr;
  std::shared_ptr<cls_DB> db = std::make_shared<cls_DB>();
  std::mt19937 rng{20240611};
  const std::vector<std::string> words = {"Meier",    "meier", "MEIER",      "Müller",      "müller",  "Schmidt",
                                          "Schmitz",  "Anna",  "anna maria", "Bad Homburg", "Hamburg", "Hamburg-Altona",
                                          "rot,grün", "grün",  "Ölberg",     "öl",          "",        "10",
                                          "9"};
  const std::vector<std::string> pieces = {"burg", "mei", "MEI",  "Mü", "MÜ",  "ö",       "Ö",
                                           "grün", "a",   "Anna", "10", "rot", "Hamburg", "meier"};

  int Rand(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); }
  template <class T>
  const T& Pick(const std::vector<T>& v) {
    return v[static_cast<size_t>(Rand(0, static_cast<int>(v.size()) - 1))];
  }

  Fixture() {
    sqlite3_open(":memory:", &sql);
    sqlite3_create_function(sql, "UCASE", 1, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr, hSqlUcase, nullptr, nullptr);
    Exec("CREATE TABLE t(pos INTEGER, s TEXT, i TEXT, n INTEGER, d REAL, t REAL, b INTEGER, m TEXT)");
    db->FIELDCREATE("S", ID_DBFieldType_String);
    db->FIELDCREATE("I", ID_DBFieldType_String)->INDEXED = true;
    db->FIELDCREATE("N", ID_DBFieldType_Long)->INDEXED = true;
    db->FIELDCREATE("D", ID_DBFieldType_Double);
    db->FIELDCREATE("T", ID_DBFieldType_Date);
    db->FIELDCREATE("B", ID_DBFieldType_Boolean);
    db->FIELDCREATE("M", ID_DBFieldType_EnumMulti)->MEMBERS = "a,b,c,ab";
    const std::vector<std::string> multi = {"", "a", "b", "a,b", "ab", "ab,c", "c,a"};
    for (int pos = 0; pos < 300; ++pos) {
      int id = pos + 1;
      std::string s = Pick(words), i = Pick(words), m = Pick(multi);
      bool hasN = Rand(0, 9) > 0, hasD = Rand(0, 9) > 0, hasT = Rand(0, 9) > 0;
      int n = Rand(-30, 30);
      double d = Rand(-400, 400) / 4.0;
      double t = 43900 + Rand(0, 40) + Rand(0, 3) * 0.25;
      bool b = Rand(0, 1);
      db->ENTRYADD(id);
      db->ENTRYFIELD_LET(id, "S", s);
      db->ENTRYFIELD_LET(id, "I", i);
      db->ENTRYFIELD_LET(id, "N", hasN ? Variant(n) : Variant(""));
      db->ENTRYFIELD_LET(id, "D", hasD ? Variant(d) : Variant(""));
      db->ENTRYFIELD_LET(id, "T", hasT ? Variant::Date(t) : Variant(""));
      db->ENTRYFIELD_LET(id, "B", b);
      db->ENTRYFIELD_LET(id, "M", m);
      Exec("INSERT INTO t VALUES(" + std::to_string(id) + "," + Q(s) + "," + Q(i) + "," +
           (hasN ? std::to_string(n) : "NULL") + "," + (hasD ? NumberText(d) : "NULL") + "," +
           (hasT ? NumberText(t) : "NULL") + "," + (b ? "-1" : "0") + "," + Q(m) + ")");
    }
  }
  ~Fixture() { sqlite3_close(sql); }

  void Exec(const std::string& q) {
    char* err = nullptr;
    ASSERT_EQ(sqlite3_exec(sql, q.c_str(), nullptr, nullptr, &err), SQLITE_OK) << (err ? err : "") << "\n" << q;
  }
  std::string Ids(const std::string& where, const std::string& order = "pos") {
    std::string out;
    sqlite3_stmt* st = nullptr;
    std::string q = "SELECT pos FROM t WHERE " + where + " ORDER BY " + order;
    EXPECT_EQ(sqlite3_prepare_v2(sql, q.c_str(), -1, &st, nullptr), SQLITE_OK) << sqlite3_errmsg(sql) << "\n" << q;
    while (sqlite3_step(st) == SQLITE_ROW) out += (out.empty() ? "" : ",") + std::to_string(sqlite3_column_int(st, 0));
    sqlite3_finalize(st);
    return out;
  }
};

// One random condition: its text for RyKEL and the SQL that means the same.
struct Cond {
  std::string field, text, sql;
};

std::string SqlList(const std::vector<std::string>& items) {
  std::string out;
  for (const auto& i : items) out += (out.empty() ? "" : ",") + Q(i);
  return out;
}

Cond RandomCondition(Fixture& f) {
  static const std::vector<std::string> cmpOps = {"=", "==", "<>", "<", ">", ">=", "=>", "<=", "=<"};
  static const std::vector<std::string> rangeOps = {"[]", "[[", "][", "]]"};
  static const std::vector<std::string> textOps = {
      "BEGINS", "?...", "ENDS", "...?", "CONTAINS", "...?...", "CONTAINSWORD", "CONTAINSONE", "CONTAINSONEWORD", "IN"};
  const std::vector<std::string> fields = {"S", "I", "N", "D", "T", "B", "M"};
  Cond c;
  c.field = f.Pick(fields);
  bool caseBlind = f.Rand(0, 2) == 0, negate = f.Rand(0, 3) == 0;
  std::string flags;
  if (caseBlind) flags += "$";
  if (negate) flags.insert(f.Rand(0, 1) ? flags.size() : 0, "!");
  const std::string col(1, static_cast<char>(std::tolower(c.field[0])));
  std::string test;

  // Three-way comparison of the column with a bound; empty values are the least.
  auto cmp = [&](const std::string& x, const std::string& b) {
    return "(CASE WHEN " + x + " IS NULL THEN -1 WHEN " + x + " < " + b + " THEN -1 WHEN " + x + " > " + b +
           " THEN 1 ELSE 0 END)";
  };
  auto cmpTest = [](const std::string& op, const std::string& c3) {
    if (op == "=" || op == "==") return c3 + " = 0";
    if (op == "<>") return c3 + " <> 0";
    if (op == "<") return c3 + " < 0";
    if (op == ">") return c3 + " > 0";
    if (op == ">=" || op == "=>") return c3 + " >= 0";
    return c3 + " <= 0";
  };
  auto rangeTest = [](const std::string& op, const std::string& lo, const std::string& hi) {
    if (op == "[]") return lo + " >= 0 AND " + hi + " <= 0";
    if (op == "[[") return lo + " >= 0 AND " + hi + " < 0";
    if (op == "][") return lo + " > 0 AND " + hi + " < 0";
    return lo + " > 0 AND " + hi + " <= 0";
  };
  // A numeric bound as RyKEL reads it and as SQL sees it.
  auto bound = [&](std::string& rText) -> std::string {
    if (c.field == "N") {
      int n = f.Rand(-35, 35);
      rText = std::to_string(n);
      return rText;
    }
    if (c.field == "D") {
      double d = f.Rand(-420, 420) / 4.0;
      rText = NumberText(d);
      return rText;
    }
    double day = 43898 + f.Rand(0, 44);
    if (f.Rand(0, 3) == 0) {
      day += 0.5;
      rText = date::Format(day, "yyyy-mm-dd hh:nn:ss");
    } else {
      rText = date::Format(day, "yyyy-mm-dd");
    }
    return NumberText(day);
  };

  if (c.field == "N" || c.field == "D" || c.field == "T") {
    std::string x = c.field == "T" ? "(CASE WHEN t IS NULL THEN NULL ELSE CAST(t AS INTEGER) END)" : col;
    int kind = f.Rand(0, 3);
    if (kind <= 1) {
      std::string op = f.Pick(cmpOps), bt, bs = bound(bt);
      c.text = flags + op + " " + bt;
      test = cmpTest(op, cmp(x, bs));
    } else if (kind == 2) {
      std::string op = f.Pick(rangeOps), lt, ht, ls = bound(lt), hs = bound(ht);
      if (c.field == "T") {  // a range's bounds are single words: days without a time
        double a = 43898 + f.Rand(0, 44), b = 43898 + f.Rand(0, 44);
        lt = date::Format(a, "yyyy-mm-dd"), ht = date::Format(b, "yyyy-mm-dd");
        ls = NumberText(a), hs = NumberText(b);
      }
      c.text = flags + op + " " + lt + " " + ht;
      test = rangeTest(op, cmp(x, ls), cmp(x, hs));
    } else if (c.field == "N") {
      std::vector<std::string> items = {std::to_string(f.Rand(-30, 30)), std::to_string(f.Rand(-30, 30)), ""};
      items.resize(static_cast<size_t>(f.Rand(1, 3)));
      std::string list;
      for (const auto& i : items) list += (list.empty() ? "" : ",") + i;
      c.text = flags + "IN " + list;
      test = "COALESCE(CAST(n AS TEXT), '') IN (" + SqlList(items) + ")";
    } else {
      std::string bt, bs = bound(bt);
      c.text = flags + "= " + bt;
      test = cmpTest("=", cmp(x, bs));
    }
  } else if (c.field == "B") {
    bool v = f.Rand(0, 1);
    c.text = flags + (f.Rand(0, 1) ? "= " : "<> ") + (v ? "True" : "False");
    test = std::string("b ") + (c.text.find("<>") != std::string::npos ? "<> " : "= ") + (v ? "-1" : "0");
  } else if (c.field == "M") {
    std::vector<std::string> items = {f.Pick(std::vector<std::string>{"a", "b", "c", "ab"}),
                                      f.Pick(std::vector<std::string>{"a", "b", "x"})};
    items.resize(static_cast<size_t>(f.Rand(1, 2)));
    std::string list = items[0] + (items.size() > 1 ? "," + items[1] : "");
    std::string ors;
    for (const auto& i : items)
      ors += (ors.empty() ? "" : " OR ") + ("instr(',' || m || ',', " + Q("," + i + ",") + ") > 0");
    c.text = "CONTAINSONE " + list;
    test = ors;
    flags.clear();
    negate = false;
  } else {
    std::string x = caseBlind ? "UCASE(COALESCE(" + col + ", ''))" : "COALESCE(" + col + ", '')";
    int kind = f.Rand(0, 2);
    if (kind == 0) {
      std::string op = f.Pick(cmpOps), b = f.Pick(f.words);
      if (b.find(' ') != std::string::npos || b.empty()) b = "Hamburg";
      c.text = flags + op + " " + b;
      test = cmpTest(op, "(CASE WHEN " + x + " < " + (caseBlind ? "UCASE(" + Q(b) + ")" : Q(b)) + " THEN -1 WHEN " + x +
                             " > " + (caseBlind ? "UCASE(" + Q(b) + ")" : Q(b)) + " THEN 1 ELSE 0 END)");
    } else if (kind == 1) {
      std::string op = f.Pick(textOps);
      std::string b = f.Pick(f.pieces), b2 = f.Pick(f.pieces);
      auto V = [&](const std::string& s) { return caseBlind ? "UCASE(" + Q(s) + ")" : Q(s); };
      auto word = [&](const std::string& s) {
        return "instr(' ' || replace(" + x + ", ',', ' ') || ' ', ' ' || " + V(s) + " || ' ') > 0";
      };
      if (op == "BEGINS" || op == "?...") {
        c.text = flags + op + " " + b;
        test = "instr(" + x + ", " + V(b) + ") = 1";
      } else if (op == "ENDS" || op == "...?") {
        c.text = flags + op + " " + b;
        test = "length(" + x + ") >= length(" + V(b) + ") AND substr(" + x + ", length(" + x + ") - length(" + V(b) +
               ") + 1) = " + V(b);
      } else if (op == "CONTAINS" || op == "...?...") {
        c.text = flags + op + " " + b;
        test = "instr(" + x + ", " + V(b) + ") > 0";
      } else if (op == "CONTAINSWORD") {
        c.text = flags + op + " " + b;
        test = word(b);
      } else if (op == "CONTAINSONE") {
        c.text = flags + op + " " + b + "," + b2;
        test = "instr(" + x + ", " + V(b) + ") > 0 OR instr(" + x + ", " + V(b2) + ") > 0";
      } else if (op == "CONTAINSONEWORD") {
        c.text = flags + op + " " + b + ", " + b2;
        test = word(b) + " OR " + word(b2);
      } else {
        std::string w1 = f.Pick(f.words), w2 = f.Pick(f.words);
        if (w1.find(',') != std::string::npos) w1 = "grün";
        if (w2.find(',') != std::string::npos) w2 = "";
        c.text = flags + "IN " + w1 + "," + w2;
        test = x + " IN (" + V(w1) + ", " + V(w2) + ")";
      }
    } else {
      // No operator at all: "$==" for text.
      std::string b = f.Pick(f.words);
      if (b.find(' ') != std::string::npos || b.empty() || b.find_first_of("$=<>![]") == 0) b = "meier";
      // Flags alone stand before the default operator.
      c.text = flags + b;
      test = "UCASE(COALESCE(" + col + ", '')) = UCASE(" + Q(b) + ")";
    }
  }
  c.sql = negate ? "NOT (" + test + ")" : "(" + test + ")";
  return c;
}

}  // namespace

TEST(QuerySQLite, RandomConditionsSelectWhatSQLiteSelects) {
  Fixture f;
  cls_DBTool tool;
  int checked = 0;
  for (int round = 0; round < 1500; ++round) {
    Cond c = RandomCondition(f);
    std::string ours = Ids(f.db->ENTRYQUERY(c.field, "", Variant(c.text)));
    ASSERT_EQ(ours, f.Ids(c.sql)) << c.field << " " << c.text << "\nSQL: " << c.sql;
    // The single-value filter agrees with the query for every non-empty value (a multiple choice
    // value is plain text to it: it cannot know the field's type).
    if (round % 10 == 0 && c.field != "M") {
      for (int id = 1; id <= 300; id += 7) {
        Variant v = f.db->ENTRYFIELD_GET(id, c.field);
        if (v.isEmpty() || (v.isString() && v.str().empty())) continue;
        bool in = ("," + ours + ",").find("," + std::to_string(id) + ",") != std::string::npos;
        ASSERT_EQ(tool.FILTER(v, c.text), in) << c.field << " " << CStr(v) << " " << c.text;
      }
    }
    ++checked;
  }
  EXPECT_EQ(checked, 1500);
}

TEST(QuerySQLite, FiltersAreAndOrOfTheirConditions) {
  Fixture f;
  for (int round = 0; round < 200; ++round) {
    bool orMode = round % 2;
    auto filter = cls_Structure::New();
    std::string sql;
    std::vector<std::string> used;
    for (int k = 0; k < 3; ++k) {
      Cond c = RandomCondition(f);
      if (std::find(used.begin(), used.end(), c.field) != used.end()) continue;  // one condition per field
      used.push_back(c.field);
      filter->ITEMBYID_LET(c.field, c.text);
      sql += (sql.empty() ? "" : (orMode ? " OR " : " AND ")) + c.sql;
    }
    if (orMode) filter->ITEMBYID_LET("MODE", "OR");
    ASSERT_EQ(Ids(f.db->ENTRYFILTER("", filter)), f.Ids(sql)) << sql;
  }
}

TEST(QuerySQLite, SortsAgreeWithOrderBy) {
  Fixture f;
  // Sort texts order numbers, dates and booleans as values and put empty values first; equal keys
  // keep the table order, in both directions. With a second field the key is key1 "_" key2, and
  // "_" sorts above the digits and capitals of number and date sort texts, so an empty first value
  // (key "_" key2) comes after every filled one, and before them under a descending sort.
  const std::vector<std::pair<std::string, std::string>> keys = {{"N", "n"}, {"D", "d"}, {"T", "t"}, {"B", "(b <> 0)"}};
  for (const auto& [f1, c1] : keys) {
    for (bool rev : {false, true}) {
      const std::string dir = rev ? " DESC" : "";
      EXPECT_EQ(Ids(f.db->ENTRYSORT(f1, rev)), f.Ids("1", c1 + dir + ", pos")) << f1;
      for (const auto& [f2, c2] : keys) {
        if (f1 == f2) continue;
        for (bool rev2 : {false, true}) {
          EXPECT_EQ(Ids(f.db->ENTRYSORTADVANCED(f1, rev, f2, std::nullopt, rev2)),
                    f.Ids("1", c1 + " IS NULL" + dir + ", " + c1 + dir + ", " + c2 + (rev2 ? " DESC" : "") + ", pos"))
              << f1 << rev << " " << f2 << rev2;
        }
      }
    }
  }
  // A sorted filter result: the list's own members only.
  auto part = f.db->ENTRYQUERY("N", "", "> 0");
  EXPECT_EQ(Ids(f.db->ENTRYSORTADVANCED("D", true, "", part)), f.Ids("n > 0", "d DESC, pos"));
}

}  // namespace rykel
