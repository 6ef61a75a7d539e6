// CTestDefinition: one test session run on a client's hearing aid. Nine
// values that describe the session (two codes, the test type as text and as
// number, an explanation, the date and time of the test, a comment and a
// deleted mark) and the ordered list of its examinations. Written as the
// element "TestSession", its examinations following the property elements.
#pragma once

#include "tympora/export.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "tympora/node/collection.hpp"
#include "tympora/node/node_utility.hpp"
#include "tympora/node/nullable.hpp"
#include "tympora/node/record.hpp"
#include "tympora/node/variant.hpp"
#include "tympora/records/examination.hpp"

namespace tympora {

class TYMPORA_API CTestDefinition final : public RecordBase {
 public:
  static constexpr std::string_view kNodeName = "TestSession";

  // A new test session: ID 0, every value Null, no examinations.
  CTestDefinition() = default;

  // The key of the session in its aid's list; no null flag.
  using RecordBase::ID;

  // The live list of examinations: the same object on every call until the
  // next reset of the list. The session shares the examinations with whoever
  // added them.
  CollectionPtr<CExamination> Examinations() const noexcept { return examinations_; }

  // Getters return the stored value (a Null value reads as 0, the empty
  // text, Date 0 or false); setters store the value and clear its null flag.

  // Written and read as the element "PerCode".
  int32_t Percode() const noexcept { return percode_.Get(); }
  void Percode(int32_t lValue) { percode_.Set(lValue); }
  int32_t InsCode() const noexcept { return ins_code_.Get(); }
  void InsCode(int32_t lValue) { ins_code_.Set(lValue); }
  // The test type as text; independent of TestTypeNumber.
  std::string TestType() const { return test_type_.Get(); }
  void TestType(const std::string& sValue) { test_type_.Set(sValue); }
  std::string TestExplanation() const { return test_explanation_.Get(); }
  void TestExplanation(const std::string& sValue) { test_explanation_.Set(sValue); }
  Date TestDate() const noexcept { return test_date_.Get(); }
  void TestDate(Date value) { test_date_.Set(value); }
  // A time of day held as plain text; never converted.
  std::string TestTime() const { return test_time_.Get(); }
  void TestTime(const std::string& sValue) { test_time_.Set(sValue); }
  std::string Comment() const { return comment_.Get(); }
  void Comment(const std::string& sValue) { comment_.Set(sValue); }
  // A mark only; nothing in the library acts on it.
  bool Deleted() const noexcept { return deleted_.Get(); }
  void Deleted(bool bValue) { deleted_.Set(bValue); }

  // Resets every examination (with its curves and points) through its Reset,
  // drops it, and replaces Examinations by a new empty list; a caller holding
  // the old list or an examination sees them emptied. A failing Reset is
  // raised with the list partly emptied.
  void ResetExaminations() { ResetCollection(examinations_); }
  // Adds the caller's examination itself, at the end of Examinations, under
  // its ID as decimal text taken now. Raises 91 for an absent examination and
  // 457 for an ID already in the list; the list is unchanged then.
  void AddExamination(const std::shared_ptr<CExamination>& Examination) {
    AddChildRecord(examinations_, Examination);
  }

  // The test type as a number; independent of TestType.
  int32_t TestTypeNumber() const noexcept { return test_type_number_.Get(); }
  void TestTypeNumber(int32_t lValue) { test_type_number_.Set(lValue); }

  // The class's table: property elements in export order and the examination list.
  const RecordInfo& Info() const override;

 private:
  CollectionPtr<CExamination> examinations_ = std::make_shared<Collection<CExamination>>();
  Nullable<int32_t> percode_;
  Nullable<int32_t> ins_code_;
  Nullable<std::string> test_type_;
  Nullable<std::string> test_explanation_;
  Nullable<Date> test_date_;
  Nullable<std::string> test_time_;
  Nullable<std::string> comment_;
  Nullable<bool> deleted_;
  Nullable<int32_t> test_type_number_;
};

}  // namespace tympora
