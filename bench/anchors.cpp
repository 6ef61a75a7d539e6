// The export and import anchors of the clinic benchmark. This is the one
// place outside the DOM adapter that uses pugixml directly: it measures
// pugixml itself.
#include "anchors.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <map>
#include <new>
#include <pugixml.hpp>
#include <stdexcept>
#include <unordered_map>
#include <vector>

#include "tympora/node/conversions.hpp"
#include "tympora/records/clients.hpp"

namespace tympora::bench {
namespace {

// ---- Reading the records through their tables -----------------------------

template <class T>
const Nullable<T>& FieldOf(const PropertyDef& p, const RecordBase& r) {
  return std::get<Nullable<T>& (*)(RecordBase&)>(p.field)(const_cast<RecordBase&>(r));
}

// The text of a property that is not Null, as the export writes it before
// escaping: strings unchanged, everything else trimmed ValueToText.
std::string_view ValueText(const RecordBase& r, const PropertyDef& p, std::string& scratch) {
  switch (p.Kind()) {
    case PropKind::String:
      return FieldOf<std::string>(p, r).Get();
    case PropKind::Int32:
      scratch = TrimText(ValueToText(FieldOf<int32_t>(p, r).Get()));
      break;
    case PropKind::Double:
      scratch = TrimText(ValueToText(FieldOf<double>(p, r).Get()));
      break;
    case PropKind::Date:
      scratch = TrimText(ValueToText(FieldOf<Date>(p, r).Get()));
      break;
    case PropKind::Bool:
      scratch = ValueToText(FieldOf<bool>(p, r).Get());
      break;
  }
  return scratch;
}

// Text that a parse without whitespace text nodes drops.
bool IsBlank(std::string_view s) {
  for (char c : s) {
    if (c != ' ' && c != '\t' && c != '\r' && c != '\n') return false;
  }
  return true;
}

// Calls f(child) for every child record of `r`, list by list, in list order.
template <class F>
void ForEachChild(const RecordBase& r, F&& f) {
  for (const ChildListDef& list : r.Info().children) {
    const NodeCollection* children = list.list(r);
    if (!children) continue;
    for (int32_t i = 1, n = children->Count(); i <= n; ++i) {
      f(static_cast<const RecordBase&>(*children->NodeItem(i)));
    }
  }
}

std::string CreatedNow() {
  const std::time_t t = std::time(nullptr);
  std::tm local{};
  localtime_r(&t, &local);
  return "document created " +
         ValueToText(MakeDate(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                              local.tm_min, local.tm_sec));
}

// Replaces the file at `path` by `text`, written in one write.
void WriteFile(const std::string& path, std::string_view text) {
  ::unlink(path.c_str());
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
  if (fd < 0) throw std::runtime_error("cannot create " + path + ": " + std::strerror(errno));
  while (!text.empty()) {
    const ssize_t n = ::write(fd, text.data(), text.size());
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      ::close(fd);
      throw std::runtime_error("cannot write " + path + ": " + std::strerror(errno));
    }
    text.remove_prefix(static_cast<size_t>(n));
  }
  ::close(fd);
}

// ---- (b) the plain text writer ----------------------------------------------

// A growing text whose storage grows by realloc: large blocks are moved by
// remapping their pages, not copied, so growth costs no more than the text.
class TextBuffer {
 public:
  TextBuffer() = default;
  TextBuffer(const TextBuffer&) = delete;
  TextBuffer& operator=(const TextBuffer&) = delete;
  ~TextBuffer() { std::free(data_); }

  void append(const char* first, const char* last) {
    append(std::string_view(first, static_cast<size_t>(last - first)));
  }
  TextBuffer& append(std::string_view s) {
    if (capacity_ - size_ < s.size()) Grow(s.size());
    std::memcpy(data_ + size_, s.data(), s.size());
    size_ += s.size();
    return *this;
  }
  void push_back(char c) { append(std::string_view(&c, 1)); }
  char& back() { return data_[size_ - 1]; }
  size_t size() const { return size_; }
  std::string_view view() const { return {data_, size_}; }

