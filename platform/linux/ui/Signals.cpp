#include "platform/linux/ui/Signals.h"

#include <memory>
#include <utility>

namespace platform_linux {
namespace {

using Handler = std::function<bool(GObject* sender)>;

void marshal(GClosure* closure, GValue* result, guint count, const GValue* arguments, gpointer,
             gpointer) noexcept {
  // A copy: the handler may end the object whose closure this is.
  const Handler handler = *static_cast<Handler*>(closure->data);
  GObject* const sender = count > 0 && G_VALUE_HOLDS_OBJECT(arguments)
                              ? static_cast<GObject*>(g_value_get_object(arguments))
                              : nullptr;
  const bool answer = handler(sender);
  if (result && G_VALUE_HOLDS_BOOLEAN(result)) g_value_set_boolean(result, answer ? TRUE : FALSE);
}

void destroyHandler(gpointer data, GClosure*) noexcept {
  delete static_cast<Handler*>(data);
}

constexpr const char* kChangeCount = "camera-shot-programmatic-changes";

}  // namespace

GClosure* makeClosure(Handler handler) {
  auto owned = std::make_unique<Handler>(std::move(handler));
  GClosure* const closure = g_closure_new_simple(sizeof(GClosure), owned.get());
  g_closure_add_finalize_notifier(closure, owned.release(), destroyHandler);
  g_closure_set_marshal(closure, marshal);
  return closure;
}

SignalConnection::SignalConnection(gpointer sender, const std::string& signal,
                                   std::function<void()> handler) {
  *this = answering(sender, signal, [handler = std::move(handler)] {
    handler();
    return false;
  });
}

SignalConnection SignalConnection::answering(gpointer sender, const std::string& signal,
                                             std::function<bool()> handler) {
  SignalConnection connection;
  connection.sender_ = sender;
  GClosure* const closure = makeClosure([handler = std::move(handler)](GObject*) { return handler(); });
  connection.id_ = g_signal_connect_closure(sender, signal.c_str(), closure, FALSE);
  return connection;
}

SignalConnection::SignalConnection(SignalConnection&& other) noexcept
    : sender_(std::exchange(other.sender_, nullptr)), id_(std::exchange(other.id_, 0)) {}

SignalConnection& SignalConnection::operator=(SignalConnection&& other) noexcept {
  std::swap(sender_, other.sender_);
  std::swap(id_, other.id_);
  return *this;
}

void SignalConnection::disconnect() {
  if (id_) g_signal_handler_disconnect(sender_, std::exchange(id_, 0));
}

ProgrammaticChange::ProgrammaticChange(gpointer object) : object_(static_cast<GObject*>(object)) {
  const int depth = GPOINTER_TO_INT(g_object_get_data(object_, kChangeCount));
  g_object_set_data(object_, kChangeCount, GINT_TO_POINTER(depth + 1));
}

ProgrammaticChange::~ProgrammaticChange() {
  const int depth = GPOINTER_TO_INT(g_object_get_data(object_, kChangeCount));
  g_object_set_data(object_, kChangeCount, GINT_TO_POINTER(depth - 1));
}

bool ProgrammaticChange::isUnderWay(GObject* object) {
  return GPOINTER_TO_INT(g_object_get_data(object, kChangeCount)) > 0;
}

}  // namespace platform_linux
