#include <cstdlib>
#include <cstring>
#include <memory>

#include <libdeflate.h>
#include <png.h>
#ifdef CAMERA_SHOT_BENCH_SPNG
#include <spng.h>
#endif
#ifdef CAMERA_SHOT_BENCH_ISAL
#include <isa-l.h>
#endif
#ifdef CAMERA_SHOT_BENCH_GDK_PIXBUF
#include <gdk-pixbuf/gdk-pixbuf.h>
#endif

#include "bench/png/Peers.h"

namespace camera_shot_bench {
namespace {

void appendBytes(png_structp writer, png_bytep bytes, std::size_t count) {
  auto* out = static_cast<Bytes*>(png_get_io_ptr(writer));
  out->insert(out->end(), bytes, bytes + count);
}

// libpng's error handler, left at its default, ends the process: nothing here can fail but memory.
std::size_t encodeByLibpng(const Picture& picture, int level, int filters) {
  Bytes out;
  out.reserve(picture.pixels.size());
  png_structp writer = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(writer);
  png_set_write_fn(writer, &out, appendBytes, nullptr);
  if (level >= 0) png_set_compression_level(writer, level);
  if (filters >= 0) png_set_filter(writer, PNG_FILTER_TYPE_BASE, filters);
  png_set_IHDR(writer, info, picture.width, picture.height, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(writer, info);
  for (std::uint32_t y = 0; y < picture.height; ++y) {
    png_write_row(writer, picture.pixels.data() + y * picture.rowBytes());
  }
  png_write_end(writer, info);
  png_destroy_write_struct(&writer, &info);
  return out.size();
}

// Chunk heads and tails, signature, header and end, which the encoders below only count.
constexpr std::size_t kPngOverhead = 8 + 25 + 12 + 12;

// All rows filtered by `up`.
Bytes filterUp(const Picture& picture) {
  Bytes filtered((picture.rowBytes() + 1) * picture.height);
  const Bytes zeros(picture.rowBytes());
  const std::uint8_t* above = zeros.data();
  std::uint8_t* out = filtered.data();
  for (std::uint32_t y = 0; y < picture.height; ++y) {
    const std::uint8_t* row = picture.pixels.data() + y * picture.rowBytes();
    *out++ = 2;
    for (std::size_t i = 0; i < picture.rowBytes(); ++i)
      *out++ = static_cast<std::uint8_t>(row[i] - above[i]);
    above = row;
  }
  return filtered;
}

std::size_t encodeByLibdeflate(const Picture& picture, int level) {
  const Bytes filtered = filterUp(picture);
  const std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)> compressor(
      libdeflate_alloc_compressor(level), &libdeflate_free_compressor);
  Bytes out(libdeflate_zlib_compress_bound(compressor.get(), filtered.size()));
  const std::size_t size =
      libdeflate_zlib_compress(compressor.get(), filtered.data(), filtered.size(), out.data(), out.size());
  return size + kPngOverhead + (libdeflate_crc32(0, out.data(), size) & 0);
}

#ifdef CAMERA_SHOT_BENCH_ISAL
std::size_t encodeByIsal(const Picture& picture) {
  Bytes filtered = filterUp(picture);
  Bytes out(filtered.size() + filtered.size() / 8 + 4096);
  Bytes workspace(ISAL_DEF_LVL1_DEFAULT);
  isal_zstream stream{};
  isal_deflate_init(&stream);
  stream.next_in = filtered.data();
  stream.avail_in = static_cast<std::uint32_t>(filtered.size());
  stream.next_out = out.data();
  stream.avail_out = static_cast<std::uint32_t>(out.size());
  stream.end_of_stream = 1;
  stream.gzip_flag = IGZIP_ZLIB;
  stream.level = 1;
  stream.level_buf = workspace.data();
  stream.level_buf_size = static_cast<std::uint32_t>(workspace.size());
  if (isal_deflate(&stream) != COMP_OK) return 0;
  return stream.total_out + kPngOverhead + (libdeflate_crc32(0, out.data(), stream.total_out) & 0);
}
#endif

#ifdef CAMERA_SHOT_BENCH_SPNG
std::size_t encodeBySpng(const Picture& picture) {
  const std::unique_ptr<spng_ctx, decltype(&spng_ctx_free)> writer(spng_ctx_new(SPNG_CTX_ENCODER),
                                                                   &spng_ctx_free);
  spng_set_option(writer.get(), SPNG_ENCODE_TO_BUFFER, 1);
  spng_ihdr header{};
  header.width = picture.width;
  header.height = picture.height;
  header.bit_depth = 8;
  header.color_type = SPNG_COLOR_TYPE_TRUECOLOR;
  spng_set_ihdr(writer.get(), &header);
  if (spng_encode_image(writer.get(), picture.pixels.data(), picture.pixels.size(), SPNG_FMT_PNG,
                        SPNG_ENCODE_FINALIZE) != 0) {
    return 0;
  }
  std::size_t size = 0;
  int error = 0;
  std::free(spng_get_png_buffer(writer.get(), &size, &error));
  return error == 0 ? size : 0;
}
#endif

#ifdef CAMERA_SHOT_BENCH_GDK_PIXBUF
std::size_t encodeByGdkPixbuf(const Picture& picture) {
  const std::unique_ptr<GdkPixbuf, decltype(&g_object_unref)> pixbuf(
      gdk_pixbuf_new_from_data(picture.pixels.data(), GDK_COLORSPACE_RGB, FALSE, 8,
                               static_cast<int>(picture.width), static_cast<int>(picture.height),
                               static_cast<int>(picture.rowBytes()), nullptr, nullptr),
      &g_object_unref);  // transfer full
  gchar* bytes = nullptr;
  gsize size = 0;
  const gboolean saved = gdk_pixbuf_save_to_buffer(pixbuf.get(), &bytes, &size, "png", nullptr, nullptr);
  g_free(bytes);
  return saved != FALSE ? size : 0;
}
#endif

}  // namespace

std::size_t encodeByLibpng(const Picture& picture) {
  return encodeByLibpng(picture, -1, -1);
}

std::vector<Peer> libraryPeers() {
  std::vector<Peer> peers;
  peers.push_back({"libpng, level 1", [](const Picture& picture) { return encodeByLibpng(picture, 1, -1); }});
  peers.push_back({"libpng, level 1, Paeth only",
                   [](const Picture& picture) { return encodeByLibpng(picture, 1, PNG_FILTER_PAETH); }});
  peers.push_back(
      {"up filter + libdeflate 1", [](const Picture& picture) { return encodeByLibdeflate(picture, 1); }});
#ifdef CAMERA_SHOT_BENCH_ISAL
  peers.push_back({"up filter + ISA-L 1", encodeByIsal});
#endif
#ifdef CAMERA_SHOT_BENCH_SPNG
  peers.push_back({"libspng", encodeBySpng});
#endif
#ifdef CAMERA_SHOT_BENCH_GDK_PIXBUF
  peers.push_back({"gdk-pixbuf", encodeByGdkPixbuf});
#endif
  return peers;
}

std::vector<std::string> absentPeers() {
  std::vector<std::string> absent;
#ifndef CAMERA_SHOT_BENCH_ISAL
  absent.emplace_back("ISA-L");
#endif
#ifndef CAMERA_SHOT_BENCH_SPNG
  absent.emplace_back("libspng");
#endif
#ifndef CAMERA_SHOT_BENCH_GDK_PIXBUF
  absent.emplace_back("gdk-pixbuf");
#endif
  return absent;
}

}  // namespace camera_shot_bench
