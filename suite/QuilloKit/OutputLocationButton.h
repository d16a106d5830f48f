#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>

#include "platform/AppKit/NSOpenPanel.h"
#include "platform/AppKit/NSView.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSFileManager.h"
#include "suite/QuilloCommon/Dictionary.h"
#include "suite/QuilloKit/LocationManager.h"

namespace suite {

/// The control that shows the tool's output folder and lets the user choose another. Main thread only; held
/// by a shared_ptr.
class OutputLocationButton : public std::enable_shared_from_this<OutputLocationButton> {
 public:
  /// success; an errno (0 without one); a message for the user, empty without one; what changed.
  using Completion = std::function<void(bool success, std::int64_t code, const std::string& message,
                                        const Dictionary& details)>;

  struct Views {
    std::shared_ptr<platform::NSButton> button;
    /// Says what is wrong with the folder, hidden while nothing is; may be absent.
    std::shared_ptr<platform::NSTextField> warning;
  };

  OutputLocationButton(Views views, platform::NSOpenPanel& panel, platform::NSFileManager& files,
                       platform::NSBundle& bundle, LocationManager& locations);

  /// Brings the shown folder up to date, and whether photos can be saved there as soon as that is known: the
  /// folder may be on a server that does not answer.
  void updateState();

  /// Asks the user for another folder and returns at once. `completion` runs once, when the user has chosen
  /// or cancelled; cancelling is a success that changed nothing. A folder that cannot be written to, or
  /// whose choice cannot be stored, is refused: the user is told, and the old one stays.
  void handleOutputLocationChanged(Completion completion);

 private:
  void folderChosen(const std::string& folder, const Completion& completion);
  void refuse(const std::string& folder, int why, const Completion& completion);
  void store(const std::string& folder, const Completion& completion);
  void lookAt(const std::string& folder);
  void showWarning(int why);

  const Views views_;
  platform::NSOpenPanel& panel_;
  platform::NSFileManager& files_;
  platform::NSBundle& bundle_;
  LocationManager& locations_;
  std::string shownFolder_;
  std::set<std::string> lookedAt_;  ///< folders of which no answer has come yet
};

}  // namespace suite
