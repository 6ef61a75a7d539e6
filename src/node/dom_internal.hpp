// Private parts of the DOM adapter: the document state that every handle
// shares, the child-cursor cache behind DOMNodeList::item, and the helpers
// that the adapter's sources share. Only the adapter's sources include this
// header; it is the one place in the project that sees pugixml.
//
// Tree layout: a pugixml document cannot hold a node without a parent, so
// every document node of ours has one hidden first child, the holder (an
// element with an empty name, a name no parse or createElement can give).
// Nodes created by the create* members, and nodes taken out of the tree while
// handles may still refer to them, live under the holder. The holder is never
// counted, returned, searched or written.
#pragma once

#include <pugixml.hpp>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "node/white_space.hpp"
#include "tympora/node/dom.hpp"
#include "tympora/node/object.hpp"

namespace tympora::detail {

// ---- Handles -------------------------------------------------------------
// A DOMNode stores a pugi::xml_node_struct* for tree nodes and a
// pugi::xml_attribute_struct* with the lowest bit set for attributes. pugixml
// allocates both at pointer alignment, so the low bits are free (bit 1 marks
// a document element kept as text, see DirectText).

inline bool IsAttrHandle(const void* p) noexcept {
  return (reinterpret_cast<uintptr_t>(p) & 1u) != 0;
}
inline void* AttrHandle(pugi::xml_attribute a) noexcept {
  return reinterpret_cast<void*>(reinterpret_cast<uintptr_t>(a.internal_object()) | 1u);
}
inline pugi::xml_attribute AttrOf(const void* p) noexcept {
  return pugi::xml_attribute(reinterpret_cast<pugi::xml_attribute_struct*>(
      reinterpret_cast<uintptr_t>(p) & ~static_cast<uintptr_t>(1u)));
}
inline pugi::xml_node NodeOf(const void* p) noexcept {
  return pugi::xml_node(static_cast<pugi::xml_node_struct*>(const_cast<void*>(p)));
}

// ---- Documents kept as text (the direct road, dom_direct.hpp) ------------

// A document that the direct road kept as its text. Its tree is built from
// the text when first needed: `built` is then its document element and the
// tree owns the text. A handle of the document element before that is a
// DirectText* with bit 1 set: DOMNode::Check and ElementView::Of replace it
// by the built element.
struct DirectText {
  char* data = nullptr;  // the UTF-8 text, from pugixml's allocator, until the tree takes it
  size_t size = 0;
  size_t root = 0;  // the offset of the document element's '<'
  pugi::xml_node_struct* built = nullptr;
  bool lost = false;  // the build failed, and the text went with it

  DirectText() = default;
  DirectText(const DirectText&) = delete;
  DirectText& operator=(const DirectText&) = delete;
  ~DirectText() {
    if (data != nullptr) pugi::get_memory_deallocation_function()(data);
  }
};

inline bool IsDirectHandle(const void* p) noexcept {
  return (reinterpret_cast<uintptr_t>(p) & 2u) != 0;
}
inline void* DirectHandle(DirectText* d) noexcept {
  return reinterpret_cast<void*>(reinterpret_cast<uintptr_t>(d) | 2u);
}
inline DirectText* DirectOf(const void* p) noexcept {
  return reinterpret_cast<DirectText*>(reinterpret_cast<uintptr_t>(p) &
                                       ~static_cast<uintptr_t>(3u));
}

// ---- Tree helpers --------------------------------------------------------

inline bool IsHolder(pugi::xml_node n) noexcept {
  return n.type() == pugi::node_element && *n.name() == 0 &&
         n.parent().type() == pugi::node_document;
}

// The first child that the API shows: a document's holder is skipped.
inline pugi::xml_node FirstVisibleChild(pugi::xml_node parent) noexcept {
  pugi::xml_node first = parent.first_child();
  return (first && IsHolder(first)) ? first.next_sibling() : first;
}

// The next node after `cur` in document order inside the subtree of `root`
// (`root` itself excluded), or the null node at the end of the subtree.
inline pugi::xml_node NextInSubtree(pugi::xml_node cur, pugi::xml_node root) noexcept {
  if (pugi::xml_node child = cur.first_child()) return child;
  while (cur != root) {
    if (pugi::xml_node next = cur.next_sibling()) return next;
    cur = cur.parent();
  }
  return pugi::xml_node();
}

// A new, empty pugixml document holding only its holder.
std::unique_ptr<pugi::xml_document> NewTree();

// ---- Child cursors -------------------------------------------------------
// Remembers, for the few parents walked most recently, the last child
// visited by index and the child count, so that item(i) after item(i - 1)
// costs one sibling step even while walks of several parents interleave
// (an import walks a parent, then each child, seven levels deep). Any
// structural change of any tree of the document clears every cursor.
class ChildCursors {
 public:
  // The visible child at `index`, or nullptr outside 0 .. count - 1.
  pugi::xml_node_struct* Item(pugi::xml_node parent, int32_t index);
  // The number of visible children.
  int32_t Count(pugi::xml_node parent);
  void Invalidate() noexcept {
    for (Entry& e : entries_) e.parent = nullptr;
  }

