#!/usr/bin/env python3
"""Replaces parts of a certificate that the openssl command line cannot write as wanted.

usage: edit_certificate.py CERTIFICATE.pem KEY|- [PART=HEX]...

PART is `serial`, `algorithm` (inside), `issuer`, `subject` or `key` with a whole DER element, `outer`
(the algorithm outside) likewise. A PART that is itself hexadecimal stands for those bytes of the
signed part, which must occur there once; HEX must be as long. Signs anew with KEY (ECDSA with
SHA-256, or a key of post_quantum.py in a file *.pq) unless it is "-". The certificate is replaced in
its file.
"""
import subprocess
import sys
import tempfile

import post_quantum
from post_quantum import element

PARTS = ["version", "serial", "algorithm", "issuer", "validity", "subject", "key"]


def openssl(*arguments, data=None):
    return subprocess.run(["openssl", *arguments], input=data, stdout=subprocess.PIPE,
                          check=True).stdout


def split(der):
    """The elements, one after the other, of which `der` consists."""
    found = []
    while der:
        start, length = 2, der[1]
        if length & 0x80:
            start += length & 0x7F
            length = int.from_bytes(der[2:start], "big")
        found.append(der[:start + length])
        der = der[start + length:]
    return found


def inside(der):
    start = 2 + (der[1] & 0x7F if der[1] & 0x80 else 0)
    return der[start:]


def sign(tbs, key):
    if key.endswith(".pq"):
        return post_quantum.read_key(key).sign(tbs)
    with tempfile.NamedTemporaryFile() as file:
        file.write(tbs)
        file.flush()
        return openssl("dgst", "-sha256", "-sign", key, file.name)


def main(path, key, *changes):
    certificate = openssl("x509", "-in", path, "-outform", "DER")
    tbs, outer, signature = split(inside(certificate))
    parts = split(inside(tbs))
    bytes_for_bytes = []
    for change in changes:
        name, value = change.split("=")
        value = bytes.fromhex(value)
        if name == "outer":
            outer = value
        elif name in PARTS:
            parts[PARTS.index(name)] = value
        else:
            bytes_for_bytes.append((bytes.fromhex(name), value))
    tbs = element(0x30, b"".join(parts))
    for old, new in bytes_for_bytes:
        assert len(old) == len(new) and tbs.count(old) == 1
        tbs = tbs.replace(old, new)
    if key != "-":
        signature = element(0x03, b"\0" + sign(tbs, key))
    edited = element(0x30, tbs + outer + signature)
    # base64 by openssl too: its x509 command would refuse or rewrite some of what is meant here.
    body = openssl("base64", data=edited).decode()
    with open(path, "w", encoding="ascii") as file:
        file.write(f"-----BEGIN CERTIFICATE-----\n{body}-----END CERTIFICATE-----\n")


main(*sys.argv[1:])
