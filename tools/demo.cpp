// tympora demo: the library's main job end to end. Builds a clinic, exports
// it to one file, imports the file into a new list and checks that the two
// trees are equal.
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <iostream>

#include "commands.hpp"
#include "tree.hpp"

namespace tympora::cli {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int32_t kDefaultClients = 300;
constexpr int32_t kMaxClients = 10000;
// About what one client of the demo's shape takes in the file, to decide
// whether the work deserves a progress indicator.
constexpr uint64_t kBytesPerClient = 100000;

// Removes the file at `path` when it goes out of scope, unless kept.
class TemporaryFile {
 public:
  TemporaryFile(std::string path, bool keep) : path_(std::move(path)), keep_(keep) {}
  ~TemporaryFile() {
    std::error_code ignored;
    if (!keep_) std::filesystem::remove(path_, ignored);
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  const std::string& Path() const { return path_; }

 private:
  std::string path_;
  bool keep_;
};

std::string DefaultPath() {
  std::error_code ec;
  std::filesystem::path folder = std::filesystem::temp_directory_path(ec);
  if (ec) folder = ".";
  return (folder / ("tympora-demo-" + std::to_string(getpid()) + ".xml")).string();
}

// Runs `work`, showing `what` as progress when `progress`, and returns how
// long it took.
template <class F>
Clock::duration Timed(const std::string& what, bool progress, F&& work) {
  Progress shown(what, progress);
  const Clock::time_point start = Clock::now();
  work();
  return Clock::now() - start;
}

std::string Mebibytes(uint64_t bytes) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%.1f MiB", static_cast<double>(bytes) / (1 << 20));
  return buffer;
}

}  // namespace

const CommandSpec& DemoSpec() {
  static const CommandSpec spec{
      .name = "demo",
      .operands = "",
      .min_operands = 0,
      .max_operands = 0,
      .summary = "build a clinic, export it, import it back and compare",
      .details =
          "Builds a realistic clinic (every client with 2 hearing aids, each aid with\n"
          "2 test sessions of 2 examinations, each examination with 2 curves of 20\n"
          "curve points and 5 distortion points), exports it to one XML file with\n"
          "SaveXMLPath, loads the file, imports it into a new client list and checks\n"
          "that the two trees are equal. Prints the records per level, the file size,\n"
          "the export and import times and the status.",
      .options = {{"clients", "N", "number of clients, 0 to 10000 (default 300)"},
                  {"out", "FILE", "export to FILE and keep it (default: a temporary file)"},
                  {"scrambled", "", "the scrambled clinic of the tests and benchmarks instead"}},
  };
  return spec;
}

int RunDemo(const Arguments& args) {
  support::TreeShape shape;
  shape.clients = kDefaultClients;
  if (auto n = args.Value("clients")) shape.clients = ParseCount(*n, 0, kMaxClients, "--clients");
  const auto out = args.Value("out");
  if (out && out->empty()) throw UsageError("--out needs a file name");
  const TemporaryFile file(out ? *out : DefaultPath(), out.has_value());
  const bool progress = WantProgress(static_cast<uint64_t>(shape.clients) * kBytesPerClient);

  std::shared_ptr<CClients> clinic, copy;
  DOMDocument document;
  const auto built = Timed("building the clinic", progress, [&] {
    clinic = args.Value("scrambled") ? support::BuildScrambledClinic(shape)
                                     : support::BuildDemoClinic(shape);
  });
  const auto exported =
      Timed("exporting", progress, [&] { ThrowIfFailed(clinic->SaveXMLPath(file.Path())); });
  const auto loaded = Timed("loading", progress, [&] { document = LoadFile(file.Path()); });
  const auto imported = Timed("importing", progress, [&] { copy = ImportClients(document); });
  std::string difference;
  Timed("comparing", progress, [&] { difference = support::CompareTrees(*clinic, *copy); });
  if (!difference.empty()) throw CommandFailure("the imported tree differs: " + difference);

  const uint64_t size = FileSize(file.Path());
  std::cout << "tympora demo: " << shape.clients << " clients exported and imported back\n"
            << "records per level (in each tree):\n"
            << CountLines(*copy, "  ") << "file:     " << Printable(file.Path())
            << (out ? "\n" : " (removed at the end)\n") << "size:     " << size << " bytes ("
            << Mebibytes(size) << ")\n"
            << "build:    " << Seconds(built) << "\n"
            << "export:   " << Seconds(exported) << " (SaveXMLPath)\n"
            << "import:   " << Seconds(loaded + imported) << " (load " << Seconds(loaded)
            << ", ImportXMLNode " << Seconds(imported) << ")\n"
            << "compare:  the two trees are equal\n"
            << "status:   0\n";
  return 0;
}

}  // namespace tympora::cli
