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

}  // namespace
}  // namespace tympora
