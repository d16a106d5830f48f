#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "platform/AppKit/NSWorkspace.h"
#include "platform/linux/base/TerminationHold.h"
#include "platform/linux/bus/SessionBus.h"

namespace platform_linux {

/// The user's file manager, through the bus name that all of them share, and the default applications. A file
/// manager that has to be started first loses the request when its sender leaves at once, so the end of the
/// application is held until the answer, for which ten seconds are allowed. An empty path is no request. Main
/// thread only.
class Workspace : public platform::NSWorkspace {
 public:
  /// The token by which the desktop lets a window come to the front in answer to the user's click; empty for
  /// none.
  using ActivationToken = std::function<std::string()>;

  /// Enough for a file manager that has to be started from a cold disk first; what `holdTermination` must
  /// allow.
  static constexpr std::chrono::milliseconds kPatience{10000};

  /// `bus` outlives the main loop's last turn.
  Workspace(const SessionBus& bus, TerminationHold holdTermination, ActivationToken activationToken);

  /// Without a file manager that can select, the folder of a file that exists is opened. There is no root to
  /// choose here, so `inFileViewerRootedAtPath` is not looked at.
  void selectFile(const std::string& path, const std::string& inFileViewerRootedAtPath) override;
  void openFileURL(const std::string& path) override;

 private:
  [[nodiscard]] std::shared_ptr<void> hold() const;
  [[nodiscard]] std::string activationToken() const;

  const SessionBus& bus_;
  const TerminationHold holdTermination_;
  const ActivationToken activationToken_;
};

}  // namespace platform_linux
