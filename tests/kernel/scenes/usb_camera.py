#!/usr/bin/python3
"""A USB webcam in user space: the kernel's vhci_hcd brings its USB traffic here (USB/IP), and uvcvideo drives it.

    usb_camera.py JPEG...     serves these pictures of 640x480 in turn, as MJPEG

Root, in a machine with the module vhci_hcd. It says "plugged" when the kernel has taken it, "streaming" when its first
picture has been read, and unplugs itself when it ends. Sources of the numbers: "Universal Serial Bus Device Class Definition for
Video Devices" 1.1 (UVC), USB 2.0 chapter 9, the kernel's Documentation/usb/usbip_protocol.rst.
"""

import contextlib
import itertools
import socket
import struct
import sys
import threading
import time

WIDTH, HEIGHT, RATE = 640, 480, 30
INTERVAL = 10_000_000 // RATE  # in units of 100 ns
PAYLOAD = 16384  # bytes of one bulk transfer
HIGH_SPEED = 3
NAME = "Rig Webcam"

VIDEO_CLASS, CONTROL_INTERFACE, STREAMING_INTERFACE = 0x0E, 1, 2
ENDPOINT = 0x81
FRAME_ID, END_OF_FRAME, END_OF_HEADER = 0x01, 0x02, 0x80


def _descriptor(*parts):
    """A descriptor: its length, then numbers (a byte each) and bytes as they are."""
    body = b"".join(part if isinstance(part, bytes) else bytes([part]) for part in parts)
    return bytes([len(body) + 1]) + body


def _le16(number):
    return struct.pack("<H", number)


def _le32(number):
    return struct.pack("<I", number)


def _video_control():
    camera = _descriptor(0x24, 2, 1, _le16(0x0201), 0, 0, _le16(0), _le16(0), _le16(0), 3, b"\0\0\0")
    output = _descriptor(0x24, 3, 2, _le16(0x0101), 0, 1, 0)
    header_length = 13
    return _descriptor(0x24, 1, _le16(0x0100), _le16(header_length + len(camera) + len(output)), _le32(48_000_000), 1, 1) \
        + camera + output


def _video_streaming():
    bits = WIDTH * HEIGHT * 16
    frame = _descriptor(0x24, 7, 1, 0, _le16(WIDTH), _le16(HEIGHT), _le32(bits), _le32(bits * RATE),
                        _le32(WIDTH * HEIGHT * 2), _le32(INTERVAL), 1, _le32(INTERVAL))
    formats = _descriptor(0x24, 6, 1, 1, 0, 1, 0, 0, 0, 0) + frame + _descriptor(0x24, 0x0D, 1, 1, 4)
    header_length = 14
    return _descriptor(0x24, 1, 1, _le16(header_length + len(formats)), ENDPOINT, 0, 2, 0, 0, 0, 1, 0) + formats


def _configuration():
    body = (
        _descriptor(0x0B, 0, 2, VIDEO_CLASS, 3, 0, 2)  # both interfaces are one function
        + _descriptor(4, 0, 0, 0, VIDEO_CLASS, CONTROL_INTERFACE, 0, 2) + _video_control()
        + _descriptor(4, 1, 0, 1, VIDEO_CLASS, STREAMING_INTERFACE, 0, 0) + _video_streaming()
        + _descriptor(5, ENDPOINT, 2, _le16(512), 0)
    )
    return bytes([9, 2]) + _le16(9 + len(body)) + bytes([2, 1, 0, 0x80, 250]) + body


DEVICE = _descriptor(1, _le16(0x0200), 0xEF, 2, 1, 64, _le16(0x1D6B), _le16(0x0102), _le16(0x0100), 1, 2, 3, 1)
CONFIGURATION = _configuration()
TEXTS = {1: "Rig", 2: NAME, 3: "RIG0001"}

GET_DESCRIPTOR, GET_STATUS = 6, 0
SET_CUR, GET_CUR, GET_MIN, GET_MAX, GET_LEN, GET_INFO, GET_DEF = 0x01, 0x81, 0x82, 0x83, 0x85, 0x86, 0x87
STALL = -32  # EPIPE
UNLINKED = -104  # ECONNRESET


def _text(index):
    if index == 0:
        return _descriptor(3, _le16(0x0409))
    return _descriptor(3, TEXTS.get(index, "").encode("utf-16-le"))


def _probe():
    """The streaming parameters, the only ones that there are (UVC 4.3.1.1)."""
    return struct.pack("<HBBIHHHHHII", 1, 1, 1, INTERVAL, 0, 0, 0, 0, 0, WIDTH * HEIGHT * 2, PAYLOAD)


