#include "picture/ExifBlock.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <string_view>

namespace picture {
namespace {

using Clock = std::chrono::system_clock;
using std::chrono::milliseconds;

// Tags and types of "Exif 2.32", CIPA DC-008-2019, and of TIFF 6.0.
enum Tag : std::uint16_t {
  kOrientationTag = 0x0112,
  kDateTimeTag = 0x0132,
  kExifDirectoryTag = 0x8769,
  kExifVersionTag = 0x9000,
  kDateTimeOriginalTag = 0x9003,
  kOffsetTimeTag = 0x9010,
  kOffsetTimeOriginalTag = 0x9011,
  kSubSecTimeOriginalTag = 0x9291,
};
enum Type : std::uint16_t { kAscii = 2, kShort = 3, kLong = 4, kUndefined = 7 };

constexpr std::size_t kHeaderBytes = 8;
constexpr std::size_t kEntryBytes = 12;
constexpr std::string_view kVersion = "0232";  // the first with time offsets is 0231

// The clock's nanoseconds reach from 1677 to 2262.
constexpr int kLastYear = 2261;

struct LocalTime {
  std::string dateTime;   // "2024:03:31 12:00:00"
  std::string offset;     // "+02:00"
  std::string subSecond;  // "007"
};

LocalTime localTimeOf(Clock::time_point when) {
  const auto sinceEpoch = std::chrono::floor<milliseconds>(when.time_since_epoch());
  const auto seconds = std::chrono::floor<std::chrono::seconds>(sinceEpoch);
  const std::time_t time = seconds.count();
  std::tm local{};
  ::localtime_r(&time, &local);
  std::array<char, 64> text{};
  LocalTime out;
  out.dateTime.assign(text.data(), std::strftime(text.data(), text.size(), "%Y:%m:%d %H:%M:%S", &local));
  const long minutes = std::labs(local.tm_gmtoff) / 60;
  std::snprintf(text.data(), text.size(), "%c%02ld:%02ld", local.tm_gmtoff < 0 ? '-' : '+', minutes / 60,
                minutes % 60);
  out.offset = text.data();
  std::snprintf(text.data(), text.size(), "%03d", static_cast<int>((sinceEpoch - seconds).count()));
  out.subSecond = text.data();
  return out;
}

// One image file directory in the making: entries, and the values that do not fit into them.
class DirectoryWriter {
 public:
  void number(Tag tag, Type type, std::uint32_t value) { entries_.push_back({tag, type, 1, value, {}}); }
  void text(Tag tag, const std::string& value) {
    const std::string terminated = value + '\0';
    entries_.push_back({tag, kAscii, static_cast<std::uint32_t>(terminated.size()), 0, terminated});
  }
  void version(Tag tag) { entries_.push_back({tag, kUndefined, 4, 0, std::string(kVersion)}); }

  /// What the directory takes with its values.
  [[nodiscard]] std::uint32_t size() const {
    std::size_t bytes = 2 + entries_.size() * kEntryBytes + 4;
    for (const Entry& entry : entries_) {
      if (entry.text.size() > 4) bytes += entry.text.size() + entry.text.size() % 2;
    }
    return static_cast<std::uint32_t>(bytes);
  }

  /// Appends the directory at the end of `out`; values follow the entries, each at an even offset.
  void appendTo(std::vector<std::uint8_t>& out) const {
    std::vector<std::uint8_t> values;
    const std::size_t valuesAt = out.size() + 2 + entries_.size() * kEntryBytes + 4;
    put(out, static_cast<std::uint32_t>(entries_.size()), 2);
    for (const Entry& entry : entries_) {
      put(out, entry.tag, 2);
      put(out, entry.type, 2);
      put(out, entry.count, 4);
      if (entry.text.empty()) {
        put(out, entry.number, 4);
      } else if (entry.text.size() <= 4) {
        std::string inlined = entry.text;
        inlined.resize(4);
        out.insert(out.end(), inlined.begin(), inlined.end());
      } else {
        put(out, static_cast<std::uint32_t>(valuesAt + values.size()), 4);
        values.insert(values.end(), entry.text.begin(), entry.text.end());
        if (values.size() % 2 != 0) values.push_back(0);
      }
    }
    put(out, 0, 4);  // no further directory
    out.insert(out.end(), values.begin(), values.end());
  }

