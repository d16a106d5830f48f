#include "tests/notifications/TestBus.h"

#include <array>
#include <cstdlib>
#include <fstream>
#include <poll.h>
#include <signal.h>
#include <stdexcept>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace camera_shot_tests {
namespace {

using platform_linux::GErrorHandle;
using platform_linux::GObjectRef;
using platform_linux::GVariantHandle;

constexpr int kLimit = 20000;  // milliseconds

void writeConfiguration(const std::filesystem::path& folder) {
  std::filesystem::create_directory(folder / "services");
  std::ofstream(folder / "bus.conf") << R"(<busconfig>
  <type>session</type>
  <listen>unix:path=)" << (folder / "bus").string()
                                     << R"(</listen>
  <auth>EXTERNAL</auth>
  <servicedir>)" << (folder / "services").string()
                                     << R"(</servicedir>
  <policy context="default"><allow send_destination="*"/><allow receive_sender="*"/><allow own="*"/></policy>
</busconfig>
)";
}

/// Starts the bus and returns once it listens.
GPid startBus(const std::filesystem::path& folder) {
  const std::string configuration = "--config-file=" + (folder / "bus.conf").string();
  const std::array<const char*, 6> command{
      "dbus-daemon", "--nofork", "--nosyslog", "--print-address=1", configuration.c_str(), nullptr};
  GPid process = 0;
  int output = -1;
  GErrorHandle error;
  if (!g_spawn_async_with_pipes(nullptr, const_cast<char**>(command.data()), nullptr,
                                static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_DO_NOT_REAP_CHILD |
                                                         G_SPAWN_STDERR_TO_DEV_NULL),
                                nullptr, nullptr, &process, nullptr, &output, nullptr, error.out()))
    throw std::runtime_error(error.message());
  pollfd ready{output, POLLIN, 0};
  const bool listens = poll(&ready, 1, kLimit) == 1 && (ready.revents & POLLIN);
  close(output);
  if (!listens) throw std::runtime_error("the bus does not start");
  return process;
}

GDBusConnection* connectTo(const std::string& address) {
  GErrorHandle error;
  GDBusConnection* const connection = g_dbus_connection_new_for_address_sync(
      address.c_str(),
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
      nullptr, nullptr, error.out());
  if (!connection) throw std::runtime_error(error.message());
  return connection;
}

}  // namespace

bool waitUntil(const std::function<bool()>& done, std::chrono::seconds limit) {
  bool late = false;
  const auto expire = [](gpointer flag) noexcept -> gboolean {
    *static_cast<bool*>(flag) = true;
    return G_SOURCE_CONTINUE;
  };
  const guint timer = g_timeout_add_seconds(static_cast<guint>(limit.count()), expire, &late);
  while (!done() && !late)
    g_main_context_iteration(nullptr, TRUE);
  g_source_remove(timer);
  return done();
}

bool waitForEnd(pid_t process) {
  const auto descriptor = static_cast<int>(syscall(SYS_pidfd_open, process, 0));
  if (descriptor < 0) return true;
  pollfd ended{descriptor, POLLIN, 0};
  const bool over = poll(&ended, 1, kLimit) == 1;
  close(descriptor);
  return over;
}

bool waitUntilChildless(pid_t process) {
  const std::string name = std::to_string(process);
  std::ifstream children("/proc/" + name + "/task/" + name + "/children");
  // Its main thread, which starts them all, is the one whose children these are.
  for (pid_t child = 0; children >> child;)
    if (!waitForEnd(child)) return false;
  return true;
}

TemporaryFolder::TemporaryFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "notifications-XXXXXX").string();
  if (!mkdtemp(pattern.data())) throw std::system_error(errno, std::generic_category(), pattern);
  path_ = pattern;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

BusClient::BusClient(const std::string& address)
    : connection_(GObjectRef<GDBusConnection>::adopt(connectTo(address))) {}

BusClient::~BusClient() {
  g_dbus_connection_close_sync(connection_.get(), nullptr, nullptr);
}

GVariantHandle BusClient::ask(const char* method, GVariant* arguments) const {
  const GVariantHandle reply(g_dbus_connection_call_sync(
      connection(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method,
      arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, kLimit, nullptr, nullptr));
  const bool hasValue = reply && g_variant_n_children(reply.get()) > 0;
  return GVariantHandle(hasValue ? g_variant_get_child_value(reply.get(), 0) : nullptr);
}

bool BusClient::hasOwner(const std::string& name) const {
  return g_variant_get_boolean(ask("NameHasOwner", g_variant_new("(s)", name.c_str())).get());
}

bool BusClient::waitUntilUnowned(const std::string& name) const {
  // Each change of the owner is a turn of the main loop, on which the question is put again.
  const guint changes = g_dbus_connection_signal_subscribe(
      connection(), "org.freedesktop.DBus", "org.freedesktop.DBus", "NameOwnerChanged",
      "/org/freedesktop/DBus", name.c_str(), G_DBUS_SIGNAL_FLAGS_NONE,
      [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*, gpointer) noexcept {
      },
      nullptr, nullptr);
  const bool unowned = waitUntil([&] { return !hasOwner(name); });
  g_dbus_connection_signal_unsubscribe(connection(), changes);
  return unowned;
}

pid_t BusClient::processOf(const std::string& name) const {
  const GVariantHandle process = ask("GetConnectionUnixProcessID", g_variant_new("(s)", name.c_str()));
  return process ? static_cast<pid_t>(g_variant_get_uint32(process.get())) : 0;
}

TestBus::TestBus() : address_("unix:path=" + (folder_.path() / "bus").string()) {
  setenv("DBUS_SESSION_BUS_ADDRESS", address_.c_str(), 1);
  writeConfiguration(folder_.path());
  process_ = startBus(folder_.path());
}

TestBus::~TestBus() {
  stop();
}

void TestBus::addService(const std::string& name, const std::string& program) {
  std::ofstream(folder_.path() / "services" / (name + ".service"))
      << "[D-BUS Service]\nName=" << name << "\nExec=\"" << program << "\"\n";
  BusClient(address_).ask("ReloadConfig", nullptr);
}

void TestBus::pause() const {
  kill(process_, SIGSTOP);
  waitpid(process_, nullptr, WUNTRACED);
}

void TestBus::resume() const {
  kill(process_, SIGCONT);
}

void TestBus::stop() {
  if (!process_) return;
  kill(process_, SIGTERM);
  waitpid(process_, nullptr, 0);
  process_ = 0;
}

}  // namespace camera_shot_tests
