#include "tympora/node/dom.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <string>
#include <vector>

#include "test_util.hpp"
#include "tympora/node/error.hpp"

namespace tympora {
namespace {

using testing::ErrorOf;
using testing::Parse;

// The tympora::Error that `f` raises as "number source: description", or "".
std::string Raised(const std::function<void()>& f) {
  try {
    f();
  } catch (const Error& e) {
    return std::to_string(e.Number()) + " " + e.Source() + ": " + e.Description();
  }
  return "";
}

bool IsEmpty(const DOMDocument& d) {
  return d.childNodes().length() == 0 && d.documentElement().IsAbsent() && d.xml().empty();
}

TEST(DomTest, AbsentHandlesRaise91) {
  const std::function<void()> cases[] = {
      [] { DOMNode().nodeName(); },
      [] { DOMNode().text(); },
      [] { DOMNode().childNodes(); },
      [] { DOMNode().xml(); },
      [] { DOMDocument().xml(); },
      [] { DOMDocument().preserveWhiteSpace(); },
      [] { DOMDocument().createElement("a"); },
      [] { DOMNodeList().length(); },
      [] { DOMNodeList().item(0); },
      [] { DOMNamedNodeMap().length(); },
      [] { DOMNamedNodeMap().getNamedItem("a"); },
      [] { DOMDocument::New().appendChild(DOMNode()); },
      [] { DOMDocument::New().createTextNode("t").attributes().length(); },
  };
  for (size_t i = 0; i < std::size(cases); ++i) EXPECT_EQ(ErrorOf(cases[i]), kErrObjectNotSet) << i;
}

// A new document has its defaults, and nodes it made show only once they
// are appended. A refused append raises the DOM's error and changes nothing;
// a refused node can still go elsewhere.
TEST(DomTest, NewDocumentShowsOnlyAppendedNodesAndRefusesWrongAppends) {
  DOMDocument d = DOMDocument::New();
  EXPECT_EQ(std::tuple(d.async(), d.validateOnParse(), d.resolveExternals(), d.preserveWhiteSpace(),
                       d.parseError().errorCode, d.parseError().line),
            std::tuple(true, true, true, false, 0, 0));
  DOMElement loose = d.createElement("loose");
  loose.text("hidden");
  d.createComment("c");
  EXPECT_TRUE(IsEmpty(d));
  EXPECT_TRUE(loose.parentNode().IsAbsent());
  d.appendChild(d.createProcessingInstruction("xml", "version='1.0'"));
  DOMElement root = d.appendChild(d.createElement("r"));
  root.appendChild(d.createTextNode("shown"));
  EXPECT_EQ(d.documentElement(), root);
  EXPECT_EQ(d.childNodes().length(), 2);
  EXPECT_EQ(d.childNodes().item(1), root);
  EXPECT_EQ(root.parentNode(), d.AsNode());
  EXPECT_EQ(d.AsNode().text(), "shown");
  DOMDocument other = DOMDocument::New();
  DOMElement a = d.createElement("a");
  DOMElement b = a.appendChild(d.createElement("b"));
  const DOMElement second = d.createElement("second");
  root.setAttribute("k", "v");
  // the error, the detail that follows its text, the append
  const std::vector<std::tuple<int32_t, const char*, std::function<void()>>> cases = {
      {kDomErrSecondRoot, "", [&] { d.appendChild(second); }},
      {kDomErrWrongDocument, "", [&] { root.appendChild(other.createElement("x")); }},
      {kDomErrHierarchy, "text cannot be at the top of a document",
       [&] { d.appendChild(d.createTextNode("x")); }},
      {kDomErrHierarchy, "the node already has a parent", [&] { root.appendChild(b); }},
      {kDomErrHierarchy, "a node cannot go below itself", [&] { b.appendChild(a); }},
      {kDomErrHierarchy, "a node cannot go below itself", [&] { a.appendChild(a); }},
      {kDomErrHierarchy, "this node cannot have children",
       [&] { d.createTextNode("t").appendChild(d.createElement("x")); }},
      {kDomErrHierarchy, "attributes are not children",
       [&] { a.appendChild(root.attributes().getNamedItem("k")); }},
      {kDomErrHierarchy, "the XML declaration must come first",
       [&] { d.appendChild(d.createProcessingInstruction("xml", "version='1.0'")); }},
      {kDomErrHierarchy, "the XML declaration must come first",
       [&] { a.appendChild(d.createProcessingInstruction("xml", "version='1.0'")); }},
      {kDomErrHierarchy, "a document cannot be a child", [&] { a.appendChild(d.AsNode()); }},
  };
  for (const auto& [number, detail, f] : cases) {
    const std::string text =
        std::to_string(number) + " " + kDomSource + ": " + DomErrorText(number);
    EXPECT_EQ(Raised(f), *detail ? text + ": " + detail : text);
  }
  EXPECT_EQ(d.xml(), "<?xml version='1.0'?>\r\n<r k=\"v\">shown</r>\r\n");
  EXPECT_TRUE(second.parentNode().IsAbsent());
  root.appendChild(second);
  EXPECT_EQ(d.xml(), "<?xml version='1.0'?>\r\n<r k=\"v\">shown<second/></r>\r\n");
}

TEST(DomTest, NamesTypesAndValues) {
  DOMDocument d = Parse(
      "<?xml version='1.0'?><!--note--><ns:Curve ns:id='7' plain='p' Plain='P'>t<![CDATA[c]]>"
      "<?pi data?></ns:Curve>",
      false);
  DOMElement curve = d.documentElement();
  // node, type, name, base name, value
  const std::tuple<DOMNode, DOMNodeType, const char*, const char*, Variant> cases[] = {
      {d.AsNode(), DOMNodeType::Document, "#document", "", kNull},
      {d.childNodes().item(0), DOMNodeType::ProcessingInstruction, "xml", "xml", "version=\"1.0\""},
      {d.childNodes().item(1), DOMNodeType::Comment, "#comment", "", "note"},
      {curve, DOMNodeType::Element, "ns:Curve", "Curve", kNull},
      {curve.attributes().item(0), DOMNodeType::Attribute, "ns:id", "id", "7"},
      {curve.attributes().getNamedItem("plain"), DOMNodeType::Attribute, "plain", "plain", "p"},
      {curve.firstChild(), DOMNodeType::Text, "#text", "", "t"},
      {curve.childNodes().item(1), DOMNodeType::CData, "#cdata-section", "", "c"},
      {curve.childNodes().item(2), DOMNodeType::ProcessingInstruction, "pi", "pi", "data"},
      {d.createProcessingInstruction("xml", "version='1.0'"), DOMNodeType::ProcessingInstruction,
       "xml", "xml", "version='1.0'"},
  };
  for (const auto& [node, type, name, base, value] : cases) {
    SCOPED_TRACE(name);
    ASSERT_FALSE(node.IsAbsent());
    EXPECT_EQ(node.nodeType(), type);
    EXPECT_EQ(node.nodeName(), name);
    EXPECT_EQ(node.baseName(), base);
    EXPECT_EQ(node.nodeValue(), value);
  }
  // Attributes keep their order, a value set again keeps its place, and
  // names match exactly.
  curve.setAttribute("plain", "q");
  curve.setAttribute("new", "4");
  const DOMNamedNodeMap attrs = curve.attributes();
  std::string listed;
  for (int32_t i = -1; i <= attrs.length(); ++i) {
    const DOMNode item = attrs.item(i);
    listed += item ? item.nodeName() + "=" + item.nodeValue().AsString() + " " : "- ";
    EXPECT_TRUE(!item || attrs.getNamedItem(item.nodeName()) == item);
  }
  EXPECT_EQ(listed, "- ns:id=7 plain=q Plain=P new=4 - ");
  EXPECT_TRUE(attrs.getNamedItem("PLAIN").IsAbsent() && attrs.getNamedItem("id").IsAbsent());
  EXPECT_EQ(ErrorOf([&] { d.createComment("c").setAttribute("a", "b"); }), kDomErrHierarchy);
}

// A parsed document is written back; text that is blank, also once its
// references are resolved, is dropped unless white space is preserved;
// references in comments, CDATA sections and instructions are never resolved.
TEST(DomTest, ParsedDocumentsDropBlankTextUnlessPreserved) {
  // text, as written without and with preserveWhiteSpace ("": the same)
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"<Name>   </Name>", "<Name/>\r\n", "<Name>   </Name>\r\n"},
      {"<a>\r\n<b/>\t\n</a>", "<a><b/></a>\r\n", "<a>\n<b/>\t\n</a>\r\n"},
      {"<a> x </a>", "<a> x </a>\r\n", ""},
      {"<a><![CDATA[ ]]></a>", "<a><![CDATA[ ]]></a>\r\n", ""},
      {" \r\n<a/>\r\n ", "<a/>\r\n", ""},
      {"<r><a>&#13;</a><b> &#x20;&#9; </b><c>x&#13;</c></r>", "<r><a/><b/><c>x&#13;</c></r>\r\n",
       "<r><a>&#13;</a><b>  \t </b><c>x&#13;</c></r>\r\n"},
      {"<r a='&#13;'>&#10;</r>", "<r a=\"&#13;\"/>\r\n", "<r a=\"&#13;\">\n</r>\r\n"},
      {"<r>&#13;<a/>&#32;</r>", "<r><a/></r>\r\n", "<r>&#13;<a/> </r>\r\n"},
      {"<r>x&#13;<a>&#13;&#10;</a></r>", "<r>x&#13;<a/></r>\r\n",
       "<r>x&#13;<a>&#13;\n</a></r>\r\n"},
      {"<r a='>&#13;'><b>&#13;y</b></r>", "<r a=\">&#13;\"><b>&#13;y</b></r>\r\n", ""},
      {"<r><!--&#13;--><a>t</a></r>", "<r><!--&#13;--><a>t</a></r>\r\n", ""},
      {"<r><![CDATA[&#13;]]></r>", "<r><![CDATA[&#13;]]></r>\r\n", ""},
      {"<r><!-- &#1; --></r>", "<r><!-- &#1; --></r>\r\n", ""},
      {"<r><![CDATA[&#1;]]></r>", "<r><![CDATA[&#1;]]></r>\r\n", ""},
      {"<?pi &#1;?><r/>", "<?pi &#1;?>\r\n<r/>\r\n", ""},
      {"<r a='&#9;'>&#13;&#x10FFFF;</r>", "<r a=\"&#9;\">&#13;\xF4\x8F\xBF\xBF</r>\r\n", ""},
      {"<?xml version='1.0' encoding='windows-1252'?><a/>", "<?xml version=\"1.0\"?>\r\n<a/>\r\n",
       ""},
      {"<a><![CDATA[x]]]]><![CDATA[>y]]></a>", "<a><![CDATA[x]]]]><![CDATA[>y]]></a>\r\n", ""},
      {"<a/><!--after-->", "<a/>\r\n<!--after-->\r\n", ""},
  };
  for (const auto& [text, dropped, kept] : cases) {
    SCOPED_TRACE(text);
    EXPECT_EQ(Parse(text, false).xml(), dropped);
    EXPECT_EQ(Parse(text).xml(), *kept ? kept : dropped);
  }
}

