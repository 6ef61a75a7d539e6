// CDistortionDatum: one distortion point of a measured curve. The frequency
// of the point, the distortion measured there, and one further value. A leaf
// record, written as the element "DistortionDatum".
#pragma once

#include "tympora/export.h"

#include <cstdint>
#include <string_view>

#include "tympora/measurement/curve_datum.hpp"
#include "tympora/node/nullable.hpp"
#include "tympora/node/record.hpp"

namespace tympora {

class TYMPORA_API CDistortionDatum final : public RecordBase {
 public:
  static constexpr std::string_view kNodeName = "DistortionDatum";

  // A new point: ID 0, every value Null.
  CDistortionDatum() = default;

  // True for the frequencies the setter stores: 0 to 100000, as for a curve point.
  static bool FrequencyAccepted(int32_t lValue) noexcept {
    return CCurveDatum::FrequencyAccepted(lValue);
  }

  using RecordBase::ID;
  // Stores a frequency from 0 to 100000 and clears its null flag; ignores any
  // other value silently, leaving value and flag as they were.
  void Frequency(int32_t lValue) {
    if (FrequencyAccepted(lValue)) frequency_.Set(lValue);
  }
  // The stored frequency (a Null value reads 0).
  int32_t Frequency() const noexcept { return frequency_.Get(); }
  // Stores the distortion unchanged and clears its null flag.
  void Distortion(double dValue) { distortion_.Set(dValue); }
  // The stored distortion (a Null value reads 0).
  double Distortion() const noexcept { return distortion_.Get(); }
  // Stores the further value unchanged and clears its null flag.
  void Other(double dValue) { other_.Set(dValue); }
  // The stored further value (a Null value reads 0).
  double Other() const noexcept { return other_.Get(); }

  // The property table: elements Frequency, Distortion, Other.
  const RecordInfo& Info() const override;

 private:
  Nullable<int32_t> frequency_;
  Nullable<double> distortion_;
  Nullable<double> other_;
};

}  // namespace tympora
