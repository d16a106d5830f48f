#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <libdeflate.h>

#include "bench/png/Peers.h"

namespace camera_shot_bench {
namespace {

namespace fs = std::filesystem;

// The picture as a file that all of these programs can read, kept until the next one comes.
class PictureFile {
 public:
  ~PictureFile() { remove(); }

  const fs::path& hold(const Picture& picture) {
    // By contents: pictures come and go at the same address. This takes no noticeable part of a program's
    // time.
    const std::uint32_t sum = libdeflate_adler32(picture.width, picture.pixels.data(), picture.pixels.size());
    if (sum == held_ && !path_.empty()) return path_;
    remove();
    path_ = fs::temp_directory_path() / ("png-bench-" + std::to_string(std::rand()) + ".ppm");
    std::ofstream file(path_, std::ios::binary);
    file << "P6\n" << picture.width << " " << picture.height << "\n255\n";
    file.write(reinterpret_cast<const char*>(picture.pixels.data()),
               static_cast<std::streamsize>(picture.pixels.size()));
    held_ = sum;
    return path_;
  }

 private:
  void remove() {
    std::error_code ignored;
    fs::remove(path_, ignored);
  }

  std::uint32_t held_ = 0;
  fs::path path_;
};

std::size_t sizeAfter(const std::string& command, const fs::path& result) {
  std::error_code error;
  fs::remove(result, error);
  if (std::system((command + " >/dev/null 2>&1").c_str()) != 0) return 0;
  const auto size = fs::file_size(result, error);
  fs::remove(result, error);
  return size == static_cast<std::uintmax_t>(-1) ? 0 : static_cast<std::size_t>(size);
}

std::size_t encodeByProgram(const Picture& picture, const std::string& before, const std::string& between) {
  static PictureFile file;
  const fs::path& input = file.hold(picture);
  const fs::path output = input.string() + ".png";
  return sizeAfter(before + "'" + input.string() + "'" + between + "'" + output.string() + "'", output);
}

std::string gstreamerParse(const Picture& picture) {
  return " ! rawvideoparse format=rgb width=" + std::to_string(picture.width) +
         " height=" + std::to_string(picture.height) + " ! pngenc ! filesink location=";
}

// GStreamer has no parser for the file's head: it is given the pixels alone.
std::size_t encodeByGstreamer(const Picture& picture) {
  const fs::path input = fs::temp_directory_path() / "png-bench.rgb";
  std::ofstream(input, std::ios::binary)
      .write(reinterpret_cast<const char*>(picture.pixels.data()),
             static_cast<std::streamsize>(picture.pixels.size()));
  const fs::path output = input.string() + ".png";
  const std::size_t size = sizeAfter("gst-launch-1.0 -q filesrc location='" + input.string() +
                                         "' blocksize=" + std::to_string(picture.pixels.size()) +
                                         gstreamerParse(picture) + "'" + output.string() + "'",
                                     output);
  fs::remove(input);
  return size;
}

}  // namespace

std::vector<Peer> programPeers() {
  return {
      {"ImageMagick (program)",
       [](const Picture& picture) { return encodeByProgram(picture, "convert ", " "); }, true},
      {"ffmpeg (program)",
       [](const Picture& picture) {
         return encodeByProgram(picture, "ffmpeg -v error -y -i ", " -pix_fmt rgb24 ");
       },
       true},
      {"GStreamer pngenc (program)", encodeByGstreamer, true},
  };
}

}  // namespace camera_shot_bench
