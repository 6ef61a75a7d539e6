#include "tympora/records/client.hpp"

#include "record_suite.hpp"
#include "tympora/node/conversions.hpp"

namespace tympora {
namespace {

testing::RecordCase ClientCase() {
  return {
      "CClient",
      [] { return std::make_shared<CClient>(); },
      "ClientOrPatient",
      [](RecordBase& r) {
        auto& c = static_cast<CClient&>(r);
        c.FirstName("Ann");
        c.LastName("Lee");
        c.Number("007");
        c.SocialSecurity("123-45-6789");
        c.Picture("ann.jpg");
        c.Gender("F");
        c.Physician("Dr. Grey");
        c.InsuranceAgency("Mutual");
        c.InsurancePhone("555-0111");
        c.InsurancePolicyNumber("P-9");
        c.InsuranceGroupNumber("G-12");
        c.City("Springfield");
        c.State("XY");
        c.ZipCode("01234");
        c.OtherPostalCode("OPC 1");
        c.StreetAddress("12 Elm Street");
        c.Country("Utopia");
        c.Phone1("555-0101");
        c.Phone2("555-0102");
        c.CellPhone("555-0100");
        c.OfficePhone("555-0103");
        c.Illness("none");
        c.Email("ann@example.org");
        c.Comment(" two blanks ");
        c.Deleted(true);
        c.HearingLoss("moderate");
        c.BirthDate(MakeDate(1950, 7, 14));
        c.RegistrationDate(MakeDate(1999, 12, 31));
        c.LastEntryDate(MakeDate(2024, 1, 2, 8, 30, 0));
        c.ReferenceNumber("R-1");
        c.MotherName("Mia");
        c.FatherName("Max");
        c.MiddleName("Jo");
      },
      {{"StreetAddress", "12 Elm Street"},
       {"BirthDate", "1950-07-14"},
       {"PhoneCell", "555-0100"},
       {"City", "Springfield"},
       {"Comment", " two blanks "},
       {"Country", "Utopia"},
       {"Deleted", "True"},
       {"Email", "ann@example.org"},
       {"FatherName", "Max"},
       {"FirstName", "Ann"},
       {"Gender", "F"},
       {"HearingLoss", "moderate"},
       {"Illness", "none"},
       {"InsuranceAgency", "Mutual"},
       {"InsuranceGroupNumber", "G-12"},
       {"InsurancePhone", "555-0111"},
       {"InsurancePolicyNumber", "P-9"},
       {"LastEntryDate", "2024-01-02 08:30:00"},
       {"LastName", "Lee"},
       {"MiddleName", "Jo"},
       {"MotherName", "Mia"},
       {"Number", "007"},
       {"OfficePhone", "555-0103"},
       {"OtherPostalCode", "OPC 1"},
       {"Phone1", "555-0101"},
       {"Phone2", "555-0102"},
       {"Physician", "Dr. Grey"},
       {"Picture", "ann.jpg"},
       {"ReferenceNumber", "R-1"},
       {"RegistrationDate", "1999-12-31"},
       {"SocialSecurity", "123-45-6789"},
       {"State", "XY"},
       {"ZipCode", "01234"}},
      {},
      {"CellPhone", "ID", "id", "Aids", "Client", "firstName", "FirstName ", "Address"},
  };
}
INSTANTIATE_RECORD_SUITE(Client, ClientCase());
INSTANTIATE_CHILD_LIST_SUITE(Client,
                             testing::ListCase<CClient, CClientAid>(
                                 "Aids", "ClientAid", &CClient::AddAid, &CClient::Aids,
                                 &CClient::ResetAids,
                                 [](CClientAid& aid) {
                                   aid.AidModel("kept");
                                   aid.AddTestDefinition(std::make_shared<CTestDefinition>());
                                 },
                                 "FirstName"));

}  // namespace
}  // namespace tympora
