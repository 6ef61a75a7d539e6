// The property table of CCurve: its 21 elements in export order, then its two
// point lists, curve points before distortion points.
#include "tympora/measurement/curve.hpp"

#include "node/record_table.hpp"

namespace tympora {

const RecordInfo& CCurve::Info() const {
  using table::Children;
  using table::Prop;
  static const RecordInfo info(
      kNodeName, "CCurve", "Function ExportTXT",
      {
          Prop<&CCurve::fx_data_points_>("FxDataPoints", "FxDataPoints"),
          Prop<&CCurve::date_text_>("DateText", "DateText"),
          Prop<&CCurve::dist_type_>("DistType", "DistType"),
          Prop<&CCurve::curve_exp_>("Exp", "CurveExp"),
          Prop<&CCurve::fx_flag0_>("FxFlag0", "FxFlag0"),
          Prop<&CCurve::fx_flag1_>("FxFlag1", "FxFlag1"),
          Prop<&CCurve::fx_source_amp_>("FxSrcAmp", "FxSourceAmp"),
          Prop<&CCurve::fx_time0_>("FxTime0", "FxTime0"),
          Prop<&CCurve::fx_time1_>("FxTime1", "FxTime1"),
          Prop<&CCurve::fx_highest_val_>("FxHighestVal", "FxHighestVal"),
          Prop<&CCurve::curve_no_>("CurveNumber", "CurveNo"),
          Prop<&CCurve::measure_type_>("MeasureType", "MeasureType"),
          Prop<&CCurve::name_>("Name", "Name"),
          Prop<&CCurve::fx_noise_red_>("FxNoiseRed", "FxNoiseRed"),
          Prop<&CCurve::fx_rms_>("FxRMS", "FxRMS"),
          Prop<&CCurve::source_>("Source", "Source"),
          Prop<&CCurve::source_type_>("SourceType", "SourceType"),
          Prop<&CCurve::source_value_>("SourceValue", "SourceValue"),
          Prop<&CCurve::state_>("State", "State"),
          Prop<&CCurve::test_no_>("TestNo", "TestNo"),
          Prop<&CCurve::curve_type_>("Type", "CurveType"),
      },
      {
          Children<&CCurve::curve_data_>("CurveData", "AddCurveDatum", "ResetCurveData"),
          Children<&CCurve::distortion_data_>("DistortionData", "AddDistortionDatum",
                                              "ResetDistortionData"),
      });
  return info;
}

}  // namespace tympora
