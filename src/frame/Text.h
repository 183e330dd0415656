// Text helpers over UTF-8: lengths, cuts and searches count characters (code points), never bytes.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace rykel::text {

// Number of code points. Invalid bytes count as one character each.
size_t Len(std::string_view s);
// Byte offset of the code point with the given 0-based index (s.size() when past the end).
size_t ByteOffset(std::string_view s, size_t chars);
// The first / last n characters.
std::string_view Left(std::string_view s, size_t n);
std::string_view Right(std::string_view s, size_t n);
// Characters from the 1-based start, n of them (all when n is npos).
std::string_view Mid(std::string_view s, size_t start, size_t n = std::string_view::npos);
// 1-based character position of needle at or after the 1-based start; 0 when absent.
size_t InStr(size_t start, std::string_view hay, std::string_view needle);

// Unicode simple case mapping ("ä" -> "Ä", "ß" stays "ß"); ASCII text takes a fast path.
std::string UCase(std::string_view s);
std::string LCase(std::string_view s);
// Upper-cases in place; returns false (and leaves s) when it is already upper case.
void UCaseInPlace(std::string& s);
bool IsAscii(std::string_view s);
// Bytes of the valid UTF-8 character at byte offset i (1 to 4), or 0 when the bytes there are not
// one (a stray byte, an overlong form, a surrogate, a cut sequence, Latin-1 text).
size_t Utf8CharLen(std::string_view s, size_t i);
// True when the whole text is valid UTF-8.
bool IsUtf8(std::string_view s);

// Blanks only (not tabs or line breaks), as the classic runtime trims.
std::string_view Trim(std::string_view s);
std::string_view LTrim(std::string_view s);
std::string_view RTrim(std::string_view s);

// Split at every delimiter. An empty text gives no pieces; an empty delimiter gives the whole text.
std::vector<std::string> Split(std::string_view s, std::string_view delim);
// "&", "<", ">" and '"' as entities, line breaks (CR LF, CR or LF) as "<br>". The strict form,
// for text that a template may process again, also writes "'", "{" and "}" as entities and breaks
// as "<br/>".
std::string HtmlEscape(std::string_view s);
void AppendHtmlEscaped(std::string& out, std::string_view s, bool pStrict);
// "&", "<", ">", '"' and "'" as entities and nothing else (line breaks and braces stay): a value
// put into HTML text or a quoted attribute.
std::string HtmlEscapeText(std::string_view s);
// Percent-encoding of every byte but the unreserved "A-Z a-z 0-9 - _ . ~" (a blank is "%20"):
// safe in a URL's path segment and query value alike.
std::string UrlEncode(std::string_view s);
// Every occurrence of find replaced by with (left to right, non-overlapping).
std::string Replace(std::string_view s, std::string_view find, std::string_view with);

}  // namespace rykel::text