TEST(DomTest, SerialisedForms) {
  DOMDocument d = DOMDocument::New();
  DOMElement e = d.createElement("e");
  e.setAttribute("v", "&<>\"'\t\n\r");
  DOMElement t = d.createElement("t");
  t.appendChild(d.createTextNode("&<>\"'\t\n\r]]>"));
  DOMDocument c = Parse("<a><![CDATA[x]]></a>", false);
  c.documentElement().firstChild().text("x]]>y");
  const std::pair<std::string, std::string> cases[] = {
      {e.xml(), "<e v=\"&amp;&lt;>&quot;'&#9;&#10;&#13;\"/>"},
      {t.xml(), "<t>&amp;&lt;&gt;\"'\t\n&#13;]]&gt;</t>"},
      {d.createComment(" c ").xml(), "<!-- c -->"},
      {d.createProcessingInstruction("xml", "version='1.0'").xml(), "<?xml version='1.0'?>"},
      {d.createProcessingInstruction("go", "").xml(), "<?go?>"},
      {c.xml(), "<a><![CDATA[x]]]]><![CDATA[>y]]></a>\r\n"},
  };
  for (const auto& [got, expected] : cases) {
    SCOPED_TRACE(expected);
    EXPECT_EQ(got, expected);
  }
}

TEST(DomTest, ForbiddenTextAndNamesRaiseAndChangeNothing) {
  // U+0001, U+FFFF, NUL, a byte never in UTF-8, a lone continuation byte, an
  // overlong form, a surrogate, a truncated sequence, beyond U+10FFFF.
  const std::string bad[] = {"a\x01",        "a\xEF\xBF\xBF", std::string("a\0b", 3),
                             "a\xFF",        "\x80",          "\xC0\xAF",
                             "\xED\xA0\x80", "\xE2\x82",      "\xF4\x90\x80\x80"};
  DOMDocument d = DOMDocument::New();
  DOMElement root = d.appendChild(d.createElement("r"));
  root.text("keep");
  root.setAttribute("k", "keep");
  for (const std::string& text : bad) {
    SCOPED_TRACE(::testing::PrintToString(text));
    EXPECT_EQ(ErrorOf([&] { d.createTextNode(text); }), kDomErrInvalidChar);
    EXPECT_EQ(ErrorOf([&] { d.createComment(text); }), kDomErrInvalidChar);
    EXPECT_EQ(ErrorOf([&] { root.text(text); }), kDomErrInvalidChar);
    EXPECT_EQ(ErrorOf([&] { root.setAttribute("k", text); }), kDomErrInvalidChar);
    EXPECT_EQ(ErrorOf([&] { root.setAttribute("n", text); }), kDomErrInvalidChar);
  }
  // Text that would end its comment or instruction early, and so inject
  // markup into the written document, raises 1007; so does a declaration
  // with a bad version or an unknown value.
  DOMNode comment = root.appendChild(d.createComment("c"));
  DOMNode pi = root.appendChild(d.createProcessingInstruction("pi", "p"));
  const std::function<void()> markup[] = {
      [&] { d.createComment("--><Injected admin=\"1\"/><!--"); },
      [&] { d.createComment("a--b"); },
      [&] { d.createComment("a-"); },
      [&] { comment.text("-->"); },
      [&] { d.createProcessingInstruction("pi", "?><x/>"); },
      [&] { pi.text("a?>"); },
      [&] { d.createProcessingInstruction("xml", "version='x'"); },
      [&] { d.createProcessingInstruction("xml", "version='1.0' admin='1'"); },
  };
  for (size_t i = 0; i < std::size(markup); ++i) EXPECT_EQ(ErrorOf(markup[i]), kDomErrMarkup) << i;
  EXPECT_EQ(d.xml(), "<r k=\"keep\">keep<!--c--><?pi p?></r>\r\n");
  EXPECT_NO_THROW(d.createComment("-a - b"));
  EXPECT_NO_THROW(
      d.createProcessingInstruction("xml", " version=\"1.10\" encoding='koi8-r' standalone='no'"));
  // Allowed limits pass.
  EXPECT_NO_THROW(root.text("\t\xEF\xBF\xBD\xF4\x8F\xBF\xBF\xEE\x80\x80\xED\x9F\xBF"));
  EXPECT_NE(Raised([&] { d.createTextNode("a\xFF"); }).find("0xFF at byte offset 1"),
            std::string::npos);
  DOMElement e = d.createElement("e");
  for (const char* bad : {"", "1a", "a b", "a>", "-x", "\xC3", "x\xE2\x80\x8B"}) {
    SCOPED_TRACE(bad);
    EXPECT_EQ(ErrorOf([&] { d.createElement(bad); }), kDomErrInvalidName);
    EXPECT_EQ(ErrorOf([&] { e.setAttribute(bad, "v"); }), kDomErrInvalidName);
    EXPECT_EQ(ErrorOf([&] { d.createProcessingInstruction(bad, "d"); }), kDomErrInvalidName);
  }
  for (const char* good :
       {"ns:Curve", "_x", "\xC3\xA9l\xC3\xA9ment", "a-1.b\xC2\xB7", "\xE2\x80\x8Cx"}) {
    SCOPED_TRACE(good);
    EXPECT_EQ(ErrorOf([&] { d.createElement(good); }), 0);
    EXPECT_EQ(ErrorOf([&] { e.setAttribute(good, "v"); }), 0);
  }
  EXPECT_EQ(ErrorOf([&] { d.createProcessingInstruction("XML", "v"); }), kDomErrInvalidName);
}

