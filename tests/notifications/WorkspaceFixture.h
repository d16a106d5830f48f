#pragma once

#include <memory>
#include <string>

#include "tests/notifications/MockService.h"
#include "tests/support/TemporaryFolder.h"

namespace camera_shot_tests {

/// A home in which pictures and folders have a default application: it reports the file that it gets to the
/// test.
class Home {
 public:
  Home();

  std::string photo() const { return (folder_.path() / "A shot.png").string(); }
  std::string photoUri() const { return "file://" + (folder_.path() / "A%20shot.png").string(); }
  /// In a folder and under a name that are no UTF-8.
  std::string photoOfNoText() const { return (folder_.path() / "\xff" / "\xff.png").string(); }
  std::string folder() const { return folder_.path().string(); }

 private:
  const test_support::TemporaryFolder folder_;
};

/// One for all tests: the library asks for the user's folders once in a process.
const Home& home();

/// What the default applications of that home report to, as calls of "Write".
std::unique_ptr<MockService> makeOpeningJournal(const std::string& address);

/// A file manager that can select; without `answer` it answers every call at once with nothing.
std::unique_ptr<MockService> makeFileManager(const std::string& address, MockService::Answer answer = {});

}  // namespace camera_shot_tests
