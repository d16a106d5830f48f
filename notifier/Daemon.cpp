#include "notifier/Daemon.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "platform/linux/bus/BusNames.h"

namespace notifier {
namespace {

using platform_linux::GStringHandle;
using platform_linux::GVariantHandle;
using platform_linux::GVariantIterHandle;
using platform_linux::SessionBus;

using platform_linux::hasType;
using platform_linux::kBus;
using platform_linux::kBusPath;
constexpr const char* kService = platform_linux::kDesktopNotifications;
constexpr const char* kPath = "/org/freedesktop/Notifications";
constexpr const char* kApplicationName = "Camera Shot";
// How long a bubble stays.
constexpr gint32 kUntilTheUserRemovesIt = 0;
constexpr gint32 kAsTheServiceLikes = -1;
/// Services that say that they keep notifications, in a list of which no click comes. notification-daemon
/// (and MATE's) has it in a tray icon that today's desktops do not show (3.20). LXQt closes what goes there,
/// and shows it under a new id when it is taken out again; and a new notification with the words of one on
/// the screen it drops (src/notificationlayout.cpp of 0.14 to 2.2), so that one must be replaced.
constexpr std::array<std::string_view, 2> kWithoutList{"Notification Daemon", "lxqt-notificationd"};
constexpr guchar kNormalUrgency = 1;

SessionBus::Call daemonCall(const std::string& name, const char* method, GVariant* arguments,
                            std::chrono::milliseconds patience = Daemon::kDaemonPatience) {
  return {name, kPath, kService, method, arguments, patience};
}

/// Where nothing can be clicked, no click is lost; and notify-osd makes a dialog box of what is to stay.
gint32 lifetime(const Daemon::Instance& instance) {
  return instance.keepsList || !instance.takesActions ? kAsTheServiceLikes : kUntilTheUserRemovesIt;
}

Daemon::Instance readCapabilities(GVariant* reply) {
  Daemon::Instance instance;
  GVariantIter* iterator = nullptr;
  g_variant_get(reply, "(as)", &iterator);
  const GVariantIterHandle owned(iterator);
  const char* capability = nullptr;
  while (g_variant_iter_next(iterator, "&s", &capability)) {
    const std::string_view name(capability);
    if (name == "actions") instance.takesActions = true;
    if (name == "body-markup") instance.readsMarkup = true;
    if (name == "persistence") instance.keepsList = true;
  }
  return instance;
}

std::string bodyFor(const Daemon::Instance& instance, const std::string& body) {
  if (!instance.readsMarkup) return body;
  const GStringHandle escaped(g_markup_escape_text(body.c_str(), -1));
  return escaped.get();
}

/// Keys and labels by turns. Floating.
GVariant* actionList(const Daemon::Instance& instance, const Notification& notification) {
  GVariantBuilder list;
  g_variant_builder_init(&list, G_VARIANT_TYPE("as"));
  if (instance.takesActions)
    for (const Action& action : notification.actions) {
      g_variant_builder_add(&list, "s", action.key.c_str());
      g_variant_builder_add(&list, "s", action.label.c_str());
    }
  return g_variant_builder_end(&list);
}

/// Floating.
GVariant* hints(const Daemon::Instance& instance, const std::string& applicationId,
                const Notification& notification) {
  GVariantBuilder hints;
  g_variant_builder_init(&hints, G_VARIANT_TYPE_VARDICT);
  g_variant_builder_add(&hints, "{sv}", "desktop-entry", g_variant_new_string(applicationId.c_str()));
  g_variant_builder_add(&hints, "{sv}", "urgency", g_variant_new_byte(kNormalUrgency));
  // This program plays the sound: most services do not, even those that say they do.
  g_variant_builder_add(&hints, "{sv}", "suppress-sound", g_variant_new_boolean(TRUE));
  // Without it Plasma keeps the text only, and nothing to click.
  if (instance.keepsList) g_variant_builder_add(&hints, "{sv}", "resident", g_variant_new_boolean(TRUE));
  if (notification.imageData)
    g_variant_builder_add(&hints, "{sv}", "image-data", notification.imageData.get());
  return g_variant_builder_end(&hints);
}

/// Where desktops tell that the user is not to be disturbed: a method with two texts that answers a variant.
struct SignOfQuiet {
  const char* name;  ///< null: the notification service itself
  const char* path;
  const char* interface;
  const char* method;
  const char* first;
  const char* second;
};
constexpr std::array kSignsOfQuiet{
    // Plasma
    SignOfQuiet{nullptr, kPath, platform_linux::kProperties, "Get", kService, "Inhibited"},
    // dunst
    SignOfQuiet{nullptr, kPath, platform_linux::kProperties, "Get", "org.dunstproject.cmd0", "paused"},
    // Xfce, whose service reads it from there
    SignOfQuiet{"org.xfce.Xfconf", "/org/xfce/Xfconf", "org.xfce.Xfconf", "GetProperty", "xfce4-notifyd",
                "/do-not-disturb"},
};

/// Whether the answer is the boolean true.
bool isTrue(GVariant* reply) {
  if (!hasType(reply, "(v)")) return false;
  GVariant* value = nullptr;
  g_variant_get(reply, "(v)", &value);
  const GVariantHandle owned(value);
  return g_variant_is_of_type(value, G_VARIANT_TYPE_BOOLEAN) && g_variant_get_boolean(value);
}

bool saysGone(const GError* error) {
  return g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_SERVICE_UNKNOWN) ||
         g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_NAME_HAS_NO_OWNER) ||
         g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_NO_REPLY);
}

}  // namespace

