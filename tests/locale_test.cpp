#include "tympora/node/locale.hpp"

#include <gtest/gtest.h>

#include <stdlib.h>

#include <atomic>
#include <string>
#include <thread>

#include "node/locale_forms.hpp"
#include "test_util.hpp"
#include "tympora/node/conversions.hpp"
#include "tympora/node/error.hpp"

namespace tympora {
namespace {

using testing::ErrorOf;
using testing::LocaleGuard;

// The settings of each locale, as "order|date separator|ISO|12-hour|am|pm|
// time separator|decimal|thousands", and 22 November 2026, 15:04:05,
// -1234.25 and 1.5E-05 in its form; the export form of .5 follows no locale.
TEST(LocaleSettings, DerivedFromTheLocaleDatabase) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"C", "ymd|-|1|0|AM|PM|:|.|", "2026-11-22 15:04:05|-1234.25|1.5E-05| .5"},
      {"POSIX", "ymd|-|1|0|AM|PM|:|.|", "2026-11-22 15:04:05|-1234.25|1.5E-05| .5"},
      {"C.UTF-8", "ymd|-|1|0|AM|PM|:|.|", "2026-11-22 15:04:05|-1234.25|1.5E-05| .5"},
      {"en_US.UTF-8", "mdy|/|0|1|AM|PM|:|.|,", "11/22/2026 03:04:05 PM|-1234.25|1.5E-05| .5"},
      {"de_DE.UTF-8", "dmy|.|0|0|||:|,|.", "22.11.2026 15:04:05|-1234,25|1,5E-05| .5"},
      // A two-digit year in the locale's form is written with four digits.
      {"en_GB.UTF-8", "dmy|/|0|0|am|pm|:|.|,", "22/11/2026 15:04:05|-1234.25|1.5E-05| .5"},
  };
  for (const auto& [name, settings, example] : cases) {
    SCOPED_TRACE(name);
    const LocaleSettings s = ReadLocale(name);
    EXPECT_EQ(s.name, name);
    EXPECT_EQ(std::string(s.date_order, 3) + "|" + s.date_separator + "|" +
                  std::to_string(s.iso_dates) + "|" + std::to_string(s.twelve_hour) + "|" + s.am +
                  "|" + s.pm + "|" + s.time_separator + "|" + s.decimal_separator + "|" +
                  s.thousands_separator,
              settings);
    LocaleGuard locale(name);
    EXPECT_EQ(CurrentLocale().name, name);
    EXPECT_EQ(ValueToText(MakeDate(2026, 11, 22, 15, 4, 5)) + "|" + ToString(Variant(-1234.25)) +
                  "|" + ToString(Variant(1.5e-5)) + "|" + ValueToText(0.5),
              example);
  }
}

// A form written back as a format: "%-d" for a field without padding.
std::string FormatOf(const detail::Form& form) {
  using K = detail::FormToken;
  std::string out;
  for (const K& t : form) {
    out += t.kind == K::kLiteral ? t.text
           : t.kind == K::kAmPm  ? "%p"
                                 : std::string(t.pad ? "%" : "%-") + "?YmdHIMS"[t.kind];
  }
  return out;
}

