// The property table of CTestDefinition.
#include "tympora/records/test_definition.hpp"

#include "node/record_table.hpp"

namespace tympora {

const RecordInfo& CTestDefinition::Info() const {
  using table::Children;
  using table::Prop;
  // Export order (alphabetical), which is also the order PropertyByName and
  // the import compare names in.
  static const RecordInfo info(
      kNodeName, "CTestDefinition", "Function ExportTXT",
      {
          Prop<&CTestDefinition::comment_>("Comment", "Comment"),
          Prop<&CTestDefinition::deleted_>("Deleted", "Deleted"),
          Prop<&CTestDefinition::ins_code_>("InsCode", "InsCode"),
          Prop<&CTestDefinition::percode_>("PerCode", "Percode"),
          Prop<&CTestDefinition::test_date_>("TestDate", "TestDate"),
          Prop<&CTestDefinition::test_explanation_>("TestExplanation", "TestExplanation"),
          Prop<&CTestDefinition::test_time_>("TestTime", "TestTime"),
          Prop<&CTestDefinition::test_type_>("TestType", "TestType"),
          Prop<&CTestDefinition::test_type_number_>("TestTypeNumber", "TestTypeNumber"),
      },
      {Children<&CTestDefinition::examinations_>("Examinations", "AddExamination",
                                                 "ResetExaminations")});
  return info;
}

}  // namespace tympora
