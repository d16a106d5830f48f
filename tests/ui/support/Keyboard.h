#pragma once

#include <string>

namespace ui_test {

/// Presses and releases a key as the keyboard does, `chord` as in "ctrl+w"; the window with the keyboard gets
/// it. Needs X11. Throws when that cannot be done.
void pressKey(const std::string& chord);

/// A key that is held down as long as this object lives, and repeats itself as the X server has it.
class HeldKey {
 public:
  explicit HeldKey(std::string key);
  HeldKey(const HeldKey&) = delete;
  HeldKey& operator=(const HeldKey&) = delete;
  ~HeldKey();

 private:
  const std::string key_;
};

}  // namespace ui_test
