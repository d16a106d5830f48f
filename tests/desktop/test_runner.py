#!/usr/bin/python3
"""The runner: what it gives its command, and that it leaves nothing behind."""

import os
import signal
import subprocess
import sys
import tempfile
import unittest
from types import SimpleNamespace

import session
from session import Session, all_ended, processes_of, read_line, run

# A command that says where it is, with children that do not end by themselves: one plain, one that daemonised.
RESTLESS = ('sleep infinity & (setsid nohup sleep infinity >/dev/null 2>&1 &); echo "$CAMERA_DESKTOP_DIR"; ')


ASK_THE_BUS = ("gdbus", "call", "--session", "--dest", "org.freedesktop.DBus", "--object-path", "/org/freedesktop/DBus",
               "--method")


def activatable_names(*options):
    """The names of services that the session bus may start."""
    return run(*options, "--", *ASK_THE_BUS, "org.freedesktop.DBus.ListActivatableNames").stdout


class Lines(unittest.TestCase):
    def test_that_came_at_once_are_read_one_by_one(self):
        reader, writer = os.pipe()
        with os.fdopen(reader) as stdout:
            process = SimpleNamespace(stdout=stdout)
            os.write(writer, b"one\ntwo\nthree")
            self.assertEqual([read_line(process), read_line(process)], ["one", "two"])
            os.close(writer)
            self.assertEqual([read_line(process), read_line(process)], ["three", ""])


class ExitStatus(unittest.TestCase):
    def test_is_that_of_the_command(self):
        for status in (0, 7):
            self.assertEqual(run("--", "sh", "-c", f"exit {status}").returncode, status)

    def test_tells_the_signal_that_ended_the_command(self):
        self.assertEqual(run("--", "sh", "-c", "kill -ABRT $$").returncode, 128 + signal.SIGABRT)

    def test_tells_that_there_is_no_such_command(self):
        result = run("--", "/nowhere/at-all")
        self.assertEqual(result.returncode, 127)
        self.assertIn("/nowhere/at-all", result.stderr)

    def test_tells_the_package_of_a_missing_program(self):
        nowhere = {"env": os.environ | {"PATH": "/nowhere"}}
        for option, package in (("--locale=C.UTF-8", "dbus-daemon"), ("--display", "xvfb")):
            result = run(option, "--", "/bin/true", **nowhere)
            self.assertEqual(result.returncode, 69)
            self.assertIn(f"install the Debian package {package}", result.stderr)

    def test_tells_that_the_camera_program_is_not_built(self):
        result = run("--programs", "/nowhere", "--", "true")
        self.assertEqual(result.returncode, 69)
        self.assertIn("virtual_camera is missing", result.stderr)

    def test_tells_why_a_camera_does_not_start(self):
        result = run("--camera", "colour=red", "--", "true")
        self.assertEqual(result.returncode, 70)
        self.assertIn("'colour=red'", result.stderr)


