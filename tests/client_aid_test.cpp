#include "tympora/records/client_aid.hpp"

#include "record_suite.hpp"
#include "tympora/node/conversions.hpp"

namespace tympora {
namespace {
using testing::ChildNamed;
using testing::ErrorOf;
using testing::ExportElement;
using testing::ExportsNull;
using testing::ImportText;

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

class ClientAidTest : public ::testing::Test {
  testing::LocaleGuard locale_{"C"};
};

TEST_F(ClientAidTest, RenamedPropertiesLiveOnlyUnderTheirElementNames) {
  CClientAid aid;
  aid.AidColor(255);
  aid.AidManufacturer("ACME-7");
  const struct {
    std::string element, property, text;
    Variant value;
  } rows[] = {{"HearingAidColor", "AidColor", "255", Variant(int32_t{255})},
              {"HearingAidManufacturerCode", "AidManufacturer", "ACME-7", Variant("ACME-7")}};
  DOMElement element = ExportElement(aid);
  for (const auto& row : rows) {
    SCOPED_TRACE(row.element);
    EXPECT_EQ(ChildNamed(element, row.element).text(), row.text);
    EXPECT_TRUE(ChildNamed(element, row.property).IsAbsent());
    EXPECT_EQ(aid.PropertyByName(row.element), row.value);
    EXPECT_TRUE(aid.PropertyByName(row.property).IsEmpty());

    CClientAid copy;
    ASSERT_EQ(ImportText(copy, "<ClientAid><" + row.property + ">" + row.text + "</" +
                                   row.property + "><" + row.element + ">" + row.text + "</" +
                                   row.element + "></ClientAid>")
                  ->Number(),
              0);
    EXPECT_EQ(copy.PropertyByName(row.element), row.value);
    CClientAid skipped;
    ASSERT_EQ(ImportText(skipped, "<ClientAid><" + row.property + ">" + row.text + "</" +
                                      row.property + "></ClientAid>")
                  ->Number(),
              0);
    EXPECT_TRUE(IsNullNode(ChildNamed(ExportElement(skipped), row.element)));
  }
}

TEST_F(ClientAidTest, ImportOfNumbersDatesAndBooleans) {
  const Date kBefore = MakeDate(2020, 1, 1);
  const struct {
    std::string element, text;
    bool start_null;   // the property is Null before the import (else it holds a value)
    Variant expected;  // the value afterwards, as PropertyByName reads it
    bool expected_null;
  } rows[] = {
      {"HearingAidClass", "2.5", true, Variant(int32_t{2}), false},
      {"HearingAidClass", "3.5", true, Variant(int32_t{4}), false},
      {"HearingAidClass", "B", true, Variant(int32_t{0}), true},
      {"HearingAidClass", "B", false, Variant(int32_t{9}), false},
      {"HearingAidColor", " 12 ", true, Variant(int32_t{12}), false},
      {"HearingAidPurchaseDate", "2021-03-04", true, Variant(MakeDate(2021, 3, 4)), false},
      {"HearingAidPurchaseDate", "no date", true, Variant(Date()), true},
      {"HearingAidPurchaseDate", "", false, Variant(kBefore), false},
      {"HearingAidWarrantyDate", "31/31/2020", false, Variant(kBefore), false},
      {"HearingAidFMIsActivated", "TRUE", true, Variant(true), false},
      {"HearingAidFMIsActivated", "True", true, Variant(true), false},
      {"HearingAidFMIsActivated", "untrue", true, Variant(true), false},
      {"HearingAidFMIsActivated", "False", false, Variant(false), false},
      {"HearingAidFMIsActivated", "", true, Variant(false), false},
      {"ManufacturerDeleted", "1", false, Variant(false), false},
      {"ManufacturerDeleted", "yes", true, Variant(false), false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.element + " <- '" + row.text + "'");
    CClientAid aid;
    if (!row.start_null) {
      aid.AidClass(9);
      aid.AidPurchaseDate(kBefore);
      aid.AidWarrantyDate(kBefore);
      aid.AidFMIsActivated(true);
      aid.ManufacturerDeleted(true);
    }
    ASSERT_EQ(ImportText(aid, "<ClientAid><" + row.element + ">" + row.text + "</" + row.element +
                                  "></ClientAid>")
                  ->Number(),
              0);
    EXPECT_EQ(aid.PropertyByName(row.element), row.expected);
    EXPECT_EQ(IsNullNode(ChildNamed(ExportElement(aid), row.element)), row.expected_null);
  }
}

}  // namespace
}  // namespace tympora
