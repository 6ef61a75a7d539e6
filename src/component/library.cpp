// The type library: every interface built once from the identity table and
// the records' property tables, every class bound to its interfaces and its
// constructor, and the lookups by name, identifier and live object.
#include <memory>

#include "component/builder.hpp"
#include "tympora/component/factory.hpp"
#include "tympora/measurement/curve.hpp"
#include "tympora/measurement/curve_datum.hpp"
#include "tympora/measurement/distortion_datum.hpp"
#include "tympora/measurement/speech_map_datum.hpp"
#include "tympora/node/collection.hpp"
#include "tympora/node/status.hpp"
#include "tympora/records/client.hpp"
#include "tympora/records/client_aid.hpp"
#include "tympora/records/clients.hpp"
#include "tympora/records/examination.hpp"
#include "tympora/records/test_definition.hpp"

namespace tympora {
namespace {

template <class T>
ObjectPtr Make() {
  return std::make_shared<T>();
}

// The constructor of each creatable class, by class name.
struct Creator {
  std::string_view name;
  ObjectPtr (*create)();
};
constexpr Creator kCreators[] = {
    {"CDistortionDatum", &Make<CDistortionDatum>},
    {"CStatus", &Make<CStatus>},
    {"CCurveDatum", &Make<CCurveDatum>},
    {"CCurve", &Make<CCurve>},
    {"CExamination", &Make<CExamination>},
    {"CTestDefinition", &Make<CTestDefinition>},
    {"CClientAid", &Make<CClientAid>},
    {"CClient", &Make<CClient>},
    {"CClients", &Make<CClients>},
    {"CSpeechMapDatum", &Make<CSpeechMapDatum>},
};

ObjectPtr (*CreatorOf(std::string_view name))() {
  for (const Creator& c : kCreators) {
    if (c.name == name) return c.create;
  }
  return nullptr;
}

// The interface `identity` stands for. A record's default interface comes
// from the table of a record of its class.
InterfaceInfo BuildInterface(const InterfaceIdentity& identity) {
  using namespace component;
  const std::string_view name = identity.name;
  if (name == "_CStatus") return BuildStatusInterface(identity);
  if (name == "_CNode") return BuildNodeInterface(identity);
  if (name == "Collection") return BuildCollectionInterface(identity);
  if (name == "DOMDocument") return BuildDocumentInterface(identity);
  if (name == "DOMNode") return BuildDomNodeInterface(identity);
  const ObjectPtr prototype = CreatorOf(name.substr(1))();
  return BuildRecordInterface(identity, dynamic_cast<const RecordBase&>(*prototype).Info());
}

}  // namespace

TypeLibrary::TypeLibrary() {
  interfaces_.reserve(InterfaceIdentities().size());
  for (const InterfaceIdentity& identity : InterfaceIdentities()) {
    interfaces_.push_back(BuildInterface(identity));
  }
  classes_.reserve(ClassIdentities().size());
  for (const ClassIdentity& identity : ClassIdentities()) {
    ClassInfo cls{&identity, {FindInterface(identity.default_interface)}, nullptr};
    if (identity.node_interface) cls.interfaces.push_back(FindInterface("_CNode"));
    if (identity.role == ClassRole::Creatable) cls.create = CreatorOf(identity.name);
    classes_.push_back(std::move(cls));
  }
}

const ClassInfo* TypeLibrary::ByIdentity(const ClassIdentity* identity) const noexcept {
  for (const ClassInfo& cls : classes_) {
    if (cls.identity == identity) return &cls;
  }
  return nullptr;
}

const ClassInfo* TypeLibrary::FindClass(std::string_view name_or_id) const noexcept {
  const ClassIdentity* identity = FindClassIdentity(name_or_id);
  return identity ? ByIdentity(identity) : nullptr;
}

const InterfaceInfo* TypeLibrary::FindInterface(std::string_view name_or_id) const noexcept {
  const InterfaceIdentity* identity = FindInterfaceIdentity(name_or_id);
  for (const InterfaceInfo& itf : interfaces_) {
    if (itf.identity == identity) return &itf;
  }
  return nullptr;
}

const ClassInfo* TypeLibrary::ClassOf(const Object& object) const {
  std::string_view helper;
  if (const auto* record = dynamic_cast<const RecordBase*>(&object)) {
    for (const ClassInfo& cls : classes_) {
      if (cls.identity->name == record->Info().class_name) return &cls;
    }
    return nullptr;
  } else if (dynamic_cast<const CStatus*>(&object)) {
    return FindClass("Tympora.CStatus");
  } else if (dynamic_cast<const CNode*>(&object)) {
    return FindClass("Tympora.CNode");
  } else if (dynamic_cast<const NodeCollection*>(&object)) {
    helper = "Collection";
  } else if (dynamic_cast<const DocumentObject*>(&object)) {
    helper = "DOMDocument";
  } else if (dynamic_cast<const NodeObject*>(&object)) {
    helper = "DOMNode";
  }
  return helper.empty() ? nullptr : FindClass(helper);
}

const TypeLibrary& Library() {
  static const TypeLibrary library;
  return library;
}

size_t MemberInfo::RequiredCount() const noexcept {
  size_t count = 0;
  while (count < params.size() && !params[count].optional) ++count;
  return count;
}

const MemberInfo* InterfaceInfo::Find(std::string_view name, InvokeKind kind) const noexcept {
  const MemberInfo* stand_in = nullptr;
  for (const MemberInfo& member : members) {
    if (member.name != name) continue;
    if (member.kind == kind) return &member;
    if (kind != InvokeKind::PropertyPut && member.kind != InvokeKind::PropertyPut) {
      stand_in = &member;
    }
  }
  return stand_in;
}

std::string TypeName(const TypeRef& type) {
  if (!type.name.empty()) return std::string(type.name);
  switch (type.kind) {
    case TypeKind::Void:
      return "Void";
    case TypeKind::Int16:
      return "Int16";
    case TypeKind::Int32:
      return "Int32";
    case TypeKind::Double:
      return "Double";
    case TypeKind::String:
      return "String";
    case TypeKind::Date:
      return "Date";
    case TypeKind::Boolean:
      return "Boolean";
    case TypeKind::Variant:
      return "Variant";
    case TypeKind::Object:
      return "Object";
  }
  return "Variant";
}

}  // namespace tympora
