#include "tympora/measurement/curve.hpp"

#include "record_suite.hpp"

namespace tympora {
namespace {
using testing::ExportsNull;
using testing::Prop;

testing::RecordCase CurveCase() {
  using C = CCurve;
  return testing::Case<CCurve>("CCurve", "Curve",
                               {Prop(&C::FxDataPoints, "FxDataPoints", "512", 512),
                                Prop(&C::DateText, "DateText", "03/01/2024"),
                                Prop(&C::DistType, "DistType", "-3", -3),
                                Prop(&C::CurveExp, "Exp", " 1 dB"),
                                Prop(&C::FxFlag0, "FxFlag0", "1", 1),
                                Prop(&C::FxFlag1, "FxFlag1", "-1", -1),
                                Prop(&C::FxSourceAmp, "FxSrcAmp", ".5", 0.5),
                                Prop(&C::FxTime0, "FxTime0", "2147483647", 2147483647),
                                Prop(&C::FxTime1, "FxTime1", "-2147483648", -2147483647 - 1),
                                Prop(&C::FxHighestVal, "FxHighestVal", "120", 120),
                                Prop(&C::CurveNo, "CurveNumber", "7", 7),
                                Prop(&C::MeasureType, "MeasureType", "2", 2),
                                Prop(&C::Name, "Name", "REAR 65"),
                                Prop(&C::FxNoiseRed, "FxNoiseRed", "10", 10),
                                Prop(&C::FxRMS, "FxRMS", "3", 3),
                                Prop(&C::Source, "Source", "ISTS"),
                                Prop(&C::SourceType, "SourceType", "4", 4),
                                Prop(&C::SourceValue, "SourceValue", "65", 65),
                                Prop(&C::State, "State", "6", 6),
                                Prop(&C::TestNo, "TestNo", "12", 12),
                                Prop(&C::CurveType, "Type", "Gain")},
                               {},
                               {"ID", "id", "CurveNo", "CurveExp", "CurveType", "FxSourceAmp",
                                "curveNumber", "CurveData", "DistortionData", "name", "Name "});
}
INSTANTIATE_RECORD_SUITE(Curve, CurveCase());
INSTANTIATE_CHILD_LIST_SUITE(Curve,
                             testing::ListCase<CCurve, CCurveDatum>(
                                 "CurveData", "CurveDatum", &CCurve::AddCurveDatum,
                                 &CCurve::CurveData, &CCurve::ResetCurveData,
                                 [](CCurveDatum& p) { p.Frequency(250); }, "Name"),
                             testing::ListCase<CCurve, CDistortionDatum>(
                                 "DistortionData", "DistortionDatum", &CCurve::AddDistortionDatum,
                                 &CCurve::DistortionData, &CCurve::ResetDistortionData,
                                 [](CDistortionDatum& d) { d.Distortion(1.25); }, "Name"));

// Only the local name counts, the later element wins, ties round to even,
// and a missing element keeps its value.
TEST(CurveTest, ImportOfAHandWrittenElement) {
  testing::LocaleGuard locale("C");
  CCurve curve;
  curve.State(5);
  DOMDocument doc = testing::Parse(
      "<Curve id=\"8\">\r\n  <!-- written by hand -->\r\n"
      "  <a:CurveNumber xmlns:a=\"urn:x\">3</a:CurveNumber>\r\n"
      "  <Name>first</Name><!-- between --><Name>R &lt;&amp;&gt; L</Name>\r\n"
      "  <DistType>2.5</DistType><FxRMS>3.5</FxRMS><MeasureType>abc</MeasureType>\r\n"
      "  <FxSrcAmp>-.25</FxSrcAmp><Exp></Exp><Type null=\"true\">x</Type>\r\n</Curve>");
  ASSERT_EQ(curve.ImportXMLNode(doc.documentElement())->Number(), 0);
  EXPECT_EQ(std::tuple(curve.ID(), curve.CurveNo(), curve.Name(), curve.DistType(), curve.FxRMS(),
                       curve.FxSourceAmp(), curve.State()),
            std::tuple(8, 3, "R <&> L", 2, 4, -0.25, 5));
  EXPECT_TRUE(ExportsNull(curve, "MeasureType")) << "a text that is no number is skipped";
  EXPECT_FALSE(ExportsNull(curve, "Exp")) << "an empty text is the empty, non-Null string";
  EXPECT_TRUE(ExportsNull(curve, "Type"));
}

// A value beyond 32 bits, in the curve or in a point, stops the import: a
// point that fails is not added, and nothing after it is read; an id that
// overflows stops it before the children.
TEST(CurveTest, OverflowStopsTheImportAtTheFailingChild) {
  const std::tuple<const char*, int32_t, int32_t> rows[] = {
      // the curve's start, then how many curve and distortion points stay
      {"<Curve><DistortionDatum/><CurveDatum><Frequency>1E+10</Frequency></CurveDatum>", 0, 1},
      {"<Curve><CurveDatum/><DistortionDatum><Frequency>-1E+10</Frequency></DistortionDatum>", 1,
       0},
      {"<Curve><CurveDatum/><FxTime0>2147483648</FxTime0>", 1, 0},
      {"<Curve id=\"1E+10\"><CurveDatum/>", 0, 0},
  };
  for (const auto& [start, curve_points, distortion_points] : rows) {
    SCOPED_TRACE(start);
    CCurve curve;
    EXPECT_EQ(
        testing::ImportText(curve, start + std::string("<Name>late</Name></Curve>"))->Number(),
        kErrOverflow);
    EXPECT_EQ(curve.CurveData()->Count(), curve_points);
    EXPECT_EQ(curve.DistortionData()->Count(), distortion_points);
    EXPECT_TRUE(ExportsNull(curve, "Name")) << "children after the failure are not read";
  }
}

}  // namespace
}  // namespace tympora