 private:
  struct Entry {
    pugi::xml_node_struct* parent = nullptr;
    pugi::xml_node_struct* node = nullptr;  // the child at `index`, if any
    int32_t index = -1;
    int32_t count = -1;  // -1 until known
    uint64_t used = 0;   // clock value of the last use
  };
  Entry& Acquire(pugi::xml_node_struct* parent);

  static constexpr size_t kEntries = 16;
  std::array<Entry, kEntries> entries_{};
  uint64_t clock_ = 0;
  size_t last_ = 0;
};

// ---- Document state ------------------------------------------------------

// How a parse treats text. A text node that is only blanks, tabs, CR and LF
// is dropped unless white space is preserved. kEmbedText also keeps the
// text of an element whose first content is text in the element itself
// instead of a child node, which halves the nodes of a typical record file;
// the document stores such a tree as "embedded" (see DocImpl).
enum class ParseMode { kKeepBlankText, kDropBlankText, kEmbedText };

// Counted as a live object: the library is not unloaded while a host holds
// a document or any node of one.
struct DocImpl : Object {
  DocImpl();

  // The current tree. Earlier trees that handles may still refer to (a load
  // replaced them while handles were alive) stay in `retired` until no
  // handle can reach them.
  std::unique_ptr<pugi::xml_document> tree;
  std::vector<std::unique_ptr<pugi::xml_document>> retired;
  // The current document when the direct road kept it as text; while its
  // tree is not built, `tree` is empty. Retired ones are always built.
  std::unique_ptr<DirectText> direct;
  std::vector<std::unique_ptr<DirectText>> retired_direct;

  bool async = true;
  bool validate_on_parse = true;
  bool resolve_externals = true;
  bool preserve_white_space = false;
  DOMParseError parse_error;
  ChildCursors cursors;
  // The tree holds embedded text (ParseMode::kEmbedText): each element's
  // pugixml value, when not empty, is the text before its first child.
  // Only the import walk reads that form; every other use of the tree first
  // calls Materialize, which gives each such text its node. pugixml cannot
  // clear an element's value, so once the flag is off element values are
  // stale and nothing reads them.
  bool embedded = false;

  pugi::xml_node Root() const noexcept { return *tree; }
  pugi::xml_node Holder() const noexcept { return tree->first_child(); }

  // Makes `next` the current tree. `shared`: other handles exist, so the
  // old tree must stay alive; otherwise it and all retired trees are freed.
  // `embedded`: `next` holds embedded text.
  void InstallTree(std::unique_ptr<pugi::xml_document> next, bool shared, bool embedded = false);
  // Makes `text` the current document, kept as text, as InstallTree does.
  void InstallDirect(std::unique_ptr<DirectText> text, bool shared);
  // Builds the tree of the current document kept as text, with embedded
  // text (dom_parse.cpp). Raises 7 when memory runs out; the document then
  // stays unusable until it is loaded again.
  void BuildDirect();
  // Turns every embedded text of the current tree into a text node placed
  // first among its element's children; raises 7 when memory runs out.
  void Materialize();
  // Gives the current tree the form every DOM member but the loads and the
  // import expects: built, with a node for each text.
  void Prepare() {
    if (direct && !direct->built && !direct->lost) BuildDirect();
    if (embedded) Materialize();
  }
  // Takes every child out of `parent`: into the holder of its tree when
  // `shared`, freed otherwise.
  void RemoveChildren(pugi::xml_node parent, bool shared);

  // Replaces the content by the parse of `bytes`; fills parse_error.
  // `owned`, when given, is a buffer from pugixml's allocator holding exactly
  // `bytes`, which Parse takes over. With `mangled` given, the parse may run
  // in that buffer; when it then fails, *mangled is set: the bytes are gone
  // and the failure's line and column are not to be trusted.
  bool Parse(std::string_view bytes, bool shared, char* owned = nullptr, bool* mangled = nullptr);
  // Replaces the content by an empty tree and records a failure.
  void Fail(DOMParseError error, bool shared);
  // DOMDocument::load of `doc`, which must not be absent; `read_error` is
  // set to the errno of a file that cannot be read, 0 otherwise.
  static bool Load(DOMDocument& doc, const std::string& path, int& read_error);

