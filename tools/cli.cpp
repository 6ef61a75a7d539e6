// What the subcommands of `tympora` share.
#include "cli.hpp"

#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "tree.hpp"
#include "tympora/node/conversions.hpp"
#include "tympora/node/error.hpp"

namespace tympora::cli {
namespace {

const OptionSpec* FindOption(const CommandSpec& spec, std::string_view name) {
  for (const OptionSpec& option : spec.options) {
    if (option.name == name) return &option;
  }
  return nullptr;
}

bool IsHelp(std::string_view word) { return word == "--help" || word == "-h"; }

// Reads "--name", "--name=VALUE" or "--name VALUE" starting at args[i];
// returns the index of the last word it used.
size_t ParseOption(const CommandSpec& spec, std::span<const std::string> args, size_t i,
                   Arguments& out) {
  const std::string& word = args[i];
  if (word.size() < 3 || word[1] != '-') throw UsageError("unknown option '" + word + "'");
  const size_t eq = word.find('=');
  const std::string name = word.substr(2, eq == std::string::npos ? std::string::npos : eq - 2);
  const OptionSpec* option = FindOption(spec, name);
  if (!option) throw UsageError("unknown option '--" + name + "'");
  if (option->value_name.empty()) {
    if (eq != std::string::npos) throw UsageError("option '--" + name + "' takes no value");
    out.options[name] = "";
    return i;
  }
  if (eq != std::string::npos) {
    out.options[name] = word.substr(eq + 1);
    return i;
  }
  if (i + 1 >= args.size()) {
    throw UsageError("option '--" + name + "' needs a value (" + std::string(option->value_name) +
                     ")");
  }
  out.options[name] = args[i + 1];
  return i + 1;
}

}  // namespace

std::optional<std::string> Arguments::Value(std::string_view name) const {
  auto it = options.find(name);
  if (it == options.end()) return std::nullopt;
  return it->second;
}

Arguments ParseArguments(const CommandSpec& spec, std::span<const std::string> args) {
  Arguments out;
  for (const std::string& word : args) {
    if (word == "--") break;
    if (IsHelp(word)) {
      out.help = true;
      return out;
    }
  }
  bool options_done = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& word = args[i];
    if (!options_done && word == "--") {
      options_done = true;
    } else if (!options_done && word.size() > 1 && word[0] == '-') {
      i = ParseOption(spec, args, i, out);
    } else {
      out.operands.push_back(word);
    }
  }
  if (out.operands.size() < spec.min_operands) {
    throw UsageError("missing operand (expected " + std::string(spec.operands) + ")");
  }
  if (out.operands.size() > spec.max_operands) {
    throw UsageError("unexpected operand '" + out.operands[spec.max_operands] + "'");
  }
  return out;
}

std::string HelpText(const CommandSpec& spec) {
  std::string text = "Usage: tympora " + std::string(spec.name);
  if (!spec.options.empty()) text += " [OPTIONS]";
  if (!spec.operands.empty()) text += " " + std::string(spec.operands);
  text +=
      "\n\n" + std::string(spec.summary) + "\n\n" + std::string(spec.details) + "\n\nOptions:\n";
  for (const OptionSpec& option : spec.options) {
    std::string left = "  --" + std::string(option.name);
    if (!option.value_name.empty()) left += " " + std::string(option.value_name);
    left.resize(std::max<size_t>(left.size() + 2, 22), ' ');
    text += left + std::string(option.help) + "\n";
  }
  text += "  -h, --help          show this help and exit\n";
  return text;
}

int32_t ParseCount(std::string_view text, int32_t min, int32_t max, std::string_view what) {
  int32_t value = 0;
  const char* end = text.data() + text.size();
  const auto [ptr, ec] = std::from_chars(text.data(), end, value);
  if (text.empty() || ec != std::errc() || ptr != end || value < min || value > max) {
    throw UsageError(std::string(what) + " must be a whole number from " + std::to_string(min) +
                     " to " + std::to_string(max) + ", not '" + std::string(text) + "'");
  }
  return value;
}

void ThrowIfFailed(const StatusPtr& status) {
  if (NumberOf(status) == 0) return;
  throw Error(status->Number(), status->Description(), status->Source(), status->HelpFile(),
              status->HelpContext());
}

DOMDocument LoadFile(const std::string& path) {
  DOMDocument document = DOMDocument::New();
  document.preserveWhiteSpace(false);
  if (document.load(path)) return document;
  const DOMParseError& e = document.parseError();
  std::string description = e.reason;
  if (e.line > 0) {
    description = path + ", line " + std::to_string(e.line) + ", column " +
                  std::to_string(e.linepos) + ": " + e.reason;
  } else if (e.reason.find(path) == std::string::npos) {
    description = path + ": " + e.reason;
  }
  throw Error(e.errorCode != 0 ? e.errorCode : kDomErrParse, description, kDomSource);
}