class Privacy(unittest.TestCase):
    def test_nothing_of_the_callers_session_leaks_in(self):
        foreign = {name: "foreign" for name in (
            "DBUS_SESSION_BUS_ADDRESS", "DISPLAY", "GDK_BACKEND", "GIO_EXTRA_MODULES", "GTK_THEME", "LANGUAGE",
            "G_DEBUG", "LC_MESSAGES", "PIPEWIRE_REMOTE", "PYTHONPATH", "SWAYSOCK", "WAYLAND_DISPLAY", "XAUTHORITY", "XDG_CONFIG_DIRS",
            "XDG_CURRENT_DESKTOP", "CAMERA_9_PID")}
        result = run("--", "env", env=os.environ | foreign)
        self.assertEqual(result.returncode, 0)
        self.assertNotIn("foreign", result.stdout)
        self.assertIn("LC_ALL=C.UTF-8\n", result.stdout)

    def test_every_folder_is_below_one_private_folder(self):
        with Session() as desktop:
            for name in ("HOME", "XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR",
                         "XDG_STATE_HOME"):
                path = desktop.environment[name]
                self.assertTrue(path.startswith(desktop.folder + "/"), name)
                self.assertEqual(os.stat(path).st_mode & 0o777, 0o700, name)
            self.assertEqual(os.stat(desktop.folder).st_mode & 0o777, 0o700)

    def test_a_folder_for_temporary_files_of_any_name_is_no_hindrance(self):
        # Too long for sockets, or with what separates words and parts of addresses.
        for name in (80 * "x", "with a space", "with,comma;and=sign", "with:colon", "umläut"):
            for display in ("--window-manager", "--wayland"):
                with self.subTest(name=name, display=display), tempfile.TemporaryDirectory() as folder:
                    temporary = os.path.join(folder, name)
                    os.mkdir(temporary)
                    result = run(display, "--", *ASK_THE_BUS, "org.freedesktop.DBus.GetId", env=os.environ | {"TMPDIR": temporary})
                    self.assertEqual(result.returncode, 0, result.stderr)
                    self.assertEqual(os.listdir(temporary), [])

    def test_the_machines_own_cameras_are_out_of_sight(self):
        look = ("--", "sh", "-c", 'ls -A "$CAMERA_SHOT_DEVICES" && echo "$CAMERA_SHOT_DEVICES"')
        machine = {"env": os.environ | {"CAMERA_SHOT_DEVICES": "/dev"}}
        hidden = run(*look, **machine)
        self.assertEqual(hidden.returncode, 0, hidden.stderr)
        self.assertRegex(hidden.stdout, r"^/.*/camera-desktop-[^/]+/devices\n$")
        self.assertTrue(run("--kernel-cameras", *look).stdout.endswith("\n/dev\n"))

    def test_the_pictures_folder_is_in_the_private_home(self):
        with Session() as desktop:
            pictures = desktop.command("xdg-user-dir", "PICTURES").stdout.strip()
            self.assertEqual(pictures, os.path.join(desktop.environment["HOME"], "Pictures"))
            self.assertTrue(os.path.isdir(pictures))

    def test_data_folders_are_the_given_ones_and_the_systems(self):
        result = run("--", "sh", "-c", "echo $XDG_DATA_DIRS", env=os.environ | {"XDG_DATA_DIRS": "/staged/share"})
        self.assertEqual(result.stdout, "/staged/share:/usr/share\n")

    def test_variables_and_the_locale_may_be_chosen(self):
        result = run("--env", "FLAVOUR=plum", "--locale", "C", "--", "sh", "-c", "echo $FLAVOUR $LC_ALL")
        self.assertEqual(result.stdout, "plum C\n")

    def test_the_bus_starts_listed_services_only(self):
        self.assertEqual(activatable_names(), "(['org.freedesktop.DBus'],)\n")
        with tempfile.TemporaryDirectory() as services:
            with open(os.path.join(services, "com.example.Echo.service"), "w") as file:
                file.write("[D-BUS Service]\nName=com.example.Echo\nExec=/bin/false\n")
            self.assertIn("com.example.Echo", activatable_names("--service-dir", services))

    def test_two_desktops_do_not_disturb_each_other(self):
        with Session("--camera", "name=twin,title=Second") as second:
            with Session("--camera", "name=twin,title=First") as first:
                self.assertIn("First", first.control("cameras"))
                self.assertNotIn("Second", first.control("cameras"))
            self.assertIn("Second", second.control("cameras"))
            self.assertNotIn("First", second.control("cameras"))


