// mdl_KELStructText: the one place where the interpreter turns a structure into text (output,
// ENCODE) or between a structure and its serialized text.
#pragma once

#include <string>
#include <string_view>

#include "frame/Variant.h"

namespace rykel::mdl_KELStructText {

enum class Form { Text, Html, Short };

// The structure's text form; an object that is not a structure gives "".
std::string Text(const Variant& pObject, Form pForm);

}  // namespace rykel::mdl_KELStructText
