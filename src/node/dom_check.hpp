// Checks of a document's text before it is parsed: the parts of
// XML 1.0 well-formedness that pugixml does not enforce. Only the DOM
// adapter's sources include this header.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tympora::detail {

// Checks the UTF-8 text of a whole document: every character must be one that
// XML 1.0 allows, and so must every character reference (&#N; or &#xN;)
// outside comments, CDATA sections and processing instructions; every '&'
// there starts a complete reference, to a predefined entity unless a DOCTYPE
// may declare others; no attribute value holds '<', no text "]]>", no
// comment "--"; no tag names an attribute twice; a leading XML declaration
// is well spelt. Returns false with a reason and the byte offset of the
// first fault. `blank_text` tells whether some text between two tags may be
// only white space once its references are resolved ("&#13;"): such text
// is dropped after the parse. `xml_text`: the raw characters are known to
// pass IsXmlText already. Linear in the length.
bool CheckDocumentText(std::string_view text, bool xml_text, std::string& reason, int64_t& offset,
                       bool& blank_text);

}  // namespace tympora::detail