class Display(unittest.TestCase):
    def test_is_given_on_request_only(self):
        self.assertEqual(run("--", "sh", "-c", "echo ${DISPLAY-none}").stdout, "none\n")
        self.assertEqual(run("--display", "--", "xdpyinfo").returncode, 0)

    def test_windows_are_managed_on_request(self):
        managed = ("--", "xprop", "-root", "_NET_SUPPORTING_WM_CHECK")
        self.assertIn("window id", run("--window-manager", *managed).stdout)
        self.assertNotIn("window id", run("--display", *managed).stdout)

    def test_may_be_wayland(self):
        result = run("--wayland", "--", "swaymsg", "-t", "get_outputs")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertIn('"width": 1280', result.stdout)
        self.assertEqual(run("--wayland", "--display", "--", "true").returncode, 2)

    def test_an_accessibility_bus_is_there_on_request_only(self):
        address = ("--", "gdbus", "call", "--session", "--dest", "org.a11y.Bus", "--object-path", "/org/a11y/bus",
                   "--method", "org.a11y.Bus.GetAddress")
        self.assertIn("unix:path=", run("--accessibility", *address).stdout)
        self.assertNotEqual(run(*address).returncode, 0)

    def test_a_notification_service_answers_when_the_command_starts(self):
        result = run("--display", "--notifications", "dunst", "--", "gdbus", "call", "--session", "--dest",
                     "org.freedesktop.Notifications", "--object-path", "/org/freedesktop/Notifications", "--method",
                     "org.freedesktop.Notifications.GetServerInformation")
        self.assertIn("'dunst'", result.stdout)

    def test_a_file_manager_can_be_started_by_the_bus_alone(self):
        show = ("--", "gdbus", "call", "--session", "--dest", "org.freedesktop.FileManager1", "--object-path",
                "/org/freedesktop/FileManager1", "--method", "org.freedesktop.FileManager1.ShowFolders",
                "['file:///usr']", "")
        self.assertEqual(run("--display", "--file-manager", "thunar", *show).returncode, 0)
        self.assertNotEqual(run("--display", *show).returncode, 0)

    def test_services_with_windows_need_a_display(self):
        for option, service in (("--notifications", "dunst"), ("--file-manager", "thunar")):
            self.assertEqual(run(option, service, "--", "true").returncode, 2)


