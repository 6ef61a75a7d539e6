// The many-small-files case of the clinic benchmark: what most hosts do, one
// client per file, each file about 50 KB.
#pragma once

#include <memory>
#include <string>

#include "measure.hpp"
#include "report.hpp"
#include "tympora/records/clients.hpp"

namespace tympora::bench {

struct SmallFilesOptions {
  int files = 2000;
  int runs = 3;
  double budget = 20;  // seconds of timed runs per operation, at most
  Clock clock = Clock::Cpu;
  std::string dir;  // where a private folder for the files is made
};

// Raises std::runtime_error naming `what` when `status` is present and not 0.
void Require(const StatusPtr& status, const char* what);

// The import of the file at `path` into a new client list: DOMDocument::load
// plus ImportXMLNode. Raises std::runtime_error when either fails.
std::shared_ptr<CClients> LoadAndImport(const std::string& path);

// Builds `o.files` client lists of one client each, then times over all of
// them at once: ExportXMLPath and anchor (a) writing one file each, (e) the
// file system alone deleting, creating and writing the same bytes, the
// import (load + ImportXMLNode), ImportXMLFile and anchor (c) reading them.
// Checks that every import gives back its tree. Prints a Markdown table with
// files/s and MB/s, each road's MB/s against `largest` (the last clinic
// measured; ignored when it has no file), and the time per file that the
// export's target leaves beside what (e) takes of it. Returns false when a
// check failed.
bool RunSmallFiles(const SmallFilesOptions& o, const SizeResult* largest);

}  // namespace tympora::bench
