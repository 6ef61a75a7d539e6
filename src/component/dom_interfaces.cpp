// DOM handles as objects: the DOMDocument and DOMNode interfaces through
// which a host loads, inspects and passes the documents that the XML members
// of the records take, and the conversions between Variant arguments and
// DOM handles.
#include <memory>

#include "component/builder.hpp"
#include "tympora/component/factory.hpp"
#include "tympora/node/conversions.hpp"

namespace tympora {

std::shared_ptr<DocumentObject> CreateDocument() {
  return std::make_shared<DocumentObject>(DOMDocument::New());
}

DOMDocument DocumentArgument(const Variant& value) {
  const ObjectPtr object = component::ObjectArgument(value);
  if (!object) return {};
  if (const auto* document = dynamic_cast<const DocumentObject*>(object.get())) {
    return document->Document();
  }
  RaisePlatformError(kErrTypeMismatch, "a DOMDocument is needed");
}

DOMNode NodeArgument(const Variant& value) {
  const ObjectPtr object = component::ObjectArgument(value);
  if (!object) return {};
  if (const auto* node = dynamic_cast<const NodeObject*>(object.get())) return node->Node();
  if (const auto* document = dynamic_cast<const DocumentObject*>(object.get())) {
    return document->Document() ? document->Document().AsNode() : DOMNode();
  }
  RaisePlatformError(kErrTypeMismatch, "a DOMNode is needed");
}

namespace component {

ObjectPtr ObjectArgument(const Variant& value) {
  switch (value.Kind()) {
    case VariantKind::Empty:
    case VariantKind::Null:
      return nullptr;
    case VariantKind::Object:
      return value.AsObject();
    default:
      RaisePlatformError(kErrTypeMismatch, "an object is needed");
  }
}

Variant ObjectResult(ObjectPtr object) { return Variant(std::move(object)); }

void StoreDocument(Variant& slot, const DOMDocument& document) {
  if (!document || DocumentArgument(slot) == document) return;
  slot = Variant(std::make_shared<DocumentObject>(document));
}

void StoreNode(Variant& slot, const DOMNode& node) {
  if (!node || NodeArgument(slot) == node) return;
  slot = Variant(std::make_shared<NodeObject>(node));
}

namespace {

const TypeRef kString = Type(TypeKind::String);
const TypeRef kBoolean = Type(TypeKind::Boolean);
const TypeRef kNode = ObjectType("DOMNode");

Variant NodeResult(const DOMNode& node) {
  return ObjectResult(node ? std::make_shared<NodeObject>(node) : nullptr);
}

const DOMDocument& DocumentOf(Object& self) {
  const DOMDocument& document = As<DocumentObject>(self).Document();
  if (!document) RaisePlatformError(kErrObjectNotSet);
  return document;
}

const DOMNode& NodeOf(Object& self) {
  const DOMNode& node = As<NodeObject>(self).Node();
  if (!node) RaisePlatformError(kErrObjectNotSet);
  return node;
}

// The node argument that appendChild takes; absent is an error.
DOMNode ChildArgument(const Variant& value) {
  DOMNode child = NodeArgument(value);
  if (!child) RaisePlatformError(kErrObjectNotSet);
  return child;
}

}  // namespace

InterfaceInfo BuildDocumentInterface(const InterfaceIdentity& identity) {
  InterfaceInfo itf{&identity, {}};
  std::vector<MemberInfo>& m = itf.members;
  m.push_back(Method("load", {In("sFilePath", kString)}, kBoolean,
                     [](Object& self, std::vector<Variant>& a) {
                       DOMDocument document = DocumentOf(self);
                       return Variant(document.load(a[0].AsString()));
                     }));
  m.push_back(Method("loadXML", {In("sText", kString)}, kBoolean,
                     [](Object& self, std::vector<Variant>& a) {
                       DOMDocument document = DocumentOf(self);
                       return Variant(document.loadXML(a[0].AsString()));
                     }));
  m.push_back(
      Get("xml", kString, [](Object& self, auto&) { return Variant(DocumentOf(self).xml()); }));
  m.push_back(Get("documentElement", kNode, [](Object& self, auto&) {
    return NodeResult(DocumentOf(self).documentElement());
  }));
  m.push_back(Get("preserveWhiteSpace", kBoolean, [](Object& self, auto&) {
    return Variant(DocumentOf(self).preserveWhiteSpace());
  }));
  m.push_back(Put("preserveWhiteSpace", {In("bValue", kBoolean)},
                  [](Object& self, std::vector<Variant>& a) {
                    DOMDocument document = DocumentOf(self);
                    document.preserveWhiteSpace(a[0].AsBool());
                    return Variant();
                  }));
  m.push_back(Method("createElement", {In("sTagName", kString)}, kNode,
                     [](Object& self, std::vector<Variant>& a) {
                       DOMDocument document = DocumentOf(self);
                       return NodeResult(document.createElement(a[0].AsString()));
                     }));
  m.push_back(
      Method("appendChild", {In("oNode", kNode)}, kNode, [](Object& self, std::vector<Variant>& a) {
        DOMDocument document = DocumentOf(self);
        return NodeResult(document.appendChild(ChildArgument(a[0])));
      }));
  return itf;
}

InterfaceInfo BuildDomNodeInterface(const InterfaceIdentity& identity) {
  InterfaceInfo itf{&identity, {}};
  std::vector<MemberInfo>& m = itf.members;
  m.push_back(Get("nodeName", kString,
                  [](Object& self, auto&) { return Variant(NodeOf(self).nodeName()); }));
  m.push_back(Get("baseName", kString,
                  [](Object& self, auto&) { return Variant(NodeOf(self).baseName()); }));
  m.push_back(
      Get("text", kString, [](Object& self, auto&) { return Variant(NodeOf(self).text()); }));
  m.push_back(Put("text", {In("sValue", kString)}, [](Object& self, std::vector<Variant>& a) {
    DOMNode node = NodeOf(self);
    node.text(a[0].AsString());
    return Variant();
  }));
  m.push_back(Get("xml", kString, [](Object& self, auto&) { return Variant(NodeOf(self).xml()); }));
  // The attribute's text, or Null when the element has no such attribute.
  m.push_back(Method("getAttribute", {In("sName", kString)}, Type(TypeKind::Variant),
                     [](Object& self, std::vector<Variant>& a) {
                       const DOMNamedNodeMap attributes = NodeOf(self).attributes();
                       const DOMNode found =
                           attributes ? attributes.getNamedItem(a[0].AsString()) : DOMNode();
                       return found ? Variant(found.text()) : Variant(kNull);
                     }));
  m.push_back(Method("setAttribute", {In("sName", kString), In("sValue", kString)},
                     Type(TypeKind::Void), [](Object& self, std::vector<Variant>& a) {
                       DOMNode node = NodeOf(self);
                       node.setAttribute(a[0].AsString(), a[1].AsString());
                       return Variant();
                     }));
  m.push_back(
      Method("appendChild", {In("oNode", kNode)}, kNode, [](Object& self, std::vector<Variant>& a) {
        DOMNode node = NodeOf(self);
        return NodeResult(node.appendChild(ChildArgument(a[0])));
      }));
  return itf;
}

}  // namespace component
}  // namespace tympora
