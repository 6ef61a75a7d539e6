#include "tympora/records/clients.hpp"

#include "record_suite.hpp"
#include "tree.hpp"
#include "tympora/node/conversions.hpp"

namespace tympora {
namespace {
using testing::ErrorOf;
using testing::ExportElement;
using testing::ExportsNull;
using testing::ImportText;
using testing::ReadFile;
using testing::Shape;
using testing::WithoutCreationDate;

// The list has no property at all: every name is refused, "ID" included.
testing::RecordCase ClientsCase() {
  return {
      "CClients",
      [] { return std::make_shared<CClients>(); },
      "Clients",
      [](RecordBase&) {},
      {},
      {},
      {"ID", "id", "Clients", "FirstName", "Number", "NodeName"},
  };
}
INSTANTIATE_RECORD_SUITE(Clients, ClientsCase());
INSTANTIATE_CHILD_LIST_SUITE(
    Clients, testing::ListCase<CClients, CClient>("Clients", "ClientOrPatient",
                                                  &CClients::AddClient, &CClients::Clients,
                                                  &CClients::ResetClients, [](CClient& c) {
                                                    c.FirstName("kept");
                                                    c.AddAid(std::make_shared<CClientAid>());
                                                  }));

std::shared_ptr<CClient> ClientWithId(int32_t id) {
  auto client = std::make_shared<CClient>();
  client->ID(id);
  return client;
}

// One record of every class in the tree, with a few values set (markup
// characters and a non-ASCII letter among them) and the rest Null.
std::shared_ptr<CClients> SmallTree() {
  auto point = std::make_shared<CCurveDatum>();
  point->ID(1);
  point->InputVal(50);
  point->OutputVal(-0.25);
  point->Frequency(1000);
  auto distortion = std::make_shared<CDistortionDatum>();
  distortion->ID(2);
  distortion->Frequency(500);
  distortion->Distortion(1.5);
  auto curve = std::make_shared<CCurve>();
  curve->ID(3);
  curve->Name("Gain <&>\"'");
  curve->CurveNo(2);
  curve->FxSourceAmp(0.5);
  curve->AddCurveDatum(point);
  curve->AddDistortionDatum(distortion);
  auto examination = std::make_shared<CExamination>();
  examination->ID(4);
  examination->TestName("Real ear");
  examination->CreateDate(MakeDate(2024, 5, 6, 7, 8, 9));
  examination->NumberOfCurves(1);
  examination->AddCurve(curve);
  auto session = std::make_shared<CTestDefinition>();
  session->ID(5);
  session->TestType("REM");
  session->TestDate(MakeDate(2024, 5, 6));
  session->Deleted(false);
  session->AddExamination(examination);
  auto aid = std::make_shared<CClientAid>();
  aid->ID(6);
  aid->AidModel("Model 9");
  aid->AidColor(255);
  aid->AidChannels("2+2");
  aid->AidFMIsActivated(true);
  aid->AidPurchaseDate(MakeDate(2021, 3, 4));
  aid->AddTestDefinition(session);
  auto client = ClientWithId(42);
  client->FirstName("Zoë");
  client->LastName("O'Brien & <Sons> \"Ltd\"");
  client->MiddleName("");
  client->CellPhone("555-0100");
  client->BirthDate(MakeDate(1950, 7, 14));
  client->Deleted(false);
  client->AddAid(aid);
  auto clients = std::make_shared<CClients>();
  clients->ID(7);
  clients->AddClient(client);
  return clients;
}

class ClientsTest : public ::testing::Test {
  testing::LocaleGuard locale_{"C"};
};

TEST_F(ClientsTest, NewListExportsAnEmptyClientsElement) {
  CClients clients;
  DOMDocument doc;
  ASSERT_EQ(clients.ExportXMLDocument(doc)->Number(), 0);
  DOMElement root = doc.documentElement();
  EXPECT_EQ(root.nodeName(), "Clients");
  EXPECT_EQ(root.attributes().getNamedItem("id").text(), "0");
  EXPECT_EQ(Shape(root), (std::vector<std::string>{"CRLF"}));
}

TEST_F(ClientsTest, ClientsAreKeyedByIdAndExportedInOrderOfAddition) {
  CClients clients;
  auto seven = ClientWithId(7);
  clients.AddClient(seven);
  clients.AddClient(ClientWithId(5));
  seven->ID(9);  // the key stays the one taken when it was added
  EXPECT_EQ(ErrorOf([&] { clients.AddClient(ClientWithId(5)); }), kErrDuplicateKey);
  EXPECT_EQ(ErrorOf([&] { clients.AddClient(nullptr); }), kErrObjectNotSet);
  auto list = clients.Clients();
  ASSERT_EQ(list->Count(), 2);
  EXPECT_EQ(list->Key(1), "7");
  EXPECT_EQ(list->Key(2), "5");
  EXPECT_EQ(list->Item(1), seven);

  DOMDocument doc;
  ASSERT_EQ(clients.ExportXMLDocument(doc)->Number(), 0);
  DOMElement root = doc.documentElement();
  EXPECT_EQ(Shape(root), (std::vector<std::string>{"CRLF", "ClientOrPatient", "CRLF", "CRLF",
                                                   "ClientOrPatient", "CRLF", "CRLF"}));
  EXPECT_EQ(root.childNodes().item(1).attributes().getNamedItem("id").text(), "9");
  EXPECT_EQ(root.childNodes().item(4).attributes().getNamedItem("id").text(), "5");
}

// ImportXMLFile must give what load + ImportXMLNode give, but for a file
// that does not load: that one answers for itself instead of with 2005.
TEST_F(ClientsTest, ImportReadsClientElementsOnlyFromAnElementOrAFile) {
  const struct {
    std::string xml;  // empty: no file at all
    int32_t number, id, count;
    int32_t file_number = -1;  // what the file says, when not `number`
    const char* file_detail = "";
  } rows[] = {
      {"<Clients id='12'/>", 0, 12, 0},
      {"<Clients><ClientOrPatient null='true'/></Clients>", 0, 0, 0},
      {"<Clients id='x'><clientOrPatient/><Clients/><!-- c --><z:ClientOrPatient "
       "xmlns:z='urn:z' id='4'/></Clients>",
       0, 0, 1},
      {"<Clients id='1'><ClientOrPatient/><ClientOrPatient/><ClientOrPatient id='8'/></Clients>",
       kErrDuplicateKey, 1, 1},
      {"<Clients><ClientOrPatient id='3'/><ClientOrPatient id='3.4'/></Clients>", kErrDuplicateKey,
       0, 1},
      {"<Clients id='5'>\n  <ClientOrPatient id='1'></Clients>", 2005, 0, 0, kDomErrParse,
       "at line 2, column "},
      {"", 2005, 0, 0, kErrFileNotFound, "File not found: "},
  };
  testing::TempDir dir;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.xml);
    const std::string path = dir / "import.xml";
    std::filesystem::remove(path);
    if (!row.xml.empty()) testing::WriteFile(path, row.xml);
    CClients clients;
    DOMDocument doc = DOMDocument::New();
    doc.load(path);
    DOMNode root = doc.documentElement();
    const StatusPtr status = clients.ImportXMLNode(root);
    EXPECT_EQ(status->Number(), row.number);
    EXPECT_EQ(clients.ID(), row.id);
    EXPECT_EQ(clients.Clients()->Count(), row.count);