// Locale items as glibc might give them, and the date form, the time form,
// the time form read without seconds and "order|date separator|12-hour|am|pm"
// built from them. Forms that cannot write a date or time fall back to ISO.
TEST(LocaleSettings, FormsFollowTheLocaleItems) {
  const std::tuple<const char*, const char*, const char*, const char*, const char*> cases[] = {
      {"%0e.%-m.%Y", "%H.%M", "", "", "%d.%-m.%Y|%H.%M.%S|%H.%M|dmy|.|0||"},
      {"Le %d %m %Y", "%H:%M:%S:%S", "", "", "Le %d %m %Y|%H:%M:%S|%H:%M|dmy| |0||"},
      {"%a %Y/%m/%e", "%H:%M:%S %-", "", "", "%Y/%m/%-d|%H:%M:%S|%H:%M|ymd|/|0||"},
      {"%Y년 %m월 %d일", "%p %I:%M:%S", "오전", "오후",
       "%Y년 %m월 %d일|%p %I:%M:%S|%p %I:%M|ymd|년 |1|오전|오후"},
      {"", "%l:%M", "x", "x", "%Y-%m-%d|%-I:%M:%S %p|%-I:%M %p|ymd|-|1|AM|PM"},
      {"%-d%-m%Y", "%S %M %H", "", "", "%d%m%Y|%S %M %H| %M %H|dmy||0||"},
  };
  for (const auto& [d_fmt, t_fmt, am, pm, expected] : cases) {
    SCOPED_TRACE(std::string(d_fmt) + " " + t_fmt);
    detail::LocaleInfo info{"xx", d_fmt, t_fmt, "", ".", "", am, pm};
    const auto state = detail::BuildState("xx", info);
    const LocaleSettings& s = state->settings;
    EXPECT_EQ(FormatOf(state->date_form) + "|" + FormatOf(state->time_form) + "|" +
                  FormatOf(state->time_patterns[1]) + "|" + std::string(s.date_order, 3) + "|" +
                  s.date_separator + "|" + std::to_string(s.twelve_hour) + "|" + s.am + "|" + s.pm,
              expected);
  }
}

// Only SetLocale with a known name switches; settings once handed out stay
// valid after later switches. The empty name reads LC_ALL again, falling
// back to C for a locale that is not installed; the same environment read
// again reuses its settings.
TEST(LocaleSwitch, KnownNamesSwitchAndTheEmptyNameRereadsTheEnvironment) {
  LocaleGuard locale("en_US.UTF-8");
  const LocaleSettings& us = CurrentLocale();
  EXPECT_EQ(ErrorOf([] { SetLocale("xx_NOWHERE.UTF-8"); }), kErrInvalidCall);
  EXPECT_EQ(ErrorOf([] { ReadLocale("xx_NOWHERE.UTF-8"); }), kErrInvalidCall);
  ReadLocale("de_DE.UTF-8");
  EXPECT_EQ(&CurrentLocale(), &us);
  EXPECT_EQ(ToString(Variant(0.5)), "0.5");
  SetLocale("de_DE.UTF-8");
  SetLocale("C");
  EXPECT_EQ(us.name + us.thousands_separator, "en_US.UTF-8,");
  const std::string previous = getenv("LC_ALL") ? getenv("LC_ALL") : "";  // empty: not set
  const std::pair<const char*, const char*> cases[] = {
      {"de_DE.UTF-8", ",|22.11.2026"},
      {"xx_NOWHERE.UTF-8", ".|2026-11-22"},
      {"C.UTF-8", ".|2026-11-22"},
  };
  for (const auto& [environment, expected] : cases) {
    SCOPED_TRACE(environment);
    setenv("LC_ALL", environment, 1);
    SetLocale("");
    EXPECT_EQ(CurrentLocale().name + "|" + CurrentLocale().decimal_separator + "|" +
                  ValueToText(MakeDate(2026, 11, 22)),
              std::string("|") + expected);
    const LocaleSettings* first = &CurrentLocale();
    SetLocale("C");
    SetLocale("");
    EXPECT_EQ(&CurrentLocale(), first);
  }
  previous.empty() ? unsetenv("LC_ALL") : setenv("LC_ALL", previous.c_str(), 1);
}

TEST(LocaleSwitch, ConcurrentReadersSeeWholeSettings) {
  LocaleGuard locale("C");
  std::atomic<bool> stop{false};
  std::atomic<int> bad{0}, reads{0};
  const auto read = [&] {
    for (; !stop.load(); ++reads) {
      const std::string date = ValueToText(MakeDate(2026, 11, 22, 15, 4, 5));
      const std::string number = ToString(Variant(0.5));
      if (date != "2026-11-22 15:04:05" && date != "22.11.2026 15:04:05") ++bad;
      if (number != "0.5" && number != "0,5") ++bad;
    }
  };
  std::thread readers[] = {std::thread(read), std::thread(read), std::thread(read)};
  for (int i = 0; i < 200 || reads.load() < 2000; ++i) SetLocale(i % 2 ? "C" : "de_DE.UTF-8");
  stop = true;
  for (auto& r : readers) r.join();
  EXPECT_EQ(bad.load(), 0);
}

}  // namespace
}  // namespace tympora
