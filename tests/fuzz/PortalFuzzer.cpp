// Plays a camera portal that answers with arbitrary values, errors and signals, over a real bus. Whatever it
// says, the question is answered once, and a socket is asked for and comes, or does not, once.

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <span>
#include <string>

#include <gio/gunixfdlist.h>

#include "platform/linux/camera/pipewire/CameraPortal.h"
#include "tests/support/BusClient.h"
#include "tests/support/MainLoop.h"
#include "tests/support/PrivateBus.h"

namespace {

using platform_linux::CameraPortal;
using platform_linux::FileDescriptor;
using platform_linux::GDBusNodeInfoHandle;
using platform_linux::GObjectRef;
using platform_linux::GVariantHandle;

constexpr const char* kName = "org.freedesktop.portal.Desktop";
constexpr const char* kPath = "/org/freedesktop/portal/desktop";
constexpr const char* kProperties = "org.freedesktop.DBus.Properties";
// Some answers do not get as far as the bus, and are waited for in vain.
constexpr std::chrono::milliseconds kPatience{300};

// What it should say, and what it should not.
constexpr std::array kTypes{"(v)",        "(o)",       "(h)", "(ua{sv})", "(sa{sv}as)", "()",
                            "(usa{sv}h)", "(sa{sv}s)", "(b)", "(ta{sv})", "(vv)",       "(ah)"};
constexpr std::array kErrors{"org.freedesktop.portal.Error.NotAllowed", "org.freedesktop.DBus.Error.NoReply",
                             "org.freedesktop.DBus.Error.ServiceUnknown", "com.example.Error"};

/// The input, used up from its begin; zeros follow.
class Script {
 public:
  void begin(std::span<const std::uint8_t> bytes) { bytes_ = bytes; }
  std::uint8_t next() {
    if (bytes_.empty()) return 0;
    const auto byte = bytes_.front();
    bytes_ = bytes_.subspan(1);
    return byte;
  }
  /// Any value; floating.
  GVariant* value() {
    const char* const type = kTypes[next() % kTypes.size()];
    const std::size_t size = std::min<std::size_t>(next(), bytes_.size());
    gpointer const copy = g_memdup2(bytes_.data(), size);
    bytes_ = bytes_.subspan(size);
    const GVariantHandle read(
        g_variant_ref_sink(g_variant_new_from_data(G_VARIANT_TYPE(type), copy, size, FALSE, g_free, copy)));
    // The bus passes on what is in normal form only.
    return g_variant_get_normal_form(read.get());
  }

 private:
  std::span<const std::uint8_t> bytes_;
};

class Portal {
 public:
  Portal(const std::string& address, Script& script) : client_(address), script_(script) {
    static constexpr const char* kDescription =
        "<node><interface name='org.freedesktop.portal.Camera'>"
        "<method name='AccessCamera'><arg type='a{sv}' direction='in'/></method>"
        "<method name='OpenPipeWireRemote'><arg type='a{sv}' direction='in'/></method></interface>"
        "<interface name='org.freedesktop.DBus.Properties'><method name='Get'>"
        "<arg type='s' direction='in'/><arg type='s' direction='in'/></method></interface></node>";
    const GDBusNodeInfoHandle node(g_dbus_node_info_new_for_xml(kDescription, nullptr));
    static constexpr GDBusInterfaceVTable kMethods{
        [](GDBusConnection*, const char*, const char*, const char*, const char* method, GVariant*,
           GDBusMethodInvocation* invocation, gpointer self) noexcept {
          static_cast<Portal*>(self)->onCall(method, GObjectRef<GDBusMethodInvocation>::adopt(invocation));
        },
        nullptr,
        nullptr,
        {}};
    for (auto** interface = node->interfaces; *interface != nullptr; ++interface)
      g_dbus_connection_register_object(client_.connection(), kPath, *interface, &kMethods, this, nullptr,
                                        nullptr);
    appear();
  }

  void appear() const { client_.ask("RequestName", g_variant_new("(su)", kName, 0U)); }

