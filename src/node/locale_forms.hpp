// The date and time forms of a locale, as the date texts write and read them.
//
// A form is a sequence of fields and literal texts, derived from the locale's
// D_FMT and T_FMT. The same sequence writes a date and, read leniently (one or
// two digits for a day, month or hour, blanks around fields), reads it back.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tympora/node/locale.hpp"

namespace tympora::detail {

struct FormToken {
  enum Kind { kLiteral, kYear, kMonth, kDay, kHour24, kHour12, kMinute, kSecond, kAmPm };
  Kind kind = kLiteral;
  bool pad = true;     // numeric fields: two digits with a leading zero
  bool lower = false;  // kAmPm: the AM/PM text in lower case
  std::string text;    // kLiteral: the text itself
};
using Form = std::vector<FormToken>;

// Everything the conversions need of one locale. Immutable once built.
struct LocaleState {
  LocaleSettings settings;
  Form date_form;                   // the short date, year always four digits
  Form time_form;                   // the long time, seconds always present
  std::vector<Form> date_patterns;  // accepted when reading: the locale's, ISO
  std::vector<Form> time_patterns;  // the locale's (with and without seconds), H:MM[:SS]
};

// The locale items that the forms are derived from, as glibc gives them.
struct LocaleInfo {
  std::string time_name;  // the name of the locale that LC_TIME resolved to
  std::string d_fmt, t_fmt, t_fmt_ampm;
  std::string radix, thousands, am, pm;

  bool operator==(const LocaleInfo&) const = default;
};

// The state of the locale `name` with the items `info`. A D_FMT or T_FMT that
// a date or time cannot be written in gives way to the ISO form; a 12-hour
// form without two distinct AM/PM texts uses "AM" and "PM".
std::unique_ptr<const LocaleState> BuildState(const std::string& name, const LocaleInfo& info);

// The state in force; valid for the life of the process.
const LocaleState& CurrentLocaleState();

}  // namespace tympora::detail
