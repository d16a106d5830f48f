// What ends a startup sequence, with the display servers' own small libraries and without a toolkit.
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <wayland-client.h>
#include <xcb/xcb.h>

#include "platform/linux/ui/StartupSequence.h"

namespace {

/// Of GNOME's protocol gtk-shell only what is called here: `set_startup_id` is the second request of its
/// first version. A compositor that knows the id ends its sequence.
constexpr std::uint32_t kSetStartupId = 1;
std::array<const wl_interface*, 2> kNoTypes{};
const std::array<wl_message, 2> kShellRequests{wl_message{"get_gtk_surface", "no", kNoTypes.data()},
                                               wl_message{"set_startup_id", "?s", kNoTypes.data()}};
const wl_interface kShellInterface{"gtk_shell1", 1, kShellRequests.size(), kShellRequests.data(), 0, nullptr};

void found(void* shell, wl_registry* registry, std::uint32_t name, const char* interface,
           std::uint32_t) noexcept {
  if (std::strcmp(interface, kShellInterface.name) == 0)
    *static_cast<void**>(shell) = wl_registry_bind(registry, name, &kShellInterface, 1);
}

void lost(void*, wl_registry*, std::uint32_t) noexcept {}

/// False where there is no compositor that ends sequences so.
bool endOnWayland(const char* token) {
  const std::unique_ptr<wl_display, decltype(&wl_display_disconnect)> display(wl_display_connect(nullptr),
                                                                              wl_display_disconnect);
  if (!display) return false;
  static constexpr wl_registry_listener kListener{found, lost};
  void* shell = nullptr;
  wl_registry* const registry = wl_display_get_registry(display.get());
  wl_registry_add_listener(registry, &kListener, &shell);
  wl_display_roundtrip(display.get());
  if (shell) {
    wl_proxy_marshal(static_cast<wl_proxy*>(shell), kSetStartupId, token);
    wl_display_roundtrip(display.get());
    wl_proxy_destroy(static_cast<wl_proxy*>(shell));
  }
  wl_registry_destroy(registry);
  return shell != nullptr;
}

xcb_atom_t atom(xcb_connection_t* connection, const std::string& name) {
  const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.c_str());
  const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
      xcb_intern_atom_reply(connection, cookie, nullptr), std::free);
  return reply ? reply->atom : XCB_ATOM_NONE;
}

/// As https://specifications.freedesktop.org/startup-notification-spec has it: text in pieces of 20 bytes,
/// ended by a null, from a window of one's own to the root window.
void broadcast(xcb_connection_t* connection, xcb_window_t root, const std::string& text) {
  const xcb_window_t sender = xcb_generate_id(connection);
  xcb_create_window(connection, XCB_COPY_FROM_PARENT, sender, root, -1, -1, 1, 1, 0,
                    XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
  const xcb_atom_t begin = atom(connection, "_NET_STARTUP_INFO_BEGIN");
  const xcb_atom_t more = atom(connection, "_NET_STARTUP_INFO");
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 8;
  message.window = sender;
  constexpr std::size_t kPiece = sizeof(message.data);
  for (std::size_t sent = 0; sent <= text.size(); sent += kPiece) {
    message.type = sent == 0 ? begin : more;
    message.data = {};
    text.copy(reinterpret_cast<char*>(message.data.data8), kPiece, sent);
    xcb_send_event(connection, 0, root, XCB_EVENT_MASK_PROPERTY_CHANGE,
                   reinterpret_cast<const char*>(&message));
  }
  xcb_destroy_window(connection, sender);
}

void endOnX11(const std::string& token) {
  const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(xcb_connect(nullptr, nullptr),
                                                                                xcb_disconnect);
  if (xcb_connection_has_error(connection.get()) != 0) return;
  std::string quoted;
  for (const char each : token) {
    if (each == '"' || each == '\\') quoted += '\\';
    quoted += each;
  }
  const auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection.get()));
  broadcast(connection.get(), screens.data->root, "remove: ID=\"" + quoted + "\"");
  // What was sent has arrived when an answer to something later has.
  std::free(xcb_get_input_focus_reply(connection.get(), xcb_get_input_focus(connection.get()), nullptr));
}

}  // namespace

/// The one name that the module exports (see kEndStartupName).
extern "C" __attribute__((visibility("default"))) void quilloCameraShotEndStartup(const char* token) {
  if (!endOnWayland(token) && std::getenv("DISPLAY")) endOnX11(token);
}
