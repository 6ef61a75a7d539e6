#include "tympora/measurement/curve_datum.hpp"

#include "record_suite.hpp"
#include "tympora/measurement/distortion_datum.hpp"
#include "tympora/records/examination.hpp"

namespace tympora {
namespace {
using testing::Prop;

testing::RecordCase CurveDatumCase() {
  return testing::Case<CCurveDatum>(
      "CCurveDatum", "CurveDatum",
      {Prop(&CCurveDatum::InputVal, "Input", "-.25", -0.25),
       Prop(&CCurveDatum::OutputVal, "Output", "1.5E-07", 1.5E-07),
       Prop(&CCurveDatum::maxOutputVal, "MaxOutput", "120.125", 120.125),
       Prop(&CCurveDatum::minOutputVal, "MinOutput", "1E+15", 1E+15),
       Prop(&CCurveDatum::Frequency, "Frequency", "100000", 100000),
       Prop(&CCurveDatum::Other, "Other", "123456789012345", 123456789012345.0)},
      {{"InputVal", "Input"},
       {"OutputVal", "Output"},
       {"MaxOutputVal", "MaxOutput"},
       {"MinOutputVal", "MinOutput"}},
      {"maxOutputVal", "minOutputVal", "ID", "id", "input", "frequency", "Frequency "});
}

testing::RecordCase DistortionDatumCase() {
  return testing::Case<CDistortionDatum>(
      "CDistortionDatum", "DistortionDatum",
      {Prop(&CDistortionDatum::Frequency, "Frequency", "2500", 2500),
       Prop(&CDistortionDatum::Distortion, "Distortion", "-.25", -0.25),
       Prop(&CDistortionDatum::Other, "Other", "1.5E-05", 1.5E-05)},
      {},
      {"DistortionVal", "distortion", "DISTORTION", "ID", "id", "Input", "MaxOutput", "Frequency "},
      "Function CNode_ExportTXT");
}
INSTANTIATE_RECORD_SUITE(Points, CurveDatumCase(), DistortionDatumCase());

// A property that keeps only some values keeps them however they come: a
// value outside leaves it as it was, Null or `held`. Each row is a text, the
// text as a 32-bit number, and whether it is kept.
using KeptRows = std::vector<std::tuple<std::string, int32_t, bool>>;
template <class R>
void ExpectOnlyKept(const std::string& name, void (R::*set)(int32_t), int32_t (R::*get)() const,
                    int32_t held, const KeptRows& rows) {
  for (const std::string way : {"setter", "number by name", "text by name", "import"}) {
    for (const auto& [text, value, kept] : rows) {
      for (const bool over : {false, true}) {
        SCOPED_TRACE(way + " " + text + (over ? " over a value" : " over Null"));
        R r;
        if (over) (r.*set)(held);
        if (way == "setter") (r.*set)(value);
        if (way == "number by name") r.PropertyByName(name, Variant(value));
        if (way == "text by name") r.PropertyByName(name, Variant(text));
        if (way == "import") {
          const std::string xml = "<R><" + name + ">" + text + "</" + name + "></R>";
          ASSERT_EQ(testing::ImportText(r, xml)->Number(), 0);
        }
        const int32_t expected = kept ? value : over ? held : 0;
        EXPECT_EQ((r.*get)(), expected);
        EXPECT_EQ(r.PropertyByName(name).AsInt32(), expected);
        EXPECT_EQ(testing::ExportsNull(r, name), !kept && !over);
      }
    }
  }
}

// Both kinds of point keep a frequency of 0 to 100000 only; an examination
// keeps no negative number of curves.
TEST(CurveDatumTest, PropertiesKeepOnlyTheirValuesByEveryWayIn) {
  const KeptRows frequencies = {{"0", 0, true},     {"100000", 100000, true},
                                {"440", 440, true}, {"100001", 100001, false},
                                {"-1", -1, false},  {"-2147483648", INT32_MIN, false}};
  const KeptRows curves = {
      {"-2", -2, false},   {"-1", -1, false}, {"-2147483648", INT32_MIN, false},
      {"-1.5", -2, false}, {"0", 0, true},    {"-0.5", 0, true},
      {"7", 7, true},      {"2.5", 2, true}};
  ExpectOnlyKept<CCurveDatum>("Frequency", &CCurveDatum::Frequency, &CCurveDatum::Frequency, 250,
                              frequencies);
  ExpectOnlyKept<CDistortionDatum>("Frequency", &CDistortionDatum::Frequency,
                                   &CDistortionDatum::Frequency, 250, frequencies);
  ExpectOnlyKept<CExamination>("NumberOfCurves", &CExamination::NumberOfCurves,
                               &CExamination::NumberOfCurves, 3, curves);
}

}  // namespace
}  // namespace tympora
