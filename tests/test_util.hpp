// Helpers shared by the tests: error capture, DOM shapes, temporary folders.
#pragma once

#include <gtest/gtest.h>

#include <unistd.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "tympora/node/dom.hpp"
#include "tympora/node/error.hpp"
#include "tympora/node/locale.hpp"
#include "tympora/node/node.hpp"
#include "tympora/node/node_utility.hpp"

namespace tympora::testing {

// The number of the tympora::Error that `f` raises, or 0 when it raises none.
inline int32_t ErrorOf(const std::function<void()>& f) {
  try {
    f();
  } catch (const Error& e) {
    return e.Number();
  }
  return 0;
}

// The children of `node` in order: "CRLF" for a text node holding CR LF,
// "#text:<value>" for any other text, the node name for everything else.
inline std::vector<std::string> Shape(const DOMNode& node) {
  std::vector<std::string> out;
  const DOMNodeList list = node.childNodes();
  for (int32_t i = 0; i < list.length(); ++i) {
    const DOMNode child = list.item(i);
    if (child.nodeType() == DOMNodeType::Text) {
      out.push_back(child.text() == "\r\n" ? "CRLF" : "#text:" + child.text());
    } else {
      out.push_back(child.nodeName());
    }
  }
  return out;
}

// The first child element of `node` named `name`, or the absent node.
inline DOMNode ChildNamed(const DOMNode& node, const std::string& name) {
  const DOMNodeList list = node.childNodes();
  for (int32_t i = 0; i < list.length(); ++i) {
    if (list.item(i).nodeName() == name) return list.item(i);
  }
  return {};
}

// A document parsed from `xml`, with whitespace kept.
inline DOMDocument Parse(const std::string& xml, bool preserve_whitespace = true) {
  DOMDocument doc = DOMDocument::New();
  doc.preserveWhiteSpace(preserve_whitespace);
  EXPECT_TRUE(doc.loadXML(xml)) << doc.parseError().reason << " in " << xml;
  return doc;
}

// The element of `node`, exported into a new document.
inline DOMElement ExportElement(CNode& node) {
  DOMDocument doc;
  StatusPtr status = node.ExportXMLDocument(doc);
  EXPECT_EQ(status->Number(), 0) << status->Description();
  return doc ? doc.documentElement() : DOMElement();
}

// Imports the document element of `xml` into `node`, parsed as hosts
// mostly do: white space not preserved.
inline StatusPtr ImportText(CNode& node, const std::string& xml) {
  DOMDocument doc = Parse(xml, false);
  DOMElement root = doc.documentElement();
  return node.ImportXMLNode(root);
}

// True when `node` exports its property element `element` with null="true".
inline bool ExportsNull(CNode& node, const std::string& element) {
  return IsNullNode(ChildNamed(ExportElement(node), element));
}

// The whole content of a file.
inline std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

// Writes `bytes` as the whole content of a file, as they are.
inline void WriteFile(const std::filesystem::path& path, std::string_view bytes) {
  std::ofstream(path, std::ios::binary).write(bytes.data(), std::streamsize(bytes.size()));
}

// Replaces the date and time of the "document created" comment by a fixed
// text, so that two exports can be compared byte for byte.
inline std::string WithoutCreationDate(std::string text) {
  const std::string marker = "<!--document created ";
  const size_t start = text.find(marker);
  if (start == std::string::npos) return text;
  const size_t end = text.find("-->", start);
  if (end == std::string::npos) return text;
  text.replace(start + marker.size(), end - start - marker.size(), "DATE");
  return text;
}

// A fresh folder under the system's temporary folder, removed at the end of the test.
class TempDir {
 public:
  TempDir() {
    static int counter = 0;
    path_ = std::filesystem::temp_directory_path() /
            ("tympora-test-" + std::to_string(getpid()) + "-" + std::to_string(++counter));
    std::filesystem::create_directories(path_);
  }
  ~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
  }
  const std::filesystem::path& path() const { return path_; }
  std::string operator/(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

// Switches the process to `name` for the life of the guard, then back.
class LocaleGuard {
 public:
  explicit LocaleGuard(const std::string& name) : previous_(CurrentLocale().name) {
    SetLocale(name);
  }
  ~LocaleGuard() { SetLocale(previous_); }

 private:
  std::string previous_;
};

}  // namespace tympora::testing
