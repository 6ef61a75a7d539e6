// The clinic benchmark: export and import of whole clinic files of about
// 1 MB, 10 MB and 100 MB, side by side with their anchors, in one run.
//
// For each size it builds a clinic with the tree builder (per client 2 aids x
// 2 sessions x 2 examinations x 3 curves, each curve with 40 curve points and
// 5 distortion points), then measures on that one tree: ExportXMLPath,
// ExportXMLDocument (with and without its serialisation), the import
// (DOMDocument::load plus CClients::ImportXMLNode) and the anchors of
// anchors.hpp plus the Python lxml import of lxml_import.py. Each operation
// runs once in a forked child for its peak memory and a check of its result,
// then a few times in this process for its best time.
//
// Then it writes and reads 2,000 small files of one client each
// (small_files.hpp).
//
//   tympora_bench [--sizes 1,10,100] [--runs 3] [--dir DIR] [--python PATH]
//                 [--lxml-script PATH] [--only OPS] [--clock cpu|wall] [--files N]
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "anchors.hpp"
#include "measure.hpp"
#include "report.hpp"
#include "small_files.hpp"
#include "tree.hpp"
#include "tympora/node/dom.hpp"
#include "tympora/node/locale.hpp"
#include "tympora/records/clients.hpp"

namespace tympora::bench {
namespace {

struct Options {
  std::vector<double> sizes{1, 10, 100};  // target file sizes in MB
  int runs = 3;
  double budget = 20;  // seconds of timed runs per operation and size, at most
  std::string dir;
  std::string python = "/usr/bin/python3";
  std::string lxml_script;
  std::string only;  // comma-separated operation keys; empty: all
  int files = 2000;  // small files of one client each; 0: none
  Clock clock = Clock::Cpu;
};

// The short names of the operations, for --only.
constexpr const char* kOpKeys[kOpCount] = {
    "path", "document", "document-xml", "a", "b", "import", "load", "c", "d"};

// Whether the comma-separated `list` holds `key`.
bool Listed(const std::string& list, const std::string& key) {
  return ("," + list + ",").find("," + key + ",") != std::string::npos;
}

bool Selected(const Options& o, Op op) { return o.only.empty() || Listed(o.only, kOpKeys[op]); }

// Prints the usage: to stdout for --help (complaint null), else with the
// complaint to stderr; then exits.
[[noreturn]] void Usage(const char* complaint) {
  FILE* out = complaint ? stderr : stdout;
  if (complaint) std::fprintf(out, "tympora_bench: %s\n", complaint);
  std::fprintf(out,
               "usage: tympora_bench [--sizes 1,10,100] [--runs 3] [--dir DIR] [--python PATH]\n"
               "                     [--lxml-script PATH] [--only OPS] [--clock cpu|wall]\n"
               "                     [--files N]\n"
               "  --sizes   file sizes to measure, in MB (10^6 bytes), comma-separated\n"
               "  --runs    timed runs per operation; the best counts\n"
               "  --dir     where the files are written (default: $TMPDIR or /tmp)\n"
               "  --python  the interpreter for the lxml anchor (default /usr/bin/python3)\n"
               "  --clock   cpu (default: CPU time of the process, user and system) or wall\n"
               "  --only    run only these operations (for profiling): path, document,\n"
               "            document-xml, a, b, import, load, c, d, files; the file of path is\n"
               "            still written once for the others to read\n"
               "  --files   how many small files (one client each, about 50 KB) to write and\n"
               "            read (default 2000; 0: none)\n");
  std::exit(complaint ? 2 : 0);
}

std::vector<double> ParseSizes(const std::string& text) {
  std::vector<double> sizes;
  std::stringstream in(text);
  for (std::string item; std::getline(in, item, ',');) {
    char* end = nullptr;
    const double mb = std::strtod(item.c_str(), &end);
    if (item.empty() || *end != 0 || !(mb > 0) || mb > 10000) Usage("bad --sizes");
    sizes.push_back(mb);
  }
  if (sizes.empty()) Usage("bad --sizes");
  return sizes;
}

std::string ExecutableDir() {
  char path[4096];
  const ssize_t n = ::readlink("/proc/self/exe", path, sizeof path - 1);
  if (n <= 0) return ".";
  std::string p(path, static_cast<size_t>(n));
  return p.substr(0, p.find_last_of('/'));
}

Options ParseOptions(int argc, char** argv) {
  Options o;
  o.lxml_script = ExecutableDir() + "/lxml_import.py";
  const char* tmp = std::getenv("TMPDIR");
  o.dir = tmp && *tmp ? tmp : "/tmp";
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--help" || arg == "-h") Usage(nullptr);
    if (i + 1 >= argc) Usage(("missing value after " + arg).c_str());
    const std::string value = argv[++i];
    if (arg == "--sizes") {
      o.sizes = ParseSizes(value);
    } else if (arg == "--runs") {
      o.runs = std::atoi(value.c_str());
      if (o.runs < 1 || o.runs > 100) Usage("bad --runs");
    } else if (arg == "--dir") {
      o.dir = value;
    } else if (arg == "--python") {
      o.python = value;
    } else if (arg == "--lxml-script") {
      o.lxml_script = value;
    } else if (arg == "--files") {
      o.files = std::atoi(value.c_str());
      if (o.files < 0 || o.files > 1000000) Usage("bad --files");
    } else if (arg == "--only") {
      o.only = value;
    } else if (arg == "--clock") {
      if (value != "cpu" && value != "wall") Usage("bad --clock");
      o.clock = value == "cpu" ? Clock::Cpu : Clock::Wall;
    } else {
      Usage(("unknown option " + arg).c_str());
    }
  }
  return o;
}

support::TreeShape ShapeFor(int32_t clients) {
  support::TreeShape shape;
  shape.clients = clients;
  shape.aids = 2;
  shape.sessions = 2;
  shape.examinations = 2;
  shape.curves = 3;
  shape.curve_points = 40;
  shape.distortion_points = 5;
  return shape;
}

int64_t FileSize(const std::string& path) {
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0 ? static_cast<int64_t>(st.st_size) : -1;
}

// File bytes of a clinic: a fixed part plus so much per client.
struct Calibration {
  double fixed = 0;
  double per_client = 0;
};

Calibration Calibrate(const ScratchFolder& ws) {
  const std::string path = ws.Path("export.xml");
  int64_t bytes[2];
  const int32_t clients[2] = {1, 6};
  for (int i = 0; i < 2; ++i) {
    Require(support::BuildScrambledClinic(ShapeFor(clients[i]))->ExportXMLPath(path),
            "ExportXMLPath");
    bytes[i] = FileSize(path);
  }
  Calibration c;
  c.per_client = static_cast<double>(bytes[1] - bytes[0]) / (clients[1] - clients[0]);
  c.fixed = static_cast<double>(bytes[0]) - c.per_client;
  return c;
}

// Where the plain writer's text first differs from the library's file, or "".
std::string CompareWithPlain(const RecordBase& tree, const std::string& file) {
  const size_t open = file.find("<!--"), close = file.find("-->");
  if (open == std::string::npos || close == std::string::npos) return "no comment in the file";
  const std::string plain = PlainExportText(tree, file.substr(open + 4, close - open - 4));
  if (plain == file) return {};
  size_t at = 0;
  while (at < plain.size() && at < file.size() && plain[at] == file[at]) ++at;
  return "differs at byte " + std::to_string(at) + ": \"" + file.substr(at, 60) + "\" against \"" +
         plain.substr(at, 60) + "\"";
}

// The one-minute load average, as the kernel prints it.
std::string LoadAverage() {
  std::ifstream in("/proc/loadavg");
  std::string first;
  in >> first;
  return first.empty() ? "?" : first;
}

std::string Quote(const std::string& s) {
  std::string out = "'";
  for (char c : s) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

// (d): the Python lxml script, best of `runs`; it times itself.
Measurement RunLxml(const Options& o, const ScratchFolder& ws, int64_t records) {
  Measurement m;
  if (::access(o.python.c_str(), X_OK) != 0) {
    m.failure = "skipped: " + o.python + " not found";
    return m;
  }
  const std::string command = Quote(o.python) + " " + Quote(o.lxml_script) + " " +
                              Quote(ws.Path("export.xml")) + " " + Quote(ws.Path("schema.txt")) +
                              (o.clock == Clock::Cpu ? " cpu" : " wall");
  double spent = 0;
  for (int run = 0; run < o.runs && spent < o.budget; ++run) {
    std::fflush(nullptr);
    FILE* p = ::popen(command.c_str(), "r");
    if (!p) return Measurement{-1, -1, "cannot start " + o.python};
    double seconds = -1;
    long long peak = -1, seen = -1;
    const int fields = std::fscanf(p, "%lf %lld %lld", &seconds, &peak, &seen);
    const int status = ::pclose(p);
    if (WIFEXITED(status) && WEXITSTATUS(status) == 3) {
      return Measurement{-1, -1, "skipped: python3-lxml not installed"};
    }
    if (fields != 3 || status != 0 || seen != records) {
      return Measurement{-1, -1,
                         "the lxml script failed or saw " + std::to_string(seen) + " records of " +
                             std::to_string(records)};
    }
    if (m.seconds < 0 || seconds < m.seconds) m.seconds = seconds;
    if (run == 0) m.peak_bytes = peak;
    spent += seconds;
  }
  return m;
}

using Check = std::function<std::string(const Leftover&)>;

struct Task {
  Op op;
  Operation run;
  Check check;
};

std::vector<Task> Tasks(const std::shared_ptr<CClients>& tree, const ScratchFolder& ws,
                        int64_t records) {
  const std::string file = ws.Path("export.xml");
  const std::string a = ws.Path("anchor-a.xml"), b = ws.Path("anchor-b.xml");
  auto document = [tree](bool serialise) {
    return [tree, serialise]() -> Leftover {
      auto doc = std::make_shared<DOMDocument>();
      Require(tree->ExportXMLDocument(*doc), "ExportXMLDocument");
      if (!serialise) return doc;
      return std::make_shared<std::string>(doc->xml());
    };
  };
  std::vector<Task> tasks;
  tasks.push_back({kExportPath,
                   [tree, file]() -> Leftover {
                     Require(tree->ExportXMLPath(file), "ExportXMLPath");
                     return nullptr;
                   },
                   {}});
  tasks.push_back({kDocument, document(false), {}});
  tasks.push_back({kDocumentXml, document(true), {}});
  tasks.push_back({kAnchorA,
                   [tree, a]() -> Leftover {
                     PugixmlRoadExport(*tree, a);
                     return nullptr;
                   },
                   {}});
  tasks.push_back({kAnchorB,
                   [tree, b]() -> Leftover {
                     PlainTextExport(*tree, b);
                     return nullptr;
                   },
                   {}});
  tasks.push_back({kImport, [file]() -> Leftover { return LoadAndImport(file); },
                   [tree](const Leftover& left) {
                     return support::CompareTrees(*tree, *std::static_pointer_cast<CClients>(left));
                   }});
  tasks.push_back({kLoad,
                   [file]() -> Leftover {
                     auto doc = std::make_shared<DOMDocument>(DOMDocument::New());
                     if (!doc->load(file)) throw std::runtime_error(doc->parseError().reason);
                     return doc;
                   },
                   {}});
  tasks.push_back(
      {kAnchorC,
       [file]() -> Leftover { return std::make_shared<ImportTally>(PugixmlImportWalk(file)); },
       [records](const Leftover& left) {
         const int64_t seen = std::static_pointer_cast<ImportTally>(left)->records;
         return seen == records ? std::string() : "saw " + std::to_string(seen) + " records";
       }});
  return tasks;
}

SizeResult RunSize(double mb, const Calibration& cal, const Options& o, const ScratchFolder& ws) {
  SizeResult r;
  r.target_mb = mb;
  r.clients =
      static_cast<int32_t>(std::max(1.0, std::round((mb * 1e6 - cal.fixed) / cal.per_client)));
  std::fprintf(stderr, "%g MB: building %d clients\n", mb, r.clients);
  ReleaseFreeMemory();
  const int64_t before = ResidentBytes();
  const double start = Now(o.clock);
  std::shared_ptr<CClients> tree = support::BuildScrambledClinic(ShapeFor(r.clients));
  r.build_seconds = Now(o.clock) - start;
  r.tree_bytes = ResidentBytes() - before;
  for (const auto& [name, count] : support::CountRecords(*tree)) {
    r.records += count;
    if (name == "CurveDatum") r.curve_points = count;
  }
  const std::vector<Task> tasks = Tasks(tree, ws, r.records);
  for (const Task& t : tasks) {
    if (!Selected(o, t.op)) {
      r.ops[t.op].failure = "skipped: not selected";
      // The other operations read the file.
      if (t.op == kExportPath) Require(tree->ExportXMLPath(ws.Path("export.xml")), "ExportXMLPath");
    } else {
      std::fprintf(stderr, "%g MB: %s, memory and check\n", mb, OpName(t.op));
      const ChildResult c = RunInChild(t.run, t.check);
      r.ops[t.op].peak_bytes = c.peak_bytes;
      r.ops[t.op].failure = c.failure;
    }
    if (t.op == kExportPath && FileSize(ws.Path("export.xml")) > 0) {
      r.file_bytes = FileSize(ws.Path("export.xml"));
      const std::string diff = CompareWithPlain(*tree, ReadFile(ws.Path("export.xml")));
      if (!diff.empty()) std::fprintf(stderr, "note: the plain writer's text %s\n", diff.c_str());
    }
  }
  for (const Task& t : tasks) {
    if (!r.ops[t.op].failure.empty()) continue;
    std::fprintf(stderr, "%g MB: %s, timing\n", mb, OpName(t.op));
    r.ops[t.op].seconds = BestTime(t.run, o.runs, o.budget, o.clock);
  }
  if (Selected(o, kAnchorD)) {
    std::fprintf(stderr, "%g MB: %s\n", mb, OpName(kAnchorD));
    r.ops[kAnchorD] = RunLxml(o, ws, r.records);
  } else {
    r.ops[kAnchorD].failure = "skipped: not selected";
  }
  return r;
}

}  // namespace
}  // namespace tympora::bench