Daemon::Daemon(const SessionBus& bus, DaemonListener& listener) : bus_(bus), listener_(listener) {
  // From any sender: the listener compares it with the instance that showed the bubble.
  signals_ = g_dbus_connection_signal_subscribe(
      bus_.connection(), nullptr, kService, nullptr, kPath, nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
      [](GDBusConnection*, const char* sender, const char*, const char*, const char* signal,
         GVariant* parameters,
         gpointer self) noexcept { static_cast<Daemon*>(self)->onDaemonSignal(sender, signal, parameters); },
      this, nullptr);
  owners_ = g_dbus_connection_signal_subscribe(
      bus_.connection(), kBus, kBus, "NameOwnerChanged", kBusPath, kService, G_DBUS_SIGNAL_FLAGS_NONE,
      [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* parameters,
         gpointer self) noexcept { static_cast<Daemon*>(self)->onOwnerChanged(parameters); },
      this, nullptr);
}

Daemon::~Daemon() {
  g_dbus_connection_signal_unsubscribe(bus_.connection(), signals_);
  g_dbus_connection_signal_unsubscribe(bus_.connection(), owners_);
}

void Daemon::find(FindHandler handler) {
  if (known_) {
    handler(known_);
    return;
  }
  waiting_.push_back(std::move(handler));
  if (waiting_.size() > 1) return;
  bus_.call(daemonCall(kService, "GetCapabilities", g_variant_new("()"), kStartPatience),
            [self = std::weak_ptr(self_)](GVariant* reply, const GError*) {
              const auto daemon = self.lock();
              if (!daemon) return;
              if (hasType(reply, "(as)"))
                (*daemon)->findList(readCapabilities(reply));
              else
                (*daemon)->found(std::nullopt);
            });
}

void Daemon::findList(Instance instance) {
  if (!instance.keepsList) return findName(std::move(instance));
  bus_.call(
      daemonCall(kService, "GetServerInformation", g_variant_new("()")),
      [self = std::weak_ptr(self_), instance = std::move(instance)](GVariant* reply, const GError*) mutable {
        const auto daemon = self.lock();
        if (!daemon) return;
        const char* name = kWithoutList.front().data();
        if (hasType(reply, "(ssss)")) g_variant_get_child(reply, 0, "&s", &name);
        instance.keepsList = std::ranges::find(kWithoutList, name) == kWithoutList.end();
        (*daemon)->findName(std::move(instance));
      });
}

