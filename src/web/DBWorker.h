// DBWorker: one database of the browser, kept open on a thread of its own. Structures (and so a
// database's entries) belong to the thread that made them, while the server answers requests on a
// pool of threads; every request's work on the database is therefore handed to the database's
// thread and waited for. Requests for one database take turns; databases work side by side.
//
// The database is opened read-only on first use and kept; before each job the file's size, time
// and inode are compared with those seen at the open, and a file that changed on disk (a write of
// the browser, `rykel db set`, another program) is opened again.
//
//   DBWorker w("kunden", "kunden.ry-dbb");
//   int n = 0;  w.Run([&](cls_DB& db) { n = db.ENTRYCOUNT(); });
#pragma once

#include <sys/types.h>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "host/cls_DB.h"
#include "web/DBViewQuery.h"
#include "web/WebFailure.h"

namespace rykel {

// A field's filter choices with the number of entries each keeps, counted in a view's entries.
struct DBFacets {
  struct Choice {
    std::string label, condition;
    int32_t count = 0;
  };
  size_t total = 0;  // entries of the view
  std::vector<Choice> choices;
};

class DBWorker {
 public:
  DBWorker(std::string pName, std::string pFile);
  // Finishes the jobs handed in, then closes the database on its thread.
  ~DBWorker();
  DBWorker(const DBWorker&) = delete;
  DBWorker& operator=(const DBWorker&) = delete;

  const std::string& Name() const { return name_; }
  const std::string& File() const { return file_; }

  // Runs pJob on the database's thread with the open database and waits for it; what the job
  // throws is thrown here. A database that cannot be opened throws WebFailure 500 with the open
  // error. REQUIRES: pJob keeps no structure of the database past its end (they are the thread's).
  void Run(const std::function<void(cls_DB&)>& pJob);

  // The ids of a view's entries, or null for every entry; made only when needed.
  using ListMaker = std::function<const cls_DB::IdList*()>;
  // A field's facets in the view pViewKey names (its conditions and search: the same key, the
  // same entries), counted in pList's entries; kept until the file is opened again, so paging,
  // sorting and repeated requests do not count anew. At most kMaxCachedFacets are kept.
  // REQUIRES: called from a job of Run, with its database; the field exists.
  const DBFacets& Facets(cls_DB& rDB, const std::string& pField, const std::string& pViewKey, const ListMaker& pList);
  static constexpr size_t kMaxCachedFacets = 256;
  // The ids a view keeps, sorted (DBViewQuery::Ids), kept for the kMaxCachedViews views asked last
  // until the file is opened again: paging through a view filters and sorts it once. The list
  // stays valid until the next call. REQUIRES: called from a job of Run, with its database.
  const cls_DB::IdList& Ids(cls_DB& rDB, const DBViewQuery& pQuery);
  static constexpr size_t kMaxCachedViews = 4;

 private:
  struct Stamp {
    off_t size = -1;
    long long mtimeNs = 0;
    ino_t inode = 0;
    bool operator==(const Stamp&) const = default;
  };
  static Stamp hStamp(const std::string& pFile);
  void hLoop();
  cls_DB& hOpen();

  std::string name_, file_;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> jobs_;
  bool stop_ = false;
  DBPtr db_;                                                  // made, used and dropped on thread_ only, as facets_
  std::map<std::string, DBFacets> facets_;                    // by field ID, "\n", view key
  std::deque<std::pair<std::string, cls_DB::IdList>> views_;  // by order key, the last asked first
  Stamp stamp_;
  std::thread thread_;
};

}  // namespace rykel
