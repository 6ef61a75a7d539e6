// tympora schema: an XML Schema (XSD 1.0) of the record files, or the
// Markdown tables of the file format's documentation, made from the record
// tables, so that both follow every change of them.
#include <iostream>

#include "commands.hpp"
#include "tables.hpp"

namespace tympora::cli {
namespace {

using support::KindName;
using support::RecordTables;

// The value forms, as patterns of the texts Tympora writes; every one also
// allows the empty text of a Null value.
constexpr char kValueTypes[] = R"(
  <xs:simpleType name="nullMark">
    <xs:restriction base="xs:string"><xs:enumeration value="true"/></xs:restriction>
  </xs:simpleType>
  <xs:simpleType name="idText">
    <xs:restriction base="xs:string"><xs:pattern value="-?[0-9]+"/></xs:restriction>
  </xs:simpleType>
  <xs:simpleType name="integerText">
    <xs:restriction base="xs:string"><xs:pattern value="(-?[0-9]+)?"/></xs:restriction>
  </xs:simpleType>
  <xs:simpleType name="numberText">
    <xs:restriction base="xs:string">
      <xs:pattern value="(-?([0-9]+(\.[0-9]+)?|\.[0-9]+)([Ee][+\-]?[0-9]+)?)?"/>
    </xs:restriction>
  </xs:simpleType>
  <xs:simpleType name="dateText">
    <xs:annotation><xs:documentation>The writer's short date form with a four-digit
      year, then the long time form unless the time is midnight.</xs:documentation></xs:annotation>
    <xs:restriction base="xs:string">
      <xs:pattern value="([0-9]{1,4}[./\-][0-9]{1,2}[./\-][0-9]{1,4}\.?( [0-9]{1,2}[:.][0-9]{2}([:.][0-9]{2})?( ?[^ ]+)?)?)?"/>
    </xs:restriction>
  </xs:simpleType>
  <xs:simpleType name="booleanText">
    <xs:restriction base="xs:string">
      <xs:enumeration value="True"/><xs:enumeration value="False"/><xs:enumeration value=""/>
    </xs:restriction>
  </xs:simpleType>
  <xs:simpleType name="textText"><xs:restriction base="xs:string"/></xs:simpleType>
)";

// A property element's type: its value form with the optional null mark.
std::string PropertyType(std::string_view kind) {
  const std::string name(kind);
  return "  <xs:complexType name=\"" + name + "\">\n    <xs:simpleContent><xs:extension base=\"" +
         name +
         "Text\"><xs:attribute name=\"null\" type=\"nullMark\"/></xs:extension>"
         "</xs:simpleContent>\n  </xs:complexType>\n";
}

std::string RecordType(const RecordInfo& info) {
  const std::string name(info.node_name);
  std::string out = "  <xs:element name=\"" + name + "\" type=\"" + name + "Record\"/>\n" +
                    "  <xs:complexType name=\"" + name + "Record\">\n    <xs:sequence>\n";
  for (const PropertyDef& p : info.properties) {
    out += "      <xs:element name=\"" + std::string(p.element) + "\" type=\"" +
           std::string(KindName(p.Kind())) + "\"/>\n";
  }
  for (const ChildListDef& list : info.children) {
    out += "      <xs:element ref=\"" + std::string(list.element) +
           "\" minOccurs=\"0\" maxOccurs=\"unbounded\"/>\n";
  }
  return out +
         "    </xs:sequence>\n    <xs:attribute name=\"id\" type=\"idText\" use=\"required\"/>\n"
         "  </xs:complexType>\n";
}

// The record tables as the Markdown sections that end docs/file-format.md:
// per record its values in export order with their types, then its lists.
std::string RecordSections() {
  std::string out;
  for (const RecordInfo* info : RecordTables()) {
    out += "\n### `" + std::string(info->node_name) + "`\n\n";
    if (info->properties.empty()) {
      out += "It has no values of its own.\n";
    } else {
      out += "| Element | Type |\n|---|---|\n";
      for (const PropertyDef& p : info->properties) {
        out += "| `" + std::string(p.element) + "` | " + std::string(KindName(p.Kind())) + " |\n";
      }
    }
    if (info->children.empty()) continue;
    out += "\nThen its children: ";
    for (size_t i = 0; i < info->children.size(); ++i) {
      out += (i == 0 ? "`" : ", then `") + std::string(info->children[i].element) + "`";
    }
    out += ", each any number of times.\n";
  }
  return out;
}

}  // namespace

const CommandSpec& SchemaSpec() {
  static const CommandSpec spec{
      .name = "schema",
      .operands = "",
      .min_operands = 0,
      .max_operands = 0,
      .summary = "print an XML Schema (XSD 1.0) of the record files",
      .details =
          "Prints an XML Schema of the files Tympora writes, made from the record\n"
          "tables: every record element with its id and its property elements in\n"
          "their fixed order, then its children; the form of each value. Any record\n"
          "may be the document element. Use it with any validator, e.g.\n"
          "  tympora schema > tympora.xsd && xmllint --noout --schema tympora.xsd FILE\n"
          "With --markdown it prints the same tables as the Markdown sections that\n"
          "end the file format's documentation (docs/file-format.md).",
      .options = {{"markdown", "", "print the record tables as Markdown instead"}},
  };
  return spec;
}

int RunSchema(const Arguments& args) {
  if (args.Has("markdown")) {
    std::cout << RecordSections();
    return 0;
  }
  std::string out =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<!-- The record files of Tympora. Made by 'tympora schema' from the record tables. -->\n"
      "<xs:schema xmlns:xs=\"http://www.w3.org/2001/XMLSchema\">";
  out += kValueTypes;
  for (const PropKind kind :
       {PropKind::Int32, PropKind::Double, PropKind::String, PropKind::Date, PropKind::Bool}) {
    out += PropertyType(KindName(kind));
  }
  for (const RecordInfo* info : RecordTables()) out += RecordType(*info);
  std::cout << out << "</xs:schema>\n";
  return 0;
}

}  // namespace tympora::cli
