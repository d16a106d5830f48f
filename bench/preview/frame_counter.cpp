// Counts the pictures that appear on the X display for a while, whoever draws them: whatever is drawn within
// a few milliseconds is one picture. Prints, once the time is over, how many, the
// seconds, and the milliseconds from each to the next.
//   frame_counter SECONDS LEAST_PIXELS      LEAST_PIXELS: what is smaller is no picture but a button, say

#include <X11/Xlib.h>
#include <X11/extensions/Xdamage.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <poll.h>
#include <vector>

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

  void print(double seconds) const {
    std::printf("%zu %.3f", shown_.size(), seconds);
    for (std::size_t i = 1; i < shown_.size(); ++i)
      std::printf(" %.1f", Milliseconds(shown_[i] - shown_[i - 1]).count());
    std::printf("\n");
  }

 private:
  void count() { shown_.push_back(begun_); }

  const double leastPixels_;
  Clock::time_point begun_;
  double pixels_ = 0;
  std::vector<Clock::time_point> shown_;
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
  counter.print(Milliseconds(Clock::now() - begin).count() / 1000);
  XCloseDisplay(display);
}
