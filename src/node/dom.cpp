// The DOM handles: nodes, child lists, attribute lists and documents.
#include "tympora/node/dom.hpp"

#include <algorithm>
#include <cstring>

#include "node/dom_internal.hpp"
#include "tympora/node/error.hpp"

namespace tympora {

using detail::AttrHandle;
using detail::AttrOf;
using detail::DocImpl;
using detail::IsAttrHandle;
using detail::NodeOf;

const char* DomErrorText(int32_t number) noexcept {
  switch (number) {
    case kDomErrSecondRoot:
      return "Only one top level element is allowed in an XML document";
    case kDomErrInvalidChar:
      return "The text holds a character that XML 1.0 does not allow";
    case kDomErrParse:
      return "The XML text could not be parsed";
    case kDomErrHierarchy:
      return "The node cannot be inserted or used here";
    case kDomErrInvalidName:
      return "The name is not a valid XML name";
    case kDomErrWrongDocument:
      return "The node belongs to another document";
    case kDomErrMarkup:
      return "The text would change the document's markup when written";
    default:
      return "";
  }
}

namespace detail {

void RaiseDomError(int32_t number, std::string_view detail) {
  std::string description = DomErrorText(number);
  if (!detail.empty()) description.append(": ").append(detail);
  throw Error(number, std::move(description), kDomSource);
}

}  // namespace detail

namespace {

std::string_view LocalName(const char* qualified) {
  const char* colon = std::strrchr(qualified, ':');
  return colon ? std::string_view(colon + 1) : std::string_view(qualified);
}

// The XML declaration: parsed, or made by createProcessingInstruction("xml").
bool IsDeclaration(pugi::xml_node n) {
  return n.type() == pugi::node_declaration ||
         (n.type() == pugi::node_pi && std::strcmp(n.name(), "xml") == 0);
}

// Concatenated text and CDATA of the subtree below `root`.
std::string CollectText(pugi::xml_node root) {
  pugi::xml_node first = detail::FirstVisibleChild(root);
  // The common case of a property element: one text child, one copy.
  if (first && !first.next_sibling() && first.type() == pugi::node_pcdata) return first.value();
  std::string text;
  for (pugi::xml_node n = first; n; n = detail::NextInSubtree(n, root)) {
    if (n.type() == pugi::node_pcdata || n.type() == pugi::node_cdata) text.append(n.value());
  }
  return text;
}

pugi::xml_node NewDetached(DocImpl& d, pugi::xml_node_type type) {
  pugi::xml_node n = d.Holder().append_child(type);
  if (!n) RaisePlatformError(kErrOutOfMemory);
  return n;
}

// Raises 1002 for a character that XML forbids and 1007 for a text that
// would end its comment or processing instruction early when written, or
// make the XML declaration unreadable.
void CheckNodeData(pugi::xml_node_type type, bool declaration, std::string_view data) {
  detail::CheckXmlText(data);
  const auto refuse = [](std::string_view why) { detail::RaiseDomError(kDomErrMarkup, why); };
  if (type == pugi::node_comment && (data.find("--") != data.npos || data.ends_with('-'))) {
    refuse("a comment cannot hold \"--\" or end in \"-\"");
  }
  if (type != pugi::node_pi) return;
  if (data.find("?>") != data.npos) refuse("\"?>\" inside processing instruction data");
  if (!declaration) return;
  const size_t start = std::min(data.size(), data.find_first_not_of(" \t\r\n"));
  size_t at = 0;
  if (const char* why = detail::DeclarationFault(data.substr(start), at)) refuse(why);
}

// The state behind a document handle; raises 91 for the absent handle.
DocImpl& Live(const std::shared_ptr<DocImpl>& doc) {
  if (!doc) RaisePlatformError(kErrObjectNotSet);
  return *doc;
}

void SetValue(pugi::xml_node n, std::string_view value) {
  if (!n.set_value(value.data(), value.size())) RaisePlatformError(kErrOutOfMemory);
}

// True when `doc` already has an element at its top.
bool HasElement(pugi::xml_node doc) {
  for (pugi::xml_node n = detail::FirstVisibleChild(doc); n; n = n.next_sibling()) {
    if (n.type() == pugi::node_element) return true;
  }
  return false;
}

// Refuses the appends that the tree cannot take; see DOMNode::appendChild.
void CheckAppend(pugi::xml_node parent, pugi::xml_node child) {
  using detail::RaiseDomError;
  if (parent.root() != child.root()) RaiseDomError(kDomErrWrongDocument);
  if (child.type() == pugi::node_document) {
    RaiseDomError(kDomErrHierarchy, "a document cannot be a child");
  }
  if (parent.type() != pugi::node_element && parent.type() != pugi::node_document) {
    RaiseDomError(kDomErrHierarchy, "this node cannot have children");
  }
  if (!detail::IsHolder(child.parent())) {
    RaiseDomError(kDomErrHierarchy, "the node already has a parent");
  }
  const bool top = parent.type() == pugi::node_document;
  if (IsDeclaration(child) && (!top || detail::FirstVisibleChild(parent))) {
    RaiseDomError(kDomErrHierarchy, "the XML declaration must come first");
  }
  if (!top) return;
  if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) {
    RaiseDomError(kDomErrHierarchy, "text cannot be at the top of a document");
  }
  if (child.type() == pugi::node_element && HasElement(parent)) {
    RaiseDomError(kDomErrSecondRoot);
  }
}

}  // namespace

