#pragma once

#include <functional>
#include <utility>

namespace suite {

/// The tool's line to the suite: what the tool does, and what the suite asks of it. Main thread only.
class ToolDataClientProvider {
 public:
  /// 0: starting or leaving; 1: a normal run is under way.
  void setToolStatus(int status) {
    toolStatus_ = status;
    if (onStatus_) onStatus_(status);
  }
  [[nodiscard]] int toolStatus() const { return toolStatus_; }

  /// From now on tells `onStatus` whenever the status is set.
  void setStatusObserver(std::function<void(int status)> onStatus) { onStatus_ = std::move(onStatus); }

  /// What a click on the tool's menu icon does.
  void setClickMenuIconBlock(std::function<void()> block) { clickMenuIconBlock_ = std::move(block); }
  void clickMenuIcon() const {
    if (clickMenuIconBlock_) clickMenuIconBlock_();
  }

 private:
  int toolStatus_ = 0;
  std::function<void(int status)> onStatus_;
  std::function<void()> clickMenuIconBlock_;
};

}  // namespace suite
