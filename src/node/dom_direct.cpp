// The direct road of a parse: the one-pass check of a document of the
// common form, and the elements the record import reads in its text.
//
// The check accepts only what the parser's road (dom_check.cpp, then
// pugixml with the options of dom_parse.cpp) accepts too, and nothing whose
// tree differs from what DirectElement reads: names of pugixml's name
// characters, attributes separated by white space, text in which every '&'
// starts one of the five entities or a reference to a character XML
// allows, no "]]>" in text, comments without "--", no DOCTYPE, an XML
// declaration only at the very start. Whatever falls outside is left to the
// parser, which then accepts or refuses it with its own reason.
#include "node/dom_direct.hpp"

#include <array>
#include <cstring>
#include <vector>

#include "node/dom_internal.hpp"

namespace tympora::detail {
namespace {

// Character classes of the bytes, as pugixml's parser sees them: names
// start with a letter, '_', ':' or any byte of a multi-byte character and
// go on with those, digits, '-' and '.'.
enum : uint8_t { kSpace = 1, kNameStart = 2, kName = 4, kTextStop = 8, kValueStop = 16 };

constexpr std::array<uint8_t, 256> kClass = [] {
  std::array<uint8_t, 256> t{};
  for (unsigned char c : std::string_view(" \t\r\n")) t[c] |= kSpace;
  for (int c = 0; c < 256; ++c) {
    const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    if (letter || c == '_' || c == ':' || c >= 0x80) t[c] |= kNameStart | kName;
    if ((c >= '0' && c <= '9') || c == '-' || c == '.') t[c] |= kName;
  }
  for (unsigned char c : std::string_view("<&]")) t[c] |= kTextStop;
  for (unsigned char c : std::string_view("<&\"'")) t[c] |= kValueStop;
  return t;
}();

bool Is(char c, uint8_t cls) noexcept { return (kClass[static_cast<unsigned char>(c)] & cls) != 0; }

bool IsAllowedChar(uint32_t cp) noexcept {
  if (cp < 0x20) return cp == 0x9 || cp == 0xA || cp == 0xD;
  return cp <= 0xD7FF || (cp >= 0xE000 && cp <= 0xFFFD) || (cp >= 0x10000 && cp <= 0x10FFFF);
}

// Reads the reference whose '&' is at `at`: one of the five predefined
// entities or a character reference to a character XML allows. Stores its
// character and returns the offset after the ';', or 0 when there is no
// such reference.
size_t ReadReference(std::string_view s, size_t at, uint32_t& cp) noexcept {
  size_t i = at + 1;
  if (i < s.size() && s[i] == '#') {
    const bool hex = ++i < s.size() && s[i] == 'x';
    i += hex;
    const size_t digits = i;
    cp = 0;
    for (; i < s.size() && cp <= 0x10FFFF; ++i) {
      const char c = s[i];
      const char lower = static_cast<char>(c | 0x20);
      if (c >= '0' && c <= '9') {
        cp = cp * (hex ? 16 : 10) + static_cast<uint32_t>(c - '0');
      } else if (hex && lower >= 'a' && lower <= 'f') {
        cp = cp * 16 + static_cast<uint32_t>(lower - 'a' + 10);
      } else {
        break;
      }
    }
    const bool ok = i > digits && i < s.size() && s[i] == ';' && IsAllowedChar(cp);
    return ok ? i + 1 : 0;
  }
  static constexpr struct {
    std::string_view name;
    char c;
  } kEntities[] = {{"amp;", '&'}, {"lt;", '<'}, {"gt;", '>'}, {"apos;", '\''}, {"quot;", '"'}};
  for (const auto& e : kEntities) {
    if (s.substr(i, e.name.size()) == e.name) {
      cp = static_cast<unsigned char>(e.c);
      return i + e.name.size();
    }
  }
  return 0;
}

void AppendUtf8(std::string& out, uint32_t cp) {
  if (cp < 0x80) {
    out += static_cast<char>(cp);
    return;
  }
  char bytes[4];
  size_t n = cp < 0x800 ? 2 : cp < 0x10000 ? 3 : 4;
  for (size_t k = n; k-- > 1; cp >>= 6) bytes[k] = static_cast<char>(0x80 | (cp & 0x3F));
  bytes[0] = static_cast<char>((n == 2 ? 0xC0 : n == 3 ? 0xE0 : 0xF0) | cp);
  out.append(bytes, n);
}

// Appends `run`, a text or attribute value of a checked document, to `out`
// as the parser resolves it: references replaced, a CR LF pair or a lone CR
// made LF, and in attribute values (`attribute`) each white-space character
// made a blank (a CR LF pair one blank).
void AppendResolved(std::string_view run, bool attribute, std::string& out) {
  for (size_t i = 0; i < run.size();) {
    const char c = run[i];
    if (c == '&') {
      uint32_t cp = 0;
      const size_t next = ReadReference(run, i, cp);
      AppendUtf8(out, cp);
      i = next;
      continue;
    }
    ++i;
    if (c == '\r' && i < run.size() && run[i] == '\n') ++i;
    if (attribute && Is(c, kSpace)) {
      out += ' ';
    } else {
      out += c == '\r' ? '\n' : c;
    }
  }
}

// `run` as the parser resolves it (see AppendResolved): the run itself when
// nothing changes, else its resolution in `scratch`. A text run (not
// `attribute`) that is only white space is dropped by the parser: empty.
std::string_view Resolved(std::string_view run, bool attribute, std::string& scratch) {
  // Mostly a short run that starts with a character other than white space
  // and holds no '&' and no CR: one branch-free pass tells.
  if (!attribute && (run.empty() || Is(run[0], kSpace))) {
    bool blank = true;
    for (const char c : run) blank &= Is(c, kSpace);
    if (blank) return {};
  }
  bool special = false;
  for (const char c : run) {
    special |= (c == '&') | (c == '\r') | (attribute & ((c == '\t') | (c == '\n')));
  }
  if (!special) return run;
  scratch.clear();
  AppendResolved(run, attribute, scratch);
  return scratch;
}

// The one pass of CheckDirect. Each member reads one construct at p_ and
// moves past it, or returns false.
class Checker {
 public:
  explicit Checker(std::string_view text)
      : begin_(text.data()), end_(text.data() + text.size()), p_(begin_) {}

