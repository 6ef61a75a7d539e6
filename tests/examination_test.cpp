#include "tympora/records/examination.hpp"

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "record_suite.hpp"
#include "tympora/node/conversions.hpp"

namespace tympora {
namespace {
using testing::ChildNamed;
using testing::ErrorOf;
using testing::ExportElement;
using testing::ExportsNull;
using testing::ImportText;
using testing::LocaleGuard;
using testing::Parse;

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

std::vector<int32_t> CurveIds(const CExamination& e) {
  std::vector<int32_t> ids;
  for (const auto& curve : *e.Curves()) ids.push_back(curve->ID());
  return ids;
}

std::string Calendar(Date d) {
  const DateParts p = SplitDate(d);
  char text[32];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", p.year, p.month, p.day, p.hour,
                p.minute, p.second);
  return text;
}

TEST(ExaminationTest, NegativeNumberOfCurvesIsIgnoredByEveryWayIn) {
  using Way = std::function<void(CExamination&, const std::string&, int32_t)>;
  const std::vector<std::pair<std::string, Way>> ways = {
      {"setter", [](CExamination& e, const std::string&, int32_t v) { e.NumberOfCurves(v); }},
      {"PropertyByName number", [](CExamination& e, const std::string&,
                                   int32_t v) { e.PropertyByName("NumberOfCurves", Variant(v)); }},
      {"PropertyByName text", [](CExamination& e, const std::string& text,
                                 int32_t) { e.PropertyByName("NumberOfCurves", Variant(text)); }},
      {"import",
       [](CExamination& e, const std::string& text, int32_t) {
         ASSERT_EQ(ImportText(e, "<Examination><NumberOfCurves>" + text +
                                     "</NumberOfCurves></Examination>")
                       ->Number(),
                   0);
       }},
  };
  const struct {
    std::string text;
    int32_t value;  // the text as a 32-bit number
    bool stored;
  } rows[] = {
      {"-2", -2, false},   {"-1", -1, false}, {"-2147483648", INT32_MIN, false},
      {"-1.5", -2, false}, {"0", 0, true},    {"-0.5", 0, true},
      {"7", 7, true},      {"2.5", 2, true},
  };
  for (const auto& [way_name, way] : ways) {
    for (const auto& row : rows) {
      for (const bool held : {false, true}) {
        SCOPED_TRACE(way_name + " " + row.text + (held ? " over 3" : " over Null"));
        CExamination e;
        if (held) e.NumberOfCurves(3);
        way(e, row.text, row.value);
        EXPECT_EQ(e.NumberOfCurves(), row.stored ? row.value : (held ? 3 : 0));
        EXPECT_EQ(ExportsNull(e, "NumberOfCurves"), !row.stored && !held);
      }
    }
  }
}

TEST(ExaminationTest, NumberOfCurvesStaysAsSetWhateverHappensToCurves) {
  CExamination e;
  e.NumberOfCurves(5);
  for (int32_t id : {1, 2}) {
    auto curve = std::make_shared<CCurve>();
    curve->ID(id);
    e.AddCurve(curve);
  }
  DOMElement element = ExportElement(e);
  EXPECT_EQ(ChildNamed(element, "NumberOfCurves").text(), "5");
  std::vector<std::string> shape = testing::Shape(element);
  ASSERT_GE(shape.size(), 7u);
  EXPECT_EQ(std::vector<std::string>(shape.end() - 7, shape.end()),
            (std::vector<std::string>{"CRLF", "Curve", "CRLF", "CRLF", "Curve", "CRLF", "CRLF"}));

  ASSERT_EQ(ImportText(e, "<Examination><Curve id='3'/><Curve id='4'/></Examination>")->Number(),
            0);
  EXPECT_EQ(CurveIds(e), (std::vector<int32_t>{1, 2, 3, 4}));
  EXPECT_EQ(e.NumberOfCurves(), 5);
  e.ResetCurves();
  EXPECT_EQ(e.NumberOfCurves(), 5);
  EXPECT_FALSE(ExportsNull(e, "NumberOfCurves"));
}

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

TEST(ExaminationTest, DatesRoundTripToTheSecondInEveryLocale) {
  const Date dates[] = {
      MakeDate(2026, 3, 14),               // midnight: written as the date alone
      MakeDate(2026, 3, 14, 23, 59, 59),   // the last second of a day
      MakeDate(1899, 12, 30, 14, 30, 15),  // day 0: written as the time alone
      MakeDate(1899, 12, 30, 0, 0, 1),     // day 0, one second past midnight
      MakeDate(9999, 12, 31, 23, 59, 59),  // the last second there is
      MakeDate(1900, 2, 28, 12, 0, 0),     // noon, in a 12-hour form too
  };
  for (const char* locale : {"C", "en_US.UTF-8", "de_DE.UTF-8"}) {
    LocaleGuard guard(locale);
    for (size_t i = 0; i < std::size(dates); ++i) {
      const Date create = dates[i];
      const Date last_save = dates[(i + 1) % std::size(dates)];
      SCOPED_TRACE(std::string(locale) + " " + Calendar(create) + " / " + Calendar(last_save));
      CExamination original;
      original.CreateDate(create);
      original.LastSaveDate(last_save);
      DOMElement element = ExportElement(original);
      CExamination copy;
      ASSERT_EQ(copy.ImportXMLNode(element)->Number(), 0);
      EXPECT_EQ(Calendar(copy.CreateDate()), Calendar(create))
          << ChildNamed(element, "CreateDate").text();
      EXPECT_EQ(Calendar(copy.LastSaveDate()), Calendar(last_save))
          << ChildNamed(element, "LastSaveDate").text();
      EXPECT_FALSE(ExportsNull(copy, "CreateDate"));
      EXPECT_FALSE(ExportsNull(copy, "LastSaveDate"));
    }
  }
}

TEST(ExaminationTest, ImportSkipsOtherLetterCaseAndReadsPrefixedNames) {
  CExamination e;
  ASSERT_EQ(
      ImportText(e,
                 "<Examination xmlns:m='urn:m'><curve id='1'/><CURVE id='2'/><Ear>2</Ear>"
                 "<earID>2</earID><comment>c</comment><m:Curve id='3'/><m:Doctor>Who</m:Doctor>"
                 "</Examination>")
          ->Number(),
      0);
  EXPECT_EQ(CurveIds(e), std::vector<int32_t>{3});
  EXPECT_TRUE(ExportsNull(e, "EarID"));
  EXPECT_TRUE(ExportsNull(e, "Comment"));
  EXPECT_EQ(e.Doctor(), "Who");
}

TEST(ExaminationTest, ImportStopsAtTheFirstFailingCurve) {
  // Every row starts from an examination that already holds curve 9 and
  // reads "<Comment>early</Comment>" + curves + "<Doctor>late</Doctor>".
  const struct {
    std::string name;
    std::string curves;
    int32_t number;
    std::vector<int32_t> ids;
  } rows[] = {
      {"two curves", "<Curve id='1'/><Curve id='2'/>", 0, {9, 1, 2}},
      {"null-marked curve skipped", "<Curve id='1' null='true'/><Curve id='1'/>", 0, {9, 1}},
      {"same id twice", "<Curve id='1'/><Curve id='1'/><Curve id='2'/>", kErrDuplicateKey, {9, 1}},
      {"id already held", "<Curve id='9'/><Curve id='2'/>", kErrDuplicateKey, {9}},
      {"duplicate point inside",
       "<Curve id='1'/><Curve id='2'><CurveDatum id='4'/><CurveDatum id='4'/></Curve>",
       kErrDuplicateKey,
       {9, 1}},
      {"id beyond 32 bits", "<Curve id='1'/><Curve id='3000000000'/>", kErrOverflow, {9, 1}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    CExamination e;
    auto held = std::make_shared<CCurve>();
    held->ID(9);
    e.AddCurve(held);
    StatusPtr status = ImportText(e, "<Examination id='6'><Comment>early</Comment>" + row.curves +
                                         "<Doctor>late</Doctor></Examination>");
    EXPECT_EQ(status->Number(), row.number) << status->Description();
    EXPECT_EQ(CurveIds(e), row.ids);
    EXPECT_EQ(e.ID(), 6);
    EXPECT_EQ(e.Comment(), "early");
    EXPECT_EQ(ExportsNull(e, "Doctor"), row.number != 0) << "later children are not read";
  }
}

TEST(ExaminationTest, ResetCurvesAndResetClearTheCurvesACallerStillHolds) {
  const std::vector<std::pair<std::string, std::function<void(CExamination&)>>> ways = {
      {"ResetCurves", [](CExamination& e) { e.ResetCurves(); }},
      {"Reset", [](CExamination& e) { e.Reset(); }},
  };
  for (const auto& [name, reset] : ways) {
    SCOPED_TRACE(name);
    CExamination e;
    e.ID(3);
    e.NumberOfCurves(2);
    auto curve = std::make_shared<CCurve>();
    curve->ID(4);
    curve->Name("left");
    auto point = std::make_shared<CCurveDatum>();
    point->ID(1);
    point->Frequency(440);
    auto distortion = std::make_shared<CDistortionDatum>();
    distortion->ID(2);
    distortion->Distortion(1.5);
    curve->AddCurveDatum(point);
    curve->AddDistortionDatum(distortion);
    e.AddCurve(curve);
    const CollectionPtr<CCurve> old_list = e.Curves();
    EXPECT_EQ(e.Curves(), old_list) << "the live list until the next reset";

    reset(e);
    EXPECT_EQ(old_list->Count(), 0);
    ASSERT_TRUE(e.Curves());
    EXPECT_NE(e.Curves(), old_list);
    EXPECT_EQ(e.Curves()->Count(), 0);
    EXPECT_EQ(curve->ID(), 0);
    EXPECT_EQ(curve->Name(), "");
    EXPECT_EQ(curve->CurveData()->Count(), 0);
    EXPECT_EQ(curve->DistortionData()->Count(), 0);
    EXPECT_EQ(point->ID(), 0);
    EXPECT_EQ(point->Frequency(), 0);
    EXPECT_EQ(distortion->ID(), 0);
    EXPECT_EQ(distortion->Distortion(), 0.0);
    EXPECT_EQ(e.ID(), name == "Reset" ? 0 : 3);
    EXPECT_EQ(ExportsNull(e, "NumberOfCurves"), name == "Reset");

    e.AddCurve(curve);  // the reset curve has ID 0, a key the new list does not hold
    EXPECT_EQ(CurveIds(e), std::vector<int32_t>{0});
  }
}

TEST(ExaminationTest, AddCurveSharesTheCurveUnderTheKeyOfItsIdAtAddTime) {
  CExamination e;
  auto first = std::make_shared<CCurve>();
  first->ID(12);
  e.AddCurve(first);
  first->ID(-3);  // the key stays "12"
  auto second = std::make_shared<CCurve>();
  second->ID(-3);
  e.AddCurve(second);
  auto third = std::make_shared<CCurve>();
  third->ID(12);
  EXPECT_EQ(ErrorOf([&] { e.AddCurve(third); }), kErrDuplicateKey);
  EXPECT_EQ(ErrorOf([&] { e.AddCurve(nullptr); }), kErrObjectNotSet);
  ASSERT_EQ(e.Curves()->Count(), 2);
  EXPECT_EQ(e.Curves()->Item(1), first);
  EXPECT_EQ(e.Curves()->Key(1), "12");
  EXPECT_EQ(e.Curves()->Item(2), second);
  EXPECT_EQ(e.Curves()->Key(2), "-3");
}

}  // namespace
}  // namespace tympora
