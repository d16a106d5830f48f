// Loaded into the daemon (LD_PRELOAD): of a camera's controls only those are listed that are single values.
//
// PipeWire 1.4 asks for the value of every control in the way for single ones, takes the refusal of an array
// (EINVAL) for one of the device, and so describes none of it; WirePlumber 0.5 then links nobody to it. Of
// drivers that Debian builds the test driver `vivid` has such arrays.

#include <cstdarg>
#include <dlfcn.h>
#include <linux/videodev2.h>

extern "C" int ioctl(int descriptor, unsigned long request, ...) noexcept {
  using Call = int (*)(int, unsigned long, void*);
  static const auto next = reinterpret_cast<Call>(::dlsym(RTLD_NEXT, "ioctl"));
  std::va_list arguments;
  va_start(arguments, request);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  // PipeWire hands the number on as an int, of which the sign is extended.
  if (static_cast<unsigned>(request) == VIDIOC_QUERY_EXT_CTRL)
    static_cast<v4l2_query_ext_ctrl*>(argument)->id &= ~static_cast<unsigned>(V4L2_CTRL_FLAG_NEXT_COMPOUND);
  return next(descriptor, request, argument);
}