void Daemon::findName(Instance instance) {
  bus_.call(
      SessionBus::toBus("GetNameOwner", g_variant_new("(s)", kService)),
      [self = std::weak_ptr(self_), instance = std::move(instance)](GVariant* reply, const GError*) mutable {
        const auto daemon = self.lock();
        if (!daemon) return;
        if (!hasType(reply, "(s)")) {
          (*daemon)->found(std::nullopt);
          return;
        }
        const char* name = nullptr;
        g_variant_get(reply, "(&s)", &name);
        instance.name = name;
        (*daemon)->found(std::move(instance));
      });
}

void Daemon::found(const std::optional<Instance>& instance) {
  known_ = instance;
  for (const FindHandler& handler : std::exchange(waiting_, {}))
    handler(instance);
}

void Daemon::notify(const Instance& instance, const std::string& applicationId, std::uint32_t replaces,
                    const Notification& notification, NotifyHandler handler) {
  const std::string body = bodyFor(instance, notification.body);
  GVariant* const arguments =
      g_variant_new("(susss@as@a{sv}i)", kApplicationName, replaces, applicationId.c_str(),
                    notification.title.c_str(), body.c_str(), actionList(instance, notification),
                    hints(instance, applicationId, notification), lifetime(instance));
  bus_.call(
      daemonCall(instance.name, "Notify", arguments),
      [self = std::weak_ptr(self_), handler = std::move(handler)](GVariant* reply, const GError* error) {
        if (self.expired()) return;
        if (!hasType(reply, "(u)")) {
          if (error) g_message("The notification service refuses: %s", error->message);
          handler(std::nullopt, error && saysGone(error));
          return;
        }
        std::uint32_t id = 0;
        g_variant_get(reply, "(u)", &id);
        handler(id, false);
      });
}

void Daemon::askWhetherToBeQuiet(const std::string& daemon, std::function<void(bool)> handler) {
  struct Question {
    std::function<void(bool)> handler;
    std::size_t repliesToCome = kSignsOfQuiet.size();
    bool quiet = false;
  };
  const auto question = std::make_shared<Question>(Question{std::move(handler)});
  for (const SignOfQuiet& sign : kSignsOfQuiet)
    bus_.call(
        {sign.name ? sign.name : daemon, sign.path, sign.interface, sign.method,
         g_variant_new("(ss)", sign.first, sign.second), kDaemonPatience, G_DBUS_CALL_FLAGS_NO_AUTO_START},
        [self = std::weak_ptr(self_), question](GVariant* reply, const GError*) {
          question->quiet = question->quiet || isTrue(reply);
          if (--question->repliesToCome == 0 && !self.expired()) question->handler(question->quiet);
        });
}

void Daemon::close(const std::string& daemon, std::uint32_t id, std::function<void()> done) {
  bus_.call(daemonCall(daemon, "CloseNotification", g_variant_new("(u)", id)),
            [self = std::weak_ptr(self_), done = std::move(done)](GVariant*, const GError*) {
              if (!self.expired()) done();
            });
}

void Daemon::onDaemonSignal(const std::string& sender, const std::string& signal, GVariant* parameters) {
  std::uint32_t id = 0;
  if (signal == "NotificationClosed" && hasType(parameters, "(uu)")) {
    g_variant_get_child(parameters, 0, "u", &id);
    listener_.bubbleClosed(sender, id);
    return;
  }
  if (!hasType(parameters, "(us)")) return;
  const char* text = nullptr;
  g_variant_get(parameters, "(u&s)", &id, &text);
  if (signal == "ActivationToken") listener_.activationToken(sender, id, text);
  if (signal == "ActionInvoked") listener_.actionInvoked(sender, id, text);
}

void Daemon::onOwnerChanged(GVariant* parameters) {
  if (!hasType(parameters, "(sss)")) return;
  const char* before = nullptr;
  g_variant_get_child(parameters, 1, "&s", &before);
  known_.reset();
  if (*before) listener_.daemonGone(before);
}

}  // namespace notifier
