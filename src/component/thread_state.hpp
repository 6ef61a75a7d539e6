// What the component remembers per thread: the last error of the C
// interface, and the last error that late-bound dispatch raised (which
// OperatorEqualsErr called by name copies).
//
// The state lives under a POSIX thread key, not in thread_local objects: a
// thread_local with a destructor keeps the library mapped after dlclose for
// as long as its thread runs, so a host could never unload the library.
#pragma once

#include <optional>
#include <string>

#include "tympora/node/error.hpp"

namespace tympora::component {

struct ThreadState {
  std::string description;  // the C interface's last error
  std::string source;
  std::string help_file;
  std::optional<Error> raised;  // dispatch's last raised error
};

// The calling thread's state, created on first use and freed when the thread
// ends (or, for the unloading thread, when the library is unloaded). nullptr
// only when memory runs out.
ThreadState* CurrentThreadState() noexcept;

}  // namespace tympora::component
