#include "notifier/Service.h"

#include <utility>

#include "notifier/Notification.h"
#include "platform/linux/application/ApplicationInterface.h"

namespace notifier {
namespace {

using platform_linux::GDBusNodeInfoHandle;
using platform_linux::GVariantHandle;
using platform_linux::SessionBus;

/// In milliseconds.
constexpr guint kUnusedLife = 10000;
/// In milliseconds: a photo is often followed by another.
constexpr guint kLifeAfterLastBubble = 2000;

// As the bus's own interface numbers them.
constexpr guint32 kDoNotQueue = 4;
constexpr guint32 kPrimaryOwner = 1;

/// The interface's name is the bus name. Post answers as soon as the notification has been taken over.
constexpr const char* kInterface = R"(
<node>
  <interface name="%s">
    <method name="Post">
      <arg name="application_id" type="s" direction="in"/>
      <arg name="identifier" type="s" direction="in"/>
      <arg name="notification" type="a{sv}" direction="in"/>
    </method>
  </interface>
</node>)";

SessionBus::Call busCall(const char* method, GVariant* arguments) {
  return {"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method, arguments};
}

bool saysPrimaryOwner(GVariant* reply) {
  guint32 answer = 0;
  if (reply && g_variant_is_of_type(reply, G_VARIANT_TYPE("(u)"))) g_variant_get(reply, "(u)", &answer);
  return answer == kPrimaryOwner;
}

}  // namespace

Service::Service(const SessionBus& bus, std::string name, std::function<void()> onEnd)
    : bus_(bus), name_(std::move(name)), onEnd_(std::move(onEnd)), bubbles_(bus, [this] { onChange(); }) {
  registerObject();
  requestName();
  leaveAfter(kUnusedLife);
}

Service::~Service() {
  if (timer_) g_source_remove(timer_);
  if (registration_) g_dbus_connection_unregister_object(bus_.connection(), registration_);
}

void Service::registerObject() {
  const platform_linux::GStringHandle xml(g_strdup_printf(kInterface, name_.c_str()));
  const GDBusNodeInfoHandle node(g_dbus_node_info_new_for_xml(xml.get(), nullptr));
  static constexpr GDBusInterfaceVTable kMethods{
      [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* parameters,
         GDBusMethodInvocation* invocation,
         gpointer self) noexcept { static_cast<Service*>(self)->post(parameters, invocation); },
      nullptr,
      nullptr,
      {}};
  registration_ = g_dbus_connection_register_object(bus_.connection(),
                                                    platform_linux::applicationObjectPath(name_).c_str(),
                                                    node->interfaces[0], &kMethods, this, nullptr, nullptr);
}

void Service::requestName() {
  bus_.call(busCall("RequestName", g_variant_new("(su)", name_.c_str(), kDoNotQueue)),
            [this](GVariant* reply, const GError*) {
              if (!saysPrimaryOwner(reply)) onEnd_();
            });
}

void Service::post(GVariant* parameters, GDBusMethodInvocation* invocation) {
  const char* applicationId = nullptr;
  const char* identifier = nullptr;
  GVariant* dictionary = nullptr;
  g_variant_get(parameters, "(&s&s@a{sv})", &applicationId, &identifier, &dictionary);
  const GVariantHandle owned(dictionary);
  if (!g_application_id_is_valid(applicationId)) {
    g_dbus_method_invocation_return_error(invocation, G_DBUS_ERROR, G_DBUS_ERROR_INVALID_ARGS,
                                          "\"%s\" is no application id", applicationId);
    return;
  }
  bubbles_.post(applicationId, identifier, readNotification(dictionary));
  g_dbus_method_invocation_return_value(invocation, nullptr);
}

void Service::onChange() {
  if (timer_) g_source_remove(std::exchange(timer_, 0));
  if (bubbles_.empty()) leaveAfter(kLifeAfterLastBubble);
}

void Service::leaveAfter(guint milliseconds) {
  timer_ = g_timeout_add(
      milliseconds,
      [](gpointer data) noexcept -> gboolean {
        auto* const self = static_cast<Service*>(data);
        self->timer_ = 0;
        self->leave();
        return G_SOURCE_REMOVE;
      },
      this);
}

void Service::leave() {
  // Everything that the bus sent us under the name is in our hands when it answers that the name is given
  // back.
  bus_.call(busCall("ReleaseName", g_variant_new("(s)", name_.c_str())), [this](GVariant*, const GError*) {
    if (bubbles_.empty())
      onEnd_();
    else
      requestName();
  });
}

}  // namespace notifier
