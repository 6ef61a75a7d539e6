// The property table of CCurveDatum.
#include "tympora/measurement/curve_datum.hpp"

#include "node/record_table.hpp"

namespace tympora {

const RecordInfo& CCurveDatum::Info() const {
  using table::Prop;
  static const RecordInfo info(
      kNodeName, "CCurveDatum", "Function ExportTXT",
      {
          Prop<&CCurveDatum::input_>("Input", "InputVal"),
          Prop<&CCurveDatum::output_>("Output", "OutputVal"),
          Prop<&CCurveDatum::max_output_>("MaxOutput", "maxOutputVal"),
          Prop<&CCurveDatum::min_output_>("MinOutput", "minOutputVal"),
          Prop<&CCurveDatum::frequency_>("Frequency", "Frequency", &FrequencyAccepted),
          Prop<&CCurveDatum::other_>("Other", "Other"),
      },
      {},
      {{"InputVal", "Input"},
       {"OutputVal", "Output"},
       {"MaxOutputVal", "MaxOutput"},
       {"MinOutputVal", "MinOutput"}});
  return info;
}

}  // namespace tympora
