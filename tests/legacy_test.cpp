// Files written on Windows by earlier hosts: UTF-8 and UTF-16 with a
// byte-order mark, 8-bit files that declare windows-1252 or ISO-8859-1, an
// 8-bit file without a declaration (read as Windows-1252), CR LF line ends
// throughout and US-form dates. Every fixture holds the same client; each is
// loaded from disk, imported, checked value by value and exported as UTF-8.
// Files of clinics elsewhere declare the encodings of their regions: each is
// read letter by letter and exported as UTF-8.
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "test_util.hpp"
#include "tree.hpp"
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

// Loads and imports a file; fails the test when either step fails.
std::shared_ptr<CClients> Import(const std::string& path) {
  DOMDocument doc = DOMDocument::New();
  EXPECT_TRUE(doc.load(path)) << doc.parseError().reason;
  auto clients = std::make_shared<CClients>();
  DOMNode root = doc.documentElement();
  const StatusPtr status = clients->ImportXMLNode(root);
  EXPECT_EQ(status->Number(), 0) << status->Description();
  return clients;
}

TEST(LegacyTest, EarlierHostsFilesImportValueByValueAndExportAsUtf8) {
  testing::LocaleGuard us("en_US.UTF-8");
  testing::TempDir dir;
  for (const Fixture& f : kFixtures) {
    SCOPED_TRACE(f.file);
    const auto clients = Import(kLegacy + f.file);
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
    // Exported again, as UTF-8, it reads back the same.
    ASSERT_EQ(clients->ExportXMLPath(dir / "again.xml")->Number(), 0);
    EXPECT_EQ(testing::ReadFile(dir / "again.xml").find("encoding"), std::string::npos);
    EXPECT_EQ(support::CompareTrees(*clients, *Import(dir / "again.xml")), "");
  }
}

// A client list whose one client's first name is `name`: the markup in
// ASCII after `head`, or in UTF-16 (1: big, 2: little endian).
std::string ClientFile(const std::string& head, const std::string& name, int wide = 0) {
  const std::string open = R"(<Clients id="1"><ClientOrPatient id="2"><FirstName>)";
  const std::string close = "</FirstName></ClientOrPatient></Clients>";
  const auto widen = [&](std::string_view ascii) {
    if (wide == 0) return std::string(ascii);
    std::string out;
    for (char c : ascii) out += wide == 1 ? std::string{'\0', c} : std::string{c, '\0'};
    return out;
  };
  return head.substr(0, head.find('<')) +
         widen(head.substr(std::min(head.size(), head.find('<')))) + widen(open) + name +
         widen(close);
}

TEST(LegacyTest, EveryDeclaredEncodingImportsAndExportsAsUtf8) {
  const auto decl = [](const char* encoding) {
    return "<?xml version=\"1.0\" encoding=\"" + std::string(encoding) + "\"?>\r\n";
  };
  const std::tuple<const char*, std::string, std::string> rows[] = {
      // name, bytes, as UTF-8
      {"ISO-8859-2",
       ClientFile(decl("iso-8859-2"),
                  "\xA3\xF3"
                  "d\xBC"),
       "\xC5\x81\xC3\xB3"
       "d\xC5\xBA"},
      {"KOI8-R", ClientFile(decl("KOI8-r"), "\xED\xCF\xD3\xCB\xD7\xC1"),
       "\xD0\x9C\xD0\xBE\xD1\x81\xD0\xBA\xD0\xB2\xD0\xB0"},
      {"Shift_JIS", ClientFile(decl("Shift_JIS"), "\x93\xFA\x96\x7B\x8C\xEA"),
       "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E"},
      {"GB18030, two- and four-byte",
       ClientFile(decl("gb18030"), "\xB1\xB1\xBE\xA9\x81\x30\x89\x38\x94\x39\xFC\x36"),
       "\xE5\x8C\x97\xE4\xBA\xAC\xC3\x9F\xF0\x9F\x98\x80"},
      {"windows-1252", ClientFile(decl("Windows-1252"), "\x80\x93\xE9"),
       "\xE2\x82\xAC\xE2\x80\x9C\xC3\xA9"},
      {"ISO-8859-1", ClientFile(decl("ISO-8859-1"), "\x80\xE9"), "\xC2\x80\xC3\xA9"},
      {"8-bit without a declaration", ClientFile("", "\x93q\x94 caf\xE9"),
       "\xE2\x80\x9Cq\xE2\x80\x9D caf\xC3\xA9"},
      {"UTF-8 with a mark", ClientFile("\xEF\xBB\xBF", "\xC3\xA9"), "\xC3\xA9"},
      {"UTF-16 BE with a mark, no declaration",
       ClientFile("\xFE\xFF", std::string("\x00\xE9\xD8\x3D\xDE\x00", 6), 1),
       "\xC3\xA9\xF0\x9F\x98\x80"},
      {"UTF-16 BE with a mark and a declaration",
       ClientFile("\xFE\xFF" + decl("UTF-16"), std::string("\x01\x41\x00\xF3", 4), 1),
       "\xC5\x81\xC3\xB3"},
      {"UTF-16 BE declared, no mark",
       ClientFile(decl("utf-16be"), std::string("\x04\x1C\0z", 4), 1), "\xD0\x9Cz"},
      {"UTF-16 LE with a mark",
       ClientFile("\xFF\xFE", std::string("\xE9\x00\x3D\xD8\x00\xDE", 6), 2),
       "\xC3\xA9\xF0\x9F\x98\x80"},
      {"EBCDIC declared as IBM037",
       "\x4c\x6f\xa7\x94\x93\x40\xa5\x85\x99\xa2\x89\x96\x95\x7e\x7f\xf1\x4b\xf0\x7f\x40\x85\x95"
       "\x83\x96\x84\x89\x95\x87\x7e\x7f\xc9\xc2\xd4\xf0\xf3\xf7\x7f\x6f\x6e\x4c\xc3\x93\x89\x85"
       "\x95\xa3\xa2\x40\x89\x84\x7e\x7f\xf1\x7f\x6e\x4c\xc3\x93\x89\x85\x95\xa3\xd6\x99\xd7\x81"
       "\xa3\x89\x85\x95\xa3\x40\x89\x84\x7e\x7f\xf2\x7f\x6e\x4c\xc6\x89\x99\xa2\xa3\xd5\x81\x94"
       "\x85\x6e\xd4\xdc\x93\x93\x85\x99\x4c\x61\xc6\x89\x99\xa2\xa3\xd5\x81\x94\x85\x6e\x4c\x61"
       "\xc3\x93\x89\x85\x95\xa3\xd6\x99\xd7\x81\xa3\x89\x85\x95\xa3\x6e\x4c\x61\xc3\x93\x89\x85"
       "\x95\xa3\xa2\x6e",
       "M\xC3\xBCller"},
  };
  testing::TempDir dir;
  for (const auto& [name, bytes, first_name] : rows) {
    SCOPED_TRACE(name);
    testing::WriteFile(dir / "in.xml", bytes);
    const auto clients = Import(dir / "in.xml");
    ASSERT_EQ(clients->Clients()->Count(), 1);
    EXPECT_EQ(clients->Clients()->Item(1)->FirstName(), first_name);
    ASSERT_EQ(clients->ExportXMLPath(dir / "out.xml")->Number(), 0);
    const std::string out = testing::ReadFile(dir / "out.xml");
    EXPECT_EQ(out.find("encoding"), std::string::npos);
    EXPECT_NE(out.find("<FirstName>" + first_name + "</FirstName>"), std::string::npos);
  }
}

}  // namespace
}  // namespace tympora