// ---- DOMNode -------------------------------------------------------------

void DOMNode::Check() const {
  if (!node_) RaisePlatformError(kErrObjectNotSet);
  if (detail::IsDirectHandle(node_)) node_ = DocImpl::Resolve(*this);
  doc_->Prepare();
}

bool operator==(const DOMNode& a, const DOMNode& b) noexcept {
  return DocImpl::Identity(a) == DocImpl::Identity(b);
}

DOMNodeType DOMNode::nodeType() const {
  Check();
  if (IsAttrHandle(node_)) return DOMNodeType::Attribute;
  switch (NodeOf(node_).type()) {
    case pugi::node_element:
      return DOMNodeType::Element;
    case pugi::node_pcdata:
      return DOMNodeType::Text;
    case pugi::node_cdata:
      return DOMNodeType::CData;
    case pugi::node_comment:
      return DOMNodeType::Comment;
    case pugi::node_pi:
    case pugi::node_declaration:
      return DOMNodeType::ProcessingInstruction;
    case pugi::node_document:
      return DOMNodeType::Document;
    default:
      return DOMNodeType::Invalid;
  }
}

std::string DOMNode::nodeName() const {
  Check();
  if (IsAttrHandle(node_)) return AttrOf(node_).name();
  pugi::xml_node n = NodeOf(node_);
  switch (n.type()) {
    case pugi::node_pcdata:
      return "#text";
    case pugi::node_cdata:
      return "#cdata-section";
    case pugi::node_comment:
      return "#comment";
    case pugi::node_document:
      return "#document";
    case pugi::node_declaration:
      return "xml";
    default:
      return n.name();
  }
}

std::string DOMNode::baseName() const {
  Check();
  if (IsAttrHandle(node_)) return std::string(LocalName(AttrOf(node_).name()));
  pugi::xml_node n = NodeOf(node_);
  switch (n.type()) {
    case pugi::node_element:
      return std::string(LocalName(n.name()));
    case pugi::node_pi:
      return n.name();
    case pugi::node_declaration:
      return "xml";
    default:
      return {};
  }
}

std::string DOMNode::text() const {
  Check();
  if (IsAttrHandle(node_)) return AttrOf(node_).value();
  pugi::xml_node n = NodeOf(node_);
  switch (n.type()) {
    case pugi::node_element:
    case pugi::node_document:
      return CollectText(n);
    case pugi::node_declaration:
      return detail::DeclarationData(n);
    default:
      return n.value();
  }
}

void DOMNode::text(std::string_view value) {
  Check();
  detail::CheckXmlText(value);
  if (IsAttrHandle(node_)) {
    if (!AttrOf(node_).set_value(value.data(), value.size())) RaisePlatformError(kErrOutOfMemory);
    return;
  }
  pugi::xml_node n = NodeOf(node_);
  const pugi::xml_node_type type = n.type();
  if (type == pugi::node_document || type == pugi::node_declaration) {
    detail::RaiseDomError(kDomErrHierarchy, "the text of this node cannot be set");
  }
  CheckNodeData(type, IsDeclaration(n), value);
  if (type != pugi::node_element) return SetValue(n, value);
  doc_->RemoveChildren(n, doc_.use_count() > 1);
  if (!value.empty()) SetValue(n.append_child(pugi::node_pcdata), value);
}

