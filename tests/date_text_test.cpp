#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <random>
#include <tuple>

#include "test_util.hpp"
#include "tympora/node/conversions.hpp"
#include "tympora/node/error.hpp"

namespace tympora {
namespace {

using testing::ErrorOf;

using Parts = std::array<int, 6>;  // year, month, day, hour, minute, second

Parts PartsOf(Date date) {
  const DateParts p = SplitDate(date);
  return {p.year, p.month, p.day, p.hour, p.minute, p.second};
}

// Days count from 1899-12-30; 1900 is no leap year; the fraction is the time
// of day, counted away from day 0 before it (-1.25 is 1899-12-29 06:00).
// SplitDate rounds to the second, which may carry into the next day but not
// beyond 9999-12-31 23:59:59. Outside the years 100 to 9999 is overflow (6),
// a day or time that does not exist an invalid call (5).
TEST(ConversionsDate, MakeDateAndSplitDateCountFromTheLastDaysOf1899) {
  const std::vector<std::pair<Parts, double>> days = {
      {{1899, 12, 30}, 0},    {{1899, 12, 31}, 1},       {{1900, 1, 1}, 2},
      {{1900, 3, 1}, 61},     {{1970, 1, 1}, 25569},     {{2000, 2, 29}, 36585},
      {{100, 1, 1}, -657434}, {{9999, 12, 31}, 2958465},
  };
  const std::vector<std::pair<Parts, double>> times = {
      {{1899, 12, 30, 12}, 0.5},
      {{1899, 12, 29, 6}, -1.25},
      {{1600, 2, 29, 18}, -109512.75},
      {{2026, 11, 22, 15, 4, 5}, 46348 + 54245 / 86400.0},
  };
  for (const auto* table : {&days, &times}) {
    for (const auto& [parts, value] : *table) {
      SCOPED_TRACE(value);
      EXPECT_EQ(std::apply(MakeDate, parts).value, value);
      EXPECT_EQ(PartsOf(Date(value)), parts);
    }
  }
  const std::pair<Parts, int32_t> refused[] = {
      // 6 overflow, 5 invalid call
      {{99, 12, 31}, 6},  {{10000, 1, 1}, 6},    {{2023, 2, 29}, 5},          {{2024, 4, 31}, 5},
      {{2024, 13, 1}, 5}, {{2024, 1, 1, 24}, 5}, {{2024, 1, 1, 0, 0, 60}, 5},
  };
  for (const auto& [parts, error] : refused)
    EXPECT_EQ(ErrorOf([&] { std::apply(MakeDate, parts); }), error) << parts[0] << parts[1];
  const double second = 1 / 86400.0;
  const std::pair<double, Parts> rounded[] = {
      {0.5 + 0.4 * second, {1899, 12, 30, 12, 0, 0}},
      {0.5 + 0.6 * second, {1899, 12, 30, 12, 0, 1}},
      {1 - 0.3 * second, {1899, 12, 31, 0, 0, 0}},
      {-1.99999999, {1899, 12, 30, 0, 0, 0}},
      {-0.5, {1899, 12, 30, 12, 0, 0}},
      {2958465 + 86399 * second, {9999, 12, 31, 23, 59, 59}},
      {-657434 - 86399 * second, {100, 1, 1, 23, 59, 59}},
      {2958465 + 86399.5 * second, {9999, 12, 31, 23, 59, 59}},
      {2958465.999999999, {9999, 12, 31, 23, 59, 59}},
      {2958465 + 86398.7 * second, {9999, 12, 31, 23, 59, 59}},
  };
  for (const auto& [days, parts] : rounded) {
    SCOPED_TRACE(days);
    EXPECT_EQ(PartsOf(Date(days)), parts);
  }
  for (double days : {2958466.0, -657435.0, 1e300, std::numeric_limits<double>::quiet_NaN()}) {
    SCOPED_TRACE(days);
    EXPECT_EQ(ErrorOf([&] { SplitDate(Date(days)); }), kErrOverflow);
  }
}

// The written form of dates in three locales (a date and time in each is
// LocaleSettings' example), the time alone on day 0 and a date alone at
// midnight; each text, and that of random dates, reads back. Read are also
// the ISO form in every locale and times alone (on day 0); two-digit years
// 30 to 99 are 19xx. The C locale reads ISO dates only.
TEST(ConversionsDate, WrittenAndReadFormsPerLocale) {
  const std::tuple<Date, const char*, const char*, const char*> cases[] = {
      // C, en_US, de_DE
      {MakeDate(2026, 11, 22), "2026-11-22", "11/22/2026", "22.11.2026"},
      {MakeDate(2026, 1, 2, 0, 0, 1), "2026-01-02 00:00:01", "01/02/2026 12:00:01 AM",
       "02.01.2026 00:00:01"},
      {MakeDate(2026, 1, 2, 12, 30), "2026-01-02 12:30:00", "01/02/2026 12:30:00 PM",
       "02.01.2026 12:30:00"},
      {Date(0), "00:00:00", "12:00:00 AM", "00:00:00"},
      {MakeDate(1899, 12, 30, 1, 2, 3), "01:02:03", "01:02:03 AM", "01:02:03"},
      {MakeDate(9999, 12, 31, 23, 59, 59), "9999-12-31 23:59:59", "12/31/9999 11:59:59 PM",
       "31.12.9999 23:59:59"},
      {MakeDate(100, 1, 1), "0100-01-01", "01/01/0100", "01.01.0100"},
      {Date(-1.25), "1899-12-29 06:00:00", "12/29/1899 06:00:00 AM", "29.12.1899 06:00:00"},
      {Date(-36522.5), "1800-01-01 12:00:00", "01/01/1800 12:00:00 PM", "01.01.1800 12:00:00"},
  };
  using Dates = std::vector<std::pair<const char*, Date>>;
  const std::tuple<const char*, Dates, std::vector<const char*>> by_locale[] = {
      {"C",
       {{" 2026-11-22 ", MakeDate(2026, 11, 22)},
        {"2026-2-3 1:02", MakeDate(2026, 2, 3, 1, 2)},
        {"2026-11-22   15:04:05", MakeDate(2026, 11, 22, 15, 4, 5)},
        {"15:04", MakeDate(1899, 12, 30, 15, 4)},
        {"3:04:05 pm", MakeDate(1899, 12, 30, 15, 4, 5)},
        {"12:30 AM", MakeDate(1899, 12, 30, 0, 30)},
        {"12:30 PM", MakeDate(1899, 12, 30, 12, 30)},
        {"2024-02-29", MakeDate(2024, 2, 29)},
        {"26-11-22", MakeDate(2026, 11, 22)}},
       {"11/22/2026", "2023-02-29", "2024-04-31", "2024-13-01", "2024-00-01", "0099-12-31",
        "10000-01-01", "24:00", "15:04:", "12:60", "12:00:60", "13:00 PM", "0:30 AM", "3:04 XM",
        "2026-11-22T15:04", "2026-11-2215:04", "5", "", "abc"}},
      {"en_US.UTF-8",
       {{"11/22/2026 3:04:05 PM", MakeDate(2026, 11, 22, 15, 4, 5)},
        {"11/22/2026 15:04", MakeDate(2026, 11, 22, 15, 4)},
        {"1/2/29", MakeDate(2029, 1, 2)},
        {"1/2/30", MakeDate(1930, 1, 2)},
        {"2026-11-22 11:59 pm", MakeDate(2026, 11, 22, 23, 59)}},
       {"22/11/2026"}},
      {"de_DE.UTF-8",
       {{"22.11.2026 15:04:05", MakeDate(2026, 11, 22, 15, 4, 5)},
        {"1.2.2026", MakeDate(2026, 2, 1)},
        {"31.12.99 23:59", MakeDate(1999, 12, 31, 23, 59)},
        {"2026-11-22", MakeDate(2026, 11, 22)},
        {"3:04 PM", MakeDate(1899, 12, 30, 15, 4)}},
       {"11/22/2026", "31.11.2026"}},
  };
  for (const auto& [name, dates, not_dates] : by_locale) {
    testing::LocaleGuard locale(name);
    for (const auto& [date, c, en_us, de_de] : cases) {
      const char* expected = name[0] == 'C' ? c : name[0] == 'e' ? en_us : de_de;
      SCOPED_TRACE(std::string(name) + " " + expected);
      EXPECT_EQ(ValueToText(date), expected);
      EXPECT_EQ(ValueToText(Variant(date)), expected);
      EXPECT_EQ(ToDate(expected), date);
    }
    std::mt19937_64 random(1899);
    std::uniform_int_distribution<long long> day_of(-657434, 2958465);  // 0100-01-01 to 9999-12-31
    std::uniform_int_distribution<int> second_of(0, 86399);
    std::uniform_real_distribution<double> part_of(0, 0.4);
    int failures = 0;
    for (int i = 0; i < 10000 && failures < 5; ++i) {
      const double day = static_cast<double>(day_of(random));
      const double time = (second_of(random) + part_of(random)) / 86400;
      const Date date(day >= 0 ? day + time : day - time);
      const std::string text = ValueToText(date);
      Parts read{};
      if (ErrorOf([&] { read = PartsOf(ToDate(text)); }) != 0 || read != PartsOf(date)) {
        ++failures;
        ADD_FAILURE() << name << ": date " << date.value << " text " << text;
      }
    }
    for (const auto& [text, expected] : dates) {
      SCOPED_TRACE(std::string(name) + " [" + text + "]");
      EXPECT_TRUE(IsDateValue(text) && IsDateValue(Variant(text)));
      EXPECT_EQ(ToDate(text), expected);
    }
    for (const char* text : not_dates) {
      SCOPED_TRACE(std::string(name) + " [" + text + "]");
      EXPECT_FALSE(IsDateValue(text) || IsDateValue(Variant(text)));
      EXPECT_EQ(ErrorOf([&] { ToDate(text); }), kErrTypeMismatch);
    }
  }
}

}  // namespace
}  // namespace tympora
