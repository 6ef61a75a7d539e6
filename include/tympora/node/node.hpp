// CNode: the node interface that every record implements, and through which
// the export frames and container records handle a record without knowing its
// class.
#pragma once

#include "tympora/export.h"

#include <cstdint>
#include <memory>
#include <string>

#include "tympora/node/dom.hpp"
#include "tympora/node/object.hpp"
#include "tympora/node/status.hpp"
#include "tympora/node/variant.hpp"

namespace tympora {

// The fifteen members of the node interface, in interface order. Members that
// return a status never throw: every failure is in the status, and an absent
// (null) status counts as success wherever the library receives one.
class TYMPORA_API CNode : public Object {
 public:
  ~CNode() override = default;

  // The record's element name ("Curve", "ClientOrPatient" ...).
  virtual std::string NodeName() const = 0;
  // Stores the record's ID: a plain 32-bit value, no null flag, no check.
  virtual void ID(int32_t lValue) = 0;
  // The record's ID.
  virtual int32_t ID() const = 0;
  // The value of the property whose element name is exactly `sPropertyName`,
  // in a Variant of the property's kind (a Null value reads as its zero); an
  // Empty Variant for any other name. Never throws for an unknown name.
  virtual Variant PropertyByName(const std::string& sPropertyName) const = 0;
  // Converts `vValue` to the property's type and assigns it through the
  // property's setter (which clears its null flag). Any other name does
  // nothing. A failing conversion (13, 94, 6) is raised and nothing is stored.
  virtual void PropertyByName(const std::string& sPropertyName, const Variant& vValue) = 0;
  // Builds the record's element in `Document`, with its "id", property
  // elements and children, and returns it in `ThisNode`, unattached. A
  // failure is raised after the elements built so far are released.
  virtual void CreateXMLElement(DOMDocument& Document, DOMElement& ThisNode) = 0;
  // Writes the record as a whole XML document to the file `sFilePath`,
  // replacing any file of that name. 2002 for an empty path.
  virtual StatusPtr ExportXMLPath(const std::string& sFilePath) = 0;
  // Writes the record as a whole XML document to the open file number
  // `iFileHandle`, at its current position. 2003 outside 1 to 511.
  virtual StatusPtr ExportXMLFileHandle(int16_t iFileHandle) = 0;
  // Appends the record's element to `Document`; creates the document (with
  // its declaration and comment) when `Document` is absent and hands it back.
  virtual StatusPtr ExportXMLDocument(DOMDocument& Document) = 0;
  // Appends CR LF, the record's element and CR LF under `ParentNode`.
  // 2005 for an absent document, 2006 for an absent parent.
  virtual StatusPtr ExportXMLNode(DOMDocument& Document, DOMElement& ParentNode) = 0;
  // Reads the record from an element without resetting it first. 2005 for
  // an absent node; the first failing child ends the walk with its status.
  virtual StatusPtr ImportXMLNode(const DOMNode& ThisNode) = 0;
  // Not provided: each returns a status 2001 "Not implemented.".
  virtual StatusPtr ExportTXT(int16_t iFileHandle) = 0;
  virtual StatusPtr ExportPDF(Variant& oParam1) = 0;
  virtual StatusPtr ExportPostScript(int16_t iFileHandle) = 0;
  // Returns the record to its state after construction; a container resets
  // and drops its children.
  virtual void Reset() = 0;

 protected:
  CNode() = default;
};

using NodePtr = std::shared_ptr<CNode>;

// The standalone CNode class: every member does nothing. NodeName is empty,
// ID reads 0, PropertyByName reads Empty, CreateXMLElement leaves ThisNode
// unchanged, and the eight status members return an absent (null) status.
class TYMPORA_API StandaloneNode : public CNode {
 public:
  std::string NodeName() const override { return {}; }
  void ID(int32_t) override {}
  int32_t ID() const override { return 0; }
  Variant PropertyByName(const std::string&) const override { return {}; }
  void PropertyByName(const std::string&, const Variant&) override {}
  void CreateXMLElement(DOMDocument&, DOMElement&) override {}
  StatusPtr ExportXMLPath(const std::string&) override { return nullptr; }
  StatusPtr ExportXMLFileHandle(int16_t) override { return nullptr; }
  StatusPtr ExportXMLDocument(DOMDocument&) override { return nullptr; }
  StatusPtr ExportXMLNode(DOMDocument&, DOMElement&) override { return nullptr; }
  StatusPtr ImportXMLNode(const DOMNode&) override { return nullptr; }
  StatusPtr ExportTXT(int16_t) override { return nullptr; }
  StatusPtr ExportPDF(Variant&) override { return nullptr; }
  StatusPtr ExportPostScript(int16_t) override { return nullptr; }
  void Reset() override {}
};

}  // namespace tympora