Variant DOMNode::nodeValue() const {
  Check();
  if (nodeType() == DOMNodeType::Element || nodeType() == DOMNodeType::Document) return kNull;
  return Variant(text());
}

DOMNamedNodeMap DOMNode::attributes() const {
  Check();
  if (nodeType() != DOMNodeType::Element) return DOMNamedNodeMap();
  return DOMNamedNodeMap(*this);
}

void DOMNode::setAttribute(std::string_view name, std::string_view value) {
  Check();
  if (nodeType() != DOMNodeType::Element) {
    detail::RaiseDomError(kDomErrHierarchy, "only elements have attributes");
  }
  if (!detail::IsXmlName(name)) detail::RaiseDomError(kDomErrInvalidName, name);
  detail::CheckXmlText(value);
  pugi::xml_node n = NodeOf(node_);
  pugi::xml_attribute a = n.first_attribute();
  while (a && name != a.name()) a = a.next_attribute();
  if (!a) a = n.append_attribute(std::string(name).c_str());
  if (!a || !a.set_value(value.data(), value.size())) RaisePlatformError(kErrOutOfMemory);
}

DOMNodeList DOMNode::childNodes() const {
  Check();
  return DOMNodeList(*this);
}

DOMNode DOMNode::firstChild() const { return childNodes().item(0); }

DOMNode DOMNode::parentNode() const {
  Check();
  if (IsAttrHandle(node_)) return DOMNode();
  const pugi::xml_node p = NodeOf(node_).parent();
  if (!p || detail::IsHolder(p)) return DOMNode();
  return DOMNode(doc_, p.internal_object());
}

DOMNode DOMNode::appendChild(const DOMNode& child) {
  Check();
  child.Check();
  if (child.doc_ != doc_) detail::RaiseDomError(kDomErrWrongDocument);
  if (IsAttrHandle(node_) || IsAttrHandle(child.node_)) {
    detail::RaiseDomError(kDomErrHierarchy, "attributes are not children");
  }
  pugi::xml_node parent = NodeOf(node_);
  const pugi::xml_node moving = NodeOf(child.node_);
  CheckAppend(parent, moving);
  // pugixml refuses a move below the node itself or its own subtree.
  if (!parent.append_move(moving)) {
    detail::RaiseDomError(kDomErrHierarchy, "a node cannot go below itself");
  }
  doc_->cursors.Invalidate();
  return child;
}

std::string DOMNode::xml() const {
  Check();
  std::string out;
  if (IsAttrHandle(node_)) {
    detail::WriteAttribute(out, AttrOf(node_));
  } else if (NodeOf(node_).type() == pugi::node_document) {
    detail::WriteDocument(out, NodeOf(node_));
  } else {
    detail::WriteNode(out, NodeOf(node_));
  }
  return out;
}

// ---- Lists ---------------------------------------------------------------

int32_t DOMNodeList::length() const {
  parent_.Check();
  if (IsAttrHandle(parent_.node_)) return 0;
  return parent_.doc_->cursors.Count(NodeOf(parent_.node_));
}

DOMNode DOMNodeList::item(int32_t index) const {
  parent_.Check();
  if (IsAttrHandle(parent_.node_)) return DOMNode();
  return DocImpl::MakeNode(parent_.doc_, parent_.doc_->cursors.Item(NodeOf(parent_.node_), index));
}

int32_t DOMNamedNodeMap::length() const {
  owner_.Check();
  int32_t n = 0;
  for (pugi::xml_attribute a = NodeOf(owner_.node_).first_attribute(); a; a = a.next_attribute()) {
    ++n;
  }
  return n;
}

DOMNode DOMNamedNodeMap::getNamedItem(std::string_view name) const {
  owner_.Check();
  pugi::xml_attribute a = NodeOf(owner_.node_).first_attribute();
  while (a && name != a.name()) a = a.next_attribute();
  return a ? DOMNode(owner_.doc_, AttrHandle(a)) : DOMNode();
}

