// CExamination: one examination run under a test session. Seventeen values
// that describe it (test type, name, number and explanation, category, ear,
// doctor, comment, the dates and times of creation and of the last save,
// program version, scaling, analyzer aid type, aid class and a declared
// number of curves) and the ordered list of its measured curves. Written as
// the element "Examination", its curves following the property elements.
#pragma once

#include "tympora/export.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "tympora/measurement/curve.hpp"
#include "tympora/node/collection.hpp"
#include "tympora/node/node_utility.hpp"
#include "tympora/node/nullable.hpp"
#include "tympora/node/record.hpp"
#include "tympora/node/variant.hpp"

namespace tympora {

class TYMPORA_API CExamination final : public RecordBase {
 public:
  static constexpr std::string_view kNodeName = "Examination";

  // A new examination: ID 0, every value Null, no curves.
  CExamination() = default;

  // True for the curve counts the NumberOfCurves setter stores: 0 and above.
  static bool NumberOfCurvesAccepted(int32_t lValue) noexcept { return lValue >= 0; }

  // The live list of curves: the same object on every call until the next
  // reset of the list. The examination shares the curves with whoever added them.
  CollectionPtr<CCurve> Curves() const noexcept { return curves_; }

  // Setters store the value and clear its null flag; getters return the
  // stored value (a Null value reads as 0, the empty text or Date 0).

  void AidClass(int32_t lValue) { aid_class_.Set(lValue); }
  int32_t AidClass() const noexcept { return aid_class_.Get(); }
  void AnalyzerAidType(int32_t lValue) { analyzer_aid_type_.Set(lValue); }
  int32_t AnalyzerAidType() const noexcept { return analyzer_aid_type_.Get(); }
  void Category(int32_t lValue) { category_.Set(lValue); }
  int32_t Category() const noexcept { return category_.Get(); }
  void Comment(const std::string& sValue) { comment_.Set(sValue); }
  std::string Comment() const { return comment_.Get(); }
  void CreateDate(Date value) { create_date_.Set(value); }
  Date CreateDate() const noexcept { return create_date_.Get(); }
  // A time of day held as plain text; never converted.
  void CreateTime(const std::string& sValue) { create_time_.Set(sValue); }
  std::string CreateTime() const { return create_time_.Get(); }
  void Doctor(const std::string& sValue) { doctor_.Set(sValue); }
  std::string Doctor() const { return doctor_.Get(); }
  // Written and read as the element "EarID".
  void Ear(int32_t lValue) { ear_.Set(lValue); }
  int32_t Ear() const noexcept { return ear_.Get(); }
  // The key of the examination in its test session's list; no null flag.
  using RecordBase::ID;
  void LastSaveDate(Date value) { last_save_date_.Set(value); }
  Date LastSaveDate() const noexcept { return last_save_date_.Get(); }
  // A time of day held as plain text; never converted.
  void LastSaveTime(const std::string& sValue) { last_save_time_.Set(sValue); }
  std::string LastSaveTime() const { return last_save_time_.Get(); }
  // Stores a count of 0 or more; ignores a negative one silently, keeping
  // value and null flag. Independent of Curves: nothing keeps them in step.
  void NumberOfCurves(int32_t lValue) {
    if (NumberOfCurvesAccepted(lValue)) number_of_curves_.Set(lValue);
  }
  int32_t NumberOfCurves() const noexcept { return number_of_curves_.Get(); }
  void ProgramVersion(int32_t lValue) { program_version_.Set(lValue); }
  int32_t ProgramVersion() const noexcept { return program_version_.Get(); }
  void Scaling(int32_t lValue) { scaling_.Set(lValue); }
  int32_t Scaling() const noexcept { return scaling_.Get(); }
  void TestExplanation(const std::string& sValue) { test_explanation_.Set(sValue); }
  std::string TestExplanation() const { return test_explanation_.Get(); }
  void TestName(const std::string& sValue) { test_name_.Set(sValue); }
  std::string TestName() const { return test_name_.Get(); }
  void TestNumber(int32_t lValue) { test_number_.Set(lValue); }
  int32_t TestNumber() const noexcept { return test_number_.Get(); }
  void TestType(const std::string& sValue) { test_type_.Set(sValue); }
  std::string TestType() const { return test_type_.Get(); }

  // Resets every curve (and its points) through its Reset, drops it, and
  // replaces Curves by a new empty list; a caller holding the old list or a
  // curve sees them emptied. A failing Reset is raised with the list partly emptied.
  void ResetCurves() { ResetCollection(curves_); }
  // Adds the caller's curve itself, at the end of Curves, under its ID as
  // decimal text taken now. Raises 91 for an absent curve and 457 for an ID
  // already in the list; the list is unchanged then.
  void AddCurve(const std::shared_ptr<CCurve>& Curve) { AddChildRecord(curves_, Curve); }

  // The class's table: property elements in export order and the curve list.
  const RecordInfo& Info() const override;

 private:
  CollectionPtr<CCurve> curves_ = std::make_shared<Collection<CCurve>>();
  Nullable<int32_t> aid_class_;
  Nullable<int32_t> analyzer_aid_type_;
  Nullable<int32_t> category_;
  Nullable<std::string> comment_;
  Nullable<Date> create_date_;
  Nullable<std::string> create_time_;
  Nullable<std::string> doctor_;
  Nullable<int32_t> ear_;
  Nullable<Date> last_save_date_;
  Nullable<std::string> last_save_time_;
  Nullable<int32_t> number_of_curves_;
  Nullable<int32_t> program_version_;
  Nullable<int32_t> scaling_;
  Nullable<std::string> test_explanation_;
  Nullable<std::string> test_name_;
  Nullable<int32_t> test_number_;
  Nullable<std::string> test_type_;
};

}  // namespace tympora