    CClients from_file;
    const StatusPtr file_status = from_file.ImportXMLFile(path);
    EXPECT_EQ(file_status->Number(), row.file_number < 0 ? row.number : row.file_number);
    EXPECT_NE(file_status->Description().find(row.file_detail), std::string::npos)
        << file_status->Description();
    if (row.file_number < 0) {
      EXPECT_EQ(file_status->Description(), status->Description());
      EXPECT_EQ(file_status->Source(), status->Source());
    }
    const auto text = [](CClients& c) {
      DOMDocument exported;
      c.ExportXMLDocument(exported);
      return WithoutCreationDate(exported.xml());
    };
    EXPECT_EQ(text(from_file), text(clients));
  }
}

TEST_F(ClientsTest, ImportingTheSameElementTwiceFailsOnTheFirstDuplicate) {
  CClients clients;
  const std::string xml =
      "<Clients><ClientOrPatient id='1'><FirstName>A</FirstName></ClientOrPatient>"
      "<ClientOrPatient id='2'/></Clients>";
  ASSERT_EQ(ImportText(clients, xml)->Number(), 0);
  clients.Clients()->Item(1)->FirstName("changed");
  StatusPtr status = ImportText(clients, xml);
  EXPECT_EQ(status->Number(), kErrDuplicateKey);
  EXPECT_EQ(clients.Clients()->Count(), 2);
  EXPECT_EQ(clients.Clients()->Item(1)->FirstName(), "changed");
}