 private:
  void Grow(size_t more) {
    size_t capacity = capacity_ < 65536 ? 65536 : capacity_;
    while (capacity - size_ < more) capacity *= 2;
    void* grown = std::realloc(data_, capacity);
    if (!grown) throw std::bad_alloc();
    data_ = static_cast<char*>(grown);
    capacity_ = capacity;
  }

  char* data_ = nullptr;
  size_t size_ = 0;
  size_t capacity_ = 0;
};

void AppendEscaped(TextBuffer& out, std::string_view s) {
  const char* run = s.data();
  const char* const end = run + s.size();
  for (const char* p = run; p != end; ++p) {
    const char* replacement;
    switch (*p) {
      case '&':
        replacement = "&amp;";
        break;
      case '<':
        replacement = "&lt;";
        break;
      case '>':
        replacement = "&gt;";
        break;
      case '\r':
        replacement = "&#13;";
        break;
      default:
        continue;
    }
    out.append(run, p);
    out.append(replacement);
    run = p + 1;
  }
  out.append(run, end);
}

void AppendRecord(TextBuffer& out, const RecordBase& r, std::string& scratch) {
  const RecordInfo& info = r.Info();
  out.push_back('<');
  out.append(info.node_name);
  out.append(" id=\"").append(std::to_string(r.ID())).append("\">");
  const size_t open_end = out.size();
  for (const PropertyDef& p : info.properties) {
    out.push_back('<');
    out.append(p.element);
    if (r.IsPropertyNull(p)) {
      out.append(" null=\"true\"/>");
      continue;
    }
    const std::string_view text = ValueText(r, p, scratch);
    if (IsBlank(text)) {
      out.append("/>");
      continue;
    }
    out.push_back('>');
    AppendEscaped(out, text);
    out.append("</").append(p.element).push_back('>');
  }
  ForEachChild(r, [&](const RecordBase& child) { AppendRecord(out, child, scratch); });
  if (out.size() == open_end) {
    out.back() = '/';
    out.push_back('>');
  } else {
    out.append("</").append(info.node_name).push_back('>');
  }
}

// ---- (a) the pugixml document road ------------------------------------------

// Element names as the NUL-terminated strings that pugixml takes.
class NameCache {
 public:
  const char* operator()(std::string_view name) {
    return names_.try_emplace(name, name).first->second.c_str();
  }

