#include <cerrno>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "suite/QuilloKit/OutputLocationButton.h"
#include "suite/QuilloKit/ToolController.h"
#include "tests/fakes/FakePlatform.h"

namespace suite {
namespace {

using ::testing::IsEmpty;

const std::string kMain = "PreviewWindowController";
const std::string kPreferences = "PreferencesWindowController";

struct PlainWindowController : QuilloWindowController {
  using QuilloWindowController::QuilloWindowController;
  void windowDidLoad() override {
    QuilloWindowController::windowDidLoad();
    ++loads;
  }
  void windowDidChangeOcclusionState() override {}

  int loads = 0;
};

/// The pair of windows that every tool has.
struct Pair : fakes::FakePlatform {
  fakes::FakeWindow& window(const std::string& name) { return *appKit.layout(name).window; }

  std::shared_ptr<PlainWindowController> main = std::make_shared<PlainWindowController>(appKit, kMain);
  std::shared_ptr<PlainWindowController> preferences =
      std::make_shared<PlainWindowController>(appKit, kPreferences);
  ToolController tool{main, preferences};
};

TEST(QuilloWindowController, LoadsItsWindowAtTheFirstRequestForItAndOnlyOnce) {
  Pair pair;
  EXPECT_THAT(pair.journal.lines(), IsEmpty());
  const auto window = pair.main->window();
  ASSERT_TRUE(window);
  EXPECT_EQ(pair.main->window(), window);
  pair.main->showWindow();
  EXPECT_EQ(pair.main->loads, 1);
  EXPECT_EQ(pair.journal.of("load").size(), 1U);
}

TEST(QuilloWindowController, LoadsNothingWhenAskedForItsVisibility) {
  Pair pair;
  EXPECT_FALSE(pair.main->isWindowVisible());
  EXPECT_FALSE(pair.tool.hasVisibleWindows());
  EXPECT_THAT(pair.journal.lines(), IsEmpty());
}

TEST(QuilloWindowController, HasItsWindowAsSoonAsItCanBeLoaded) {
  Pair pair;
  pair.appKit.hasDisplay = false;
  pair.main->showWindow();
  EXPECT_EQ(pair.main->window(), nullptr);
  EXPECT_FALSE(pair.main->isWindowVisible());
  EXPECT_EQ(pair.main->loads, 0);
  pair.appKit.hasDisplay = true;
  pair.main->showWindow();
  EXPECT_TRUE(pair.main->isWindowVisible());
  EXPECT_EQ(pair.main->loads, 1);
}

TEST(QuilloWindowController, IsOpenOnTheScreenAndMinimised) {
  Pair pair;
  EXPECT_FALSE(pair.main->isWindowOpen());
  pair.main->showWindow();
  EXPECT_TRUE(pair.main->isWindowOpen());
  pair.window(kMain).minimise();
  EXPECT_TRUE(pair.main->isWindowOpen());
  EXPECT_FALSE(pair.main->isWindowVisible());
  pair.main->window()->orderOut();
  EXPECT_FALSE(pair.main->isWindowOpen());
}

TEST(QuilloWindowController, HidesTheButtonsThatItsTitleBarGoesWithout) {
  struct Bare : PlainWindowController {
    using PlainWindowController::PlainWindowController;
    bool hidesPreferencesButton() const override { return true; }
    bool hidesCloseButton() const override { return true; }
  };
  Pair pair;
  const auto bare = std::make_shared<Bare>(pair.appKit, kMain);
  bare->window();
  EXPECT_TRUE(pair.appKit.layout(kMain).view("preferencesButton").hidden);
  EXPECT_TRUE(pair.appKit.layout(kMain).view("closeButton").hidden);
}

TEST(QuilloWindowController, LeavesBothButtonsInTheHeaderUnlessToldOtherwise) {
  Pair pair;
  pair.main->window();
  EXPECT_FALSE(pair.appKit.layout(kMain).view("preferencesButton").hidden);
  EXPECT_FALSE(pair.appKit.layout(kMain).view("closeButton").hidden);
}

TEST(QuilloWindowController, HandlersDoNothingAfterItsEnd) {
  Pair pair;
  pair.main->window();
  auto press = pair.appKit.layout(kMain).actions.at("preferencesButtonPressed");
  pair.tool = ToolController(std::make_shared<PlainWindowController>(pair.appKit, kMain), pair.preferences);
  pair.main.reset();
  pair.journal.clear();
  press();
  EXPECT_THAT(pair.journal.lines(), IsEmpty());
}

TEST(ToolController, ShowsEachWindow) {
  Pair pair;
  pair.tool.showMain();
  EXPECT_TRUE(pair.main->isWindowVisible());
  pair.tool.showPreferences();
  EXPECT_TRUE(pair.preferences->isWindowVisible());
  EXPECT_TRUE(pair.main->isWindowVisible());
}

TEST(ToolController, HasVisibleWindowsWhenEitherIs) {
  Pair pair;
  pair.tool.showMain();
  EXPECT_TRUE(pair.tool.hasVisibleWindows());
  pair.window(kMain).orderOut();
  EXPECT_FALSE(pair.tool.hasVisibleWindows());
  pair.tool.showPreferences();
  EXPECT_TRUE(pair.tool.hasVisibleWindows());
}

TEST(ToolController, ShowsTheMainWindowBeforeThePreferencesLeave) {
  Pair pair;
  pair.tool.showPreferences();
  pair.journal.clear();
  pair.preferences->showCounterpart();
  EXPECT_TRUE(pair.journal.inOrder({kMain + " show", kPreferences + " orderOut"}));
  EXPECT_FALSE(pair.preferences->isWindowVisible());
}

TEST(ToolController, ShowsThePreferencesBesideTheMainWindowFromItsHeader) {
  Pair pair;
  pair.tool.showMain();
  pair.appKit.layout(kMain).press("preferencesButtonPressed");
  EXPECT_TRUE(pair.preferences->isWindowVisible());
  EXPECT_TRUE(pair.main->isWindowVisible());
}

/// The folder control with what its completion was told.
struct FolderControl : fakes::FakePlatform {
  void choose(const std::optional<std::string>& folder) {
    control->handleOutputLocationChanged(
        [this](bool success, std::int64_t code, const std::string& message, const Dictionary& details) {
          journal.add(std::string("completed ") + (success ? "YES " : "NO ") + std::to_string(code) + " " +
                      message);
          told = details;
        });
    if (panel.pending) panel.pending(folder);
    files.answerAll();
  }
  void update() {
    control->updateState();
    files.answerAll();
  }

