// The promises of the storage ports, kept by the real adapters and by the fakes alike.
#include "platform/linux/storage/FileManager.h"
#include "platform/linux/storage/UserDefaults.h"
#include "tests/contract/NSFileManagerContract.h"
#include "tests/contract/NSUserDefaultsContract.h"
#include "tests/fakes/FakeFoundation.h"
#include "tests/storage/Files.h"
#include "tests/support/MainLoop.h"

namespace contract {

namespace {

class RealFiles : public NSFileManagerFactory {
 public:
  platform::NSFileManager& fileManager() override { return files_; }
  std::string folder() override { return folder_.path(); }
  std::string makeFile(const std::string& name) override {
    storage_tests::makeFile(folder_ / name, "");
    return folder_ / name;
  }
  std::string content(const std::string& path) override { return storage_tests::contentOf(path); }
  bool turnUntil(const std::function<bool()>& condition) override {
    return test_support::waitUntil(condition);
  }

 private:
  storage_tests::TemporaryFolder folder_;
  platform_linux::FileManager files_;
};

class FakeFiles : public NSFileManagerFactory {
 public:
  FakeFiles() { files_.notWritable["/folder/nothing"] = ENOENT; }
  platform::NSFileManager& fileManager() override { return files_; }
  std::string folder() override { return "/folder"; }
  std::string makeFile(const std::string& name) override {
    return *files_.existing.insert("/folder/" + name).first;
  }
  std::string content(const std::string& path) override {
    std::string all;
    for (const std::string& line : files_.appended[path])
      all += line + "\n";
    return all;
  }
  bool turnUntil(const std::function<bool()>& condition) override {
    files_.answerAll();
    return condition();
  }

 private:
  fakes::Journal journal_;
  fakes::FakeFileManager files_{journal_};
};

class RealDefaults : public NSUserDefaultsFactory {
 public:
  std::unique_ptr<platform::NSUserDefaults> open() override {
    return std::make_unique<platform_linux::UserDefaults>(folder_ / "quillo/settings.ini", "CameraShot",
                                                          log_);
  }

 private:
  storage_tests::TemporaryFolder folder_;
  fakes::Journal journal_;
  fakes::FakeLog log_{journal_};
};

class FakeDefaults : public NSUserDefaultsFactory {
 public:
  std::unique_ptr<platform::NSUserDefaults> open() override {
    auto made = std::make_unique<fakes::FakeUserDefaults>(journal_, "defaults");
    if (first_)
      made->values = first_->values;
    else
      first_ = made.get();
    return made;
  }

 private:
  fakes::Journal journal_;
  const fakes::FakeUserDefaults* first_ = nullptr;  ///< which the test keeps
};

template <typename Factory, typename Port>
std::unique_ptr<Port> make() {
  return std::make_unique<Factory>();
}

INSTANTIATE_TEST_SUITE_P(Linux, NSFileManagerContract,
                         testing::Values(&make<RealFiles, NSFileManagerFactory>));
INSTANTIATE_TEST_SUITE_P(Fake, NSFileManagerContract,
                         testing::Values(&make<FakeFiles, NSFileManagerFactory>));
INSTANTIATE_TEST_SUITE_P(Linux, NSUserDefaultsContract,
                         testing::Values(&make<RealDefaults, NSUserDefaultsFactory>));
INSTANTIATE_TEST_SUITE_P(Fake, NSUserDefaultsContract,
                         testing::Values(&make<FakeDefaults, NSUserDefaultsFactory>));

}  // namespace

}  // namespace contract
