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

}  // namespace

int errorNumberOfMessage(std::string_view message) {
  for (const int error : kCameraErrors)
    // The daemon writes in its own language, which is mostly, but not always, the untranslated one.
    if (message.ends_with(strerrordesc_np(error)) ||
        message.ends_with(std::generic_category().message(error)))
      return error;
  return EIO;
}

}  // namespace platform_linux
