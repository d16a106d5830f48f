#include "tests/support/PrivateBus.h"

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <poll.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/BusClient.h"
#include "tests/support/MainLoop.h"

namespace test_support {
namespace {

/// Of a socket at that path, which may have spaces, say.
std::string addressOf(const std::string& path) {
  char* const escaped = g_dbus_address_escape_value(path.c_str());
  std::string address = std::string("unix:path=") + escaped;
  g_free(escaped);
  return address;
}

/// A word of a command, whatever is in it.
std::string quoted(const std::string& word) {
  char* const text = g_shell_quote(word.c_str());
  std::string result = text;
  g_free(text);
  return result;
}

void writeConfiguration(const TemporaryFolder& folder, const std::string& address) {
  std::filesystem::create_directory(folder / "services");
  std::ofstream(folder / "bus.conf")
      << "<busconfig>\n  <type>session</type>\n  <listen>" << address
      << "</listen>\n  <auth>EXTERNAL</auth>\n  <servicedir>" << folder / "services"
      << "</servicedir>\n  <policy context=\"default\"><allow send_destination=\"*\"/><allow "
         "receive_sender=\"*\"/><allow own=\"*\"/></policy>\n</busconfig>\n";
}

}  // namespace

PrivateBus::PrivateBus() : address_(addressOf(folder_ / "bus")) {
  setenv("DBUS_SESSION_BUS_ADDRESS", address_.c_str(), 1);
  start(nullptr);
}

PrivateBus::PrivateBus(const Environment& environment) : address_(addressOf(folder_ / "bus")) {
  std::vector<std::string> texts;
  for (const auto& [name, value] : environment)
    texts.push_back(name + "=" + value);
  std::vector<char*> pointers;
  for (auto& text : texts)
    pointers.push_back(text.data());
  pointers.push_back(nullptr);
  start(pointers.data());
}

PrivateBus::~PrivateBus() {
  kill();
}

/// Returns once the bus listens: it prints its address then.
void PrivateBus::start(char** environment) {
  writeConfiguration(folder_, address_);
  const std::string configuration = "--config-file=" + folder_ / "bus.conf";
  const std::array<const char*, 7> command{
      "/usr/bin/dbus-daemon", "--nofork", "--nopidfile", "--nosyslog", "--print-address=1",
      configuration.c_str(),  nullptr};
  int output = -1;
  platform_linux::GErrorHandle error;
  constexpr auto kFlags = static_cast<GSpawnFlags>(G_SPAWN_DO_NOT_REAP_CHILD | G_SPAWN_STDERR_TO_DEV_NULL);
  // It ends with the test, also when that is killed.
  const auto followTest = [](gpointer) { ::prctl(PR_SET_PDEATHSIG, SIGKILL); };
  if (!g_spawn_async_with_pipes(nullptr, const_cast<char**>(command.data()), environment, kFlags, followTest,
                                nullptr, &process_, nullptr, &output, nullptr, error.out()))
    throw std::runtime_error(error.message());
  pollfd ready{output, POLLIN, 0};
  const bool listens =
      poll(&ready, 1, std::chrono::milliseconds(kPatience).count()) == 1 && (ready.revents & POLLIN) != 0;
  close(output);
  if (listens) return;
  kill();
  throw std::runtime_error("the bus does not start");
}

void PrivateBus::addService(const std::string& name, const std::vector<std::string>& command) const {
  std::string line;
  for (const auto& word : command)
    line += (line.empty() ? "" : " ") + quoted(word);
  std::ofstream(folder_.path() / "services" / (name + ".service"))
      << "[D-BUS Service]\nName=" << name << "\nExec=" << line << "\n";
  BusClient(address_).ask("ReloadConfig", nullptr);
}

void PrivateBus::pause() const {
  ::kill(process_, SIGSTOP);
  waitpid(process_, nullptr, WUNTRACED);
}

void PrivateBus::resume() const {
  ::kill(process_, SIGCONT);
}

void PrivateBus::kill() {
  if (process_ == 0) return;
  ::kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
  process_ = 0;
}

}  // namespace test_support
