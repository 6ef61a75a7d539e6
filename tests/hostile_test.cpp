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

bool IsNull(const RecordBase& record, std::string_view element) {
  const PropertyDef* p = record.Info().PropertyOf(record.Info().FindElement(element));
  EXPECT_NE(p, nullptr) << element;
  return p && record.IsPropertyNull(*p);
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

struct Hostile {
  const char* name;
  std::function<std::string()> text;
  int32_t status;  // the import's status number
  std::function<void(CClients&, const DOMDocument&)> check;
};

std::string Nested(const std::string& open, const std::string& close, const std::string& inner,
                   size_t depth) {
  return Repeat(open, depth) + inner + Repeat(close, depth);
}

// The text of a client's FirstName after the import, "" without a client.
std::string FirstNameOf(const CClients& clients) {
  const auto client = FirstClient(clients);
  return client ? client->FirstName() : std::string();
}

TEST(HostileTest, HostileDocumentsImportSafely) {
  TempDir dir;
  const std::string secret_path = dir / "secret.txt";
  { std::ofstream(secret_path) << "SECRET-CONTENT"; }
  const std::string ten_mb = Repeat("0123456789abcd\xC3\xA9<&>", 10 * 1024 * 1024 / 20);
  const std::string ten_mb_escaped =
      Repeat("0123456789abcd\xC3\xA9&lt;&amp;&gt;", 10 * 1024 * 1024 / 20);
  const std::vector<Hostile> rows = {
      {"a property element nested 100,000 levels deep",
       [] { return OneClient(Nested("<FirstName>", "</FirstName>", "deep", 100000)); }, 0,
       [](const CClients& c, const DOMDocument& doc) {
         EXPECT_EQ(FirstNameOf(c), "deep");
         // The DOM's serialiser and text walk are iterative too.
         EXPECT_EQ(doc.xml().size(),
                   OneClient(Nested("<FirstName>", "</FirstName>", "deep", 100000)).size() + 2);
       }},
      {"records nested 100,000 levels deep",
       [] {
         return "<Clients id=\"1\">" +
                Nested("<ClientOrPatient id=\"3\">", "</ClientOrPatient>", "", 100000) +
                "</Clients>";
       },
       0, [](const CClients& c, const DOMDocument&) { EXPECT_EQ(c.Clients()->Count(), 1); }},
      {"unknown elements nested 100,000 levels deep",
       [] {
         return "<Clients id=\"1\">" + Nested("<x>", "</x>", "<ClientOrPatient/>", 100000) +
                "</Clients>";
       },
       0, [](const CClients& c, const DOMDocument&) { EXPECT_EQ(c.Clients()->Count(), 0); }},
      {"entity-expansion bomb",
       [] {
         std::string dtd = "<!DOCTYPE Clients [<!ENTITY l0 \"lol\">";
         for (int i = 1; i < 10; ++i) {
           dtd += "<!ENTITY l" + std::to_string(i) + " \"" +
                  Repeat("&l" + std::to_string(i - 1) + ";", 10) + "\">";
         }
         return dtd + "]>" + OneClient("<FirstName>&l9;</FirstName>");
       },
       0, [](const CClients& c, const DOMDocument&) { EXPECT_EQ(FirstNameOf(c), "&l9;"); }},
      {"external entity",
       [&] {
         return "<!DOCTYPE Clients [<!ENTITY ext SYSTEM \"file://" + secret_path + "\">]>" +
                OneClient("<FirstName>&ext;</FirstName>");
       },
       0, [](const CClients& c, const DOMDocument&) { EXPECT_EQ(FirstNameOf(c), "&ext;"); }},
      {"external DTD",
       [&] {
         return "<!DOCTYPE Clients SYSTEM \"" + secret_path + "\">" +
                OneClient("<FirstName>a</FirstName>");
       },
       0,
       [](const CClients& c, const DOMDocument& doc) {
         EXPECT_EQ(FirstNameOf(c), "a");
         EXPECT_EQ(doc.xml().find("SECRET"), std::string::npos);
       }},
      {"an id beyond the 32-bit range",
       [] { return "<Clients id=\"4294967296\"><ClientOrPatient id=\"2\"/></Clients>"; },
       kErrOverflow,
       [](const CClients& c, const DOMDocument&) {
         EXPECT_EQ(c.ID(), 0);
         EXPECT_EQ(c.Clients()->Count(), 0);
       }},
      {"a client id below the 32-bit range",
       [] {
         return "<Clients id=\"5\"><ClientOrPatient id=\"1\"/><ClientOrPatient "
                "id=\"-2147483649\"/><ClientOrPatient id=\"3\"/></Clients>";
       },
       kErrOverflow,
       [](const CClients& c, const DOMDocument&) {
         EXPECT_EQ(c.ID(), 5);
         ASSERT_EQ(c.Clients()->Count(), 1);
         EXPECT_EQ(c.Clients()->Item(1)->ID(), 1);
       }},
      {"an id beyond the double range",
       [] { return "<Clients id=\"1E+400\"><ClientOrPatient id=\"2\"/></Clients>"; }, 0,
       [](const CClients& c, const DOMDocument&) {
         EXPECT_EQ(c.ID(), 0);
         EXPECT_EQ(c.Clients()->Count(), 1);
       }},
      {"numbers beyond the double range",
       [] {
         return OneClient(
             "<ClientAid id=\"1\"><HearingAidColor>1E+400</HearingAidColor>"
             "<HearingAidClass>-1E+400</HearingAidClass></ClientAid>");
       },
       0,
       [](const CClients& c, const DOMDocument&) {
         const auto aid = FirstClient(c)->Aids()->Item(1);
         EXPECT_TRUE(IsNull(*aid, "HearingAidColor"));
         EXPECT_TRUE(IsNull(*aid, "HearingAidClass"));
       }},
      {"10 MB of text in one property",
       [&] { return OneClient("<FirstName>" + ten_mb_escaped + "</FirstName>"); }, 0,
       [&](CClients& c, const DOMDocument&) {
         EXPECT_TRUE(FirstNameOf(c) == ten_mb);
         // And through a file, exactly.
         ASSERT_EQ(c.ExportXMLPath(dir / "big.xml")->Number(), 0);
         DOMDocument file = DOMDocument::New();
         ASSERT_TRUE(file.load(dir / "big.xml"));
         CClients back;
         DOMNode root = file.documentElement();
         ASSERT_EQ(back.ImportXMLNode(root)->Number(), 0);
         EXPECT_TRUE(FirstNameOf(back) == ten_mb);
       }},
      {"100,000 siblings of unknown names",
       [] {
         std::string s = "<Clients id=\"1\">";
         for (int i = 0; i < 100000; ++i) {
           s += "<u" + std::to_string(i) + ">v</u" + std::to_string(i) + ">";
         }
         return s + "<ClientOrPatient id=\"9\"><FirstName>last</FirstName>" +
                "</ClientOrPatient></Clients>";
       },
       0, [](const CClients& c, const DOMDocument&) { EXPECT_EQ(FirstNameOf(c), "last"); }},
      {"bytes that are not UTF-8, no declaration",
       [] { return OneClient("<FirstName>\xFF\xFE\x80\xE9</FirstName>"); }, 0,
       [](const CClients& c, const DOMDocument&) {
         EXPECT_EQ(FirstNameOf(c), "\xC3\xBF\xC3\xBE\xE2\x82\xAC\xC3\xA9");
       }},
      {"UTF-8 with one stray byte is read as Windows-1252",
       [] { return OneClient("<FirstName>Zo\xC3\xAB</FirstName><LastName>\x9C</LastName>"); }, 0,
       [](const CClients& c, const DOMDocument&) {
         EXPECT_EQ(FirstNameOf(c), "Zo\xC3\x83\xC2\xAB");
       }},
      {"comments, CDATA and processing instructions inside a property",
       [] { return OneClient("<FirstName>a<!--c--><![CDATA[<b>]]><?p x?>c</FirstName>"); }, 0,
       [](const CClients& c, const DOMDocument&) { EXPECT_EQ(FirstNameOf(c), "a<b>c"); }},
  };
  for (const Hostile& row : rows) {
    SCOPED_TRACE(row.name);
    DOMDocument doc = DOMDocument::New();
    ASSERT_TRUE(doc.loadXML(row.text())) << doc.parseError().reason;
    CClients clients;
    DOMNode root = doc.documentElement();
    StatusPtr status = clients.ImportXMLNode(root);
    EXPECT_EQ(status->Number(), row.status) << status->Description();
    if (row.status != 0) {
      EXPECT_FALSE(status->Description().empty());
    }
    row.check(clients, doc);
    // Whatever was read can be written again.
    DOMDocument out;
    EXPECT_EQ(clients.ExportXMLDocument(out)->Number(), 0);
    EXPECT_FALSE(out.xml().empty());
  }
}

// Numbers an import meets in a curve point that was filled before: a text
// beyond the double range is not numeric, so the value stays; a numeric text
// beyond the 32-bit range overflows and stops the import.
TEST(HostileTest, NumbersOutOfRangeKeepTheValue) {
  struct Row {
    const char* element;
    std::string text;
    int32_t status;
    double input;
    int32_t frequency;
  };
  // 1.8E+308 written out: beyond the largest double. The export text of the
  // largest double, 1.79769313486232E+308, lies above it too, but within
  // half a step, so it reads as the largest double, as it must.
  const std::string kBeyondDoubleDigits = "18" + std::string(307, '0');
  const double kMax = std::numeric_limits<double>::max();
  const Row rows[] = {
      {"Input", "1E+400", 0, 3.5, 1000},
      {"Input", "-1E+400", 0, 3.5, 1000},
      {"Input", "1.8E+308", 0, 3.5, 1000},
      {"Input", kBeyondDoubleDigits, 0, 3.5, 1000},
      {"Input", "1.79769313486232E+308", 0, kMax, 1000},
      {"Input", "179769313486232" + std::string(294, '0'), 0, kMax, 1000},
      {"Frequency", "1E+400", 0, 3.5, 1000},
      {"Frequency", "1E+10", kErrOverflow, 3.5, 1000},
      {"Frequency", "&amp;H7FFFFFFFFF", kErrOverflow, 3.5, 1000},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.element) + " " + row.text.substr(0, 30));
    CCurveDatum point;
    point.InputVal(3.5);
    point.Frequency(1000);
    DOMDocument doc = testing::Parse("<CurveDatum id=\"1\"><" + std::string(row.element) + ">" +
                                     row.text + "</" + row.element + "></CurveDatum>");
    DOMNode root = doc.documentElement();
    StatusPtr status = point.ImportXMLNode(root);
    EXPECT_EQ(status->Number(), row.status) << status->Description();
    EXPECT_EQ(point.InputVal(), row.input);
    EXPECT_EQ(point.Frequency(), row.frequency);
  }
}

