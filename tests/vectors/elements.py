# SPDX-FileCopyrightText: 2026 The Sigkit authors
# SPDX-License-Identifier: Apache-2.0

"""What the files of a case say, member by member, as trees that can be compared.
"""
import base64
import dataclasses
import functools
import hashlib
import pathlib
import re
import sys
import typing

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent.parent / "vectors"))
import der  # noqa: E402
from trees import Collection, Computed, Tree  # noqa: E402

DIGESTS = {  # by object identifier
    "1.3.14.3.2.26": "sha1", "2.16.840.1.101.3.4.2.1": "sha256",
    "2.16.840.1.101.3.4.2.2": "sha384", "2.16.840.1.101.3.4.2.3": "sha512",
}
DIGEST_INFO = {
    "sha1": "3021300906052b0e03021a05000414", "sha256": "3031300d060960864801650304020105000420",
    "sha384": "3041300d060960864801650304020205000430", "sha512": "3051300d060960864801650304020305000440",
}
NAMES = {
    "2.5.29.14": "subjectKeyIdentifier", "2.5.29.35": "authorityKeyIdentifier", "2.5.29.19": "basicConstraints",
    "2.5.29.15": "keyUsage", "2.5.29.37": "extKeyUsage", "2.5.29.20": "cRLNumber", "2.5.29.21": "reasonCode",
    "2.5.29.27": "deltaCRLIndicator", "2.5.29.28": "issuingDistributionPoint", "2.5.29.29": "certificateIssuer",
    "2.5.29.30": "nameConstraints", "2.5.29.31": "cRLDistributionPoints", "2.5.29.36": "policyConstraints",
    "1.2.840.113549.1.9.3": "contentType", "1.2.840.113549.1.9.4": "messageDigest",
    "1.2.840.113549.1.9.5": "signingTime", "1.2.840.113549.1.9.16.2.14": "timeStampToken",
    "1.2.840.113549.1.9.16.2.47": "signingCertificateV2",
}
COMMON_NAME = bytes.fromhex("0603550403")


@dataclasses.dataclass
class Certificate:
    """What is asked of the certificates of a package."""
    label: str
    subject: bytes
    issuer: bytes
    serial: bytes
    key: tuple[int, int] | None  # modulus and exponent
    key_identifier: str
    whole: bytes


# ---- Octets --------------------------------------------------------------------------------------------------------

