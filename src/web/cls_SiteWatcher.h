// cls_SiteWatcher: tells that a file of a site folder changed, for the server's live reload. A
// background thread looks at the folder every interval (the names, sizes and modification times
// of at most SCANMAX entries, hidden ones skipped; and of further files, such as databases kept
// elsewhere) and counts a new generation when the picture
// differs from the last one. Waiters block in WAIT until the generation moves on, their time is up
// or the watcher stops.
//
// Thread safety: every member may be called from any thread.
//
//   cls_SiteWatcher w("site", std::chrono::milliseconds(250));
//   w.START();
//   uint64_t g = w.GENERATION();
//   if (w.WAIT(g, std::chrono::seconds(15)) != g) { /* something changed */ }
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace rykel {

class cls_SiteWatcher {
 public:
  // Entries looked at per scan; a larger site's further files are not watched.
  static constexpr int32_t SCANMAX = 20000;

  cls_SiteWatcher(std::string pRoot, std::chrono::milliseconds pInterval, std::vector<std::string> pFiles = {});
  ~cls_SiteWatcher();  // stops the thread
  cls_SiteWatcher(const cls_SiteWatcher&) = delete;
  cls_SiteWatcher& operator=(const cls_SiteWatcher&) = delete;

  // Starts the thread (once; later calls do nothing).
  void START();
  // Ends the thread and wakes every waiter; GENERATION stays where it was.
  void STOP();
  // 0 at the start, one more per change seen.
  uint64_t GENERATION() const;
  // Blocks until the generation differs from pSince, pTimeout passed or STOP; returns the generation.
  uint64_t WAIT(uint64_t pSince, std::chrono::milliseconds pTimeout);
  // True once STOP was called.
  bool STOPPED() const;

  // The picture one scan takes: a hash of every entry's name, size and time (pFiles' too).
  static uint64_t FINGERPRINT(const std::string& pRoot, const std::vector<std::string>& pFiles = {});

 private:
  void hRun();

  const std::string root_;
  const std::vector<std::string> files_;
  const std::chrono::milliseconds interval_;
  mutable std::mutex lock_;
  std::condition_variable changed_;
  uint64_t generation_ = 0;
  bool stopped_ = false;
  std::thread thread_;
};

}  // namespace rykel
