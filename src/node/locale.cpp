// The user's locale: read through glibc's locale database and turned into the
// date, time and number forms that the conversions follow.
//
// Each settings object is built once and never changed or freed, so a
// reference handed out by CurrentLocale stays valid while another thread
// switches the locale; the switch itself is one atomic pointer store.
#include "tympora/node/locale.hpp"

#include <langinfo.h>
#include <locale.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <memory>
#include <mutex>
#include <string_view>
#include <utility>
#include <vector>

#include "node/locale_forms.hpp"
#include "tympora/node/error.hpp"

namespace tympora {
namespace detail {
namespace {

struct LocaleDeleter {
  void operator()(locale_t loc) const { freelocale(loc); }
};
using LocaleHandle = std::unique_ptr<std::remove_pointer_t<locale_t>, LocaleDeleter>;

LocaleInfo ReadInfo(locale_t loc) {
  auto item = [loc](nl_item i) {
    const char* s = nl_langinfo_l(i, loc);
    return std::string(s ? s : "");
  };
  LocaleInfo info;
#ifdef _NL_LOCALE_NAME
  info.time_name = item(_NL_LOCALE_NAME(LC_TIME));
#endif
  info.d_fmt = item(D_FMT);
  info.t_fmt = item(T_FMT);
  info.t_fmt_ampm = item(T_FMT_AMPM);
  info.radix = item(RADIXCHAR);
  info.thousands = item(THOUSEP);
  info.am = item(AM_STR);
  info.pm = item(PM_STR);
  return info;
}

// Loads `name` ("" for the environment's locale, falling back to "C" when
// the environment names a locale that is not installed). Raises 5 for an
// unknown explicit name.
LocaleInfo LoadInfo(const std::string& name) {
  LocaleHandle loc(newlocale(LC_ALL_MASK, name.c_str(), locale_t{}));
  if (!loc && name.empty()) loc.reset(newlocale(LC_ALL_MASK, "C", locale_t{}));
  if (!loc) RaisePlatformError(kErrInvalidCall, "unknown locale '" + name + "'");
  LocaleInfo info = ReadInfo(loc.get());
  if (info.time_name.empty()) info.time_name = name.empty() ? "C" : name;
  return info;
}

bool IsPosixName(std::string name) {
  for (char& c : name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return name == "c" || name == "posix" || name == "c.utf-8" || name == "c.utf8";
}

// ---- Expanding a strftime-style format into a form ----

void AddLiteral(Form& form, std::string_view text) {
  if (text.empty()) return;
  if (!form.empty() && form.back().kind == FormToken::kLiteral) {
    form.back().text += text;
  } else {
    form.push_back({FormToken::kLiteral, false, false, std::string(text)});
  }
}

void AddField(Form& form, FormToken::Kind kind, bool pad, char flag) {
  if (flag == '-' || flag == '_') pad = false;  // blank padding is written as none
  if (flag == '0') pad = true;
  form.push_back({kind, pad, false, {}});
}

void Expand(std::string_view fmt, const LocaleInfo& info, int depth, Form& form);

// The conversions that write one field, with their default padding.
struct FieldConversion {
  char c;
  FormToken::Kind kind;
  bool pad;
};
constexpr FieldConversion kFieldConversions[] = {
    {'d', FormToken::kDay, true},     {'e', FormToken::kDay, false},
    {'m', FormToken::kMonth, true},   {'y', FormToken::kYear, true},
    {'Y', FormToken::kYear, true},    {'G', FormToken::kYear, true},
    {'g', FormToken::kYear, true},    {'H', FormToken::kHour24, true},
    {'k', FormToken::kHour24, false}, {'I', FormToken::kHour12, true},
    {'l', FormToken::kHour12, false}, {'M', FormToken::kMinute, true},
    {'S', FormToken::kSecond, true},
};

// The conversions that stand for a fixed sequence of others.
constexpr std::pair<char, std::string_view> kShortHands[] = {
    {'D', "%m/%d/%y"}, {'F', "%Y-%m-%d"}, {'T', "%H:%M:%S"}, {'R', "%H:%M"}};

// Adds the conversion `c` of a format; unknown conversions (names of days
// and months, time zones) are dropped.
void AddConversion(char c, char flag, const LocaleInfo& info, int depth, Form& form) {
  for (const auto& f : kFieldConversions) {
    if (f.c == c) return AddField(form, f.kind, f.pad, flag);
  }
  for (const auto& [name, expansion] : kShortHands) {
    if (name == c) return Expand(expansion, info, depth, form);
  }
  switch (c) {
    case 'p':
    case 'P':
      form.push_back({FormToken::kAmPm, false, c == 'P', {}});
      return;
    case 'r':
      return Expand(info.t_fmt_ampm.empty() ? "%I:%M:%S %p" : info.t_fmt_ampm, info, depth, form);
    case 'X':
      return Expand(info.t_fmt, info, depth, form);
    case 'x':
      return Expand(info.d_fmt, info, depth, form);
    case 'n':
    case 't':
      return AddLiteral(form, " ");
    case '%':
      return AddLiteral(form, "%");
    default:
      return;
  }
}

void Expand(std::string_view fmt, const LocaleInfo& info, int depth, Form& form) {
  if (depth > 4) return;  // a format that refers to itself
  size_t i = 0;
  while (i < fmt.size()) {
    size_t next = fmt.find('%', i);
    AddLiteral(form, fmt.substr(i, next - i));
    if (next == std::string_view::npos || next + 1 >= fmt.size()) return;
    i = next + 1;
    char flag = 0;
    while (i < fmt.size() && std::string_view("-_0^#").find(fmt[i]) != std::string_view::npos) {
      flag = fmt[i++];
    }
    while (i < fmt.size() && std::isdigit(static_cast<unsigned char>(fmt[i]))) ++i;
    if (i < fmt.size() && (fmt[i] == 'E' || fmt[i] == 'O')) ++i;
    if (i < fmt.size()) AddConversion(fmt[i++], flag, info, depth + 1, form);
  }
}

// Drops blanks at both ends and collapses runs of blanks, which dropped
// conversions (a time zone, a weekday) leave behind.
void Tidy(Form& form) {
  for (FormToken& t : form) {
    if (t.kind != FormToken::kLiteral) continue;
    std::string collapsed;
    for (char c : t.text) {
      if (c == ' ' && !collapsed.empty() && collapsed.back() == ' ') continue;
      collapsed += c;
    }
    t.text = std::move(collapsed);
  }
  if (!form.empty() && form.front().kind == FormToken::kLiteral) {
    form.front().text.erase(0, form.front().text.find_first_not_of(' '));
  }
  if (!form.empty() && form.back().kind == FormToken::kLiteral) {
    auto& text = form.back().text;
    text.erase(text.find_last_not_of(' ') + 1);
  }
  std::erase_if(form,
                [](const FormToken& t) { return t.kind == FormToken::kLiteral && t.text.empty(); });
}

Form ParseForm(std::string_view fmt, const LocaleInfo& info) {
  Form form;
  Expand(fmt, info, 0, form);
  Tidy(form);
  return form;
}

int Count(const Form& form, FormToken::Kind kind) {
  return static_cast<int>(std::count_if(form.begin(), form.end(),
                                        [kind](const FormToken& t) { return t.kind == kind; }));
}

size_t IndexOf(const Form& form, FormToken::Kind kind) {
  for (size_t i = 0; i < form.size(); ++i) {
    if (form[i].kind == kind) return i;
  }
  return form.size();
}

// Two numeric fields without a literal between them only read back when
// both have fixed widths.
void PadAdjacentFields(Form& form) {
  for (size_t i = 0; i + 1 < form.size(); ++i) {
    bool a = form[i].kind != FormToken::kLiteral && form[i].kind != FormToken::kAmPm;
    bool b = form[i + 1].kind != FormToken::kLiteral && form[i + 1].kind != FormToken::kAmPm;
    if (a && b) form[i].pad = form[i + 1].pad = true;
  }
}

Form IsoDateForm() {
  return {{FormToken::kYear, true, false, {}},
          {FormToken::kLiteral, false, false, "-"},
          {FormToken::kMonth, true, false, {}},
          {FormToken::kLiteral, false, false, "-"},
          {FormToken::kDay, true, false, {}}};
}

Form ClockForm(const std::string& sep, bool seconds) {
  Form form{{FormToken::kHour24, true, false, {}},
            {FormToken::kLiteral, false, false, sep},
            {FormToken::kMinute, true, false, {}}};
  if (seconds) {
    form.push_back({FormToken::kLiteral, false, false, sep});
    form.push_back({FormToken::kSecond, true, false, {}});
  }
  return form;
}

Form DateForm(const LocaleInfo& info, bool iso) {
  if (iso) return IsoDateForm();
  Form form = ParseForm(info.d_fmt, info);
  bool only_date_fields = std::all_of(form.begin(), form.end(), [](const FormToken& t) {
    return t.kind == FormToken::kLiteral || t.kind == FormToken::kYear ||
           t.kind == FormToken::kMonth || t.kind == FormToken::kDay;
  });
  if (!only_date_fields || Count(form, FormToken::kYear) != 1 ||
      Count(form, FormToken::kMonth) != 1 || Count(form, FormToken::kDay) != 1) {
    return IsoDateForm();  // a form the day count cannot be written in
  }
  PadAdjacentFields(form);
  return form;
}

bool ValidTimeForm(const Form& form) {
  int hours = Count(form, FormToken::kHour24) + Count(form, FormToken::kHour12);
  if (hours != 1 || Count(form, FormToken::kMinute) != 1 || Count(form, FormToken::kSecond) > 1 ||
      Count(form, FormToken::kAmPm) > 1) {
    return false;
  }
  return std::none_of(form.begin(), form.end(), [](const FormToken& t) {
    return t.kind == FormToken::kYear || t.kind == FormToken::kMonth || t.kind == FormToken::kDay;
  });
}

// The long time form; it always carries seconds (a written time reads back
// to the second) and an AM/PM text exactly when its hours run from 1 to 12.
Form TimeForm(const LocaleInfo& info, bool iso) {
  if (iso) return ClockForm(":", true);
  Form form = ParseForm(info.t_fmt.empty() ? "%H:%M:%S" : info.t_fmt, info);
  if (!ValidTimeForm(form)) return ClockForm(":", true);
  if (Count(form, FormToken::kSecond) == 0) {
    size_t minute = IndexOf(form, FormToken::kMinute);
    size_t hour = std::min(IndexOf(form, FormToken::kHour24), IndexOf(form, FormToken::kHour12));
    std::string sep = hour + 2 == minute ? form[hour + 1].text : ":";
    form.insert(form.begin() + static_cast<std::ptrdiff_t>(minute) + 1,
                {{FormToken::kLiteral, false, false, sep}, {FormToken::kSecond, true, false, {}}});
  }
  bool twelve = Count(form, FormToken::kHour12) == 1;
  if (!twelve) {
    std::erase_if(form, [](const FormToken& t) { return t.kind == FormToken::kAmPm; });
    Tidy(form);
  } else if (Count(form, FormToken::kAmPm) == 0) {
    AddLiteral(form, " ");
    form.push_back({FormToken::kAmPm, false, false, {}});
  }
  PadAdjacentFields(form);
  return form;
}

// The literal between the two fields at `first` and the next one.
std::string LiteralAfter(const Form& form, size_t first) {
  if (first + 2 < form.size() && form[first + 1].kind == FormToken::kLiteral) {
    return form[first + 1].text;
  }
  return {};
}

LocaleSettings MakeSettings(const std::string& name, const LocaleInfo& info, bool iso,
                            const Form& date, const Form& time) {
  LocaleSettings s;
  s.name = name;
  int n = 0;
  for (const FormToken& t : date) {
    if (t.kind == FormToken::kYear) s.date_order[n++] = 'y';
    if (t.kind == FormToken::kMonth) s.date_order[n++] = 'm';
    if (t.kind == FormToken::kDay) s.date_order[n++] = 'd';
  }
  size_t first_field = date.front().kind == FormToken::kLiteral ? 1 : 0;
  s.date_separator = LiteralAfter(date, first_field);
  s.iso_dates = iso;
  s.twelve_hour = Count(time, FormToken::kHour12) == 1;
  size_t hour = std::min(IndexOf(time, FormToken::kHour24), IndexOf(time, FormToken::kHour12));
  s.time_separator = LiteralAfter(time, hour);
  s.am = info.am;
  s.pm = info.pm;
  if (s.twelve_hour && (s.am.empty() || s.pm.empty() || s.am == s.pm)) {
    s.am = "AM";
    s.pm = "PM";
  }
  s.decimal_separator = info.radix.empty() ? "." : info.radix;
  s.thousands_separator = info.thousands;
  return s;
}

// The time form without its seconds field (and the literal before it).
Form WithoutSeconds(Form form) {
  size_t second = IndexOf(form, FormToken::kSecond);
  size_t begin = second > 0 && form[second - 1].kind == FormToken::kLiteral ? second - 1 : second;
  form.erase(form.begin() + static_cast<std::ptrdiff_t>(begin),
             form.begin() + static_cast<std::ptrdiff_t>(second) + 1);
  return form;
}

}  // namespace

std::unique_ptr<const LocaleState> BuildState(const std::string& name, const LocaleInfo& info) {
  bool iso = IsPosixName(info.time_name);
  auto state = std::make_unique<LocaleState>();
  state->date_form = DateForm(info, iso);
  state->time_form = TimeForm(info, iso);
  state->settings = MakeSettings(name, info, iso, state->date_form, state->time_form);
  state->date_patterns = {state->date_form, IsoDateForm()};
  state->time_patterns = {state->time_form, WithoutSeconds(state->time_form), ClockForm(":", true),
                          ClockForm(":", false)};
  const std::string& sep = state->settings.time_separator;
  if (!sep.empty() && sep != ":") {
    state->time_patterns.push_back(ClockForm(sep, true));
    state->time_patterns.push_back(ClockForm(sep, false));
  }
  return state;
}

namespace {

// ---- The settings in force ----

// Every state ever in force, one per locale name and the locale data it was
// built from: the data of a name does not change while the process runs,
// but the environment that the empty name reads may.
struct Registry {
  struct Entry {
    LocaleInfo info;
    std::unique_ptr<const LocaleState> state;
  };
  std::mutex mutex;
  std::vector<Entry> states;
};

Registry& TheRegistry() {
  static Registry* registry = new Registry;  // never destroyed: references outlive exit
  return *registry;
}

std::atomic<const LocaleState*> g_current{nullptr};
std::once_flag g_first_read;

// Puts the state of `name` built from `info` in force, building it only the
// first time, so that repeated switches keep memory flat.
void Install(const std::string& name, const LocaleInfo& info) {
  Registry& registry = TheRegistry();
  std::lock_guard lock(registry.mutex);
  for (const Registry::Entry& entry : registry.states) {
    if (entry.state->settings.name == name && entry.info == info) {
      g_current.store(entry.state.get(), std::memory_order_release);
      return;
    }
  }
  registry.states.push_back({info, BuildState(name, info)});
  g_current.store(registry.states.back().state.get(), std::memory_order_release);
}

// Puts a state that was built before for the explicit locale `name` back in
// force without reading the locale database again.
bool Reinstall(const std::string& name) {
  Registry& registry = TheRegistry();
  std::lock_guard lock(registry.mutex);
  for (const Registry::Entry& entry : registry.states) {
    if (entry.state->settings.name == name) {
      g_current.store(entry.state.get(), std::memory_order_release);
      return true;
    }
  }
  return false;
}

void EnsureRead() {
  std::call_once(g_first_read, [] { Install("", LoadInfo("")); });
}

}  // namespace

const LocaleState& CurrentLocaleState() {
  EnsureRead();
  return *g_current.load(std::memory_order_acquire);
}

}  // namespace detail

const LocaleSettings& CurrentLocale() { return detail::CurrentLocaleState().settings; }

void SetLocale(const std::string& name) {
  detail::EnsureRead();
  if (!name.empty() && detail::Reinstall(name)) return;
  detail::Install(name, detail::LoadInfo(name));
}

LocaleSettings ReadLocale(const std::string& name) {
  return detail::BuildState(name, detail::LoadInfo(name))->settings;
}

}  // namespace tympora
