// Writing record trees as document text without a DOM. Every rule here
// mirrors a step of the document road: property elements as
// CreatePropertyElement builds them, the CR LF text nodes and text nodes of
// blanks only dropped by the second parse, and the serialiser's escaping.
#include "node/record_writer.hpp"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

#include "node/dom_internal.hpp"
#include "node/number_text.hpp"
#include "tympora/node/conversions.hpp"

namespace tympora::detail {
namespace {

// Appends `s` escaped as the serialiser escapes text, checking it in the same
// pass: ASCII is checked byte by byte, and from the first other byte on the
// rest is checked as UTF-8. Raises 1002 for a text that XML cannot carry.
void AppendEscaped(TextBuffer& out, std::string_view s) {
  const char* run = s.data();
  const char* const end = run + s.size();
  const char* wide = nullptr;  // the first byte beyond ASCII
  for (const char* p = run; p != end; ++p) {
    const auto c = static_cast<unsigned char>(*p);
    if (c >= 0x80) {
      if (wide == nullptr) wide = p;
      continue;
    }
    if (c < 0x20 && c != '\t' && c != '\n' && c != '\r') RaiseInvalidText(s);
    const char* replacement = TextEscapeOf(c);
    if (replacement == nullptr) continue;
    out.Append(std::string_view(run, static_cast<size_t>(p - run)));
    out.Append(replacement);
    run = p + 1;
  }
  out.Append(std::string_view(run, static_cast<size_t>(end - run)));
  if (wide != nullptr && !IsXmlText(std::string_view(wide, static_cast<size_t>(end - wide)))) {
    RaiseInvalidText(s);
  }
}

// A text element as CreatePropertyElement makes it: a text of blanks only
// is dropped by the second parse and leaves an empty element.
void AppendTextElement(TextBuffer& out, const RecordInfo::ElementForms& forms,
                       std::string_view text) {
  if (IsXmlSpaceOnly(text)) {  // a text the second parse drops
    out.AppendForm(forms.empty);
    return;
  }
  out.AppendForm(forms.open);
  AppendEscaped(out, text);
  out.AppendForm(forms.close);
}

// The most bytes of a number's text: a sign and the magnitude.
constexpr size_t kNumberChars = 1 + kMagnitudeChars;

// A property element that is not Null, as CreatePropertyElement makes it:
// strings untrimmed, every other value TrimText(ValueToText(v)). Numbers are
// written in place and never need escaping.
template <class T>
void AppendValue(TextBuffer& out, const RecordInfo::ElementForms& forms, const T& value) {
  if constexpr (std::is_same_v<T, std::string>) {
    AppendTextElement(out, forms, value);
  } else if constexpr (std::is_same_v<T, Date>) {
    AppendTextElement(out, forms, TrimText(ValueToText(value)));
  } else if constexpr (std::is_same_v<T, bool>) {
    out.AppendForm(forms.open);
    out.Append(value ? std::string_view("True") : std::string_view("False"));
    out.AppendForm(forms.close);
  } else {
    if constexpr (std::is_same_v<T, double>) {
      if (!std::isfinite(value)) RaisePlatformError(kErrOverflow);
    }
    out.AppendForm(forms.open);
    char* const start = out.Reserve(kNumberChars);
    char* p = start;
    if constexpr (std::is_same_v<T, double>) {
      if (value < 0) *p++ = '-';
      p = WriteMagnitude(p, std::fabs(value), false);
    } else {
      p = std::to_chars(p, start + kNumberChars, value).ptr;
    }
    out.Commit(p);
    out.AppendForm(forms.close);
  }
}

void AppendProperty(TextBuffer& out, const PropertyDef& p, const RecordInfo::ElementForms& forms,
                    const RecordBase& r) {
  std::visit(
      [&](auto access) {
        const auto& field = access(const_cast<RecordBase&>(r));
        if (field.IsNull()) {
          out.AppendForm(forms.null_value);
        } else {
          AppendValue(out, forms, field.Get());
        }
      },
      p.field);
}

bool HasChildren(const RecordBase& r, const RecordInfo& info) {
  if (!info.properties.empty()) return true;
  for (const ChildListDef& list : info.children) {
    const NodeCollection* children = list.list(r);
    if (children && children->Count() > 0) return true;
  }
  return false;
}

// One open element of the iterative walk: the record, its table and the
// position of the next child to write (list index, then 1-based position).
struct Frame {
  const RecordBase* record;
  const RecordInfo* info;
  size_t list = 0;
  int32_t position = 1;
};

// Writes the start of the record's element with its property elements, or
// the whole element when it holds nothing; true when children may follow.
bool OpenRecord(TextBuffer& out, const RecordBase& r, const RecordInfo& info) {
  out.AppendForm(info.RecordOpen());
  char* const start = out.Reserve(kNumberChars);
  out.Commit(std::to_chars(start, start + kNumberChars, r.ID()).ptr);
  out.Append('"');
  if (!HasChildren(r, info)) {
    out.Append("/>");
    return false;
  }
  out.Append('>');
  const std::vector<RecordInfo::ElementForms>& forms = info.Forms();
  for (size_t i = 0; i < info.properties.size(); ++i) {
    AppendProperty(out, info.properties[i], forms[i], r);
  }
  return true;
}

}  // namespace

TextBuffer::~TextBuffer() { std::free(data_); }

void TextBuffer::Grow(size_t more) {
  if (sink_ && size_ > 0 && size_ + more > limit_) {
    sink_(View());
    size_ = 0;
    if (more <= capacity_) return;
  }
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
  std::vector<Frame> stack;
  if (OpenRecord(out, record, record.Info())) stack.push_back({&record, &record.Info()});
  while (!stack.empty()) {
    Frame& top = stack.back();
    const std::vector<ChildListDef>& lists = top.info->children;
    const NodeCollection* children = nullptr;
    while (top.list < lists.size()) {
      children = lists[top.list].list(*top.record);
      if (children && top.position <= children->Count()) break;
      ++top.list;
      top.position = 1;
    }
    if (top.list == lists.size()) {
      out.AppendForm(top.info->RecordClose());
      stack.pop_back();
      continue;
    }
    // The lists of the library's classes hold records of its final classes.
    const auto& child = static_cast<const RecordBase&>(children->NodeRef(top.position++));
    // The next sibling is fetched into the cache while this one is written.
    if (top.position <= children->Count()) {
      const auto* next = reinterpret_cast<const char*>(&children->NodeRef(top.position));
      __builtin_prefetch(next);
      __builtin_prefetch(next + 64);
    }
    const RecordInfo& info = child.Info();
    if (OpenRecord(out, child, info)) stack.push_back({&child, &info});
  }
  out.Append("\r\n");
}

}  // namespace tympora::detail
