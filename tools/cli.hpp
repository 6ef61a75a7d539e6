// The command-line host `tympora`: what the subcommands share. Argument
// parsing, the way failures are reported, loading and importing a file, the
// progress indicator, and small formatting helpers.
//
// Failures: a subcommand raises UsageError for a bad command line (exit
// status 2), tympora::Error for a failure with a number (printed as
// "number: description (source)", exit status 1) and CommandFailure for any
// other failure (printed as "tympora <command>: message", exit status 1).
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tympora/node/dom.hpp"
#include "tympora/node/status.hpp"
#include "tympora/records/clients.hpp"

namespace tympora::cli {

// A command line that the subcommand cannot run.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A failure that has no error number (a tree that differs, a missing client).
class CommandFailure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// One option of a subcommand, written "--name" or "--name VALUE" (also
// "--name=VALUE").
struct OptionSpec {
  std::string_view name;        // without the leading dashes
  std::string_view value_name;  // empty for an option that takes no value
  std::string_view help;
};

// The description of a subcommand, from which its help text and its parsing
// are made.
struct CommandSpec {
  std::string_view name;
  std::string_view operands;  // "FILE", "IN OUT", ""
  size_t min_operands = 0;
  size_t max_operands = 0;
  std::string_view summary;  // one line
  std::string_view details;  // the paragraph shown by --help
  std::vector<OptionSpec> options;
};

// A parsed command line: the operands in order and the options given (the
// last value wins when an option is repeated).
struct Arguments {
  std::vector<std::string> operands;
  std::map<std::string, std::string, std::less<>> options;
  bool help = false;

  // True when the option `name` was given.
  bool Has(std::string_view name) const { return options.find(name) != options.end(); }
  // The value of option `name`, or nullopt when it was not given.
  std::optional<std::string> Value(std::string_view name) const;
};

// Parses `args` (the words after the subcommand) against `spec`. "--help" or
// "-h" anywhere sets `help` and skips every other check; "--" ends the
// options. Raises UsageError for an unknown option, a missing or unexpected
// value, and too few or too many operands.
Arguments ParseArguments(const CommandSpec& spec, std::span<const std::string> args);

// The help text of a subcommand, ending with a newline.
std::string HelpText(const CommandSpec& spec);

// `text` as a whole decimal number from `min` to `max`. Raises UsageError,
// naming `what`, for anything else.
int32_t ParseCount(std::string_view text, int32_t min, int32_t max, std::string_view what);

// Raises the failure that `status` holds as a tympora::Error; does nothing
// for an absent status or Number 0.
void ThrowIfFailed(const StatusPtr& status);

// The status's number, 0 for an absent status.
inline int32_t NumberOf(const StatusPtr& status) { return status ? status->Number() : 0; }

// Loads the file at `path` into a new document without whitespace-only text
// nodes. A file that cannot be read or parsed raises the parser's error
// number with the reason, line and column in the description.
DOMDocument LoadFile(const std::string& path);

// Imports the document element of `document` into a new CClients and raises
// the import's status when it is not 0.
std::shared_ptr<CClients> ImportClients(const DOMDocument& document);

// The size in bytes of the file at `path`, or 0 when it cannot be read.
uint64_t FileSize(const std::string& path);

// Record counts in tree order ("Clients 1", "ClientOrPatient 300" ...), one
// per line, each line starting with `indent`.
std::string CountLines(const CNode& root, std::string_view indent);

// `text` made safe to print on a terminal: control characters (C0, DEL, C1),
// the bidirectional embeddings, overrides and isolates (U+202A-U+202E,
// U+2066-U+2069) and bytes that are not UTF-8 are written as escapes
// ("\x1b", "\u202e"); everything else is kept.
std::string Printable(std::string_view text);

// A text as one line a person can read: tabs, line and page breaks become
// blanks, blanks at both ends are removed, and the rest is made Printable.
std::string OneLine(std::string_view text);

// The value of `record`'s property written as `element`, as one line of
// text (OneLine); the empty text when it is Null or there is no such property.
std::string ValueText(const RecordBase& record, std::string_view element);

// Seconds as "0.42 s".
std::string Seconds(std::chrono::steady_clock::duration elapsed);

// True when work of `bytes` deserves a progress indicator: stderr is a
// terminal and the work is a few megabytes or more.
bool WantProgress(uint64_t bytes);

// While alive, shows on stderr what is being done and for how long, redrawn a
// few times a second on one terminal line; clears the line when it ends. Does
// nothing when not `enabled`.
class Progress {
 public:
  Progress(std::string what, bool enabled);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

 private:
  void Run();

  std::string what_;
  std::chrono::steady_clock::time_point start_;
  std::mutex mutex_;
  std::condition_variable wake_;
  bool done_ = false;
  std::thread thread_;
};

}  // namespace tympora::cli
