#include "platform/linux/bus/SessionBus.h"

#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <thread>
#include <utility>

namespace platform_linux {

namespace {

/// Cancels an operation that takes too long, from a thread of its own.
class Deadline {
 public:
  explicit Deadline(std::chrono::milliseconds patience)
      : cancellable_(g_cancellable_new()), watch_([this, patience] {
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
  const GObjectHandle<GCancellable> cancellable_;
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

GDBusConnection* connect() {
  if (!sessionHasBus()) return nullptr;
  const Deadline deadline{std::chrono::milliseconds(kBusPatience)};
  GDBusConnection* const connection = g_bus_get_sync(G_BUS_TYPE_SESSION, deadline.cancellable(), nullptr);
  // The library's default is to kill the program when the bus dies.
  if (connection) g_dbus_connection_set_exit_on_close(connection, FALSE);
  return connection;
}

}  // namespace

SessionBus::SessionBus() : connection_(connect()) {}

GVariantHandle SessionBus::callBus(const char* method, GVariant* arguments, const char* replyType) const {
  const GVariantHandle owned(g_variant_ref_sink(arguments));
  if (!connection_) return nullptr;
  return GVariantHandle(
      g_dbus_connection_call_sync(connection_.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                  "org.freedesktop.DBus", method, owned.get(), G_VARIANT_TYPE(replyType),
                                  G_DBUS_CALL_FLAGS_NO_AUTO_START, kBusPatience, nullptr, nullptr));
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
                         call.method.c_str(), owned.get(), nullptr, G_DBUS_CALL_FLAGS_NONE, call.patience,
                         nullptr, finish, std::make_unique<Done>(std::move(done)).release());
}

}  // namespace platform_linux
