// Feeds arbitrary bytes, as the dictionary of a message that anybody on the bus may send, to the notification
// helper, which reads it.

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "notifier/Notification.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  gpointer const copy = g_memdup2(data, size);
  const platform_linux::GVariantHandle dictionary(
      g_variant_ref_sink(g_variant_new_from_data(G_VARIANT_TYPE_VARDICT, copy, size, FALSE, g_free, copy)));
  // The bus passes on what is in normal form; what is not has defaults in its place.
  const platform_linux::GVariantHandle normal(g_variant_get_normal_form(dictionary.get()));
  for (auto* const each : {dictionary.get(), normal.get()}) {
    const auto notification = notifier::readNotification(each);
    for (const auto& action : notification.actions)
      if (notification.actionFor(action.key) == nullptr || action.label.empty()) std::abort();
    if (notification.imageData && g_variant_n_children(notification.imageData.get()) != 7) std::abort();
  }
  return 0;
}
