// Object: the common base of every object a Variant can refer to (records,
// statuses, lists, DOM handles wrapped for dispatch).
#pragma once

#include "tympora/export.h"

namespace tympora {

// Every object counts itself while it lives, so that the library can tell
// whether it may be unloaded (the counter is defined with the component's
// entry points).
class TYMPORA_API Object {
 public:
  virtual ~Object();

  // The number of objects alive in the process; safe to call from any thread.
  static long LiveCount() noexcept;

 protected:
  Object() noexcept;
  Object(const Object&) noexcept;
  Object& operator=(const Object&) = default;
};

}  // namespace tympora
