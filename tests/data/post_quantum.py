#!/usr/bin/env python3
"""Keys of ML-DSA and SLH-DSA, which the openssl command line (3.0) does not know.

usage: post_quantum.py NAME FILE.pq

NAME is that of a parameter set, "SLH-DSA-SHA2-128s", or of one with the digest that signs in place
of the message, "SLH-DSA-SHA2-128s-with-SHA256". Writes a new private key to FILE.pq, and on
standard output, in hexadecimal, the AlgorithmIdentifier and the SubjectPublicKeyInfo. Signatures
are made by edit_certificate.py.
"""
import sys

import ml_dsa
import slh_dsa

# 2.16.840.1.101.3.4.3.17 and those that follow, by the last octet (RFC 9881, RFC 9909).
OIDS = {name: octet for octet, name in enumerate(ml_dsa.NAMES + slh_dsa.NAMES, 17)}
OIDS |= {name: octet for octet, name in enumerate(slh_dsa.PREHASH_NAMES, 35)}


def element(tag, content):
    length = len(content)
    if length < 0x80:
        return bytes([tag, length]) + content
    size = (length.bit_length() + 7) // 8
    return bytes([tag, 0x80 | size]) + length.to_bytes(size, "big") + content


def make_key(name, private=None):
    return (ml_dsa if name in ml_dsa.NAMES else slh_dsa).Key(name, private)


def read_key(path):
    with open(path, encoding="ascii") as file:
        name, private = file.read().split()
    return make_key(name, bytes.fromhex(private))


def main(name, path):
    key = make_key(name)
    with open(path, "w", encoding="ascii") as file:
        file.write(f"{name} {key.private.hex()}\n")
    oid = bytes.fromhex("6086480165030403") + bytes([OIDS[name]])
    identifier = element(0x30, element(6, oid))
    info = element(0x30, identifier + element(3, b"\0" + key.public))
    print(identifier.hex(), info.hex())


if __name__ == "__main__":
    main(*sys.argv[1:])
