#pragma once

#include <gio/gio.h>

namespace platform_linux {

/// Whether a call failed because its answer did not come in time. The service may yet do what it was asked,
/// so asking another one as well might do it twice.
inline bool isLate(const GError* error) {
  return g_error_matches(error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT) ||
         g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_NO_REPLY);
}

}  // namespace platform_linux