// ---- Values that XML cannot carry ----------------------------------------

// The curve point deep inside a small clinic tree.
std::shared_ptr<CCurveDatum> DeepPoint(const CClients& clients) {
  return support::FirstCurve(clients)->CurveData()->Item(1);
}

struct Uncarriable {
  const char* name;
  std::function<void(CClients&)> set;
  std::function<bool(const CClients&)> kept;  // the record still holds the value
  int32_t status;
  const char* element;  // the description names it
};

TEST(HostileTest, ValuesXmlCannotCarryFailTheExportAndWriteNothing) {
  const auto aid_model = [](const char* name, const std::string& v) {
    return Uncarriable{
        name, [v](CClients& c) { c.Clients()->Item(1)->Aids()->Item(1)->AidModel(v); },
        [v](const CClients& c) { return c.Clients()->Item(1)->Aids()->Item(1)->AidModel() == v; },
        kDomErrInvalidChar, "HearingAidModel"};
  };
  const auto input = [](const char* name, double v) {
    return Uncarriable{name, [v](CClients& c) { DeepPoint(c)->InputVal(v); },
                       [v](const CClients& c) {
                         const double got = DeepPoint(c)->InputVal();
                         return std::isnan(v) ? std::isnan(got) : got == v;
                       },
                       kErrOverflow, "Input"};
  };
  constexpr double kInf = std::numeric_limits<double>::infinity();
  const std::vector<Uncarriable> rows = {
      aid_model("U+0001", "a\x01b"),
      aid_model("U+FFFF", "a\xEF\xBF\xBF"),
      aid_model("U+FFFE", "\xEF\xBF\xBE"),
      aid_model("invalid UTF-8", "bad \xC3\x28 UTF-8"),
      aid_model("surrogate", "\xED\xA0\x80"),
      aid_model("NUL", std::string("nul\0", 4)),
      input("NaN", std::numeric_limits<double>::quiet_NaN()),
      input("infinity", kInf),
      input("minus infinity", -kInf),
  };
  TempDir dir;
  support::TreeShape shape;
  shape.clients = 2;
  shape.curve_points = 3;
  for (const Uncarriable& row : rows) {
    SCOPED_TRACE(row.name);
    auto clients = support::BuildScrambledClinic(shape);
    row.set(*clients);
    const std::string path = dir / "out.xml";
    { std::ofstream(path) << "the previous export"; }
    const StatusPtr status = clients->ExportXMLPath(path);
    EXPECT_EQ(status->Number(), row.status) << status->Description();
    EXPECT_NE(status->Description().find(row.element), std::string::npos) << status->Description();
    EXPECT_EQ(ReadFile(path), "");  // replaced, and nothing partial written
    EXPECT_TRUE(row.kept(*clients));
    // The other roads refuse it the same way.
    DOMDocument doc;
    EXPECT_EQ(clients->ExportXMLDocument(doc)->Number(), row.status);
    const std::string host_path = dir / "host.xml";
    const int16_t number = FreeFile();
    OpenFile(number, host_path);
    EXPECT_EQ(clients->ExportXMLFileHandle(number)->Number(), row.status);
    EXPECT_EQ(FileLength(number), 0);
    FileClose(number);
    EXPECT_TRUE(row.kept(*clients));
  }
}

