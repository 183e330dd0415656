// mdl_WebPaths: which file of a site folder a request path names, and the content type it is sent
// with. Nothing outside the site is ever named: a path with "." or ".." parts (after the decoding
// of "%2e"), an empty part ("//etc"), a backslash, a NUL byte or a part that starts with "." (hidden
// files such as .rykel-build) names nothing, and neither does a file whose real path (links
// followed) lies outside the site's real path.
//
//   auto t = mdl_WebPaths::RESOLVE("site", "/team/");   // kPage "team/index"
//   auto u = mdl_WebPaths::RESOLVE("site", "/site.css");  // kFile ".../site/site.css"
#pragma once

#include <string>

namespace rykel::mdl_WebPaths {

struct Target {
  enum class Kind { kNone, kPage, kFile };
  Kind kind = Kind::kNone;
  // kPage: the page name as cls_Site::RENDER takes it ("index", "x/y"); kFile: the file's real path.
  std::string name;
};

// What the decoded request path pPath ("/x/y") names in the site folder pRoot, first found wins:
//   the page pages/x/y.kel, else pages/x/y/index.kel ("/" is pages/index.kel; "/x/y.html" is the
//   page x/y too, so the links of a built site work when served);
//   the file static/x/y, else pages/x/y (not a .kel file), else x/y at the top of the site (one part
//   only; data/ and other folders are never served); a folder stands for its index.html.
// A path naming a .kel file directly, or nothing of the above, gives kNone.
Target RESOLVE(const std::string& pRoot, const std::string& pPath);

// The Content-Type of a file by its extension (case-blind): text types with "; charset=utf-8",
// "application/octet-stream" for an unknown one.
std::string CONTENTTYPE(const std::string& pFile);

}  // namespace rykel::mdl_WebPaths
