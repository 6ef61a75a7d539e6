// CClientAid: one hearing aid of a client. Its manufacturer as an address
// record, the aid itself (serial number, ear, colour, model, dates ...), its
// FM part and fittings, and the test sessions run on it. Written as the
// element "ClientAid"; most "Aid..." properties are written as
// "HearingAid..." elements, and those element names are also the only names
// PropertyByName accepts.
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
#include "tympora/records/test_definition.hpp"

namespace tympora {

class TYMPORA_API CClientAid final : public RecordBase {
 public:
  static constexpr std::string_view kNodeName = "ClientAid";

  // A new aid: ID 0, every value Null, no test definitions.
  CClientAid() = default;

  using RecordBase::ID;

  // The live list of test definitions: the same object until the next reset
  // of the list. The aid shares each test definition with whoever added it.
  CollectionPtr<CTestDefinition> TestDefinitions() const { return test_definitions_; }
  // Resets every test definition (and everything below it), drops it, and
  // replaces the list by a new empty one. A failing reset is raised.
  void ResetTestDefinitions() { ResetCollection(test_definitions_); }
  // Adds the caller's test definition (not a copy) at the end under its ID as
  // decimal text. Raises 91 for an absent one and 457 for an ID already
  // present; the list is then unchanged.
  void AddTestDefinition(const std::shared_ptr<CTestDefinition>& TestDef) {
    AddChildRecord(test_definitions_, TestDef);
  }

  // Getters return the stored value (a Null value reads as its zero);
  // setters store the value and clear the null flag. None checks its value.
  std::string ManufacturerName() const { return manufacturer_name_.Get(); }
  void ManufacturerName(const std::string& sValue) { manufacturer_name_.Set(sValue); }
  std::string ManufacturerType() const { return manufacturer_type_.Get(); }
  void ManufacturerType(const std::string& sValue) { manufacturer_type_.Set(sValue); }
  std::string ManufacturerCity() const { return manufacturer_city_.Get(); }
  void ManufacturerCity(const std::string& sValue) { manufacturer_city_.Set(sValue); }
  std::string ManufacturerState() const { return manufacturer_state_.Get(); }
  void ManufacturerState(const std::string& sValue) { manufacturer_state_.Set(sValue); }
  std::string ManufacturerZipCode() const { return manufacturer_zip_code_.Get(); }
  void ManufacturerZipCode(const std::string& sValue) { manufacturer_zip_code_.Set(sValue); }
  std::string ManufacturerCountry() const { return manufacturer_country_.Get(); }
  void ManufacturerCountry(const std::string& sValue) { manufacturer_country_.Set(sValue); }
  std::string ManufacturerPhone() const { return manufacturer_phone_.Get(); }
  void ManufacturerPhone(const std::string& sValue) { manufacturer_phone_.Set(sValue); }
  std::string ManufacturerEmail() const { return manufacturer_email_.Get(); }
  void ManufacturerEmail(const std::string& sValue) { manufacturer_email_.Set(sValue); }
  std::string ManufacturerComment() const { return manufacturer_comment_.Get(); }
  void ManufacturerComment(const std::string& sValue) { manufacturer_comment_.Set(sValue); }
  // A mark only: nothing acts on it.
  bool ManufacturerDeleted() const noexcept { return manufacturer_deleted_.Get(); }
  void ManufacturerDeleted(bool bValue) { manufacturer_deleted_.Set(bValue); }
  std::string AidSerialNumber() const { return aid_serial_number_.Get(); }
  void AidSerialNumber(const std::string& sValue) { aid_serial_number_.Set(sValue); }
  std::string AidEar() const { return aid_ear_.Get(); }
  void AidEar(const std::string& sValue) { aid_ear_.Set(sValue); }
  // Written as "HearingAidColor".
  int32_t AidColor() const noexcept { return aid_color_.Get(); }
  void AidColor(int32_t lValue) { aid_color_.Set(lValue); }
  std::string AidShape() const { return aid_shape_.Get(); }
  void AidShape(const std::string& sValue) { aid_shape_.Set(sValue); }
  std::string AidPicture() const { return aid_picture_.Get(); }
  void AidPicture(const std::string& sValue) { aid_picture_.Set(sValue); }
  std::string AidType() const { return aid_type_.Get(); }
  void AidType(const std::string& sValue) { aid_type_.Set(sValue); }
  std::string AidBatterySize() const { return aid_battery_size_.Get(); }
  void AidBatterySize(const std::string& sValue) { aid_battery_size_.Set(sValue); }
  std::string AidBatteryType() const { return aid_battery_type_.Get(); }
  void AidBatteryType(const std::string& sValue) { aid_battery_type_.Set(sValue); }
  Date AidWarrantyDate() const noexcept { return aid_warranty_date_.Get(); }
  void AidWarrantyDate(Date dtValue) { aid_warranty_date_.Set(dtValue); }
  Date AidPurchaseDate() const noexcept { return aid_purchase_date_.Get(); }
  void AidPurchaseDate(Date dtValue) { aid_purchase_date_.Set(dtValue); }
  int32_t AidClass() const noexcept { return aid_class_.Get(); }
  void AidClass(int32_t lValue) { aid_class_.Set(lValue); }
  std::string AidModel() const { return aid_model_.Get(); }
  void AidModel(const std::string& sValue) { aid_model_.Set(sValue); }
  // A manufacturer code, written as "HearingAidManufacturerCode"; independent
  // of the Manufacturer... values.
  std::string AidManufacturer() const { return aid_manufacturer_.Get(); }
  void AidManufacturer(const std::string& sValue) { aid_manufacturer_.Set(sValue); }
  std::string AidComment() const { return aid_comment_.Get(); }
  void AidComment(const std::string& sValue) { aid_comment_.Set(sValue); }
  std::string AidFMType() const { return aid_fm_type_.Get(); }
  void AidFMType(const std::string& sValue) { aid_fm_type_.Set(sValue); }
  std::string AidFMModel() const { return aid_fm_model_.Get(); }
  void AidFMModel(const std::string& sValue) { aid_fm_model_.Set(sValue); }
  std::string AidFMManufacturer() const { return aid_fm_manufacturer_.Get(); }
  void AidFMManufacturer(const std::string& sValue) { aid_fm_manufacturer_.Set(sValue); }
  std::string AidFMSerialNumber() const { return aid_fm_serial_number_.Get(); }
  void AidFMSerialNumber(const std::string& sValue) { aid_fm_serial_number_.Set(sValue); }
  bool AidFMIsActivated() const noexcept { return aid_fm_is_activated_.Get(); }
  void AidFMIsActivated(bool bValue) { aid_fm_is_activated_.Set(bValue); }
  std::string AidEarmoldType() const { return aid_earmold_type_.Get(); }
  void AidEarmoldType(const std::string& sValue) { aid_earmold_type_.Set(sValue); }
  std::string AidEarmoldMaterial() const { return aid_earmold_material_.Get(); }
  void AidEarmoldMaterial(const std::string& sValue) { aid_earmold_material_.Set(sValue); }
  std::string AidTubing() const { return aid_tubing_.Get(); }
  void AidTubing(const std::string& sValue) { aid_tubing_.Set(sValue); }
  std::string AidVenting() const { return aid_venting_.Get(); }
  void AidVenting(const std::string& sValue) { aid_venting_.Set(sValue); }
  // Held as text, never converted to a number ("2+2" stays "2+2").
  std::string AidChannels() const { return aid_channels_.Get(); }
  void AidChannels(const std::string& sValue) { aid_channels_.Set(sValue); }
  std::string ManufacturerAddress() const { return manufacturer_address_.Get(); }
  void ManufacturerAddress(const std::string& sValue) { manufacturer_address_.Set(sValue); }

