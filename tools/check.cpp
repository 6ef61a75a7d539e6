// tympora check: does a file parse, and does it import into a client list?
#include <iostream>

#include "commands.hpp"

namespace tympora::cli {

const CommandSpec& CheckSpec() {
  static const CommandSpec spec{
      .name = "check",
      .operands = "FILE",
      .min_operands = 1,
      .max_operands = 1,
      .summary = "parse and import a file, print the status",
      .details =
          "Loads FILE as XML and imports its document element into a new client list.\n"
          "Prints the record counts and the status 0 when both succeed. A file that\n"
          "does not parse is reported with the parser's reason, line and column; a\n"
          "failing import with its status (457 for a duplicate id, for instance).",
      .options = {},
  };
  return spec;
}

int RunCheck(const Arguments& args) {
  const std::string& path = args.operands[0];
  const uint64_t size = FileSize(path);
  const bool progress = WantProgress(size);
  DOMDocument document;
  {
    Progress shown("parsing " + path, progress);
    document = LoadFile(path);
  }
  const DOMNode root = document.documentElement();
  std::cout << Printable(path) << ": well-formed XML, " << size << " bytes, document element "
            << (root ? "\"" + Printable(root.nodeName()) + "\"" : "(none)") << "\n";
  std::shared_ptr<CClients> clients;
  {
    Progress shown("importing " + path, progress);
    clients = ImportClients(document);
  }
  std::cout << "records:\n" << CountLines(*clients, "  ") << "status: 0\n";
  return 0;
}

}  // namespace tympora::cli
