// Dates: the calendar arithmetic of the day count and the date texts of the
// current locale.
//
// A Date counts days from 30 December 1899 in the proleptic Gregorian
// calendar. Before that day the integral part counts back and the fraction
// is still the time of day: -1.25 is 29 December 1899, 06:00.
#include <cctype>
#include <cmath>
#include <optional>
#include <string>
#include <string_view>

#include "node/locale_forms.hpp"
#include "tympora/node/conversions.hpp"
#include "tympora/node/error.hpp"

namespace tympora {
namespace {

using detail::Form;
using detail::FormToken;

constexpr long long kDayZero = -25569;  // 30 December 1899, counted from 1 January 1970

bool IsLeapYear(long long y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }

int DaysInMonth(long long year, int month) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

// Days from 1 January 1970 of a civil date, and back (valid for any year).
long long DaysFromCivil(long long y, int m, int d) {
  y -= m <= 2;
  long long era = (y >= 0 ? y : y - 399) / 400;
  long long yoe = y - era * 400;
  long long doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
  long long doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + doe - 719468;
}

void CivilFromDays(long long z, long long* year, int* month, int* day) {
  z += 719468;
  long long era = (z >= 0 ? z : z - 146096) / 146097;
  long long doe = z - era * 146097;
  long long yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  long long doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  long long mp = (5 * doy + 2) / 153;
  *day = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
  *month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
  *year = yoe + era * 400 + (*month <= 2);
}

bool InDateRange(long long year) { return year >= 100 && year <= 9999; }

// ---- Writing ----

std::string Digits(int value, bool pad, size_t width = 2) {
  std::string text = std::to_string(value);
  if (pad && text.size() < width) text.insert(0, width - text.size(), '0');
  return text;
}

std::string AmPmText(const LocaleSettings& locale, int hour, bool lower) {
  std::string text = hour < 12 ? locale.am : locale.pm;
  if (lower) {
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return text;
}

std::string WriteForm(const Form& form, const DateParts& p, const LocaleSettings& locale) {
  std::string out;
  for (const FormToken& t : form) {
    switch (t.kind) {
      case FormToken::kLiteral:
        out += t.text;
        break;
      case FormToken::kYear:
        out += Digits(p.year, true, 4);
        break;
      case FormToken::kMonth:
        out += Digits(p.month, t.pad);
        break;
      case FormToken::kDay:
        out += Digits(p.day, t.pad);
        break;
      case FormToken::kHour24:
        out += Digits(p.hour, t.pad);
        break;
      case FormToken::kHour12:
        out += Digits(p.hour % 12 == 0 ? 12 : p.hour % 12, t.pad);
        break;
      case FormToken::kMinute:
        out += Digits(p.minute, t.pad);
        break;
      case FormToken::kSecond:
        out += Digits(p.second, t.pad);
        break;
      case FormToken::kAmPm:
        out += AmPmText(locale, p.hour, t.lower);
        break;
    }
  }
  return out;
}

// ---- Reading ----

// The fields read from a date text; -1 where absent.
struct Fields {
  int year = -1, month = -1, day = -1;
  size_t year_digits = 0;
  int hour = -1, minute = -1, second = 0;
  int pm = -1;  // 0 AM, 1 PM
};

bool StartsWithNoCase(std::string_view text, std::string_view prefix) {
  if (prefix.empty() || text.size() < prefix.size()) return false;
  for (size_t i = 0; i < prefix.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(text[i])) !=
        std::tolower(static_cast<unsigned char>(prefix[i]))) {
      return false;
    }
  }
  return true;
}

class Reader {
 public:
  Reader(std::string_view text, const LocaleSettings& locale) : text_(text), locale_(&locale) {}

  bool AtEnd() const { return pos_ == text_.size(); }
  size_t Pos() const { return pos_; }
  void SkipBlanks() {
    while (pos_ < text_.size() && text_[pos_] == ' ') ++pos_;
  }