  bool Run(size_t& root) {
    const bool declared = Starts("<?xml") && (Is(At(5), kSpace) || At(5) == '?');
    if ((declared && !Declaration()) || !Misc()) return false;
    root = static_cast<size_t>(p_ - begin_);
    return Element() && Misc() && p_ == end_;
  }

 private:
  // The byte `k` places after p_, or NUL beyond the end (the text holds none).
  char At(size_t k) const noexcept { return k < static_cast<size_t>(end_ - p_) ? p_[k] : '\0'; }
  bool Starts(std::string_view what) const noexcept {
    return static_cast<size_t>(end_ - p_) >= what.size() &&
           std::memcmp(p_, what.data(), what.size()) == 0;
  }
  void SkipSpace() noexcept {
    while (p_ < end_ && Is(*p_, kSpace)) ++p_;
  }
  // The offset of the next `what` at or after p_, or nullptr.
  const char* Find(std::string_view what) const noexcept {
    const size_t at = std::string_view(p_, static_cast<size_t>(end_ - p_)).find(what);
    return at == std::string_view::npos ? nullptr : p_ + at;
  }
  // Moves past the next `what`; false when there is none.
  bool PassNext(std::string_view what) noexcept {
    const char* at = Find(what);
    if (at == nullptr) return false;
    p_ = at + what.size();
    return true;
  }
  // A name of pugixml's name characters at p_; empty when there is none.
  std::string_view Name() noexcept {
    const char* start = p_;
    if (p_ == end_ || !Is(*p_, kNameStart)) return {};
    while (++p_ < end_ && Is(*p_, kName)) {
    }
    return std::string_view(start, static_cast<size_t>(p_ - start));
  }

