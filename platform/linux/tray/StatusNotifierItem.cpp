#include "platform/linux/tray/StatusNotifierItem.h"

#include <string_view>
#include <utility>

namespace platform_linux {
namespace {

// freedesktop.org, "StatusNotifierItem". Trays look for an item at this very path.
constexpr const char* kItemPath = "/StatusNotifierItem";
constexpr const char* kMenuPath = "/StatusNotifierItem/Menu";
constexpr const char* kWatcher = "org.kde.StatusNotifierWatcher";
constexpr const char* kWatcherPath = "/StatusNotifierWatcher";

constexpr const char* kDescription = R"xml(<node><interface name="org.kde.StatusNotifierItem">
  <property name="Category" type="s" access="read"/>
  <property name="Id" type="s" access="read"/>
  <property name="Title" type="s" access="read"/>
  <property name="Status" type="s" access="read"/>
  <property name="WindowId" type="i" access="read"/>
  <property name="IconThemePath" type="s" access="read"/>
  <property name="IconName" type="s" access="read"/>
  <property name="IconPixmap" type="a(iiay)" access="read"/>
  <property name="ToolTip" type="(sa(iiay)ss)" access="read"/>
  <property name="ItemIsMenu" type="b" access="read"/>
  <property name="Menu" type="o" access="read"/>
  <method name="Activate"><arg name="x" type="i" direction="in"/><arg name="y" type="i" direction="in"/></method>
  <method name="SecondaryActivate">
    <arg name="x" type="i" direction="in"/><arg name="y" type="i" direction="in"/>
  </method>
  <method name="ContextMenu"><arg name="x" type="i" direction="in"/><arg name="y" type="i" direction="in"/></method>
  <method name="ProvideXdgActivationToken"><arg name="token" type="s" direction="in"/></method>
  <method name="Scroll">
    <arg name="delta" type="i" direction="in"/><arg name="orientation" type="s" direction="in"/>
  </method>
  <signal name="NewTitle"/>
  <signal name="NewIcon"/>
  <signal name="NewToolTip"/>
  <signal name="NewStatus"><arg name="status" type="s"/></signal>
</interface></node>)xml";

const char* nameOf(StatusNotifierItem::Status status) {
  return status == StatusNotifierItem::Status::Active ? "Active" : "Passive";
}

GVariant* noPixmaps() {
  return g_variant_new_array(G_VARIANT_TYPE("(iiay)"), nullptr, 0);
}

}  // namespace

StatusNotifierItem::StatusNotifierItem(const SessionBus& bus, Identity identity,
                                       const platform::NSBundle& texts, const Actions& actions)
    : bus_(bus),
      identity_(std::move(identity)),
      title_(texts.localizedStringForKey("Camera Shot")),
      hint_(texts.localizedStringForKey("Take a photo")),
      onClick_(actions.onClick),
      onActivationToken_(actions.onActivationToken),
      menu_(bus.connection(), kMenuPath,
            {{hint_, actions.onTakePhoto},
             {texts.localizedStringForKey("Preferences"), actions.onPreferences},
             {texts.localizedStringForKey("Quit"), actions.onQuit}}),
      item_(bus.connection(), kItemPath, kDescription,
            {[this](IncomingCall call) { handle(std::move(call)); },
             [this](const std::string& name) { return property(name); }}) {}

StatusNotifierItem::~StatusNotifierItem() {
  if (watch_) g_bus_unwatch_name(watch_);
}

void StatusNotifierItem::setStatus(Status status) {
  if (status == status_) return;
  status_ = status;
  item_.emit("NewStatus", g_variant_new("(s)", nameOf(status_)));
  if (!watch_ && bus_.connection()) watchForTrays();
}

void StatusNotifierItem::watchForTrays() {
  const GBusNameAppearedCallback onAppeared = [](GDBusConnection*, const char*, const char* owner,
                                                 gpointer self) noexcept {
    static_cast<const StatusNotifierItem*>(self)->registerWith(owner);
  };
  watch_ = g_bus_watch_name_on_connection(bus_.connection(), kWatcher, G_BUS_NAME_WATCHER_FLAGS_NONE,
                                          onAppeared, nullptr, this, nullptr);
}

void StatusNotifierItem::registerWith(const char* watcher) const {
  // A tray that refuses is as good as none.
  bus_.call({watcher, kWatcherPath, kWatcher, "RegisterStatusNotifierItem",
             g_variant_new("(s)", g_dbus_connection_get_unique_name(bus_.connection()))},
            [](GVariant*, const GError*) {});
}

void StatusNotifierItem::handle(IncomingCall call) const {
  call.answer();
  const std::string_view method = call.method();
  if (method == "ProvideXdgActivationToken" && onActivationToken_) {
    const char* token = nullptr;
    g_variant_get(call.arguments(), "(&s)", &token);
    onActivationToken_(token);
  }
  // A middle click is a click too. The context menu is the tray's to show; there is nothing to scroll.
  if (method != "Activate" && method != "SecondaryActivate") return;
  // A copy: the click may destroy this.
  const auto click = onClick_;
  click();
}

GVariant* StatusNotifierItem::property(const std::string& name) const {
  if (name == "Category") return g_variant_new_string("ApplicationStatus");
  if (name == "Id" || name == "IconName") return g_variant_new_string(identity_.identifier.c_str());
  if (name == "Title") return g_variant_new_string(title_.c_str());
  if (name == "Status") return g_variant_new_string(nameOf(status_));
  if (name == "WindowId") return g_variant_new_int32(0);
  if (name == "IconThemePath") return g_variant_new_string(identity_.iconFolder.c_str());
  if (name == "IconPixmap") return noPixmaps();
  if (name == "ToolTip") {
    return g_variant_new("(s@a(iiay)ss)", identity_.identifier.c_str(), noPixmaps(), title_.c_str(),
                         hint_.c_str());
  }
  if (name == "ItemIsMenu") return g_variant_new_boolean(FALSE);
  return g_variant_new_object_path(kMenuPath);  // "Menu"
}

}  // namespace platform_linux
