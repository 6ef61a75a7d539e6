// Characters and encodings of the DOM: the XML 1.0 character and name
// checks.
#include <cstdio>
#include <cstring>

#include "node/dom_internal.hpp"

namespace tympora::detail {
namespace {

using Byte = unsigned char;

// Decodes one UTF-8 sequence at `p` (a lead byte of 0x80 or more) and
// advances `p` past it. Returns -1 for a malformed, overlong or surrogate
// sequence, leaving `p` unchanged.
int32_t DecodeMultiByte(const Byte*& p, const Byte* end) noexcept {
  const Byte c = p[0];
  int32_t length;
  int32_t cp;
  int32_t min;
  if (c >= 0xC2 && c <= 0xDF) {
    length = 2, cp = c & 0x1F, min = 0x80;
  } else if (c >= 0xE0 && c <= 0xEF) {
    length = 3, cp = c & 0x0F, min = 0x800;
  } else if (c >= 0xF0 && c <= 0xF4) {
    length = 4, cp = c & 0x07, min = 0x10000;
  } else {
    return -1;
  }
  if (end - p < length) return -1;
  for (int32_t i = 1; i < length; ++i) {
    if ((p[i] & 0xC0) != 0x80) return -1;
    cp = (cp << 6) | (p[i] & 0x3F);
  }
  if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return -1;
  p += length;
  return cp;
}

// The next code point of `s` at `p`, advancing `p`; -1 for bad UTF-8.
int32_t NextCodePoint(const Byte*& p, const Byte* end) noexcept {
  if (*p < 0x80) return *p++;
  return DecodeMultiByte(p, end);
}

constexpr bool IsXmlChar(int32_t cp) noexcept {
  return cp >= 0x20
             ? (cp <= 0xD7FF || (cp >= 0xE000 && cp <= 0xFFFD) || (cp >= 0x10000 && cp <= 0x10FFFF))
             : (cp == 0x9 || cp == 0xA || cp == 0xD);
}

constexpr uint64_t kHighBits = 0x8080808080808080ull;
constexpr uint64_t kSpaces = 0x2020202020202020ull;

// True when the eight bytes are all ASCII of 0x20 or more: no checking needed.
inline bool PlainAsciiWord(const Byte* p) noexcept {
  uint64_t w;
  std::memcpy(&w, p, sizeof w);
  // The second term flags any byte below 0x20 (bytes known to be < 0x80).
  return (w & kHighBits) == 0 && ((w - kSpaces) & ~w & kHighBits) == 0;
}

bool IsNameStart(int32_t c) noexcept {
  if (c < 0x80) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':';
  }
  return (c >= 0xC0 && c <= 0xD6) || (c >= 0xD8 && c <= 0xF6) || (c >= 0xF8 && c <= 0x2FF) ||
         (c >= 0x370 && c <= 0x37D) || (c >= 0x37F && c <= 0x1FFF) ||
         (c >= 0x200C && c <= 0x200D) || (c >= 0x2070 && c <= 0x218F) ||
         (c >= 0x2C00 && c <= 0x2FEF) || (c >= 0x3001 && c <= 0xD7FF) ||
         (c >= 0xF900 && c <= 0xFDCF) || (c >= 0xFDF0 && c <= 0xFFFD) ||
         (c >= 0x10000 && c <= 0xEFFFF);
}

bool IsNameChar(int32_t c) noexcept {
  return IsNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.' || c == 0xB7 ||
         (c >= 0x300 && c <= 0x36F) || (c >= 0x203F && c <= 0x2040);
}

}  // namespace

bool IsXmlText(std::string_view text) noexcept {
  const Byte* p = reinterpret_cast<const Byte*>(text.data());
  const Byte* const end = p + text.size();
  while (p < end) {
    while (end - p >= 8 && PlainAsciiWord(p)) p += 8;
    if (p == end) break;
    if (!IsXmlChar(NextCodePoint(p, end))) return false;  // -1 is no XML char
  }
  return true;
}

