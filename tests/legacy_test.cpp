// Files written on Windows by earlier hosts: UTF-8 and UTF-16 with a
// byte-order mark, 8-bit files that declare windows-1252 or ISO-8859-1, an
// 8-bit file without a declaration (read as Windows-1252), CR LF line ends
// throughout and US-form dates. Every fixture holds the same client; each is
// loaded from disk, imported and checked value by value.
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "test_util.hpp"
#include "tympora/node/conversions.hpp"
#include "tympora/records/clients.hpp"

namespace tympora {
namespace {

const std::string kLegacy = std::string(TYMPORA_TEST_DATA) + "/legacy/";

struct Fixture {
  const char* file;
  const char* manufacturer_comment;  // the one text that differs per encoding
  std::optional<std::string> physician;
};

const Fixture kFixtures[] = {
    {"utf8_bom.xml", "\xE2\x82\xAC \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x8E\xA7", std::nullopt},
    {"utf16le_bom.xml", "\xE2\x82\xAC \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x8E\xA7", std::nullopt},
    {"windows1252.xml", "Preis 1250 \xE2\x82\xAC",
     "\xE2\x80\x9C"
     "Dr. \xC5\x92"
     "dipe\xE2\x80\x9D"},
    {"iso8859_1.xml", "\xC2\xA9 \xC2\xBD \xC3\xBF", std::nullopt},
    {"undeclared_8bit.xml", "Preis 1250 \xE2\x82\xAC",
     "\xE2\x80\x9C"
     "Dr. \xC5\x92"
     "dipe\xE2\x80\x9D"},
};

// Loads and imports a fixture; fails the test when either step fails.
std::shared_ptr<CClients> Import(const std::string& file) {
  DOMDocument doc = DOMDocument::New();
  EXPECT_TRUE(doc.load(kLegacy + file)) << doc.parseError().reason;
  auto clients = std::make_shared<CClients>();
  DOMNode root = doc.documentElement();
  const StatusPtr status = clients->ImportXMLNode(root);
  EXPECT_EQ(status->Number(), 0) << status->Description();
  return clients;
}

TEST(LegacyTest, EarlierHostsFilesImportValueByValue) {
  testing::LocaleGuard us("en_US.UTF-8");
  for (const Fixture& f : kFixtures) {
    SCOPED_TRACE(f.file);
    const auto clients = Import(f.file);
    EXPECT_EQ(clients->ID(), 1);
    ASSERT_EQ(clients->Clients()->Count(), 1);
    const auto c = clients->Clients()->Item(1);
    EXPECT_EQ(c->ID(), 42);
    EXPECT_EQ(c->StreetAddress(), "Rue de l'\xC3\x89glise 5 & 7");
    EXPECT_EQ(c->City(), "Z\xC3\xBCrich");
    // The parse turns the CR LF inside a text into LF, as XML prescribes.
    EXPECT_EQ(c->Comment(), "Premi\xC3\xA8re visite\nsecond line");
    EXPECT_FALSE(c->Deleted());
    EXPECT_EQ(c->FirstName(), "Ren\xC3\xA9");
    EXPECT_EQ(c->LastName(),
              "M\xC3\xBCller-L\xC3\xBC"
              "denscheidt");
    EXPECT_EQ(c->Physician(), f.physician.value_or(""));
    EXPECT_EQ(c->BirthDate(), MakeDate(1950, 7, 14));
    EXPECT_EQ(c->RegistrationDate(), MakeDate(2026, 11, 22, 15, 4, 5));
    EXPECT_EQ(c->LastEntryDate(), MakeDate(2028, 2, 29, 23, 59, 59));
    ASSERT_EQ(c->Aids()->Count(), 1);
    const auto aid = c->Aids()->Item(1);
    EXPECT_EQ(aid->ID(), 7);
    EXPECT_EQ(aid->AidColor(), 255);
    EXPECT_TRUE(aid->AidFMIsActivated());
    EXPECT_EQ(aid->AidModel(), "Pro <2>");
    EXPECT_EQ(aid->AidPurchaseDate(), MakeDate(2025, 1, 2, 0, 0, 1));
    EXPECT_EQ(aid->ManufacturerComment(), f.manufacturer_comment);
    EXPECT_EQ(aid->ManufacturerName(), "H\xC3\xB6rwelt");
  }
}

// Read in the C locale, the US-form dates are no dates: those properties
// keep their Null state, everything else reads the same.
TEST(LegacyTest, UsDatesNeedTheUsLocale) {
  testing::LocaleGuard c_locale("C");
  const auto clients = Import("windows1252.xml");
  const auto c = clients->Clients()->Item(1);
  EXPECT_EQ(c->FirstName(), "Ren\xC3\xA9");
  EXPECT_EQ(c->RegistrationDate(), Date(0));
  EXPECT_EQ(c->PropertyByName("RegistrationDate"), Variant(Date(0)));
}

// An import from a legacy file exports as UTF-8 and reads back the same.
TEST(LegacyTest, LegacyFilesRoundTripAsUtf8) {
  testing::LocaleGuard us("en_US.UTF-8");
  testing::TempDir dir;
  for (const Fixture& f : kFixtures) {
    SCOPED_TRACE(f.file);
    const auto clients = Import(f.file);
    ASSERT_EQ(clients->ExportXMLPath(dir / "again.xml")->Number(), 0);
    const std::string bytes = testing::ReadFile(dir / "again.xml");
    EXPECT_EQ(bytes.find("encoding"), std::string::npos);
    EXPECT_NE(bytes.find("Ren\xC3\xA9"), std::string::npos);
    DOMDocument doc = DOMDocument::New();
    ASSERT_TRUE(doc.load(dir / "again.xml"));
    CClients back;
    DOMNode root = doc.documentElement();
    ASSERT_EQ(back.ImportXMLNode(root)->Number(), 0);
    EXPECT_EQ(back.Clients()->Item(1)->Aids()->Item(1)->ManufacturerComment(),
              f.manufacturer_comment);
    EXPECT_EQ(back.Clients()->Item(1)->RegistrationDate(), MakeDate(2026, 11, 22, 15, 4, 5));
  }
}

}  // namespace
}  // namespace tympora
