#pragma once

#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "picture/Thumbnail.h"

namespace platform_linux {

/// Small copies of the photos that were saved last, by their path. Thread-safe.
class SavedThumbnails {
 public:
  /// In pixels each way: what notifications show, on screens of twice the usual resolution too.
  static constexpr int kSide = 192;

  void remember(const std::string& path, picture::Thumbnail thumbnail) {
    const std::scoped_lock lock(mutex_);
    if (saved_.size() == kMost) saved_.pop_front();
    saved_.emplace_back(path, std::move(thumbnail));
  }

  /// Nothing when the photo is none of the last.
  [[nodiscard]] std::optional<picture::Thumbnail> of(const std::string& path) const {
    const std::scoped_lock lock(mutex_);
    for (auto saved = saved_.rbegin(); saved != saved_.rend(); ++saved)
      if (saved->first == path) return saved->second;
    return std::nullopt;
  }

 private:
  /// More than there can be between a photo and its notification.
  static constexpr std::size_t kMost = 4;

  mutable std::mutex mutex_;
  std::deque<std::pair<std::string, picture::Thumbnail>> saved_;
};

}  // namespace platform_linux
