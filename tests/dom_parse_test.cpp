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

// A parse's report: number, reason, line, column and offset.
std::string Report(const DOMDocument& d) {
  const DOMParseError& e = d.parseError();
  return std::to_string(e.errorCode) + " " + e.reason + " " + std::to_string(e.line) + ":" +
         std::to_string(e.linepos) + "@" + std::to_string(e.filepos) + "\n";
}

// Every way of reading the tree sees text nodes, wherever the parse kept the
// text, and reading it in any order gives the same answers.
TEST(DomParseTest, TextReadsAsNodesInEveryMode) {
  const std::pair<const char*, const char*> cases[] = {
      {"<a>t</a>", "a['t']"},
      {"<a>t<b>u</b>v</a>", "a['t',b['u'],'v']"},
      {"<a><b>u</b>v</a>", "a[b['u'],'v']"},
      {"<a>t<!--c-->u</a>", "a['t',#comment,'u']"},
      {"<a><![CDATA[x]]>y</a>", "a['x','y']"},
      {"<a k='1'>&lt;x&gt; &amp; 'q'</a>", "a['<x> & 'q'']"},
      {"<a>line\r\nnext</a>", "a['line\nnext']"},
      {"<a><b><c>deep</c></b>tail</a>", "a[b[c['deep']],'tail']"},
  };
  EXPECT_EQ(Dump(Parsed("<a>   </a>").documentElement()), "a");
  for (const auto& [xml, dump] : cases) {
    SCOPED_TRACE(xml);
    for (bool preserve : {false, true}) {
      SCOPED_TRACE(preserve);
      // First contact through text(), then through the child list.
      DOMDocument first_text = Parsed(xml, preserve);
      const std::string text = first_text.documentElement().text();
      EXPECT_EQ(Dump(first_text.documentElement()), dump);
      DOMDocument first_children = Parsed(xml, preserve);
      EXPECT_EQ(Dump(first_children.documentElement()), dump);
      EXPECT_EQ(first_children.documentElement().text(), text);
      EXPECT_EQ(first_children.xml(), first_text.xml());
    }
  }
}

TEST(DomParseTest, TextThatResolvesToBlanksIsDropped) {
  const std::pair<const char*, const char*> cases[] = {
      {"<r><a>&#13;</a><b> &#x20;&#9; </b><c>x&#13;</c></r>", "<r><a/><b/><c>x&#13;</c></r>\r\n"},
      {"<r><!--&#13;--><a>t</a></r>", "<r><!--&#13;--><a>t</a></r>\r\n"},
      {"<r><![CDATA[&#13;]]></r>", "<r><![CDATA[&#13;]]></r>\r\n"},
      {"<r a='&#13;'>&#10;</r>", "<r a=\"&#13;\"/>\r\n"},
      {"<r>&#13;<a/>&#32;</r>", "<r><a/></r>\r\n"},
      {"<r>x&#13;<a>&#13;&#10;</a></r>", "<r>x&#13;<a/></r>\r\n"},
      {"<r a='>&#13;'><b>&#13;y</b></r>", "<r a=\">&#13;\"><b>&#13;y</b></r>\r\n"},
  };
  for (const auto& [text, xml] : cases) {
    SCOPED_TRACE(text);
    EXPECT_EQ(Parsed(text).xml(), xml);
  }
}

