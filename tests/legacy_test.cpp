// Files written on Windows by earlier hosts (UTF-8 and UTF-16 with a mark,
// 8-bit with and without a declaration, CR LF line ends, US-form dates),
// and files of clinics elsewhere in the encodings of their regions: each is
// read value by value and exported as UTF-8.
#include "test_util.hpp"
#include "tree.hpp"
#include "tympora/node/conversions.hpp"
#include "tympora/records/clients.hpp"

namespace tympora {
namespace {

const std::string kLegacy = std::string(TYMPORA_TEST_DATA) + "/legacy/";

// Loads and imports a file; fails the test when either step fails.
std::shared_ptr<CClients> Import(const std::string& path) {
  auto clients = std::make_shared<CClients>();
  const StatusPtr status = clients->ImportXMLFile(path);
  EXPECT_EQ(status->Number(), 0) << status->Description();
  return clients;
}

TEST(LegacyTest, EarlierHostsFilesImportValueByValueAndExportAsUtf8) {
  testing::LocaleGuard us("en_US.UTF-8");
  testing::TempDir dir;
  const std::string wide = "\xE2\x82\xAC \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x8E\xA7";
  const std::string price = "Preis 1250 \u20AC", doctor = "\u201CDr. \u0152dipe\u201D";
  // file, the manufacturer's comment, the physician: the texts that differ
  const std::tuple<const char*, std::string, std::string> fixtures[] = {
      {"utf8_bom.xml", wide, ""},
      {"utf16le_bom.xml", wide, ""},
      {"windows1252.xml", price, doctor},
      {"iso8859_1.xml", "\xC2\xA9 \xC2\xBD \xC3\xBF", ""},
      {"undeclared_8bit.xml", price, doctor},
  };
  for (const auto& [file, comment, physician] : fixtures) {
    SCOPED_TRACE(file);
    const auto clients = Import(kLegacy + file);
    ASSERT_EQ(clients->Clients()->Count(), 1);
    const auto c = clients->Clients()->Item(1);
    ASSERT_EQ(c->Aids()->Count(), 1);
    const auto aid = c->Aids()->Item(1);
    // The parse turns the CR LF inside a text into LF, as XML prescribes.
    EXPECT_EQ(std::tuple(clients->ID(), c->ID(), c->StreetAddress(), c->City(), c->Comment(),
                         c->Deleted(), c->FirstName(), c->LastName(), c->Physician(),
                         c->BirthDate(), c->RegistrationDate(), c->LastEntryDate()),
              std::tuple(1, 42, "Rue de l'\xC3\x89glise 5 & 7", "Z\xC3\xBCrich",
                         "Premi\xC3\xA8re visite\nsecond line", false, "Ren\xC3\xA9",
                         "M\u00FCller-L\u00FCdenscheidt", physician, MakeDate(1950, 7, 14),
                         MakeDate(2026, 11, 22, 15, 4, 5), MakeDate(2028, 2, 29, 23, 59, 59)));
    EXPECT_EQ(
        std::tuple(aid->ID(), aid->AidColor(), aid->AidFMIsActivated(), aid->AidModel(),
                   aid->AidPurchaseDate(), aid->ManufacturerComment(), aid->ManufacturerName()),
        std::tuple(7, 255, true, "Pro <2>", MakeDate(2025, 1, 2, 0, 0, 1), comment,
                   "H\xC3\xB6rwelt"));
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
  // the file's bytes, the first name as UTF-8
  const std::pair<std::string, std::string> rows[] = {
      {ClientFile(decl("iso-8859-2"), "\xA3\xF3\x64\xBC"), "\u0141\u00F3d\u017A"},
      {ClientFile(decl("KOI8-r"), "\xED\xCF\xD3\xCB\xD7\xC1"),
       "\u041C\u043E\u0441\u043A\u0432\u0430"},
      {ClientFile(decl("Shift_JIS"), "\x93\xFA\x96\x7B\x8C\xEA"), "\u65E5\u672C\u8A9E"},
      // GB18030's two- and four-byte forms
      {ClientFile(decl("gb18030"), "\xB1\xB1\xBE\xA9\x81\x30\x89\x38\x94\x39\xFC\x36"),
       "\u5317\u4EAC\u00DF\U0001F600"},
      {ClientFile(decl("Windows-1252"), "\x80\x93\xE9"), "\u20AC\u201C\u00E9"},
      {ClientFile(decl("ISO-8859-1"), "\x80\xE9"), "\xC2\x80\u00E9"},
      {ClientFile("", "\x93q\x94 caf\xE9"), "\u201Cq\u201D caf\u00E9"},  // no declaration
      {ClientFile("\xEF\xBB\xBF", "\xC3\xA9"), "\u00E9"},
      {ClientFile("\xFE\xFF", std::string("\x00\xE9\xD8\x3D\xDE\x00", 6), 1), "\u00E9\U0001F600"},
      {ClientFile("\xFE\xFF" + decl("UTF-16"), std::string("\x01\x41\x00\xF3", 4), 1),
       "\u0141\u00F3"},
      {ClientFile(decl("utf-16be"), std::string("\x04\x1C\0z", 4), 1), "\u041Cz"},
      {ClientFile("\xFF\xFE", std::string("\xE9\x00\x3D\xD8\x00\xDE", 6), 2), "\u00E9\U0001F600"},
      // EBCDIC, declared as IBM037
      {"\x4c\x6f\xa7\x94\x93\x40\xa5\x85\x99\xa2\x89\x96\x95\x7e\x7f\xf1\x4b\xf0\x7f\x40\x85\x95"
       "\x83\x96\x84\x89\x95\x87\x7e\x7f\xc9\xc2\xd4\xf0\xf3\xf7\x7f\x6f\x6e\x4c\xc3\x93\x89\x85"
       "\x95\xa3\xa2\x40\x89\x84\x7e\x7f\xf1\x7f\x6e\x4c\xc3\x93\x89\x85\x95\xa3\xd6\x99\xd7\x81"
       "\xa3\x89\x85\x95\xa3\x40\x89\x84\x7e\x7f\xf2\x7f\x6e\x4c\xc6\x89\x99\xa2\xa3\xd5\x81\x94"
       "\x85\x6e\xd4\xdc\x93\x93\x85\x99\x4c\x61\xc6\x89\x99\xa2\xa3\xd5\x81\x94\x85\x6e\x4c\x61"
       "\xc3\x93\x89\x85\x95\xa3\xd6\x99\xd7\x81\xa3\x89\x85\x95\xa3\x6e\x4c\x61\xc3\x93\x89\x85"
       "\x95\xa3\xa2\x6e",
       "M\u00FCller"},
  };
  testing::TempDir dir;
  for (const auto& [bytes, first_name] : rows) {
    SCOPED_TRACE(first_name);
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