  std::shared_ptr<fakes::FakeView> button = std::make_shared<fakes::FakeView>(journal, "outputLocation");
  std::shared_ptr<fakes::FakeView> warning =
      std::make_shared<fakes::FakeView>(journal, "outputLocationWarning");
  std::shared_ptr<OutputLocationButton> control = std::make_shared<OutputLocationButton>(
      OutputLocationButton::Views{button, warning}, panel, files, bundle, suite.locationManager);
  Dictionary told;
};

TEST(OutputLocationButton, ShowsTheFolderShortAndWholeInItsTip) {
  FolderControl desk;
  desk.control->updateState();
  EXPECT_EQ(desk.button->title, "~/Pictures");
  EXPECT_EQ(desk.button->toolTip, "/home/ada/Pictures");
}

TEST(OutputLocationButton, ShowsNothingWithoutAFolder) {
  FolderControl desk;
  desk.files.pictures = std::nullopt;
  desk.control->updateState();
  EXPECT_EQ(desk.button->title, "");
}

TEST(OutputLocationButton, StoresTheChosenFolderThenShowsItThenCompletes) {
  FolderControl desk;
  desk.choose("/home/ada/Shots");
  EXPECT_TRUE(desk.journal.inOrder({"panel choose from /home/ada/Pictures", "locations synchronize",
                                    "outputLocation title ~/Shots", "completed YES 0 "}));
  EXPECT_EQ(desk.told, (Dictionary{{"Changed", true}, {"Folder", "~/Shots"}}));
}

TEST(OutputLocationButton, CountsACancelAsASuccessThatChangedNothing) {
  FolderControl desk;
  desk.choose(std::nullopt);
  EXPECT_TRUE(desk.journal.has("completed YES 0 "));
  EXPECT_EQ(desk.told, (Dictionary{{"Changed", false}}));
  EXPECT_THAT(desk.journal.of("locations"), IsEmpty());
}

TEST(OutputLocationButton, RefusesAFolderThatCannotBeWrittenTo) {
  FolderControl desk;
  desk.files.notWritable["/etc"] = EACCES;
  desk.choose("/etc");
  EXPECT_TRUE(desk.journal.inOrder({"panel message Photos cannot be saved in this folder.\n/etc",
                                    "completed NO 13 Photos cannot be saved in this folder. /etc"}));
  EXPECT_EQ(desk.told, (Dictionary{{"Changed", false}, {"Folder", "/etc"}}));
  EXPECT_EQ(desk.suite.locationManager.locationForCurrentTool(), "/home/ada/Pictures");
}

TEST(OutputLocationButton, TellsTheUserWhenTheChoiceCannotBeStoredAndShowsTheOldFolder) {
  for (const std::string before : {"", "/home/ada/Shots"}) {
    FolderControl desk;
    if (!before.empty()) desk.suite.locationManager.setLocationForCurrentTool(before);
    desk.locations.synchronizes = false;
    desk.choose("/mnt/stick");
    EXPECT_TRUE(desk.journal.inOrder(
        {"panel message The settings cannot be saved.", "completed NO 0 The settings cannot be saved."}));
    EXPECT_EQ(desk.told, (Dictionary{{"Changed", false}, {"Folder", "/mnt/stick"}}));
    EXPECT_EQ(desk.button->title, before.empty() ? "~/Pictures" : "~/Shots");
    EXPECT_EQ(desk.suite.locationManager.locationForCurrentTool(),
              before.empty() ? "/home/ada/Pictures" : before);
  }
}

TEST(OutputLocationButton, WarnsOfAFolderThatIsGoneOrCannotBeWrittenTo) {
  FolderControl desk;
  desk.files.notWritable["/home/ada/Pictures"] = ENOENT;
  desk.update();
  EXPECT_EQ(desk.warning->text, "This folder does not exist.");
  EXPECT_FALSE(desk.warning->hidden);
  EXPECT_EQ(desk.button->title, "~/Pictures");

  desk.files.notWritable["/home/ada/Pictures"] = EROFS;
  desk.update();
  EXPECT_EQ(desk.warning->text, "Photos cannot be saved in this folder.");
  EXPECT_FALSE(desk.warning->hidden);

  desk.files.notWritable.clear();
  desk.update();
  EXPECT_TRUE(desk.warning->hidden);
}

TEST(OutputLocationButton, ShowsTheFolderBeforeItsFileSystemHasAnsweredAndAsksItOnce) {
  FolderControl desk;
  desk.files.notWritable["/home/ada/Pictures"] = ENOENT;
  desk.warning->setHidden(true);
  desk.control->updateState();
  desk.control->updateState();
  EXPECT_EQ(desk.button->title, "~/Pictures");
  EXPECT_TRUE(desk.warning->hidden);
  EXPECT_EQ(desk.files.asked.size(), 1U);
  desk.files.answerAll();
  EXPECT_FALSE(desk.warning->hidden);
  desk.control->updateState();
  EXPECT_EQ(desk.files.asked.size(), 1U) << "a new answer for the next look";
}

TEST(OutputLocationButton, ALateAnswerIsNotAboutTheNextFolder) {
  FolderControl desk;
  desk.files.notWritable["/home/ada/Pictures"] = EIO;
  desk.warning->setHidden(true);
  desk.control->updateState();
  desk.suite.locationManager.setLocationForCurrentTool("/mnt/stick");
  desk.control->updateState();
  desk.files.answerAll();
  EXPECT_TRUE(desk.warning->hidden);
}

TEST(OutputLocationButton, DoesWithoutTheWarningWhereTheLayoutHasNone) {
  FolderControl desk;
  desk.control =
      std::make_shared<OutputLocationButton>(OutputLocationButton::Views{desk.button, nullptr}, desk.panel,
                                             desk.files, desk.bundle, desk.suite.locationManager);
  desk.files.notWritable["/home/ada/Pictures"] = ENOENT;
  desk.control->updateState();
  EXPECT_EQ(desk.button->title, "~/Pictures");
}

TEST(OutputLocationButton, ForgetsTheQuestionAtItsEnd) {
  FolderControl desk;
  desk.choose(std::nullopt);
  desk.journal.clear();
  desk.control->handleOutputLocationChanged([](bool, std::int64_t, const std::string&, const Dictionary&) {});
  desk.panel.pending("/home/ada/Other");
  desk.journal.clear();
  desk.control.reset();
  desk.files.answerAll();
  desk.panel.pending("/home/ada/Shots");
  EXPECT_THAT(desk.journal.lines(), IsEmpty());
}

}  // namespace
}  // namespace suite
