// The record tables as the file format sees them: every record element name
// with its class's table, reached from the client list down.
#pragma once

#include <string_view>
#include <vector>

#include "tympora/node/record.hpp"

namespace tympora::support {

// Every record table, the client list's first, then each list's children in
// tree order; the records that no list holds (the speech-map point) last.
const std::vector<const RecordInfo*>& RecordTables();

// The table of the record written as `element`, or nullptr.
const RecordInfo* TableOf(std::string_view element);

// The property of `info` written as `element`, or nullptr.
const PropertyDef* PropertyOf(const RecordInfo& info, std::string_view element);

// The name that `kind` has in the file format's documentation and schema.
std::string_view KindName(PropKind kind);

}  // namespace tympora::support
