// RecordBase: the behaviour that every record class shares, driven by the
// record's property table.
//
// The record classes differ in data, not in behaviour. Each declares its
// properties once, in a table (RecordInfo) in its own source: element name,
// type, the field that holds value and null flag, and the setter's rule. From
// that one table come the export order, the PropertyByName lookup, the
// import walk, Reset, late-bound dispatch and tree comparison.
#pragma once

#include "tympora/export.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <variant>
#include <vector>

#include "tympora/node/collection.hpp"
#include "tympora/node/node.hpp"
#include "tympora/node/nullable.hpp"

namespace tympora {

class RecordBase;

// The value types a record property can have, in the order of the
// alternatives of FieldAccess (PropertyDef::Kind reads one from the other).
enum class PropKind { Int32, Double, String, Date, Bool };

// Access to one property's field of a record. The function returns the field
// of the record it is given, which must be of the table's class.
using FieldAccess =
    std::variant<Nullable<int32_t>& (*)(RecordBase&), Nullable<double>& (*)(RecordBase&),
                 Nullable<std::string>& (*)(RecordBase&), Nullable<Date>& (*)(RecordBase&),
                 Nullable<bool>& (*)(RecordBase&)>;

// True when alternative K of FieldAccess is the access to a Nullable<T>.
template <PropKind K, class T>
inline constexpr bool kKindHolds =
    std::is_same_v<std::variant_alternative_t<static_cast<size_t>(K), FieldAccess>,
                   Nullable<T>& (*)(RecordBase&)>;
static_assert(kKindHolds<PropKind::Int32, int32_t> && kKindHolds<PropKind::Double, double> &&
                  kKindHolds<PropKind::String, std::string> && kKindHolds<PropKind::Date, Date> &&
                  kKindHolds<PropKind::Bool, bool> && std::variant_size_v<FieldAccess> == 5,
              "PropKind must name the alternatives of FieldAccess in their order");

// One property of a record class.
struct TYMPORA_API PropertyDef {
  std::string_view element;   // the element name, also the PropertyByName name
  std::string_view property;  // the C++ member name (InputVal, CellPhone ...)
  FieldAccess field;
  // For 32-bit properties: values the setter accepts (nullptr: all).
  bool (*accepts)(int32_t) = nullptr;

  PropKind Kind() const noexcept { return static_cast<PropKind>(field.index()); }
};

// One child list of a container record.
struct TYMPORA_API ChildListDef {
  std::string_view element;       // the children's element name (their NodeName)
  std::string_view property;      // the list's member name (CurveData ...)
  std::string_view add_member;    // AddCurveDatum ...
  std::string_view reset_member;  // ResetCurveData ...
  const NodeCollection* (*list)(const RecordBase&);
  // Resets and drops every child, then makes the list new and empty.
  void (*reset)(RecordBase&);
  // A new child in its reset state.
  std::shared_ptr<CNode> (*create)();
  // Adds a child under its ID's key: 91 absent, 13 wrong class, 457 duplicate.
  void (*add)(RecordBase&, const std::shared_ptr<CNode>&);
  // Adds a child made by `create`, whose class is known, as `add` does,
  // taking the caller's reference.
  void (*adopt)(RecordBase&, std::shared_ptr<CNode>&&);
  // The live list itself, shared with the caller (what dispatch hands out).
  std::shared_ptr<NodeCollection> (*shared_list)(const RecordBase&);
};

// The table of one record class, with the lookups built from it.
class TYMPORA_API RecordInfo {
 public:
  struct Alias {
    std::string_view name;     // an extra name PropertyByName accepts
    std::string_view element;  // the element name of the property it stands for
  };

  RecordInfo(std::string_view node_name, std::string_view class_name, const char* txt_source,
             std::vector<PropertyDef> properties, std::vector<ChildListDef> children = {},
             std::vector<Alias> aliases = {}, bool id_by_name = false);

  std::string_view node_name;           // "CurveDatum"
  std::string_view class_name;          // "CCurveDatum"
  const char* txt_source;               // the source of ExportTXT's 2001 status
  std::vector<PropertyDef> properties;  // in export order
  std::vector<ChildListDef> children;   // in export order
  std::vector<Alias> aliases;
  bool id_by_name;  // "ID" reads the ID through PropertyByName (and is ignored on set)

  // What a name means in the table: a property or a child list (with its
  // index in `properties` or `children`), the record's ID, or nothing.
  struct Entry {
    enum class Kind : uint8_t { None, Property, ChildList, Id };
    Kind kind = Kind::None;
    uint32_t index = 0;

    explicit operator bool() const noexcept { return kind != Kind::None; }
    bool IsProperty() const noexcept { return kind == Kind::Property; }
    bool IsChildList() const noexcept { return kind == Kind::ChildList; }
    friend bool operator==(const Entry&, const Entry&) = default;
  };

