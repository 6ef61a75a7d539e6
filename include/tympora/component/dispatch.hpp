// Late-bound dispatch: any object of the library reached through one of its
// interfaces and called by member name with Variant arguments, as hosts that
// bind at run time expect.
//
// The interfaces are generated once, from the records' own property tables
// (each property a get and a put under its C++ name, each child list a
// get-only list property with its Add and Reset methods), plus the fixed
// interfaces _CNode (fifteen members), _CStatus, Collection (a record's child
// list), DOMDocument and DOMNode (the DOM handles that the XML members take).
// DescribeInterfaces() lists all of them as text.
//
// Names of members and interfaces are compared exactly (case-sensitively).
// Errors: every failure of Invoke and QueryInterface is a tympora::Error:
//   91  an absent object (an empty Dispatch, an absent argument object)
//   430 the object does not offer the interface asked for
//   438 the interface has no member of that name and kind
//   450 too few or too many arguments
//   13  an argument that does not convert to the parameter's type (or the
//       conversion's own error: 6 overflow, 94 Null)
// and any error that the member itself raises, unchanged.
#pragma once

#include "tympora/export.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tympora/component/identity.hpp"
#include "tympora/node/variant.hpp"

namespace tympora {

// How a member is called. MethodOrPropertyGet, what hosts of late-bound
// calls pass when they do not know which of the two a member is, reaches
// either.
enum class InvokeKind : int32_t {
  Method = 1,
  PropertyGet = 2,
  MethodOrPropertyGet = 3,
  PropertyPut = 4
};

// The type of a parameter or a result.
enum class TypeKind : int32_t {
  Void,
  Int16,
  Int32,
  Double,
  String,
  Date,
  Boolean,
  Variant,
  Object
};

struct TYMPORA_API TypeRef {
  TypeKind kind = TypeKind::Void;
  // For Object: the class or interface of the object ("CStatus", "DOMDocument",
  // "CCurveDatum", "Collection", "CNode"); for an Int32 that carries an
  // enumeration: its name ("StatusNum"). Empty otherwise.
  std::string_view name;
};

// The name a description shows for `type`: "Int32", "String", "CStatus" ...
TYMPORA_API std::string TypeName(const TypeRef& type);

struct TYMPORA_API ParamInfo {
  std::string_view name;  // with its type prefix: lValue, sFilePath, iFileHandle ...
  TypeRef type;
  bool by_ref = false;    // the member may replace the argument; Invoke writes it back
  bool optional = false;  // may be left out (only trailing parameters)
};

// One member of an interface. A property put takes the new value as its last
// argument, after any index arguments (PropertyByName put: sPropertyName,
// vValue).
struct TYMPORA_API MemberInfo {
  // Runs the member on `self` with arguments already converted to the
  // parameters' types; may replace by-reference arguments in `args`.
  using Handler = std::function<Variant(Object& self, std::vector<Variant>& args)>;

  std::string_view name;
  InvokeKind kind = InvokeKind::Method;
  std::vector<ParamInfo> params;
  TypeRef result;
  Handler call;

  // The number of parameters that must be given.
  size_t RequiredCount() const noexcept;
};

struct TYMPORA_API InterfaceInfo {
  const InterfaceIdentity* identity = nullptr;
  std::vector<MemberInfo> members;

  // The interface's name ("_CClient").
  std::string_view Name() const noexcept { return identity->name; }
  // The member `name` of kind `kind`, or nullptr. A get and a method of the
  // same name stand in for each other when only one of them exists.
  const MemberInfo* Find(std::string_view name, InvokeKind kind) const noexcept;
};

struct TYMPORA_API ClassInfo {
  const ClassIdentity* identity = nullptr;
  std::vector<const InterfaceInfo*> interfaces;  // the default interface first
  ObjectPtr (*create)() = nullptr;               // set for creatable classes only
};

// Every class and interface of the component, built once on first use.
class TYMPORA_API TypeLibrary {
 public:
  // Builds every interface from the identity table and the records' tables.
  // Use Library() rather than constructing another one.
  TypeLibrary();
  TypeLibrary(const TypeLibrary&) = delete;
  TypeLibrary& operator=(const TypeLibrary&) = delete;

  // Every class, in the order of the identity table; owned by the library.
  std::span<const ClassInfo> Classes() const noexcept { return classes_; }
  // Every interface, in the order of the identity table; owned by the library.
  std::span<const InterfaceInfo> Interfaces() const noexcept { return interfaces_; }
  // By "Tympora.<class>" or class identifier (helper classes by bare name);
  // nullptr when there is none.
  const ClassInfo* FindClass(std::string_view name_or_id) const noexcept;
  // By name, identifier or earlier identifier; nullptr when there is none.
  const InterfaceInfo* FindInterface(std::string_view name_or_id) const noexcept;
  // The class of a live object, or nullptr for an object of no class here.
  // Raises only what a record's table construction raises (out of memory).
  const ClassInfo* ClassOf(const Object& object) const;

 private:
  const ClassInfo* ByIdentity(const ClassIdentity* identity) const noexcept;
  std::vector<InterfaceInfo> interfaces_;
  std::vector<ClassInfo> classes_;
};

// The component's type library. Thread-safe; built on first call.
TYMPORA_API const TypeLibrary& Library();

// The interface description: the component, every class with its identifier
// and interfaces, every interface with its identifiers and members, each
// member with its kind, parameters (name, type, ref, optional) and result,
// and the StatusNum values. One line per member, in this form:
//   get NodeName() As String
//   put ID(lValue As Int32)
//   method ExportXMLDocument(ref Document As DOMDocument) As CStatus
//   method SetError(eErrCode As StatusNum, optional sSource As String)
TYMPORA_API std::string DescribeInterfaces();

// A reference to an object through one of its interfaces. Default-constructed
// it is absent. Obtained only from QueryInterface, so the interface always
// belongs to the object.
class TYMPORA_API Dispatch {
 public:
  // The absent handle: Invoke on it raises 91.
  Dispatch() = default;

  // True when the handle refers to an object.
  explicit operator bool() const noexcept { return static_cast<bool>(object_); }
  // The object; the handle shares its ownership.
  const ObjectPtr& Target() const noexcept { return object_; }
  // The interface, or nullptr for the absent handle.
  const InterfaceInfo* Interface() const noexcept { return interface_; }

 private:
  friend Dispatch QueryInterface(const ObjectPtr& object, std::string_view name_or_id);
  Dispatch(ObjectPtr object, const InterfaceInfo* itf)
      : object_(std::move(object)), interface_(itf) {}

  ObjectPtr object_;
  const InterfaceInfo* interface_ = nullptr;
};

// The interface `name_or_id` (name, identifier or earlier identifier; empty
// for the default interface) of `object`. Raises 91 for an absent object and
// 430 when the object does not offer that interface.
TYMPORA_API Dispatch QueryInterface(const ObjectPtr& object, std::string_view name_or_id = {});

// Calls `member` of kind `kind` on the handle's object through its interface.
// `args` are converted to the parameters' types; by-reference arguments are
// replaced by what the member left in them (ExportXMLDocument's Document).
// Returns the result (Empty for a member without one; an absent object as an
// Object Variant holding nullptr). Raises the errors listed at the top.
TYMPORA_API Variant Invoke(const Dispatch& target, std::string_view member, InvokeKind kind,
                           std::vector<Variant>& args);
// The same with arguments whose changes the caller does not need.
TYMPORA_API Variant Invoke(const Dispatch& target, std::string_view member, InvokeKind kind,
                           std::vector<Variant>&& args = {});

}  // namespace tympora
