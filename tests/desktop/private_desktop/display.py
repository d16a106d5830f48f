"""The private X display."""

from .processes import start_reporting


def start_display(surroundings):
    """Starts an X server without a screen on a free display number and sets DISPLAY."""
    server, number = start_reporting("Xvfb",
                                     ["Xvfb", "-displayfd", "{ready}", "-screen", "0", "1280x1024x24", "-nolisten",
                                      "tcp", "-noreset"],
                                     surroundings.environment, surroundings.log("Xvfb"),
                                     "the display does not answer")
    surroundings.environment["DISPLAY"] = ":" + number
    return server
