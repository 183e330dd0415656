// mdl_KELData: values that come from data travel through a page as data. The interpreter scans
// a command's result again and runs the commands in it; a value read from a database or output
// with {DATA:name} must never be run, whatever it holds. So its "{" and "}" (and a "$" that script
// protection would turn into a command's "{$" or "$}") are written as marks while the page is
// made, and the marks become the characters again when the outermost PROCESS ends.
//
// A mark is U+E000, the interpreter's key (ten digits drawn from the system's entropy source when
// it first outputs data) and one code digit:
//   mark := U+E000 key code        code := "1" for "{" | "2" for "}" | "3" for "$"
// A text that does not hold the key, and every page of an interpreter that never output data,
// comes out unchanged; a template cannot make a mark without learning the key, and a forged one
// only yields a plain brace in the finished page.
#pragma once

#include <string>
#include <string_view>

namespace rykel::mdl_KELData {

// A new key: U+E000 and ten random digits.
std::string NewKey();
// pText with its data characters written as marks under pKey.
std::string Encode(std::string_view pText, std::string_view pKey);
// Turns every mark of pKey in rText, from byte pFrom on, back into its character.
void Decode(std::string& rText, std::string_view pKey, size_t pFrom = 0);

}  // namespace rykel::mdl_KELData
