// cls_KELState: the run state of one interpreter, shared by its executor and front end and kept
// out of cls_KEL's public face. cls_KEL owns one (cls_KEL::hState) for its whole life; nothing in
// it is meant for hosts. It knows no interpreter: what it reads and writes of one (SETTINGS,
// RECURSIONS) is handed to it.
//
// Lifetimes: the settings (run), counters (steps, errorsListed, cutShort) and the quit flag belong
// to one outermost PROCESS (or a host's EXECUTE) and are reset when the next starts; depth and nest
// count the levels running now; calls counts for the interpreter's life.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "frame/Variant.h"
#include "structure/cls_Structure.h"

namespace rykel {

struct cls_KELState {
  // A SWITCH in progress: the value compared and whether a CASE matched yet.
  struct SwitchFrame {
    Variant value;
    bool matched = false;
  };
  // Where the running command comes from, for ERRORPLACES.
  struct Source {
    std::string file;
    std::shared_ptr<const std::string> text;  // the file's (or call's) original text
    size_t offset = 0;                        // byte offset of the running command in text
  };
  // The settings the interpreter itself reads, taken from SETTINGS when an outermost PROCESS (or a
  // host's EXECUTE) starts; nested levels use them as they were then.
  struct RunSettings {
    int32_t commandsMax = 100, nestingMax = 50, errorsMax = 10000;
    size_t outputMax = size_t{64} << 20;
    size_t valueMax = size_t{16} << 20;  // SYS.VALUE.MAX, at most outputMax
    int64_t stepsMax = 10000000;
    bool html = false, debug = false, noexec = false, confined = false, autoescape = false;
  };

  // A boolean setting; pDefault when missing or not a truth value.
  static bool Setting(const StructurePtr& pSettings, std::string_view pKey, bool pDefault);
  // A count setting: pDefault when missing, not a number or below 1; at most 2e9.
  static int32_t SettingInt(const StructurePtr& pSettings, std::string_view pKey, int32_t pDefault);
  // Takes run from the interpreter's SETTINGS and starts the counters of an outermost run.
  void ReadSettings(const StructurePtr& pSettings);
  // Marks the run cut short (a bound was hit) and hands back the error text recorded for it.
  std::string Cut(std::string pErrorText) {
    cutShort = true;
    return pErrorText;
  }
  // Brings the interpreter's RECURSIONS up to calls. Commands only count; the structure is written
  // when a host, callback or module can look at it (outermost ends, events, module commands).
  void ShowCalls(const StructurePtr& pRecursions);

  RunSettings run;
  bool quit = false;
  bool cutShort = false;
  int32_t errorsListed = 0;  // ERRORLIST lines of this outermost PROCESS
  int64_t calls = 0;         // the count mirrored in RECURSIONS
  int64_t callsShown = 0;    // the count RECURSIONS holds now
  int64_t steps = 0;         // commands and loop rounds since the outermost start
  // The IF chain record for the command that comes next: the counter value it is meant for (0:
  // none) and whether a branch was taken. One record suffices: the counter only grows.
  int64_t chainAt = 0;
  bool chainTaken = false;
  std::vector<SwitchFrame> switches;  // SWITCH blocks in progress
  SwitchFrame looseSwitch;            // set by a SWITCH without block
  int depth = 0;                      // nested PROCESS levels
  int nest = 0;                       // nested EXECUTE and expression levels
  int rawDepth = 0;                   // parameters being evaluated: their output is no page output
  struct RawScope {
    cls_KELState& st;
    explicit RawScope(cls_KELState& pState) : st(pState) { ++st.rawDepth; }
    ~RawScope() { --st.rawDepth; }
  };
  std::vector<Source> sources;
  std::string master;   // MASTER template file, applied at the end
  std::string dataKey;  // key of the data marks; "" until data is output
  Source masterSource;  // where the MASTER command stood
  std::string currentCommand;
  std::map<std::string, std::chrono::steady_clock::time_point, std::less<>> traceStarts;
};

}  // namespace rykel
