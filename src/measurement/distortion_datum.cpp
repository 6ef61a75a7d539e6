// The property table of CDistortionDatum.
#include "tympora/measurement/distortion_datum.hpp"

#include "node/record_table.hpp"

namespace tympora {

const RecordInfo& CDistortionDatum::Info() const {
  using table::Prop;
  // This class reports its text export under the member's interface name.
  static const RecordInfo info(
      kNodeName, "CDistortionDatum", "Function CNode_ExportTXT",
      {
          Prop<&CDistortionDatum::frequency_>("Frequency", "Frequency", &FrequencyAccepted),
          Prop<&CDistortionDatum::distortion_>("Distortion", "Distortion"),
          Prop<&CDistortionDatum::other_>("Other", "Other"),
      });
  return info;
}

}  // namespace tympora
