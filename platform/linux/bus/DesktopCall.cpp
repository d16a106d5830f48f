#include "platform/linux/bus/DesktopCall.h"

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

}  // namespace

std::optional<DesktopCall> DesktopCall::make(GDBusMethodInvocation* invocation) {
  GObjectHandle<GDBusMethodInvocation> owned(invocation);
  const std::string_view method = g_dbus_method_invocation_get_method_name(invocation);
  GVariant* const arguments = g_dbus_method_invocation_get_parameters(invocation);
  if (method == "Activate") return DesktopCall(std::move(owned), Activate{});
  if (method == "Open") return DesktopCall(std::move(owned), Open{readFiles(arguments)});
  if (method == "ActivateAction") return DesktopCall(std::move(owned), readAction(arguments));
  return std::nullopt;
}

DesktopCall::DesktopCall(GObjectHandle<GDBusMethodInvocation> invocation, Request request)
    : invocation_(std::move(invocation)), request_(std::move(request)) {}

DesktopCall::~DesktopCall() {
  refuse("the application has ended");
}

std::string DesktopCall::activationToken() const {
  const gsize last = g_variant_n_children(arguments()) - 1;
  const GVariantHandle platformData(g_variant_get_child_value(arguments(), last));
  const char* token = nullptr;
  // The second is the older desktops' word for it.
  for (const char* const key : {"activation-token", "desktop-startup-id"})
    if (g_variant_lookup(platformData.get(), key, "&s", &token)) return token;
  return {};
}

const char* DesktopCall::method() const {
  return g_dbus_method_invocation_get_method_name(invocation_.get());
}

GVariant* DesktopCall::arguments() const {
  return g_dbus_method_invocation_get_parameters(invocation_.get());
}

// Both ways of answering take over the invocation.
void DesktopCall::answer() {
  if (invocation_) g_dbus_method_invocation_return_value(invocation_.release(), nullptr);
}

void DesktopCall::refuse(const std::string& why) {
  if (invocation_)
    g_dbus_method_invocation_return_error_literal(invocation_.release(), G_DBUS_ERROR, G_DBUS_ERROR_FAILED,
                                                  why.c_str());
}

std::string localPath(const char* argument) {
  if (const GStringHandle scheme(g_uri_parse_scheme(argument));
      scheme && std::string_view(scheme.get()) != "file")
    return argument;
  const GObjectHandle<GFile> file(g_file_new_for_commandline_arg(argument));
  const GStringHandle path(g_file_get_path(file.get()));
  return path ? path.get() : argument;
}

}  // namespace platform_linux
