// DBExportData: picks the data writer for a format word.
#include "export/DBExportData.h"

#include "export/DBExportText.h"
#include "export/ExportPlugin.h"
#include "frame/Error.h"
#include "frame/FileIO.h"
#include "frame/Text.h"

namespace rykel::mdl_DBExport {

bool EXPORT(cls_DBStore& rDB, const std::string& pFormat, const std::string& pFile, const Variant& pView,
            const cls_DBStore::IDList& pIDs, const StructurePtr& pSettings) {
  return Guard("cls_DB", "EXPORT", [&] {
    TextFormat text;
    if (TEXTFORMAT(pFormat, text)) {
      fileio::WriteFileAtomicStream(pFile, [&](std::FILE* out) { EXPORTTEXT(rDB, out, text, pView, pIDs, pSettings); });
    } else if (text::UCase(pFormat) == "SQLITE") {
      Plugin::Table<SqlitePlugin>("sqlite").write(rDB, pFile, pView, pIDs, pSettings);
    } else {
      Raise(err::kInvalidCall, "unknown export format '" + pFormat + "' (csv, tsv, json, jsonl or sqlite)");
    }
    return true;
  });
}

}  // namespace rykel::mdl_DBExport
