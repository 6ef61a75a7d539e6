// CSpeechMapDatum: one point of a speech map. An upper and a lower output
// value and one further value, under a number. It stands alone: no record
// holds it; the host exports and imports it itself, as the element
// "SpeechMapDatum".
#pragma once

#include "tympora/export.h"

#include <string_view>

#include "tympora/node/nullable.hpp"
#include "tympora/node/record.hpp"

namespace tympora {

class TYMPORA_API CSpeechMapDatum final : public RecordBase {
 public:
  static constexpr std::string_view kNodeName = "SpeechMapDatum";

  // A new point: ID 0, every value Null.
  CSpeechMapDatum() = default;

  // ID set and get. PropertyByName reads it under "ID" but never sets it.
  using RecordBase::ID;
  // Stores the upper output value unchanged and clears its null flag.
  void maxOutputVal(double dValue) { max_output_.Set(dValue); }
  // The stored upper output value (a Null value reads 0).
  double maxOutputVal() const noexcept { return max_output_.Get(); }
  // Stores the lower output value unchanged and clears its null flag.
  void minOutputVal(double dValue) { min_output_.Set(dValue); }
  // The stored lower output value (a Null value reads 0).
  double minOutputVal() const noexcept { return min_output_.Get(); }
  // Stores the further value unchanged and clears its null flag.
  void Other(double dValue) { other_.Set(dValue); }
  // The stored further value (a Null value reads 0).
  double Other() const noexcept { return other_.Get(); }

  // The property table: elements MaxOutput, MinOutput, Other.
  const RecordInfo& Info() const override;

 private:
  Nullable<double> max_output_;
  Nullable<double> min_output_;
  Nullable<double> other_;
};

}  // namespace tympora
