// The generic record: every CNode member of the nine record classes, driven
// by the class's property table. The import is in record_import.cpp.
#include "tympora/node/record.hpp"

#include "node/record_table.hpp"
#include "tympora/node/conversions.hpp"
#include "tympora/node/error.hpp"
#include "tympora/node/node_utility.hpp"

namespace tympora {
using table::FieldOf;

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
  // The forms are laid out in one text first and viewed once it is whole.
  std::vector<size_t> lengths;
  for (const PropertyDef& p : properties) {
    const std::string name(p.element);
    for (const std::string& form : {"<" + name + ">", "</" + name + ">",
                                    "<" + name + " null=\"true\"/>", "<" + name + "/>"}) {
      form_text_ += form;
      lengths.push_back(form.size());
    }
  }
  const std::string name(node_name);
  for (const std::string& form : {"<" + name + " id=\"", "</" + name + ">"}) {
    form_text_ += form;
    lengths.push_back(form.size());
  }
  form_text_.append(kFormPadding, '\0');
  const char* at = form_text_.data();
  const auto next = [&](size_t i) {
    const std::string_view form(at, lengths[i]);
    at += lengths[i];
    return form;
  };
  const size_t properties_end = lengths.size() - 2;
  for (size_t i = 0; i < properties_end; i += 4) {
    forms_.push_back({next(i), next(i + 1), next(i + 2), next(i + 3)});
  }
  record_open_ = next(properties_end);
  record_close_ = next(properties_end + 1);
  for (uint32_t i = 0; i < properties.size(); ++i) {
    by_element_.emplace(properties[i].element, Entry{Entry::Kind::Property, i});
    by_name_.emplace(properties[i].element, Entry{Entry::Kind::Property, i});
  }
  for (uint32_t i = 0; i < children.size(); ++i) {
    by_element_.emplace(children[i].element, Entry{Entry::Kind::ChildList, i});
  }
  for (const Alias& alias : aliases) {
    auto it = by_name_.find(alias.element);
    if (it != by_name_.end()) by_name_.emplace(alias.name, it->second);
  }
  if (id_by_name) by_name_.emplace("ID", Entry{Entry::Kind::Id, 0});
}

RecordInfo::Entry RecordInfo::Guess(Entry entry) const noexcept {
  using Kind = Entry::Kind;
  if (entry.IsChildList()) return entry;  // children of one list come in a run
  const uint32_t next = entry.IsProperty() ? entry.index + 1 : 0;
  if (next < properties.size()) return {Kind::Property, next};
  return children.empty() ? Entry{} : Entry{Kind::ChildList, 0};
}

std::string_view RecordInfo::ElementOf(Entry entry) const noexcept {
  if (entry.IsProperty()) return properties[entry.index].element;
  if (entry.IsChildList()) return children[entry.index].element;
  return {};
}

RecordInfo::Entry RecordInfo::FindElement(std::string_view name) const {
  auto it = by_element_.find(name);
  return it == by_element_.end() ? Entry{} : it->second;
}

RecordInfo::Entry RecordInfo::FindName(std::string_view name) const {
  auto it = by_name_.find(name);
  return it == by_name_.end() ? Entry{} : it->second;
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
  const RecordInfo::Entry entry = Info().FindName(sPropertyName);
  if (entry.kind == RecordInfo::Entry::Kind::Id) return id_;
  const PropertyDef* p = Info().PropertyOf(entry);
  return p ? GetProperty(*p) : Variant();
}

bool RecordBase::IsNull(const std::string& sPropertyName) const {
  const PropertyDef* p = Info().PropertyOf(Info().FindName(sPropertyName));
  return p && IsPropertyNull(*p);
}

void RecordBase::PropertyByName(const std::string& sPropertyName, const Variant& vValue) {
  // Unknown names do nothing, and so does the ID, which cannot be set by name.
  if (const PropertyDef* p = Info().PropertyOf(Info().FindName(sPropertyName))) {
    SetProperty(*p, vValue);
  }
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
