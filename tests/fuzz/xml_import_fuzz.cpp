// Fuzzes the import road: any bytes are parsed as a document, the document
// element is imported into a client list, and the list is exported again.
// Besides "no crash, leak or sanitizer report" it checks:
// - a text that does not parse leaves the document empty, with a reason and
//   a position;
// - the direct road (documents kept as text) accepts and refuses exactly
//   what the parser's road does, with the same report;
// - ImportXMLNode always returns a status, and a failing one has a text;
// - the import reads the tree as the parse left it (for most texts, the
//   text itself) exactly as it reads the same tree once the DOM has been
//   used (which builds the tree and gives every text its node);
// - whatever an import read can be exported (every value came from XML);
// - export and import reach a fixpoint after one round: the tree read back
//   from an export exports to the same element text and compares equal to
//   the tree read back once more;
// - the file road (ExportXMLPath) writes exactly the document road's text
//   after its second parse.
#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

#include "fuzz_util.hpp"
#include "node/dom_testing.hpp"
#include "tree.hpp"
#include "tympora/node/dom.hpp"
#include "tympora/records/clients.hpp"

namespace {

using namespace tympora;
using fuzz::Broken;
using fuzz::Describe;

// Breaks at `step` unless `status` reports success.
void RequireSuccess(const StatusPtr& status, const char* step) {
  if (!status || status->Number() != 0) Broken(step, Describe(status));
}

// Imports the element text `xml` (parsed with whitespace kept) into a new list.
std::shared_ptr<CClients> ImportText(const std::string& xml, const char* step) {
  DOMDocument doc = DOMDocument::New();
  doc.preserveWhiteSpace(true);
  if (!doc.loadXML(xml)) Broken(step, doc.parseError().reason + "\n" + xml);
  auto clients = std::make_shared<CClients>();
  DOMNode root = doc.documentElement();
  RequireSuccess(clients->ImportXMLNode(root), step);
  return clients;
}

// The record's element as ExportXMLDocument builds it.
std::string ExportElement(CClients& clients, DOMDocument& doc, const char* step) {
  doc = DOMDocument();
  RequireSuccess(clients.ExportXMLDocument(doc), step);
  return doc.documentElement().xml();
}

std::string WithoutComment(std::string text) {
  const size_t start = text.find("<!--");
  const size_t end = text.find("-->", start);
  if (start != std::string::npos && end != std::string::npos) text.erase(start, end + 3 - start);
  return text;
}

// ExportXMLPath must write what the document road writes: the document's
// text after a second parse without whitespace-only text nodes.
void CheckFileRoad(CClients& clients, const DOMDocument& exported) {
  const std::string& path = fuzz::ScratchFile();
  RequireSuccess(clients.ExportXMLPath(path),
                 "ExportXMLPath failed where ExportXMLDocument succeeded");
  std::stringstream file;
  file << std::ifstream(path, std::ios::binary).rdbuf();
  DOMDocument reparsed = DOMDocument::New();
  reparsed.loadXML(exported.xml());
  const std::string expected = WithoutComment(reparsed.xml());
  const std::string actual = WithoutComment(file.str());
  if (actual != expected)
    Broken("file road differs", "file:\n" + actual + "\nexpected:\n" + expected);
}

// The parser's road alone must accept and refuse as both roads together do.
void CheckParserRoad(std::string_view text, const DOMDocument& doc, bool ok) {
  testing_hooks::SetDirectRoad(false);
  DOMDocument parsed = DOMDocument::New();
  const bool parsed_ok = parsed.loadXML(text);
  testing_hooks::SetDirectRoad(true);
  const DOMParseError& a = doc.parseError();
  const DOMParseError& b = parsed.parseError();
  if (parsed_ok != ok || a.errorCode != b.errorCode || a.reason != b.reason || a.line != b.line ||
      a.linepos != b.linepos || a.filepos != b.filepos)
    Broken("the direct road and the parser's road disagree", a.reason + " / " + b.reason);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  DOMDocument doc = DOMDocument::New();
  const bool ok = doc.loadXML(text);
  CheckParserRoad(text, doc, ok);
  if (!ok) {
    const DOMParseError& e = doc.parseError();
    if (e.errorCode == 0 || e.reason.empty() || e.line < 1 || e.linepos < 1)
      Broken("parse failure without a located reason", e.reason);
    if (doc.documentElement()) Broken("a failed parse left a document element");
    return 0;
  }
  DOMNode root = doc.documentElement();
  if (!root) Broken("a parsed document without an element");

  auto first = std::make_shared<CClients>();
  StatusPtr imported = first->ImportXMLNode(root);
  if (!imported) Broken("ImportXMLNode returned no status");
  if (imported->Number() != 0 && imported->Description().empty())
    Broken("a failing import without a description", Describe(imported));
  {
    DOMDocument used = DOMDocument::New();
    if (!used.loadXML(text)) Broken("a text parsed once but not twice");
    DOMNode used_root = used.documentElement();
    (void)used_root.childNodes().length();  // any use of the DOM will do
    auto alike = std::make_shared<CClients>();
    StatusPtr status = alike->ImportXMLNode(used_root);
    const std::string diff = support::CompareTrees(*first, *alike);
    if (status->Number() != imported->Number() || !diff.empty())
      Broken("import differs once the DOM was used",
             Describe(status) + " / " + Describe(imported) + "\n" + diff);
  }

  DOMDocument exported, again;
  const std::string once = ExportElement(*first, exported, "export of an imported tree");
  std::shared_ptr<CClients> second = ImportText(once, "import of an export");
  const std::string twice = ExportElement(*second, again, "second export");
  std::shared_ptr<CClients> third = ImportText(twice, "second import");
  if (ExportElement(*third, again, "third export") != twice)
    Broken("export text is no fixpoint", twice);
  if (const std::string diff = support::CompareTrees(*second, *third); !diff.empty())
    Broken("import of an export is no fixpoint", diff);
  CheckFileRoad(*first, exported);
  return 0;
}
