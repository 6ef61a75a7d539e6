// White space, in the two meanings the library gives it. Each meaning has
// its own helpers, named for it, so that no code picks the wrong set.
#pragma once

#include <cstdint>
#include <string_view>

namespace tympora::detail {

// XML's white space: blank, tab, CR and LF. A parse drops a text that holds
// nothing else between two pieces of markup.
constexpr bool IsXmlSpace(uint32_t c) noexcept {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// True when `text` is empty or only XML white space.
constexpr bool IsXmlSpaceOnly(std::string_view text) noexcept {
  for (const char c : text) {
    if (!IsXmlSpace(static_cast<unsigned char>(c))) return false;
  }
  return true;
}

// The blanks a number text may hold around and between its parts: blank,
// tab and LF (a CR ends a number).
constexpr bool IsNumberBlank(char c) noexcept { return c == ' ' || c == '\t' || c == '\n'; }

}  // namespace tympora::detail