std::shared_ptr<CClients> ImportClients(const DOMDocument& document) {
  auto clients = std::make_shared<CClients>();
  DOMNode root = document.documentElement();
  ThrowIfFailed(clients->ImportXMLNode(root));
  return clients;
}

uint64_t FileSize(const std::string& path) {
  std::error_code ec;
  const auto size = std::filesystem::file_size(path, ec);
  return ec ? 0 : static_cast<uint64_t>(size);
}

std::string CountLines(const CNode& root, std::string_view indent) {
  static constexpr std::string_view kOrder[] = {"Clients",     "ClientOrPatient", "ClientAid",
                                                "TestSession", "Examination",     "Curve",
                                                "CurveDatum",  "DistortionDatum"};
  std::map<std::string, int64_t> counts = support::CountRecords(root);
  std::string out;
  auto line = [&](const std::string& name, int64_t count) {
    char buffer[96];
    std::snprintf(buffer, sizeof buffer, "%-16s %9lld\n", name.c_str(),
                  static_cast<long long>(count));
    out += std::string(indent) + buffer;
  };
  for (std::string_view name : kOrder) {
    auto it = counts.find(std::string(name));
    line(std::string(name), it == counts.end() ? 0 : it->second);
    if (it != counts.end()) counts.erase(it);
  }
  for (const auto& [name, count] : counts) line(name, count);
  return out;
}

std::string ValueText(const RecordBase& record, std::string_view element) {
  for (const PropertyDef& p : record.Info().properties) {
    if (p.element != element) continue;
    if (record.IsPropertyNull(p)) return {};
    return OneLine(ToString(record.GetProperty(p)));
  }
  return {};
}

namespace {

// The length of the UTF-8 sequence at the start of `s` and its code point;
// 0 when `s` does not start with a whole, shortest-form sequence of a
// Unicode scalar value.
size_t DecodeUtf8(std::string_view s, char32_t& point) {
  const auto byte = [&](size_t i) { return static_cast<unsigned char>(s[i]); };
  const unsigned char lead = byte(0);
  size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 0;
  if (length == 0 || lead > 0xF4 || s.size() < length) return 0;
  point = lead & (0x7F >> length);
  for (size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
    point = (point << 6) | (byte(i) & 0x3F);
  }
  static constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  if (point < kLeast[length] || point > 0x10FFFF || (point >= 0xD800 && point <= 0xDFFF)) return 0;
  return length;
}

bool IsUnsafePoint(char32_t point) {
  return (point >= 0x80 && point <= 0x9F) || (point >= 0x202A && point <= 0x202E) ||
         (point >= 0x2066 && point <= 0x2069);
}

void AppendEscape(std::string& out, const char* form, unsigned value) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, form, value);
  out += buffer;
}

}  // namespace

std::string Printable(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size();) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (c < 0x80) {
      if (c < 0x20 || c == 0x7F) {
        AppendEscape(out, "\\x%02x", c);
      } else {
        out += static_cast<char>(c);
      }
      ++i;
      continue;
    }
    char32_t point = 0;
    const size_t length = DecodeUtf8(text.substr(i), point);
    if (length == 0) {
      AppendEscape(out, "\\x%02x", c);
      ++i;
    } else if (IsUnsafePoint(point)) {
      AppendEscape(out, "\\u%04x", static_cast<unsigned>(point));
      i += length;
    } else {
      out.append(text.substr(i, length));
      i += length;
    }
  }
  return out;
}

std::string OneLine(std::string_view text) {
  std::string line(text);
  for (char& c : line) {
    if (c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f') c = ' ';
  }
  const size_t first = line.find_first_not_of(' ');
  if (first == std::string::npos) return {};
  return Printable(std::string_view(line).substr(first, line.find_last_not_of(' ') - first + 1));
}

std::string Seconds(std::chrono::steady_clock::duration elapsed) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%.2f s", std::chrono::duration<double>(elapsed).count());
  return buffer;
}

bool WantProgress(uint64_t bytes) {
  constexpr uint64_t kLargeWork = 4u << 20;
  return bytes >= kLargeWork && isatty(STDERR_FILENO) == 1;
}

Progress::Progress(std::string what, bool enabled)
    : what_(Printable(what)), start_(std::chrono::steady_clock::now()) {
  if (enabled) thread_ = std::thread([this] { Run(); });
}

Progress::~Progress() {
  if (!thread_.joinable()) return;
  {
    std::lock_guard lock(mutex_);
    done_ = true;
  }
  wake_.notify_all();
  thread_.join();
}

void Progress::Run() {
  static constexpr char kSpinner[] = "|/-\\";
  std::unique_lock lock(mutex_);
  unsigned tick = 0;
  while (!wake_.wait_for(lock, std::chrono::milliseconds(200), [&] { return done_; })) {
    std::fprintf(stderr, "\r\033[K%c %s ... %s", kSpinner[tick++ % 4], what_.c_str(),
                 Seconds(std::chrono::steady_clock::now() - start_).c_str());
    std::fflush(stderr);
  }
  if (tick > 0) {
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
  }
}

}  // namespace tympora::cli
