#include "tests/application/ProbeFixture.h"

#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>

#include "tests/support/BusClient.h"
#include "tests/support/PrivateBus.h"

namespace application_tests {

using platform_linux::GErrorHandle;
using platform_linux::GVariantHandle;

namespace {

GVariant* platformData(const std::string& token) {
  GVariantBuilder data;
  g_variant_builder_init(&data, G_VARIANT_TYPE_VARDICT);
  if (!token.empty())
    g_variant_builder_add(&data, "{sv}", "activation-token", g_variant_new_string(token.c_str()));
  return g_variant_builder_end(&data);
}

}  // namespace

Environment probeEnvironment(const std::filesystem::path& folder) {
  Environment environment{{"PROBE_JOURNAL", (folder / "journal").string()},
                          {"PROBE_LIFELINE", (folder / "lifeline").string()},
                          {"XDG_RUNTIME_DIR", folder.string()},
                          {"HOME", folder.string()}};
  // Sanitizers' options reach the probes as well.
  for (const char* const name : {"ASAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS"})
    if (const char* const value = std::getenv(name)) environment[name] = value;
  return environment;
}

ProbeTest::ProbeTest()
    : journal_(folder_.path() / "journal"), environment_(probeEnvironment(folder_.path())) {
  ::mkfifo(environment_["PROBE_LIFELINE"].c_str(), 0600);
  lifeline_ =
      platform_linux::FileDescriptor(::open(environment_["PROBE_LIFELINE"].c_str(), O_RDWR | O_CLOEXEC));
}

ProbeTest::~ProbeTest() = default;

std::unique_ptr<ProcessUnderTest> ProbeTest::start(const std::string& then,
                                                   const std::vector<std::string>& arguments) {
  Environment environment = environment_;
  environment["PROBE_THEN"] = then;
  std::vector<std::string> command{PROBE_APPLICATION};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return std::make_unique<ProcessUnderTest>(command, environment, (folder_.path() / "stderr").string());
}

test_support::PrivateBus& ProbeTest::bus(bool activatable) {
  if (!bus_) {
    bus_ = std::make_unique<test_support::PrivateBus>(environment_);
    if (activatable) bus_->addService(kProbeIdentifier, {PROBE_APPLICATION, "--gapplication-service"});
    environment_["DBUS_SESSION_BUS_ADDRESS"] = bus_->address();
  }
  return *bus_;
}

const test_support::BusClient& ProbeTest::client() {
  if (!client_) client_ = std::make_unique<test_support::BusClient>(bus().address());
  return *client_;
}

std::string ProbeTest::call(const char* method, GVariant* arguments) {
  GErrorHandle error;
  const GVariantHandle reply(g_dbus_connection_call_sync(
      client().connection(), kProbeIdentifier, "/com/example/Probe", "org.freedesktop.Application", method,
      arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, kPatience, nullptr, error.out()));
  return error.message();
}

std::string ProbeTest::activate(const std::string& token) {
  return call("Activate", g_variant_new("(@a{sv})", platformData(token)));
}

std::string ProbeTest::open(const std::string& uri) {
  const char* const uris[] = {uri.c_str(), nullptr};
  return call("Open", g_variant_new("(^as@a{sv})", uris, platformData({})));
}

std::string ProbeTest::activateAction(const std::string& name, const std::string& target) {
  GVariantBuilder parameters;
  g_variant_builder_init(&parameters, G_VARIANT_TYPE("av"));
  if (!target.empty()) g_variant_builder_add(&parameters, "v", g_variant_new_string(target.c_str()));
  return call("ActivateAction", g_variant_new("(sav@a{sv})", name.c_str(), &parameters, platformData({})));
}

void ProbeTest::expectLines(const std::vector<std::string>& expected) {
  std::vector<std::string> came;
  while (came.size() < expected.size() && (came.empty() || came.back() != "(nothing came)"))
    came.push_back(journal_.next());
  EXPECT_EQ(came, expected);
}

}  // namespace application_tests
