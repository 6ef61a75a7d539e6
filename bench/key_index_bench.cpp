// Importing a curve of 200,000 points whose ids were chosen to collide in the
// child list's key index (against a seed an attacker might guess) costs what
// importing sequential ids costs; the last row shows what the same kind of
// keys do when the index really uses the seed they were chosen against.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "colliding_keys.hpp"
#include "tympora/measurement/curve.hpp"
#include "tympora/node/dom.hpp"

namespace {

using namespace tympora;

constexpr key_index::KeySeed kGuessedSeed{0x0123456789abcdefull, 0xfedcba9876543210ull};

std::string CurveText(const std::vector<int32_t>& ids) {
  std::string text = "<Curve id=\"1\">";
  for (int32_t id : ids) {
    text += "<CurveDatum id=\"" + std::to_string(id) +
            "\"><Input>65</Input><Output>92.5</Output><Frequency>250</Frequency></CurveDatum>";
  }
  return text + "</Curve>";
}

// Imports the curve of `ids` into a new CCurve per iteration.
void ImportCurve(benchmark::State& state, const std::vector<int32_t>& ids) {
  DOMDocument document = DOMDocument::New();
  if (!document.loadXML(CurveText(ids))) state.SkipWithError("the curve did not parse");
  DOMNode root = document.documentElement();
  for (auto _ : state) {
    auto curve = std::make_shared<CCurve>();
    StatusPtr status = curve->ImportXMLNode(root);
    if (status && status->Number() != 0) state.SkipWithError(status->Description().c_str());
    if (curve->CurveData()->Count() != static_cast<int32_t>(ids.size())) {
      state.SkipWithError("points were lost");
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(ids.size()));
}

void BM_ImportSequentialIds(benchmark::State& state) {
  std::vector<int32_t> ids(static_cast<size_t>(state.range(0)));
  for (size_t i = 0; i < ids.size(); ++i) ids[i] = static_cast<int32_t>(i + 1);
  ImportCurve(state, ids);
}
BENCHMARK(BM_ImportSequentialIds)->Arg(200'000)->Unit(benchmark::kMillisecond);

// Keys that all share one probe run of every table up to 2^19 slots under the
// guessed seed.
void BM_ImportCollidingIds(benchmark::State& state) {
  const auto count = static_cast<size_t>(state.range(0));
  ImportCurve(state, testing::CollidingIds(kGuessedSeed, count, 19, 1024));
}
BENCHMARK(BM_ImportCollidingIds)->Arg(200'000)->Unit(benchmark::kMillisecond);

// The same kind of keys when lists do use the guessed seed: one long probe
// run, quadratic in the number of points (kept small).
void BM_ImportCollidingIdsUnderTheirSeed(benchmark::State& state) {
  const auto count = static_cast<size_t>(state.range(0));
  const std::vector<int32_t> ids = testing::CollidingIds(kGuessedSeed, count, 19, 1024);
  testing_hooks::SetListSeed(&kGuessedSeed);
  ImportCurve(state, ids);
  testing_hooks::SetListSeed(nullptr);
}
BENCHMARK(BM_ImportCollidingIdsUnderTheirSeed)->Arg(20'000)->Unit(benchmark::kMillisecond);

}  // namespace
