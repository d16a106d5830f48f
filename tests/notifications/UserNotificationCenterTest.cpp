#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <gdk-pixbuf/gdk-pixbuf.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/notifications/UserNotificationCenter.h"
#include "tests/notifications/CenterFixture.h"
#include "tests/support/MainLoop.h"
#include "tests/support/PrivateBus.h"
#include "tests/support/TemporaryFolder.h"

namespace camera_shot_tests {

using test_support::PrivateBus;
using test_support::TemporaryFolder;
using test_support::waitUntil;

namespace {

using platform_linux::GObjectRef;
using platform_linux::GVariantHandle;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

/// With `more` keys behind those that every service gets.
std::string photoArguments(const std::string& more) {
  return "('com.verrano.quillo.CameraShot', 'Photo_Taken_Notification', {'title': <'Camera shot taken.'>, "
         "'body': <'Click "
         "here to show in Finder.'>, 'priority': <'normal'>, 'default-action': <'app.show-photo'>, " +
         more +
         "'default-action-target': <'/home/me/A shot.png'>, 'default-action-label': <'Show'>, 'buttons': "
         "<[{'label': <'Open'>, 'action': <'app.open-photo'>, 'target': <'/home/me/A shot.png'>}]>})";
}
const std::string kForHelper = photoArguments("'sound': <'default'>, ");

TEST(UserNotificationCenter, ShellGetsTextsActionsAndTargets) {
  const PrivateBus bus;
  const auto shell = makeShell(bus.address());
  Center center;
  center->addNotificationRequest(photoRequest());
  ASSERT_TRUE(center.waitForRelease());
  EXPECT_THAT(shell->callsOf("AddNotification"), ElementsAre(photoArguments("")));
}

TEST(UserNotificationCenter, HelperGetsTheSameWithoutAShell) {
  const PrivateBus bus;
  const auto helper = makeHelper(bus.address());
  Center center;
  center->addNotificationRequest(photoRequest());
  ASSERT_TRUE(center.waitForRelease());
  EXPECT_THAT(helper->callsOf("Post"), ElementsAre(kForHelper));
}

TEST(UserNotificationCenter, HelperIsAskedWhenTheShellRefuses) {
  const PrivateBus bus;
  // What the shell answers for a program without a desktop file.
  const auto shell = makeShell(bus.address(), [](const MockService::Call&) -> GVariant* {
    throw std::runtime_error("org.gtk.Notifications.InvalidApp");
  });
  const auto helper = makeHelper(bus.address());
  Center center;
  center->addNotificationRequest(photoRequest());
  ASSERT_TRUE(center.waitForRelease());
  EXPECT_THAT(shell->calls(), ::testing::SizeIs(1));
  EXPECT_THAT(helper->callsOf("Post"), ElementsAre(kForHelper));
}

TEST(UserNotificationCenter, AFailureHasNothingToClickButStillADefaultAction) {
  const PrivateBus bus;
  const auto shell = makeShell(bus.address());
  Center center;
  center->addNotificationRequest(failureRequest());
  ASSERT_TRUE(center.waitForRelease());
  EXPECT_THAT(shell->callsOf("AddNotification"),
              ElementsAre("('com.verrano.quillo.CameraShot', 'Photo_Taken_Notification_Error', {'title': "
                          "<'Camera not found.'>, "
                          "'priority': <'normal'>, 'default-action': <'app.show-photo'>})"));
}

TEST(UserNotificationCenter, AFileNameThatIsNoTextIsSentAsAnAddress) {
  const PrivateBus bus;
  const auto shell = makeShell(bus.address());
  Center center;
  center->addNotificationRequest(photoRequest("/home/me/\xff.png"));
  ASSERT_TRUE(center.waitForRelease());
  ASSERT_THAT(shell->calls(), ::testing::SizeIs(1));
  EXPECT_THAT(shell->calls()[0].arguments,
              AllOf(HasSubstr("'title': <'Camera shot taken.'>"),
                    HasSubstr("'default-action-target': <'file:///home/me/%FF.png'>"),
                    HasSubstr("'action': <'app.open-photo'>, 'target': <'file:///home/me/%FF.png'>")));
}

const picture::Thumbnail kTwoPixels{{2, 1}, {255, 0, 0, 0, 0, 255}};

TEST(UserNotificationCenter, ThePhotoGoesToTheHelperAsPixels) {
  const PrivateBus bus;
  const auto helper = makeHelper(bus.address());
  Center center;
  center.setThumbnail(kTwoPixels);
  center->addNotificationRequest(photoRequest());
  ASSERT_TRUE(center.waitForRelease());
  ASSERT_THAT(helper->calls(), ::testing::SizeIs(1));
  EXPECT_THAT(helper->calls()[0].arguments,
              HasSubstr("'image-data': <(2, 1, 6, false, 8, 3, [byte 0xff, 0x00, 0x00, 0x00, 0x00, 0xff])>"));
}

/// The picture of a notification that the shell was sent, as one reads it.
GObjectRef<GdkPixbuf> shownByShell(const std::string& call) {
  const GVariantHandle arguments(
      g_variant_parse(G_VARIANT_TYPE("(ssa{sv})"), call.c_str(), nullptr, nullptr, nullptr));
  const GVariantHandle dictionary(g_variant_get_child_value(arguments.get(), 2));
  const GVariantHandle serialised(g_variant_lookup_value(dictionary.get(), "icon", nullptr));
  if (!serialised) return {};
  const auto icon = GObjectRef<GIcon>::adopt(g_icon_deserialize(serialised.get()));
  if (!G_IS_BYTES_ICON(icon.get())) return {};
  const auto stream = GObjectRef<GInputStream>::adopt(
      g_loadable_icon_load(G_LOADABLE_ICON(icon.get()), 48, nullptr, nullptr, nullptr));
  return GObjectRef<GdkPixbuf>::adopt(gdk_pixbuf_new_from_stream(stream.get(), nullptr, nullptr));
}

/// The red samples of the picture that the shell is sent of `thumbnail`, row by row.
std::vector<std::vector<int>> redsShownByShell(const picture::Thumbnail& thumbnail) {
  const PrivateBus bus;
  const auto shell = makeShell(bus.address());
  Center center;
  center.setThumbnail(thumbnail);
  center->addNotificationRequest(photoRequest());
  if (!center.waitForRelease() || shell->calls().size() != 1) return {};
  const auto pixbuf = shownByShell(shell->calls()[0].arguments);
  if (!pixbuf) return {};
  std::vector<std::vector<int>> rows;
  for (int y = 0; y < gdk_pixbuf_get_height(pixbuf.get()); ++y) {
    const guint8* const row =
        gdk_pixbuf_read_pixels(pixbuf.get()) + y * gdk_pixbuf_get_rowstride(pixbuf.get());
    rows.emplace_back();
    for (int x = 0; x < gdk_pixbuf_get_width(pixbuf.get()); ++x)
      rows.back().push_back(row[x * gdk_pixbuf_get_n_channels(pixbuf.get())]);
  }
  return rows;
}

/// Of a thumbnail whose red samples are 10 × row + column.
picture::Thumbnail numbered(int width, int height) {
  picture::Thumbnail thumbnail{{width, height}, {}};
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      for (const int sample : {10 * y + x, 0, 0})
        thumbnail.pixels.push_back(static_cast<std::uint8_t>(sample));
  return thumbnail;
}

// GNOME Shell stretches whatever picture it is given to a square (43.9).
TEST(UserNotificationCenter, ThePhotosMiddleGoesToTheShellAsASquareIcon) {
  EXPECT_THAT(redsShownByShell(numbered(4, 2)), ElementsAre(ElementsAre(1, 2), ElementsAre(11, 12)));
  EXPECT_THAT(redsShownByShell(numbered(2, 5)), ElementsAre(ElementsAre(10, 11), ElementsAre(20, 21)));
  EXPECT_THAT(redsShownByShell(numbered(2, 2)), ElementsAre(ElementsAre(0, 1), ElementsAre(10, 11)));
}

TEST(UserNotificationCenter, TheSoundIsOursWhereTheShellKnowsOfNone) {
  const PrivateBus bus;
  const auto shell = makeShell(bus.address());
  Center center;
  center->addNotificationRequest(photoRequest());
  ASSERT_TRUE(center.waitForRelease());
  EXPECT_EQ(center.soundsPlayed(), 1);
}

TEST(UserNotificationCenter, TheSoundIsTheHelpersWhereItShowsTheNotification) {
  const PrivateBus bus;
  const auto helper = makeHelper(bus.address());
  Center center;
  center->addNotificationRequest(photoRequest());
  ASSERT_TRUE(center.waitForRelease());
  EXPECT_EQ(center.soundsPlayed(), 0);
}

TEST(UserNotificationCenter, ARequestTakesThePlaceOfAnEarlierOneThatWaits) {
  const PrivateBus bus;
  const auto shell = makeShell(bus.address());
  Center center;
  center->addNotificationRequest(photoRequest("/first.png"));
  center->addNotificationRequest(failureRequest());
  center->addNotificationRequest(photoRequest("/second.png"));
  ASSERT_TRUE(center.waitForRelease());
  EXPECT_THAT(shell->calls(), ::testing::SizeIs(2));
  EXPECT_THAT(shell->callsOf("AddNotification"), Not(::testing::Contains(HasSubstr("first.png"))));
}

TEST(UserNotificationCenter, TheDelegateMayWithholdTheSound) {
  const PrivateBus bus;
  const auto shell = makeShell(bus.address());
  Center center;
  const auto delegate = std::make_shared<TestDelegate>();
  delegate->options = platform::UNNotificationPresentationOptionBanner;
  center->setDelegate(delegate);
  center->addNotificationRequest(failureRequest());
  ASSERT_TRUE(center.waitForRelease());
  EXPECT_EQ(delegate->presented, "Photo_Taken_Notification_Error");
  EXPECT_THAT(shell->calls(), ::testing::SizeIs(1));
  EXPECT_EQ(center.soundsPlayed(), 0);
}

TEST(UserNotificationCenter, TheDelegateMayWithholdTheNotification) {
  const PrivateBus bus;
  const auto shell = makeShell(bus.address());
  Center center;
  const auto delegate = std::make_shared<TestDelegate>();
  delegate->options = 0;
  center->setDelegate(delegate);
  center->addNotificationRequest(photoRequest());
  ASSERT_TRUE(center.waitForRelease());
  delegate->options = 26;
  center->addNotificationRequest(failureRequest());
  ASSERT_TRUE(center.waitForRelease());
  ASSERT_THAT(shell->calls(), ::testing::SizeIs(1));
  EXPECT_THAT(shell->calls()[0].arguments, HasSubstr("Camera not found."));
}

TEST(UserNotificationCenter, TheEndIsHeldUntilTheNotificationHasBeenTaken) {
  const PrivateBus bus;
  Center center;
  bool heldAtTheCall = false;
  const auto shell = makeShell(bus.address(), [&](const MockService::Call&) {
    heldAtTheCall = center.held();
    return g_variant_new("()");
  });
  center->addNotificationRequest(photoRequest());
  EXPECT_TRUE(center.held());
  ASSERT_TRUE(center.waitForRelease());
  EXPECT_TRUE(heldAtTheCall);
}

TEST(UserNotificationCenter, AShellThatNeverAnswersIsGivenUpAndNobodyElseIsAsked) {
  const PrivateBus bus;
  const auto shell = makeShell(bus.address(), [](const MockService::Call&) -> GVariant* { return nullptr; });
  const auto helper = makeHelper(bus.address());
  Center center;
  center->addNotificationRequest(photoRequest());
  ASSERT_TRUE(center.waitForRelease());
  EXPECT_THAT(shell->calls(), ::testing::SizeIs(1));
  EXPECT_THAT(helper->calls(), IsEmpty());
}

TEST(UserNotificationCenter, WithoutAnyServiceNothingIsLeftUnderWay) {
  const PrivateBus bus;
  Center center;
  center->addNotificationRequest(photoRequest());
  EXPECT_TRUE(center.waitForRelease());
}

TEST(UserNotificationCenter, ABusThatDiesLeavesNothingUnderWay) {
  PrivateBus bus;
  Center center;
  center->addNotificationRequest(photoRequest());
  bus.kill();
  EXPECT_TRUE(center.waitForRelease());
}

TEST(UserNotificationCenter, AResponseReachesTheDelegateAndHoldsTheEndUntilItIsDone) {
  const PrivateBus bus;
  Center center;
  const auto delegate = std::make_shared<TestDelegate>();
  center->setDelegate(delegate);
  const platform::UNNotificationResponse click{{photoRequest()}, "OPEN_ACTION"};
  center->receiveResponse(click);
  EXPECT_EQ(delegate->received, click);
  EXPECT_TRUE(center.held());
  delegate->completion();
  delegate->completion = nullptr;
  EXPECT_FALSE(center.held());
}

TEST(UserNotificationCenter, AResponseWithoutADelegateIsNobodys) {
  const PrivateBus bus;
  Center center;
  center->setDelegate(std::make_shared<TestDelegate>());
  center->receiveResponse({{photoRequest()}, "OPEN_ACTION"});
  EXPECT_FALSE(center.held());
}

/// What the centre answers to the question for authorisation.
struct Answer {
  bool came = false;
  bool granted = false;
  std::optional<platform::NSError> error;
};

Answer ask(Center& center) {
  Answer answer;
  center->requestAuthorizationWithOptions(
      platform::UNAuthorizationOptionSound | platform::UNAuthorizationOptionAlert,
      [&answer](bool granted, const std::optional<platform::NSError>& error) {
        answer = {true, granted, error};
      });
  EXPECT_FALSE(answer.came) << "the answer must come later";
  EXPECT_TRUE(waitUntil([&answer] { return answer.came; }));
  return answer;
}

TEST(Authorization, IsNotGrantedWhereNothingShowsNotifications) {
  const PrivateBus bus;
  Center center;
  const Answer answer = ask(center);
  EXPECT_FALSE(answer.granted);
  EXPECT_FALSE(answer.error);
}

TEST(Authorization, IsGrantedByAShell) {
  const PrivateBus bus;
  const auto shell = makeShell(bus.address());
  Center center;
  EXPECT_TRUE(ask(center).granted);
}

TEST(Authorization, IsGrantedWhereTheBusCanStartHelperAndService) {
  PrivateBus bus;
  bus.addService(kHelper, {"/nowhere/helper"});
  bus.addService(kService, {"/nowhere/service"});
  Center center;
  EXPECT_TRUE(ask(center).granted);
}

TEST(Authorization, NeedsAServiceBehindTheHelper) {
  PrivateBus bus;
  bus.addService(kHelper, {"/nowhere/helper"});
  Center center;
  EXPECT_FALSE(ask(center).granted);
}

TEST(Authorization, FailsWithoutABus) {
  setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere/bus", 1);
  Center center;
  const Answer answer = ask(center);
  EXPECT_FALSE(answer.granted);
  ASSERT_TRUE(answer.error);
  EXPECT_EQ(answer.error->code, ENOTCONN);
  center->addNotificationRequest(photoRequest());
  EXPECT_TRUE(center.waitForRelease());
}

TEST(Authorization, FailsWhereABusLetsNobodyIn) {
  const TemporaryFolder folder;
  const std::string path = (folder.path() / "bus").string();
  const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(listen(listener, 1), 0);
  setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + path).c_str(), 1);
  Center center(kApplication, platform_linux::kBusPatience);
  EXPECT_TRUE(ask(center).error);
  close(listener);
}

}  // namespace
}  // namespace camera_shot_tests
