#include "tests/fakes/FakeAppKit.h"

#include <algorithm>
#include <utility>

#include "tests/fakes/LayoutOutlets.h"

namespace fakes {
namespace {

const char* yesNo(bool value) {
  return value ? "YES" : "NO";
}

struct FakeNib : platform::NSNib {
  explicit FakeNib(std::shared_ptr<FakeLayout> loaded) : layout(std::move(loaded)) {}
  std::shared_ptr<platform::NSWindow> window() const override { return layout->window; }
  std::shared_ptr<platform::NSView> view(const std::string& outlet) const override {
    const auto found = layout->views.find(outlet);
    return found == layout->views.end()
               ? nullptr
               : std::shared_ptr<platform::NSView>(found->second,
                                                   static_cast<platform::NSButton*>(found->second.get()));
  }

  std::shared_ptr<FakeLayout> layout;
};

struct FakeSound : platform::NSSound {
  explicit FakeSound(Journal& to) : journal(to) {}
  void play() override { journal.add("sound play"); }

  Journal& journal;
};

class FakeBitmap : public platform::NSBitmapImageRep {
 public:
  FakeBitmap(Journal& journal, FakeFileManager& files, std::string name, bool writeFails)
      : journal_(journal), files_(files), name_(std::move(name)), writeFails_(writeFails) {}
  std::shared_ptr<platform::CGImage> cgImage() const override { return std::make_shared<FakeImage>(name_); }
  std::shared_ptr<platform::NSData> representationUsingType(platform::NSBitmapImageFileType) const override {
    journal_.add("encode " + name_ + " as PNG");
    return std::make_shared<FakeData>(journal_, files_, name_ + ".png", writeFails_);
  }

