#include "platform/linux/ui/NibLoader.h"

#include <optional>
#include <utility>

#include <adwaita.h>

#include "platform/linux/ui/BackgroundView.h"
#include "platform/linux/ui/LayerView.h"
#include "platform/linux/ui/PopUpButton.h"
#include "platform/linux/ui/Signals.h"
#include "platform/linux/ui/TitleButtons.h"
#include "platform/linux/ui/View.h"
#include "platform/linux/ui/Window.h"

namespace platform_linux {
namespace {

GObject* objectOf(GtkBuilder* builder, const char* id, GType type) {
  GObject* const object = gtk_builder_get_object(builder, id);
  return object && G_TYPE_CHECK_INSTANCE_TYPE(object, type) ? object : nullptr;
}

class Nib : public platform::NSNib {
 public:
  Nib(GObjectRef<GtkBuilder> builder, std::shared_ptr<Window> window, Worker& decodeThread)
      : builder_(std::move(builder)), decodeThread_(decodeThread), window_(std::move(window)) {
    arrangeTitleButtons();
    hideCoveredPicture();
  }

  std::shared_ptr<platform::NSWindow> window() const override { return window_; }

  std::shared_ptr<platform::NSView> view(const std::string& outlet) const override {
    const auto known = views_.find(outlet);
    if (known != views_.end()) return known->second;
    GObject* const widget = objectOf(builder_.get(), outlet.c_str(), GTK_TYPE_WIDGET);
    if (!widget) return nullptr;
    return views_[outlet] = makeView(GTK_WIDGET(widget), decodeThread_);
  }

 private:
  void arrangeTitleButtons() {
    GObject* const header = objectOf(builder_.get(), "header", ADW_TYPE_HEADER_BAR);
    GObject* const group = objectOf(builder_.get(), "titleButtons", GTK_TYPE_BOX);
    GObject* const controls = objectOf(builder_.get(), "windowControls", GTK_TYPE_WINDOW_CONTROLS);
    GObject* const close = objectOf(builder_.get(), "closeButton", GTK_TYPE_BUTTON);
    GObject* const opposite = objectOf(builder_.get(), "preferencesButton", GTK_TYPE_BUTTON);
    if (header && group && controls && close && opposite)
      titleButtons_.emplace(ADW_HEADER_BAR(header), GTK_BOX(group), GTK_WINDOW_CONTROLS(controls),
                            GTK_WIDGET(close), GTK_WIDGET(opposite));
  }

  /// A picture that the warning covers is not there for screen readers either.
  void hideCoveredPicture() {
    GObject* const picture = objectOf(builder_.get(), "captureView", GTK_TYPE_WIDGET);
    GObject* const warning = objectOf(builder_.get(), "warningView", GTK_TYPE_WIDGET);
    if (!picture || !warning) return;
    const auto update = [=] {
      gtk_accessible_update_state(GTK_ACCESSIBLE(picture), GTK_ACCESSIBLE_STATE_HIDDEN,
                                  gtk_widget_get_visible(GTK_WIDGET(warning)), -1);
    };
    warningShown_ = SignalConnection(warning, "notify::visible", update);
    update();
  }

  const GObjectRef<GtkBuilder> builder_;
  Worker& decodeThread_;
  const std::shared_ptr<Window> window_;
  mutable std::map<std::string, std::shared_ptr<platform::NSView>> views_;
  std::optional<TitleButtons> titleButtons_;
  SignalConnection warningShown_;
};

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

/// What connects a layout's handler names to `actions`. A name that is not among them fails the layout.
/// Changes that the program makes itself (ProgrammaticChange) call no handler.
GObjectRef<GtkBuilderScope> makeBuilderScope(platform::NSActions actions) {
  static const GType kType = registerType();
  auto* const scope = static_cast<ActionScope*>(g_object_new(kType, nullptr));
  scope->actions = new platform::NSActions(std::move(actions));
  return GObjectRef<GtkBuilderScope>::adopt(GTK_BUILDER_SCOPE(scope));
}

/// Shortcuts are no signals: they reach a handler through an action of the same name.
void installActions(GtkWidget* window, const platform::NSActions& actions) {
  const auto group = GObjectRef<GSimpleActionGroup>::adopt(g_simple_action_group_new());
  for (const auto& [name, handler] : actions) {
    const auto action = GObjectRef<GSimpleAction>::adopt(g_simple_action_new(name.c_str(), nullptr));
    g_signal_connect_closure(action.get(), "activate", makeClosure([call = handler](GObject*) {
                               call();
                               return false;
                             }),
                             FALSE);
    g_action_map_add_action(G_ACTION_MAP(group.get()), G_ACTION(action.get()));
  }
  gtk_widget_insert_action_group(window, kNibActionPrefix, G_ACTION_GROUP(group.get()));
}

/// What a layout that failed half-way had made: the toolkit keeps windows alive until they are destroyed.
void destroyWindows(GtkBuilder* builder) {
  GSList* const objects = gtk_builder_get_objects(builder);
  for (GSList* object = objects; object; object = object->next)
    if (GTK_IS_WINDOW(object->data)) gtk_window_destroy(GTK_WINDOW(object->data));
  g_slist_free(objects);
}

bool addLayout(GtkBuilder* builder, const std::string& name, std::string& whyNot) {
  const std::string resource = std::string(kResourceFolder) + "/" + name + ".ui";
  GError* error = nullptr;
  if (gtk_builder_add_from_resource(builder, resource.c_str(), &error)) {
    if (objectOf(builder, "window", GTK_TYPE_WINDOW)) return true;
    whyNot = name + ".ui: no window is called \"window\"";
  } else {
    whyNot = name + ".ui: " + error->message;
    g_error_free(error);
  }
  destroyWindows(builder);
  return false;
}

}  // namespace

NibLoader::NibLoader(WindowList& windows, WindowFrames& frames, Worker& decodeThread,
                     platform::NSActions actions)
    : windows_(windows), frames_(frames), decodeThread_(decodeThread), commonActions_(std::move(actions)) {
  // Layouts find widget classes by name; these are our own, and those that only layouts use.
  for (const GType type : {backgroundViewType(), layerViewType(), popUpRowType(), GTK_TYPE_WINDOW_CONTROLS})
    g_type_ensure(type);
}

std::unique_ptr<platform::NSNib> NibLoader::load(const std::string& name, platform::NSActions actions,
                                                 std::string& whyNot) const {
  actions.insert(commonActions_.begin(), commonActions_.end());
  const auto scope = makeBuilderScope(actions);
  auto builder = GObjectRef<GtkBuilder>::adopt(gtk_builder_new());
  gtk_builder_set_scope(builder.get(), scope.get());
  if (!addLayout(builder.get(), name, whyNot)) return nullptr;
  GtkWindow* const gtkWindow = GTK_WINDOW(gtk_builder_get_object(builder.get(), "window"));
  installActions(GTK_WIDGET(gtkWindow), actions);
  auto window = std::make_shared<Window>(gtkWindow, windows_, frames_);
  return std::make_unique<Nib>(std::move(builder), std::move(window), decodeThread_);
}

}  // namespace platform_linux
