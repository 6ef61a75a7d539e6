// The interfaces of the records: the node interface _CNode, shared by all of
// them, and each record's default interface, generated from its property
// table in the order that the registration table publishes.
#include <algorithm>
#include <climits>
#include <memory>
#include <string>

#include "component/builder.hpp"
#include "tympora/component/factory.hpp"
#include "tympora/node/conversions.hpp"
#include "tympora/node/node.hpp"

namespace tympora::component {
namespace {

const TypeRef kString = Type(TypeKind::String);
const TypeRef kInt16 = Type(TypeKind::Int16);
const TypeRef kInt32 = Type(TypeKind::Int32);
const TypeRef kVariant = Type(TypeKind::Variant);
const TypeRef kVoid = Type(TypeKind::Void);
const TypeRef kStatus = ObjectType("CStatus");
const TypeRef kDocument = ObjectType("DOMDocument");
const TypeRef kNode = ObjectType("DOMNode");

// The node interface's members that take no DOM argument.
void AddPlainNodeMembers(std::vector<MemberInfo>& m) {
  m.push_back(Get("NodeName", kString,
                  [](Object& self, auto&) { return Variant(As<CNode>(self).NodeName()); }));
  m.push_back(Put("ID", {In("lValue", kInt32)}, [](Object& self, std::vector<Variant>& a) {
    As<CNode>(self).ID(a[0].AsInt32());
    return Variant();
  }));
  m.push_back(Get("ID", kInt32, [](Object& self, auto&) { return Variant(As<CNode>(self).ID()); }));
  m.push_back(Get("PropertyByName", kVariant,
                  [](Object& self, std::vector<Variant>& a) {
                    return As<CNode>(self).PropertyByName(a[0].AsString());
                  },
                  {In("sPropertyName", kString)}));
  m.push_back(Put("PropertyByName", {In("sPropertyName", kString), In("vValue", kVariant)},
                  [](Object& self, std::vector<Variant>& a) {
                    As<CNode>(self).PropertyByName(a[0].AsString(), a[1]);
                    return Variant();
                  }));
}

// The four XML exports and the import: DOM handles travel in Variants and
// come back through the by-reference arguments.
void AddXmlNodeMembers(std::vector<MemberInfo>& m) {
  m.push_back(Method("CreateXMLElement", {Ref("Document", kDocument), Ref("ThisNode", kNode)},
                     kVoid, [](Object& self, std::vector<Variant>& a) {
                       DOMDocument document = DocumentArgument(a[0]);
                       DOMElement element = NodeArgument(a[1]);
                       As<CNode>(self).CreateXMLElement(document, element);
                       StoreDocument(a[0], document);
                       StoreNode(a[1], element);
                       return Variant();
                     }));
  m.push_back(Method("ExportXMLPath", {In("sFilePath", kString)}, kStatus,
                     [](Object& self, std::vector<Variant>& a) {
                       return ObjectResult(As<CNode>(self).ExportXMLPath(a[0].AsString()));
                     }));
  m.push_back(Method("ExportXMLFileHandle", {In("iFileHandle", kInt16)}, kStatus,
                     [](Object& self, std::vector<Variant>& a) {
                       return ObjectResult(As<CNode>(self).ExportXMLFileHandle(a[0].AsInt16()));
                     }));
  m.push_back(Method("ExportXMLDocument", {Ref("Document", kDocument)}, kStatus,
                     [](Object& self, std::vector<Variant>& a) {
                       DOMDocument document = DocumentArgument(a[0]);
                       StatusPtr status = As<CNode>(self).ExportXMLDocument(document);
                       StoreDocument(a[0], document);
                       return ObjectResult(std::move(status));
                     }));
  m.push_back(Method("ExportXMLNode", {Ref("Document", kDocument), Ref("ParentNode", kNode)},
                     kStatus, [](Object& self, std::vector<Variant>& a) {
                       DOMDocument document = DocumentArgument(a[0]);
                       DOMElement parent = NodeArgument(a[1]);
                       StatusPtr status = As<CNode>(self).ExportXMLNode(document, parent);
                       StoreDocument(a[0], document);
                       StoreNode(a[1], parent);
                       return ObjectResult(std::move(status));
                     }));
  m.push_back(Method("ImportXMLNode", {Ref("ThisNode", kNode)}, kStatus,
                     [](Object& self, std::vector<Variant>& a) {
                       DOMNode node = NodeArgument(a[0]);
                       StatusPtr status = As<CNode>(self).ImportXMLNode(node);
                       StoreNode(a[0], node);
                       return ObjectResult(std::move(status));
                     }));
}

void AddUnprovidedNodeMembers(std::vector<MemberInfo>& m) {
  m.push_back(Method("ExportTXT", {In("iFileHandle", kInt16)}, kStatus,
                     [](Object& self, std::vector<Variant>& a) {
                       return ObjectResult(As<CNode>(self).ExportTXT(a[0].AsInt16()));
                     }));
  m.push_back(Method("ExportPDF", {Ref("oParam1", kVariant)}, kStatus,
                     [](Object& self, std::vector<Variant>& a) {
                       return ObjectResult(As<CNode>(self).ExportPDF(a[0]));
                     }));
  m.push_back(Method("ExportPostScript", {In("iFileHandle", kInt16)}, kStatus,
                     [](Object& self, std::vector<Variant>& a) {
                       return ObjectResult(As<CNode>(self).ExportPostScript(a[0].AsInt16()));
                     }));
  m.push_back(Method("Reset", {}, kVoid, [](Object& self, auto&) {
    As<CNode>(self).Reset();
    return Variant();
  }));
}

// The record `self` checked against the table the member was built from.
RecordBase& RecordOf(Object& self, const RecordInfo& info) {
  RecordBase& record = As<RecordBase>(self);
  if (&record.Info() != &info) RaisePlatformError(kErrTypeMismatch, "record of another class");
  return record;
}

TypeRef PropertyType(PropKind kind) {
  switch (kind) {
    case PropKind::Int32:
      return kInt32;
    case PropKind::Double:
      return Type(TypeKind::Double);
    case PropKind::String:
      return kString;
    case PropKind::Date:
      return Type(TypeKind::Date);
    case PropKind::Bool:
      return Type(TypeKind::Boolean);
  }
  return kVariant;
}

// The setter's parameter name, by the type-prefix convention.
std::string_view ValueParam(PropKind kind) {
  switch (kind) {
    case PropKind::Int32:
      return "lValue";
    case PropKind::Double:
      return "dValue";
    case PropKind::String:
      return "sValue";
    case PropKind::Date:
      return "dtValue";
    case PropKind::Bool:
      return "bValue";
  }
  return "vValue";
}

void AddProperty(std::vector<MemberInfo>& m, const RecordInfo& info, const PropertyDef& p) {
  m.push_back(Put(p.property, {In(ValueParam(p.Kind()), PropertyType(p.Kind()))},
                  [&info, &p](Object& self, std::vector<Variant>& a) {
                    RecordOf(self, info).SetProperty(p, a[0]);
                    return Variant();
                  }));
  m.push_back(Get(p.property, PropertyType(p.Kind()), [&info, &p](Object& self, auto&) {
    return RecordOf(self, info).GetProperty(p);
  }));
}

// The published name of an Add member's parameter: the child's class name
// without its C, except where the record's interface names it otherwise.
std::string_view AddParam(const ChildListDef& list, std::string_view child_class) {
  static constexpr std::pair<std::string_view, std::string_view> kNamed[] = {
      {"AddCurveDatum", "RHS"},
      {"AddDistortionDatum", "RHS"},
      {"AddTestDefinition", "TestDef"},
      {"AddAid", "Aid"},
  };
  for (const auto& [member, param] : kNamed) {
    if (list.add_member == member) return param;
  }
  return child_class.substr(1);
}

void AddChildList(std::vector<MemberInfo>& m, const RecordInfo& info, const ChildListDef& list) {
  // The child's class name comes from a child itself, as its table gives it.
  const NodePtr prototype = list.create();
  const std::string_view child_class = dynamic_cast<RecordBase&>(*prototype).Info().class_name;
  m.push_back(Get(list.property, ObjectType("Collection"), [&info, &list](Object& self, auto&) {
    return ObjectResult(list.shared_list(RecordOf(self, info)));
  }));
  m.push_back(Method(list.reset_member, {}, kVoid, [&info, &list](Object& self, auto&) {
    list.reset(RecordOf(self, info));
    return Variant();
  }));
  m.push_back(Method(list.add_member, {Ref(AddParam(list, child_class), ObjectType(child_class))},
                     kVoid, [&info, &list](Object& self, std::vector<Variant>& a) {
                       const ObjectPtr child = ObjectArgument(a[0]);
                       const NodePtr node = std::dynamic_pointer_cast<CNode>(child);
                       if (child && !node) RaisePlatformError(kErrTypeMismatch, "not a record");
                       list.add(RecordOf(self, info), node);
                       return Variant();
                     }));
}

// The position of `m` in `order`: twice the name's index, plus one for the
// second member of the name. Members the order does not name come last.
long Rank(const MemberInfo& m, registration::MemberOrder order) {
  for (size_t i = 0; i < order.size(); ++i) {
    std::string_view name = order[i];
    const bool getter_first = name.ends_with('<');
    if (getter_first) name.remove_suffix(1);
    if (name != m.name) continue;
    const bool second =
        getter_first ? m.kind == InvokeKind::PropertyPut : m.kind == InvokeKind::PropertyGet;
    return static_cast<long>(2 * i) + (second ? 1 : 0);
  }
  return LONG_MAX;
}

}  // namespace

InterfaceInfo BuildNodeInterface(const InterfaceIdentity& identity) {
  InterfaceInfo itf{&identity, {}};
  AddPlainNodeMembers(itf.members);
  AddXmlNodeMembers(itf.members);
  AddUnprovidedNodeMembers(itf.members);
  return itf;
}

InterfaceInfo BuildRecordInterface(const InterfaceIdentity& identity, const RecordInfo& info,
                                   registration::MemberOrder order) {
  InterfaceInfo itf{&identity, {}};
  std::vector<MemberInfo>& m = itf.members;
  m.push_back(Put("ID", {In("lValue", kInt32)}, [&info](Object& self, std::vector<Variant>& a) {
    RecordOf(self, info).ID(a[0].AsInt32());
    return Variant();
  }));
  m.push_back(Get("ID", kInt32,
                  [&info](Object& self, auto&) { return Variant(RecordOf(self, info).ID()); }));
  for (const PropertyDef& p : info.properties) AddProperty(m, info, p);
  for (const ChildListDef& list : info.children) AddChildList(m, info, list);
  std::stable_sort(m.begin(), m.end(), [order](const MemberInfo& a, const MemberInfo& b) {
    return Rank(a, order) < Rank(b, order);
  });
  // After the published members: whether a property, named by its element
  // name as PropertyByName names it, is Null.
  m.push_back(Method("IsNull", {In("sPropertyName", kString)}, Type(TypeKind::Boolean),
                     [&info](Object& self, std::vector<Variant>& a) {
                       return Variant(RecordOf(self, info).IsNull(a[0].AsString()));
                     }));
  return itf;
}

}  // namespace tympora::component
