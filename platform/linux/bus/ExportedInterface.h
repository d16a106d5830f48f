#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/linux/bus/IncomingCall.h"

namespace platform_linux {

/// One interface of one object that the program offers on a bus, until this is destroyed. Main thread only.
class ExportedInterface {
 public:
  struct Handlers {
    /// Runs on a turn of the main loop. May destroy this interface as its last act.
    std::function<void(IncomingCall call)> call;
    /// Floating; every property that the description names has a value. Unused without properties.
    std::function<GVariant*(const std::string& name)> property = {};
  };

  /// `description`: introspection XML of a node with that one interface; the library refuses calls that do
  /// not fit it. `connection` may be null: then nothing is offered.
  ExportedInterface(GDBusConnection* connection, std::string path, const std::string& description,
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
  /// Shared with the call that is being handled.
  const std::shared_ptr<const Handlers> handlers_;
  std::string name_;
  guint registration_ = 0;
};

}  // namespace platform_linux
