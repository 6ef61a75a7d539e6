// The direct writer against the document road: for many random trees the
// file that ExportXMLFileHandle writes must be byte for byte the text of the
// exported document after one more parse, and a failure must give the same
// status as the document road with nothing written.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

#include "node/record_writer.hpp"
#include "probe_node.hpp"
#include "test_util.hpp"
#include "tree.hpp"
#include "tympora/measurement/curve.hpp"
#include "tympora/measurement/speech_map_datum.hpp"
#include "tympora/node/file_layer.hpp"
#include "tympora/records/client.hpp"

namespace tympora {
namespace {
using testing::Describe;
using testing::TempDir;
using testing::WithoutCreationDate;

// What the document road writes: the record's document, serialised, parsed
// once more without whitespace-only text, and serialised again.
std::string DocumentRoad(CNode& node, StatusPtr& status) {
  DOMDocument doc;
  status = node.ExportXMLDocument(doc);
  if (status->Number() != 0) return {};
  DOMDocument second = DOMDocument::New();
  second.loadXML(doc.xml());
  return second.xml();
}

// What the direct writer makes of `record`, with the comment's date left out.
// It must not fail for a tree that XML can carry.
std::string Direct(const RecordBase& record) {
  detail::TextBuffer text;
  detail::AppendRecordDocument(text, record, "DATE");
  return std::string(text.View());
}

// What ExportXMLFileHandle leaves in a file that held `head`, exporting from
// position `start` of it.
std::string FileRoad(CNode& node, const std::string& path, StatusPtr& status,
                     const std::string& head = "", size_t start = 0) {
  testing::WriteFile(path, head);
  const int16_t n = FreeFile();
  OpenFile(n, path);
  FileWrite(n, head.substr(0, start));
  status = node.ExportXMLFileHandle(n);
  FileClose(n);
  return testing::ReadFile(path);
}

// The file road and the direct writer write what the document road does.
void ExpectRoadsAgree(CNode& node, const std::string& path) {
  StatusPtr document_status, file_status;
  const std::string expected = WithoutCreationDate(DocumentRoad(node, document_status));
  EXPECT_EQ(WithoutCreationDate(FileRoad(node, path, file_status)), expected);
  EXPECT_EQ(document_status->Number(), 0);
  EXPECT_EQ(file_status->Number(), 0);
  EXPECT_EQ(Direct(static_cast<RecordBase&>(node)), expected);
}

const auto kTexts = std::to_array<const char*>(
    {"", " ", "\r\n", "\t", "  x  ", "]]>", "&#13;", "a\rb", "<&>\"'", "\xF0\x9F\x8E\xA7", "\n\n.",
     "line\nnext", "Zoë", "-0", "x\r", "\xC3\xBC<&>\r\xC3\xBC"});
const auto kExtremes = std::to_array<double>(
    {1E+15, -1E-05, std::numeric_limits<double>::max(), std::numeric_limits<double>::denorm_min(),
     0.1, -0.0, 0.30000000000000004, -123456789012345.6, 99999999999999.95, 0.0001, -2147483648.0});

// Changes values all over the tree: tricky texts, Null and empty values,
// extreme numbers.
void Scramble(RecordBase& record, uint64_t& seed) {
  for (const PropertyDef& p : record.Info().properties) {
    seed = seed * 6364136223846793005ull + 1442695040888963407ull;
    const uint64_t pick = seed >> 33;
    if (pick % 5 == 0) {
      record.SetPropertyNull(p);
    } else if (p.Kind() == PropKind::String) {
      record.SetProperty(p, Variant(kTexts[pick % kTexts.size()]));
    } else if (p.Kind() == PropKind::Double && pick % 3 == 0) {
      record.SetProperty(p, Variant(kExtremes[pick % kExtremes.size()]));
    }
  }
  for (const ChildListDef& list : record.Info().children) {
    const NodeCollection* children = list.list(record);
    for (int32_t i = 1; children && i <= children->Count(); ++i)
      Scramble(static_cast<RecordBase&>(*children->NodeItem(i)), seed);
  }
}

TEST(RecordWriterTest, FileIsTheDocumentRoadByteForByteForAnyTreeAndRoot) {
  TempDir dir;
  for (uint32_t seed = 1; seed <= 40; ++seed) {
    SCOPED_TRACE(seed);
    const auto n = static_cast<int32_t>(seed);
    // Clients, aids, sessions, examinations, curves, curve and distortion points.
    auto clients = support::BuildScrambledClinic({n % 4, 2, 1, 2, n % 3, 3, n % 2, seed});
    uint64_t state = seed;
    if (seed % 2 == 0) Scramble(*clients, state);
    clients->ID(seed % 3 == 0 ? -n : n);
    ExpectRoadsAgree(*clients, dir / "tree.xml");
  }
  // Every record class as the root.
  auto clients = support::BuildScrambledClinic({1, 1, 1, 1, 1, 1, 1});  // one of each
  auto client = clients->Clients()->Item(1);
  auto aid = client->Aids()->Item(1);
  auto session = aid->TestDefinitions()->Item(1);
  auto exam = session->Examinations()->Item(1);
  auto curve = exam->Curves()->Item(1);
  auto speech = std::make_shared<CSpeechMapDatum>();
  speech->maxOutputVal(85.5);
  for (const std::shared_ptr<CNode>& root : std::vector<std::shared_ptr<CNode>>(
           {client, aid, session, exam, curve, curve->CurveData()->Item(1),
            curve->DistortionData()->Item(1), speech, std::make_shared<CClients>()})) {
    SCOPED_TRACE(root->NodeName());
    ExpectRoadsAgree(*root, dir / "root.xml");
  }
}

TEST(RecordWriterTest, FailuresMatchTheDocumentRoadAndWriteNothing) {
  TempDir dir;
  const struct {
    const char* name;
    std::function<void(CClients&)> spoil;
  } rows[] = {
      {"control character in a client", [](CClients& c) { c.Clients()->Item(2)->City("a\x01z"); }},
      {"U+FFFF deep in a curve", [](CClients& c) { support::FirstCurve(c)->Name("\xEF\xBF\xBF"); }},
      {"invalid UTF-8", [](CClients& c) { c.Clients()->Item(1)->LastName("\xC3("); }},
      {"a surrogate after markup",
       [](CClients& c) { c.Clients()->Item(1)->LastName("a&b\xED\xA0\x80"); }},
      {"NaN in a point",
       [](CClients& c) { support::FirstCurve(c)->CurveData()->Item(1)->InputVal(std::nan("")); }},
      {"infinity", [](CClients& c) { support::FirstCurve(c)->FxSourceAmp(-INFINITY); }},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    auto clients = support::BuildScrambledClinic({2, 1, 1, 1, 1, 2, 1});
    row.spoil(*clients);
    StatusPtr document_status, file_status;
    DocumentRoad(*clients, document_status);
    EXPECT_EQ(FileRoad(*clients, dir / "bad.xml", file_status), "");
    EXPECT_NE(file_status->Number(), 0);
    EXPECT_EQ(Describe(file_status), Describe(document_status));
    EXPECT_ANY_THROW(Direct(*clients));
  }
}

// A document of a few MiB goes to a file in pieces while it is written.
// Where the file ended at the export's start, a value that fails after the
// first piece takes back what was written; where the export starts inside
// the file, nothing is written before the whole text is made.
TEST(RecordWriterTest, LongDocumentsGoOutInPiecesAndAFailureTakesThemBack) {
  TempDir dir;
  const std::string path = dir / "long.xml";
  auto clients = support::BuildScrambledClinic({.clients = 30, .seed = 3});
  const std::string head = "host text before the export\r\n";
  const std::string text = Direct(*clients);
  ASSERT_GT(text.size(), size_t{2} << 20);
  StatusPtr status;
  EXPECT_TRUE(WithoutCreationDate(FileRoad(*clients, path, status, head, head.size())) ==
              head + text);
  EXPECT_EQ(status->Number(), 0);

  clients->Clients()->Item(30)->City("a\x01z");
  for (const size_t start : {size_t{0}, head.size()}) {
    SCOPED_TRACE(start);
    const std::string written = FileRoad(*clients, path, status, head, start);
    EXPECT_EQ(status->Number(), kDomErrInvalidChar);
    EXPECT_TRUE(written == head) << written.size() << " bytes in the file";
  }
}

// A host's record class: a table of its own whose one child list holds any
// node, and, when asked, an ExportXMLDocument of its own.
class HostRecord : public RecordBase {
 public:
  CollectionPtr<CNode> children = std::make_shared<Collection<CNode>>();
  bool own_document = false;

