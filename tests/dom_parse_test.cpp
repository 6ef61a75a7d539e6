// How a parse treats text: kept inside elements on the fast road, given its
// nodes the moment the DOM is used, dropped when blank; and how load, which
// parses the file's bytes where they were read, reports failures.
#include <gtest/gtest.h>

#include <string>

#include "node/dom_direct.hpp"
#include "node/dom_testing.hpp"
#include "test_util.hpp"
#include "tree.hpp"
#include "tympora/node/dom.hpp"
#include "tympora/records/clients.hpp"

namespace tympora {
namespace {

DOMDocument Parsed(const std::string& text, bool preserve = false) {
  return testing::Parse(text, preserve);
}

// The tree below `node` as text: name[children] for elements, the text of
// text and CDATA nodes, "#comment".
std::string Dump(const DOMNode& node) {
  switch (node.nodeType()) {
    case DOMNodeType::Text:
    case DOMNodeType::CData:
      return "'" + node.text() + "'";
    case DOMNodeType::Element: {
      std::string out = node.nodeName();
      const DOMNodeList children = node.childNodes();
      if (children.length() == 0) return out;
      out += "[";
      for (int32_t i = 0; i < children.length(); ++i) {
        out += (i ? "," : "") + Dump(children.item(i));
      }
      return out + "]";
    }
    default:
      return node.nodeName();
  }
}

// Every way of reading the tree sees text nodes, wherever the parse kept the
// text, and reading it in any order gives the same answers.
TEST(DomParseTest, TextReadsAsNodesInEveryMode) {
  struct Case {
    const char* text;
    const char* dump;
  };
  const Case cases[] = {
      {"<a>t</a>", "a['t']"},
      {"<a>t<b>u</b>v</a>", "a['t',b['u'],'v']"},
      {"<a><b>u</b>v</a>", "a[b['u'],'v']"},
      {"<a>t<!--c-->u</a>", "a['t',#comment,'u']"},
      {"<a><![CDATA[x]]>y</a>", "a['x','y']"},
      {"<a k='1'>&lt;x&gt; &amp; 'q'</a>", "a['<x> & 'q'']"},
      {"<a>line\r\nnext</a>", "a['line\nnext']"},
      {"<a><b><c>deep</c></b>tail</a>", "a[b[c['deep']],'tail']"},
      {"<a>   </a>", "a"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    for (bool preserve : {false, true}) {
      if (preserve && std::string(c.text) == "<a>   </a>") continue;
      SCOPED_TRACE(preserve);
      // First contact through text(), then through the child list.
      DOMDocument first_text = Parsed(c.text, preserve);
      const std::string text = first_text.documentElement().text();
      EXPECT_EQ(Dump(first_text.documentElement()), c.dump);
      DOMDocument first_children = Parsed(c.text, preserve);
      EXPECT_EQ(Dump(first_children.documentElement()), c.dump);
      EXPECT_EQ(first_children.documentElement().text(), text);
      EXPECT_EQ(first_children.xml(), first_text.xml());
    }
  }
}

TEST(DomParseTest, TextThatResolvesToBlanksIsDropped) {
  struct Case {
    const char* text;
    const char* xml;
  };
  const Case cases[] = {
      {"<r><a>&#13;</a><b> &#x20;&#9; </b><c>x&#13;</c></r>", "<r><a/><b/><c>x&#13;</c></r>\r\n"},
      {"<r><!--&#13;--><a>t</a></r>", "<r><!--&#13;--><a>t</a></r>\r\n"},
      {"<r><![CDATA[&#13;]]></r>", "<r><![CDATA[&#13;]]></r>\r\n"},
      {"<r a='&#13;'>&#10;</r>", "<r a=\"&#13;\"/>\r\n"},
      {"<r>&#13;<a/>&#32;</r>", "<r><a/></r>\r\n"},
      {"<r>x&#13;<a>&#13;&#10;</a></r>", "<r>x&#13;<a/></r>\r\n"},
      {"<r a='>&#13;'><b>&#13;y</b></r>", "<r a=\">&#13;\"><b>&#13;y</b></r>\r\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(Parsed(c.text).xml(), c.xml);
  }
}

// A reference to a character that XML forbids is refused wherever the
// parser would resolve it, and only there; a "<!--" inside an attribute
// value opens no comment: the '<' is refused first.
TEST(DomParseTest, ForbiddenReferencesAreRefusedWhereTheyResolve) {
  struct Case {
    const char* text;
    int64_t filepos;  // of the refused reference; -1: the text parses
  };
  const Case cases[] = {
      {"<r a=\"x<!--\">&#6;</r>", 7}, {"<r a='<?'>&#x1;</r>", 6},
      {"<r a=\"&#1;\"/>", 6},         {"<r a='&#65;' b=\"'&#2;\"/>", 17},
      {"<r><!-- &#1; --></r>", -1},   {"<r><![CDATA[&#1;]]></r>", -1},
      {"<?pi &#1;?><r/>", -1},        {"<r a='&#9;'>&#13;&#x10FFFF;</r>", -1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    DOMDocument d = DOMDocument::New();
    EXPECT_EQ(d.loadXML(c.text), c.filepos < 0);
    EXPECT_EQ(d.parseError().filepos, c.filepos < 0 ? 0 : c.filepos);
  }
}

// load parses the bytes where it read them; a failure is still located in
// the original text, exactly as loadXML locates it.
TEST(DomParseTest, LoadLocatesFailuresAsLoadXmlDoes) {
  std::string late = "<r>\r\n";
  for (int i = 0; i < 2000; ++i) late += "  <x a=\"1\">t&amp;u</x>\r\n";
  late += "</oops>";
  const std::string cases[] = {
      "<a>\r\n  <b></c></a>", "<a/>\n<b/>", " <?xml version='1.0'?><a/>",
      "<a>\n<b>&#1;</b></a>", late,
  };
  const testing::TempDir dir;
  int n = 0;
  for (const std::string& text : cases) {
    SCOPED_TRACE(text.substr(0, 40));
    DOMDocument from_text = DOMDocument::New();
    EXPECT_FALSE(from_text.loadXML(text));
    DOMDocument from_file = DOMDocument::New();
    const std::string path = dir / (std::to_string(n++) + ".xml");
    testing::WriteFile(path, text);
    EXPECT_FALSE(from_file.load(path));
    const DOMParseError& a = from_text.parseError();
    const DOMParseError& b = from_file.parseError();
    EXPECT_EQ(b.errorCode, a.errorCode);
    EXPECT_EQ(b.reason, a.reason);
    EXPECT_EQ(b.line, a.line);
    EXPECT_EQ(b.linepos, a.linepos);
    EXPECT_EQ(b.filepos, a.filepos);
    EXPECT_GT(b.line, 0);
    EXPECT_EQ(from_file.xml(), "");
  }
  EXPECT_EQ(DOMDocument::New().parseError().line, 0);
}

// Handles into a tree that a later load replaced keep reading its text.
TEST(DomParseTest, ReplacedTreeKeepsItsTextForOldHandles) {
  DOMDocument d = Parsed("<a><b>one</b><c>two<d/></c></a>");
  const DOMElement old_root = d.documentElement();
  ASSERT_TRUE(d.loadXML("<n>new</n>"));
  EXPECT_EQ(Dump(old_root), "a[b['one'],c['two',d]]");
  EXPECT_EQ(old_root.xml(), "<a><b>one</b><c>two<d/></c></a>");
  EXPECT_EQ(Dump(d.documentElement()), "n['new']");
}

// What a parse of `text` gives by one road: acceptance, the failure's
// report, the import's status and the tree, in `report`; the records
// imported into a client list, in `clients`; whether the text was kept.
struct Reading {
  std::string report;
  std::shared_ptr<CClients> clients = std::make_shared<CClients>();
  bool kept = false;
};

Reading ReadBy(bool direct_road, const std::string& text) {
  Reading r;
  testing_hooks::SetDirectRoad(direct_road);
  DOMDocument d = DOMDocument::New();
  const bool ok = d.loadXML(text);
  testing_hooks::SetDirectRoad(true);
  const DOMParseError& e = d.parseError();
  r.report = std::to_string(e.errorCode) + " " + e.reason + " " + std::to_string(e.line) + ":" +
             std::to_string(e.linepos) + "@" + std::to_string(e.filepos) + "\n";
  std::string_view unused;
  size_t root = 0;
  r.kept = ok && detail::DirectRoot(d.documentElement(), unused, root);
  if (!ok) return r;
  const StatusPtr status = r.clients->ImportXMLNode(d.documentElement());
  r.report += std::to_string(status->Number()) + " " + status->Description() + "\n" + d.xml();
  return r;
}

// A document of the common form is kept as text and imported from there;
// its tree is built once the DOM is used. Whatever the road, the import,
// the tree and a failure's report are the parser's.
TEST(DomParseTest, DocumentsKeptAsTextReadAsTheParserReadsThem) {
  const auto client = [](const std::string& inner) {
    return "<Clients id='1'><ClientOrPatient id='2'>" + inner + "</ClientOrPatient></Clients>";
  };
  struct Case {
    std::string text;
    bool kept;
  };
  const Case cases[] = {
      {"<?xml version=\"1.0\"?>\r\n<!--made-->\r\n" + client("<FirstName>Ann</FirstName>") +
           "\r\n<?pi x?>",
       true},
      {client("<FirstName>O&apos;B &amp; &lt;S&gt; &#233;&#x1F600;&quot;</FirstName>"), true},
      {client("<FirstName>a\r\nb\rc<![CDATA[ d\r\ne ]]></FirstName>"), true},
      {client("<FirstName>An<!--x-->n<?p q?> <b>i<c/>e</b></FirstName><LastName/>"), true},
      {client("<FirstName> <!--c--> </FirstName><LastName></LastName><MiddleName >M</MiddleName >"),
       true},
      {client("<FirstName null='tr&#117;e'/><LastName null=\"true \"/><MiddleName null='true'>"
              "x</MiddleName>"),
       true},
      {"<Clients id='&#32;7'><ClientOrPatient id=\"\t3\r\n\" note='a>\"b'/>"
       "<ClientOrPatient id='4&#10;'/></Clients>",
       true},
      {"<x:Clients id='1' xmlns:x='u'><x:ClientOrPatient id='2'><x:FirstName>A</x:FirstName>"
       "</x:ClientOrPatient></x:Clients>",
       true},
      {client("<Skip><a><b>x</b><c/></a></Skip><BirthDate>1950-07-14</BirthDate><Deleted>TRUE"
              "</Deleted><ClientAid id='3'><AidModel>M</AidModel></ClientAid>"),
       true},
      {"<Clients/>", true},
      {"<Cl\xC3\xAF"
       "ents id='1'/>",
       true},
      {client("<FirstName>&#32;</FirstName>"), false},  // blank once resolved
      {"<!DOCTYPE Clients>" + client(""), false},
      {"<Clients a='1' b='2' c='3' d='4' e='5' f='6' g='7' h='8' id='9'/>", false},
      {"<Clients id='1'/><!-- a --->", false},
      {"<?xml-stylesheet href='s'?><Clients/>", true},
      {client("<FirstName>&nbsp;</FirstName>"), false},
      {client("<FirstName>]]></FirstName>"), false},
      {"<Clients id='1' id='2'/>", false},
      {client("<FirstName>A</LastName>"), false},
      {"<Clients/>text", false},
      {"<Clients><ClientOrPatient id='2'></Clients>", false},
      {"<Clients id='1'x='2'/>", false},
      {"<Clients>&#1;</Clients>", false},
      {" <?xml version='1.0'?><Clients/>", false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    const Reading direct = ReadBy(true, c.text);
    const Reading parsed = ReadBy(false, c.text);
    EXPECT_EQ(direct.kept, c.kept);
    EXPECT_FALSE(parsed.kept);
    EXPECT_EQ(direct.report, parsed.report);
    EXPECT_EQ(support::CompareTrees(*direct.clients, *parsed.clients), "");
  }
}

// A handle of a document element kept as text is the same node before and
// after the tree is built, and outlives a later load.
TEST(DomParseTest, HandlesOfATextKeptElementStayTheSameNode) {
  DOMDocument d = Parsed("<a><b>one</b></a>");
  const DOMElement before = d.documentElement();
  const DOMElement copy = before;
  EXPECT_EQ(before.childNodes().length(), 1);  // builds the tree
  EXPECT_TRUE(copy == before);
  EXPECT_TRUE(d.documentElement() == copy);
  EXPECT_FALSE(copy == before.firstChild());
  ASSERT_TRUE(d.loadXML("<n/>"));
  EXPECT_EQ(Dump(copy), "a[b['one']]");
  EXPECT_FALSE(d.documentElement() == copy);
}

}  // namespace
}  // namespace tympora
