#pragma once

#include <memory>
#include <string>

#include <gio/gio.h>

namespace platform_linux {

/// Gives a C handle back by the function that its library names for it.
template <auto Release>
struct Releaser {
  template <typename T>
  void operator()(T* handle) const noexcept {
    Release(handle);
  }
};

// Each owns one reference, taken over from a call that hands one out (transfer full).
template <typename T>
using ObjectPointer = std::unique_ptr<T, Releaser<g_object_unref>>;
using VariantPointer = std::unique_ptr<GVariant, Releaser<g_variant_unref>>;
using ErrorPointer = std::unique_ptr<GError, Releaser<g_error_free>>;
using TextPointer = std::unique_ptr<char, Releaser<g_free>>;

/// A reference of our own to an object that stays somebody else's as well (transfer none).
template <typename T>
ObjectPointer<T> shareObject(T* object) {
  return ObjectPointer<T>(static_cast<T*>(g_object_ref(object)));
}

/// Takes over a new value, whose reference nobody owns yet (floating).
inline VariantPointer sinkVariant(GVariant* value) {
  return VariantPointer(g_variant_ref_sink(value));
}

/// The text under `key` of a dictionary, `otherwise` where there is none.
inline std::string textOf(GVariant* dictionary, const char* key, const char* otherwise = "") {
  const char* text = otherwise;
  g_variant_lookup(dictionary, key, "&s", &text);
  return text;
}

}  // namespace platform_linux
