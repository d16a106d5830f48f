#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <signal.h>
#include <stdexcept>
#include <string>
#include <sys/prctl.h>
#include <unistd.h>
#include <vector>

#include <pipewire/pipewire.h>

#include "tests/desktop/virtual-camera/Camera.h"
#include "tests/desktop/virtual-camera/CameraCommands.h"
#include "tests/desktop/virtual-camera/CameraSpec.h"
#include "tests/desktop/virtual-camera/ControlSocket.h"

namespace {

using namespace virtual_camera;

constexpr int kUsageStatus = 64;  // EX_USAGE of sysexits.h

constexpr const char* kUsage =
    "Usage: virtual_camera [--control SOCKET] [--ready-fd NUMBER] [SPEC]\n"
    "A camera in PipeWire's registry, for tests; see tests/desktop/README.md for SPEC and the requests that\n"
    "SOCKET takes. One line is written to the file descriptor NUMBER once every program can see the "
    "camera.\n";

struct Arguments {
  std::string control;
  int ready = -1;
  std::string spec;
};

Arguments parseArguments(const std::vector<std::string>& words) {
  Arguments arguments;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const bool option = words[i] == "--control" || words[i] == "--ready-fd";
    if (option && i + 1 == words.size()) throw std::invalid_argument(words[i] + " needs a value");
    if (words[i] == "--control")
      arguments.control = words[++i];
    else if (words[i] == "--ready-fd")
      arguments.ready = std::stoi(words[++i]);
    else if (arguments.spec.empty() && !words[i].starts_with("--"))
      arguments.spec = words[i];
    else
      throw std::invalid_argument("not understood: " + words[i]);
  }
  return arguments;
}

void endWithParent() {
  const auto parent = getppid();
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (getppid() != parent) raise(SIGTERM);  // it died before the kernel was told
}

struct LoopDeleter {
  void operator()(pw_main_loop* loop) const { pw_main_loop_destroy(loop); }
};
using MainLoop = std::unique_ptr<pw_main_loop, LoopDeleter>;

void quit(void* data, int /*signal*/) noexcept {
  pw_main_loop_quit(static_cast<pw_main_loop*>(data));
}

void report(int descriptor, const std::string& line) {
  if (descriptor < 0) return;
  [[maybe_unused]] const auto written = write(descriptor, line.data(), line.size());
  close(descriptor);
}

int run(const Arguments& arguments) {
  const MainLoop loop(pw_main_loop_new(nullptr));
  if (!loop) throw std::runtime_error("no PipeWire loop");
  auto* events = pw_main_loop_get_loop(loop.get());
  pw_loop_add_signal(events, SIGTERM, quit, loop.get());
  pw_loop_add_signal(events, SIGINT, quit, loop.get());
  endWithParent();

  auto spec =
      arguments.spec.empty() ? parseCameraSpec("title=Virtual camera") : parseCameraSpec(arguments.spec);
  Camera camera(events, std::move(spec));
  CameraCommands commands(camera, [&] { quit(loop.get(), 0); });
  std::optional<ControlSocket> control;
  if (!arguments.control.empty()) {
    control.emplace(events, arguments.control, [&](const std::string& request, Reply reply) {
      commands.handle(request, std::move(reply));
    });
  }
  int status = EXIT_SUCCESS;
  camera.plug([&](const std::string& error) {
    if (error.empty()) return report(arguments.ready, "ready " + camera.describe() + "\n");
    std::cerr << "virtual_camera: " << error << std::endl;
    status = EXIT_FAILURE;
    quit(loop.get(), 0);
  });
  if (status == EXIT_SUCCESS) pw_main_loop_run(loop.get());
  return status;
}

}  // namespace

int main(int count, char** words) try {
  const std::vector<std::string> given(words + 1, words + count);
  if (given == std::vector<std::string>{"--help"}) {
    std::cout << kUsage;
    return EXIT_SUCCESS;
  }
  const auto arguments = parseArguments(given);
  signal(SIGPIPE, SIG_IGN);
  pw_init(&count, &words);
  const int status = run(arguments);
  pw_deinit();
  return status;
} catch (const std::invalid_argument& error) {
  std::cerr << "virtual_camera: " << error.what() << "\n" << kUsage;
  return kUsageStatus;
} catch (const std::exception& error) {
  std::cerr << "virtual_camera: " << error.what() << "\n";
  return EXIT_FAILURE;
}
