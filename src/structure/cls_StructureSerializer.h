// cls_StructureSerializer: the serialized text form of a structure (the text of PHP's serialize for
// nested arrays), written and read straight on the manager's node table.
//
// Grammar of what the writer produces (no separators between the pieces, strings never escaped):
//   node   -> "a:" used-count ":{" { key value } "}"
//   key    -> "s:" chars ":\"" name "\";"               every item, numbered ones with name ""
//   value  -> node                                        a sub-structure
//           | "n:0;"                                      Null
//           | "i:" decimal ";"                            Integer, Long
//           | "d:" number ";"                             Single, Double, Currency
//           | "b:" ("1" | "0") ";"                        Boolean
//           | "s:" chars ":\"" text "\";"                 String; a Date as "yyyy-mm-dd HH:MM:SS"
//           | "i:0;"                                      Empty, Object, Error
//   chars  -> the length of the text in characters (UTF-8 code points), not bytes; text that is
//             not well-formed UTF-8 is counted in bytes
//   number -> PHP's shortest round-trip form: "0.1", "100", "-0", "1.0E+25", "1.5E-7", "INF",
//             "-INF", "NAN"; exponent form when the decimal exponent is above 17 or below -4
//
// The reader also takes what PHP writes:
//   value  -> "N;"                                        null
//           | "O:" chars ":\"" class "\":" count ":{" { key value } "}"   an object's properties
//   key    -> "i:" decimal ";"                            a numbered item at that index
//   chars  -> a byte count, when the character count does not end on "\";"
// A key "" appends a numbered item; a string value whose 5th and 8th characters are "-" becomes a
// Date when it reads as one. Nesting deeper than MaxDepth() arrays raises "Serialized data invalid".
//
// Threads: the depth counter and the cache of names are per thread; a serializer works on one
// manager of that thread.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "frame/Variant.h"
#include "frame/mdl_Limits.h"
#include "structure/cls_StructureManager.h"

namespace rykel {

class cls_StructureSerializer {
 public:
  static int MaxDepth() { return static_cast<int>(mdl_Limits::Get(mdl_Limits::kSerializedDepth)); }

  explicit cls_StructureSerializer(cls_StructureManager& pManager) : m_(pManager) {}

  // The serialized text of the node and its subtree. Raises kInvalidData when the tree is nested
  // deeper than MaxDepth() (a structure that holds itself is the usual cause).
  std::string Write(int32_t pID);

  // Empties the node, then fills it from the text: compact text ("QS...") goes to the compact
  // reader, blank text leaves the node empty, anything else must be one array or object followed
  // by nothing but blanks and line breaks. Resets the thread's depth counter first.
  // Raises kInvalidData with "Serialized data invalid" or "Invalid data type found: " + letter.
  void Unserialize(int32_t pID, std::string_view pText);

  // Reads one value at rPos (a byte offset) and moves rPos past it. An array or object appends its
  // items to the node and gives Empty; a scalar is returned and the node is left alone.
  Variant ReadValue(int32_t pID, std::string_view pText, int64_t& rPos);

  // Reads a flat record (named scalar items only, as SerializedRecordWriter writes them) without
  // a structure: pItem gets each item's name atom and value, in order. False when the text is not
  // of that shape, or is damaged, after pItem may have had some items: such a text is for
  // Unserialize, which also names what is wrong with it.
  bool ReadFlat(std::string_view pText, const std::function<void(uint32_t pAtom, Variant&& pValue)>& pItem);

  // The reader's nesting depth on this thread (reset by Unserialize and after every error).
  static int& Depth();
  // Drops what the text form keeps for the manager on this thread (its names' key pieces and
  // atoms); the manager's destructor calls it.
  static void Forget(const cls_StructureManager* pManager);

  // The PHP text of a double ("0.1", "1.0E+25", "-0", "INF"); writes into buf, returns the length.
  // REQUIRES: buf holds at least 32 characters.
  static size_t DoubleText(double pValue, char* buf);
  // The length of a text as the writer counts it: code points of well-formed UTF-8, bytes of
  // anything else (the reader tries characters first, then bytes).
  static size_t CharCount(std::string_view pText);

 private:
  void hUnserialize(int32_t pID, std::string_view pText);

  cls_StructureManager& m_;
};

// Writes flat records (named scalar items, no sub-structures) as the very text SERIALIZE gives for
// a structure holding those items in that order, without building the structure: for a stream of
// rows that only travel on as text. The buffer is kept from record to record.
//
//   std::string key = SerializedRecordWriter::Key("name");   // once per name
//   w.Begin(1); w.Item(key, Variant("Anna")); std::string_view text = w.End();
class SerializedRecordWriter {
 public:
  // The key piece of an item name, upper-cased as a structure stores it.
  static std::string Key(std::string_view pName);
  // Starts a record of pItems items; REQUIRES: that many Item calls follow, each name once.
  void Begin(size_t pItems);
  void Item(std::string_view pKey, const Variant& pValue);
  // An item holding the text pText: the same as Item with a String of it, without making one.
  void Text(std::string_view pKey, std::string_view pText);
  // The record's text, valid until the next Begin.
  std::string_view End();

 private:
  std::string buf_;
  size_t len_ = 0;
};

}  // namespace rykel
