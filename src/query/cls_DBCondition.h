// cls_DBCondition: one field condition of the query language, read once and tested against many
// values. The one reader behind cls_DB::ENTRYQUERY (and so every filter) and cls_DBTool::FILTER,
// so the two cannot disagree.
//
// A condition is an operator text and a value. READ fills in what the caller left out:
//   - no operator and a text value with a blank: the first word is the operator ("BEGINS m");
//     the value "*" is never split;
//   - still no operator: leading characters of "$=<>![]" move from the value to the operator
//     ("$>=5" is the operator "$>=" and the value 5);
//   - a range operator ("[]", "[[", "][", "]]") takes its bounds from the first and last
//     blank-separated parts of the value ("[] 1 10");
//   - still no operator: "$==" for a text value, "==" otherwise.
// The operator's leading flags, in any order: "$" case-blind (both sides upper-cased), "!" negate.
// Flags without an operator ("!meier") stand before the default operator ("!$==").
//
// PREPARE then fixes the value type the condition compares in (a field type code), converting the
// bounds to that type for the comparing operators. TEST answers for one value.
//
// Comparisons: numbers, booleans and dates compare as numbers; texts byte by byte (code point
// order). An empty value is less than every other value and equal only to an empty bound. Under a
// date bound only the date part of the tested value counts. An unknown operator, and a bound that
// does not convert to the type ("> abc" on a number), match nothing, with or without "!".
//
//   cls_DBCondition c;  c.READ("", Variant("$BEGINS m"));  c.PREPARE(ID_DBFieldType_String);
//   c.TEST(Variant("Meier"));   // true
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "frame/Variant.h"

namespace rykel {

class cls_DBField;

class cls_DBCondition {
 public:
  // The operators proper (without flags). ORDER kOperatorWords, kOperatorKinds.
  enum class Op : uint8_t {
    Unknown,
    Equal,            // "=" "=="
    NotEqual,         // "<>"
    Less,             // "<"
    Greater,          // ">"
    AtLeast,          // ">=" "=>"
    AtMost,           // "<=" "=<"
    Begins,           // "BEGINS" "?..."
    Ends,             // "ENDS" "...?"
    Contains,         // "CONTAINS" "...?..."
    ContainsWord,     // "CONTAINSWORD"
    ContainsOne,      // "CONTAINSONE"
    ContainsOneWord,  // "CONTAINSONEWORD"
    In,               // "IN"
    RangeClosed,      // "[]"  lo <= x <= hi
    RangeLowClosed,   // "[["  lo <= x <  hi
    RangeOpen,        // "]["  lo <  x <  hi
    RangeHighClosed,  // "]]"  lo <  x <= hi
    Count
  };
  // How an operator treats the value.
  enum class Kind : uint8_t { None, Compare, Range, Text, List };

  // Reads the operator and value as described above. pOp may be "".
  void READ(std::string_view pOp, const Variant& pValue);
  // Fixes the comparison type (enm_DBFieldType code) and prepares bounds, flags and lists. The
  // field's conversion is used when given, else the type's own. Type 4 (structure) and "IN" keep
  // the bounds as they are. REQUIRES: READ was called.
  void PREPARE(int32_t pType, const cls_DBField* pField = nullptr);

  // True when the value meets the condition (after "!"). pUpper, when given, is the value's text
  // already upper-cased (spares the case mapping in case-blind tests).
  bool TEST(const Variant& pValue, const std::string* pUpper = nullptr) const;

  // The operator text as read, flags included ("$==").
  const std::string& OPERATORTEXT() const { return opText_; }
  Op OPERATOR() const { return op_; }
  Kind KIND() const { return kind_; }
  bool CASEBLIND() const { return caseBlind_; }
  bool EXPECTED() const { return expected_; }
  // The bounds as read (before PREPARE) or as prepared (after).
  const Variant& LOWER() const { return lo_; }
  const Variant& UPPER() const { return hi_; }
  // False when a bound did not convert to the comparison type.
  bool VALID() const { return valid_; }
  // True when the test needs the value's text (text and list operators, text comparisons).
  bool NEEDSTEXT() const { return mode_ == Mode::Text || kind_ == Kind::Text || kind_ == Kind::List; }

  // What is wrong with the condition as read and prepared, worded to follow the field's name
  // ("unknown operator 'FOO'", "'abc' is not a LONG"); "" when it reads. REQUIRES: PREPARE was called.
  std::string PROBLEM() const;

  // The condition a user means by a typed text: the text itself when it leads with an operator
  // the reader knows ("BEGINS m", ">=10", "!Kiel", "= Frankfurt am Main"), else the whole text
  // compared case-blind for equality ("$== Frankfurt am Main"), blanks included.
  static std::string USERTEXT(const std::string& pValue);

  // The operator proper of an operator word without flags ("BEGINS", "=>"); Unknown when none.
  static Op hLookup(std::string_view pWord);
  // The flags "$" and "!" at the front of an operator text, and where the operator proper starts.
  static size_t hFlags(std::string_view pOp, bool* rCaseBlind, bool* rNegate);
  // The value type code FILTER compares a lone value in (the field type it would be stored in).
  static int32_t hTypeOf(const Variant& pValue);

 private:
  enum class Mode : uint8_t { Text, Number, Date };
  std::string_view hCompareText(const Variant& pValue, const std::string* pUpper, std::string& rBuffer) const;
  int hCompare(const Variant& pValue, const std::string* pUpper, const Variant& pBound, double pBoundNum,
               bool* rComparable) const;
  bool hTestText(std::string_view pText, const Variant& pValue) const;

  std::string opText_;
  Op op_ = Op::Unknown;
  Kind kind_ = Kind::None;
  Variant lo_, hi_;
  double loNum_ = 0, hiNum_ = 0;
  std::string loText_;              // text and list operators: the value as text
  std::vector<std::string> items_;  // list operators
  int32_t type_ = 1;
  Mode mode_ = Mode::Text;
  bool caseBlind_ = false;
  bool expected_ = true;
  bool valid_ = true;
};

}  // namespace rykel
