#pragma once

#include <functional>

#include <gdk/gdk.h>

namespace platform_linux {

/// Tells when the connection to the display is lost, as when a session ends. The toolkit ends the process
/// then, without asking the program; this comes just before. Main thread only; one at a time.
class DisplayWatch {
 public:
  /// `lost` ends the process and does not return; it may use nothing of the toolkit.
  DisplayWatch(GdkDisplay* display, std::function<void()> lost);
  DisplayWatch(const DisplayWatch&) = delete;
  DisplayWatch& operator=(const DisplayWatch&) = delete;
  ~DisplayWatch();

 private:
  const std::function<void()> lost_;
};

}  // namespace platform_linux
