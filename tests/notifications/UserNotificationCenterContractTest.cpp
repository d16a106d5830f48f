// The promises of the notification centre, kept on a desktop's bus and by the fake alike.
#include <optional>

#include "tests/contract/UNUserNotificationCenterContract.h"
#include "tests/fakes/FakeFoundation.h"
#include "tests/fakes/FakeUserNotifications.h"
#include "tests/notifications/CenterFixture.h"
#include "tests/notifications/NotifierFixture.h"
#include "tests/support/MainLoop.h"
#include "tests/support/PrivateBus.h"

namespace contract {

namespace {

using platform_linux::GVariantHandle;

std::string textOf(GVariant* dictionary, const char* key) {
  const GVariantHandle value(g_variant_lookup_value(dictionary, key, G_VARIANT_TYPE_STRING));
  return value ? g_variant_get_string(value.get(), nullptr) : "";
}

std::vector<std::string> buttonsOf(GVariant* dictionary) {
  std::vector<std::string> titles;
  const GVariantHandle buttons(g_variant_lookup_value(dictionary, "buttons", G_VARIANT_TYPE("aa{sv}")));
  for (gsize i = 0; buttons && i < g_variant_n_children(buttons.get()); ++i) {
    const GVariantHandle button(g_variant_get_child_value(buttons.get(), i));
    titles.push_back(textOf(button.get(), "label"));
  }
  return titles;
}

/// A centre on a bus of its own, with a helper that shows what it gets.
class RealCenter : public UNUserNotificationCenterFactory {
 public:
  /// What is under way keeps the connection, which the next centre must not share.
  ~RealCenter() override {
    center_.reset();
    EXPECT_TRUE(test_support::waitUntil([this] { return hold_.expired(); }));
  }
  platform::UNUserNotificationCenter& center() override { return *center_; }
  std::map<std::string, ShownNotification> shown() const override { return shown_; }
  void act(const platform::UNNotificationResponse& response) override { center_->receiveResponse(response); }
  bool runUntil(const std::function<bool()>& condition) override {
    return test_support::waitUntil(condition);
  }

 private:
  std::shared_ptr<void> hold() {
    auto held = hold_.lock();
    if (!held) hold_ = held = std::make_shared<int>(0);
    return held;
  }
  GVariant* show(const camera_shot_tests::MockService::Call& call) {
    const GVariantHandle arguments(
        g_variant_parse(G_VARIANT_TYPE("(ssa{sv})"), call.arguments.c_str(), nullptr, nullptr, nullptr));
    const char* identifier = nullptr;
    GVariant* dictionary = nullptr;
    g_variant_get(arguments.get(), "(&s&s@a{sv})", nullptr, &identifier, &dictionary);
    const GVariantHandle owned(dictionary);
    const std::string body = textOf(dictionary, "body");
    shown_[identifier] = {textOf(dictionary, "title") + (body.empty() ? "" : "\n" + body),
                          buttonsOf(dictionary), !textOf(dictionary, "sound").empty()};
    return g_variant_new("()");
  }

  std::map<std::string, ShownNotification> shown_;
  const test_support::PrivateBus bus_;
  const std::unique_ptr<camera_shot_tests::MockService> helper_ = camera_shot_tests::makeHelper(
      bus_.address(), [this](const camera_shot_tests::MockService::Call& call) { return show(call); });
  const std::unique_ptr<camera_shot_tests::MockService> service_ =
      camera_shot_tests::makeService(bus_.address());
  const platform_linux::SessionBus session_{test_support::kPatience};
  std::weak_ptr<void> hold_;
  std::optional<platform_linux::UserNotificationCenter> center_{
      std::in_place, session_,
      platform_linux::UserNotificationCenterSettings{camera_shot_tests::kApplication,
                                                     camera_shot_tests::applicationActions(), "Show",
                                                     [this] { return hold(); }}};
};

class FakeCenter : public UNUserNotificationCenterFactory {
 public:
  platform::UNUserNotificationCenter& center() override { return center_; }
  std::map<std::string, ShownNotification> shown() const override {
    std::map<std::string, ShownNotification> all;
    for (const auto& [identifier, each] : center_.shown)
      all[identifier] = {each.body, each.buttons, each.hasSound};
    return all;
  }
  void act(const platform::UNNotificationResponse& response) override { center_.act(response); }
  bool runUntil(const std::function<bool()>& condition) override {
    center_.answerAuthorization(true);
    loop_.advance(std::chrono::seconds(1));
    center_.deliver();
    return condition();
  }

 private:
  fakes::Journal journal_;
  fakes::FakeMainLoop loop_;
  fakes::FakeUserNotificationCenter center_{journal_, loop_};
};

template <typename Factory>
std::unique_ptr<UNUserNotificationCenterFactory> make() {
  return std::make_unique<Factory>();
}

INSTANTIATE_TEST_SUITE_P(Linux, UNUserNotificationCenterContract, testing::Values(&make<RealCenter>));
INSTANTIATE_TEST_SUITE_P(Fake, UNUserNotificationCenterContract, testing::Values(&make<FakeCenter>));

}  // namespace

}  // namespace contract
