#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "notifier/Daemon.h"
#include "notifier/Notification.h"
#include "platform/linux/desktop/SoundProcess.h"

namespace notifier {

/// The application's bubbles on the screen: one an identifier, a later one in the place of the earlier. A
/// click starts the application's action, on the running application or on one that the bus starts, and
/// removes the bubble.
///
/// An id is only ever given back to the daemon that made it: others adopt ids that they do not know. What
/// bubbles there were is forgotten when this program ends, so after it was killed a notification starts
/// afresh, and a click on a bubble of before does nothing.
class Bubbles : public DaemonListener {
 public:
  /// `onChange` is called whenever `empty()` may have changed. `bus` outlives this.
  Bubbles(const platform_linux::SessionBus& bus, std::function<void()> onChange);

  void post(const std::string& applicationId, const std::string& identifier, Notification notification);
  /// Whether nothing is on the screen and nothing is under way.
  [[nodiscard]] bool empty() const { return bubbles_.empty() && callsUnderWay_ == 0; }

  void bubbleClosed(const std::string& daemon, std::uint32_t id) override;
  void activationToken(const std::string& daemon, std::uint32_t id, const std::string& token) override;
  void actionInvoked(const std::string& daemon, std::uint32_t id, const std::string& actionKey) override;
  void daemonGone(const std::string& daemon) override;

 private:
  using Key = std::pair<std::string, std::string>;  // application id, identifier
  struct Bubble {
    std::string daemon;
    std::uint32_t id = 0;  ///< 0: none is on the screen
    Notification shown;
    std::string activationToken;
    /// The newest notification that has not been sent yet: one at a time is, since the next needs its id.
    std::optional<Notification> next;
    bool sending = false;
  };
  using BubbleMap = std::map<Key, Bubble>;
  /// One that the service has said to be closed, and not a click before.
  struct ClosedBubble {
    Key key;
    Bubble bubble;
    std::chrono::steady_clock::time_point when;
  };

  enum class Attempt { First, Second };
  void sendNext(const Key& key);
  void send(const Key& key, const Notification& notification, Attempt attempt);
  void sent(const Key& key, const std::string& daemon, std::uint32_t id, const Notification& notification);
  void notSent(const Key& key, const Notification& notification);
  void playSound(const std::string& applicationId, const std::string& daemon);
  void settle(const Key& key);
  void rememberClosed(const Key& key, const Bubble& bubble);
  void forgetLongClosed();
  void clickClosed(const std::string& daemon, std::uint32_t id, const std::string& actionKey);
  std::vector<ClosedBubble>::iterator closedBubble(const std::string& daemon, std::uint32_t id);
  BubbleMap::iterator bubbleOf(const std::string& daemon, std::uint32_t id);
  [[nodiscard]] bool anySending() const;
  void activate(const Key& key, const Bubble& bubble, const Action& action);
  void close(const std::string& daemon, std::uint32_t id);
  void callDone();

  const platform_linux::SessionBus& bus_;
  const std::function<void()> onChange_;
  BubbleMap bubbles_;
  /// Bubbles that were closed before the answer that told their id: daemon and id.
  std::set<std::pair<std::string, std::uint32_t>> closedEarly_;
  /// Some services tell a click after the closing (awesome, its issue 3836).
  std::vector<ClosedBubble> lastClosed_;
  int callsUnderWay_ = 0;
  /// One at a time: of notifications that come together one is heard.
  platform_linux::SoundProcess sound_{"/proc/self/exe", 1};
  /// Last, so that its replies and signals end first.
  Daemon daemon_;
};

}  // namespace notifier
