// tympora plot: one picture per examination, each curve's points against
// frequency, drawn with cairo so that SVG, PNG and PDF come from one road.
#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <cairo.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <mutex>
#include <thread>

#include "commands.hpp"
#include "plot_layout.hpp"

namespace tympora::cli {
namespace {

namespace fs = std::filesystem;

struct Job {
  Picture picture;
  std::string path;
};

// A cairo surface for `format` at `path`, and the way to finish it.
class Canvas {
 public:
  Canvas(const std::string& format, const std::string& path) : format_(format), path_(path) {
    if (format == "svg") {
      surface_ = cairo_svg_surface_create(path.c_str(), kWidth, kHeight);
    } else if (format == "pdf") {
      surface_ = cairo_pdf_surface_create(path.c_str(), kWidth, kHeight);
    } else {
      surface_ = cairo_image_surface_create(CAIRO_FORMAT_RGB24, kWidth, kHeight);
    }
    cr_ = cairo_create(surface_);
  }
  ~Canvas() {
    cairo_destroy(cr_);
    cairo_surface_destroy(surface_);
  }
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;
  cairo_t* Context() { return cr_; }

  // Writes the picture out; the text of what failed, or "".
  std::string Finish() {
    cairo_status_t status = cairo_status(cr_);
    if (status == CAIRO_STATUS_SUCCESS && format_ == "png") {
      status = cairo_surface_write_to_png(surface_, path_.c_str());
    }
    cairo_surface_finish(surface_);
    if (status == CAIRO_STATUS_SUCCESS) status = cairo_surface_status(surface_);
    return status == CAIRO_STATUS_SUCCESS ? "" : cairo_status_to_string(status);
  }

 private:
  std::string format_, path_;
  cairo_surface_t* surface_;
  cairo_t* cr_;
};

// Draws the jobs from `next` on until none is left, on several threads;
// the first failure is kept in `failure`.
void DrawAll(const std::vector<Job>& jobs, const std::string& format, std::string& failure) {
  std::atomic<size_t> next{0};
  std::mutex mutex;
  auto work = [&] {
    for (size_t i; (i = next++) < jobs.size();) {
      Canvas canvas(format, jobs[i].path);
      Draw(canvas.Context(), jobs[i].picture);
      const std::string error = canvas.Finish();
      if (error.empty()) continue;
      const std::lock_guard<std::mutex> lock(mutex);
      if (failure.empty()) failure = jobs[i].path + ": " + error;
    }
  };
  const unsigned n = std::clamp(std::thread::hardware_concurrency(), 1u, 8u);
  std::vector<std::thread> threads;
  for (unsigned t = 1; t < n; ++t) threads.emplace_back(work);
  work();
  for (std::thread& t : threads) t.join();
}

}  // namespace

const CommandSpec& PlotSpec() {
  static const CommandSpec spec{
      .name = "plot",
      .operands = "FILE",
      .min_operands = 1,
      .max_operands = 1,
      .summary = "draw each examination's curves as a picture",
      .details =
          "Imports FILE and draws one picture per examination into DIR: each curve's\n"
          "points, output level against frequency on a logarithmic axis (octaves from\n"
          "125 Hz to 8 kHz, or the data's range), one colour and legend entry per curve\n"
          "name, distortion points in a second panel, and a title naming the client,\n"
          "the aid, the session and the examination. Files are named\n"
          "client<ID>_aid<ID>_session<ID>_exam<ID>.<format>.",
      .options = {{"out", "DIR", "the folder for the pictures (made when missing; required)"},
                  {"client", "ID", "draw only the client with this id"},
                  {"format", "FORMAT", "svg (default), png or pdf"}},
  };
  return spec;
}

int RunPlot(const Arguments& args) {
  const auto out = args.Value("out");
  if (!out || out->empty()) throw UsageError("--out DIR is required");
  const std::string format = args.Value("format").value_or("svg");
  if (format != "svg" && format != "png" && format != "pdf") {
    throw UsageError("--format must be svg, png or pdf, not '" + format + "'");
  }
  std::optional<int32_t> only;
  if (auto id = args.Value("client")) only = ParseCount(*id, INT32_MIN, INT32_MAX, "--client");
  const auto clients = ImportClients(LoadFile(args.operands[0]));

  std::vector<Job> jobs;
  bool found = false;
  for (const auto& client : *clients->Clients()) {
    if (only && client->ID() != *only) continue;
    found = true;
    for (Picture& picture : PicturesOf(*client)) {
      const std::string name = picture.file_stem + "." + format;
      jobs.push_back({std::move(picture), (fs::path(*out) / name).string()});
    }
  }
  if (only && !found) {
    throw CommandFailure("no client with id " + std::to_string(*only) + " in " + args.operands[0]);
  }
  std::error_code ec;
  fs::create_directories(*out, ec);
  if (ec) throw CommandFailure("cannot make " + *out + ": " + ec.message());
  std::string failure;
  DrawAll(jobs, format, failure);
  if (!failure.empty()) throw CommandFailure("cannot write " + failure);
  std::cout << jobs.size() << " picture(s) written to " << *out << "\n";
  return 0;
}

}  // namespace tympora::cli
