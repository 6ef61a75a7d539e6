#include "tree.hpp"

#include "test_util.hpp"
#include "tympora/measurement/curve.hpp"
#include "tympora/node/import_observer.hpp"
#include "tympora/records/client.hpp"

namespace tympora {
namespace {
using support::BuildScrambledClinic;
using support::CompareTrees;
using support::TreeShape;
using testing::ReadFile;
using testing::TempDir;
using testing::WithoutCreationDate;

TEST(TreeTest, WholeTreeRoundTripsThroughOneFile) {
  for (const char* locale : {"C", "en_US.UTF-8", "de_DE.UTF-8"}) {
    SCOPED_TRACE(locale);
    testing::LocaleGuard guard(locale);
    TempDir dir;
    auto original = BuildScrambledClinic({});  // 20 x 2 x 2 x 2 x 2 x (20 + 5)
    ASSERT_EQ(original->ExportXMLPath(dir / "clinic.xml")->Number(), 0);
    auto imported = std::make_shared<CClients>();
    ASSERT_EQ(imported->ImportXMLFile(dir / "clinic.xml")->Number(), 0);  // a load and an import
    EXPECT_EQ(CompareTrees(*original, *imported), "");
    EXPECT_EQ(support::CountRecords(*imported).at("DistortionDatum"), 20 * 2 * 2 * 2 * 2 * 5);
    ASSERT_EQ(imported->ExportXMLPath(dir / "again.xml")->Number(), 0);
    EXPECT_EQ(WithoutCreationDate(ReadFile(dir / "again.xml")),
              WithoutCreationDate(ReadFile(dir / "clinic.xml")));
  }
}

TEST(TreeTest, CompareTreesFindsEachKindOfDifference) {
  const TreeShape small{2, 1, 1, 1, 1, 2, 1, 7};  // two clients, one of each below, seed 7
  auto a = BuildScrambledClinic(small);
  const struct {
    const char* name;
    std::function<void(CClients&)> change;
    const char* expected;  // a part of the difference text
  } rows[] = {
      {"a value", [](CClients& c) { c.Clients()->Item(1)->FirstName("Other"); }, "FirstName"},
      {"a null flag",
       [](CClients& c) {
         auto client = c.Clients()->Item(2);
         client->SetPropertyNull(client->Info().properties[0]);
       },
       "-> Null"},
      {"an ID", [](CClients& c) { c.Clients()->Item(1)->ID(99); },
       "Clients/ClientOrPatient[1]/ID: \"1\" -> \"99\""},
      {"a point list", [](CClients& c) { support::FirstCurve(c)->ResetCurveData(); },
       "/Curve[1]/CurveDatum[1]: removed"},
      {"a client added",
       [](CClients& c) {
         auto client = std::make_shared<CClient>();
         client->ID(5);
         c.AddClient(client);
       },
       "Clients/ClientOrPatient[5]: added"},
      {"another order",
       [](CClients& c) {
         auto first = c.Clients()->Item(1);
         c.Clients()->Remove(1);
         c.AddClient(first);
       },
       "Clients/ClientOrPatient: another order"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    auto b = BuildScrambledClinic(small);
    EXPECT_EQ(CompareTrees(*a, *b), "");
    row.change(*b);
    EXPECT_NE(CompareTrees(*a, *b).find(row.expected), std::string::npos) << CompareTrees(*a, *b);
  }
  EXPECT_EQ(CompareTrees(*a, StandaloneNode()), "Clients: class Clients -> ");  // not a record
}

TEST(TreeTest, BuilderSetsEveryClientValueIncludingTrickyTexts) {
  auto clients = BuildScrambledClinic(TreeShape{.clients = 50, .aids = 0});
  bool markup = false, blanks = false, empty = false, non_ascii = false;
  for (const auto& client : *clients->Clients()) {
    for (const PropertyDef& p : client->Info().properties) {
      EXPECT_FALSE(client->IsPropertyNull(p)) << p.element;
      if (p.Kind() != PropKind::String) continue;
      const std::string text = client->GetProperty(p).AsString();
      markup |= text.find_first_of("<&>\"'") != std::string::npos;
      blanks |= !text.empty() && text.front() == ' ' && text.back() == ' ';
      empty |= text.empty();
      non_ascii |= text.find_first_of("\x80\xC3") != std::string::npos;
    }
  }
  EXPECT_TRUE(markup && blanks && empty && non_ascii);
}

// The import reads the texts that a parse keeps inside their elements. A
// tree whose texts already have their nodes (any earlier use of the DOM
// gives them) must import alike, and so must one where a mixed text halfway
// through makes the import give every text its node there and then.
TEST(TreeTest, ImportReadsKeptAndNodeTextsAlike) {
  auto original = BuildScrambledClinic({.clients = 3});
  DOMDocument exported = DOMDocument::New();
  ASSERT_EQ(original->ExportXMLDocument(exported)->Number(), 0);
  const std::string text = exported.xml();
  std::string mixed = text;
  const size_t input = mixed.find("<Input>", mixed.size() / 2);
  ASSERT_NE(input, std::string::npos);
  mixed.insert(input + 8, "<!--split-->");  // after the value's first character
  // A number that is no number: dropped alike with and without an observer,
  // which is told where.
  std::string damaged = text;
  const size_t bad = damaged.find("<Input>") + 7;
  damaged.replace(bad, damaged.find('<', bad) - bad, "lots");
  struct Recorder : ImportObserver {
    std::vector<std::pair<ImportEvent, std::string>> events;  // with a copy of the text
    void Dropped(const ImportEvent& e) override { events.emplace_back(e, e.text); }
  };
  // Each text, its name, whether the DOM is used first, whether observed.
  const std::tuple<const std::string*, const char*, bool, bool> cases[] = {
      {&text, "as parsed", false, false},      {&text, "nodes first", true, false},
      {&mixed, "mixed halfway", false, false}, {&text, "observed", false, true},
      {&damaged, "damaged", false, false},     {&damaged, "damaged, observed", false, true}};
  for (const auto& [xml, name, touch_first, observed] : cases) {
    SCOPED_TRACE(name);
    DOMDocument doc = DOMDocument::New();
    ASSERT_TRUE(doc.loadXML(*xml)) << doc.parseError().reason;
    DOMElement root = doc.documentElement();
    EXPECT_TRUE(!touch_first || root.childNodes().length() > 0);
    auto imported = std::make_shared<CClients>();
    Recorder recorder;
    const StatusPtr status =
        observed ? ImportXMLNodeObserved(*imported, root, recorder) : imported->ImportXMLNode(root);
    ASSERT_EQ(status->Number(), 0);
    if (xml != &damaged) {
      EXPECT_EQ(CompareTrees(*original, *imported), "");
      EXPECT_TRUE(recorder.events.empty());
      continue;
    }
    EXPECT_NE(CompareTrees(*original, *imported).find("/Input: "), std::string::npos);
    if (!observed) continue;
    ASSERT_EQ(recorder.events.size(), 1u);
    const auto& [e, dropped_text] = recorder.events[0];
    EXPECT_EQ(e.kind, ImportDrop::NotANumber);
    EXPECT_EQ(e.record, "CurveDatum");
    EXPECT_EQ(dropped_text, "lots");
    EXPECT_EQ(damaged.substr(static_cast<size_t>(e.offset) - 1, 7), "<Input>");
  }
}

}  // namespace
}  // namespace tympora