 private:
  struct Entry {
    Tag tag;
    Type type;
    std::uint32_t count;
    std::uint32_t number;
    std::string text;
  };

  static void put(std::vector<std::uint8_t>& out, std::uint32_t value, int bytes) {
    for (int shift = 0; shift < 8 * bytes; shift += 8)
      out.push_back(static_cast<std::uint8_t>(value >> shift));
  }

  std::vector<Entry> entries_;  // in ascending order of tags, as TIFF wants it
};

// Bounds-checked reading of a TIFF structure.
class TiffReader {
 public:
  explicit TiffReader(std::span<const std::uint8_t> tiff) : tiff_(tiff) {
    if (tiff.size() < kHeaderBytes) return;
    bigEndian_ = tiff[0] == 'M';
    valid_ = (tiff[0] == 'M' || tiff[0] == 'I') && tiff[1] == tiff[0] && number(2, 2) == 42;
  }

  [[nodiscard]] bool valid() const { return valid_; }
  [[nodiscard]] std::uint32_t firstDirectory() const { return *number(4, 4); }

  /// Where the entry of `tag` begins in the directory at `directory`.
  [[nodiscard]] std::optional<std::size_t> find(std::size_t directory, Tag tag) const {
    const auto count = number(directory, 2);
    if (!count) return std::nullopt;
    for (std::size_t i = 0; i < *count; ++i) {
      const std::size_t entry = directory + 2 + i * kEntryBytes;
      const auto found = number(entry, 2);
      if (!found) return std::nullopt;
      if (*found == tag) return entry;
    }
    return std::nullopt;
  }

  /// The single SHORT or LONG of `tag`.
  [[nodiscard]] std::optional<std::uint32_t> integer(std::size_t directory, Tag tag) const {
    const auto entry = find(directory, tag);
    if (!entry || number(*entry + 4, 4) != 1) return std::nullopt;
    const auto type = number(*entry + 2, 2);
    if (type == kShort) return number(*entry + 8, 2);
    if (type == kLong) return number(*entry + 8, 4);
    return std::nullopt;
  }

  /// The text of `tag`, without its terminator.
  [[nodiscard]] std::optional<std::string> text(std::size_t directory, Tag tag) const {
    const auto entry = find(directory, tag);
    if (!entry || number(*entry + 2, 2) != kAscii) return std::nullopt;
    const auto count = number(*entry + 4, 4);
    if (!count) return std::nullopt;
    const auto offset = *count <= 4 ? std::optional<std::uint32_t>(static_cast<std::uint32_t>(*entry + 8))
                                    : number(*entry + 8, 4);
    if (!offset || *offset > tiff_.size() || *count > tiff_.size() - *offset) return std::nullopt;
    std::string out(tiff_.begin() + *offset, tiff_.begin() + *offset + *count);
    out.resize(out.find('\0') == std::string::npos ? out.size() : out.find('\0'));
    return out;
  }

 private:
  [[nodiscard]] std::optional<std::uint32_t> number(std::size_t offset, std::size_t bytes) const {
    if (offset > tiff_.size() || bytes > tiff_.size() - offset) return std::nullopt;
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < bytes; ++i) {
      const std::size_t shift = 8 * (bigEndian_ ? bytes - 1 - i : i);
      value |= static_cast<std::uint32_t>(tiff_[offset + i]) << shift;
    }
    return value;
  }

