// The promises of the workspace, kept by a desktop's services and by the fake alike.
#include "platform/linux/desktop/Workspace.h"
#include "tests/contract/NSWorkspaceContract.h"
#include "tests/fakes/FakeAppKit.h"
#include "tests/notifications/WorkspaceFixture.h"
#include "tests/support/MainLoop.h"
#include "tests/support/PrivateBus.h"

namespace contract {

namespace {

using camera_shot_tests::MockService;
using platform_linux::GStringHandle;
using platform_linux::GVariantHandle;

/// A workspace on a bus of its own, with a file manager and a default application.
class RealWorkspace : public NSWorkspaceFactory {
 public:
  /// What is under way keeps the connection, which the next workspace must not share.
  ~RealWorkspace() override {
    EXPECT_TRUE(test_support::waitUntil([this] { return hold_.expired(); }));
  }
  platform::NSWorkspace& workspace() override { return workspace_; }
  std::string photo() const override { return home_.photo(); }
  std::vector<std::string> selected() const override {
    std::vector<std::string> paths;
    for (const std::string& arguments : files_->callsOf("ShowItems")) {
      const GVariantHandle call(
          g_variant_parse(G_VARIANT_TYPE("(ass)"), arguments.c_str(), nullptr, nullptr, nullptr));
      const GVariantHandle uris(g_variant_get_child_value(call.get(), 0));
      for (gsize i = 0; i < g_variant_n_children(uris.get()); ++i)
        paths.push_back(pathOf(uris.get(), i));
    }
    return paths;
  }
  std::vector<std::string> opened() const override {
    std::vector<std::string> paths;
    for (const std::string& arguments : opened_->callsOf("Write")) {
      const GVariantHandle call(
          g_variant_parse(G_VARIANT_TYPE("(s)"), arguments.c_str(), nullptr, nullptr, nullptr));
      const char* path = nullptr;
      g_variant_get(call.get(), "(&s)", &path);
      paths.emplace_back(path);
    }
    return paths;
  }
  bool runUntil(const std::function<bool()>& condition) override {
    return test_support::waitUntil(condition);
  }

 private:
  static std::string pathOf(GVariant* uris, gsize index) {
    const char* uri = nullptr;
    g_variant_get_child(uris, index, "&s", &uri);
    const GStringHandle path(g_filename_from_uri(uri, nullptr, nullptr));
    return path ? path.get() : uri;
  }
  std::shared_ptr<void> hold() {
    std::shared_ptr<void> held = std::make_shared<int>(0);
    hold_ = held;
    return held;
  }

  const camera_shot_tests::Home& home_ = camera_shot_tests::home();
  const test_support::PrivateBus bus_;
  const std::unique_ptr<MockService> files_ = camera_shot_tests::makeFileManager(bus_.address());
  const std::unique_ptr<MockService> opened_ = camera_shot_tests::makeOpeningJournal(bus_.address());
  const platform_linux::SessionBus session_{test_support::kPatience};
  std::weak_ptr<void> hold_;
  platform_linux::Workspace workspace_{session_, [this] { return hold(); }, [] { return std::string(); }};
};

class FakeDesktop : public NSWorkspaceFactory {
 public:
  platform::NSWorkspace& workspace() override { return workspace_; }
  std::string photo() const override { return "/home/ada/Pictures/A shot.png"; }
  std::vector<std::string> selected() const override { return told("workspace select ", " root \"\""); }
  std::vector<std::string> opened() const override { return told("workspace open ", ""); }
  bool runUntil(const std::function<bool()>& condition) override { return condition(); }

 private:
  /// The paths in the lines that begin and end so.
  std::vector<std::string> told(const std::string& begin, const std::string& end) const {
    std::vector<std::string> paths = journal_.of(begin);
    for (std::string& path : paths)
      path = path.substr(begin.size(), path.size() - begin.size() - end.size());
    return paths;
  }

  fakes::Journal journal_;
  fakes::FakeWorkspace workspace_{journal_};
};

template <typename Factory>
std::unique_ptr<NSWorkspaceFactory> make() {
  return std::make_unique<Factory>();
}

INSTANTIATE_TEST_SUITE_P(Linux, NSWorkspaceContract, testing::Values(&make<RealWorkspace>));
INSTANTIATE_TEST_SUITE_P(Fake, NSWorkspaceContract, testing::Values(&make<FakeDesktop>));

}  // namespace

}  // namespace contract
