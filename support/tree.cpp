// Building, comparing and counting record trees.
#include "tree.hpp"

#include <cmath>
#include <cstring>
#include <vector>

#include "tympora/node/compare.hpp"
#include "tympora/node/conversions.hpp"
#include "tympora/records/client.hpp"

namespace tympora::support {
namespace {

uint64_t Next(uint64_t& state) {
  // splitmix64: small, fast and good enough for test data.
  uint64_t z = (state += 0x9E3779B97F4A7C15ull);
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
  return z ^ (z >> 31);
}

int64_t Below(uint64_t& state, int64_t n) { return static_cast<int64_t>(Next(state) % n); }

// Texts that an export must carry unchanged.
const char* const kTrickyTexts[] = {
    "Ann-Kathrin",
    "O'Neil & Sons <Hearing> \"Ltd\"",
    "  leading and trailing  ",
    "",
    "Zoë Müller-Łukasiewicz",
    "Straße 12, 8000 Zürich",
    "a]]>b",
    "line one\nline two",
    "tab\there",
    "日本語のテキスト",
    "emoji \xF0\x9F\x8E\xA7 headphones",
    "CR\r\nLF",
    "x",
};

// Realistic texts for the values a person looks at.
const std::map<std::string, std::vector<const char*>>& NamedTexts() {
  static const std::map<std::string, std::vector<const char*>> texts = {
      {"FirstName", {"Ann", "Björn", "Chloé", "Dmitri", "Eve", "Farah", "Gus"}},
      {"LastName", {"Smith", "Øberg", "García", "Nakamura", "O'Brien", "Weiß"}},
      {"ManufacturerName", {"Acme Audio", "Sonic & Co", "Hörwelt GmbH"}},
      {"HearingAidModel", {"BTE 200", "RIC Mini", "ITE Pro <2>"}},
      {"AidEar", {"Left", "Right"}},
      {"TestName", {"Frequency response", "Input/output", "Distortion"}},
      {"Name", {"OSPL90", "Full-on gain", "Reference test gain"}},
  };
  return texts;
}

std::string TextFor(std::string_view element, uint64_t& seed) {
  const auto& named = NamedTexts();
  auto it = named.find(std::string(element));
  if (it != named.end()) return it->second[static_cast<size_t>(Below(seed, it->second.size()))];
  const size_t n = sizeof(kTrickyTexts) / sizeof(kTrickyTexts[0]);
  return kTrickyTexts[Below(seed, static_cast<int64_t>(n))];
}

Variant ValueFor(const PropertyDef& p, uint64_t& seed) {
  switch (p.Kind()) {
    case PropKind::Int32: {
      const int32_t v = static_cast<int32_t>(Below(seed, 20001));
      return (p.accepts && !p.accepts(v)) ? 0 : v;
    }
    case PropKind::Double:
      // Thousandths within +-100000: every value has a short exact text.
      return static_cast<double>(Below(seed, 200000001) - 100000000) / 1000.0;
    case PropKind::String:
      return TextFor(p.element, seed);
    case PropKind::Date:
      return MakeDate(static_cast<int>(1900 + Below(seed, 200)),
                      static_cast<int>(1 + Below(seed, 12)), static_cast<int>(1 + Below(seed, 28)),
                      static_cast<int>(Below(seed, 24)), static_cast<int>(Below(seed, 60)),
                      static_cast<int>(Below(seed, 60)));
    case PropKind::Bool:
      return Below(seed, 2) == 1;
  }
  return {};
}

void Grow(RecordBase& record, const TreeShape& shape, uint64_t& seed, double null_share) {
  for (const ChildListDef& list : record.Info().children) {
    int32_t count = 0;
    if (list.element == "ClientOrPatient") count = shape.clients;
    if (list.element == "ClientAid") count = shape.aids;
    if (list.element == "TestSession") count = shape.sessions;
    if (list.element == "Examination") count = shape.examinations;
    if (list.element == "Curve") count = shape.curves;
    if (list.element == "CurveDatum") count = shape.curve_points;
    if (list.element == "DistortionDatum") count = shape.distortion_points;
    for (int32_t i = 1; i <= count; ++i) {
      std::shared_ptr<CNode> child = list.create();
      auto& child_record = static_cast<RecordBase&>(*child);
      child_record.ID(i);
      // Clients get every value; the records below them some Null ones too.
      FillRecord(child_record, seed, list.element == "ClientOrPatient" ? 0.0 : null_share);
      Grow(child_record, shape, seed, null_share);
      list.add(record, child);
    }
  }
}

}  // namespace

void FillRecord(RecordBase& record, uint64_t& seed, double null_share) {
  for (const PropertyDef& p : record.Info().properties) {
    const bool leave_null =
        null_share > 0 && static_cast<double>(Below(seed, 1000)) < null_share * 1000;
    if (leave_null) {
      record.SetPropertyNull(p);
    } else {
      record.SetProperty(p, ValueFor(p, seed));
    }
  }
}

std::shared_ptr<CClients> BuildScrambledClinic(const TreeShape& shape) {
  auto clients = std::make_shared<CClients>();
  uint64_t seed = shape.seed;
  clients->ID(1);
  Grow(*clients, shape, seed, 0.1);
  return clients;
}

std::string CompareTrees(const CNode& a, const CNode& b) {
  const std::vector<RecordDifference> differences = CompareRecords(a, b, 1);
  return differences.empty() ? std::string() : differences.front().Text();
}

std::shared_ptr<CCurve> FirstCurve(const CClients& clients) {
  return clients.Clients()
      ->Item(1)
      ->Aids()
      ->Item(1)
      ->TestDefinitions()
      ->Item(1)
      ->Examinations()
      ->Item(1)
      ->Curves()
      ->Item(1);
}

std::map<std::string, int64_t> CountRecords(const CNode& root) {
  std::map<std::string, int64_t> counts;
  std::vector<const CNode*> stack{&root};
  while (!stack.empty()) {
    const CNode* node = stack.back();
    stack.pop_back();
    ++counts[node->NodeName()];
    const auto* record = dynamic_cast<const RecordBase*>(node);
    if (!record) continue;
    for (const ChildListDef& list : record->Info().children) {
      const NodeCollection* children = list.list(*record);
      for (int32_t i = 1; children && i <= children->Count(); ++i) {
        stack.push_back(children->NodeItem(i).get());
      }
    }
  }
  return counts;
}

}  // namespace tympora::support
