// A C++ host of RyKEL: renders a KEL template that reads a database through the DB module, and
// queries the same database directly.
//
//   rykel_host EXAMPLES_DIR      (EXAMPLES_DIR holds data/kunden.db; default "examples")
#include <cstdio>
#include <memory>
#include <string>

#include "frame/Convert.h"
#include "host/cls_DB.h"
#include "interpreter/cls_KEL.h"
#include "interpreter/cls_KELModules.h"
#include "modules/mod_KELDB.h"

int main(int argc, char** argv) {
  std::string dir = argc > 1 ? argv[1] : "examples";
  if (!dir.ends_with("/")) dir += "/";

  // The database, opened by the host: the customers in Hamburg, sorted by first name.
  auto db = std::make_shared<rykel::cls_DB>();
  if (!db->DBOPENREADONLY(dir + "data/kunden.db")) {
    std::fprintf(stderr, "rykel_host: %s\n", db->DBOPENERROR_GET().c_str());
    return 1;
  }
  auto hamburg = db->ENTRYSORT("VORNAME", false, db->ENTRYQUERY("ORT", "", "Hamburg"));
  std::printf("%d Kunden, %zu in Hamburg:", db->ENTRYCOUNT(), hamburg.size());
  for (const auto& id : hamburg) std::printf(" %s", db->FIELDTEXT_GET(id, "VORNAME").c_str());
  std::printf("\n");

  // A template reading the same database: the host hands it to the DB module.
  auto kel = std::make_shared<rykel::cls_KEL>();
  auto module = std::make_shared<rykel::mod_KELDB>();
  kel->MODULES->ADD(module);
  module->ATTACH(db);
  kel->VARIABLES->ITEM_LET("minimum", 1000);
  std::string out = kel->PROCESS(
      "{VAR gut {{DB:QUERY UMSATZ \">= 1000\"}}}Umsatz ab {VAR:minimum}: {DB:COUNT VAR:gut} Kunden\n"
      "{ITERATE k {{DB:ENTRIES {{DB:SORT VAR:gut UMSATZ REV=1}}}} {• {VAR:k.VORNAME} {VAR:k.NACHNAME}, "
      "{VAR:k.ORT}\n}}");
  std::fputs(out.c_str(), stdout);
  int errors = kel->ERRORLIST->COUNT();
  if (errors > 0) std::fprintf(stderr, "rykel_host: %d template errors\n", errors);
  return errors > 0 ? 1 : 0;
}
