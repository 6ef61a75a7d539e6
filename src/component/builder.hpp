// Helpers for building the dispatch interfaces, and the builders of each
// interface. Only the component's sources include this header.
#pragma once

#include <string_view>
#include <utility>
#include <vector>

#include "tympora/component/dispatch.hpp"
#include "tympora/component/registration.hpp"
#include "tympora/node/error.hpp"
#include "tympora/node/record.hpp"

namespace tympora::component {

inline TypeRef Type(TypeKind kind, std::string_view name = {}) { return TypeRef{kind, name}; }
inline TypeRef ObjectType(std::string_view name) { return TypeRef{TypeKind::Object, name}; }

inline ParamInfo In(std::string_view name, TypeRef type) {
  return ParamInfo{name, type, false, false};
}
inline ParamInfo Ref(std::string_view name, TypeRef type) {
  return ParamInfo{name, type, true, false};
}
inline ParamInfo Optional(std::string_view name, TypeRef type) {
  return ParamInfo{name, type, false, true};
}

inline MemberInfo Get(std::string_view name, TypeRef result, MemberInfo::Handler call,
                      std::vector<ParamInfo> params = {}) {
  return MemberInfo{name, InvokeKind::PropertyGet, std::move(params), result, std::move(call)};
}
inline MemberInfo Put(std::string_view name, std::vector<ParamInfo> params,
                      MemberInfo::Handler call) {
  return MemberInfo{name, InvokeKind::PropertyPut, std::move(params), Type(TypeKind::Void),
                    std::move(call)};
}
inline MemberInfo Method(std::string_view name, std::vector<ParamInfo> params, TypeRef result,
                         MemberInfo::Handler call) {
  return MemberInfo{name, InvokeKind::Method, std::move(params), result, std::move(call)};
}

// `self` as a T; raises 13 when the object is of another type (which the
// dispatch handle rules out, but a table mistake must not become a crash).
template <class T>
T& As(Object& self) {
  T* typed = dynamic_cast<T*>(&self);
  if (!typed) RaisePlatformError(kErrTypeMismatch, "object of another class");
  return *typed;
}

// The object of an Object argument, possibly absent (Empty, Null, nullptr).
ObjectPtr ObjectArgument(const Variant& value);
// A status (or an absent one) as a result.
Variant ObjectResult(ObjectPtr object);

// Stores `document` in a by-reference argument unless the argument already
// refers to it; an absent document leaves the argument as it is.
void StoreDocument(Variant& slot, const DOMDocument& document);
// The same for a node.
void StoreNode(Variant& slot, const DOMNode& node);

// The interfaces; each takes the identity of the interface it builds.
InterfaceInfo BuildStatusInterface(const InterfaceIdentity& identity);
InterfaceInfo BuildNodeInterface(const InterfaceIdentity& identity);
// A record's default interface, from its table, with its members in the
// published `order` (see registration::MemberOrder).
InterfaceInfo BuildRecordInterface(const InterfaceIdentity& identity, const RecordInfo& info,
                                   registration::MemberOrder order);
InterfaceInfo BuildCollectionInterface(const InterfaceIdentity& identity);
InterfaceInfo BuildDocumentInterface(const InterfaceIdentity& identity);
InterfaceInfo BuildDomNodeInterface(const InterfaceIdentity& identity);

// Remembers the error that Invoke is raising on this thread, for
// OperatorEqualsErr called by dispatch. ThrowLastError throws it again (an
// error of Number 0 when there was none); call it only to catch at once.
void RememberError(const Error& error);
[[noreturn]] void ThrowLastError();

}  // namespace tympora::component
