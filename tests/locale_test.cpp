#include "tympora/node/locale.hpp"

#include <gtest/gtest.h>

#include <stdlib.h>

#include <atomic>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "test_util.hpp"
#include "tympora/node/conversions.hpp"
#include "tympora/node/error.hpp"

namespace tympora {
namespace {

using testing::ErrorOf;
using testing::LocaleGuard;

// Sets an environment variable for the life of the guard.
class EnvGuard {
 public:
  EnvGuard(const char* name, const char* value) : name_(name) {
    if (const char* old = getenv(name)) previous_ = old;
    setenv(name, value, 1);
  }
  ~EnvGuard() { previous_ ? setenv(name_, previous_->c_str(), 1) : unsetenv(name_); }

 private:
  const char* name_;
  std::optional<std::string> previous_;
};

TEST(LocaleSettings, DerivedFromTheLocaleDatabase) {
  const struct {
    const char* name;
    const char* order;
    const char* date_separator;
    bool iso, twelve_hour;
    const char *am, *pm, *decimal, *thousands;
    const char* example;  // 22 November 2026, 15:04:05
  } cases[] = {
      {"C", "ymd", "-", true, false, "AM", "PM", ".", "", "2026-11-22 15:04:05"},
      {"POSIX", "ymd", "-", true, false, "AM", "PM", ".", "", "2026-11-22 15:04:05"},
      {"C.UTF-8", "ymd", "-", true, false, "AM", "PM", ".", "", "2026-11-22 15:04:05"},
      {"en_US.UTF-8", "mdy", "/", false, true, "AM", "PM", ".", ",", "11/22/2026 03:04:05 PM"},
      {"de_DE.UTF-8", "dmy", ".", false, false, "", "", ",", ".", "22.11.2026 15:04:05"},
      // A two-digit year in the locale's form is written with four digits.
      {"en_GB.UTF-8", "dmy", "/", false, false, "am", "pm", ".", ",", "22/11/2026 15:04:05"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const LocaleSettings s = ReadLocale(c.name);
    EXPECT_EQ(std::tie(s.name, s.date_separator, s.iso_dates, s.twelve_hour, s.am, s.pm),
              std::tie(c.name, c.date_separator, c.iso, c.twelve_hour, c.am, c.pm));
    EXPECT_EQ(std::string(s.date_order, 3), c.order);
    EXPECT_EQ(s.time_separator, ":");
    EXPECT_EQ(s.decimal_separator, c.decimal);
    EXPECT_EQ(s.thousands_separator, c.thousands);
    LocaleGuard locale(c.name);
    EXPECT_EQ(CurrentLocale().name, c.name);
    EXPECT_EQ(ValueToText(MakeDate(2026, 11, 22, 15, 4, 5)), c.example);
  }
}

TEST(LocaleSwitch, UnknownNameRaisesAndChangesNothing) {
  LocaleGuard locale("de_DE.UTF-8");
  const LocaleSettings* before = &CurrentLocale();
  EXPECT_EQ(ErrorOf([] { SetLocale("xx_NOWHERE.UTF-8"); }), kErrInvalidCall);
  EXPECT_EQ(ErrorOf([] { ReadLocale("xx_NOWHERE.UTF-8"); }), kErrInvalidCall);
  EXPECT_EQ(&CurrentLocale(), before);
  EXPECT_EQ(CurrentLocale().name, "de_DE.UTF-8");
}

TEST(LocaleSwitch, ReadLocaleDoesNotSwitch) {
  LocaleGuard locale("C");
  ReadLocale("de_DE.UTF-8");
  EXPECT_EQ(CurrentLocale().name, "C");
  EXPECT_EQ(ToString(Variant(0.5)), "0.5");
}

TEST(LocaleSwitch, EmptyNameRereadsTheEnvironment) {
  LocaleGuard locale("C");
  {
    EnvGuard env("LC_ALL", "de_DE.UTF-8");
    SetLocale("");
    EXPECT_EQ(CurrentLocale().name, "");
    EXPECT_EQ(CurrentLocale().decimal_separator, ",");
    EXPECT_EQ(ValueToText(MakeDate(2026, 11, 22)), "22.11.2026");
    // The same environment read again reuses its settings: repeated calls
    // build nothing new.
    const LocaleSettings* first = &CurrentLocale();
    SetLocale("C");
    SetLocale("");
    EXPECT_EQ(&CurrentLocale(), first);
  }
  {
    // A locale that is not installed falls back to C instead of failing.
    EnvGuard env("LC_ALL", "xx_NOWHERE.UTF-8");
    SetLocale("");
    EXPECT_TRUE(CurrentLocale().iso_dates);
    EXPECT_EQ(CurrentLocale().decimal_separator, ".");
  }
  {
    EnvGuard env("LC_ALL", "C.UTF-8");
    SetLocale("");
    EXPECT_TRUE(CurrentLocale().iso_dates);
  }
}

TEST(LocaleSwitch, SettingsStayValidAfterASwitch) {
  LocaleGuard locale("en_US.UTF-8");
  const LocaleSettings& us = CurrentLocale();
  SetLocale("de_DE.UTF-8");
  SetLocale("C");
  EXPECT_EQ(us.name, "en_US.UTF-8");
  EXPECT_EQ(us.thousands_separator, ",");
}

// Conversions on other threads see one locale or the other, never a mix,
// while the locale switches back and forth.
TEST(LocaleSwitch, ConcurrentReadersSeeWholeSettings) {
  LocaleGuard locale("C");
  std::atomic<bool> stop{false};
  std::atomic<int> bad{0}, reads{0};
  std::vector<std::thread> readers;
  for (int t = 0; t < 3; ++t) {
    readers.emplace_back([&] {
      while (!stop.load()) {
        std::string date = ValueToText(MakeDate(2026, 11, 22, 15, 4, 5));
        std::string number = ToString(Variant(0.5));
        if (date != "2026-11-22 15:04:05" && date != "22.11.2026 15:04:05") ++bad;
        if (number != "0.5" && number != "0,5") ++bad;
        ++reads;
      }
    });
  }
  for (int i = 0; i < 200 || reads.load() < 2000; ++i) SetLocale(i % 2 ? "C" : "de_DE.UTF-8");
  stop = true;
  for (auto& r : readers) r.join();
  EXPECT_EQ(bad.load(), 0);
}

}  // namespace
}  // namespace tympora
