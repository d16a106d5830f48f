#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/application/Log.h"
#include "platform/linux/application/NotificationCenter.h"
#include "platform/linux/base/MainQueue.h"
#include "platform/linux/bus/SessionBus.h"
#include "platform/linux/camera/Cameras.h"
#include "platform/linux/camera/pipewire/PipeWireFrameSource.h"
#include "tests/camera/CameraFixture.h"
#include "tests/camera/MockPortal.h"
#include "tests/camera/PrivateDesktop.h"
#include "tests/support/MainLoop.h"

namespace camera_test {
namespace {

using platform::AVAuthorizationStatus;
using platform_linux::SessionBus;
using test_support::waitUntil;
using testing::ElementsAre;
using testing::IsEmpty;

std::string variable(const char* name) {
  const char* const value = std::getenv(name);
  return value ? value : "";
}

/// A connected socket of the private desktop's daemon, as a portal opens it; negative when there is no
/// daemon.
int connectToDaemon() {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string path = variable("XDG_RUNTIME_DIR") + "/pipewire-0";
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return socket;
  ::close(socket);
  return -1;
}

/// The adapter in a sandbox whose only way to the cameras is a portal that the test plays.
class SandboxedCameras : public testing::Test {
 public:
  ~SandboxedCameras() override {
    queue_.end();
    cameras_.reset();
    removeCameras();
  }

 protected:
  /// Takes the daemon's socket out of the program's sight: only the portal still leads to it. The cameras are
  /// waited for with `patience`.
  void start(std::chrono::milliseconds patience = test_support::kPatience) {
    portal_.emplace(variable("DBUS_SESSION_BUS_ADDRESS"));
    portal_->setCameraPresent(true);
    portal_->openRemote = connectToDaemon;
    ::setenv("PIPEWIRE_REMOTE", "hidden-by-the-sandbox", 1);
    makeCameras(patience);
  }
  void makeCameras(std::chrono::milliseconds patience = test_support::kPatience) {
    const auto portal =
        std::make_shared<platform_linux::CameraPortal>([this]() -> const SessionBus& { return bus_; });
    cameras_ = std::make_unique<platform_linux::Cameras>(
        queue_, center_, log_,
        std::make_shared<platform_linux::PipeWireFrameSource>(queue_, portal, patience),
        [] { return std::string("Camera"); }, test_support::kPatience);
    for (const auto& [name, what] :
         {std::pair(platform::AVCaptureDeviceWasConnectedNotification, "connected"),
          std::pair(platform::AVCaptureDeviceWasDisconnectedNotification, "gone")})
      center_.addObserver(this, name, [this, word = std::string(what)] { news_.push_back(word); });
  }

  AVAuthorizationStatus status() {
    return cameras_->authorizationStatusForMediaType(platform::AVMediaTypeVideo);
  }
  /// Asks for permission; what came of it stands in `answers_` as a word, with the cameras seen at that
  /// moment.
  void request(const std::string& who = "asker") {
    cameras_->requestAccessForMediaType(platform::AVMediaTypeVideo, [this, who](bool granted) {
      answers_.push_back(who + (granted ? " may" : " may not"));
      atAnswer_ = titles();
    });
  }
  std::vector<std::string> titles() {
    std::vector<std::string> all;
    for (const auto& each : cameras_->devicesWithMediaType(platform::AVMediaTypeVideo))
      all.push_back(each->uniqueID() + ": " + each->localizedName());
    return all;
  }
  /// What has been put off to a later turn of the main loop up to now has run once this returns.
  void turn() {
    bool turned = false;
    queue_.async([&] { turned = true; });
    ASSERT_TRUE(waitUntil([&] { return turned; }));
  }
  void respond(unsigned code) {
    ASSERT_TRUE(portal_->waitFor("AccessCamera"));
    portal_->respond(code);
    ASSERT_TRUE(waitUntil([this] { return !answers_.empty(); }));
  }

