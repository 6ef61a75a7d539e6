// Clinic trees for tests, benchmarks and the command-line demo: builders of
// record trees of a given size, a comparison of two trees, and counts per
// level. Not part of the installed library.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "tympora/measurement/curve.hpp"
#include "tympora/node/record.hpp"
#include "tympora/records/clients.hpp"

namespace tympora::support {

// How many children each record gets, by the children's element name.
struct TreeShape {
  int32_t clients = 20;           // ClientOrPatient per Clients
  int32_t aids = 2;               // ClientAid per client
  int32_t sessions = 2;           // TestSession per aid
  int32_t examinations = 2;       // Examination per session
  int32_t curves = 2;             // Curve per examination
  int32_t curve_points = 20;      // CurveDatum per curve
  int32_t distortion_points = 5;  // DistortionDatum per curve
  uint32_t seed = 1;              // the same seed builds the same tree
};

// A client list of `shape`'s size with every property of every client set
// to scrambled values that probe the file format (texts with markup
// characters, non-ASCII letters, leading and trailing blanks and empty
// strings, numbers and dates far out of any real range); below the clients
// about one value in ten is left Null. Every value survives an export and
// import exactly. For tests and benchmarks.
std::shared_ptr<CClients> BuildScrambledClinic(const TreeShape& shape);

// A client list of `shape`'s size that looks like a real clinic: ordinary
// names, models and places, test dates in the past, curve points at
// audiometric frequencies from 125 Hz to 8 kHz in order with plausible
// input and output levels; values a clinic would not record stay Null.
// Every value survives an export and import exactly.
std::shared_ptr<CClients> BuildDemoClinic(const TreeShape& shape);

// Fills every property of `record` with generated values (`null_share` of
// them, 0 to 1, left Null) from the generator state `seed`.
void FillRecord(RecordBase& record, uint64_t& seed, double null_share);

// The first difference between two trees as CompareRecords words it, or the
// empty text when they are equal.
std::string CompareTrees(const CNode& a, const CNode& b);

// The first curve of the first client's first aid, session and
// examination. Raises 5 when the tree has none there.
std::shared_ptr<CCurve> FirstCurve(const CClients& clients);

// The number of records in the tree, by element name ("Clients" counts 1).
std::map<std::string, int64_t> CountRecords(const CNode& root);

}  // namespace tympora::support
