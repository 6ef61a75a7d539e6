#include "tympora/records/client.hpp"

#include "record_suite.hpp"
#include "tympora/node/conversions.hpp"

namespace tympora {
namespace {
using testing::Prop;

testing::RecordCase ClientCase() {
  using C = CClient;
  return testing::Case<CClient>(
      "CClient", "ClientOrPatient",
      {Prop(&C::StreetAddress, "StreetAddress", "12 Elm Street"),
       Prop(&C::BirthDate, "BirthDate", "1950-07-14", MakeDate(1950, 7, 14)),
       Prop(&C::CellPhone, "PhoneCell", "555-0100"),
       Prop(&C::City, "City", "Springfield"),
       Prop(&C::Comment, "Comment", " two blanks "),
       Prop(&C::Country, "Country", "Utopia"),
       Prop(&C::Deleted, "Deleted", "True", true),
       Prop(&C::Email, "Email", "ann@example.org"),
       Prop(&C::FatherName, "FatherName", "Max"),
       Prop(&C::FirstName, "FirstName", "Ann"),
       Prop(&C::Gender, "Gender", "F"),
       Prop(&C::HearingLoss, "HearingLoss", "moderate"),
       Prop(&C::Illness, "Illness", "none"),
       Prop(&C::InsuranceAgency, "InsuranceAgency", "Mutual"),
       Prop(&C::InsuranceGroupNumber, "InsuranceGroupNumber", "G-12"),
       Prop(&C::InsurancePhone, "InsurancePhone", "555-0111"),
       Prop(&C::InsurancePolicyNumber, "InsurancePolicyNumber", "P-9"),
       Prop(&C::LastEntryDate, "LastEntryDate", "2024-01-02 08:30:00",
            MakeDate(2024, 1, 2, 8, 30, 0)),
       Prop(&C::LastName, "LastName", "Lee"),
       Prop(&C::MiddleName, "MiddleName", "Jo"),
       Prop(&C::MotherName, "MotherName", "Mia"),
       Prop(&C::Number, "Number", "007"),
       Prop(&C::OfficePhone, "OfficePhone", "555-0103"),
       Prop(&C::OtherPostalCode, "OtherPostalCode", "OPC 1"),
       Prop(&C::Phone1, "Phone1", "555-0101"),
       Prop(&C::Phone2, "Phone2", "555-0102"),
       Prop(&C::Physician, "Physician", "Dr. Grey"),
       Prop(&C::Picture, "Picture", "ann.jpg"),
       Prop(&C::ReferenceNumber, "ReferenceNumber", "R-1"),
       Prop(&C::RegistrationDate, "RegistrationDate", "1999-12-31", MakeDate(1999, 12, 31)),
       Prop(&C::SocialSecurity, "SocialSecurity", "123-45-6789"),
       Prop(&C::State, "State", "XY"),
       Prop(&C::ZipCode, "ZipCode", "01234")},
      {}, {"CellPhone", "ID", "id", "Aids", "Client", "firstName", "FirstName ", "Address"});
}
INSTANTIATE_RECORD_SUITE(Client, ClientCase());
INSTANTIATE_CHILD_LIST_SUITE(Client,
                             testing::ListCase<CClient, CClientAid>(
                                 "Aids", "ClientAid", &CClient::AddAid, &CClient::Aids,
                                 &CClient::ResetAids, [](CClientAid& aid) { aid.AidModel("kept"); },
                                 "FirstName"));

}  // namespace
}  // namespace tympora
