// The encoding of a document's bytes, and their conversion to UTF-8 before
// the parse.
//
// The encoding is found as XML 1.0 prescribes: a byte-order mark names it;
// without one, the first four bytes tell the family (UTF-16 or UCS-4 without
// a mark, EBCDIC, or an ASCII-compatible encoding), and the declaration read
// in that family names it. Every conversion but UTF-8 itself goes through
// the C library's iconv, so every encoding it knows can be read.
#include <iconv.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

#include "node/dom_internal.hpp"

namespace tympora::detail {
namespace {

using Byte = unsigned char;

// What the first bytes of a document tell.
struct Sniffed {
  const char* encoding = nullptr;  // the iconv name of a Unicode form; nullptr: see family
  size_t bom = 0;                  // length of the byte-order mark
  bool ebcdic = false;             // "<?xm" in EBCDIC: the declaration must name the encoding
};

Sniffed Sniff(std::string_view b) {
  static constexpr struct {
    std::string_view start;
    Sniffed sniffed;
  } kStarts[] = {
      {{"\x00\x00\xFE\xFF", 4}, {"UCS-4BE", 4}},
      {{"\xFF\xFE\x00\x00", 4}, {"UCS-4LE", 4}},
      {"\xEF\xBB\xBF", {"UTF-8", 3}},
      {"\xFE\xFF", {"UTF-16BE", 2}},
      {"\xFF\xFE", {"UTF-16LE", 2}},
      {{"\x00\x00\x00<", 4}, {"UCS-4BE", 0}},
      {{"<\x00\x00\x00", 4}, {"UCS-4LE", 0}},
      {{"\x00<\x00?", 4}, {"UTF-16BE", 0}},
      {{"<\x00?\x00", 4}, {"UTF-16LE", 0}},
      {"\x4C\x6F\xA7\x94", {nullptr, 0, true}},
  };
  for (const auto& s : kStarts) {
    if (b.substr(0, s.start.size()) == s.start) return s.sniffed;
  }
  return {};
}

// A name in upper case without '-' and '_', so that "utf-16le", "UTF16LE" and
// "UTF_16LE" compare equal.
std::string Folded(std::string_view name) {
  std::string out;
  for (char c : name) {
    if (c == '-' || c == '_') continue;
    out.push_back(c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c);
  }
  return out;
}

bool IsUtf8Name(std::string_view name) { return Folded(name) == "UTF8"; }

// True when a declaration may name `declared` for a document whose mark or
// first bytes show the Unicode form `detected`.
bool Agrees(std::string_view declared, std::string_view detected) {
  static constexpr std::string_view kUtf16[] = {"UTF16", "UCS2", "ISO10646UCS2"};
  static constexpr std::string_view kUcs4[] = {"UCS4", "UTF32", "ISO10646UCS4"};
  const std::string d = Folded(declared);
  const std::string form = Folded(detected);  // UTF8, UTF16BE/LE or UCS4BE/LE
  if (form == "UTF8") return d == "UTF8";
  const std::string_view order = std::string_view(form).substr(form.size() - 2);
  for (std::string_view family : form.starts_with("UCS4") ? kUcs4 : kUtf16) {
    if (d == family || d == std::string(family) + std::string(order)) return true;
  }
  return false;
}

// The encoding named in a leading XML declaration: the name as written and
// its offset in `text`; an empty name when there is none.
struct Declared {
  std::string_view name;
  size_t at = 0;
};

Declared DeclaredEncoding(std::string_view text) {
  if (!text.starts_with("<?xml")) return {};
  const std::string_view decl = text.substr(0, text.find("?>"));
  size_t i = decl.find("encoding");
  if (i == std::string_view::npos) return {};
  i += 8;
  const auto skip_blanks = [&] {
    while (i < decl.size() && IsXmlSpace(static_cast<Byte>(decl[i]))) ++i;
  };
  skip_blanks();
  if (i >= decl.size() || decl[i] != '=') return {};
  ++i;
  skip_blanks();
  if (i >= decl.size() || (decl[i] != '"' && decl[i] != '\'')) return {};
  const size_t end = decl.find(decl[i], i + 1);
  if (end == std::string_view::npos) return {};
  return {decl.substr(i + 1, end - i - 1), i + 1};
}

class Converter {
 public:
  explicit Converter(const std::string& from) : cd_(::iconv_open("UTF-8", from.c_str())) {}
  ~Converter() {
    if (ok()) ::iconv_close(cd_);
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  bool ok() const { return cd_ != reinterpret_cast<iconv_t>(static_cast<intptr_t>(-1)); }

  // Converts the whole of `in` into `out`. On failure returns the errno
  // (EILSEQ: a sequence the encoding does not allow, EINVAL: one cut off at
  // the end), with `out` holding the text before it and `bad` its offset.
  int Run(std::string_view in, std::string& out, size_t& bad) {
    out.resize(in.size() + in.size() / 2 + 16);
    char* src = const_cast<char*>(in.data());
    size_t src_left = in.size();
    size_t done = 0;
    int error = 0;
    for (bool flushing = false;;) {
      char* dst = out.data() + done;
      size_t dst_left = out.size() - done;
      const size_t r = flushing ? ::iconv(cd_, nullptr, nullptr, &dst, &dst_left)
                                : ::iconv(cd_, &src, &src_left, &dst, &dst_left);
      error = r == static_cast<size_t>(-1) ? errno : 0;
      done = out.size() - dst_left;
      if (error == E2BIG) {
        out.resize(out.size() * 2);
      } else if (error != 0 || flushing) {
        break;
      } else {
        flushing = true;  // a stateful encoding may still have to close a shift
      }
    }
    out.resize(done);
    bad = in.size() - src_left;
    return error;
  }

 private:
  iconv_t cd_;
};

// The outcome of a decode; the fault's position in the text decoded before it.
struct Decoder {
  std::string& out;
  std::string_view& text;
  std::string& reason;
  int64_t& offset;
  std::string_view& before;

