// Number texts shared by the conversions: the 15-digit form of a double.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tympora::detail {

// The most bytes that WriteMagnitude writes.
inline constexpr size_t kMagnitudeChars = 24;

// Writes the text of a finite, non-negative `magnitude` at `out` (room for
// kMagnitudeChars bytes) and returns its end: 15 significant digits,
// correctly rounded, trailing zeros dropped, a period before the fraction,
// scientific form (1.5E-05, 1E+15) when the decimal exponent is below -4 or
// above 14. Below 1 a zero precedes the period only when
// `zero_before_separator` is set. Independent of every locale.
char* WriteMagnitude(char* out, double magnitude, bool zero_before_separator) noexcept;

// Appends WriteMagnitude's text to `out` with `separator` in place of the
// period.
void AppendMagnitude(std::string& out, double magnitude, std::string_view separator,
                     bool zero_before_separator);

// Reads a plain number in one pass: an optional minus, digits with at most
// one period (at least one digit), an optional exponent E with a sign or
// none and digits; nothing else, no blanks. Such a text is numeric in every
// locale, and the value stored in `value` is exactly TextToNumber's. Returns
// false for any other text (and for values beyond the double range), which
// then needs the full rules.
bool ReadPlainNumber(std::string_view text, double& value) noexcept;

// The import's rule for numbers: a text that IsNumericText accepts is read
// with TextToNumber; any other text is no number (false). Plain texts, which
// are all the library writes, take ReadPlainNumber's road to the same value.
bool ReadNumber(std::string_view text, double& number);

}  // namespace tympora::detail
