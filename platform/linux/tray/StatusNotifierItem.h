#pragma once

#include <functional>
#include <string>

#include "platform/Foundation/NSBundle.h"
#include "platform/linux/bus/ExportedInterface.h"
#include "platform/linux/bus/SessionBus.h"
#include "platform/linux/tray/TrayMenu.h"

namespace platform_linux {

/// The application's icon in the desktop's tray, with a menu (`org.kde.StatusNotifierItem`). Main thread
/// only.
///
/// Nothing is waited for. Without a bus or a tray nothing happens; a tray that starts later, or starts anew,
/// gets the icon then.
class StatusNotifierItem {
 public:
  struct Identity {
    std::string identifier;  ///< the application's id, which is its icon's name too
    std::string iconFolder;  ///< where the icon is besides the desktop's own folders; empty: nowhere else
  };
  /// Run on turns of the main loop, after the tray has its answer.
  struct Actions {
    std::function<void()> onClick;  ///< on the icon itself
    std::function<void()> onTakePhoto;
    std::function<void()> onPreferences;
    std::function<void()> onQuit;
    /// The activation token for what the next action shows; empty where the desktop has none, as on X11.
    /// Comes right before the action, from trays that know of tokens.
    std::function<void(const std::string& token)> onActivationToken = {};
  };
  enum class Status { Passive, Active };

  /// Passive at first. `bus` outlives this; `texts` is asked for the menu's words here and now.
  StatusNotifierItem(const SessionBus& bus, Identity identity, const platform::NSBundle& texts,
                     const Actions& actions);
  StatusNotifierItem(const StatusNotifierItem&) = delete;
  StatusNotifierItem& operator=(const StatusNotifierItem&) = delete;
  ~StatusNotifierItem();

  /// Active: to be shown. A tray is looked for from the first time on, so a run that never becomes active
  /// never shows up in one.
  void setStatus(Status status);

 private:
  void watchForTrays();
  void registerWith(const char* watcher) const;
  void handle(IncomingCall call) const;
  [[nodiscard]] GVariant* property(const std::string& name) const;

  const SessionBus& bus_;
  const Identity identity_;
  const std::string title_;
  const std::string hint_;
  const std::function<void()> onClick_;
  const std::function<void(const std::string&)> onActivationToken_;
  Status status_ = Status::Passive;
  TrayMenu menu_;
  ExportedInterface item_;
  guint watch_ = 0;
};

}  // namespace platform_linux
