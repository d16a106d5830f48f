#include "platform/linux/bus/DesktopCall.h"

#include <cstring>
#include <string_view>
#include <utility>

namespace platform_linux {

namespace {

std::vector<std::string> readFiles(GVariant* arguments) {
  std::vector<std::string> files;
  const GVariantHandle uris(g_variant_get_child_value(arguments, 0));
  GVariantIter each;
  g_variant_iter_init(&each, uris.get());
  const char* uri = nullptr;
  while (g_variant_iter_next(&each, "&s", &uri))
    files.push_back(localPath(uri));
  return files;
}

DesktopCall::ActivateAction readAction(GVariant* arguments) {
  const char* name = nullptr;
  g_variant_get_child(arguments, 0, "&s", &name);
  DesktopCall::ActivateAction action{name, {}};
  const GVariantHandle parameters(g_variant_get_child_value(arguments, 1));
  if (g_variant_n_children(parameters.get()) == 0) return action;
  const GVariantHandle boxed(g_variant_get_child_value(parameters.get(), 0));
  const GVariantHandle target(g_variant_get_variant(boxed.get()));
  if (g_variant_is_of_type(target.get(), G_VARIANT_TYPE_STRING))
    action.target = g_variant_get_string(target.get(), nullptr);
  return action;
}

/// A text, which some desktops send as its bytes (Plasma 5 its startup identifiers on X11).
std::string textOf(GVariant* value) {
  if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING)) return g_variant_get_string(value, nullptr);
  if (!g_variant_is_of_type(value, G_VARIANT_TYPE_BYTESTRING)) return {};
  gsize size = 0;
  const auto* const bytes = static_cast<const char*>(g_variant_get_fixed_array(value, &size, 1));
  return {bytes, strnlen(bytes, size)};
}

DesktopCall::Request readRequest(const IncomingCall& call) {
  const std::string_view method = call.method();
  if (method == "Open") return DesktopCall::Open{readFiles(call.arguments())};
  if (method == "ActivateAction") return readAction(call.arguments());
  return DesktopCall::Activate{};
}

}  // namespace

DesktopCall::DesktopCall(IncomingCall call) : IncomingCall(std::move(call)), request_(readRequest(*this)) {}

std::string DesktopCall::activationToken() const {
  const gsize last = g_variant_n_children(arguments()) - 1;
  const GVariantHandle platformData(g_variant_get_child_value(arguments(), last));
  // The second is the older desktops' word for it.
  for (const char* const key : {"activation-token", "desktop-startup-id"})
    if (const GVariantHandle value(g_variant_lookup_value(platformData.get(), key, nullptr)); value)
      if (std::string token = textOf(value.get()); !token.empty()) return token;
  return {};
}

std::string localPath(const char* argument) {
  if (const GStringHandle scheme(g_uri_parse_scheme(argument));
      scheme && std::string_view(scheme.get()) != "file")
    return argument;
  const auto file = GObjectRef<GFile>::adopt(g_file_new_for_commandline_arg(argument));
  const GStringHandle path(g_file_get_path(file.get()));
  return path ? path.get() : argument;
}

}  // namespace platform_linux