  // A handle of `node`, or the absent node for nullptr.
  static DOMNode MakeNode(const std::shared_ptr<DocImpl>& doc, void* node) {
    return node ? DOMNode(doc, node) : DOMNode();
  }
  // The raw node of a handle: for a document element kept as text, its
  // tree is built first (raising 7 when memory runs out).
  static void* Resolve(const DOMNode& n);
  // The node a handle refers to, without building anything: for a
  // document element kept as text, its DirectText until the tree is built.
  static const void* Identity(const DOMNode& n) noexcept;
  // The raw node and the document of a handle.
  static void* Raw(const DOMNode& n) noexcept { return n.node_; }
  static const std::shared_ptr<DocImpl>& DocOf(const DOMNode& n) noexcept { return n.doc_; }
};

// ---- Errors --------------------------------------------------------------

// Loads the file at `path` into `doc` (not absent), raising what keeps it
// from loading: 53 for a file that does not exist, 70 for one that may not
// be read, 1003 for any other read failure and for a text that does not
// parse, with the parser's reason, line and column.
void LoadOrRaise(DOMDocument& doc, const std::string& path);

// Throws the DOM error `number` with its description, ": detail" appended
// when a detail is given, and the DOM source.
[[noreturn]] void RaiseDomError(int32_t number, std::string_view detail = {});

// ---- Characters, names, encodings (dom_text.cpp) -------------------------

// True when `text` is valid UTF-8 and holds only characters that XML 1.0
// allows.
bool IsXmlText(std::string_view text) noexcept;
// Raises 1002 naming the first offending code point or byte of `text`.
[[noreturn]] void RaiseInvalidText(std::string_view text);
inline void CheckXmlText(std::string_view text) {
  if (!IsXmlText(text)) RaiseInvalidText(text);
}
// True when `name` matches the XML Name production.
bool IsXmlName(std::string_view name) noexcept;

// True when `name` is an encoding name as XML spells one:
// [A-Za-z] ([A-Za-z0-9._] | '-')*. That also keeps iconv's own syntax
// ("//TRANSLIT", ",") out of a name.
bool IsEncName(std::string_view name) noexcept;

// Byte offset of the first invalid UTF-8 sequence in `text`; its size when
// there is none.
size_t FirstBadUtf8(std::string_view text) noexcept;

// The reason why `data`, the text after "<?xml" and white space, is no XML
// declaration (version, then encoding and standalone, each at most once and
// well spelt), or nullptr when it is one; `at` receives the fault's offset
// in `data`.
const char* DeclarationFault(std::string_view data, size_t& at);

// ---- Encodings (dom_encoding.cpp) ----------------------------------------

// Converts the bytes of a document to UTF-8 without a byte-order mark, in
// the encoding that its mark, first bytes or declaration name (any that
// iconv knows; UTF-8 when none is named, Windows-1252 for 8-bit text that is
// not UTF-8). `text` is the result: a view of `bytes` when they need no
// conversion, else of `out`. `xml_text` tells when `text` is known to pass
// IsXmlText. On failure returns false with a reason, the offset of the fault
// (in `bytes` for bytes that the encoding does not allow; for a declared
// name that does not fit, the name's offset in the text as UTF-8 without a
// mark, as every other position is given), and in `before` the text decoded
// before it (for its line and column). Linear in the length.
bool DecodeDocument(std::string_view bytes, std::string& out, std::string_view& text,
                    bool& xml_text, std::string& reason, int64_t& offset, std::string_view& before);

// ---- Serialisation (dom_serialize.cpp) -----------------------------------

// Appends `node` and its subtree.
void WriteNode(std::string& out, pugi::xml_node node);
// Appends an attribute as name="value".
void WriteAttribute(std::string& out, pugi::xml_attribute attr);
// Appends each visible child of the document node `doc`, each followed by
// CR LF.
void WriteDocument(std::string& out, pugi::xml_node doc);
// The replacement the serialiser writes for byte `c` of a text node ("&amp;",
// "&#13;" ...), or nullptr when the byte stands as it is. Writers that must
// produce the serialiser's text without a DOM use it.
const char* TextEscapeOf(unsigned char c) noexcept;
// The data of a parsed XML declaration: its pseudo-attributes as name="value".
std::string DeclarationData(pugi::xml_node decl);

}  // namespace tympora::detail
