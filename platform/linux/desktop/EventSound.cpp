#include "platform/linux/desktop/EventSound.h"

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <dlfcn.h>
#include <future>
#include <memory>
#include <optional>
#include <string_view>
#include <unistd.h>

#include <canberra.h>
#include <gio/gio.h>

#include "platform/linux/base/Handles.h"

namespace platform_linux {
namespace {

constexpr const char* kNotificationOf = "--notification-of=";
/// Tells this playback from others of the same context, of which there are none.
constexpr std::uint32_t kPlayback = 1;

/// The functions of libcanberra that are used. Not linked: every start of a program that may play a sound
/// would cost 1.5 ms and 0.8 MB more (measured on Debian 12), and the library may be missing.
struct CanberraLibrary {
  decltype(&ca_context_create) contextCreate;
  decltype(&ca_context_play_full) contextPlayFull;
  decltype(&ca_proplist_create) proplistCreate;
  decltype(&ca_proplist_sets) proplistSets;
};

template <typename Function>
bool find(void* library, const char* name, Function& function) {
  function = reinterpret_cast<Function>(dlsym(library, name));
  return function != nullptr;
}

std::optional<CanberraLibrary> loadCanberra() {
  void* const library = dlopen("libcanberra.so.0", RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  CanberraLibrary functions{};
  if (library && find(library, "ca_context_create", functions.contextCreate) &&
      find(library, "ca_context_play_full", functions.contextPlayFull) &&
      find(library, "ca_proplist_create", functions.proplistCreate) &&
      find(library, "ca_proplist_sets", functions.proplistSets))
    return functions;
  return std::nullopt;
}

void onFinished(ca_context*, std::uint32_t, int, void* data) noexcept {
  static_cast<std::promise<void>*>(data)->set_value();
}

/// Plays one event to its end; whether the theme had it.
bool playToItsEnd(const CanberraLibrary& library, ca_context* context, const std::string& event) {
  ca_proplist* properties = nullptr;
  library.proplistCreate(&properties);
  library.proplistSets(properties, CA_PROP_EVENT_ID, event.c_str());
  std::promise<void> finished;
  if (library.contextPlayFull(context, kPlayback, properties, onFinished, &finished) != CA_SUCCESS)
    return false;
  finished.get_future().wait();
  return true;
}

void play(const std::vector<std::string>& events) {
  const auto library = loadCanberra();
  ca_context* context = nullptr;
  if (!library || library->contextCreate(&context) != CA_SUCCESS) return;
  for (const std::string& event : events)
    if (playToItsEnd(*library, context, event)) return;
  // The context is not destroyed: that can hang for good, where ALSA plays through PipeWire and there is no
  // sink. The end of the process does it.
}

struct SchemaDeleter {
  void operator()(GSettingsSchema* schema) const { g_settings_schema_unref(schema); }
};

/// A desktop's setting, which is on where the desktop has no such setting. `path` for settings that exist
/// several times, else null.
bool isOn(const char* schemaName, const char* path, const char* key) {
  GSettingsSchemaSource* const installed = g_settings_schema_source_get_default();
  if (!installed) return true;
  // Looked up first: a missing schema would end the program.
  const std::unique_ptr<GSettingsSchema, SchemaDeleter> schema(
      g_settings_schema_source_lookup(installed, schemaName, TRUE));
  if (!schema || !g_settings_schema_has_key(schema.get(), key)) return true;
  const auto settings = GObjectRef<GSettings>::adopt(g_settings_new_full(schema.get(), nullptr, path));
  const GVariantHandle value(g_settings_get_value(settings.get(), key));
  return !g_variant_is_of_type(value.get(), G_VARIANT_TYPE_BOOLEAN) || g_variant_get_boolean(value.get());
}

/// Where GNOME keeps what its user has chosen for one application: "com.example.App" is "com-example-app".
std::string applicationSettings(const std::string& applicationId) {
  std::string name;
  for (const char letter : applicationId)
    name += g_ascii_isalnum(letter) || letter == '-' ? g_ascii_tolower(letter) : '-';
  return "/org/gnome/desktop/notifications/application/" + name + "/";
}

bool isWanted(const EventSound& sound) {
  if (!isOn("org.gnome.desktop.sound", nullptr, "event-sounds")) return false;
  if (sound.notificationOf.empty()) return true;
  const std::string own = applicationSettings(sound.notificationOf);
  constexpr const char* kOwnSchema = "org.gnome.desktop.notifications.application";
  return isOn("org.gnome.desktop.notifications", nullptr, "show-banners") &&
         isOn(kOwnSchema, own.c_str(), "enable") && isOn(kOwnSchema, own.c_str(), "show-banners") &&
         isOn(kOwnSchema, own.c_str(), "enable-sound-alerts");
}

/// Lets the system end this process, whatever its threads are doing then and whatever its parent had done
/// with the signal.
void endWithin(unsigned seconds) {
  std::signal(SIGALRM, SIG_DFL);
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGALRM);
  sigprocmask(SIG_UNBLOCK, &signals, nullptr);
  alarm(seconds);
}

}  // namespace

std::vector<std::string> EventSound::words() const {
  std::vector<std::string> words = events;
  if (!notificationOf.empty()) words.insert(words.begin(), kNotificationOf + notificationOf);
  return words;
}

EventSound EventSound::fromWords(const std::vector<std::string>& words) {
  EventSound sound;
  for (const std::string& word : words)
    if (word.starts_with(kNotificationOf))
      sound.notificationOf = word.substr(std::string_view(kNotificationOf).size());
    else
      sound.events.push_back(word);
  return sound;
}

EventSound notificationSound(const std::string& applicationId) {
  return {{"message-new-instant", "dialog-information"}, applicationId};
}

void playEventSoundAndExit(const EventSound& sound) noexcept {
  endWithin(kLongestSoundSeconds);
  if (isWanted(sound)) play(sound.events);
  // Without the library's own clearing up, which may hang, too.
  _exit(EXIT_SUCCESS);
}

}  // namespace platform_linux