  // The property or child list whose element is named `name` on import; the
  // empty entry when there is none.
  Entry FindElement(std::string_view name) const;
  // The entry of the element most likely to follow one of `entry` in a
  // file (the empty entry: at the start), following the export order; the
  // empty entry when no element can.
  Entry Guess(Entry entry) const noexcept;
  // The element name of a property or child-list entry; empty for others.
  std::string_view ElementOf(Entry entry) const noexcept;
  // The property that PropertyByName `name` stands for, the ID for "ID"
  // where id_by_name, or the empty entry.
  Entry FindName(std::string_view name) const;
  // The property of a property entry; nullptr for any other.
  const PropertyDef* PropertyOf(Entry entry) const noexcept {
    return entry.IsProperty() ? &properties[entry.index] : nullptr;
  }

  // The written forms of one property element, made once with the table so
  // that the writer copies each in one piece.
  // Each points into one text of the table's that holds at least
  // kFormPadding more bytes after it, so that a writer may copy a fixed
  // number of bytes and keep the form's length.
  struct ElementForms {
    std::string_view open;        // <Name>
    std::string_view close;       // </Name>
    std::string_view null_value;  // <Name null="true"/>
    std::string_view empty;       // <Name/>
  };
  static constexpr size_t kFormPadding = 32;
  // Per property, in export order.
  const std::vector<ElementForms>& Forms() const noexcept { return forms_; }
  // The start of the record's own element up to its id's value (<Name id=")
  // and its end tag (</Name>), laid out as the forms are.
  std::string_view RecordOpen() const noexcept { return record_open_; }
  std::string_view RecordClose() const noexcept { return record_close_; }

  RecordInfo(const RecordInfo&) = delete;
  RecordInfo& operator=(const RecordInfo&) = delete;

 private:
  std::string form_text_;  // every form, then kFormPadding bytes
  std::vector<ElementForms> forms_;
  std::string_view record_open_;
  std::string_view record_close_;
  std::unordered_map<std::string_view, Entry> by_element_;
  std::unordered_map<std::string_view, Entry> by_name_;
};

// Adds `child` to `list` under its ID as decimal text, the key
// TrimText(ValueToText(child->ID())), creating the list when absent. Raises
// 91 for an absent child and 457 for a key already present (list unchanged).
template <class T>
void AddChildRecord(CollectionPtr<T>& list, std::shared_ptr<T> child) {
  if (!child) RaisePlatformError(kErrObjectNotSet);
  if (!list) list = std::make_shared<Collection<T>>();
  std::string key = std::to_string(child->ID());
  list->Add(std::move(child), std::move(key));
}

// The CNode members of a record, all generic.
class TYMPORA_API RecordBase : public CNode {
 public:
  // The table of the record's class.
  virtual const RecordInfo& Info() const = 0;

  std::string NodeName() const override;
  void ID(int32_t lValue) override { id_ = lValue; }
  int32_t ID() const override { return id_; }
  Variant PropertyByName(const std::string& sPropertyName) const override;
  void PropertyByName(const std::string& sPropertyName, const Variant& vValue) override;
  void CreateXMLElement(DOMDocument& Document, DOMElement& ThisNode) override;
  StatusPtr ExportXMLPath(const std::string& sFilePath) override;
  StatusPtr ExportXMLFileHandle(int16_t iFileHandle) override;
  StatusPtr ExportXMLDocument(DOMDocument& Document) override;
  StatusPtr ExportXMLNode(DOMDocument& Document, DOMElement& ParentNode) override;
  StatusPtr ImportXMLNode(const DOMNode& ThisNode) override;
  StatusPtr ExportTXT(int16_t iFileHandle) override;
  StatusPtr ExportPDF(Variant& oParam1) override;
  StatusPtr ExportPostScript(int16_t iFileHandle) override;
  void Reset() override;

  // Imports this record from the XML file at `sFilePath` in one step: the
  // status and the record are those of DOMDocument::load followed by
  // ImportXMLNode of the document element, except that a file that does not
  // load answers for itself: 53 when it does not exist, 70 when it may not
  // be read, 1003 with the parser's reason, line and column when it does not
  // parse. Never throws; the document is freed before it returns.
  StatusPtr ImportXMLFile(const std::string& sFilePath);

  // Whether the property whose element name is exactly `sPropertyName` (the
  // names PropertyByName accepts) is Null. False for the ID and for any name
  // the record does not know; never throws.
  bool IsNull(const std::string& sPropertyName) const;

  // Saves the record with everything below it as a document to
  // `sFilePath`, durably: the path holds the complete old file or the
  // complete new one at every instant, and a failure leaves the old file
  // untouched. Never throws; the errors are those of SaveNodeToPath.
  StatusPtr SaveXMLPath(const std::string& sFilePath);

  // The value of property `p` of this record's table, as PropertyByName
  // reads it, and whether it is Null.
  Variant GetProperty(const PropertyDef& p) const;
  bool IsPropertyNull(const PropertyDef& p) const;
  // Converts `value` to the property's type and assigns it through the
  // setter's rule. Conversion failures are raised; nothing is stored then.
  void SetProperty(const PropertyDef& p, const Variant& value);
  // Makes property `p` Null.
  void SetPropertyNull(const PropertyDef& p);

 protected:
  RecordBase() = default;

 private:
  int32_t id_ = 0;
};

}  // namespace tympora
