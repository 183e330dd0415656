#include "database/DBEntryText.h"

#include <cstdlib>

#include "frame/Convert.h"
#include "frame/DateTime.h"
#include "frame/Error.h"
#include "frame/FileIO.h"
#include "frame/Text.h"

namespace rykel {

std::string hEntryText(const StructurePtr& pEntry) {
  if (!pEntry) return cls_Structure::New()->SERIALIZE();
  return pEntry->SERIALIZE();
}

StructurePtr hEntryFromText(std::string_view pText) {
  auto st = cls_Structure::New();
  st->UNSERIALIZE(pText);
  return st;
}

}  // namespace rykel

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace rykel {

void hWriteFileAtomic(const std::string& pFile, const std::function<void(std::FILE*)>& pWrite) {
  std::string tmp = pFile + ".~" + std::to_string(::getpid()) + ".tmp";
  std::FILE* f = std::fopen(tmp.c_str(), "wb");
  if (!f) Raise(err::kPathFileAccess, "cannot write '" + tmp + "': " + std::strerror(errno));
  try {
    pWrite(f);
    if (std::fflush(f) != 0 || std::ferror(f)) Raise(err::kFileIO, "cannot write '" + tmp + "': " + std::strerror(errno));
    if (::fsync(::fileno(f)) != 0) Raise(err::kFileIO, "cannot flush '" + tmp + "': " + std::strerror(errno));
  } catch (...) {
    std::fclose(f);
    std::remove(tmp.c_str());
    throw;
  }
  if (std::fclose(f) != 0) {
    std::remove(tmp.c_str());
    Raise(err::kFileIO, "cannot close '" + tmp + "'");
  }
  if (std::rename(tmp.c_str(), pFile.c_str()) != 0) {
    int e = errno;
    std::remove(tmp.c_str());
    Raise(err::kPathFileAccess, "cannot replace '" + pFile + "': " + std::strerror(e));
  }
}

std::string hReadFile(const std::string& pFile) { return fileio::ReadFile(pFile); }

void hStructureFileSave(const StructurePtr& pStructure, const std::string& pFile) { pStructure->SAVE(pFile); }

StructurePtr hStructureFileLoad(const std::string& pFile) {
  auto st = cls_Structure::New();
  st->LOAD(pFile);
  return st;
}

StructurePtr hStructureFromScript(std::string_view pText) {
  auto st = cls_Structure::New();
  st->PARSE(pText);
  return st;
}

StructurePtr hStructureCopy(const StructurePtr& pStructure) {
  return pStructure ? hEntryFromText(hEntryText(pStructure)) : nullptr;
}

}  // namespace rykel
