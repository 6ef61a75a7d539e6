// Conversions between Python objects and the library's values.
#include "values.hpp"

#include <cmath>

#include "tympora/node/conversions.hpp"
#include "tympora/node/error.hpp"
#include "tympora/node/node.hpp"
#include "tympora/node/status.hpp"

namespace tympora::python {
namespace {

// The classes of the datetime module, looked up once and kept for the life
// of the process (never released, so nothing runs after the interpreter is
// gone).
struct DateTimeClasses {
  py::object date, datetime, timedelta;
};
const DateTimeClasses& DateTime() {
  static const DateTimeClasses* classes = [] {
    py::module_ module = py::module_::import("datetime");
    return new DateTimeClasses{module.attr("date"), module.attr("datetime"),
                               module.attr("timedelta")};
  }();
  return *classes;
}

bool IsInt(py::handle value) { return !PyBool_Check(value.ptr()) && PyIndex_Check(value.ptr()); }

// The int `value` as a 64-bit integer; false when it does not fit.
bool ToInt64(py::handle value, long long& out) {
  py::object index = py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr()));
  if (!index) throw py::error_already_set();
  int overflow = 0;
  out = PyLong_AsLongLongAndOverflow(index.ptr(), &overflow);
  if (out == -1 && PyErr_Occurred()) throw py::error_already_set();
  return overflow == 0;
}

int Field(py::handle value, const char* name) { return value.attr(name).cast<int>(); }

}  // namespace

int32_t ToInt32(py::handle value) {
  if (!IsInt(value)) RaisePlatformError(kErrTypeMismatch, "an int is needed");
  long long v = 0;
  if (!ToInt64(value, v) || v < INT32_MIN || v > INT32_MAX) RaisePlatformError(kErrOverflow);
  return static_cast<int32_t>(v);
}

int16_t ToInt16(py::handle value) {
  const int32_t v = ToInt32(value);
  if (v < INT16_MIN || v > INT16_MAX) RaisePlatformError(kErrOverflow);
  return static_cast<int16_t>(v);
}

std::string ToText(py::handle value) {
  if (!PyUnicode_Check(value.ptr())) RaisePlatformError(kErrTypeMismatch, "a str is needed");
  Py_ssize_t size = 0;
  const char* data = PyUnicode_AsUTF8AndSize(value.ptr(), &size);
  if (!data) {
    PyErr_Clear();
    RaisePlatformError(kErrTypeMismatch, "the str cannot be written as UTF-8");
  }
  return std::string(data, static_cast<size_t>(size));
}

py::object FromText(const std::string& text) {
  return py::reinterpret_steal<py::object>(
      PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "replace"));
}

std::string ToPath(py::handle value) {
  py::object path = py::reinterpret_steal<py::object>(PyOS_FSPath(value.ptr()));
  if (!path) {
    PyErr_Clear();
    RaisePlatformError(kErrTypeMismatch, "a path is needed");
  }
  if (PyBytes_Check(path.ptr())) return std::string(py::bytes(path));
  return ToText(path);
}

Date ToDate(py::handle value) {
  if (!py::isinstance(value, DateTime().date)) {
    RaisePlatformError(kErrTypeMismatch, "a datetime.date or datetime.datetime is needed");
  }
  py::object moment = py::reinterpret_borrow<py::object>(value);
  int hour = 0, minute = 0, second = 0;
  if (py::isinstance(moment, DateTime().datetime)) {
    if (Field(moment, "microsecond") >= 500000 && Field(moment, "year") < 9999) {
      moment = moment.attr("__add__")(DateTime().timedelta(0, 1));
    }
    hour = Field(moment, "hour");
    minute = Field(moment, "minute");
    second = Field(moment, "second");
  }
  return MakeDate(Field(moment, "year"), Field(moment, "month"), Field(moment, "day"), hour, minute,
                  second);
}

