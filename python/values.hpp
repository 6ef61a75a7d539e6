// Conversions between Python objects and the library's values, shared by the
// parts of the tympora module.
//
// Python values are checked strictly against the type a property has: an int
// property takes an int (not a bool), a double property an int or a float, a
// text property a str, a date property a datetime.date or datetime.datetime,
// a boolean property a bool. Another type raises error 13; an int outside 32
// bits raises 6. None stands for Null in both directions.
#pragma once

#include <pybind11/pybind11.h>

#include <cstdint>
#include <string>

#include "tympora/node/record.hpp"
#include "tympora/node/variant.hpp"

namespace tympora::python {

namespace py = pybind11;

// A Python int (or an object with __index__) as a 32-bit integer. Raises 6
// beyond 32 bits and 13 for any other type, bools included.
int32_t ToInt32(py::handle value);
// The same for a 16-bit integer (file numbers).
int16_t ToInt16(py::handle value);
// A str as UTF-8 text. Raises 13 for bytes and any other type, and for a str
// that cannot be encoded (lone surrogates).
std::string ToText(py::handle value);
// UTF-8 text as a str; bytes that are not UTF-8 become U+FFFD.
py::object FromText(const std::string& text);
// A path given as str, bytes or os.PathLike, as the file name's bytes.
// Raises 13 for any other type.
std::string ToPath(py::handle value);
// A datetime.date or datetime.datetime as a Date, its time rounded to the
// second. Raises 6 outside the years 100 to 9999 and 13 for another type.
Date ToDate(py::handle value);
// A Date as a naive datetime.datetime, to the second. Raises 6 for a Date
// outside the years 100 to 9999.
py::object FromDate(Date value);

// A Python value as a Variant, for PropertyByName: None is Null, a bool a
// Boolean, an int within 32 bits an Int32 and a larger one a Double, a float
// a Double, a str a String, a date a Date, a record or status an Object.
// Raises 13 for any other type.
Variant ToVariant(py::handle value);
// A Variant as a Python value: Empty and Null are None; records and statuses
// come back as their Python objects. Raises 13 for another kind of object.
py::object FromVariant(const Variant& value);

// The value of property `p` of `record`: None when it is Null.
py::object GetValue(const RecordBase& record, const PropertyDef& p);
// Assigns `value` to property `p` through the property's setter rule; None
// makes the property Null. Conversion failures raise, leaving it unchanged.
void SetValue(RecordBase& record, const PropertyDef& p, py::handle value);

// The Python type of a property kind: "int", "float", "str", "datetime",
// "bool".
const char* KindName(PropKind kind) noexcept;

}  // namespace tympora::python
