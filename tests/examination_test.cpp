#include "tympora/records/examination.hpp"

#include <string>

#include "record_suite.hpp"
#include "tympora/node/conversions.hpp"

namespace tympora {
namespace {
using testing::ExportsNull;
using testing::Prop;

testing::RecordCase ExaminationCase() {
  using E = CExamination;
  return testing::Case<CExamination>(
      "CExamination", "Examination",
      {Prop(&E::AidClass, "AidClass", "-2", -2),
       Prop(&E::AnalyzerAidType, "AnalyzerAidType", "3", 3),
       Prop(&E::Category, "Category", "2147483647", 2147483647),
       Prop(&E::Comment, "Comment", " two  blanks "),
       Prop(&E::CreateDate, "CreateDate", "2026-03-14 09:26:53", MakeDate(2026, 3, 14, 9, 26, 53)),
       Prop(&E::CreateTime, "CreateTime", "9:26 am"), Prop(&E::Doctor, "Doctor", "Dr. O'Neil"),
       Prop(&E::Ear, "EarID", "2", 2),
       Prop(&E::LastSaveDate, "LastSaveDate", "1999-12-31", MakeDate(1999, 12, 31)),
       Prop(&E::LastSaveTime, "LastSaveTime", "not a time"),
       Prop(&E::NumberOfCurves, "NumberOfCurves", "5", 5),
       Prop(&E::Scaling, "Scaling", "-2147483648", -2147483647 - 1),
       Prop(&E::TestExplanation, "TestExplanation", "Speech in noise"),
       Prop(&E::TestName, "TestName", "ISTS"), Prop(&E::TestNumber, "TestNumber", "17", 17),
       Prop(&E::TestType, "TestType", "REM"),
       Prop(&E::ProgramVersion, "ProgramVersion", "4021", 4021)},
      {}, {"Ear", "ID", "id", "Curves", "earID", "EarId", "NumberOfCurves ", "programVersion"});
}
INSTANTIATE_RECORD_SUITE(Examination, ExaminationCase());
INSTANTIATE_CHILD_LIST_SUITE(Examination, testing::ListCase<CExamination, CCurve>(
                                              "Curves", "Curve", &CExamination::AddCurve,
                                              &CExamination::Curves, &CExamination::ResetCurves,
                                              [](CCurve& c) { c.Name("kept"); }, "Comment"));

TEST(ExaminationTest, DateElementsThatAreNoDatesLeaveValueAndFlag) {
  const Date held = MakeDate(2024, 2, 29, 12, 0, 1);
  for (const char* locale : {"C", "en_US.UTF-8", "de_DE.UTF-8"}) {
    testing::LocaleGuard guard(locale);
    for (const std::string text : {"abc", "", "31.02.2026", "2026-02-31", "02/31/2026", "25:00"}) {
      for (const bool was_set : {false, true}) {
        SCOPED_TRACE(std::string(locale) + " '" + text + "'" + (was_set ? " over a date" : ""));
        CExamination e;
        if (was_set) e.LastSaveDate(held);
        ASSERT_EQ(testing::ImportText(
                      e, "<Examination><CreateDate>" + text + "</CreateDate><LastSaveDate>" + text +
                             "</LastSaveDate><CreateTime>" + text + "</CreateTime></Examination>")
                      ->Number(),
                  0);
        EXPECT_TRUE(ExportsNull(e, "CreateDate"));
        EXPECT_EQ(ExportsNull(e, "LastSaveDate"), !was_set);
        EXPECT_EQ(e.LastSaveDate(), was_set ? held : Date());
        EXPECT_EQ(e.CreateTime(), text) << "a time is plain text";
        EXPECT_FALSE(ExportsNull(e, "CreateTime"));
      }
    }
  }
}

}  // namespace
}  // namespace tympora
