#include <utility>

#include "platform/linux/ui/GtkUserInterface.h"
#include "platform/linux/ui/UserInterfaceModule.h"

/// The one name that the module exports (see kUserInterfaceFactoryName).
extern "C" __attribute__((visibility("default"))) platform_linux::UserInterface*
quilloCameraShotMakeUserInterface(platform_linux::UserInterfaceHost* host, std::string* whyNot) {
  return platform_linux::GtkUserInterface::make(std::move(*host), *whyNot).release();
}
