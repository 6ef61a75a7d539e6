#include "tympora/records/clients.hpp"

#include "record_suite.hpp"
#include "tree.hpp"
#include "tympora/node/conversions.hpp"

namespace tympora {
namespace {
using testing::ReadFile;

// The list has no property at all: every name is refused, "ID" included.
testing::RecordCase ClientsCase() {
  return testing::Case<CClients>("CClients", "Clients", {}, {},
                                 {"ID", "id", "Clients", "FirstName", "Number", "NodeName"});
}
INSTANTIATE_RECORD_SUITE(Clients, ClientsCase());
INSTANTIATE_CHILD_LIST_SUITE(Clients, testing::ListCase<CClients, CClient>(
                                          "Clients", "ClientOrPatient", &CClients::AddClient,
                                          &CClients::Clients, &CClients::ResetClients,
                                          [](CClient& c) { c.FirstName("kept"); }));

// A record of class R with `id` and properties set by name: `values` holds
// each name followed by its value.
template <class R>
std::shared_ptr<R> Record(int32_t id, std::initializer_list<Variant> values = {}) {
  auto record = std::make_shared<R>();
  record->ID(id);
  for (auto it = values.begin(); it != values.end(); it += 2) {
    record->PropertyByName(it->AsString(), *(it + 1));
  }
  return record;
}

// One record of every class in the tree, with a few values set (markup
// characters and a non-ASCII letter among them) and the rest Null.
std::shared_ptr<RecordBase> SmallTree() {
  auto curve = Record<CCurve>(3, {"Name", "Gain <&>\"'", "CurveNumber", 2, "FxSrcAmp", 0.5});
  curve->AddCurveDatum(Record<CCurveDatum>(1, {"Input", 50.0, "Output", -0.25, "Frequency", 1000}));
  curve->AddDistortionDatum(Record<CDistortionDatum>(2, {"Frequency", 500, "Distortion", 1.5}));
  auto examination = Record<CExamination>(4, {"TestName", "Real ear", "CreateDate",
                                              MakeDate(2024, 5, 6, 7, 8, 9), "NumberOfCurves", 1});
  examination->AddCurve(curve);
  auto session = Record<CTestDefinition>(
      5, {"TestType", "REM", "TestDate", MakeDate(2024, 5, 6), "Deleted", false});
  session->AddExamination(examination);
  auto aid = Record<CClientAid>(
      6, {"HearingAidModel", "Model 9", "HearingAidColor", 255, "HearingAidChannels", "2+2",
          "HearingAidFMIsActivated", true, "HearingAidPurchaseDate", MakeDate(2021, 3, 4)});
  aid->AddTestDefinition(session);
  auto client = Record<CClient>(
      42, {"FirstName", "Zoë", "LastName", "O'Brien & <Sons> \"Ltd\"", "MiddleName", "",
           "PhoneCell", "555-0100", "BirthDate", MakeDate(1950, 7, 14), "Deleted", false});
  client->AddAid(aid);
  auto clients = Record<CClients>(7);
  clients->AddClient(client);
  return clients;
}

// The curve of curve_points.xml, with two points of each kind.
std::shared_ptr<RecordBase> ReferenceCurve() {
  auto curve = Record<CCurve>(3, {"FxDataPoints", 2,     "DateText",    "2024-03-01",
                                  "FxFlag0",      0,     "FxSrcAmp",    0.5,
                                  "FxHighestVal", 118,   "CurveNumber", 1,
                                  "MeasureType",  2,     "Name",        "REAR <&> \"REIG\"",
                                  "FxRMS",        -1,    "Source",      "ISTS",
                                  "SourceValue",  65,    "TestNo",      4,
                                  "Type",         "Gain"});
  curve->AddCurveDatum(Record<CCurveDatum>(1, {"Frequency", 250, "Input", 65.0, "Output", 92.5}));
  curve->AddCurveDatum(Record<CCurveDatum>(
      2, {"Frequency", 500, "Input", 65.0, "Output", 98.25, "MaxOutput", 101.0, "Other", -0.125}));
  curve->AddDistortionDatum(Record<CDistortionDatum>(1, {"Frequency", 500, "Distortion", 0.75}));
  return curve;
}

// A curve of test_definition.xml, some values left Null, with two points of
// each kind.
std::shared_ptr<CCurve> SessionCurve(int32_t id, int32_t seed) {
  auto curve = Record<CCurve>(
      id, {"Exp", "exp " + std::to_string(seed), "Name", seed % 2 ? "left" : "right", "DateText",
           "14.03.2026", "FxSrcAmp", seed * 0.25 - 1, "CurveNumber", seed, "State", -seed});
  for (int32_t i = 1; i <= 2; ++i) {
    auto point = Record<CCurveDatum>(
        i, {"Frequency", 250 * (i + seed), "Input", 50 + i * 0.5, "Output", -1.5E-07 * i});
    if (i == 1) point->Other(1E+15);
    curve->AddCurveDatum(point);
    curve->AddDistortionDatum(
        Record<CDistortionDatum>(10 * i, {"Frequency", 1000 * i, "Distortion", 0.125 * seed}));
  }
  return curve;
}

// The test session of test_definition.xml: two examinations of two curves
// each.
std::shared_ptr<RecordBase> Session() {
  auto session = Record<CTestDefinition>(
      1001, {"PerCode", -7, "InsCode", 12, "TestType", "Insertion gain", "TestDate",
             MakeDate(2026, 1, 31, 7, 5, 9), "TestTime", "07:05", "Comment",
             "M\xC3\xBCller & S\xC3\xB6hne <draft> \"a\"", "Deleted", false, "TestTypeNumber", 2});
  for (int32_t id : {1, 2}) {
    auto examination =
        Record<CExamination>(id, {"TestName", "ISTS " + std::to_string(id), "EarID", id,
                                  "CreateDate", MakeDate(2026, 1, 31), "CreateTime", "07:05:09",
                                  "NumberOfCurves", 2, "ProgramVersion", 4021});
    if (id == 1) {
      examination->LastSaveDate(MakeDate(2026, 2, 1, 23, 59, 59));
      examination->Comment("  spaced  ");
      examination->Scaling(-1);
    }
    examination->AddCurve(SessionCurve(10, id));
    examination->AddCurve(SessionCurve(-11, id + 2));
    session->AddExamination(examination);
  }
  return session;
}

// ImportXMLFile must give what load + ImportXMLNode give, but for a file
// that does not load: that one answers for itself instead of with 2005. A
// failure deep in the tree stops the list's import too.
TEST(ClientsTest, ImportReadsClientElementsOnlyFromAnElementOrAFile) {
  const struct {
    std::string xml;  // empty: no file at all
    int32_t number, id;
    const char* keys;          // of the clients read
    const char* detail;        // the description; a part of it where the file does not load
    int32_t file_number = -1;  // what the file says, when not `number`
  } rows[] = {
      {"<Clients id='12'/>", 0, 12, "", ""},
      {"<Clients id='x'><clientOrPatient/><Clients/><!-- c --><z:ClientOrPatient "
       "xmlns:z='urn:z' id='4'/></Clients>",
       0, 0, "4 ", ""},
      {"<Clients><ClientOrPatient id='1'/><ClientOrPatient id='2'><ClientAid id='1'>"
       "<TestSession id='1'><Examination id='1'><Curve id='1'><CurveDatum id='5'/>"
       "<CurveDatum id='5'/></Curve></Examination></TestSession></ClientAid></ClientOrPatient>"
       "<ClientOrPatient id='3'/></Clients>",
       kErrDuplicateKey, 0, "1 ",
       "This key is already associated with an element of this collection"},
      {"<Clients id='5'>\n  <ClientOrPatient id='1'></Clients>", 2005, 0, "", "at line 2, column ",
       kDomErrParse},
      {"", 2005, 0, "", "File not found: ", kErrFileNotFound},
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
    std::string keys;
    for (int32_t i = 1; i <= clients.Clients()->Count(); ++i)
      keys += clients.Clients()->Key(i) + " ";
    EXPECT_EQ(keys, row.keys);

    CClients from_file;
    const StatusPtr file_status = from_file.ImportXMLFile(path);
    EXPECT_EQ(file_status->Number(), row.file_number < 0 ? row.number : row.file_number);
    if (row.file_number < 0) {
      EXPECT_EQ(status->Description(), row.detail);
      EXPECT_EQ(file_status->Description(), status->Description());
      EXPECT_EQ(file_status->Source(), status->Source());
    } else {
      EXPECT_NE(file_status->Description().find(row.detail), std::string::npos)
          << file_status->Description();
    }
    EXPECT_EQ(support::CompareTrees(from_file, clients), "");
  }
}

// Known trees of the classes at the roots of files export exactly to their
// golden files, which read back to the same trees.
TEST(ClientsTest, ExportXMLPathWritesTheGoldenFilesWhichReadBack) {
  testing::LocaleGuard locale("C");
  const std::pair<const char*, std::function<std::shared_ptr<RecordBase>()>> rows[] = {
      {"clients_small.xml", SmallTree},
      {"curve_new.xml", [] { return std::make_shared<CCurve>(); }},
      {"curve_points.xml", ReferenceCurve},
      {"test_definition.xml", Session},
  };
  testing::TempDir dir;
  for (const auto& [file, build] : rows) {
    SCOPED_TRACE(file);
    const auto tree = build(), back = build();
    StatusPtr status = tree->ExportXMLPath(dir / file);
    ASSERT_EQ(status->Number(), 0) << status->Description();
    testing::ExpectGolden(std::filesystem::path(TYMPORA_TEST_DATA) / file, ReadFile(dir / file));
    back->Reset();
    ASSERT_EQ(back->ImportXMLFile(dir / file)->Number(), 0);
    EXPECT_EQ(support::CompareTrees(*tree, *back), "");
  }
}

}  // namespace
}  // namespace tympora
