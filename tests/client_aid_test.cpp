#include "tympora/records/client_aid.hpp"

#include "record_suite.hpp"
#include "tympora/node/conversions.hpp"

namespace tympora {
namespace {
using testing::Prop;

testing::RecordCase ClientAidCase() {
  using A = CClientAid;
  return testing::Case<CClientAid>(
      "CClientAid", "ClientAid",
      {Prop(&A::AidEar, "AidEar", "Left"),
       Prop(&A::AidSerialNumber, "AidSerialNumber", "SN-0042"),
       Prop(&A::AidBatterySize, "HearingAidBatterySize", "312"),
       Prop(&A::AidBatteryType, "HearingAidBatteryType", "Zinc-air"),
       Prop(&A::AidChannels, "HearingAidChannels", "2+2"),
       Prop(&A::AidClass, "HearingAidClass", "-2", -2),
       Prop(&A::AidColor, "HearingAidColor", "16777215", 16777215),
       Prop(&A::AidComment, "HearingAidComment", "Fits well"),
       Prop(&A::AidEarmoldMaterial, "HearingAidEarmoldMaterial", "Acrylic"),
       Prop(&A::AidEarmoldType, "HearingAidEarmoldType", "Skeleton"),
       Prop(&A::AidFMIsActivated, "HearingAidFMIsActivated", "True", true),
       Prop(&A::AidFMManufacturer, "HearingAidFMManufacturer", "Radio Co"),
       Prop(&A::AidFMModel, "HearingAidFMModel", "FM-2"),
       Prop(&A::AidFMSerialNumber, "HearingAidFMSerialNumber", "FM-77"),
       Prop(&A::AidFMType, "HearingAidFMType", "Receiver"),
       Prop(&A::AidManufacturer, "HearingAidManufacturerCode", "ACME-7"),
       Prop(&A::AidModel, "HearingAidModel", "Model 9"),
       Prop(&A::AidPicture, "HearingAidPicture", "aid.png"),
       Prop(&A::AidPurchaseDate, "HearingAidPurchaseDate", "2021-03-04", MakeDate(2021, 3, 4)),
       Prop(&A::AidShape, "HearingAidShape", "BTE"),
       Prop(&A::AidTubing, "HearingAidTubing", "Thin"),
       Prop(&A::AidType, "HearingAidType", "Digital"),
       Prop(&A::AidVenting, "HearingAidVenting", " 2 mm "),
       Prop(&A::AidWarrantyDate, "HearingAidWarrantyDate", "2023-03-04 13:45:30",
            MakeDate(2023, 3, 4, 13, 45, 30)),
       Prop(&A::ManufacturerAddress, "ManufacturerAddress", "1 Main Street"),
       Prop(&A::ManufacturerCity, "ManufacturerCity", "Springfield"),
       Prop(&A::ManufacturerComment, "ManufacturerComment", "Preferred"),
       Prop(&A::ManufacturerCountry, "ManufacturerCountry", "Utopia"),
       Prop(&A::ManufacturerDeleted, "ManufacturerDeleted", "True", true),
       Prop(&A::ManufacturerEmail, "ManufacturerEmail", "info@example.org"),
       Prop(&A::ManufacturerName, "ManufacturerName", "Sonic Works"),
       Prop(&A::ManufacturerPhone, "ManufacturerPhone", "555-0199"),
       Prop(&A::ManufacturerState, "ManufacturerState", "XY"),
       Prop(&A::ManufacturerType, "ManufacturerType", "Maker"),
       Prop(&A::ManufacturerZipCode, "ManufacturerZipCode", "01234")},
      {},
      {"AidColor", "AidManufacturer", "AidChannels", "AidClass", "AidShape", "AidWarrantyDate",
       "AidFMIsActivated", "HearingAidManufacturer", "HearingAidSerialNumber", "HearingAidEar",
       "ID", "id", "TestDefinitions", "manufacturerName", "ManufacturerName "});
}
INSTANTIATE_RECORD_SUITE(ClientAid, ClientAidCase());
INSTANTIATE_CHILD_LIST_SUITE(ClientAid,
                             testing::ListCase<CClientAid, CTestDefinition>(
                                 "TestDefinitions", "TestSession", &CClientAid::AddTestDefinition,
                                 &CClientAid::TestDefinitions, &CClientAid::ResetTestDefinitions,
                                 [](CTestDefinition& t) { t.Comment("kept"); }, "AidEar"));

}  // namespace
}  // namespace tympora