def canonical(element: der.Element) -> bytes:
    """The element with the lengths that DER gives it."""
    content = element.content
    if element.constructed:
        try:
            content = b"".join(canonical(member) for member in element.members())
        except der.Malformed:
            pass
    size = len(content)
    octets = size.to_bytes((size.bit_length() + 7) // 8, "big")
    length = bytes([size]) if size < 0x80 else bytes([0x80 | len(octets)]) + octets
    return element.whole[:1] + length + content


def odd_lengths(element: der.Element) -> list[str]:
    """The forms of lengths, in an element and those inside it, that are not DER's."""
    found = [element.form] if element.form else []
    try:
        members = element.members() if element.constructed else []
    except der.Malformed:
        members = []
    return found + [form for member in members for form in odd_lengths(member)]


def octet_string(content: bytes) -> bytes:
    return bytes([0x04, len(content)]) + content


def put(tree: dict, name: str, element: der.Element, value: Tree | None = None) -> None:
    """Adds a member, and the form of its length where that is not DER's. What the value is made of says that
    of itself."""
    tree[name] = canonical(element).hex() if value is None else value
    forms = odd_lengths(element) if value is None or isinstance(value, Computed) else [element.form]
    if any(forms):
        tree[f"{name}#length"] = ", ".join(forms)


def frame(tree: dict, name: str, element: der.Element, tag: int) -> None:
    """Notes of an element that is taken apart what its members do not say: another identifier than it should have,
    another length than DER's."""
    if element.tag != tag:
        tree[f"{name}#identifier"] = f"{element.tag:02x}"
    if element.form:
        tree[f"{name}#length"] = element.form


def rest_of(tree: dict, name: str, elements: list[der.Element], count: int) -> None:
    """Notes the members behind those that there should be."""
    if len(elements) > count:
        tree[f"{name}#rest"] = "".join(one.whole.hex() for one in elements[count:])


def take(elements: list[der.Element], layout: list[tuple[str, set[int]]]) -> dict[str, der.Element]:
    """Names the members of a SEQUENCE by their identifier octets; members that are missing are left out."""
    named, rest = {}, list(elements)
    for name, tags in layout:
        if rest and (not tags or rest[0].tag in tags):
            named[name] = rest.pop(0)
    for number, element in enumerate(rest):
        named[f"further {number}"] = element
    return named


def common_name(name: der.Element) -> str:
    for part in name.members():
        for attribute in part.members():
            if attribute.content.startswith(COMMON_NAME):
                return attribute.members()[1].content.decode("latin-1")
    return "somebody without a common name"


@functools.lru_cache(maxsize=1024)
def recovered(signature: bytes, key: tuple[int, int]) -> bytes:
    """What a key recovers from a signature, as long as its modulus."""
    modulus, exponent = key
    size = (modulus.bit_length() + 7) // 8
    return pow(int.from_bytes(signature, "big"), exponent, modulus).to_bytes(size, "big")


def holds_under(keys: list[Certificate], data: bytes, signature: bytes) -> str:
    """Whose key a PKCS #1 v1.5 signature over octets holds under, and its digest."""
    for certificate in keys:
        if certificate.key is None or certificate.key[0] < 2:
            continue
        block = recovered(signature, certificate.key)
        size = len(block)
        for digest, info in DIGEST_INFO.items():
            tail = b"\0" + bytes.fromhex(info) + hashlib.new(digest, data).digest()
            if size >= len(tail) + 10 and block == b"\0\1" + b"\xff" * (size - len(tail) - 2) + tail:
                length = "" if len(signature) == size else f", in {len(signature)} octets"
                return f"{digest} under the key of {certificate.label}{length}"
    return "does not hold: " + hashlib.sha256(signature).hexdigest()


# ---- Certificates and CRLs -----------------------------------------------------------------------------------------

CERTIFICATE = [("version", {0xA0}), ("serialNumber", {0x02}), ("signature", {0x30}), ("issuer", {0x30}),
               ("validity", {0x30}), ("subject", {0x30}), ("subjectPublicKeyInfo", {0x30}), ("issuerUniqueID", {0x81}),
               ("subjectUniqueID", {0x82}), ("extensions", {0xA3})]
CRL = [("version", {0x02}), ("signature", {0x30}), ("issuer", {0x30}), ("thisUpdate", {0x17, 0x18}),
       ("nextUpdate", {0x17, 0x18}), ("revokedCertificates", {0x30}), ("crlExtensions", {0xA0})]


def is_certificate(element: der.Element) -> bool:
    signed = element.members()[0].members()
    return signed[0].tag == 0xA0 or signed[0].tag == 0x02 and signed[3].tag == 0x30


def certificate_of(element: der.Element) -> Certificate:
    parts = take(element.members()[0].members(), CERTIFICATE)
    bits = parts["subjectPublicKeyInfo"].members()[1].content[1:]
    key = None
    try:
        modulus, exponent = der.read(bits).members()
        key = (int.from_bytes(modulus.content, "big"), int.from_bytes(exponent.content, "big"))
    except (der.Malformed, ValueError):
        pass
    return Certificate(common_name(parts["subject"]), canonical(parts["subject"]), canonical(parts["issuer"]),
                       parts["serialNumber"].content, key, hashlib.sha1(bits).hexdigest(), element.whole)


def signing_certificate_of(certificate: Certificate) -> bytes:
    """SigningCertificateV2 with the default SHA-256 (RFC 5816, 2.2.1)."""
    identifier = octet_string(hashlib.sha256(certificate.whole).digest())
    for _ in range(3):
        identifier = bytes([0x30, len(identifier)]) + identifier
    return identifier


class Reader:
    """Makes the trees of one package, whose certificates it knows."""

    def __init__(self, certificates: list[Certificate], content: bytes):
        self.certificates = certificates
        self.content = content

    def signer_of(self, element: der.Element) -> tuple[str, Certificate | None]:
        """Under whose key the signature of a certificate or CRL holds."""
        signed, _, bits = element.members()
        meaning = holds_under(self.certificates, signed.whole, bits.content[1:])
        return meaning, next((one for one in self.certificates
                              if meaning.split(",")[0].endswith(f" of {one.label}") and
                              holds_under([one], signed.whole, bits.content[1:]) == meaning), None)

    def extensions(self, element: der.Element | None, own: Certificate | None,
                   signer: Certificate | None) -> Collection:
        found = Collection()
        for extension in element.members() if element else []:
            name = NAMES.get(der.identifier(extension.members()[0]), der.identifier(extension.members()[0]))
            value = extension.members()[-1]
            tree: dict = {}
            frame(tree, "", extension, 0x30)
            frame(tree, "extnID", extension.members()[0], 0x06)
            tree["flags"] = "".join(one.whole.hex() for one in extension.members()[1:-1])
            octets = canonical(value).hex()
            meaning = octets
            if name == "subjectKeyIdentifier" and own and octets == f"04160414{own.key_identifier}":
                meaning = "of its own key"
            elif name == "authorityKeyIdentifier" and signer and octets == f"041830168014{signer.key_identifier}":
                meaning = "of its signer's key"
            put(tree, "value", value, Computed(octets, meaning))
            found.append((name, tree))
        return found

    def signed_structure(self, element: der.Element, tree: dict, signer_meaning: str) -> None:
        signed, algorithm, bits = element.members()[:3]
        frame(tree, "", element, 0x30)
        frame(tree, "toBeSigned", signed, 0x30)
        rest_of(tree, "", element.members(), 3)
        put(tree, "signatureAlgorithm", algorithm)
        frame(tree, "signatureValue", bits, 0x03)
        put(tree, "signatureValue", bits, Computed(bits.content[1:].hex(), signer_meaning))
        tree["signatureValue#bits"] = str(bits.content[0])

    def name(self, issuer: der.Element, signer: Certificate | None) -> Tree:
        octets = canonical(issuer)
        return Computed(octets.hex(), "subject of its signer" if signer and signer.subject == octets else octets.hex())

    def certificate(self, element: der.Element) -> Tree:
        meaning, signer = self.signer_of(element)
        tree: dict = {}
        for name, part in take(element.members()[0].members(), CERTIFICATE).items():
            if name == "issuer":
                put(tree, name, part, self.name(part, signer))
            elif name == "validity":
                put(tree, name, part, dict(zip(("notBefore", "notAfter"), (m.whole.hex() for m in part.members()))))
                rest_of(tree, name, part.members(), 2)
            elif name == "extensions":
                put(tree, name, part, self.extensions(part.members()[0], certificate_of(element), signer))
                frame(tree, name, part.members()[0], 0x30)
            else:
                put(tree, name, part)
        self.signed_structure(element, tree, meaning)
        return tree

    def revoked(self, element: der.Element | None) -> Collection:
        found = Collection()
        for entry in element.members() if element else []:
            serial = entry.members()[0].content
            label = next((one.label for one in self.certificates if one.serial == serial), serial.hex())
            tree: dict = {"revocationDate": entry.members()[1].whole.hex()}
            frame(tree, "", entry, 0x30)
            frame(tree, "userCertificate", entry.members()[0], 0x02)
            rest_of(tree, "", entry.members(), 3)
            if len(entry.members()) > 2:
                frame(tree, "crlEntryExtensions", entry.members()[2], 0x30)
            for extension in entry.members()[2].members() if len(entry.members()) > 2 else []:
                name = NAMES.get(der.identifier(extension.members()[0]), der.identifier(extension.members()[0]))
                put(tree, name, extension)
            found.append((label, tree))
        return found

    def crl(self, element: der.Element) -> Tree:
        meaning, signer = self.signer_of(element)
        parts = take(element.members()[0].members(), CRL)
        tree: dict = {"revokedCertificates": Collection(), "crlExtensions": Collection()}
        for name, part in parts.items():
            if name == "issuer":
                put(tree, name, part, self.name(part, signer))
            elif name == "revokedCertificates":
                put(tree, name, part, self.revoked(part))
                if not part.content:
                    tree[f"{name}#empty"] = "an empty list"
            elif name == "crlExtensions":
                put(tree, name, part, self.extensions(part.members()[0], None, signer))
                frame(tree, name, part.members()[0], 0x30)
            else:
                put(tree, name, part)
        self.signed_structure(element, tree, meaning)
        return tree

    def object_of_file(self, element: der.Element) -> tuple[str, Tree]:
        if is_certificate(element):
            return f"certificate of {certificate_of(element).label}", self.certificate(element)
        issuer = take(element.members()[0].members(), CRL)["issuer"]
        return f"CRL of {common_name(issuer)}", self.crl(element)

    # ---- Messages and tokens ---------------------------------------------------------------------------------------

    def attributes(self, elements: list[der.Element], known: dict[str, typing.Callable[[der.Element], Tree]],
                   ) -> Collection:
        found = Collection()
        found.is_sorted = [one.whole for one in elements] == sorted(one.whole for one in elements)
        for attribute in elements:
            identifier = der.identifier(attribute.members()[0])
            name = NAMES.get(identifier, identifier)
            tree: dict = {}
            values = attribute.members()[1]
            frame(tree, "", attribute, 0x30)
            frame(tree, "attrType", attribute.members()[0], 0x06)
            frame(tree, "values", values, 0x31)
            rest_of(tree, "", attribute.members(), 2)
            if name in known and len(values.members()) == 1:
                put(tree, "", values, known[name](values.members()[0]))
            else:
                put(tree, "", values)
            found.append((name, tree))
        return found

    def identified(self, sid: der.Element) -> Certificate | None:
        if sid.tag != 0x30:
            return None
        issuer, serial = sid.members()
        return next((one for one in self.certificates
                     if one.issuer == canonical(issuer) and serial.tag == 0x02 and one.serial == serial.content), None)

    def signer_info(self, element: der.Element, octets: bytes, of_what: str) -> Tree:
        parts = take(element.members(), [("version", {2}), ("sid", {0x30, 0x80}), ("digestAlgorithm", {0x30}),
                                         ("signedAttrs", {0xA0}), ("signatureAlgorithm", {0x30}),
                                         ("signature", {0x04, 0x24}), ("unsignedAttrs", {0xA1})])
        digest = DIGESTS.get(der.identifier(parts["digestAlgorithm"].members()[0]), "")
        certificate = self.identified(parts["sid"])
        value = parts["signature"].content if "signature" in parts else b""
        signed = b"\x31" + parts["signedAttrs"].whole[1:] if "signedAttrs" in parts else octets

        def message_digest(one: der.Element) -> Tree:
            right = digest and one.whole == octet_string(hashlib.new(digest, octets).digest())
            return Computed(one.whole.hex(), f"digest of the {of_what}" if right else one.whole.hex())

        def signing_certificate(one: der.Element) -> Tree:
            right = certificate and one.whole == signing_certificate_of(certificate)
            return Computed(one.whole.hex(), "of its signer's certificate" if right else one.whole.hex())

        tree: dict = {"signedAttrs": Collection(), "unsignedAttrs": Collection()}
        frame(tree, "", element, 0x30)
        for name, part in parts.items():
            if name == "sid":
                meaning = f"of {certificate.label}" if certificate else part.whole.hex()
                put(tree, name, part, Computed(part.whole.hex(), meaning))
            elif name == "signature":
                put(tree, name, part, Computed(part.whole.hex(), holds_under(self.certificates, signed, value)))
                frame(tree, name, part, 0x04)
            elif name == "signedAttrs":
                put(tree, name, part, self.attributes(part.members(), {
                    "messageDigest": message_digest, "signingCertificateV2": signing_certificate}))
            elif name == "unsignedAttrs":
                put(tree, name, part, self.attributes(part.members(), {
                    "timeStampToken": lambda one: self.message(one, value)}))
            else:
                put(tree, name, part)
        return tree

    def tst_info(self, octets: bytes, signature: bytes) -> Tree:
        tree: dict = {}
        layout = [("version", {2}), ("policy", {6}), ("messageImprint", {0x30}), ("serialNumber", {2}),
                  ("genTime", {0x17, 0x18, 0x02}), ("accuracy", {0x30}), ("ordering", {1}), ("nonce", {2}),
                  ("tsa", {0xA0}), ("extensions", {0xA1})]
        element = der.read(octets)
        frame(tree, "", element, 0x30)
        if len(octets) > len(element.whole):
            tree["#tail"] = octets[len(element.whole):].hex()
        for name, part in take(element.members(), layout).items():
            if name == "messageImprint":
                algorithm, hashed = part.members()
                digest = DIGESTS.get(der.identifier(algorithm.members()[0]), "sha256")
                right = hashed.tag == 0x04 and hashed.content == hashlib.new(digest, signature).digest()
                imprint: dict = {}
                put(imprint, "hashAlgorithm", algorithm)
                meaning = "digest of the signature" if right else hashed.whole.hex()
                put(imprint, "hashedMessage", hashed, Computed(hashed.whole.hex(), meaning))
                put(tree, name, part, imprint)
            else:
                put(tree, name, part)
        return tree

    def message(self, element: der.Element, stamped: bytes | None = None) -> Tree:
        """A SignedData in its ContentInfo. stamped: the signature that a token is about."""
        try:
            return self.signed_data(element, stamped)
        except (der.Malformed, ValueError, IndexError, KeyError):
            return "cannot be read: " + hashlib.sha256(element.whole).hexdigest()

    def signed_data(self, element: der.Element, stamped: bytes | None) -> Tree:
        content_type, explicit = element.members()
        parts = take(explicit.members()[0].members(), [
            ("version", {2}), ("digestAlgorithms", {0x31}), ("encapContentInfo", {0x30}), ("certificates", {0xA0}),
            ("crls", {0xA1}), ("signers", {0x31})])
        octets, of_what = self.content, "content"
        tree: dict = {"certificates": Collection()}
        put(tree, "contentType", content_type)
        frame(tree, "content", explicit, 0xA0)
        rest_of(tree, "content", explicit.members(), 1)
        frame(tree, "signedData", explicit.members()[0], 0x30)
        encapsulated = parts["encapContentInfo"].members()
        if stamped is not None and len(encapsulated) > 1:
            carried = encapsulated[1].members()[0]
            octets = carried.content if carried.tag == 0x04 else der.read(carried.content).content
            of_what = "TSTInfo"
            put(tree, "encapContentInfo", parts["encapContentInfo"], {
                "eContentType": encapsulated[0].whole.hex(),
                "eContent": {"type": f"{carried.tag:02x}", "tstInfo": self.tst_info(octets, stamped)}})
            frame(tree, "encapContentInfo/eContent", encapsulated[1], 0xA0)
            frame(tree, "encapContentInfo/eContent/type", carried, carried.tag)
            rest_of(tree, "encapContentInfo/eContent", encapsulated[1].members(), 1)
            rest_of(tree, "encapContentInfo", encapsulated, 2)
        else:
            put(tree, "encapContentInfo", parts["encapContentInfo"],
                {name: part.whole.hex() for name, part in zip(("eContentType", "eContent"), encapsulated)})
        for name, part in parts.items():
            if name == "certificates":
                put(tree, name, part, Collection(self.labelled(one) for one in part.members()))
            elif name == "signers":
                put(tree, name, part, str(len(part.members())))
                if part.members():
                    put(tree, "signer", part.members()[0], self.signer_info(part.members()[0], octets, of_what))
                    rest_of(tree, name, part.members(), 1)
            elif name != "encapContentInfo":
                put(tree, name, part)
        tree["#identifier"] = f"{element.tag:02x}"
        if element.form:
            tree["#length"] = element.form
        return tree

    def labelled(self, element: der.Element) -> tuple[str, Tree]:
        try:
            return certificate_of(element).label, self.certificate(element)
        except (der.Malformed, ValueError, IndexError, KeyError):
            return "another format", element.whole.hex()


# ---- Files ---------------------------------------------------------------------------------------------------------

def blocks(data: bytes) -> list[bytes]:
    """What is encoded in the PEM blocks of a file, whatever their labels, read as leniently as can be."""
    found = []
    for body in re.findall(rb"-----BEGIN[^-]*-----(.*?)-----END", data, re.S):
        digits = re.sub(rb"[^A-Za-z0-9+/]", b"", body)
        digits = digits[:len(digits) // 4 * 4 + (0 if len(digits) % 4 == 1 else len(digits) % 4)]
        found.append(base64.b64decode(digits + b"=" * (-len(digits) % 4)))
    return found


def octets_of(data: bytes) -> bytes:
    return b"".join(blocks(data)) if data.startswith(b"-----BEGIN") else data


def elements_of(data: bytes) -> list[der.Element]:
    """The elements at the beginning of a file, as far as there are any."""
    found, at = [], 0
    while at < len(data):
        try:
            found.append(der.read(data, at))
        except der.Malformed:
            break
        at += len(found[-1].whole)
    return found


def skeleton(data: bytes) -> str:
    """The armour of a file without its Base64."""
    if not data.startswith(b"-----BEGIN"):
        return ""
    return re.sub(r"(?<=-----\n)([A-Za-z0-9+/=]{1,64}\n)+(?=-----END)", "Base64\n", data.decode("latin-1"))


def all_certificates(files: dict[str, bytes]) -> list[Certificate]:
    found = []

    def search(element: der.Element, depth: int) -> None:
        try:
            found.append(certificate_of(element))
            return
        except (der.Malformed, ValueError, IndexError, KeyError):
            pass
        if depth < 20 and element.constructed:
            try:
                members = element.members()
            except der.Malformed:
                return
            for member in members:
                search(member, depth + 1)

    for name in ("root", "signature", "crls"):
        for element in elements_of(octets_of(files[name])):
            search(element, 0)
    return found


def tree_of(files: dict[str, bytes]) -> dict:
    """The tree of a package, by the names of its files."""
    reader = Reader(all_certificates(files), files["content"])
    tree: dict = {"content": hashlib.sha256(files["content"]).hexdigest()}
    root = elements_of(files["root"])
    tree["root"] = reader.certificate(root[0])
    crls = Collection()
    for element in elements_of(octets_of(files["crls"])):
        try:
            crls.append(reader.object_of_file(element))
        except (der.Malformed, ValueError, IndexError, KeyError):
            crls.append(("something else", element.whole.hex()))
    tree["crls"] = crls
    message = elements_of(octets_of(files["signature"]))
    tree["signature"] = reader.message(message[0]) if message else "cannot be read"
    for name in ("crls", "signature"):
        tree[f"{name}#armour"] = skeleton(files[name])
        data = octets_of(files[name])
        rest = data[sum(len(element.whole) for element in elements_of(data)[:1 if name == "signature" else None]):]
        tree[f"{name}#tail"] = hashlib.sha256(rest).hexdigest()
    return tree
