// The parts of the tympora module, each binding one group of classes.
#pragma once

#include <pybind11/pybind11.h>

#include <string>

#include "tympora/node/dom.hpp"
#include "tympora/node/status.hpp"

namespace tympora::python {

namespace py = pybind11;

// tympora.Error, CStatus, the DOM handles, the file layer and the locale.
void BindPlatform(py::module_& m);
// CNode, the record classes, their child lists and tympora.load.
void BindRecords(py::module_& m);

// Raises a status that is present and not 0 as a tympora::Error with its
// five values; does nothing otherwise.
void RaiseIfFailed(const StatusPtr& status);

// Raises the failure of loading the file `path`: 53 when there is no file,
// otherwise the parser's number with the path, line, column and reason.
[[noreturn]] void RaiseLoadError(const std::string& path, const DOMParseError& error);

}  // namespace tympora::python
