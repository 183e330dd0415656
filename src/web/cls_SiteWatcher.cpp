#include "web/cls_SiteWatcher.h"

#include <algorithm>
#include <filesystem>
#include <functional>

namespace rykel {

namespace fs = std::filesystem;

cls_SiteWatcher::cls_SiteWatcher(std::string pRoot, std::chrono::milliseconds pInterval,
                                 std::vector<std::string> pFiles)
    : root_(std::move(pRoot)), files_(std::move(pFiles)), interval_(pInterval) {}

cls_SiteWatcher::~cls_SiteWatcher() { STOP(); }

void cls_SiteWatcher::START() {
  std::lock_guard<std::mutex> hold(lock_);
  if (thread_.joinable() || stopped_) return;
  thread_ = std::thread([this] { hRun(); });
}

void cls_SiteWatcher::STOP() {
  {
    std::lock_guard<std::mutex> hold(lock_);
    stopped_ = true;
  }
  changed_.notify_all();
  if (thread_.joinable() && thread_.get_id() != std::this_thread::get_id()) thread_.join();
}

uint64_t cls_SiteWatcher::GENERATION() const {
  std::lock_guard<std::mutex> hold(lock_);
  return generation_;
}

bool cls_SiteWatcher::STOPPED() const {
  std::lock_guard<std::mutex> hold(lock_);
  return stopped_;
}

uint64_t cls_SiteWatcher::WAIT(uint64_t pSince, std::chrono::milliseconds pTimeout) {
  std::unique_lock<std::mutex> hold(lock_);
  changed_.wait_for(hold, pTimeout, [&] { return stopped_ || generation_ != pSince; });
  return generation_;
}

uint64_t cls_SiteWatcher::FINGERPRINT(const std::string& pRoot, const std::vector<std::string>& pFiles) {
  uint64_t h = 14695981039346656037ull;
  auto mix = [&h](uint64_t v) { h = (h ^ v) * 1099511628211ull; };
  std::error_code ec;
  int32_t seen = 0;
  for (auto it = fs::recursive_directory_iterator(pRoot, fs::directory_options::skip_permission_denied, ec);
       !ec && it != fs::recursive_directory_iterator() && seen < SCANMAX; it.increment(ec), ++seen) {
    const std::string name = it->path().filename().string();
    if (name.starts_with(".")) {
      if (it->is_directory(ec)) it.disable_recursion_pending();
      continue;
    }
    mix(std::hash<std::string>{}(it->path().string()));
    std::error_code fileError;
    if (it->is_regular_file(fileError)) {
      mix(it->file_size(fileError));
      mix(static_cast<uint64_t>(it->last_write_time(fileError).time_since_epoch().count()));
    }
  }
  for (const auto& f : pFiles) {
    std::error_code fileError;
    mix(std::hash<std::string>{}(f));
    mix(fs::file_size(f, fileError));
    mix(static_cast<uint64_t>(fs::last_write_time(f, fileError).time_since_epoch().count()));
  }
  return h;
}

void cls_SiteWatcher::hRun() {
  uint64_t last = FINGERPRINT(root_, files_);
  std::chrono::steady_clock::duration scan{};
  std::unique_lock<std::mutex> hold(lock_);
  while (!stopped_) {
    // a large site is looked at less often: the scans take at most a tenth of the time
    changed_.wait_for(hold, std::max<std::chrono::steady_clock::duration>(interval_, 9 * scan),
                      [&] { return stopped_; });
    if (stopped_) break;
    hold.unlock();
    const auto started = std::chrono::steady_clock::now();
    const uint64_t now = FINGERPRINT(root_, files_);
    scan = std::chrono::steady_clock::now() - started;
    hold.lock();
    if (now != last) {
      last = now;
      ++generation_;
      changed_.notify_all();
    }
  }
}

}  // namespace rykel
