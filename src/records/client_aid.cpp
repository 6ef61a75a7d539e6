// The property table of CClientAid. Export order is the ordinal alphabetical
// order of the element names; the test sessions follow the properties.
#include "tympora/records/client_aid.hpp"

#include "node/record_table.hpp"

namespace tympora {

const RecordInfo& CClientAid::Info() const {
  using table::Children;
  using table::Prop;
  using A = CClientAid;
  static const RecordInfo info(
      kNodeName, "CClientAid", "Function ExportTXT",
      {
          Prop<&A::aid_ear_>("AidEar", "AidEar"),
          Prop<&A::aid_serial_number_>("AidSerialNumber", "AidSerialNumber"),
          Prop<&A::aid_battery_size_>("HearingAidBatterySize", "AidBatterySize"),
          Prop<&A::aid_battery_type_>("HearingAidBatteryType", "AidBatteryType"),
          Prop<&A::aid_channels_>("HearingAidChannels", "AidChannels"),
          Prop<&A::aid_class_>("HearingAidClass", "AidClass"),
          Prop<&A::aid_color_>("HearingAidColor", "AidColor"),
          Prop<&A::aid_comment_>("HearingAidComment", "AidComment"),
          Prop<&A::aid_earmold_material_>("HearingAidEarmoldMaterial", "AidEarmoldMaterial"),
          Prop<&A::aid_earmold_type_>("HearingAidEarmoldType", "AidEarmoldType"),
          Prop<&A::aid_fm_is_activated_>("HearingAidFMIsActivated", "AidFMIsActivated"),
          Prop<&A::aid_fm_manufacturer_>("HearingAidFMManufacturer", "AidFMManufacturer"),
          Prop<&A::aid_fm_model_>("HearingAidFMModel", "AidFMModel"),
          Prop<&A::aid_fm_serial_number_>("HearingAidFMSerialNumber", "AidFMSerialNumber"),
          Prop<&A::aid_fm_type_>("HearingAidFMType", "AidFMType"),
          Prop<&A::aid_manufacturer_>("HearingAidManufacturerCode", "AidManufacturer"),
          Prop<&A::aid_model_>("HearingAidModel", "AidModel"),
          Prop<&A::aid_picture_>("HearingAidPicture", "AidPicture"),
          Prop<&A::aid_purchase_date_>("HearingAidPurchaseDate", "AidPurchaseDate"),
          Prop<&A::aid_shape_>("HearingAidShape", "AidShape"),
          Prop<&A::aid_tubing_>("HearingAidTubing", "AidTubing"),
          Prop<&A::aid_type_>("HearingAidType", "AidType"),
          Prop<&A::aid_venting_>("HearingAidVenting", "AidVenting"),
          Prop<&A::aid_warranty_date_>("HearingAidWarrantyDate", "AidWarrantyDate"),
          Prop<&A::manufacturer_address_>("ManufacturerAddress", "ManufacturerAddress"),
          Prop<&A::manufacturer_city_>("ManufacturerCity", "ManufacturerCity"),
          Prop<&A::manufacturer_comment_>("ManufacturerComment", "ManufacturerComment"),
          Prop<&A::manufacturer_country_>("ManufacturerCountry", "ManufacturerCountry"),
          Prop<&A::manufacturer_deleted_>("ManufacturerDeleted", "ManufacturerDeleted"),
          Prop<&A::manufacturer_email_>("ManufacturerEmail", "ManufacturerEmail"),
          Prop<&A::manufacturer_name_>("ManufacturerName", "ManufacturerName"),
          Prop<&A::manufacturer_phone_>("ManufacturerPhone", "ManufacturerPhone"),
          Prop<&A::manufacturer_state_>("ManufacturerState", "ManufacturerState"),
          Prop<&A::manufacturer_type_>("ManufacturerType", "ManufacturerType"),
          Prop<&A::manufacturer_zip_code_>("ManufacturerZipCode", "ManufacturerZipCode"),
      },
      {
          Children<&A::test_definitions_>("TestDefinitions", "AddTestDefinition",
                                          "ResetTestDefinitions"),
      });
  return info;
}

}  // namespace tympora
