// The many-small-files case: 2,000 client lists of one client each, every
// one written to and read from a file of its own.
#include "small_files.hpp"

#include <fcntl.h>
#include <unistd.h>

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

// The rows of the table, in order; an anchor's name starts with its label.
enum RowIndex : size_t { kPathRow, kRoadRow, kAloneRow, kImportRow, kOneStepRow, kWalkRow };

struct Row {
  const char* name;
  Operation run;
  std::vector<RowIndex> anchors;  // the rows whose times this one's is divided by
};

// (e) What the file system alone costs the export of one file: the old file
// deleted, the new one created and its bytes written in one write, with no
// locks, checks or formatting. ExportXMLPath does these steps in this order.
void FileSystemAlone(const std::string& path, const std::string& bytes) {
  ::unlink(path.c_str());
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (fd < 0) throw std::runtime_error("cannot create " + path);
  const bool written =
      ::write(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
  ::close(fd);
  if (!written) throw std::runtime_error("cannot write " + path);
}

}  // namespace

void Require(const StatusPtr& status, const char* what) {
  if (status && status->Number() != 0) {
    throw std::runtime_error(std::string(what) + " failed: " + std::to_string(status->Number()) +
                             " " + status->Description());
  }
}

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
  std::vector<std::string> paths, anchor_paths, floor_paths, texts;
  for (int i = 0; i < o.files; ++i) {
    trees.push_back(support::BuildScrambledClinic(SmallShape(static_cast<uint32_t>(i) + 1)));
    paths.push_back(folder.Path("f" + std::to_string(i) + ".xml"));
    anchor_paths.push_back(folder.Path("a" + std::to_string(i) + ".xml"));
    floor_paths.push_back(folder.Path("e" + std::to_string(i) + ".xml"));
  }
  std::vector<Row> rows = {
      {"ExportXMLPath",
       [&]() -> Leftover {
         for (size_t i = 0; i < trees.size(); ++i) {
           Require(trees[i]->ExportXMLPath(paths[i]), "ExportXMLPath");
         }
         return nullptr;
       },
       {kRoadRow, kAloneRow}},
      {"(a) pugixml document road",
       [&]() -> Leftover {
         for (size_t i = 0; i < trees.size(); ++i) PugixmlRoadExport(*trees[i], anchor_paths[i]);
         return nullptr;
       },
       {}},
      {"(e) the file system alone: delete, create, one write",
       [&]() -> Leftover {
         for (size_t i = 0; i < texts.size(); ++i) FileSystemAlone(floor_paths[i], texts[i]);
         return nullptr;
       },
       {}},
      {"import: load + ImportXMLNode",
       [&]() -> Leftover {
         for (const std::string& path : paths) LoadAndImport(path);
         return nullptr;
       },
       {kWalkRow}},
      {"import: ImportXMLFile",
       [&]() -> Leftover {
         for (const std::string& path : paths) Require(CClients().ImportXMLFile(path), "import");
         return nullptr;
       },
       {kWalkRow}},
      {"(c) pugixml parse + walk",
       [&]() -> Leftover {
         for (const std::string& path : paths) PugixmlImportWalk(path);
         return nullptr;
       },
       {}},
  };
  std::fprintf(stderr, "%d small files: writing and checking\n", o.files);
  rows[kPathRow].run();
  int64_t bytes = 0;
  for (const std::string& path : paths) {
    texts.push_back(ReadFile(path));
    bytes += static_cast<int64_t>(texts.back().size());
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
    std::string ratio;
    for (const RowIndex anchor : row.anchors) {
      const std::string name = rows[anchor].name;
      ratio += (ratio.empty() ? "" : ", ") + name.substr(0, name.find(' ')) + " " +
               Short(seconds[i] / seconds[anchor]);
    }
    std::printf("| %d | %s | %s | %s | %s | %s |\n", o.files, row.name,
                Short(o.files / seconds[i]).c_str(), Short(mb / seconds[i]).c_str(),
                Short(seconds[i]).c_str(), ratio.c_str());
  }
  if (largest && largest->file_bytes > 0) {
    const double large_mb = static_cast<double>(largest->file_bytes) / kMB;
    std::printf("\nSmall files' MB/s / the %s MB clinic's MB/s:\n", Short(large_mb).c_str());
    const struct {
      const char* what;
      RowIndex row;
      Op op;
    } roads[] = {{"ExportXMLPath", kPathRow, kExportPath}, {"import", kImportRow, kImport}};
    for (const auto& road : roads) {
      const double large = largest->ops[road.op].seconds;
      const double ratio = large > 0 ? (mb / seconds[road.row]) / (large_mb / large) : -1;
      Target(road.what, ratio, ratio >= 1 / 1.5, ">= 0.667");
    }
    const double export_large = largest->ops[kExportPath].seconds;
    if (export_large > 0) {
      // The time per file that the export target leaves, beside what the file
      // system alone takes of it.
      const double allowed = 1.5 * export_large * (mb / large_mb) / o.files;
      std::printf(
          "- ExportXMLPath may take %s us per file to meet its target; the file system alone "
          "(e) takes %s us of it.\n",
          Short(allowed * 1e6).c_str(), Short(seconds[kAloneRow] / o.files * 1e6).c_str());
    }
  }
  if (!diff.empty()) std::fprintf(stderr, "FAILED: small files: %s\n", diff.c_str());
  return diff.empty();
}

}  // namespace tympora::bench
