#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/support/BusClient.h"

namespace camera_shot_tests {

/// A program on the bus as far as others see it: it has a name and one object, notes what it is asked and
/// answers as the test says. It lives on a connection of its own in the main loop of the test.
class MockService {
 public:
  struct Call {
    std::string method;
    std::string arguments;  ///< as GVariant's text form
    std::string sender;
  };
  /// Floating, a tuple; null: the caller never gets an answer; a std::runtime_error: the D-Bus error of that
  /// name.
  using Answer = std::function<GVariant*(const Call& call)>;

  /// `methods` and signals as the introspection format's XML, without the interface around them, which bears
  /// the name of the service, or `interfaceName` where that differs. The object's path is the name with
  /// slashes.
  MockService(const std::string& address, std::string name, const std::string& methods, Answer answer,
              const std::string& interfaceName = {});
  MockService(const MockService&) = delete;
  MockService& operator=(const MockService&) = delete;
  ~MockService();

  const std::vector<Call>& calls() const { return calls_; }
  /// The calls of one method, as their arguments.
  std::vector<std::string> callsOf(const std::string& method) const;
  bool waitForCalls(std::size_t number) const;

  /// The value, floating, of a property that `methods` declared.
  void setProperty(const std::string& name, GVariant* value);
  /// How often properties have been read.
  int propertyReads() const { return propertyReads_; }

  /// Sends a signal to everybody. `arguments` floating.
  void emit(const char* signal, GVariant* arguments) const;
  std::string uniqueName() const;
  const test_support::BusClient& client() const { return client_; }

 private:
  void onCall(const char* sender, const char* method, GVariant* arguments, GDBusMethodInvocation* invocation);

  test_support::BusClient client_;
  const std::string name_;
  const std::string interface_;
  const std::string path_;
  const Answer answer_;
  guint registration_ = 0;
  int propertyReads_ = 0;
  std::map<std::string, platform_linux::GVariantHandle> properties_;
  std::vector<Call> calls_;
  std::vector<platform_linux::GObjectRef<GDBusMethodInvocation>> unanswered_;
};

}  // namespace camera_shot_tests
