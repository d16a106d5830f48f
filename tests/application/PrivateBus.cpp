#include "tests/application/PrivateBus.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/linux/base/FileDescriptor.h"

namespace application_tests {

namespace {

void writeFile(const std::filesystem::path& path, const std::string& text) {
  std::ofstream(path) << text;
}

}  // namespace

PrivateBus::PrivateBus(const std::filesystem::path& folder, const Environment& environment,
                       const std::string& activatedName, const std::string& program) {
  const auto services = folder / "services";
  std::filesystem::create_directories(services);
  if (!program.empty())
    writeFile(services / (activatedName + ".service"),
              "[D-BUS Service]\nName=" + activatedName + "\nExec=" + program + " --gapplication-service\n");
  writeFile(folder / "bus.conf",
            "<busconfig><type>session</type><listen>unix:path=" + (folder / "bus").string() +
                "</listen><auth>EXTERNAL</auth><servicedir>" + services.string() +
                "</servicedir><policy context=\"default\"><allow send_destination=\"*\" "
                "eavesdrop=\"true\"/><allow eavesdrop=\"true\"/><allow own=\"*\"/></policy>"
                "</busconfig>");
  // The daemon prints its address once it listens; opening the pipe for reading waits for that.
  const auto ready = folder / "ready";
  ::mkfifo(ready.c_str(), 0600);
  const platform_linux::FileDescriptor pipe(::open(ready.c_str(), O_RDWR | O_CLOEXEC));
  daemon_ = std::make_unique<ProcessUnderTest>(
      std::vector<std::string>{"/bin/sh", "-c",
                               "exec /usr/bin/dbus-daemon --nofork --nopidfile --config-file=" +
                                   (folder / "bus.conf").string() + " --print-address=3 3>" + ready.string()},
      environment, (folder / "bus.log").string());
  std::array<char, 512> text{};
  pollfd readable{pipe.get(), POLLIN, 0};
  if (::poll(&readable, 1, 10000) == 1 && ::read(pipe.get(), text.data(), text.size() - 1) > 0)
    address_ = std::string(text.data()).substr(0, std::string(text.data()).find('\n'));
}

void PrivateBus::kill() {
  daemon_->signal(SIGKILL);
  daemon_->wait();
}

}  // namespace application_tests
