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

const CommandSpec& ValidateSpec();
int RunValidate(const Arguments& args);

const CommandSpec& DiffSpec();
int RunDiff(const Arguments& args);

const CommandSpec& CsvSpec();
int RunCsv(const Arguments& args);

const CommandSpec& SchemaSpec();
int RunSchema(const Arguments& args);

const CommandSpec& PlotSpec();
int RunPlot(const Arguments& args);

}  // namespace tympora::cli
