// The record tables, collected once from the classes themselves.
#include "tables.hpp"

#include "tympora/component/registration.hpp"

namespace tympora::support {
namespace {

void Collect(const RecordInfo& info, std::vector<const RecordInfo*>& out) {
  for (const RecordInfo* known : out) {
    if (known == &info) return;
  }
  out.push_back(&info);
  for (const ChildListDef& list : info.children) {
    const std::shared_ptr<CNode> child = list.create();
    Collect(static_cast<const RecordBase&>(*child).Info(), out);
  }
}

}  // namespace

const std::vector<const RecordInfo*>& RecordTables() {
  static const std::vector<const RecordInfo*> tables = [] {
    std::vector<const RecordInfo*> out;
    Collect(CClients().Info(), out);
    // Then the records that no list holds, in the order of the registration.
    registration::ForEachRecordClass([&out](const auto& row) {
      Collect(typename std::remove_cvref_t<decltype(row)>::Class().Info(), out);
    });
    return out;
  }();
  return tables;
}

const RecordInfo* TableOf(std::string_view element) {
  for (const RecordInfo* info : RecordTables()) {
    if (info->node_name == element) return info;
  }
  return nullptr;
}

const PropertyDef* PropertyOf(const RecordInfo& info, std::string_view element) {
  return info.PropertyOf(info.FindElement(element));
}

std::string_view KindName(PropKind kind) {
  switch (kind) {
    case PropKind::Int32:
      return "integer";
    case PropKind::Double:
      return "number";
    case PropKind::String:
      return "text";
    case PropKind::Date:
      return "date";
    case PropKind::Bool:
      return "boolean";
  }
  return "";
}

}  // namespace tympora::support
