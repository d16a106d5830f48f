#include "platform/linux/desktop/Workspace.h"

#include <array>
#include <memory>
#include <utility>

#include "platform/linux/desktop/GioPointers.h"
#include "platform/linux/desktop/SessionBus.h"

namespace platform_linux {
namespace {

const BusMethod kShowItems{"org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                           "org.freedesktop.FileManager1", "ShowItems"};

/// What is asked of the desktop, and what keeps the application alive meanwhile.
struct Request {
  std::string path;
  std::string activationToken;
  std::shared_ptr<void> hold;
};

ObjectPointer<GFile> fileAt(const std::string& path) {
  return ObjectPointer<GFile>(g_file_new_for_path(path.c_str()));
}

void onOpened(GObject*, GAsyncResult* result, gpointer data) noexcept {
  const std::unique_ptr<Request> request(static_cast<Request*>(data));
  GError* rawError = nullptr;
  if (g_app_info_launch_default_for_uri_finish(result, &rawError)) return;
  const ErrorPointer error(rawError);
  g_message("\"%s\" could not be opened: %s", request->path.c_str(), error->message);
}

void open(const ObjectPointer<GFile>& file, Request request) {
  const ObjectPointer<GAppLaunchContext> context(g_app_launch_context_new());
  if (!request.activationToken.empty()) {
    // The first is Wayland's name for it, the second X11's.
    for (const char* variable : {"XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID"})
      g_app_launch_context_setenv(context.get(), variable, request.activationToken.c_str());
  }
  const TextPointer uri(g_file_get_uri(file.get()));
  auto owned = std::make_unique<Request>(std::move(request));
  g_app_info_launch_default_for_uri_async(uri.get(), context.get(), nullptr, onOpened, owned.release());
}

void openFolder(Request request) {
  const auto file = fileAt(request.path);
  const ObjectPointer<GFile> folder(g_file_get_parent(file.get()));
  if (folder) open(folder, std::move(request));
}

void askFileManager(GDBusConnection* connection, Request request) {
  const TextPointer uri(g_file_get_uri(fileAt(request.path).get()));
  const std::array<const char*, 2> uris{uri.get(), nullptr};
  GVariant* const arguments = g_variant_new("(^ass)", uris.data(), request.activationToken.c_str());
  callBusMethod(connection, kShowItems, arguments, "()",
                [request = std::move(request)](GVariant*, const GError* error) {
                  if (!error) return;
                  g_message("No file manager shows \"%s\": %s", request.path.c_str(), error->message);
                  // One that is merely late may still show it; a second window would be one too many.
                  if (wasRefused(error)) openFolder(request);
                });
}

}  // namespace

Workspace::Workspace(TerminationHold holdTermination, ActivationToken activationToken)
    : holdTermination_(std::move(holdTermination)), activationToken_(std::move(activationToken)) {}

void Workspace::selectFile(const std::string& path, const std::string&) {
  Request request{path, activationToken(), hold()};
  connectToSessionBus([request = std::move(request)](GDBusConnection* connection, const GError*) {
    if (connection)
      askFileManager(connection, request);
    else
      openFolder(request);
  });
}

void Workspace::openFileURL(const std::string& path) {
  open(fileAt(path), {path, activationToken(), hold()});
}

std::shared_ptr<void> Workspace::hold() const {
  return holdTermination_ ? holdTermination_() : nullptr;
}

std::string Workspace::activationToken() const {
  return activationToken_ ? activationToken_() : std::string();
}

}  // namespace platform_linux
