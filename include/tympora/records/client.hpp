// CClient: one client (patient) of the clinic. Names, identity numbers,
// address, telephone numbers, insurance data, three dates, free-text notes,
// a deletion mark, and the client's hearing aids. Written as the element
// "ClientOrPatient"; every value is stored as handed over, unchecked.
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
#include "tympora/records/client_aid.hpp"

namespace tympora {

class TYMPORA_API CClient final : public RecordBase {
 public:
  static constexpr std::string_view kNodeName = "ClientOrPatient";

  // A new client: ID 0, every value Null, no aids.
  CClient() = default;

  using RecordBase::ID;

  // The live list of aids: the same object until the next reset of the list.
  // The client shares each aid with whoever added it.
  CollectionPtr<CClientAid> Aids() const { return aids_; }
  // Resets every aid (and everything below it), drops it, and replaces the
  // list by a new empty one; an aid a caller still holds is cleared too.
  void ResetAids() { ResetCollection(aids_); }
  // Adds the caller's aid (not a copy) at the end under its ID as decimal
  // text. Raises 91 for an absent aid and 457 for an ID already present; the
  // list is then unchanged.
  void AddAid(const std::shared_ptr<CClientAid>& Aid) { AddChildRecord(aids_, Aid); }

  // Getters return the stored value (a Null value reads as the empty text,
  // Date 0 or false); setters store the value and clear the null flag.
  std::string FirstName() const { return first_name_.Get(); }
  void FirstName(const std::string& sValue) { first_name_.Set(sValue); }
  std::string LastName() const { return last_name_.Get(); }
  void LastName(const std::string& sValue) { last_name_.Set(sValue); }
  // The client's number, held as text.
  std::string Number() const { return number_.Get(); }
  void Number(const std::string& sValue) { number_.Set(sValue); }
  std::string SocialSecurity() const { return social_security_.Get(); }
  void SocialSecurity(const std::string& sValue) { social_security_.Set(sValue); }
  // Text only; no picture is read.
  std::string Picture() const { return picture_.Get(); }
  void Picture(const std::string& sValue) { picture_.Set(sValue); }
  std::string Gender() const { return gender_.Get(); }
  void Gender(const std::string& sValue) { gender_.Set(sValue); }
  std::string Physician() const { return physician_.Get(); }
  void Physician(const std::string& sValue) { physician_.Set(sValue); }
  std::string InsuranceAgency() const { return insurance_agency_.Get(); }
  void InsuranceAgency(const std::string& sValue) { insurance_agency_.Set(sValue); }
  std::string InsurancePhone() const { return insurance_phone_.Get(); }
  void InsurancePhone(const std::string& sValue) { insurance_phone_.Set(sValue); }
  std::string InsurancePolicyNumber() const { return insurance_policy_number_.Get(); }
  void InsurancePolicyNumber(const std::string& sValue) { insurance_policy_number_.Set(sValue); }
  std::string InsuranceGroupNumber() const { return insurance_group_number_.Get(); }
  void InsuranceGroupNumber(const std::string& sValue) { insurance_group_number_.Set(sValue); }
  std::string City() const { return city_.Get(); }
  void City(const std::string& sValue) { city_.Set(sValue); }
  std::string State() const { return state_.Get(); }
  void State(const std::string& sValue) { state_.Set(sValue); }
  std::string ZipCode() const { return zip_code_.Get(); }
  void ZipCode(const std::string& sValue) { zip_code_.Set(sValue); }
  std::string OtherPostalCode() const { return other_postal_code_.Get(); }
  void OtherPostalCode(const std::string& sValue) { other_postal_code_.Set(sValue); }
  std::string StreetAddress() const { return street_address_.Get(); }
  void StreetAddress(const std::string& sValue) { street_address_.Set(sValue); }
  std::string Country() const { return country_.Get(); }
  void Country(const std::string& sValue) { country_.Set(sValue); }
  std::string Phone1() const { return phone1_.Get(); }
  void Phone1(const std::string& sValue) { phone1_.Set(sValue); }
  std::string Phone2() const { return phone2_.Get(); }
  void Phone2(const std::string& sValue) { phone2_.Set(sValue); }
  // Written as "PhoneCell", the only element named otherwise than its property.
  std::string CellPhone() const { return cell_phone_.Get(); }
  void CellPhone(const std::string& sValue) { cell_phone_.Set(sValue); }
  std::string OfficePhone() const { return office_phone_.Get(); }
  void OfficePhone(const std::string& sValue) { office_phone_.Set(sValue); }
  std::string Illness() const { return illness_.Get(); }
  void Illness(const std::string& sValue) { illness_.Set(sValue); }
  std::string Email() const { return email_.Get(); }
  void Email(const std::string& sValue) { email_.Set(sValue); }
  std::string Comment() const { return comment_.Get(); }
  void Comment(const std::string& sValue) { comment_.Set(sValue); }
  // A deletion mark only: nothing is removed because of it.
  bool Deleted() const noexcept { return deleted_.Get(); }
  void Deleted(bool bValue) { deleted_.Set(bValue); }
  std::string HearingLoss() const { return hearing_loss_.Get(); }
  void HearingLoss(const std::string& sValue) { hearing_loss_.Set(sValue); }
  Date BirthDate() const noexcept { return birth_date_.Get(); }
  void BirthDate(Date dtValue) { birth_date_.Set(dtValue); }
  Date RegistrationDate() const noexcept { return registration_date_.Get(); }
  void RegistrationDate(Date dtValue) { registration_date_.Set(dtValue); }
  Date LastEntryDate() const noexcept { return last_entry_date_.Get(); }
  void LastEntryDate(Date dtValue) { last_entry_date_.Set(dtValue); }
  std::string ReferenceNumber() const { return reference_number_.Get(); }
  void ReferenceNumber(const std::string& sValue) { reference_number_.Set(sValue); }
  std::string MotherName() const { return mother_name_.Get(); }
  void MotherName(const std::string& sValue) { mother_name_.Set(sValue); }
  std::string FatherName() const { return father_name_.Get(); }
  void FatherName(const std::string& sValue) { father_name_.Set(sValue); }
  std::string MiddleName() const { return middle_name_.Get(); }
  void MiddleName(const std::string& sValue) { middle_name_.Set(sValue); }

