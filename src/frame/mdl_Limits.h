// mdl_Limits: the bounds that keep broken or hostile input from exhausting the stack, memory or
// time. Each is a named, process-wide setting with a default that ordinary data never meets;
// going past one raises a clear error instead of crashing.
//
//   STRUCTURE.DEPTH.MAX   1000        nesting of structures in the script form (SCRIPT, PARSE,
//                                     SAVE, LOAD), the text forms and the whole-tree operations
//   SERIALIZED.DEPTH.MAX  100         nesting in the serialized and compact forms (reading and
//                                     writing; the serialized form's own rule is 100)
//   INPUT.SIZE.MAX        1073741824  bytes of one text read: a file (LOAD, DBOPEN, INCLUDE, ...)
//                                     or a text handed to PARSE, UNSERIALIZE or PROCESS
//   IMPORT.LINE.MAX       16777216    bytes of one record of a CSV or TSV file, or one line of a
//                                     JSONL file, that the database import reads
//
// The depths are capped at 5000 (deeper recursion would risk the thread's stack). The template
// interpreter has its own per-interpreter settings (SYS.COMMANDS.MAX, SYS.NESTING.MAX,
// SYS.LOOP.MAX, SYS.OUTPUT.MAX: see cls_KEL.h). Reads are one relaxed atomic load: cheap on
// every call, safe from any thread.
//
//   rykel::mdl_Limits::LIMIT_LET("INPUT.SIZE.MAX", 64 << 20);   // 64 MB per text
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace rykel {
namespace mdl_Limits {

enum Limit : int { kStructureDepth = 0, kSerializedDepth, kInputSize, kImportLine, kLimitCount };

// The current value of a limit (for the code that enforces it).
int64_t Get(Limit pLimit);
// The value of a limit by name (case-blind). Raises 5 for an unknown name.
int64_t LIMIT_GET(std::string_view pName);
// Sets a limit by name. Raises 5 for an unknown name or a value below 1 or above its cap.
void LIMIT_LET(std::string_view pName, int64_t pValue);
// Every limit's name, in a fixed order.
std::vector<std::string> LIMITS();
// Puts every limit back to its default.
void RESET();

// Raises 1000 "<pWhat> is larger than INPUT.SIZE.MAX (n bytes)" when pSize is over the limit.
void CheckInputSize(uint64_t pSize, std::string_view pWhat);
// Unused item slots that numbered keys ("i:1024", "[1024]") may open while one text of pBytes
// bytes is read: 1,048,576 plus 16 per byte, enough for any honest text and bounded (in memory per
// byte of input) for hostile ones. The serialized, compact, script and encoded readers share it.
int64_t UnusedSlotBudget(uint64_t pBytes);
// The message for a depth past a limit: "<pWhat> nested deeper than n levels".
std::string DepthMessage(std::string_view pWhat, Limit pLimit);

}  // namespace mdl_Limits
}  // namespace rykel
