// Creation by name: the class factory of each creatable class, CreateObject
// by "Tympora.<class>" or class identifier, and the DOM documents that hosts
// hand to the XML members.
#pragma once

#include "tympora/export.h"

#include <memory>
#include <string_view>

#include "tympora/component/identity.hpp"
#include "tympora/node/dom.hpp"
#include "tympora/node/object.hpp"
#include "tympora/node/variant.hpp"

namespace tympora {

// The factory of one creatable class. A factory is an object of the library:
// while one is alive the library reports that it cannot be unloaded.
class TYMPORA_API ClassFactory final : public Object {
 public:
  // The factory of `cls`, which must outlive it (the identity table does).
  // A factory of a class that is not creatable raises 429 on CreateInstance.
  explicit ClassFactory(const ClassIdentity& cls) : class_(&cls) {}

  // The class this factory makes.
  const ClassIdentity& Class() const noexcept { return *class_; }
  // A new object of the class in its state after construction (a record
  // reset, a status with Number 0). The caller owns it.
  ObjectPtr CreateInstance() const;

 private:
  const ClassIdentity* class_;
};

// The factory of the creatable class `name_or_id` ("Tympora.CClients" or its
// identifier). Raises 429 for an unknown or non-creatable class (CNode).
TYMPORA_API std::shared_ptr<ClassFactory> GetClassFactory(std::string_view name_or_id);

// A new object of the creatable class `name_or_id`; the caller owns it.
// Raises 429 for an unknown or non-creatable class, with the name in the
// description.
TYMPORA_API ObjectPtr CreateObject(std::string_view name_or_id);

// A DOM document wrapped as an object, so that it can travel in a Variant and
// be called by dispatch (interface DOMDocument).
class TYMPORA_API DocumentObject final : public Object {
 public:
  // Wraps `document` (shared, not copied); an absent document is allowed.
  explicit DocumentObject(DOMDocument document) : document_(std::move(document)) {}
  // The wrapped document handle.
  const DOMDocument& Document() const noexcept { return document_; }

 private:
  DOMDocument document_;
};

// A DOM node wrapped as an object (interface DOMNode); it keeps its document
// alive.
class TYMPORA_API NodeObject final : public Object {
 public:
  // Wraps `node` (shared, not copied); an absent node is allowed.
  explicit NodeObject(DOMNode node) : node_(std::move(node)) {}
  // The wrapped node handle.
  const DOMNode& Node() const noexcept { return node_; }

 private:
  DOMNode node_;
};

// A new, empty document wrapped for dispatch: load it with "load" (a file)
// or "loadXML" (a text), then pass "documentElement" to ImportXMLNode.
TYMPORA_API std::shared_ptr<DocumentObject> CreateDocument();

// The document a Variant argument stands for: Empty, Null or an absent object
// give the absent document. Raises 13 for anything but a DocumentObject.
TYMPORA_API DOMDocument DocumentArgument(const Variant& value);
// The node a Variant argument stands for: Empty, Null or an absent object
// give the absent node; a DocumentObject gives its document node. Raises 13
// for anything else.
TYMPORA_API DOMNode NodeArgument(const Variant& value);

}  // namespace tympora
