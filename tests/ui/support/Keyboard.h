#pragma once

#include <string>

namespace ui_test {

/// Presses and releases a key as the keyboard does, `chord` as in "ctrl+w"; the window with the keyboard gets
/// it. Needs X11. Throws when that cannot be done.
void pressKey(const std::string& chord);

}  // namespace ui_test
