// Checks of a document's text before it is parsed.
//
// pugixml takes any byte as text and resolves any character reference: a
// control character, U+FFFF, &#1; or &#xD800; would enter the tree, and
// &#0; would silently cut the text short. It also takes markup that XML 1.0
// calls not well-formed: a bare '&', '<' in an attribute value, "]]>" in
// text, "--" in a comment, an attribute twice in one tag, a declaration
// with a bad version. A tree that held one could not be trusted or written
// again, so the parse refuses them here, with the position of the fault.
// The scan reads the markup only as far as it must; what it does not
// understand it leaves to pugixml, which refuses it.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <vector>

#include "node/dom_check.hpp"
#include "node/dom_internal.hpp"

namespace tympora::detail {
namespace {

bool IsAllowed(uint32_t cp) noexcept {
  if (cp < 0x20) return cp == 0x9 || cp == 0xA || cp == 0xD;
  return cp <= 0xD7FF || (cp >= 0xE000 && cp <= 0xFFFD) || (cp >= 0x10000 && cp <= 0x10FFFF);
}

// The code point of the UTF-8 sequence at `i`, and its length. The text is
// valid UTF-8 (the decoder made sure), so the lead byte tells the length.
uint32_t CodePointAt(std::string_view s, size_t i, size_t& length) noexcept {
  const auto byte = [&](size_t k) {
    return k < s.size() ? static_cast<uint32_t>(static_cast<unsigned char>(s[k])) : 0u;
  };
  const uint32_t lead = byte(i);
  length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  if (length == 1) return lead;
  uint32_t cp = lead & (0x7Fu >> length);
  for (size_t k = 1; k < length; ++k) cp = (cp << 6) | (byte(i + k) & 0x3F);
  return cp;
}

bool Fault(std::string& reason, int64_t& offset, size_t at, const char* what, uint32_t cp) {
  char text[80];
  std::snprintf(text, sizeof text, what, static_cast<unsigned>(cp));
  reason = text;
  offset = static_cast<int64_t>(at);
  return false;
}

// Finds the first raw character that XML does not allow; the text is known
// to hold one.
bool LocateRawFault(std::string_view text, std::string& reason, int64_t& offset) {
  for (size_t i = 0, length = 1; i < text.size(); i += length) {
    const uint32_t cp = CodePointAt(text, i, length);
    if (!IsAllowed(cp)) return Fault(reason, offset, i, "Invalid character U+%04X in the text", cp);
  }
  return Fault(reason, offset, 0, "Invalid character in the text", 0);
}

// Reads the reference "&#..." at `at`: its value, and the offset after it.
// False when it is incomplete (no digit, or no closing ';').
bool ReadReference(std::string_view text, size_t at, size_t& next, uint32_t& value) noexcept {
  size_t i = at + 2;
  const bool hex = i < text.size() && text[i] == 'x';
  if (hex) ++i;
  const size_t digits_start = i;
  value = 0;
  for (; i < text.size(); ++i) {
    const char c = text[i];
    uint32_t digit;
    if (c >= '0' && c <= '9') {
      digit = static_cast<uint32_t>(c - '0');
    } else if (hex && ((c | 0x20) >= 'a' && (c | 0x20) <= 'f')) {
      digit = static_cast<uint32_t>((c | 0x20) - 'a' + 10);
    } else {
      break;
    }
    value = value > 0x10FFFF ? value : value * (hex ? 16 : 10) + digit;
  }
  if (i == digits_start || i == text.size() || text[i] != ';') return false;
  next = i + 1;
  return true;
}

// Checks the reference "&#..." at `at`; returns the offset after it.
bool CheckReference(std::string_view text, size_t at, size_t& next, std::string& reason,
                    int64_t& offset) {
  uint32_t value = 0;
  if (!ReadReference(text, at, next, value)) {
    return Fault(reason, offset, at, "Incomplete character reference", 0);
  }
  if (!IsAllowed(value)) {
    return Fault(reason, offset, at,
                 value > 0x10FFFF ? "Character reference beyond U+10FFFF"
                                  : "Character reference to U+%04X, which XML does not allow",
                 value);
  }
  return true;
}

// True when the run of text holding the reference [at, next) is blank once
// resolved: from the last '>' before it (not looking below `floor`) to the
// next '<', only white space and references to white space. `end` receives
// an offset up to which later references lie in the same run, so that no
// text is looked at twice; it never passes a '<' or '>' after the reference.
bool BlankAround(std::string_view text, size_t at, size_t next, size_t floor,
                 size_t& end) noexcept {
  const char* const data = text.data();
  const void* gt = ::memrchr(data + floor, '>', at - floor);
  size_t i = gt ? static_cast<size_t>(static_cast<const char*>(gt) - data) + 1 : floor;
  while (i < text.size()) {
    uint32_t value = 0;
    if (IsXmlSpace(static_cast<unsigned char>(text[i]))) {
      ++i;
    } else if (text.substr(i, 2) != "&#" || !ReadReference(text, i, i, value) ||
               !IsXmlSpace(value)) {
      break;
    }
  }
  // `i`: the first character that is neither white space nor a reference
  // to it.
  if (i >= next) {
    end = i;
    return i == text.size() || text[i] == '<';
  }
  end = std::min(text.size(), text.find_first_of("<>", next));
  return false;
}

// Finds the next '&', '<' or ']' at or after a position. It keeps one
// memchr cursor per character, each moved only once it falls behind, so a
// whole text costs three linear scans (find_first_of tests every byte
// against the set, several times slower).
class MarkupCursor {
 public:
  explicit MarkupCursor(std::string_view text) : text_(text) {
    for (size_t k = 0; k < kChars.size(); ++k) next_[k] = Find(kChars[k], 0);
  }
  size_t Next(size_t from) {
    size_t best = std::string_view::npos;
    for (size_t k = 0; k < kChars.size(); ++k) {
      if (next_[k] < from) next_[k] = Find(kChars[k], from);
      best = std::min(best, next_[k]);
    }
    return best;
  }

