// cls_RenderPool: the pages of a served site, rendered on a few threads of their own. Each thread
// keeps one cls_Site::Session (the databases opened once, the data files read once) for as long as
// those files are unchanged, so a page that lists a few entries of a large database does not pay
// for opening it on every request. A request's thread hands its page over and waits for it.
//
//   cls_RenderPool pool(site, 2);
//   cls_Site::Page page = pool.RENDER("index", {{"q", "Kiel"}});
#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "site/cls_Site.h"

namespace rykel {

class cls_RenderPool {
 public:
  using Variables = std::vector<std::pair<std::string, std::string>>;

  // pSite must outlive the pool; pThreads 0: one per core, at least two.
  explicit cls_RenderPool(const cls_Site& pSite, size_t pThreads = 0);
  ~cls_RenderPool();  // finishes the pages handed over, then ends the threads
  cls_RenderPool(const cls_RenderPool&) = delete;
  cls_RenderPool& operator=(const cls_RenderPool&) = delete;

  // cls_Site::RENDER of pPage with pVariables as text variables, on a pool thread; raises what the
  // render (or opening its databases) raised.
  cls_Site::Page RENDER(const std::string& pPage, const Variables& pVariables);

 private:
  struct Job;
  void hRun();

  const cls_Site& site_;
  std::mutex lock_;
  std::condition_variable wake_;
  std::deque<Job*> queue_;
  bool stopping_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace rykel
