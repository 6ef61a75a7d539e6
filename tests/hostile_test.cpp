// Hostile input: documents made to break the parser or the import, values
// that XML cannot carry, and texts that must come back from a file exactly.
// Each hostile document is one row of a table; the fuzzers' reproducers are
// rows too.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "test_util.hpp"
#include "tree.hpp"
#include "tympora/measurement/curve_datum.hpp"
#include "tympora/node/error.hpp"
#include "tympora/node/file_layer.hpp"
#include "tympora/records/clients.hpp"

namespace tympora {
namespace {

using namespace std::string_literals;
using testing::ReadFile;
using testing::TempDir;

std::string Repeat(const std::string& s, size_t n) {
  std::string out;
  out.reserve(s.size() * n);
  for (size_t i = 0; i < n; ++i) out += s;
  return out;
}

// A client list document with one client whose content is `inner`.
std::string OneClient(const std::string& inner) {
  return "<Clients id=\"1\"><ClientOrPatient id=\"2\">" + inner + "</ClientOrPatient></Clients>";
}

std::shared_ptr<CClient> FirstClient(const CClients& clients) {
  return clients.Clients()->Count() > 0 ? clients.Clients()->Item(1) : nullptr;
}

// ---- Documents that do not parse ---------------------------------------

struct Malformed {
  const char* name;
  std::string text;
  int64_t line, column;  // where the parser reports the fault
  const char* reason;    // a part of the parser's reason
};

TEST(HostileTest, MalformedDocumentsAreRefusedWithTheirPositionAndImportNothing) {
  const Malformed rows[] = {
      {"truncated in an end tag",
       "<Clients id=\"1\">\r\n<ClientOrPatient id=\"2\">\r\n<FirstName>Ann</Fir", 3, 17,
       "mismatch"},
      {"truncated in an attribute", "<Clients id=\"1", 1, 14, "attribute"},
      {"truncated after a start tag", "<Clients id=\"1\">\r\n<ClientOrPatient id=\"2\">", 2, 24,
       "Start-end tags mismatch"},
      {"mismatched tags",
       "<Clients id=\"1\">\n<ClientOrPatient id=\"2\"></Clients></ClientOrPatient>", 2, 27,
       "mismatch"},
      {"unquoted attribute", "<Clients id=1/>", 1, 13, "attribute"},
      {"markup character in text", "<Clients id=\"1\">a < b</Clients>", 1, 20, ""},
      {"empty text", "", 1, 1, "No document element"},
      {"declaration only", "<?xml version=\"1.0\"?>\r\n", 2, 1, "No document element"},
      {"two document elements", "<Clients/>\r\n<Clients/>", 2, 1, "Only one top level element"},
      {"text after the document element", "<Clients/>junk", 1, 11, "outside the document element"},
      {"raw control character", OneClient("<FirstName>a\x01</FirstName>"), 1, 53, "U+0001"},
      {"raw U+FFFF", OneClient("<FirstName>\xEF\xBF\xBF</FirstName>"), 1, 52, "U+FFFF"},
      {"reference to U+0000", OneClient("<FirstName>a&#0;b</FirstName>"), 1, 53, "U+0000"},
      {"reference to U+0001 in an attribute", "<Clients id=\"&#x1;\"/>", 1, 14, "U+0001"},
      {"reference to a surrogate", OneClient("<FirstName>&#xD800;</FirstName>"), 1, 52, "U+D800"},
      {"reference beyond U+10FFFF", OneClient("<FirstName>&#1114112;</FirstName>"), 1, 52,
       "beyond"},
      {"incomplete reference", OneClient("<FirstName>&#12</FirstName>"), 1, 52, "Incomplete"},
      {"invalid UTF-8 where UTF-8 is declared",
       "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<Clients>\xFF</Clients>", 2, 10, "UTF-8"},
      {"element name starting with a digit", "<1Clients/>", 1, 2, ""},
      {"unclosed comment", "<Clients><!-- no end</Clients>", 1, 14, "comment"},
      {"unclosed CDATA section", "<Clients><![CDATA[ no end</Clients>", 1, 19, "CDATA"},
      {"an attribute twice", OneClient("\n<FirstName null=\"true\" null=\"false\"/>"), 2, 24,
       "twice"},
      {"1,000 id attributes", "<Clients" + Repeat(" id=\"1\"", 1000) + "/>", 1, 17, "twice"},
      {"a bare '&'", OneClient("<FirstName>A & B</FirstName>"), 1, 54, "reference"},
      {"a bare '&' in an attribute value", "<Clients id=\"1&2\"/>", 1, 15, "reference"},
      {"an undeclared entity", OneClient("<FirstName>&nbsp;</FirstName>"), 1, 52, "undeclared"},
      {"'<' in an attribute value", "<Clients id=\"<1\"/>", 1, 14, "'<'"},
      {"\"]]>\" in text", OneClient("<FirstName>a]]>b</FirstName>"), 1, 53, "]]>"},
      {"\"--\" inside a comment", "<Clients>\r\n<!-- a -- b --></Clients>", 2, 8, "--"},
      {"a comment ending in \"--->\"", "<Clients><!-- a ---></Clients>", 1, 17, "--"},
      {"version=\"banana\"", "<?xml version=\"banana\"?><Clients/>", 1, 16, "version"},
      {"a declaration without a version", "<?xml encoding=\"UTF-8\"?><Clients/>", 1, 7, "version"},
      {"a declaration with standalone=\"maybe\"",
       "<?xml version=\"1.0\" standalone=\"maybe\"?><Clients/>", 1, 33, "standalone"},
      {"the target XML in capitals", "<Clients><?XML x?></Clients>", 1, 12, "reserved"},
      {"an unknown encoding", "<?xml version=\"1.0\" encoding=\"x-no-such-code\"?>\n<Clients/>", 1,
       31, "\"x-no-such-code\""},
      {"iconv's syntax in an encoding name",
       "<?xml version=\"1.0\" encoding=\"UTF-16//IGNORE\"?><Clients/>", 1, 31, "Invalid encoding"},
      {"UTF-16 declared in 8-bit bytes", "<?xml version=\"1.0\" encoding=\"UTF-16\"?><Clients/>", 1,
       31, "do not match"},
      {"a UTF-8 mark with another declared encoding",
       "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"KOI8-R\"?><Clients/>", 1, 31, "KOI8-R"},
      {"a UTF-16 mark with another declared encoding",
       "\xFE\xFF\0<\0?\0x\0m\0l\0 \0e\0n\0c\0o\0d\0i\0n\0g\0=\0'\0L\0"
       "1\0'\0?\0>"s,
       1, 17, "declares \"L1\""},
      {"bytes that Shift_JIS does not allow",
       "<?xml version=\"1.0\" encoding=\"shift_jis\"?>\r\n<Clients>\x93</Clients>", 2, 10,
       "shift_jis"},
      {"a Windows-1252 byte that the code page leaves undefined",
       "<?xml version='1.0' encoding='windows-1252'?>\n<Clients>\x81</Clients>", 2, 10, "1252"},
      {"UTF-16 cut in a character", "\xFF\xFE<\0a\0/\0>\0\x0A"s, 1, 5, "Incomplete"},
  };
  for (const Malformed& row : rows) {
    SCOPED_TRACE(row.name);
    DOMDocument doc = DOMDocument::New();
    ASSERT_FALSE(doc.loadXML(row.text));
    const DOMParseError& e = doc.parseError();
    EXPECT_EQ(e.errorCode, kDomErrParse);
    EXPECT_NE(e.reason.find(row.reason), std::string::npos) << e.reason;
    EXPECT_EQ(e.line, row.line) << e.reason;
    EXPECT_EQ(e.linepos, row.column) << e.reason;
    DOMNode root = doc.documentElement();
    EXPECT_FALSE(root);
    // What a host would import from it: nothing.
    CClients clients;
    StatusPtr status = clients.ImportXMLNode(root);
    EXPECT_EQ(status->Number(), STATUS_UNINIT_OBJECT_1);
    EXPECT_EQ(clients.Clients()->Count(), 0);
    EXPECT_EQ(clients.ID(), 0);
  }
}

// ---- Documents that parse ----------------------------------------------

std::string Nested(const std::string& open, const std::string& close, const std::string& inner,
                   size_t depth) {
  return Repeat(open, depth) + inner + Repeat(close, depth);
}

// What an import read: the list's id, then each client's id and first name.
std::string Summary(const CClients& clients) {
  std::string out = std::to_string(clients.ID()) + ":";
  for (const auto& client : *clients.Clients()) {
    out += " " + std::to_string(client->ID()) + "=" + client->FirstName();
  }
  return out;
}

// Each document is imported into a new list; whatever was read can be
// written again.
TEST(HostileTest, HostileDocumentsImportSafely) {
  TempDir dir;
  const std::string secret = dir / "secret.txt";
  testing::WriteFile(secret, "SECRET-CONTENT");
  std::string bomb = "<!DOCTYPE Clients [<!ENTITY l0 \"lol\">";
  for (int i = 1; i < 10; ++i) {
    bomb += "<!ENTITY l" + std::to_string(i) + " \"" +
            Repeat("&l" + std::to_string(i - 1) + ";", 10) + "\">";
  }
  std::string siblings = "<Clients id=\"1\">";
  for (int i = 0; i < 100000; ++i) {
    siblings += "<u" + std::to_string(i) + ">v</u" + std::to_string(i) + ">";
  }
  // Blanks between the levels are dropped by the parse, also 100,000 deep.
  const std::string deep = OneClient(Nested("<FirstName> ", "</FirstName>", "deep", 100000));
  // name, text, the import's status, a summary of what it read
  const std::tuple<const char*, std::string, int32_t, std::string> rows[] = {
      {"a property element nested 100,000 levels deep", deep, 0, "1: 2= deep"},
      {"records nested 100,000 levels deep",
       "<Clients id=\"1\">" +
           Nested("<ClientOrPatient id=\"3\">", "</ClientOrPatient>", "", 100000) + "</Clients>",
       0, "1: 3="},
      {"unknown elements nested 100,000 levels deep",
       "<Clients id=\"1\">" + Nested("<x>", "</x>", "<ClientOrPatient/>", 100000) + "</Clients>", 0,
       "1:"},
      {"entity-expansion bomb", bomb + "]>" + OneClient("<FirstName>&l9;</FirstName>"), 0,
       "1: 2=&l9;"},
      {"external entity",
       "<!DOCTYPE Clients [<!ENTITY ext SYSTEM \"file://" + secret + "\">]>" +
           OneClient("<FirstName>&ext;</FirstName>"),
       0, "1: 2=&ext;"},
      {"external DTD",
       "<!DOCTYPE Clients SYSTEM \"" + secret + "\">" + OneClient("<FirstName>a</FirstName>"), 0,
       "1: 2=a"},
      {"external parameter entity",
       "<!DOCTYPE Clients [<!ENTITY % p SYSTEM \"file://" + secret + "\"> %p;]>" +
           OneClient("<FirstName>b</FirstName>"),
       0, "1: 2=b"},
      {"an id beyond the 32-bit range",
       "<Clients id=\"4294967296\"><ClientOrPatient id=\"2\"/></Clients>", kErrOverflow, "0:"},
      {"a client id below the 32-bit range",
       "<Clients id=\"5\"><ClientOrPatient id=\"1\"/><ClientOrPatient id=\"-2147483649\"/>"
       "<ClientOrPatient id=\"3\"/></Clients>",
       kErrOverflow, "5: 1="},
      {"an id beyond the double range",
       "<Clients id=\"1E+400\"><ClientOrPatient id=\"2\"/></Clients>", 0, "0: 2="},
      {"100,000 siblings of unknown names",
       siblings +
           "<ClientOrPatient id=\"9\"><FirstName>last</FirstName></ClientOrPatient></Clients>",
       0, "1: 9=last"},
      {"bytes that are not UTF-8, no declaration",
       OneClient("<FirstName>\xFF\xFE\x80\xE9</FirstName>"), 0,
       "1: 2=\xC3\xBF\xC3\xBE\xE2\x82\xAC\xC3\xA9"},
      {"UTF-8 with one stray byte is read as Windows-1252",
       OneClient("<FirstName>Zo\xC3\xAB</FirstName><LastName>\x9C</LastName>"), 0,
       "1: 2=Zo\xC3\x83\xC2\xAB"},
      {"comments, CDATA and processing instructions inside a property",
       OneClient("<FirstName>a<!--c--><![CDATA[<b>]]><?p x?>c</FirstName>"), 0, "1: 2=a<b>c"},
  };
  for (const auto& [name, text, number, summary] : rows) {
    SCOPED_TRACE(name);
    DOMDocument doc = DOMDocument::New();
    ASSERT_TRUE(doc.loadXML(text)) << doc.parseError().reason;
    CClients clients;
    const StatusPtr status = clients.ImportXMLNode(doc.documentElement());
    EXPECT_EQ(status->Number(), number) << status->Description();
    EXPECT_EQ(status->Description().empty(), number == 0);
    EXPECT_EQ(Summary(clients), summary);
    const std::string xml = doc.xml();  // the DOM's walks are iterative too
    EXPECT_EQ(xml.find("SECRET"), std::string::npos);
    DOMDocument out;
    EXPECT_EQ(clients.ExportXMLDocument(out)->Number(), 0);
    EXPECT_FALSE(out.xml().empty());
    if (text != deep) continue;
    EXPECT_EQ(xml.size(), deep.size() - (100000 - 1) + 2);
    EXPECT_EQ(doc.documentElement().text(), " deep");
  }
}

// Numbers beyond the double range are no numbers: the values stay Null.
TEST(HostileTest, NumbersBeyondTheDoubleRangeLeaveValuesNull) {
  CClients clients;
  ASSERT_EQ(testing::ImportText(clients, OneClient("<ClientAid id=\"1\"><HearingAidColor>1E+400"
                                                   "</HearingAidColor><HearingAidClass>-1E+400"
                                                   "</HearingAidClass></ClientAid>"))
                ->Number(),
            0);
  const auto aid = FirstClient(clients)->Aids()->Item(1);
  EXPECT_TRUE(aid->IsNull("HearingAidColor"));
  EXPECT_TRUE(aid->IsNull("HearingAidClass"));
}

// 10 MB of text in one property comes back exactly, also through a file.
TEST(HostileTest, TenMegabytesInOnePropertyComeBackExactly) {
  TempDir dir;
  const std::string text = Repeat("0123456789abcd\xC3\xA9<&>", 10 * 1024 * 1024 / 20);
  CClients clients;
  ASSERT_EQ(testing::ImportText(clients, OneClient("<FirstName>" +
                                                   Repeat("0123456789abcd\xC3\xA9&lt;&amp;&gt;",
                                                          10 * 1024 * 1024 / 20) +
                                                   "</FirstName>"))
                ->Number(),
            0);
  EXPECT_TRUE(FirstClient(clients)->FirstName() == text);
  ASSERT_EQ(clients.ExportXMLPath(dir / "big.xml")->Number(), 0);
  DOMDocument file = DOMDocument::New();
  ASSERT_TRUE(file.load(dir / "big.xml"));
  CClients back;
  ASSERT_EQ(back.ImportXMLNode(file.documentElement())->Number(), 0);
  EXPECT_TRUE(FirstClient(back)->FirstName() == text);
}

// Numbers an import meets in a curve point that was filled before: a text
// beyond the double range is not numeric, so the value stays; a numeric text
// beyond the 32-bit range overflows and stops the import. 1.8E+308 written
// out lies beyond the largest double; so does its export text,
// 1.79769313486232E+308, but within half a step, so it reads as the largest.
TEST(HostileTest, NumbersOutOfRangeKeepTheValue) {
  const double kMax = std::numeric_limits<double>::max();
  const std::tuple<const char*, std::string, int32_t, double> rows[] = {
      {"Input", "1E+400", 0, 3.5},
      {"Input", "-1E+400", 0, 3.5},
      {"Input", "1.8E+308", 0, 3.5},
      {"Input", "18" + std::string(307, '0'), 0, 3.5},
      {"Input", "1.79769313486232E+308", 0, kMax},
      {"Input", "179769313486232" + std::string(294, '0'), 0, kMax},
      {"Frequency", "1E+400", 0, 3.5},
      {"Frequency", "1E+10", kErrOverflow, 3.5},
      {"Frequency", "&amp;H7FFFFFFFFF", kErrOverflow, 3.5},
  };
  for (const auto& [element, text, number, input] : rows) {
    SCOPED_TRACE(std::string(element) + " " + text.substr(0, 30));
    CCurveDatum point;
    point.InputVal(3.5);
    point.Frequency(1000);
    const std::string tag = element;
    const StatusPtr status = testing::ImportText(
        point, "<CurveDatum id=\"1\"><" + tag + ">" + text + "</" + tag + "></CurveDatum>");
    EXPECT_EQ(status->Number(), number) << status->Description();
    EXPECT_EQ(point.InputVal(), input);
    EXPECT_EQ(point.Frequency(), 1000);
  }
}

// ---- Values that XML cannot carry ----------------------------------------

// Every road of an export refuses `clients` with `number`, naming `element`,
// and writes nothing: ExportXMLPath empties the file it replaces.
void ExpectRefused(CClients& clients, int32_t number, const std::string& element) {
  TempDir dir;
  testing::WriteFile(dir / "out.xml", "the previous export");
  const StatusPtr status = clients.ExportXMLPath(dir / "out.xml");
  EXPECT_EQ(status->Number(), number) << status->Description();
  EXPECT_NE(status->Description().find(element), std::string::npos) << status->Description();
  EXPECT_EQ(ReadFile(dir / "out.xml"), "");
  DOMDocument doc;
  EXPECT_EQ(clients.ExportXMLDocument(doc)->Number(), number);
  const int16_t file = FreeFile();
  OpenFile(file, dir / "host.xml");
  EXPECT_EQ(clients.ExportXMLFileHandle(file)->Number(), number);
  EXPECT_EQ(FileLength(file), 0);
  FileClose(file);
}

// Texts with a character XML forbids, or that are no UTF-8, and numbers that
// are not finite; the records keep them.
TEST(HostileTest, ValuesXmlCannotCarryFailTheExportAndWriteNothing) {
  const support::TreeShape shape{.clients = 2, .curve_points = 3};
  const std::string texts[] = {"a\x01b",       "a\xEF\xBF\xBF", "\xEF\xBF\xBE",
                               "bad \xC3\x28", "\xED\xA0\x80",  std::string("nul\0", 4)};
  for (const std::string& text : texts) {
    SCOPED_TRACE(::testing::PrintToString(text));
    const auto clients = support::BuildScrambledClinic(shape);
    const auto aid = clients->Clients()->Item(1)->Aids()->Item(1);
    aid->AidModel(text);
    ExpectRefused(*clients, kDomErrInvalidChar, "HearingAidModel");
    EXPECT_EQ(aid->AidModel(), text);
  }
  const double kInf = std::numeric_limits<double>::infinity();
  for (double value : {std::numeric_limits<double>::quiet_NaN(), kInf, -kInf}) {
    SCOPED_TRACE(value);
    const auto clients = support::BuildScrambledClinic(shape);
    const auto point = support::FirstCurve(*clients)->CurveData()->Item(1);
    point->InputVal(value);
    ExpectRefused(*clients, kErrOverflow, "Input");
    EXPECT_TRUE(std::isnan(value) ? std::isnan(point->InputVal()) : point->InputVal() == value);
  }
}

// ---- Texts that come back exactly ------------------------------------------

// Through a file, whitespace-only texts come back empty by design, since the
// file holds the document after a parse that drops whitespace-only text
// nodes; the document road, parsed with white space kept, keeps them too.
TEST(HostileTest, TextsComeBackExactlyThroughAFile) {
  const std::string texts[] = {
      "a\tb",
      "a\rb",
      "a\r\nb",
      "a\nb",
      "\rx\r",
      "\r\n x \r\n",
      "  both  ",
      "<&>\"'",
      "]]>",
      "&amp; &#13; &lt;",
      "Zo\xC3\xAB \xC3\x86r\xC3\xB8 \xC5\x81\xC3\xB3z \xE6\x97\xA5\xE6\x9C\xAC",
      "\xF0\x9F\x8E\xA7 \xF0\x90\x8D\x88",
      "\xEF\xBF\xBD\xF4\x8F\xBF\xBF",
      "   ",
      "\r\n\t"};
  auto clients = std::make_shared<CClients>();
  for (const std::string& text : texts) {
    auto client = std::make_shared<CClient>();
    client->ID(clients->Clients()->Count() + 1);
    client->FirstName(text);
    client->LastName(text);
    clients->AddClient(client);
  }
  TempDir dir;
  ASSERT_EQ(clients->ExportXMLPath(dir / "texts.xml")->Number(), 0);
  DOMDocument doc = DOMDocument::New();
  ASSERT_TRUE(doc.load(dir / "texts.xml")) << doc.parseError().reason;
  CClients back, kept_back;
  ASSERT_EQ(back.ImportXMLNode(doc.documentElement())->Number(), 0);
  DOMDocument exported;
  ASSERT_EQ(clients->ExportXMLDocument(exported)->Number(), 0);
  DOMDocument kept = testing::Parse(exported.xml(), true);
  ASSERT_EQ(kept_back.ImportXMLNode(kept.documentElement())->Number(), 0);
  ASSERT_EQ(back.Clients()->Count(), static_cast<int32_t>(std::size(texts)));
  for (int32_t i = 1; i <= back.Clients()->Count(); ++i) {
    const std::string& text = texts[i - 1];
    SCOPED_TRACE(::testing::PrintToString(text));
    const bool blank = text.find_first_not_of(" \t\r\n") == std::string::npos;
    EXPECT_EQ(back.Clients()->Item(i)->FirstName(), blank ? "" : text);
    EXPECT_EQ(back.Clients()->Item(i)->LastName(), blank ? "" : text);
    EXPECT_EQ(kept_back.Clients()->Item(i)->FirstName(), text);
  }
}

// ---- Fuzz reproducers ------------------------------------------------------

// Every input that once broke the import fuzzer (tests/data/regress/import_*)
// now either is refused by the parser with a position, or imports, exports
// and imports again to the same tree.
TEST(HostileTest, ImportFuzzReproducersStaySafe) {
  const std::filesystem::path folder = std::string(TYMPORA_TEST_DATA) + "/regress";
  int seen = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().filename().string().rfind("import_", 0) != 0) continue;
    SCOPED_TRACE(entry.path().filename().string());
    ++seen;
    DOMDocument doc = DOMDocument::New();
    if (!doc.loadXML(ReadFile(entry.path()))) {
      EXPECT_FALSE(doc.parseError().reason.empty());
      EXPECT_GE(doc.parseError().line, 1);
      continue;
    }
    CClients first;
    DOMNode root = doc.documentElement();
    first.ImportXMLNode(root);
    DOMDocument exported;
    ASSERT_EQ(first.ExportXMLDocument(exported)->Number(), 0);
    DOMDocument again = testing::Parse(exported.xml(), true);
    CClients second;
    DOMNode again_root = again.documentElement();
    ASSERT_EQ(second.ImportXMLNode(again_root)->Number(), 0);
    EXPECT_EQ(support::CompareTrees(first, second), "");
  }
  EXPECT_GE(seen, 2);
}

}  // namespace
}  // namespace tympora
