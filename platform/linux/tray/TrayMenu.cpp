#include "platform/linux/tray/TrayMenu.h"

#include <string_view>
#include <utility>

#include "platform/linux/base/Handles.h"

namespace platform_linux {
namespace {

// As libdbusmenu describes it (dbus-menu.xml). The root of the menu has the identifier 0, its entries count
// from 1.
constexpr const char* kDescription = R"xml(<node><interface name="com.canonical.dbusmenu">
  <property name="Version" type="u" access="read"/>
  <property name="Status" type="s" access="read"/>
  <property name="IconThemePath" type="as" access="read"/>
  <method name="GetLayout">
    <arg name="parentId" type="i" direction="in"/><arg name="recursionDepth" type="i" direction="in"/>
    <arg name="propertyNames" type="as" direction="in"/>
    <arg name="revision" type="u" direction="out"/><arg name="layout" type="(ia{sv}av)" direction="out"/>
  </method>
  <method name="GetGroupProperties">
    <arg name="ids" type="ai" direction="in"/><arg name="propertyNames" type="as" direction="in"/>
    <arg name="properties" type="a(ia{sv})" direction="out"/>
  </method>
  <method name="GetProperty">
    <arg name="id" type="i" direction="in"/><arg name="name" type="s" direction="in"/>
    <arg name="value" type="v" direction="out"/>
  </method>
  <method name="Event">
    <arg name="id" type="i" direction="in"/><arg name="eventId" type="s" direction="in"/>
    <arg name="data" type="v" direction="in"/><arg name="timestamp" type="u" direction="in"/>
  </method>
  <method name="EventGroup">
    <arg name="events" type="a(isvu)" direction="in"/><arg name="idErrors" type="ai" direction="out"/>
  </method>
  <method name="AboutToShow">
    <arg name="id" type="i" direction="in"/><arg name="needUpdate" type="b" direction="out"/>
  </method>
  <method name="AboutToShowGroup">
    <arg name="ids" type="ai" direction="in"/><arg name="updatesNeeded" type="ai" direction="out"/>
    <arg name="idErrors" type="ai" direction="out"/>
  </method>
  <signal name="ItemsPropertiesUpdated">
    <arg name="updatedProps" type="a(ia{sv})"/><arg name="removedProps" type="a(ias)"/>
  </signal>
  <signal name="LayoutUpdated"><arg name="revision" type="u"/><arg name="parent" type="i"/></signal>
</interface></node>)xml";

constexpr unsigned kVersion = 3;   ///< of the interface, the only one in use
constexpr unsigned kRevision = 1;  ///< of the layout, which never changes
constexpr int kRoot = 0;

GVariant* noNumbers() {
  return g_variant_new_array(G_VARIANT_TYPE_INT32, nullptr, 0);
}

GVariant* menuProperty(const std::string& name) {
  if (name == "Version") return g_variant_new_uint32(kVersion);
  if (name == "Status") return g_variant_new_string("normal");
  return g_variant_new_strv(nullptr, 0);  // "IconThemePath"
}

}  // namespace

TrayMenu::TrayMenu(GDBusConnection* connection, std::string path, std::vector<Entry> entries)
    : entries_(std::move(entries)),
      interface_(connection, std::move(path), kDescription,
                 {[this](IncomingCall call) { handle(std::move(call)); }, menuProperty}) {}

void TrayMenu::handle(IncomingCall call) const {
  const std::string_view method = call.method();
  std::vector<Action> actions;
  if (method == "Event") {
    int identifier = 0;
    const char* event = nullptr;
    g_variant_get(call.arguments(), "(i&svu)", &identifier, &event, nullptr, nullptr);
    actions.push_back(actionOf(identifier, event));
    call.answer();
  } else if (method == "EventGroup") {
    const GVariantHandle events(g_variant_get_child_value(call.arguments(), 0));
    actions = actionsOf(events.get());
    call.answer(g_variant_new("(@ai)", noNumbers()));
  } else {
    call.answer(told(call.method(), call.arguments()));
  }
  // Last: an action may destroy this.
  for (const Action& action : actions)
    if (action) action();
}

