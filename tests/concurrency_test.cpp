// Threads that each build, export and import their own trees at once. The
// records are not shared, but the file table, the locale and the library's
// lazily built tables are process-wide: this test is what the
// ThreadSanitizer build runs to prove them safe.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "test_util.hpp"
#include "tree.hpp"
#include "tympora/node/locale.hpp"
#include "tympora/records/clients.hpp"

namespace tympora {
namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 50;

// One thread's work: a tree of its own (two clients, one record at each
// level below, four curve points, two distortion points) exported to its
// own file and read back, kRounds times. Returns the first failure, or "".
std::string RoundTrips(int index, const std::string& path) {
  const support::TreeShape shape{2, 1, 1, 1, 1, 4, 2, static_cast<uint32_t>(index + 1)};
  for (int round = 0; round < kRounds; ++round) {
    const auto tree = support::BuildScrambledClinic(shape);
    const StatusPtr exported = tree->ExportXMLPath(path);
    if (exported->Number() != 0) return "export: " + exported->Description();
    CClients back;
    const StatusPtr imported = back.ImportXMLFile(path);  // a load and an import
    if (imported->Number() != 0) return "import: " + imported->Description();
    if (std::string diff = support::CompareTrees(*tree, back); !diff.empty()) return diff;
  }
  return {};
}

TEST(ConcurrencyTest, EightThreadsExportAndImportTheirOwnTreesAtOnce) {
  testing::TempDir dir;
  std::vector<std::string> failures(kThreads);
  std::atomic<bool> done{false};
  // Meanwhile the locale is switched again and again, to the one in force:
  // every reader must see a whole set of forms at any moment.
  const std::string locale = CurrentLocale().name;
  std::thread switcher([&] {
    while (!done.load()) SetLocale(locale);
  });
  std::vector<std::thread> workers;
  for (int i = 0; i < kThreads; ++i) {
    workers.emplace_back(
        [&, i] { failures[i] = RoundTrips(i, dir / ("tree" + std::to_string(i) + ".xml")); });
  }
  for (std::thread& t : workers) t.join();
  done = true;
  switcher.join();
  for (int i = 0; i < kThreads; ++i) EXPECT_EQ(failures[i], "") << "thread " << i;
}

}  // namespace
}  // namespace tympora