  // "<?xml" at the very start: a declaration that the parser's road takes.
  bool Declaration();
  // White space, comments and instructions, before or after the document element.
  bool Misc();
  bool Comment();
  bool Instruction();
  // The document element at p_ and everything in it, without recursion.
  bool Element();
  bool EndTag();
  // A start tag at p_ ('<' and a name start); `empty` tells "<.../>".
  bool StartTag(std::string_view& name, bool& empty);
  bool AttributeValue();
  // The reference whose '&' is at p_ (see ReadReference); stores its
  // character in `cp` when given.
  bool Reference(uint32_t* cp = nullptr) noexcept {
    uint32_t value = 0;
    const std::string_view all(begin_, static_cast<size_t>(end_ - begin_));
    const size_t next = ReadReference(all, static_cast<size_t>(p_ - begin_), value);
    if (next == 0) return false;
    p_ = begin_ + next;
    if (cp != nullptr) *cp = value;
    return true;
  }
  // Text up to the next '<'.
  bool Text();

  const char* const begin_;
  const char* const end_;
  const char* p_;
  std::vector<std::string_view> open_;  // the names of the open elements
};

bool Checker::Declaration() {
  p_ += 5;
  const char* close = Find("?>");
  if (close == nullptr) return false;
  SkipSpace();
  size_t fault = 0;
  if (p_ > close ||
      DeclarationFault(std::string_view(p_, static_cast<size_t>(close - p_)), fault) != nullptr) {
    return false;
  }
  p_ = close + 2;
  return true;
}

bool Checker::Misc() {
  for (;;) {
    SkipSpace();
    if (Starts("<!--")) {
      if (!Comment()) return false;
    } else if (Starts("<?")) {
      if (!Instruction()) return false;
    } else {
      return true;
    }
  }
}

bool Checker::Comment() {
  p_ += 4;
  const char* close = Find("-->");
  if (close == nullptr || Find("--") != close) return false;
  p_ = close + 3;
  return true;
}

bool Checker::Instruction() {
  p_ += 2;
  const std::string_view target = Name();
  const bool reserved = target.size() == 3 && (target[0] | 0x20) == 'x' &&
                        (target[1] | 0x20) == 'm' && (target[2] | 0x20) == 'l';
  if (target.empty() || reserved) return false;
  if (Starts("?>")) {
    p_ += 2;
    return true;
  }
  return Is(At(0), kSpace) && PassNext("?>");
}

bool Checker::StartTag(std::string_view& name, bool& empty) {
  ++p_;
  name = Name();
  if (name.empty()) return false;
  struct {
    const char* data;
    size_t size;
  } seen[8];  // left uninitialised: most tags have one attribute or none
  size_t count = 0;
  for (;;) {
    const bool spaced = Is(At(0), kSpace);
    SkipSpace();
    if (At(0) == '>' || (At(0) == '/' && At(1) == '>')) {
      empty = *p_ == '/';
      p_ += empty ? 2 : 1;
      return true;
    }
    const std::string_view attribute = Name();
    if (!spaced || attribute.empty() || count == std::size(seen)) return false;
    for (size_t k = 0; k < count; ++k) {
      if (std::string_view(seen[k].data, seen[k].size) == attribute) return false;
    }
    seen[count++] = {attribute.data(), attribute.size()};
    SkipSpace();
    if (At(0) != '=') return false;
    ++p_;
    SkipSpace();
    if (!AttributeValue()) return false;
  }
}

bool Checker::AttributeValue() {
  const char quote = At(0);
  if (quote != '"' && quote != '\'') return false;
  for (++p_;;) {
    while (p_ < end_ && !Is(*p_, kValueStop)) ++p_;
    const char c = At(0);
    if (c == quote) break;
    if (c == '"' || c == '\'') {
      ++p_;
    } else if (c == '&') {
      if (!Reference()) return false;
    } else {
      return false;  // '<' or the end of the text
    }
  }
  ++p_;
  const char after = At(0);
  return Is(after, kSpace) || after == '>' || after == '/';
}

bool Checker::Text() {
  const char* start = p_;
  bool blank_reference = false;  // a reference to white space
  for (;;) {
    while (p_ < end_ && !Is(*p_, kTextStop)) ++p_;
    const char c = At(0);
    if (c == '<') break;
    if (c == ']') {
      if (Starts("]]>")) return false;
      ++p_;
    } else if (c == '&') {
      uint32_t cp = 0;
      if (!Reference(&cp)) return false;
      blank_reference |= cp < 0x80 && Is(static_cast<char>(cp), kSpace);
    } else {
      return false;  // the end of the text
    }
  }
  if (!blank_reference) return true;
  // The parser's road drops such a text once resolved, unless it holds more.
  std::string resolved;
  AppendResolved(std::string_view(start, static_cast<size_t>(p_ - start)), false, resolved);
  return !IsXmlSpaceOnly(resolved);
}

bool Checker::EndTag() {
  p_ += 2;
  const std::string_view name = Name();
  if (open_.empty() || name != open_.back()) return false;
  open_.pop_back();
  SkipSpace();
  if (At(0) != '>') return false;
  ++p_;
  return true;
}

bool Checker::Element() {
  if (At(0) != '<' || !Is(At(1), kNameStart)) return false;
  for (;;) {
    if (*p_ != '<') {
      if (!Text()) return false;
      continue;  // Text stops at a '<'
    }
    const char next = At(1);
    bool ok = true;
    if (next == '/') {
      ok = EndTag();
    } else if (next == '!') {
      ok = Starts("<!--") ? Comment() : Starts("<![CDATA[") && PassNext("]]>");
    } else if (next == '?') {
      ok = Instruction();
    } else {
      std::string_view name;
      bool empty = false;
      ok = StartTag(name, empty);
      if (ok && !empty) open_.push_back(name);
    }
    if (!ok) return false;
    if (open_.empty()) return true;
    if (p_ == end_) return false;
  }
}

}  // namespace

bool CheckDirect(std::string_view text, size_t& root) noexcept {
  try {
    return Checker(text).Run(root);
  } catch (...) {
    return false;  // out of memory for the open names: the parser's road decides
  }
}

// ---- DirectElement -------------------------------------------------------

DirectElement::DirectElement(std::string_view text, size_t start) noexcept
    : text_(text), start_(start), end_(0) {
  size_t i = start + 1;
  while (Is(text_[i], kName)) ++i;
  name_end_ = i;
  // The start tag ends at the first '>' outside a quoted value.
  for (;; ++i) {
    const char c = text_[i];
    if (c == '"' || c == '\'') {
      i = text_.find(c, i + 1);
    } else if (c == '>') {
      break;
    }
  }
  tag_end_ = i + 1;
  if (text_[i - 1] == '/') end_ = tag_end_;
}

bool DirectElement::NameIs(std::string_view name) const noexcept {
  if (name.size() != name_end_ - start_ - 1) return false;
  const char* own = text_.data() + start_ + 1;
  for (size_t i = 0; i < name.size(); ++i) {
    if (own[i] != name[i]) return false;
  }
  return true;
}

std::string_view DirectElement::LocalName() const noexcept {
  const std::string_view name = text_.substr(start_ + 1, name_end_ - start_ - 1);
  const size_t colon = name.rfind(':');
  return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

bool DirectElement::Attribute(std::string_view name, std::string_view& value,
                              std::string& scratch) const {
  for (size_t i = name_end_;;) {
    while (Is(text_[i], kSpace)) ++i;
    if (text_[i] == '>' || text_[i] == '/') return false;
    const size_t name_start = i;
    while (Is(text_[i], kName)) ++i;
    const std::string_view found = text_.substr(name_start, i - name_start);
    i = text_.find_first_of("\"'", i);
    const size_t close = text_.find(text_[i], i + 1);
    if (found == name) {
      value = Resolved(text_.substr(i + 1, close - i - 1), true, scratch);
      return true;
    }
    i = close + 1;
  }
}

bool DirectElement::IsNullMarked() const {
  if (text_[name_end_] == '>') return false;  // no attribute at all
  std::string scratch;
  std::string_view value;
  return Attribute("null", value, scratch) && value == "true";
}

size_t DirectElement::NextMarkup(size_t at) const noexcept {
  if (text_[at] == '<') return at;  // no text between: the common case
  return static_cast<size_t>(
      static_cast<const char*>(std::memchr(text_.data() + at, '<', text_.size() - at)) -
      text_.data());
}

size_t DirectElement::SkipOther(size_t at) const noexcept {
  const std::string_view rest = text_.substr(at);
  if (rest.starts_with("<!--")) return text_.find("-->", at + 4) + 3;
  if (rest.starts_with("<![CDATA[")) return text_.find("]]>", at + 9) + 3;
  if (rest.starts_with("<?")) return text_.find("?>", at + 2) + 2;
  return 0;
}

size_t DirectElement::AfterEndTag(size_t at) const noexcept { return text_.find('>', at) + 1; }

size_t DirectElement::AfterOwnEndTag(size_t at) const noexcept {
  // Mostly "</name>" itself; else "</name" and white space.
  const size_t close = at + 2 + (name_end_ - start_ - 1);
  return (text_[close] == '>' ? close : text_.find('>', close)) + 1;
}

size_t DirectElement::End() const noexcept {
  if (end_ == 0) {
    for (size_t at = tag_end_, depth = 0;;) {
      at = NextMarkup(at);
      if (text_[at + 1] == '/') {
        at = AfterEndTag(at);
        if (depth-- == 0) {
          end_ = at;
          break;
        }
      } else if (const size_t after = SkipOther(at)) {
        at = after;
      } else {
        const DirectElement child(text_, at);
        depth += child.end_ == 0;
        at = child.tag_end_;
      }
    }
  }
  return end_;
}

std::string_view DirectElement::Text(std::string& scratch) const {
  if (end_ == tag_end_) return {};
  const size_t at = NextMarkup(tag_end_);
  if (text_[at + 1] == '/') {  // text alone: the common case
    end_ = AfterOwnEndTag(at);
    return Resolved(text_.substr(tag_end_, at - tag_end_), false, scratch);
  }
  scratch.clear();
  AppendContentText(tag_end_, scratch);
  return scratch;
}

void DirectElement::AppendContentText(size_t at, std::string& out) const {
  for (size_t depth = 0;;) {
    const size_t lt = NextMarkup(at);
    const std::string_view run = text_.substr(at, lt - at);
    if (!IsXmlSpaceOnly(run)) AppendResolved(run, false, out);
    if (text_[lt + 1] == '/') {
      at = AfterEndTag(lt);
      if (depth-- == 0) {
        end_ = at;
        return;
      }
    } else if (text_.substr(lt).starts_with("<![CDATA[")) {
      at = SkipOther(lt);
      // CDATA keeps white space; only its line ends are made LF.
      const std::string_view data = text_.substr(lt + 9, at - 3 - lt - 9);
      for (size_t i = 0; i < data.size(); ++i) {
        if (data[i] != '\r') {
          out += data[i];
        } else if (i + 1 == data.size() || data[i + 1] != '\n') {
          out += '\n';
        }
      }
    } else if (const size_t after = SkipOther(lt)) {
      at = after;
    } else {
      const DirectElement child(text_, lt);
      depth += child.end_ == 0;
      at = child.tag_end_;
    }
  }
}

}  // namespace tympora::detail
