// tympora describe: the interface description of the component.
#include <iostream>

#include "commands.hpp"
#include "tympora/component/dispatch.hpp"

namespace tympora::cli {

const CommandSpec& DescribeSpec() {
  static const CommandSpec spec{
      .name = "describe",
      .operands = "",
      .min_operands = 0,
      .max_operands = 0,
      .summary = "print the interface description of the component",
      .details =
          "Prints every class that can be created by name, every interface with its\n"
          "members (kind, parameters, result) and the status numbers, as hosts that\n"
          "bind at run time see them.",
      .options = {},
  };
  return spec;
}

int RunDescribe(const Arguments&) {
  std::cout << DescribeInterfaces();
  return 0;
}

}  // namespace tympora::cli
