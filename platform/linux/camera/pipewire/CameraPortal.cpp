#include "platform/linux/camera/pipewire/CameraPortal.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include <gio/gunixfdlist.h>

#include "platform/linux/bus/BusNames.h"

namespace platform_linux {
namespace {

constexpr const char* kName = "org.freedesktop.portal.Desktop";
constexpr const char* kPath = "/org/freedesktop/portal/desktop";
constexpr const char* kInterface = "org.freedesktop.portal.Camera";
constexpr const char* kRequest = "org.freedesktop.portal.Request";
/// Tells this request from others of the same connection; there is only one at a time.
constexpr const char* kToken = "camera_shot";
/// The response codes of org.freedesktop.portal.Request are 0 for yes, 1 for no, 2 for everything else.
constexpr guint32 kYes = 0;

/// Where the portal puts our request, by its documentation: known before the call, so that no answer is
/// missed.
std::string requestPath(GDBusConnection* connection) {
  std::string sender = g_dbus_connection_get_unique_name(connection);
  sender.erase(0, 1);
  std::replace(sender.begin(), sender.end(), '.', '_');
  return std::string(kPath) + "/request/" + sender + "/" + kToken;
}

/// The errors of a portal that is there and does not answer, or says no.
bool isFromPortal(const GError* error) {
  if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT) ||
      g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_NO_REPLY))
    return true;
  const GStringHandle name(g_dbus_error_get_remote_error(error));
  return name && std::string_view(name.get()).starts_with("org.freedesktop.portal.Error.");
}

using Opened = std::function<void(FileDescriptor)>;

FileDescriptor firstOf(GUnixFDList* descriptors) {
  if (!descriptors || g_unix_fd_list_get_length(descriptors) == 0) return {};
  return FileDescriptor(g_unix_fd_list_get(descriptors, 0, nullptr));
}

void onRemoteOpened(GObject* source, GAsyncResult* result, gpointer data) noexcept {
  const std::unique_ptr<Opened> opened(static_cast<Opened*>(data));
  GUnixFDList* list = nullptr;
  const GVariantHandle reply(
      g_dbus_connection_call_with_unix_fd_list_finish(G_DBUS_CONNECTION(source), &list, result, nullptr));
  const auto descriptors = GObjectRef<GUnixFDList>::adopt(list);
  (*opened)(firstOf(descriptors.get()));
}

}  // namespace

CameraPortal::~CameraPortal() {
  if (watch_) g_bus_unwatch_name(watch_);
  unsubscribe(changes_);
  unsubscribe(responses_);
}

void CameraPortal::unsubscribe(guint& subscription) {
  if (subscription) g_dbus_connection_signal_unsubscribe(connection_.get(), subscription);
  subscription = 0;
}

void CameraPortal::ask(std::function<void(Answer)> answered) {
  answered_ = std::move(answered);
  readPresence();
}

// Also starts a portal that does not run yet, and tells whether there is one.
void CameraPortal::readPresence() {
  bus_().call(
      {kName, kPath, kProperties, "Get", g_variant_new("(ss)", kInterface, "IsCameraPresent"), patience_},
      [weakSelf = weak_from_this()](GVariant* reply, const GError* error) {
        if (const auto self = weakSelf.lock()) self->onPresenceRead(reply, error);
      });
}

void CameraPortal::onPresenceRead(GVariant* reply, const GError* error) {
  if (error) return finish(isFromPortal(error) ? Answer::Refused : Answer::NoPortal);
  if (g_variant_is_of_type(reply, G_VARIANT_TYPE("(v)"))) {
    GVariant* value = nullptr;
    g_variant_get(reply, "(v)", &value);
    const GVariantHandle owned(value);
    isCameraPresent_ = g_variant_is_of_type(value, G_VARIANT_TYPE_BOOLEAN) && g_variant_get_boolean(value);
  }
  watchPortal();
}

void CameraPortal::watchPortal() {
  connection_ = GObjectRef<GDBusConnection>::share(bus_().connection());
  watch_ = g_bus_watch_name_on_connection(
      connection_.get(), kName, G_BUS_NAME_WATCHER_FLAGS_NONE,
      [](GDBusConnection*, const char*, const char* owner, gpointer self) noexcept {
        static_cast<CameraPortal*>(self)->onAppeared(owner);
      },
      [](GDBusConnection*, const char*, gpointer self) noexcept {
        static_cast<CameraPortal*>(self)->onVanished();
      },
      this, nullptr);
}

void CameraPortal::onAppeared(const char* owner) {
  followPresence(owner);
  if (!answered_) return;
  awaitResponse(owner);
  callAccessCamera();
}

// With the portal its requests are gone, and nobody would answer any more.
void CameraPortal::onVanished() {
  if (answered_) finish(Answer::Refused);
}

void CameraPortal::followPresence(const char* owner) {
  unsubscribe(changes_);
  changes_ = g_dbus_connection_signal_subscribe(
      connection_.get(), owner, kProperties, "PropertiesChanged", kPath, kInterface, G_DBUS_SIGNAL_FLAGS_NONE,
      [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* arguments,
         gpointer self) noexcept {
        if (!g_variant_is_of_type(arguments, G_VARIANT_TYPE("(sa{sv}as)"))) return;
        const GVariantHandle changed(g_variant_get_child_value(arguments, 1));
        gboolean isPresent = FALSE;
        if (g_variant_lookup(changed.get(), "IsCameraPresent", "b", &isPresent))
          static_cast<CameraPortal*>(self)->isCameraPresent_ = isPresent;
      },
      this, nullptr);
}

void CameraPortal::awaitResponse(const char* owner) {
  responses_ = g_dbus_connection_signal_subscribe(
      connection_.get(), owner, kRequest, "Response", requestPath(connection_.get()).c_str(), nullptr,
      G_DBUS_SIGNAL_FLAGS_NONE,
      [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* arguments,
         gpointer self) noexcept {
        guint32 response = kYes + 1;
        if (g_variant_is_of_type(arguments, G_VARIANT_TYPE("(ua{sv})")))
          g_variant_get_child(arguments, 0, "u", &response);
        static_cast<CameraPortal*>(self)->finish(response == kYes ? Answer::Granted : Answer::Refused);
      },
      this, nullptr);
}

void CameraPortal::callAccessCamera() {
  GVariantBuilder options;
  g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
  g_variant_builder_add(&options, "{sv}", "handle_token", g_variant_new_string(kToken));
  bus_().call({kName, kPath, kInterface, "AccessCamera", g_variant_new("(a{sv})", &options), patience_},
              [weakSelf = weak_from_this()](GVariant*, const GError* error) {
                const auto self = weakSelf.lock();
                if (self && error) self->finish(Answer::Refused);
              });
}

void CameraPortal::finish(Answer answer) {
  unsubscribe(responses_);
  if (const auto answered = std::exchange(answered_, nullptr)) answered(answer);
}

void CameraPortal::openRemote(std::function<void(FileDescriptor)> opened) {
  if (!connection_) return opened({});
  g_dbus_connection_call_with_unix_fd_list(
      connection_.get(), kName, kPath, kInterface, "OpenPipeWireRemote", g_variant_new("(a{sv})", nullptr),
      nullptr, G_DBUS_CALL_FLAGS_NONE, static_cast<int>(patience_.count()), nullptr, nullptr, &onRemoteOpened,
      std::make_unique<Opened>(std::move(opened)).release());
}

}  // namespace platform_linux
