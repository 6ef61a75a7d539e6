// Timing and memory measurement for the clinic benchmark.
#include "measure.hpp"

#include <fcntl.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <exception>
#include <fstream>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <string>

namespace tympora::bench {
namespace {

// A "Vm...:" line of /proc/self/status in bytes, or -1.
int64_t StatusBytes(const char* key) {
  FILE* f = std::fopen("/proc/self/status", "r");
  if (!f) return -1;
  char line[256];
  int64_t kb = -1;
  const size_t key_len = std::strlen(key);
  while (std::fgets(line, sizeof line, f)) {
    if (std::strncmp(line, key, key_len) == 0 && line[key_len] == ':') {
      kb = std::strtoll(line + key_len + 1, nullptr, 10);
      break;
    }
  }
  std::fclose(f);
  return kb < 0 ? -1 : kb * 1024;
}

// Sets VmHWM back to the current resident size.
bool ResetPeak() {
  const int fd = ::open("/proc/self/clear_refs", O_WRONLY | O_CLOEXEC);
  if (fd < 0) return false;
  const bool ok = ::write(fd, "5", 1) == 1;
  ::close(fd);
  return ok;
}

int64_t MaxRssBytes() {
  rusage u{};
  ::getrusage(RUSAGE_SELF, &u);
  return static_cast<int64_t>(u.ru_maxrss) * 1024;
}

bool WriteAll(int fd, const void* data, size_t size) {
  const char* p = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t n = ::write(fd, p, size);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    p += n;
    size -= static_cast<size_t>(n);
  }
  return true;
}

// The child's side: measure, check, report through `fd`, never return.
[[noreturn]] void ChildMain(int fd, const Operation& op,
                            const std::function<std::string(const Leftover&)>& check) {
  ChildResult result;
  try {
    const int64_t base = ResidentBytes();
    const bool reset = ResetPeak();
    const int64_t peak_before = MaxRssBytes();
    Leftover left = op();
    if (reset) {
      result.peak_bytes = std::max<int64_t>(0, StatusBytes("VmHWM") - base);
    } else {
      const int64_t peak_after = MaxRssBytes();
      result.peak_bytes = peak_after > peak_before ? peak_after - base : 0;
    }
    if (check) result.failure = check(left);
  } catch (const std::exception& e) {
    result.failure = e.what();
  } catch (...) {
    result.failure = "unknown exception";
  }
  const bool ok = WriteAll(fd, &result.peak_bytes, sizeof result.peak_bytes) &&
                  WriteAll(fd, result.failure.data(), result.failure.size());
  ::_exit(ok ? 0 : 1);
}

}  // namespace

double Now(Clock clock) {
  if (clock == Clock::Wall) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
  }
  timespec ts{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
  return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

double TimeOnce(const Operation& op, Clock clock) {
  // Every run starts as a host's first call would: without free heap at hand.
  ReleaseFreeMemory();
  const double start = Now(clock);
  Leftover left = op();
  const double stop = Now(clock);
  left.reset();
  return stop - start;
}

double BestTime(const Operation& op, int runs, double budget, Clock clock) {
  // Quick operations get more runs, so that a moment of load elsewhere on
  // the machine does not decide their time.
  constexpr double kQuick = 0.5;
  constexpr int kMaxQuickRuns = 50;
  double best = std::numeric_limits<double>::infinity();
  double spent = 0;
  for (int i = 0;; ++i) {
    const bool more =
        i < std::max(1, runs) ? spent < budget : runs > 1 && spent < kQuick && i < kMaxQuickRuns;
    if (i > 0 && !more) break;
    const double t = TimeOnce(op, clock);
    best = std::min(best, t);
    spent += t;
  }
  return best;
}

ChildResult RunInChild(const Operation& op,
                       const std::function<std::string(const Leftover&)>& check) {
  ReleaseFreeMemory();
  std::fflush(nullptr);
  int fds[2];
  if (::pipe2(fds, O_CLOEXEC) != 0) return {-1, std::string("pipe: ") + std::strerror(errno)};
  const pid_t pid = ::fork();
  if (pid < 0) {
    ::close(fds[0]);
    ::close(fds[1]);
    return {-1, std::string("fork: ") + std::strerror(errno)};
  }
  if (pid == 0) {
    ::close(fds[0]);
    ChildMain(fds[1], op, check);
  }
  ::close(fds[1]);
  std::string bytes;
  char buffer[4096];
  for (;;) {
    const ssize_t n = ::read(fds[0], buffer, sizeof buffer);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    bytes.append(buffer, static_cast<size_t>(n));
  }
  ::close(fds[0]);
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  ChildResult result;
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0 || bytes.size() < sizeof(int64_t)) {
    result.failure = WIFSIGNALED(status)
                         ? std::string("child killed by signal ") + std::to_string(WTERMSIG(status))
                         : "child failed to report";
    return result;
  }
  std::memcpy(&result.peak_bytes, bytes.data(), sizeof(int64_t));
  result.failure = bytes.substr(sizeof(int64_t));
  return result;
}

int64_t ResidentBytes() { return StatusBytes("VmRSS"); }

void ReleaseFreeMemory() { ::malloc_trim(0); }

bool PeakResetWorks() {
  static const bool works = ResetPeak();
  return works;
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

ScratchFolder::ScratchFolder(const std::string& parent, const std::string& prefix) {
  std::string pattern = parent + "/" + prefix + "-XXXXXX";
  if (!::mkdtemp(pattern.data())) {
    throw std::runtime_error("cannot create a folder in " + parent + ": " + std::strerror(errno));
  }
  dir_ = pattern;
}

ScratchFolder::~ScratchFolder() {
  for (const std::string& name : names_) ::unlink((dir_ + "/" + name).c_str());
  ::rmdir(dir_.c_str());
}

std::string ScratchFolder::Path(const std::string& name) const {
  names_.insert(name);
  return dir_ + "/" + name;
}

}  // namespace tympora::bench
