// Fuzzes every text conversion: TextToNumber, IsNumericText, ToDouble,
// ToInt32, ToBoolean, ToDate, IsDateValue, and ValueToText of what they read.
//
// Input: the first byte picks the locale, the next eight are read as a raw
// double, the rest is the text. Besides "no crash or sanitizer report" it
// checks the rules that import and export rely on:
// - a conversion fails only with a tympora::Error of its documented numbers;
// - a numeric text reads as a finite number, also through ToDouble, ToInt32
//   (or overflows) and ToBoolean;
// - a non-numeric text makes ToDouble and ToInt32 fail with 13;
// - the export text of a finite double is numeric and reads back to the same
//   text (15 significant digits);
// - a date text reads as a date whose export text reads back to itself;
// - ValueToText of a double fails only for a value that is not finite.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "fuzz_util.hpp"
#include "tympora/node/conversions.hpp"

namespace {

using namespace tympora;
using fuzz::Broken;
using fuzz::ErrorOf;

const char* const kLocales[] = {"C", "en_US.UTF-8", "de_DE.UTF-8", "en_GB.UTF-8"};

void CheckNumberText(const std::string& text) {
  const double number = TextToNumber(text);
  const bool numeric = IsNumericText(text);
  const Variant v(text);
  if (numeric != IsNumericText(v)) Broken("IsNumericText of a string Variant differs", text);
  if (!numeric) {
    if (ErrorOf([&] { (void)ToDouble(v); }) != kErrTypeMismatch ||
        ErrorOf([&] { (void)ToInt32(v); }) != kErrTypeMismatch)
      Broken("ToDouble or ToInt32 of a non-numeric text does not fail with 13", text);
    const int32_t b = ErrorOf([&] { (void)ToBoolean(v); });
    if (b != 0 && b != kErrTypeMismatch) Broken("ToBoolean failed with another number", text);
    return;
  }
  if (!std::isfinite(number)) Broken("a numeric text reads as a number that is not finite", text);
  double d = 0;
  if (ErrorOf([&] { d = ToDouble(v); }) != 0 || !std::isfinite(d))
    Broken("ToDouble of a numeric text fails or is not finite", text);
  const int32_t i = ErrorOf([&] { (void)ToInt32(v); });
  if (i != 0 && i != kErrOverflow)
    Broken("ToInt32 of a numeric text fails with another number", text);
  if (ErrorOf([&] { (void)ToBoolean(v); }) != 0) Broken("ToBoolean fails on a numeric text", text);
}

// The export text of a finite double is numeric in every locale and reads
// back to itself.
void CheckDoubleText(double value, std::string_view origin) {
  std::string text;
  const int32_t error = ErrorOf([&] { text = ValueToText(value); });
  if (!std::isfinite(value)) {
    if (error != kErrOverflow)
      Broken("ValueToText of a non-finite double does not fail with 6", origin);
    return;
  }
  if (error != 0) Broken("ValueToText of a finite double fails", origin);
  const double back = TextToNumber(text);
  if (!IsNumericText(text) || ValueToText(back) != text)
    Broken("the export text of a double is not numeric or does not read back", text);
  const double scale = std::max(std::fabs(value), 1e-300);
  if (std::fabs(back - value) > scale * 1e-14)
    Broken("a double read back is not within 15 digits", text);
}

void CheckDateText(const std::string& text) {
  const bool is_date = IsDateValue(text);
  if (is_date != IsDateValue(Variant(text)))
    Broken("IsDateValue of a string Variant differs", text);
  Date date;
  const int32_t error = ErrorOf([&] { date = ToDate(text); });
  if (!is_date) {
    if (error != kErrTypeMismatch) Broken("ToDate of a non-date text does not fail with 13", text);
    return;
  }
  std::string written;
  if (error != 0 || ErrorOf([&] { written = ValueToText(date); }) != 0)
    Broken("a date text cannot be read or written", text);
  if (!IsDateValue(written) || ValueToText(ToDate(written)) != written)
    Broken("the export text of a date is no date or does not read back", written);
}

void CheckRawDouble(double raw) {
  CheckDoubleText(raw, "raw double");
  Date date;
  const int32_t error = ErrorOf([&] { date = ToDate(Variant(raw)); });
  if (error != 0 && error != kErrOverflow) Broken("ToDate of a number fails with another number");
  if (error == 0 && !IsDateValue(ValueToText(date)))
    Broken("the export text of a day count is no date", ValueToText(date));
  const int32_t i = ErrorOf([&] { (void)ToInt32(raw); });
  if (i != 0 && i != kErrOverflow) Broken("ToInt32 of a double fails with another number");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size-- < 1) return 0;
  SetLocale(kLocales[*data++ % 4]);
  if (size >= sizeof(double)) {
    double raw;
    std::memcpy(&raw, data, sizeof raw);
    CheckRawDouble(raw);
  }
  const std::string text(reinterpret_cast<const char*>(data), size);
  CheckNumberText(text);
  CheckDoubleText(TextToNumber(text), text);
  CheckDateText(text);
  return 0;
}
