// The interfaces of the status object (_CStatus) and of a record's child
// list (Collection).
#include <string>

#include "component/builder.hpp"
#include "tympora/node/collection.hpp"
#include "tympora/node/conversions.hpp"
#include "tympora/node/node.hpp"
#include "tympora/node/status.hpp"

namespace tympora::component {
namespace {

const TypeRef kString = Type(TypeKind::String);
const TypeRef kInt32 = Type(TypeKind::Int32);
const TypeRef kVoid = Type(TypeKind::Void);

using StringGetter = const std::string& (CStatus::*)() const noexcept;
using StringSetter = void (CStatus::*)(const std::string&);
using NumberGetter = int32_t (CStatus::*)() const noexcept;
using NumberSetter = void (CStatus::*)(int32_t) noexcept;

void AddStatusMethods(std::vector<MemberInfo>& m) {
  m.push_back(Method("RaiseError", {}, kVoid, [](Object& self, auto&) -> Variant {
    const CStatus& status = As<CStatus>(self);
    // A status holding 0 has nothing to raise: raising "no error" is an
    // invalid call, as it is for a host's own error object.
    if (status.Number() == 0) RaisePlatformError(kErrInvalidCall, "raising a status of Number 0");
    status.RaiseError();
  }));
  m.push_back(Method("OperatorEquals", {Ref("Other", ObjectType("CStatus"))}, kVoid,
                     [](Object& self, std::vector<Variant>& a) {
                       const ObjectPtr other = ObjectArgument(a[0]);
                       StatusPtr status = std::dynamic_pointer_cast<CStatus>(other);
                       if (other && !status) RaisePlatformError(kErrTypeMismatch, "not a CStatus");
                       As<CStatus>(self).OperatorEquals(status);
                       return Variant();
                     }));
  // The error being handled, for a host that calls by name, is the last
  // error that dispatch raised to it on this thread.
  m.push_back(Method("OperatorEqualsErr", {}, kVoid, [](Object& self, auto&) {
    CStatus& status = As<CStatus>(self);
    try {
      ThrowLastError();
    } catch (...) {
      status.OperatorEqualsErr();
    }
    return Variant();
  }));
  m.push_back(
      Method("SetError",
             {In("eErrCode", Type(TypeKind::Int32, "StatusNum")), Optional("sSource", kString)},
             kVoid, [](Object& self, std::vector<Variant>& a) {
               CStatus& status = As<CStatus>(self);
               if (a.size() > 1) {
                 status.SetError(a[0].AsInt32(), a[1].AsString());
               } else {
                 status.SetError(a[0].AsInt32());
               }
               return Variant();
             }));
}

MemberInfo StringGet(std::string_view name, StringGetter get) {
  return Get(name, kString,
             [get](Object& self, auto&) { return Variant((As<CStatus>(self).*get)()); });
}
MemberInfo NumberGet(std::string_view name, NumberGetter get) {
  return Get(name, kInt32,
             [get](Object& self, auto&) { return Variant((As<CStatus>(self).*get)()); });
}
MemberInfo StringPut(std::string_view name, StringSetter set) {
  return Put(name, {In("sValue", kString)}, [set](Object& self, std::vector<Variant>& a) {
    (As<CStatus>(self).*set)(a[0].AsString());
    return Variant();
  });
}
MemberInfo NumberPut(std::string_view name, NumberSetter set) {
  return Put(name, {In("lValue", kInt32)}, [set](Object& self, std::vector<Variant>& a) {
    (As<CStatus>(self).*set)(a[0].AsInt32());
    return Variant();
  });
}

// The position that `index` names in `list`: a number is a position, a text
// is a key (the ID of the record stored under it).
int32_t PositionOf(const NodeCollection& list, const Variant& index) {
  if (index.Kind() == VariantKind::String) {
    for (int32_t i = 1; i <= list.Count(); ++i) {
      if (list.Key(i) == index.AsString()) return i;
    }
    RaisePlatformError(kErrInvalidCall, "no element under the key \"" + index.AsString() + "\"");
  }
  return ToInt32(index);
}

}  // namespace

InterfaceInfo BuildStatusInterface(const InterfaceIdentity& identity) {
  InterfaceInfo itf{&identity, {}};
  std::vector<MemberInfo>& m = itf.members;
  AddStatusMethods(m);
  m.push_back(NumberGet("Number", &CStatus::Number));
  m.push_back(StringGet("Description", &CStatus::Description));
  m.push_back(StringGet("HelpFile", &CStatus::HelpFile));
  m.push_back(NumberGet("HelpContext", &CStatus::HelpContext));
  m.push_back(StringGet("Source", &CStatus::Source));
  m.push_back(NumberPut("Number", &CStatus::Number));
  m.push_back(StringPut("Description", &CStatus::Description));
  m.push_back(StringPut("HelpFile", &CStatus::HelpFile));
  m.push_back(NumberPut("HelpContext", &CStatus::HelpContext));
  m.push_back(StringPut("Source", &CStatus::Source));
  return itf;
}

InterfaceInfo BuildCollectionInterface(const InterfaceIdentity& identity) {
  const TypeRef variant = Type(TypeKind::Variant);
  InterfaceInfo itf{&identity, {}};
  std::vector<MemberInfo>& m = itf.members;
  m.push_back(Get("Count", kInt32,
                  [](Object& self, auto&) { return Variant(As<NodeCollection>(self).Count()); }));
  m.push_back(Get("Item", ObjectType("CNode"),
                  [](Object& self, std::vector<Variant>& a) {
                    const NodeCollection& list = As<NodeCollection>(self);
                    return ObjectResult(list.NodeItem(PositionOf(list, a[0])));
                  },
                  {In("vIndex", variant)}));
  // A record is added under its ID as decimal text, as the record's own Add
  // member does: the list's keys stay the IDs of its records.
  m.push_back(Method("Add", {Ref("oItem", ObjectType("CNode"))}, kVoid,
                     [](Object& self, std::vector<Variant>& a) {
                       const ObjectPtr item = ObjectArgument(a[0]);
                       const NodePtr node = std::dynamic_pointer_cast<CNode>(item);
                       if (!item) RaisePlatformError(kErrObjectNotSet);
                       if (!node) RaisePlatformError(kErrTypeMismatch, "not a record");
                       As<NodeCollection>(self).AddNode(node, std::to_string(node->ID()));
                       return Variant();
                     }));
  m.push_back(
      Method("Remove", {In("vIndex", variant)}, kVoid, [](Object& self, std::vector<Variant>& a) {
        NodeCollection& list = As<NodeCollection>(self);
        list.Remove(PositionOf(list, a[0]));
        return Variant();
      }));
  return itf;
}

}  // namespace tympora::component
