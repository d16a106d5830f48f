#include "platform/linux/ui/WindowFrames.h"

#include <memory>
#include <utility>

#include <glib.h>
#include <glib/gstdio.h>

namespace platform_linux {
namespace {

using KeyFile = std::unique_ptr<GKeyFile, decltype(&g_key_file_unref)>;

/// No window is larger: what says so was not written by us.
constexpr int kLargestSide = 16384;

KeyFile read(const std::string& file) {
  KeyFile keys(g_key_file_new(), g_key_file_unref);
  g_key_file_load_from_file(keys.get(), file.c_str(), G_KEY_FILE_NONE, nullptr);
  return keys;
}

std::optional<int> integer(GKeyFile* keys, const std::string& group, const char* key) {
  GError* error = nullptr;
  const int value = g_key_file_get_integer(keys, group.c_str(), key, &error);
  if (!error) return value;
  g_error_free(error);
  return {};
}

bool isSane(std::optional<int> side) {
  return side && *side > 0 && *side <= kLargestSide;
}

}  // namespace

WindowFrames::WindowFrames(std::string folder)
    : folder_(std::move(folder)), file_(folder_ + "/windows.ini") {}

std::optional<WindowFrame> WindowFrames::load(const std::string& name) const {
  const KeyFile keys = read(file_);
  const auto width = integer(keys.get(), name, "Width");
  const auto height = integer(keys.get(), name, "Height");
  if (!isSane(width) || !isSane(height)) return {};
  WindowFrame frame{*width, *height, integer(keys.get(), name, "Maximized").value_or(0) != 0, {}};
  const auto x = integer(keys.get(), name, "X");
  const auto y = integer(keys.get(), name, "Y");
  if (x && y) frame.position = WindowFrame::Position{*x, *y};
  return frame;
}

void WindowFrames::save(const std::string& name, const WindowFrame& frame) {
  if (load(name) == frame) return;
  const KeyFile keys = read(file_);
  g_key_file_set_integer(keys.get(), name.c_str(), "Width", frame.width);
  g_key_file_set_integer(keys.get(), name.c_str(), "Height", frame.height);
  g_key_file_set_integer(keys.get(), name.c_str(), "Maximized", frame.isMaximized ? 1 : 0);
  if (frame.position) {
    g_key_file_set_integer(keys.get(), name.c_str(), "X", frame.position->x);
    g_key_file_set_integer(keys.get(), name.c_str(), "Y", frame.position->y);
  }
  constexpr int kOwnerOnly = 0700;
  g_mkdir_with_parents(folder_.c_str(), kOwnerOnly);
  g_key_file_save_to_file(keys.get(), file_.c_str(), nullptr);
}

}  // namespace platform_linux
