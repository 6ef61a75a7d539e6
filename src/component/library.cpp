// The type library: every interface built once from the registration
// table (a record's from its property table), every class bound to its
// interfaces and its constructor, and the lookups by name, identifier and
// live object.
#include <array>
#include <memory>
#include <tuple>
#include <type_traits>
#include <utility>

#include "component/builder.hpp"
#include "tympora/component/factory.hpp"
#include "tympora/component/registration.hpp"

namespace tympora {
namespace {

template <class T>
ObjectPtr Make() {
  return std::make_shared<T>();
}

// What the type library takes from a row of the registration table beyond
// its identity, in table order.
struct ClassBinding {
  ObjectPtr (*create)();  // creatable classes only
  InterfaceInfo (*build)(const InterfaceIdentity& identity);
  // Whether a live object that is not a record is of this class; records
  // are known by their table's class name instead.
  bool (*is)(const Object& object);
};

// Row I of the registration table and its type.
template <size_t I>
constexpr const auto& kRow = std::get<I>(registration::kClasses);
template <size_t I>
using RowType = std::remove_cvref_t<decltype(kRow<I>)>;

// The interface of the class of row I, made from what the class is.
template <size_t I>
InterfaceInfo BuildInterface(const InterfaceIdentity& identity) {
  using namespace component;
  using T = typename RowType<I>::Class;
  if constexpr (RowType<I>::kRecord) {
    return BuildRecordInterface(identity, T().Info(), kRow<I>.order);
  } else if constexpr (std::is_same_v<T, CStatus>) {
    return BuildStatusInterface(identity);
  } else if constexpr (std::is_same_v<T, CNode>) {
    return BuildNodeInterface(identity);
  } else if constexpr (std::is_same_v<T, NodeCollection>) {
    return BuildCollectionInterface(identity);
  } else if constexpr (std::is_same_v<T, DocumentObject>) {
    return BuildDocumentInterface(identity);
  } else {
    static_assert(std::is_same_v<T, NodeObject>,
                  "a class of the registration table that no interface builder serves");
    return BuildDomNodeInterface(identity);
  }
}

template <size_t I>
constexpr ClassBinding BindingOf() {
  using T = typename RowType<I>::Class;
  ClassBinding binding{nullptr, &BuildInterface<I>, nullptr};
  // `Register` refuses at compile time a creatable class without a public
  // default constructor, so every creatable row gets its creator here.
  if constexpr (RowType<I>::kRole == ClassRole::Creatable) binding.create = &Make<T>;
  if constexpr (!RowType<I>::kRecord) {
    binding.is = [](const Object& object) { return dynamic_cast<const T*>(&object) != nullptr; };
  }
  return binding;
}

constexpr auto kBindings = []<size_t... I>(std::index_sequence<I...>) {
  return std::array<ClassBinding, sizeof...(I)>{BindingOf<I>()...};
}
(std::make_index_sequence<registration::kClassCount>{});

}  // namespace

TypeLibrary::TypeLibrary() {
  // The identity table lists the registration table's classes in its order.
  const std::span<const ClassIdentity> identities = ClassIdentities();
  interfaces_.reserve(InterfaceIdentities().size());
  for (const InterfaceIdentity& identity : InterfaceIdentities()) {
    for (size_t i = 0; i < identities.size(); ++i) {
      if (identities[i].default_interface == identity.name) {
        interfaces_.push_back(kBindings[i].build(identity));
      }
    }
  }
  classes_.reserve(identities.size());
  for (size_t i = 0; i < identities.size(); ++i) {
    const ClassIdentity& identity = identities[i];
    ClassInfo cls{&identity, {FindInterface(identity.default_interface)}, kBindings[i].create};
    if (identity.node_interface) cls.interfaces.push_back(FindInterface("_CNode"));
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
  if (const auto* record = dynamic_cast<const RecordBase*>(&object)) {
    for (const ClassInfo& cls : classes_) {
      if (cls.identity->name == record->Info().class_name) return &cls;
    }
    return nullptr;
  }
  for (size_t i = 0; i < classes_.size(); ++i) {
    if (kBindings[i].is && kBindings[i].is(object)) return &classes_[i];
  }
  return nullptr;
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
