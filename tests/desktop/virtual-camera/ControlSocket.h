#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include <pipewire/pipewire.h>

namespace virtual_camera {

class FileDescriptor {
 public:
  explicit FileDescriptor(int number) : number_(number) {}
  ~FileDescriptor();
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  int number() const { return number_; }

 private:
  int number_;
};

/// The one answer to a request; may be kept and given later. Whoever asked may be gone by then.
class Reply {
 public:
  explicit Reply(std::weak_ptr<FileDescriptor> connection) : connection_(std::move(connection)) {}
  void ok(std::string_view text = {}) const { send("ok", text); }
  void error(std::string_view text) const { send("error", text); }
  bool wanted() const { return !connection_.expired(); }

 private:
  void send(std::string_view verdict, std::string_view text) const;

  std::weak_ptr<FileDescriptor> connection_;
};

/// A Unix stream socket on which every line is a request and gets one line back. Bound to the loop's thread.
class ControlSocket {
 public:
  using Handler = std::function<void(const std::string& request, Reply reply)>;

  /// Listens at `path`, which must not exist yet. Throws std::system_error.
  ControlSocket(pw_loop* loop, std::string path, Handler handler);
  ~ControlSocket();
  ControlSocket(const ControlSocket&) = delete;
  ControlSocket& operator=(const ControlSocket&) = delete;

 private:
  struct SourceDeleter {
    pw_loop* loop;
    void operator()(spa_source* source) const { pw_loop_destroy_source(loop, source); }
  };
  using Source = std::unique_ptr<spa_source, SourceDeleter>;
  struct Connection {
    std::shared_ptr<FileDescriptor> socket;
    Source source;
    std::string received;
  };

  static void onConnect(void* data, int descriptor, std::uint32_t mask) noexcept;
  static void onReadable(void* data, int descriptor, std::uint32_t mask) noexcept;
  void accept();
  void read(Connection& connection);

  pw_loop* loop_;
  std::string path_;
  Handler handler_;
  FileDescriptor listener_;
  Source source_;
  std::map<int, Connection> connections_;
};

}  // namespace virtual_camera
