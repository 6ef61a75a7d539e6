#include "tympora/node/node_utility.hpp"

#include <gtest/gtest.h>

#include "probe_node.hpp"
#include "test_util.hpp"
#include "tympora/node/file_layer.hpp"
#include "tympora/node/frames.hpp"

namespace tympora {
namespace {
using testing::ErrorOf;
using testing::Probe;
using testing::ReadFile;
using testing::Shape;

// A status as "number source: description".
std::string Of(const StatusPtr& s) {
  return s ? std::to_string(s->Number()) + " " + s->Source() + ": " + s->Description() : "none";
}

TEST(ExportFrameTest, FailureTable) {
  testing::TempDir dir;
  Probe probe, failing, no_document, silent;
  failing.fail_number = 1234;
  no_document.no_document = true;
  silent.absent_status = true;
  DOMDocument absent, into, fresh = DOMDocument::New(), rooted = DOMDocument::New();
  rooted.appendChild(rooted.createElement("Root"));
  DOMElement no_parent;
  testing::WriteFile(dir / "kept.xml", "old");
  const std::string probe_failure = "1234 Probe: probe failure";
  const std::string bad_handle = "2003 : Invalid file handle.";
  const std::pair<StatusPtr, std::string> cases[] = {
      {probe.ExportXMLPath(""), "2002 : Supplied path invalid or missing."},
      {probe.ExportXMLFileHandle(511),
       "52 Tympora: Bad file name or number: no file is open under number 511"},
      {probe.ExportXMLFileHandle(0), bad_handle},
      {probe.ExportXMLFileHandle(512), bad_handle},
      {probe.ExportXMLFileHandle(-1), bad_handle},
      {failing.ExportXMLPath(dir / "failing.xml"), probe_failure},
      {SaveNodeToPath(dir / "kept.xml", failing), probe_failure},
      {SaveNodeToPath(dir.path().string(), failing),  // refused before the record writes
       "75 Tympora: Path/File access error: '" + dir.path().string() + "': is not a file"},
      {failing.ExportXMLDocument(into), probe_failure},
      {probe.ExportXMLNode(absent, no_parent),
       "2005 Supplied Document Parameter: Object parameter 1 is not initialized."},
      {probe.ExportXMLNode(fresh, no_parent),
       "2006 Supplied Parent Node Parameter: Object parameter 2 is not initialized."},
      {probe.ExportXMLDocument(rooted),
       "1001 DOMDocument: Only one top level element is allowed in an XML document"},
      // An absent status counts as success; a node that returns none writes nothing.
      {silent.ExportXMLPath(dir / "a.xml"), "0 : "},
      {StandaloneNode().ExportXMLPath(dir / "b.xml"), "none"},
  };
  for (const auto& [status, expected] : cases) EXPECT_EQ(Of(status), expected);
  EXPECT_EQ(Shape(rooted.AsNode()), std::vector<std::string>{"Root"});
  EXPECT_EQ(ReadFile(dir / "failing.xml"), "") << "a failed export leaves the file empty";
  EXPECT_EQ(ReadFile(dir / "kept.xml"), "old") << "a failed save leaves the old file";
  EXPECT_EQ(testing::FolderNames(dir.path()),
            (std::vector<std::string>{"a.xml", "failing.xml", "kept.xml"}));
  EXPECT_NE(ReadFile(dir / "a.xml").find("<Probe id=\"0\">"), std::string::npos);
  ASSERT_EQ(FreeFile(), 1) << "the failing exports closed their files";
  OpenFile(1, dir / "nodoc.xml");
  EXPECT_EQ(Of(no_document.ExportXMLFileHandle(1)),
            "91 Tympora: Object variable or With block variable not set: the record returned no "
            "document");
  EXPECT_EQ(FileLength(1), 0);
  FileClose(1);
  EXPECT_EQ(ErrorOf([] { CheckThisNode(DOMNode()); }), 2005);
}

// A new document holds the declaration, the comment and the element, whose
// CR LF text nodes a file drops, and two exports through one number write
// two documents in a row; a document that has no root gets only the
// element; below a node, the element comes between two CR LF text nodes.
// NewXMLDocument makes a new document of the declaration and the comment.
TEST(ExportFrameTest, DocumentsKeepCrLfNodesWhileFilesDropThem) {
  testing::TempDir dir;
  Probe probe;
  probe.ID(3);
  probe.name = "  \r\n ";
  DOMDocument doc;
  EXPECT_EQ(Of(probe.ExportXMLDocument(doc)), "0 : ");
  EXPECT_EQ(testing::WithoutCreationDate(doc.xml()),
            "<?xml version='1.0'?>\r\n<!--document created DATE-->\r\n"
            "<Probe id=\"3\">&#13;\n<Name>  &#13;\n </Name>&#13;\n</Probe>\r\n");
  // The file replaces a longer one, of which nothing remains.
  testing::WriteFile(dir / "p.xml", std::string(10000, 'x'));
  EXPECT_EQ(Of(probe.ExportXMLPath(dir / "p.xml")), "0 : ");
  EXPECT_EQ(testing::WithoutCreationDate(ReadFile(dir / "p.xml")),
            "<?xml version=\"1.0\"?>\r\n<!--document created DATE-->\r\n"
            "<Probe id=\"3\"><Name/></Probe>\r\n");
  // Two exports through one number write two documents, one after the other.
  const int16_t n = FreeFile();
  OpenFile(n, dir / "two.xml");
  EXPECT_EQ(Of(probe.ExportXMLFileHandle(n)), "0 : ");
  const int64_t after_first = FileLength(n);
  probe.name = "second";
  EXPECT_EQ(Of(probe.ExportXMLFileHandle(n)), "0 : ");
  FileClose(n);
  const std::string two = ReadFile(dir / "two.xml");
  EXPECT_EQ(two.find("<?xml"), 0u);
  EXPECT_EQ(two.find("<?xml", 1), static_cast<size_t>(after_first));
  EXPECT_NE(two.find("<Name>second</Name>", after_first), std::string::npos);

  doc = DOMDocument::New();
  EXPECT_EQ(Of(probe.ExportXMLDocument(doc)), "0 : ");
  EXPECT_EQ(Shape(doc.AsNode()), std::vector<std::string>{"Probe"});
  DOMElement parent = doc.createElement("Parent");
  EXPECT_EQ(Of(probe.ExportXMLNode(doc, parent)), "0 : ");
  EXPECT_EQ(Shape(parent), (std::vector<std::string>{"CRLF", "Probe", "CRLF"}));

  const DOMDocument kept = doc;
  NewXMLDocument(doc);
  EXPECT_NE(doc, kept) << "a new document replaces the old one";
  EXPECT_EQ(std::tuple(doc.async(), doc.validateOnParse(), doc.resolveExternals(),
                       doc.preserveWhiteSpace()),
            std::tuple(false, false, false, true));
  EXPECT_EQ(Shape(doc.AsNode()), (std::vector<std::string>{"xml", "#comment"}));
}

// ExportCollectionNodes stops at the first record that fails and raises its
// error; ResetCollection resets each record, empties the old list and puts a
// new one in its place, or makes one where there is none.
TEST(ExportFrameTest, CollectionsExportUntilAFailureAndReset) {
  auto list = std::make_shared<Collection<Probe>>();
  for (int i = 1; i <= 3; ++i) list->Add(std::make_shared<Probe>(), std::to_string(i));
  list->Item(2)->fail_number = 999;
  DOMDocument doc = DOMDocument::New();
  DOMElement parent = doc.createElement("Parent");
  EXPECT_EQ(Of(RunFrameA([&](StatusPtr&) { ExportCollectionNodes(doc, parent, list.get()); })),
            "999 Probe: probe failure");
  EXPECT_EQ(Shape(parent), (std::vector<std::string>{"CRLF", "Probe", "CRLF"}));
  ExportCollectionNodes(doc, parent, nullptr);  // an absent list does nothing
  std::vector<std::shared_ptr<Probe>> records;
  for (const auto& record : *list) records.push_back(record);
  const CollectionPtr<Probe> old = list;
  ResetCollection(list);
  EXPECT_NE(list, old);
  EXPECT_EQ(list->Count(), 0);
  EXPECT_EQ(old->Count(), 0);
  for (const auto& record : records) EXPECT_EQ(record->resets, 1);
  CollectionPtr<Probe> absent;
  ResetCollection(absent);
  ASSERT_TRUE(absent);
  EXPECT_EQ(absent->Count(), 0);
}

TEST(PropertyElementTest, CreateAppendAndReadPropertyElements) {
  DOMDocument doc = DOMDocument::New();
  const std::tuple<const char*, bool, Variant, std::string> rows[] = {
      // name, Null, value
      {"Frequency", true, Variant(int32_t{440}), "<Frequency null=\"true\"/>"},
      {"Frequency", false, Variant(int32_t{440}), "<Frequency>440</Frequency>"},
      {"Half", false, Variant(0.5), "<Half>.5</Half>"},
      {"Neg", false, Variant(-0.25), "<Neg>-.25</Neg>"},
      {"Text", false, Variant(" lead"), "<Text> lead</Text>"},
      {"Markup", false, Variant("<&>"), "<Markup>&lt;&amp;&gt;</Markup>"},
      {"Empty", false, Variant(""), "<Empty/>"},
      {"Flag", false, Variant(true), "<Flag>True</Flag>"},
  };
  for (const auto& [name, is_null, value, xml] : rows) {
    SCOPED_TRACE(xml);
    DOMElement element;
    CreatePropertyElement(doc, name, is_null, value, element);
    EXPECT_EQ(element.xml(), xml);
    EXPECT_FALSE(element.parentNode());
  }
  DOMElement element;
  EXPECT_EQ(ErrorOf([&] { CreatePropertyElement(doc, "N", false, Variant(kNull), element); }),
            kErrInvalidUseOfNull);
  // Without a parent the child becomes the document's root; either way the
  // caller's reference is released.
  DOMElement none, root = doc.createElement("Root"), child = doc.createElement("Child");
  const DOMElement kept = root;
  AppendChildNode(doc, none, root);
  EXPECT_FALSE(root);
  EXPECT_EQ(Shape(doc.AsNode()), std::vector<std::string>{"Root"});
  DOMElement parent = kept;
  AppendChildNode(doc, parent, child);
  EXPECT_FALSE(child);
  AppendPropertyElement(doc, "P", false, Variant(int32_t{-7}), parent);
  EXPECT_EQ(parent.xml(), "<Root>&#13;\n<Child/>&#13;\n<P>-7</P></Root>");
  // The null flag needs exactly the text "true"; an id is read when it is a
  // number, rounded half to even.
  for (const char* xml : {"<P null=\"true\"/>", "<P a=\"1\" null=\"true\">x</P>"})
    EXPECT_TRUE(IsNullNode(testing::Parse(xml).documentElement())) << xml;
  for (const char* xml : {"<P null=\"TRUE\"/>", "<P null=\"1\"/>", "<P null=\" true\"/>",
                          "<P Null=\"true\"/>", "<P/>", "<P nul=\"true\"/>"}) {
    EXPECT_FALSE(IsNullNode(testing::Parse(xml).documentElement())) << xml;
  }
  EXPECT_EQ(ErrorOf([&] { IsNullNode(testing::ChildNamed(parent, "P").firstChild()); }),
            kErrObjectNotSet);
  EXPECT_EQ(ErrorOf([] { IsNullNode(DOMNode()); }), kErrObjectNotSet);
  const std::tuple<const char*, int32_t, int32_t> ids[] = {
      // the id read into 99, the error
      {"<R id=\"12\"/>", 12, 0},    {"<R id=\"12.5\"/>", 12, 0},
      {"<R id=\"13.5\"/>", 14, 0},  {"<R id=\"-3\"/>", -3, 0},
      {"<R id=\"\"/>", 99, 0},      {"<R id=\"abc\"/>", 99, 0},
      {"<R id=\"12abc\"/>", 99, 0}, {"<R/>", 99, 0},
      {"<R ID=\"5\"/>", 99, 0},     {"<R id=\"3000000000\"/>", 99, kErrOverflow},
      {"<R id=\" 7 \"/>", 7, 0},
  };
  for (const auto& [xml, expected, error] : ids) {
    SCOPED_TRACE(xml);
    int32_t id = 99;
    EXPECT_EQ(ErrorOf([&] { ReadNodeID(testing::Parse(xml).documentElement(), id); }), error);
    EXPECT_EQ(id, expected);
  }
}

}  // namespace
}  // namespace tympora
