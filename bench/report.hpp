// The results of the clinic benchmark and the table that shows them.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace tympora::bench {

// The measured operations, in the order of the table.
enum Op : int {
  kExportPath,   // CClients::ExportXMLPath
  kDocument,     // ExportXMLDocument into a new document
  kDocumentXml,  // ExportXMLDocument plus DOMDocument::xml()
  kAnchorA,      // (a) the pugixml document road
  kAnchorB,      // (b) the plain text writer
  kImport,       // DOMDocument::load plus CClients::ImportXMLNode
  kLoad,         // DOMDocument::load alone
  kAnchorC,      // (c) pugixml parse plus converting walk
  kAnchorD,      // (d) Python lxml parse plus converting walk
  kOpCount
};

// The row label of an operation.
const char* OpName(Op op);

struct Measurement {
  double seconds = -1;      // best time; negative when not measured
  int64_t peak_bytes = -1;  // peak growth of resident memory; negative when unknown
  std::string failure;      // why the operation failed or was skipped
};

// Everything measured on one tree.
struct SizeResult {
  double target_mb = 0;
  int32_t clients = 0;
  int64_t records = 0;
  int64_t curve_points = 0;
  int64_t file_bytes = 0;   // the file of ExportXMLPath
  int64_t tree_bytes = -1;  // resident growth while the tree was built
  double build_seconds = 0;
  std::array<Measurement, kOpCount> ops;
};

// `value` with two significant digits at least and no more decimals than needed.
std::string Short(double value);
// Prints the target line "- what: value (target goal): met" (or NOT MET, or
// "not measured" for a negative value).
void Target(const char* what, double value, bool met, const char* goal);

// Prints the Markdown table of `results`, the scaling of time per curve point
// from the first size to the last, and the targets checked on the last size.
// Only prints: missing a target is news, not a failure.
void PrintReport(const std::vector<SizeResult>& results, int runs, bool wall_clock,
                 bool peak_reset_works);

}  // namespace tympora::bench
