// What the thread sanitizer is to pass over in these tests; elsewhere this is a function that nobody calls.

/// Libraries that were not compiled with it order their threads by means that it cannot see (GLib's locks,
/// the software renderer's), so what lies wholly inside them is not looked at: only the innermost frame
/// counts, so that code of ours that runs under GLib's main loop still is.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the sanitizer's name for it
extern "C" const char* __tsan_default_suppressions() {
  return "called_from_lib:libglib-2.0.so\n"
         "called_from_lib:swrast_dri.so\n"
         "race_top:libglib-2.0.so\n"
         "race_top:libgobject-2.0.so\n"
         "race_top:swrast_dri.so\n";
}
