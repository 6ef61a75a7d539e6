// What the fuzz harnesses share: the end of a run on a broken invariant, the
// error number of a call, a status as text, and the one scratch file.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include "tympora/node/error.hpp"
#include "tympora/node/locale.hpp"
#include "tympora/node/status.hpp"

namespace tympora::fuzz {

// Ends the run with what broke, the text it broke on and the locale.
[[noreturn]] inline void Broken(const char* what, std::string_view detail = {}) {
  std::fprintf(stderr, "\n*** invariant broken: %s\n\"%.*s\" (locale %s)\n", what,
               static_cast<int>(detail.size()), detail.data(), CurrentLocale().name.c_str());
  std::fflush(stderr);
  std::abort();
}

// The error number `f` raises, 0 when none. Anything but a tympora::Error
// escapes and ends the run.
inline int32_t ErrorOf(const std::function<void()>& f) {
  try {
    f();
  } catch (const Error& e) {
    return e.Number();
  }
  return 0;
}

// A status as one text: "number description [source]".
inline std::string Describe(const StatusPtr& s) {
  return s ? std::to_string(s->Number()) + " " + s->Description() + " [" + s->Source() + "]"
           : "no status";
}

// The one file a harness writes; removed again when the run ends.
inline const std::string& ScratchFile() {
  static const std::string path = (std::filesystem::temp_directory_path() /
                                   ("tympora-fuzz-" + std::to_string(::getpid()) + ".xml"))
                                      .string();
  // Registered after `path` is made, so it runs before `path` is destroyed.
  [[maybe_unused]] static const int removal = std::atexit([] { std::remove(path.c_str()); });
  return path;
}

}  // namespace tympora::fuzz
