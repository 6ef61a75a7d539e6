#include "tympora/measurement/distortion_datum.hpp"

#include "record_suite.hpp"

namespace tympora {
namespace {

testing::RecordCase DistortionDatumCase() {
  testing::RecordCase c{
      "CDistortionDatum",
      [] { return std::make_shared<CDistortionDatum>(); },
      "DistortionDatum",
      [](RecordBase& r) {
        auto& d = static_cast<CDistortionDatum&>(r);
        d.Frequency(2500);
        d.Distortion(-0.25);
        d.Other(1.5E-05);
      },
      {{"Frequency", "2500"}, {"Distortion", "-.25"}, {"Other", "1.5E-05"}},
      {},
      {"DistortionVal", "distortion", "DISTORTION", "ID", "id", "Input", "MaxOutput", "Frequency "},
  };
  c.txt_source = "Function CNode_ExportTXT";
  return c;
}
INSTANTIATE_RECORD_SUITE(DistortionDatum, DistortionDatumCase());

class DistortionDatumTest : public ::testing::Test {
  testing::LocaleGuard locale_{"C"};
};

TEST_F(DistortionDatumTest, FrequencyKeepsOnlyZeroTo100000ByEveryWayIn) {
  const struct {
    int32_t value;
    bool stored;
  } rows[] = {{0, true}, {100000, true}, {100001, false}, {-1, false}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.value);
    CDistortionDatum direct, by_name, imported;
    direct.Frequency(row.value);
    by_name.PropertyByName("Frequency", Variant(row.value));
    DOMDocument doc = testing::Parse("<DistortionDatum><Frequency>" + std::to_string(row.value) +
                                     "</Frequency></DistortionDatum>");
    DOMElement root = doc.documentElement();
    ASSERT_EQ(imported.ImportXMLNode(root)->Number(), 0);
    for (CDistortionDatum* d : {&direct, &by_name, &imported}) {
      DOMDocument out;
      ASSERT_EQ(d->ExportXMLDocument(out)->Number(), 0);
      DOMNode frequency = testing::ChildNamed(out.documentElement(), "Frequency");
      EXPECT_EQ(IsNullNode(frequency), !row.stored) << "a refused value leaves the flag set";
      EXPECT_EQ(d->Frequency(), row.stored ? row.value : 0);
    }
  }
}

TEST_F(DistortionDatumTest, ImportOverlaysWhatTheElementHolds) {
  const struct {
    const char* children;
    double distortion;
    bool other_null;
  } rows[] = {
      {"<Distortion>.5</Distortion>", 0.5, false},  {"<Distortion></Distortion>", 3, false},
      {"<Distortion>n/a</Distortion>", 3, false},   {"<Other null=\"true\"/>", 3, true},
      {"<Other null=\"TRUE\">8</Other>", 3, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.children);
    CDistortionDatum d;
    d.Frequency(1000);
    d.Distortion(3);
    d.Other(8);
    DOMDocument doc =
        testing::Parse(std::string("<DistortionDatum>") + row.children + "</DistortionDatum>");
    DOMElement root = doc.documentElement();
    ASSERT_EQ(d.ImportXMLNode(root)->Number(), 0);
    EXPECT_EQ(d.Frequency(), 1000);
    EXPECT_EQ(d.Distortion(), row.distortion);
    EXPECT_EQ(d.Other(), row.other_null ? 0 : 8);
    DOMDocument out;
    ASSERT_EQ(d.ExportXMLDocument(out)->Number(), 0);
    EXPECT_EQ(IsNullNode(testing::ChildNamed(out.documentElement(), "Other")), row.other_null);
    EXPECT_FALSE(IsNullNode(testing::ChildNamed(out.documentElement(), "Frequency")));
  }
}

TEST_F(DistortionDatumTest, FrequencyBeyond32BitsEndsTheImportWithOverflow) {
  CDistortionDatum d;
  DOMDocument doc = testing::Parse(
      "<DistortionDatum id=\"4\"><Distortion>2</Distortion><Frequency>1E+10</Frequency>"
      "<Other>3</Other></DistortionDatum>");
  DOMElement root = doc.documentElement();
  EXPECT_EQ(d.ImportXMLNode(root)->Number(), kErrOverflow);
  EXPECT_EQ(d.ID(), 4);
  EXPECT_EQ(d.Distortion(), 2) << "values read before the failure stay";
  EXPECT_EQ(d.Other(), 0) << "children after the failure are not read";
}

}  // namespace
}  // namespace tympora
