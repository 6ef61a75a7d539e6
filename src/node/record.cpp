// The generic record: every CNode member of the nine record classes, driven
// by the class's property table.
#include "tympora/node/record.hpp"

#include <algorithm>
#include <cctype>

#include "node/dom_internal.hpp"
#include "node/dom_walk.hpp"
#include "node/number_text.hpp"
#include "node/record_table.hpp"
#include "tympora/node/conversions.hpp"
#include "tympora/node/error.hpp"
#include "tympora/node/import_observer.hpp"
#include "tympora/node/node_utility.hpp"

namespace tympora {
using table::FieldOf;

namespace {

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
void Dropped(ImportDrop kind, const RecordInfo& record, const detail::ElementView& element,
             std::string_view name, std::string_view text) {
  ImportObserver* observer = detail::CurrentImportObserver();
  if (observer == nullptr) return;
  observer->Dropped({kind, element.Handle(), record.node_name, name, text, element.SourceOffset()});
}

// ReadNodeID, on the fast road for an element: the "id" attribute, when
// present and numeric, becomes the ID. Any other node takes ReadNodeID,
// which reports what a node without attributes cannot give.
void ReadID(const RecordInfo& info, const detail::ElementView& node, int32_t& id) {
  std::string_view text;
  if (node.Attribute("id", text)) {
    double number;
    if (detail::ReadNumber(text, number)) {
      id = ToInt32(number);
    } else {
      Dropped(ImportDrop::BadId, info, node, "id", text);
    }
  } else if (!node.IsElement()) {
    ReadNodeID(node.Handle(), id);
  }
}

// Reads one property element: a null-marked element makes the property
// Null; otherwise its text is converted, and a text that is no number or
// date leaves the property as it was.
void ImportProperty(RecordBase& record, const PropertyDef& p, const detail::ElementView& element,
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

}  // namespace

RecordInfo::RecordInfo(std::string_view node_name_, std::string_view class_name_,
                       const char* txt_source_, std::vector<PropertyDef> properties_,
                       std::vector<ChildListDef> children_, std::vector<Alias> aliases_,
                       bool id_by_name_)
    : node_name(node_name_),
      class_name(class_name_),
      txt_source(txt_source_),
      properties(std::move(properties_)),
      children(std::move(children_)),
      aliases(std::move(aliases_)),
      id_by_name(id_by_name_) {
  for (const PropertyDef& p : properties) {
    const std::string name(p.element);
    forms_.push_back(
        {"<" + name + ">", "</" + name + ">", "<" + name + " null=\"true\"/>", "<" + name + "/>"});
  }
  for (size_t i = 0; i < properties.size(); ++i) {
    by_element_.emplace(properties[i].element, static_cast<int>(i));
    by_name_.emplace(properties[i].element, static_cast<int>(i));
  }
  for (size_t i = 0; i < children.size(); ++i) {
    by_element_.emplace(children[i].element, -1 - static_cast<int>(i));
  }
  for (const Alias& alias : aliases) {
    auto it = by_name_.find(alias.element);
    if (it != by_name_.end()) by_name_.emplace(alias.name, it->second);
  }
  if (id_by_name) by_name_.emplace("ID", kId);
}

int RecordInfo::Guess(int code) const noexcept {
  if (code < 0 && code != kNone) return code;  // children of one list come in a run
  const int next = code == kNone ? 0 : code + 1;
  if (next < static_cast<int>(properties.size())) return next;
  return children.empty() ? kNone : -1;
}

std::string_view RecordInfo::ElementOf(int code) const noexcept {
  if (code >= 0) return properties[static_cast<size_t>(code)].element;
  if (code == kNone) return {};
  return children[static_cast<size_t>(-1 - code)].element;
}

int RecordInfo::FindElement(std::string_view name) const {
  auto it = by_element_.find(name);
  return it == by_element_.end() ? kNone : it->second;
}

int RecordInfo::FindName(std::string_view name) const {
  auto it = by_name_.find(name);
  return it == by_name_.end() ? kNone : it->second;
}

std::string RecordBase::NodeName() const { return std::string(Info().node_name); }

Variant RecordBase::GetProperty(const PropertyDef& p) const {
  switch (p.Kind()) {
    case PropKind::Int32:
      return FieldOf<int32_t>(p, *this).Get();
    case PropKind::Double:
      return FieldOf<double>(p, *this).Get();
    case PropKind::String:
      return FieldOf<std::string>(p, *this).Get();
    case PropKind::Date:
      return FieldOf<Date>(p, *this).Get();
    case PropKind::Bool:
      return FieldOf<bool>(p, *this).Get();
  }
  return {};
}

bool RecordBase::IsPropertyNull(const PropertyDef& p) const {
  return std::visit([&](auto access) { return access(const_cast<RecordBase&>(*this)).IsNull(); },
                    p.field);
}

void RecordBase::SetProperty(const PropertyDef& p, const Variant& value) {
  switch (p.Kind()) {
    case PropKind::Int32: {
      const int32_t v = ToInt32(value);
      if (!p.accepts || p.accepts(v)) FieldOf<int32_t>(p, *this).Set(v);
      return;
    }
    case PropKind::Double:
      FieldOf<double>(p, *this).Set(ToDouble(value));
      return;
    case PropKind::String:
      FieldOf<std::string>(p, *this).Set(ToString(value));
      return;
    case PropKind::Date:
      FieldOf<Date>(p, *this).Set(ToDate(value));
      return;
    case PropKind::Bool:
      FieldOf<bool>(p, *this).Set(ToBoolean(value));
      return;
  }
}

void RecordBase::SetPropertyNull(const PropertyDef& p) {
  std::visit([&](auto access) { access(*this).SetNull(); }, p.field);
}

Variant RecordBase::PropertyByName(const std::string& sPropertyName) const {
  const RecordInfo& info = Info();
  const int i = info.FindName(sPropertyName);
  if (i == RecordInfo::kNone) return {};
  if (i == RecordInfo::kId) return id_;
  return GetProperty(info.properties[static_cast<size_t>(i)]);
}

bool RecordBase::IsNull(const std::string& sPropertyName) const {
  const int i = Info().FindName(sPropertyName);
  return i >= 0 && IsPropertyNull(Info().properties[static_cast<size_t>(i)]);
}

void RecordBase::PropertyByName(const std::string& sPropertyName, const Variant& vValue) {
  const RecordInfo& info = Info();
  const int i = info.FindName(sPropertyName);
  if (i < 0) return;  // unknown, or the ID, which cannot be set by name
  SetProperty(info.properties[static_cast<size_t>(i)], vValue);
}

void RecordBase::CreateXMLElement(DOMDocument& Document, DOMElement& ThisNode) {
  const RecordInfo& info = Info();
  RunFrameB([&] {
    ThisNode = Document.createElement(info.node_name);
    ThisNode.setAttribute("id", std::to_string(id_));
    for (const PropertyDef& p : info.properties) {
      const bool is_null = IsPropertyNull(p);
      AppendPropertyElement(Document, p.element, is_null, is_null ? Variant() : GetProperty(p),
                            ThisNode);
    }
    for (const ChildListDef& list : info.children) {
      ExportCollectionNodes(Document, ThisNode, list.list(*this));
    }
    ThisNode.appendChild(Document.createTextNode(kCrLf));
  });
}

StatusPtr RecordBase::ExportXMLPath(const std::string& sFilePath) {
  return ExportNodeToPath(sFilePath, *this);
}

StatusPtr RecordBase::SaveXMLPath(const std::string& sFilePath) {
  return SaveNodeToPath(sFilePath, *this);
}

StatusPtr RecordBase::ExportXMLFileHandle(int16_t iFileHandle) {
  return ExportNodeToFileHandle(iFileHandle, *this);
}

StatusPtr RecordBase::ExportXMLDocument(DOMDocument& Document) {
  return ExportNodeToDocument(Document, *this);
}

StatusPtr RecordBase::ExportXMLNode(DOMDocument& Document, DOMElement& ParentNode) {
  return ExportNodeToNode(Document, ParentNode, *this);
}

StatusPtr RecordBase::ImportXMLNode(const DOMNode& ThisNode) {
  return RunFrameA([&](StatusPtr&) {
    CheckThisNode(ThisNode);
    ImportContent(detail::ElementView::Of(ThisNode));
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

// The import of one record below the frame: the children's records are
// imported here too, without a frame and a status each, so that a failure
// anywhere below rises to the frame of the record the host imports.
void RecordBase::ImportContent(const detail::ElementView& node) {
  const RecordInfo& info = Info();
  ReadID(info, node, id_);
  std::string scratch;
  // Elements mostly come in table order: each name is first compared with
  // the one expected next, and looked up only when it differs.
  int expected = info.Guess(RecordInfo::kNone);
  node.ForEachChildElement([&](const detail::ElementView& child) {
    int i = expected;
    if (i == RecordInfo::kNone || !child.NameIs(info.ElementOf(i))) {
      i = info.FindElement(child.LocalName());
      if (i == RecordInfo::kNone) {
        Dropped(ImportDrop::UnknownElement, info, child, child.LocalName(), {});
        return;
      }
    }
    expected = info.Guess(i);
    if (i >= 0) {
      ImportProperty(*this, info.properties[static_cast<size_t>(i)], child, scratch);
      return;
    }
    if (child.IsNullMarked()) {
      Dropped(ImportDrop::NullRecord, info, child, child.LocalName(), {});
      return;
    }
    const ChildListDef& list = info.children[static_cast<size_t>(-1 - i)];
    std::shared_ptr<CNode> record = list.create();
    static_cast<RecordBase&>(*record).ImportContent(child);
    list.adopt(*this, record);
  });
}

StatusPtr RecordBase::ExportTXT(int16_t) { return NotImplementedStatus(Info().txt_source); }
StatusPtr RecordBase::ExportPDF(Variant&) {
  return NotImplementedStatus("Function CNode_ExportPDF");
}
StatusPtr RecordBase::ExportPostScript(int16_t) {
  return NotImplementedStatus("Function CNode_ExportPostScript");
}

void RecordBase::Reset() {
  const RecordInfo& info = Info();
  id_ = 0;
  for (const ChildListDef& list : info.children) list.reset(*this);
  for (const PropertyDef& p : info.properties) SetPropertyNull(p);
}

}  // namespace tympora
