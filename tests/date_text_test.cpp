#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>
#include <random>

#include "test_util.hpp"
#include "tympora/node/conversions.hpp"
#include "tympora/node/error.hpp"

namespace tympora {
namespace {

using testing::ErrorOf;
using testing::LocaleGuard;

struct AnObject : Object {};

TEST(ConversionsDate, MakeDateCountsFromTheLastDaysOf1899) {
  const struct {
    Date date;
    double days;
  } cases[] = {
      {MakeDate(1899, 12, 30), 0},
      {MakeDate(1899, 12, 31), 1},
      {MakeDate(1900, 1, 1), 2},
      {MakeDate(1900, 3, 1), 61},  // 1900 is no leap year
      {MakeDate(1970, 1, 1), 25569},
      {MakeDate(2000, 2, 29), 36585},
      {MakeDate(100, 1, 1), -657434},
      {MakeDate(9999, 12, 31), 2958465},
      {MakeDate(1899, 12, 30, 12), 0.5},
      {MakeDate(1899, 12, 29, 6), -1.25},  // back one day, then a quarter day
      {MakeDate(1600, 2, 29, 18), -109512.75},
      {MakeDate(2026, 11, 22, 15, 4, 5), 46348 + 54245 / 86400.0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.days);
    EXPECT_EQ(c.date.value, c.days);
  }
  EXPECT_EQ(ErrorOf([] { MakeDate(99, 12, 31); }), kErrOverflow);
  EXPECT_EQ(ErrorOf([] { MakeDate(10000, 1, 1); }), kErrOverflow);
  EXPECT_EQ(ErrorOf([] { MakeDate(2023, 2, 29); }), kErrInvalidCall);
  EXPECT_EQ(ErrorOf([] { MakeDate(2024, 4, 31); }), kErrInvalidCall);
  EXPECT_EQ(ErrorOf([] { MakeDate(2024, 13, 1); }), kErrInvalidCall);
  EXPECT_EQ(ErrorOf([] { MakeDate(2024, 1, 1, 24); }), kErrInvalidCall);
  EXPECT_EQ(ErrorOf([] { MakeDate(2024, 1, 1, 0, 0, 60); }), kErrInvalidCall);
}

TEST(ConversionsDate, SplitDateRoundsToTheSecond) {
  const double second = 1 / 86400.0;
  const struct {
    double days;
    DateParts parts;  // year 0: raises 6
  } cases[] = {
      {0, {1899, 12, 30, 0, 0, 0}},
      {0.5 + 0.4 * second, {1899, 12, 30, 12, 0, 0}},
      {0.5 + 0.6 * second, {1899, 12, 30, 12, 0, 1}},
      {1 - 0.3 * second, {1899, 12, 31, 0, 0, 0}},  // carries into the next day
      {-1.25, {1899, 12, 29, 6, 0, 0}},
      {-1.99999999, {1899, 12, 30, 0, 0, 0}},
      {-0.5, {1899, 12, 30, 12, 0, 0}},
      {2958465 + 86399 * second, {9999, 12, 31, 23, 59, 59}},
      {-657434 - 86399 * second, {100, 1, 1, 23, 59, 59}},
      {2958466, {0, 0, 0, 0, 0, 0}},
      // The last half second of 9999 has no next day to round into.
      {2958465 + 86399.5 * second, {9999, 12, 31, 23, 59, 59}},
      {2958465.999999999, {9999, 12, 31, 23, 59, 59}},
      {2958465 + 86398.7 * second, {9999, 12, 31, 23, 59, 59}},
      {-657435, {0, 0, 0, 0, 0, 0}},
      {1e300, {0, 0, 0, 0, 0, 0}},
      {std::numeric_limits<double>::quiet_NaN(), {0, 0, 0, 0, 0, 0}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.days);
    DateParts p{};
    int32_t error = ErrorOf([&] { p = SplitDate(Date(c.days)); });
    EXPECT_EQ(error, c.parts.year == 0 ? kErrOverflow : 0);
    if (error) continue;
    EXPECT_EQ(p.year, c.parts.year);
    EXPECT_EQ(p.month, c.parts.month);
    EXPECT_EQ(p.day, c.parts.day);
    EXPECT_EQ(p.hour, c.parts.hour);
    EXPECT_EQ(p.minute, c.parts.minute);
    EXPECT_EQ(p.second, c.parts.second);
  }
}

// The written form of dates in three locales; each text reads back.
TEST(ConversionsDate, WrittenFormPerLocale) {
  const struct {
    Date date;
    const char* c;
    const char* en_us;
    const char* de_de;
  } cases[] = {
      {MakeDate(2026, 11, 22, 15, 4, 5), "2026-11-22 15:04:05", "11/22/2026 03:04:05 PM",
       "22.11.2026 15:04:05"},
      {MakeDate(2026, 11, 22), "2026-11-22", "11/22/2026", "22.11.2026"},  // midnight
      {MakeDate(2026, 1, 2, 0, 0, 1), "2026-01-02 00:00:01", "01/02/2026 12:00:01 AM",
       "02.01.2026 00:00:01"},
      {MakeDate(2026, 1, 2, 12, 30), "2026-01-02 12:30:00", "01/02/2026 12:30:00 PM",
       "02.01.2026 12:30:00"},
      {Date(0), "00:00:00", "12:00:00 AM", "00:00:00"},  // day 0: the time alone
      {MakeDate(1899, 12, 30, 1, 2, 3), "01:02:03", "01:02:03 AM", "01:02:03"},
      {MakeDate(9999, 12, 31, 23, 59, 59), "9999-12-31 23:59:59", "12/31/9999 11:59:59 PM",
       "31.12.9999 23:59:59"},
      {MakeDate(100, 1, 1), "0100-01-01", "01/01/0100", "01.01.0100"},
      {Date(-1.25), "1899-12-29 06:00:00", "12/29/1899 06:00:00 AM", "29.12.1899 06:00:00"},
      {Date(-36522.5), "1800-01-01 12:00:00", "01/01/1800 12:00:00 PM", "01.01.1800 12:00:00"},
  };
  for (const char* name : {"C", "en_US.UTF-8", "de_DE.UTF-8"}) {
    LocaleGuard locale(name);
    for (const auto& c : cases) {
      const char* expected = name[0] == 'C' ? c.c : name[0] == 'e' ? c.en_us : c.de_de;
      SCOPED_TRACE(std::string(name) + " " + expected);
      EXPECT_EQ(ValueToText(c.date), expected);
      EXPECT_EQ(ValueToText(Variant(c.date)), expected);
      EXPECT_EQ(ToDate(expected), c.date);
    }
  }
}

TEST(ConversionsDate, ReadsTheLocaleFormIsoAndTimes) {
  const std::optional<Date> kNoDate;
  const struct {
    const char* locale;
    const char* text;
    std::optional<Date> date;
  } cases[] = {
      {"C", " 2026-11-22 ", MakeDate(2026, 11, 22)},
      {"C", "2026-2-3 1:02", MakeDate(2026, 2, 3, 1, 2)},
      {"C", "2026-11-22   15:04:05", MakeDate(2026, 11, 22, 15, 4, 5)},
      {"C", "15:04", MakeDate(1899, 12, 30, 15, 4)},
      {"C", "3:04:05 pm", MakeDate(1899, 12, 30, 15, 4, 5)},
      {"C", "12:30 AM", MakeDate(1899, 12, 30, 0, 30)},
      {"C", "12:30 PM", MakeDate(1899, 12, 30, 12, 30)},
      {"C", "2024-02-29", MakeDate(2024, 2, 29)},
      {"C", "26-11-22", MakeDate(2026, 11, 22)},
      {"C", "11/22/2026", kNoDate},  // the C locale writes ISO dates only
      {"C", "2023-02-29", kNoDate},
      {"C", "2024-04-31", kNoDate},
      {"C", "2024-13-01", kNoDate},
      {"C", "2024-00-01", kNoDate},
      {"C", "0099-12-31", kNoDate},
      {"C", "10000-01-01", kNoDate},
      {"C", "24:00", kNoDate},
      {"C", "12:60", kNoDate},
      {"C", "12:00:60", kNoDate},
      {"C", "13:00 PM", kNoDate},
      {"C", "0:30 AM", kNoDate},
      {"C", "3:04 XM", kNoDate},
      {"C", "2026-11-22T15:04", kNoDate},
      {"C", "2026-11-2215:04", kNoDate},
      {"C", "5", kNoDate},
      {"C", "", kNoDate},
      {"C", "abc", kNoDate},
      {"en_US.UTF-8", "11/22/2026 3:04:05 PM", MakeDate(2026, 11, 22, 15, 4, 5)},
      {"en_US.UTF-8", "11/22/2026 15:04", MakeDate(2026, 11, 22, 15, 4)},
      {"en_US.UTF-8", "1/2/29", MakeDate(2029, 1, 2)},
      {"en_US.UTF-8", "1/2/30", MakeDate(1930, 1, 2)},
      {"en_US.UTF-8", "2026-11-22 11:59 pm", MakeDate(2026, 11, 22, 23, 59)},
      {"en_US.UTF-8", "22/11/2026", kNoDate},
      {"de_DE.UTF-8", "22.11.2026 15:04:05", MakeDate(2026, 11, 22, 15, 4, 5)},
      {"de_DE.UTF-8", "1.2.2026", MakeDate(2026, 2, 1)},
      {"de_DE.UTF-8", "31.12.99 23:59", MakeDate(1999, 12, 31, 23, 59)},
      {"de_DE.UTF-8", "2026-11-22", MakeDate(2026, 11, 22)},
      {"de_DE.UTF-8", "3:04 PM", MakeDate(1899, 12, 30, 15, 4)},
      {"de_DE.UTF-8", "11/22/2026", kNoDate},
      {"de_DE.UTF-8", "31.11.2026", kNoDate},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.locale) + " [" + c.text + "]");
    LocaleGuard locale(c.locale);
    EXPECT_EQ(IsDateValue(c.text), c.date.has_value());
    EXPECT_EQ(IsDateValue(Variant(c.text)), c.date.has_value());
    Date date;
    EXPECT_EQ(ErrorOf([&] { date = ToDate(c.text); }), c.date ? 0 : kErrTypeMismatch);
    if (c.date) {
      EXPECT_EQ(date, *c.date);
    }
  }
}

