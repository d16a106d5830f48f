// Counts the pictures that appear on the X display for a while, whoever draws them: whatever is drawn within
// a few milliseconds is one picture. Prints "shown SECONDS LONGEST_GAP_MS", once the time is over.
//   frame_counter SECONDS LEAST_PIXELS      LEAST_PIXELS: what is smaller is no picture but a button, say

#include <X11/Xlib.h>
#include <X11/extensions/Xdamage.h>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <poll.h>

namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

// Pictures are 16 ms or more apart; the pieces of one come within much less.
constexpr auto kOnePicture = std::chrono::milliseconds(10);

class Counter {
 public:
  explicit Counter(double leastPixels) : leastPixels_(leastPixels) {}

  void drawn(double pixels) {
    const auto now = Clock::now();
    if (now - begun_ > kOnePicture) {
      begun_ = now;
      pixels_ = 0;
    }
    const bool wasCounted = pixels_ >= leastPixels_;
    pixels_ += pixels;
    if (!wasCounted && pixels_ >= leastPixels_) count();
  }

  [[nodiscard]] int shown() const { return shown_; }
  [[nodiscard]] double longestGap() const { return longestGap_; }

 private:
  void count() {
    if (shown_++ > 0) longestGap_ = std::max(longestGap_, Milliseconds(begun_ - last_).count());
    last_ = begun_;
  }

  const double leastPixels_;
  Clock::time_point begun_;
  double pixels_ = 0;
  Clock::time_point last_;
  int shown_ = 0;
  double longestGap_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  Display* const display = XOpenDisplay(nullptr);
  int firstEvent = 0;
  int firstError = 0;
  if (argc != 3 || display == nullptr || XDamageQueryExtension(display, &firstEvent, &firstError) == 0) {
    std::fputs("usage: frame_counter SECONDS LEAST_PIXELS, on an X display with the DAMAGE extension\n",
               stderr);
    return 2;
  }
  const double seconds = std::atof(argv[1]);
  XDamageCreate(display, DefaultRootWindow(display), XDamageReportRawRectangles);
  XSync(display, False);
  Counter counter(std::atof(argv[2]));
  const auto begin = Clock::now();
  const auto end =
      begin + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
  while (Clock::now() < end) {
    while (XPending(display) > 0) {
      XEvent event;
      XNextEvent(display, &event);
      if (event.type != firstEvent + XDamageNotify) continue;
      const auto& area = reinterpret_cast<const XDamageNotifyEvent&>(event).area;
      counter.drawn(double{1} * area.width * area.height);
    }
    pollfd connection{ConnectionNumber(display), POLLIN, 0};
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
    if (left > 0) ::poll(&connection, 1, static_cast<int>(left));
  }
  std::printf("%d %.3f %.1f\n", counter.shown(), Milliseconds(Clock::now() - begin).count() / 1000,
              counter.longestGap());
  XCloseDisplay(display);
}
