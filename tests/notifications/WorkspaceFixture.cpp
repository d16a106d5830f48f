#include "tests/notifications/WorkspaceFixture.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <utility>

namespace camera_shot_tests {
namespace {

GVariant* nothing(const MockService::Call&) {
  return g_variant_new("()");
}

}  // namespace

Home::Home() {
  std::filesystem::create_directories(folder_.path() / "applications");
  std::ofstream(folder_.path() / "applications" / "reporter.desktop")
      << "[Desktop Entry]\nType=Application\nName=Reporter\n"
         "Exec=sh \""
      << (folder_.path() / "report").string() << "\" %f\n";
  // A byte that is no text on the bus is told as [ff].
  std::ofstream(folder_.path() / "report")
      << "exec gdbus call --session --dest com.example.Journal --object-path /com/example/Journal "
         "--method com.example.Journal.Write \"$(printf %s \"$1\" | LC_ALL=C sed 's/\\xff/[ff]/g')\"\n";
  std::ofstream(folder_.path() / "mimeapps.list")
      << "[Default Applications]\nimage/png=reporter.desktop\ninode/directory=reporter.desktop\n";
  std::filesystem::create_directory(folder() + "/\xff");
  for (const std::string& path : {photo(), photoOfNoText()})
    std::ofstream(path) << "a photo";
  for (const char* variable : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME"})
    setenv(variable, folder_.path().c_str(), 1);
  unsetenv("XDG_CURRENT_DESKTOP");
}

const Home& home() {
  static const Home theHome;
  return theHome;
}

std::unique_ptr<MockService> makeOpeningJournal(const std::string& address) {
  return std::make_unique<MockService>(address, "com.example.Journal",
                                       "<method name='Write'><arg type='s' direction='in'/></method>",
                                       nothing);
}

std::unique_ptr<MockService> makeFileManager(const std::string& address, MockService::Answer answer) {
  return std::make_unique<MockService>(
      address, "org.freedesktop.FileManager1",
      "<method name='ShowItems'><arg type='as' direction='in'/><arg type='s' direction='in'/></method>",
      answer ? std::move(answer) : nothing);
}

}  // namespace camera_shot_tests
