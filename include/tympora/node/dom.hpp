// The XML DOM: documents, elements, text nodes, comments, the "xml"
// processing instruction, attributes, child lists, serialisation and parsing,
// under the names of the DOMDocument family that hosts know.
//
// Handles: DOMDocument and DOMNode are reference-counted handles. A node
// handle keeps its document alive. A default-constructed handle is the absent
// object; every member called on it raises error 91, except the tests for
// absence. DOM failures raise a tympora::Error with a number of the DomError
// table below and the source "DOMDocument".
//
// Rules: a document takes one element only; baseName is the local name after
// any prefix; text resolves character and entity references; loadXML with
// preserveWhiteSpace false drops every whitespace-only text node; the "xml"
// declaration, comments and CDATA survive a parse; no DTD or external entity
// is ever read. Visiting childNodes().item(i) for i = 0, 1, 2 ... costs O(1)
// per step.
#pragma once

#include "tympora/export.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "tympora/node/variant.hpp"

namespace tympora {

// Error numbers of the DOM.
enum DomError : int32_t {
  kDomErrSecondRoot = 1001,     // a second element at the top of a document
  kDomErrInvalidChar = 1002,    // a character that XML 1.0 does not allow
  kDomErrParse = 1003,          // a text or file that does not parse, where that matters
  kDomErrHierarchy = 1004,      // a node that cannot be inserted or used there
  kDomErrInvalidName = 1005,    // a name that is not an XML name
  kDomErrWrongDocument = 1006,  // a node of another document
  kDomErrMarkup = 1007,         // a text that would end its comment or instruction when written
};

// The description of a DomError number; the empty text for other numbers.
TYMPORA_API const char* DomErrorText(int32_t number) noexcept;

inline constexpr const char* kDomSource = "DOMDocument";

enum class DOMNodeType : int32_t {
  Invalid = 0,
  Element = 1,
  Attribute = 2,
  Text = 3,
  CData = 4,
  ProcessingInstruction = 7,
  Comment = 8,
  Document = 9,
};

namespace detail {
struct DocImpl;
}

class DOMNodeList;
class DOMNamedNodeMap;

// A node of a document: element, attribute, text, CDATA, comment, processing
// instruction or the document node itself.
class TYMPORA_API DOMNode {
 public:
  DOMNode() = default;

  // True for a handle that refers to a node.
  explicit operator bool() const noexcept { return node_ != nullptr; }
  bool IsAbsent() const noexcept { return node_ == nullptr; }

  DOMNodeType nodeType() const;
  // The qualified name: "ns:Curve" for an element, "#text", "#comment",
  // "#cdata-section", "#document", the target of a processing instruction.
  std::string nodeName() const;
  // The local name after any prefix; the empty text for text and comment nodes.
  std::string baseName() const;
  // The text content: for an element or document the concatenated text of
  // every text and CDATA descendant, references resolved; for any other node
  // its value.
  std::string text() const;
  // Replaces the content of an element by one text node holding `value` (no
  // text node when `value` is empty); sets the value of any other node.
  // Raises 1002 for a character that XML 1.0 forbids and 1007 for a text
  // that would end a comment or processing instruction early.
  void text(std::string_view value);
  // The value as a Variant: a string for attributes, text, CDATA, comments
  // and processing instructions; Null for elements and documents.
  Variant nodeValue() const;

  // The attribute list of an element; the absent list for any other node.
  DOMNamedNodeMap attributes() const;
  // Sets or replaces the text attribute `name` of an element. Raises 1004 on
  // a node that is not an element and 1005 for a name that is not an XML name.
  void setAttribute(std::string_view name, std::string_view value);

  // The child nodes, in document order.
  DOMNodeList childNodes() const;
  DOMNode firstChild() const;
  DOMNode parentNode() const;

  // Appends `child` (a node of the same document that has no parent yet) as
  // the last child and returns it. Raises 91 for an absent child, 1006 for a
  // node of another document, 1004 where the node cannot go, and 1001 for a
  // second element at the top of a document.
  DOMNode appendChild(const DOMNode& child);

  // Serialisation of this node and everything below it.
  std::string xml() const;

 private:
  friend struct detail::DocImpl;
  friend class DOMDocument;
  friend class DOMNodeList;
  friend class DOMNamedNodeMap;
  DOMNode(std::shared_ptr<detail::DocImpl> doc, void* node) : doc_(std::move(doc)), node_(node) {}
  void Check() const;

  std::shared_ptr<detail::DocImpl> doc_;
  // The node. A document element whose tree is not built yet is a token of
  // its document, which the first member called replaces by the node.
  mutable void* node_ = nullptr;
};

// True when both handles refer to the same node (or both are absent).
TYMPORA_API bool operator==(const DOMNode& a, const DOMNode& b) noexcept;

// Elements are nodes; the alias names the role in signatures.
using DOMElement = DOMNode;

// The child nodes of a node. length() counts them; item(i) from 0.
class TYMPORA_API DOMNodeList {
 public:
  DOMNodeList() = default;
  // Number of child nodes. Raises 91 on the absent list.
  int32_t length() const;
  // The child at `index` (0 to length - 1), or the absent node outside that range.
  DOMNode item(int32_t index) const;

