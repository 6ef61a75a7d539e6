// Characters and encodings of the DOM: the XML 1.0 character and name
// checks, and the conversion of a document's bytes to UTF-8 before parsing.
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

// ---- Document encodings -------------------------------------------------

// Code points of the Windows-1252 bytes 0x80 to 0x9F. The five bytes that
// the code page leaves undefined map to the C1 control of the same value.
constexpr char16_t kCp1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

void AppendUtf8(std::string& out, uint32_t cp) {
  if (cp < 0x80) {
    out.push_back(static_cast<char>(cp));
  } else if (cp < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else if (cp < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  }
}

void SingleByteToUtf8(std::string_view in, bool cp1252, std::string& out) {
  out.clear();
  out.reserve(in.size() + in.size() / 4);
  for (char ch : in) {
    const Byte b = static_cast<Byte>(ch);
    const uint32_t cp = (cp1252 && b >= 0x80 && b <= 0x9F) ? kCp1252High[b - 0x80] : b;
    AppendUtf8(out, cp);
  }
}

bool Utf16ToUtf8(std::string_view in, bool big_endian, std::string& out, std::string& reason,
                 int64_t& offset) {
  out.clear();
  out.reserve(in.size());
  const auto unit = [&](size_t i) {
    const auto hi = static_cast<Byte>(in[i + (big_endian ? 0 : 1)]);
    const auto lo = static_cast<Byte>(in[i + (big_endian ? 1 : 0)]);
    return static_cast<uint32_t>(hi << 8 | lo);
  };
  size_t i = 2;  // after the byte-order mark
  for (; i + 1 < in.size(); i += 2) {
    uint32_t cp = unit(i);
    if (cp >= 0xD800 && cp <= 0xDBFF && i + 3 < in.size()) {
      const uint32_t low = unit(i + 2);
      if (low >= 0xDC00 && low <= 0xDFFF) {
        cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
        i += 2;
      }
    }
    if (cp >= 0xD800 && cp <= 0xDFFF) {
      reason = "Unpaired UTF-16 surrogate";
      offset = static_cast<int64_t>(i);
      return false;
    }
    AppendUtf8(out, cp);
  }
  if (i != in.size()) {
    reason = "Incomplete UTF-16 code unit at the end of the text";
    offset = static_cast<int64_t>(i);
    return false;
  }
  return true;
}

// The encoding named in a leading XML declaration, lower-cased; empty when
// there is none.
std::string DeclaredEncoding(std::string_view text) {
  if (text.substr(0, 5) != "<?xml") return {};
  const size_t close = text.find("?>");
  if (close == std::string_view::npos) return {};
  const std::string_view decl = text.substr(0, close);
  const size_t at = decl.find("encoding");
  if (at == std::string_view::npos) return {};
  size_t i = at + 8;
  const auto skip_blanks = [&] {
    while (i < decl.size() && IsXmlSpace(static_cast<unsigned char>(decl[i]))) ++i;
  };
  skip_blanks();
  if (i >= decl.size() || decl[i] != '=') return {};
  ++i;
  skip_blanks();
  if (i >= decl.size() || (decl[i] != '"' && decl[i] != '\'')) return {};
  const size_t end = decl.find(decl[i], i + 1);
  if (end == std::string_view::npos) return {};
  std::string name(decl.substr(i + 1, end - i - 1));
  for (char& c : name) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return name;
}

bool IsCp1252Name(const std::string& n) {
  return n == "windows-1252" || n == "cp1252" || n == "x-cp1252";
}
bool IsLatin1Name(const std::string& n) {
  return n == "iso-8859-1" || n == "iso8859-1" || n == "iso_8859-1" || n == "latin1" ||
         n == "latin-1" || n == "l1";
}
bool IsUtf8Name(const std::string& n) { return n == "utf-8" || n == "utf8"; }

// Byte offset of the first invalid UTF-8 sequence in `text`.
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

bool DecodeDocument(std::string_view bytes, std::string& out, std::string_view& text,
                    bool& xml_text, std::string& reason, int64_t& offset) {
  xml_text = false;
  if (bytes.size() >= 2 && (bytes.substr(0, 2) == "\xFF\xFE" || bytes.substr(0, 2) == "\xFE\xFF")) {
    text = out;
    if (!Utf16ToUtf8(bytes, bytes[0] == '\xFE', out, reason, offset)) return false;
    text = out;
    return true;
  }
  const bool bom = bytes.substr(0, 3) == "\xEF\xBB\xBF";
  const std::string_view body = bom ? bytes.substr(3) : bytes;
  const std::string encoding = bom ? std::string("utf-8") : DeclaredEncoding(body);
  if (IsCp1252Name(encoding) || IsLatin1Name(encoding)) {
    SingleByteToUtf8(body, IsCp1252Name(encoding), out);
    text = out;
    return true;
  }
  // The usual document is UTF-8 with only XML characters: one scan tells.
  xml_text = IsXmlText(body);
  if (xml_text) {
    text = body;
    return true;
  }
  const size_t bad = FirstBadUtf8(body);
  if (bad == body.size()) {
    text = body;  // already what the parser reads: no copy
    return true;
  }
  if (IsUtf8Name(encoding)) {
    reason = "Invalid UTF-8 in a document that declares UTF-8";
    offset = static_cast<int64_t>(bad + (bom ? 3 : 0));
    return false;
  }
  // Not UTF-8 and not declared as such: read as Windows-1252.
  SingleByteToUtf8(body, true, out);
  text = out;
  return true;
}

}  // namespace tympora::detail
