// The promises of sounds, kept with the sound library and by the fake alike. Runs with a sound library that
// only notes what it is asked for.
#include <algorithm>

#include "platform/linux/desktop/Sound.h"
#include "tests/contract/NSSoundContract.h"
#include "tests/fakes/FakeAppKit.h"
#include "tests/notifications/SoundJournal.h"
#include "tests/support/MainLoop.h"

namespace contract {

namespace {

class RealSounds : public NSSoundFactory {
 public:
  std::shared_ptr<platform::NSSound> sound() override {
    return std::make_shared<platform_linux::Sound>(player_, platform_linux::EventSound{{"camera-shutter"}});
  }
  int timesHeard() const override {
    const std::string lines = journal_.read();
    return static_cast<int>(std::count(lines.begin(), lines.end(), '\n'));
  }
  bool runUntil(const std::function<bool()>& condition) override {
    return test_support::waitUntil(condition);
  }

 private:
  const camera_shot_tests::SoundJournal journal_;
  platform_linux::SoundProcess player_{SOUND_PROGRAM, 4};
};

class FakeSounds : public NSSoundFactory {
 public:
  std::shared_ptr<platform::NSSound> sound() override {
    return appKit_.soundWithContentsOfFile("shutter", true);
  }
  int timesHeard() const override { return journal_.count("sound play"); }
  bool runUntil(const std::function<bool()>& condition) override { return condition(); }

 private:
  fakes::Journal journal_;
  fakes::FakeFileManager files_{journal_};
  fakes::FakeAppKit appKit_{journal_, files_};
};

template <typename Factory>
std::unique_ptr<NSSoundFactory> make() {
  return std::make_unique<Factory>();
}

INSTANTIATE_TEST_SUITE_P(Linux, NSSoundContract, testing::Values(&make<RealSounds>));
INSTANTIATE_TEST_SUITE_P(Fake, NSSoundContract, testing::Values(&make<FakeSounds>));

}  // namespace

}  // namespace contract
