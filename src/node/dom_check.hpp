// Character checks of a document's text before it is parsed: the parts of
// XML 1.0 well-formedness that pugixml does not enforce. Only the DOM
// adapter's sources include this header.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tympora::detail {

// Checks the UTF-8 text of a whole document: every character must be one that
// XML 1.0 allows, and so must every character reference (&#N; or &#xN;)
// outside comments, CDATA sections and processing instructions; a reference
// must be complete. Returns false with a reason and the byte offset of the
// first fault. Linear in the length.
bool CheckXmlCharacters(std::string_view text, std::string& reason, int64_t& offset);

}  // namespace tympora::detail
