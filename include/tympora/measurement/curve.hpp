// CCurve: one measured curve of an examination. Twenty-one values that
// describe the measurement, and two ordered lists of points: the curve points
// (CCurveDatum) and the distortion points (CDistortionDatum). Written with
// all its points as the element "Curve".
#pragma once

#include "tympora/export.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "tympora/measurement/curve_datum.hpp"
#include "tympora/measurement/distortion_datum.hpp"
#include "tympora/node/collection.hpp"
#include "tympora/node/node_utility.hpp"
#include "tympora/node/nullable.hpp"
#include "tympora/node/record.hpp"

namespace tympora {

// Every value setter stores its value unchanged and clears the property's
// null flag; every getter returns the stored value and ignores the flag (a
// Null value reads 0, 0.0 or the empty text). No setter checks a range.
class TYMPORA_API CCurve final : public RecordBase {
 public:
  static constexpr std::string_view kNodeName = "Curve";

  // A new curve: ID 0, every value Null, both point lists new and empty.
  CCurve() = default;

  // The live list of curve points: the same object until the next reset of
  // that list. The curve owns the list; it holds the very points added.
  CollectionPtr<CCurveDatum> CurveData() const { return curve_data_; }
  // The live list of distortion points, as CurveData.
  CollectionPtr<CDistortionDatum> DistortionData() const { return distortion_data_; }

  // Element "Exp".
  void CurveExp(const std::string& sValue) { curve_exp_.Set(sValue); }
  std::string CurveExp() const { return curve_exp_.Get(); }
  // Element "Type".
  void CurveType(const std::string& sValue) { curve_type_.Set(sValue); }
  std::string CurveType() const { return curve_type_.Get(); }
  // A date held as plain text, never converted.
  void DateText(const std::string& sValue) { date_text_.Set(sValue); }
  std::string DateText() const { return date_text_.Get(); }
  void DistType(int32_t lValue) { dist_type_.Set(lValue); }
  int32_t DistType() const noexcept { return dist_type_.Get(); }
  void FxDataPoints(int32_t lValue) { fx_data_points_.Set(lValue); }
  int32_t FxDataPoints() const noexcept { return fx_data_points_.Get(); }
  void FxFlag0(int32_t lValue) { fx_flag0_.Set(lValue); }
  int32_t FxFlag0() const noexcept { return fx_flag0_.Get(); }
  void FxFlag1(int32_t lValue) { fx_flag1_.Set(lValue); }
  int32_t FxFlag1() const noexcept { return fx_flag1_.Get(); }
  void FxHighestVal(int32_t lValue) { fx_highest_val_.Set(lValue); }
  int32_t FxHighestVal() const noexcept { return fx_highest_val_.Get(); }
  void FxNoiseRed(int32_t lValue) { fx_noise_red_.Set(lValue); }
  int32_t FxNoiseRed() const noexcept { return fx_noise_red_.Get(); }
  // Element "FxSrcAmp"; the curve's only double.
  void FxSourceAmp(double dValue) { fx_source_amp_.Set(dValue); }
  double FxSourceAmp() const noexcept { return fx_source_amp_.Get(); }
  void FxTime0(int32_t lValue) { fx_time0_.Set(lValue); }
  int32_t FxTime0() const noexcept { return fx_time0_.Get(); }
  void FxTime1(int32_t lValue) { fx_time1_.Set(lValue); }
  int32_t FxTime1() const noexcept { return fx_time1_.Get(); }
  // The curve's key in its examination's list; no null flag.
  using RecordBase::ID;
  // Element "CurveNumber".
  void CurveNo(int32_t lValue) { curve_no_.Set(lValue); }
  int32_t CurveNo() const noexcept { return curve_no_.Get(); }
  void MeasureType(int32_t lValue) { measure_type_.Set(lValue); }
  int32_t MeasureType() const noexcept { return measure_type_.Get(); }
  void Name(const std::string& sValue) { name_.Set(sValue); }
  std::string Name() const { return name_.Get(); }
  void FxRMS(int32_t lValue) { fx_rms_.Set(lValue); }
  int32_t FxRMS() const noexcept { return fx_rms_.Get(); }

  // Resets every curve point through CNode::Reset (so a caller still holding
  // one sees it cleared), drops it, and puts a new empty list in place; a
  // list the caller kept stays empty and is no longer the curve's.
  void ResetCurveData() { ResetCollection(curve_data_); }
  // The same for the distortion points.
  void ResetDistortionData() { ResetCollection(distortion_data_); }
  // Adds the caller's point itself (not a copy) at the end of CurveData under
  // the key of its ID at this moment. Raises 91 for an absent point and 457
  // when the key is taken; the list is then unchanged.
  void AddCurveDatum(const std::shared_ptr<CCurveDatum>& RHS) { AddChildRecord(curve_data_, RHS); }
  // The same for a distortion point and DistortionData; keys are independent
  // of those of CurveData.
  void AddDistortionDatum(const std::shared_ptr<CDistortionDatum>& RHS) {
    AddChildRecord(distortion_data_, RHS);
  }

  // A text of the measurement's source; unrelated to a status's source.
  void Source(const std::string& sValue) { source_.Set(sValue); }
  std::string Source() const { return source_.Get(); }
  void SourceType(int32_t lValue) { source_type_.Set(lValue); }
  int32_t SourceType() const noexcept { return source_type_.Get(); }
  void SourceValue(int32_t lValue) { source_value_.Set(lValue); }
  int32_t SourceValue() const noexcept { return source_value_.Get(); }
  void State(int32_t lValue) { state_.Set(lValue); }
  int32_t State() const noexcept { return state_.Get(); }
  int32_t TestNo() const noexcept { return test_no_.Get(); }
  void TestNo(int32_t lValue) { test_no_.Set(lValue); }

  // The property table (21 elements) and the two point lists.
  const RecordInfo& Info() const override;

 private:
  CollectionPtr<CCurveDatum> curve_data_ = std::make_shared<Collection<CCurveDatum>>();
  CollectionPtr<CDistortionDatum> distortion_data_ =
      std::make_shared<Collection<CDistortionDatum>>();
  Nullable<std::string> curve_exp_;
  Nullable<std::string> curve_type_;
  Nullable<std::string> date_text_;
  Nullable<int32_t> dist_type_;
  Nullable<int32_t> fx_data_points_;
  Nullable<int32_t> fx_flag0_;
  Nullable<int32_t> fx_flag1_;
  Nullable<int32_t> fx_highest_val_;
  Nullable<int32_t> fx_noise_red_;
  Nullable<double> fx_source_amp_;
  Nullable<int32_t> fx_time0_;
  Nullable<int32_t> fx_time1_;
  Nullable<int32_t> curve_no_;
  Nullable<int32_t> measure_type_;
  Nullable<std::string> name_;
  Nullable<int32_t> fx_rms_;
  Nullable<std::string> source_;
  Nullable<int32_t> source_type_;
  Nullable<int32_t> source_value_;
  Nullable<int32_t> state_;
  Nullable<int32_t> test_no_;
};

}  // namespace tympora
