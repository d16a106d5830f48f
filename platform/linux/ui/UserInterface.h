#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/AppKit/NSNib.h"
#include "platform/AppKit/NSOpenPanel.h"
#include "platform/AppKit/NSView.h"

namespace platform_linux {

/// What the windows need of the program that shows them. The calls come on the main thread.
struct UserInterfaceHost {
  std::string applicationId;  ///< what the desktop knows the windows by
  std::string stateFolder;    ///< where `windows.ini` is kept; made when missing
  /// The user closed the last window on the screen. Comes on a turn of the main loop of its own.
  std::function<void()> lastWindowClosed;
  std::function<void()> quit;  ///< the user asked for the end of the program
  /// The activation token of the desktop's latest call, with which the window that answers it may come to the
  /// front; empty for none. It serves once.
  std::function<std::string()> takeActivationToken;
  /// The connection to the display is lost. Neither the windows nor the main loop are of use any more: this
  /// ends the process and does not return.
  std::function<void()> displayLost;
  /// Whether the desktop's portal answers, which the toolkit asks for settings and waits for; takes a second
  /// at most.
  std::function<bool()> portalAnswers;
};

/// The program's windows: everything that needs a display. No toolkit in this header, because the toolkit is
/// loaded only when a window is wanted. Main thread only; after the last window has gone it may be destroyed.
class UserInterface {
 public:
  virtual ~UserInterface() = default;

  /// As platform::AppKit says.
  virtual std::unique_ptr<platform::NSNib> loadNibNamed(const std::string& name,
                                                        platform::NSActions actions) = 0;
  virtual std::shared_ptr<platform::NSImage> imageNamed(const std::string& name) = 0;

  virtual platform::NSOpenPanel& openPanel() = 0;

  /// Brings the windows that are on the screen to the front.
  virtual void activate() = 0;
  [[nodiscard]] virtual bool hasVisibleWindows() const = 0;

  /// The end of the program: the windows leave the screen for good, and no action, completion or delegate is
  /// called any more.
  virtual void withdraw() = 0;
};

}  // namespace platform_linux
