// The table of the clinic benchmark.
#include "report.hpp"

#include <cstdio>
#include <string>

namespace tympora::bench {
namespace {

std::string Fixed(double value, int digits) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", digits, value);
  return text;
}

}  // namespace

std::string Short(double value) {
  if (value >= 100) return Fixed(value, 0);
  if (value >= 10) return Fixed(value, 1);
  if (value >= 1) return Fixed(value, 2);
  return Fixed(value, 3);
}

void Target(const char* what, double value, bool met, const char* goal) {
  if (value < 0) {
    std::printf("- %s: not measured (target %s)\n", what, goal);
    return;
  }
  std::printf("- %s: %s (target %s): %s\n", what, Short(value).c_str(), goal,
              met ? "met" : "NOT MET");
}

namespace {

constexpr double kMB = 1e6;

bool Done(const Measurement& m) { return m.seconds > 0 && m.failure.empty(); }

// This operation's time divided by each anchor's, as "(a) 0.31, (b) 1.1".
std::string Ratios(const SizeResult& r, Op op) {
  struct Pair {
    Op op, anchor;
    const char* label;
  };
  static constexpr Pair kPairs[] = {{kExportPath, kAnchorA, "(a)"},
                                    {kExportPath, kAnchorB, "(b)"},
                                    {kImport, kAnchorC, "(c)"},
                                    {kImport, kAnchorD, "(d)"}};
  std::string out;
  for (const Pair& p : kPairs) {
    if (p.op != op || !Done(r.ops[op]) || !Done(r.ops[p.anchor])) continue;
    if (!out.empty()) out += ", ";
    out += std::string(p.label) + " " + Short(r.ops[op].seconds / r.ops[p.anchor].seconds);
  }
  return out;
}

std::string Size(const SizeResult& r) {
  return Short(static_cast<double>(r.file_bytes) / kMB) + " MB";
}

std::string Multiple(int64_t bytes, const SizeResult& r) {
  if (bytes < 0 || r.file_bytes <= 0) return "?";
  return Short(static_cast<double>(bytes) / static_cast<double>(r.file_bytes));
}

void PrintRows(const SizeResult& r) {
  std::printf("| %s | records held (%d clients, %lld records) | | %s (build) | | %s |\n",
              Size(r).c_str(), r.clients, static_cast<long long>(r.records),
              Short(r.build_seconds).c_str(), Multiple(r.tree_bytes, r).c_str());
  for (int i = 0; i < kOpCount; ++i) {
    const Op op = static_cast<Op>(i);
    const Measurement& m = r.ops[op];
    if (m.failure.rfind("skipped: not selected", 0) == 0) continue;
    if (!Done(m)) {
      std::printf("| %s | %s | | | %s | |\n", Size(r).c_str(), OpName(op),
                  m.failure.empty() ? "not measured" : m.failure.c_str());
      continue;
    }
    const double mbps = static_cast<double>(r.file_bytes) / kMB / m.seconds;
    std::printf("| %s | %s | %s | %s | %s | %s |\n", Size(r).c_str(), OpName(op),
                Short(mbps).c_str(), Short(m.seconds).c_str(), Ratios(r, op).c_str(),
                Multiple(m.peak_bytes, r).c_str());
  }
}

// Time per curve point at the last size divided by that at the first.
double Scaling(const std::vector<SizeResult>& results, Op op) {
  const SizeResult& first = results.front();
  const SizeResult& last = results.back();
  if (!Done(first.ops[op]) || !Done(last.ops[op])) return -1;
  const double a = first.ops[op].seconds / static_cast<double>(first.curve_points);
  const double b = last.ops[op].seconds / static_cast<double>(last.curve_points);
  return b / a;
}

double Quotient(const Measurement& a, const Measurement& b) {
  return Done(a) && Done(b) ? a.seconds / b.seconds : -1;
}

// The peak memory of `op` divided by the file's size; -1 when unknown.
double PeakPerFile(const SizeResult& r, Op op) {
  const int64_t peak = r.ops[op].peak_bytes;
  return peak < 0 || r.file_bytes <= 0
             ? -1
             : static_cast<double>(peak) / static_cast<double>(r.file_bytes);
}

void PrintTargets(const std::vector<SizeResult>& results) {
  const SizeResult& r = results.back();
  std::printf("\nTargets on the %s tree:\n", Size(r).c_str());
  const double vs_a = Quotient(r.ops[kAnchorA], r.ops[kExportPath]);
  Target("ExportXMLPath, times faster than (a)", vs_a, vs_a >= 10, ">= 10");
  const double vs_b = Quotient(r.ops[kExportPath], r.ops[kAnchorB]);
  Target("ExportXMLPath, time / (b)", vs_b, vs_b <= 1.5, "<= 1.5");
  const double peak = PeakPerFile(r, kExportPath);
  Target("ExportXMLPath, peak memory beyond the records / file", peak, peak <= 2, "<= 2");
  const double vs_c = Quotient(r.ops[kImport], r.ops[kAnchorC]);
  Target("import, time / (c)", vs_c, vs_c <= 1.0, "<= 1.0");
  const double import_peak = PeakPerFile(r, kImport);
  Target("import, peak memory / file", import_peak, import_peak <= 3.5, "<= 3.5");
  const double vs_d = Quotient(r.ops[kAnchorD], r.ops[kImport]);
  Target("import, times faster than (d)", vs_d, vs_d >= 3, ">= 3");
  const double tree = r.tree_bytes < 0 || r.file_bytes <= 0
                          ? -1
                          : static_cast<double>(r.tree_bytes) / static_cast<double>(r.file_bytes);
  Target("records held / file", tree, tree <= 2, "<= 2");
  if (results.size() < 2) return;
  const double se = Scaling(results, kExportPath);
  Target("ExportXMLPath, time per curve point, last size / first", se, se <= 1.25, "<= 1.25");
  const double si = Scaling(results, kImport);
  Target("import, time per curve point, last size / first", si, si <= 1.25, "<= 1.25");
}

}  // namespace

