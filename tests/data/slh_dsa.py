"""SLH-DSA (FIPS 205): keys and signatures, plain and slow."""
import hashlib
import hmac
import secrets
import struct

# n, h, d, a, k of FIPS 205, table 2.
SETS = {"128s": (16, 63, 7, 12, 14), "128f": (16, 66, 22, 6, 33),
        "192s": (24, 63, 7, 14, 17), "192f": (24, 66, 22, 8, 33),
        "256s": (32, 64, 8, 14, 22), "256f": (32, 68, 17, 9, 35)}
NAMES = [f"SLH-DSA-{family}-{size}" for family in ("SHA2", "SHAKE") for size in SETS]

# The pre-hash variants: what hashes the message, and the last octet of its OID.
PREHASHES = {("SHA2", 16): ("SHA256", 1, lambda message: hashlib.sha256(message).digest()),
             ("SHA2", 24): ("SHA512", 3, lambda message: hashlib.sha512(message).digest()),
             ("SHAKE", 16): ("SHAKE128", 11, lambda message: hashlib.shake_128(message).digest(32)),
             ("SHAKE", 24): ("SHAKE256", 12, lambda message: hashlib.shake_256(message).digest(64))}


def prehash(name):
    _, _, family, size = name.split("-")[:4]
    return PREHASHES[family, min(SETS[size][0], 24)]


PREHASH_NAMES = [f"{name}-with-{prehash(name)[0]}" for name in NAMES]

WOTS_HASH, WOTS_PK, TREE, FORS_TREE, FORS_ROOTS, WOTS_PRF, FORS_PRF = range(7)


def mgf1(digest, seed, size):
    blocks = (digest(seed + struct.pack(">I", i)).digest() for i in range(size))
    return b"".join(blocks)[:size]


class Key:
    """Without `private`, the octets of SK.seed, SK.prf, PK.seed and PK.root, a new one."""

    def __init__(self, name, private=None):
        _, _, family, size = name.split("-")[:4]
        self.prehash = prehash(name) if "-with-" in name else None
        self.n, self.h, self.d, self.a, self.k = n, *_ = SETS[size]
        self.levels = self.h // self.d
        self.is_sha2 = family == "SHA2"
        parts = private or secrets.token_bytes(3 * n)
        self.seed, self.prf, self.public_seed = (parts[i * n:i * n + n] for i in range(3))
        self.digest = hashlib.sha256 if n == 16 else hashlib.sha512
        if self.is_sha2:
            self.address = struct.Struct(">BQBIII").pack
            self.narrow = hashlib.sha256(self.public_seed.ljust(64, b"\0"))
            self.wide = self.digest(self.public_seed.ljust(self.digest().block_size, b"\0"))
        else:
            self.address = struct.Struct(">I4xQIIII").pack
            self.narrow = self.wide = hashlib.shake_256(self.public_seed)
        self.root = private[3 * n:] if private else self.sign_in_tree(self.d - 1, 0, 0, b"")[0]
        self.private = self.seed + self.prf + self.public_seed + self.root
        self.public = self.public_seed + self.root

    def finish(self, start, *parts):
        running = start.copy()
        for part in parts:
            running.update(part)
        return running.digest()[:self.n] if self.is_sha2 else running.digest(self.n)

    def one(self, address, octets):  # F and PRF
        return self.finish(self.narrow, self.address(*address), octets)

    def many(self, address, octets):  # H and T
        return self.finish(self.wide, self.address(*address), octets)

    def hash_message(self, randomizer, message, size):
        if not self.is_sha2:
            return hashlib.shake_256(randomizer + self.public + message).digest(size)
        inner = self.digest(randomizer + self.public + message).digest()
        return mgf1(self.digest, randomizer + self.public_seed + inner, size)

    def hash_randomizer(self, message):  # PRF_msg, without randomness of its own
        if self.is_sha2:
            return hmac.digest(self.prf, self.public_seed + message, self.digest)[:self.n]
        return hashlib.shake_256(self.prf + self.public_seed + message).digest(self.n)

    def climb(self, where, first, nodes, index):
        """The root above all nodes, and the path from the node `index` to it."""
        path, height = b"", 0
        while len(nodes) > 1:
            path += nodes[index ^ 1]
            index, first, height = index >> 1, first >> 1, height + 1
            nodes = [self.many((*where, height, first + i), nodes[2 * i] + nodes[2 * i + 1])
                     for i in range(len(nodes) // 2)]
        return nodes[0], path

    def chain(self, layer, tree, leaf, chain, steps):
        node = self.one((layer, tree, WOTS_PRF, leaf, chain, 0), self.seed)
        for step in range(steps):
            node = self.one((layer, tree, WOTS_HASH, leaf, chain, step), node)
        return node

    def wots_key(self, layer, tree, leaf):
        ends = [self.chain(layer, tree, leaf, i, 15) for i in range(2 * self.n + 3)]
        return self.many((layer, tree, WOTS_PK, leaf, 0, 0), b"".join(ends))

    def sign_in_tree(self, layer, tree, leaf, node):
        """The root of the tree, and its signature of `node` with a leaf."""
        digits = [int(digit, 16) for digit in node.hex()]
        digits += [int(digit, 16) for digit in f"{sum(15 - digit for digit in digits):03x}"]
        signature = [self.chain(layer, tree, leaf, i, digit) for i, digit in enumerate(digits)]
        keys = [self.wots_key(layer, tree, i) for i in range(1 << self.levels)]
        root, path = self.climb((layer, tree, TREE, 0), 0, keys, leaf)
        return root, b"".join(signature) + path

    def sign_choices(self, tree, leaf, choices):
        """The FORS key of a leaf, and its signature."""
        signature, roots = b"", b""
        for i, choice in enumerate(choices):
            first = i << self.a
            secret = [self.one((0, tree, FORS_PRF, leaf, 0, first + j), self.seed)
                      for j in range(1 << self.a)]
            nodes = [self.one((0, tree, FORS_TREE, leaf, 0, first + j), octets)
                     for j, octets in enumerate(secret)]
            root, path = self.climb((0, tree, FORS_TREE, leaf), first, nodes, choice)
            signature += secret[choice] + path
            roots += root
        return self.many((0, tree, FORS_ROOTS, leaf, 0, 0), roots), signature

    def sign(self, message):
        head = b"\0\0"  # pure, with the empty context
        if self.prehash:
            _, arc, digest = self.prehash
            head = b"\1\0" + bytes.fromhex("06096086480165030402") + bytes([arc])
            message = digest(message)
        message = head + message
        randomizer = self.hash_randomizer(message)
        sizes = [(bits + 7) // 8 for bits in (self.k * self.a, self.h - self.levels, self.levels)]
        digest = self.hash_message(randomizer, message, sum(sizes))
        numbers = []
        for size in sizes:
            numbers.append(int.from_bytes(digest[:size], "big"))
            digest = digest[size:]
        bits = 8 * sizes[0]
        choices = [numbers[0] >> bits - self.a * (i + 1) & (1 << self.a) - 1
                   for i in range(self.k)]
        tree = numbers[1] & (1 << self.h - self.levels) - 1
        leaf = numbers[2] & (1 << self.levels) - 1
        node, signature = self.sign_choices(tree, leaf, choices)
        for layer in range(self.d):
            node, part = self.sign_in_tree(layer, tree, leaf, node)
            signature += part
            leaf, tree = tree & (1 << self.levels) - 1, tree >> self.levels
        assert node == self.root
        return randomizer + signature
