// Drawing one examination: a level panel above a distortion panel, sharing
// a logarithmic frequency axis, with a legend of curve names at the right.
#include "plot_layout.hpp"

#include <algorithm>
#include <cmath>
#include <map>

#include "cli.hpp"

namespace tympora::cli {
namespace {

struct Rgb {
  double r, g, b;
};
const Rgb kPalette[] = {{0.12, 0.47, 0.71}, {0.84, 0.15, 0.16}, {0.17, 0.63, 0.17},
                        {1.00, 0.50, 0.05}, {0.58, 0.40, 0.74}, {0.55, 0.34, 0.29},
                        {0.89, 0.47, 0.76}, {0.50, 0.50, 0.50}};

// A rectangle of the picture and the value ranges it shows.
struct Panel {
  double left, top, right, bottom;
  double f_lo, f_hi;  // frequencies at the left and right edge, Hz
  double v_lo, v_hi;  // values at the bottom and top edge
  double X(double f) const {
    return left + (right - left) * std::log2(f / f_lo) / std::log2(f_hi / f_lo);
  }
  double Y(double v) const { return bottom - (bottom - top) * (v - v_lo) / (v_hi - v_lo); }
};

std::string FrequencyLabel(double f) {
  if (f < 1000) return std::to_string(static_cast<int>(std::lround(f)));
  const double k = f / 1000;
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, k == std::floor(k) ? "%.0fk" : "%.1fk", k);
  return buffer;
}

void Text(cairo_t* cr, double x, double y, const std::string& text, double size, bool bold = false,
          double align = 0) {
  cairo_select_font_face(cr, "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                         bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
  cairo_set_font_size(cr, size);
  cairo_text_extents_t extents;
  cairo_text_extents(cr, text.c_str(), &extents);
  cairo_move_to(cr, x - align * extents.x_advance, y);
  cairo_show_text(cr, text.c_str());
}

// The value range [lo, hi] widened to whole steps, and the step.
void NiceRange(double& lo, double& hi, double& step) {
  if (!(hi > lo)) {
    lo -= 5;
    hi += 5;
  }
  const double span = hi - lo;
  step = span > 120 ? 20 : span > 40 ? 10 : span > 12 ? 5 : span > 4 ? 1 : 0.5;
  lo = std::floor(lo / step) * step;
  hi = std::ceil(hi / step) * step;
}

// The frame, grid, ticks and axis title of `p`.
void Axes(cairo_t* cr, const Panel& p, double step, const std::string& unit, bool labels) {
  cairo_set_line_width(cr, 1);
  cairo_set_source_rgb(cr, 0.88, 0.88, 0.88);
  for (double f = p.f_lo; f <= p.f_hi * 1.001; f *= 2) {
    cairo_move_to(cr, p.X(f), p.top);
    cairo_line_to(cr, p.X(f), p.bottom);
  }
  for (double v = p.v_lo; v <= p.v_hi + step / 2; v += step) {
    cairo_move_to(cr, p.left, p.Y(v));
    cairo_line_to(cr, p.right, p.Y(v));
  }
  cairo_stroke(cr);
  cairo_set_source_rgb(cr, 0, 0, 0);
  cairo_rectangle(cr, p.left, p.top, p.right - p.left, p.bottom - p.top);
  cairo_stroke(cr);
  for (double f = p.f_lo; labels && f <= p.f_hi * 1.001; f *= 2) {
    Text(cr, p.X(f), p.bottom + 16, FrequencyLabel(f), 11, false, 0.5);
  }
  for (double v = p.v_lo; v <= p.v_hi + step / 2; v += step) {
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, step < 1 ? "%.1f" : "%.0f", v);
    Text(cr, p.left - 6, p.Y(v) + 4, buffer, 11, false, 1);
  }
  cairo_save(cr);
  cairo_translate(cr, p.left - 48, (p.top + p.bottom) / 2);
  cairo_rotate(cr, -M_PI / 2);
  Text(cr, 0, 0, unit, 12, false, 0.5);
  cairo_restore(cr);
}

void Line(cairo_t* cr, const Panel& p, const std::vector<std::pair<double, double>>& points,
          const Rgb& colour) {
  if (points.empty()) return;
  cairo_save(cr);
  cairo_new_path(cr);  // text leaves a current point behind
  cairo_rectangle(cr, p.left, p.top, p.right - p.left, p.bottom - p.top);
  cairo_clip(cr);
  cairo_set_source_rgb(cr, colour.r, colour.g, colour.b);
  cairo_set_line_width(cr, 2);
  for (const auto& [f, v] : points) cairo_line_to(cr, p.X(f), p.Y(v));
  cairo_stroke(cr);
  for (const auto& [f, v] : points) {
    cairo_new_sub_path(cr);
    cairo_arc(cr, p.X(f), p.Y(v), 3, 0, 2 * M_PI);
  }
  cairo_fill(cr);
  cairo_restore(cr);
}

// The ranges of `picture`'s points: frequencies widened to octaves of 125 Hz
// (at least 125 Hz to 8 kHz), and each panel's values.
Panel Ranges(const Picture& picture, bool distortion) {
  double f_min = 125, f_max = 8000, lo = INFINITY, hi = -INFINITY;
  for (const Series& s : picture.curves) {
    for (const auto& [f, v] : distortion ? s.distortion : s.levels) {
      f_min = std::min(f_min, f);
      f_max = std::max(f_max, f);
      lo = std::min(lo, v);
      hi = std::max(hi, v);
    }
  }
  Panel p{};
  p.f_lo = 125 * std::exp2(std::floor(std::log2(f_min / 125)));
  p.f_hi = 125 * std::exp2(std::ceil(std::log2(f_max / 125)));
  if (distortion) lo = 0;
  p.v_lo = std::isfinite(lo) ? lo : 0;
  p.v_hi = std::isfinite(hi) ? hi : (distortion ? 5 : 100);
  return p;
}

}  // namespace

