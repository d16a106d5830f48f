"""The virtual cameras of the private desktop."""

from .processes import start_reporting
from .requests import ask


class Camera:
    """One virtual camera, known by its number (from 1)."""

    def __init__(self, number, description, program, surroundings):
        name = f"camera-{number}"
        self.number = number
        self.control = surroundings.path("run", name)
        self.child, _ = start_reporting(
            name, [program, "--control", self.control, "--ready-fd", "{ready}", description],
            surroundings.environment, surroundings.log(name), "the camera does not become ready")

    def ask(self, request):
        return ask(self.control, request)

    def variables(self):
        """What the command learns about the camera."""
        return {f"CAMERA_{self.number}_CONTROL": self.control,
                f"CAMERA_{self.number}_LOG": self.child.log,
                f"CAMERA_{self.number}_PID": str(self.child.pid)}

    def replug_if_lost(self):
        """Brings the camera back after its PipeWire daemon went away."""
        if self.child.status() is None and "state=lost" in self.ask("state"):
            self.ask("plug")
