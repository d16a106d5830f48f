#include "tests/ui/support/LayoutFile.h"

#include <regex>
#include <stdexcept>

#include <gio/gio.h>

#include "platform/linux/ui/NibLoader.h"

namespace ui_test {
namespace {

std::string textOf(const std::string& name) {
  const std::string resource = std::string(platform_linux::kResourceFolder) + "/" + name + ".ui";
  GBytes* const bytes = g_resources_lookup_data(resource.c_str(), G_RESOURCE_LOOKUP_FLAGS_NONE, nullptr);
  if (!bytes) throw std::runtime_error("no layout " + resource);
  gsize size = 0;
  const auto* const text = static_cast<const char*>(g_bytes_get_data(bytes, &size));
  std::string result(text, size);
  g_bytes_unref(bytes);
  return result;
}

std::set<std::string> matches(const std::string& text, const std::string& expression) {
  const std::regex pattern(expression);
  std::set<std::string> found;
  for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end; ++match)
    found.insert((*match)[1]);
  return found;
}

}  // namespace

LayoutFile::LayoutFile(const std::string& name) {
  const std::string text = textOf(name);
  domains = matches(text, R"re(<interface domain="([^"]+)")re");
  ids = matches(text, R"re( id="([^"]+)")re");
  handlers = matches(text, R"re( handler="([^"]+)")re");
  shortcutActions = matches(text, R"re(action\(nib\.([^)]+)\))re");
}

}  // namespace ui_test
