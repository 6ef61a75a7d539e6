// CCurveDatum: one point of a measured curve. An input value, an output value
// with its maximum and minimum, the frequency of the point, and one further
// value. A leaf record, written as the element "CurveDatum".
#pragma once

#include "tympora/export.h"

#include <cstdint>
#include <string_view>

#include "tympora/node/nullable.hpp"
#include "tympora/node/record.hpp"

namespace tympora {

class TYMPORA_API CCurveDatum final : public RecordBase {
 public:
  static constexpr std::string_view kNodeName = "CurveDatum";

  // A new point: ID 0, every value Null.
  CCurveDatum() = default;

  // True for the frequencies the setter stores: 0 to 100000.
  static bool FrequencyAccepted(int32_t lValue) noexcept { return lValue >= 0 && lValue <= 100000; }

  // Getters return the stored value (a Null value reads 0); setters store it
  // and clear the null flag.
  double InputVal() const noexcept { return input_.Get(); }
  void InputVal(double dValue) { input_.Set(dValue); }
  double OutputVal() const noexcept { return output_.Get(); }
  void OutputVal(double dValue) { output_.Set(dValue); }
  // Stores a frequency from 0 to 100000; ignores any other value silently.
  int32_t Frequency() const noexcept { return frequency_.Get(); }
  void Frequency(int32_t lValue) {
    if (FrequencyAccepted(lValue)) frequency_.Set(lValue);
  }
  double Other() const noexcept { return other_.Get(); }
  void Other(double dValue) { other_.Set(dValue); }
  double maxOutputVal() const noexcept { return max_output_.Get(); }
  void maxOutputVal(double dValue) { max_output_.Set(dValue); }
  double minOutputVal() const noexcept { return min_output_.Get(); }
  void minOutputVal(double dValue) { min_output_.Set(dValue); }

  using RecordBase::ID;
  const RecordInfo& Info() const override;

 private:
  Nullable<double> input_;
  Nullable<double> output_;
  Nullable<double> max_output_;
  Nullable<double> min_output_;
  Nullable<int32_t> frequency_;
  Nullable<double> other_;
};

}  // namespace tympora
