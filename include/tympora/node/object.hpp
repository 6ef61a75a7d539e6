// Object: the common base of every object a Variant can refer to (records,
// statuses, lists, DOM handles wrapped for dispatch).
#pragma once

namespace tympora {

class Object {
 public:
  virtual ~Object() = default;

 protected:
  Object() = default;
  Object(const Object&) = default;
  Object& operator=(const Object&) = default;
};

}  // namespace tympora