TEST_F(ClientsTest, FailureDeepInTheTreeReachesTheList) {
  CClients clients;
  StatusPtr status = ImportText(
      clients,
      "<Clients><ClientOrPatient id='1'/><ClientOrPatient id='2'><ClientAid id='1'>"
      "<TestSession id='1'><Examination id='1'><Curve id='1'><CurveDatum id='5'/>"
      "<CurveDatum id='5'/></Curve></Examination></TestSession></ClientAid></ClientOrPatient>"
      "<ClientOrPatient id='3'/></Clients>");
  EXPECT_EQ(status->Number(), kErrDuplicateKey);
  EXPECT_EQ(status->Description(),
            "This key is already associated with an element of this collection");
  ASSERT_EQ(clients.Clients()->Count(), 1);
  EXPECT_EQ(clients.Clients()->Key(1), "1");
}

TEST_F(ClientsTest, ResetClearsEveryRecordTheHostKept) {
  auto clients = SmallTree();
  auto client = clients->Clients()->Item(1);
  auto point = support::FirstCurve(*clients)->CurveData()->Item(1);
  auto list = clients->Clients();
  clients->Reset();
  EXPECT_EQ(clients->ID(), 0);
  EXPECT_EQ(list->Count(), 0);
  EXPECT_EQ(clients->Clients()->Count(), 0);
  EXPECT_EQ(client->FirstName(), "");
  EXPECT_EQ(client->Aids()->Count(), 0);
  EXPECT_EQ(point->ID(), 0);
  EXPECT_EQ(point->InputVal(), 0);
  DOMDocument doc;
  ASSERT_EQ(point->ExportXMLDocument(doc)->Number(), 0);
  for (const char* name : {"Input", "Output", "Frequency"}) {
    SCOPED_TRACE(name);
    EXPECT_TRUE(IsNullNode(testing::ChildNamed(doc.documentElement(), name)));
  }
}

TEST_F(ClientsTest, SmallTreeMatchesTheGoldenFile) {
  testing::TempDir dir;
  const std::string path = dir / "clients.xml";
  StatusPtr status = SmallTree()->ExportXMLPath(path);
  ASSERT_EQ(status->Number(), 0) << status->Description();
  EXPECT_TRUE(testing::MatchesGolden(std::filesystem::path(TYMPORA_TEST_DATA) / "clients_small.xml",
                                     ReadFile(path)));
}

TEST_F(ClientsTest, FileExportLoadImportAndExportAgainGiveTheSameBytes) {
  testing::TempDir dir;
  const std::string first = dir / "first.xml";
  const std::string second = dir / "second.xml";
  ASSERT_EQ(SmallTree()->ExportXMLPath(first)->Number(), 0);

  DOMDocument doc = DOMDocument::New();
  ASSERT_TRUE(doc.load(first)) << doc.parseError().reason;
  DOMElement root = doc.documentElement();
  CClients copy;
  StatusPtr status = copy.ImportXMLNode(root);
  ASSERT_EQ(status->Number(), 0) << status->Description();
  ASSERT_EQ(copy.ExportXMLPath(second)->Number(), 0);
  EXPECT_EQ(WithoutCreationDate(ReadFile(second)), WithoutCreationDate(ReadFile(first)));
}

}  // namespace
}  // namespace tympora
