#pragma once

#include <glib-object.h>
#include <utility>

namespace platform_linux {

/// Owns one reference to a GObject. How the reference came about is named where it is made.
template <typename T>
class GObjectRef {
 public:
  GObjectRef() = default;
  /// Takes over a reference that the caller owns (transfer full).
  static GObjectRef adopt(T* object) { return GObjectRef(object); }
  /// Takes a reference of its own (transfer none); a floating one is sunk.
  static GObjectRef share(T* object) {
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

  T* get() const { return object_; }
  explicit operator bool() const { return object_ != nullptr; }

 private:
  explicit GObjectRef(T* object) : object_(object) {}

  T* object_ = nullptr;
};

}  // namespace platform_linux
