// The record import: ImportXMLNode and ImportXMLFile of every record class,
// driven by the class's property table.
//
// One walk reads both kinds of element: ElementView, an element of a tree,
// and DirectElement, an element of a document that the direct road kept as
// its text (dom_direct.hpp). The walk of the host's record runs in one
// frame; the records below are read without a frame and a status each, so
// that a failure anywhere below rises to that frame with its own number.
#include <algorithm>
#include <cctype>

#include "node/dom_direct.hpp"
#include "node/dom_internal.hpp"
#include "node/dom_walk.hpp"
#include "node/number_text.hpp"
#include "node/record_table.hpp"
#include "tympora/node/conversions.hpp"
#include "tympora/node/error.hpp"
#include "tympora/node/import_observer.hpp"
#include "tympora/node/node_utility.hpp"
#include "tympora/node/record.hpp"

namespace tympora {
namespace {

using table::FieldOf;

// A boolean element reads as true when its text contains "true" in any
// letter case, and false otherwise.
bool ContainsTrue(std::string_view text) {
  static constexpr std::string_view kTrue = "true";
  auto it = std::search(text.begin(), text.end(), kTrue.begin(), kTrue.end(), [](char a, char b) {
    return std::tolower(static_cast<unsigned char>(a)) == b;
  });
  return it != text.end();
}

// Tells the thread's import observer, when there is one, that `element` of
// the record `record` was passed over. Called only where something is.
template <class View>
void Dropped(ImportDrop kind, const RecordInfo& record, const View& element, std::string_view name,
             std::string_view text) {
  ImportObserver* observer = detail::CurrentImportObserver();
  if (observer == nullptr) return;
  observer->Dropped({kind, element.Handle(), record.node_name, name, text, element.SourceOffset()});
}

// ReadNodeID, on the fast road for an element: the "id" attribute, when
// present and numeric, becomes the ID. Any other node takes ReadNodeID,
// which reports what a node without attributes cannot give.
template <class View>
void ReadID(RecordBase& record, const View& node, std::string& scratch) {
  std::string_view text;
  if (node.Attribute("id", text, scratch)) {
    double number;
    if (detail::ReadNumber(text, number)) {
      record.ID(ToInt32(number));
    } else {
      Dropped(ImportDrop::BadId, record.Info(), node, "id", text);
    }
  } else if (!node.IsElement()) {
    int32_t id = record.ID();
    ReadNodeID(node.Handle(), id);
    record.ID(id);
  }
}

// Reads one property element: a null-marked element makes the property
// Null; otherwise its text is converted, and a text that is no number or
// date leaves the property as it was.
template <class View>
void ImportProperty(RecordBase& record, const PropertyDef& p, const View& element,
                    std::string& scratch) {
  const auto drop = [&](ImportDrop kind, std::string_view text) {
    Dropped(kind, record.Info(), element, p.element, text);
  };
  if (element.IsNullMarked()) {
    record.SetPropertyNull(p);
    return;
  }
  const std::string_view text = element.Text(scratch);
  switch (p.Kind()) {
    case PropKind::String:
      FieldOf<std::string>(p, record).Set(DecodeXMLText(text));
      return;
    case PropKind::Int32: {
      double number;
      if (!detail::ReadNumber(text, number)) return drop(ImportDrop::NotANumber, text);
      const int32_t v = ToInt32(number);
      if (p.accepts && !p.accepts(v)) return drop(ImportDrop::Rejected, text);
      FieldOf<int32_t>(p, record).Set(v);
      return;
    }
    case PropKind::Double: {
      double number;
      if (!detail::ReadNumber(text, number)) return drop(ImportDrop::NotANumber, text);
      FieldOf<double>(p, record).Set(number);
      return;
    }
    case PropKind::Date:
      if (!IsDateValue(text)) return drop(ImportDrop::NotADate, text);
      FieldOf<Date>(p, record).Set(ToDate(text));
      return;
    case PropKind::Bool:
      FieldOf<bool>(p, record).Set(ContainsTrue(text));
      return;
  }
}

// Reads the ID and every child element of `node` into `record`, child
// records included; raises what fails.
template <class View>
void ImportContent(RecordBase& record, const View& node, std::string& scratch) {
  using Entry = RecordInfo::Entry;
  const RecordInfo& info = record.Info();
  ReadID(record, node, scratch);
  // Elements mostly come in table order: each name is first compared with
  // the one expected next, and looked up only when it differs.
  Entry expected = info.Guess(Entry{});
  node.ForEachChildElement([&](const View& child) {
    Entry entry = expected;
    if (!entry || !child.NameIs(info.ElementOf(entry))) {
      entry = info.FindElement(child.LocalName());
      if (!entry) {
        Dropped(ImportDrop::UnknownElement, info, child, child.LocalName(), {});
        return;
      }
    }
    expected = info.Guess(entry);
    if (entry.IsProperty()) {
      ImportProperty(record, info.properties[entry.index], child, scratch);
      return;
    }
    if (child.IsNullMarked()) {
      Dropped(ImportDrop::NullRecord, info, child, child.LocalName(), {});
      return;
    }
    const ChildListDef& list = info.children[entry.index];
    std::shared_ptr<CNode> created = list.create();
    ImportContent(static_cast<RecordBase&>(*created), child, scratch);
    list.adopt(record, std::move(created));
  });
}

}  // namespace

StatusPtr RecordBase::ImportXMLNode(const DOMNode& ThisNode) {
  return RunFrameA([&](StatusPtr&) {
    CheckThisNode(ThisNode);
    std::string scratch;
    std::string_view text;
    size_t root = 0;
    // An observer is told of elements by handle, which only a tree gives.
    if (detail::CurrentImportObserver() == nullptr && detail::DirectRoot(ThisNode, text, root)) {
      ImportContent(*this, detail::DirectElement(text, root), scratch);
    } else {
      ImportContent(*this, detail::ElementView::Of(ThisNode), scratch);
    }
  });
}

StatusPtr RecordBase::ImportXMLFile(const std::string& sFilePath) {
  DOMDocument document;
  StatusPtr status = RunFrameA([&](StatusPtr&) {
    document = DOMDocument::New();
    detail::LoadOrRaise(document, sFilePath);
  });
  if (!status || status->Number() != 0) return status;
  DOMNode root = document.documentElement();
  return ImportXMLNode(root);
}

}  // namespace tympora