  // One to `max_digits` digits, not followed by another digit.
  bool Number(size_t max_digits, int* value, size_t* count = nullptr) {
    size_t n = 0;
    int v = 0;
    while (pos_ + n < text_.size() && n <= max_digits && std::isdigit(Byte(pos_ + n))) {
      v = v * 10 + (text_[pos_ + n] - '0');
      ++n;
    }
    if (n == 0 || n > max_digits) return false;
    pos_ += n;
    *value = v;
    if (count) *count = n;
    return true;
  }

  // The locale's AM/PM text, or AM/PM, in any letter case; the longest wins.
  bool AmPm(int* pm) {
    const std::pair<std::string_view, int> candidates[] = {
        {locale_->am, 0}, {locale_->pm, 1}, {"AM", 0}, {"PM", 1}};
    size_t best = 0;
    for (const auto& [word, value] : candidates) {
      if (word.size() > best && StartsWithNoCase(text_.substr(pos_), word)) {
        best = word.size();
        *pm = value;
      }
    }
    pos_ += best;
    return best > 0;
  }

  bool Literal(std::string_view literal) {
    size_t first = literal.find_first_not_of(' ');
    if (first == std::string_view::npos) return true;
    literal = literal.substr(first, literal.find_last_not_of(' ') - first + 1);
    if (!text_.substr(pos_).starts_with(literal)) return false;
    pos_ += literal.size();
    return true;
  }

  // Reads the fields of `form`, blanks allowed before each; an AM/PM text is
  // optional.
  bool Form(const detail::Form& form, Fields* f) {
    for (const FormToken& t : form) {
      SkipBlanks();
      if (!Token(t, f)) return false;
    }
    return true;
  }

 private:
  int Byte(size_t i) const { return static_cast<unsigned char>(text_[i]); }

  bool Token(const FormToken& t, Fields* f) {
    switch (t.kind) {
      case FormToken::kLiteral:
        return Literal(t.text);
      case FormToken::kYear:
        return Number(4, &f->year, &f->year_digits);
      case FormToken::kMonth:
        return Number(2, &f->month);
      case FormToken::kDay:
        return Number(2, &f->day);
      case FormToken::kHour24:
      case FormToken::kHour12:
        return Number(2, &f->hour);
      case FormToken::kMinute:
        return Number(2, &f->minute);
      case FormToken::kSecond:
        return Number(2, &f->second);
      case FormToken::kAmPm:
        AmPm(&f->pm);
        return true;
    }
    return false;
  }

  std::string_view text_;
  const LocaleSettings* locale_;
  size_t pos_ = 0;
};

bool HasAmPm(const Form& form) {
  for (const FormToken& t : form) {
    if (t.kind == FormToken::kAmPm) return true;
  }
  return false;
}

// A time by `pattern`, with an AM/PM text before or after it when the
// pattern has no place of its own for one.
bool ReadTime(Reader& r, const Form& pattern, Fields* f) {
  bool own_place = HasAmPm(pattern);
  r.SkipBlanks();
  if (!own_place && r.AmPm(&f->pm)) r.SkipBlanks();
  if (!r.Form(pattern, f)) return false;
  if (!own_place && f->pm < 0) {
    Reader after = r;
    after.SkipBlanks();
    if (after.AmPm(&f->pm)) r = after;
  }
  return true;
}

// Reads a date, a time, or a date, blanks and a time; the whole text.
std::optional<Fields> ReadFields(std::string_view text, const detail::LocaleState& state) {
  for (const Form& date : state.date_patterns) {
    Reader r(text, state.settings);
    Fields f;
    if (!r.Form(date, &f)) continue;
    if (r.AtEnd()) return f;
    if (text[r.Pos()] != ' ') continue;
    for (const Form& time : state.time_patterns) {
      Reader rt = r;
      Fields ft = f;
      if (ReadTime(rt, time, &ft) && (rt.SkipBlanks(), rt.AtEnd())) return ft;
    }
  }
  for (const Form& time : state.time_patterns) {
    Reader r(text, state.settings);
    Fields f;
    if (ReadTime(r, time, &f) && (r.SkipBlanks(), r.AtEnd())) return f;
  }
  return std::nullopt;
}

// The seconds since midnight of the time fields, or -1 when out of range.
int SecondsOfDay(Fields f) {
  if (f.hour < 0) return 0;
  if (f.pm >= 0) {
    if (f.hour < 1 || f.hour > 12) return -1;
    f.hour = f.hour % 12 + (f.pm ? 12 : 0);
  }
  if (f.hour > 23 || f.minute > 59 || f.second > 59) return -1;
  return f.hour * 3600 + f.minute * 60 + f.second;
}

std::optional<Date> ParseDate(std::string_view text) {
  size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return std::nullopt;
  text = text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
  std::optional<Fields> f = ReadFields(text, detail::CurrentLocaleState());
  if (!f) return std::nullopt;
  int seconds = SecondsOfDay(*f);
  if (seconds < 0) return std::nullopt;
  if (f->year < 0) return Date(seconds / 86400.0);
  int year = f->year;
  if (f->year_digits <= 2) year += year < 30 ? 2000 : 1900;
  if (!InDateRange(year) || f->month < 1 || f->month > 12 || f->day < 1 ||
      f->day > DaysInMonth(year, f->month)) {
    return std::nullopt;
  }
  return MakeDate(year, f->month, f->day, seconds / 3600, seconds / 60 % 60, seconds % 60);
}

}  // namespace

