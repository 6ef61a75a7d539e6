#include "tympora/measurement/speech_map_datum.hpp"

#include "record_suite.hpp"

namespace tympora {
namespace {
using testing::Prop;

testing::RecordCase SpeechMapDatumCase() {
  return testing::Case<CSpeechMapDatum>(
      "CSpeechMapDatum", "SpeechMapDatum",
      {Prop(&CSpeechMapDatum::maxOutputVal, "MaxOutput", "85.5", 85.5),
       Prop(&CSpeechMapDatum::minOutputVal, "MinOutput", "-.25", -0.25),
       Prop(&CSpeechMapDatum::Other, "Other", "1E+15", 1E+15)},
      {{"MaxOutputVal", "MaxOutput"}, {"MinOutputVal", "MinOutput"}},
      {"maxOutputVal", "minOutputVal", "id", "Id", "Input", "Frequency", "other", "MaxOutput "});
}
INSTANTIATE_RECORD_SUITE(SpeechMapDatum, SpeechMapDatumCase());

TEST(SpeechMapDatumTest, IdIsReadableByNameButNeverSetByName) {
  CSpeechMapDatum d;
  d.ID(-17);
  for (const Variant& value : {Variant(int32_t{5}), Variant(kNull), Variant("not a number")}) {
    EXPECT_EQ(testing::ErrorOf([&] { d.PropertyByName("ID", value); }), 0);
    EXPECT_EQ(d.PropertyByName("ID"), Variant(int32_t{-17}));
  }
}

}  // namespace
}  // namespace tympora
