// Date and Variant: the value types of generic property access.
//
// A Date counts days from 30 December 1899 (day 0); its fraction is the time
// of day. A Variant is a tagged value whose kinds are numbered as ValueKind
// reports them.
#pragma once

#include "tympora/export.h"

#include <cstdint>
#include <memory>
#include <string>
#include <variant>

#include "tympora/node/object.hpp"

namespace tympora {

// A point in time as a day count from 30 December 1899. For days before
// that, the integral part counts back and the fraction is still the time of
// day: -1.25 is 29 December 1899, 06:00.
struct TYMPORA_API Date {
  double value = 0.0;

  constexpr Date() = default;
  constexpr explicit Date(double days) : value(days) {}
  friend constexpr bool operator==(Date a, Date b) { return a.value == b.value; }
};

// The kind numbers of a Variant.
enum class VariantKind : int32_t {
  Empty = 0,
  Null = 1,
  Int16 = 2,
  Int32 = 3,
  Double = 5,
  Date = 7,
  String = 8,
  Object = 9,
  Boolean = 11,
};

// Marker of the Null value.
struct TYMPORA_API NullValue {
  friend constexpr bool operator==(NullValue, NullValue) { return true; }
};
inline constexpr NullValue kNull{};

using ObjectPtr = std::shared_ptr<Object>;

// A tagged value. Default-constructed it is Empty.
class TYMPORA_API Variant {
 public:
  Variant() = default;
  Variant(NullValue) : v_(NullValue{}) {}
  Variant(int16_t i) : v_(i) {}
  Variant(int32_t i) : v_(i) {}
  Variant(double d) : v_(d) {}
  Variant(Date d) : v_(d) {}
  Variant(std::string s) : v_(std::move(s)) {}
  Variant(const char* s) : v_(std::string(s)) {}
  Variant(bool b) : v_(b) {}
  Variant(ObjectPtr o) : v_(std::move(o)) {}
  template <class T>
  requires std::is_base_of_v<Object, T> Variant(std::shared_ptr<T> o)
      : v_(ObjectPtr(std::move(o))) {}

  VariantKind Kind() const noexcept { return static_cast<VariantKind>(kKinds[v_.index()]); }
  bool IsEmpty() const noexcept { return v_.index() == 0; }
  bool IsNull() const noexcept { return v_.index() == 1; }

  // Typed access: each returns the held value and throws error 13 when the
  // Variant holds another kind (no conversion; see conversions.hpp for those).
  int16_t AsInt16() const;
  int32_t AsInt32() const;
  double AsDouble() const;
  Date AsDate() const;
  const std::string& AsString() const;
  bool AsBool() const;
  const ObjectPtr& AsObject() const;

  friend bool operator==(const Variant&, const Variant&) = default;

 private:
  using Storage = std::variant<std::monostate, NullValue, int16_t, int32_t, double, Date,
                               std::string, ObjectPtr, bool>;
  static constexpr int32_t kKinds[] = {0, 1, 2, 3, 5, 7, 8, 9, 11};
  template <class T>
  const T& Get() const;
  Storage v_;
};

}  // namespace tympora
