#include "suite/QuilloKit/OutputLocationButton.h"

#include <cerrno>
#include <utility>

namespace suite {

OutputLocationButton::OutputLocationButton(Views views, platform::NSOpenPanel& panel,
                                           platform::NSFileManager& files, platform::NSBundle& bundle,
                                           LocationManager& locations)
    : views_(std::move(views)), panel_(panel), files_(files), bundle_(bundle), locations_(locations) {}

void OutputLocationButton::updateState() {
  const std::string before = std::exchange(shownFolder_, locations_.pathForCurrentTool().value_or(""));
  views_.button->setTitle(files_.abbreviatingWithTilde(shownFolder_));
  views_.button->setToolTip(shownFolder_);
  if (!views_.warning) return;
  // What was wrong with another folder says nothing about this one.
  if (shownFolder_ != before) views_.warning->setHidden(true);
  lookAt(shownFolder_);
}

void OutputLocationButton::lookAt(const std::string& folder) {
  // A server that does not answer is asked once, however often the user comes back to the window.
  if (!lookedAt_.insert(folder).second) return;
  files_.askWhyNotWritableDirectory(folder, [weak = weak_from_this(), folder](int why) {
    const auto self = weak.lock();
    if (!self) return;
    self->lookedAt_.erase(folder);
    if (folder == self->shownFolder_) self->showWarning(why);
  });
}

void OutputLocationButton::showWarning(int why) {
  if (why != 0)
    views_.warning->setStringValue(
        why == ENOENT ? bundle_.localizedStringForKey("This folder does not exist.")
                      : bundle_.localizedStringForKey("Photos cannot be saved in this folder."));
  views_.warning->setHidden(why == 0);
}

void OutputLocationButton::handleOutputLocationChanged(Completion completion) {
  const std::string folder = locations_.pathForCurrentTool().value_or("");
  panel_.chooseDirectory(folder, [weak = weak_from_this(), completion = std::move(completion)](
                                     const std::optional<std::string>& chosen) {
    const auto self = weak.lock();
    if (!self) return;
    if (chosen) {
      self->folderChosen(*chosen, completion);
    } else {
      completion(true, 0, "", {{"Changed", false}});
    }
  });
}

void OutputLocationButton::folderChosen(const std::string& folder, const Completion& completion) {
  files_.askWhyNotWritableDirectory(folder, [weak = weak_from_this(), folder, completion](int why) {
    const auto self = weak.lock();
    if (!self) return;
    if (why != 0)
      self->refuse(folder, why, completion);
    else
      self->store(folder, completion);
  });
}

// Events name the folder as people read it: a home folder's name is nobody's business.

void OutputLocationButton::refuse(const std::string& folder, int why, const Completion& completion) {
  const std::string shown = files_.abbreviatingWithTilde(folder);
  const std::string reason = bundle_.localizedStringForKey("Photos cannot be saved in this folder.");
  // A line of its own for the folder: it may run in the other direction than the sentence.
  panel_.showMessage(reason + "\n" + shown);
  completion(false, why, reason + " " + shown, {{"Changed", false}, {"Folder", shown}});
}

void OutputLocationButton::store(const std::string& folder, const Completion& completion) {
  const std::string shown = files_.abbreviatingWithTilde(folder);
  const bool stored = locations_.setLocationForCurrentTool(folder);
  updateState();
  const std::string message = stored ? "" : bundle_.localizedStringForKey("The settings cannot be saved.");
  if (!stored) panel_.showMessage(message);
  completion(stored, 0, message, {{"Changed", stored}, {"Folder", shown}});
}

}  // namespace suite
