"""A user's desk all night long: cameras that come and go, notification services that start anew, clicks on their bubbles."""

import contextlib
import random

from bubbles import APPLICATION, path_of, post_photo
from leftovers import Before
from scripted_services import ScriptedDaemon, ScriptedFileManager
from session_bus import Client, turn_until
from tool import CameraLine, control

CAMERAS = ("name=desk,title=Desk camera,modes=MJPG:640x480@30", "name=door,title=Door camera,modes=YUY2:320x240@30")
TAKEN = "taken"  # in the notification of a photo
BOUND = 40.0  # seconds for anything, on a machine that has much else to do


class Desk:
    """The session: cameras at hand, notifications before the eyes, and the numbers of what happened."""

    def __init__(self, seed):
        self.random = random.Random(seed)
        self.bus = Client()
        self.before = Before(self.bus)
        self.daemon, self.files = ScriptedDaemon(), ScriptedFileManager()
        self._open = contextlib.ExitStack()
        self._cameras = [self._open.enter_context(CameraLine(number)) for number in (1, 2)]
        self._plugged = [True, True]
        self.happened = {}

    def close(self):
        self._open.close()

    def note(self, what):
        self.happened[what] = self.happened.get(what, 0) + 1

    def happens(self, one_in):
        return self.random.randrange(one_in) == 0

    def pick(self, *choices):
        return self.random.choice(choices)

    def plug_or_unplug(self):
        """One camera goes; or comes, when it has gone."""
        number = self.random.randrange(len(self._cameras))
        self._set(number, not self._plugged[number])

    def plug_all(self):
        for number, plugged in enumerate(self._plugged):
            if not plugged:
                self._set(number, True)

    def _set(self, number, plugged):
        word = "plug" if plugged else "unplug"
        answer = self._cameras[number].ask(word)
        if not answer.startswith("ok "):
            raise AssertionError(f"{word}: {answer}")
        self._plugged[number] = plugged
        self.note(word)

    def restart_daemon(self):
        """The notification service dies, with all its bubbles, and another one starts."""
        self.daemon.leave()
        self.daemon = ScriptedDaemon()
        self.note("notification service restarted")

    def restart_pipewire(self):
        control("pipewire", "restart")
        self.note("PipeWire restarted")

    def click_menu_icon(self):
        """Returns once the program has taken it, which the bus starts if need be."""
        self.bus.call(APPLICATION, path_of(APPLICATION), "com.verrano.quillo.Tool1", "ClickMenuIcon", seconds=BOUND)

    def settle(self):
        """Returns when whatever programs that are gone have told the helper is on the screen."""
        post_photo(self.bus, "settled", "settled")
        turn_until(lambda: any("settled" in text for text in self.daemon.shown.values()), what="what the helper was told")
        self.daemon.close(next(identifier for identifier, text in self.daemon.shown.items() if "settled" in text))

    def wait_for_the_end(self):
        """Of a program that is not our child."""
        for name in (APPLICATION, f"{APPLICATION}.Instance"):
            self.bus.wait_until_unowned(name)

    def click(self, photo):
        """A click on the newest notification of a photo shows it, exactly once."""
        newest = [number for number, text in enumerate(self.daemon.texts) if TAKEN in text][-1]
        self.files.shown.clear()
        self.daemon.click(self.daemon.order[newest])
        turn_until(lambda: self.files.shown, what=f"{photo} in the file manager", bound=BOUND)
        if self.files.shown != [photo.as_uri()]:
            raise AssertionError(f"{self.files.shown} are shown instead of {photo}")
        self.note("clicks")