// A file that cannot be read gives its number at once: a pipe without a
// writer does not block, and an endless device is not read.
TEST(DomTest, UnreadableFileReportsItsNumber) {
  testing::TempDir dir;
  const std::string fifo = dir / "fifo", locked = dir / "locked.xml";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  testing::WriteFile(locked, "<a/>");
  ::chmod(locked.c_str(), 0);
  const std::pair<std::string, int32_t> rows[] = {
      {dir / "missing.xml", kErrFileNotFound},   {dir / "no/such.xml", kErrPathNotFound},
      {dir.path().string(), kErrPathFileAccess}, {fifo, kErrPathFileAccess},
      {"/dev/zero", kErrPathFileAccess},         {locked, kErrPermissionDenied},
  };
  for (const auto& [path, number] : rows) {
    SCOPED_TRACE(path);
    if (number == kErrPermissionDenied && ::geteuid() == 0) continue;  // root reads anyway
    DOMDocument d = Parse("<old/>", false);
    EXPECT_FALSE(d.load(path));
    EXPECT_EQ(d.parseError().errorCode, number);
    EXPECT_NE(d.parseError().reason.find(path), std::string::npos) << d.parseError().reason;
    EXPECT_EQ(d.parseError().line, 0);
    EXPECT_TRUE(IsEmpty(d));
  }
}

