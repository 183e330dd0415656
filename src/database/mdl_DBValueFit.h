// mdl_DBValueFit: whether a value given as text fits a field's type, for the places that take
// values from users and files (the program's assignments, the import). The store itself keeps
// what it is given after its own conversions (a date that does not exist stays text, 12.7 in a
// whole-number field becomes 13, any word is a yes/no value); these callers refuse such values
// instead and word the refusal themselves.
//
// Per type:
//   DATE              a date that exists: yyyy-mm-dd or d.m.yyyy, optionally with a time of day
//   LONG, ENUMNUMERIC and REFERENCENUMERIC keys
//                     a whole number
//   DOUBLE            a number ("1.5", "1,5", "-2E3")
//   BOOL              a yes/no word (any case): true false ja nein yes no wahr falsch j n y t f x
//                     1 0 -1; given as True or False
//   ENUM, ENUMNUMERIC a member's key or display text, given as the key (a field without members
//                     takes any value)
//   ENUMMULTI         a "," list of such members, given as their keys joined with ","
//   STRING, STRUCT, REFERENCE   anything
//
//   auto fit = mdl_DBValueFit::FIT(field, "31.2.2024");  // fit.problem == Problem::NotDate
#pragma once

#include <string>
#include <string_view>

#include "database/cls_DBField.h"

namespace rykel::mdl_DBValueFit {

enum class Problem { None, NotMember, NotDate, NotWhole, NotNumber, NotYesNo };

struct Result {
  std::string value;                // what to store (the value as given, or its key / True / False)
  Problem problem = Problem::None;  // why it does not fit
  std::string member;               // NotMember: the (trimmed) part of the value that names no member
  bool isNumber = false;            // a number field's value that fits: number holds it as read
  bool isDate = false;              // a date field's value without blanks around it: number is its date
  double number = 0;
};

// Checks pValue against pField's type (see the header comment); a blank value is checked as any.
Result FIT(const cls_DBField& pField, std::string_view pValue);

// Why a value FIT refused does not fit, worded to follow "'value' " ("is not a DATE (a date that
// exists: yyyy-mm-dd or d.m.yyyy)", "is not a member of the ENUM field (a, b)"); "" when it fits.
std::string PROBLEMTEXT(const cls_DBField& pField, std::string_view pValue, const Result& pFit);

// "True" / "False" for a yes/no word (any case, blanks around it ignored), "" for any other text.
// pStrict takes the words only, not the letters nor 1 / 0 / -1.
std::string YESNO(std::string_view pText, bool pStrict = false);

// A date with a day, as the date reader reads it (its time-only form is no date); never a number
// such as "1.5".
bool ISDATE(std::string_view pText);

}  // namespace rykel::mdl_DBValueFit
