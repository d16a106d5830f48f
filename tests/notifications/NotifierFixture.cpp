#include "tests/notifications/NotifierFixture.h"

#include <utility>

#include "platform/linux/bus/BusNames.h"
#include "tests/support/BusClient.h"
#include "tests/support/MainLoop.h"

namespace camera_shot_tests {

using test_support::BusClient;
using test_support::waitUntil;

namespace {

using platform_linux::GErrorHandle;
using platform_linux::GObjectRef;
using platform_linux::GVariantHandle;

const std::string kServiceMethods = R"(
  <method name='GetCapabilities'><arg type='as' direction='out'/></method>
  <method name='Notify'>
    <arg type='s' direction='in'/><arg type='u' direction='in'/><arg type='s' direction='in'/>
    <arg type='s' direction='in'/><arg type='s' direction='in'/><arg type='as' direction='in'/>
    <arg type='a{sv}' direction='in'/><arg type='i' direction='in'/><arg type='u' direction='out'/>
  </method>
  <method name='GetServerInformation'>
    <arg type='s' direction='out'/><arg type='s' direction='out'/><arg type='s' direction='out'/>
    <arg type='s' direction='out'/>
  </method>
  <method name='CloseNotification'><arg type='u' direction='in'/></method>)";

const std::string kActivateAction =
    "<method name='ActivateAction'><arg type='s' direction='in'/><arg type='av' direction='in'/>"
    "<arg type='a{sv}' direction='in'/></method>";

/// What became of a call that is under way.
struct Outcome {
  bool known = false;
  std::string error;
};

void onPosted(GObject* connection, GAsyncResult* result, gpointer data) noexcept {
  auto* const outcome = static_cast<Outcome*>(data);
  GErrorHandle error;
  const GVariantHandle reply(
      g_dbus_connection_call_finish(G_DBUS_CONNECTION(connection), result, error.out()));
  *outcome = {true, error.message()};
}

}  // namespace

testing::AssertionResult post(const BusClient& client, const std::string& dictionary,
                              const std::string& identifier, const std::string& applicationId) {
  const GVariantHandle parsed(
      g_variant_parse(G_VARIANT_TYPE_VARDICT, dictionary.c_str(), nullptr, nullptr, nullptr));
  if (!parsed) return testing::AssertionFailure() << "no dictionary: " << dictionary;
  Outcome outcome;
  g_dbus_connection_call(client.connection(), kNotifier.c_str(),
                         platform_linux::objectPath(kNotifier).c_str(), kNotifier.c_str(), "Post",
                         g_variant_new("(ss@a{sv})", applicationId.c_str(), identifier.c_str(), parsed.get()),
                         nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, onPosted, &outcome);
  if (!waitUntil([&] { return outcome.known; }, std::chrono::seconds(30)))
    return testing::AssertionFailure() << "the helper does not answer";
  if (!outcome.error.empty()) return testing::AssertionFailure() << outcome.error;
  return testing::AssertionSuccess();
}

ServiceAnswers::ServiceAnswers(std::vector<std::string> capabilities, std::uint32_t firstId,
                               std::string serverName)
    : capabilities_(std::move(capabilities)), nextId_(firstId), serverName_(std::move(serverName)) {}

GVariant* ServiceAnswers::operator()(const MockService::Call& call) {
  if (call.method == "Notify") {
    const std::uint32_t replaced = firstNumber(call.arguments);
    return g_variant_new("(u)", replaced ? replaced : nextId_++);
  }
  if (call.method == "GetServerInformation")
    return g_variant_new("(ssss)", serverName_.c_str(), "", "", "1.2");
  if (call.method != "GetCapabilities") return g_variant_new("()");
  GVariantBuilder names;
  g_variant_builder_init(&names, G_VARIANT_TYPE("as"));
  for (const std::string& name : capabilities_)
    g_variant_builder_add(&names, "s", name.c_str());
  return g_variant_new("(as)", &names);
}

std::unique_ptr<MockService> makeService(const std::string& address, MockService::Answer answer,
                                         Disturbing disturbing) {
  const std::string property = "<property name='Inhibited' type='b' access='read'/>";
  auto service = std::make_unique<MockService>(
      address, kService, kServiceMethods + (disturbing == Disturbing::Unknown ? "" : property),
      std::move(answer));
  service->setProperty("Inhibited", g_variant_new_boolean(disturbing == Disturbing::No));
  return service;
}

std::unique_ptr<MockService> makeApplication(const std::string& address) {
  return std::make_unique<MockService>(address, kApplication, kActivateAction, done,
                                       "org.freedesktop.Application");
}

std::unique_ptr<MockService> makeJournal(const std::string& address) {
  return std::make_unique<MockService>(address, "com.example.Journal",
                                       "<method name='Write'><arg type='s' direction='in'/></method>", done);
}

std::uint32_t firstNumber(const std::string& arguments) {
  const auto start = arguments.find_first_of("0123456789");
  return start == std::string::npos ? 0 : static_cast<std::uint32_t>(std::stoul(arguments.substr(start)));
}

}  // namespace camera_shot_tests
