#include <cstdlib>
#include <optional>

#include <gmock/gmock.h>

#include "platform/linux/tray/StatusNotifierItem.h"
#include "tests/support/MainLoop.h"
#include "tests/tray/TrayDesktop.h"

namespace {

using platform_linux::GStringHandle;
using platform_linux::GVariantHandle;
using platform_linux::SessionBus;
using platform_linux::StatusNotifierItem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Status = StatusNotifierItem::Status;

constexpr const char* kItem = "org.kde.StatusNotifierItem";
constexpr const char* kItemPath = "/StatusNotifierItem";
constexpr const char* kMenu = "com.canonical.dbusmenu";

/// German, as far as it goes.
class Texts : public platform::NSBundle {
 public:
  std::string bundleIdentifier() const override { return "com.example.App"; }
  std::string localizedStringForKey(const std::string& key, const std::string&,
                                    const std::string&) const override {
    return key == "Quit" ? "Beenden" : key;
  }
};

std::string printed(const GVariantHandle& value) {
  if (!value) return "nothing";
  const GStringHandle text(g_variant_print(value.get(), FALSE));
  return text.get();
}

class StatusNotifierItemTest : public ::testing::Test {
 protected:
  /// The program's side, once it runs.
  struct Program {
    explicit Program(std::vector<std::string>& done)
        : item(bus, {"com.example.App", "/opt/icons"}, texts,
               {[&done] { done.emplace_back("click"); }, [&done] { done.emplace_back("take a photo"); },
                [&done] { done.emplace_back("preferences"); }, [&done] { done.emplace_back("quit"); },
                [&done](const std::string& token) { done.emplace_back("token '" + token + "'"); }}) {}

    std::string name() const { return g_dbus_connection_get_unique_name(bus.connection()); }

    SessionBus bus{test_support::kPatience};
    Texts texts;
    StatusNotifierItem item;
  };

  void startProgram() { program.emplace(done); }

  std::string itemProperty(const char* name) {
    return printed(desktop.property(program->name(), kItemPath, kItem, name));
  }
  std::string menuCall(const char* method, GVariant* arguments) {
    const std::string path = menuPath();
    return printed(desktop.call(program->name(), path.c_str(), kMenu, method, arguments));
  }
  std::string menuPath() {
    const GVariantHandle path = desktop.property(program->name(), kItemPath, kItem, "Menu");
    return path ? g_variant_get_string(path.get(), nullptr) : "/";
  }
  bool onTray(std::size_t times) {
    return test_support::waitUntil([&] { return desktop.registered.size() >= times; });
  }

  /// Once another program has registered, the tray has heard of everybody who had a reason to before.
  void registerAnother() {
    desktop.call("org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher", "org.kde.StatusNotifierWatcher",
                 "RegisterStatusNotifierItem", g_variant_new("(s)", "other"));
  }

