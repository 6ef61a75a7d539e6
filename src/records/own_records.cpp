// Which nodes are records of the library's own classes: the only ones that
// the direct writer may write from their property tables. A host's class
// (every library record class is final, so a host's record derives from
// RecordBase itself) may override any export member and hold any node, so
// it is exported through its CNode members.
#include <typeinfo>

#include "node/record_writer.hpp"
#include "tympora/measurement/curve.hpp"
#include "tympora/measurement/curve_datum.hpp"
#include "tympora/measurement/distortion_datum.hpp"
#include "tympora/measurement/speech_map_datum.hpp"
#include "tympora/records/client.hpp"
#include "tympora/records/client_aid.hpp"
#include "tympora/records/clients.hpp"
#include "tympora/records/examination.hpp"
#include "tympora/records/test_definition.hpp"

namespace tympora::detail {

const RecordBase* AsLibraryRecord(const CNode& node) noexcept {
  const std::type_info& type = typeid(node);
  for (const std::type_info* own :
       {&typeid(CCurveDatum), &typeid(CDistortionDatum), &typeid(CSpeechMapDatum), &typeid(CCurve),
        &typeid(CExamination), &typeid(CTestDefinition), &typeid(CClientAid), &typeid(CClient),
        &typeid(CClients)}) {
    if (type == *own) return static_cast<const RecordBase*>(&node);
  }
  return nullptr;
}

}  // namespace tympora::detail
