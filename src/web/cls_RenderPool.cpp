#include "web/cls_RenderPool.h"

#include <algorithm>
#include <exception>
#include <future>
#include <memory>

#include "frame/Variant.h"
#include "structure/cls_Structure.h"

namespace rykel {

struct cls_RenderPool::Job {
  const std::string& page;
  const Variables& variables;
  std::promise<cls_Site::Page> done;
};

cls_RenderPool::cls_RenderPool(const cls_Site& pSite, size_t pThreads) : site_(pSite) {
  if (pThreads == 0) pThreads = std::max(2u, std::thread::hardware_concurrency());
  for (size_t i = 0; i < pThreads; ++i) threads_.emplace_back([this] { hRun(); });
}

cls_RenderPool::~cls_RenderPool() {
  {
    std::lock_guard<std::mutex> hold(lock_);
    stopping_ = true;
  }
  wake_.notify_all();
  for (auto& t : threads_) t.join();
}

cls_Site::Page cls_RenderPool::RENDER(const std::string& pPage, const Variables& pVariables) {
  Job job{pPage, pVariables, {}};
  auto result = job.done.get_future();
  {
    std::lock_guard<std::mutex> hold(lock_);
    queue_.push_back(&job);
  }
  wake_.notify_one();
  return result.get();
}

void cls_RenderPool::hRun() {
  // Made, used and dropped on this thread: structures and databases stay on the thread that made them.
  std::unique_ptr<cls_Site::Session> session;
  for (;;) {
    Job* job;
    {
      std::unique_lock<std::mutex> hold(lock_);
      wake_.wait(hold, [&] { return stopping_ || !queue_.empty(); });
      if (queue_.empty()) break;
      job = queue_.front();
      queue_.pop_front();
    }
    try {
      if (!session || !session->FRESH()) {
        session.reset();
        session = std::make_unique<cls_Site::Session>(site_);
      }
      auto variables = cls_Structure::New();
      for (const auto& [name, value] : job->variables) variables->ITEMBYID_LET(name, Variant(value));
      job->done.set_value(session->RENDER(job->page, variables));
    } catch (...) { job->done.set_exception(std::current_exception()); }
  }
}

}  // namespace rykel
