#include "platform/linux/camera/pipewire/ErrorMessage.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <string>
#include <system_error>

namespace platform_linux {
namespace {

/// What opening, configuring or running a camera can fail with.
constexpr std::array kCameraErrors{EBUSY, ENODEV, ENOENT, EACCES, EPERM,  EPIPE,    ENOSPC,
                                   EIO,   ENXIO,  EINVAL, ENOMEM, EPROTO, ETIMEDOUT};

int errorNumberAtTheEndOf(std::string_view message) {
  for (const int error : kCameraErrors)
    // The daemon writes in its own language, which is mostly, but not always, the untranslated one.
    if (message.ends_with(strerrordesc_np(error)) ||
        message.ends_with(std::generic_category().message(error)))
      return error;
  return 0;
}

}  // namespace

int errorNumberOfMessage(std::string_view message) {
  // In words, in brackets behind a number, or in front of a remark in brackets.
  const auto end = message.find_last_not_of(" .)");
  const auto bracket = message.rfind('(');
  const auto reason = message.substr(0, end == std::string_view::npos ? 0 : end + 1);
  const auto beforeRemark =
      message.substr(0, bracket == std::string_view::npos ? 0 : message.find_last_not_of(" (", bracket) + 1);
  for (const auto part : {reason, beforeRemark})
    if (const int error = errorNumberAtTheEndOf(part)) return error;
  return EIO;
}

}  // namespace platform_linux
