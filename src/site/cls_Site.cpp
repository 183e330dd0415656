#include "site/cls_Site.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <map>
#include <mutex>
#include <thread>

#include "frame/Convert.h"
#include "frame/Error.h"
#include "frame/FileIO.h"
#include "frame/Text.h"
#include "frame/mdl_Confine.h"
#include "host/cls_DB.h"
#include "interpreter/cls_KEL.h"
#include "interpreter/cls_KELModules.h"
#include "modules/mod_KELDB.h"
#include "structure/mdl_StructureJson.h"

namespace rykel {

namespace fs = std::filesystem;

namespace {

constexpr const char* kManifest = ".rykel-build";

bool hIsKel(const fs::path& p) { return text::UCase(p.extension().string()) == ".KEL"; }

// A structure file of data/, in the form mdl_StructureJson::FormOf tells.
StructurePtr hReadData(const fs::path& pFile) {
  std::string content = fileio::ReadFile(pFile.string());
  const auto form = mdl_StructureJson::FormOf(content, pFile.string());
  if (form == mdl_StructureJson::FileForm::Json) return mdl_StructureJson::Read(content);
  auto value = cls_Structure::New();
  if (form == mdl_StructureJson::FileForm::Serialized) value->UNSERIALIZE(content);
  else value->PARSE(content);
  return value;
}

// How a file is told to have changed: its size and modification time ("" when it is missing).
std::string hSizeTime(const fs::path& p) {
  std::error_code ec;
  auto size = fs::file_size(p, ec);
  if (ec) return {};
  return std::to_string(size) + "|" + std::to_string(fs::last_write_time(p, ec).time_since_epoch().count());
}

std::string hStamp(const fs::path& p) { return p.string() + "|" + hSizeTime(p) + "\n"; }

std::string hHex(size_t v) {
  char buf[20];
  std::snprintf(buf, sizeof buf, "%016zx", v);
  return buf;
}

}  // namespace

// The stamp of what a session reads when it is made: the databases and the files of data/.
std::string cls_Site::hSessionStamp() const {
  std::string stamp;
  for (const auto& [name, file] : databases_) stamp += name + "=" + hStamp(file);
  std::error_code ec;
  std::vector<fs::path> files;
  for (const auto& e : fs::directory_iterator(fs::path(root_) / "data", ec))
    if (e.is_regular_file()) files.push_back(e.path());
  std::sort(files.begin(), files.end());
  for (const auto& f : files) stamp += hStamp(f);
  return stamp;
}

cls_Site::Session::Session(const cls_Site& pSite) : site_(pSite), stamp_(pSite.hSessionStamp()) {
  for (const auto& [name, file] : pSite.databases_) {
    auto db = cls_DBStore::New();
    if (!db->DBOPENREADONLY(file, "", false)) Raise(err::kFileNotFound, db->DBOPENERROR_GET());
    databases_.emplace_back(name, db);
  }
  data_ = cls_Structure::New();
  const fs::path dir = fs::path(pSite.root_) / "data";
  std::error_code ec;
  if (!fs::is_directory(dir, ec)) return;
  std::vector<fs::path> files;
  for (const auto& e : fs::directory_iterator(dir, ec))
    if (e.is_regular_file()) files.push_back(e.path());
  std::sort(files.begin(), files.end());
  for (const auto& f : files) data_->ITEMBYID_LET(text::UCase(f.stem().string()), Variant(hReadData(f)));
}

cls_Site::Session::~Session() = default;

bool cls_Site::Session::FRESH() const { return site_.hSessionStamp() == stamp_; }

cls_Site::Page cls_Site::Session::RENDER(const std::string& pPage, const StructurePtr& pVariables) {
  const fs::path file = site_.hPageFile(pPage);
  auto k = std::make_shared<cls_KEL>();
  auto db = std::make_shared<mod_KELDB>();
  k->MODULES->ADD(db);
  for (const auto& [name, store] : databases_) db->ATTACH(store, name);
  k->DIRECTORIES->ADD(Variant(file.parent_path().string() + "/"));
  k->DIRECTORIES->ADD(Variant(site_.root_ + "/"));
  k->SETTINGS->ITEM_LET("SYS.LOCATE.CONFINED", true);
  for (int32_t i = data_->BASE(); i <= data_->MAX(); ++i)
    if (data_->EXISTS_GET(i)) k->VARIABLES->ITEMBYID_LET(data_->ID_GET(i), data_->ITEM_GET(i));
  if (pVariables)
    for (int32_t i = pVariables->BASE(); i <= pVariables->MAX(); ++i)
      if (pVariables->EXISTS_GET(i) && !pVariables->ID_GET(i).empty())
        k->VARIABLES->ITEMBYID_LET(pVariables->ID_GET(i), pVariables->ITEM_GET(i));
  Page page;
  page.html = k->PROCESS(fileio::ReadFile(file.string()), nullptr);
  page.errors = ERRORLINES(*k, file.lexically_relative(site_.root_).string());
  page.cutShort = k->CUTSHORT_GET();
  return page;
}

cls_Site::cls_Site(std::string pRoot) : root_(std::move(pRoot)) {
  while (root_.size() > 1 && root_.ends_with("/")) root_.pop_back();
  std::error_code ec;
  if (!fs::is_directory(fs::path(root_) / "pages", ec))
    Raise(err::kPathNotFound, "'" + root_ + "' is no site: it has no folder pages/");
}

void cls_Site::DBADD(const std::string& pName, const std::string& pFile) {
  std::error_code ec;
  if (!fs::is_regular_file(pFile, ec)) Raise(err::kFileNotFound, "DB file '" + pFile + "' does not exist");
  databases_.emplace_back(pName.empty() ? "MAIN" : pName, pFile);
}

fs::path cls_Site::hPageFile(const std::string& pPage) const {
  std::string page = pPage;
  if (hIsKel(page)) page.resize(page.size() - 4);
  const fs::path rel(page);
  bool bad = page.empty() || rel.is_absolute() || page.find('\0') != std::string::npos;
  for (const auto& part : rel) bad = bad || part == ".." || part == ".";
  if (bad) Raise(err::kInvalidCall, "'" + pPage + "' names no page of the site");
  const fs::path pages = fs::path(root_) / "pages";
  fs::path file = pages / (page + ".kel");
  std::error_code ec;
  // a folder's page is its index, unless a page of the folder's name sits beside it
  if (!fs::is_regular_file(file, ec) && fs::is_directory(pages / page, ec)) file = pages / page / "index.kel";
  if (!fs::is_regular_file(file, ec)) Raise(err::kFileNotFound, "page '" + pPage + "' not found");
  // a link may not lead out of the site: the file is judged by what opening it reaches
  const std::vector<std::string> roots{root_};
  const int fd = mdl_Confine::OPEN(file.string(), &roots);
  if (fd < 0) Raise(err::kFileNotFound, "page '" + pPage + "' not found");
  ::close(fd);
  return file;
}

std::vector<std::string> cls_Site::PAGES() const {
  std::vector<std::string> pages;
  const fs::path dir = fs::path(root_) / "pages";
  std::error_code ec;
  for (auto it = fs::recursive_directory_iterator(dir, ec); !ec && it != fs::recursive_directory_iterator();
       it.increment(ec)) {
    if (!it->is_regular_file() || !hIsKel(it->path())) continue;
    std::string rel = it->path().lexically_relative(dir).string();
    pages.push_back(rel.substr(0, rel.size() - 4));
  }
  std::sort(pages.begin(), pages.end());
  return pages;
}

cls_Site::Page cls_Site::RENDER(const std::string& pPage, const StructurePtr& pVariables) const {
  return Session(*this).RENDER(pPage, pVariables);
}

std::vector<std::string> cls_Site::ERRORLINES(cls_KEL& k, const std::string& pMain, bool pHtml) {
  std::vector<std::string> lines;
  for (int32_t i = k.ERRORLIST->BASE(); i <= k.ERRORLIST->MAX(); ++i) {
    if (!k.ERRORLIST->EXISTS_GET(i)) continue;
    auto place = k.ERRORPLACES->ITEM_GET(i).as<cls_Structure>();
    std::string message = pHtml || !place ? CStr(k.ERRORLIST->ITEM_GET(i)) : CStr(place->ITEM_GET("MESSAGE"));
    std::string where;
    if (place) {
      where = CStr(place->ITEM_GET("FILE"));
      if (where.empty()) where = pMain;
      if (CLng(place->ITEM_GET("LINE")) > 0)
        where += ":" + CStr(place->ITEM_GET("LINE")) + ":" + CStr(place->ITEM_GET("COLUMN"));
    }
    for (char& c : message)
      if (c == '\n' || c == '\r') c = ' ';  // one line per error
    lines.push_back(where + (where.empty() ? "" : ": ") + message);
  }
  return lines;
}

cls_Site::Report cls_Site::BUILD(const std::string& pOut, int32_t pJobs, bool pClean, const Progress& pProgress) const {
  const fs::path out(pOut), root(root_);
  fs::create_directories(out);
  const fs::path manifest = out / kManifest;

  // The last build's list: "P<TAB>page<TAB>inputs" per page built without errors, "S<TAB>file" per copy.
  std::map<std::string, std::string> before;
  std::vector<std::string> written;
  std::error_code ec;
  if (fs::is_regular_file(manifest, ec)) {
    for (const auto& line : text::Split(fileio::ReadFile(manifest.string()), "\n")) {
      auto cells = text::Split(line, "\t");
      if (cells.size() == 3 && cells[0] == "P") before[cells[1]] = cells[2];
      if (cells.size() >= 2) written.push_back(cells[0] == "P" ? cells[1] + ".html" : cells[1]);
    }
  }
  if (pClean) {
    for (const auto& w : written) fs::remove(out / w, ec);
    before.clear();
  }

  // Every input a page shares with the others: the files outside pages/ and static/, the databases.
  std::string shared;
  std::vector<fs::path> files;
  for (auto it = fs::recursive_directory_iterator(root, ec); !ec && it != fs::recursive_directory_iterator();
       it.increment(ec)) {
    auto rel = it->path().lexically_relative(root);
    const std::string top = rel.begin()->string();
    if (it->is_directory() && (it->path() == out || top == "pages" || top == "static")) {
      it.disable_recursion_pending();
      continue;
    }
    if (it->is_regular_file()) files.push_back(it->path());
  }
  std::sort(files.begin(), files.end());
  for (const auto& f : files) shared += hStamp(f);
  for (const auto& [name, file] : databases_) shared += name + "=" + hStamp(file);

  const std::vector<std::string> pages = PAGES();
  std::vector<std::string> inputs(pages.size());
  std::vector<Page> results(pages.size());
  std::vector<char> todo(pages.size(), 0);
  Report report;
  std::vector<size_t> queue;
  for (size_t i = 0; i < pages.size(); ++i) {
    const fs::path file = root / "pages" / (pages[i] + ".kel");
    inputs[i] = hHex(std::hash<std::string>{}(shared + fileio::ReadFile(file.string())));
    auto old = before.find(pages[i]);
    if (old != before.end() && old->second == inputs[i] && fs::exists(out / (pages[i] + ".html"), ec)) {
      ++report.skipped;
    } else {
      todo[i] = 1;
      queue.push_back(i);
    }
  }

  // Workers take the next page from the queue; each keeps its own interpreter surroundings.
  std::atomic<size_t> next{0}, done{0};
  std::vector<std::string> failures;
  std::mutex failuresLock;
  auto work = [&] {
    try {
      Session session(*this);
      for (size_t q; (q = next.fetch_add(1)) < queue.size(); done.fetch_add(1)) {
        const size_t i = queue[q];
        try {
          results[i] = session.RENDER(pages[i], nullptr);
        } catch (const Error& e) {
          results[i].errors.push_back("pages/" + pages[i] + ".kel: " + e.description);
          continue;
        }
        const fs::path target = out / (pages[i] + ".html");
        fs::create_directories(target.parent_path());
        fileio::WriteFileReplace(target.string(), results[i].html);
      }
    } catch (const Error& e) {
      std::lock_guard<std::mutex> hold(failuresLock);
      failures.push_back(e.description);
      next.store(queue.size());
    }
  };
  size_t jobs = pJobs > 0 ? static_cast<size_t>(pJobs) : std::max(1u, std::thread::hardware_concurrency());
  jobs = std::min(jobs, std::max<size_t>(1, queue.size()));
  std::vector<std::thread> threads;
  for (size_t t = 0; t < jobs; ++t) threads.emplace_back(work);
  // the calling thread only reports progress: the callback is the host's, on the host's thread
  while (pProgress && done.load() < queue.size() && next.load() < queue.size()) {
    pProgress(static_cast<int32_t>(done.load()), static_cast<int32_t>(queue.size()));
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  for (auto& t : threads) t.join();
  if (pProgress) pProgress(static_cast<int32_t>(done.load()), static_cast<int32_t>(queue.size()));
  if (!failures.empty()) Raise(err::kFileIO, failures.front());

  // Static files: static/ to the top of the output, other files beside the pages and at the top of
  // the site to their place; copied only when they changed.
  std::vector<std::pair<fs::path, std::string>> copies;
  for (auto it = fs::recursive_directory_iterator(root, ec); !ec && it != fs::recursive_directory_iterator();
       it.increment(ec)) {
    auto rel = it->path().lexically_relative(root);
    const std::string top = rel.begin()->string();
    if (it->is_directory()) {
      if (it->path() == out || (top != "pages" && top != "static")) it.disable_recursion_pending();
      continue;
    }
    if (!it->is_regular_file() || hIsKel(it->path()) || top.starts_with(".")) continue;
    std::string target = rel.string();
    if (top == "pages" || top == "static") target = it->path().lexically_relative(root / top).string();
    copies.emplace_back(it->path(), target);
  }
  std::string list;
  for (const auto& [from, target] : copies) {
    const fs::path to = out / target;
    if (hSizeTime(from) != hSizeTime(to)) {
      fs::create_directories(to.parent_path());
      fileio::WriteFileReplace(to.string(), fileio::ReadFile(from.string()));
      fs::last_write_time(to, fs::last_write_time(from, ec), ec);
      ++report.copied;
    }
    list += "S\t" + target + "\n";
  }

  for (size_t i = 0; i < pages.size(); ++i) {
    const bool clean = results[i].errors.empty() && !results[i].cutShort;
    if (todo[i]) {
      ++report.built;
      if (!clean) ++report.failed;
      report.errors.insert(report.errors.end(), results[i].errors.begin(), results[i].errors.end());
    }
    // a page with errors is left out of the list, so the next build tries it again
    if (!todo[i] || clean) list += "P\t" + pages[i] + "\t" + inputs[i] + "\n";
  }
  fileio::WriteFileAtomic(manifest.string(), list);
  return report;
}

}  // namespace rykel
