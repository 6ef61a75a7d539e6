// Out of memory during an export or an import: every allocation it makes
// (by operator new, and in the DOM through its testing hook) fails in turn,
// and each time it must report 7 "Out of memory" (or succeed, where a failed
// attempt was retried another way), leave no partial file and keep the
// records. A process of its own, as it replaces the global operator new;
// under AddressSanitizer the leak check at exit proves that nothing leaks.
#include <atomic>
#include <cstdlib>
#include <new>
#include <string>

#include "node/dom_testing.hpp"
#include "probe_node.hpp"
#include "test_util.hpp"
#include "tree.hpp"
#include "tympora/records/clients.hpp"

namespace {

// The countdown shared by operator new and the DOM's allocations: while
// armed, the allocation that brings it to zero fails (operator new throws
// std::bad_alloc, the DOM gets no memory); every other one is served.
std::atomic<long> g_countdown{0};

bool FailThisAllocation() noexcept {
  if (g_countdown.load(std::memory_order_relaxed) <= 0) return false;
  return g_countdown.fetch_sub(1, std::memory_order_relaxed) == 1;
}

void* Allocate(std::size_t size) {
  if (FailThisAllocation()) throw std::bad_alloc();
  if (void* p = std::malloc(size == 0 ? 1 : size)) return p;
  throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) { return Allocate(size); }
void* operator new[](std::size_t size) { return Allocate(size); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }

namespace tympora {
namespace {

// Runs `f` with the `n`-th allocation failing; returns whether it failed.
template <class F>
bool WithFailingAllocation(long n, F&& f) {
  tympora::testing_hooks::SetDomAllocationHook(&FailThisAllocation);
  g_countdown = n;
  f();
  const bool fired = g_countdown.load() <= 0;
  g_countdown = 0;
  return fired;
}

// One record at each level, two curve points and one distortion point.
const support::TreeShape kTiny{1, 1, 1, 1, 1, 2, 1};

void ExpectOutOfMemory(const StatusPtr& status) {
  ASSERT_TRUE(status);
  EXPECT_EQ(status->Number(), kErrOutOfMemory);
  EXPECT_EQ(status->Description(), "Out of memory");
}

// A record writes its own text to a file; a node that is not one of the
// library's records takes the document road: a document built, serialised,
// parsed again and written. The record exports over its first export, the
// other node where no file is: a failure leaves no file, or the old one whole.
TEST(AllocFaultTest, EveryFailingAllocationOfAnExportToAFileGives7) {
  testing::TempDir dir;
  const auto clinic = support::BuildScrambledClinic(kTiny),
             reference = support::BuildScrambledClinic(kTiny);
  testing::Probe probe;
  probe.name = std::string(5000, 'x');  // a text of its own DOM page
  for (CNode* node : {static_cast<CNode*>(clinic.get()), static_cast<CNode*>(&probe)}) {
    SCOPED_TRACE(node->NodeName());
    const bool record = node != &probe;
    const std::string path = dir / (node->NodeName() + ".xml"),
                      first = record ? path : dir / "first";
    ASSERT_EQ(node->ExportXMLPath(first)->Number(), 0);
    const std::string expected = testing::WithoutCreationDate(testing::ReadFile(first));
    int failed = 0;
    for (long n = 1;; ++n) {
      SCOPED_TRACE("allocation " + std::to_string(n));
      StatusPtr status;
      const bool fired = WithFailingAllocation(n, [&] { status = node->ExportXMLPath(path); });
      ASSERT_TRUE(status);
      const std::string left = testing::ReadFile(path);
      if (!fired || status->Number() == 0) {  // a failing step may have another way to the bytes
        EXPECT_EQ(status->Number(), 0);
        EXPECT_EQ(testing::WithoutCreationDate(left), expected);
      } else {
        ExpectOutOfMemory(status);
        EXPECT_TRUE(left.empty() || (record && testing::WithoutCreationDate(left) == expected))
            << left;
        ++failed;
      }
      EXPECT_EQ(support::CompareTrees(*clinic, *reference), "");
      if (!fired) break;
    }
    EXPECT_GT(failed, 0);
  }
}

// A document exported, a tree imported, and a document kept as text loaded,
// imported and then used: each failing allocation makes the step it hits
// report 7, where the DOM's members raise 7 or let bad_alloc through.
TEST(AllocFaultTest, EveryFailingAllocationOfTheDocumentRoadsGives7) {
  const auto clinic = support::BuildScrambledClinic(kTiny);
  DOMDocument good;
  ASSERT_EQ(clinic->ExportXMLDocument(good)->Number(), 0);
  const std::string text = good.documentElement().xml();
  for (long n = 1;; ++n) {
    SCOPED_TRACE("allocation " + std::to_string(n));
    DOMDocument doc;
    StatusPtr exported, imported, imported_text;
    CClients from_tree, from_text;
    const DOMNode root = good.documentElement();
    int32_t raised = 0, children = 0;
    const bool fired = WithFailingAllocation(n, [&] {
      exported = clinic->ExportXMLDocument(doc);
      imported = from_tree.ImportXMLNode(root);
      try {
        raised = testing::ErrorOf([&] {
          DOMDocument kept = DOMDocument::New();
          if (!kept.loadXML(text)) return;
          const DOMNode kept_root = kept.documentElement();
          imported_text = from_text.ImportXMLNode(kept_root);
          children = kept_root.childNodes().length();
        });
      } catch (const std::bad_alloc&) {
        raised = kErrOutOfMemory;
      }
    });
    ASSERT_TRUE(exported && imported);
    if (!fired) {
      ASSERT_TRUE(imported_text);
      EXPECT_EQ(std::tuple(exported->Number(), imported->Number(), imported_text->Number(), raised),
                std::tuple(0, 0, 0, 0));
      EXPECT_GT(children, 0);
      EXPECT_EQ(support::CompareTrees(*clinic, from_tree), "");
      EXPECT_EQ(support::CompareTrees(*clinic, from_text), "");
      break;
    }
    for (const StatusPtr& status : {exported, imported, imported_text}) {
      if (status && status->Number() != 0) ExpectOutOfMemory(status);
    }
    EXPECT_TRUE(raised == 0 || raised == kErrOutOfMemory) << raised;
  }
}

}  // namespace
}  // namespace tympora
