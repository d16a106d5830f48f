#pragma once

#include "platform/AVFoundation/AVFoundation.h"
#include "platform/AppKit/AppKit.h"
#include "platform/AppKit/NSApplication.h"
#include "platform/AppKit/NSOpenPanel.h"
#include "platform/AppKit/NSWorkspace.h"
#include "platform/Foundation/MainQueue.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSDate.h"
#include "platform/Foundation/NSFileManager.h"
#include "platform/Foundation/NSLog.h"
#include "platform/Foundation/NSNotificationCenter.h"
#include "platform/Foundation/NSTimer.h"
#include "platform/Foundation/NSUserDefaults.h"
#include "platform/QuartzCore/QuartzCore.h"
#include "platform/UserNotifications/UNUserNotificationCenter.h"

namespace platform {

/// Every service of the platform that the suite and the tool use. Composed once, in `main`; outlives both.
struct Platform {
  MainQueue& mainQueue;
  NSRunLoop& mainRunLoop;
  NSNotificationCenter& defaultNotificationCenter;
  NSUserDefaults& standardUserDefaults;
  NSFileManager& defaultFileManager;
  NSBundle& mainBundle;
  NSDate& dates;
  NSLog& systemLog;

  NSApplication& application;
  NSRunningApplication& runningApplications;
  NSWorkspace& sharedWorkspace;
  NSOpenPanel& openPanel;
  AppKit& appKit;

  AVFoundation& avFoundation;
  QuartzCore& quartzCore;
  UNUserNotificationCenter& currentNotificationCenter;
};

}  // namespace platform
