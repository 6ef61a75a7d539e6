// The subcommands of `tympora`: each one's description and the function that
// runs it. A run function returns the exit status (0 on success) and raises
// the failures listed in cli.hpp.
#pragma once

#include "cli.hpp"

namespace tympora::cli {

struct Command {
  const CommandSpec& (*spec)();
  int (*run)(const Arguments& args);
};

const CommandSpec& DemoSpec();
int RunDemo(const Arguments& args);

const CommandSpec& ShowSpec();
int RunShow(const Arguments& args);

const CommandSpec& CheckSpec();
int RunCheck(const Arguments& args);

const CommandSpec& RoundtripSpec();
int RunRoundtrip(const Arguments& args);

const CommandSpec& DescribeSpec();
int RunDescribe(const Arguments& args);

}  // namespace tympora::cli