TEST(ConversionsDate, ToDateOfOtherKinds) {
  EXPECT_EQ(ToDate(Variant(Date(12.5))), Date(12.5));
  EXPECT_EQ(ToDate(Variant(46348.25)), Date(46348.25));
  EXPECT_EQ(ToDate(Variant(int32_t{-657434})), Date(-657434));
  EXPECT_EQ(ToDate(Variant(true)), Date(-1));
  EXPECT_EQ(ToDate(Variant(false)), Date(0));
  EXPECT_EQ(ToDate(Variant()), Date(0));
  EXPECT_EQ(ErrorOf([] { ToDate(Variant(2958466.0)); }), kErrOverflow);
  EXPECT_EQ(ErrorOf([] { ToDate(Variant(int32_t{-657435})); }), kErrOverflow);
  EXPECT_EQ(ErrorOf([] { ToDate(Variant(kNull)); }), kErrInvalidUseOfNull);
  EXPECT_EQ(ErrorOf([] { ToDate(Variant(std::make_shared<AnObject>())); }), kErrTypeMismatch);
  EXPECT_TRUE(IsDateValue(Variant(Date(0))));
  EXPECT_FALSE(IsDateValue(Variant(46348.0)));
  EXPECT_FALSE(IsDateValue(Variant(kNull)));
}

