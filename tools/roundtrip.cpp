// tympora roundtrip: import a file into a client list and export that list
// to another file.
#include <iostream>

#include "commands.hpp"

namespace tympora::cli {

const CommandSpec& RoundtripSpec() {
  static const CommandSpec spec{
      .name = "roundtrip",
      .operands = "IN OUT",
      .min_operands = 2,
      .max_operands = 2,
      .summary = "import IN into a new client list and export it to OUT",
      .details =
          "Loads IN (whitespace-only text is dropped), imports its document element\n"
          "into a new client list and saves that list to OUT, replacing any file\n"
          "there: OUT holds the old file or the complete new one at every instant.\n"
          "When IN does not parse or its import fails, the failure is printed, OUT\n"
          "is left as it was and the exit status is 1.",
      .options = {},
  };
  return spec;
}

int RunRoundtrip(const Arguments& args) {
  const std::string& in = args.operands[0];
  const std::string& out = args.operands[1];
  const uint64_t size = FileSize(in);
  const bool progress = WantProgress(size);
  std::shared_ptr<CClients> clients;
  {
    Progress shown("importing " + in, progress);
    clients = ImportClients(LoadFile(in));
  }
  std::cout << Printable(in) << ": imported " << clients->Clients()->Count()
            << " clients, status 0\n";
  {
    Progress shown("exporting " + out, progress);
    ThrowIfFailed(clients->SaveXMLPath(out));
  }
  std::cout << Printable(out) << ": exported " << FileSize(out) << " bytes, status 0\n";
  return 0;
}

}  // namespace tympora::cli
