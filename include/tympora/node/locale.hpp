// The user's locale: the date, time and number forms that date texts and
// ToString, ToDouble, IsNumericText and ToDate follow.
//
// The locale is read once from the environment (LC_ALL, LC_TIME, LC_NUMERIC,
// LANG) through glibc's locale database. A host or a test may switch to
// another locale by name at any time; the switch is process-wide and safe
// while other threads convert.
#pragma once

#include "tympora/export.h"

#include <memory>
#include <string>

namespace tympora {

// The forms of one locale, as the conversions use them.
struct TYMPORA_API LocaleSettings {
  std::string name;    // the locale's name as given ("" for the environment's)
  char date_order[3];  // 'd', 'm', 'y' in the order of the short date
  std::string date_separator;
  bool iso_dates = false;    // C/POSIX: dates yyyy-mm-dd, times HH:MM:SS
  bool twelve_hour = false;  // the long time form uses hours 1-12 with AM/PM
  std::string time_separator;
  std::string am, pm;  // the AM and PM texts of a 12-hour form
  std::string decimal_separator;
  std::string thousands_separator;  // may be empty
};

// The settings in force. The returned object stays valid for the life of the
// process.
TYMPORA_API const LocaleSettings& CurrentLocale();

// Switches to the locale `name` ("C", "en_US.UTF-8", "de_DE.UTF-8" ...; the
// empty name re-reads the environment). Raises 5 when glibc does not know the
// locale; the settings in force are then unchanged.
TYMPORA_API void SetLocale(const std::string& name);

// Reads the settings of the locale `name` without switching. Raises 5 when
// glibc does not know the locale.
TYMPORA_API LocaleSettings ReadLocale(const std::string& name);

}  // namespace tympora
