// The property table of CExamination.
#include "tympora/records/examination.hpp"

#include "node/record_table.hpp"

namespace tympora {

const RecordInfo& CExamination::Info() const {
  using table::Children;
  using table::Prop;
  // Export order, which is also the order PropertyByName and the import
  // compare names in. "ProgramVersion" comes last, after "TestType".
  static const RecordInfo info(
      kNodeName, "CExamination", "Function ExportTXT",
      {
          Prop<&CExamination::aid_class_>("AidClass", "AidClass"),
          Prop<&CExamination::analyzer_aid_type_>("AnalyzerAidType", "AnalyzerAidType"),
          Prop<&CExamination::category_>("Category", "Category"),
          Prop<&CExamination::comment_>("Comment", "Comment"),
          Prop<&CExamination::create_date_>("CreateDate", "CreateDate"),
          Prop<&CExamination::create_time_>("CreateTime", "CreateTime"),
          Prop<&CExamination::doctor_>("Doctor", "Doctor"),
          Prop<&CExamination::ear_>("EarID", "Ear"),
          Prop<&CExamination::last_save_date_>("LastSaveDate", "LastSaveDate"),
          Prop<&CExamination::last_save_time_>("LastSaveTime", "LastSaveTime"),
          Prop<&CExamination::number_of_curves_>("NumberOfCurves", "NumberOfCurves",
                                                 &NumberOfCurvesAccepted),
          Prop<&CExamination::scaling_>("Scaling", "Scaling"),
          Prop<&CExamination::test_explanation_>("TestExplanation", "TestExplanation"),
          Prop<&CExamination::test_name_>("TestName", "TestName"),
          Prop<&CExamination::test_number_>("TestNumber", "TestNumber"),
          Prop<&CExamination::test_type_>("TestType", "TestType"),
          Prop<&CExamination::program_version_>("ProgramVersion", "ProgramVersion"),
      },
      {Children<&CExamination::curves_>("Curves", "AddCurve", "ResetCurves")});
  return info;
}

}  // namespace tympora
