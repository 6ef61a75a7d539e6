// Serialisation of DOM trees to XML text.
//
// Text escapes & < > and writes CR as a character reference, so that a
// carriage return survives the end-of-line normalisation of the next parse.
// Attribute values escape & < " and write TAB, LF and CR as references, so
// that attribute-value normalisation keeps them. Every text, value, comment
// and processing-instruction data is checked against the XML 1.0 character
// set first. The walk is iterative: no recursion, whatever the depth.
#include <array>
#include <cstring>

#include "node/dom_internal.hpp"

namespace tympora::detail {
namespace {

using EscapeTable = std::array<const char*, 256>;

constexpr EscapeTable MakeTextTable() {
  EscapeTable t{};
  t['&'] = "&amp;";
  t['<'] = "&lt;";
  t['>'] = "&gt;";
  t['\r'] = "&#13;";
  return t;
}

constexpr EscapeTable MakeAttrTable() {
  EscapeTable t{};
  t['&'] = "&amp;";
  t['<'] = "&lt;";
  t['"'] = "&quot;";
  t['\t'] = "&#9;";
  t['\n'] = "&#10;";
  t['\r'] = "&#13;";
  return t;
}

constexpr EscapeTable kTextEscapes = MakeTextTable();
constexpr EscapeTable kAttrEscapes = MakeAttrTable();

// Appends `s` with the characters of `table` replaced, copying the runs
// between them in one piece each.
void AppendEscaped(std::string& out, std::string_view s, const EscapeTable& table) {
  CheckXmlText(s);
  const char* run = s.data();
  const char* const end = run + s.size();
  for (const char* p = run; p != end; ++p) {
    const char* replacement = table[static_cast<unsigned char>(*p)];
    if (replacement == nullptr) continue;
    out.append(run, p);
    out.append(replacement);
    run = p + 1;
  }
  out.append(run, end);
}

// Appends a checked value that needs no escaping.
void AppendChecked(std::string& out, std::string_view s) {
  CheckXmlText(s);
  out.append(s);
}

void AppendAttributes(std::string& out, pugi::xml_node n, bool skip_encoding) {
  for (pugi::xml_attribute a = n.first_attribute(); a; a = a.next_attribute()) {
    // A parsed declaration may name the encoding of the bytes it came from;
    // our text is always UTF-8, the meaning of a declaration without one.
    if (skip_encoding && std::strcmp(a.name(), "encoding") == 0) continue;
    out.push_back(' ');
    WriteAttribute(out, a);
  }
}

// CDATA content cannot hold "]]>": split it across two sections.
void AppendCData(std::string& out, std::string_view s) {
  CheckXmlText(s);
  out.append("<![CDATA[");
  for (size_t at; (at = s.find("]]>")) != std::string_view::npos; s.remove_prefix(at + 2)) {
    out.append(s.substr(0, at + 2));
    out.append("]]><![CDATA[");
  }
  out.append(s);
  out.append("]]>");
}

// Writes the node itself; for an element with children only its start tag.
// Returns true when the walk must descend into its children.
bool WriteOpen(std::string& out, pugi::xml_node n) {
  switch (n.type()) {
    case pugi::node_element:
      out.push_back('<');
      out.append(n.name());
      AppendAttributes(out, n, false);
      if (n.first_child()) {
        out.push_back('>');
        return true;
      }
      out.append("/>");
      return false;
    case pugi::node_pcdata:
      AppendEscaped(out, n.value(), kTextEscapes);
      return false;
    case pugi::node_cdata:
      AppendCData(out, n.value());
      return false;
    case pugi::node_comment:
      out.append("<!--");
      AppendChecked(out, n.value());
      out.append("-->");
      return false;
    case pugi::node_pi:
      out.append("<?");
      out.append(n.name());
      if (*n.value() != 0) {
        out.push_back(' ');
        AppendChecked(out, n.value());
      }
      out.append("?>");
      return false;
    case pugi::node_declaration:
      out.append("<?xml");
      AppendAttributes(out, n, true);
      out.append("?>");
      return false;
    default:
      return false;
  }
}

void WriteClose(std::string& out, pugi::xml_node element) {
  out.append("</");
  out.append(element.name());
  out.push_back('>');
}

}  // namespace

const char* TextEscapeOf(unsigned char c) noexcept { return kTextEscapes[c]; }

void WriteAttribute(std::string& out, pugi::xml_attribute attr) {
  out.append(attr.name());
  out.append("=\"");
  AppendEscaped(out, attr.value(), kAttrEscapes);
  out.push_back('"');
}

void WriteNode(std::string& out, pugi::xml_node root) {
  pugi::xml_node cur = root;
  for (;;) {
    if (WriteOpen(out, cur)) {
      cur = cur.first_child();
      continue;
    }
    // Climb until a next sibling, closing the elements left on the way.
    for (;;) {
      if (cur == root) return;
      if (pugi::xml_node next = cur.next_sibling()) {
        cur = next;
        break;
      }
      cur = cur.parent();
      WriteClose(out, cur);
    }
  }
}

void WriteDocument(std::string& out, pugi::xml_node doc) {
  for (pugi::xml_node n = FirstVisibleChild(doc); n; n = n.next_sibling()) {
    WriteNode(out, n);
    out.append("\r\n");
  }
}

std::string DeclarationData(pugi::xml_node decl) {
  std::string data;
  for (pugi::xml_attribute a = decl.first_attribute(); a; a = a.next_attribute()) {
    if (!data.empty()) data.push_back(' ');
    WriteAttribute(data, a);
  }
  return data;
}

}  // namespace tympora::detail
