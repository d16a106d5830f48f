#pragma once

#include <memory>
#include <string>
#include <utility>

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

/// Owners of the library's objects that are no GObject: each holds one reference that was handed over to it
/// (transfer full).
using GVariantHandle = std::unique_ptr<GVariant, ReleaseWith<g_variant_unref>>;
using GVariantIterHandle = std::unique_ptr<GVariantIter, ReleaseWith<g_variant_iter_free>>;
using GMainLoopHandle = std::unique_ptr<GMainLoop, ReleaseWith<g_main_loop_unref>>;
using GKeyFileHandle = std::unique_ptr<GKeyFile, ReleaseWith<g_key_file_unref>>;
using GDBusNodeInfoHandle = std::unique_ptr<GDBusNodeInfo, ReleaseWith<g_dbus_node_info_unref>>;
using GStringHandle = std::unique_ptr<char, ReleaseWith<g_free>>;

/// Owns one reference to a GObject. How the reference came about is named where it is made.
template <typename T>
class GObjectRef {
 public:
  GObjectRef() = default;
  /// Takes over a reference that the caller owns (transfer full).
  [[nodiscard]] static GObjectRef adopt(T* object) { return GObjectRef(object); }
  /// Takes a reference of its own (transfer none); a floating one is sunk.
  [[nodiscard]] static GObjectRef share(T* object) {
    return GObjectRef(object ? static_cast<T*>(g_object_ref_sink(object)) : nullptr);
  }

  GObjectRef(const GObjectRef& other) : GObjectRef(share(other.object_)) {}
  GObjectRef(GObjectRef&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  GObjectRef& operator=(GObjectRef other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~GObjectRef() {
    if (object_) g_object_unref(object_);
  }

  [[nodiscard]] T* get() const { return object_; }
  /// Leaves the reference to the caller.
  T* release() { return std::exchange(object_, nullptr); }
  explicit operator bool() const { return object_ != nullptr; }

 private:
  explicit GObjectRef(T* object) : object_(object) {}

  T* object_ = nullptr;
};

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
  [[nodiscard]] const GError* get() const { return error_; }
  explicit operator bool() const { return error_ != nullptr; }
  [[nodiscard]] std::string message() const { return error_ ? error_->message : ""; }

 private:
  GError* error_ = nullptr;
};

}  // namespace platform_linux
