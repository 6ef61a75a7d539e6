// The property table of CClient. Export order is the file's fixed order, not
// the interface order; the aids follow the properties.
#include "tympora/records/client.hpp"

#include "node/record_table.hpp"

namespace tympora {

const RecordInfo& CClient::Info() const {
  using table::Children;
  using table::Prop;
  using C = CClient;
  static const RecordInfo info(
      kNodeName, "CClient", "Function ExportTXT",
      {
          Prop<&C::street_address_>("StreetAddress", "StreetAddress"),
          Prop<&C::birth_date_>("BirthDate", "BirthDate"),
          Prop<&C::cell_phone_>("PhoneCell", "CellPhone"),
          Prop<&C::city_>("City", "City"),
          Prop<&C::comment_>("Comment", "Comment"),
          Prop<&C::country_>("Country", "Country"),
          Prop<&C::deleted_>("Deleted", "Deleted"),
          Prop<&C::email_>("Email", "Email"),
          Prop<&C::father_name_>("FatherName", "FatherName"),
          Prop<&C::first_name_>("FirstName", "FirstName"),
          Prop<&C::gender_>("Gender", "Gender"),
          Prop<&C::hearing_loss_>("HearingLoss", "HearingLoss"),
          Prop<&C::illness_>("Illness", "Illness"),
          Prop<&C::insurance_agency_>("InsuranceAgency", "InsuranceAgency"),
          Prop<&C::insurance_group_number_>("InsuranceGroupNumber", "InsuranceGroupNumber"),
          Prop<&C::insurance_phone_>("InsurancePhone", "InsurancePhone"),
          Prop<&C::insurance_policy_number_>("InsurancePolicyNumber", "InsurancePolicyNumber"),
          Prop<&C::last_entry_date_>("LastEntryDate", "LastEntryDate"),
          Prop<&C::last_name_>("LastName", "LastName"),
          Prop<&C::middle_name_>("MiddleName", "MiddleName"),
          Prop<&C::mother_name_>("MotherName", "MotherName"),
          Prop<&C::number_>("Number", "Number"),
          Prop<&C::office_phone_>("OfficePhone", "OfficePhone"),
          Prop<&C::other_postal_code_>("OtherPostalCode", "OtherPostalCode"),
          Prop<&C::phone1_>("Phone1", "Phone1"),
          Prop<&C::phone2_>("Phone2", "Phone2"),
          Prop<&C::physician_>("Physician", "Physician"),
          Prop<&C::picture_>("Picture", "Picture"),
          Prop<&C::reference_number_>("ReferenceNumber", "ReferenceNumber"),
          Prop<&C::registration_date_>("RegistrationDate", "RegistrationDate"),
          Prop<&C::social_security_>("SocialSecurity", "SocialSecurity"),
          Prop<&C::state_>("State", "State"),
          Prop<&C::zip_code_>("ZipCode", "ZipCode"),
      },
      {
          Children<&C::aids_>("Aids", "AddAid", "ResetAids"),
      });
  return info;
}

}  // namespace tympora
