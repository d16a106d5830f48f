#include "suite/QuilloKit/OutputLocationButton.h"

#include <utility>

namespace suite {

OutputLocationButton::OutputLocationButton(std::shared_ptr<platform::NSButton> button,
                                           platform::NSOpenPanel& panel, platform::NSFileManager& files,
                                           platform::NSBundle& bundle, LocationManager& locations)
    : button_(std::move(button)), panel_(panel), files_(files), bundle_(bundle), locations_(locations) {}

void OutputLocationButton::updateState() {
  const std::string folder = locations_.locationForCurrentTool().value_or("");
  button_->setTitle(files_.abbreviatingWithTilde(folder));
  button_->setToolTip(folder);
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
  completion(stored, 0, stored ? "" : bundle_.localizedStringForKey("The settings cannot be saved."),
             {{"Changed", true}, {"Folder", shown}});
}

}  // namespace suite