 private:
  static constexpr std::string_view kChars = "&<]";
  size_t Find(char c, size_t from) const {
    if (from >= text_.size()) return std::string_view::npos;
    const void* hit = std::memchr(text_.data() + from, c, text_.size() - from);
    return hit ? static_cast<size_t>(static_cast<const char*>(hit) - text_.data())
               : std::string_view::npos;
  }
  std::string_view text_;
  size_t next_[3];  // the next of each at or after the last position; npos: none left
};

bool IsPredefinedEntity(std::string_view name) noexcept {
  return name == "amp" || name == "lt" || name == "gt" || name == "apos" || name == "quot";
}

// The name of a tag or attribute ends at white space or markup; a table,
// since every tag's name is read.
constexpr std::array<bool, 256> kEndsName = [] {
  std::array<bool, 256> t{};
  for (unsigned char c : std::string_view(" \t\r\n=>/<\"'&;?")) t[c] = true;
  return t;
}();

bool EndsName(char c) noexcept { return kEndsName[static_cast<unsigned char>(c)]; }

// One pass over a document's text.
class Scanner {
 public:
  Scanner(std::string_view text, std::string& reason, int64_t& offset, bool& blank_text)
      : text_(text), reason_(reason), offset_(offset), blank_text_(blank_text) {}

  bool Run() {
    MarkupCursor cursor(text_);
    for (size_t at = cursor.Next(0); at != std::string_view::npos; at = cursor.Next(i_)) {
      i_ = at + 1;
      const char c = text_[at];
      if (c == ']') {
        if (text_.substr(at, 3) == "]]>") return Fault(at, "\"]]>\" is not allowed in text");
      } else if (c == '&') {
        if (!Reference(at, true)) return false;
      } else if (!Markup(at)) {
        return false;
      }
    }
    return true;
  }