Date MakeDate(int year, int month, int day, int hour, int minute, int second) {
  if (!InDateRange(year)) RaisePlatformError(kErrOverflow);
  if (month < 1 || month > 12 || day < 1 || day > DaysInMonth(year, month) || hour < 0 ||
      hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59) {
    RaisePlatformError(kErrInvalidCall);
  }
  double days = static_cast<double>(DaysFromCivil(year, month, day) - kDayZero);
  double time = (hour * 3600 + minute * 60 + second) / 86400.0;
  return Date(days >= 0 ? days + time : days - time);
}

DateParts SplitDate(Date value) {
  // Far beyond the years 100 to 9999; keeps the conversions below defined.
  if (!std::isfinite(value.value) || std::fabs(value.value) > 4e6) {
    RaisePlatformError(kErrOverflow);
  }
  double whole = std::trunc(value.value);
  long long days = static_cast<long long>(whole);
  long long seconds = std::llround(std::fabs(value.value - whole) * 86400);
  if (seconds >= 86400) {  // rounded up to the next midnight
    // ...except from the last day of 9999, which has no next day: its last
    // half second stays 23:59:59.
    static const long long last_day = DaysFromCivil(9999, 12, 31) - kDayZero;
    if (days == last_day) {
      seconds = 86399;
    } else {
      ++days;
      seconds -= 86400;
    }
  }
  DateParts p{};
  long long year = 0;
  CivilFromDays(days + kDayZero, &year, &p.month, &p.day);
  if (!InDateRange(year)) RaisePlatformError(kErrOverflow);
  p.year = static_cast<int>(year);
  p.hour = static_cast<int>(seconds / 3600);
  p.minute = static_cast<int>(seconds / 60 % 60);
  p.second = static_cast<int>(seconds % 60);
  return p;
}

std::string ValueToText(Date value) {
  DateParts p = SplitDate(value);
  const detail::LocaleState& state = detail::CurrentLocaleState();
  bool day_zero = p.year == 1899 && p.month == 12 && p.day == 30;
  bool midnight = p.hour == 0 && p.minute == 0 && p.second == 0;
  if (day_zero) return WriteForm(state.time_form, p, state.settings);
  std::string date = WriteForm(state.date_form, p, state.settings);
  if (midnight) return date;
  return date + " " + WriteForm(state.time_form, p, state.settings);
}

Date ToDate(std::string_view text) {
  std::optional<Date> date = ParseDate(text);
  if (!date) RaisePlatformError(kErrTypeMismatch);
  return *date;
}

bool IsDateValue(std::string_view text) { return ParseDate(text).has_value(); }

}  // namespace tympora
