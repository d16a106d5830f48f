#include "notifier/Service.h"

#include <utility>

#include "notifier/Notification.h"
#include "platform/linux/bus/BusNames.h"

namespace notifier {
namespace {

using platform_linux::GVariantHandle;
using platform_linux::IncomingCall;
using platform_linux::SessionBus;

/// What the ids of the suite's applications begin with.
constexpr const char* kSuite = "com.verrano.quillo.";
constexpr std::chrono::milliseconds kUnusedLife{10000};
/// A photo is often followed by another.
constexpr std::chrono::milliseconds kLifeAfterLastBubble{2000};

// As the bus's own interface numbers them.
constexpr guint32 kDoNotQueue = 4;
constexpr guint32 kPrimaryOwner = 1;

/// The interface's name is the bus name. Post answers as soon as the notification has been taken over.
std::string description(const std::string& name) {
  return "<node><interface name='" + name + R"('>
  <method name="Post">
    <arg name="application_id" type="s" direction="in"/>
    <arg name="identifier" type="s" direction="in"/>
    <arg name="notification" type="a{sv}" direction="in"/>
  </method>
</interface></node>)";
}

bool isOfTheSuite(const std::string& applicationId) {
  return applicationId.starts_with(kSuite) && g_application_id_is_valid(applicationId.c_str());
}

bool saysPrimaryOwner(GVariant* reply) {
  guint32 answer = 0;
  if (platform_linux::hasType(reply, "(u)")) g_variant_get(reply, "(u)", &answer);
  return answer == kPrimaryOwner;
}

}  // namespace

Service::Service(const SessionBus& bus, std::string name, std::function<void()> onEnd)
    : bus_(bus),
      name_(std::move(name)),
      onEnd_(std::move(onEnd)),
      bubbles_(bus, [this] { onChange(); }),
      interface_(bus.connection(), platform_linux::objectPath(name_), description(name_),
                 {[this](IncomingCall call) { post(std::move(call)); }}) {
  requestName();
  leaveAfter(kUnusedLife);
}

Service::~Service() {
  if (timer_) g_source_remove(timer_);
}

void Service::requestName() {
  bus_.call(SessionBus::toBus("RequestName", g_variant_new("(su)", name_.c_str(), kDoNotQueue)),
            [this](GVariant* reply, const GError*) {
              hasHadName_ = hasHadName_ || saysPrimaryOwner(reply);
              // What is in our hands still is ours to show, and its clicks are ours to pass on.
              if (!saysPrimaryOwner(reply) && bubbles_.empty()) onEnd_();
            });
}

void Service::post(IncomingCall call) {
  const char* applicationId = nullptr;
  const char* identifier = nullptr;
  GVariant* dictionary = nullptr;
  g_variant_get(call.arguments(), "(&s&s@a{sv})", &applicationId, &identifier, &dictionary);
  const GVariantHandle owned(dictionary);
  if (!isOfTheSuite(applicationId)) {
    call.refuse('"' + std::string(applicationId) + "\" is no application of this suite",
                G_DBUS_ERROR_INVALID_ARGS);
    return;
  }
  bubbles_.post(applicationId, identifier, readNotification(dictionary));
  call.answer();
}

void Service::onChange() {
  if (timer_) g_source_remove(std::exchange(timer_, 0));
  if (bubbles_.empty()) leaveAfter(kLifeAfterLastBubble);
}

void Service::leaveAfter(std::chrono::milliseconds delay) {
  timer_ = g_timeout_add(
      static_cast<guint>(delay.count()),
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
  bus_.call(SessionBus::toBus("ReleaseName", g_variant_new("(s)", name_.c_str())),
            [this](GVariant*, const GError*) {
              if (bubbles_.empty())
                onEnd_();
              else
                requestName();
            });
}

}  // namespace notifier
