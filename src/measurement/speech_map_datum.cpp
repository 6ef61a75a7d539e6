// The property table of CSpeechMapDatum.
#include "tympora/measurement/speech_map_datum.hpp"

#include "node/record_table.hpp"

namespace tympora {

const RecordInfo& CSpeechMapDatum::Info() const {
  using table::Prop;
  // The long names are accepted by PropertyByName only, never on import;
  // "ID" reads the ID, and setting it by name is ignored.
  static const RecordInfo info(kNodeName, "CSpeechMapDatum", "Function ExportTXT",
                               {
                                   Prop<&CSpeechMapDatum::max_output_>("MaxOutput", "maxOutputVal"),
                                   Prop<&CSpeechMapDatum::min_output_>("MinOutput", "minOutputVal"),
                                   Prop<&CSpeechMapDatum::other_>("Other", "Other"),
                               },
                               {}, {{"MaxOutputVal", "MaxOutput"}, {"MinOutputVal", "MinOutput"}},
                               /*id_by_name=*/true);
  return info;
}

}  // namespace tympora
