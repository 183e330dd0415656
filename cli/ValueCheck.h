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

// Checks pValue against pField's type (the rules: database/mdl_DBValueFit.h). Every value fits
// when blank (it clears the field).
FittedValue FitValue(const rykel::cls_DBField& pField, std::string_view pValue);

// FitValue's value, or the end of the command with the usage error "FIELD: 'value' is not a
// DATE ..." when the value does not fit.
std::string CheckValue(const rykel::cls_DBField& pField, std::string_view pValue);

}  // namespace rykel::cli
