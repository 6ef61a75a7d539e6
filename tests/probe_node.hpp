// Probe: a small test-only record that implements CNode directly, with
// switches that make each step of an export fail or misbehave.
#pragma once

#include <string>

#include "tympora/node/error.hpp"
#include "tympora/node/node_utility.hpp"

namespace tympora::testing {

class Probe : public CNode {
 public:
  std::string name = "probe";
  bool name_null = false;
  int32_t fail_number = 0;     // CreateXMLElement raises this after its property element
  bool absent_status = false;  // ExportXMLDocument returns no status at all
  bool no_document = false;    // ExportXMLDocument succeeds without a document
  int resets = 0;

  std::string NodeName() const override { return "Probe"; }
  void ID(int32_t lValue) override { id_ = lValue; }
  int32_t ID() const override { return id_; }
  Variant PropertyByName(const std::string& n) const override {
    return n == "Name" ? Variant(name) : Variant();
  }
  void PropertyByName(const std::string& n, const Variant& v) override {
    if (n == "Name") name = v.AsString();
  }
  void CreateXMLElement(DOMDocument& doc, DOMElement& element) override {
    RunFrameB([&] {
      element = doc.createElement("Probe");
      element.setAttribute("id", std::to_string(id_));
      AppendPropertyElement(doc, "Name", name_null, Variant(name), element);
      if (fail_number != 0) throw Error(fail_number, "probe failure", "Probe");
      element.appendChild(doc.createTextNode(kCrLf));
    });
  }
  StatusPtr ExportXMLPath(const std::string& p) override { return ExportNodeToPath(p, *this); }
  StatusPtr ExportXMLFileHandle(int16_t n) override { return ExportNodeToFileHandle(n, *this); }
  StatusPtr ExportXMLDocument(DOMDocument& doc) override {
    if (no_document) return NewStatus();
    StatusPtr status = ExportNodeToDocument(doc, *this);
    return absent_status ? nullptr : status;
  }
  StatusPtr ExportXMLNode(DOMDocument& doc, DOMElement& parent) override {
    return ExportNodeToNode(doc, parent, *this);
  }
  StatusPtr ImportXMLNode(const DOMNode&) override { return NewStatus(); }
  StatusPtr ExportTXT(int16_t) override { return NotImplementedStatus("ExportTXT"); }
  StatusPtr ExportPDF(Variant&) override { return NotImplementedStatus("ExportPDF"); }
  StatusPtr ExportPostScript(int16_t) override { return NotImplementedStatus("ExportPostScript"); }
  void Reset() override {
    ++resets;
    id_ = 0;
    name.clear();
  }

 private:
  int32_t id_ = 0;
};

}  // namespace tympora::testing
