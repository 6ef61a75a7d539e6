// The record classes in Python, one for each record class of the
// component's registration table. Every typed property is an attribute made
// from the class's property table, every child list a sequence of the very
// records it holds, and the node members keep their names. Imports and
// exports run with the GIL released.
#include <pybind11/stl.h>

#include <memory>
#include <string>
#include <type_traits>

#include "bindings.hpp"
#include "tympora/tympora.hpp"
#include "values.hpp"

namespace tympora::python {
namespace {

// A child list of a record as a Python sequence, indexed from 0. It follows
// its record: after the list is reset it shows the new, empty list.
struct RecordList {
  std::shared_ptr<RecordBase> owner;
  const ChildListDef* def;

  int32_t Count() const {
    const NodeCollection* list = def->list(*owner);
    return list ? list->Count() : 0;
  }
  // The record at Python index `index` (negative counts from the end).
  NodePtr At(py::ssize_t index) const {
    const int32_t n = Count();
    if (index < 0) index += n;
    if (index < 0 || index >= n) throw py::index_error("list index out of range");
    return def->list(*owner)->NodeItem(static_cast<int32_t>(index) + 1);
  }
  // Whether `item` is one of the very records in the list.
  bool Contains(py::handle item) const {
    if (!py::isinstance<CNode>(item)) return false;
    const CNode* wanted = item.cast<const CNode*>();
    const int32_t n = Count();
    for (int32_t i = 1; i <= n; ++i) {
      if (def->list(*owner)->NodeItem(i).get() == wanted) return true;
    }
    return false;
  }
};

struct RecordListIterator {
  RecordList list;
  py::ssize_t next = 0;
};

void BindRecordList(py::module_& m) {
  py::class_<RecordListIterator>(m, "RecordListIterator")
      .def("__iter__", [](py::object self) { return self; })
      .def("__next__", [](RecordListIterator& it) {
        if (it.next >= it.list.Count()) throw py::stop_iteration();
        return it.list.At(it.next++);
      });
  py::class_<RecordList>(m, "RecordList",
                         "A record's child list: len, iteration, indexing from 0 and `in` give "
                         "the very records added. Add and reset through the record's members.")
      .def("__len__", &RecordList::Count)
      .def("__getitem__", &RecordList::At)
      .def("__getitem__",
           [](const RecordList& l, const py::slice& slice) {
             py::ssize_t start = 0, stop = 0, step = 0, length = 0;
             if (!slice.compute(l.Count(), &start, &stop, &step, &length)) {
               throw py::error_already_set();
             }
             py::list out;
             for (py::ssize_t i = 0; i < length; ++i) out.append(l.At(start + i * step));
             return out;
           })
      .def("__contains__", &RecordList::Contains)
      .def("__iter__", [](const RecordList& l) { return RecordListIterator{l}; })
      .def("__repr__", [](const RecordList& l) {
        return "<" + std::string(l.def->property) + ": " + std::to_string(l.Count()) + " " +
               std::string(l.def->element) + ">";
      });
}

// Adds to class `cls` an attribute per property of `info` and, per child
// list, the list attribute with its add and reset members.
void AddTable(py::handle cls, const RecordInfo& info) {
  py::object property = py::module_::import("builtins").attr("property");
  for (const PropertyDef& p : info.properties) {
    py::cpp_function get([&p](const RecordBase& r) { return GetValue(r, p); });
    py::cpp_function set([&p](RecordBase& r, py::handle v) { SetValue(r, p, v); });
    const std::string doc =
        std::string(KindName(p.Kind())) + " or None; element \"" + std::string(p.element) + "\"";
    py::setattr(cls, std::string(p.property).c_str(), property(get, set, py::none(), doc));
  }
  for (const ChildListDef& list : info.children) {
    const ChildListDef* def = &list;
    py::cpp_function get([def](std::shared_ptr<RecordBase> r) { return RecordList{r, def}; });
    py::setattr(cls, std::string(list.property).c_str(), property(get));
    const std::string add(list.add_member), reset(list.reset_member);
    py::setattr(cls, add.c_str(),
                py::cpp_function([def](RecordBase& r, NodePtr child) { def->add(r, child); },
                                 py::name(add.c_str()), py::is_method(cls), py::arg("child"),
                                 "Adds the record itself (not a copy) under its ID; raises "
                                 "91 for None, 13 for another class, 457 for an ID present."));
    py::setattr(cls, reset.c_str(),
                py::cpp_function([def](RecordBase& r) { def->reset(r); }, py::name(reset.c_str()),
                                 py::is_method(cls), "Resets and drops every record of the list."));
  }
}

// Status members: the status the library returns (None where it returns
// none), with the GIL released while the record is written or read.
template <class... Args>
auto Released(StatusPtr (CNode::*member)(Args...)) {
  return [member](CNode& node, Args... args) {
    py::gil_scoped_release released;
    return (node.*member)(args...);
  };
}

void BindNode(py::module_& m) {
  py::class_<CNode, std::shared_ptr<CNode>>(
      m, "CNode",
      "The node interface that every record offers: ID, values by element name, "
      "export and import.")
      .def_property_readonly("NodeName", &CNode::NodeName)
      .def_property(
          "ID", [](const CNode& n) { return n.ID(); },
          [](CNode& n, py::handle v) { n.ID(ToInt32(v)); })
      .def("PropertyByName",
           [](const CNode& n, py::handle name) {
             return FromVariant(n.PropertyByName(ToText(name)));
           })
      .def("PropertyByName",
           [](CNode& n, py::handle name, py::handle value) {
             n.PropertyByName(ToText(name), ToVariant(value));
           })
      .def("CreateXMLElement", &CNode::CreateXMLElement, py::arg("Document"), py::arg("ThisNode"))
      .def(
          "ExportXMLPath",
          [](CNode& n, py::handle path) {
            const std::string p = ToPath(path);
            py::gil_scoped_release released;
            return n.ExportXMLPath(p);
          },
          py::arg("sFilePath"))
      .def(
          "ExportXMLFileHandle",
          [](CNode& n, py::handle number) {
            const int16_t file = ToInt16(number);
            py::gil_scoped_release released;
            return n.ExportXMLFileHandle(file);
          },
          py::arg("iFileHandle"))
      .def("ExportXMLDocument", Released(&CNode::ExportXMLDocument), py::arg("Document"))
      .def("ExportXMLNode", Released(&CNode::ExportXMLNode), py::arg("Document"),
           py::arg("ParentNode"))
      .def("ImportXMLNode", Released(&CNode::ImportXMLNode), py::arg("ThisNode"))
      .def("ExportTXT", [](CNode& n, py::handle f) { return n.ExportTXT(ToInt16(f)); })
      .def("ExportPDF",
           [](CNode& n, py::handle o) {
             Variant v = ToVariant(o);
             return n.ExportPDF(v);
           })
      .def("ExportPostScript",
           [](CNode& n, py::handle f) { return n.ExportPostScript(ToInt16(f)); })
      .def("Reset", &CNode::Reset);
}

// The durable save road, once records have one, is the one call to change.
StatusPtr Save(RecordBase& record, const std::string& path) { return record.ExportXMLPath(path); }

void BindRecordBase(py::module_& m) {
  py::class_<RecordBase, CNode, std::shared_ptr<RecordBase>>(m, "RecordBase",
                                                             "What every record class shares.")
      .def("IsNull", [](const RecordBase& r, py::handle name) { return r.IsNull(ToText(name)); })
      .def(
          "save",
          [](RecordBase& r, py::handle path) {
            const std::string p = ToPath(path);
            StatusPtr status;
            {
              py::gil_scoped_release released;
              status = Save(r, p);
            }
            RaiseIfFailed(status);
          },
          py::arg("path"))
      .def("__repr__", [](const RecordBase& r) {
        return "<tympora." + std::string(r.Info().class_name) + " ID=" + std::to_string(r.ID()) +
               ">";
      });
  m.def(
      "properties",
      [](const RecordBase& r) {
        py::list out;
        for (const PropertyDef& p : r.Info().properties) {
          out.append(py::make_tuple(p.element, p.property, KindName(p.Kind())));
        }
        return out;
      },
      py::arg("record"),
      "The properties of a record's class in export order, as tuples (element name, attribute "
      "name, type name).");
  m.def(
      "child_lists",
      [](const RecordBase& r) {
        py::list out;
        for (const ChildListDef& l : r.Info().children) {
          out.append(py::make_tuple(l.property, py::cast(l.create()).get_type(), l.add_member,
                                    l.reset_member));
        }
        return out;
      },
      py::arg("record"),
      "The child lists of a record's class in export order, as tuples (attribute name, child "
      "class, add member, reset member).");
}

// The points of a curve as tuples, in list order, for plotting.
py::list CurvePoints(const CCurve& curve) {
  static const char* const kNames[] = {"Frequency",    "InputVal",     "OutputVal",
                                       "maxOutputVal", "minOutputVal", "Other"};
  static const std::vector<const PropertyDef*> defs = [] {
    std::vector<const PropertyDef*> found;
    for (const char* name : kNames) {
      for (const PropertyDef& p : CCurveDatum().Info().properties) {
        if (p.property == name) found.push_back(&p);
      }
    }
    return found;
  }();
  py::list out;
  for (const auto& point : *curve.CurveData()) {
    py::tuple row(defs.size());
    for (size_t i = 0; i < defs.size(); ++i) row[i] = GetValue(*point, *defs[i]);
    out.append(std::move(row));
  }
  return out;
}

// The record class of a registration row, with its summary as docstring.
template <class Row>
void BindRecord(py::module_& m, const Row& row) {
  using T = typename Row::Class;
  py::class_<T, RecordBase, std::shared_ptr<T>> cls(m, std::string(row.name).c_str(),
                                                    std::string(row.summary).c_str());
  cls.def(py::init<>());
  AddTable(cls, T().Info());
  if constexpr (std::is_same_v<T, CCurve>) {
    cls.def("points", &CurvePoints,
            "The curve points as tuples (Frequency, InputVal, OutputVal, maxOutputVal, "
            "minOutputVal, Other), None for a Null value.");
  }
}

std::shared_ptr<CClients> Load(const std::string& path) {
  auto clients = std::make_shared<CClients>();
  StatusPtr status;
  {
    py::gil_scoped_release released;
    DOMDocument document = DOMDocument::New();
    if (!document.load(path)) RaiseLoadError(path, document.parseError());
    DOMNode root = document.documentElement();
    status = clients->ImportXMLNode(root);
  }
  RaiseIfFailed(status);
  return clients;
}

}  // namespace

void BindRecords(py::module_& m) {
  BindRecordList(m);
  BindNode(m);
  BindRecordBase(m);
  registration::ForEachRecordClass([&m](const auto& row) { BindRecord(m, row); });
  m.def(
      "load", [](py::handle path) { return Load(ToPath(path)); }, py::arg("path"),
      "A new CClients read from the file `path`. Raises tympora.Error: 53 for a missing file, "
      "the parser's number with the reason, line and column for a file that does not parse, "
      "and the import's status when it fails.");
}

}  // namespace tympora::python
