"""A daemon of both sockets that answers every command with two fixed batches; for the fault runs."""
import ctypes
import os
import socket
import struct
import threading

LIBC = ctypes.CDLL(None, use_errno=True)
LIBC.shmat.restype = ctypes.c_void_p
LIBC.shmdt.argtypes = [ctypes.c_void_p]

RESULT_AT, REPLYLEN_AT, SYNCDESC_AT, ISLAST_AT, ERRTEXT_AT, SHMID_AT = 164, 168, 20, 21, 36, 16

NET = {name: socket.inet_aton(name) for name in ("10.0.0.1", "10.0.0.2", "203.0.113.7")}
MAC = bytes([0, 0x11, 0x22, 0x33, 0x44, 0x55])
TIME = 1700000000


def reset_record(src, dst, name):
    return (struct.pack("<I", TIME) + NET[src] + NET[dst] + struct.pack(">HH", 1234, 443)
            + struct.pack("<QHHIB", 150, 1, 2, (6 << 26) | (200 << 14) | 7, 3)
            + name.ljust(31, b"\0"))


def signature(tid, name):
    return struct.pack("<HHBBBB", tid, 1, 1, 0, 3, 1) + name.ljust(32, b"\0")


def event(src, dst, host, signatures=1):
    return (struct.pack("<I", TIME) + NET[src] + NET[dst] + struct.pack(">HH", 1234, 443)
            + struct.pack("<QH", signatures, 7) + MAC + struct.pack("<BBB", 6, 2, len(host))
            + host.ljust(45, b"\0"))


def element(kind, value):
    return struct.pack("<BH", kind, len(value)) + value


def mail(key, subject):
    elements = (element(1, b"a@example.com") + element(4, subject) + element(5, b"note.txt\0")
                + element(6, struct.pack("<I", TIME))
                + element(7, NET["10.0.0.1"] + NET["203.0.113.7"] + struct.pack(">HH", 1234, 25))
                + element(8, MAC) + element(9, struct.pack("<H", 7)))
    return struct.pack("<IH", key, len(elements)) + elements.ljust(1026, b"\0")


def session_head(moment):
    return (struct.pack("<II", TIME, moment) + NET["10.0.0.1"] + NET["203.0.113.7"]
            + struct.pack(">HH", 1234, 21) + MAC)


def ftp(moment):
    return session_head(moment) + bytes([2, 0]) + b"file".ljust(64, b"\0") + b"bob".ljust(24, b"\0")


def telnet(moment):
    return session_head(moment) + bytes([2]) + b"ls".ljust(129, b"\0") + b"bob".ljust(32, b"\0")


TABLE = signature(5, b"bot") + bytes(40 * 63)

# target name -> the two batches' bytes and their record counts
BATCHES = {
    b"tcpreset": ((reset_record("10.0.0.1", "203.0.113.7", b"a.example"), 1),
                  (reset_record("10.0.0.2", "203.0.113.7", b"b.example"), 1)),
    b"qsvmalicious": ((TABLE + event("10.0.0.1", "203.0.113.7", b"a.example"), 1),
                      (event("10.0.0.2", "203.0.113.7", b"b.example"), 1)),
    b"emaillog": ((mail(1, b"one"), 1), (mail(2, b"two"), 1)),
    b"ftplog": ((ftp(TIME), 1), (ftp(TIME + 1), 1)),
    b"telnetlog": ((telnet(TIME), 1), (telnet(TIME + 1), 1)),
    b"qsvtable": ((struct.pack("<I", 0x0a000001), 1), (struct.pack("<I", 0x0a000002), 1)),
    b"table": ((struct.pack("<I", 0x0a000001), 1), (struct.pack("<I", 0x0a000002), 1)),
    b"assetsobj": ((struct.pack("<10xHII28x", 1, 2, 3) + b"one".ljust(96, b"\0"), 1),
                   (struct.pack("<10xHII28x", 4, 5, 6) + b"two".ljust(96, b"\0"), 1)),
}
# The first batch of these also brings a table, for which it must have a record: one that no signature
# has hit and that is not counted.
BARE = {b"qsvmalicious": ((TABLE + event("10.0.0.1", "203.0.113.7", b"", 0), 1),
                          (event("10.0.0.1", "203.0.113.7", b"", 0), 1))}
TEXT = b"said the daemon\n"


class Daemon:
    dictionary = True  # sends tables when asked for them
    withheld = ()  # numbers of the batches that are sent without their record

    def __init__(self, root):
        self.paths = [os.path.join(root, "var/tmp/qsvlog.d"),
                      os.path.join(root, "usr/ramdisk/var/mgmt.d")]
        self.seen = {}
        self.stop = False
        self.threads = []
        for path in self.paths:
            listener = socket.socket(socket.AF_UNIX)
            listener.bind(path)
            listener.listen(64)
            listener.settimeout(0.2)
            thread = threading.Thread(target=self.serve, args=(listener,), daemon=True)
            thread.start()
            self.threads.append(thread)

    def close(self):
        self.stop = True
        for thread in self.threads:
            thread.join()

    def serve(self, listener):
        while not self.stop:
            try:
                connection, _ = listener.accept()
            except socket.timeout:
                continue
            with connection:
                connection.settimeout(5)
                try:
                    self.answer(connection)
                except OSError:
                    pass

    def batch(self, name, number):
        """The bytes, record count, reply length and last flag of a command's next batch."""
        if name not in BATCHES:
            return TEXT + b"\0", 0, len(TEXT), True
        batches = BATCHES[name]
        if number in self.withheld:
            batches = BARE.get(name, [(b"", 0)] * 2)
        data, count = batches[min(number, 1)]
        return data, count, 0, number >= 1

    def answer(self, connection):
        record = bytearray()
        while len(record) < 208:
            piece = connection.recv(208 - len(record))
            if not piece:
                return
            record += piece
        shmid = struct.unpack_from("<i", record, SHMID_AT)[0]
        area = LIBC.shmat(shmid, None, 0)
        if area in (None, ctypes.c_void_p(-1).value):
            return
        number = self.seen.get(shmid, 0)
        name = bytes(record[ERRTEXT_AT:ERRTEXT_AT + 128]).split(b"\0")[0]
        data, count, replylen, last = self.batch(name, number)
        if not self.dictionary:
            record[SYNCDESC_AT] = 0
        if record[SYNCDESC_AT]:
            data = bytes(56 * 2) + data  # one application entry and one group entry, not in use
        ctypes.memmove(area, data, len(data))
        LIBC.shmdt(area)
        struct.pack_into("<iI", record, RESULT_AT, count, replylen)
        record[ISLAST_AT] = 1 if last else 0
        self.seen[shmid] = number + 1
        connection.sendall(bytes(record))
