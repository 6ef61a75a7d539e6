// Character checks of a document's text before it is parsed.
//
// pugixml takes any byte as text and resolves any character reference: a
// control character, U+FFFF, &#1; or &#xD800; would enter the tree, and
// &#0; would silently cut the text short. XML 1.0 makes all of them errors,
// and a tree that held one could not be written again, so the parse refuses
// them here, with the position of the fault.
#include <algorithm>
#include <cstring>

#include <cstdio>

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

// Finds the next '&' or '<' at or after a position. It keeps one memchr
// cursor per character, each moved only once it falls behind, so a whole
// text costs two linear scans (find_first_of tests every byte against the
// set, several times slower).
class MarkupCursor {
 public:
  explicit MarkupCursor(std::string_view text)
      : text_(text), amp_(Find('&', 0)), lt_(Find('<', 0)) {}
  size_t Next(size_t from) {
    if (amp_ < from) amp_ = Find('&', from);
    if (lt_ < from) lt_ = Find('<', from);
    return std::min(amp_, lt_);
  }

 private:
  size_t Find(char c, size_t from) const {
    if (from >= text_.size()) return std::string_view::npos;
    const void* hit = std::memchr(text_.data() + from, c, text_.size() - from);
    return hit ? static_cast<size_t>(static_cast<const char*>(hit) - text_.data())
               : std::string_view::npos;
  }
  std::string_view text_;
  size_t amp_, lt_;  // the next of each at or after the last position; npos: none left
};

// Checks the references in the quoted attribute values of the tag that
// opens at `i` (where a '<' in a value is only a character) and moves `i`
// past the tag's '>'.
bool CheckTag(std::string_view text, size_t& i, std::string& reason, int64_t& offset) {
  size_t j = i + 1;
  while (j < text.size() && text[j] != '>') {
    const char quote = text[j];
    if (quote != '"' && quote != '\'') {
      ++j;
      continue;
    }
    const size_t close = std::min(text.size(), text.find(quote, j + 1));
    const std::string_view value = text.substr(j + 1, close - j - 1);
    for (size_t k = value.find("&#"); k != std::string_view::npos; k = value.find("&#", k + 2)) {
      size_t after = 0;
      if (!CheckReference(text, j + 1 + k, after, reason, offset)) return false;
    }
    j = close + 1;
  }
  i = std::min(text.size(), j + 1);
  return true;
}

// Checks every character reference outside comments, CDATA sections and
// processing instructions, whose content is not markup. Tags are read with
// their quoted values, so that a "<!--" inside a value opens no comment.
bool CheckReferences(std::string_view text, std::string& reason, int64_t& offset) {
  static constexpr struct {
    std::string_view open, close;
  } kLiteral[] = {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}};
  MarkupCursor cursor(text);
  for (size_t i = cursor.Next(0); i != std::string_view::npos; i = cursor.Next(i)) {
    if (text[i] == '&') {
      if (text.substr(i, 2) != "&#") {
        ++i;
      } else if (!CheckReference(text, i, i, reason, offset)) {
        return false;
      }
      continue;
    }
    bool literal_section = false;
    for (const auto& literal : kLiteral) {
      if (text.substr(i, literal.open.size()) != literal.open) continue;
      const size_t close = text.find(literal.close, i + literal.open.size());
      // An unclosed section is the parser's to report.
      i = close == std::string_view::npos ? text.size() : close + literal.close.size();
      literal_section = true;
      break;
    }
    if (!literal_section && !CheckTag(text, i, reason, offset)) return false;
  }
  return true;
}

}  // namespace

bool CheckXmlCharacters(std::string_view text, bool xml_text, std::string& reason, int64_t& offset,
                        bool& blank_text) {
  blank_text = false;
  if (!xml_text && !IsXmlText(text)) return LocateRawFault(text, reason, offset);
  // Most documents hold only valid references, wherever they stand: then the
  // sections that are not markup need not be told apart.
  size_t checked_until = 0;  // the runs of text before this offset are known
  for (size_t at = text.find("&#"), next = 0; at != std::string_view::npos;
       at = text.find("&#", next)) {
    uint32_t value = 0;
    if (!ReadReference(text, at, next, value) || !IsAllowed(value)) {
      blank_text = true;  // not worth knowing on this rare road
      return CheckReferences(text, reason, offset);
    }
    if (IsXmlSpace(value) && at >= checked_until && !blank_text) {
      blank_text = BlankAround(text, at, next, checked_until, checked_until);
    }
  }
  return true;
}

}  // namespace tympora::detail
