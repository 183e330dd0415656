// rykel help [TOPIC]: short guides to the program's areas. The topics below are the one source of
// this text: `rykel help --man` prints them as the manual page docs/rykel.1 (a test keeps the two
// equal), and each topic points to the document in docs/ that goes deeper. `rykel help kel` also
// prints the traps and the cheat sheet that open docs/KEL.md, built into the program from there.
#include <cstdio>
#include <string>
#include <string_view>

#include "Commands.h"

namespace rykel::cli {

// The traps and the cheat sheet that open docs/KEL.md (generated from it at build time).
extern const std::string_view kKelGuide;

namespace {

struct HelpTopic {
  std::string_view name;
  std::string_view title;
  std::string_view text;                    // lines; a line led by two blanks is an example
  const std::string_view* guide = nullptr;  // printed after the text by `rykel help TOPIC` only
};

constexpr HelpTopic kTopics[] = {
    {"kel", "KEL templates",
     "Templates are text with commands in braces; each command's result replaces it and is read again.\n"
     "Variables {VAR x 5} {VAR:x}, blocks {BLOCK row {...}} {BLOCK:row}, conditions {IF (x > 3) {a} {b}},\n"
     "loops {FOR i 1 3 1 {...}} {ITERATE item VAR:list {...}} {WHILE (cond) {...}}, files {INCLUDE name}\n"
     "(looked for as given, under pages/ and inc/, in every -d folder), modules IO:, STRUCT:, TEXT: and DB:.\n"
     "TEXT: escapes, formats and joins values: {TEXT:HTML VAR:x} {TEXT:FORMAT (sum) \"#,##0.00\"};\n"
     "render --autoescape escapes every {VAR:x} of the page for HTML.\n"
     "Errors never stop a page: they become ERR:---...--- texts, and render prints each on stderr as\n"
     "file:line:column: message and exits with 1 (--errors: the HTML lines instead, --quiet: nothing).\n"
     "A page cut short (over 100 commands, an unclosed quote, a limit) is listed the same way.\n"
     "  rykel render -e '{VAR x 5}{IF (x > 3) {big} {small}}'\n"
     "  rykel render -d examples/site --struct team=examples/site/data/team.ser examples/site/pages/index.kel\n"
     "See docs/KEL.md.\n",
     &kKelGuide},
    {"struct", "Structures",
     "A structure is a tree of named and numbered items; dotted keys reach into sub-structures.\n"
     "Its exchange form is PHP's serialized text; the script form is for reading and writing by hand.\n"
     "  rykel struct set person.name=Anna person.age=34\n"
     "  rykel struct convert --from php --to script examples/site/data/team.ser\n"
     "JSON reads and writes as objects (named items) and arrays (numbered ones); names come back upper case.\n"
     "  rykel struct convert --from json --to php data.json     rykel render --data data.json page.kel\n"
     "  rykel struct show FILE          rykel tree OPERATION ...          rykel serialized check FILE\n"
     "See docs/API.md (Structures) and docs/FORMATS.md.\n"},
    {"db", "Databases",
     "A database is a header file (the fields; db new people.ry-dbb writes people.header) and a\n"
     "database file with the entries: binary when the name ends in .ry-dbb, else the structure form.\n"
     "Commands that change a database lock it (people.ry-dbb.lock), so parallel runs take turns.\n"
     "  rykel db new people.ry-dbb --field VORNAME:STRING --field PLZ:STRING\n"
     "  rykel db add people.ry-dbb VORNAME=Anna PLZ=01067\n"
     "Values must fit their field's type (a real date, a number, a whole number, a yes/no word, a\n"
     "member of a choice field given as ID:ENUM:a,b); --lenient stores them as the library converts.\n"
     "Exit codes: 0 success, 1 a runtime or template error, 2 a usage error.\n"
     "  rykel db fill people.ry-dbb -n 100 --seed 1        (random entries fitting the fields)\n"
     "  rykel db show people.ry-dbb          rykel db info people.ry-dbb\n"
     "Templates read databases with the DB module: {DB:OPEN \"file\"}, {DB:QUERY FIELD CONDITION},\n"
     "{DB:SORT LIST FIELD}, {DB:TEXT ID FIELD}; rykel render --db FILE opens one first.\n"
     "db schema prints the fields (type, display name, members, default, index); db field changes them,\n"
     "header and entries together (removing a field that holds values needs --force).\n"
     "  rykel db schema people.ry-dbb --json\n"
     "  rykel db field people.ry-dbb add ORT --type ENUM --members HB=Bremen,KI=Kiel --default Kiel --index\n"
     "  rykel db field people.ry-dbb set PLZ --display Postleitzahl     rykel db field people.ry-dbb remove FAX "
     "--force\n"
     "db import reads CSV, TSV, JSON or JSONL: a new database takes its fields and their types from\n"
     "the columns; into an existing one columns map by field name, display name or --map COL=FIELD.\n"
     "A bad row stops it with FILE:LINE and the database unchanged; --skip-bad imports the rest.\n"
     "FILE - reads standard input; one record or JSONL line holds at most IMPORT.LINE.MAX bytes (16 MiB).\n"
     "  rykel db import people.ry-dbb people.csv       rykel db import people.ry-dbb old.tsv --encoding cp1252\n"
     "  gunzip -c people.csv.gz | rykel db import people.ry-dbb -\n"
     "See docs/API.md (cls_DB) and docs/KEL.md (the DB module).\n"},
    {"query", "Queries, filters and sorting",
     "A condition is an operator and a value: < > <= >= <> BEGINS ENDS CONTAINS CONTAINSWORD\n"
     "CONTAINSONE IN, ranges '[] a b' '[[ a b'; '$' before the operator compares case-blind, '!' negates.\n"
     "A value that does not start with an operator is compared whole, case-blind, blanks included\n"
     "('Frankfurt am Main'); '== x' compares exactly; --condition hands the text on as it is, so\n"
     "its first word is the operator. An unknown field is an error (exit 2); a field may repeat.\n"
     "  rykel db query people.ry-dbb VORNAME '$BEGINS an' --show\n"
     "  rykel db query people.ry-dbb ORT 'Frankfurt am Main'\n"
     "  rykel db filter people.ry-dbb 'NACHNAME=Müller' 'ORT=$CONTAINS burg' --sort VORNAME\n"
     "  rykel db filter people.ry-dbb ORT=Kiel ORT=Bremen --or\n"
     "  rykel db search people.ry-dbb 'anna -berlin'          rykel db sort people.ry-dbb PLZ --rev\n"
     "--show and --as print the entries (also db show): --as table (aligned, display names, cut to the\n"
     "terminal; the default on a terminal), tsv (the default otherwise), csv, json or jsonl.\n"
     "  rykel db filter people.ry-dbb ORT=Kiel --as csv > kiel.csv\n"
     "db facets lists a field's filter choices with their counts; db stats counts and sums fields;\n"
     "db schema lists the fields. All three take --as like the entries (--json is --as json).\n"
     "  rykel db facets people.ry-dbb ORT --filter 'PLZ=$BEGINS 2' --json\n"
     "  rykel db stats people.ry-dbb ALTER --group-by ORT        (MIN MAX SUM MEAN of number and date fields)\n"
     "See docs/API.md (Queries, search, filters and sorting).\n"},
    {"export", "Exports",
     "A view's entries go to a workbook (xlsx), a spreadsheet HTML table (htm), a batch file (bat),\n"
     "a PDF (pdf) or another database (db); --filter, --sort and --then choose and order the entries.\n"
     "  rykel db export people.ry-dbb --format xlsx --out people.xlsx --title Kontakte\n"
     "  rykel db export people.ry-dbb --format pdf --out nord.pdf --filter 'ORT=IN Bremen,Hamburg' --sort NACHNAME\n"
     "Data formats: csv, tsv, json, jsonl (every field by ID, stored values, dates yyyy-mm-dd; --out - for\n"
     "standard output) and sqlite (a SQLite file: table entries, field names and types in rykel_fields).\n"
     "  rykel db export people.ry-dbb --format csv --out - --where ORT=Kiel\n"
     "  rykel db export people.ry-dbb --format sqlite --out people.sqlite\n"
     "See docs/API.md (Exports) and docs/FORMATS.md.\n"},
    {"random", "Random test data",
     "German test data by field name (VORNAME, NACHNAME, STRASSE, PLZ, ORT, TELEFON, EMAIL, FIRMA, ...)\n"
     "or by pattern ({D*5} five digits, {d[4-10]} four to ten, {VORNAME} a first name); --seed repeats.\n"
     "  rykel random TELEFON -n 3 --seed 7\n"
     "  rykel random '{STRASSE}, {PLZ} {ORT}' -n 3\n"
     "See docs/API.md (cls_DBTool).\n"},
    {"formats", "File and text formats",
     "Serialized structure text (PHP's serialize form, a:2:{...}), the compact form (QS1:), the script\n"
     "form of structure files, database files (binary .ry-dbb and structure form), header files and\n"
     "the one-string database form (DBS1:) are each described as grammar in docs/FORMATS.md.\n"
     "  rykel serialized check FILE          rykel db convert people.ry-dbb people.db\n"
     "See docs/FORMATS.md.\n"},
    {"serve", "Sites: serve and build",
     "A site folder holds pages/ (pages/x/y.kel is the page /x/y), static/, data/ (structure files, each a\n"
     "variable) and what the pages include. serve shows it in a browser while you edit: open pages reload\n"
     "when a file changes, and a page with template errors shows them over its output with the line.\n"
     "Query parameters are variables (/team?city=Kiel sets city), raw text: escape them with TEXT:HTML.\n"
     "  rykel serve -d examples/site                       (Serving examples/site at http://127.0.0.1:8080/)\n"
     "  rykel serve -d site --db MAIN=kunden.ry-dbb --port 0 --open\n"
     "Each --db database is browsed at /_db/NAME (sort, search, filters, facets, exports; --write: forms\n"
     "to add, edit and delete entries) and answers as JSON at /_api/NAME, /_api/NAME/facets/FIELD and\n"
     "/_api/NAME/ID.\n"
     "build writes every page as static HTML, on all cores, skipping pages whose inputs did not change.\n"
     "  rykel build examples/site public -j 4\n"
     "See docs/SERVE.md and docs/SITE.md.\n"},
};

const HelpTopic* hFind(std::string_view name) {
  for (const auto& t : kTopics)
    if (t.name == name) return &t;
  return nullptr;
}

void hPrintList() {
  std::printf("rykel help TOPIC: a short guide to one area. Topics:\n");
  for (const auto& t : kTopics) std::printf("  %-9s %s\n", std::string(t.name).c_str(), std::string(t.title).c_str());
  std::printf("Every command also has --help, e.g. rykel db export --help.\n");
}

// Roff needs "-" and "\" escaped and no line starting with "." or "'".
std::string hRoff(std::string_view line) {
  std::string out;
  if (!line.empty() && (line[0] == '.' || line[0] == '\'')) out += "\\&";
  for (char c : line) {
    if (c == '\\') out += "\\e";
    else if (c == '-') out += "\\-";
    else out += c;
  }
  return out;
}

void hPrintMan() {
  std::printf(".TH RYKEL 1 \"\" \"rykel %s\" \"User Commands\"\n", RYKEL_VERSION);
  std::printf(".SH NAME\nrykel \\- KEL templates, structures and a small file database\n");
  std::printf(".SH SYNOPSIS\n.B rykel\n.I command\n[\\fIoptions\\fR]\n.br\n.B rykel help\n[\\fItopic\\fR]\n");
  std::printf(
      ".SH DESCRIPTION\nEvery command prints its options with \\fB\\-\\-help\\fR. "
      "The topics below are also shown by \\fBrykel help\\fR \\fItopic\\fR.\n");
  for (const auto& t : kTopics) {
    std::printf(".SH %s\n", hRoff(std::string(t.title)).c_str());
    std::string_view rest = t.text;
    bool inExample = false;
    while (!rest.empty()) {
      size_t nl = rest.find('\n');
      std::string_view line = rest.substr(0, nl);
      rest = nl == std::string_view::npos ? std::string_view{} : rest.substr(nl + 1);
      bool example = line.starts_with("  ");
      if (example && !inExample) std::printf(".PP\n.nf\n");
      if (!example && inExample) std::printf(".fi\n.PP\n");
      inExample = example;
      std::printf("%s\n", hRoff(line).c_str());
    }
    if (inExample) std::printf(".fi\n");
  }
  std::printf(".SH SEE ALSO\nREADME.md, docs/KEL.md, docs/API.md, docs/FORMATS.md\n");
}

}  // namespace

void AddHelpCommand(CLI::App& app) {
  static std::string topic;
  static bool man = false;
  auto* h =
      app.add_subcommand("help", "Short guides: rykel help TOPIC (kel, struct, db, query, export, random, formats)");
  h->add_option("topic", topic, "the topic; none lists them");
  h->add_flag("--man", man, "print every topic as a manual page (roff)");
  h->callback([] {
    if (man) return hPrintMan();
    if (topic.empty()) return hPrintList();
    const HelpTopic* t = hFind(topic);
    if (!t) {
      hPrintList();
      FailUsage("no topic '" + topic + "'");
    }
    std::printf("%s\n\n%s", std::string(t->title).c_str(), std::string(t->text).c_str());
    if (t->guide) std::printf("\n%s", std::string(*t->guide).c_str());
  });
}

}  // namespace rykel::cli
