// Helpers shared by the tests: error capture, DOM shapes, temporary folders,
// golden files.
#pragma once

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/fuzz_util.hpp"
#include "tympora/node/dom.hpp"
#include "tympora/node/error.hpp"
#include "tympora/node/file_layer.hpp"
#include "tympora/node/locale.hpp"
#include "tympora/node/node.hpp"
#include "tympora/node/node_utility.hpp"

namespace tympora::testing {

// A status as one text, "number description [source]", and the number of
// the tympora::Error that a function raises (0 for none): the fuzzers' own.
using fuzz::Describe;
using fuzz::ErrorOf;

// Starts `child` in a forked process with a file table of its own.
inline pid_t SpawnChild(const std::function<int()>& child) {
  const pid_t pid = ::fork();
  if (pid == 0) {
    FileCloseAll();
    ::_exit(child());
  }
  return pid;
}

// The exit code of the process `pid`, or -1 when it did not exit.
inline int ReapChild(pid_t pid) {
  int status = 0;
  ::waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// The names in `dir`, sorted, so that a left-over temporary file shows.
inline std::vector<std::string> FolderNames(const std::filesystem::path& dir) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(dir))
    names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

// The children of `node` in order: "CRLF" for a text node holding CR LF,
// "#text:<value>" for any other text, the node name for everything else.
inline std::vector<std::string> Shape(const DOMNode& node) {
  std::vector<std::string> out;
  const DOMNodeList list = node.childNodes();
  for (int32_t i = 0; i < list.length(); ++i) {
    const DOMNode child = list.item(i);
    out.push_back(child.nodeType() != DOMNodeType::Text ? child.nodeName()
                  : child.text() == "\r\n"              ? "CRLF"
                                                        : "#text:" + child.text());
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
  return {std::istreambuf_iterator<char>(in), {}};
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
  const size_t end = start == std::string::npos ? start : text.find("-->", start);
  if (end != std::string::npos)
    text.replace(start + marker.size(), end - start - marker.size(), "DATE");
  return text;
}

// Golden files. An export writes the whole tree on one line; a golden file
// stores those bytes with a LF put between every ">" and the "<" after it
// (GoldenText), so that each element starts a line of its own. GoldenBytes
// takes each such LF out again; the CR LF that the library writes stays, and
// an export that itself holds a LF between ">" and "<" cannot be golden.
inline std::string GoldenText(std::string bytes) {
  for (size_t at = 0; (at = bytes.find("><", at)) != std::string::npos; at += 2)
    bytes.insert(at + 1, 1, '\n');
  return bytes;
}

inline std::string GoldenBytes(std::string text) {
  for (size_t at = 0; (at = text.find(">\n<", at)) != std::string::npos;) text.erase(at + 1, 1);
  return text;
}

// Expects `written`, the bytes of an exported file, to be those that the
// golden file `golden` stands for, the dates of their "document created"
// comments aside. With TYMPORA_UPDATE_GOLDEN=1 in the environment, a golden
// file that differs, or is not in its readable form, is written anew from
// `written` instead.
inline void ExpectGolden(const std::filesystem::path& golden, const std::string& written) {
  const std::string text = ReadFile(golden);
  const std::string expected = WithoutCreationDate(GoldenBytes(text));
  const std::string actual = WithoutCreationDate(written);
  const char* update = std::getenv("TYMPORA_UPDATE_GOLDEN");
  if (!update || std::string_view(update) != "1" ||
      (actual == expected && text == GoldenText(GoldenBytes(text)))) {
    // Each element on a line of its own, gtest shows the lines that differ; only a LF
    // between ">" and "<" differs without showing there.
    EXPECT_EQ(GoldenText(actual), GoldenText(expected))
        << golden.filename().string() << " differs (TYMPORA_UPDATE_GOLDEN=1 rewrites the file)";
    EXPECT_TRUE(actual == expected) << golden.filename().string() << " differs";
  } else if (GoldenBytes(GoldenText(written)) != written) {
    ADD_FAILURE() << "the export holds a LF between \">\" and \"<\": no golden file can keep it";
  } else {
    WriteFile(golden, GoldenText(written));
    std::cout << "TYMPORA_UPDATE_GOLDEN: wrote " << golden.string() << "\n";
  }
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
  explicit LocaleGuard(const std::string& name) { SetLocale(name); }
  ~LocaleGuard() { SetLocale(previous_); }

 private:
  const std::string previous_ = CurrentLocale().name;
};

}  // namespace tympora::testing
