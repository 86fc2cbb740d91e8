"""ML-DSA (FIPS 204): keys and signatures of the pure variant, plain and slow."""
import hashlib
import secrets

Q = 8380417
DROPPED = 13  # bits of t that the public key leaves out: d
# k, l, eta, tau, gamma1, gamma2, omega, octets of the commitment's hash: FIPS 204, table 1.
SETS = {"ML-DSA-44": (4, 4, 2, 39, 1 << 17, (Q - 1) // 88, 80, 32),
        "ML-DSA-65": (6, 5, 4, 49, 1 << 19, (Q - 1) // 32, 55, 48),
        "ML-DSA-87": (8, 7, 2, 60, 1 << 19, (Q - 1) // 32, 75, 64)}
NAMES = list(SETS)
ZETAS = [pow(1753, int(f"{i:08b}"[::-1], 2), Q) for i in range(256)]


def shake(octets, size):
    return hashlib.shake_256(octets).digest(size)


def ntt(poly):
    poly, zeta, length = list(poly), 0, 128
    while length:
        for start in range(0, 256, 2 * length):
            zeta += 1
            for i in range(start, start + length):
                turned = ZETAS[zeta] * poly[i + length]
                poly[i], poly[i + length] = (poly[i] + turned) % Q, (poly[i] - turned) % Q
        length //= 2
    return poly


def inverse_ntt(poly):
    poly, zeta, length = list(poly), 256, 1
    while length < 256:
        for start in range(0, 256, 2 * length):
            zeta -= 1
            for i in range(start, start + length):
                low, high = poly[i], poly[i + length]
                poly[i], poly[i + length] = (low + high) % Q, ZETAS[zeta] * (high - low) % Q
        length *= 2
    return [x * pow(256, -1, Q) % Q for x in poly]


def centred(x, modulus=Q):
    x %= modulus
    return x - modulus if x > modulus // 2 else x


def norm(vector):
    return max(abs(centred(x)) for poly in vector for x in poly)


def pack(values, bits):
    number = sum(value << i * bits for i, value in enumerate(values))
    return number.to_bytes(len(values) * bits // 8, "little")


def add(a, b):
    return [[(x + y) % Q for x, y in zip(p, q)] for p, q in zip(a, b)]


def scale(factor, vector):
    return [inverse_ntt([x * y for x, y in zip(factor, ntt(poly))]) for poly in vector]


class Key:
    """Without `private`, the 32 octets of the seed, a new one."""

    def __init__(self, name, private=None):
        (self.k, self.l, self.eta, self.tau, self.gamma1, self.gamma2, self.omega,
         self.hash_size) = SETS[name]
        self.private = private or secrets.token_bytes(32)
        expanded = shake(self.private + bytes([self.k, self.l]), 128)
        rho, self.secret = expanded[:32], expanded[96:]
        self.matrix = [[self.uniform(rho + bytes([j, i])) for j in range(self.l)]
                       for i in range(self.k)]
        small = [self.bounded(expanded[32:96] + bytes([i, 0])) for i in range(self.l + self.k)]
        self.s1, self.s2 = small[:self.l], small[self.l:]
        t = add(self.times_matrix(self.s1), self.s2)
        self.t0 = [[centred(x, 1 << DROPPED) for x in poly] for poly in t]
        t1 = [[(x - y) >> DROPPED for x, y in zip(p, q)] for p, q in zip(t, self.t0)]
        self.public = rho + b"".join(pack(poly, 10) for poly in t1)

    @staticmethod
    def uniform(seed):
        stream, poly = hashlib.shake_128(seed).digest(3 * 1024), []
        for i in range(0, len(stream), 3):
            value = int.from_bytes(stream[i:i + 3], "little") & 0x7FFFFF
            if value < Q:
                poly.append(value)
        return poly[:256]

    def bounded(self, seed):
        halves = [half for octet in shake(seed, 1024) for half in (octet & 15, octet >> 4)]
        if self.eta == 2:
            return [2 - half % 5 for half in halves if half < 15][:256]
        return [4 - half for half in halves if half < 9][:256]

    def times_matrix(self, vector):
        vector = [ntt(poly) for poly in vector]
        return [inverse_ntt([sum(x * y for x, y in zip(*pairs)) % Q
                             for pairs in zip(zip(*row), zip(*vector))]) for row in self.matrix]

    def challenge(self, seed):
        stream, poly = shake(seed, 1024), [0] * 256
        signs, at = int.from_bytes(stream[:8], "little"), 8
        for i in range(256 - self.tau, 256):
            while stream[at] > i:
                at += 1
            poly[i], poly[stream[at]] = poly[stream[at]], 1 - 2 * (signs & 1)
            signs, at = signs >> 1, at + 1
        return poly

    def decompose(self, x):
        low = centred(x, 2 * self.gamma2)
        return (0, low - 1) if x % Q - low == Q - 1 else ((x % Q - low) // (2 * self.gamma2), low)

    def high(self, vector):
        return [[self.decompose(x)[0] for x in poly] for poly in vector]

    def mask(self, seed, number):
        bits = self.gamma1.bit_length()
        number = int.from_bytes(shake(seed + number.to_bytes(2, "little"), 32 * bits), "little")
        return [self.gamma1 - (number >> i * bits & (1 << bits) - 1) for i in range(256)]

    def attempt(self, digest, y):
        """A signature, or None when this `y` would tell something of the key."""
        w = self.times_matrix(y)
        bits = ((Q - 1) // (2 * self.gamma2) - 1).bit_length()
        commitment = shake(digest + b"".join(pack(poly, bits) for poly in self.high(w)),
                           self.hash_size)
        challenge = ntt(self.challenge(commitment))
        z = add(y, scale(challenge, self.s1))
        minus = [[-x for x in poly] for poly in scale(challenge, self.s2)]
        rest = add(w, minus)
        low = [[self.decompose(x)[1] for x in poly] for poly in rest]
        beta = self.tau * self.eta
        if norm(z) >= self.gamma1 - beta or norm(low) >= self.gamma2 - beta:
            return None
        dropped = scale(challenge, self.t0)
        hints = [[i for i in range(256) if p[i] != q[i]]
                 for p, q in zip(self.high(rest), self.high(add(rest, dropped)))]
        if norm(dropped) >= self.gamma2 or sum(map(len, hints)) > self.omega:
            return None
        packed = [pack([self.gamma1 - centred(x) for x in poly], self.gamma1.bit_length())
                  for poly in z]
        counts = [sum(map(len, hints[:i + 1])) for i in range(self.k)]
        places = bytes(sum(hints, [])).ljust(self.omega, b"\0")
        return commitment + b"".join(packed) + places + bytes(counts)

    def sign(self, message):
        digest = shake(shake(self.public, 64) + b"\0\0" + message, 64)
        seed = shake(self.secret + bytes(32) + digest, 64)  # without randomness of its own
        for start in range(0, 65536, self.l):
            y = [self.mask(seed, start + i) for i in range(self.l)]
            if signature := self.attempt(digest, y):
                return signature
        raise AssertionError("no attempt succeeds")
