#pragma once

#include <functional>
#include <glib-object.h>
#include <string>

namespace platform_linux {

/// A closure for any signal without a result, or with a boolean one, which is what `handler` answers. The
/// arguments are not passed on. The closure is floating.
[[nodiscard]] GClosure* makeClosure(std::function<bool(GObject* sender)> handler);

/// Calls `handler` at each `signal` of `sender` until this object goes. The sender must outlive it.
class SignalConnection {
 public:
  SignalConnection() = default;
  SignalConnection(gpointer sender, const std::string& signal, std::function<void()> handler);
  SignalConnection(const SignalConnection&) = delete;
  SignalConnection& operator=(const SignalConnection&) = delete;
  SignalConnection(SignalConnection&& other) noexcept;
  SignalConnection& operator=(SignalConnection&& other) noexcept;
  ~SignalConnection() { disconnect(); }

  /// For a signal with a boolean result.
  [[nodiscard]] static SignalConnection answering(gpointer sender, const std::string& signal,
                                                  std::function<bool()> handler);

  void disconnect();

 private:
  gpointer sender_ = nullptr;
  gulong id_ = 0;
};

/// While one exists, the handlers of a layout stay silent for `object`: what the program itself changes is no
/// wish of the user. Main thread only; may be nested.
class ProgrammaticChange {
 public:
  explicit ProgrammaticChange(gpointer object);
  ProgrammaticChange(const ProgrammaticChange&) = delete;
  ProgrammaticChange& operator=(const ProgrammaticChange&) = delete;
  ~ProgrammaticChange();

  [[nodiscard]] static bool isUnderWay(GObject* object);

 private:
  GObject* object_;
};

}  // namespace platform_linux
