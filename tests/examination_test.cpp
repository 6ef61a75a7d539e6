#include "tympora/records/examination.hpp"

#include <string>

#include "record_suite.hpp"
#include "tympora/node/conversions.hpp"

namespace tympora {
namespace {
using testing::ExportsNull;
using testing::ImportText;
using testing::LocaleGuard;

testing::RecordCase ExaminationCase() {
  return {
      "CExamination",
      [] { return std::make_shared<CExamination>(); },
      "Examination",
      [](RecordBase& r) {
        auto& e = static_cast<CExamination&>(r);
        e.AidClass(-2);
        e.AnalyzerAidType(3);
        e.Category(2147483647);
        e.Comment(" two  blanks ");
        e.CreateDate(MakeDate(2026, 3, 14, 9, 26, 53));
        e.CreateTime("9:26 am");
        e.Doctor("Dr. O'Neil");
        e.Ear(2);
        e.LastSaveDate(MakeDate(1999, 12, 31));
        e.LastSaveTime("not a time");
        e.NumberOfCurves(5);
        e.Scaling(-2147483647 - 1);
        e.TestExplanation("Speech in noise");
        e.TestName("ISTS");
        e.TestNumber(17);
        e.TestType("REM");
        e.ProgramVersion(4021);
      },
      {{"AidClass", "-2"},
       {"AnalyzerAidType", "3"},
       {"Category", "2147483647"},
       {"Comment", " two  blanks "},
       {"CreateDate", "2026-03-14 09:26:53"},
       {"CreateTime", "9:26 am"},
       {"Doctor", "Dr. O'Neil"},
       {"EarID", "2"},
       {"LastSaveDate", "1999-12-31"},
       {"LastSaveTime", "not a time"},
       {"NumberOfCurves", "5"},
       {"Scaling", "-2147483648"},
       {"TestExplanation", "Speech in noise"},
       {"TestName", "ISTS"},
       {"TestNumber", "17"},
       {"TestType", "REM"},
       {"ProgramVersion", "4021"}},
      {},
      {"Ear", "ID", "id", "Curves", "earID", "EarId", "NumberOfCurves ", "programVersion"},
  };
}
INSTANTIATE_RECORD_SUITE(Examination, ExaminationCase());
INSTANTIATE_CHILD_LIST_SUITE(Examination, testing::ListCase<CExamination, CCurve>(
                                              "Curves", "Curve", &CExamination::AddCurve,
                                              &CExamination::Curves, &CExamination::ResetCurves,
                                              [](CCurve& c) {
                                                c.Name("kept");
                                                c.AddCurveDatum(std::make_shared<CCurveDatum>());
                                              },
                                              "Comment"));

TEST(ExaminationTest, DateElementsThatAreNoDatesLeaveValueAndFlag) {
  const Date held = MakeDate(2024, 2, 29, 12, 0, 1);
  for (const char* locale : {"C", "en_US.UTF-8", "de_DE.UTF-8"}) {
    LocaleGuard guard(locale);
    for (const std::string text : {"abc", "", "31.02.2026", "2026-02-31", "02/31/2026", "25:00"}) {
      for (const bool was_set : {false, true}) {
        SCOPED_TRACE(std::string(locale) + " '" + text + "'" + (was_set ? " over a date" : ""));
        CExamination e;
        if (was_set) e.LastSaveDate(held);
        ASSERT_EQ(ImportText(e, "<Examination><CreateDate>" + text + "</CreateDate><LastSaveDate>" +
                                    text + "</LastSaveDate><CreateTime>" + text +
                                    "</CreateTime></Examination>")
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
