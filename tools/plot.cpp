// tympora plot: one picture per examination, each curve's points against
// frequency, drawn with cairo so that SVG, PNG and PDF come from one road.
#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <cairo.h>
#include <zlib.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
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

// Appends `value` as 4 bytes, most significant first.
void Big32(std::string& out, uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) out += static_cast<char>(value >> shift & 0xFF);
}

// Appends a PNG chunk of type `type` (4 letters) holding `data`.
void Chunk(std::string& out, const char* type, const std::string& data) {
  Big32(out, static_cast<uint32_t>(data.size()));
  const std::string body = type + data;
  out += body;
  Big32(out, static_cast<uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(body.data()),
                                         static_cast<uInt>(body.size()))));
}

// Writes an RGB24 image surface as an 8-bit RGB PNG. The pictures are mostly
// flat colour, so rows go unfiltered through zlib's run-length strategy:
// several times faster than cairo's own writer, for files of about the same
// size. Returns false when the file cannot be written.
bool WritePng(cairo_surface_t* surface, const std::string& path) {
  cairo_surface_flush(surface);
  const int width = cairo_image_surface_get_width(surface);
  const int height = cairo_image_surface_get_height(surface);
  const int stride = cairo_image_surface_get_stride(surface);
  const unsigned char* pixels = cairo_image_surface_get_data(surface);
  std::string raw;
  raw.reserve(static_cast<size_t>(height) * (1 + 3 * static_cast<size_t>(width)));
  for (int y = 0; y < height; ++y) {
    raw += '\0';  // filter type None
    const auto* row =
        reinterpret_cast<const uint32_t*>(pixels + static_cast<ptrdiff_t>(y) * stride);
    for (int x = 0; x < width; ++x) {
      raw += static_cast<char>(row[x] >> 16 & 0xFF);
      raw += static_cast<char>(row[x] >> 8 & 0xFF);
      raw += static_cast<char>(row[x] & 0xFF);
    }
  }
  z_stream z{};
  if (deflateInit2(&z, Z_BEST_SPEED, Z_DEFLATED, 15, 8, Z_RLE) != Z_OK) return false;
  std::string packed(deflateBound(&z, static_cast<uLong>(raw.size())), '\0');
  z.next_in = reinterpret_cast<Bytef*>(raw.data());
  z.avail_in = static_cast<uInt>(raw.size());
  z.next_out = reinterpret_cast<Bytef*>(packed.data());
  z.avail_out = static_cast<uInt>(packed.size());
  const bool packed_all = deflate(&z, Z_FINISH) == Z_STREAM_END;
  packed.resize(z.total_out);
  deflateEnd(&z);
  if (!packed_all) return false;
  std::string header;
  Big32(header, static_cast<uint32_t>(width));
  Big32(header, static_cast<uint32_t>(height));
  header += std::string("\x08\x02\x00\x00\x00", 5);  // 8-bit RGB, no interlace
  std::string file = "\x89PNG\r\n\x1a\n";
  Chunk(file, "IHDR", header);
  Chunk(file, "IDAT", packed);
  Chunk(file, "IEND", "");
  FILE* out = std::fopen(path.c_str(), "wb");
  if (!out) return false;
  const bool written = std::fwrite(file.data(), 1, file.size(), out) == file.size();
  return std::fclose(out) == 0 && written;
}

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
    if (status == CAIRO_STATUS_SUCCESS && format_ == "png" && !WritePng(surface_, path_)) {
      status = CAIRO_STATUS_WRITE_ERROR;
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
