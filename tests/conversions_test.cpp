#include "tympora/node/conversions.hpp"

#include <gtest/gtest.h>

#include <bit>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <random>

#include "node/number_text.hpp"
#include "test_util.hpp"
#include "tympora/node/error.hpp"

namespace tympora {
namespace {

using testing::ErrorOf;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

struct AnObject : Object {};

// Blanks, tabs and line feeds inside are skipped, a CR ends the number; only
// the period separates decimals; an exponent (E or D) needs digits; &H takes
// up to 4 hex digits as 16 bits and up to 8 as 32 bits; beyond the double
// range is an infinity, except the export text of DBL_MAX.
TEST(ConversionsTextToNumber, ReadsTheLongestLeadingNumber) {
  const std::vector<std::pair<const char*, double>> cases = {
      {"", 0},          {"abc", 0},         {"12abc", 12},      {" 1 2.5", 12.5},
      {"1\t2\n3", 123}, {"1\r2", 1},        {"\r5", 0},         {".5", 0.5},
      {"-.25", -0.25},  {"+7", 7},          {"- 7", -7},        {"--7", 0},
      {"5.", 5},        {".", 0},           {"1.2.3", 1.2},     {"1,5", 1},
      {"1E3", 1000},    {"1e-3", 0.001},    {"2D2", 200},       {"2d+2", 200},
      {"1.5E", 1.5},    {"1.5E+", 1.5},     {"1.5E+x", 1.5},    {"1 E 2", 100},
      {"0.1", 0.1},     {"1E+400", kInf},   {"-1E+400", -kInf}, {"1E-400", 0},
      {"&H1F", 31},     {"&h1f", 31},       {" &H 1F", 31},     {"&H1FG", 31},
      {"&HFFFF", -1},   {"&H8000", -32768}, {"&H10000", 65536}, {"&HFFFFFFFF", -1},
      {"&O17", 15},     {"&o777", 511},     {"&O177777", -1},   {"&O8", 0},
      {"&H", 0},        {"&X1", 0},         {"-&H1", 0},        {"-0", -0.0},
      {"00012", 12},    {"E5", 0},          {"-", 0},           {"1 ", 1},
      {"0", 0},         {"-7", -7},         {" 1", 1},          {"1.5E-05", 1.5e-5},
  };
  const std::vector<std::pair<const char*, double>> long_cases = {
      {"&H80000000", -2147483648.0},      {"&H100000000", 4294967296.0},
      {"&H0FFFFFFFF", 4294967295.0},      {"123456789012345678901234567890", 1.2345678901234568e29},
      {"1.79769313486232E+308", DBL_MAX}, {"-1.79769313486232E+308", -DBL_MAX},
      {"1.797693134862325E+308", kInf},   {"4.94065645841247E-324", DBL_TRUE_MIN},
      {"1E99999999999999999999", kInf},   {"0.179769313486232E+309", DBL_MAX},
  };
  for (const auto* table : {&cases, &long_cases}) {
    for (const auto& [text, value] : *table) {
      SCOPED_TRACE(text);
      const double number = TextToNumber(text);
      EXPECT_EQ(number, value);
      // Where the import's one-pass reader answers, it agrees.
      double plain = 0;
      const bool answered = detail::ReadPlainNumber(text, plain);
      EXPECT_TRUE(!answered || (IsNumericText(text) && plain == number &&
                                std::signbit(plain) == std::signbit(number)));
    }
  }
}

// A numeric text is the whole text, blanks around it aside; the locale's
// decimal and grouping separators count, the period is always a decimal
// point, and a text beyond the double range is not numeric.
TEST(ConversionsIsNumericText, FollowsTheLocaleSeparators) {
  using Cases = std::vector<std::pair<const char*, double>>;  // NaN: not numeric
  const std::pair<const char*, Cases> by_locale[] = {
      {"C",
       {{"12", 12},     {" 12.5 ", 12.5}, {"\t-3\n", -3},   {"\r3", kNaN},   {"+.5", 0.5},
        {"5.", 5},      {"1E5", 1e5},     {"1d-2", 0.01},   {"&H1F", 31},    {"&O17", 15},
        {"&H1G", kNaN}, {"&H", kNaN},     {"", kNaN},       {"   ", kNaN},   {".", kNaN},
        {"-", kNaN},    {"12abc", kNaN},  {"1 2", kNaN},    {"1.2.3", kNaN}, {"1E", kNaN},
        {"1E+", kNaN},  {"1,000", kNaN},  {"1E+400", kNaN}, {"1E-400", 0},   {"Infinity", kNaN},
        {"NaN", kNaN},  {"0x10", kNaN}}},
      {"en_US.UTF-8",
       {{"1,234.5", 1234.5},
        {"1,5", 15},
        {",5", kNaN},
        {"5,", kNaN},
        {"1,,5", kNaN},
        {"1.5,0", kNaN}}},
      {"de_DE.UTF-8",
       {{"1,5", 1.5}, {"1.5", 1.5}, {"-0,25E2", -25}, {"1.234,5", kNaN}, {"1,2,3", kNaN}}},
  };
  for (const auto& [name, cases] : by_locale) {
    testing::LocaleGuard locale(name);
    for (const auto& [text, expected] : cases) {
      SCOPED_TRACE(std::string(name) + " [" + text + "]");
      const bool numeric = !std::isnan(expected);
      EXPECT_EQ(IsNumericText(text), numeric);
      EXPECT_EQ(IsNumericText(Variant(text)), numeric);
      double value = kNaN;
      EXPECT_EQ(ErrorOf([&] { value = ToDouble(text); }), numeric ? 0 : kErrTypeMismatch);
      EXPECT_TRUE(!numeric || value == expected) << value;
    }
  }
}

// Half to even; 2147483647.5 overflows because its even neighbour is 2^31.
TEST(ConversionsToInt32, RoundsHalfToEvenAndChecksTheRange) {
  const std::vector<std::pair<double, int32_t>> rounded = {
      {2.5, 2}, {3.5, 4}, {-2.5, -2}, {-3.5, -4}, {0.5, 0}, {-0.5, 0}, {1.5, 2}, {-7.7, -8},
  };
  const std::vector<std::pair<double, int32_t>> edges = {
      {0.49999999999999994, 0},   {2.5000000000000004, 3},    {2147483647.0, 2147483647},
      {2147483647.4, 2147483647}, {-2147483648.0, INT32_MIN}, {-2147483648.5, INT32_MIN},
  };
  for (const auto* table : {&rounded, &edges})
    for (const auto& [value, expected] : *table) EXPECT_EQ(ToInt32(value), expected) << value;
  for (double value : {2147483647.5, 2147483648.0, -2147483648.6, 1e300, -1e300, kNaN, kInf})
    EXPECT_EQ(ErrorOf([&] { ToInt32(value); }), kErrOverflow) << value;
  for (const int32_t value : {32767, -32768, 32768, -32769}) {
    const bool fits = value >= -32768 && value <= 32767;
    EXPECT_EQ(ErrorOf([&] { EXPECT_EQ(ToInt16(value), value); }), fits ? 0 : kErrOverflow);
  }
}

// What the conversions make of `value`, joined by '|': ValueToText,
// ToString, ToDouble, ToInt32, ToInt16, ToBoolean (0 or 1), ToDate's day
// count, and 0 or 1 for IsNumericText, IsDateValue and IsNullValue; an error
// shows as '#' and its number.
std::string Conversions(const Variant& value) {
  std::string out;
  const auto add = [&out](const std::function<std::string()>& convert) {
    try {
      out += convert() + "|";
    } catch (const Error& e) {
      out += "#" + std::to_string(e.Number()) + "|";
    }
  };
  const auto number = [](double x) {
    char buf[32];
    return std::string(buf, std::to_chars(buf, buf + sizeof buf, x).ptr);
  };
  add([&] { return ValueToText(value); });
  add([&] { return ToString(value); });
  add([&] { return number(ToDouble(value)); });
  add([&] { return std::to_string(ToInt32(value)); });
  add([&] { return std::to_string(ToInt16(value)); });
  add([&] { return std::to_string(ToBoolean(value)); });
  add([&] { return number(ToDate(value).value); });
  return out + std::to_string(IsNumericText(value)) + std::to_string(IsDateValue(value)) +
         std::to_string(IsNullValue(value));
}

TEST(ConversionsVariant, EachKindConvertsOrRaises) {
  testing::LocaleGuard locale("C");
  const std::pair<Variant, const char*> cases[] = {
      {Variant(), "||0|0|0|0|0|100"},
      {Variant(kNull), "#94|#94|#94|#94|#94|#94|#94|001"},
      {Variant(int16_t{-5}), "-5|-5|-5|-5|-5|1|-5|100"},
      {Variant(int32_t{70000}), " 70000|70000|70000|70000|#6|1|70000|100"},
      {Variant(int32_t{-657435}), "-657435|-657435|-657435|-657435|#6|1|#6|100"},
      {Variant(int32_t{0}), " 0|0|0|0|0|0|0|100"},
      {Variant(INT32_MIN), "-2147483648|-2147483648|-2147483648|-2147483648|#6|1|#6|100"},
      {Variant(-0.000015), "-1.5E-05|-1.5E-05|-1.5e-05|0|0|1|-1.5e-05|100"},
      {Variant(kNaN), "#6|#6|nan|#6|#6|1|#6|100"},
      {Variant(-kInf), "#6|#6|-inf|#6|#6|1|#6|100"},
      {Variant(32767.5), " 32767.5|32767.5|32767.5|32768|#6|1|32767.5|100"},
      {Variant(-0.5), "-.5|-0.5|-0.5|0|0|1|-0.5|100"},
      {Variant(0.0), " 0|0|0|0|0|0|0|100"},
      {Variant(2958466.0), " 2958466|2958466|2958466|2958466|#6|1|#6|100"},
      {Variant(1e20), " 1E+20|1E+20|1e+20|#6|#6|1|#6|100"},
      {Variant(Date(1.75)), "1899-12-31 18:00:00|1899-12-31 18:00:00|1.75|2|2|1|1.75|010"},
      {Variant(true), "True|True|-1|-1|-1|1|-1|100"},
      {Variant(false), "False|False|0|0|0|0|0|100"},
      {Variant(" 13.5 "), " 13.5 | 13.5 |13.5|14|14|1|#13|100"},
      {Variant("&H8000"), "&H8000|&H8000|-32768|-32768|-32768|1|#13|100"},
      {Variant("0"), "0|0|0|0|0|0|#13|100"},
      {Variant(" tRUE "), " tRUE | tRUE |#13|#13|#13|1|#13|000"},
      {Variant("FALSE"), "FALSE|FALSE|#13|#13|#13|0|#13|000"},
      {Variant("abc"), "abc|abc|#13|#13|#13|#13|#13|000"},
      {Variant(""), "||#13|#13|#13|#13|#13|000"},
      {Variant("1E+10"), "1E+10|1E+10|1e+10|#6|#6|1|#13|100"},
      {Variant("2026-11-22"), "2026-11-22|2026-11-22|#13|#13|#13|#13|46348|010"},
      {Variant(std::make_shared<AnObject>()), "#13|#13|#13|#13|#13|#13|#13|000"},
  };
  for (const auto& [value, expected] : cases) {
    SCOPED_TRACE(expected);
    EXPECT_EQ(Conversions(value), expected);
  }
}

// The 15-digit form of the magnitude `value` as it was first written, from
// the C++ library's correctly rounded 15-digit scientific text alone: the
// reference that the faster writer must match byte for byte.
std::string ReferenceText(double value, bool zero_before_separator) {
  if (value == 0) return "0";
  char buf[32] = {};  // d.dddddddddddddde+XX
  std::to_chars(buf, buf + sizeof buf, value, std::chars_format::scientific, 14);
  std::string digits = buf[0] + std::string(buf + 2, 14);
  digits.erase(digits.find_last_not_of('0') + 1);
  const int exponent = std::atoi(buf + 17);
  const size_t count = digits.size();
  if (exponent < -4 || exponent > 14) {
    std::snprintf(buf, sizeof buf, "E%+03d", exponent);
    return digits[0] + (count > 1 ? "." + digits.substr(1) : "") + buf;
  }
  if (exponent >= 0) {
    const size_t whole = static_cast<size_t>(exponent) + 1;
    if (count <= whole) return digits + std::string(whole - count, '0');
    return digits.substr(0, whole) + "." + digits.substr(whole);
  }
  return (zero_before_separator ? "0." : ".") + std::string(-exponent - 1, '0') + digits;
}

// A double of each kind in turn: any bit pattern, a denormal, a short
// decimal at any scale, a value at or next to a halfway point of the
// 15-digit grid, a whole number near the edge of the fixed form.
double SampleDouble(uint64_t i, std::mt19937_64& random) {
  const uint64_t bits = random();
  const double sign = (bits >> 63) ? -1.0 : 1.0;
  switch (i % 5) {
    case 0:
      return std::bit_cast<double>(bits);
    case 1:
      return std::bit_cast<double>(bits & 0x800FFFFFFFFFFFFFull);
    case 2: {  // a few decimals, and its neighbours
      const double powers[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};
      const uint64_t limit = 10 * static_cast<uint64_t>(powers[random() % 10]) * 100000;
      const double x = static_cast<double>(bits % limit) / powers[random() % 10];
      const int step = static_cast<int>(random() % 3) - 1;
      return sign * (step == 0 ? x : std::nextafter(x, step * kInf));
    }
    case 3: {
      char text[40];
      const auto digits = std::to_string(100000000000000ull + random() % 900000000000000ull) + "5";
      std::snprintf(text, sizeof text, "%c.%se%d", digits[0], digits.c_str() + 1,
                    static_cast<int>(random() % 630) - 320);
      double x = 0;
      std::from_chars(text, text + std::strlen(text), x);
      const int step = static_cast<int>(bits % 3) - 1;
      return sign * (step == 0 ? x : std::nextafter(x, step * kInf));
    }
    default:
      return sign * std::ldexp(static_cast<double>(bits >> 11), static_cast<int>(random() % 8) - 3);
  }
}

// Every text the library writes is the reference's and reads back: blanks
// trimmed, to 15 significant digits (denormals, with fewer digits of their
// own, only to their distance), is written again alike and is a number the
// import's one-pass reader reads alike.
TEST(ConversionsValueToText, FifteenDigitFormMatchesTheReferenceAndReadsBack) {
  // The 16th digit may carry into the exponent (1e15 - 0.5) or lift a value
  // out of the scientific form (1e-4 - 1e-20); a denormal keeps its few
  // exact digits.
  const double fixed[] = {
      0.0,       -0.0,         DBL_MAX,    -DBL_MAX,          DBL_MIN, DBL_TRUE_MIN, 1e15,   1e-5,
      1e-4,      0.1,          1e15 - 0.5, 99999999999999.95, 1e100,   5e-324,       1e-320, 1e14,
      0.1 + 0.2, 1e-4 - 1e-20, 2.0 / 3,    1234567890123456.0};
  // TYMPORA_NUMBER_SAMPLES runs more samples by hand.
  const char* const samples_env = std::getenv("TYMPORA_NUMBER_SAMPLES");
  const uint64_t samples = samples_env ? std::strtoull(samples_env, nullptr, 10) : 2000000;
  std::mt19937_64 random(20261123);
  int failures = 0;
  for (uint64_t i = 0; i < samples + std::size(fixed) && failures < 5; ++i) {
    const double x = i < std::size(fixed) ? fixed[i] : SampleDouble(i, random);
    if (!std::isfinite(x)) continue;
    char buf[detail::kMagnitudeChars];
    const bool zero = (i & 1) != 0;
    const std::string magnitude(buf, detail::WriteMagnitude(buf, std::fabs(x), zero));
    const std::string expected = ReferenceText(std::fabs(x), zero);
    const std::string text = ValueToText(x);
    if (magnitude != expected || text != (x < 0 ? "-" : " ") + ReferenceText(std::fabs(x), false)) {
      ++failures;
      ADD_FAILURE() << std::hexfloat << x << ": " << magnitude << " / " << text << ", expected "
                    << expected;
    }
    if (i < std::size(fixed) || i > 200000)
      continue;  // DBL_MAX reads back only through TextToNumber
    const std::string trimmed = TrimText(text);
    const double y = TextToNumber(trimmed);
    EXPECT_LE(std::fabs(y - x), std::fabs(x) * (5e-15 + DBL_EPSILON) + DBL_TRUE_MIN) << text;
    EXPECT_TRUE(!std::isnormal(x) || TrimText(ValueToText(y)) == trimmed) << text;
    double plain = 0;
    const bool answered = detail::ReadPlainNumber(trimmed, plain);
    ASSERT_TRUE(answered ? plain == y : std::fpclassify(x) == FP_SUBNORMAL) << text;
  }
}

// Decimals of up to 19 digits with the period anywhere: short ones take the
// import's one-pass reader's own road, long ones from_chars; both must round
// alike. A zero that from_chars reads is a plain number too.
TEST(ConversionsTest, PlainNumberReaderRoundsAsFromChars) {
  EXPECT_EQ(TrimText("  a b \t "), "a b \t");
  EXPECT_EQ(TrimText("   "), "");
  double zero = 1;
  EXPECT_TRUE(detail::ReadPlainNumber("0E0", zero) && zero == 0);
  uint64_t state = 7;
  const auto next = [&state] {
    return state = state * 6364136223846793005ull + 1442695040888963407ull;
  };
  for (int i = 0; i < 50000; ++i) {
    const size_t digits = 1 + (next() >> 59) % 19;
    std::string text = (state >> 58) & 1 ? "-" : "";
    for (size_t d = 0; d < digits; ++d) text += static_cast<char>('0' + (next() >> 60) % 10);
    const size_t point = (state >> 40) % (digits + 1);
    if (point < digits) text.insert(text.size() - point, ".");
    double value = 0, expected = 0;
    ASSERT_TRUE(detail::ReadPlainNumber(text, value)) << text;
    std::from_chars(text.data(), text.data() + text.size(), expected);
    ASSERT_EQ(value, expected) << text;
    ASSERT_EQ(std::signbit(value), std::signbit(expected)) << text;
  }
}

}  // namespace
}  // namespace tympora
