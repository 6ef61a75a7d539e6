#include "tympora/records/clients.hpp"

#include "record_suite.hpp"
#include "tympora/node/conversions.hpp"

namespace tympora {
namespace {
using testing::ImportText;
using testing::ReadFile;
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
  auto client = std::make_shared<CClient>();
  client->ID(42);
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
      {"<Clients id='x'><clientOrPatient/><Clients/><!-- c --><z:ClientOrPatient "
       "xmlns:z='urn:z' id='4'/></Clients>",
       0, 0, 1},
      {"<Clients id='1'><ClientOrPatient/><ClientOrPatient/><ClientOrPatient id='8'/></Clients>",
       kErrDuplicateKey, 1, 1},
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

TEST_F(ClientsTest, SmallTreeMatchesTheGoldenFile) {
  testing::TempDir dir;
  const std::string path = dir / "clients.xml";
  StatusPtr status = SmallTree()->ExportXMLPath(path);
  ASSERT_EQ(status->Number(), 0) << status->Description();
  EXPECT_TRUE(testing::MatchesGolden(std::filesystem::path(TYMPORA_TEST_DATA) / "clients_small.xml",
                                     ReadFile(path)));
}

}  // namespace
}  // namespace tympora