// A reference to a character that XML forbids is refused wherever the
// parser would resolve it, and only there; a "<!--" inside an attribute
// value opens no comment: the '<' is refused first.
TEST(DomParseTest, ForbiddenReferencesAreRefusedWhereTheyResolve) {
  const std::pair<const char*, int64_t> cases[] = {
      // offset of the refused reference; -1: none
      {"<r a=\"x<!--\">&#6;</r>", 7}, {"<r a='<?'>&#x1;</r>", 6},
      {"<r a=\"&#1;\"/>", 6},         {"<r a='&#65;' b=\"'&#2;\"/>", 17},
      {"<r><!-- &#1; --></r>", -1},   {"<r><![CDATA[&#1;]]></r>", -1},
      {"<?pi &#1;?><r/>", -1},        {"<r a='&#9;'>&#13;&#x10FFFF;</r>", -1},
  };
  for (const auto& [text, filepos] : cases) {
    SCOPED_TRACE(text);
    DOMDocument d = DOMDocument::New();
    EXPECT_EQ(d.loadXML(text), filepos < 0);
    EXPECT_EQ(d.parseError().filepos, std::max<int64_t>(filepos, 0));
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
    EXPECT_EQ(Report(from_file), Report(from_text));
    EXPECT_GT(from_file.parseError().line, 0);
    EXPECT_EQ(from_file.xml(), "");
  }
  EXPECT_EQ(DOMDocument::New().parseError().line, 0);
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
  r.report = Report(d);
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
  // Kept as text: the common form.
  const std::vector<std::string> kept = {
      "<?xml version=\"1.0\"?>\r\n<!--made-->\r\n" + client("<FirstName>Ann</FirstName>") +
          "\r\n<?pi x?>",
      client("<FirstName>O&apos;B &amp; &lt;S&gt; &#233;&#x1F600;&quot;</FirstName>"),
      client("<FirstName>a\r\nb\rc<![CDATA[ d\r\ne ]]></FirstName>"),
      client("<FirstName>An<!--x-->n<?p q?> <b>i<c/>e</b></FirstName><LastName/>"),
      client("<FirstName> <!--c--> </FirstName><LastName></LastName><MiddleName >M</MiddleName >"),
      client("<FirstName null='tr&#117;e'/><LastName null=\"true \"/><MiddleName null='true'>"
             "x</MiddleName>"),
      "<Clients id='&#32;7'><ClientOrPatient id=\"\t3\r\n\" note='a>\"b'/>"
      "<ClientOrPatient id='4&#10;'/></Clients>",
      "<x:Clients id='1' xmlns:x='u'><x:ClientOrPatient id='2'><x:FirstName>A</x:FirstName>"
      "</x:ClientOrPatient></x:Clients>",
      client("<Skip><a><b>x</b><c/></a></Skip><BirthDate>1950-07-14</BirthDate><Deleted>TRUE"
             "</Deleted><ClientAid id='3'><AidModel>M</AidModel></ClientAid>"),
      "<Clients/>",
      "<Cl\xC3\xAF"
      "ents id='1'/>",
      "<?xml-stylesheet href='s'?><Clients/>",
  };
  // The parser's alone: a text blank once resolved, a DTD, many attributes,
  // and every failure.
  const std::vector<std::string> not_kept = {
      client("<FirstName>&#32;</FirstName>"),
      "<!DOCTYPE Clients>" + client(""),
      "<Clients a='1' b='2' c='3' d='4' e='5' f='6' g='7' h='8' id='9'/>",
      "<Clients id='1'/><!-- a --->",
      client("<FirstName>&nbsp;</FirstName>"),
      client("<FirstName>]]></FirstName>"),
      "<Clients id='1' id='2'/>",
      client("<FirstName>A</LastName>"),
      "<Clients/>text",
      "<Clients><ClientOrPatient id='2'></Clients>",
      "<Clients id='1'x='2'/>",
      "<Clients>&#1;</Clients>",
      " <?xml version='1.0'?><Clients/>",
  };
  for (const auto* texts : {&kept, &not_kept}) {
    for (const std::string& text : *texts) {
      SCOPED_TRACE(text);
      const Reading direct = ReadBy(true, text);
      const Reading parsed = ReadBy(false, text);
      EXPECT_EQ(direct.kept, texts == &kept);
      EXPECT_FALSE(parsed.kept);
      EXPECT_EQ(direct.report, parsed.report);
      EXPECT_EQ(support::CompareTrees(*direct.clients, *parsed.clients), "");
    }
  }
}

// A handle of a document element kept as text is the same node before and
// after the tree is built, and outlives a later load; so does a handle into
// a tree that was never built.
TEST(DomParseTest, HandlesOfATextKeptElementStayTheSameNode) {
  DOMDocument d = Parsed("<a><b>one</b><c>two<d/></c></a>");
  const DOMElement unbuilt = d.documentElement();
  ASSERT_TRUE(d.loadXML("<n>new</n>"));
  const DOMElement before = d.documentElement();
  const DOMElement copy = before;
  EXPECT_EQ(Dump(unbuilt), "a[b['one'],c['two',d]]");
  EXPECT_EQ(unbuilt.xml(), "<a><b>one</b><c>two<d/></c></a>");
  EXPECT_EQ(before.childNodes().length(), 1);  // builds the tree
  EXPECT_TRUE(copy == before);
  EXPECT_TRUE(d.documentElement() == copy);
  EXPECT_FALSE(copy == before.firstChild());
  ASSERT_TRUE(d.loadXML("<m/>"));
  EXPECT_EQ(Dump(copy), "n['new']");
  EXPECT_FALSE(d.documentElement() == copy);
}

}  // namespace
}  // namespace tympora
