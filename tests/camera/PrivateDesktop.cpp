#include "tests/camera/PrivateDesktop.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace camera_test {
namespace {

std::string variable(const char* name) {
  const char* value = std::getenv(name);
  if (!value) throw std::runtime_error(std::string(name) + " is not set: run this in tests/desktop/run");
  return value;
}

std::string sendAndReceive(int socket, const std::string& line) {
  std::string answer;
  if (::send(socket, line.data(), line.size(), MSG_NOSIGNAL) < 0) return answer;
  std::array<char, 4096> part{};
  for (ssize_t size = 0; (size = ::recv(socket, part.data(), part.size(), 0)) > 0;) {
    answer.append(part.data(), static_cast<std::size_t>(size));
    if (answer.ends_with('\n')) break;
  }
  return answer;
}

// The text that follows "ok".
std::string askAt(const std::string& path, const std::string& request) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  std::string answer;
  if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
    answer = sendAndReceive(socket, request + "\n");
  ::close(socket);
  if (!answer.starts_with("ok")) throw std::runtime_error(request + ": " + answer);
  return answer.size() > 4 ? answer.substr(3, answer.size() - 4) : "";
}

std::string valueOf(const std::string& assignments, const std::string& name) {
  std::istringstream words(assignments);
  for (std::string word; words >> word;)
    if (const auto equals = word.find('='); word.substr(0, equals).ends_with(name))
      return word.substr(equals + 1);
  throw std::runtime_error("no " + name + " in: " + assignments);
}

std::vector<std::string>& controlsOfCameras() {
  static std::vector<std::string> controls;
  return controls;
}

}  // namespace

std::string VirtualCamera::ask(const std::string& request) const {
  return askAt(control_, request);
}

void VirtualCamera::stall() const {
  ask("wait-frames 5");
  ask("stall");
  ask("wait-stalled");
}

std::vector<std::uint8_t> contents(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

bool isADeliveredFrame(const std::vector<std::uint8_t>& bytes, const VirtualCamera& camera) {
  const std::filesystem::directory_iterator frames(camera.dumpFolder());
  return std::any_of(begin(frames), end(frames), [&](auto& file) { return contents(file.path()) == bytes; });
}

VirtualCamera plugIn(const std::string& name, const std::string& spec) {
  static int number = 0;
  const std::string dump = variable("CAMERA_DESKTOP_DIR") + "/frames-" + std::to_string(++number);
  std::string whole = "name=" + name + ",dump=" + dump;
  if (!spec.empty()) whole += "," + spec;
  const std::string answer = askAt(variable("CAMERA_DESKTOP_CONTROL"), "add-camera " + whole);
  controlsOfCameras().push_back(valueOf(answer, "_CONTROL"));
  return {controlsOfCameras().back(), dump};
}

void removeCameras() {
  for (const auto& control : std::exchange(controlsOfCameras(), {})) {
    askAt(control, "unplug");
    askAt(control, "exit");
  }
}

void pipewire(const std::string& action) {
  askAt(variable("CAMERA_DESKTOP_CONTROL"), "pipewire " + action);
}

}  // namespace camera_test
