#include "tests/application/ProbeJournal.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "tests/application/ProcessUnderTest.h"

namespace application_tests {

namespace {

sockaddr_un addressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  return address;
}

template <typename Call>
bool withAddress(const std::string& path, Call call) {
  const sockaddr_un address = addressOf(path);
  const void* const untyped = &address;
  return call(static_cast<const sockaddr*>(untyped), sizeof address) == 0;
}

}  // namespace

ProbeJournal::ProbeJournal(const std::filesystem::path& socketPath)
    : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
  if (!withAddress(socketPath,
                   [this](auto address, auto size) { return ::bind(socket_.get(), address, size); }))
    std::perror("journal socket");
}

std::string ProbeJournal::next() {
  pollfd ready{socket_.get(), POLLIN, 0};
  std::array<char, 4096> buffer{};
  if (::poll(&ready, 1, kPatience) != 1) return "(nothing came)";
  const ssize_t size = ::recv(socket_.get(), buffer.data(), buffer.size(), 0);
  std::string line(buffer.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
  const auto space = line.find(' ');
  teller_ = std::atoi(line.c_str());
  lines_.push_back(line.substr(space + 1));
  return lines_.back();
}

std::string ProbeJournal::waitFor(const std::string& part) {
  while (true) {
    std::string line = next();
    if (line.find(part) != std::string::npos || line == "(nothing came)") return line;
  }
}

void tellProbeJournal(const std::string& socketPath, const std::string& line) {
  const platform_linux::FileDescriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  const std::string whole = std::to_string(::getpid()) + " " + line;
  withAddress(socketPath, [&](auto address, auto size) {
    return ::connect(socket.get(), address, size) == 0 &&
                   ::send(socket.get(), whole.data(), whole.size(), MSG_NOSIGNAL) >= 0
               ? 0
               : -1;
  });
}

}  // namespace application_tests
