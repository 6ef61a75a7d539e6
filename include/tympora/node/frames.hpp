// The two failure frames that the whole library uses.
//
// Frame A belongs to members that return a status: the steps run under
// protection; a raised error skips the rest, is copied into the status, a
// cleanup runs with its own errors ignored, and the status is returned. The
// member never throws.
//
// Frame B belongs to members that build XML: a raised error skips the rest,
// is captured, the cleanup runs with its own errors ignored, and the captured
// error is raised again with the same five values.
#pragma once

#include "tympora/export.h"

#include <utility>

#include "tympora/node/status.hpp"

namespace tympora {

// A cleanup that does nothing.
struct TYMPORA_API NoCleanup {
  void operator()() const noexcept {}
};

// Runs `steps(status)` under frame A. `steps` receives the operation's status
// (Number 0) and may replace it by a status it received from a record; that
// status is then the one the error is copied into and the one returned.
template <class Steps, class Cleanup = NoCleanup>
StatusPtr RunFrameA(Steps&& steps, Cleanup&& cleanup = {}) noexcept {
  StatusPtr status;
  try {
    status = NewStatus();
    std::forward<Steps>(steps)(status);
    return status;
  } catch (...) {
    try {
      if (!status) status = NewStatus();
      status->OperatorEqualsErr();
    } catch (...) {
      // Only an allocation can fail here; the status keeps what it holds.
    }
    try {
      std::forward<Cleanup>(cleanup)();
    } catch (...) {
    }
  }
  return status;
}

// Runs `steps()` under frame B; see above.
template <class Steps, class Cleanup = NoCleanup>
void RunFrameB(Steps&& steps, Cleanup&& cleanup = {}) {
  try {
    std::forward<Steps>(steps)();
  } catch (...) {
    CStatus captured;
    captured.OperatorEqualsErr();
    try {
      std::forward<Cleanup>(cleanup)();
    } catch (...) {
    }
    captured.RaiseError();
  }
}

// The status of an export that is not provided: 2001 "Not implemented." with
// `source`, raised and caught again in frame A.
TYMPORA_API StatusPtr NotImplementedStatus(const char* source) noexcept;

}  // namespace tympora
