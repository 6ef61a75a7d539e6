// Numbers as text: the 15-digit export form, the lenient leading-number
// reader, the strict numeric-text test and the integer rounding.
#include <algorithm>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "node/number_text.hpp"
#include "node/white_space.hpp"
#include "tympora/node/conversions.hpp"
#include "tympora/node/error.hpp"
#include "tympora/node/locale.hpp"

namespace tympora {
namespace detail {

namespace {

// Powers of ten that a double holds exactly.
constexpr double kExactPowers[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8};

// True when `magnitude` (positive) is the double nearest to m / 10^k for a
// whole m below 10^15 and k up to 8, with the smallest such k: a whole
// number, or one with a few decimals, as most measured values are. Such a
// decimal is the only one of at most 15 significant digits that reads back
// as `magnitude` (two of them lie further apart than a double's unit in the
// last place), so its digits are the shortest form and the rounded one.
bool ShortDecimal(double magnitude, uint64_t& m, size_t& k) noexcept {
  for (k = 0; k < std::size(kExactPowers); ++k) {
    const double product = magnitude * kExactPowers[k];
    if (!(product < 1e15)) return false;
    // Adding and taking away 1.5 * 2^52 rounds a value below 2^51 to a whole
    // number, ties to even.
    const double scaled = product + 0x1.8p52 - 0x1.8p52;
    // Where m / 10^k is the value, the product lies within a few units in
    // its last place of m: others need no division.
    if (std::fabs(product - scaled) > product * 0x1p-50) continue;
    if (scaled / kExactPowers[k] != magnitude) continue;
    m = static_cast<uint64_t>(scaled);
    return true;
  }
  return false;
}

// Writes m / 10^k in the plain form: the digits of m with a period before
// the last k of them, and before a fraction below 1 a period alone (a zero
// first when `zero_before_separator`).
char* WriteDecimal(char* out, uint64_t m, size_t k, bool zero_before_separator) noexcept {
  char digits[16];
  const size_t count = static_cast<size_t>(std::to_chars(digits, digits + 16, m).ptr - digits);
  if (count > k) {
    out = std::copy(digits, digits + count - k, out);
    if (k == 0) return out;
    *out++ = '.';
    return std::copy(digits + count - k, digits + count, out);
  }
  if (zero_before_separator) *out++ = '0';
  *out++ = '.';
  out = std::fill_n(out, k - count, '0');
  return std::copy(digits, digits + count, out);
}

// The significant digits of `magnitude` (positive, finite) rounded to at
// most 15, without trailing zeros, at `digits`; returns their count and sets
// `exponent`, the decimal exponent of the first digit. A carry of the
// rounding (9.999...e2 to 1e3) is already in the exponent.
size_t SignificantDigits(double magnitude, char* digits, int& exponent) noexcept {
  char buf[40];
  size_t count = 0;
  // For a normal double the shortest digits that read back as it lie within
  // half a unit in its last place, which is less than half a step of the
  // 15-digit grid: when there are at most 15 of them they are the correctly
  // rounded form. Longer forms and denormals are rounded to 15.
  const char* end = buf;
  const char* e = buf;
  if (magnitude >= DBL_MIN) {
    end = std::to_chars(buf, buf + sizeof buf, magnitude, std::chars_format::scientific).ptr;
    e = std::find(static_cast<const char*>(buf), end, 'e');
  }
  if (e - buf > 16 || e == buf) {  // more than 15 digits and the period, or a denormal
    end = std::to_chars(buf, buf + sizeof buf, magnitude, std::chars_format::scientific, 14).ptr;
    e = buf + 16;
  }
  digits[count++] = buf[0];
  for (const char* p = buf + 2; p < e; ++p) digits[count++] = *p;
  std::from_chars(e + 2, end, exponent);  // e[1] is the exponent's sign
  if (e[1] == '-') exponent = -exponent;
  while (count > 1 && digits[count - 1] == '0') --count;
  return count;
}

}  // namespace

char* WriteMagnitude(char* out, double magnitude, bool zero_before_separator) noexcept {
  if (magnitude == 0) {
    *out = '0';
    return out + 1;
  }
  // From 10^-4 on, a short decimal is written in the plain form.
  uint64_t m = 0;
  size_t k = 0;
  if (magnitude >= 1e-4 && ShortDecimal(magnitude, m, k)) {
    return WriteDecimal(out, m, k, zero_before_separator);
  }
  char digits[16];
  int exponent = 0;
  const size_t count = SignificantDigits(magnitude, digits, exponent);
  char* p = out;
  if (exponent < -4 || exponent > 14) {
    *p++ = digits[0];
    if (count > 1) {
      *p++ = '.';
      p = std::copy(digits + 1, digits + count, p);
    }
    *p++ = 'E';
    *p++ = exponent < 0 ? '-' : '+';
    const int shown = std::abs(exponent);
    if (shown < 10) *p++ = '0';
    return std::to_chars(p, p + 3, shown).ptr;
  }
  if (exponent >= 0) {
    const size_t whole = static_cast<size_t>(exponent) + 1;
    if (count <= whole) {
      p = std::copy(digits, digits + count, p);
      return std::fill_n(p, whole - count, '0');
    }
    p = std::copy(digits, digits + whole, p);
    *p++ = '.';
    return std::copy(digits + whole, digits + count, p);
  }
  if (zero_before_separator) *p++ = '0';
  *p++ = '.';
  p = std::fill_n(p, -exponent - 1, '0');
  return std::copy(digits, digits + count, p);
}

void AppendMagnitude(std::string& out, double magnitude, std::string_view separator,
                     bool zero_before_separator) {
  char buf[kMagnitudeChars];
  const std::string_view text(
      buf, static_cast<size_t>(WriteMagnitude(buf, magnitude, zero_before_separator) - buf));
  const size_t point = text.find('.');
  if (point == std::string_view::npos) {
    out.append(text);
  } else {
    out.append(text.substr(0, point)).append(separator).append(text.substr(point + 1));
  }
}

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

int DigitValue(char c) {
  if (IsDigit(c)) return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return 99;
}

// The value of an &H (base 16) or &O (base 8) integer. Short forms are
// two's complement integers: up to 4 hex or 6 octal digits 16 bits wide, up
// to 8 hex or 11 octal digits 32 bits wide; longer forms are unsigned.
double RadixValue(std::string_view digits, int base) {
  double value = 0;
  if (base == 16) {
    auto res = std::from_chars(digits.data(), digits.data() + digits.size(), value,
                               std::chars_format::hex);
    if (res.ec == std::errc::result_out_of_range) return HUGE_VAL;
  } else {
    for (char c : digits) value = value * 8 + DigitValue(c);
  }
  size_t n = digits.size();
  if (n <= (base == 16 ? 4u : 6u) && value <= 0xFFFF) {
    return value >= 0x8000 ? value - 0x10000 : value;
  }
  if (n <= (base == 16 ? 8u : 11u) && value <= 0xFFFFFFFF) {
    return value >= 0x80000000 ? value - 4294967296.0 : value;
  }
  return value;
}

// The leading &H / &O integer of `text`, which starts with '&'.
double ReadRadix(std::string_view text, size_t* used) {
  *used = 0;
  if (text.size() < 3) return 0;
  char prefix = text[1];
  int base = (prefix == 'H' || prefix == 'h') ? 16 : (prefix == 'O' || prefix == 'o') ? 8 : 0;
  if (base == 0) return 0;
  size_t end = 2;
  while (end < text.size() && DigitValue(text[end]) < base) ++end;
  if (end == 2) return 0;
  *used = end;
  return RadixValue(text.substr(2, end - 2), base);
}

// The value of a text beyond the double range: an infinity, except that a
// text that rounds to the 15-digit form of the largest double reads as that
// double, so that the export text of every finite double reads back finite.
// `digits` are the mantissa digits without the period.
double BeyondRange(std::string digits, long long exponent) {
  size_t first = digits.find_first_not_of('0');
  if (first == std::string::npos) return 0;
  long long decimal_exp = static_cast<long long>(digits.size() - 1 - first) + exponent;
  if (decimal_exp <= 0) return 0;  // below the smallest denormal
  digits.erase(0, first);
  digits.erase(digits.find_last_not_of('0') + 1);
  if (decimal_exp == DBL_MAX_10_EXP && digits < "1797693134862325") return DBL_MAX;
  return HUGE_VAL;
}

// The value of the digits `whole` and `fraction` times 10^exponent, read
// exactly.
double DecimalValue(std::string_view whole, std::string_view fraction, long long exponent) {
  exponent -= static_cast<long long>(fraction.size());
  char small[64];
  std::string large;
  size_t size = whole.size() + fraction.size() + 24;
  char* buf = small;
  if (size > sizeof small) {
    large.resize(size);
    buf = large.data();
  }
  char* p = std::copy(whole.begin(), whole.end(), buf);
  p = std::copy(fraction.begin(), fraction.end(), p);
  size_t digit_count = static_cast<size_t>(p - buf);
  *p++ = 'e';
  p = std::to_chars(p, buf + size, exponent).ptr;
  double value = 0;
  if (std::from_chars(buf, p, value).ec == std::errc::result_out_of_range) {
    return BeyondRange(std::string(buf, digit_count), exponent);
  }
  return value;
}

size_t DigitsAt(std::string_view text, size_t i) {
  size_t end = i;
  while (end < text.size() && IsDigit(text[end])) ++end;
  return end;
}

// Reads a decimal number at the start of `text` (no blanks in it): sign,
// digits with at most one period, exponent E or D. Sets *used to the length
// read, 0 when no number starts the text.
double ReadDecimal(std::string_view text, size_t* used) {
  *used = 0;
  size_t i = 0;
  bool negative = false;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
  size_t end = DigitsAt(text, i);
  std::string_view whole = text.substr(i, end - i), fraction;
  i = end;
  if (i < text.size() && text[i] == '.') {
    end = DigitsAt(text, i + 1);
    fraction = text.substr(i + 1, end - i - 1);
    i = end;
  }
  if (whole.empty() && fraction.empty()) return 0;
  long long exponent = 0;
  if (i < text.size() && std::string_view("EeDd").find(text[i]) != std::string_view::npos) {
    size_t j = i + 1;
    bool negative_exp = false;
    if (j < text.size() && (text[j] == '+' || text[j] == '-')) negative_exp = text[j++] == '-';
    if (j < text.size() && IsDigit(text[j])) {
      for (; j < text.size() && IsDigit(text[j]); ++j) {
        if (exponent < 1000000) exponent = exponent * 10 + (text[j] - '0');
      }
      if (negative_exp) exponent = -exponent;
      i = j;
    }
  }
  *used = i;
  double magnitude = DecimalValue(whole, fraction, exponent);
  return negative ? -magnitude : magnitude;
}

// The ASCII number that `text` spells in the current locale's number form
// (decimal separator the period or the locale's, grouping separators between
// digits), or nothing when the whole text is not such a number.
std::optional<std::string> CanonicalNumber(std::string_view text) {
  while (!text.empty() && IsNumberBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsNumberBlank(text.back())) text.remove_suffix(1);
  if (text.empty()) return std::nullopt;
  if (text.front() == '&') {
    size_t used = 0;
    ReadRadix(text, &used);
    if (used == 0 || used != text.size()) return std::nullopt;
    return std::string(text);
  }
  const LocaleSettings& locale = CurrentLocale();
  const std::string& decimal = locale.decimal_separator;
  std::string_view group = locale.thousands_separator;
  if (group == "." || group == decimal) group = {};

  std::string out;
  size_t i = 0;
  if (text[i] == '+' || text[i] == '-') out += text[i++];
  bool digits = false, point = false;
  while (i < text.size()) {
    char c = text[i];
    if (IsDigit(c)) {
      out += c, digits = true, ++i;
    } else if (!point && (c == '.' || (!decimal.empty() && text.substr(i).starts_with(decimal)))) {
      out += '.', point = true, i += c == '.' ? 1 : decimal.size();
    } else if (!point && !group.empty() && i > 0 && IsDigit(text[i - 1]) &&
               text.substr(i).starts_with(group) && i + group.size() < text.size() &&
               IsDigit(text[i + group.size()])) {
      i += group.size();
    } else {
      break;
    }
  }
  if (!digits) return std::nullopt;
  if (i < text.size() && std::string_view("EeDd").find(text[i]) != std::string_view::npos) {
    out += 'E', ++i;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) out += text[i++];
    if (i == text.size()) return std::nullopt;
    while (i < text.size() && IsDigit(text[i])) out += text[i++];
  }
  if (i != text.size()) return std::nullopt;
  return out;
}

}  // namespace
}  // namespace detail

