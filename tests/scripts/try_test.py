"""scripts/try: where it takes its photo."""

import unittest

from script_tree import ScriptTree

OWN = "Taking a photo with your camera"
VIRTUAL = "taking a photo with a virtual camera"
SESSION = {"DBUS_SESSION_BUS_ADDRESS": "unix:path=/nowhere", "DISPLAY": ":99", "WAYLAND_DISPLAY": None}
# More than a pipe holds comes behind the camera.
CAMERA_AND_MORE = """printf '\\tmedia.class = "Video/Source"\\n'; head -c 300000 /dev/zero | tr '\\0' '\\n'"""
# The installed program, of which a photo is all that matters here.
INSTALLED = """
for word; do last=$word; done
if [ "$1" = --install ]; then
  mkdir -p "$last/bin"
  printf '#!/bin/sh\\ntouch build/try/photos/photo.png\\n' >"$last/bin/quillo-camera-shot"
  chmod +x "$last/bin/quillo-camera-shot"
fi"""
DESKTOP = 'while [ "$1" != -- ]; do shift; done; shift; exec "$@"'


class Try(unittest.TestCase):
    def setUp(self):
        self.tree = ScriptTree(self)
        self.tree.replace("scripts/deps", "exit 0")
        self.tree.replace("tests/desktop/run", DESKTOP)
        self.tree.stand_in("cmake", INSTALLED)
        self.tree.stand_in("pw-cli", "exit 1")
        self.devices = self.tree.top / "devices"
        self.devices.mkdir()

    def assert_tried(self, text, **variables):
        result = self.tree.run("scripts/try", environment={**SESSION, "CAMERA_SHOT_DEVICES": self.devices, **variables})
        self.assertEqual(result.returncode, 0, result.stdout)
        self.assertIn(text, result.stdout)

    def test_a_camera_that_pipewire_shows_is_used_however_much_else_it_shows(self):
        self.tree.stand_in("pw-cli", CAMERA_AND_MORE)
        self.assert_tried(OWN)

    def test_a_device_is_used_where_pipewire_shows_no_camera(self):
        (self.devices / "video2").touch()
        self.assert_tried(OWN)

    def test_without_a_camera_there_is_a_virtual_one(self):
        (self.devices / "radio0").touch()
        self.assert_tried(VIRTUAL)

    def test_without_a_session_there_is_a_virtual_one(self):
        self.tree.stand_in("pw-cli", CAMERA_AND_MORE)
        self.assert_tried(VIRTUAL, DISPLAY=None)
        self.assert_tried(VIRTUAL, DBUS_SESSION_BUS_ADDRESS=None)

    def test_with_sudo_everything_belongs_to_whoever_called_it(self):
        self.tree.stand_in("id", "echo 0")
        self.tree.stand_in("chown", 'echo "chown $*"')
        self.assert_tried("chown -R 4321:1234 build\n", SUDO_UID=4321, SUDO_GID=1234)


if __name__ == "__main__":
    unittest.main()
