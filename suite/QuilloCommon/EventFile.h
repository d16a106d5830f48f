#pragma once

#include <string>

#include "platform/Foundation/NSDate.h"
#include "platform/Foundation/NSFileManager.h"
#include "platform/Foundation/NSUserDefaults.h"
#include "suite/QuilloCommon/JsonLine.h"

namespace suite {

/// A local file of events, a JSON object a line. It is the user's own: nothing sends it anywhere, and the
/// suite setting "UsageEvents" set to false keeps it from being written. It is bounded: from 1 MB on it is
/// kept as `.1`, and a new one is begun. Main thread only.
class EventFile {
 public:
  EventFile(platform::NSFileManager& files, platform::NSDate& dates, platform::NSUserDefaults& suiteSettings,
            std::string path, std::string toolIdentifier);

  /// A line that begins with the current moment (UTC, milliseconds) and the tool.
  [[nodiscard]] JsonLine begin() const;
  /// Adds the line to the file; a file that cannot be written to loses the event, never the photo.
  void append(const JsonLine& line);

 private:
  platform::NSFileManager& files_;
  platform::NSDate& dates_;
  platform::NSUserDefaults& suiteSettings_;
  std::string path_;
  std::string toolIdentifier_;
};

}  // namespace suite