namespace detail {

bool ReadPlainNumber(std::string_view text, double& value) noexcept {
  // Powers of ten that a double holds exactly.
  static constexpr double kExact[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                      1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                      1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
  size_t i = 0;
  const size_t n = text.size();
  const bool negative = i < n && text[i] == '-';
  if (negative) ++i;
  size_t digits = 0;
  uint64_t mantissa = 0;  // of the first 19 digits; exact while digits <= 15
  const auto read_digits = [&] {
    const size_t start = i;
    for (; i < n && IsDigit(text[i]); ++i, ++digits) {
      if (digits < 19) mantissa = mantissa * 10 + static_cast<uint64_t>(text[i] - '0');
    }
    return i - start;
  };
  read_digits();
  size_t fraction_digits = 0;
  if (i < n && text[i] == '.') {
    ++i;
    fraction_digits = read_digits();
  }
  if (digits == 0) return false;
  if (i == n && digits <= 15) {
    // Both the digits and the power of ten are exact doubles, so one
    // division rounds correctly: the value from_chars would give.
    const double magnitude = static_cast<double>(mantissa) / kExact[fraction_digits];
    value = negative ? -magnitude : magnitude;
    return true;
  }
  if (i < n && text[i] == 'E') {
    ++i;
    if (i < n && (text[i] == '+' || text[i] == '-')) ++i;
    size_t exponent_digits = 0;
    while (i < n && IsDigit(text[i])) ++i, ++exponent_digits;
    if (exponent_digits == 0) return false;
  }
  if (i != n) return false;
  const auto result = std::from_chars(text.data(), text.data() + n, value);
  return result.ec == std::errc() && result.ptr == text.data() + n && std::isfinite(value) &&
         (value != 0 || text.find_first_of("123456789") == std::string_view::npos);
}

bool ReadNumber(std::string_view text, double& number) {
  if (ReadPlainNumber(text, number)) return true;
  if (!IsNumericText(text)) return false;
  number = TextToNumber(text);
  return true;
}

}  // namespace detail

std::string ValueToText(int32_t value) {
  char text[12] = {' '};  // the blank that stands for the sign of a value >= 0
  const char* const end = std::to_chars(text + 1, text + sizeof text, value).ptr;
  const char* const start = value >= 0 ? text : text + 1;
  return std::string(start, end);
}

std::string ValueToText(double value) {
  if (!std::isfinite(value)) RaisePlatformError(kErrOverflow);
  std::string text(value < 0 ? "-" : " ");
  detail::AppendMagnitude(text, std::fabs(value), ".", false);
  return text;
}

std::string ValueToText(bool value) { return value ? "True" : "False"; }

std::string TrimText(std::string_view text) {
  size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  size_t last = text.find_last_not_of(' ');
  return std::string(text.substr(first, last - first + 1));
}

// A number beyond the double range reads as an infinity of its sign (no
// error: the reader never fails); one below the smallest denormal as zero.
double TextToNumber(std::string_view text) {
  std::string packed;
  if (std::any_of(text.begin(), text.end(), detail::IsNumberBlank)) {
    for (char c : text) {
      if (!detail::IsNumberBlank(c)) packed += c;
    }
    text = packed;
  }
  size_t used = 0;
  if (!text.empty() && text.front() == '&') return detail::ReadRadix(text, &used);
  return detail::ReadDecimal(text, &used);
}

bool IsNumericText(std::string_view text) {
  auto canonical = detail::CanonicalNumber(text);
  return canonical && std::isfinite(TextToNumber(*canonical));
}

double ToDouble(std::string_view text) {
  auto canonical = detail::CanonicalNumber(text);
  double value = canonical ? TextToNumber(*canonical) : 0.0;
  if (!canonical || !std::isfinite(value)) RaisePlatformError(kErrTypeMismatch);
  return value;
}

int32_t ToInt32(double value) {
  // Whole numbers in range, the common case, need no rounding.
  if (value >= -2147483648.0 && value <= 2147483647.0) {
    const auto whole = static_cast<int32_t>(value);
    if (whole == value) return whole;
  }
  if (!std::isfinite(value)) RaisePlatformError(kErrOverflow);
  // Half to even, independent of the floating-point rounding mode;
  // value - floor(value) is exact for every double.
  double whole = std::floor(value);
  double fraction = value - whole;
  if (fraction > 0.5 || (fraction == 0.5 && std::fmod(whole, 2.0) != 0)) whole += 1;
  if (whole < -2147483648.0 || whole > 2147483647.0) RaisePlatformError(kErrOverflow);
  return static_cast<int32_t>(whole);
}

int16_t ToInt16(int32_t value) {
  if (value < -32768 || value > 32767) RaisePlatformError(kErrOverflow);
  return static_cast<int16_t>(value);
}

}  // namespace tympora