// Every date between the years 100 and 9999 reads back from its text to the
// second, in every locale.
class ConversionsDateRoundTrip : public ::testing::TestWithParam<const char*> {};

bool SameSecond(const DateParts& a, const DateParts& b) {
  return a.year == b.year && a.month == b.month && a.day == b.day && a.hour == b.hour &&
         a.minute == b.minute && a.second == b.second;
}

TEST_P(ConversionsDateRoundTrip, RandomDatesReadBack) {
  LocaleGuard locale(GetParam());
  std::mt19937_64 random(1899);
  std::uniform_int_distribution<long long> day_of(-657434, 2958465);  // 0100-01-01 to 9999-12-31
  std::uniform_int_distribution<int> second_of(0, 86399);
  std::uniform_real_distribution<double> part_of(0, 0.4);
  int failures = 0;
  for (int i = 0; i < 10000 && failures < 5; ++i) {
    double day = static_cast<double>(day_of(random));
    double time = (second_of(random) + part_of(random)) / 86400;
    Date date(day >= 0 ? day + time : day - time);
    std::string text = ValueToText(date);
    DateParts read{};
    if (ErrorOf([&] { read = SplitDate(ToDate(text)); }) != 0 ||
        !SameSecond(read, SplitDate(date))) {
      ++failures;
      ADD_FAILURE() << "date " << date.value << " text " << text;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(ConversionsLocales, ConversionsDateRoundTrip,
                         ::testing::Values("C", "en_US.UTF-8", "de_DE.UTF-8"));

}  // namespace
}  // namespace tympora
