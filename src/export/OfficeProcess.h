// OfficeProcess: one headless office program, started for one export and always ended with it.
//
// START spawns the program in its own process group with its own profile folder and pipe name,
// so that exports running side by side never share an office, and so that one kill of the group
// reaches every process the start script forks. Its output goes to /dev/null: an office that
// outlives a crashed client must not hold the client's pipes open.
//
// A watchdog kills the group when the time limit passes; a UNO call blocked on the office then
// returns with an exception instead of hanging. The destructor (or END) asks nothing: it waits a
// short grace period for an office that was told to terminate, kills the group, reaps the child
// and removes the profile folder.
//
// Threads: one object per export, used on the thread that started it (the watchdog is internal).
#pragma once

#include <sys/types.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace rykel {

class OfficeProcess {
 public:
  OfficeProcess() = default;
  OfficeProcess(const OfficeProcess&) = delete;
  OfficeProcess& operator=(const OfficeProcess&) = delete;
  ~OfficeProcess();

  // Spawns pProgram (a path, or a name looked up on PATH) headless, accepting UNO connections on
  // the pipe PIPE(). Returns false when it cannot be spawned (no such program, no profile folder).
  // The watchdog starts now and kills the office pTimeoutSeconds later (0: no limit).
  bool START(const std::string& pProgram, double pTimeoutSeconds);
  // True while the spawned process has not exited. Never reaps it: the pid, and so the process
  // group, stays ours until END.
  bool RUNNING();
  // Ends the office: waits up to pGraceSeconds for it to exit by itself, then kills the group,
  // reaps, stops the watchdog and removes the profile folder. Safe to call twice.
  void END(double pGraceSeconds = 0);

  const std::string& PIPE() const { return pipe_; }
  // The connection string for the office's UNO resolver.
  std::string CONNECTION() const;
  bool TIMEDOUT() const { return timedOut_; }
  pid_t PID() const { return pid_; }

  // "file:///..." for an absolute or relative path, with every byte outside the unreserved set
  // percent-encoded (blanks, umlauts).
  static std::string hFileUrl(const std::string& pPath);

 private:
  void hWatch(double pSeconds);

  pid_t pid_ = -1;
  bool reaped_ = true;
  std::string profile_, pipe_;
  std::thread watchdog_;
  std::mutex mutex_;
  std::condition_variable wake_;
  bool stop_ = false;
  std::atomic<bool> timedOut_{false};
};

}  // namespace rykel