 private:
  std::unordered_map<std::string_view, std::string> names_;
};

void AppendCrLf(pugi::xml_node parent) { parent.append_child(pugi::node_pcdata).set_value("\r\n"); }

pugi::xml_node BuildElement(pugi::xml_node parent, const RecordBase& r, NameCache& names,
                            std::string& scratch) {
  const RecordInfo& info = r.Info();
  pugi::xml_node e = parent.append_child(names(info.node_name));
  e.append_attribute("id").set_value(std::to_string(r.ID()).c_str());
  for (const PropertyDef& p : info.properties) {
    AppendCrLf(e);
    pugi::xml_node pe = e.append_child(names(p.element));
    if (r.IsPropertyNull(p)) {
      pe.append_attribute("null").set_value("true");
      continue;
    }
    const std::string_view text = ValueText(r, p, scratch);
    if (!text.empty()) pe.append_child(pugi::node_pcdata).set_value(text.data(), text.size());
  }
  ForEachChild(r, [&](const RecordBase& child) {
    AppendCrLf(e);
    BuildElement(e, child, names, scratch);
    AppendCrLf(e);
  });
  AppendCrLf(e);
  return e;
}

struct StringWriter final : pugi::xml_writer {
  std::string text;
  void write(const void* data, size_t size) override {
    text.append(static_cast<const char*>(data), size);
  }
};

std::string Serialise(const pugi::xml_document& doc) {
  StringWriter w;
  doc.save(w, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
  return std::move(w.text);
}

// ---- (c) the pugixml import walk ---------------------------------------------

enum class Kind { Int, Double, String, Date, Bool, Child };

struct ClassSchema {
  std::string_view name;
  struct Entry {
    Kind kind;
    const ClassSchema* child;
  };
  std::unordered_map<std::string_view, Entry> elements;
};

using SchemaMap = std::map<std::string_view, ClassSchema>;

Kind KindOf(PropKind k) {
  switch (k) {
    case PropKind::Int32:
      return Kind::Int;
    case PropKind::Double:
      return Kind::Double;
    case PropKind::String:
      return Kind::String;
    case PropKind::Date:
      return Kind::Date;
    case PropKind::Bool:
      return Kind::Bool;
  }
  return Kind::String;
}

const ClassSchema& AddClass(SchemaMap& schema, const RecordInfo& info) {
  auto [it, inserted] = schema.try_emplace(info.node_name);
  ClassSchema& cls = it->second;
  if (!inserted) return cls;
  cls.name = info.node_name;
  for (const PropertyDef& p : info.properties)
    cls.elements[p.element] = {KindOf(p.Kind()), nullptr};
  for (const ChildListDef& list : info.children) {
    const std::shared_ptr<CNode> sample = list.create();
    const ClassSchema& child = AddClass(schema, static_cast<const RecordBase&>(*sample).Info());
    cls.elements[list.element] = {Kind::Child, &child};
  }
  return cls;
}

// Every record class reachable from the client list.
const SchemaMap& Schema() {
  static const SchemaMap schema = [] {
    SchemaMap s;
    CClients root;
    AddClass(s, root.Info());
    return s;
  }();
  return schema;
}

// Days from 1 March of year 0 of the proleptic Gregorian calendar.
int64_t DaysFromCivil(int64_t y, int64_t m, int64_t d) {
  y -= m <= 2;
  const int64_t era = (y >= 0 ? y : y - 399) / 400;
  const int64_t yoe = y - era * 400;
  const int64_t doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  return era * 146097 + yoe * 365 + yoe / 4 - yoe / 100 + doy;
}

// A date of the C locale's form (yyyy-mm-dd, HH:MM:SS or both) as a day count
// from 30 December 1899.
double IsoDate(std::string_view s) {
  int v[6] = {1899, 12, 30, 0, 0, 0};
  int n = 0, at = s.find('-') == std::string_view::npos ? 3 : 0;
  for (char c : s) {
    if (c >= '0' && c <= '9') {
      v[at] = (n == 0 ? 0 : v[at]) * 10 + (c - '0');
      ++n;
    } else if (n > 0 && at < 5) {
      ++at, n = 0;
    }
  }
  const int64_t days = DaysFromCivil(v[0], v[1], v[2]) - DaysFromCivil(1899, 12, 30);
  return static_cast<double>(days) + (v[3] * 3600 + v[4] * 60 + v[5]) / 86400.0;
}

bool ContainsTrue(std::string_view s) {
  for (size_t i = 0; i + 4 <= s.size(); ++i) {
    if ((s[i] | 0x20) == 't' && (s[i + 1] | 0x20) == 'r' && (s[i + 2] | 0x20) == 'u' &&
        (s[i + 3] | 0x20) == 'e') {
      return true;
    }
  }
  return false;
}

void Convert(Kind kind, std::string_view text, ImportTally& t, std::string& sink) {
  ++t.values;
  switch (kind) {
    case Kind::Int: {
      int32_t v = 0;
      std::from_chars(text.data(), text.data() + text.size(), v);
      t.number_sum += v;
      return;
    }
    case Kind::Double: {
      double v = 0;
      std::from_chars(text.data(), text.data() + text.size(), v);
      t.number_sum += v;
      return;
    }
    case Kind::Date:
      t.number_sum += IsoDate(text);
      return;
    case Kind::Bool:
      t.number_sum += ContainsTrue(text) ? 1 : 0;
      return;
    case Kind::String:
    case Kind::Child:
      sink.assign(text);
      t.string_bytes += static_cast<int64_t>(sink.size());
      return;
  }
}

bool IsNullElement(pugi::xml_node e) {
  const pugi::xml_attribute a = e.attribute("null");
  return a && std::strcmp(a.value(), "true") == 0;
}

void Walk(pugi::xml_node e, const ClassSchema& cls, ImportTally& t, std::string& sink) {
  ++t.records;
  Convert(Kind::Int, e.attribute("id").value(), t, sink);
  for (pugi::xml_node c = e.first_child(); c; c = c.next_sibling()) {
    if (c.type() != pugi::node_element) continue;
    const auto it = cls.elements.find(c.name());
    if (it == cls.elements.end()) continue;
    const ClassSchema::Entry& entry = it->second;
    if (IsNullElement(c)) {
      t.nulls += entry.child ? 0 : 1;
    } else if (entry.child) {
      Walk(c, *entry.child, t, sink);
    } else {
      Convert(entry.kind, c.child_value(), t, sink);
    }
  }
}

void AppendDocument(TextBuffer& out, const RecordBase& root, const std::string& created) {
  out.append("<?xml version=\"1.0\"?>\r\n<!--").append(created).append("-->\r\n");
  std::string scratch;
  AppendRecord(out, root, scratch);
  out.append("\r\n");
}

}  // namespace

void PugixmlRoadExport(const RecordBase& root, const std::string& path) {
  std::string text;
  {
    pugi::xml_document doc;
    doc.append_child(pugi::node_pi).set_name("xml");
    doc.first_child().set_value("version='1.0'");
    doc.append_child(pugi::node_comment).set_value(CreatedNow().c_str());
    NameCache names;
    std::string scratch;
    BuildElement(doc, root, names, scratch);
    text = Serialise(doc);
  }
  pugi::xml_document reparsed;
  const unsigned options = pugi::parse_default | pugi::parse_declaration | pugi::parse_comments;
  if (!reparsed.load_buffer(text.data(), text.size(), options, pugi::encoding_utf8)) {
    throw std::runtime_error("the pugixml road could not parse its own text");
  }
  std::string().swap(text);
  const std::string file = Serialise(reparsed);
  reparsed.reset();
  WriteFile(path, file);
}

std::string PlainExportText(const RecordBase& root, const std::string& created) {
  TextBuffer out;
  AppendDocument(out, root, created);
  return std::string(out.view());
}

void PlainTextExport(const RecordBase& root, const std::string& path) {
  TextBuffer out;
  AppendDocument(out, root, CreatedNow());
  WriteFile(path, out.view());
}

ImportTally PugixmlImportWalk(const std::string& path) {
  pugi::xml_document doc;
  const pugi::xml_parse_result r = doc.load_file(path.c_str(), pugi::parse_default);
  if (!r) throw std::runtime_error(path + ": " + r.description());
  const pugi::xml_node root = doc.document_element();
  const SchemaMap& schema = Schema();
  const auto cls = schema.find(std::string_view(root.name()));
  if (cls == schema.end()) throw std::runtime_error(path + ": unknown root element");
  ImportTally t;
  std::string sink;
  Walk(root, cls->second, t, sink);
  return t;
}

std::string SchemaText() {
  static constexpr const char* kNames[] = {"int", "double", "string", "date", "bool", "child"};
  std::string out;
  for (const auto& [name, cls] : Schema()) {
    for (const auto& [element, entry] : cls.elements) {
      out.append(name).append(" ").append(element).append(" ");
      out.append(kNames[static_cast<int>(entry.kind)]).append("\n");
    }
  }
  return out;
}

}  // namespace tympora::bench