void Draw(cairo_t* cr, const Picture& picture) {
  cairo_set_source_rgb(cr, 1, 1, 1);
  cairo_paint(cr);
  cairo_set_source_rgb(cr, 0, 0, 0);
  Text(cr, 20, 30, picture.title, 17, true);
  Text(cr, 20, 52, picture.subtitle, 12);

  const double left = 80, right = kWidth - 210;
  Panel levels = Ranges(picture, false), distortion = Ranges(picture, true);
  double level_step, distortion_step;
  NiceRange(levels.v_lo, levels.v_hi, level_step);
  NiceRange(distortion.v_lo, distortion.v_hi, distortion_step);
  distortion.f_lo = levels.f_lo = std::min(levels.f_lo, distortion.f_lo);
  distortion.f_hi = levels.f_hi = std::max(levels.f_hi, distortion.f_hi);
  levels.left = distortion.left = left;
  levels.right = distortion.right = right;
  levels.top = 75;
  levels.bottom = 400;
  distortion.top = 440;
  distortion.bottom = kHeight - 60;
  Axes(cr, levels, level_step, "Output level (dB SPL)", true);
  Axes(cr, distortion, distortion_step, "Distortion (%)", true);
  Text(cr, (left + right) / 2, kHeight - 22, "Frequency (Hz)", 12, false, 0.5);

  // One colour per curve name, in the order the names first appear.
  std::map<std::string, size_t> colours;
  std::vector<std::string> names;
  for (const Series& s : picture.curves) {
    if (colours.emplace(s.name, names.size()).second) names.push_back(s.name);
    const Rgb& colour = kPalette[colours[s.name] % std::size(kPalette)];
    Line(cr, levels, s.levels, colour);
    Line(cr, distortion, s.distortion, colour);
  }
  double y = levels.top + 8;
  for (size_t i = 0; i < names.size(); ++i, y += 22) {
    const Rgb& colour = kPalette[i % std::size(kPalette)];
    cairo_set_source_rgb(cr, colour.r, colour.g, colour.b);
    cairo_rectangle(cr, right + 16, y, 22, 4);
    cairo_fill(cr);
    cairo_set_source_rgb(cr, 0, 0, 0);
    Text(cr, right + 46, y + 7, names[i], 12);
  }
  if (picture.curves.empty()) Text(cr, (left + right) / 2, 240, "no curves", 14, false, 0.5);
}

std::vector<Picture> PicturesOf(const CClient& client) {
  std::vector<Picture> pictures;
  const std::string name =
      OneLine(ValueText(client, "FirstName") + " " + ValueText(client, "LastName"));
  const std::string title =
      (name.empty() ? "Client" : name + ", client") + " " + std::to_string(client.ID());
  for (const auto& aid : *client.Aids()) {
    const std::string aid_text =
        "Aid " + std::to_string(aid->ID()) + ": " +
        OneLine(ValueText(*aid, "ManufacturerName") + " " + ValueText(*aid, "HearingAidModel")) +
        (ValueText(*aid, "AidEar").empty() ? "" : ", " + ValueText(*aid, "AidEar") + " ear");
    for (const auto& session : *aid->TestDefinitions()) {
      const std::string session_text =
          "session " + std::to_string(session->ID()) + " " + ValueText(*session, "TestDate");
      for (const auto& exam : *session->Examinations()) {
        Picture picture;
        picture.title = title;
        picture.subtitle = aid_text + " | " + session_text + " | examination " +
                           std::to_string(exam->ID()) + " " + ValueText(*exam, "TestName");
        picture.file_stem = "client" + std::to_string(client.ID()) + "_aid" +
                            std::to_string(aid->ID()) + "_session" + std::to_string(session->ID()) +
                            "_exam" + std::to_string(exam->ID());
        for (const auto& curve : *exam->Curves()) {
          Series s;
          s.name = ValueText(*curve, "Name");
          if (s.name.empty()) s.name = "curve " + std::to_string(curve->ID());
          for (const auto& p : *curve->CurveData()) {
            if (p->IsNull("Frequency") || p->IsNull("Output") || p->Frequency() <= 0) continue;
            s.levels.emplace_back(p->Frequency(), p->OutputVal());
          }
          for (const auto& p : *curve->DistortionData()) {
            if (p->IsNull("Frequency") || p->IsNull("Distortion") || p->Frequency() <= 0) continue;
            s.distortion.emplace_back(p->Frequency(), p->Distortion());
          }
          std::sort(s.levels.begin(), s.levels.end());
          std::sort(s.distortion.begin(), s.distortion.end());
          picture.curves.push_back(std::move(s));
        }
        pictures.push_back(std::move(picture));
      }
    }
  }
  return pictures;
}

}  // namespace tympora::cli
