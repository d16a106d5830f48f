"""Runs of every kind, and the check of each: a photo and its message, or a message that there is none."""

import contextlib
import os
import signal

from bubbles import APPLICATION
from desk import BOUND, TAKEN
from session_bus import turn_until, turn_until_exit
from tool import Tool
from window_case import WITH_PREFERENCES

FAILURE = "Error while capture"  # in the log of a shot that failed
LATEST = 2.2  # seconds, about what a silent run takes


class Shooter:
    """A tool, what it says of the shots since the last one was looked at, and the check of each."""

    def __init__(self, desk, case, **options):
        self.desk = desk
        self.case = case
        self.tool = Tool(**options)
        self.tool.log_path.touch()
        self.forget()

    def forget(self):
        """Its events and its log may be emptied at any time."""
        with contextlib.suppress(FileNotFoundError):
            os.unlink(self.tool.state / "usage-events.jsonl")
        os.truncate(self.tool.log_path, 0)
        self._told = len(self.desk.daemon.texts)

    def count(self, event):
        return self.tool.names().count(event)

    def failures(self):
        return self.tool.log().count(FAILURE)

    def turn_until(self, condition, what):
        with self.explained():
            return turn_until(condition, self.tool.state, what=what, bound=BOUND)

    @contextlib.contextmanager
    def explained(self):
        """What fails within says what the tool has said."""
        try:
            yield
        except AssertionError as error:
            raise AssertionError(f"{error}\n{self.tool.names()}\n{self.tool.photos()}\n{self.tool.log()[-4000:]}") from error

    def told(self):
        """The texts of the notifications since."""
        return self.desk.daemon.texts[self._told:]

    def has_told_of_success(self):
        return any(TAKEN in text for text in self.told())

    def has_told_of_failure(self):
        return any(TAKEN not in text for text in self.told())

    def check_shot(self, click):
        """Waits for the end of the shot that was asked for, and checks what is there."""
        self.turn_until(lambda: self.count("Stop") + self.failures(), "the end of the shot")
        self.check_shots(click)

    def check_shots(self, click=False):
        """Each of the shots has its file and its message, or only its message. When another camera is there at once, a
        silent run takes a photo with that one, too, unless it ends before: it does a second after the first photo."""
        with self.explained():
            photos = self.whole_photos()
            self.case.assertEqual(len(photos), self.count("Stop"))
        if photos:
            self.turn_until(self.has_told_of_success, "the message of a photo")
        if not photos or self.count("Start") > len(photos) and not self.count("Quit"):
            self.turn_until(self.has_told_of_failure, "the message of a failure")
            self.desk.note("failures told")
        if click and len(photos) == 1:
            self.desk.click(photos[0])
        for photo in photos:
            photo.unlink()
            self.desk.note("photos")

    def whole_photos(self):
        """All that are there, none of them in part."""
        for photo in self.tool.photos():
            self.case.assert_whole_png(photo)
        return self.tool.photos()

    def end(self, process):
        """Asks a run to end that may be doing so by itself."""
        process.send_signal(signal.SIGTERM)
        with self.explained():
            self.case.assertEqual(turn_until_exit(process), 0)


class SilentShooter(Shooter):
    """Silent runs of every kind, one after the other."""

    def kinds(self):
        return (self.whole_run, self.whole_run, self.run_with_a_click_afterwards, self.run_while_cameras_change)

    def run(self):
        """One run of any kind; the name of its kind is noted."""
        self.forget()
        kind = self.desk.pick(*self.kinds())
        kind()
        self.desk.note(kind.__name__)

    def whole_run(self):
        self.tool.start()
        self.check_run(click=False)

    def run_with_a_click_afterwards(self):
        self.tool.start()
        self.check_run(click=True)

    def run_while_cameras_change(self):
        self.tool.start()
        self.let_pass_some_of_a_run()
        self.desk.plug_or_unplug()
        self.check_run(click=False)

    def let_pass_some_of_a_run(self):
        """A moment that nobody has chosen is what is wanted here, so this is no wait for something to happen."""
        deadline = self.desk.random.uniform(0, LATEST)
        with contextlib.suppress(AssertionError):
            turn_until(lambda: self.tool.process.poll() is not None, bound=deadline, retry=True)

    def check_run(self, click):
        """A run ends with its photo, or with a message; a shot that failed leaves it up."""
        self.turn_until(lambda: self.count("Quit") + self.failures(), "the end of the run")
        if not self.count("Quit"):
            self.turn_until(self.has_told_of_failure, "the message of a failure")
        self.end(self.tool.process)
        self.check_shots(click)
        self.desk.wait_for_the_end()  # of the program that a click has started, too


class MixedShooter(SilentShooter):
    """All that users and their desktops do to the program."""

    def kinds(self):
        return (*super().kinds(), self.killed_run, self.run_asked_to_end, self.two_runs_at_once, self.run_by_the_menu_icon,
                self.preview, self.preferences)

    def killed_run(self):
        self.tool.start()
        self.let_pass_some_of_a_run()
        self.tool.end()
        self.check_announced()

    def run_asked_to_end(self):
        self.tool.start()
        self.let_pass_some_of_a_run()
        self.tool.process.send_signal(signal.SIGTERM)
        with self.explained():
            status = turn_until_exit(self.tool.process)
            # Before it has begun, a program ends as the system would have it.
            self.case.assertIn(status, (0,) if self.count("Launch") else (0, -signal.SIGTERM))
        self.check_announced()

    def check_announced(self):
        """What has been announced is there, whole, and what is not there in whole is not there."""
        with self.explained():
            photos = self.whole_photos()
            self.case.assertGreaterEqual(len(photos), self.count("Stop"))
        for photo in photos:
            photo.unlink()
        self.desk.settle()

    def two_runs_at_once(self):
        runs = [self.tool.start().process for _ in range(2)]
        self.turn_until(lambda: self.count("Quit") == 2 or self.count("Quit") and self.failures(), "the end of both runs")
        if self.count("Quit") < 2:
            self.turn_until(self.has_told_of_failure, "the message of a failure")
        for process in runs:
            self.end(process)
        self.check_shots()

    def run_by_the_menu_icon(self):
        """The bus starts the program, which is nobody's child that could be waited for, and whose log is the bus's."""
        self.desk.click_menu_icon()
        self.turn_until(lambda: self.count("Quit") or self.has_told_of_failure(), "the end of the run")
        if not self.count("Quit"):
            os.kill(self.desk.bus.process_of(APPLICATION), signal.SIGTERM)
        self.desk.wait_for_the_end()
        self.check_shots()

    def preview(self):
        self.desk.plug_all()  # without any camera there is nothing to shoot with, and nothing is told but in the window
        self.write_setting(shows_preview=True)
        self.tool.start()
        self.desk.bus.wait_for_owner(APPLICATION)
        self.turn_until(lambda: self.count("Launch"), "the launch")
        for _ in range(self.desk.random.randrange(3)):
            self.forget()
            self.desk.click_menu_icon()
            self.check_shot(click=self.desk.happens(3))
        self.end(self.tool.process)
        self.write_setting(shows_preview=False)

    def preferences(self):
        """Opened by an argument and left at a moment of its own."""
        self.tool.command = WITH_PREFERENCES
        self.tool.start()
        self.tool.command = []
        self.turn_until(lambda: self.count("Launch"), "the launch")
        self.let_pass_some_of_a_run()
        self.end(self.tool.process)

    def write_setting(self, *, shows_preview):
        settings = f"[Defaults]\nShowPreview={str(shows_preview).lower()}\n"
        (self.tool.config / "camera-shot.ini").write_text(settings, encoding="utf-8")
