// A start without a window tells the desktop so: an X server and a compositor of the test's own listen.
#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <memory>
#include <string>
#include <thread>
#include <wayland-server.h>
#include <xcb/xcb.h>

#include <gtest/gtest.h>

#include "platform/linux/ui/StartupSequence.h"

namespace {

using std::chrono_literals::operator""s;

constexpr auto kBound = 10s;

platform_linux::EndStartup endStartup() {
  void* const module = dlopen(CAMERA_SHOT_STARTUP_MODULE, RTLD_NOW);
  return module ? reinterpret_cast<platform_linux::EndStartup>(dlsym(module, platform_linux::kEndStartupName))
                : nullptr;
}

/// As a window manager listens.
class RootListener {
 public:
  RootListener() {
    constexpr std::uint32_t kMask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    const auto root = xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data->root;
    xcb_change_window_attributes(connection_.get(), root, XCB_CW_EVENT_MASK, &kMask);
    std::free(xcb_get_input_focus_reply(connection_.get(), xcb_get_input_focus(connection_.get()), nullptr));
  }

  /// The text of the next message, which comes in pieces.
  std::string next() {
    std::string text;
    while (text.find('\0') == std::string::npos) {
      const std::unique_ptr<xcb_generic_event_t, decltype(&std::free)> event(
          xcb_wait_for_event(connection_.get()), std::free);
      if (!event) return text;
      if ((event->response_type & 0x7f) != XCB_CLIENT_MESSAGE) continue;
      const auto& message = *reinterpret_cast<const xcb_client_message_event_t*>(event.get());
      EXPECT_EQ(name(message.type), text.empty() ? "_NET_STARTUP_INFO_BEGIN" : "_NET_STARTUP_INFO");
      text.append(reinterpret_cast<const char*>(message.data.data8), sizeof(message.data));
    }
    return text.c_str();
  }

 private:
  std::string name(xcb_atom_t atom) {
    const std::unique_ptr<xcb_get_atom_name_reply_t, decltype(&std::free)> reply(
        xcb_get_atom_name_reply(connection_.get(), xcb_get_atom_name(connection_.get(), atom), nullptr),
        std::free);
    return reply ? std::string(xcb_get_atom_name_name(reply.get()), reply->name_len) : "";
  }

  const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection_{
      xcb_connect(nullptr, nullptr), xcb_disconnect};
};

TEST(StartupSequence, EndsOnX11) {
  ASSERT_TRUE(std::getenv("DISPLAY"));
  ASSERT_TRUE(endStartup());
  RootListener root;
  endStartup()("desktop-with-a-long-name/7_TIME4711");
  EXPECT_EQ(root.next(), "remove: ID=\"desktop-with-a-long-name/7_TIME4711\"");
  endStartup()("with \"quotes\" \\");
  EXPECT_EQ(root.next(), "remove: ID=\"with \\\"quotes\\\" \\\\\"");
}

/// A compositor that knows GNOME's protocol for it, and nothing else.
class ShellCompositor {
 public:
  ShellCompositor() {
    wl_global_create(display_.get(), &kInterface, 1, this,
                     [](wl_client* client, void* self, std::uint32_t, std::uint32_t id) {
                       wl_resource* const shell = wl_resource_create(client, &kInterface, 1, id);
                       wl_resource_set_implementation(shell, kRequests.data(), self, nullptr);
                     });
    setenv("WAYLAND_DISPLAY", wl_display_add_socket_auto(display_.get()), 1);
    thread_ = std::thread([this] {
      while (!isOver_) {
        wl_event_loop_dispatch(wl_display_get_event_loop(display_.get()), 10);
        wl_display_flush_clients(display_.get());
      }
    });
  }
  ShellCompositor(const ShellCompositor&) = delete;
  ShellCompositor& operator=(const ShellCompositor&) = delete;
  ~ShellCompositor() {
    end();
    unsetenv("WAYLAND_DISPLAY");
  }

  /// What it was told; it then serves no more.
  std::string end() {
    isOver_ = true;
    if (thread_.joinable()) thread_.join();
    return ended_;
  }

 private:
  static void setStartupId(wl_client*, wl_resource* shell, const char* id) {
    static_cast<ShellCompositor*>(wl_resource_get_user_data(shell))->ended_ = id;
  }

  using Request = void (*)();
  static inline const wl_interface* kNoTypes[2] = {};
  static inline const wl_message kMessages[2] = {{"get_gtk_surface", "no", kNoTypes},
                                                 {"set_startup_id", "?s", kNoTypes}};
  static inline const wl_interface kInterface{"gtk_shell1", 1, 2, kMessages, 0, nullptr};
  static inline const std::array<Request, 2> kRequests{nullptr, reinterpret_cast<Request>(setStartupId)};

  const std::unique_ptr<wl_display, decltype(&wl_display_destroy)> display_{wl_display_create(),
                                                                            wl_display_destroy};
  std::atomic<bool> isOver_ = false;
  std::string ended_;
  std::thread thread_;
};

TEST(StartupSequence, EndsOnWayland) {
  ASSERT_TRUE(endStartup());
  ShellCompositor compositor;
  endStartup()("token-of-the-shell");
  EXPECT_EQ(compositor.end(), "token-of-the-shell");
}

TEST(StartupSequence, EndsOnAThreadOfItsOwn) {
  RootListener root;
  auto done = platform_linux::endStartupSequence("desktop-7_TIME1");
  ASSERT_EQ(done.wait_for(kBound), std::future_status::ready);
}

TEST(StartupSequence, TokenOfTheEnvironment) {
  unsetenv("XDG_ACTIVATION_TOKEN");
  unsetenv("DESKTOP_STARTUP_ID");
  EXPECT_EQ(platform_linux::startupTokenOfEnvironment(), "");
  setenv("DESKTOP_STARTUP_ID", "old", 1);
  EXPECT_EQ(platform_linux::startupTokenOfEnvironment(), "old");
  setenv("XDG_ACTIVATION_TOKEN", "new", 1);
  EXPECT_EQ(platform_linux::startupTokenOfEnvironment(), "new");
}

}  // namespace