 private:
  bool Fault(size_t at, const char* what, uint32_t cp = 0) {
    return tympora::detail::Fault(reason_, offset_, at, what, cp);
  }
  size_t Find(std::string_view what, size_t from) const {
    const size_t at = text_.find(what, from);
    return at == std::string_view::npos ? text_.size() : at;
  }
  void SkipBlanks(size_t& j) const {
    while (j < text_.size() && IsXmlSpace(static_cast<unsigned char>(text_[j]))) ++j;
  }

  // The reference at `at`: a character reference to a character XML
  // allows, or an entity reference to one of the five predefined entities
  // (to any entity when a DOCTYPE may declare it). Moves i_ past it.
  bool Reference(size_t at, bool in_text) {
    if (text_.substr(at, 2) == "&#") {
      size_t next = 0;
      if (!CheckReference(text_, at, next, reason_, offset_)) return false;
      uint32_t value = 0;
      ReadReference(text_, at, next, value);
      if (in_text && IsXmlSpace(value) && at >= blank_checked_ && !blank_text_) {
        blank_text_ = BlankAround(text_, at, next, blank_checked_, blank_checked_);
      }
      i_ = next;
      return true;
    }
    size_t j = at + 1;
    while (j < text_.size() && !EndsName(text_[j])) ++j;
    const std::string_view name = text_.substr(at + 1, j - at - 1);
    if (j == text_.size() || text_[j] != ';' || !IsXmlName(name)) {
      return Fault(at, "'&' must start a reference such as &amp;");
    }
    if (!doctype_ && !IsPredefinedEntity(name))
      return Fault(at, "Reference to an undeclared entity");
    i_ = j + 1;
    return true;
  }

  // The markup that opens with the '<' at `at`.
  bool Markup(size_t at) {
    const std::string_view rest = text_.substr(at);
    if (rest.size() > 1 && rest[1] != '/' && rest[1] != '!' && rest[1] != '?') return Tag(at);
    if (rest.starts_with("<!--")) {
      const size_t close = Find("-->", at + 4);
      if (close < text_.size() && Find("--", at + 4) != close) {
        return Fault(Find("--", at + 4), "\"--\" is not allowed inside a comment");
      }
      i_ = close + 3;
    } else if (rest.starts_with("<![CDATA[")) {
      i_ = Find("]]>", at + 9) + 3;
    } else if (rest.starts_with("<?")) {
      return Instruction(at);
    } else if (rest.starts_with("<!DOCTYPE")) {
      doctype_ = true;
      i_ = DoctypeEnd(at + 9);
    }
    return true;
  }

  // A processing instruction; the target "xml" is the declaration, any
  // other spelling of it is reserved.
  bool Instruction(size_t at) {
    size_t j = at + 2;
    while (j < text_.size() && !EndsName(text_[j])) ++j;
    const std::string_view target = text_.substr(at + 2, j - at - 2);
    const size_t close = Find("?>", j);
    i_ = close + 2;
    if (target.size() != 3 || (target[0] | 0x20) != 'x' || (target[1] | 0x20) != 'm' ||
        (target[2] | 0x20) != 'l') {
      return true;
    }
    if (target != "xml") return Fault(at + 2, "The target \"xml\" is reserved in any letter case");
    if (at != 0 || close == text_.size()) return true;  // the parser reports these
    SkipBlanks(j);
    size_t fault = 0;
    if (const char* why = DeclarationFault(text_.substr(j, close - j), fault)) {
      return Fault(j + fault, why);
    }
    return true;
  }

