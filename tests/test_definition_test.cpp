#include "tympora/records/test_definition.hpp"

#include <string>

#include "record_suite.hpp"
#include "tree.hpp"
#include "tympora/node/conversions.hpp"

namespace tympora {
namespace {
using testing::ExportsNull;
using testing::ImportText;
using testing::LocaleGuard;

testing::RecordCase TestDefinitionCase() {
  return {
      "CTestDefinition",
      [] { return std::make_shared<CTestDefinition>(); },
      "TestSession",
      [](RecordBase& r) {
        auto& t = static_cast<CTestDefinition&>(r);
        t.Percode(7);
        t.InsCode(-12);
        t.TestType("Coupler");
        t.TestExplanation("Gain at 2cc, both ears");
        t.TestDate(MakeDate(2025, 11, 2, 8, 5, 0));
        t.TestTime("8.05 h");
        t.Comment(" follow-up ");
        t.Deleted(true);
        t.TestTypeNumber(3);
      },
      {{"Comment", " follow-up "},
       {"Deleted", "True"},
       {"InsCode", "-12"},
       {"PerCode", "7"},
       {"TestDate", "2025-11-02 08:05:00"},
       {"TestExplanation", "Gain at 2cc, both ears"},
       {"TestTime", "8.05 h"},
       {"TestType", "Coupler"},
       {"TestTypeNumber", "3"}},
      {},
      {"Percode", "ID", "id", "Examinations", "deleted", "Testdate", "TestType "},
  };
}
INSTANTIATE_RECORD_SUITE(TestDefinition, TestDefinitionCase());
INSTANTIATE_CHILD_LIST_SUITE(TestDefinition,
                             testing::ListCase<CTestDefinition, CExamination>(
                                 "Examinations", "Examination", &CTestDefinition::AddExamination,
                                 &CTestDefinition::Examinations,
                                 &CTestDefinition::ResetExaminations,
                                 [](CExamination& e) {
                                   e.Comment("kept");
                                   e.AddCurve(std::make_shared<CCurve>());
                                 },
                                 "Comment"));

// A curve with every kind of value, some left Null, and two points of each kind.
std::shared_ptr<CCurve> MakeCurve(int32_t id, int32_t seed) {
  auto curve = std::make_shared<CCurve>();
  curve->ID(id);
  curve->CurveExp("exp " + std::to_string(seed));
  curve->Name(seed % 2 ? "left" : "right");
  curve->DateText("14.03.2026");
  curve->FxSourceAmp(seed * 0.25 - 1);
  curve->CurveNo(seed);
  curve->State(-seed);
  for (int32_t i = 1; i <= 2; ++i) {
    auto point = std::make_shared<CCurveDatum>();
    point->ID(i);
    point->Frequency(250 * (i + seed));
    point->InputVal(50 + i * 0.5);
    point->OutputVal(-1.5E-07 * i);
    if (i == 1) point->Other(1E+15);
    curve->AddCurveDatum(point);
    auto distortion = std::make_shared<CDistortionDatum>();
    distortion->ID(10 * i);
    distortion->Frequency(1000 * i);
    distortion->Distortion(0.125 * seed);
    curve->AddDistortionDatum(distortion);
  }
  return curve;
}

// A test session with two examinations of two curves each.
std::shared_ptr<CTestDefinition> MakeSession() {
  auto session = std::make_shared<CTestDefinition>();
  session->ID(1001);
  session->Percode(-7);
  session->InsCode(12);
  session->TestType("Insertion gain");
  session->TestDate(MakeDate(2026, 1, 31, 7, 5, 9));
  session->TestTime("07:05");
  session->Comment("M\xC3\xBCller & S\xC3\xB6hne <draft> \"a\"");
  session->Deleted(false);
  session->TestTypeNumber(2);
  for (int32_t id : {1, 2}) {
    auto examination = std::make_shared<CExamination>();
    examination->ID(id);
    examination->TestName("ISTS " + std::to_string(id));
    examination->Ear(id);
    examination->CreateDate(MakeDate(2026, 1, 31));
    examination->CreateTime("07:05:09");
    examination->NumberOfCurves(2);
    examination->ProgramVersion(4021);
    if (id == 1) {
      examination->LastSaveDate(MakeDate(2026, 2, 1, 23, 59, 59));
      examination->Comment("  spaced  ");
      examination->Scaling(-1);
    }
    examination->AddCurve(MakeCurve(10, id));
    examination->AddCurve(MakeCurve(-11, id + 2));
    session->AddExamination(examination);
  }
  return session;
}

TEST(TestDefinitionTest, ExportXMLPathWritesTheGoldenFileWhichReadsBack) {
  LocaleGuard guard("C");
  auto session = MakeSession();
  testing::TempDir dir;
  const std::string path = dir / "session.xml";
  StatusPtr status = session->ExportXMLPath(path);
  ASSERT_EQ(status->Number(), 0) << status->Description();
  EXPECT_TRUE(testing::MatchesGolden(
      std::filesystem::path(TYMPORA_TEST_DATA) / "test_definition.xml", testing::ReadFile(path)));

  CTestDefinition copy;
  ASSERT_EQ(copy.ImportXMLFile(path)->Number(), 0);
  EXPECT_EQ(support::CompareTrees(*session, copy), "");
}

TEST(TestDefinitionTest, DeletedReadsTrueExactlyWhenItsTextContainsTrue) {
  const struct {
    std::string element;
    bool value;
    bool null;
  } rows[] = {
      {"<Deleted>True</Deleted>", true, false},
      {"<Deleted>true</Deleted>", true, false},
      {"<Deleted>TRUE</Deleted>", true, false},
      {"<Deleted>untrue</Deleted>", true, false},
      {"<Deleted> tRuE? </Deleted>", true, false},
      {"<Deleted null='TRUE'>true</Deleted>", true, false},
      {"<Deleted>False</Deleted>", false, false},
      {"<Deleted>0</Deleted>", false, false},
      {"<Deleted>-1</Deleted>", false, false},
      {"<Deleted>tru e</Deleted>", false, false},
      {"<Deleted></Deleted>", false, false},
      {"<Deleted/>", false, false},
      {"<Deleted null='true'>true</Deleted>", false, true},
  };
  for (const auto& row : rows) {
    for (const int start : {0, 1, 2}) {  // Null, false, true
      SCOPED_TRACE(row.element + " over " + std::to_string(start));
      CTestDefinition t;
      if (start > 0) t.Deleted(start == 2);
      ASSERT_EQ(ImportText(t, "<TestSession>" + row.element + "</TestSession>")->Number(), 0);
      EXPECT_EQ(t.Deleted(), row.value);
      EXPECT_EQ(ExportsNull(t, "Deleted"), row.null);
    }
  }
  // PropertyByName converts by the boolean rules instead: -1 is true, and a
  // text that is no boolean fails.
  CTestDefinition t;
  t.PropertyByName("Deleted", Variant("-1"));
  EXPECT_TRUE(t.Deleted());
  EXPECT_EQ(testing::ErrorOf([&] { t.PropertyByName("Deleted", Variant("untrue")); }),
            kErrTypeMismatch);
  EXPECT_TRUE(t.Deleted());
}

}  // namespace
}  // namespace tympora