 private:
  Journal& journal_;
  FakeFileManager& files_;
  const std::string name_;
  const bool writeFails_;
};

}  // namespace

void FakeApplication::setActivationPolicy(platform::NSApplicationActivationPolicy policy) {
  journal_.add("application setActivationPolicy " + std::to_string(static_cast<int>(policy)));
}

void FakeApplication::activateIgnoringOtherApps(bool ignoring) {
  journal_.add(std::string("application activateIgnoringOtherApps ") + yesNo(ignoring));
  if (onActivate) onActivate();
}

void FakeApplication::terminate() {
  if (ended) return;
  journal_.add("application terminate");
  if (delegate && delegate->applicationShouldTerminate() != platform::NSApplicationTerminateReply::Now)
    return;
  ended = true;
  if (delegate) delegate->applicationWillTerminate();
  loop_.end();
}

int FakeApplication::runningApplicationsWithBundleIdentifier(const std::string& bundleIdentifier) {
  journal_.add("running applications " + bundleIdentifier);
  return bundleIdentifier == "com.verrano.quillo.CameraShot" ? instances : 1;
}

void FakeView::setHidden(bool value) {
  hidden = value;
  journal_.add(name + " hidden " + yesNo(value));
}

void FakeView::setWantsLayer(bool value) {
  journal_.add(name + " wantsLayer " + yesNo(value));
  if (value && !currentLayer) currentLayer = std::make_shared<FakeLayer>(journal_, name + " layer");
}

void FakeView::setLayer(std::shared_ptr<platform::CALayer> value) {
  currentLayer = std::move(value);
  journal_.add(name + (currentLayer ? " setLayer" : " setLayer none"));
}

void FakeView::setStringValue(const std::string& value) {
  text = value;
  journal_.add(name + " text " + value);
}

void FakeView::setEnabled(bool value) {
  enabled = value;
  journal_.add(name + " enabled " + yesNo(value));
}

void FakeView::setState(int value) {
  currentState = value;
  journal_.add(name + " state " + std::to_string(value));
}

void FakeView::setTitle(const std::string& value) {
  title = value;
  journal_.add(name + " title " + value);
}

void FakeView::setImage(std::shared_ptr<platform::NSImage> value) {
  image = nameOf(value);
  journal_.add(name + " image " + image);
}

void FakeView::setAlternateImage(std::shared_ptr<platform::NSImage> value) {
  alternateImage = nameOf(value);
  journal_.add(name + " alternateImage " + alternateImage);
}

void FakeView::removeAllItems() {
  items.clear();
  selected = -1;
  journal_.add(name + " removeAllItems");
}

void FakeView::addItem(const platform::NSMenuItem& item) {
  items.push_back(item.title);
  journal_.add(name + " addItem " + item.title);
}

void FakeView::selectItemAtIndex(int index) {
  selected = index;
  journal_.add(name + " select " + std::to_string(index));
}

void FakeWindow::makeKeyAndOrderFront() {
  journal_.add(name + " show");
  const bool wasOnScreen = isVisible();
  visible = true;
  minimised = false;
  if (wasOnScreen) return;
  tellOcclusion();
  tellKey();
}

void FakeWindow::orderOut() {
  journal_.add(name + " orderOut");
  leaveScreen();
}

void FakeWindow::close() {
  journal_.add(name + " close");
  const auto asked = delegate.lock();
  if (!asked || asked->windowShouldClose()) leaveScreen();
}

void FakeWindow::minimise() {
  journal_.add(name + " minimise");
  if (!std::exchange(minimised, true)) tellOcclusion();
}

void FakeWindow::leaveScreen() {
  minimised = false;
  if (std::exchange(visible, false)) tellOcclusion();
}

void FakeWindow::setStyleMask(unsigned value) {
  mask = value;
  journal_.add(name + " styleMask " + std::to_string(value));
}

void FakeWindow::setFrameAutosaveName(const std::string& value) {
  autosaveName = value;
  journal_.add(name + " frameAutosaveName " + value);
}

void FakeWindow::setDelegate(std::weak_ptr<platform::NSWindowDelegate> value) {
  delegate = std::move(value);
  journal_.add(name + " setDelegate");
}

void FakeWindow::tellOcclusion() const {
  if (const auto told = delegate.lock()) told->windowDidChangeOcclusionState();
}

void FakeWindow::tellKey() const {
  if (const auto told = delegate.lock()) told->windowDidBecomeKey();
}

std::shared_ptr<platform::NSBitmapImageRep> FakeAppKit::imageRepWithData(
    const std::shared_ptr<platform::NSData>& data) {
  const auto bytes = std::dynamic_pointer_cast<FakeData>(data);
  journal_.add("decode " + (bytes ? bytes->name() : std::string("none")));
  if (!bytes || !decodes) return nullptr;
  return std::make_shared<FakeBitmap>(journal_, files_, bytes->name(), writeFails);
}

std::shared_ptr<platform::NSImage> FakeAppKit::imageNamed(const std::string& name) {
  return missingImages.contains(name) ? nullptr : std::make_shared<FakeNamedImage>(name);
}

std::unique_ptr<platform::NSNib> FakeAppKit::loadNibNamed(const std::string& name,
                                                          platform::NSActions actions) {
  journal_.add("load " + name);
  if (!hasDisplay) return nullptr;
  auto layout = std::make_shared<FakeLayout>();
  layout->window = std::make_shared<FakeWindow>(journal_, name);
  layout->actions = std::move(actions);
  for (const auto& outlet : kLayoutOutlets.at(name))
    if (!missingOutlets.contains(outlet))
      layout->views[outlet] = std::make_shared<FakeView>(journal_, outlet);
  layouts[name] = layout;
  return std::make_unique<FakeNib>(layout);
}

bool FakeAppKit::hasWindows() const {
  return std::any_of(layouts.begin(), layouts.end(),
                     [](const auto& each) { return each.second->window->visible; });
}

void FakeAppKit::activate() const {
  for (const auto& [name, layout] : layouts)
    if (layout->window->isMiniaturized()) layout->window->makeKeyAndOrderFront();
}

std::shared_ptr<platform::NSSound> FakeAppKit::soundWithContentsOfFile(const std::string& file,
                                                                       bool byReference) {
  journal_.add("sound " + file + (byReference ? " by reference" : ""));
  return hasSound ? std::make_shared<FakeSound>(journal_) : nullptr;
}

}  // namespace fakes