  // The offset after the DOCTYPE whose name starts at `j`: its internal
  // subset may hold quoted text, comments and instructions with any
  // character.
  size_t DoctypeEnd(size_t j) const {
    bool subset = false;
    while (j < text_.size()) {
      const char c = text_[j];
      if (c == '"' || c == '\'') {
        j = Find(std::string_view(&c, 1), j + 1) + 1;
      } else if (subset && text_.substr(j, 4) == "<!--") {
        j = Find("-->", j + 4) + 3;
      } else if (subset && text_.substr(j, 2) == "<?") {
        j = Find("?>", j + 2) + 2;
      } else {
        if (c == '>' && !subset) return j + 1;
        if (c == '[') subset = true;
        if (c == ']') subset = false;
        ++j;
      }
    }
    return text_.size();
  }

  // A start tag: its attribute values and their names. Stops at the first
  // piece of syntax it does not expect, which the parser then refuses.
  bool Tag(size_t at) {
    size_t j = at + 1;
    while (j < text_.size() && !EndsName(text_[j])) ++j;
    if (j < text_.size() && text_[j] == '>') {  // most tags: no attribute
      i_ = j + 1;
      return true;
    }
    names_.clear();
    while (j > at + 1) {
      i_ = j;
      SkipBlanks(j);
      const size_t name_start = j;
      while (j < text_.size() && !EndsName(text_[j])) ++j;
      if (j == name_start) break;  // '>', "/>" or a fault
      const std::string_view name = text_.substr(name_start, j - name_start);
      SkipBlanks(j);
      if (j == text_.size() || text_[j] != '=') break;
      SkipBlanks(++j);
      if (j == text_.size() || (text_[j] != '"' && text_[j] != '\'')) break;
      const size_t close = Find(std::string_view(&text_[j], 1), j + 1);
      if (!Value(j + 1, close)) return false;
      names_.push_back({name, name_start});
      j = close + 1;
      i_ = j;
    }
    return UniqueNames();
  }

  // An attribute value from `from` to `to`: no '<', and every '&' starts a
  // reference.
  bool Value(size_t from, size_t to) {
    const std::string_view value = text_.substr(from, to - from);
    const size_t lt = value.find('<');
    for (size_t k = value.find('&'); k < lt && k != std::string_view::npos;
         k = value.find('&', i_ - from)) {
      if (!Reference(from + k, false)) return false;
    }
    if (lt != std::string_view::npos) {
      return Fault(from + lt, "'<' is not allowed in an attribute value");
    }
    return true;
  }

  // No two attributes of the tag just read share a name. Few attributes are
  // compared pairwise, many after sorting: never quadratic.
  bool UniqueNames() {
    const auto fault = [&](size_t at) {
      return Fault(at, "An attribute appears twice in one tag");
    };
    if (names_.size() <= 8) {
      for (size_t a = 1; a < names_.size(); ++a) {
        for (size_t b = 0; b < a; ++b) {
          if (names_[a].first == names_[b].first) return fault(names_[a].second);
        }
      }
      return true;
    }
    std::stable_sort(names_.begin(), names_.end(),
                     [](const auto& x, const auto& y) { return x.first < y.first; });
    size_t first_repeat = std::string_view::npos;
    for (size_t a = 1; a < names_.size(); ++a) {
      if (names_[a].first == names_[a - 1].first) {
        first_repeat = std::min(first_repeat, names_[a].second);
      }
    }
    return first_repeat == std::string_view::npos || fault(first_repeat);
  }

  std::string_view text_;
  std::string& reason_;
  int64_t& offset_;
  bool& blank_text_;
  size_t i_ = 0;              // where the scan goes on
  size_t blank_checked_ = 0;  // the runs of text before this offset are known
  bool doctype_ = false;      // a DOCTYPE came first: entities may be declared
  std::vector<std::pair<std::string_view, size_t>> names_;  // of the tag being read
};

}  // namespace

bool CheckDocumentText(std::string_view text, bool xml_text, std::string& reason, int64_t& offset,
                       bool& blank_text) {
  blank_text = false;
  if (!xml_text && !IsXmlText(text)) return LocateRawFault(text, reason, offset);
  return Scanner(text, reason, offset, blank_text).Run();
}

}  // namespace tympora::detail
