#include "tympora/node/conversions.hpp"

#include <gtest/gtest.h>

#include <bit>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>

#include "node/number_text.hpp"
#include "test_util.hpp"
#include "tympora/node/error.hpp"

namespace tympora {
namespace {

using testing::ErrorOf;
using testing::LocaleGuard;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

struct AnObject : Object {};

TEST(ConversionsValueToText, Doubles) {
  const struct {
    double value;
    const char* text;
  } cases[] = {
      {0.0, " 0"},
      {-0.0, " 0"},
      {1.0, " 1"},
      {-1.0, "-1"},
      {100.0, " 100"},
      {-7.0, "-7"},
      {0.5, " .5"},
      {-0.25, "-.25"},
      {0.1, " .1"},
      {0.1 + 0.2, " .3"},
      {1.0 / 3, " .333333333333333"},
      {2.0 / 3, " .666666666666667"},
      {-2.0 / 3, "-.666666666666667"},
      {12.5, " 12.5"},
      {123.456, " 123.456"},
      {0.0001, " .0001"},
      {0.00012345, " .00012345"},
      {0.00001, " 1E-05"},
      {-0.000015, "-1.5E-05"},
      {123456789012345.0, " 123456789012345"},
      {-999999999999999.0, "-999999999999999"},
      {99999999999999.9, " 99999999999999.9"},
      {1e14, " 100000000000000"},
      {1e15, " 1E+15"},
      {-1e15, "-1E+15"},
      {1234567890123456.0, " 1.23456789012346E+15"},
      {999999999999999.4, " 999999999999999"},
      {999999999999999.5, " 1E+15"},  // the 16th digit carries into the exponent
      {0.99999999999999995, " 1"},    // rounds up to a whole number
      {1.0000000000000051, " 1.00000000000001"},
      {0.00009999999999999999, " .0001"},  // rounding lifts it out of the scientific form
      {1e100, " 1E+100"},
      {1e-100, " 1E-100"},
      {1e-300, " 1E-300"},
      {1.5e300, " 1.5E+300"},
      {DBL_MAX, " 1.79769313486232E+308"},
      {-DBL_MAX, "-1.79769313486232E+308"},
      {DBL_MIN, " 2.2250738585072E-308"},
      {DBL_TRUE_MIN, " 4.94065645841247E-324"},
      {-DBL_TRUE_MIN, "-4.94065645841247E-324"},
      {1e-320, " 9.99988867182683E-321"},  // a denormal keeps its few exact digits
      {3.14159265358979, " 3.14159265358979"},
      {2147483648.0, " 2147483648"},
      {440.0, " 440"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(ValueToText(c.value), c.text);
  }
}

TEST(ConversionsValueToText, IntegersBooleansAndVariants) {
  EXPECT_EQ(ValueToText(int32_t{5}), " 5");
  EXPECT_EQ(ValueToText(int32_t{0}), " 0");
  EXPECT_EQ(ValueToText(int32_t{-3}), "-3");
  EXPECT_EQ(ValueToText(INT32_MIN), "-2147483648");
  EXPECT_EQ(ValueToText(true), "True");
  EXPECT_EQ(ValueToText(false), "False");
  EXPECT_EQ(ValueToText(Variant(int16_t{-12})), "-12");
  EXPECT_EQ(ValueToText(Variant(int32_t{7})), " 7");
  EXPECT_EQ(ValueToText(Variant(0.5)), " .5");
  EXPECT_EQ(ValueToText(Variant(" text ")), " text ");
  EXPECT_EQ(ValueToText(Variant()), "");
  EXPECT_EQ(ValueToText(Variant(true)), "True");
  EXPECT_EQ(ErrorOf([] { ValueToText(Variant(kNull)); }), kErrInvalidUseOfNull);
  EXPECT_EQ(ErrorOf([] { ValueToText(kNaN); }), kErrOverflow);
  EXPECT_EQ(ErrorOf([] { ValueToText(-kInf); }), kErrOverflow);
  EXPECT_EQ(ErrorOf([] { ValueToText(Variant(std::make_shared<AnObject>())); }), kErrTypeMismatch);
}

TEST(ConversionsTextToNumber, ReadsTheLongestLeadingNumber) {
  const struct {
    const char* text;
    double value;
  } cases[] = {
      {"", 0},
      {"abc", 0},
      {"12abc", 12},
      {" 1 2.5", 12.5},  // blanks inside are skipped
      {"1\t2\n3", 123},  // so are tabs and line feeds
      {"1\r2", 1},       // a CR ends the number
      {"\r5", 0},
      {".5", 0.5},
      {"-.25", -0.25},
      {"+7", 7},
      {"- 7", -7},
      {"--7", 0},
      {"5.", 5},
      {".", 0},
      {"1.2.3", 1.2},
      {"1,5", 1},  // the period only, whatever the locale
      {"1E3", 1000},
      {"1e-3", 0.001},
      {"2D2", 200},
      {"2d+2", 200},
      {"1.5E", 1.5},  // an exponent needs digits
      {"1.5E+", 1.5},
      {"1.5E+x", 1.5},
      {"1 E 2", 100},
      {"&H1F", 31},
      {"&h1f", 31},
      {" &H 1F", 31},
      {"&H1FG", 31},
      {"&HFFFF", -1},  // up to 4 hex digits: 16-bit
      {"&H8000", -32768},
      {"&H10000", 65536},
      {"&HFFFFFFFF", -1},  // up to 8 hex digits: 32-bit
      {"&H80000000", -2147483648.0},
      {"&H100000000", 4294967296.0},
      {"&H0FFFFFFFF", 4294967295.0},
      {"&O17", 15},
      {"&o777", 511},
      {"&O177777", -1},
      {"&O8", 0},
      {"&H", 0},
      {"&X1", 0},
      {"-&H1", 0},
      {"0.1", 0.1},
      {"123456789012345678901234567890", 1.2345678901234568e29},
      {"1.79769313486232E+308", DBL_MAX},  // DBL_MAX's own export text
      {"-1.79769313486232E+308", -DBL_MAX},
      {"1.797693134862325E+308", kInf},
      {"1E+400", kInf},
      {"-1E+400", -kInf},
      {"1E-400", 0},
      {"4.94065645841247E-324", DBL_TRUE_MIN},
      {"1E99999999999999999999", kInf},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(TextToNumber(c.text), c.value);
  }
}

TEST(ConversionsIsNumericText, FollowsTheLocaleSeparators) {
  const struct {
    const char* locale;
    const char* text;
    bool numeric;
    double value;  // ToDouble when numeric
  } cases[] = {
      {"C", "12", true, 12},
      {"C", " 12.5 ", true, 12.5},
      {"C", "\t-3\n", true, -3},
      {"C", "\r3", false, 0},
      {"C", "+.5", true, 0.5},
      {"C", "5.", true, 5},
      {"C", "1E5", true, 1e5},
      {"C", "1d-2", true, 0.01},
      {"C", "&H1F", true, 31},
      {"C", "&O17", true, 15},
      {"C", "&H1G", false, 0},
      {"C", "&H", false, 0},
      {"C", "", false, 0},
      {"C", "   ", false, 0},
      {"C", ".", false, 0},
      {"C", "-", false, 0},
      {"C", "12abc", false, 0},
      {"C", "1 2", false, 0},
      {"C", "1.2.3", false, 0},
      {"C", "1E", false, 0},
      {"C", "1E+", false, 0},
      {"C", "1,000", false, 0},  // the C locale has no grouping separator
      {"C", "1E+400", false, 0},
      {"C", "1E-400", true, 0},
      {"C", "Infinity", false, 0},
      {"C", "NaN", false, 0},
      {"C", "0x10", false, 0},
      {"en_US.UTF-8", "1,234.5", true, 1234.5},
      {"en_US.UTF-8", "1,5", true, 15},
      {"en_US.UTF-8", ",5", false, 0},
      {"en_US.UTF-8", "5,", false, 0},
      {"en_US.UTF-8", "1,,5", false, 0},
      {"en_US.UTF-8", "1.5,0", false, 0},
      {"de_DE.UTF-8", "1,5", true, 1.5},
      {"de_DE.UTF-8", "1.5", true, 1.5},  // the period always stays a decimal point
      {"de_DE.UTF-8", "-0,25E2", true, -25},
      {"de_DE.UTF-8", "1.234,5", false, 0},
      {"de_DE.UTF-8", "1,2,3", false, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.locale) + " [" + c.text + "]");
    LocaleGuard locale(c.locale);
    EXPECT_EQ(IsNumericText(c.text), c.numeric);
    EXPECT_EQ(IsNumericText(Variant(c.text)), c.numeric);
    if (c.numeric) {
      EXPECT_EQ(ToDouble(c.text), c.value);
    } else {
      EXPECT_EQ(ErrorOf([&] { ToDouble(c.text); }), kErrTypeMismatch);
    }
  }
}

TEST(ConversionsToInt32, RoundsHalfToEvenAndChecksTheRange) {
  const struct {
    double value;
    int32_t result;
    int32_t error;
  } cases[] = {
      {2.5, 2, 0},
      {3.5, 4, 0},
      {-2.5, -2, 0},
      {-3.5, -4, 0},
      {0.5, 0, 0},
      {-0.5, 0, 0},
      {1.5, 2, 0},
      {0.49999999999999994, 0, 0},
      {2.5000000000000004, 3, 0},
      {-7.7, -8, 0},
      {2147483647.0, 2147483647, 0},
      {2147483647.4, 2147483647, 0},
      {2147483647.5, 0, kErrOverflow},  // the even neighbour is 2^31
      {2147483648.0, 0, kErrOverflow},
      {-2147483648.0, INT32_MIN, 0},
      {-2147483648.5, INT32_MIN, 0},
      {-2147483648.6, 0, kErrOverflow},
      {1e300, 0, kErrOverflow},
      {-1e300, 0, kErrOverflow},
      {kNaN, 0, kErrOverflow},
      {kInf, 0, kErrOverflow},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    int32_t result = 0;
    EXPECT_EQ(ErrorOf([&] { result = ToInt32(c.value); }), c.error);
    EXPECT_EQ(result, c.result);
  }
  EXPECT_EQ(ToInt16(int32_t{32767}), 32767);
  EXPECT_EQ(ToInt16(int32_t{-32768}), -32768);
  EXPECT_EQ(ErrorOf([] { ToInt16(int32_t{32768}); }), kErrOverflow);
  EXPECT_EQ(ErrorOf([] { ToInt16(int32_t{-32769}); }), kErrOverflow);
}

// The conversions of each Variant kind, in the C locale.
TEST(ConversionsVariant, EachKindConvertsOrRaises) {
  LocaleGuard locale("C");
  const Variant object(std::make_shared<AnObject>());
  const struct {
    const char* name;
    Variant value;
    int32_t int32;  // or the error number in `int32_error`
    int32_t int32_error;
    const char* string;
    int32_t string_error;
    int32_t boolean;  // 0, 1, or -error
  } cases[] = {
      {"Empty", Variant(), 0, 0, "", 0, 0},
      {"Null", Variant(kNull), 0, kErrInvalidUseOfNull, "", kErrInvalidUseOfNull,
       -kErrInvalidUseOfNull},
      {"Int16", Variant(int16_t{-5}), -5, 0, "-5", 0, 1},
      {"Int32", Variant(int32_t{70000}), 70000, 0, "70000", 0, 1},
      {"Double", Variant(2.5), 2, 0, "2.5", 0, 1},
      {"Double below 1", Variant(-0.5), 0, 0, "-0.5", 0, 1},
      {"Double zero", Variant(0.0), 0, 0, "0", 0, 0},
      {"Double large", Variant(1e20), 0, kErrOverflow, "1E+20", 0, 1},
      {"Date", Variant(Date(1.75)), 2, 0, "1899-12-31 18:00:00", 0, 1},
      {"True", Variant(true), -1, 0, "True", 0, 1},
      {"False", Variant(false), 0, 0, "False", 0, 0},
      {"numeric text", Variant(" 13.5 "), 14, 0, " 13.5 ", 0, 1},
      {"hex text", Variant("&H1F"), 31, 0, "&H1F", 0, 1},
      {"zero text", Variant("0"), 0, 0, "0", 0, 0},
      {"word true", Variant(" tRUE "), 0, kErrTypeMismatch, " tRUE ", 0, 1},
      {"word false", Variant("FALSE"), 0, kErrTypeMismatch, "FALSE", 0, 0},
      {"other text", Variant("abc"), 0, kErrTypeMismatch, "abc", 0, -kErrTypeMismatch},
      {"empty text", Variant(""), 0, kErrTypeMismatch, "", 0, -kErrTypeMismatch},
      {"huge text", Variant("1E+10"), 0, kErrOverflow, "1E+10", 0, 1},
      {"object", object, 0, kErrTypeMismatch, "", kErrTypeMismatch, -kErrTypeMismatch},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    int32_t int32 = 0;
    EXPECT_EQ(ErrorOf([&] { int32 = ToInt32(c.value); }), c.int32_error);
    EXPECT_EQ(int32, c.int32);
    std::string string;
    EXPECT_EQ(ErrorOf([&] { string = ToString(c.value); }), c.string_error);
    EXPECT_EQ(string, c.string);
    bool boolean = false;
    int32_t error = ErrorOf([&] { boolean = ToBoolean(c.value); });
    EXPECT_EQ(error ? -error : int32_t{boolean}, c.boolean);
  }
}

TEST(ConversionsVariant, DoublesKindsAndNull) {
  EXPECT_EQ(ToDouble(Variant(int16_t{-5})), -5);
  EXPECT_EQ(ToDouble(Variant(Date(1.25))), 1.25);
  EXPECT_EQ(ToDouble(Variant(true)), -1);
  EXPECT_EQ(ToDouble(Variant()), 0);
  EXPECT_EQ(ErrorOf([] { ToDouble(Variant(kNull)); }), kErrInvalidUseOfNull);
  EXPECT_EQ(ToInt16(Variant("-32768")), -32768);
  EXPECT_EQ(ErrorOf([] { ToInt16(Variant(32767.5)); }), kErrOverflow);
  EXPECT_TRUE(IsNullValue(Variant(kNull)));
  EXPECT_FALSE(IsNullValue(Variant("")));
  EXPECT_FALSE(IsNullValue(Variant()));
  EXPECT_TRUE(IsNumericText(Variant(3.5)));
  EXPECT_FALSE(IsNumericText(Variant(kNull)));
  EXPECT_FALSE(IsNumericText(Variant(Date(1))));
}

TEST(ConversionsToString, UsesTheLocaleDecimalSeparator) {
  LocaleGuard locale("de_DE.UTF-8");
  EXPECT_EQ(ToString(Variant(0.5)), "0,5");
  EXPECT_EQ(ToString(Variant(-1234.25)), "-1234,25");
  EXPECT_EQ(ToString(Variant(1.5e-5)), "1,5E-05");
  EXPECT_EQ(ValueToText(0.5), " .5");  // the export form never follows the locale
  EXPECT_EQ(ValueToText(-1234.25), "-1234.25");
  EXPECT_EQ(ToDouble("1,5"), 1.5);
  EXPECT_EQ(ToInt32(Variant("2,5")), 2);
  EXPECT_EQ(TrimText("  a b \t "), "a b \t");
  EXPECT_EQ(TrimText("   "), "");
}

// Every finite double reads back from its export text to 15 significant
// digits, in every locale.
class ConversionsDoubleRoundTrip : public ::testing::TestWithParam<const char*> {};

TEST_P(ConversionsDoubleRoundTrip, RandomDoublesReadBack) {
  LocaleGuard locale(GetParam());
  std::mt19937_64 random(20261122);
  int failures = 0;
  for (int i = 0; i < 100000 && failures < 5; ++i) {
    double x = std::bit_cast<double>(random());
    if (!std::isfinite(x)) continue;
    std::string text = TrimText(ValueToText(x));
    double y = TextToNumber(text);
    // The 15-digit rounding plus the rounding of the read; denormals have
    // fewer digits of their own, so for them only the distance counts.
    bool same = std::fabs(y - x) <= std::fabs(x) * (5e-15 + DBL_EPSILON) + DBL_TRUE_MIN &&
                (!std::isnormal(x) || TrimText(ValueToText(y)) == text);
    if (!same) {
      ++failures;
      ADD_FAILURE() << "x=" << x << " text=" << text << " y=" << y;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(ConversionsLocales, ConversionsDoubleRoundTrip,
                         ::testing::Values("C", "en_US.UTF-8", "de_DE.UTF-8"));

// The 15-digit form as it was first written, from the C++ library's
// correctly rounded 15-digit scientific text alone: the reference that the
// faster writer must match byte for byte.
std::string ReferenceText(double value, bool zero_before_separator) {
  std::string out(std::signbit(value) && value != 0 ? "-" : "");
  const double magnitude = std::fabs(value);
  if (magnitude == 0) return out + "0";
  char buf[32];
  auto res = std::to_chars(buf, buf + sizeof buf, magnitude, std::chars_format::scientific, 14);
  std::string digits(buf, 1);
  digits.append(buf + 2, 14);
  digits.erase(digits.find_last_not_of('0') + 1);
  int exponent = 0;
  std::from_chars(buf + 18, res.ptr, exponent);
  if (buf[17] == '-') exponent = -exponent;
  const size_t count = digits.size();
  if (exponent < -4 || exponent > 14) {
    out += digits[0];
    if (count > 1) out += "." + digits.substr(1);
    out += exponent < 0 ? "E-" : "E+";
    if (std::abs(exponent) < 10) out += '0';
    return out + std::to_string(std::abs(exponent));
  }
  if (exponent >= 0) {
    const size_t whole = static_cast<size_t>(exponent) + 1;
    if (count <= whole) return out + digits + std::string(whole - count, '0');
    return out + digits.substr(0, whole) + "." + digits.substr(whole);
  }
  if (zero_before_separator) out += '0';
  return out + "." + std::string(static_cast<size_t>(-exponent - 1), '0') + digits;
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

TEST(ConversionsValueToText, FifteenDigitFormMatchesTheReference) {
  const double fixed[] = {0.0,   -0.0,  DBL_MAX, -DBL_MAX, DBL_MIN,           DBL_TRUE_MIN,
                          1e15,  1e-5,  1e-4,    0.1,      999999999999999.5, 99999999999999.95,
                          1e100, 5e-324};
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
    const std::string expected = ReferenceText(x, zero);
    const std::string written = (std::signbit(x) && x != 0 ? "-" : "") + magnitude;
    const std::string text = ValueToText(x);
    if (written != expected || text.substr(1) != ReferenceText(x, false).substr(x < 0)) {
      ++failures;
      ADD_FAILURE() << std::hexfloat << x << ": " << written << " / " << text << ", expected "
                    << expected;
    }
  }
}

}  // namespace
}  // namespace tympora

namespace tympora {
namespace {

// The import's one-pass reader must agree with IsNumericText + TextToNumber
// wherever it answers, and answer for every text the library writes.
TEST(ConversionsTest, PlainNumberReaderAgreesWithTheFullRules) {
  const char* const texts[] = {"0",     "-0",   ".5",     "-.25",   "1E+15", "1.5E-05", "12",
                               "1.",    "-7",   "1e5",    "1E5",    "+1",    " 1",      "1 ",
                               "1.2.3", "&H1F", "",       "-",      ".",     "E5",      "1E",
                               "1E+",   "1D5",  "1E+400", "1E-400", "00012", "9"};
  for (const char* text : texts) {
    SCOPED_TRACE(text);
    double value = 0;
    if (detail::ReadPlainNumber(text, value)) {
      EXPECT_TRUE(IsNumericText(text));
      EXPECT_EQ(value, TextToNumber(text));
      EXPECT_EQ(std::signbit(value), std::signbit(TextToNumber(text)));
    }
  }
  uint64_t state = 7;
  for (int i = 0; i < 20000; ++i) {
    state = state * 6364136223846793005ull + 1442695040888963407ull;
    double x;
    const uint64_t bits = state;
    std::memcpy(&x, &bits, sizeof x);
    if (!std::isfinite(x)) continue;
    const std::string text = TrimText(ValueToText(x));
    double value = 0;
    ASSERT_TRUE(detail::ReadPlainNumber(text, value) || std::fpclassify(x) == FP_SUBNORMAL) << text;
    if (detail::ReadPlainNumber(text, value)) {
      EXPECT_EQ(value, TextToNumber(text)) << text;
    }
  }
  // Decimals of up to 19 digits with the period anywhere: short ones take
  // the reader's own road, long ones from_chars; both must round alike.
  for (int i = 0; i < 50000; ++i) {
    state = state * 6364136223846793005ull + 1442695040888963407ull;
    const size_t digits = 1 + (state >> 59) % 19;
    std::string text = (state >> 58) & 1 ? "-" : "";
    for (size_t d = 0; d < digits; ++d) {
      state = state * 6364136223846793005ull + 1442695040888963407ull;
      text += static_cast<char>('0' + (state >> 60) % 10);
    }
    const size_t point = (state >> 40) % (digits + 1);
    if (point < digits) text.insert(text.size() - point, ".");
    double value = 0;
    double expected = 0;
    ASSERT_TRUE(detail::ReadPlainNumber(text, value)) << text;
    std::from_chars(text.data(), text.data() + text.size(), expected);
    ASSERT_EQ(value, expected) << text;
    ASSERT_EQ(std::signbit(value), std::signbit(expected)) << text;
  }
}

}  // namespace
}  // namespace tympora