  const RecordInfo& Info() const override;

 private:
  CollectionPtr<CTestDefinition> test_definitions_ =
      std::make_shared<Collection<CTestDefinition>>();
  Nullable<std::string> manufacturer_name_;
  Nullable<std::string> manufacturer_type_;
  Nullable<std::string> manufacturer_city_;
  Nullable<std::string> manufacturer_state_;
  Nullable<std::string> manufacturer_zip_code_;
  Nullable<std::string> manufacturer_address_;
  Nullable<std::string> manufacturer_country_;
  Nullable<std::string> manufacturer_phone_;
  Nullable<std::string> manufacturer_email_;
  Nullable<std::string> manufacturer_comment_;
  Nullable<bool> manufacturer_deleted_;
  Nullable<std::string> aid_serial_number_;
  Nullable<std::string> aid_ear_;
  Nullable<int32_t> aid_color_;
  Nullable<std::string> aid_shape_;
  Nullable<std::string> aid_picture_;
  Nullable<std::string> aid_type_;
  Nullable<std::string> aid_battery_size_;
  Nullable<std::string> aid_battery_type_;
  Nullable<Date> aid_warranty_date_;
  Nullable<Date> aid_purchase_date_;
  Nullable<int32_t> aid_class_;
  Nullable<std::string> aid_model_;
  Nullable<std::string> aid_manufacturer_;
  Nullable<std::string> aid_comment_;
  Nullable<std::string> aid_fm_type_;
  Nullable<std::string> aid_fm_model_;
  Nullable<std::string> aid_fm_manufacturer_;
  Nullable<std::string> aid_fm_serial_number_;
  Nullable<bool> aid_fm_is_activated_;
  Nullable<std::string> aid_earmold_type_;
  Nullable<std::string> aid_earmold_material_;
  Nullable<std::string> aid_tubing_;
  Nullable<std::string> aid_venting_;
  Nullable<std::string> aid_channels_;
};

}  // namespace tympora