py::object FromDate(Date value) {
  const DateParts d = SplitDate(value);
  if (d.year < 1 || d.year > 9999) RaisePlatformError(kErrOverflow);
  return DateTime().datetime(d.year, d.month, d.day, d.hour, d.minute, d.second);
}

Variant ToVariant(py::handle value) {
  if (value.is_none()) return Variant(kNull);
  if (PyBool_Check(value.ptr())) return Variant(value.ptr() == Py_True);
  if (IsInt(value)) {
    long long v = 0;
    if (ToInt64(value, v) && v >= INT32_MIN && v <= INT32_MAX) return static_cast<int32_t>(v);
    const double d = PyLong_AsDouble(value.ptr());
    if (d == -1.0 && PyErr_Occurred()) {
      PyErr_Clear();
      RaisePlatformError(kErrOverflow);
    }
    return d;
  }
  if (PyFloat_Check(value.ptr())) return PyFloat_AsDouble(value.ptr());
  if (PyUnicode_Check(value.ptr())) return ToText(value);
  if (py::isinstance(value, DateTime().date)) return ToDate(value);
  if (py::isinstance<CNode>(value)) return Variant(value.cast<std::shared_ptr<CNode>>());
  if (py::isinstance<CStatus>(value)) return Variant(value.cast<StatusPtr>());
  RaisePlatformError(kErrTypeMismatch,
                     "no value of type " + std::string(py::str(value.get_type().attr("__name__"))));
}

py::object FromVariant(const Variant& value) {
  switch (value.Kind()) {
    case VariantKind::Empty:
    case VariantKind::Null:
      return py::none();
    case VariantKind::Int16:
      return py::int_(value.AsInt16());
    case VariantKind::Int32:
      return py::int_(value.AsInt32());
    case VariantKind::Double:
      return py::float_(value.AsDouble());
    case VariantKind::Date:
      return FromDate(value.AsDate());
    case VariantKind::String:
      return FromText(value.AsString());
    case VariantKind::Boolean:
      return py::bool_(value.AsBool());
    case VariantKind::Object:
      break;
  }
  const ObjectPtr& object = value.AsObject();
  if (!object) return py::none();
  if (auto node = std::dynamic_pointer_cast<CNode>(object)) return py::cast(node);
  if (auto status = std::dynamic_pointer_cast<CStatus>(object)) return py::cast(status);
  RaisePlatformError(kErrTypeMismatch, "an object that Python does not know");
}

py::object GetValue(const RecordBase& record, const PropertyDef& p) {
  if (record.IsPropertyNull(p)) return py::none();
  return FromVariant(record.GetProperty(p));
}

void SetValue(RecordBase& record, const PropertyDef& p, py::handle value) {
  if (value.is_none()) {
    record.SetPropertyNull(p);
    return;
  }
  switch (p.Kind()) {
    case PropKind::Int32:
      return record.SetProperty(p, ToInt32(value));
    case PropKind::Double:
      if (PyFloat_Check(value.ptr())) return record.SetProperty(p, PyFloat_AsDouble(value.ptr()));
      if (!IsInt(value)) RaisePlatformError(kErrTypeMismatch, "an int or a float is needed");
      return record.SetProperty(p, ToVariant(value));
    case PropKind::String:
      return record.SetProperty(p, ToText(value));
    case PropKind::Date:
      return record.SetProperty(p, ToDate(value));
    case PropKind::Bool:
      if (!PyBool_Check(value.ptr())) RaisePlatformError(kErrTypeMismatch, "a bool is needed");
      return record.SetProperty(p, value.ptr() == Py_True);
  }
}

const char* KindName(PropKind kind) noexcept {
  switch (kind) {
    case PropKind::Int32:
      return "int";
    case PropKind::Double:
      return "float";
    case PropKind::String:
      return "str";
    case PropKind::Date:
      return "datetime";
    case PropKind::Bool:
      return "bool";
  }
  return "?";
}

}  // namespace tympora::python