// Child access in any order, with walks of more parents interleaved than the
// cursor cache holds, must match a plain list of the children.
TEST(DomTest, ChildItemsMatchInAnyOrder) {
  DOMDocument d = DOMDocument::New();
  DOMElement root = d.appendChild(d.createElement("root"));
  std::vector<std::vector<DOMNode>> expected(20);
  for (int p = 0; p < 20; ++p) {
    DOMElement parent = root.appendChild(d.createElement("p"));
    for (int c = 0; c < 30; ++c)
      expected[p].push_back(parent.appendChild(d.createElement("c" + std::to_string(c))));
  }
  for (int i : {0,  1,  2, 3,  29, 28, 27, 10, 11, 12, 0, 15,  14, 29,
                30, -1, 5, 29, 0,  29, 1,  28, 2,  27, 3, 100, 4}) {
    for (int p = 0; p < 20; ++p) {
      SCOPED_TRACE(::testing::Message() << "parent " << p << " index " << i);
      const DOMNodeList list = root.childNodes().item(p).childNodes();
      EXPECT_EQ(list.item(i), i >= 0 && i < 30 ? expected[p][i] : DOMNode());
      EXPECT_EQ(list.length(), 30);
    }
  }
  // A change during a walk shows at once.
  DOMNodeList list = root.childNodes();
  EXPECT_EQ(list.item(19), root.childNodes().item(19));
  DOMNode added = root.appendChild(d.createComment("late"));
  EXPECT_EQ(list.length(), 21);
  EXPECT_EQ(list.item(20), added);
  EXPECT_TRUE(d.createElement("x").childNodes().item(0).IsAbsent());
}

}  // namespace
}  // namespace tympora
