// Number texts shared by the conversions: the 15-digit form of a double.
#pragma once

#include <string>
#include <string_view>

namespace tympora::detail {

// Appends the text of a finite, non-negative `magnitude` to `out`: 15
// significant digits, trailing zeros dropped, `separator` before the
// fraction, scientific form (1.5E-05, 1E+15) when the decimal exponent is
// below -4 or above 14. Below 1 a zero precedes the separator only when
// `zero_before_separator` is set.
void AppendMagnitude(std::string& out, double magnitude, std::string_view separator,
                     bool zero_before_separator);

}  // namespace tympora::detail
