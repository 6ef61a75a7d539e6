// How a parse treats text: kept inside elements on the fast road, given its
// nodes the moment the DOM is used, dropped when blank; and how load, which
// parses the file's bytes where they were read, reports failures.
#include <gtest/gtest.h>

#include <string>

#include "test_util.hpp"
#include "tympora/node/dom.hpp"

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

}  // namespace
}  // namespace tympora
