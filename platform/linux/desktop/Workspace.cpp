#include "platform/linux/desktop/Workspace.h"

#include <array>
#include <memory>
#include <utility>

#include "platform/linux/base/Handles.h"

namespace platform_linux {
namespace {

constexpr const char* kFileManager = "org.freedesktop.FileManager1";
constexpr const char* kFileManagerPath = "/org/freedesktop/FileManager1";
/// What is asked of the desktop, and what keeps the application alive meanwhile.
struct Request {
  std::string path;
  std::string activationToken;
  std::shared_ptr<void> hold;
};

GObjectRef<GFile> fileAt(const std::string& path) {
  return GObjectRef<GFile>::adopt(g_file_new_for_path(path.c_str()));
}

void onOpened(GObject*, GAsyncResult* result, gpointer data) noexcept {
  const std::unique_ptr<Request> request(static_cast<Request*>(data));
  GErrorHandle error;
  if (g_app_info_launch_default_for_uri_finish(result, error.out())) return;
  g_message("\"%s\" could not be opened: %s", request->path.c_str(), error.message().c_str());
}

void open(const GObjectRef<GFile>& file, Request request) {
  const auto context = GObjectRef<GAppLaunchContext>::adopt(g_app_launch_context_new());
  if (!request.activationToken.empty()) {
    // The first is Wayland's name for it, the second X11's.
    for (const char* variable : {"XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID"})
      g_app_launch_context_setenv(context.get(), variable, request.activationToken.c_str());
  }
  const GStringHandle uri(g_file_get_uri(file.get()));
  auto owned = std::make_unique<Request>(std::move(request));
  g_app_info_launch_default_for_uri_async(uri.get(), context.get(), nullptr, onOpened, owned.release());
}

void openFolder(Request request) {
  const auto file = fileAt(request.path);
  const auto folder = GObjectRef<GFile>::adopt(g_file_get_parent(file.get()));
  if (folder) open(folder, std::move(request));
}

}  // namespace

Workspace::Workspace(const SessionBus& bus, TerminationHold holdTermination, ActivationToken activationToken)
    : bus_(bus), holdTermination_(std::move(holdTermination)), activationToken_(std::move(activationToken)) {}

void Workspace::selectFile(const std::string& path, const std::string&) {
  if (path.empty()) return;
  const Request request{path, activationToken(), hold()};
  const GStringHandle uri(g_file_get_uri(fileAt(path).get()));
  const std::array<const char*, 2> uris{uri.get(), nullptr};
  bus_.call({kFileManager, kFileManagerPath, kFileManager, "ShowItems",
             g_variant_new("(^ass)", uris.data(), request.activationToken.c_str()), kPatience},
            [request](GVariant*, const GError* error) {
              if (!error) return;
              g_message("No file manager shows \"%s\": %s", request.path.c_str(), error->message);
              // Where the file is gone, a file manager fails; its folder would tell the user nothing.
              if (!isLate(error) && g_file_test(request.path.c_str(), G_FILE_TEST_EXISTS))
                openFolder(request);
            });
}

void Workspace::openFileURL(const std::string& path) {
  if (!path.empty()) open(fileAt(path), {path, activationToken(), hold()});
}

std::shared_ptr<void> Workspace::hold() const {
  return holdTermination_ ? holdTermination_() : nullptr;
}

std::string Workspace::activationToken() const {
  return activationToken_ ? activationToken_() : std::string();
}

}  // namespace platform_linux
