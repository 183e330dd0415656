// mod_KELDB: the command module "DB" that lets templates read databases. It is not built in: a
// host adds it to an interpreter (kel.MODULES->ADD(std::make_shared<mod_KELDB>())); `rykel render`
// does so itself.
//
// The module keeps the databases it knows by name (upper case). {DB:OPEN FILE} opens a database
// file read-only (the file is found like a template, through the interpreter's LOCATE) under the
// name "MAIN" unless NAME is given, and makes it the current one; a host hands in databases it has
// opened itself with ATTACH. Every other command works on the current database ({DB:USE NAME}
// switches).
//
// Id lists travel as structures of numbered items holding entry ids; a command's LIST parameter
// takes such a structure, and an empty LIST means every entry. Commands and their parameters:
//   OPEN FILE [HEADER] [NAME]          ""                     USE NAME        ""
//   CLOSE [NAME]                       ""                     COUNT [LIST]    number of entries
//   ALL [SORT] [REV]                   id list                QUERY FIELD CONDITION [LIST]  id list
//   SEARCH TEXT [LIST]                 id list                FILTER FILTER [SORT] [REV] [LIST]  id list
//   SORT LIST FIELD [REV] [FIELD2] [REV2]  id list            LIMIT LIST SIZE [START]   id list
//   TEXT ID FIELD / HTML ID FIELD      display text / HTML text of one value
//   ENTRY ID [FIELDS] [HTML]           structure field ID -> text
//   ENTRIES LIST [FIELDS] [HTML]       structure of ENTRY structures, in list order
//   FIELDS                             structure field ID -> display name
//   GROUP FIELD [LIST] [TOP]           structure of {VALUE, TOTAL}, most frequent first
// Errors (recorded in ERRORLIST, the command yields the error text): "Database not found: file",
// "Database error: <open message>", "No database open: <command>", "Unknown database: name",
// "Unknown field: name", "Unknown entry: id", "Id list expected: <command>", "Filter structure
// expected: <command>", "DB function not supported: <command>".
// Values are data, never code: every text of an entry, a field or a group is output as data
// (cls_KEL::hData), so the page shows its braces and never runs them; HTML texts also carry "{"
// and "}" as character references. Entry ids are keys and stay as they are.
//
//   auto db = std::make_shared<rykel::mod_KELDB>();
//   kel.MODULES->ADD(db);
//   kel.PROCESS("{DB:OPEN \"contacts.ry-dbb\"}{DB:COUNT}");   // file names in quotes: "-" is an operator
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "database/cls_DBStore.h"
#include "interpreter/cls_KELModuleInterface.h"

namespace rykel {

class mod_KELDB : public cls_KELModuleInterface {
 public:
  mod_KELDB();
  std::string TypeName() const override { return "mod_KELDB"; }
  std::shared_ptr<cls_KELModule> MODULE_GET() override { return module_; }

  // Makes a database the host opened known under pName (any case; default "MAIN") and the current
  // one. A null database removes the name.
  void ATTACH(const DBStorePtr& pDB, std::string_view pName = "MAIN");
  // The database under pName, or the current one for ""; null when there is none. Databases
  // the module opens and those a host attaches are cls_DB objects (host/cls_DB.h):
  // std::dynamic_pointer_cast<cls_DB> gives the query members back.
  DBStorePtr DB_GET(std::string_view pName = "") const;
  // The current database's name ("" when none).
  std::string CURRENT_GET() const;

  // The module's command handler (see the header comment for the commands).
  void MODULE_EXECUTE(const StructurePtr& rResult, bool& rDone, Variant& rValue, const std::string& pCmd,
                      const StructurePtr& pParameters, cls_KEL& pKEL);

 private:
  std::shared_ptr<cls_KELModule> module_;
  std::map<std::string, DBStorePtr, std::less<>> dbs_;
  std::string current_;
};

}  // namespace rykel
