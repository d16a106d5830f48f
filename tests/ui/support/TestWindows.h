#pragma once

#include <functional>
#include <memory>
#include <string>

#include <gtk/gtk.h>

#include "platform/linux/base/Handles.h"
#include "platform/linux/ui/GtkUserInterface.h"
#include "tests/ui/support/TestFrames.h"

namespace ui_test {

/// Turns the main loop until `done`, which is looked at after each turn; false when that takes ten seconds.
bool runUntil(const std::function<bool()>& done);

/// The user interface over a private folder, with a record of what it asks of its program.
class TestUserInterface {
 public:
  TestUserInterface();
  TestUserInterface(const TestUserInterface&) = delete;
  TestUserInterface& operator=(const TestUserInterface&) = delete;
  ~TestUserInterface();

  platform_linux::GtkUserInterface& operator*() { return *ui_; }
  platform_linux::GtkUserInterface* operator->() { return ui_.get(); }

  /// The same folder anew, as the next start of the program finds it.
  void restart();

  int lastWindowClosed = 0;
  int quits = 0;
  std::string activationToken;  ///< what the desktop's latest call came with
  const std::string& stateFolder() const { return stateFolder_; }

 private:
  std::string stateFolder_;
  std::unique_ptr<platform_linux::GtkUserInterface> ui_;
};

/// What a widget's last drawing looks like.
class Screenshot {
 public:
  /// Waits until the widget has been drawn anew, then takes its picture; `widget` must be in a mapped window.
  explicit Screenshot(GtkWidget* widget);

  int width() const { return width_; }
  int height() const { return height_; }
  /// The place in parts of the size, from 0 to 1.
  Rgb at(double x, double y) const;
  void save(const std::string& file) const;

 private:
  platform_linux::GObjectRef<GdkTexture> texture_;
  int width_ = 0;
  int height_ = 0;
  std::vector<std::uint8_t> pixels_;
};

/// The toolkit's window of that title; null when there is none.
GtkWindow* toplevelWithTitle(const std::string& title);

/// `root` or the first widget below it of that class; null when there is none.
GtkWidget* findWidget(GtkWidget* root, GType type);
/// `root` or the widget below it that the layout calls `id`; null when there is none.
GtkWidget* widgetById(GtkWidget* root, const std::string& id);

}  // namespace ui_test
