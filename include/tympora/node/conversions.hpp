// Value conversions between numbers, dates, booleans and text.
//
// ValueToText writes the export form (a period as decimal separator in every
// locale, 15 significant digits, dates in the user's short date and long time
// form). The To... conversions raise 94 for Null, 13 for a text that is not a
// number, date or boolean, and 6 for a value out of range.
#pragma once

#include "tympora/export.h"

#include <cstdint>
#include <string>
#include <string_view>

#include "tympora/node/variant.hpp"

namespace tympora {

// The export text of a value: integers with a blank before a positive value
// or zero (" 5", "-3"); doubles the same, a period as decimal separator, 15
// significant digits, no zero before the period (" .5"), scientific form
// beyond the exponent limits (" 1E+15", " 1.5E-05"); dates in the locale's
// short date and long time form (date alone at midnight, time alone on day 0);
// booleans True or False; strings unchanged. Raises 94 for Null and 6 for a
// double that is not finite or a Date outside the years 100 to 9999.
TYMPORA_API std::string ValueToText(const Variant& value);
TYMPORA_API std::string ValueToText(int32_t value);
TYMPORA_API std::string ValueToText(double value);
TYMPORA_API std::string ValueToText(Date value);
TYMPORA_API std::string ValueToText(bool value);

// The setter form of a value: strings unchanged; numbers with the locale's
// decimal separator, a zero before it below 1 and no leading blank; dates as
// ValueToText; True/False; Empty gives the empty text. Raises 94 for Null and
// 13 for an object.
TYMPORA_API std::string ToString(const Variant& value);

// Removes the blanks (space characters only) at both ends.
TYMPORA_API std::string TrimText(std::string_view text);

// The value of the longest leading part of `text` that forms a number:
// blanks, tabs and line feeds are skipped anywhere; an optional sign, digits
// with at most one period, an optional exponent (E or D); or an &H / &O
// integer. 0 when no number starts the text. Never fails.
TYMPORA_API double TextToNumber(std::string_view text);

// True when the whole text, blanks around it allowed, is a number: optional
// sign, digits with an optional decimal separator (the period or the
// locale's) and the locale's grouping separators, an optional exponent; or an
// &H / &O integer. False for the empty text and for values beyond the double
// range.
TYMPORA_API bool IsNumericText(std::string_view text);
TYMPORA_API bool IsNumericText(const Variant& value);
inline bool IsNumericText(const std::string& text) { return IsNumericText(std::string_view(text)); }
inline bool IsNumericText(const char* text) { return IsNumericText(std::string_view(text)); }

// Rounds to the nearest integer, a half to the even neighbour. Raises 6 when
// the result is outside the 32-bit range. From a Variant: numeric texts are
// read as numbers, true is -1, false 0, Empty 0; Null raises 94, other texts 13.
TYMPORA_API int32_t ToInt32(double value);
TYMPORA_API int32_t ToInt32(const Variant& value);
// As ToInt32, within -32768 to 32767.
TYMPORA_API int16_t ToInt16(int32_t value);
TYMPORA_API int16_t ToInt16(const Variant& value);

// Numbers exactly; a numeric text by the locale's number rules; true -1,
// false 0; Empty 0. Raises 94 for Null and 13 for any other text.
TYMPORA_API double ToDouble(const Variant& value);
TYMPORA_API double ToDouble(std::string_view text);
inline double ToDouble(const std::string& text) { return ToDouble(std::string_view(text)); }
inline double ToDouble(const char* text) { return ToDouble(std::string_view(text)); }

// A Date unchanged; a text by the locale's date rules (the inverse of
// ValueToText) or in ISO form; a number as a day count. Raises 94 for Null,
// 13 for a text that is no date, 6 for a number outside the years 100 to 9999.
TYMPORA_API Date ToDate(const Variant& value);
TYMPORA_API Date ToDate(std::string_view text);
inline Date ToDate(const std::string& text) { return ToDate(std::string_view(text)); }
inline Date ToDate(const char* text) { return ToDate(std::string_view(text)); }

// Numbers are true when not 0; the texts True and False in any letter case;
// numeric texts by the number rule. Raises 94 for Null and 13 otherwise.
TYMPORA_API bool ToBoolean(const Variant& value);

// True only for a Null Variant.
TYMPORA_API bool IsNullValue(const Variant& value) noexcept;

// True for a Date and for a text that ToDate reads.
TYMPORA_API bool IsDateValue(const Variant& value);
TYMPORA_API bool IsDateValue(std::string_view text);
inline bool IsDateValue(const std::string& text) { return IsDateValue(std::string_view(text)); }
inline bool IsDateValue(const char* text) { return IsDateValue(std::string_view(text)); }

// The kind number of a Variant (0 Empty, 1 Null, 2, 3, 5, 7, 8, 9, 11).
TYMPORA_API int32_t ValueKind(const Variant& value) noexcept;

// Calendar helpers: the Date of a calendar day and time, and back. Raise 6
// outside the years 100 to 9999.
TYMPORA_API Date MakeDate(int year, int month, int day, int hour = 0, int minute = 0,
                          int second = 0);
struct TYMPORA_API DateParts {
  int year, month, day, hour, minute, second;
};
// The parts of `value`, rounded to the nearest second.
TYMPORA_API DateParts SplitDate(Date value);

}  // namespace tympora
