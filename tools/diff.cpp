// tympora diff: the record-level differences between two files.
#include <iostream>

#include "commands.hpp"
#include "tympora/node/compare.hpp"

namespace tympora::cli {

const CommandSpec& DiffSpec() {
  static const CommandSpec spec{
      .name = "diff",
      .operands = "A B",
      .min_operands = 2,
      .max_operands = 2,
      .summary = "list the records and values in which two files differ",
      .details =
          "Imports A and B into two client lists and prints every difference, one per\n"
          "line: a value that differs (Clients/ClientOrPatient[42]/ClientAid[6]/\n"
          "HearingAidModel: \"BTE 200\" -> \"BTE 300\"), a record that only one file has\n"
          "(added, removed), a list whose records come in another order. Records are\n"
          "matched by their id. Exit status 0 when the files hold the same records,\n"
          "1 when they differ.",
      .options = {},
  };
  return spec;
}

int RunDiff(const Arguments& args) {
  const auto a = ImportClients(LoadFile(args.operands[0]));
  const auto b = ImportClients(LoadFile(args.operands[1]));
  const std::vector<RecordDifference> differences = CompareRecords(*a, *b);
  std::string out;
  for (const RecordDifference& d : differences) out += d.Text() + "\n";
  if (differences.empty()) out = "the two files hold the same records\n";
  std::cout << out;
  return differences.empty() ? 0 : 1;
}

}  // namespace tympora::cli
