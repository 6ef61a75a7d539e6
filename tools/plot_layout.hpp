// The pictures of `tympora plot`: what each examination's picture shows, and
// the drawing of one picture on a cairo context.
#pragma once

#include <cairo.h>

#include <string>
#include <utility>
#include <vector>

#include "tympora/records/client.hpp"

namespace tympora::cli {

// The size of a picture, in pixels (PNG) or points (SVG, PDF).
constexpr int kWidth = 900;
constexpr int kHeight = 640;

// One curve: its legend name and its points as (frequency in Hz, value),
// ordered by frequency; points without a frequency above 0 or a value are left
// out.
struct Series {
  std::string name;
  std::vector<std::pair<double, double>> levels;      // output levels, dB SPL
  std::vector<std::pair<double, double>> distortion;  // distortion, %
};

// One examination's picture.
struct Picture {
  std::string title;      // the client
  std::string subtitle;   // the aid, the session and the examination
  std::string file_stem;  // client42_aid1_session3_exam4
  std::vector<Series> curves;
};

// The pictures of every examination of `client`, in tree order.
std::vector<Picture> PicturesOf(const CClient& client);

// Draws `picture` on `cr`, a surface of kWidth by kHeight.
void Draw(cairo_t* cr, const Picture& picture);

}  // namespace tympora::cli