const char* OpName(Op op) {
  switch (op) {
    case kExportPath:
      return "ExportXMLPath";
    case kDocument:
      return "ExportXMLDocument (document only)";
    case kDocumentXml:
      return "ExportXMLDocument + xml()";
    case kAnchorA:
      return "(a) pugixml document road";
    case kAnchorB:
      return "(b) plain text writer";
    case kImport:
      return "import: load + ImportXMLNode";
    case kLoad:
      return "DOMDocument::load alone";
    case kAnchorC:
      return "(c) pugixml parse + walk";
    case kAnchorD:
      return "(d) Python lxml parse + walk";
    case kOpCount:
      break;
  }
  return "?";
}

void PrintReport(const std::vector<SizeResult>& results, int runs, bool wall_clock,
                 bool peak_reset_works) {
  if (results.empty()) return;
  std::printf(
      "\nTimes: %s, the best of %d runs%s; MB = 10^6 bytes. time / anchor: this row's time "
      "divided by the anchor's (below 1 is faster). Peak memory: growth of resident memory "
      "during the operation (%s), divided by the file's size.\n\n",
      wall_clock ? "wall-clock time" : "CPU time of the process (user + system)", runs,
      runs > 1 ? " (quick operations: of as many as fit in half a second)" : "",
      peak_reset_works ? "VmHWM" : "getrusage, may read low");
  std::printf("| file | operation | MB/s | seconds | time / anchor | peak memory / file |\n");
  std::printf("|---|---|---:|---:|---|---:|\n");
  for (const SizeResult& r : results) PrintRows(r);
  if (results.size() >= 2) {
    std::printf("\nTime per curve point, %s against %s: ExportXMLPath %s, import %s\n",
                Size(results.back()).c_str(), Size(results.front()).c_str(),
                Short(Scaling(results, kExportPath)).c_str(),
                Short(Scaling(results, kImport)).c_str());
  }
  PrintTargets(results);
}

}  // namespace tympora::bench
