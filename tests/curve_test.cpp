#include "tympora/measurement/curve.hpp"

#include <filesystem>

#include "record_suite.hpp"

namespace tympora {
namespace {
using testing::ChildNamed;
using testing::ErrorOf;
using testing::Shape;

// The 21 property elements of a curve, in the order they are written.
const std::vector<std::string> kCurveElements = {
    "FxDataPoints", "DateText",   "DistType", "Exp",          "FxFlag0",     "FxFlag1",
    "FxSrcAmp",     "FxTime0",    "FxTime1",  "FxHighestVal", "CurveNumber", "MeasureType",
    "Name",         "FxNoiseRed", "FxRMS",    "Source",       "SourceType",  "SourceValue",
    "State",        "TestNo",     "Type"};

testing::RecordCase CurveCase() {
  return {
      "CCurve",
      [] { return std::make_shared<CCurve>(); },
      "Curve",
      [](RecordBase& r) {
        auto& c = static_cast<CCurve&>(r);
        c.FxDataPoints(512);
        c.DateText("03/01/2024");
        c.DistType(-3);
        c.CurveExp(" 1 dB");
        c.FxFlag0(1);
        c.FxFlag1(-1);
        c.FxSourceAmp(0.5);
        c.FxTime0(2147483647);
        c.FxTime1(-2147483647 - 1);
        c.FxHighestVal(120);
        c.CurveNo(7);
        c.MeasureType(2);
        c.Name("REAR 65");
        c.FxNoiseRed(10);
        c.FxRMS(3);
        c.Source("ISTS");
        c.SourceType(4);
        c.SourceValue(65);
        c.State(6);
        c.TestNo(12);
        c.CurveType("Gain");
      },
      {{"FxDataPoints", "512"}, {"DateText", "03/01/2024"}, {"DistType", "-3"},
       {"Exp", " 1 dB"},        {"FxFlag0", "1"},           {"FxFlag1", "-1"},
       {"FxSrcAmp", ".5"},      {"FxTime0", "2147483647"},  {"FxTime1", "-2147483648"},
       {"FxHighestVal", "120"}, {"CurveNumber", "7"},       {"MeasureType", "2"},
       {"Name", "REAR 65"},     {"FxNoiseRed", "10"},       {"FxRMS", "3"},
       {"Source", "ISTS"},      {"SourceType", "4"},        {"SourceValue", "65"},
       {"State", "6"},          {"TestNo", "12"},           {"Type", "Gain"}},
      {},
      {"ID", "id", "CurveNo", "CurveExp", "CurveType", "FxSourceAmp", "curveNumber", "CurveData",
       "DistortionData", "name", "Name "},
  };
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

class CurveTest : public ::testing::Test {
 protected:
  static std::shared_ptr<CCurveDatum> Point(int32_t id, int32_t frequency = 1000) {
    auto p = std::make_shared<CCurveDatum>();
    p->ID(id);
    p->Frequency(frequency);
    return p;
  }
  static std::shared_ptr<CDistortionDatum> Distortion(int32_t id) {
    auto p = std::make_shared<CDistortionDatum>();
    p->ID(id);
    p->Distortion(1.25);
    return p;
  }
  static DOMElement Export(CCurve& curve) {
    DOMDocument doc;
    StatusPtr status = curve.ExportXMLDocument(doc);
    EXPECT_EQ(status->Number(), 0) << status->Description();
    return doc.documentElement();
  }
  static bool IsNullIn(CCurve& curve, const std::string& element) {
    return IsNullNode(ChildNamed(Export(curve), element));
  }
  static StatusPtr Import(CCurve& curve, const std::string& xml) {
    DOMDocument doc = testing::Parse(xml);
    DOMElement root = doc.documentElement();
    return curve.ImportXMLNode(root);
  }

 private:
  testing::LocaleGuard locale_{"C"};
};

TEST_F(CurveTest, PointsAreKeyedByTheirIdWhenAdded) {
  CCurve curve;
  auto first = Point(5, 250);
  curve.AddCurveDatum(first);
  EXPECT_EQ(ErrorOf([&] { curve.AddCurveDatum(Point(5, 500)); }), kErrDuplicateKey);
  ASSERT_EQ(curve.CurveData()->Count(), 1);
  EXPECT_EQ(curve.CurveData()->Item(1), first) << "the very object added, and the first kept";
  EXPECT_EQ(curve.CurveData()->Item(1)->Frequency(), 250);
  EXPECT_EQ(ErrorOf([&] { curve.AddCurveDatum(nullptr); }), kErrObjectNotSet);
  EXPECT_EQ(ErrorOf([&] { curve.AddDistortionDatum(nullptr); }), kErrObjectNotSet);

  // The key is taken at the time of adding: a later ID change does not move it.
  first->ID(6);
  EXPECT_EQ(curve.CurveData()->Key(1), "5");
  EXPECT_EQ(ErrorOf([&] { curve.AddCurveDatum(Point(5)); }), kErrDuplicateKey);
  EXPECT_EQ(ErrorOf([&] { curve.AddCurveDatum(Point(6)); }), 0);
  EXPECT_EQ(ErrorOf([&] { curve.AddCurveDatum(Point(-3)); }), 0);
  EXPECT_EQ(curve.CurveData()->Key(3), "-3");

  // The two lists are keyed independently.
  EXPECT_EQ(ErrorOf([&] { curve.AddDistortionDatum(Distortion(5)); }), 0);
  EXPECT_EQ(ErrorOf([&] { curve.AddDistortionDatum(Distortion(5)); }), kErrDuplicateKey);
  EXPECT_EQ(curve.CurveData()->Count(), 3);
  EXPECT_EQ(curve.DistortionData()->Count(), 1);
}

TEST_F(CurveTest, ResettingAListResetsHeldPointsAndReplacesTheList) {
  CCurve curve;
  auto point = Point(4, 500);
  point->InputVal(65);
  auto distortion = Distortion(4);
  curve.AddCurveDatum(point);
  curve.AddDistortionDatum(distortion);
  const CollectionPtr<CCurveDatum> kept = curve.CurveData();
  EXPECT_EQ(curve.CurveData(), kept) << "the same list on every call";

  curve.ResetCurveData();
  EXPECT_EQ(kept->Count(), 0) << "the list a caller kept is emptied";
  ASSERT_TRUE(curve.CurveData());
  EXPECT_NE(curve.CurveData(), kept) << "a new list replaces the old one";
  EXPECT_EQ(curve.CurveData()->Count(), 0);
  EXPECT_EQ(point->ID(), 0);
  EXPECT_EQ(point->Frequency(), 0);
  EXPECT_EQ(point->InputVal(), 0);
  EXPECT_EQ(curve.DistortionData()->Count(), 1) << "the other list is untouched";
  EXPECT_EQ(distortion->Distortion(), 1.25);
  curve.AddCurveDatum(Point(4));  // the old key is free again

  const CollectionPtr<CDistortionDatum> kept_distortion = curve.DistortionData();
  curve.ID(9);
  curve.Name("x");
  curve.Reset();
  EXPECT_EQ(distortion->Distortion(), 0) << "Reset resets the distortion points as well";
  EXPECT_EQ(kept_distortion->Count(), 0);
  EXPECT_NE(curve.DistortionData(), kept_distortion);
  EXPECT_EQ(curve.CurveData()->Count(), 0);
  EXPECT_EQ(curve.ID(), 0);
  EXPECT_TRUE(IsNullIn(curve, "Name"));
}

TEST_F(CurveTest, ExportWritesPropertiesThenCurvePointsThenDistortionPoints) {
  CCurve curve;
  curve.AddCurveDatum(Point(2));
  curve.AddDistortionDatum(Distortion(1));
  curve.AddCurveDatum(Point(1));
  const DOMElement element = Export(curve);
  std::vector<std::string> expected;
  for (const std::string& name : kCurveElements) {
    expected.push_back("CRLF");
    expected.push_back(name);
  }
  for (const char* point : {"CurveDatum", "CurveDatum", "DistortionDatum"}) {
    expected.insert(expected.end(), {"CRLF", point, "CRLF"});
  }
  expected.push_back("CRLF");
  EXPECT_EQ(Shape(element), expected);
  const DOMNodeList children = element.childNodes();
  const int32_t first_point = 2 * 21 + 1;
  EXPECT_EQ(children.item(first_point).attributes().getNamedItem("id").text(), "2");
  EXPECT_EQ(children.item(first_point + 3).attributes().getNamedItem("id").text(), "1");
}

TEST_F(CurveTest, ExportXMLNodeAppendsCrLfElementCrLfToTheParent) {
  DOMDocument doc = testing::Parse("<Examination><Name>kept</Name></Examination>");
  DOMElement parent = doc.documentElement();
  CCurve curve;
  curve.AddCurveDatum(Point(1));
  ASSERT_EQ(curve.ExportXMLNode(doc, parent)->Number(), 0);
  EXPECT_EQ(Shape(parent), (std::vector<std::string>{"Name", "CRLF", "Curve", "CRLF"}));
  ASSERT_EQ(curve.ExportXMLNode(doc, parent)->Number(), 0);
  EXPECT_EQ(Shape(parent),
            (std::vector<std::string>{"Name", "CRLF", "Curve", "CRLF", "CRLF", "Curve", "CRLF"}));
}

TEST_F(CurveTest, SourceAmplitudeWritesTheShortNumberFormAndReadsItBack) {
  const struct {
    double value;
    const char* text;
  } rows[] = {{0.5, ".5"}, {-0.25, "-.25"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    CCurve curve, copy;
    curve.FxSourceAmp(row.value);
    DOMElement element = Export(curve);
    EXPECT_EQ(ChildNamed(element, "FxSrcAmp").text(), row.text);
    ASSERT_EQ(copy.ImportXMLNode(element)->Number(), 0);
    EXPECT_EQ(copy.FxSourceAmp(), row.value);
  }
}

TEST_F(CurveTest, ImportOfAHandWrittenElement) {
  CCurve curve;
  curve.State(5);
  StatusPtr status =
      Import(curve,
             "<Curve id=\"8\">\r\n"
             "  <!-- written by hand -->\r\n"
             "  <a:CurveNumber xmlns:a=\"urn:x\">3</a:CurveNumber>\r\n"
             "  <curvenumber>9</curvenumber>\r\n"
             "  <Name>first</Name><!-- between --><Name>R &lt;&amp;&gt; L</Name>\r\n"
             "  <b:Source xmlns:b=\"urn:y\">ISTS</b:Source>\r\n"
             "  <DistType>2.5</DistType><FxRMS>3.5</FxRMS><MeasureType>abc</MeasureType>\r\n"
             "  <FxSrcAmp>-.25</FxSrcAmp><Exp></Exp><Type null=\"true\">x</Type>\r\n"
             "  <CurveDatum null=\"true\"><Input>1</Input></CurveDatum>\r\n"
             "  <CurveDatum id=\"2\"><Input>1.5</Input></CurveDatum>\r\n"
             "  <DistortionDatum id=\"2\"><Distortion>.5</Distortion></DistortionDatum>\r\n"
             "</Curve>");
  ASSERT_EQ(status->Number(), 0) << status->Description();
  EXPECT_EQ(curve.ID(), 8);
  EXPECT_EQ(curve.CurveNo(), 3) << "only the local name counts; other letter case is skipped";
  EXPECT_EQ(curve.Name(), "R <&> L") << "the later element wins";
  EXPECT_EQ(curve.Source(), "ISTS");
  EXPECT_EQ(curve.DistType(), 2) << "ties round to even";
  EXPECT_EQ(curve.FxRMS(), 4);
  EXPECT_EQ(curve.FxSourceAmp(), -0.25);
  EXPECT_EQ(curve.State(), 5) << "a missing element keeps its value";
  EXPECT_TRUE(IsNullIn(curve, "MeasureType")) << "a text that is no number is skipped";
  EXPECT_FALSE(IsNullIn(curve, "Exp")) << "an empty text is the empty, non-Null string";
  EXPECT_TRUE(IsNullIn(curve, "Type"));
  ASSERT_EQ(curve.CurveData()->Count(), 1) << "a null-marked point adds nothing";
  EXPECT_EQ(curve.CurveData()->Item(1)->ID(), 2);
  EXPECT_EQ(curve.CurveData()->Item(1)->InputVal(), 1.5);
  ASSERT_EQ(curve.DistortionData()->Count(), 1);
  EXPECT_EQ(curve.DistortionData()->Item(1)->Distortion(), 0.5);
}

TEST_F(CurveTest, ImportStopsAtTheFirstFailingChild) {
  const struct {
    const char* name;
    const char* xml;
    int32_t number;
    int32_t curve_points;
    int32_t distortion_points;
  } rows[] = {
      {"two points without id",
       "<Curve><CurveDatum><Input>1</Input></CurveDatum><CurveDatum><Input>2</Input></CurveDatum>"
       "<Name>late</Name></Curve>",
       kErrDuplicateKey, 1, 0},
      {"curve point frequency overflows",
       "<Curve><DistortionDatum/><CurveDatum id=\"1\"><Input>2</Input><Frequency>1E+10</Frequency>"
       "</CurveDatum><Name>late</Name></Curve>",
       kErrOverflow, 0, 1},
      {"distortion point frequency overflows",
       "<Curve><CurveDatum/><DistortionDatum><Frequency>-1E+10</Frequency></DistortionDatum>"
       "<Name>late</Name></Curve>",
       kErrOverflow, 1, 0},
      {"property overflows",
       "<Curve><CurveDatum/><FxTime0>2147483648</FxTime0><Name>late</Name></Curve>", kErrOverflow,
       1, 0},
      {"id overflows", "<Curve id=\"1E+10\"><CurveDatum/><Name>late</Name></Curve>", kErrOverflow,
       0, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    CCurve curve;
    StatusPtr status = Import(curve, row.xml);
    EXPECT_EQ(status->Number(), row.number);
    ASSERT_EQ(curve.CurveData()->Count(), row.curve_points);
    EXPECT_EQ(curve.DistortionData()->Count(), row.distortion_points);
    if (row.curve_points > 0 && row.number == kErrDuplicateKey) {
      EXPECT_EQ(curve.CurveData()->Item(1)->InputVal(), 1) << "the first point is kept";
    }
    EXPECT_TRUE(IsNullIn(curve, "Name")) << "children after the failure are not read";
  }
}

TEST_F(CurveTest, ImportAppendsToThePointsAlreadyThere) {
  const std::string xml = "<Curve><CurveDatum id=\"1\"/><DistortionDatum id=\"1\"/></Curve>";
  CCurve curve;
  curve.Name("kept");
  curve.AddCurveDatum(Point(9));
  ASSERT_EQ(Import(curve, xml)->Number(), 0);
  EXPECT_EQ(curve.Name(), "kept");
  ASSERT_EQ(curve.CurveData()->Count(), 2);
  EXPECT_EQ(curve.CurveData()->Item(1)->ID(), 9);
  EXPECT_EQ(curve.CurveData()->Item(2)->ID(), 1);
  EXPECT_EQ(Import(curve, xml)->Number(), kErrDuplicateKey) << "the same points a second time";
  EXPECT_EQ(curve.CurveData()->Count(), 2);
  EXPECT_EQ(curve.DistortionData()->Count(), 1);
  EXPECT_EQ(Import(curve, "<Curve><Name>again</Name></Curve>")->Number(), 0);
  EXPECT_EQ(Import(curve, "<Curve><Name>again</Name></Curve>")->Number(), 0);
}

TEST_F(CurveTest, PropertyByNameSetsCurveNumberFromText) {
  CCurve curve;
  curve.CurveNo(7);
  EXPECT_EQ(ChildNamed(Export(curve), "CurveNumber").text(), "7");
  curve.PropertyByName("CurveNumber", Variant("12"));
  EXPECT_EQ(curve.CurveNo(), 12);
  EXPECT_EQ(ChildNamed(Export(curve), "CurveNumber").text(), "12");
}

// The curves of the two reference files.
void FillReferenceCurve(CCurve& curve) {
  curve.ID(3);
  curve.FxDataPoints(2);
  curve.DateText("2024-03-01");
  curve.FxFlag0(0);
  curve.FxSourceAmp(0.5);
  curve.FxHighestVal(118);
  curve.CurveNo(1);
  curve.MeasureType(2);
  curve.Name("REAR <&> \"REIG\"");
  curve.FxRMS(-1);
  curve.Source("ISTS");
  curve.SourceValue(65);
  curve.TestNo(4);
  curve.CurveType("Gain");
  auto low = std::make_shared<CCurveDatum>();
  low->ID(1);
  low->Frequency(250);
  low->InputVal(65);
  low->OutputVal(92.5);
  auto high = std::make_shared<CCurveDatum>();
  high->ID(2);
  high->Frequency(500);
  high->InputVal(65);
  high->OutputVal(98.25);
  high->maxOutputVal(101);
  high->Other(-0.125);
  auto distortion = std::make_shared<CDistortionDatum>();
  distortion->ID(1);
  distortion->Frequency(500);
  distortion->Distortion(0.75);
  curve.AddCurveDatum(low);
  curve.AddCurveDatum(high);
  curve.AddDistortionDatum(distortion);
}

TEST_F(CurveTest, ExportXMLPathWritesTheGoldenFiles) {
  const struct {
    const char* file;
    void (*fill)(CCurve&);
  } rows[] = {{"curve_new.xml", [](CCurve&) {}}, {"curve_points.xml", &FillReferenceCurve}};
  testing::TempDir dir;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.file);
    CCurve curve;
    row.fill(curve);
    const std::string path = dir / row.file;
    StatusPtr status = curve.ExportXMLPath(path);
    ASSERT_EQ(status->Number(), 0) << status->Description();
    EXPECT_TRUE(testing::MatchesGolden(std::filesystem::path(TYMPORA_TEST_DATA) / row.file,
                                       testing::ReadFile(path)));
  }
}

}  // namespace
}  // namespace tympora