DOMNode DOMNamedNodeMap::item(int32_t index) const {
  owner_.Check();
  if (index < 0) return DOMNode();
  pugi::xml_attribute a = NodeOf(owner_.node_).first_attribute();
  for (; a && index > 0; --index) a = a.next_attribute();
  return a ? DOMNode(owner_.doc_, AttrHandle(a)) : DOMNode();
}

// ---- DOMDocument ---------------------------------------------------------

DOMDocument DOMDocument::New() { return DOMDocument(std::make_shared<DocImpl>()); }

void DOMDocument::Check() const {
  if (!doc_) RaisePlatformError(kErrObjectNotSet);
  doc_->Prepare();
}

bool DOMDocument::async() const { return Live(doc_).async; }
void DOMDocument::async(bool value) { Live(doc_).async = value; }
bool DOMDocument::validateOnParse() const { return Live(doc_).validate_on_parse; }
void DOMDocument::validateOnParse(bool value) { Live(doc_).validate_on_parse = value; }
bool DOMDocument::resolveExternals() const { return Live(doc_).resolve_externals; }
void DOMDocument::resolveExternals(bool value) { Live(doc_).resolve_externals = value; }
bool DOMDocument::preserveWhiteSpace() const { return Live(doc_).preserve_white_space; }
void DOMDocument::preserveWhiteSpace(bool value) { Live(doc_).preserve_white_space = value; }

DOMElement DOMDocument::createElement(std::string_view tagName) {
  Check();
  if (!detail::IsXmlName(tagName)) detail::RaiseDomError(kDomErrInvalidName, tagName);
  pugi::xml_node n = NewDetached(*doc_, pugi::node_element);
  if (!n.set_name(std::string(tagName).c_str())) RaisePlatformError(kErrOutOfMemory);
  return DOMNode(doc_, n.internal_object());
}

DOMNode DOMDocument::createTextNode(std::string_view data) {
  Check();
  detail::CheckXmlText(data);
  pugi::xml_node n = NewDetached(*doc_, pugi::node_pcdata);
  SetValue(n, data);
  return DOMNode(doc_, n.internal_object());
}

DOMNode DOMDocument::createComment(std::string_view data) {
  Check();
  CheckNodeData(pugi::node_comment, false, data);
  pugi::xml_node n = NewDetached(*doc_, pugi::node_comment);
  SetValue(n, data);
  return DOMNode(doc_, n.internal_object());
}

DOMNode DOMDocument::createProcessingInstruction(std::string_view target, std::string_view data) {
  Check();
  // Targets spelt "xml" in another letter case are reserved.
  const bool reserved = target.size() == 3 && target != "xml" && (target[0] | 0x20) == 'x' &&
                        (target[1] | 0x20) == 'm' && (target[2] | 0x20) == 'l';
  if (reserved || !detail::IsXmlName(target)) detail::RaiseDomError(kDomErrInvalidName, target);
  CheckNodeData(pugi::node_pi, target == "xml", data);
  pugi::xml_node n = NewDetached(*doc_, pugi::node_pi);
  if (!n.set_name(std::string(target).c_str())) RaisePlatformError(kErrOutOfMemory);
  SetValue(n, data);
  return DOMNode(doc_, n.internal_object());
}

const DOMParseError& DOMDocument::parseError() const { return Live(doc_).parse_error; }

// The import starts here without building or materializing the tree: a
// document kept as text answers with a token of its element, and no text
// is embedded at the top of a tree.
DOMElement DOMDocument::documentElement() const {
  DocImpl& d = Live(doc_);
  if (d.direct && d.direct->built == nullptr && !d.direct->lost) {
    return DOMNode(doc_, detail::DirectHandle(d.direct.get()));
  }
  for (pugi::xml_node n = detail::FirstVisibleChild(d.Root()); n; n = n.next_sibling()) {
    if (n.type() == pugi::node_element) return DOMNode(doc_, n.internal_object());
  }
  return DOMNode();
}

DOMNode DOMDocument::AsNode() const {
  Check();
  return DOMNode(doc_, doc_->Root().internal_object());
}

DOMNodeList DOMDocument::childNodes() const { return AsNode().childNodes(); }

DOMNode DOMDocument::appendChild(const DOMNode& child) { return AsNode().appendChild(child); }

std::string DOMDocument::xml() const {
  Check();
  std::string out;
  detail::WriteDocument(out, doc_->Root());
  return out;
}

}  // namespace tympora