  bool Fail(std::string why, std::string_view decoded, size_t at) {
    reason = std::move(why);
    before = decoded;
    offset = static_cast<int64_t>(at);
    return false;
  }

  // Converts `body` (which starts at `start` in the bytes) from `encoding`,
  // a name that iconv knows.
  bool Convert(std::string_view body, size_t start, std::string_view encoding) {
    Converter converter{std::string(encoding)};
    size_t bad = 0;
    const int error = converter.ok() ? converter.Run(body, out, bad) : ENOENT;
    if (error != 0) {
      const std::string name(encoding);
      return Fail(error == EINVAL   ? "Incomplete " + name + " character at the end of the text"
                  : error == EILSEQ ? "Bytes that " + name + " does not allow"
                                    : "Cannot convert from " + name,
                  out, start + bad);
    }
    text = out;
    return true;
  }
};

}  // namespace

bool DecodeDocument(std::string_view bytes, std::string& out, std::string_view& text,
                    bool& xml_text, std::string& reason, int64_t& offset,
                    std::string_view& before) {
  xml_text = false;
  Decoder d{out, text, reason, offset, before};
  const Sniffed sniffed = Sniff(bytes);
  const std::string_view body = bytes.substr(sniffed.bom);
  if (sniffed.encoding != nullptr && !IsUtf8Name(sniffed.encoding)) {
    // UTF-16 or UCS-4: the declaration, if any, is read after conversion.
    if (!d.Convert(body, sniffed.bom, sniffed.encoding)) return false;
    const Declared declared = DeclaredEncoding(out);
    if (!declared.name.empty() && !Agrees(declared.name, sniffed.encoding)) {
      return d.Fail("The text is " + std::string(sniffed.encoding) + " but declares \"" +
                        std::string(declared.name) + "\"",
                    std::string_view(out).substr(0, declared.at), declared.at);
    }
    return true;
  }
  std::string ebcdic_head;
  Declared declared;
  if (sniffed.ebcdic) {
    // The declaration's letters are the same in every EBCDIC code page.
    const size_t close = body.find("\x6F\x6E");  // "?>"
    Converter head("IBM037");
    size_t unused = 0;
    if (head.ok())
      head.Run(body.substr(0, close == body.npos ? 1024 : close + 2), ebcdic_head, unused);
    declared = DeclaredEncoding(ebcdic_head);
    if (declared.name.empty()) return d.Fail("An EBCDIC text must declare its encoding", {}, 0);
  } else {
    declared = DeclaredEncoding(body);
  }
  const std::string_view encoding = declared.name;
  const std::string_view head = sniffed.ebcdic ? std::string_view(ebcdic_head) : body;
  const auto fail_at_name = [&](const char* why) {
    std::string message = why + std::string(encoding) + "\"";
    out.assign(head.substr(0, declared.at));  // outlives the EBCDIC head
    return d.Fail(std::move(message), out, declared.at);
  };
  if (sniffed.bom != 0 && !encoding.empty() && !IsUtf8Name(encoding)) {
    return fail_at_name("The text is marked as UTF-8 but declares \"");
  }
  if (!encoding.empty() && !IsUtf8Name(encoding)) {
    if (!IsEncName(encoding)) return fail_at_name("Invalid encoding name \"");
    Converter converter{std::string(encoding)};
    if (!converter.ok()) return fail_at_name("Unknown encoding \"");
    // The declaration must read the same in the encoding it names: a name
    // that does not fit the bytes (UTF-16 in ASCII bytes) fails here.
    const size_t known = declared.at + encoding.size();
    std::string again;
    size_t unused = 0;
    if (converter.Run(body.substr(0, known), again, unused) != 0 ||
        again != head.substr(0, known)) {
      return fail_at_name("The bytes do not match the declared encoding \"");
    }
    return d.Convert(body, 0, encoding);
  }
  // UTF-8. The usual document holds only XML characters: one scan tells.
  xml_text = IsXmlText(body);
  const size_t bad = xml_text ? body.size() : FirstBadUtf8(body);
  if (bad == body.size()) {
    text = body;  // already what the parser reads: no copy
    return true;
  }
  if (!encoding.empty() || sniffed.bom != 0) {
    return d.Fail("Invalid UTF-8 in a text marked or declared as UTF-8", body.substr(0, bad),
                  bad + sniffed.bom);
  }
  // Not UTF-8 and not declared: the 8-bit text of an earlier host, read as
  // Windows-1252.
  return d.Convert(body, 0, "WINDOWS-1252");
}

}  // namespace tympora::detail