 private:
  friend class DOMNode;
  explicit DOMNodeList(DOMNode parent) : parent_(std::move(parent)) {}
  DOMNode parent_;
};

// The attributes of an element.
class TYMPORA_API DOMNamedNodeMap {
 public:
  DOMNamedNodeMap() = default;
  // True for the list of an element; false for the absent list of other nodes.
  explicit operator bool() const noexcept { return static_cast<bool>(owner_); }
  // Number of attributes. Raises 91 on the absent list.
  int32_t length() const;
  // The attribute whose name is exactly `name`, or the absent node.
  // Raises 91 on the absent list.
  DOMNode getNamedItem(std::string_view name) const;
  // The attribute at `index` (0 to length - 1), or the absent node.
  DOMNode item(int32_t index) const;

 private:
  friend class DOMNode;
  explicit DOMNamedNodeMap(DOMNode owner) : owner_(std::move(owner)) {}
  DOMNode owner_;
};

// Where and why the last load or loadXML failed.
// Positions count in the document's text as UTF-8; for a byte sequence that
// the document's encoding does not allow, filepos is its offset in the bytes
// read.
struct TYMPORA_API DOMParseError {
  int32_t errorCode = 0;  // 0 after a successful parse
  std::string reason;     // the parser's description
  int64_t line = 0;       // 1-based line of the failure
  int64_t linepos = 0;    // 1-based column (in bytes) of the failure
  int64_t filepos = 0;    // 0-based byte offset of the failure
};

// A document. DOMDocument::New() makes one; a default-constructed handle is absent.
class TYMPORA_API DOMDocument {
 public:
  DOMDocument() = default;
  // A new, empty document with the default settings: async true,
  // validateOnParse true, resolveExternals true, preserveWhiteSpace false.
  static DOMDocument New();

  explicit operator bool() const noexcept { return static_cast<bool>(doc_); }
  bool IsAbsent() const noexcept { return !doc_; }

  // Settings. Only preserveWhiteSpace changes what a parse keeps; no DTD or
  // external entity is read whatever resolveExternals says.
  bool async() const;
  void async(bool value);
  bool validateOnParse() const;
  void validateOnParse(bool value);
  bool resolveExternals() const;
  void resolveExternals(bool value);
  bool preserveWhiteSpace() const;
  void preserveWhiteSpace(bool value);

  // New nodes of this document, not attached anywhere. Each raises 1002 for
  // a text with a character that XML 1.0 forbids. createElement raises 1005
  // for a name that is not an XML name; createComment raises 1007 for a text
  // holding "--" or ending in "-", createProcessingInstruction 1007 for data
  // holding "?>". With the target "xml" it makes the XML declaration, whose
  // data must be version, encoding and standalone as XML writes them (1007).
  DOMElement createElement(std::string_view tagName);
  DOMNode createTextNode(std::string_view data);
  DOMNode createComment(std::string_view data);
  DOMNode createProcessingInstruction(std::string_view target, std::string_view data);

  // Replaces the content by the parse of `text`, which must be well-formed
  // XML 1.0. Returns false and leaves the document empty when it is not;
  // parseError() then says where and why (1003). The encoding is found as
  // XML prescribes: a byte-order mark (UTF-8, UTF-16, UCS-4), else the first
  // bytes and the declaration, which may name any encoding that the C
  // library's iconv knows, in any letter case; without a declaration the
  // text is UTF-8, or Windows-1252 when it is not valid UTF-8. An encoding
  // that iconv does not know, a declaration that contradicts the mark, and
  // bytes that the encoding does not allow are parse errors.
  bool loadXML(std::string_view text);
  // The same for the file at `path`. Its encoding is found as loadXML finds it.
  // Only a regular
  // file is read, and no more of it than its size at the open. A file that
  // cannot be read leaves the document empty, and parseError() gives the
  // number and a reason naming the path: 53 no such file, 76 no such folder,
  // 70 no permission, 75 a folder, pipe or device, 7 out of memory.
  bool load(const std::string& path);
  // The result of the last load or loadXML.
  const DOMParseError& parseError() const;

  // The document element, or the absent node.
  DOMElement documentElement() const;
  // The document as a node (type Document).
  DOMNode AsNode() const;
  DOMNodeList childNodes() const;
  // Appends a top-level node; see DOMNode::appendChild.
  DOMNode appendChild(const DOMNode& child);
  // The serialisation of the whole document, each top-level node followed by
  // CR LF. Raises 1002 when a text holds a character that XML 1.0 forbids.
  std::string xml() const;

  friend bool operator==(const DOMDocument& a, const DOMDocument& b) noexcept {
    return a.doc_ == b.doc_;
  }

 private:
  friend struct detail::DocImpl;
  explicit DOMDocument(std::shared_ptr<detail::DocImpl> doc) : doc_(std::move(doc)) {}
  void Check() const;
  std::shared_ptr<detail::DocImpl> doc_;
};

}  // namespace tympora
