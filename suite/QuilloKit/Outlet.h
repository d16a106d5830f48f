#pragma once

#include <memory>
#include <utility>

namespace suite {

/// A controller's weak hold on a view of its window. An operation on an absent view does nothing, in silence:
/// the window may not be loaded yet, or its layout may lack that view. Main thread only.
template <class View>
class Outlet {
 public:
  void connect(const std::shared_ptr<View>& view) { view_ = view; }

  [[nodiscard]] std::shared_ptr<View> get() const { return view_.lock(); }
  explicit operator bool() const { return !view_.expired(); }

  /// Runs `operation` on the view, if it is there.
  template <class Operation>
  void with(Operation&& operation) const {
    if (const auto view = view_.lock()) std::forward<Operation>(operation)(*view);
  }

 private:
  std::weak_ptr<View> view_;
};

}  // namespace suite
