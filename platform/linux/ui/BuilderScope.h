#pragma once

#include <gtk/gtk.h>

#include "platform/AppKit/NSNib.h"
#include "platform/linux/base/GObjectRef.h"

namespace platform_linux {

/// What connects a layout's handler names to `actions`. A name that is not among them fails the layout.
/// Changes that the program makes itself (ProgrammaticChange) call no handler.
GObjectRef<GtkBuilderScope> makeBuilderScope(platform::NSActions actions);

}  // namespace platform_linux
