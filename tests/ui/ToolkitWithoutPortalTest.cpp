#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "platform/linux/ui/ToolkitWithoutPortal.h"

namespace {

using platform_linux::ToolkitWithoutPortal;

std::string variable(const char* name) {
  const char* const value = std::getenv(name);
  return value ? value : "(none)";
}

TEST(ToolkitWithoutPortal, ToldByTheEnvironmentForAsLongAsItStarts) {
  ::unsetenv("ADW_DISABLE_PORTAL");
  ::setenv("GDK_DEBUG", "gl-disable", 1);
  {
    const ToolkitWithoutPortal starting;
    EXPECT_EQ(variable("ADW_DISABLE_PORTAL"), "1");
    EXPECT_TRUE(variable("GDK_DEBUG").starts_with("gl-disable"));
  }
  // What is started later finds nothing of that.
  EXPECT_EQ(variable("ADW_DISABLE_PORTAL"), "(none)");
  EXPECT_EQ(variable("GDK_DEBUG"), "gl-disable");
}

}  // namespace
