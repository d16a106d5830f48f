"""What can go wrong, and the exit status that tells it (the numbers are those of sysexits.h and of timeout)."""

EX_UNAVAILABLE = 69
EX_SOFTWARE = 70
TIMED_OUT = 124


class GuestError(Exception):
    """The machine cannot do what was asked; the text says why, for people."""

    def __init__(self, text, status=EX_SOFTWARE):
        super().__init__(text)
        self.status = status


def missing(what, package):
    """Something that a Debian package brings is not there."""
    return GuestError(f"{what} is missing: install the Debian package {package}", EX_UNAVAILABLE)
