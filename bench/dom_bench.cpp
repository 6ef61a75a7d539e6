// Walking child lists by index, as the import does: childNodes().item(i) for
// i = 0, 1, 2 ... with a fresh list each step. The time per child must stay
// flat from 1,000 to 100,000 children.
#include <benchmark/benchmark.h>

#include <cstdint>

#include "tympora/node/dom.hpp"

namespace {

using tympora::DOMDocument;
using tympora::DOMElement;
using tympora::DOMNode;

// A document whose root has `children` elements of `grandchildren` each.
DOMDocument WideDocument(int64_t children, int grandchildren) {
  DOMDocument d = DOMDocument::New();
  DOMElement root = d.appendChild(d.createElement("Root"));
  for (int64_t i = 0; i < children; ++i) {
    DOMElement child = root.appendChild(d.createElement("Record"));
    for (int g = 0; g < grandchildren; ++g) child.appendChild(d.createElement("Value"));
  }
  return d;
}

void ReportPerChild(benchmark::State& state, int64_t children) {
  state.SetItemsProcessed(state.iterations() * children);
  state.counters["per_child"] = benchmark::Counter(
      static_cast<double>(children),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_WalkChildren(benchmark::State& state) {
  const auto n = static_cast<int32_t>(state.range(0));
  const DOMDocument d = WideDocument(n, 0);
  const DOMElement root = d.documentElement();
  for (auto _ : state) {
    for (int32_t i = 0; i < n; ++i) benchmark::DoNotOptimize(root.childNodes().item(i));
  }
  ReportPerChild(state, n);
}
BENCHMARK(BM_WalkChildren)->Arg(1'000)->Arg(10'000)->Arg(100'000);

// Each step of the root walk is followed by a walk of that child's own
// children (bounded by length(), as the import loops), so the two cursors
// interleave.
void BM_WalkChildrenNested(benchmark::State& state) {
  const auto n = static_cast<int32_t>(state.range(0));
  const DOMDocument d = WideDocument(n, 4);
  const DOMElement root = d.documentElement();
  for (auto _ : state) {
    for (int32_t i = 0; i < n; ++i) {
      const DOMNode child = root.childNodes().item(i);
      for (int32_t j = 0; j < child.childNodes().length(); ++j) {
        benchmark::DoNotOptimize(child.childNodes().item(j));
      }
    }
  }
  ReportPerChild(state, n);
}
BENCHMARK(BM_WalkChildrenNested)->Arg(1'000)->Arg(10'000)->Arg(100'000);

}  // namespace