 private:
  void onCall(const std::string& method, const GObjectRef<GDBusMethodInvocation>& invocation) {
    GDBusMessage* const call = g_dbus_method_invocation_get_message(invocation.get());
    const auto what = script_.next();
    if ((what & 8) != 0) emitPropertiesChanged();
    if ((what & 16) != 0 && method == "AccessCamera") emitResponse(g_dbus_message_get_sender(call));
    answer(call, what % 8);
    // The user answers at last, or the portal dies.
    if (method != "AccessCamera") return;
    if ((what & 32) != 0)
      client_.ask("ReleaseName", g_variant_new("(s)", kName));
    else
      emitResponse(g_dbus_message_get_sender(call));
  }

  void answer(GDBusMessage* call, unsigned what) {
    if (what == 7) return sendError(call, kErrors[script_.next() % kErrors.size()]);
    const auto reply = GObjectRef<GDBusMessage>::adopt(g_dbus_message_new_method_reply(call));
    g_dbus_message_set_body(reply.get(), script_.value());
    attachDescriptors(reply.get(), script_.next() % 3);
    if (!g_dbus_connection_send_message(client_.connection(), reply.get(), G_DBUS_SEND_MESSAGE_FLAGS_NONE,
                                        nullptr, nullptr))
      sendError(call, kErrors[0]);  // no message of this bus
  }

  void sendError(GDBusMessage* call, const char* name) const {
    const auto reply =
        GObjectRef<GDBusMessage>::adopt(g_dbus_message_new_method_error_literal(call, name, "refused"));
    g_dbus_connection_send_message(client_.connection(), reply.get(), G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr,
                                   nullptr);
  }

  static void attachDescriptors(GDBusMessage* message, unsigned count) {
    const auto list = GObjectRef<GUnixFDList>::adopt(g_unix_fd_list_new());
    const FileDescriptor nothing(::open("/dev/null", O_RDWR | O_CLOEXEC));
    for (; count > 0; --count)
      g_unix_fd_list_append(list.get(), nothing.get(), nullptr);
    if (g_unix_fd_list_get_length(list.get()) > 0) g_dbus_message_set_unix_fd_list(message, list.get());
  }

  void emitPropertiesChanged() {
    g_dbus_connection_emit_signal(client_.connection(), nullptr, kPath, kProperties, "PropertiesChanged",
                                  script_.value(), nullptr);
  }

  void emitResponse(std::string sender) {
    sender.erase(0, 1);
    std::replace(sender.begin(), sender.end(), '.', '_');
    const std::string request = std::string(kPath) + "/request/" + sender + "/camera_shot";
    // What is no message of this bus cannot be sent; a user who says neither yes nor no can.
    if (!emit(request, script_.value())) emit(request, g_variant_new("(ua{sv})", 2U, nullptr));
  }

  bool emit(const std::string& request, GVariant* body) const {
    return g_dbus_connection_emit_signal(client_.connection(), nullptr, request.c_str(),
                                         "org.freedesktop.portal.Request", "Response", body, nullptr);
  }

  const test_support::BusClient client_;
  Script& script_;
};

/// The bus, the portal and the program's connection, which all inputs share.
struct Desktop {
  test_support::PrivateBus daemon;
  platform_linux::SessionBus bus;
  Script script;
  Portal portal{daemon.address(), script};
};

void openRemote(CameraPortal& portal) {
  int opened = 0;
  portal.openRemote([&](const FileDescriptor& socket) {
    ++opened;
    if (socket && ::fcntl(socket.get(), F_GETFD) < 0) std::abort();
  });
  if (!test_support::waitUntil([&] { return opened > 0; }) || opened != 1) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Desktop desktop;
  desktop.script.begin({data, size});
  desktop.portal.appear();
  const auto portal = std::make_shared<CameraPortal>(
      []() -> const platform_linux::SessionBus& { return desktop.bus; }, kPatience);
  int answers = 0;
  auto answer = CameraPortal::Answer::NoPortal;
  portal->ask([&](CameraPortal::Answer given) {
    ++answers;
    answer = given;
  });
  if (!test_support::waitUntil([&] { return answers > 0; })) std::abort();
  if (answer == CameraPortal::Answer::Granted) openRemote(*portal);
  if (answers != 1) std::abort();
  return 0;
}
