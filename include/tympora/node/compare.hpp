// Record-level comparison of two record trees: which values differ, which
// records one tree has and the other lacks, and which lists hold the same
// records in another order.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tympora/export.h"
#include "tympora/node/node.hpp"

namespace tympora {

// One difference between tree A and tree B.
struct TYMPORA_API RecordDifference {
  enum class Kind {
    Value,    // a value (or the ID) differs; `before` and `after` hold both
    Added,    // B has the record at `path`, A has not
    Removed,  // A has the record at `path`, B has not
    Order,    // the list at `path` holds the same records in another order
    Class,    // the records at `path` are of different classes
  };
  Kind kind;
  // Where: record element names with the list key in brackets, from the
  // root, then the value's element name:
  // "Clients/ClientOrPatient[42]/ClientAid[6]/HearingAidModel".
  std::string path;
  // For Value: each side's value as text, a Null value as Null (unquoted
  // where Text shows it); for Class: the two class names.
  std::string before, after;
  bool before_null = false, after_null = false;

  // One line: `path: "BTE 200" -> "BTE 300"`, `path: added`, `path: removed`,
  // `path: another order`, `path: class CCurve -> CExamination`.
  std::string Text() const;
};

// Every difference between the trees rooted at `a` and `b`, in tree order;
// only the first `limit` when `limit` is not 0. Children are matched by their
// list key (their ID), so a record added to or removed from a list is one
// difference, not a shift of every record after it. Linear in the trees'
// sizes. Never throws but for std::bad_alloc.
TYMPORA_API std::vector<RecordDifference> CompareRecords(const CNode& a, const CNode& b,
                                                         size_t limit = 0);

}  // namespace tympora
