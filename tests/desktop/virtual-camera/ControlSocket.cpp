#include "tests/desktop/virtual-camera/ControlSocket.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace virtual_camera {
namespace {

void require(bool success, const std::string& what) {
  if (!success) throw std::system_error(errno, std::generic_category(), what);
}

sockaddr_un address(const std::string& path) {
  sockaddr_un name{};
  name.sun_family = AF_UNIX;
  errno = ENAMETOOLONG;
  require(path.size() < sizeof(name.sun_path), path);
  std::memcpy(name.sun_path, path.c_str(), path.size() + 1);
  return name;
}

}  // namespace

FileDescriptor::~FileDescriptor() {
  if (number_ >= 0) close(number_);
}

void Reply::send(std::string_view verdict, std::string_view text) const {
  const auto connection = connection_.lock();
  if (!connection) return;
  std::string line(verdict);
  if (!text.empty()) line.append(" ").append(text);
  line += '\n';
  // A line fits the socket's buffer; a client that reads nothing for so long that it is full loses the
  // answer.
  [[maybe_unused]] const auto sent =
      ::send(connection->number(), line.data(), line.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
}

ControlSocket::ControlSocket(pw_loop* loop, std::string path, Handler handler)
    : loop_(loop),
      path_(std::move(path)),
      handler_(std::move(handler)),
      listener_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)),
      source_(nullptr, SourceDeleter{loop}) {
  require(listener_.number() >= 0, "control socket");
  const auto name = address(path_);
  require(bind(listener_.number(), reinterpret_cast<const sockaddr*>(&name), sizeof(name)) == 0, path_);
  require(listen(listener_.number(), SOMAXCONN) == 0, path_);
  source_.reset(pw_loop_add_io(loop_, listener_.number(), SPA_IO_IN, false, &ControlSocket::onConnect, this));
}

ControlSocket::~ControlSocket() {
  unlink(path_.c_str());
}

void ControlSocket::onConnect(void* data, int /*descriptor*/, std::uint32_t /*mask*/) noexcept {
  static_cast<ControlSocket*>(data)->accept();
}

void ControlSocket::accept() {
  const int number = accept4(listener_.number(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
  if (number < 0) return;
  auto source = Source(pw_loop_add_io(loop_, number, SPA_IO_IN, false, &ControlSocket::onReadable, this),
                       SourceDeleter{loop_});
  connections_.emplace(number, Connection{std::make_shared<FileDescriptor>(number), std::move(source), {}});
}

void ControlSocket::onReadable(void* data, int descriptor, std::uint32_t /*mask*/) noexcept {
  auto* self = static_cast<ControlSocket*>(data);
  const auto found = self->connections_.find(descriptor);
  if (found != self->connections_.end()) self->read(found->second);
}

void ControlSocket::read(Connection& connection) {
  std::array<char, 4096> room{};
  const auto count = recv(connection.socket->number(), room.data(), room.size(), 0);
  if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
  if (count <= 0) {
    connections_.erase(connection.socket->number());
    return;
  }
  connection.received.append(room.data(), static_cast<std::size_t>(count));
  for (auto end = connection.received.find('\n'); end != std::string::npos;
       end = connection.received.find('\n')) {
    const auto request = connection.received.substr(0, end);
    connection.received.erase(0, end + 1);
    handler_(request, Reply(connection.socket));
  }
}

}  // namespace virtual_camera