class UsbCamera:
    """The device's side of the connection to the kernel."""

    def __init__(self, pictures):
        self._pictures = pictures
        self._socket, theirs = socket.socketpair()
        with open("/sys/devices/platform/vhci_hcd.0/attach", "w", encoding="ascii") as attach:
            attach.write(f"0 {theirs.fileno()} {1 << 16 | 2} {HIGH_SPEED}")
        theirs.close()
        self._sending = threading.Lock()
        self._transfers = []  # bulk transfers that wait for data: number and size
        self._wanted = threading.Condition()

    def serve(self):
        """Answers the kernel until it lets the device go."""
        threading.Thread(target=self._stream, daemon=True).start()
        print("plugged", flush=True)
        while (header := self._read(48)):
            command, number, _, direction, endpoint = struct.unpack_from(">IIIII", header)
            if command == 1:
                self._submit(header, number, direction, endpoint)
            elif command == 2:
                self._unlink(number, struct.unpack_from(">I", header, 20)[0])

    def _read(self, size):
        data = b""
        while len(data) < size:
            part = self._socket.recv(size - len(data))
            if not part:
                return b""
            data += part
        return data

    def _answer(self, number, data=b"", status=0, length=None):
        header = struct.pack(">IIIIIiIIII8x", 3, number, 0, 0, 0, status, len(data) if length is None else length, 0, 0, 0)
        with self._sending:
            self._socket.sendall(header + data)

    def _submit(self, header, number, direction, endpoint):
        length = struct.unpack_from(">i", header, 24)[0]
        data = self._read(length) if direction == 0 and length > 0 else b""
        if endpoint != 0:
            with self._wanted:
                self._transfers.append((number, length))
                self._wanted.notify()
            return
        kind, request, value, index, wanted = struct.unpack("<BBHHH", header[40:48])
        answer = self._control(kind, request, value, index)
        if answer is None:
            self._answer(number, status=STALL)
        elif direction == 0:
            self._answer(number, length=len(data))
        else:
            self._answer(number, answer[:wanted])

    def _control(self, kind, request, value, index):
        """The answer to a control request, empty for those that set something; None: not known here."""
        if kind & 0x60 == 0:
            if kind & 0x80 == 0:
                return b""
            if request == GET_STATUS:
                return b"\0\0"
            known = {1: DEVICE, 2: CONFIGURATION}
            descriptor = value >> 8
            if descriptor == 3:
                return _text(value & 0xFF)
            return known.get(descriptor)
        if index & 0xFF != 1 or value >> 8 not in (1, 2):
            return b"\0" if request == GET_INFO else None
        if request == SET_CUR:
            return b""
        if request in (GET_CUR, GET_MIN, GET_MAX, GET_DEF):
            return _probe()
        return {GET_LEN: _le16(26), GET_INFO: b"\x03"}.get(request)

    def _unlink(self, number, victim):
        with self._wanted:
            waited = [transfer for transfer in self._transfers if transfer[0] == victim]
            self._transfers = [transfer for transfer in self._transfers if transfer[0] != victim]
        header = struct.pack(">IIIIIi24x", 4, number, 0, 0, 0, UNLINKED if waited else 0)
        with self._sending:
            self._socket.sendall(header)

    def _send_part(self, picture, begin, frame_id):
        """Answers the next transfer with what follows in the picture; returns where that ends."""
        with self._wanted:
            self._wanted.wait_for(lambda: self._transfers)
            number, length = self._transfers.pop(0)
            part = picture[begin:begin + min(length, PAYLOAD) - 2]
            end = begin + len(part)
            flags = END_OF_HEADER | frame_id | (END_OF_FRAME if end >= len(picture) else 0)
            # Still within: an answer that follows the news that it cannot be taken back any more costs the connection.
            self._answer(number, bytes([2, flags]) + part)
            return end

    def _stream(self):
        """One picture after the other, at the pace of the rate or of who reads, whichever is slower."""
        for count, picture in enumerate(itertools.cycle(self._pictures)):
            sent = 0
            while sent < len(picture):
                sent = self._send_part(picture, sent, FRAME_ID if count % 2 else 0)
            if count == 0:
                print("streaming", flush=True)
            time.sleep(1 / RATE)


def main():
    """Returns when the kernel has let the device go."""
    pictures = []
    for path in sys.argv[1:]:
        with open(path, "rb") as file:
            pictures.append(file.read())
    with contextlib.suppress(BrokenPipeError):  # the kernel is gone in the middle of an answer
        UsbCamera(pictures).serve()


if __name__ == "__main__":
    main()
