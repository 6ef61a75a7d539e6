// Writing record trees as document text without a DOM. Every rule here
// mirrors a step of the document road: property elements as
// CreatePropertyElement builds them, the CR LF text nodes and text nodes of
// blanks only dropped by the second parse, and the serialiser's escaping.
#include "node/record_writer.hpp"

#include <cmath>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "node/dom_internal.hpp"
#include "node/number_text.hpp"
#include "node/record_table.hpp"
#include "tympora/node/conversions.hpp"

namespace tympora::detail {
namespace {

using table::FieldOf;

// A text node that the second parse drops: empty, or blanks, tabs, CR and LF only.
bool IsBlank(std::string_view s) noexcept {
  for (char c : s) {
    if (c != ' ' && c != '\t' && c != '\r' && c != '\n') return false;
  }
  return true;
}

void AppendEscaped(TextBuffer& out, std::string_view s) {
  CheckXmlText(s);
  const char* run = s.data();
  const char* const end = run + s.size();
  for (const char* p = run; p != end; ++p) {
    const char* replacement = TextEscapeOf(static_cast<unsigned char>(*p));
    if (replacement == nullptr) continue;
    out.Append(std::string_view(run, static_cast<size_t>(p - run)));
    out.Append(replacement);
    run = p + 1;
  }
  out.Append(std::string_view(run, static_cast<size_t>(end - run)));
}

// The element text of a property that is not Null, as CreatePropertyElement
// makes it: strings untrimmed, every other value TrimText(ValueToText(v)).
void PropertyText(const PropertyDef& p, const RecordBase& r, std::string& text) {
  text.clear();
  switch (p.Kind()) {
    case PropKind::Int32:
      text = std::to_string(FieldOf<int32_t>(p, r).Get());
      return;
    case PropKind::Double: {
      const double v = FieldOf<double>(p, r).Get();
      if (!std::isfinite(v)) RaisePlatformError(kErrOverflow);
      if (v < 0) text += '-';
      AppendMagnitude(text, std::fabs(v), ".", false);
      return;
    }
    case PropKind::String:
      text = FieldOf<std::string>(p, r).Get();
      return;
    case PropKind::Date:
      text = TrimText(ValueToText(FieldOf<Date>(p, r).Get()));
      return;
    case PropKind::Bool:
      text = FieldOf<bool>(p, r).Get() ? "True" : "False";
      return;
  }
}

void AppendProperty(TextBuffer& out, const PropertyDef& p, const RecordBase& r,
                    std::string& scratch) {
  out.Append('<');
  out.Append(p.element);
  if (r.IsPropertyNull(p)) {
    out.Append(" null=\"true\"/>");
    return;
  }
  const std::string_view text = p.Kind() == PropKind::String
                                    ? std::string_view(FieldOf<std::string>(p, r).Get())
                                    : (PropertyText(p, r, scratch), std::string_view(scratch));
  if (IsBlank(text)) {
    out.Append("/>");
    return;
  }
  out.Append('>');
  AppendEscaped(out, text);
  out.Append("</");
  out.Append(p.element);
  out.Append('>');
}

bool HasChildren(const RecordBase& r) {
  const RecordInfo& info = r.Info();
  if (!info.properties.empty()) return true;
  for (const ChildListDef& list : info.children) {
    const NodeCollection* children = list.list(r);
    if (children && children->Count() > 0) return true;
  }
  return false;
}

// One open element of the iterative walk: the record and the position of
// the next child to write (list index, then 1-based position).
struct Frame {
  const RecordBase* record;
  size_t list = 0;
  int32_t position = 1;
};

void OpenRecord(TextBuffer& out, const RecordBase& r, std::string& scratch) {
  const RecordInfo& info = r.Info();
  out.Append('<');
  out.Append(info.node_name);
  out.Append(" id=\"");
  out.Append(std::to_string(r.ID()));
  out.Append('"');
  if (!HasChildren(r)) {
    out.Append("/>");
    return;
  }
  out.Append('>');
  for (const PropertyDef& p : info.properties) AppendProperty(out, p, r, scratch);
}

}  // namespace

TextBuffer::~TextBuffer() { std::free(data_); }

void TextBuffer::Grow(size_t more) {
  size_t capacity = capacity_ < 4096 ? 4096 : capacity_;
  while (capacity < size_ + more) capacity *= 2;
  void* grown = std::realloc(data_, capacity);
  if (grown == nullptr) throw std::bad_alloc();
  data_ = static_cast<char*>(grown);
  capacity_ = capacity;
}

void AppendRecordDocument(TextBuffer& out, const RecordBase& record, std::string_view date_text) {
  out.Append("<?xml version=\"1.0\"?>\r\n<!--document created ");
  CheckXmlText(date_text);
  out.Append(date_text);
  out.Append("-->\r\n");

  // Iterative, so that no depth of tree can exhaust the stack.
  std::string scratch;
  std::vector<Frame> stack;
  OpenRecord(out, record, scratch);
  if (HasChildren(record)) stack.push_back({&record});
  while (!stack.empty()) {
    Frame& top = stack.back();
    const std::vector<ChildListDef>& lists = top.record->Info().children;
    const NodeCollection* children = nullptr;
    while (top.list < lists.size()) {
      children = lists[top.list].list(*top.record);
      if (children && top.position <= children->Count()) break;
      ++top.list;
      top.position = 1;
    }
    if (top.list == lists.size()) {
      out.Append("</");
      out.Append(top.record->Info().node_name);
      out.Append('>');
      stack.pop_back();
      continue;
    }
    const RecordBase* child = AsLibraryRecord(*children->NodeItem(top.position++));
    if (!child) RaisePlatformError(kErrTypeMismatch, "a node of a host's class");
    OpenRecord(out, *child, scratch);
    if (HasChildren(*child)) stack.push_back({child});
  }
  out.Append("\r\n");
}

}  // namespace tympora::detail
