#include "platform/linux/ui/Window.h"

#include <utility>

#include "platform/linux/ui/Toplevel.h"

namespace platform_linux {

Window::Window(GtkWindow* window, WindowList& windows, WindowFrames& frames)
    : window_(GObjectRef<GtkWindow>::share(window)),
      windows_(windows),
      frames_(frames),
      tellOcclusion_(G_PRIORITY_DEFAULT, [this] { tellOcclusion(); }),
      tellClosed_(G_PRIORITY_DEFAULT, [this] { windows_.windowClosed(); }),
      keys_(window),
      mapSignal_(window, "map", [this] { mapped(); }),
      unmapSignal_(window, "unmap", [this] { unmapped(); }),
      closeSignal_(SignalConnection::answering(window, "close-request",
                                               [this] {
                                                 closedByUser();
                                                 return true;
                                               })),
      activeSignal_(window, "notify::is-active", [this] { tellKey(); }) {
  windows_.add(window, [this] { orderOut(); });
}

Window::~Window() {
  saveFrame();
  windows_.remove(window_.get());
  for (auto* signal : {&mapSignal_, &unmapSignal_, &closeSignal_, &activeSignal_, &stateSignal_})
    signal->disconnect();
  keys_.reset();
  gtk_window_destroy(window_.get());
}

bool Window::isMiniaturized() const {
  return gtk_widget_get_mapped(GTK_WIDGET(window_.get())) && !isVisible();
}

void Window::makeKeyAndOrderFront() {
  gtk_widget_realize(GTK_WIDGET(window_.get()));
  if (positionToRestore_) moveTo(window_.get(), *positionToRestore_);
  windows_.show(window_.get());
}

void Window::orderOut() {
  saveFrame();
  gtk_widget_set_visible(GTK_WIDGET(window_.get()), FALSE);
}

unsigned Window::styleMask() const {
  return gtk_window_get_resizable(window_.get()) ? platform::NSWindowStyleMaskResizable : 0;
}

void Window::setStyleMask(unsigned mask) {
  gtk_window_set_resizable(window_.get(), (mask & platform::NSWindowStyleMaskResizable) != 0);
}

void Window::setFrameAutosaveName(const std::string& name) {
  frameName_ = name;
  const auto frame = frames_.load(name);
  if (!frame) return;
  gtk_window_set_default_size(window_.get(), frame->width, frame->height);
  if (frame->isMaximized) gtk_window_maximize(window_.get());
  positionToRestore_ = frame->position;
}

void Window::saveFrame() {
  if (frameName_.empty() || !gtk_widget_get_mapped(GTK_WIDGET(window_.get()))) return;
  WindowFrame frame;
  gtk_window_get_default_size(window_.get(), &frame.width, &frame.height);
  frame.isMaximized = gtk_window_is_maximized(window_.get());
  // A maximised window lies where its monitor does; where it was before is not known.
  if (!frame.isMaximized) positionToRestore_ = positionOf(window_.get());
  frame.position = positionToRestore_;
  frames_.save(frameName_, frame);
}

std::shared_ptr<platform::NSWindowDelegate> Window::delegate() const {
  return windows_.isWithdrawn() ? nullptr : delegate_.lock();
}

void Window::mapped() {
  stateSignal_ = SignalConnection(gtk_native_get_surface(GTK_NATIVE(window_.get())), "notify::state",
                                  [this] { tellOcclusion_.schedule(); });
  if (positionToRestore_) moveTo(window_.get(), *positionToRestore_);
  tellOcclusion_.schedule();
}

void Window::unmapped() {
  stateSignal_.disconnect();
  tellOcclusion_.schedule();
}

void Window::closedByUser() {
  const auto asked = delegate();
  if (asked && !asked->windowShouldClose()) return;
  orderOut();
  tellClosed_.schedule();
}

void Window::tellOcclusion() {
  const bool isMapped = gtk_widget_get_mapped(GTK_WIDGET(window_.get()));
  const bool seen = isMapped && isSeen(gtk_native_get_surface(GTK_NATIVE(window_.get())));
  // The surface's state also tells of the keyboard, of tiling and the like.
  if (isVisible() == toldVisible_ && seen == toldSeen_) return;
  toldVisible_ = isVisible();
  toldSeen_ = seen;
  if (const auto told = delegate()) told->windowDidChangeOcclusionState();
}

void Window::tellKey() {
  if (!gtk_window_is_active(window_.get())) return;
  windows_.turnedTo(window_.get());
  if (const auto told = delegate()) told->windowDidBecomeKey();
}

}  // namespace platform_linux
