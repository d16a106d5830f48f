#include "tests/ui/support/TestWindows.h"

#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "platform/linux/ui/GraphicsProcessor.h"

namespace ui_test {
namespace {

// As the program does first of all.
const platform_linux::ToolkitWithoutGraphicsProcessor kToolkitSettings;

using platform_linux::GObjectRef;

struct Bound {
  bool isOver = false;
  guint source = 0;
};

/// Waits for a whole frame: layout, drawing and painting have then been done for all before, if the window is
/// on the screen.
void waitForFrame(GtkWidget* widget) {
  GdkFrameClock* const clock = gtk_widget_get_frame_clock(widget);
  bool painted = false;
  const gulong handler = g_signal_connect(
      clock, "after-paint",
      G_CALLBACK(+[](GdkFrameClock*, gpointer data) noexcept { *static_cast<bool*>(data) = true; }),
      &painted);
  gtk_widget_queue_draw(widget);
  const bool inTime = runUntil([&painted] { return painted; });
  g_signal_handler_disconnect(clock, handler);
  if (!inTime) throw std::runtime_error("nothing is drawn");
}

/// Null where the widget has no place: a window's clock ticks before the window is on the screen, and what
/// has happened since the last frame may ask for a new layout.
GObjectRef<GdkTexture> render(GtkWidget* widget) {
  const auto paintable = GObjectRef<GdkPaintable>::adopt(gtk_widget_paintable_new(widget));
  const int scale = gtk_widget_get_scale_factor(widget);
  const int width = gtk_widget_get_width(widget);
  const int height = gtk_widget_get_height(widget);
  GtkSnapshot* const snapshot = gtk_snapshot_new();
  gtk_snapshot_scale(snapshot, static_cast<float>(scale), static_cast<float>(scale));
  gdk_paintable_snapshot(paintable.get(), snapshot, width, height);
  GskRenderNode* const node = gtk_snapshot_free_to_node(snapshot);
  if (!node) return {};
  const graphene_rect_t area = {{0, 0},
                                {static_cast<float>(width * scale), static_cast<float>(height * scale)}};
  GskRenderer* const renderer = gtk_native_get_renderer(gtk_widget_get_native(widget));
  auto texture = GObjectRef<GdkTexture>::adopt(gsk_renderer_render_texture(renderer, node, &area));
  gsk_render_node_unref(node);
  return texture;
}

GtkWidget* search(GtkWidget* root, const std::function<bool(GtkWidget*)>& wanted) {
  if (wanted(root)) return root;
  for (GtkWidget* child = gtk_widget_get_first_child(root); child; child = gtk_widget_get_next_sibling(child))
    if (GtkWidget* const found = search(child, wanted)) return found;
  return nullptr;
}

}  // namespace

bool runUntil(const std::function<bool()>& done) {
  constexpr guint kSeconds = 10;
  Bound bound;
  bound.source = g_timeout_add_seconds_full(
      G_PRIORITY_HIGH, kSeconds,
      [](gpointer data) noexcept -> gboolean {
        static_cast<Bound*>(data)->isOver = true;
        return G_SOURCE_REMOVE;
      },
      &bound, nullptr);
  while (!done() && !bound.isOver)
    g_main_context_iteration(nullptr, TRUE);
  if (bound.isOver) return done();
  g_source_remove(bound.source);
  return true;
}

TestUserInterface::TestUserInterface() {
  char* const folder = g_dir_make_tmp("camera-shot-ui-XXXXXX", nullptr);
  stateFolder_ = folder;
  g_free(folder);
  restart();
}

TestUserInterface::~TestUserInterface() {
  ui_.reset();
  std::filesystem::remove_all(stateFolder_);
}

void TestUserInterface::restart() {
  ui_.reset();
  std::string whyNot;
  ui_ = platform_linux::GtkUserInterface::make(
      {"com.verrano.quillo.CameraShot", stateFolder_, [this] { ++lastWindowClosed; }, [this] { ++quits; },
       [this] { return std::exchange(activationToken, {}); }, [] {}, [] { return true; }},
      whyNot);
  if (!ui_) throw std::runtime_error(whyNot);
}

Screenshot::Screenshot(GtkWidget* widget) {
  constexpr int kFrames = 100;
  for (int frame = 0; !texture_ && frame < kFrames; ++frame) {
    waitForFrame(widget);
    texture_ = render(widget);
  }
  if (!texture_) throw std::runtime_error("the widget draws nothing");
  width_ = gdk_texture_get_width(texture_.get());
  height_ = gdk_texture_get_height(texture_.get());
  const std::size_t stride = static_cast<std::size_t>(width_) * 4;
  pixels_.resize(stride * static_cast<std::size_t>(height_));
  gdk_texture_download(texture_.get(), pixels_.data(), stride);
}

Rgb Screenshot::at(double x, double y) const {
  const auto column = static_cast<std::size_t>(x * (width_ - 1));
  const auto line = static_cast<std::size_t>(y * (height_ - 1));
  // In memory: blue, green, red, alpha.
  const std::uint8_t* const pixel = pixels_.data() + (line * static_cast<std::size_t>(width_) + column) * 4;
  return {pixel[2], pixel[1], pixel[0]};
}

void Screenshot::save(const std::string& file) const {
  if (!gdk_texture_save_to_png(texture_.get(), file.c_str()))
    throw std::runtime_error("cannot write " + file);
}

GtkWindow* toplevelWithTitle(const std::string& title) {
  GListModel* const toplevels = gtk_window_get_toplevels();
  for (guint i = 0; i < g_list_model_get_n_items(toplevels); ++i) {
    const auto window =
        GObjectRef<GtkWindow>::adopt(static_cast<GtkWindow*>(g_list_model_get_item(toplevels, i)));
    const char* const its = gtk_window_get_title(window.get());
    if (its && title == its) return window.get();  // the list keeps it alive
  }
  return nullptr;
}

GtkWidget* findWidget(GtkWidget* root, GType type) {
  return search(root, [type](GtkWidget* widget) { return G_TYPE_CHECK_INSTANCE_TYPE(widget, type); });
}

GtkWidget* widgetById(GtkWidget* root, const std::string& id) {
  return search(root, [&id](GtkWidget* widget) {
    const char* const its = gtk_buildable_get_buildable_id(GTK_BUILDABLE(widget));
    return its && id == its;
  });
}

}  // namespace ui_test
