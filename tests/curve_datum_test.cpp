#include "tympora/measurement/curve_datum.hpp"

#include "record_suite.hpp"

namespace tympora {
namespace {
using testing::ErrorOf;

testing::RecordCase CurveDatumCase() {
  return {
      "CCurveDatum",
      [] { return std::make_shared<CCurveDatum>(); },
      "CurveDatum",
      [](RecordBase& r) {
        auto& d = static_cast<CCurveDatum&>(r);
        d.InputVal(-0.25);
        d.OutputVal(1.5E-07);
        d.maxOutputVal(120.125);
        d.minOutputVal(1E+15);
        d.Frequency(100000);
        d.Other(123456789012345.0);
      },
      {{"Input", "-.25"},
       {"Output", "1.5E-07"},
       {"MaxOutput", "120.125"},
       {"MinOutput", "1E+15"},
       {"Frequency", "100000"},
       {"Other", "123456789012345"}},
      {{"InputVal", "Input"},
       {"OutputVal", "Output"},
       {"MaxOutputVal", "MaxOutput"},
       {"MinOutputVal", "MinOutput"}},
      {"maxOutputVal", "minOutputVal", "ID", "id", "input", "frequency", "Frequency "},
  };
}
INSTANTIATE_RECORD_SUITE(CurveDatum, CurveDatumCase());

TEST(CurveDatumTest, FrequencySetterKeepsOnlyZeroTo100000ByEveryWayIn) {
  const struct {
    int32_t value;
    bool stored;
  } rows[] = {{0, true},       {100000, true}, {440, true},
              {100001, false}, {-1, false},    {INT32_MIN, false}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.value);
    CCurveDatum direct, by_name, imported;
    direct.Frequency(row.value);
    by_name.PropertyByName("Frequency", Variant(row.value));
    DOMDocument doc = testing::Parse("<CurveDatum><Frequency>" + std::to_string(row.value) +
                                     "</Frequency></CurveDatum>");
    DOMElement root = doc.documentElement();
    ASSERT_EQ(imported.ImportXMLNode(root)->Number(), 0);
    for (CCurveDatum* d : {&direct, &by_name, &imported}) {
      EXPECT_EQ(d->Frequency(), row.stored ? row.value : 0);
      EXPECT_EQ(d->PropertyByName("Frequency").AsInt32(), row.stored ? row.value : 0);
    }
  }
}

TEST(CurveDatumTest, FrequencyByNameRoundsHalfToEven) {
  CCurveDatum d;
  d.PropertyByName("Frequency", Variant(440.5));
  EXPECT_EQ(d.Frequency(), 440);
  d.PropertyByName("Frequency", Variant(441.5));
  EXPECT_EQ(d.Frequency(), 442);
  EXPECT_EQ(ErrorOf([&] { d.PropertyByName("Frequency", Variant(3e9)); }), kErrOverflow);
  EXPECT_EQ(d.Frequency(), 442);
}

TEST(CurveDatumTest, ImportReadsNumbersAndSkipsWhatIsNoNumber) {
  CCurveDatum d;
  d.minOutputVal(7);
  DOMDocument doc = testing::Parse(
      "<CurveDatum id='12.5'><Input>1.5E-07</Input><Output>n/a</Output>"
      "<Frequency>100001</Frequency><Other null='true'/></CurveDatum>");
  DOMElement root = doc.documentElement();
  ASSERT_EQ(d.ImportXMLNode(root)->Number(), 0);
  EXPECT_EQ(d.ID(), 12);
  EXPECT_EQ(d.InputVal(), 1.5E-07);
  EXPECT_EQ(d.OutputVal(), 0.0);
  EXPECT_EQ(d.Frequency(), 0);
  EXPECT_EQ(d.minOutputVal(), 7) << "a missing element keeps its value";

  DOMDocument big = testing::Parse(
      "<CurveDatum><Input>2</Input><Frequency>1E+10</Frequency>"
      "<Other>3</Other></CurveDatum>");
  DOMElement big_root = big.documentElement();
  StatusPtr status = d.ImportXMLNode(big_root);
  EXPECT_EQ(status->Number(), kErrOverflow);
  EXPECT_EQ(d.InputVal(), 2) << "values read before the failure stay";
  EXPECT_EQ(d.Other(), 0) << "values after the failure are not read";
}

}  // namespace
}  // namespace tympora
