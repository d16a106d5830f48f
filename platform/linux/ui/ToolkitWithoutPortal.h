#pragma once

#include <optional>
#include <string>

namespace platform_linux {

/// While it lives, a toolkit that starts does not ask the desktop's portal for settings. Main thread only.
///
/// The toolkit can be told so only by the environment, which is as it was afterwards, so that programs that
/// are started later ask for themselves.
class ToolkitWithoutPortal {
 public:
  ToolkitWithoutPortal();
  ToolkitWithoutPortal(const ToolkitWithoutPortal&) = delete;
  ToolkitWithoutPortal& operator=(const ToolkitWithoutPortal&) = delete;
  ~ToolkitWithoutPortal() = default;

 private:
  /// A variable with another value for as long as this lives.
  class Variable {
   public:
    Variable(const char* name, const std::string& value);
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;
    ~Variable();

   private:
    const char* const name_;
    std::optional<std::string> before_;
  };

  const Variable adwaita_;
  const Variable gdk_;
};

}  // namespace platform_linux