// ---- Texts that come back exactly ------------------------------------------

TEST(HostileTest, TextsComeBackExactlyThroughAFile) {
  const std::pair<const char*, std::string> rows[] = {
      {"tab", "a\tb"},
      {"CR", "a\rb"},
      {"CR LF", "a\r\nb"},
      {"lone LF", "a\nb"},
      {"CR at both ends", "\rx\r"},
      {"CR LF around", "\r\n x \r\n"},
      {"leading and trailing blanks", "  both  "},
      {"markup characters", "<&>\"'"},
      {"CDATA end", "]]>"},
      {"references as text", "&amp; &#13; &lt;"},
      {"non-ASCII letters",
       "Zo\xC3\xAB \xC3\x86r\xC3\xB8 \xC5\x81\xC3\xB3"
       "d\xC5\xBA \xE6\x97\xA5\xE6\x9C\xAC"},
      {"outside the BMP", "\xF0\x9F\x8E\xA7 \xF0\x90\x8D\x88"},
      {"highest characters", "\xEF\xBF\xBD\xF4\x8F\xBF\xBF"},
      {"whitespace only: blanks", "   "},
      {"whitespace only: CR LF and tab", "\r\n\t"},
  };
  // One client per row; whitespace-only texts come back empty by design,
  // since the file holds the document after a parse that drops
  // whitespace-only text nodes.
  auto clients = std::make_shared<CClients>();
  for (int32_t i = 0; i < static_cast<int32_t>(std::size(rows)); ++i) {
    auto client = std::make_shared<CClient>();
    client->ID(i + 1);
    client->FirstName(rows[i].second);
    client->LastName(rows[i].second);
    clients->AddClient(client);
  }
  TempDir dir;
  ASSERT_EQ(clients->ExportXMLPath(dir / "texts.xml")->Number(), 0);
  DOMDocument doc = DOMDocument::New();
  ASSERT_TRUE(doc.load(dir / "texts.xml")) << doc.parseError().reason;
  CClients back;
  DOMNode root = doc.documentElement();
  ASSERT_EQ(back.ImportXMLNode(root)->Number(), 0);
  // The document road keeps whitespace-only texts as well.
  DOMDocument exported;
  ASSERT_EQ(clients->ExportXMLDocument(exported)->Number(), 0);
  DOMDocument kept = testing::Parse(exported.xml(), true);
  CClients kept_back;
  DOMNode kept_root = kept.documentElement();
  ASSERT_EQ(kept_back.ImportXMLNode(kept_root)->Number(), 0);
  ASSERT_EQ(back.Clients()->Count(), static_cast<int32_t>(std::size(rows)));
  for (int32_t i = 0; i < back.Clients()->Count(); ++i) {
    const std::string& text = rows[i].second;
    SCOPED_TRACE(rows[i].first);
    const bool blank = text.find_first_not_of(" \t\r\n") == std::string::npos;
    EXPECT_EQ(back.Clients()->Item(i + 1)->FirstName(), blank ? "" : text);
    EXPECT_EQ(back.Clients()->Item(i + 1)->LastName(), blank ? "" : text);
    EXPECT_EQ(kept_back.Clients()->Item(i + 1)->FirstName(), text);
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
