// The interface description: the text form of the type library, generated
// from the same tables that dispatch runs on.
#include <string>

#include "tympora/component/dispatch.hpp"
#include "tympora/node/record.hpp"
#include "tympora/node/status.hpp"

namespace tympora {
namespace {

struct EnumValue {
  const char* name;
  int32_t value;
};
constexpr EnumValue kStatusNum[] = {
    {"STATUS_OK", STATUS_OK},
    {"STATUS_BASE_USER_ERROR", STATUS_BASE_USER_ERROR},
    {"STATUS_UNIMPLEMENTED", STATUS_UNIMPLEMENTED},
    {"STATUS_BADPATH", STATUS_BADPATH},
    {"STATUS_BADHANDLE", STATUS_BADHANDLE},
    {"STATUS_UNINIT_OBJECT", STATUS_UNINIT_OBJECT},
    {"STATUS_UNINIT_OBJECT_1", STATUS_UNINIT_OBJECT_1},
    {"STATUS_UNINIT_OBJECT_2", STATUS_UNINIT_OBJECT_2},
};

const char* KindWord(InvokeKind kind) {
  switch (kind) {
    case InvokeKind::PropertyGet:
      return "get";
    case InvokeKind::PropertyPut:
      return "put";
    case InvokeKind::Method:
    case InvokeKind::MethodOrPropertyGet:
      return "method";
  }
  return "method";
}

const char* RoleWord(ClassRole role) {
  switch (role) {
    case ClassRole::Creatable:
      return "creatable";
    case ClassRole::Published:
      return "not creatable";
    case ClassRole::Helper:
      return "helper";
  }
  return "";
}

void DescribeMember(std::string& out, const MemberInfo& m) {
  out += "  ";
  out += KindWord(m.kind);
  out += ' ';
  out += m.name;
  out += '(';
  for (size_t i = 0; i < m.params.size(); ++i) {
    const ParamInfo& p = m.params[i];
    if (i > 0) out += ", ";
    if (p.optional) out += "optional ";
    if (p.by_ref) out += "ref ";
    out += p.name;
    out += " As ";
    out += TypeName(p.type);
  }
  out += ')';
  if (m.result.kind != TypeKind::Void) out += " As " + TypeName(m.result);
  out += '\n';
}

// The names that PropertyByName accepts on a record of class `cls`: its
// element names, then the extra names, then "ID" where it reads the ID.
void DescribePropertyNames(std::string& out, const ClassInfo& cls) {
  if (!cls.create) return;
  const ObjectPtr object = cls.create();
  const auto* record = dynamic_cast<const RecordBase*>(object.get());
  if (!record) return;
  const RecordInfo& info = record->Info();
  out += "  PropertyByName names:";
  for (const PropertyDef& p : info.properties) (out += ' ') += p.element;
  for (const RecordInfo::Alias& a : info.aliases) (out += ' ') += a.name;
  if (info.id_by_name) out += " ID";
  out += '\n';
}

void DescribeClass(std::string& out, const ClassInfo& cls) {
  out += "class " + std::string(cls.identity->name);
  if (!cls.identity->clsid.empty()) out += " " + std::string(cls.identity->clsid);
  out += " " + std::string(RoleWord(cls.identity->role));
  if (cls.identity->role == ClassRole::Creatable) out += " as " + ProgId(*cls.identity);
  out += '\n';
  for (size_t i = 0; i < cls.interfaces.size(); ++i) {
    out += i == 0 ? "  default interface " : "  interface ";
    out += cls.interfaces[i]->Name();
    out += '\n';
  }
  DescribePropertyNames(out, cls);
  out += '\n';
}

void DescribeInterface(std::string& out, const InterfaceInfo& itf) {
  out += "interface " + std::string(itf.Name()) + " " + std::string(itf.identity->iid);
  if (!itf.identity->earlier_iid.empty()) {
    out += " earlier " + std::string(itf.identity->earlier_iid);
  }
  out += " members " + std::to_string(itf.members.size()) + '\n';
  for (const MemberInfo& m : itf.members) DescribeMember(out, m);
  out += '\n';
}

}  // namespace

std::string DescribeInterfaces() {
  const TypeLibrary& library = Library();
  std::string out = "component " + std::string(kComponentName) + " " + std::string(LibraryId()) +
                    " description " + std::string(kDescriptionVersion) + " version " +
                    std::string(kFileVersion) + " (" + std::string(kVersionText) + ")\n\n";
  out += "enum StatusNum " + std::string(StatusNumId()) + '\n';
  for (const EnumValue& v : kStatusNum) {
    out += "  " + std::string(v.name) + " = " + std::to_string(v.value) + '\n';
  }
  out += '\n';
  for (const ClassInfo& cls : library.Classes()) DescribeClass(out, cls);
  for (const InterfaceInfo& itf : library.Interfaces()) DescribeInterface(out, itf);
  return out;
}

}  // namespace tympora
