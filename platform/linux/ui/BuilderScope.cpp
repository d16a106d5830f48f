#include "platform/linux/ui/BuilderScope.h"

#include <utility>

#include "platform/linux/ui/Signals.h"

namespace platform_linux {
namespace {

/// Types are looked up as the toolkit does; handlers are ours.
struct ActionScope {
  GtkBuilderCScope parent;
  platform::NSActions* actions;
};

GClosure* createClosure(GtkBuilderScope* scope, GtkBuilder*, const char* name, GtkBuilderClosureFlags,
                        GObject*, GError** error) noexcept {
  const auto& actions = *reinterpret_cast<ActionScope*>(scope)->actions;
  const auto action = actions.find(name);
  if (action == actions.end()) {
    g_set_error(error, GTK_BUILDER_ERROR, GTK_BUILDER_ERROR_INVALID_FUNCTION, "no handler is called \"%s\"",
                name);
    return nullptr;
  }
  return makeClosure([handler = action->second](GObject* sender) {
    if (!sender || !ProgrammaticChange::isUnderWay(sender)) handler();
    return false;
  });
}

void initInterface(gpointer scope, gpointer) noexcept {
  static_cast<GtkBuilderScopeInterface*>(scope)->create_closure = createClosure;
}

void finalizeScope(GObject* object) noexcept {
  delete reinterpret_cast<ActionScope*>(object)->actions;
  G_OBJECT_CLASS(g_type_class_peek(GTK_TYPE_BUILDER_CSCOPE))->finalize(object);
}

void initClass(gpointer scopeClass, gpointer) noexcept {
  G_OBJECT_CLASS(scopeClass)->finalize = finalizeScope;
}

GType registerType() {
  const GType type = g_type_register_static_simple(GTK_TYPE_BUILDER_CSCOPE, "CameraShotActionScope",
                                                   sizeof(GtkBuilderCScopeClass), initClass,
                                                   sizeof(ActionScope), nullptr, GTypeFlags{});
  const GInterfaceInfo scopeInterface{initInterface, nullptr, nullptr};
  g_type_add_interface_static(type, GTK_TYPE_BUILDER_SCOPE, &scopeInterface);
  return type;
}

}  // namespace

GObjectRef<GtkBuilderScope> makeBuilderScope(platform::NSActions actions) {
  static const GType kType = registerType();
  auto* const scope = static_cast<ActionScope*>(g_object_new(kType, nullptr));
  scope->actions = new platform::NSActions(std::move(actions));
  return GObjectRef<GtkBuilderScope>::adopt(GTK_BUILDER_SCOPE(scope));
}

}  // namespace platform_linux
