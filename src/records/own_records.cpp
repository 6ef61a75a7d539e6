// Which nodes are records of the library's own classes: the only ones that
// the direct writer may write from their property tables. A host's class
// (every library record class is final, so a host's record derives from
// RecordBase itself) may override any export member and hold any node, so
// it is exported through its CNode members.
#include <typeinfo>

#include "node/record_writer.hpp"
#include "tympora/component/registration.hpp"

namespace tympora::detail {

const RecordBase* AsLibraryRecord(const CNode& node) noexcept {
  const std::type_info& type = typeid(node);
  bool own = false;
  registration::ForEachRecordClass([&](const auto& row) {
    using T = typename std::remove_cvref_t<decltype(row)>::Class;
    own = own || type == typeid(T);
  });
  return own ? static_cast<const RecordBase*>(&node) : nullptr;
}

}  // namespace tympora::detail
