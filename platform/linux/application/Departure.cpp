#include "platform/linux/application/Departure.h"

#include <algorithm>
#include <utility>

#include "platform/linux/bus/BusNames.h"

namespace platform_linux {

namespace {

using std::chrono::milliseconds;

/// How long a call that was handed on may take.
constexpr milliseconds kHandOnPatience{10000};

}  // namespace

class Departure::Steps : public std::enable_shared_from_this<Departure::Steps> {
 public:
  Steps(const SessionBus& bus, std::vector<std::string> names) : bus_(bus), names_(std::move(names)) {}
  Steps(const Steps&) = delete;
  Steps& operator=(const Steps&) = delete;
  ~Steps() {
    if (deadline_) g_source_remove(deadline_);
  }

  std::shared_ptr<void> hold(milliseconds patience) {
    std::erase_if(holds_, [](const Hold& hold) { return hold.held.expired(); });
    std::shared_ptr<void> held(nullptr, [weak = weak_from_this()](void*) {
      if (const auto self = weak.lock()) self->advance();
    });
    holds_.push_back({held, patience});
    return held;
  }

  void begin(std::function<void()> gone) {
    gone_ = std::move(gone);
    begun_ = std::chrono::steady_clock::now();
    // Every call that the bus sent us under a name is in our hands when it answers that the name is given
    // back.
    for (const std::string& name : names_)
      callBus("ReleaseName", g_variant_new("(s)", name.c_str()));
    namesReleased_ = underWay_ == 0;
    advance();
  }

  void handOn(DesktopCall call) {
    if (namesReleased_)
      send(std::move(call));
    else
      waiting_.push_back(std::move(call));
  }

 private:
  struct Hold {
    std::weak_ptr<void> held;
    milliseconds patience;
  };

  void callBus(const char* method, GVariant* arguments) {
    if (!bus_.connection()) {
      const GVariantHandle dropped(g_variant_ref_sink(arguments));
      return;
    }
    ++underWay_;
    bus_.call(SessionBus::toBus(method, arguments), [weak = weak_from_this()](GVariant*, const GError*) {
      if (const auto self = weak.lock()) self->oneLess();
    });
  }

  void send(DesktopCall call) {
    ++underWay_;
    const std::string& name = names_.back();
    const auto shared = std::make_shared<DesktopCall>(std::move(call));
    bus_.call({name, objectPath(name), kApplicationInterface, shared->method(), shared->arguments(),
               kHandOnPatience},
              [weak = weak_from_this(), shared](GVariant*, const GError* error) {
                if (error)
                  shared->refuse(error->message);
                else
                  shared->answer();
                if (const auto self = weak.lock()) self->oneLess();
              });
  }

  void oneLess() {
    --underWay_;
    advance();
  }

  void advance() {
    if (!gone_ || underWay_ > 0) return;
    if (!namesReleased_) {
      namesReleased_ = true;
      for (DesktopCall& call : std::exchange(waiting_, {}))
        send(std::move(call));
    }
    if (underWay_ > 0) return;
    if (const milliseconds left = longestHold(); left > milliseconds::zero())
      advanceAfter(left);
    else
      flush();
  }

  /// How long to wait still for what must not be cut off.
  milliseconds longestHold() const {
    const auto passed = std::chrono::floor<milliseconds>(std::chrono::steady_clock::now() - begun_);
    milliseconds longest = milliseconds::zero();
    for (const Hold& hold : holds_)
      if (!hold.held.expired()) longest = std::max(longest, hold.patience - passed);
    return longest;
  }

  void advanceAfter(milliseconds delay) {
    if (deadline_) g_source_remove(deadline_);
    deadline_ = g_timeout_add_full(
        G_PRIORITY_DEFAULT, static_cast<guint>(delay.count()),
        [](gpointer data) noexcept -> gboolean {
          auto* const self = static_cast<Steps*>(data);
          self->deadline_ = 0;
          self->advance();
          return G_SOURCE_REMOVE;
        },
        this, nullptr);
  }

  /// Sends what is still to be sent: the answers to the last calls and whatever others said.
  void flush() {
    if (flushing_) return;
    flushing_ = true;
    if (!bus_.connection()) {
      gone_();
      return;
    }
    // A call comes back only after everything before it went out, and unlike a flush it can be bounded.
    bus_.call(SessionBus::toBus("GetId", g_variant_new("()")),
              [weak = weak_from_this()](GVariant*, const GError*) {
                if (const auto self = weak.lock()) self->gone_();
              });
  }

  const SessionBus& bus_;
  const std::vector<std::string> names_;
  std::function<void()> gone_;  ///< set once the end has begun
  std::chrono::steady_clock::time_point begun_;
  std::vector<Hold> holds_;
  bool namesReleased_ = false;
  bool flushing_ = false;
  int underWay_ = 0;  ///< our calls on the bus without an answer
  std::vector<DesktopCall> waiting_;
  guint deadline_ = 0;
};

Departure::Departure(const SessionBus& bus, std::vector<std::string> names)
    : steps_(std::make_shared<Steps>(bus, std::move(names))) {}

Departure::~Departure() = default;

std::shared_ptr<void> Departure::hold(milliseconds patience) {
  return steps_->hold(patience);
}

void Departure::begin(std::function<void()> gone) {
  steps_->begin(std::move(gone));
}

void Departure::handOn(DesktopCall call) {
  steps_->handOn(std::move(call));
}

}  // namespace platform_linux
