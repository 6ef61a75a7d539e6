// The anchors that the clinic benchmark measures the library against: the
// same export and import done with other means, on the same record tree and
// the same file.
//
//   (a) the literal document road with pugixml: build a document with its CR LF
//       text nodes, serialise it, parse the text again without whitespace
//       text nodes, serialise again, write the file in one write;
//   (b) a plain text writer without any document: the ceiling of an export;
//   (c) a pugixml parse of the file plus a walk that converts every text,
//       without building records: the floor of an import.
//
// All of them read the records through the record tables only (Info,
// IsPropertyNull, GetProperty, the child lists) and take their texts from the
// library's ValueToText and TrimText.
#pragma once

#include <cstdint>
#include <string>

#include "tympora/node/record.hpp"

namespace tympora::bench {

// (a) Writes `root` to `path` by the four steps of the document road.
void PugixmlRoadExport(const RecordBase& root, const std::string& path);

// (b) The file text of `root` built straight from the records: the XML
// declaration, the comment with `created`, the record elements without any
// whitespace between them, & < > and CR escaped in texts.
std::string PlainExportText(const RecordBase& root, const std::string& created);
// (b) Writes PlainExportText to `path` in one write.
void PlainTextExport(const RecordBase& root, const std::string& path);

// What the import anchor saw; the sums keep the conversions from being
// optimised away and let a caller check that every record was reached.
struct ImportTally {
  int64_t records = 0;
  int64_t values = 0;  // property texts converted (Null ones not counted)
  int64_t nulls = 0;
  int64_t string_bytes = 0;
  double number_sum = 0;
};

// (c) Parses `path` with pugixml and converts every id and property text by
// the kind that the record tables give its element. Raises std::runtime_error
// when the file does not parse.
ImportTally PugixmlImportWalk(const std::string& path);

// The element kinds of every record class, one line each, for the Python
// anchor: "<record element> <property element> <int|double|string|date|bool>"
// and "<record element> <child element> child".
std::string SchemaText();

}  // namespace tympora::bench
