// The tympora module: tympora.Error, CStatus, the DOM handles, the file layer
// and the locale; the records are bound in records.cpp.
#include <pybind11/eval.h>
#include <pybind11/pybind11.h>

#include <sys/stat.h>
#include <cerrno>
#include <string>

#include "bindings.hpp"
#include "tympora/tympora.hpp"
#include "values.hpp"

namespace tympora::python {
namespace {

// tympora.Error, kept for the life of the process.
py::object* error_class = nullptr;

constexpr const char* kErrorSource = R"py(
class Error(Exception):
    """A failure reported by Tympora, with the values of a status: number,
    description, source, help_file and help_context."""

    def __init__(self, number=0, description="", source="", help_file="", help_context=0):
        super().__init__(number, description, source, help_file, help_context)
        self.number = number
        self.description = description
        self.source = source
        self.help_file = help_file
        self.help_context = help_context

    def __str__(self):
        return f"{self.number}: {self.description} ({self.source})"
)py";

void BindError(py::module_& m) {
  py::dict scope;
  scope["__name__"] = "tympora";
  py::exec(kErrorSource, scope);
  error_class = new py::object(scope["Error"]);
  m.attr("Error") = *error_class;
  py::register_exception_translator([](std::exception_ptr p) {
    try {
      if (p) std::rethrow_exception(p);
    } catch (const Error& e) {
      py::object error = (*error_class)(e.Number(), FromText(e.Description()), FromText(e.Source()),
                                        FromText(e.HelpFile()), e.HelpContext());
      PyErr_SetObject(error_class->ptr(), error.ptr());
    }
  });
}

void BindStatus(py::module_& m) {
  py::class_<CStatus, std::shared_ptr<CStatus>>(
      m, "CStatus", "The result of an export or import: Number 0 is success.")
      .def(py::init<>())
      .def_property(
          "Number", [](const CStatus& s) { return s.Number(); },
          [](CStatus& s, py::handle v) { s.Number(ToInt32(v)); })
      .def_property(
          "Description", [](const CStatus& s) { return s.Description(); },
          [](CStatus& s, py::handle v) { s.Description(ToText(v)); })
      .def_property(
          "HelpFile", [](const CStatus& s) { return s.HelpFile(); },
          [](CStatus& s, py::handle v) { s.HelpFile(ToText(v)); })
      .def_property(
          "HelpContext", [](const CStatus& s) { return s.HelpContext(); },
          [](CStatus& s, py::handle v) { s.HelpContext(ToInt32(v)); })
      .def_property(
          "Source", [](const CStatus& s) { return s.Source(); },
          [](CStatus& s, py::handle v) { s.Source(ToText(v)); })
      .def("RaiseError", &CStatus::RaiseError)
      .def("OperatorEquals", &CStatus::OperatorEquals, py::arg("Other"))
      .def(
          "SetError",
          [](CStatus& s, py::handle code, py::handle source) {
            if (source.is_none()) return s.SetError(ToInt32(code));
            s.SetError(ToInt32(code), ToText(source));
          },
          py::arg("eErrCode"), py::arg("sSource") = py::none())
      .def("__repr__", [](const CStatus& s) {
        return "<tympora.CStatus " + std::to_string(s.Number()) + ": " + s.Description() + " (" +
               s.Source() + ")>";
      });
}

py::list ChildNodes(const DOMNodeList& list) {
  py::list out;
  const int32_t n = list.length();
  for (int32_t i = 0; i < n; ++i) out.append(list.item(i));
  return out;
}

void BindNode(py::module_& m) {
  py::class_<DOMParseError>(m, "DOMParseError", "Where and why the last load failed.")
      .def_readonly("errorCode", &DOMParseError::errorCode)
      .def_readonly("reason", &DOMParseError::reason)
      .def_readonly("line", &DOMParseError::line)
      .def_readonly("linepos", &DOMParseError::linepos)
      .def_readonly("filepos", &DOMParseError::filepos);
  py::class_<DOMNode>(m, "DOMNode", "A node of a document; DOMNode() is the absent node.")
      .def(py::init<>())
      .def("__bool__", [](const DOMNode& n) { return !n.IsAbsent(); })
      .def("__eq__", [](const DOMNode& a, const DOMNode& b) { return a == b; })
      .def_property_readonly("nodeType", [](const DOMNode& n) { return int(n.nodeType()); })
      .def_property_readonly("nodeName", &DOMNode::nodeName)
      .def_property_readonly("baseName", &DOMNode::baseName)
      .def_property(
          "text", [](const DOMNode& n) { return n.text(); },
          [](DOMNode& n, py::handle v) { n.text(ToText(v)); })
      .def_property_readonly("xml", &DOMNode::xml)
      .def_property_readonly("childNodes",
                             [](const DOMNode& n) { return ChildNodes(n.childNodes()); })
      .def_property_readonly("parentNode", &DOMNode::parentNode)
      .def("appendChild", &DOMNode::appendChild, py::arg("child"))
      .def("setAttribute", [](DOMNode& n, py::handle name,
                              py::handle value) { n.setAttribute(ToText(name), ToText(value)); })
      .def("getAttribute", [](const DOMNode& n, py::handle name) -> py::object {
        const DOMNamedNodeMap attributes = n.attributes();
        const DOMNode a = attributes ? attributes.getNamedItem(ToText(name)) : DOMNode();
        return a ? py::cast(a.text()) : py::none();
      });
}

void BindDocument(py::module_& m) {
  py::class_<DOMDocument>(m, "DOMDocument",
                          "An XML document; DOMDocument() is the absent document that "
                          "ExportXMLDocument fills, DOMDocument.New() a new empty one.")
      .def(py::init<>())
      .def_static("New", &DOMDocument::New)
      .def("__bool__", [](const DOMDocument& d) { return !d.IsAbsent(); })
      .def_property(
          "preserveWhiteSpace", [](const DOMDocument& d) { return d.preserveWhiteSpace(); },
          [](DOMDocument& d, bool v) { d.preserveWhiteSpace(v); })
      .def(
          "load",
          [](DOMDocument& d, py::handle path) {
            const std::string p = ToPath(path);
            py::gil_scoped_release released;
            return d.load(p);
          },
          py::arg("path"))
      .def(
          "loadXML",
          [](DOMDocument& d, py::handle text) {
            const std::string t = ToText(text);
            py::gil_scoped_release released;
            return d.loadXML(t);
          },
          py::arg("text"))
      .def_property_readonly("parseError", &DOMDocument::parseError)
      .def_property_readonly("documentElement", &DOMDocument::documentElement)
      .def_property_readonly("childNodes",
                             [](const DOMDocument& d) { return ChildNodes(d.childNodes()); })
      .def_property_readonly("xml",
                             [](const DOMDocument& d) {
                               py::gil_scoped_release released;
                               return d.xml();
                             })
      .def("createElement",
           [](DOMDocument& d, py::handle name) { return d.createElement(ToText(name)); })
      .def("createTextNode",
           [](DOMDocument& d, py::handle text) { return d.createTextNode(ToText(text)); })
      .def("appendChild", &DOMDocument::appendChild, py::arg("child"));
}

void BindFiles(py::module_& m) {
  m.def(
      "FreeFile", [] { return FreeFile(); },
      "The lowest free file number from 1 to 255; raises 67 when none is free.");
  m.def(
      "OpenFile",
      [](py::handle number, py::handle path) { OpenFile(ToInt16(number), ToPath(path)); },
      py::arg("number"), py::arg("path"),
      "Opens `path` for writing under `number` (1 to 511), for ExportXMLFileHandle; raises the "
      "file layer's error.");
  m.def(
      "FileClose", [](py::handle number) { FileClose(ToInt16(number)); }, py::arg("number"),
      "Closes file `number`; raises 52 when it names no open file.");
  m.def(
      "SetLocale", [](py::handle name) { SetLocale(ToText(name)); }, py::arg("name"),
      "Switches the date and number forms to locale `name` for the whole process (the empty "
      "name re-reads the environment); raises 5 for a locale that glibc does not know.");
}

}  // namespace

void RaiseIfFailed(const StatusPtr& status) {
  if (status && status->Number() != 0) status->RaiseError();
}

void RaiseLoadError(const std::string& path, const DOMParseError& error) {
  struct stat st {};
  if (::stat(path.c_str(), &st) != 0 && errno == ENOENT) RaisePlatformError(kErrFileNotFound, path);
  std::string where = path;
  if (error.line > 0) {
    where += ", line " + std::to_string(error.line) + ", column " + std::to_string(error.linepos);
  }
  throw Error(error.errorCode ? error.errorCode : kDomErrParse, where + ": " + error.reason,
              kDomSource);
}

void BindPlatform(py::module_& m) {
  BindError(m);
  BindStatus(m);
  BindNode(m);
  BindDocument(m);
  BindFiles(m);
}

}  // namespace tympora::python

PYBIND11_MODULE(tympora, m) {
  m.doc() = "Hearing-instrument records in memory, exported to and imported from XML.";
  m.attr("__version__") = TYMPORA_VERSION;
  tympora::python::BindPlatform(m);
  tympora::python::BindRecords(m);
}
