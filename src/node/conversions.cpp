// The conversions of a Variant: each dispatches on the kind of the value and
// leaves the text forms to number_text.cpp and date_text.cpp.
#include "tympora/node/conversions.hpp"

#include <cctype>
#include <cmath>
#include <string>
#include <string_view>

#include "node/number_text.hpp"
#include "tympora/node/error.hpp"
#include "tympora/node/locale.hpp"

namespace tympora {
namespace {

using Kind = VariantKind;

[[noreturn]] void RaiseNull() { RaisePlatformError(kErrInvalidUseOfNull); }
[[noreturn]] void RaiseMismatch() { RaisePlatformError(kErrTypeMismatch); }

bool EqualsNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(a[i])) !=
        std::tolower(static_cast<unsigned char>(b[i]))) {
      return false;
    }
  }
  return true;
}

// A day count as a Date; raises 6 unless it lies within the years 100 to 9999.
Date DateFromNumber(double days) {
  SplitDate(Date(days));
  return Date(days);
}

}  // namespace

std::string ValueToText(const Variant& value) {
  switch (value.Kind()) {
    case Kind::Empty:
      return {};
    case Kind::Null:
      RaiseNull();
    case Kind::Int16:
      return ValueToText(static_cast<int32_t>(value.AsInt16()));
    case Kind::Int32:
      return ValueToText(value.AsInt32());
    case Kind::Double:
      return ValueToText(value.AsDouble());
    case Kind::Date:
      return ValueToText(value.AsDate());
    case Kind::String:
      return value.AsString();
    case Kind::Boolean:
      return ValueToText(value.AsBool());
    case Kind::Object:
      break;
  }
  RaiseMismatch();
}

std::string ToString(const Variant& value) {
  switch (value.Kind()) {
    case Kind::Empty:
      return {};
    case Kind::Null:
      RaiseNull();
    case Kind::Int16:
      return std::to_string(value.AsInt16());
    case Kind::Int32:
      return std::to_string(value.AsInt32());
    case Kind::Double: {
      double d = value.AsDouble();
      if (!std::isfinite(d)) RaisePlatformError(kErrOverflow);
      std::string text(d < 0 ? "-" : "");
      detail::AppendMagnitude(text, std::fabs(d), CurrentLocale().decimal_separator, true);
      return text;
    }
    case Kind::Date:
      return ValueToText(value.AsDate());
    case Kind::String:
      return value.AsString();
    case Kind::Boolean:
      return ValueToText(value.AsBool());
    case Kind::Object:
      break;
  }
  RaiseMismatch();
}

// Empty, numbers and booleans convert to a number; texts by the number rule;
// Null, dates and objects are not numeric.
bool IsNumericText(const Variant& value) {
  switch (value.Kind()) {
    case Kind::Empty:
    case Kind::Int16:
    case Kind::Int32:
    case Kind::Double:
    case Kind::Boolean:
      return true;
    case Kind::String:
      return IsNumericText(value.AsString());
    default:
      return false;
  }
}

// Every kind's number is exact as a double, and whole numbers convert
// without rounding.
int32_t ToInt32(const Variant& value) { return ToInt32(ToDouble(value)); }

int16_t ToInt16(const Variant& value) { return ToInt16(ToInt32(value)); }

double ToDouble(const Variant& value) {
  switch (value.Kind()) {
    case Kind::Empty:
      return 0;
    case Kind::Null:
      RaiseNull();
    case Kind::Int16:
      return value.AsInt16();
    case Kind::Int32:
      return value.AsInt32();
    case Kind::Double:
      return value.AsDouble();
    case Kind::Date:
      return value.AsDate().value;
    case Kind::String:
      return ToDouble(std::string_view(value.AsString()));
    case Kind::Boolean:
      return value.AsBool() ? -1 : 0;
    case Kind::Object:
      break;
  }
  RaiseMismatch();
}

Date ToDate(const Variant& value) {
  switch (value.Kind()) {
    case Kind::Empty:
      return Date(0);
    case Kind::Null:
      RaiseNull();
    case Kind::Int16:
      return DateFromNumber(value.AsInt16());
    case Kind::Int32:
      return DateFromNumber(value.AsInt32());
    case Kind::Double:
      return DateFromNumber(value.AsDouble());
    case Kind::Date:
      return value.AsDate();
    case Kind::String:
      return ToDate(std::string_view(value.AsString()));
    case Kind::Boolean:
      return Date(value.AsBool() ? -1 : 0);
    case Kind::Object:
      break;
  }
  RaiseMismatch();
}

bool ToBoolean(const Variant& value) {
  switch (value.Kind()) {
    case Kind::Empty:
      return false;
    case Kind::Null:
      RaiseNull();
    case Kind::Int16:
    case Kind::Int32:
    case Kind::Double:
    case Kind::Date:
      return ToDouble(value) != 0;
    case Kind::Boolean:
      return value.AsBool();
    case Kind::String: {
      std::string text = TrimText(value.AsString());
      if (EqualsNoCase(text, "True")) return true;
      if (EqualsNoCase(text, "False")) return false;
      return ToDouble(std::string_view(text)) != 0;  // raises 13 for any other text
    }
    case Kind::Object:
      break;
  }
  RaiseMismatch();
}

bool IsNullValue(const Variant& value) noexcept { return value.IsNull(); }

bool IsDateValue(const Variant& value) {
  if (value.Kind() == Kind::Date) return true;
  if (value.Kind() == Kind::String) return IsDateValue(std::string_view(value.AsString()));
  return false;
}

int32_t ValueKind(const Variant& value) noexcept { return static_cast<int32_t>(value.Kind()); }

}  // namespace tympora
