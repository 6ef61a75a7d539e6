// Nullable<T>: a record's value with its null flag.
//
// The setter stores the value and clears the flag; SetNull stores the type's
// zero (0, 0.0, the empty text, Date 0, false) and sets the flag; the getter
// returns the stored value and ignores the flag. A new value is Null.
#pragma once

#include <utility>

namespace tympora {

template <class T>
class Nullable {
 public:
  Nullable() = default;

  const T& Get() const noexcept { return value_; }
  bool IsNull() const noexcept { return null_; }
  void Set(T value) {
    value_ = std::move(value);
    null_ = false;
  }
  void SetNull() {
    value_ = T{};
    null_ = true;
  }

  friend bool operator==(const Nullable&, const Nullable&) = default;

 private:
  T value_{};
  bool null_ = true;
};

}  // namespace tympora
