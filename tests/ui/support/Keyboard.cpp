#include "tests/ui/support/Keyboard.h"

#include <stdexcept>
#include <utility>

#include <glib.h>

namespace ui_test {
namespace {

void run(const std::string& command) {
  int status = 0;
  GError* error = nullptr;
  if (!g_spawn_command_line_sync(command.c_str(), nullptr, nullptr, &status, &error)) {
    const std::string reason = error->message;
    g_error_free(error);
    throw std::runtime_error(reason);
  }
  if (status != 0) throw std::runtime_error(command + " failed");
}

}  // namespace

void pressKey(const std::string& chord) {
  run("xdotool key --clearmodifiers " + chord);
}

HeldKey::HeldKey(std::string key) : key_(std::move(key)) {
  run("xdotool keydown " + key_);
}

HeldKey::~HeldKey() {
  g_spawn_command_line_sync(("xdotool keyup " + key_).c_str(), nullptr, nullptr, nullptr, nullptr);
}

}  // namespace ui_test
