// NodeUtility: the procedures shared by every record class. The export frames
// that turn any CNode into XML at four depths, the handling of child lists,
// and the building and reading of property elements.
#pragma once

#include "tympora/export.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "tympora/node/collection.hpp"
#include "tympora/node/dom.hpp"
#include "tympora/node/frames.hpp"
#include "tympora/node/node.hpp"
#include "tympora/node/status.hpp"
#include "tympora/node/variant.hpp"

namespace tympora {

// The text node that goes before every property element and around every
// child record.
inline constexpr std::string_view kCrLf = "\r\n";

// Document := a new document with async, validateOnParse and
// resolveExternals false and preserveWhiteSpace true, holding the
// processing instruction xml "version='1.0'" and the comment
// "document created " followed by the current local date and time.
// DOM failures are raised.
TYMPORA_API void NewXMLDocument(DOMDocument& Document);

// The export frames. Each runs under frame A, calls the record only through
// CNode and never throws; an absent status from the record counts as success.
//
// Writes `Node` as a document to `sFilePath`: 2002 for an empty path (nothing
// touched); deletes any file of that name, creates the file new (no link
// followed) under the lowest free file number and exports through
// ExportXMLFileHandle; the file layer's error when it cannot be created.
// After a failing export the file stays, empty, and is closed. Only a
// regular file or a link is ever deleted: 75 for a folder, device, pipe or
// socket (left as it is), 55 or 70 for a file that a writer holds open, 70 in
// a read-only folder, 76 for a missing folder.
TYMPORA_API StatusPtr ExportNodeToPath(const std::string& sFilePath, CNode& Node);
// Saves `Node` as a document to `sFilePath` so that the path holds the
// complete old file or the complete new one at every instant: exports
// through ExportXMLFileHandle into a new temporary file in the same folder,
// flushes it to disk, renames it over the path and flushes the folder. On
// any failure the old file is untouched and the temporary file removed.
// 2002 for an empty path; 75 when the path names no file or link; 55 or 70
// while a writer holds the old file; the file layer's and the record's
// errors otherwise (61 for a full disk).
TYMPORA_API StatusPtr SaveNodeToPath(const std::string& sFilePath, CNode& Node);
// Writes `Node` as a document to the open file `iFileHandle` at its current
// position, in one write, after one more parse without whitespace-only text
// nodes: 2003 outside 1 to 511, the file layer's 52 for a number not open.
TYMPORA_API StatusPtr ExportNodeToFileHandle(int16_t iFileHandle, CNode& Node);
// Creates `Document` when absent (NewXMLDocument) and appends the record's
// element to it; the DOM's 1001 when the document already has a root.
TYMPORA_API StatusPtr ExportNodeToDocument(DOMDocument& Document, CNode& Node);
// Appends CR LF, the record's element and CR LF under `ParentNode`: 2005
// "Supplied Document Parameter" for an absent document, 2006 "Supplied Parent
// Node Parameter" for an absent parent.
TYMPORA_API StatusPtr ExportNodeToNode(DOMDocument& Document, DOMElement& ParentNode, CNode& Node);

// Raises 2005 with the source "Supplied This Node Parameter" when `ThisNode`
// is absent; does nothing otherwise.
TYMPORA_API void CheckThisNode(const DOMNode& ThisNode);

// Exports each record of `Collection` (may be null) under `ParentNode` in
// list order through ExportXMLNode, under frame B: the first failing record
// stops the walk and its status is raised; earlier records stay appended.
TYMPORA_API void ExportCollectionNodes(DOMDocument& Document, DOMElement& ParentNode,
                                       const NodeCollection* Collection);

// Resets every record of `Collection` (may be null) through CNode::Reset,
// first to last, removing each, then makes `Collection` a new empty list.
// Linear in the length. A failing Reset is raised with the list partly emptied.
template <class T>
void ResetCollection(CollectionPtr<T>& Collection) {
  if (Collection) {
    while (Collection->Count() > 0) {
      Collection->NodeItem(1)->Reset();
      Collection->Remove(1);
    }
  }
  Collection = std::make_shared<tympora::Collection<T>>();
}

// Element := a new element `sName`: with null="true" and no content when
// `bIsNull`; else holding a string untrimmed, or TrimText(ValueToText(value))
// for any other value. Not attached. Failures are raised.
TYMPORA_API void CreatePropertyElement(DOMDocument& Document, std::string_view sName, bool bIsNull,
                                       const Variant& vValue, DOMElement& Element);

// Appends `ChildNode` to the document itself when `ParentNode` is absent, or
// else CR LF and then `ChildNode` under `ParentNode`. ChildNode becomes absent.
TYMPORA_API void AppendChildNode(DOMDocument& Document, DOMElement& ParentNode,
                                 DOMElement& ChildNode);

// CreatePropertyElement then AppendChildNode, under frame B.
TYMPORA_API void AppendPropertyElement(DOMDocument& Document, std::string_view sName, bool bIsNull,
                                       const Variant& vValue, DOMElement& ParentNode);

// True exactly when `ThisNode` has an attribute "null" whose value is the
// text "true" (letter case counts). Raises 91 for an absent node or one
// without an attribute list (a text node).
TYMPORA_API bool IsNullNode(const DOMNode& ThisNode);

// Reads the "id" attribute into `lID` when it is present and numeric, as
// ToInt32(TextToNumber(text)); leaves `lID` otherwise. Raises 6 beyond the
// 32-bit range.
TYMPORA_API void ReadNodeID(const DOMNode& ThisNode, int32_t& lID);

// The identity: the DOM escapes and unescapes markup itself.
TYMPORA_API std::string EncodeXMLText(std::string_view text);
TYMPORA_API std::string DecodeXMLText(std::string_view text);

}  // namespace tympora