  platform_linux::MainQueue queue_;
  platform_linux::NotificationCenter center_;
  platform_linux::Log log_;
  SessionBus bus_{test_support::kPatience};
  std::optional<MockPortal> portal_;
  std::unique_ptr<platform_linux::Cameras> cameras_;
  std::vector<std::string> news_;
  std::vector<std::string> answers_;
  std::vector<std::string> atAnswer_;
};

TEST_F(SandboxedCameras, NobodyIsAskedBeforeSomebodyWantsACamera) {
  start();
  EXPECT_EQ(status(), AVAuthorizationStatus::NotDetermined);
  turn();
  EXPECT_THAT(portal_->calls(), IsEmpty());
}

TEST_F(SandboxedCameras, AreKnownByTheTimeOfTheYes) {
  plugIn("desk", "title=Desk camera");
  start();
  EXPECT_THAT(titles(), IsEmpty());
  request();
  EXPECT_EQ(status(), AVAuthorizationStatus::NotDetermined);
  respond(0);
  EXPECT_THAT(answers_, ElementsAre("asker may"));
  EXPECT_THAT(atAnswer_, ElementsAre("desk: Desk camera"));
  EXPECT_EQ(status(), AVAuthorizationStatus::Authorized);
  // Who had listed them in vain hears of them too.
  EXPECT_THAT(news_, ElementsAre("connected"));
}

TEST_F(SandboxedCameras, TakePhotos) {
  plugIn("desk");
  start();
  request();
  respond(0);
  std::optional<platform::NSError> error;
  Rig rig;
  rig.session = cameras_->session();
  rig.session->addInput(cameras_->deviceInputWithDevice(cameras_->deviceWithUniqueID("desk"), error));
  rig.output = cameras_->photoOutput();
  rig.session->addOutput(rig.output);
  rig.delegate = std::make_shared<RecordingDelegate>(queue_);
  rig.session->startRunning();
  rig.capture();
  ASSERT_TRUE(waitUntil([&] { return !rig.delegate->outcomes().empty(); }));
  EXPECT_EQ(rig.delegate->outcomes().front().error, 0);
  EXPECT_NE(rig.delegate->outcomes().front().picture, nullptr);
}

TEST_F(SandboxedCameras, ACameraThatMayNotBeUsedYetIsThereWithoutAnIdentity) {
  plugIn("desk");
  start();
  EXPECT_THAT(titles(), IsEmpty());  // and with this the question is put
  ASSERT_TRUE(portal_->waitFor("AccessCamera"));
  EXPECT_THAT(titles(), ElementsAre(": Camera"));
  EXPECT_NE(cameras_->deviceWithUniqueID(""), nullptr);
}

TEST_F(SandboxedCameras, RefusalIsNotMistakenForAMissingCamera) {
  plugIn("desk");
  start();
  request();
  respond(1);
  EXPECT_THAT(answers_, ElementsAre("asker may not"));
  EXPECT_THAT(atAnswer_, ElementsAre(": Camera"));
  EXPECT_EQ(status(), AVAuthorizationStatus::Denied);
  request("later");
  EXPECT_THAT(answers_, ElementsAre("asker may not", "later may not"));
  EXPECT_EQ(portal_->countOf("AccessCamera"), 1);
  EXPECT_EQ(portal_->countOf("OpenPipeWireRemote"), 0);
}

TEST_F(SandboxedCameras, RequestsWhileTheAnswerIsOpenAreOneQuestionAndHaveOneAnswer) {
  plugIn("desk");
  start();
  for (const char* who : {"first", "second"})
    request(who);
  ASSERT_TRUE(portal_->waitFor("AccessCamera"));
  request("third");
  respond(0);
  turn();
  EXPECT_THAT(answers_, ElementsAre("third may"));
  EXPECT_EQ(portal_->countOf("AccessCamera"), 1);
  request("fourth");
  EXPECT_THAT(answers_, ElementsAre("third may", "fourth may"));
}

TEST_F(SandboxedCameras, GoAndComeBackWithTheDaemon) {
  plugIn("desk");
  start();
  request();
  respond(0);
  // Nothing is known before the yes: the camera that it shows is news.
  pipewire("kill");
  ASSERT_TRUE(waitUntil([this] { return news_.size() == 2; }));
  EXPECT_THAT(titles(), ElementsAre());
  pipewire("start");
  ASSERT_TRUE(waitUntil([this] { return news_.size() == 3; }));
  EXPECT_THAT(news_, ElementsAre("connected", "gone", "connected"));
  EXPECT_GE(portal_->countOf("OpenPipeWireRemote"), 2);
  EXPECT_EQ(portal_->countOf("AccessCamera"), 1);
}

TEST_F(SandboxedCameras, AreWaitedForWhenTheSessionManagerShowsThemLater) {
  start();
  request();
  ASSERT_TRUE(portal_->waitFor("AccessCamera"));
  portal_->respond(0);
  ASSERT_TRUE(portal_->waitFor("OpenPipeWireRemote"));
  turn();
  EXPECT_THAT(answers_, IsEmpty());
  plugIn("desk", "title=Desk camera");
  ASSERT_TRUE(waitUntil([this] { return !answers_.empty(); }));
  EXPECT_THAT(atAnswer_, ElementsAre("desk: Desk camera"));
}

TEST_F(SandboxedCameras, AreNotWaitedForLong) {
  start(platform_linux::kFirstEnumeration);
  request();
  respond(0);
  EXPECT_THAT(answers_, ElementsAre("asker may"));
  EXPECT_THAT(atAnswer_, IsEmpty());
}

TEST_F(SandboxedCameras, AYesWithoutADaemonIsAYesWithoutCameras) {
  start();
  portal_->setCameraPresent(false);
  portal_->openRemote = [] { return -1; };
  request();
  respond(0);
  EXPECT_THAT(answers_, ElementsAre("asker may"));
  EXPECT_THAT(atAnswer_, IsEmpty());
}

TEST_F(SandboxedCameras, WithoutAPortalAreThoseThatTheSandboxLetsThrough) {
  plugIn("desk", "title=Desk camera");
  makeCameras();
  request();
  ASSERT_TRUE(waitUntil([this] { return !answers_.empty(); }));
  EXPECT_THAT(answers_, ElementsAre("asker may"));
  EXPECT_THAT(atAnswer_, ElementsAre("desk: Desk camera"));
}

TEST_F(SandboxedCameras, EndWhileTheAnswerIsOpen) {
  start();
  request();
  ASSERT_TRUE(portal_->waitFor("AccessCamera"));
  cameras_.reset();
  portal_->respond(0);
  turn();
  EXPECT_THAT(answers_, IsEmpty());
}

}  // namespace
}  // namespace camera_test
