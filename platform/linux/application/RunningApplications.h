#pragma once

#include <map>
#include <string>

#include "platform/AppKit/NSApplication.h"
#include "platform/linux/base/FileDescriptor.h"
#include "platform/linux/bus/SessionBus.h"

namespace platform_linux {

/// The name on the session bus in whose queue the processes of an application stand, first come first. Nobody
/// ever sends anything to it.
[[nodiscard]] std::string instanceName(const std::string& bundleIdentifier);

/// Counts the processes of an application. Main thread only; waits for the bus two seconds at most.
///
/// By asking, a process joins the queue of the application's instance name; its place there is the count. The
/// bus keeps the order and forgets a process the moment it ends, however it ends. Without a bus a locked file
/// in the user's runtime folder takes its place; it knows only "first" and "not first" (1 and 2).
class RunningApplications : public platform::NSRunningApplication {
 public:
  /// `bus` outlives this.
  explicit RunningApplications(const SessionBus& bus);
  ~RunningApplications() override;

  int runningApplicationsWithBundleIdentifier(const std::string& bundleIdentifier) override;

 private:
  const SessionBus& bus_;
  std::map<std::string, FileDescriptor> locks_;  ///< those we hold
};

}  // namespace platform_linux
