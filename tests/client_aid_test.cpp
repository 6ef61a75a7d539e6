#include "tympora/records/client_aid.hpp"

#include "record_suite.hpp"
#include "tympora/node/conversions.hpp"

namespace tympora {
namespace {

testing::RecordCase ClientAidCase() {
  return {
      "CClientAid",
      [] { return std::make_shared<CClientAid>(); },
      "ClientAid",
      [](RecordBase& r) {
        auto& a = static_cast<CClientAid&>(r);
        a.ManufacturerName("Sonic Works");
        a.ManufacturerType("Maker");
        a.ManufacturerCity("Springfield");
        a.ManufacturerState("XY");
        a.ManufacturerZipCode("01234");
        a.ManufacturerCountry("Utopia");
        a.ManufacturerPhone("555-0199");
        a.ManufacturerEmail("info@example.org");
        a.ManufacturerComment("Preferred");
        a.ManufacturerDeleted(true);
        a.AidSerialNumber("SN-0042");
        a.AidEar("Left");
        a.AidColor(16777215);
        a.AidShape("BTE");
        a.AidPicture("aid.png");
        a.AidType("Digital");
        a.AidBatterySize("312");
        a.AidBatteryType("Zinc-air");
        a.AidWarrantyDate(MakeDate(2023, 3, 4, 13, 45, 30));
        a.AidPurchaseDate(MakeDate(2021, 3, 4));
        a.AidClass(-2);
        a.AidModel("Model 9");
        a.AidManufacturer("ACME-7");
        a.AidComment("Fits well");
        a.AidFMType("Receiver");
        a.AidFMModel("FM-2");
        a.AidFMManufacturer("Radio Co");
        a.AidFMSerialNumber("FM-77");
        a.AidFMIsActivated(true);
        a.AidEarmoldType("Skeleton");
        a.AidEarmoldMaterial("Acrylic");
        a.AidTubing("Thin");
        a.AidVenting(" 2 mm ");
        a.AidChannels("2+2");
        a.ManufacturerAddress("1 Main Street");
      },
      {{"AidEar", "Left"},
       {"AidSerialNumber", "SN-0042"},
       {"HearingAidBatterySize", "312"},
       {"HearingAidBatteryType", "Zinc-air"},
       {"HearingAidChannels", "2+2"},
       {"HearingAidClass", "-2"},
       {"HearingAidColor", "16777215"},
       {"HearingAidComment", "Fits well"},
       {"HearingAidEarmoldMaterial", "Acrylic"},
       {"HearingAidEarmoldType", "Skeleton"},
       {"HearingAidFMIsActivated", "True"},
       {"HearingAidFMManufacturer", "Radio Co"},
       {"HearingAidFMModel", "FM-2"},
       {"HearingAidFMSerialNumber", "FM-77"},
       {"HearingAidFMType", "Receiver"},
       {"HearingAidManufacturerCode", "ACME-7"},
       {"HearingAidModel", "Model 9"},
       {"HearingAidPicture", "aid.png"},
       {"HearingAidPurchaseDate", "2021-03-04"},
       {"HearingAidShape", "BTE"},
       {"HearingAidTubing", "Thin"},
       {"HearingAidType", "Digital"},
       {"HearingAidVenting", " 2 mm "},
       {"HearingAidWarrantyDate", "2023-03-04 13:45:30"},
       {"ManufacturerAddress", "1 Main Street"},
       {"ManufacturerCity", "Springfield"},
       {"ManufacturerComment", "Preferred"},
       {"ManufacturerCountry", "Utopia"},
       {"ManufacturerDeleted", "True"},
       {"ManufacturerEmail", "info@example.org"},
       {"ManufacturerName", "Sonic Works"},
       {"ManufacturerPhone", "555-0199"},
       {"ManufacturerState", "XY"},
       {"ManufacturerType", "Maker"},
       {"ManufacturerZipCode", "01234"}},
      {},
      {"AidColor", "AidManufacturer", "AidChannels", "AidClass", "AidShape", "AidWarrantyDate",
       "AidFMIsActivated", "HearingAidManufacturer", "HearingAidSerialNumber", "HearingAidEar",
       "ID", "id", "TestDefinitions", "manufacturerName", "ManufacturerName "},
  };
}
INSTANTIATE_RECORD_SUITE(ClientAid, ClientAidCase());
INSTANTIATE_CHILD_LIST_SUITE(ClientAid,
                             testing::ListCase<CClientAid, CTestDefinition>(
                                 "TestDefinitions", "TestSession", &CClientAid::AddTestDefinition,
                                 &CClientAid::TestDefinitions, &CClientAid::ResetTestDefinitions,
                                 [](CTestDefinition& t) {
                                   t.Comment("kept");
                                   t.AddExamination(std::make_shared<CExamination>());
                                 },
                                 "AidEar"));

}  // namespace
}  // namespace tympora
