// ValueCheck: whether a value typed on the command line fits its field's type. The library stores
// what it is given after its own conversions (a date that does not exist is kept as text, 12.7 in
// a whole-number field becomes 13, any word is a yes/no value); the program refuses such values
// instead, unless the user asks for the library's leniency (--lenient).
#pragma once

#include <string>
#include <string_view>

#include "database/cls_DBField.h"

namespace rykel::cli {

// A value checked against its field: the text to store, or what is wrong with it.
struct FittedValue {
  std::string value;    // what to hand to the library
  std::string problem;  // "" when the value fits, else worded to follow "'value' ": "is not a DATE"
};

// Checks pValue against pField's type. Every value fits when empty (it clears the field). Per type:
//   DATE              a date that exists: yyyy-mm-dd or d.m.yyyy, optionally with a time of day
//   LONG, ENUMNUMERIC and REFERENCENUMERIC keys
//                     a whole number
//   DOUBLE            a number ("1.5", "1,5", "-2E3")
//   BOOL              a yes/no word (any case): true false ja nein yes no wahr falsch j n y t f x
//                     1 0 -1; stored as True or False (the library's own truth conversion would
//                     read "nein" as true)
//   ENUM, ENUMNUMERIC a member's key or display text, stored as the key (a field without members
//                     takes any value)
//   ENUMMULTI         a "," list of such members, stored as their keys joined with ","
//   STRING, STRUCT, REFERENCE   anything
FittedValue FitValue(const rykel::cls_DBField& pField, std::string_view pValue);

// FitValue's value, or the end of the command with the usage error "FIELD: 'value' is not a
// DATE ..." when the value does not fit.
std::string CheckValue(const rykel::cls_DBField& pField, std::string_view pValue);

}  // namespace rykel::cli
