#include "web/DBWorker.h"

#include <sys/stat.h>

#include <exception>
#include <future>

#include "frame/Convert.h"
#include "structure/cls_Structure.h"

namespace rykel {

DBWorker::DBWorker(std::string pName, std::string pFile)
    : name_(std::move(pName)), file_(std::move(pFile)), thread_([this] { hLoop(); }) {}

DBWorker::~DBWorker() {
  {
    std::lock_guard lock(mutex_);
    stop_ = true;
  }
  wake_.notify_one();
  thread_.join();
}

void DBWorker::Run(const std::function<void(cls_DB&)>& pJob) {
  std::promise<void> done;
  auto finished = done.get_future();
  {
    std::lock_guard lock(mutex_);
    jobs_.emplace_back([&] {
      try {
        pJob(hOpen());
        done.set_value();
      } catch (...) { done.set_exception(std::current_exception()); }
    });
  }
  wake_.notify_one();
  finished.get();
}

DBWorker::Stamp DBWorker::hStamp(const std::string& pFile) {
  struct stat st {};
  if (::stat(pFile.c_str(), &st) != 0) return {};
  return {st.st_size, static_cast<long long>(st.st_mtim.tv_sec) * 1000000000LL + st.st_mtim.tv_nsec, st.st_ino};
}

cls_DB& DBWorker::hOpen() {
  Stamp now = hStamp(file_);
  if (db_ && now == stamp_) return *db_;
  auto db = std::make_shared<cls_DB>();
  auto settings = cls_Structure::New();
  settings->ITEM_LET("READONLY", true);
  if (!db->DBOPEN(file_, "", false, settings))
    throw WebFailure{500, "database '" + name_ + "' cannot be opened: " + db->DBOPENERROR_GET()};
  db_ = std::move(db);
  stamp_ = now;
  facets_.clear();
  views_.clear();
  return *db_;
}

const DBFacets& DBWorker::Facets(cls_DB& rDB, const std::string& pField, const std::string& pViewKey,
                                 const ListMaker& pList) {
  std::string key = pField + "\n" + pViewKey;
  if (auto it = facets_.find(key); it != facets_.end()) return it->second;
  if (facets_.size() >= kMaxCachedFacets) facets_.clear();
  const cls_DB::IdList* list = pList();
  DBFacets out;
  out.total = list ? list->size() : static_cast<size_t>(rDB.ENTRYCOUNT());
  auto choices = list ? rDB.FIELDFACETS(Variant(pField), *list) : rDB.FIELDFACETS(Variant(pField));
  for (int32_t i = choices->BASE(); i <= choices->MAX(); ++i) {
    auto c = choices->ITEM_GET(Variant(i), {}, true).as<cls_Structure>();
    out.choices.push_back(
        {CStr(c->ITEMBYID_GET("LABEL")), CStr(c->ITEMBYID_GET("CONDITION")), CLng(c->ITEMBYID_GET("COUNT"))});
  }
  return facets_.emplace(std::move(key), std::move(out)).first->second;
}

const cls_DB::IdList& DBWorker::Ids(cls_DB& rDB, const DBViewQuery& pQuery) {
  std::string key = pQuery.OrderKey();
  for (auto it = views_.begin(); it != views_.end(); ++it)
    if (it->first == key) {
      if (it != views_.begin()) {
        auto view = std::move(*it);
        views_.erase(it);
        views_.push_front(std::move(view));
      }
      return views_.front().second;
    }
  cls_DB::IdList ids = pQuery.Ids(rDB);
  if (views_.size() >= kMaxCachedViews) views_.pop_back();
  views_.emplace_front(std::move(key), std::move(ids));
  return views_.front().second;
}

void DBWorker::hLoop() {
  for (;;) {
    std::function<void()> job;
    {
      std::unique_lock lock(mutex_);
      wake_.wait(lock, [this] { return stop_ || !jobs_.empty(); });
      if (jobs_.empty()) break;
      job = std::move(jobs_.front());
      jobs_.pop_front();
    }
    job();
  }
  db_.reset();
}

}  // namespace rykel
