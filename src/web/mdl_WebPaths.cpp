#include "web/mdl_WebPaths.h"

#include <array>
#include <filesystem>
#include <string_view>
#include <vector>

#include "frame/Text.h"

namespace rykel::mdl_WebPaths {

namespace fs = std::filesystem;

namespace {

// The parts of a request path, or false when one of them could lead anywhere but down.
bool hSplit(const std::string& pPath, std::vector<std::string>& rParts, bool& rFolder) {
  if (pPath.empty() || pPath[0] != '/' || pPath.find_first_of(std::string_view("\0\\", 2)) != std::string::npos)
    return false;
  rParts = text::Split(std::string_view(pPath).substr(1), "/");
  rFolder = pPath.size() == 1 || pPath.back() == '/';
  if (rFolder && !rParts.empty()) rParts.pop_back();  // the empty part after the final "/"
  for (const auto& part : rParts)
    if (part.empty() || part[0] == '.') return false;
  return true;
}

// The real path of pFile when it is a regular file (or a folder with index.html) inside pRealRoot.
std::string hInside(const fs::path& pFile, const std::string& pRealRoot, bool pFolderIndex) {
  std::error_code ec;
  fs::path file = pFile;
  if (pFolderIndex && fs::is_directory(file, ec)) file /= "index.html";
  if (!fs::is_regular_file(file, ec)) return {};
  const std::string real = fs::canonical(file, ec).string();
  return !ec && real.starts_with(pRealRoot) ? real : std::string();
}

bool hEndsWithCaseBlind(const std::string& s, std::string_view pEnd) {
  return s.size() >= pEnd.size() && text::UCase(s.substr(s.size() - pEnd.size())) == text::UCase(std::string(pEnd));
}

}  // namespace

Target RESOLVE(const std::string& pRoot, const std::string& pPath) {
  std::vector<std::string> parts;
  bool folder = false;
  if (!hSplit(pPath, parts, folder)) return {};
  std::error_code ec;
  const std::string realRoot = fs::weakly_canonical(pRoot, ec).string() + "/";
  if (ec) return {};
  std::string rel;
  for (const auto& part : parts) rel += (rel.empty() ? "" : "/") + part;
  if (hEndsWithCaseBlind(rel, ".kel")) return {};

  const fs::path root(pRoot), pages = root / "pages";
  std::string page = rel;
  if (!folder && hEndsWithCaseBlind(page, ".html")) page.resize(page.size() - 5);
  std::vector<std::string> pageNames;
  if (!folder && !page.empty()) pageNames.push_back(page);
  if (folder || page == rel) pageNames.push_back(page.empty() ? "index" : page + "/index");
  for (const auto& name : pageNames)
    if (!hInside(pages / (name + ".kel"), realRoot, false).empty()) return {Target::Kind::kPage, name};

  if (rel.empty()) return {};
  std::vector<fs::path> files{root / "static" / rel, pages / rel};
  if (parts.size() == 1) files.push_back(root / rel);
  for (size_t i = 0; i < files.size(); ++i) {
    // files at the top of the site are served themselves; their folders hold no site files
    std::string real = hInside(files[i], realRoot, i < 2);
    if (!real.empty()) return {Target::Kind::kFile, real};
  }
  return {};
}

std::string CONTENTTYPE(const std::string& pFile) {
  struct Type {
    const char* extension;
    const char* type;
  };
  static constexpr std::array<Type, 24> kTypes{{
      {".HTML", "text/html; charset=utf-8"},
      {".HTM", "text/html; charset=utf-8"},
      {".CSS", "text/css; charset=utf-8"},
      {".JS", "text/javascript; charset=utf-8"},
      {".MJS", "text/javascript; charset=utf-8"},
      {".JSON", "application/json; charset=utf-8"},
      {".MAP", "application/json; charset=utf-8"},
      {".TXT", "text/plain; charset=utf-8"},
      {".MD", "text/markdown; charset=utf-8"},
      {".CSV", "text/csv; charset=utf-8"},
      {".XML", "application/xml; charset=utf-8"},
      {".SVG", "image/svg+xml; charset=utf-8"},
      {".PNG", "image/png"},
      {".JPG", "image/jpeg"},
      {".JPEG", "image/jpeg"},
      {".GIF", "image/gif"},
      {".WEBP", "image/webp"},
      {".ICO", "image/x-icon"},
      {".WOFF", "font/woff"},
      {".WOFF2", "font/woff2"},
      {".PDF", "application/pdf"},
      {".XLSX", "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet"},
      {".WASM", "application/wasm"},
      {".ZIP", "application/zip"},
  }};
  const std::string extension = text::UCase(fs::path(pFile).extension().string());
  for (const auto& t : kTypes)
    if (extension == t.extension) return t.type;
  return "application/octet-stream";
}

}  // namespace rykel::mdl_WebPaths
