// Timing and memory measurement for the clinic benchmark.
//
// Times are taken from runs in the benchmark process itself, the best of a
// few. Peak memory is measured in a forked child per operation: the
// child resets its resident high-water mark (or, where the kernel does not
// allow that, notes its peak so far), runs the operation once and reports how
// far its resident size rose above where it started. The parent hands its free
// heap back to the system before every fork, so that a child cannot hide its
// growth in memory the parent had already touched.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>

namespace tympora::bench {

// An operation under measurement. It raises on failure and may return what it
// built (a document, a record tree); that is released after the clock stops.
using Leftover = std::shared_ptr<void>;
using Operation = std::function<Leftover()>;

// What a time counts: the CPU time of this process (user and system, so the
// kernel's work for fresh memory and for writes counts too; time spent
// waiting for a core that another process holds does not), or wall-clock
// time.
enum class Clock { Cpu, Wall };

// The current reading of `clock` in seconds.
double Now(Clock clock);

// Seconds of one run of `op`, started after the free heap went back to the
// system.
double TimeOnce(const Operation& op, Clock clock);

// The best time of `runs` runs; stops early, after at least one run, once
// the runs together took `budget` seconds. With `runs` above 1, quick
// operations run more often, up to half a second in all.
double BestTime(const Operation& op, int runs, double budget, Clock clock);

// The result of one run in a child process.
struct ChildResult {
  int64_t peak_bytes = -1;  // growth of resident memory during the run
  std::string failure;      // what went wrong, empty on success
};

// Runs `op` once in a forked child and reports its peak memory growth. After
// the measurement the child calls `check` with what `op` returned (when
// given); a non-empty answer is reported as a failure.
ChildResult RunInChild(const Operation& op,
                       const std::function<std::string(const Leftover&)>& check = {});

// The resident size of this process in bytes.
int64_t ResidentBytes();

// Returns the free heap of this process to the system.
void ReleaseFreeMemory();

// The bytes of the file at `path`; "" when it cannot be read.
std::string ReadFile(const std::string& path);

// A private folder made under `parent`, its name starting with `prefix`.
// The files named through Path are removed with it at the end.
class ScratchFolder {
 public:
  ScratchFolder(const std::string& parent, const std::string& prefix);
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  ~ScratchFolder();
  // The path of the file `name` in the folder.
  std::string Path(const std::string& name) const;

 private:
  std::string dir_;
  mutable std::set<std::string> names_;
};

// Whether the kernel lets a process reset its resident high-water mark; when
// it does not, peaks are taken from getrusage and may read low.
bool PeakResetWorks();

}  // namespace tympora::bench
