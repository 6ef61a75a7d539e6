// tympora validate: imports a file as the library does and lists every place
// where the import passed over something, with its line, column and rule.
// The library's import observer reports what the import itself drops; a
// walk over the document adds what the import never looks at (text between
// elements, a repeated element, a null mark on an element with text).
#include <algorithm>
#include <cctype>
#include <fstream>
#include <iostream>
#include <sstream>
#include <unordered_map>

#include "commands.hpp"
#include "tables.hpp"

using tympora::support::TableOf;
#include "tympora/node/conversions.hpp"
#include "tympora/node/import_observer.hpp"
#include "tympora/node/locale.hpp"
#include "tympora/node/node_utility.hpp"

namespace tympora::cli {
namespace {

struct Finding {
  int64_t offset;  // in the parsed text; -1 when unknown
  std::string rule;
  std::string message;
  int64_t line = 0, column = 0;
};

// Lines and columns (both from 1, columns in bytes) of offsets in the text
// the parser read.
class LineMap {
 public:
  explicit LineMap(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const size_t skip = text.starts_with("\xEF\xBB\xBF") ? 3 : 0;
    starts_.push_back(0);
    for (size_t i = skip; i < text.size(); ++i) {
      const bool cr_alone = text[i] == '\r' && (i + 1 == text.size() || text[i + 1] != '\n');
      if (text[i] == '\n' || cr_alone) starts_.push_back(static_cast<int64_t>(i + 1 - skip));
    }
  }
  void Place(Finding& f) const {
    if (f.offset < 0) return;
    const auto it = std::upper_bound(starts_.begin(), starts_.end(), f.offset) - 1;
    f.line = (it - starts_.begin()) + 1;
    f.column = f.offset - *it + 1;
  }

 private:
  std::vector<int64_t> starts_;
};

std::string Quoted(std::string_view text) { return "\"" + OneLine(text) + "\""; }

// The element name of `info` that equals `name` but for letter case, or "".
std::string_view CaseTwin(const RecordInfo& info, std::string_view name) {
  auto same = [&](std::string_view known) {
    return known.size() == name.size() &&
           std::equal(known.begin(), known.end(), name.begin(), [](char a, char b) {
             return std::tolower(static_cast<unsigned char>(a)) ==
                    std::tolower(static_cast<unsigned char>(b));
           });
  };
  for (const PropertyDef& p : info.properties) {
    if (same(p.element)) return p.element;
  }
  for (const ChildListDef& list : info.children) {
    if (same(list.element)) return list.element;
  }
  return {};
}

// The locale among a few common ones that reads `text` as a date, or "".
std::string LocaleReadingDate(std::string_view text) {
  const std::string current = CurrentLocale().name;
  std::string found;
  for (const char* name : {"C", "en_US.UTF-8", "en_GB.UTF-8", "de_DE.UTF-8", "fr_FR.UTF-8"}) {
    try {
      SetLocale(name);
    } catch (const Error&) {
      continue;  // not installed here
    }
    if (IsDateValue(text)) {
      found = name;
      break;
    }
  }
  SetLocale(current);
  return found;
}

// Collects the import's events as findings.
class Collector : public ImportObserver {
 public:
  std::vector<Finding> findings;
  // The findings of texts that are no date here, with their texts.
  std::vector<std::pair<size_t, std::string>> dates;

  void Dropped(const ImportEvent& e) override {
    const std::string where = std::string(e.name) + " in " + std::string(e.record);
    const int64_t at = e.offset > 0 ? e.offset - 1 : e.offset;  // the '<'
    switch (e.kind) {
      case ImportDrop::UnknownElement: {
        const RecordInfo* info = TableOf(e.record);
        const std::string_view twin = info ? CaseTwin(*info, e.name) : std::string_view();
        if (!twin.empty()) {
          Add(at, "letter-case",
              "<" + std::string(e.name) + "> in " + std::string(e.record) + " is written <" +
                  std::string(twin) + ">; element ignored");
        } else {
          Add(at, "unknown-element",
              "<" + std::string(e.name) + "> is not an element of " + std::string(e.record) +
                  "; ignored with everything in it");
        }
        return;
      }
      case ImportDrop::NotANumber:
        return Add(at, "not-a-number", where + ": " + Quoted(e.text) + " is not a number; dropped");
      case ImportDrop::NotADate:
        dates.emplace_back(findings.size(), std::string(e.text));
        return Add(at, "not-a-date", where + ": " + Quoted(e.text) + " is not a date; dropped");
      case ImportDrop::Rejected:
        return Add(at, "out-of-range", where + ": " + Quoted(e.text) + " is out of range; dropped");
      case ImportDrop::BadId:
        return Add(at, "bad-id",
                   "id " + Quoted(e.text) + " of " + std::string(e.record) +
                       " is not a number; the record keeps id 0");
      case ImportDrop::NullRecord:
        return Add(at, "null-record",
                   "<" + std::string(e.name) + " null=\"true\"> in " + std::string(e.record) +
                       " is skipped with everything in it");
    }
  }

