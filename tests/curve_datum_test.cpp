#include "tympora/measurement/curve_datum.hpp"

#include "record_suite.hpp"
#include "tympora/measurement/distortion_datum.hpp"

namespace tympora {
namespace {

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

// Both kinds of point keep a frequency of 0 to 100000 only, however it comes:
// a value outside leaves the property as it was.
template <class Point>
void ExpectFrequencyRange() {
  const std::pair<int32_t, bool> rows[] = {{0, true},       {100000, true}, {440, true},
                                           {100001, false}, {-1, false},    {INT32_MIN, false}};
  for (const auto& [value, stored] : rows) {
    SCOPED_TRACE(value);
    Point direct, by_name, imported;
    direct.Frequency(value);
    by_name.PropertyByName("Frequency", Variant(value));
    ASSERT_EQ(
        testing::ImportText(imported, "<P><Frequency>" + std::to_string(value) + "</Frequency></P>")
            ->Number(),
        0);
    for (Point* p : {&direct, &by_name, &imported}) {
      EXPECT_EQ(p->Frequency(), stored ? value : 0);
      EXPECT_EQ(p->PropertyByName("Frequency").AsInt32(), stored ? value : 0);
      EXPECT_EQ(testing::ExportsNull(*p, "Frequency"), !stored);
    }
  }
}

TEST(CurveDatumTest, FrequencyKeepsOnlyZeroTo100000ByEveryWayIn) {
  ExpectFrequencyRange<CCurveDatum>();
  ExpectFrequencyRange<CDistortionDatum>();
}

}  // namespace
}  // namespace tympora
