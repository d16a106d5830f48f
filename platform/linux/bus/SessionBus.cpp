#include "platform/linux/bus/SessionBus.h"

#include <algorithm>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <thread>
#include <utility>

#include "platform/linux/bus/BusNames.h"

namespace platform_linux {

namespace {

/// Cancels an operation that takes too long, from a thread of its own.
class Deadline {
 public:
  explicit Deadline(std::chrono::milliseconds patience)
      : cancellable_(GObjectRef<GCancellable>::adopt(g_cancellable_new())), watch_([this, patience] {
          std::unique_lock lock(mutex_);
          if (!condition_.wait_for(lock, patience, [this] { return over_; }))
            g_cancellable_cancel(cancellable_.get());
        }) {}
  Deadline(const Deadline&) = delete;
  Deadline& operator=(const Deadline&) = delete;
  ~Deadline() {
    {
      const std::scoped_lock lock(mutex_);
      over_ = true;
    }
    condition_.notify_one();
    watch_.join();
  }

  GCancellable* cancellable() const { return cancellable_.get(); }

 private:
  const GObjectRef<GCancellable> cancellable_;
  std::mutex mutex_;
  std::condition_variable condition_;
  bool over_ = false;
  std::thread watch_;
};

/// Whether the session has a bus of its own. Without this test the library would start one for the occasion,
/// which nobody else would ever use.
bool sessionHasBus() {
  if (const char* const address = std::getenv("DBUS_SESSION_BUS_ADDRESS")) return *address != '\0';
  std::error_code error;
  return std::filesystem::exists(std::filesystem::path(g_get_user_runtime_dir()) / "bus", error);
}

GDBusConnection* connect(std::chrono::milliseconds patience) {
  if (!sessionHasBus()) return nullptr;
  const Deadline deadline{patience};
  GDBusConnection* const connection = g_bus_get_sync(G_BUS_TYPE_SESSION, deadline.cancellable(), nullptr);
  // The library's default is to kill the program when the bus dies.
  if (connection) g_dbus_connection_set_exit_on_close(connection, FALSE);
  return connection;
}

}  // namespace

SessionBus::SessionBus(std::chrono::milliseconds patience)
    : patience_(patience), connection_(GObjectRef<GDBusConnection>::adopt(connect(patience))) {}

GVariantHandle SessionBus::callBus(const char* method, GVariant* arguments, const char* replyType) const {
  const GVariantHandle owned(g_variant_ref_sink(arguments));
  if (!connection_) return nullptr;
  return GVariantHandle(g_dbus_connection_call_sync(
      connection_.get(), kBus, kBusPath, kBus, method, owned.get(), G_VARIANT_TYPE(replyType),
      G_DBUS_CALL_FLAGS_NO_AUTO_START, static_cast<int>(patience_.count()), nullptr, nullptr));
}

SessionBus::Call SessionBus::toBus(const std::string& method, GVariant* arguments) {
  return {kBus, kBusPath, kBus, method, arguments};
}

void SessionBus::call(const Call& call, std::function<void(GVariant*, const GError*)> done) const {
  using Done = std::function<void(GVariant*, const GError*)>;
  const GVariantHandle owned(g_variant_ref_sink(call.arguments));
  if (!connection_) {
    const GError noBus{G_IO_ERROR, G_IO_ERROR_NOT_CONNECTED, g_strdup("no session bus")};
    const GStringHandle message(noBus.message);
    done(nullptr, &noBus);
    return;
  }
  const GAsyncReadyCallback finish = [](GObject* source, GAsyncResult* result, gpointer data) noexcept {
    const std::unique_ptr<Done> handler(static_cast<Done*>(data));
    GErrorHandle error;
    const GVariantHandle reply(g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, error.out()));
    (*handler)(reply.get(), error.get());
  };
  g_dbus_connection_call(connection_.get(), call.name.c_str(), call.path.c_str(), call.interface.c_str(),
                         call.method.c_str(), owned.get(), nullptr, call.flags,
                         static_cast<int>(call.patience.value_or(patience_).count()), nullptr, finish,
                         std::make_unique<Done>(std::move(done)).release());
}

std::string objectPath(const std::string& busName) {
  std::string path = "/" + busName;
  std::replace(path.begin(), path.end(), '.', '/');
  std::replace(path.begin(), path.end(), '-', '_');
  return path;
}

bool isLate(const GError* error) {
  return g_error_matches(error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT) ||
         g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_NO_REPLY);
}

bool hasType(GVariant* reply, const char* type) {
  return reply && g_variant_is_of_type(reply, G_VARIANT_TYPE(type));
}

}  // namespace platform_linux
