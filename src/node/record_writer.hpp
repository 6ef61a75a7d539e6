// The document text of a record tree, written straight from the records'
// property tables: the bytes that the export through a DOM document, its
// serialisation and one more parse would produce, without building either
// document.
#pragma once

#include <cstddef>
#include <cstring>
#include <functional>
#include <string_view>
#include <utility>

#include "tympora/node/record.hpp"

namespace tympora::detail {

// A byte buffer for a long text. Without a sink it grows with realloc, which
// moves large blocks by remapping pages instead of copying them, so that the
// peak memory of a long text stays close to its length. With a sink it hands
// its bytes on whenever it would grow beyond its limit, so that it stays
// small and in the cache while the text passes through it.
class TextBuffer {
 public:
  using Sink = std::function<void(std::string_view)>;
  TextBuffer() = default;
  TextBuffer(size_t limit, Sink sink) : limit_(limit), sink_(std::move(sink)) {}
  TextBuffer(const TextBuffer&) = delete;
  TextBuffer& operator=(const TextBuffer&) = delete;
  ~TextBuffer();

  void Append(std::string_view s) {
    if (size_ + s.size() > capacity_) Grow(s.size());
    std::memcpy(data_ + size_, s.data(), s.size());
    size_ += s.size();
  }
  // Appends `s`, which is followed by at least RecordInfo::kFormPadding
  // readable bytes (an element form): short ones are copied in one fixed-size
  // move.
  void AppendForm(std::string_view s) {
    constexpr size_t kPad = RecordInfo::kFormPadding;
    if (s.size() > kPad) return Append(s);
    if (size_ + kPad > capacity_) Grow(kPad);
    std::memcpy(data_ + size_, s.data(), kPad);
    size_ += s.size();
  }
  void Append(char c) {
    if (size_ == capacity_) Grow(1);
    data_[size_++] = c;
  }
  // Room for `n` more bytes at the returned position; Commit(end) then keeps
  // the bytes written up to `end`.
  char* Reserve(size_t n) {
    if (size_ + n > capacity_) Grow(n);
    return data_ + size_;
  }
  void Commit(const char* end) noexcept { size_ = static_cast<size_t>(end - data_); }
  // The bytes not yet handed to the sink.
  std::string_view View() const noexcept { return {data_, size_}; }

 private:
  void Grow(size_t more);
  char* data_ = nullptr;
  size_t size_ = 0;
  size_t capacity_ = 0;
  size_t limit_ = 0;
  Sink sink_;
};

// `node` as a record when it is one of the library's own record classes,
// whose export the direct writer reproduces; nullptr for any other node.
const RecordBase* AsLibraryRecord(const CNode& node) noexcept;

// Appends the whole document of `record`: the XML declaration, the comment
// "document created " + `date_text`, the record's element with everything
// below it, each followed by CR LF. Raises what the values raise: 1002 for a
// text that XML cannot carry, 6 for a number that is not finite. The caller
// then exports through the document road, which reports the failure.
// `record` must be of one of the library's own classes (AsLibraryRecord):
// their lists hold only records of the library's final classes.
void AppendRecordDocument(TextBuffer& out, const RecordBase& record, std::string_view date_text);

}  // namespace tympora::detail
