// cls_KELFrontEnd: whole templates. Finds each command ("{" to its matching "}"), has it executed
// and puts its text in its place; protects script and style sections; finds template files; checks
// the named parameters of module commands.
//
// The scan resumes where the replaced command began: a result without "{" is appended to the output
// and the scan goes on after the command; only a result holding "{" is scanned again in front of
// the rest of the text (kept apart from it, so the rest is never copied; a command that begins in
// the result and ends in the rest is joined alone). An error text ("ERR:...") is never scanned
// again. So a text with few commands costs time linear in its size.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "structure/cls_Structure.h"

namespace rykel {

class cls_KEL;

class cls_KELFrontEnd {
 public:
  // PROCESS. pFile names the template file the text comes from ("" for text handed in); with
  // pNewSource the text becomes the place errors are reported in (outermost calls and includes).
  static std::string Process(cls_KEL& k, std::string_view pText, const StructurePtr& pData, const std::string& pFile,
                             bool pNewSource);
  // Process with the output appended to rOut (loops collect their rounds without copies); the
  // output limit counts only what this call appends.
  static void ProcessAppend(cls_KEL& k, std::string_view pText, const StructurePtr& pData, const std::string& pFile,
                            bool pNewSource, std::string& rOut);
  static bool Encapsulate(std::string& rData, std::string_view pStartTag, std::string_view pEndTag);
  static bool SyntaxCheck(cls_KEL& k, const StructurePtr& rValue, std::string_view pParaWanted);
  static std::string Locate(cls_KEL& k, std::string_view pFile, std::string_view pDefault);
  static std::vector<std::string> LocateAll(cls_KEL& k, std::string_view pFile);
  // The folders a confined template may read: its DIRECTORIES entries ("" as ".").
  static std::vector<std::string> ConfinedRoots(cls_KEL& k);
  // INCLUDE: name (".kel" added when it has no extension), then "pages/" + name, then "inc/" + name;
  // processes the file found. Records "Could not include '<name>'" and yields "" when none is found.
  static std::string Include(cls_KEL& k, std::string_view pName, const StructurePtr& pData);
  // The path Include would read for a name ("" when none is found); nothing is read or recorded.
  static std::string FindTemplate(cls_KEL& k, std::string_view pName);
  // From the "{" at pOpen, the index of the "}" that ends the command (pText.size() when none
  // does). Quotes jump to their partner; a quote without one sets rUnclosed to the quote character
  // and gives the quote's index (rUnclosed is 0 otherwise). The one command scan of PROCESS.
  static size_t MatchCommand(std::string_view pText, size_t pOpen, char& rUnclosed);
  // Finds (as Include does) and reads a template file. Records "Could not include '<name>'" and
  // returns false when it is missing or cannot be read.
  static bool hLoad(cls_KEL& k, std::string_view pName, std::string& rPath, std::string& rText);
};

}  // namespace rykel
