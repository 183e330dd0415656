#include "export/OfficeProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <vector>

extern char** environ;

namespace rykel {

namespace {

// Environment entries that belong to this process and would break the office: an inherited
// URE_BOOTSTRAP points the office at the wrong bootstrap file (an empty one aborts it), and a
// preloaded sanitizer runtime is not meant for the office's own binaries.
bool hKeepForOffice(const char* pEntry) {
  for (const char* name : {"URE_BOOTSTRAP=", "LD_PRELOAD="}) {
    if (std::strncmp(pEntry, name, std::strlen(name)) == 0) return false;
  }
  return true;
}

std::string hTempFolder() {
  const char* t = std::getenv("TMPDIR");
  std::string dir = t && *t ? t : "/tmp";
  std::string tmpl = dir + "/rykel-office-XXXXXX";
  std::vector<char> buf(tmpl.begin(), tmpl.end());
  buf.push_back('\0');
  if (!::mkdtemp(buf.data())) return {};
  return buf.data();
}

// True when the child has exited; leaves it unreaped so its pid stays reserved.
bool hExited(pid_t pid) {
  siginfo_t info{};
  return ::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid == pid;
}

}  // namespace

std::string OfficeProcess::hFileUrl(const std::string& pPath) {
  std::error_code ec;
  std::string path = std::filesystem::absolute(pPath, ec).lexically_normal().string();
  if (ec) path = pPath;
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string url = "file://";
  for (unsigned char c : path) {
    if (std::isalnum(c) || std::strchr("/-._~", c)) {
      url += static_cast<char>(c);
    } else {
      url += '%';
      url += kHex[c >> 4];
      url += kHex[c & 15];
    }
  }
  return url;
}

OfficeProcess::~OfficeProcess() { END(); }

std::string OfficeProcess::CONNECTION() const { return "uno:pipe,name=" + pipe_ + ";urp;StarOffice.ComponentContext"; }

bool OfficeProcess::START(const std::string& pProgram, double pTimeoutSeconds) {
  // A client whose office dies mid-call must get an error from the bridge, not die of SIGPIPE.
  ::signal(SIGPIPE, SIG_IGN);
  profile_ = hTempFolder();
  if (profile_.empty()) return false;
  static std::atomic<unsigned> counter{0};
  std::random_device rd;
  pipe_ = "rykel_" + std::to_string(::getpid()) + "_" + std::to_string(++counter) + "_" + std::to_string(rd());

  std::vector<std::string> args = {pProgram,
                                   "--headless",
                                   "--invisible",
                                   "--nologo",
                                   "--norestore",
                                   "--nodefault",
                                   "--nolockcheck",
                                   "-env:UserInstallation=" + hFileUrl(profile_),
                                   "--accept=pipe,name=" + pipe_ + ";urp;StarOffice.ComponentContext"};
  std::vector<char*> argv;
  for (auto& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  std::vector<char*> envp;
  for (char** e = environ; e && *e; ++e) {
    if (hKeepForOffice(*e)) envp.push_back(*e);
  }
  envp.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attr;
  posix_spawn_file_actions_init(&actions);
  for (int fd = 0; fd <= 2; ++fd) {
    posix_spawn_file_actions_addopen(&actions, fd, "/dev/null", fd == 0 ? O_RDONLY : O_WRONLY, 0);
  }
  posix_spawnattr_init(&attr);
  // Own process group (kill(-pid) reaches the start script's children), default SIGPIPE and an
  // empty signal mask whatever the host has set.
  sigset_t none, pipe;
  sigemptyset(&none);
  sigemptyset(&pipe);
  sigaddset(&pipe, SIGPIPE);
  posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
  posix_spawnattr_setpgroup(&attr, 0);
  posix_spawnattr_setsigdefault(&attr, &pipe);
  posix_spawnattr_setsigmask(&attr, &none);
  pid_t pid = -1;
  int rc = ::posix_spawnp(&pid, pProgram.c_str(), &actions, &attr, argv.data(), envp.data());
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attr);
  if (rc != 0) {
    std::error_code ec;
    std::filesystem::remove_all(profile_, ec);
    profile_.clear();
    return false;
  }
  pid_ = pid;
  reaped_ = false;
  stop_ = false;
  timedOut_ = false;
  if (pTimeoutSeconds > 0) watchdog_ = std::thread([this, pTimeoutSeconds] { hWatch(pTimeoutSeconds); });
  return true;
}

void OfficeProcess::hWatch(double pSeconds) {
  std::unique_lock<std::mutex> lock(mutex_);
  auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(pSeconds);
  if (!wake_.wait_until(lock, deadline, [this] { return stop_; })) {
    timedOut_ = true;
    ::kill(-pid_, SIGKILL);
  }
}

bool OfficeProcess::RUNNING() { return pid_ > 0 && !reaped_ && !hExited(pid_); }

void OfficeProcess::END(double pGraceSeconds) {
  if (pid_ > 0 && !reaped_) {
    auto until = std::chrono::steady_clock::now() + std::chrono::duration<double>(pGraceSeconds);
    while (!hExited(pid_) && std::chrono::steady_clock::now() < until) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  }
  if (watchdog_.joinable()) {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      stop_ = true;
    }
    wake_.notify_all();
    watchdog_.join();
  }
  if (pid_ > 0 && !reaped_) {
    // The leader is unreaped, so the group id is still ours: the kill cannot hit a stranger.
    ::kill(-pid_, SIGKILL);
    while (::waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {}
    reaped_ = true;
  }
  if (!profile_.empty()) {
    std::error_code ec;
    std::filesystem::remove_all(profile_, ec);
    profile_.clear();
  }
}

}  // namespace rykel
