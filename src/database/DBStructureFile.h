// DBStructureFile: the structure form of a database file, read and written entry by entry.
//
// The file is the script form of the whole-database structure:
//   INFO {                      VERSION, HEADER (file name of the header), TIMESTAMP
//   }
//   ENTRIES {
//   	<id> {                   one block per entry, the entry's items inside
//   	}
//   }
// Building that structure in full and writing or parsing it in one piece costs a second tree of
// all entries and the whole text in memory. This class streams instead: the writer sends every
// entry's lines to the file as it goes, the reader fills each entry's structure as its block is
// read. Both give exactly what the generic structure file operations give; where they could not
// (a file using script features beyond the plain form, ids whose names would collide), they say so
// and the caller takes the generic way.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "database/DBEntryTable.h"
#include "structure/cls_Structure.h"

namespace rykel {

class DBStructureFile {
 public:
  struct Row {
    std::string id;     // the block's name as the structure keeps it (upper-cased)
    StructurePtr data;  // the entry, a fresh structure
  };

  // Reads the entries of a structure-form text into rRows (in file order) and the INFO.HEADER value
  // into rHeaderName ("info.header" when there is none). False, with rRows empty, when the text
  // leaves the plain form: comments and blank lines aside, only the blocks INFO and ENTRIES at the
  // top, simple names (no dots, brackets or quotes), each name once per block, nesting within the
  // depth limit. Malformed text gives false too: the generic reader then says what is wrong.
  static bool Read(std::string_view pText, std::string& rHeaderName, std::vector<Row>& rRows);

  // Writes the structure form of the entries to pFile atomically (temporary file, flush, rename),
  // the same bytes as saving the whole-database structure. False, with nothing written, when the
  // ids would not each become a name of their own (text ids equal but for case, an empty id, a
  // numeric id that is not a 32-bit integer): the caller then saves the whole structure.
  // Raises file errors, and kInvalidData for an entry nested too deep.
  static bool Write(const std::string& pFile, std::string_view pHeaderName,
                    const std::vector<DBEntryTable::Entry>& pEntries, bool pNumeric);
};

}  // namespace rykel