  const RecordInfo& Info() const override {
    const auto list = [](const RecordBase& r) -> const NodeCollection* {
      return static_cast<const HostRecord&>(r).children.get();
    };
    // Only what an export reads.
    static const RecordInfo info("HostRecord", "HostRecord", "HostRecord", {},
                                 {ChildListDef{"Probe", "Children", "AddChild", "ResetChildren",
                                               list, nullptr, nullptr, nullptr, nullptr, nullptr}});
    return info;
  }
  StatusPtr ExportXMLDocument(DOMDocument& document) override {
    if (!own_document) return RecordBase::ExportXMLDocument(document);
    document = DOMDocument::New();
    document.appendChild(document.createElement("HostDocument"));
    return NewStatus();
  }
};

// Only the library's own records take the direct road: a host's record is
// exported through its CNode members, whatever its children are.
TEST(RecordWriterTest, HostRecordsTakeTheDocumentRoad) {
  TempDir dir;
  // What the host record is asked to do, and a part of what the file must hold.
  const std::tuple<const char*, bool, const char*> rows[] = {
      {"a node of another class as a child", false,
       "<HostRecord id=\"7\"><Probe id=\"0\"><Name>probe</Name></Probe></HostRecord>"},
      {"its own ExportXMLDocument", true, "<HostDocument/>"},
  };
  for (const auto& [name, own_document, part] : rows) {
    SCOPED_TRACE(name);
    HostRecord host;
    host.ID(7);
    host.own_document = own_document;
    host.children->Add(std::make_shared<testing::Probe>(), "0");
    StatusPtr status;
    const std::string written = FileRoad(host, dir / "host.xml", status);
    ASSERT_EQ(status->Number(), 0) << status->Description();
    EXPECT_NE(written.find(part), std::string::npos) << written;
    EXPECT_EQ(detail::AsLibraryRecord(host), nullptr);
  }
}

}  // namespace
}  // namespace tympora