int main(int argc, char** argv) {
  using namespace tympora::bench;
  const Options options = ParseOptions(argc, argv);
  try {
    // Dates in the C locale's ISO form, which the import anchors read.
    tympora::SetLocale("C");
    const std::string load_at_start = LoadAverage();
    const ScratchFolder ws(options.dir, "tympora-bench");
    std::ofstream(ws.Path("schema.txt")) << SchemaText();
    const Calibration cal = Calibrate(ws);
    std::vector<SizeResult> results;
    for (double mb : options.sizes) {
      results.push_back(RunSize(mb, cal, options, ws));
      ReleaseFreeMemory();
    }
    std::printf(
        "Clinic benchmark: per client 2 aids x 2 sessions x 2 examinations x 3 curves, "
        "each curve with 40 curve points and 5 distortion points.\n"
        "Load average %s at the start, %s at the end, on %ld cores: timings are only as "
        "steady as the machine is quiet.\n",
        load_at_start.c_str(), LoadAverage().c_str(), ::sysconf(_SC_NPROCESSORS_ONLN));
    PrintReport(results, options.runs, options.clock == Clock::Wall, PeakResetWorks());
    bool failed = false;
    if (options.files > 0 && (options.only.empty() || Listed(options.only, "files"))) {
      const SmallFilesOptions small{options.files, options.runs, options.budget, options.clock,
                                    options.dir};
      failed = !RunSmallFiles(small, results.empty() ? nullptr : &results.back());
    }
    for (const SizeResult& r : results) {
      for (int i = 0; i < kOpCount; ++i) {
        const std::string& f = r.ops[i].failure;
        if (f.empty() || f.rfind("skipped", 0) == 0) continue;
        std::fprintf(stderr, "FAILED: %s at %g MB: %s\n", OpName(static_cast<Op>(i)), r.target_mb,
                     f.c_str());
        failed = true;
      }
    }
    return failed ? 1 : 0;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "tympora_bench: %s\n", e.what());
    return 1;
  }
}
