#!/usr/bin/env python3
"""Prints datagrams.txt: the requests of same_datagrams_test.cpp as they must be on the wire, one a line.

Shares nothing with the library and its tests but the format: MD5 is Python's own, Blowfish that of Debian's package
python3-cryptography, which building and testing do without.
"""

import hashlib
import itertools
import struct

from cryptography.hazmat.primitives.ciphers import Cipher, modes

try:
    from cryptography.hazmat.decrepit.ciphers.algorithms import Blowfish
except ImportError:  # before version 43
    from cryptography.hazmat.primitives.ciphers.algorithms import Blowfish

PASS_PHRASE = b"correct horse battery staple"
KEY = PASS_PHRASE[:16].ljust(16, b"\0")
HEADER = 96
WORDS = ("address", "word7", "word9", "word10", "word11", "word12", "flag8", "word13", "word14")

ids = itertools.count(1)


def framed(code, arguments=b"", data=b""):
    """The datagram of the next request."""
    length = max(100, 100 + len(data))
    packet = struct.pack(">IBxxxI", length, code, next(ids)) + KEY + arguments
    packet = (packet.ljust(HEADER, b"\0") + data).ljust(length, b"\0")
    digest = hashlib.md5(packet).digest()
    packet = packet[:12] + digest + packet[28:]
    padded = packet + bytes(8 - length % 8)
    cipher = Cipher(Blowfish(KEY[:5]), modes.ECB()).encryptor()
    return struct.pack(">I", len(padded)) + cipher.update(padded) + cipher.finalize()


def entry(user=None, string2=None, string3=None, block=b"", tag=0, **words):
    """An entry's descriptor, and its part of the data area."""
    descriptor = struct.pack(">I", tag)
    data = b""
    for text in (user, string2, string3):
        if text is None:
            descriptor += bytes(4)
            continue
        units = text.encode("utf-16-le")
        descriptor += struct.pack(">HH", len(data), len(units) // 2)
        data += units + bytes(len(units))
    descriptor += struct.pack(">HH", len(data), len(block)) if block else bytes(4)
    data += block
    assert set(words) <= set(WORDS)
    return descriptor + struct.pack(">9I", *(words.get(word, 0) for word in WORDS)), data


def version_query():
    return framed(1)


def add_entry(**fields):
    descriptor, data = entry(**fields)
    return framed(2, struct.pack(">I", 1) + descriptor, data)


def entry_query(first, second, third, **fields):
    descriptor, data = entry(**fields)
    return framed(3, struct.pack(">III", first, second, third) + descriptor, data)


def listen(port):
    return framed(4, struct.pack(">H", port))


def stop_listening():
    return framed(5)


REQUESTS = (
    version_query,
    lambda: add_entry(
        tag=0x01020304, user="Zo\u00eb \u20ac", string2="", string3='a "b"', block=b"\x00\xff\x27",
        address=0x0B00010A, word7=0x70000007, flag8=5, word9=9, word10=10, word11=11, word13=13, word14=0xFFFFFFFE),
    lambda: entry_query(0xABC00020, 0x22222222, 0x33333333, user="nobody asks for this", word7=2),
    # The server's second entry, of which the enumeration goes on.
    lambda: entry_query(
        0xABC00020, 0x22222222, 0x33333333, tag=7, user="BRAM OSEI", string2="BOSEI", string3="FINANCE",
        block=b"\x00\x01\xff", address=0x0C00010A, word7=2, flag8=1, word9=9, word10=10, word11=11, word13=2,
        word14=14),
    lambda: entry_query(0x10010, 0, 0, address=0x0B00010A),
    lambda: listen(0x1234),
    stop_listening,
)

for request in REQUESTS:
    print(request().hex())
