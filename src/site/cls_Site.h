// cls_Site: a folder of KEL pages rendered as a web site, page by page for a host or a server, or
// all at once into static files on several threads (`rykel build`).
//
// The site folder SITE holds
//   pages/   the pages: pages/x/y.kel is the page "x/y", built as x/y.html
//   static/  files copied as they are, to their path below static/
//   data/    structure files (.json, serialized or script form); each becomes a variable named after
//            its base name, upper-cased (data/team.ser is TEAM)
// and anything else the pages include (inc/header.kel). Other files beside the pages and at the top
// of SITE (site.css) are copied as static files too; nothing under data/ or other folders is.
//
// Each page renders in a fresh interpreter whose DIRECTORIES are the page's own folder, then SITE/,
// with SYS.LOCATE.CONFINED on: includes, LOCATE and {DB:OPEN} read nothing outside those folders.
// The databases given with DBADD are opened read-only and attached to the DB module under their
// names (the last one added is current).
//
//   rykel::cls_Site site("docs-site");
//   site.DBADD("MAIN", "kunden.ry-dbb");
//   auto page = site.RENDER("index");              // page.html, page.errors
//   auto report = site.BUILD("public", 4);          // report.built, report.errors
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "structure/cls_Structure.h"

namespace rykel {

class cls_KEL;
class cls_DBStore;

class cls_Site {
 public:
  explicit cls_Site(std::string pRoot);

  // A page's output and the errors its render recorded, each "file:line:column: message" (the
  // page's file is named relative to SITE, "pages/x.kel"). cutShort: a limit ended the render.
  struct Page {
    std::string html;
    std::vector<std::string> errors;
    bool cutShort = false;
  };
  // What BUILD did: pages written (built) and left as they were (skipped), static files copied,
  // and every error line of every page.
  struct Report {
    int32_t built = 0, skipped = 0, copied = 0, failed = 0;
    std::vector<std::string> errors;
  };
  // Called with (pages done, pages in all) while BUILD runs, from the calling thread.
  using Progress = std::function<void(int32_t, int32_t)>;

  const std::string& ROOT() const { return root_; }
  // Attaches a database file to every page's DB module under pName. Raises 53 when it does not exist.
  void DBADD(const std::string& pName, const std::string& pFile);
  // The pages, "x/y" for pages/x/y.kel, sorted.
  std::vector<std::string> PAGES() const;
  // Renders one page ("x/y" or "x/y.kel") in a session of its own; pVariables' items are set as variables after the
  // data files' (a request's query parameters). Raises 53 for a page that does not exist and 5 for a name that leaves
  // pages/.
  Page RENDER(const std::string& pPage, const StructurePtr& pVariables = nullptr) const;
  // Renders every page to pOut (created) as .html on pJobs threads (0: one per core) and copies the
  // static files. A page whose inputs (its file, every file of SITE outside pages/ and static/, the
  // databases) are unchanged since the last build, and whose output is still there, is skipped; a
  // list in pOut (.rykel-build) remembers them. pClean first removes what the last build wrote and
  // builds every page. A page with errors is written too, and built again next time.
  Report BUILD(const std::string& pOut, int32_t pJobs = 0, bool pClean = false, const Progress& pProgress = {}) const;

  // What the pages rendered on one thread share: the databases opened and the data files read once,
  // for many pages. A session is made, used and dropped on one thread (structures and databases
  // stay on the thread that made them), and its site must outlive it. FRESH tells whether the
  // databases and data files are still the ones it read; a server makes a new session when not.
  class Session {
   public:
    explicit Session(const cls_Site& pSite);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    // As cls_Site::RENDER, with what the session holds.
    Page RENDER(const std::string& pPage, const StructurePtr& pVariables = nullptr);
    bool FRESH() const;

   private:
    const cls_Site& site_;
    std::string stamp_;
    std::vector<std::pair<std::string, std::shared_ptr<cls_DBStore>>> databases_;
    StructurePtr data_;
  };

  // The errors an interpreter recorded, one line each: "file:line:column: message" (pMain names the
  // text handed to PROCESS), or with pHtml the error list's own HTML line behind the place.
  static std::vector<std::string> ERRORLINES(cls_KEL& k, const std::string& pMain, bool pHtml = false);

 private:
  std::string hSessionStamp() const;
  // The file of a page; raises as RENDER does.
  std::filesystem::path hPageFile(const std::string& pPage) const;

  std::string root_;
  std::vector<std::pair<std::string, std::string>> databases_;  // name, file
};

}  // namespace rykel
