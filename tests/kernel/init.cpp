// The guest's first process: puts the machine's own file system together, runs one command in it and ends the
// machine. A static program, the only one that the initial memory disk needs.
//
// It reads /guest/settings (lines of NAME VALUE) and loads /guest/modules/* in the order of their names. What
// it says goes to the kernel's log, and so to the console.

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <net/if.h>
#include <string>
#include <string_view>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/reboot.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Settings = std::map<std::string, std::string>;

/// One packet of the protocol is half a megabyte: fewer round trips than with its default of 128 KiB.
constexpr const char* kShareOptions = "trans=virtio,version=9p2000.L,msize=512000";

[[noreturn]] void endMachine() {
  sync();
  reboot(RB_AUTOBOOT);  // the emulator leaves instead
  _exit(1);
}

[[noreturn]] void fail(const std::string& what) {
  std::fprintf(stderr, "guest: %s: %s\n", what.c_str(), std::strerror(errno));
  endMachine();
}

void mountAt(const char* source, const std::string& target, const char* type, unsigned long flags = 0,
             const std::string& options = {}) {
  std::error_code
      ignored;  // in the machine's own tree the folder exists; elsewhere the mount says what is wrong
  fs::create_directories(target, ignored);
  if (mount(source, target.c_str(), type, flags, options.c_str()) != 0) fail("mount " + target);
}

Settings readSettings() {
  Settings settings;
  std::ifstream file("/guest/settings");
  for (std::string line; std::getline(file, line);) {
    const auto space = line.find(' ');
    settings[line.substr(0, space)] = line.substr(space + 1);
  }
  return settings;
}

void loadModules() {
  std::vector<fs::path> modules{fs::directory_iterator("/guest/modules"), {}};
  std::sort(modules.begin(), modules.end());
  for (const fs::path& module : modules) {
    const int file = open(module.c_str(), O_RDONLY | O_CLOEXEC);
    if (syscall(SYS_finit_module, file, "", 0) != 0 && errno != EEXIST) fail("load " + module.string());
    close(file);
  }
}

/// The host's root, read-only, with a layer of memory for what changes.
void mountRoot() {
  mountAt("root", "/host", "9p", MS_RDONLY, std::string(kShareOptions) + ",cache=loose");
  mountAt("changes", "/changes", "tmpfs");
  fs::create_directories("/changes/upper");
  fs::create_directories("/changes/work");
  mountAt("machine", "/machine", "overlay", 0,
          "lowerdir=/host,upperdir=/changes/upper,workdir=/changes/work");
}

void mountSystemFolders(const Settings& settings) {
  mountAt("dev", "/machine/dev", "devtmpfs");
  mountAt("pts", "/machine/dev/pts", "devpts");
  mountAt("shm", "/machine/dev/shm", "tmpfs", 0, "mode=1777");
  mountAt("proc", "/machine/proc", "proc");
  mountAt("sys", "/machine/sys", "sysfs");
  mountAt("run", "/machine/run", "tmpfs", 0, "mode=755");
  mountAt("share", "/machine" + settings.at("share"), "9p", 0, kShareOptions);
  mountAt(("/machine" + settings.at("modules")).c_str(), "/machine/lib/modules", "none", MS_BIND);
  symlink("/proc/self/fd", "/machine/dev/fd");
}

/// Only PID 1 in the machine's real root counts as "not in a chroot" for programs such as udevadm.
void enterRoot() {
  if (chdir("/machine") != 0 || mount(".", "/", nullptr, MS_MOVE, nullptr) != 0 || chroot(".") != 0) {
    fail("enter the root");
  }
}

void raiseLoopback() {
  const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  ifreq request{};
  std::strcpy(request.ifr_name, "lo");
  request.ifr_flags = IFF_UP | IFF_RUNNING;
  if (ioctl(socket, SIOCSIFFLAGS, &request) != 0) fail("raise the loopback interface");
  close(socket);
}

/// The strings of a file, each ended by a zero byte, as execve wants them.
std::vector<char*> readStrings(const std::string& path) {
  static std::vector<std::string> contents;  // what the pointers point into
  contents.reserve(2);
  std::ifstream file(path, std::ios::binary);
  std::string& bytes =
      contents.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  std::vector<char*> strings;
  for (std::size_t begin = 0; begin < bytes.size(); begin += std::strlen(&bytes[begin]) + 1) {
    strings.push_back(&bytes[begin]);
  }
  strings.push_back(nullptr);
  return strings;
}

void redirect(int descriptor, const std::string& path, int flags) {
  const int file = open(path.c_str(), flags, 0644);
  if (file < 0 || dup2(file, descriptor) < 0) fail("open " + path);
  if (file != descriptor) close(file);
}

[[noreturn]] void runCommand(const Settings& settings) {
  const std::string share = settings.at("share");
  const std::vector<char*> arguments = readStrings(share + "/command");
  const std::vector<char*> environment = readStrings(share + "/environment");
  setsid();
  if (chdir(settings.at("folder").c_str()) != 0) fail("enter " + settings.at("folder"));
  redirect(STDIN_FILENO, "/dev/null", O_RDONLY);
  redirect(STDOUT_FILENO, share + "/stdout", O_WRONLY | O_APPEND);
  redirect(STDERR_FILENO, share + "/stderr", O_WRONLY | O_APPEND);
  const auto path = std::find_if(environment.begin(), environment.end() - 1, [](const char* variable) {
    return std::string_view(variable).starts_with("PATH=");
  });
  if (path != environment.end() - 1) setenv("PATH", *path + std::strlen("PATH="), 1);
  execvpe(arguments[0], arguments.data(), environment.data());
  std::fprintf(stderr, "run: %s: %s\n", arguments[0], std::strerror(errno));
  _exit(127);
}

/// Waits for `child` and for whatever ends meanwhile: all orphans are ours.
int statusOf(pid_t child) {
  int status = 0;
  while (true) {
    const pid_t ended = wait(&status);
    if (ended < 0) fail("wait");
    if (ended == child) return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
  }
}

void report(const Settings& settings, int status) {
  const std::string path = settings.at("share") + "/status";
  std::ofstream(path + ".new") << status << '\n';
  if (std::rename((path + ".new").c_str(), path.c_str()) != 0) fail("rename " + path);
}

}  // namespace

int main() {
  umask(022);
  mountAt("dev", "/dev", "devtmpfs");
  redirect(STDOUT_FILENO, "/dev/console", O_WRONLY);
  redirect(STDERR_FILENO, "/dev/console", O_WRONLY);
  const Settings settings = readSettings();
  loadModules();
  mountRoot();
  mountSystemFolders(settings);
  enterRoot();
  raiseLoopback();
  const pid_t child = fork();
  if (child < 0) fail("fork");
  if (child == 0) runCommand(settings);
  report(settings, statusOf(child));
  endMachine();
}
