#include "tests/ui/support/Keyboard.h"

#include <stdexcept>

#include <glib.h>

namespace ui_test {

void pressKey(const std::string& chord) {
  int status = 0;
  GError* error = nullptr;
  const std::string command = "xdotool key --clearmodifiers " + chord;
  if (!g_spawn_command_line_sync(command.c_str(), nullptr, nullptr, &status, &error)) {
    const std::string reason = error->message;
    g_error_free(error);
    throw std::runtime_error(reason);
  }
  if (status != 0) throw std::runtime_error(command + " failed");
}

}  // namespace ui_test
