// rykel db export --format csv|tsv|json|jsonl|sqlite: the data writers of the library, and "-"
// for standard output.
#include "ExportData.h"

#include <cstdio>

#include "CommandFailure.h"
#include "export/DBExportText.h"
#include "frame/Text.h"

namespace rykel::cli {

bool ExportData(cls_DB& rDB, const std::string& pFormat, const std::string& pOut, const Variant& pView,
                const cls_DB::IDList& pIDs) {
  mdl_DBExport::TextFormat text;
  bool isText = mdl_DBExport::TEXTFORMAT(pFormat, text);
  if (!isText && pFormat != "SQLITE") {
    if (pOut == "-") FailUsage("--out -: standard output takes csv, tsv, json and jsonl only");
    return false;
  }
  if (pOut == "-") {
    if (!isText) FailUsage("--out -: standard output takes csv, tsv, json and jsonl only");
    mdl_DBExport::EXPORTTEXT(rDB, stdout, text, pView, pIDs);
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) Fail(kExitError, "cannot write to standard output");
    return true;
  }
  if (!rDB.EXPORT(pFormat, pOut, pView, pIDs)) Fail(kExitError, "cannot write '" + pOut + "'");
  std::printf("%s\n", pOut.c_str());
  return true;
}

}  // namespace rykel::cli
