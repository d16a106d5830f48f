"""A desktop session of its own for one command: bus, PipeWire, cameras, display."""