void RaiseInvalidText(std::string_view text) {
  const Byte* const begin = reinterpret_cast<const Byte*>(text.data());
  const Byte* const end = begin + text.size();
  char detail[96] = "invalid text";
  for (const Byte* p = begin; p < end;) {
    const Byte* const at = p;
    const int32_t cp = NextCodePoint(p, end);
    const auto offset = static_cast<long long>(at - begin);
    if (cp < 0) {
      std::snprintf(detail, sizeof detail, "invalid UTF-8 byte 0x%02X at byte offset %lld", *at,
                    offset);
      break;
    }
    if (!IsXmlChar(cp)) {
      std::snprintf(detail, sizeof detail, "character U+%04X at byte offset %lld",
                    static_cast<unsigned>(cp), offset);
      break;
    }
  }
  RaiseDomError(kDomErrInvalidChar, detail);
}

bool IsXmlName(std::string_view name) noexcept {
  const Byte* p = reinterpret_cast<const Byte*>(name.data());
  const Byte* const end = p + name.size();
  if (p == end || !IsNameStart(NextCodePoint(p, end))) return false;
  while (p < end) {
    if (!IsNameChar(NextCodePoint(p, end))) return false;
  }
  return true;
}

size_t FirstBadUtf8(std::string_view text) noexcept {
  const Byte* const begin = reinterpret_cast<const Byte*>(text.data());
  const Byte* const end = begin + text.size();
  for (const Byte* p = begin; p < end;) {
    // ASCII runs, eight bytes at a time.
    for (uint64_t w; end - p >= 8; p += 8) {
      std::memcpy(&w, p, sizeof w);
      if ((w & kHighBits) != 0) break;
    }
    if (p == end) break;
    const Byte* const at = p;
    if (NextCodePoint(p, end) < 0) return static_cast<size_t>(at - begin);
  }
  return text.size();
}

bool IsEncName(std::string_view n) noexcept {
  const auto alpha = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
  if (n.empty() || !alpha(n[0])) return false;
  for (char c : n) {
    if (!alpha(c) && !(c >= '0' && c <= '9') && c != '.' && c != '_' && c != '-') return false;
  }
  return true;
}

namespace {

// Checks the value of the declaration's pseudo-attribute number `which`.
const char* ValueFault(size_t which, std::string_view v) {
  switch (which) {
    case 0:
      return v.size() > 2 && v.starts_with("1.") &&
                     v.find_first_not_of("0123456789", 2) == std::string_view::npos
                 ? nullptr
                 : "The XML version must be 1. and digits";
    case 1:
      return IsEncName(v) ? nullptr : "Invalid encoding name in the declaration";
    default:
      return v == "yes" || v == "no" ? nullptr : "standalone must be \"yes\" or \"no\"";
  }
}

}  // namespace

const char* DeclarationFault(std::string_view data, size_t& at) {
  static constexpr std::string_view kNames[] = {"version", "encoding", "standalone"};
  const size_t n = data.size();
  size_t i = 0;
  size_t allowed = 0;  // the index in kNames from which a name may come
  const auto skip_blanks = [&] {
    while (i < n && IsXmlSpace(static_cast<Byte>(data[i]))) ++i;
  };
  for (;;) {
    const size_t before_blanks = i;
    skip_blanks();
    at = i;
    if (i == n) break;
    if (allowed != 0 && i == before_blanks) return "A blank must separate the declaration's values";
    size_t k = i;
    while (k < n && data[k] >= 'a' && data[k] <= 'z') ++k;
    const std::string_view name = data.substr(i, k - i);
    size_t which = allowed;
    while (which < std::size(kNames) && kNames[which] != name) ++which;
    if (which == std::size(kNames)) {
      return allowed == 0 ? "The declaration must start with the version"
                          : "Unknown, repeated or misplaced value in the declaration";
    }
    if (allowed == 0 && which != 0) return "The declaration must start with the version";
    i = k;
    skip_blanks();
    if (i == n || data[i] != '=') return "'=' expected in the declaration";
    ++i;
    skip_blanks();
    const size_t close = i < n && (data[i] == '"' || data[i] == '\'') ? data.find(data[i], i + 1)
                                                                      : std::string_view::npos;
    if (close == std::string_view::npos) return "Quoted value expected in the declaration";
    at = i + 1;
    if (const char* fault = ValueFault(which, data.substr(i + 1, close - i - 1))) return fault;
    allowed = which + 1;
    i = close + 1;
  }
  return allowed == 0 ? "The declaration has no version" : nullptr;
}

}  // namespace tympora::detail