  std::span<const std::uint8_t> tiff_;
  bool bigEndian_ = false;
  bool valid_ = false;
};

// Seconds east of UTC of "+02:00".
std::optional<long> parseOffset(const std::string& text) {
  char sign = 0;
  int hours = 0;
  int minutes = 0;
  if (std::sscanf(text.c_str(), "%c%2d:%2d", &sign, &hours, &minutes) != 3) return std::nullopt;
  if ((sign != '+' && sign != '-') || hours < 0 || hours > 15 || minutes < 0 || minutes > 59)
    return std::nullopt;
  return (sign == '-' ? -1 : 1) * (hours * 3600L + minutes * 60L);
}

// The part of a second that "25" (hundredths), "250" and so on name.
milliseconds parseSubSecond(const std::string& text) {
  int value = 0;
  int unit = 100;
  for (const char digit : text) {
    if (digit < '0' || digit > '9') break;
    value += unit * (digit - '0');
    unit /= 10;
  }
  return milliseconds(value);
}

std::optional<Clock::time_point> parseTime(const std::string& dateTime,
                                           const std::optional<std::string>& offset,
                                           const std::optional<std::string>& subSecond) {
  std::tm fields{};
  if (std::sscanf(dateTime.c_str(), "%4d:%2d:%2d %2d:%2d:%2d", &fields.tm_year, &fields.tm_mon,
                  &fields.tm_mday, &fields.tm_hour, &fields.tm_min, &fields.tm_sec) != 6) {
    return std::nullopt;
  }
  const bool plausible = fields.tm_year >= 1900 && fields.tm_year <= kLastYear && fields.tm_mon >= 1 &&
                         fields.tm_mon <= 12 && fields.tm_mday >= 1 && fields.tm_mday <= 31 &&
                         fields.tm_hour >= 0 && fields.tm_hour <= 23 && fields.tm_min >= 0 &&
                         fields.tm_min <= 59 && fields.tm_sec >= 0 && fields.tm_sec <= 60;
  if (!plausible) return std::nullopt;
  fields.tm_year -= 1900;
  fields.tm_mon -= 1;
  fields.tm_isdst = -1;  // the date decides
  const auto east = offset ? parseOffset(*offset) : std::nullopt;
  const std::time_t seconds = east ? ::timegm(&fields) - *east : std::mktime(&fields);
  return Clock::from_time_t(seconds) + (subSecond ? parseSubSecond(*subSecond) : milliseconds(0));
}

// The values of the orientation tag, from 1 on (Exif 2.3, 4.6.4 A): what is done to the stored pixels to show
// them.
constexpr std::array<Orientation, 8> kOrientations = {
    {{false, 0}, {true, 0}, {false, 2}, {true, 2}, {true, 3}, {false, 1}, {true, 1}, {false, 3}}};

std::uint32_t exifNumber(Orientation orientation) {
  const auto found = std::find(kOrientations.begin(), kOrientations.end(), orientation);
  return static_cast<std::uint32_t>(found - kOrientations.begin()) + 1;
}

std::optional<Orientation> orientationOf(std::uint32_t number) {
  if (number < 1 || number > kOrientations.size()) return std::nullopt;
  return kOrientations[number - 1];
}

}  // namespace

std::vector<std::uint8_t> ExifBlock::bytes() const {
  DirectoryWriter image;
  DirectoryWriter exif;
  if (orientation) image.number(kOrientationTag, kShort, exifNumber(*orientation));
  exif.version(kExifVersionTag);
  if (captureTime) {
    const LocalTime local = localTimeOf(*captureTime);
    image.text(kDateTimeTag, local.dateTime);
    exif.text(kDateTimeOriginalTag, local.dateTime);
    exif.text(kOffsetTimeTag, local.offset);
    exif.text(kOffsetTimeOriginalTag, local.offset);
    exif.text(kSubSecTimeOriginalTag, local.subSecond);
  }
  const auto imageBytes = static_cast<std::uint32_t>(image.size() + kEntryBytes);
  image.number(kExifDirectoryTag, kLong, static_cast<std::uint32_t>(kHeaderBytes + imageBytes));
  std::vector<std::uint8_t> out = {'I', 'I', 42, 0, kHeaderBytes, 0, 0, 0};
  image.appendTo(out);
  exif.appendTo(out);
  return out;
}

std::optional<ExifBlock> ExifBlock::parse(std::span<const std::uint8_t> tiff) {
  const TiffReader reader(tiff);
  if (!reader.valid()) return std::nullopt;
  ExifBlock block;
  const std::uint32_t image = reader.firstDirectory();
  if (const auto number = reader.integer(image, kOrientationTag)) block.orientation = orientationOf(*number);
  const auto exif = reader.integer(image, kExifDirectoryTag);
  if (!exif) return block;
  if (const auto taken = reader.text(*exif, kDateTimeOriginalTag)) {
    block.captureTime = parseTime(*taken, reader.text(*exif, kOffsetTimeOriginalTag),
                                  reader.text(*exif, kSubSecTimeOriginalTag));
  }
  return block;
}

}  // namespace picture
