// tympora: the command-line host of the Tympora library. Dispatches to the
// subcommands and turns their failures into messages and exit statuses:
// 0 success, 1 failure, 2 a command line that cannot be run.
#include <cstdio>
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include "commands.hpp"
#include "tympora/node/error.hpp"

namespace tympora::cli {
namespace {

constexpr Command kCommands[] = {
    {DemoSpec, RunDemo},         {ShowSpec, RunShow},
    {CheckSpec, RunCheck},       {RoundtripSpec, RunRoundtrip},
    {DescribeSpec, RunDescribe}, {ValidateSpec, RunValidate},
    {SchemaSpec, RunSchema},     {DiffSpec, RunDiff},
    {PlotSpec, RunPlot},         {CsvSpec, RunCsv},
};

const Command* FindCommand(std::string_view name) {
  for (const Command& command : kCommands) {
    if (command.spec().name == name) return &command;
  }
  return nullptr;
}

std::string MainHelp() {
  std::string text =
      "Usage: tympora COMMAND [OPTIONS] [OPERANDS]\n\n"
      "The command-line host of Tympora: builds, exports, imports and inspects\n"
      "hearing-instrument record files.\n\nCommands:\n";
  for (const Command& command : kCommands) {
    std::string name = "  " + std::string(command.spec().name);
    name.resize(14, ' ');
    text += name + std::string(command.spec().summary) + "\n";
  }
  text +=
      "\nOptions:\n  -h, --help    show this help (or 'tympora COMMAND --help') and exit\n"
      "  --version     print the version and exit\n\n"
      "Exit status: 0 on success, 1 on a failure, 2 on a usage error. Failures are\n"
      "written to stderr as 'number: description (source)'.\n";
  return text;
}

int UsageFailure(std::string_view command, const std::string& message) {
  const std::string who = command.empty() ? "tympora" : "tympora " + std::string(command);
  std::cerr << who << ": " << Printable(message) << "\nTry '" << who << " --help'.\n";
  return 2;
}

void PrintError(int32_t number, const std::string& description, const std::string& source) {
  std::cerr << number << ": " << Printable(description) << " (" << Printable(source) << ")\n";
}

int Run(const Command& command, const std::vector<std::string>& words) {
  const CommandSpec& spec = command.spec();
  try {
    const Arguments args = ParseArguments(spec, std::span(words).subspan(1));
    if (args.help) {
      std::cout << HelpText(spec);
      return 0;
    }
    return command.run(args);
  } catch (const UsageError& e) {
    return UsageFailure(spec.name, e.what());
  } catch (const Error& e) {
    PrintError(e.Number(), e.Description(), e.Source());
  } catch (const CommandFailure& e) {
    std::cerr << "tympora " << spec.name << ": " << Printable(e.what()) << "\n";
  } catch (const std::bad_alloc&) {
    PrintError(kErrOutOfMemory, PlatformErrorText(kErrOutOfMemory), "tympora");
  } catch (const std::exception& e) {
    PrintError(kErrInternal, std::string(PlatformErrorText(kErrInternal)) + ": " + e.what(),
               "tympora");
  }
  return 1;
}

int Main(const std::vector<std::string>& words) {
  if (words.empty()) return UsageFailure({}, "missing command");
  const std::string& first = words[0];
  if (first == "--help" || first == "-h" || first == "help") {
    const Command* command = words.size() > 1 ? FindCommand(words[1]) : nullptr;
    if (words.size() > 1 && !command) return UsageFailure({}, "unknown command '" + words[1] + "'");
    std::cout << (command ? HelpText(command->spec()) : MainHelp());
    return 0;
  }
  if (first == "--version") {
    std::cout << "tympora " << TYMPORA_VERSION << "\n";
    return 0;
  }
  const Command* command = FindCommand(first);
  if (!command) {
    return UsageFailure(
        {}, (first.starts_with("-") ? "unknown option '" : "unknown command '") + first + "'");
  }
  return Run(*command, words);
}

}  // namespace
}  // namespace tympora::cli

int main(int argc, char** argv) {
  const std::vector<std::string> words(argv + 1, argv + argc);
  int status = tympora::cli::Main(words);
  if (!std::cout.flush() || std::fflush(stdout) != 0) {
    std::cerr << "tympora: cannot write the output\n";
    status = 1;
  }
  return status;
}