  void Add(int64_t offset, std::string rule, std::string message) {
    findings.push_back({offset, std::move(rule), std::move(message)});
  }
};

// True when `text` is empty or only XML white space (blank, tab, CR, LF).
bool IsXmlSpaceOnly(std::string_view text) {
  return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

// What the import never looks at, in the record element `element` of table
// `info` and below.
void Walk(const DOMNode& element, const RecordInfo& info, Collector& out) {
  const DOMNodeList children = element.childNodes();
  std::unordered_map<std::string, int> seen;
  const int32_t n = children.length();
  for (int32_t i = 0; i < n; ++i) {
    const DOMNode child = children.item(i);
    const DOMNodeType type = child.nodeType();
    if (type == DOMNodeType::Text || type == DOMNodeType::CData) {
      const std::string text = child.text();
      if (!IsXmlSpaceOnly(text)) {
        // A text the tree keeps inside its element has no place of its own:
        // the element that follows it, or else its record, tells where.
        int64_t at = SourceOffset(child);
        if (at < 0) at = SourceOffset(i + 1 < n ? children.item(i + 1) : element) - 1;
        out.Add(at, "text-outside",
                "text " + Quoted(text.substr(0, 40)) + " between the elements of " +
                    std::string(info.node_name) + " is ignored");
      }
      continue;
    }
    if (type != DOMNodeType::Element) continue;
    const std::string name = child.baseName();
    const RecordInfo::Entry entry = info.FindElement(name);
    const int64_t at = SourceOffset(child) - 1;
    if (entry.IsProperty()) {
      if (seen[name]++ > 0) {
        out.Add(at, "duplicate",
                "<" + name + "> occurs again in " + std::string(info.node_name) +
                    "; the later one wins");
      }
      if (IsNullNode(child) && !child.text().empty()) {
        out.Add(at, "null-with-text",
                "<" + name + " null=\"true\"> holds the text " + Quoted(child.text()) +
                    ", which is ignored");
      }
    } else if (entry.IsChildList() && !IsNullNode(child)) {
      const RecordInfo* below = TableOf(name);
      if (below) Walk(child, *below, out);
    }
  }
}

std::string JsonText(std::string_view text) {
  std::string out = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += c;
    } else if (static_cast<unsigned char>(c) < 0x20) {
      char buffer[8];
      std::snprintf(buffer, sizeof buffer, "\\u%04x", c);
      out += buffer;
    } else {
      out += c;
    }
  }
  return out + "\"";
}

void Print(const std::string& path, const std::vector<Finding>& findings, int32_t status,
           const std::string& status_text, bool json) {
  std::ostringstream out;
  if (json) {
    out << "{\"file\": " << JsonText(path) << ", \"status\": " << status;
    if (status != 0) out << ", \"description\": " << JsonText(status_text);
    out << ", \"dropped\": [";
    for (size_t i = 0; i < findings.size(); ++i) {
      const Finding& f = findings[i];
      out << (i ? ",\n  " : "\n  ") << "{\"line\": " << f.line << ", \"column\": " << f.column
          << ", \"rule\": " << JsonText(f.rule) << ", \"message\": " << JsonText(f.message) << "}";
    }
    out << (findings.empty() ? "]}\n" : "\n]}\n");
  } else {
    for (const Finding& f : findings) {
      out << path << ":" << f.line << ":" << f.column << ": " << f.rule << ": " << f.message
          << "\n";
    }
    if (status != 0) out << path << ": import status " << status << ": " << status_text << "\n";
    out << path << ": "
        << (findings.empty() ? std::string("nothing dropped")
                             : std::to_string(findings.size()) + " place(s) where the import " +
                                   "dropped or ignored something")
        << "\n";
  }
  std::cout << out.str();
}

}  // namespace

const CommandSpec& ValidateSpec() {
  static const CommandSpec spec{
      .name = "validate",
      .operands = "FILE",
      .min_operands = 1,
      .max_operands = 1,
      .summary = "list every value and element that an import of a file drops",
      .details =
          "Imports FILE into a new client list as the library does and lists every\n"
          "place where the import ignored or dropped something, with its line, column\n"
          "and rule: unknown elements, texts that are no number or date, values out of\n"
          "range, unreadable ids, text between elements, repeated elements, null\n"
          "marks on elements with text, a document element other than Clients.\n"
          "Exit status 0 when nothing was dropped, 1 otherwise.",
      .options = {{"json", "", "print the findings as one JSON object"}},
  };
  return spec;
}

int RunValidate(const Arguments& args) {
  const std::string& path = args.operands[0];
  const DOMDocument document = LoadFile(path);
  DOMNode root = document.documentElement();
  Collector collector;
  if (root.baseName() != "Clients") {
    collector.Add(SourceOffset(root) - 1, "document-element",
                  "the document element is <" + root.nodeName() + ">, not <Clients>");
  }
  const auto clients = std::make_shared<CClients>();
  const StatusPtr status = ImportXMLNodeObserved(*clients, root, collector);
  for (const auto& [i, text] : collector.dates) {
    Finding& f = collector.findings[i];
    const std::string locale = LocaleReadingDate(text);
    if (!locale.empty()) {
      f.rule = "date-in-other-locale";
      f.message.replace(f.message.rfind(" is not a date"), std::string::npos,
                        " is a date in the form of " + locale + ", not of this locale; dropped");
    }
  }
  Walk(root, *TableOf("Clients"), collector);
  std::vector<Finding>& findings = collector.findings;
  std::stable_sort(findings.begin(), findings.end(),
                   [](const Finding& a, const Finding& b) { return a.offset < b.offset; });
  const LineMap lines(path);
  for (Finding& f : findings) lines.Place(f);
  const int32_t number = NumberOf(status);
  Print(path, findings, number, number ? status->Description() : "", args.Has("json"));
  return findings.empty() && number == 0 ? 0 : 1;
}

}  // namespace tympora::cli
