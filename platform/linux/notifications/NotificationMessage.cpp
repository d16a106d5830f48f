#include "platform/linux/notifications/NotificationMessage.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>

#include "picture/png/PngWriter.h"
#include "platform/linux/base/Handles.h"

namespace platform_linux {
namespace {

using platform::UNMutableNotificationContent;
using platform::UNNotificationAction;
using platform::UNNotificationCategory;

/// A dictionary in the making.
class Dictionary {
 public:
  Dictionary() { g_variant_builder_init(&builder_, G_VARIANT_TYPE_VARDICT); }
  Dictionary(const Dictionary&) = delete;
  Dictionary& operator=(const Dictionary&) = delete;
  ~Dictionary() { g_variant_builder_clear(&builder_); }

  void add(const char* key, GVariant* value) { g_variant_builder_add(&builder_, "{sv}", key, value); }
  void add(const char* key, const std::string& text) { add(key, g_variant_new_string(text.c_str())); }
  /// Floating.
  GVariant* end() { return g_variant_builder_end(&builder_); }

 private:
  GVariantBuilder builder_{};
};

/// The action as the services name it; empty where the application has none for the click.
std::string prefixedAction(const NotificationActions& actions, const std::string& identifier) {
  const std::string* const name = actions.nameFor(identifier);
  return name ? "app." + *name : std::string();
}

/// A bus takes nothing but UTF-8, which a file's name need not be.
std::string validText(const std::string& text) {
  const GStringHandle valid(g_utf8_make_valid(text.c_str(), -1));
  return valid.get();
}

void addTexts(Dictionary& dictionary, const std::string& body) {
  const auto endOfFirstLine = std::min(body.find('\n'), body.size());
  dictionary.add("title", validText(body.substr(0, endOfFirstLine)));
  if (endOfFirstLine < body.size()) dictionary.add("body", validText(body.substr(endOfFirstLine + 1)));
}

void addButtons(Dictionary& dictionary, const NotificationActions& actions,
                const UNNotificationCategory& category, const std::string& target) {
  GVariantBuilder buttons;
  g_variant_builder_init(&buttons, G_VARIANT_TYPE("aa{sv}"));
  for (const UNNotificationAction& action : category.actions) {
    const std::string name = prefixedAction(actions, action.identifier);
    if (name.empty()) continue;
    Dictionary button;
    button.add("label", validText(action.title));
    button.add("action", name);
    button.add("target", target);
    g_variant_builder_add_value(&buttons, button.end());
  }
  dictionary.add("buttons", g_variant_builder_end(&buttons));
}

/// Red, green and blue of a thumbnail.
constexpr int kChannels = 3;

/// As the hint `image-data` wants it. Floating.
GVariant* imageData(const picture::Thumbnail& thumbnail) {
  constexpr int kBitsPerChannel = 8;
  GVariant* const pixels = g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, thumbnail.pixels.data(),
                                                     thumbnail.pixels.size(), sizeof(std::uint8_t));
  return g_variant_new("(iiibii@ay)", thumbnail.size.width, thumbnail.size.height,
                       thumbnail.size.width * kChannels, FALSE, kBitsPerChannel, kChannels, pixels);
}

/// The largest square in the middle of a thumbnail, for the writer of PNG files.
class SquareRows final : public picture::RowSource {
 public:
  explicit SquareRows(const picture::Thumbnail& thumbnail)
      : thumbnail_(thumbnail),
        side_(std::min(thumbnail.size.width, thumbnail.size.height)),
        left_((thumbnail.size.width - side_) / 2),
        nextRow_((thumbnail.size.height - side_) / 2) {}
  std::uint32_t width() const noexcept override { return static_cast<std::uint32_t>(side_); }
  std::uint32_t height() const noexcept override { return static_cast<std::uint32_t>(side_); }
  bool readRows(std::span<std::uint8_t> rows) noexcept override {
    const auto rowBytes = static_cast<std::size_t>(side_) * kChannels;
    for (; !rows.empty(); rows = rows.subspan(rowBytes), ++nextRow_)
      std::ranges::copy(rowInThumbnail().first(rowBytes), rows.begin());
    return true;
  }
  std::string failure() const override { return {}; }

 private:
  /// The next row from the square's left edge on.
  std::span<const std::uint8_t> rowInThumbnail() const noexcept {
    const auto pixel = static_cast<std::size_t>(nextRow_) * static_cast<std::size_t>(thumbnail_.size.width) +
                       static_cast<std::size_t>(left_);
    return std::span(thumbnail_.pixels).subspan(pixel * kChannels);
  }

  const picture::Thumbnail& thumbnail_;
  const int side_;
  const int left_;
  int nextRow_;
};

/// A file in memory.
class Bytes final : public picture::ByteSink {
 public:
  Bytes() : bytes_(g_byte_array_new()) {}
  bool write(std::span<const std::uint8_t> bytes) noexcept override {
    g_byte_array_append(bytes_.get(), bytes.data(), static_cast<guint>(bytes.size()));
    return true;
  }
  GByteArray* get() const { return bytes_.get(); }

 private:
  const std::unique_ptr<GByteArray, ReleaseWith<g_byte_array_unref>> bytes_;
};

/// As g_icon_serialize() makes it of a GBytesIcon. Floating.
GVariant* bytesIcon(const Bytes& file) {
  GVariant* const bytes =
      g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, file.get()->data, file.get()->len, sizeof(guint8));
  return g_variant_new("(sv)", "bytes", bytes);
}

void addThumbnail(Dictionary& dictionary, const picture::Thumbnail& thumbnail, NotificationService service) {
  if (thumbnail.pixels.empty()) return;
  if (service == NotificationService::Helper) {
    dictionary.add("image-data", imageData(thumbnail));
    return;
  }
  // GNOME Shell stretches what it is given to a square (43.9).
  SquareRows rows(thumbnail);
  Bytes file;
  if (picture::writePng(rows, {}, file, {.threads = 1}) == picture::PngResult::Written)
    dictionary.add("icon", bytesIcon(file));
}

}  // namespace

GVariantHandle notificationDictionary(const UNMutableNotificationContent& content,
                                      const std::set<UNNotificationCategory>& categories,
                                      const NotificationActions& actions,
                                      const std::string& defaultActionTitle,
                                      const picture::Thumbnail& thumbnail, NotificationService service) {
  Dictionary dictionary;
  addTexts(dictionary, content.body);
  dictionary.add("priority", "normal");
  const std::string defaultAction = prefixedAction(actions, platform::UNNotificationDefaultActionIdentifier);
  if (!defaultAction.empty()) dictionary.add("default-action", defaultAction);
  const bool forHelper = service == NotificationService::Helper;
  if (forHelper && content.sound == platform::UNNotificationSound::DefaultSound)
    dictionary.add("sound", "default");

  addThumbnail(dictionary, thumbnail, service);
  const std::string target = actions.targetFor(content.userInfo);
  if (target.empty()) return GVariantHandle(g_variant_ref_sink(dictionary.end()));
  dictionary.add("default-action-target", target);
  dictionary.add("default-action-label", validText(defaultActionTitle));
  const auto category =
      std::ranges::find(categories, content.categoryIdentifier, &UNNotificationCategory::identifier);
  if (category != categories.end()) addButtons(dictionary, actions, *category, target);
  return GVariantHandle(g_variant_ref_sink(dictionary.end()));
}

}  // namespace platform_linux
