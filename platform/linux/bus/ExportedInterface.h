#pragma once

#include <functional>
#include <string>

#include <gio/gio.h>

namespace platform_linux {

/// One interface of one object that the program offers on a bus, until this is destroyed. Main thread only.
class ExportedInterface {
 public:
  /// What a method answers its caller, and what is done after the answer has been sent: a call that makes the
  /// program end, or open a window, keeps nobody waiting.
  struct Answer {
    GVariant* reply = nullptr;  ///< floating; null for a method without results
    std::function<void()> then;
  };
  struct Handlers {
    std::function<Answer(const std::string& method, GVariant* arguments)> call;
    /// Floating; every property that the description names has a value.
    std::function<GVariant*(const std::string& name)> property;
  };

  /// `description`: introspection XML of a node with that one interface; the library turns away calls that do
  /// not fit it. `connection` may be null: then nothing is offered.
  ExportedInterface(GDBusConnection* connection, std::string path, const char* description,
                    Handlers handlers);
  ExportedInterface(const ExportedInterface&) = delete;
  ExportedInterface& operator=(const ExportedInterface&) = delete;
  ~ExportedInterface();

  /// Tells whoever listens. `arguments`: a floating tuple, or null for none.
  void emit(const char* signal, GVariant* arguments = nullptr) const;
  /// Tells whoever listens that a property has a new value.
  void emitPropertyChanged(const char* property) const;

 private:
  GDBusConnection* const connection_;
  const std::string path_;
  const Handlers handlers_;
  std::string name_;
  guint registration_ = 0;
};

}  // namespace platform_linux
