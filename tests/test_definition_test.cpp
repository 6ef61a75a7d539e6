#include "tympora/records/test_definition.hpp"

#include <functional>
#include <string>
#include <vector>

#include "record_suite.hpp"
#include "tympora/node/conversions.hpp"

namespace tympora {
namespace {
using testing::ChildNamed;
using testing::ExportElement;
using testing::ExportsNull;
using testing::ImportText;
using testing::LocaleGuard;
using testing::Parse;

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

std::vector<int32_t> ExaminationIds(const CTestDefinition& t) {
  std::vector<int32_t> ids;
  for (const auto& examination : *t.Examinations()) ids.push_back(examination->ID());
  return ids;
}

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

// Compares the values and null flags of two records of one class. The
// properties are enumerated from the class's table; the golden file and the
// suite rows check the table's names.
void ExpectSameValues(const RecordBase& a, const RecordBase& b) {
  EXPECT_EQ(a.ID(), b.ID());
  for (const PropertyDef& p : a.Info().properties) {
    SCOPED_TRACE(std::string(a.Info().class_name) + " " + std::string(p.element));
    EXPECT_EQ(a.GetProperty(p), b.GetProperty(p));
    EXPECT_EQ(a.IsPropertyNull(p), b.IsPropertyNull(p));
  }
}

// Compares two lists element by element (keys, order) and each pair of elements with `each`.
template <class T, class Each>
void ExpectSameList(const CollectionPtr<T>& a, const CollectionPtr<T>& b, Each each) {
  ASSERT_EQ(a->Count(), b->Count());
  for (int32_t i = 1; i <= a->Count(); ++i) {
    SCOPED_TRACE("item " + std::to_string(i));
    EXPECT_EQ(a->Key(i), b->Key(i));
    ExpectSameValues(*a->Item(i), *b->Item(i));
    each(*a->Item(i), *b->Item(i));
  }
}

void ExpectSameTree(const CTestDefinition& a, const CTestDefinition& b) {
  ExpectSameValues(a, b);
  auto no_children = [](const RecordBase&, const RecordBase&) {};
  ExpectSameList(a.Examinations(), b.Examinations(),
                 [&](const CExamination& x, const CExamination& y) {
                   ExpectSameList(x.Curves(), y.Curves(), [&](const CCurve& c, const CCurve& d) {
                     ExpectSameList(c.CurveData(), d.CurveData(), no_children);
                     ExpectSameList(c.DistortionData(), d.DistortionData(), no_children);
                   });
                 });
}

TEST(TestDefinitionTest, SessionRoundTripsThroughADocument) {
  for (const char* locale : {"C", "de_DE.UTF-8"}) {
    SCOPED_TRACE(locale);
    LocaleGuard guard(locale);
    auto original = MakeSession();
    DOMDocument doc;
    ASSERT_EQ(original->ExportXMLDocument(doc)->Number(), 0);
    DOMElement root = doc.documentElement();
    CTestDefinition copy;
    StatusPtr status = copy.ImportXMLNode(root);
    ASSERT_EQ(status->Number(), 0) << status->Description();
    ExpectSameTree(*original, copy);
    EXPECT_EQ(ExportElement(copy).xml(), root.xml());
  }
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

  DOMDocument doc = DOMDocument::New();
  ASSERT_TRUE(doc.load(path)) << doc.parseError().reason;
  DOMElement root = doc.documentElement();
  CTestDefinition copy;
  ASSERT_EQ(copy.ImportXMLNode(root)->Number(), 0);
  ExpectSameTree(*session, copy);
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

TEST(TestDefinitionTest, TestDateThatIsNoDateLeavesValueAndFlag) {
  const Date held = MakeDate(2024, 2, 29, 12, 0, 1);
  for (const char* locale : {"C", "en_US.UTF-8", "de_DE.UTF-8"}) {
    LocaleGuard guard(locale);
    for (const std::string text : {"abc", "", "31.02.2026", "2026-02-31", "02/31/2026"}) {
      for (const bool was_set : {false, true}) {
        SCOPED_TRACE(std::string(locale) + " '" + text + "'" + (was_set ? " over a date" : ""));
        CTestDefinition t;
        if (was_set) t.TestDate(held);
        ASSERT_EQ(ImportText(t, "<TestSession><TestDate>" + text + "</TestDate><TestTime>" + text +
                                    "</TestTime></TestSession>")
                      ->Number(),
                  0);
        EXPECT_EQ(t.TestDate(), was_set ? held : Date());
        EXPECT_EQ(ExportsNull(t, "TestDate"), !was_set);
        EXPECT_EQ(t.TestTime(), text) << "a time is plain text";
        EXPECT_FALSE(ExportsNull(t, "TestTime"));
      }
    }
  }
}

TEST(TestDefinitionTest, ImportSkipsOtherLetterCaseAndReadsPrefixedNames) {
  CTestDefinition t;
  ASSERT_EQ(ImportText(t,
                       "<TestSession xmlns:p='urn:p'><Percode>7</Percode><comment>c</comment>"
                       "<examination id='1'/><EXAMINATION id='2'/><TestSession id='4'/>"
                       "<p:Examination id='3'/><p:PerCode>8</p:PerCode></TestSession>")
                ->Number(),
            0);
  EXPECT_EQ(ExaminationIds(t), std::vector<int32_t>{3});
  EXPECT_EQ(t.Percode(), 8);
  EXPECT_TRUE(ExportsNull(t, "Comment"));
}

TEST(TestDefinitionTest, FailureThreeLevelsDownStopsTheImport) {
  CTestDefinition t;
  StatusPtr status = ImportText(t,
                                "<TestSession id='5'><Comment>before</Comment>"
                                "<Examination id='1'><Curve id='1'><CurveDatum id='1'/></Curve>"
                                "</Examination>"
                                "<Examination id='2'><TestName>partial</TestName><Curve id='1'/>"
                                "<Curve id='2'><DistortionDatum id='3'/><DistortionDatum id='3'/>"
                                "</Curve></Examination>"
                                "<Examination id='3'/><TestType>after</TestType></TestSession>");
  EXPECT_EQ(status->Number(), kErrDuplicateKey);
  EXPECT_EQ(status->Description(),
            "This key is already associated with an element of this collection");
  EXPECT_EQ(t.ID(), 5);
  EXPECT_EQ(t.Comment(), "before");
  ASSERT_EQ(ExaminationIds(t), std::vector<int32_t>{1});
  const auto& kept = t.Examinations()->Item(1);
  ASSERT_EQ(kept->Curves()->Count(), 1);
  EXPECT_EQ(kept->Curves()->Item(1)->CurveData()->Count(), 1);
  EXPECT_TRUE(ExportsNull(t, "TestType")) << "later children are not read";
}

TEST(TestDefinitionTest, ImportStopsAtTheFirstExaminationThatCannotBeAdded) {
  // Every row starts from a session that already holds examination 9 and
  // reads "<Comment>early</Comment>" + examinations + "<TestType>late</TestType>".
  const struct {
    std::string name;
    std::string examinations;
    int32_t number;
    std::vector<int32_t> ids;
  } rows[] = {
      {"two without id", "<Examination/><Examination/>", kErrDuplicateKey, {9, 0}},
      {"same id twice",
       "<Examination id='4'/><Examination id='4'/><Examination id='5'/>",
       kErrDuplicateKey,
       {9, 4}},
      {"id already held", "<Examination id='9'/><Examination id='5'/>", kErrDuplicateKey, {9}},
      {"null-marked skipped", "<Examination null='true'/><Examination/>", 0, {9, 0}},
      {"distinct ids", "<Examination id='-3'/><Examination id='12.5'/>", 0, {9, -3, 12}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    CTestDefinition t;
    auto held = std::make_shared<CExamination>();
    held->ID(9);
    t.AddExamination(held);
    StatusPtr status = ImportText(t, "<TestSession><Comment>early</Comment>" + row.examinations +
                                         "<TestType>late</TestType></TestSession>");
    EXPECT_EQ(status->Number(), row.number) << status->Description();
    EXPECT_EQ(ExaminationIds(t), row.ids);
    EXPECT_EQ(t.Examinations()->Item(1), held);
    EXPECT_EQ(t.Comment(), "early");
    EXPECT_EQ(ExportsNull(t, "TestType"), row.number != 0) << "later children are not read";
  }
}

TEST(TestDefinitionTest, ResetExaminationsAndResetClearWhatACallerStillHolds) {
  const std::vector<std::pair<std::string, std::function<void(CTestDefinition&)>>> ways = {
      {"ResetExaminations", [](CTestDefinition& t) { t.ResetExaminations(); }},
      {"Reset", [](CTestDefinition& t) { t.Reset(); }},
  };
  for (const auto& [name, reset] : ways) {
    SCOPED_TRACE(name);
    auto session = MakeSession();
    const CollectionPtr<CExamination> old_list = session->Examinations();
    EXPECT_EQ(session->Examinations(), old_list) << "the live list until the next reset";
    std::vector<std::shared_ptr<CExamination>> examinations;
    for (const auto& examination : *old_list) examinations.push_back(examination);
    const auto curve = examinations[1]->Curves()->Item(2);
    const auto point = curve->CurveData()->Item(1);
    const auto distortion = curve->DistortionData()->Item(2);

    reset(*session);
    EXPECT_EQ(old_list->Count(), 0);
    ASSERT_TRUE(session->Examinations());
    EXPECT_NE(session->Examinations(), old_list);
    EXPECT_EQ(session->Examinations()->Count(), 0);
    for (const auto& examination : examinations) {
      EXPECT_EQ(examination->ID(), 0);
      EXPECT_EQ(examination->TestName(), "");
      EXPECT_EQ(examination->Curves()->Count(), 0);
    }
    EXPECT_EQ(curve->ID(), 0);
    EXPECT_EQ(curve->Name(), "");
    EXPECT_EQ(curve->CurveData()->Count(), 0);
    EXPECT_EQ(curve->DistortionData()->Count(), 0);
    EXPECT_EQ(point->ID(), 0);
    EXPECT_EQ(point->Frequency(), 0);
    EXPECT_EQ(distortion->ID(), 0);
    EXPECT_EQ(distortion->Frequency(), 0);
    EXPECT_EQ(session->ID(), name == "Reset" ? 0 : 1001);
    EXPECT_EQ(ExportsNull(*session, "TestType"), name == "Reset");
  }
}

}  // namespace
}  // namespace tympora
