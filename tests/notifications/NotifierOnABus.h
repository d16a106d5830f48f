#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "tests/notifications/NotifierFixture.h"
#include "tests/support/MainLoop.h"
#include "tests/support/PrivateBus.h"

namespace camera_shot_tests {

/// A bus that starts the helper, and a service that notes what the helper asks of it.
class Notifier : public testing::Test {
 protected:
  Notifier() { bus_.addService(kNotifier, {NOTIFIER_PROGRAM}); }

  /// By another service from now on, which answers so.
  void serve(MockService::Answer answer, Disturbing disturbing = Disturbing::Unknown) {
    service_ = nullptr;
    service_ = makeService(bus_.address(), std::move(answer), disturbing);
  }
  bool waitForNotifications(std::size_t number) const { return waitForCallsOf("Notify", number); }
  bool waitForCallsOf(const std::string& method, std::size_t number) const {
    return test_support::waitUntil([&] { return service_->callsOf(method).size() >= number; });
  }
  bool helperLeaves() const { return service_->client().waitUntilUnowned(kNotifier); }
  void click(std::uint32_t id, const char* key) const {
    service_->emit("ActionInvoked", g_variant_new("(us)", id, key));
  }
  void close(std::uint32_t id) const { service_->emit("NotificationClosed", g_variant_new("(uu)", id, 2U)); }

  test_support::PrivateBus bus_;
  std::unique_ptr<MockService> service_ = makeService(bus_.address());
};

}  // namespace camera_shot_tests
