#pragma once

#include <algorithm>
#include <iterator>
#include <mutex>
#include <string>
#include <vector>

namespace fakes {

/// What happened, in order, in words: every fake writes here, so that a test can read a run as a story. Any
/// thread may write; reading is for a moment when no other thread does.
class Journal {
 public:
  void add(std::string line) {
    const std::scoped_lock lock(mutex_);
    lines_.push_back(std::move(line));
  }
  void clear() { lines_.clear(); }
  const std::vector<std::string>& lines() const { return lines_; }

  /// The lines that begin with `word`, in order.
  std::vector<std::string> of(const std::string& word) const {
    std::vector<std::string> found;
    std::copy_if(lines_.begin(), lines_.end(), std::back_inserter(found),
                 [&](const std::string& line) { return line.starts_with(word); });
    return found;
  }
  int count(const std::string& line) const {
    return static_cast<int>(std::count(lines_.begin(), lines_.end(), line));
  }
  bool has(const std::string& line) const { return count(line) > 0; }
  /// Whether the given lines appear in this order, others between them or not.
  bool inOrder(const std::vector<std::string>& expected) const {
    auto at = lines_.begin();
    for (const auto& line : expected) {
      at = std::find(at, lines_.end(), line);
      if (at == lines_.end()) return false;
      ++at;
    }
    return true;
  }

 private:
  std::mutex mutex_;
  std::vector<std::string> lines_;
};

}  // namespace fakes
