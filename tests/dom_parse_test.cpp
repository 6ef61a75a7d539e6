// How a parse treats text: kept inside elements on the fast road, and given
// its nodes the moment the DOM is used; which documents are kept as text.
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

// The tree below `node` as text: name[children] for elements, the text of
// text and CDATA nodes, "#comment".
std::string Dump(const DOMNode& node) {
  const DOMNodeType type = node.nodeType();
  if (type == DOMNodeType::Text || type == DOMNodeType::CData) return "'" + node.text() + "'";
  if (type != DOMNodeType::Element) return node.nodeName();
  std::string out = node.nodeName();
  const DOMNodeList children = node.childNodes();
  for (int32_t i = 0; i < children.length(); ++i) out += (i ? "," : "[") + Dump(children.item(i));
  return children.length() > 0 ? out + "]" : out;
}

// Every way of reading the tree sees text nodes, wherever the parse kept the
// text, and reading it in any order gives the same answers: text() resolves
// the references and joins the texts below, comments left out.
TEST(DomParseTest, TextReadsAsNodesInEveryMode) {
  // document, its tree, the text of its document element
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"<a>t</a>", "a['t']", "t"},
      {"<a>t<b>u</b>v</a>", "a['t',b['u'],'v']", "tuv"},
      {"<a><b>u</b>v</a>", "a[b['u'],'v']", "uv"},
      {"<a>t<!--c-->u</a>", "a['t',#comment,'u']", "tu"},
      {"<a><![CDATA[x]]>y</a>", "a['x','y']", "xy"},
      {"<a k='1'>&lt;x&gt; &amp; 'q'</a>", "a['<x> & 'q'']", "<x> & 'q'"},
      {"<a>line\r\nnext</a>", "a['line\nnext']", "line\nnext"},
      {"<a><b><c>deep</c></b>tail</a>", "a[b[c['deep']],'tail']", "deeptail"},
      {"<a>x<b>y<!--no--></b><![CDATA[<z>]]>w</a>", "a['x',b['y',#comment],'<z>','w']", "xy<z>w"},
      {"<a><b/></a>", "a[b]", ""},
      {"<a>&amp;&#233;&lt;&gt;&quot;&apos;&#x1F600;</a>", "a['&\xC3\xA9<>\"'\xF0\x9F\x98\x80']",
       "&\xC3\xA9<>\"'\xF0\x9F\x98\x80"},
      {"<a>a&#13;b&#10;\tc&#x0D;</a>", "a['a\rb\n\tc\r']", "a\rb\n\tc\r"},
  };
  EXPECT_EQ(Dump(testing::Parse("<a>   </a>", false).documentElement()), "a");
  for (const auto& [xml, dump, text] : cases) {
    SCOPED_TRACE(xml);
    for (bool preserve : {false, true}) {
      SCOPED_TRACE(preserve);
      // First contact through text(), then through the child list.
      DOMDocument first_text = testing::Parse(xml, preserve);
      EXPECT_EQ(first_text.documentElement().text(), text);
      EXPECT_EQ(Dump(first_text.documentElement()), dump);
      DOMDocument first_children = testing::Parse(xml, preserve);
      EXPECT_EQ(Dump(first_children.documentElement()), dump);
      EXPECT_EQ(first_children.documentElement().text(), text);
      EXPECT_EQ(first_children.xml(), first_text.xml());
    }
  }
}

// A document of the common form is kept as text and imported from there;
// its tree is built once the DOM is used. Either road gives the import and
// the tree that the parser alone gives.
TEST(DomParseTest, DocumentsKeptAsTextReadAsTheParserReadsThem) {
  const auto client = [](const std::string& inner) {
    return "<Clients id='1'><ClientOrPatient id='2'>" + inner + "</ClientOrPatient></Clients>";
  };
  const std::vector<std::string> kept = {
      "<?xml version=\"1.0\"?>\r\n<!--made-->\r\n" + client("<FirstName>Ann</FirstName>") +
          "\r\n<?pi x?>",
      client(
          "<FirstName>O&apos;B &amp; &lt;S&gt; &#233;&#128;&#x1F600;&#x10FFFF;&quot;</FirstName>"),
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
      "<Cl\u00EFents id='1'/>",
      "<?xml-stylesheet href='s'?><Clients/>",
  };
  // The parser's alone: a text blank once resolved, a DTD, many attributes.
  const std::vector<std::string> parsed = {
      client("<FirstName>&#32;</FirstName>"),
      "<!DOCTYPE Clients [<!ENTITY e \"x\"><!ENTITY f \"]]>\">]>" + client(""),
      "<Clients a='1' b='2' c='3' d='4' e='5' f='6' g='7' h='8' id='9'/>",
  };
  for (const auto* texts : {&kept, &parsed}) {
    for (const std::string& text : *texts) {
      SCOPED_TRACE(text);
      std::string read[2];
      CClients clients[2];
      for (int road : {0, 1}) {  // direct road open, then shut
        testing_hooks::SetDirectRoad(road == 0);
        DOMDocument d = DOMDocument::New();
        const bool loaded = d.loadXML(text);
        testing_hooks::SetDirectRoad(true);
        ASSERT_TRUE(loaded) << d.parseError().reason;
        std::string_view unused;
        size_t root = 0;
        EXPECT_EQ(detail::DirectRoot(d.documentElement(), unused, root),
                  road == 0 && texts == &kept);
        const StatusPtr status = clients[road].ImportXMLNode(d.documentElement());
        read[road] =
            std::to_string(status->Number()) + " " + status->Description() + "\n" + d.xml();
      }
      EXPECT_EQ(read[0], read[1]);
      EXPECT_EQ(support::CompareTrees(clients[0], clients[1]), "");
    }
  }
}

// Handles keep their tree alive past a later load and past the document,
// whether or not a document kept as text had its tree built; a handle of
// such a document element is the same node before and after the build. A
// child that a new text replaces stays valid, out of its tree.
TEST(DomParseTest, HandlesOutliveALoadAndStayTheSameNode) {
  DOMElement unbuilt, built, child;
  {
    DOMDocument d = testing::Parse("<a><b>one</b><c>two<d/></c></a>", false);
    unbuilt = d.documentElement();
    ASSERT_TRUE(d.loadXML("<n><b>x</b>z</n>"));
    built = d.documentElement();
    child = built.firstChild();  // builds the tree
    EXPECT_TRUE(d.documentElement() == built);
    EXPECT_FALSE(built == child);
    ASSERT_TRUE(d.loadXML("<m/>"));
    EXPECT_EQ(d.xml(), "<m/>\r\n");
    EXPECT_FALSE(d.documentElement() == built);
    EXPECT_EQ(testing::ErrorOf([&] { d.documentElement().appendChild(built); }),
              kDomErrWrongDocument);
  }
  EXPECT_EQ(Dump(unbuilt), "a[b['one'],c['two',d]]");
  EXPECT_EQ(unbuilt.xml(), "<a><b>one</b><c>two<d/></c></a>");
  EXPECT_EQ(child.parentNode(), built);
  child.text("y");
  EXPECT_EQ(built.xml(), "<n><b>y</b>z</n>");
  EXPECT_EQ(built.childNodes().item(1).text(), "z");  // warms the child cursor of n
  built.text("new");
  EXPECT_EQ(Dump(built), "n['new']");
  EXPECT_TRUE(built.childNodes().item(1).IsAbsent());
  EXPECT_EQ(child.text(), "y");
  EXPECT_TRUE(child.parentNode().IsAbsent());
  built.text("");
  EXPECT_EQ(built.xml(), "<n/>");
}

}  // namespace
}  // namespace tympora
