#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/support/BusClient.h"

namespace camera_test {

/// A desktop's camera portal as programs see it, on a connection of its own in the test's main loop. It notes
/// what it is asked; the user's answers come from the test.
class MockPortal {
 public:
  /// Takes the portal's name on the bus at `address`.
  explicit MockPortal(const std::string& address);
  MockPortal(const MockPortal&) = delete;
  MockPortal& operator=(const MockPortal&) = delete;
  /// Leaves the bus, as a crash does.
  ~MockPortal();

  /// Methods that get no reply, and methods that fail, with this D-Bus error.
  std::vector<std::string> silent;
  std::vector<std::string> failing;
  std::string error = "org.freedesktop.portal.Error.NotAllowed";
  /// Opens a socket of the PipeWire daemon; negative: that fails.
  std::function<int()> openRemote = [] { return -1; };

  /// The methods called so far, properties that were read included.
  const std::vector<std::string>& calls() const { return calls_; }
  int countOf(const std::string& method) const;
  /// Turns the main loop until the method has been called `count` times.
  bool waitFor(const std::string& method, int count = 1) const;

  void setCameraPresent(bool present);
  /// Ends the open request with that code: 0 yes, 1 no, 2 neither. The bus has it once this returns.
  void respond(unsigned code);
  /// The open request's object; empty before.
  const std::string& request() const { return request_; }

  /// Where the portal puts requests of `sender` with the token that the program under test uses.
  static std::string requestOf(std::string sender, const std::string& token);
  /// Sends a Response for `request` to everybody, from any connection.
  static void emitResponse(GDBusConnection* from, const std::string& request, unsigned code);

 private:
  void onCall(const char* sender, const std::string& method, GVariant* arguments,
              GDBusMethodInvocation* invocation);
  void returnRemote(GDBusMethodInvocation* invocation) const;

  test_support::BusClient client_;
  guint registration_ = 0;
  bool isCameraPresent_ = false;
  std::vector<std::string> calls_;
  std::string request_;
  std::vector<platform_linux::GObjectRef<GDBusMethodInvocation>> unanswered_;
};

}  // namespace camera_test
