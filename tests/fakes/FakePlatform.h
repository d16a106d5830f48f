#pragma once

#include "platform/Platform.h"
#include "suite/Suite.h"
#include "tests/fakes/FakeAVFoundation.h"
#include "tests/fakes/FakeAppKit.h"
#include "tests/fakes/FakeFoundation.h"
#include "tests/fakes/FakeQuartzCore.h"
#include "tests/fakes/FakeUserNotifications.h"
#include "tests/fakes/Journal.h"

namespace fakes {

/// A whole desktop of fakes around one journal and one clock, with the real suite on top.
struct FakePlatform {
  FakePlatform() {
    application.onActivate = [this] { appKit.activate(); };
  }

  Journal journal;
  FakeMainLoop loop{&journal};
  FakeNotificationCenter center{journal};
  FakeUserDefaults defaults{journal, "defaults"};
  FakeFileManager files{journal};
  FakeBundle bundle;
  FakeLog log{journal};
  FakeApplication application{journal, loop};
  FakeWorkspace workspace{journal};
  FakeOpenPanel panel{journal};
  FakeAppKit appKit{journal, files};
  FakeAVFoundation avFoundation{journal};
  FakeQuartzCore quartzCore{journal};
  FakeUserNotificationCenter notifications{journal, loop};

  platform::Platform platform{loop,   loop,         center,      defaults,     files,     bundle,
                              loop,   log,          application, application,  workspace, panel,
                              appKit, avFoundation, quartzCore,  notifications};

  FakeUserDefaults suiteSettings{journal, "suite"};
  FakeUserDefaults locations{journal, "locations"};
  FakeUserDefaults lastRuns{journal, "last runs"};
  suite::Suite suite{
      platform,
      {suiteSettings, locations, lastRuns, "/state/usage-events.jsonl", "/state/analytics-events.jsonl"},
      "a5f597ea-d3f3-4347-bbe6-344e240acc7e"};
};

}  // namespace fakes
