#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/AppKit/AppKit.h"
#include "platform/AppKit/NSApplication.h"
#include "platform/AppKit/NSOpenPanel.h"
#include "platform/AppKit/NSWorkspace.h"
#include "tests/fakes/FakeFoundation.h"
#include "tests/fakes/FakeQuartzCore.h"
#include "tests/fakes/Journal.h"

namespace fakes {

class FakeApplication : public platform::NSApplication, public platform::NSRunningApplication {
 public:
  FakeApplication(Journal& journal, FakeMainLoop& loop) : journal_(journal), loop_(loop) {}
  void setActivationPolicy(platform::NSApplicationActivationPolicy policy) override;
  void activateIgnoringOtherApps(bool ignoring) override;
  void terminate() override;
  int runningApplicationsWithBundleIdentifier(const std::string& bundleIdentifier) override;

  platform::NSApplicationDelegate* delegate = nullptr;
  /// How many processes of "com.verrano.quillo.CameraShot" run, this one included.
  int instances = 1;
  bool ended = false;
  std::function<void()> onActivate;  ///< brings the windows to the front

 private:
  Journal& journal_;
  FakeMainLoop& loop_;
};

class FakeWorkspace : public platform::NSWorkspace {
 public:
  explicit FakeWorkspace(Journal& journal) : journal_(journal) {}
  void selectFile(const std::string& path, const std::string& root) override {
    if (whileSelecting) whileSelecting();
    journal_.add("workspace select " + path + " root \"" + root + "\"");
  }
  void openFileURL(const std::string& path) override { journal_.add("workspace open " + path); }

  std::function<void()> whileSelecting;

 private:
  Journal& journal_;
};

class FakeOpenPanel : public platform::NSOpenPanel {
 public:
  explicit FakeOpenPanel(Journal& journal) : journal_(journal) {}
  void chooseDirectory(const std::string& directory,
                       std::function<void(std::optional<std::string>)> completion) override {
    journal_.add("panel choose from " + directory);
    pending = std::move(completion);
  }
  void showMessage(const std::string& message) override { journal_.add("panel message " + message); }

  std::function<void(std::optional<std::string>)> pending;

 private:
  Journal& journal_;
};

struct FakeNamedImage : platform::NSImage {
  explicit FakeNamedImage(std::string called) : name(std::move(called)) {}
  std::string name;
};

inline std::string nameOf(const std::shared_ptr<platform::NSImage>& image) {
  const auto named = std::dynamic_pointer_cast<FakeNamedImage>(image);
  return named ? named->name : "none";
}

/// A view of every kind: what was last set is there to be looked at, and every call is in the journal.
class FakeView : public platform::NSImageView,
                 public platform::NSTextField,
                 public platform::NSButton,
                 public platform::NSPopUpButton {
 public:
  FakeView(Journal& journal, std::string outlet) : name(std::move(outlet)), journal_(journal) {}

  void setHidden(bool value) override;
  void setWantsLayer(bool value) override;
  std::shared_ptr<platform::CALayer> layer() const override { return currentLayer; }
  void setLayer(std::shared_ptr<platform::CALayer> value) override;
  void setStringValue(const std::string& value) override;
  bool isEnabled() const override { return enabled; }
  void setEnabled(bool value) override;
  int state() const override { return currentState; }
  void setState(int value) override;
  void setTitle(const std::string& value) override;
  void setToolTip(const std::string& value) override { toolTip = value; }
  void setImage(std::shared_ptr<platform::NSImage> image) override;
  void setAlternateImage(std::shared_ptr<platform::NSImage> image) override;
  void removeAllItems() override;
  void addItem(const platform::NSMenuItem& item) override;
  int numberOfItems() const override { return static_cast<int>(items.size()); }
  void selectItemAtIndex(int index) override;
  int indexOfSelectedItem() const override { return selected; }

  const std::string name;
  bool hidden = false;
  bool enabled = true;
  int currentState = 0;
  std::string text;
  std::string title;
  std::string toolTip;
  std::string image = "none";
  std::string alternateImage = "none";
  std::shared_ptr<platform::CALayer> currentLayer;
  std::vector<std::string> items;
  int selected = -1;

 private:
  Journal& journal_;
};

class FakeWindow : public platform::NSWindow {
 public:
  FakeWindow(Journal& journal, std::string layout) : name(std::move(layout)), journal_(journal) {}
  bool isVisible() const override { return visible && !minimised; }
  bool isMiniaturized() const override { return visible && minimised; }
  void makeKeyAndOrderFront() override;
  void orderOut() override;
  unsigned styleMask() const override { return mask; }
  void setStyleMask(unsigned value) override;
  void setFrameAutosaveName(const std::string& value) override;
  void setDelegate(std::weak_ptr<platform::NSWindowDelegate> value) override;
  /// The user closes the window with the window manager's means, if the delegate lets it go.
  void close();
  void minimise();
  /// What the window system tells when the window comes on the screen, leaves it, or is covered.
  void tellOcclusion() const;
  void tellKey() const;

  const std::string name;
  bool visible = false;
  bool minimised = false;
  unsigned mask = 7;
  std::string autosaveName;
  std::weak_ptr<platform::NSWindowDelegate> delegate;

 private:
  void leaveScreen();

  Journal& journal_;
};

/// The objects of one layout; they outlive the controller's hold on them, so that a test can look at them.
struct FakeLayout {
  std::shared_ptr<FakeWindow> window;
  std::map<std::string, std::shared_ptr<FakeView>> views;
  platform::NSActions actions;

  FakeView& view(const std::string& outlet) { return *views.at(outlet); }
  void press(const std::string& action) { actions.at(action)(); }
};

class FakeAppKit : public platform::AppKit {
 public:
  FakeAppKit(Journal& journal, FakeFileManager& files) : journal_(journal), files_(files) {}
  std::shared_ptr<platform::NSBitmapImageRep> imageRepWithData(
      const std::shared_ptr<platform::NSData>& data) override;
  std::shared_ptr<platform::NSImage> imageNamed(const std::string& name) override;
  std::unique_ptr<platform::NSNib> loadNibNamed(const std::string& name,
                                                platform::NSActions actions) override;
  std::shared_ptr<platform::NSSound> soundWithContentsOfFile(const std::string& file,
                                                             bool byReference) override;

  bool loaded(const std::string& name) const { return layouts.contains(name); }
  FakeLayout& layout(const std::string& name) { return *layouts.at(name); }
  /// Whether any window is on the screen or minimised.
  bool hasWindows() const;
  /// Brings the windows that the user has open to the front, the minimised ones too.
  void activate() const;

  std::map<std::string, std::shared_ptr<FakeLayout>> layouts;
  std::set<std::string> missingOutlets;
  std::set<std::string> missingImages;
  bool hasDisplay = true;
  bool hasSound = true;
  bool decodes = true;
  bool writeFails = false;

 private:
  Journal& journal_;
  FakeFileManager& files_;
};

}  // namespace fakes
