// The export frames, child-list handling and property elements shared by
// every record class.
#include "tympora/node/node_utility.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <ctime>
#include <filesystem>
#include <optional>

#include "node/file_internal.hpp"
#include "node/number_text.hpp"
#include "node/record_writer.hpp"
#include "tympora/node/conversions.hpp"
#include "tympora/node/error.hpp"
#include "tympora/node/file_layer.hpp"
#include "tympora/node/record.hpp"

namespace tympora {
namespace {

Date Now() {
  std::time_t t = std::time(nullptr);
  std::tm local{};
  localtime_r(&t, &local);
  return MakeDate(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                  local.tm_min, local.tm_sec);
}

// Takes the lowest free file number and opens `path` new under it. Another
// thread may take the same number between the two steps; then the next free
// one is tried.
int16_t OpenNewFile(const std::string& path) {
  for (int attempt = 0;; ++attempt) {
    const int16_t number = FreeFile();
    try {
      OpenFile(number, path, FileOpenMode::CreateNew);
      return number;
    } catch (const Error& e) {
      if (e.Number() != kErrFileAlreadyOpen || attempt >= 16) throw;
    }
  }
}

// Deletes what stands at `path` and creates the file new under the lowest
// free number. A failing delete is ignored as such, but when the path is
// then still taken, the delete's error says why (a folder, a file held by a
// writer or in a read-only folder). A file that appears between the two
// steps belongs to another writer, who is let be.
int16_t OpenReplacing(const std::string& path) {
  std::optional<Error> refused;
  try {
    FileDelete(path);
  } catch (const Error& e) {
    if (e.Number() != kErrFileNotFound) refused = e;
  }
  try {
    return OpenNewFile(path);
  } catch (const Error& e) {
    if (e.Number() != kErrFileExists) throw;
    if (refused) throw *refused;
    RaisePlatformError(kErrPermissionDenied, "'" + path + "': another writer created it first");
  }
}

// Opens a new temporary file beside `path` under the lowest free number; its
// name goes to `temporary`. A name left by an earlier process is skipped.
int16_t OpenTemporary(const std::string& path, std::string& temporary) {
  static std::atomic<unsigned> counter{0};
  const std::filesystem::path target(path);
  const std::string base = target.filename().string().substr(0, 100);
  for (int attempt = 0;; ++attempt) {
    temporary = (target.parent_path() / ("." + base + "." + std::to_string(::getpid()) + "-" +
                                         std::to_string(counter++) + ".tmp"))
                    .string();
    try {
      return OpenNewFile(temporary);
    } catch (const Error& e) {
      temporary.clear();
      if (e.Number() != kErrFileExists || attempt >= 16) {
        throw Error(e.Number(), e.Description() + " (a temporary file to save '" + path + "')",
                    e.Source());
      }
    }
  }
}

// Raises 2002 through `status` for an empty path.
void RequirePath(CStatus& status, const std::string& path) {
  if (path.empty()) {
    status.SetError(STATUS_BADPATH);
    status.RaiseError();
  }
}

// Raises 75 when `path` names something that a saved file must not replace.
void CheckReplaceable(const std::string& path) {
  struct stat st {};
  if (::lstat(path.c_str(), &st) == 0 && !S_ISREG(st.st_mode) && !S_ISLNK(st.st_mode)) {
    RaisePlatformError(kErrPathFileAccess, "'" + path + "': is not a file");
  }
}

// Takes over a status that a record returned: an absent one counts as success.
void TakeStatus(StatusPtr& status, StatusPtr returned) {
  if (returned) status = std::move(returned);
  if (status->Number() != 0) status->RaiseError();
}

// A tree of the library's own records is written straight from its property
// tables: the same bytes as the document road below, without building and
// parsing two documents. Returns false, having written nothing, when a value
// cannot be written; the document road then runs and reports the failure as
// it always does. A failing write raises its error.
//
// Where the file's position is its end, as in a new file, the text goes out
// in pieces while it is made, so that no copy of the whole document is held,
// and a value that fails halfway is undone by cutting the file back.
// Elsewhere (a device, a position inside the file) the whole text is made
// first and written at once.
bool WriteRecordText(int16_t number, const RecordBase& record) {
  constexpr size_t kPiece = size_t{1} << 20;
  const int64_t start = detail::FileEndOffset(number);
  bool writing = false;
  detail::TextBuffer text =
      start < 0 ? detail::TextBuffer() : detail::TextBuffer(kPiece, [&](std::string_view piece) {
        writing = true;
        FileWrite(number, piece);
        writing = false;
      });
  try {
    detail::AppendRecordDocument(text, record, ValueToText(Now()));
  } catch (...) {
    if (writing) throw;
    if (start >= 0) detail::FileCutBack(number, start);
    return false;
  }
  FileWrite(number, text.View());
  return true;
}

}  // namespace

void NewXMLDocument(DOMDocument& Document) {
  Document = DOMDocument::New();
  Document.async(false);
  Document.validateOnParse(false);
  Document.resolveExternals(false);
  Document.preserveWhiteSpace(true);
  Document.appendChild(Document.createProcessingInstruction("xml", "version='1.0'"));
  Document.appendChild(Document.createComment("document created " + ValueToText(Now())));
}

StatusPtr ExportNodeToPath(const std::string& sFilePath, CNode& Node) {
  int16_t number = 0;
  return RunFrameA(
      [&](StatusPtr& status) {
        RequirePath(*status, sFilePath);
        number = OpenReplacing(sFilePath);
        TakeStatus(status, Node.ExportXMLFileHandle(number));
        const int16_t open = number;
        number = 0;
        FileClose(open);
      },
      [&] {
        if (number == 0) return;
        try {
          FileTruncate(number);  // no partial document stays in the file
        } catch (const Error&) {
        }
        FileClose(number);
      });
}

StatusPtr SaveNodeToPath(const std::string& sFilePath, CNode& Node) {
  int16_t number = 0;
  std::string temporary;
  return RunFrameA(
      [&](StatusPtr& status) {
        RequirePath(*status, sFilePath);
        CheckReplaceable(sFilePath);
        number = OpenTemporary(sFilePath, temporary);
        TakeStatus(status, Node.ExportXMLFileHandle(number));
        FileFlush(number);
        const int16_t open = number;
        number = 0;
        FileClose(open);
        FileReplace(temporary, sFilePath);
        temporary.clear();
      },
      [&] {
        if (number != 0) {
          try {
            FileClose(number);
          } catch (const Error&) {
          }
        }
        if (!temporary.empty()) ::unlink(temporary.c_str());
      });
}

StatusPtr ExportNodeToFileHandle(int16_t iFileHandle, CNode& Node) {
  return RunFrameA([&](StatusPtr& status) {
    if (iFileHandle < 1 || iFileHandle > kMaxFileNumber) {
      status->SetError(STATUS_BADHANDLE);
      status->RaiseError();
    }
    FileLength(iFileHandle);
    if (const RecordBase* record = detail::AsLibraryRecord(Node)) {
      if (WriteRecordText(iFileHandle, *record)) return;
    }
    DOMDocument document;
    TakeStatus(status, Node.ExportXMLDocument(document));
    if (!document) RaisePlatformError(kErrObjectNotSet, "the record returned no document");
    DOMDocument reparsed = DOMDocument::New();
    reparsed.loadXML(document.xml());
    document = DOMDocument();
    FileWrite(iFileHandle, reparsed.xml());
  });
}

StatusPtr ExportNodeToDocument(DOMDocument& Document, CNode& Node) {
  return RunFrameA([&](StatusPtr&) {
    if (!Document) NewXMLDocument(Document);
    DOMElement element;
    Node.CreateXMLElement(Document, element);
    DOMElement top;
    AppendChildNode(Document, top, element);
  });
}

StatusPtr ExportNodeToNode(DOMDocument& Document, DOMElement& ParentNode, CNode& Node) {
  return RunFrameA([&](StatusPtr& status) {
    if (!Document) {
      status->SetError(STATUS_UNINIT_OBJECT_1, "Supplied Document Parameter");
      status->RaiseError();
    }
    if (!ParentNode) {
      status->SetError(STATUS_UNINIT_OBJECT_2, "Supplied Parent Node Parameter");
      status->RaiseError();
    }
    DOMElement element;
    Node.CreateXMLElement(Document, element);
    ParentNode.appendChild(Document.createTextNode(kCrLf));
    ParentNode.appendChild(element);
    ParentNode.appendChild(Document.createTextNode(kCrLf));
  });
}

void CheckThisNode(const DOMNode& ThisNode) {
  if (!ThisNode) {
    CStatus status;
    status.SetError(STATUS_UNINIT_OBJECT_1, "Supplied This Node Parameter");
    status.RaiseError();
  }
}

void ExportCollectionNodes(DOMDocument& Document, DOMElement& ParentNode,
                           const NodeCollection* Collection) {
  if (!Collection) return;
  RunFrameB([&] {
    const int32_t count = Collection->Count();
    for (int32_t i = 1; i <= count; ++i) {
      StatusPtr status = Collection->NodeItem(i)->ExportXMLNode(Document, ParentNode);
      if (status && status->Number() != 0) status->RaiseError();
    }
  });
}

void CreatePropertyElement(DOMDocument& Document, std::string_view sName, bool bIsNull,
                           const Variant& vValue, DOMElement& Element) {
  Element = Document.createElement(sName);
  if (bIsNull) {
    Element.setAttribute("null", "true");
    return;
  }
  try {
    if (vValue.Kind() == VariantKind::String) {
      Element.text(EncodeXMLText(vValue.AsString()));
    } else {
      Element.text(TrimText(ValueToText(vValue)));
    }
  } catch (const Error& e) {
    // Name the element, so that a host can tell which value cannot be written.
    throw Error(e.Number(), e.Description() + " (element " + std::string(sName) + ")", e.Source(),
                e.HelpFile(), e.HelpContext());
  }
}

void AppendChildNode(DOMDocument& Document, DOMElement& ParentNode, DOMElement& ChildNode) {
  if (!ParentNode) {
    Document.appendChild(ChildNode);
  } else {
    ParentNode.appendChild(Document.createTextNode(kCrLf));
    ParentNode.appendChild(ChildNode);
  }
  ChildNode = DOMElement();
}

void AppendPropertyElement(DOMDocument& Document, std::string_view sName, bool bIsNull,
                           const Variant& vValue, DOMElement& ParentNode) {
  DOMElement element;
  RunFrameB(
      [&] {
        CreatePropertyElement(Document, sName, bIsNull, vValue, element);
        AppendChildNode(Document, ParentNode, element);
      },
      [&] { element = DOMElement(); });
}

bool IsNullNode(const DOMNode& ThisNode) {
  if (!ThisNode) RaisePlatformError(kErrObjectNotSet);
  const DOMNamedNodeMap attributes = ThisNode.attributes();
  if (attributes.length() < 1) return false;
  const DOMNode flag = attributes.getNamedItem("null");
  if (!flag) return false;
  const Variant value = flag.nodeValue();
  return value.Kind() == VariantKind::String && value.AsString() == "true";
}

void ReadNodeID(const DOMNode& ThisNode, int32_t& lID) {
  if (!ThisNode) RaisePlatformError(kErrObjectNotSet);
  const DOMNode id = ThisNode.attributes().getNamedItem("id");
  if (!id) return;
  double number;
  if (detail::ReadNumber(id.text(), number)) lID = ToInt32(number);
}

std::string EncodeXMLText(std::string_view text) { return std::string(text); }
std::string DecodeXMLText(std::string_view text) { return std::string(text); }

}  // namespace tympora
