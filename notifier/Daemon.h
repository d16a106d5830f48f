#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "notifier/Notification.h"
#include "platform/linux/bus/SessionBus.h"

namespace notifier {

/// What the desktop's notification service tells. `daemon` is the unique bus name of the process that says
/// it: an `id` means nothing to any other.
class DaemonListener {
 public:
  virtual ~DaemonListener() = default;

  virtual void bubbleClosed(const std::string& daemon, std::uint32_t id) = 0;
  /// Comes right before `actionInvoked`, from services that know of activation tokens.
  virtual void activationToken(const std::string& daemon, std::uint32_t id, const std::string& token) = 0;
  virtual void actionInvoked(const std::string& daemon, std::uint32_t id, const std::string& actionKey) = 0;
  /// It has ended or given its place to another, and its bubbles went with it.
  virtual void daemonGone(const std::string& daemon) = 0;
};

/// The desktop's notification service, `org.freedesktop.Notifications`. Every answer comes on a later turn of
/// the main loop, within kDaemonPatience per call, the first within kStartPatience. Main thread only.
class Daemon {
 public:
  /// Nobody waits for it but this program itself.
  static constexpr std::chrono::milliseconds kDaemonPatience{10000};
  /// Of the first call, for which the bus may have to start the service: so long does the bus itself wait for
  /// that (dbus-daemon's session.conf), and Plasma's waits a minute for the shell.
  static constexpr std::chrono::milliseconds kStartPatience{120000};

  /// One process that is the service.
  struct Instance {
    std::string name;  ///< its unique bus name
    bool takesActions = false;
    bool readsMarkup = false;
    /// Whether a list keeps notifications, to be clicked there, when their bubbles have gone.
    bool keepsList = false;
  };
  using FindHandler = std::function<void(const std::optional<Instance>& instance)>;
  /// `id` or nothing; then `gone` says whether the instance was not there any more.
  using NotifyHandler = std::function<void(std::optional<std::uint32_t> id, bool gone)>;

  /// Both outlive this; replies that come after its end are dropped.
  Daemon(const platform_linux::SessionBus& bus, DaemonListener& listener);
  Daemon(const Daemon&) = delete;
  Daemon& operator=(const Daemon&) = delete;
  ~Daemon();

  /// Finds the service, starting it where the bus can. Handlers are called in the order of the questions.
  void find(FindHandler handler);
  /// Shows a bubble, in the place of `replaces` unless that is 0. It stays until the user removes it, so that
  /// no click is lost, unless a list keeps it or there is nothing to click.
  void notify(const Instance& instance, const std::string& applicationId, std::uint32_t replaces,
              const Notification& notification, NotifyHandler handler);
  /// Whether the user is not to be disturbed; false where neither the service nor its desktop says so.
  void askWhetherToBeQuiet(const std::string& daemon, std::function<void(bool quiet)> handler);
  /// Removes a bubble; `done` runs whether or not there was one.
  void close(const std::string& daemon, std::uint32_t id, std::function<void()> done);

 private:
  void findList(Instance instance);
  void findName(Instance instance);
  void found(const std::optional<Instance>& instance);
  void onDaemonSignal(const std::string& sender, const std::string& signal, GVariant* parameters);
  void onOwnerChanged(GVariant* parameters);

  const platform_linux::SessionBus& bus_;
  DaemonListener& listener_;
  std::optional<Instance> known_;
  std::vector<FindHandler> waiting_;  ///< for the answer to the one question under way
  guint signals_ = 0;
  guint owners_ = 0;
  /// Gone with this object: replies look at it.
  const std::shared_ptr<Daemon*> self_ = std::make_shared<Daemon*>(this);
};

}  // namespace notifier
