// Parsing for the DOM: loadXML and load.
//
// The bytes are first converted to UTF-8 (dom_text.cpp), then parsed by
// pugixml in fragment mode, which keeps text at the top level so that the
// rules for the top of a document can be checked here: exactly one element,
// the declaration only at the very start, no text outside the element.
// pugixml never reads a DTD: a DOCTYPE is skipped whole, so no entity is
// declared, expanded or fetched, and an unknown reference stays literal.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cstdlib>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include "node/dom_check.hpp"
#include "node/dom_direct.hpp"
#include "node/dom_internal.hpp"
#include "node/dom_testing.hpp"
#include "node/file_internal.hpp"
#include "tympora/node/error.hpp"

namespace tympora {
namespace detail {
namespace {

constexpr unsigned kParseOptions = pugi::parse_declaration | pugi::parse_pi | pugi::parse_comments |
                                   pugi::parse_cdata | pugi::parse_escapes | pugi::parse_eol |
                                   pugi::parse_wconv_attribute | pugi::parse_fragment;

// How the parser is asked to treat text; see ParseMode.
unsigned OptionsFor(ParseMode mode) {
  switch (mode) {
    case ParseMode::kKeepBlankText:
      return kParseOptions | pugi::parse_ws_pcdata;
    case ParseMode::kDropBlankText:
      return kParseOptions;
    case ParseMode::kEmbedText:
      return kParseOptions | pugi::parse_embed_pcdata;
  }
  return kParseOptions;
}

void FreeBuffer(char* data) noexcept {
  if (data != nullptr) pugi::get_memory_deallocation_function()(data);
}
using Buffer = std::unique_ptr<char, decltype(&FreeBuffer)>;

struct Failure {
  std::string reason;
  int64_t offset = 0;  // in the text that was parsed
};

// The parse error for `failure`, with its 1-based line and column in `text`.
// LF, CR LF and a lone CR each end a line.
DOMParseError Locate(std::string_view text, Failure failure) {
  DOMParseError e;
  e.errorCode = kDomErrParse;
  e.reason = std::move(failure.reason);
  e.filepos = failure.offset;
  const size_t end =
      std::min(text.size(), static_cast<size_t>(std::max<int64_t>(0, failure.offset)));
  size_t line_start = 0;
  int64_t line = 1;
  if (end == 0) text = "\n";  // memchr wants a pointer even for no bytes
  for (const char* p = text.data();
       (p = static_cast<const char*>(std::memchr(p, '\n', text.data() + end - p))) != nullptr;) {
    ++line;
    line_start = static_cast<size_t>(++p - text.data());
  }
  // Lone CRs end lines too; they are rare enough to be looked for apart.
  for (const char* p = text.data();
       (p = static_cast<const char*>(std::memchr(p, '\r', text.data() + end - p))) != nullptr;) {
    const size_t at = static_cast<size_t>(p++ - text.data());
    if (at + 1 == text.size() || text[at + 1] != '\n') {
      ++line;
      line_start = std::max(line_start, at + 1);
    }
  }
  e.line = line;
  e.linepos = static_cast<int64_t>(end - line_start) + 1;
  return e;
}

// Byte offset of the markup of `n`, which starts `lead` bytes before the
// name or value that pugixml points into.
int64_t OffsetOf(pugi::xml_node n, int64_t lead) {
  return std::max<int64_t>(0, n.offset_debug() - lead);
}

bool CheckTopLevel(pugi::xml_node doc, size_t text_size, Failure& f) {
  int elements = 0;
  bool first = true;
  for (pugi::xml_node n = doc.first_child(), next; n; n = next, first = false) {
    next = n.next_sibling();
    switch (n.type()) {
      case pugi::node_declaration:
        // White space before it is gone from the tree: its offset tells.
        if (!first || OffsetOf(n, 2) != 0) {
          f = {"The XML declaration is allowed only at the start", OffsetOf(n, 2)};
        }
        break;
      case pugi::node_pcdata:
        if (IsXmlSpaceOnly(n.value())) {
          doc.remove_child(n);
        } else {
          f = {"Text is not allowed outside the document element", OffsetOf(n, 0)};
        }
        break;
      case pugi::node_cdata:
        f = {"CDATA is not allowed outside the document element", OffsetOf(n, 9)};
        break;
      case pugi::node_element:
        if (++elements > 1) f = {"Only one top level element is allowed", OffsetOf(n, 1)};
        break;
      default:
        break;
    }
    if (!f.reason.empty()) return false;
  }
  if (elements == 0) f = {"No document element found", static_cast<int64_t>(text_size)};
  return elements != 0;
}

// Removes every text node whose value is empty or only blanks, tabs, CR and
// LF, in one walk. The tree is fresh from the parser: no handle refers to it.
void StripBlankText(pugi::xml_node root) {
  for (pugi::xml_node n = root.first_child(); n;) {
    const pugi::xml_node next = NextInSubtree(n, root);
    if (n.type() == pugi::node_pcdata && IsXmlSpaceOnly(n.value())) n.parent().remove_child(n);
    n = next;
  }
}

// Parses `text` into `doc`. Unless `in_place`, pugixml works on its own
// copy, so that `text` still holds the original bytes when a failure must
// be located in it. `in_place`: `text` is a buffer from pugixml's allocator
// that the document takes over, parsed where it stands.
pugi::xml_parse_result LoadInto(pugi::xml_document& doc, std::string_view text, ParseMode mode,
                                bool in_place) {
  if (in_place) {
    return doc.load_buffer_inplace_own(const_cast<char*>(text.data()), text.size(),
                                       OptionsFor(mode), pugi::encoding_utf8);
  }
  return doc.load_buffer(text.data(), text.size(), OptionsFor(mode), pugi::encoding_utf8);
}

// Reads the file at `path` into a buffer from pugixml's allocator (so that
// a document can own it); returns 0, or the platform error number with the
// reason in `why`. Only a regular file is read, and no more of it than its
// size at the open: a pipe, a device or a file that keeps growing can
// neither block the reader nor make it read without end.
int32_t ReadWholeFile(const std::string& path, char*& data, size_t& size, std::string& why) {
  data = nullptr;
  size = 0;
  auto fail = [&](int err) {
    why = std::generic_category().message(err);
    return ErrnoNumber(err, path);
  };
  struct stat st {};
  if (::stat(path.c_str(), &st) != 0) return fail(errno);
  const auto not_a_file = [&] {
    why = S_ISDIR(st.st_mode) ? "is a folder" : "is not a regular file";
    return kErrPathFileAccess;
  };
  if (!S_ISREG(st.st_mode)) return not_a_file();
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (fd < 0) return fail(errno);
  int err = ::fstat(fd, &st) == 0 ? 0 : errno;
  if (err == 0 && !S_ISREG(st.st_mode)) {  // replaced since the look above
    ::close(fd);
    return not_a_file();
  }
  const size_t length = err == 0 ? static_cast<size_t>(st.st_size) : 0;
  if (err == 0) {
    data = static_cast<char*>(pugi::get_memory_allocation_function()(std::max<size_t>(length, 1)));
    if (data == nullptr) err = ENOMEM;
  }
  while (err == 0 && size < length) {
    const ssize_t got = ::read(fd, data + size, length - size);
    if (got > 0) {
      size += static_cast<size_t>(got);
    } else if (got == 0) {
      break;  // the file shrank meanwhile
    } else if (errno != EINTR) {
      err = errno;
    }
  }
  ::close(fd);
  if (err == 0) return 0;
  FreeBuffer(data);
  data = nullptr;
  size = 0;
  return fail(err);
}

}  // namespace

bool DocImpl::Parse(std::string_view bytes, bool shared, char* owned, bool* mangled) {
  Buffer buffer(owned, &FreeBuffer);
  if (mangled != nullptr) *mangled = false;
  std::string converted;
  std::string_view text;
  Failure f;
  bool xml_text = false;
  std::string_view before;
  if (!DecodeDocument(bytes, converted, text, xml_text, f.reason, f.offset, before)) {
    const int64_t at = f.offset;
    DOMParseError e = Locate(before, {std::move(f.reason), static_cast<int64_t>(before.size())});
    e.filepos = at;
    Fail(std::move(e), shared);
    return false;
  }
  size_t root = 0;
  if (xml_text && !preserve_white_space && testing_hooks::DirectRoad() && CheckDirect(text, root)) {
    auto kept = std::make_unique<DirectText>();
    if (buffer && text.data() == buffer.get()) {
      kept->data = buffer.release();
    } else {
      kept->data = static_cast<char*>(
          pugi::get_memory_allocation_function()(std::max<size_t>(text.size(), 1)));
      if (kept->data == nullptr) RaisePlatformError(kErrOutOfMemory);
      if (!text.empty()) std::memcpy(kept->data, text.data(), text.size());
    }
    kept->size = text.size();
    kept->root = root;
    InstallDirect(std::move(kept), shared);
    parse_error = DOMParseError{};
    return true;
  }
  auto next = std::make_unique<pugi::xml_document>();
  bool blank_text = false;
  bool in_place = false;
  ParseMode mode = ParseMode::kKeepBlankText;
  if (!CheckDocumentText(text, xml_text, f.reason, f.offset, blank_text)) {
    // What pugixml would take although XML 1.0 forbids it (see
    // dom_check.hpp), reported here with its position.
  } else {
    // Blank text is dropped by the parser; text that only turns blank once
    // its references are resolved is dropped after it, and needs text nodes.
    if (!preserve_white_space)
      mode = blank_text ? ParseMode::kDropBlankText : ParseMode::kEmbedText;
    in_place = mangled != nullptr && buffer && text.data() == buffer.get();
    const pugi::xml_parse_result r = LoadInto(*next, text, mode, in_place);
    if (in_place) buffer.release();  // the document owns it now, parsed or not
    // Running out of memory says nothing about the text: it is raised, so
    // that no caller mistakes it for a text that does not parse.
    if (r.status == pugi::status_out_of_memory) RaisePlatformError(kErrOutOfMemory);
    if (!r) {
      f = {r.description(), static_cast<int64_t>(r.offset)};
    } else {
      CheckTopLevel(*next, text.size(), f);
    }
  }
  if (!f.reason.empty()) {
    if (in_place) *mangled = true;
    Fail(Locate(text, std::move(f)), shared);
    return false;
  }
  if (mode == ParseMode::kDropBlankText) StripBlankText(*next);
  if (!next->prepend_child(pugi::node_element)) RaisePlatformError(kErrOutOfMemory);
  InstallTree(std::move(next), shared, mode == ParseMode::kEmbedText);
  parse_error = DOMParseError{};
  return true;
}

void DocImpl::BuildDirect() {
  DirectText& kept = *direct;
  if (kept.lost) RaisePlatformError(kErrOutOfMemory);
  auto next = std::make_unique<pugi::xml_document>();
  // The tree owns the text from here on, built or not.
  char* data = std::exchange(kept.data, nullptr);
  kept.lost = true;
  const pugi::xml_parse_result r =
      LoadInto(*next, std::string_view(data, kept.size), ParseMode::kEmbedText, true);
  if (r.status == pugi::status_out_of_memory) RaisePlatformError(kErrOutOfMemory);
  Failure f;
  if (!r) f = {r.description(), static_cast<int64_t>(r.offset)};
  if (!r || !CheckTopLevel(*next, kept.size, f)) {
    RaisePlatformError(kErrInternal, "a document kept as text does not parse: " + f.reason);
  }
  if (!next->prepend_child(pugi::node_element)) RaisePlatformError(kErrOutOfMemory);
  tree = std::move(next);
  embedded = true;
  cursors.Invalidate();
  for (pugi::xml_node n = FirstVisibleChild(Root()); n; n = n.next_sibling()) {
    if (n.type() == pugi::node_element) {
      kept.built = n.internal_object();
      break;
    }
  }
  kept.lost = false;
}

void DocImpl::Fail(DOMParseError error, bool shared) {
  InstallTree(NewTree(), shared);
  parse_error = std::move(error);
}

}  // namespace detail

// Neither load checks the handle with Check(), which would first give the
// old tree's embedded texts their nodes.
bool DOMDocument::loadXML(std::string_view text) {
  if (!doc_) RaisePlatformError(kErrObjectNotSet);
  return doc_->Parse(text, doc_.use_count() > 1);
}

bool DOMDocument::load(const std::string& path) {
  if (!doc_) RaisePlatformError(kErrObjectNotSet);
  int read_error = 0;
  return detail::DocImpl::Load(*this, path, read_error);
}

namespace detail {

bool DocImpl::Load(DOMDocument& document, const std::string& path, int& read_error) {
  DocImpl& doc = *document.doc_;
  const bool shared = document.doc_.use_count() > 1;
  read_error = 0;
  // The first parse runs in the buffer read; when it fails there, the text
  // is read again, so that the failure is located in the original bytes.
  for (bool in_place : {true, false}) {
    char* data = nullptr;
    size_t size = 0;
    std::string why;
    if (const int32_t error = ReadWholeFile(path, data, size, why); error != 0) {
      DOMParseError e;
      e.errorCode = error;
      e.reason = "Cannot read \"" + path + "\": " + why;
      doc.Fail(std::move(e), shared);
      read_error = error;
      return false;
    }
    bool mangled = false;
    if (doc.Parse(std::string_view(data, size), shared, data, in_place ? &mangled : nullptr)) {
      return true;
    }
    if (!mangled) return false;
  }
  return false;
}

void LoadOrRaise(DOMDocument& doc, const std::string& path) {
  int read_error = 0;
  if (DocImpl::Load(doc, path, read_error)) return;
  const DOMParseError& e = doc.parseError();
  if (read_error != 0) RaisePlatformError(read_error, e.reason);
  RaiseDomError(kDomErrParse, e.reason + " at line " + std::to_string(e.line) + ", column " +
                                  std::to_string(e.linepos) + " of \"" + path + "\"");
}

}  // namespace detail

}  // namespace tympora
