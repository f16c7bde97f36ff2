"""A host for the Korvan AutoFill extension. It plays a user who agrees to everything.

    korvan-python-host host.py --container DIR [URL]
"""

import argparse
import contextlib
import fcntl
import hashlib
import os
import pathlib
import plistlib
import signal
import socket
import sys
import threading

from cryptography.hazmat.primitives import hashes
from cryptography.hazmat.primitives.asymmetric import ec

MAX_BODY, ES256 = 4_194_304, -7
USER_PRESENT, USER_VERIFIED, BACKUP_ELIGIBLE, BACKED_UP, ATTESTED_DATA = 0x01, 0x04, 0x08, 0x10, 0x40
SITE, USER = ("relyingPartyIdentifier",), ("relyingPartyIdentifier", "userHandle")


class Refusal(Exception):
    """One of the protocol's error codes, and a sentence for people."""


def part(message, *keys):
    return {key: message[key] for key in keys}


def authenticator_data(request, more_flags=0, more=b""):
    verified = USER_VERIFIED if request["allowsUserInteraction"] else 0  # this user agrees when asked
    if request["userVerificationPreference"] == "required" and not verified:
        raise Refusal("userInteractionRequired", "The web site requires user verification.")
    flags = USER_PRESENT | verified | BACKUP_ELIGIBLE | BACKED_UP | more_flags
    site = hashlib.sha256(request["relyingPartyIdentifier"].encode()).digest()
    return site + bytes([flags]) + bytes(4) + more  # the counter is always 0


class Vault:
    """Keeps the private keys unencrypted: do not copy that."""
    def __init__(self, file):
        self.file, self.lock = file, threading.Lock()
        self.passkeys = plistlib.loads(file.read_bytes()) if file.exists() else []

    def answer(self, body):
        try:
            request = plistlib.loads(body, fmt=plistlib.FMT_BINARY)
            with self.lock:  # one at a time, so that no change is lost
                return {"ok": True, **self.HANDLERS[request["type"]](self, request)}
        except Exception as error:  # also if the body is not a property list, or has an unknown type or lacks a key
            code, text = error.args if isinstance(error, Refusal) else ("failed", f"Not served: {error!r}")
            return {"ok": False, "errorCode": code, "errorDescription": text}

    def keep(self, passkeys):
        new = self.file.with_suffix(".new")
        new.write_bytes(plistlib.dumps(passkeys))
        new.replace(self.file)  # so that the file is a whole vault at any time
        self.passkeys = passkeys
        return {}

    def split(self, request, *keys):
        """The passkeys with the request's values of the keys, and the others."""
        wanted = part(request, *keys)
        return ([p for p in self.passkeys if part(p, *keys) == wanted],
                [p for p in self.passkeys if part(p, *keys) != wanted])

    def assertion(self, request):
        named = [key for key in ("credentialID", "recordIdentifier") if request[key]]  # empty: any
        ids = request["allowedCredentials"]
        found = [p for p in self.split(request, *SITE, *named)[0] if not ids or p["credentialID"] in ids]
        if not found:
            raise Refusal("credentialNotFound", "No passkey matches the request.")
        passkey = found[-1]  # a real host lets the user choose
        data = authenticator_data(request)
        key = ec.derive_private_key(int.from_bytes(passkey["key"], "big"), ec.SECP256R1())
        return {**part(passkey, *USER, "credentialID"), **part(request, "clientDataHash"),
                "authenticatorData": data,
                "signature": key.sign(data + request["clientDataHash"], ec.ECDSA(hashes.SHA256()))}

    def registration(self, request):
        if ES256 not in (request["supportedAlgorithms"] or [ES256]):
            raise Refusal("failed", "This host makes keys for ES256 only.")
        if any(p["credentialID"] in request["excludedCredentials"] for p in self.split(request, *SITE)[0]):
            raise Refusal("matchedExcludedCredential", "The vault has an excluded passkey.")
        key, identifier = ec.generate_private_key(ec.SECP256R1()), os.urandom(32)
        secret, point = key.private_numbers().private_value, key.public_key().public_numbers()
        cose_key = (bytes.fromhex("a5010203262001215820") + point.x.to_bytes(32, "big")
                    + bytes.fromhex("225820") + point.y.to_bytes(32, "big"))
        attested = bytes(16) + bytes([0, 32]) + identifier + cose_key  # the AAGUID is zero
        data = authenticator_data(request, ATTESTED_DATA, attested)
        # The user's new passkey takes the old one's place.
        self.keep(self.split(request, *USER)[1] + [{
            **part(request, *USER, "userName"), "credentialID": identifier,
            "recordIdentifier": identifier.hex(), "key": secret.to_bytes(32, "big")}])
        attestation = b"\xa3\x63fmt\x64none\x67attStmt\xa0\x68authData\x58" + bytes([len(data)]) + data
        return {**part(request, *SITE, "clientDataHash"), "credentialID": identifier,
                "attestationObject": attestation}

    def update_user_name(self, request):
        renamed, others = self.split(request, *USER)
        return self.keep(others + [{**p, **part(request, "userName")} for p in renamed])

    def remove_unknown(self, request):
        return self.keep(self.split(request, *SITE, "credentialID")[1])

    def keep_accepted(self, request):
        own, others = self.split(request, *USER)
        return self.keep(others + [p for p in own if p["credentialID"] in request["acceptedCredentialIDs"]])

    # To synchronize, a host on macOS hands ASCredentialIdentityStore its identities.
    HANDLERS = {"assertion": assertion, "interactiveAssertion": assertion, "registration": registration,
                "updateUserName": update_user_name, "removeUnknownCredential": remove_unknown,
                "acceptedCredentials": keep_accepted, "synchronize": lambda vault, request: {}}


def serve(client, vault):
    # A client that leaves, or is silent for too long, is an OSError.
    with contextlib.suppress(OSError), client, client.makefile("rb") as stream:
        client.settimeout(30)
        size = int.from_bytes(stream.read(4), "big")
        answer = vault.answer(stream.read(size) if size <= MAX_BODY else b"")
        body = plistlib.dumps(answer, fmt=plistlib.FMT_BINARY)
        client.sendall(len(body).to_bytes(4, "big") + body)


parser = argparse.ArgumentParser()
parser.add_argument("--container", type=pathlib.Path, required=True)
parser.add_argument("url", nargs="?", help="the URL that opened this program")
container = parser.parse_args().container.absolute()
container.mkdir(mode=0o700, exist_ok=True)
if container.stat().st_mode & 0o077:
    sys.exit(f"Others may read {container}; its mode must be 0700.")
os.umask(0o177)
with open(container / "lock", "w") as lock, socket.socket(socket.AF_UNIX) as listener:
    try:
        fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)  # for as long as this process runs
    except BlockingIOError:
        sys.exit(f"Another host runs in {container}.")
    file = container / "acp.sock"
    file.unlink(missing_ok=True)  # an earlier run's
    listener.bind(str(file))
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(file.unlink()))
    listener.listen(64)
    vault = Vault(container / "vault.plist")
    while True:
        threading.Thread(target=serve, args=(listener.accept()[0], vault), daemon=True).start()
