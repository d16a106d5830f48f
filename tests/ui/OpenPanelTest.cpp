#include <gio/gio.h>
#include <gtest/gtest.h>

#include "platform/linux/base/Handles.h"
#include "platform/linux/ui/OpenPanel.h"

namespace {

using platform_linux::GObjectRef;

std::string nameOf(const char* uri) {
  return platform_linux::nameOfFolder(GObjectRef<GFile>::adopt(g_file_new_for_uri(uri)).get());
}

TEST(OpenPanel, NamesAFolderByItsPath) {
  EXPECT_EQ(nameOf("file:///home/ada/My%20Photos"), "/home/ada/My Photos");
}

TEST(OpenPanel, NamesAFolderWithoutAPathByItsAddress) {
  // No folder of the file system, so that it is refused like one that cannot be used.
  EXPECT_EQ(nameOf("sftp://server/photos"), "sftp://server/photos");
}

}  // namespace
