// Small helpers shared by the C++ tests.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "frame/Convert.h"
#include "frame/Error.h"
#include "frame/Notifier.h"
#include "structure/cls_Structure.h"

namespace rykel {

// The build folder rykel_tests lives in, and the source folder that build was configured from (read
// from its CMakeCache.txt), so that no path is compiled into the tests.
inline const std::string& BinaryDir() {
  static const std::string dir = std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
  return dir;
}
inline const std::string& SourceDir() {
  static const std::string dir = [] {
    std::ifstream cache(BinaryDir() + "/CMakeCache.txt");
    const std::string key = "CMAKE_HOME_DIRECTORY:INTERNAL=";
    for (std::string line; std::getline(cache, line);)
      if (line.starts_with(key)) return line.substr(key.size());
    return std::string(".");
  }();
  return dir;
}

// Ids as one text "1,2,3", for comparing whole id lists.
template <class List>
std::string Ids(const List& ids) {
  std::string out;
  for (const auto& id : ids) out += (out.empty() ? "" : ",") + CStr(id);
  return out;
}

// Sets each name to the value after it in pTarget (a structure, or a KEL's VARIABLES or SETTINGS),
// in the order given: LetAll(*s, "A", 1, "B.C", "x").
template <class Target, class Value, class... More>
void LetAll(Target& pTarget, const char* pName, const Value& pValue, const More&... pMore) {
  pTarget.ITEM_LET(pName, pValue);
  if constexpr (sizeof...(More) > 0) LetAll(pTarget, pMore...);
}

// Runs f and returns the error it raised ("" and number 0 when none).
template <class F>
std::pair<int, std::string> Failure(F&& f) {
  try {
    f();
  } catch (const Error& e) { return {e.number, e.description}; }
  return {0, ""};
}

// Whether f raised the error pNumber with pPart in its text; the failure says what came instead.
template <class F>
testing::AssertionResult Raises(int pNumber, std::string_view pPart, F&& f) {
  auto [number, text] = Failure(std::forward<F>(f));
  if (number == pNumber && text.find(pPart) != std::string::npos) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "raised " << number << " \"" << text << "\", not " << pNumber << " with \""
                                     << pPart << "\"";
}

// A new structure holding the names and values in their order: Struct({{"TITLE.SHOW", true}}).
inline StructurePtr Struct(std::initializer_list<std::pair<const char*, Variant>> pItems) {
  auto s = cls_Structure::New();
  for (const auto& [name, value] : pItems) s->ITEM_LET(name, value);
  return s;
}

// The error number f raised (0 when none).
template <class F>
int FailureNumber(F&& f) {
  return Failure(std::forward<F>(f)).first;
}

// A fresh folder under the system's temporary folder, removed with everything in it (read-only
// parts included) when the test ends.
struct TempDir {
  std::filesystem::path path;
  TempDir() {
    std::string t = (std::filesystem::temp_directory_path() / "rykel_test_XXXXXX").string();
    if (::mkdtemp(t.data()) == nullptr)
      throw std::filesystem::filesystem_error("mkdtemp", t, std::error_code(errno, std::generic_category()));
    path = t;
  }
  ~TempDir() {
    std::error_code ec;
    std::filesystem::permissions(path, std::filesystem::perms::owner_all, std::filesystem::perm_options::add, ec);
    for (const auto& e : std::filesystem::recursive_directory_iterator(path, ec))
      std::filesystem::permissions(e.path(), std::filesystem::perms::owner_all, std::filesystem::perm_options::add, ec);
    std::filesystem::remove_all(path, ec);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  std::string operator/(const std::string& name) const { return (path / name).string(); }
  size_t Count() const { return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(path), {})); }
};

// The bytes of a file; "" when it cannot be read.
inline std::string ReadAll(const std::filesystem::path& pPath) {
  std::ifstream in(pPath, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// While it lives, the library's notices are answered "OK" without a word; the default comes back
// at the end.
struct QuietNotices {
  QuietNotices() {
    SetNotifier([](const Notification&) { return std::string("OK"); });
  }
  ~QuietNotices() { SetNotifier({}); }
  QuietNotices(const QuietNotices&) = delete;
  QuietNotices& operator=(const QuietNotices&) = delete;
};

}  // namespace rykel
