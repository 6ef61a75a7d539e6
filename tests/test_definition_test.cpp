#include "tympora/records/test_definition.hpp"

#include <string>
#include <vector>

#include "record_suite.hpp"
#include "tympora/node/conversions.hpp"

namespace tympora {
namespace {
using testing::ExportsNull;
using testing::ImportText;
using testing::Prop;

testing::RecordCase TestDefinitionCase() {
  using T = CTestDefinition;
  return testing::Case<CTestDefinition>(
      "CTestDefinition", "TestSession",
      {Prop(&T::Comment, "Comment", " follow-up "), Prop(&T::Deleted, "Deleted", "True", true),
       Prop(&T::InsCode, "InsCode", "-12", -12), Prop(&T::Percode, "PerCode", "7", 7),
       Prop(&T::TestDate, "TestDate", "2025-11-02 08:05:00", MakeDate(2025, 11, 2, 8, 5, 0)),
       Prop(&T::TestExplanation, "TestExplanation", "Gain at 2cc, both ears"),
       Prop(&T::TestTime, "TestTime", "8.05 h"), Prop(&T::TestType, "TestType", "Coupler"),
       Prop(&T::TestTypeNumber, "TestTypeNumber", "3", 3)},
      {}, {"Percode", "ID", "id", "Examinations", "deleted", "Testdate", "TestType "});
}
INSTANTIATE_RECORD_SUITE(TestDefinition, TestDefinitionCase());
INSTANTIATE_CHILD_LIST_SUITE(TestDefinition,
                             testing::ListCase<CTestDefinition, CExamination>(
                                 "Examinations", "Examination", &CTestDefinition::AddExamination,
                                 &CTestDefinition::Examinations,
                                 &CTestDefinition::ResetExaminations,
                                 [](CExamination& e) { e.Comment("kept"); }, "Comment"));

TEST(TestDefinitionTest, DeletedReadsTrueExactlyWhenItsTextContainsTrue) {
  // The elements that read true, then those that read false; only
  // null='true' makes it Null.
  const std::pair<bool, std::vector<std::string>> rows[] = {
      {true,
       {"<Deleted>True</Deleted>", "<Deleted>true</Deleted>", "<Deleted>TRUE</Deleted>",
        "<Deleted>untrue</Deleted>", "<Deleted> tRuE? </Deleted>",
        "<Deleted null='TRUE'>true</Deleted>"}},
      {false,
       {"<Deleted>False</Deleted>", "<Deleted>0</Deleted>", "<Deleted>-1</Deleted>",
        "<Deleted>tru e</Deleted>", "<Deleted></Deleted>", "<Deleted/>",
        "<Deleted null='true'>true</Deleted>"}},
  };
  for (const auto& [value, elements] : rows) {
    for (const std::string& element : elements) {
      for (const int start : {0, 1, 2}) {  // Null, false, true
        SCOPED_TRACE(element + " over " + std::to_string(start));
        CTestDefinition t;
        if (start > 0) t.Deleted(start == 2);
        ASSERT_EQ(ImportText(t, "<TestSession>" + element + "</TestSession>")->Number(), 0);
        EXPECT_EQ(t.Deleted(), value);
        EXPECT_EQ(ExportsNull(t, "Deleted"), element.find("null='true'") != std::string::npos);
      }
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
