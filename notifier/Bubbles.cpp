#include "notifier/Bubbles.h"

#include <algorithm>
#include <chrono>
#include <memory>

#include "platform/linux/bus/BusNames.h"

namespace notifier {
namespace {

/// A whole start of the application.
constexpr std::chrono::milliseconds kApplicationPatience{10000};
/// How long after a closing its click still counts; this program stays longer than that.
constexpr std::chrono::milliseconds kLateClick{1000};

/// What lets the application take the focus in answer to the click, under its names on Wayland and X11.
/// Floating.
GVariant* platformData(const std::string& activationToken) {
  GVariantBuilder data;
  g_variant_builder_init(&data, G_VARIANT_TYPE_VARDICT);
  if (!activationToken.empty())
    for (const char* key : {"activation-token", "desktop-startup-id"})
      g_variant_builder_add(&data, "{sv}", key, g_variant_new_string(activationToken.c_str()));
  return g_variant_builder_end(&data);
}

/// Floating.
GVariant* actionArguments(const Action& action, const std::string& activationToken) {
  GVariantBuilder parameters;
  g_variant_builder_init(&parameters, G_VARIANT_TYPE("av"));
  g_variant_builder_add(&parameters, "v", g_variant_new_string(action.target.c_str()));
  return g_variant_new("(sav@a{sv})", action.name.c_str(), &parameters, platformData(activationToken));
}

}  // namespace

Bubbles::Bubbles(const platform_linux::SessionBus& bus, std::function<void()> onChange)
    : bus_(bus), onChange_(std::move(onChange)), daemon_(bus, *this) {}

void Bubbles::post(const std::string& applicationId, const std::string& identifier,
                   Notification notification) {
  const Key key{applicationId, identifier};
  Bubble& bubble = bubbles_[key];
  bubble.next = std::move(notification);
  if (!bubble.sending) sendNext(key);
  onChange_();
}

void Bubbles::sendNext(const Key& key) {
  Bubble& bubble = bubbles_.at(key);
  bubble.sending = true;
  const Notification notification = std::move(*bubble.next);
  bubble.next.reset();
  send(key, notification, Attempt::First);
}

void Bubbles::send(const Key& key, const Notification& notification, Attempt attempt) {
  daemon_.find([=, this](const std::optional<Daemon::Instance>& instance) {
    if (!instance) {
      notSent(key, notification);
      return;
    }
    const Bubble& bubble = bubbles_.at(key);
    // What replaces a notification in a list moves there unseen (Plasma 5.27); a new one is shown first.
    const bool mayReplace = bubble.daemon == instance->name && !instance->keepsList;
    const std::uint32_t replaces = mayReplace ? bubble.id : 0;
    daemon_.notify(*instance, key.first, replaces, notification,
                   [=, this, name = instance->name](std::optional<std::uint32_t> id, bool gone) {
                     if (id)
                       sent(key, name, *id, notification);
                     else if (gone && attempt == Attempt::First)
                       send(key, notification, Attempt::Second);
                     else
                       notSent(key, notification);
                   });
  });
}

void Bubbles::sent(const Key& key, const std::string& daemon, std::uint32_t id,
                   const Notification& notification) {
  Bubble& bubble = bubbles_.at(key);
  if (bubble.id != 0 && bubble.id != id && bubble.daemon == daemon) close(daemon, bubble.id);
  bubble.daemon = daemon;
  bubble.id = closedEarly_.contains({daemon, id}) ? 0 : id;
  bubble.shown = notification;
  bubble.activationToken.clear();
  if (notification.sound) playSound(key.first, daemon);
  settle(key);
}

void Bubbles::playSound(const std::string& applicationId, const std::string& daemon) {
  ++callsUnderWay_;
  daemon_.askWhetherToBeQuiet(daemon, [this, applicationId](bool quiet) {
    if (!quiet) sound_.play(platform_linux::notificationSound(applicationId));
    callDone();
  });
}

void Bubbles::notSent(const Key& key, const Notification& notification) {
  // A service that finds them too many refuses to replace; what is on the screen then stands for the newest.
  bubbles_.at(key).shown = notification;
  settle(key);
}

void Bubbles::settle(const Key& key) {
  Bubble& bubble = bubbles_.at(key);
  bubble.sending = false;
  if (!anySending()) closedEarly_.clear();
  if (bubble.next)
    sendNext(key);
  else if (bubble.id == 0)
    bubbles_.erase(key);
  onChange_();
}

void Bubbles::bubbleClosed(const std::string& daemon, std::uint32_t id) {
  const auto found = bubbleOf(daemon, id);
  if (found == bubbles_.end()) {
    if (anySending()) closedEarly_.insert({daemon, id});
    return;
  }
  rememberClosed(found->first, found->second);
  if (found->second.sending)
    found->second.id = 0;
  else
    bubbles_.erase(found);
  onChange_();
}

void Bubbles::rememberClosed(const Key& key, const Bubble& bubble) {
  forgetLongClosed();
  lastClosed_.push_back({key, bubble, std::chrono::steady_clock::now()});
}

void Bubbles::forgetLongClosed() {
  const auto now = std::chrono::steady_clock::now();
  std::erase_if(lastClosed_, [&](const ClosedBubble& closed) { return now - closed.when > kLateClick; });
}

void Bubbles::activationToken(const std::string& daemon, std::uint32_t id, const std::string& token) {
  const auto found = bubbleOf(daemon, id);
  if (found != bubbles_.end()) found->second.activationToken = token;
  const auto closed = closedBubble(daemon, id);
  if (closed != lastClosed_.end()) closed->bubble.activationToken = token;
}

void Bubbles::actionInvoked(const std::string& daemon, std::uint32_t id, const std::string& actionKey) {
  const auto found = bubbleOf(daemon, id);
  if (found == bubbles_.end()) {
    clickClosed(daemon, id, actionKey);
    return;
  }
  const Action* const action = found->second.shown.actionFor(actionKey);
  if (!action) return;
  activate(found->first, found->second, *action);
  // One that is just being replaced is the new notification's already.
  if (found->second.sending) return;
  // Some services leave the bubble where it is.
  close(daemon, id);
  bubbles_.erase(found);
  onChange_();
}

void Bubbles::clickClosed(const std::string& daemon, std::uint32_t id, const std::string& actionKey) {
  const auto closed = closedBubble(daemon, id);
  if (closed == lastClosed_.end()) return;
  const Action* const action = closed->bubble.shown.actionFor(actionKey);
  if (!action) return;
  activate(closed->key, closed->bubble, *action);
  lastClosed_.erase(closed);
  onChange_();
}

std::vector<Bubbles::ClosedBubble>::iterator Bubbles::closedBubble(const std::string& daemon,
                                                                   std::uint32_t id) {
  forgetLongClosed();
  return std::ranges::find_if(lastClosed_, [&](const ClosedBubble& closed) {
    return closed.bubble.daemon == daemon && closed.bubble.id == id;
  });
}

void Bubbles::daemonGone(const std::string& daemon) {
  for (auto next = bubbles_.begin(); next != bubbles_.end();) {
    const auto bubble = next++;
    if (bubble->second.daemon != daemon) continue;
    bubble->second.id = 0;
    if (!bubble->second.sending) bubbles_.erase(bubble);
  }
  onChange_();
}

Bubbles::BubbleMap::iterator Bubbles::bubbleOf(const std::string& daemon, std::uint32_t id) {
  return std::ranges::find_if(
      bubbles_, [&](const auto& entry) { return entry.second.daemon == daemon && entry.second.id == id; });
}

bool Bubbles::anySending() const {
  return std::ranges::any_of(bubbles_, [](const auto& entry) { return entry.second.sending; });
}

void Bubbles::activate(const Key& key, const Bubble& bubble, const Action& action) {
  const std::string& application = key.first;
  ++callsUnderWay_;
  bus_.call({application, platform_linux::objectPath(application), platform_linux::kApplicationInterface,
             "ActivateAction", actionArguments(action, bubble.activationToken), kApplicationPatience},
            [this](GVariant*, const GError* error) {
              if (error) g_message("The application does not answer a click: %s", error->message);
              callDone();
            });
}

void Bubbles::close(const std::string& daemon, std::uint32_t id) {
  ++callsUnderWay_;
  daemon_.close(daemon, id, [this] { callDone(); });
}

void Bubbles::callDone() {
  --callsUnderWay_;
  onChange_();
}

}  // namespace notifier
