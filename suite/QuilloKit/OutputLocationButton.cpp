#include "suite/QuilloKit/OutputLocationButton.h"

#include <cerrno>
#include <utility>

namespace suite {

OutputLocationButton::OutputLocationButton(Views views, platform::NSOpenPanel& panel,
                                           platform::NSFileManager& files, platform::NSBundle& bundle,
                                           LocationManager& locations)
    : views_(std::move(views)), panel_(panel), files_(files), bundle_(bundle), locations_(locations) {}

void OutputLocationButton::updateState() {
  const std::string folder = locations_.locationForCurrentTool().value_or("");
  views_.button->setTitle(files_.abbreviatingWithTilde(folder));
  views_.button->setToolTip(folder);
  if (views_.warning) showWarning(folder);
}

void OutputLocationButton::showWarning(const std::string& folder) {
  const int why = files_.whyNotWritableDirectory(folder);
  if (why != 0)
    views_.warning->setStringValue(
        why == ENOENT ? bundle_.localizedStringForKey("This folder does not exist.")
                      : bundle_.localizedStringForKey("Photos cannot be saved in this folder."));
  views_.warning->setHidden(why == 0);
}

void OutputLocationButton::handleOutputLocationChanged(Completion completion) {
  const std::string folder = locations_.locationForCurrentTool().value_or("");
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
  // Events name the folder as people read it: a home folder's name is nobody's business.
  const std::string shown = files_.abbreviatingWithTilde(folder);
  if (const int why = files_.whyNotWritableDirectory(folder); why != 0) {
    const std::string reason = bundle_.localizedStringForKey("Photos cannot be saved in this folder.");
    // A line of its own for the folder: it may run in the other direction than the sentence.
    panel_.showMessage(reason + "\n" + shown);
    completion(false, why, reason + " " + shown, {{"Changed", false}, {"Folder", shown}});
    return;
  }
  const bool stored = locations_.setLocationForCurrentTool(folder);
  updateState();
  const std::string message = stored ? "" : bundle_.localizedStringForKey("The settings cannot be saved.");
  if (!stored) panel_.showMessage(message);
  completion(stored, 0, message, {{"Changed", stored}, {"Folder", shown}});
}

}  // namespace suite
