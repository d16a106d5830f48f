#pragma once

#include <memory>
#include <string>

#include <gio/gio.h>

namespace platform_linux {

/// Gives a C object back with the library's own function.
template <auto release>
struct ReleaseWith {
  template <typename T>
  void operator()(T* object) const noexcept {
    release(object);
  }
};

/// Owners of the library's objects: each holds one reference that was handed over to it (transfer full).
template <typename T>
using GObjectHandle = std::unique_ptr<T, ReleaseWith<g_object_unref>>;
using GVariantHandle = std::unique_ptr<GVariant, ReleaseWith<g_variant_unref>>;
using GVariantIterHandle = std::unique_ptr<GVariantIter, ReleaseWith<g_variant_iter_free>>;
using GMainLoopHandle = std::unique_ptr<GMainLoop, ReleaseWith<g_main_loop_unref>>;
using GKeyFileHandle = std::unique_ptr<GKeyFile, ReleaseWith<g_key_file_unref>>;
using GDBusNodeInfoHandle = std::unique_ptr<GDBusNodeInfo, ReleaseWith<g_dbus_node_info_unref>>;
using GStringHandle = std::unique_ptr<char, ReleaseWith<g_free>>;

/// Where a call of the library puts its error.
class GErrorHandle {
 public:
  GErrorHandle() = default;
  GErrorHandle(const GErrorHandle&) = delete;
  GErrorHandle& operator=(const GErrorHandle&) = delete;
  ~GErrorHandle() { g_clear_error(&error_); }

  /// For one call's out-parameter; an earlier error is forgotten.
  GError** out() {
    g_clear_error(&error_);
    return &error_;
  }
  const GError* get() const { return error_; }
  explicit operator bool() const { return error_ != nullptr; }
  std::string message() const { return error_ ? error_->message : ""; }

 private:
  GError* error_ = nullptr;
};

}  // namespace platform_linux