class NothingLeft(unittest.TestCase):
    def start(self, *options, end="exec sleep infinity", least=0):
        process = subprocess.Popen([sys.executable, session.RUN, *options, "--", "sh", "-c", RESTLESS + end],
                                   stdout=subprocess.PIPE, text=True)
        self.addCleanup(process.communicate)
        self.addCleanup(process.terminate)  # has no effect after its end; cleanups run in reverse
        folder = read_line(process)
        return process, folder, processes_of(folder, least)

    def assert_nothing_left(self, folder, processes):
        self.assertTrue(all_ended(processes.values()), "processes that did not end")
        self.assertEqual(processes_of(folder), {})
        self.assertFalse(os.path.exists(folder))

    def test_after_a_command_that_succeeds_or_fails(self):
        for status in (0, 1):
            process, folder, processes = self.start("--camera", "name=a", end=f"exit {status}")
            self.assertEqual(process.wait(session.SECONDS), status)
            self.assert_nothing_left(folder, processes)

    def test_after_a_signal_to_the_runner(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            process, folder, processes = self.start("--display", "--camera", "name=a", least=8)
            process.send_signal(number)
            self.assertEqual(process.wait(session.SECONDS), 128 + number)
            self.assert_nothing_left(folder, processes)

    def test_after_the_runner_was_killed(self):
        process, folder, processes = self.start("--display", "--camera", "name=a")
        inner = self.inner_process(process)
        processes[inner] = os.pidfd_open(inner)
        process.kill()
        process.wait(session.SECONDS)
        self.assert_nothing_left(folder, processes)

    def test_after_the_runners_inner_process_was_killed(self):
        process, folder, processes = self.start("--display", "--camera", "name=a")
        os.kill(self.inner_process(process), signal.SIGKILL)
        self.assertEqual(process.wait(session.SECONDS), 128 + signal.SIGKILL)
        self.assert_nothing_left(folder, processes)

    def test_after_a_start_that_failed(self):
        with tempfile.TemporaryDirectory(prefix="d", dir="/tmp") as folder:
            result = run("--display", "--camera", "name=a", "--camera", "colour=red", "--", "true",
                         env=os.environ | {"TMPDIR": folder})
            self.assertEqual(result.returncode, 70)
            self.assertEqual(os.listdir(folder), [])
            self.assertEqual(processes_of(folder), {})

    def test_after_a_service_that_the_bus_started(self):
        with tempfile.TemporaryDirectory() as services:
            started = os.path.join(services, "started")
            os.mkfifo(started)
            with open(os.path.join(services, "com.example.Sleeper.service"), "w") as file:
                file.write("[D-BUS Service]\nName=com.example.Sleeper\n"
                           # It becomes no other program: of one that is just doing so no environment can be read.
                           f"Exec=/bin/sh -c 'echo $$ >{started}; read forever <{started}'\n")
            process, folder, processes = self.start(
                "--service-dir", services,
                end=f"dbus-send --session --dest=com.example.Sleeper / a.b.c; cat {started}; exec sleep infinity")
            service = int(read_line(process))
            with_service = processes_of(folder)
            self.assertIn(service, with_service)
            process.terminate()
            process.wait(session.SECONDS)
            self.assertTrue(all_ended(with_service.values()))
            self.assert_nothing_left(folder, processes)

    def test_keep_leaves_the_folder_and_says_where(self):
        with tempfile.TemporaryDirectory(prefix="d", dir="/tmp") as folder:
            result = run("--keep", "--", "true", env=os.environ | {"TMPDIR": folder})
            kept, = os.listdir(folder)
            self.assertIn(kept, result.stderr)
            self.assertIn("wireplumber.log", os.listdir(os.path.join(folder, kept, "log")))
            self.assertEqual(processes_of(folder), {})

    @staticmethod
    def inner_process(process):
        with open(f"/proc/{process.pid}/task/{process.pid}/children") as children:
            return int(children.read().split()[0])


class Control(unittest.TestCase):
    def test_unplugged_cameras_leave_the_registry_and_come_back_as_new_ones(self):
        with Session("--camera", "name=one", "--camera", "name=two") as desktop:
            before = desktop.cameras()
            self.assertEqual(list(before), ["one", "two"])
            desktop.control("camera", "1", "unplug")
            self.assertEqual(list(desktop.cameras()), ["two"])
            desktop.control("camera", "1", "plug")
            after = desktop.cameras()
            self.assertGreater(after["one"], before["one"])
            self.assertEqual(after["two"], before["two"])

    def test_cameras_may_be_added(self):
        with Session("--camera", "name=one") as desktop:
            answer = desktop.control("add-camera", "name=two,title=Second camera")
            self.assertIn("CAMERA_2_CONTROL=", answer)
            self.assertEqual(list(desktop.cameras()), ["one", "two"])

    def test_a_daemon_that_was_killed_can_be_started_again(self):
        with Session("--camera", "name=one", "--camera", "name=two") as desktop:
            desktop.control("camera", "2", "unplug")
            desktop.control("pipewire", "kill")
            self.assertNotEqual(desktop.command(session.CONTROL, "cameras").returncode, 0)
            self.assertTrue(desktop.control("camera", "1", "wait-lost"))
            desktop.control("pipewire", "start")
            self.assertEqual(list(desktop.cameras()), ["one"])
            self.assertEqual(desktop.read_frames("one", "MJPG:640x480@30", "3")[0], 0)

    def test_a_restart_gives_new_processes(self):
        with Session() as desktop:
            answer = desktop.control("pipewire", "restart")
            self.assertNotIn(f"PIPEWIRE_PID={desktop.environment['PIPEWIRE_PID']} ", answer)

    def test_says_what_it_does_not_understand(self):
        with Session("--camera", "name=one") as desktop:
            for request in (("dance",), ("pipewire", "dance"), ("camera", "1", "dance"), ("camera", "9", "state"),
                            ("add-camera", "colour=red"), ("pipewire", "start")):
                result = desktop.command(session.CONTROL, *request)
                self.assertEqual(result.returncode, 1, request)
                self.assertIn("control: ", result.stderr)

    def test_needs_a_desktop(self):
        environment = {name: value for name, value in os.environ.items() if not name.startswith("CAMERA_")}
        result = subprocess.run([session.CONTROL, "cameras"], env=environment, capture_output=True, check=False)
        self.assertEqual(result.returncode, 64)


if __name__ == "__main__":
    unittest.main()
