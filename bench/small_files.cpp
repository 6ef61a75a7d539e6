// The many-small-files case: 2,000 client lists of one client each, every
// one written to and read from a file of its own.
#include "small_files.hpp"

#include <sys/stat.h>

#include <cstdio>
#include <stdexcept>
#include <vector>

#include "anchors.hpp"
#include "tree.hpp"
#include "tympora/node/dom.hpp"
#include "tympora/records/clients.hpp"

namespace tympora::bench {
namespace {

constexpr double kMB = 1e6;

// One client with 6 curves: about 50 KB of XML.
support::TreeShape SmallShape(uint32_t seed) {
  return {.clients = 1,
          .aids = 1,
          .sessions = 1,
          .examinations = 2,
          .curves = 3,
          .curve_points = 32,
          .distortion_points = 5,
          .seed = seed};
}

void Require(const StatusPtr& status, const char* what) {
  if (status && status->Number() != 0) {
    throw std::runtime_error(std::string(what) + " failed: " + std::to_string(status->Number()) +
                             " " + status->Description());
  }
}

// Every file read back by both imports and the walk of (c); "" when all agree.
std::string Check(const std::vector<std::shared_ptr<CClients>>& trees,
                  const std::vector<std::string>& paths) {
  for (size_t i = 0; i < trees.size(); ++i) {
    std::string diff = support::CompareTrees(*trees[i], *LoadAndImport(paths[i]));
    CClients one_step;
    if (diff.empty()) Require(one_step.ImportXMLFile(paths[i]), "ImportXMLFile");
    if (diff.empty()) diff = support::CompareTrees(*trees[i], one_step);
    int64_t records = 0;
    for (const auto& [name, count] : support::CountRecords(*trees[i])) records += count;
    if (diff.empty() && PugixmlImportWalk(paths[i]).records != records) diff = "(c) misses records";
    if (!diff.empty()) return paths[i] + ": " + diff;
  }
  return {};
}

struct Row {
  const char* name;
  Operation run;
  int anchor;  // the row whose time this one's is divided by, or -1
  const char* anchor_label;
};

}  // namespace

std::shared_ptr<CClients> LoadAndImport(const std::string& path) {
  auto imported = std::make_shared<CClients>();
  DOMDocument doc = DOMDocument::New();
  if (!doc.load(path)) throw std::runtime_error(doc.parseError().reason);
  DOMElement root = doc.documentElement();
  Require(imported->ImportXMLNode(root), "ImportXMLNode");
  return imported;
}

bool RunSmallFiles(const SmallFilesOptions& o, const SizeResult* largest) {
  const ScratchFolder folder(o.dir, "tympora-files");
  std::vector<std::shared_ptr<CClients>> trees;
  std::vector<std::string> paths, anchor_paths;
  for (int i = 0; i < o.files; ++i) {
    trees.push_back(support::BuildScrambledClinic(SmallShape(static_cast<uint32_t>(i) + 1)));
    paths.push_back(folder.Path("f" + std::to_string(i) + ".xml"));
    anchor_paths.push_back(folder.Path("a" + std::to_string(i) + ".xml"));
  }
  std::vector<Row> rows = {
      {"ExportXMLPath",
       [&]() -> Leftover {
         for (size_t i = 0; i < trees.size(); ++i) {
           Require(trees[i]->ExportXMLPath(paths[i]), "ExportXMLPath");
         }
         return nullptr;
       },
       1, "(a)"},
      {"(a) pugixml document road",
       [&]() -> Leftover {
         for (size_t i = 0; i < trees.size(); ++i) PugixmlRoadExport(*trees[i], anchor_paths[i]);
         return nullptr;
       },
       -1, ""},
      {"import: load + ImportXMLNode",
       [&]() -> Leftover {
         for (const std::string& path : paths) LoadAndImport(path);
         return nullptr;
       },
       4, "(c)"},
      {"import: ImportXMLFile",
       [&]() -> Leftover {
         for (const std::string& path : paths) Require(CClients().ImportXMLFile(path), "import");
         return nullptr;
       },
       4, "(c)"},
      {"(c) pugixml parse + walk",
       [&]() -> Leftover {
         for (const std::string& path : paths) PugixmlImportWalk(path);
         return nullptr;
       },
       -1, ""},
  };
  std::fprintf(stderr, "%d small files: writing and checking\n", o.files);
  rows[0].run();
  int64_t bytes = 0;
  for (const std::string& path : paths) {
    struct stat st {};
    if (::stat(path.c_str(), &st) == 0) bytes += st.st_size;
  }
  const std::string diff = Check(trees, paths);
  std::vector<double> seconds;
  for (const Row& row : rows) {
    std::fprintf(stderr, "%d small files: %s, timing\n", o.files, row.name);
    seconds.push_back(BestTime(row.run, o.runs, o.budget, o.clock));
  }

  const double mb = static_cast<double>(bytes) / kMB;
  std::printf(
      "\nMany small files: %d client lists of one client each (1 aid x 1 session x 2 "
      "examinations x 3 curves, 32 curve points and 5 distortion points per curve), %s KB per "
      "file on average, %s MB in all; each row handles every file once.\n\n",
      o.files, Short(static_cast<double>(bytes) / o.files / 1e3).c_str(), Short(mb).c_str());
  std::printf("| files | operation | files/s | MB/s | seconds | time / anchor |\n");
  std::printf("|---|---|---:|---:|---:|---|\n");
  for (size_t i = 0; i < rows.size(); ++i) {
    const Row& row = rows[i];
    const std::string ratio =
        row.anchor < 0 ? ""
                       : std::string(row.anchor_label) + " " +
                             Short(seconds[i] / seconds[static_cast<size_t>(row.anchor)]);
    std::printf("| %d | %s | %s | %s | %s | %s |\n", o.files, row.name,
                Short(o.files / seconds[i]).c_str(), Short(mb / seconds[i]).c_str(),
                Short(seconds[i]).c_str(), ratio.c_str());
  }
  if (largest && largest->file_bytes > 0) {
    const double large_mb = static_cast<double>(largest->file_bytes) / kMB;
    std::printf("\nSmall files' MB/s / the %s MB clinic's MB/s:\n", Short(large_mb).c_str());
    const struct {
      const char* what;
      int row;
      Op op;
    } roads[] = {{"ExportXMLPath", 0, kExportPath}, {"import", 2, kImport}};
    for (const auto& road : roads) {
      const double large = largest->ops[road.op].seconds;
      const double ratio =
          large > 0 ? (mb / seconds[static_cast<size_t>(road.row)]) / (large_mb / large) : -1;
      Target(road.what, ratio, ratio >= 1 / 1.5, ">= 0.667");
    }
  }
  if (!diff.empty()) std::fprintf(stderr, "FAILED: small files: %s\n", diff.c_str());
  return diff.empty();
}

}  // namespace tympora::bench