GVariant* TrayMenu::told(const std::string& method, GVariant* arguments) const {
  int identifier = 0;
  if (method == "GetLayout") {
    int depth = 0;
    g_variant_get(arguments, "(ii@as)", &identifier, &depth, nullptr);
    return g_variant_new("(u@(ia{sv}av))", kRevision, layout(identifier, depth));
  }
  if (method == "GetGroupProperties") {
    const GVariantHandle identifiers(g_variant_get_child_value(arguments, 0));
    return g_variant_new("(@a(ia{sv}))", propertiesOf(identifiers.get()));
  }
  if (method == "GetProperty") {
    const char* name = nullptr;
    g_variant_get(arguments, "(i&s)", &identifier, &name);
    return g_variant_new("(v)", property(identifier, name));
  }
  if (method == "AboutToShow") return g_variant_new("(b)", FALSE);
  return g_variant_new("(@ai@ai)", noNumbers(), noNumbers());  // "AboutToShowGroup"
}

std::vector<TrayMenu::Action> TrayMenu::actionsOf(GVariant* events) const {
  std::vector<Action> actions;
  for (gsize index = 0; index < g_variant_n_children(events); ++index) {
    int identifier = 0;
    const char* event = nullptr;
    g_variant_get_child(events, index, "(i&svu)", &identifier, &event, nullptr, nullptr);
    actions.push_back(actionOf(identifier, event));
  }
  return actions;
}

GVariant* TrayMenu::layout(int parent, int depth) const {
  GVariantBuilder children;
  g_variant_builder_init(&children, G_VARIANT_TYPE("av"));
  // A depth of 0 asks for no children, a negative one for all.
  if (parent == kRoot && depth != 0) {
    for (int identifier = 1; has(identifier); ++identifier) {
      g_variant_builder_add(&children, "v", layout(identifier, 0));
    }
  }
  return g_variant_new("(i@a{sv}av)", parent, properties(parent), &children);
}

GVariant* TrayMenu::propertiesOf(GVariant* identifiers) const {
  GVariantBuilder found;
  g_variant_builder_init(&found, G_VARIANT_TYPE("a(ia{sv})"));
  const auto add = [&](int identifier) {
    g_variant_builder_add(&found, "(i@a{sv})", identifier, properties(identifier));
  };
  const gsize count = g_variant_n_children(identifiers);
  for (gsize index = 0; index < count; ++index) {
    int identifier = 0;
    g_variant_get_child(identifiers, index, "i", &identifier);
    if (identifier == kRoot || has(identifier)) add(identifier);
  }
  if (count == 0) {  // no identifiers: all of them
    for (int identifier = kRoot; identifier == kRoot || has(identifier); ++identifier)
      add(identifier);
  }
  return g_variant_builder_end(&found);
}

GVariant* TrayMenu::properties(int identifier) const {
  GVariantBuilder builder;
  g_variant_builder_init(&builder, G_VARIANT_TYPE_VARDICT);
  const char* const name = identifier == kRoot ? "children-display" : "label";
  if (identifier == kRoot || has(identifier)) {
    g_variant_builder_add(&builder, "{sv}", name, property(identifier, name));
  }
  return g_variant_builder_end(&builder);
}

GVariant* TrayMenu::property(int identifier, const char* name) const {
  const std::string_view wanted = name;
  if (identifier == kRoot && wanted == "children-display") return g_variant_new_string("submenu");
  if (has(identifier) && wanted == "label") {
    return g_variant_new_string(entries_[static_cast<std::size_t>(identifier - 1)].label.c_str());
  }
  if (wanted == "enabled" || wanted == "visible") return g_variant_new_boolean(TRUE);
  return g_variant_new_string("");
}

bool TrayMenu::has(int identifier) const {
  return identifier >= 1 && static_cast<std::size_t>(identifier) <= entries_.size();
}

TrayMenu::Action TrayMenu::actionOf(int identifier, const char* event) const {
  if (!has(identifier) || std::string_view(event) != "clicked") return {};
  return entries_[static_cast<std::size_t>(identifier - 1)].onClick;
}

}  // namespace platform_linux