  TrayDesktop desktop;
  std::vector<std::string> done;
  std::optional<Program> program;
};

TEST_F(StatusNotifierItemTest, AnActiveItemIsOnTheTrayThatIsThere) {
  desktop.startTray();
  startProgram();
  program->item.setStatus(Status::Active);
  ASSERT_TRUE(onTray(1));
  EXPECT_THAT(desktop.registered, ElementsAre(program->name()));
}

TEST_F(StatusNotifierItemTest, ATrayThatComesLaterOrAnewGetsTheItem) {
  startProgram();
  program->item.setStatus(Status::Active);
  desktop.startTray();
  ASSERT_TRUE(onTray(1));
  desktop.stopTray();
  desktop.startTray();
  ASSERT_TRUE(onTray(2));
  EXPECT_THAT(desktop.registered, ElementsAre(program->name(), program->name()));
}

TEST_F(StatusNotifierItemTest, ARunThatNeverBecomesActiveStaysOffTheTray) {
  desktop.startTray();
  startProgram();
  program->item.setStatus(Status::Passive);
  EXPECT_EQ(itemProperty("Status"), "'Passive'");
  registerAnother();
  EXPECT_THAT(desktop.registered, ElementsAre("other"));
}

TEST_F(StatusNotifierItemTest, SaysWhatItIs) {
  startProgram();
  EXPECT_EQ(itemProperty("Category"), "'ApplicationStatus'");
  EXPECT_EQ(itemProperty("Id"), "'com.example.App'");
  EXPECT_EQ(itemProperty("Title"), "'Camera Shot'");
  EXPECT_EQ(itemProperty("IconName"), "'com.example.App'");
  EXPECT_EQ(itemProperty("IconThemePath"), "'/opt/icons'");
  EXPECT_EQ(itemProperty("IconPixmap"), "[]");
  EXPECT_EQ(itemProperty("ToolTip"), "('com.example.App', [], 'Camera Shot', 'Take a photo')");
  EXPECT_EQ(itemProperty("ItemIsMenu"), "false");
  EXPECT_EQ(itemProperty("WindowId"), "0");
}

TEST_F(StatusNotifierItemTest, AChangeOfStatusIsTold) {
  desktop.listen("NewStatus");
  startProgram();
  program->item.setStatus(Status::Active);
  program->item.setStatus(Status::Active);
  program->item.setStatus(Status::Passive);
  ASSERT_TRUE(test_support::waitUntil([&] { return desktop.heard.size() >= 2; }));
  EXPECT_EQ(itemProperty("Status"), "'Passive'");
  EXPECT_THAT(desktop.heard, ElementsAre("NewStatus('Active',)", "NewStatus('Passive',)"));
}

TEST_F(StatusNotifierItemTest, AClickOnTheIconIsTheClick) {
  startProgram();
  for (const char* const method : {"Activate", "SecondaryActivate", "ContextMenu"}) {
    EXPECT_EQ(printed(desktop.call(program->name(), kItemPath, kItem, method, g_variant_new("(ii)", 1, 2))),
              "()");
  }
  EXPECT_EQ(printed(desktop.call(program->name(), kItemPath, kItem, "Scroll",
                                 g_variant_new("(is)", 1, "vertical"))),
            "()");
  EXPECT_THAT(done, ElementsAre("click", "click"));
}

TEST_F(StatusNotifierItemTest, TheActivationTokenComesBeforeTheClick) {
  startProgram();
  for (const char* const token : {"token-7", ""}) {
    EXPECT_EQ(printed(desktop.call(program->name(), kItemPath, kItem, "ProvideXdgActivationToken",
                                   g_variant_new("(s)", token))),
              "()");
    desktop.call(program->name(), kItemPath, kItem, "Activate", g_variant_new("(ii)", 1, 2));
  }
  EXPECT_THAT(done, ElementsAre("token 'token-7'", "click", "token ''", "click"));
}

TEST_F(StatusNotifierItemTest, TheMenuIsLaidOutInTheUsersLanguage) {
  startProgram();
  const char* const none[] = {nullptr};
  EXPECT_EQ(menuCall("GetLayout", g_variant_new("(ii^as)", 0, -1, none)),
            "(1, (0, {'children-display': <'submenu'>}, [<(1, {'label': <'Take a photo'>}, @av [])>, "
            "<(2, {'label': <'Preferences'>}, @av [])>, <(3, {'label': <'Beenden'>}, @av [])>]))");
  EXPECT_EQ(menuCall("GetLayout", g_variant_new("(ii^as)", 0, 0, none)),
            "(1, (0, {'children-display': <'submenu'>}, []))");
  EXPECT_EQ(menuCall("GetLayout", g_variant_new("(ii^as)", 2, -1, none)),
            "(1, (2, {'label': <'Preferences'>}, []))");
}

TEST_F(StatusNotifierItemTest, TheMenuAnswersForItsEntries) {
  startProgram();
  const char* const none[] = {nullptr};
  const auto numbers = [](std::vector<int> list) {
    return g_variant_new_fixed_array(G_VARIANT_TYPE_INT32, list.data(), list.size(), sizeof(int));
  };
  EXPECT_EQ(menuCall("GetGroupProperties", g_variant_new("(@ai^as)", numbers({3, 9, -1}), none)),
            "([(3, {'label': <'Beenden'>})],)");
  EXPECT_EQ(menuCall("GetGroupProperties", g_variant_new("(@ai^as)", numbers({}), none)),
            "([(0, {'children-display': <'submenu'>}), (1, {'label': <'Take a photo'>}), "
            "(2, {'label': <'Preferences'>}), (3, {'label': <'Beenden'>})],)");
  EXPECT_EQ(menuCall("GetProperty", g_variant_new("(is)", 1, "label")), "(<'Take a photo'>,)");
  EXPECT_EQ(menuCall("GetProperty", g_variant_new("(is)", 1, "enabled")), "(<true>,)");
  EXPECT_EQ(menuCall("GetProperty", g_variant_new("(is)", 77, "label")), "(<''>,)");
  EXPECT_EQ(menuCall("AboutToShow", g_variant_new("(i)", 0)), "(false,)");
  EXPECT_EQ(menuCall("AboutToShowGroup", g_variant_new("(@ai)", numbers({0}))), "([], [])");
  const std::string path = menuPath();
  EXPECT_EQ(printed(desktop.property(program->name(), path.c_str(), kMenu, "Version")), "3");
  EXPECT_EQ(printed(desktop.property(program->name(), path.c_str(), kMenu, "Status")), "'normal'");
  EXPECT_EQ(printed(desktop.property(program->name(), path.c_str(), kMenu, "IconThemePath")), "[]");
}

TEST_F(StatusNotifierItemTest, AClickInTheMenuDoesWhatItSays) {
  startProgram();
  const auto event = [](int entry, const char* what) {
    return g_variant_new("(isvu)", entry, what, g_variant_new_int32(0), 0U);
  };
  for (const int entry : {1, 2, 3, 4, 0, -1})
    menuCall("Event", event(entry, "clicked"));
  menuCall("Event", event(1, "hovered"));
  EXPECT_THAT(done, ElementsAre("take a photo", "preferences", "quit"));
}

TEST_F(StatusNotifierItemTest, ClicksMayComeInAGroup) {
  startProgram();
  GVariantBuilder events;
  g_variant_builder_init(&events, G_VARIANT_TYPE("a(isvu)"));
  for (const char* const what : {"opened", "clicked", "closed"}) {
    g_variant_builder_add(&events, "(isvu)", 1, what, g_variant_new_int32(0), 0U);
  }
  EXPECT_EQ(menuCall("EventGroup", g_variant_new("(a(isvu))", &events)), "([],)");
  EXPECT_THAT(done, ElementsAre("take a photo"));
}

TEST_F(StatusNotifierItemTest, CallsThatDoNotFitAreTurnedAway) {
  startProgram();
  EXPECT_EQ(printed(desktop.call(program->name(), kItemPath, kItem, "Activate", g_variant_new("(s)", "x"))),
            "nothing");
  EXPECT_EQ(printed(desktop.call(program->name(), kItemPath, kItem, "Explode")), "nothing");
  EXPECT_THAT(done, IsEmpty());
}

TEST_F(StatusNotifierItemTest, AfterItsEndNothingOfItIsLeft) {
  desktop.startTray();
  startProgram();
  program->item.setStatus(Status::Active);
  ASSERT_TRUE(onTray(1));
  const SessionBus staysConnected(test_support::kPatience);
  const std::string name = program->name();
  program.reset();
  EXPECT_EQ(printed(desktop.call(name, kItemPath, kItem, "Activate", g_variant_new("(ii)", 1, 2))),
            "nothing");
  desktop.stopTray();
  desktop.startTray();
  registerAnother();
  EXPECT_THAT(done, IsEmpty());
  EXPECT_THAT(desktop.registered, ElementsAre(name, "other"));
}

TEST(StatusNotifierItemAlone, WithoutABusNothingHappens) {
  setenv("DBUS_SESSION_BUS_ADDRESS", "", 1);
  while (g_main_context_iteration(nullptr, FALSE)) {  // what other tests have left
  }
  const SessionBus bus;
  ASSERT_EQ(bus.connection(), nullptr);
  const Texts texts;
  StatusNotifierItem item(bus, {"com.example.App", ""}, texts, {});
  item.setStatus(Status::Active);
  item.setStatus(Status::Passive);
  EXPECT_FALSE(g_main_context_pending(nullptr));
}

}  // namespace