  const RecordInfo& Info() const override;

 private:
  CollectionPtr<CClientAid> aids_ = std::make_shared<Collection<CClientAid>>();
  Nullable<std::string> first_name_;
  Nullable<std::string> last_name_;
  Nullable<std::string> number_;
  Nullable<std::string> social_security_;
  Nullable<std::string> picture_;
  Nullable<std::string> gender_;
  Nullable<std::string> physician_;
  Nullable<std::string> insurance_agency_;
  Nullable<std::string> insurance_phone_;
  Nullable<std::string> insurance_policy_number_;
  Nullable<std::string> insurance_group_number_;
  Nullable<std::string> city_;
  Nullable<std::string> state_;
  Nullable<std::string> zip_code_;
  Nullable<std::string> other_postal_code_;
  Nullable<std::string> street_address_;
  Nullable<std::string> country_;
  Nullable<std::string> phone1_;
  Nullable<std::string> phone2_;
  Nullable<std::string> cell_phone_;
  Nullable<std::string> office_phone_;
  Nullable<std::string> illness_;
  Nullable<std::string> email_;
  Nullable<std::string> comment_;
  Nullable<bool> deleted_;
  Nullable<std::string> hearing_loss_;
  Nullable<Date> birth_date_;
  Nullable<Date> registration_date_;
  Nullable<Date> last_entry_date_;
  Nullable<std::string> reference_number_;
  Nullable<std::string> mother_name_;
  Nullable<std::string> father_name_;
  Nullable<std::string> middle_name_;
};

}  // namespace tympora
