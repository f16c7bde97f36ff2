"""docs/examples/host.py is a host: it is started as docs/host-protocol.md says, and asked.

The environment says where things are: KORVAN_BINARIES is the build's folder, KORVAN_SOURCE the project's.
"""

import os
import pathlib
import plistlib
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(os.environ["KORVAN_SOURCE"])
BINARIES = pathlib.Path(os.environ["KORVAN_BINARIES"])
LAUNCH_URL = "korvan:///launch?source=credential-provider"


class PythonHostTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        directory = tempfile.TemporaryDirectory()
        cls.addClassCleanup(directory.cleanup)
        cls.python = pathlib.Path(directory.name) / "korvan-python-host"
        shutil.copy(pathlib.Path(sys.executable).resolve(), cls.python)
        subprocess.run([SOURCE / "tools/sign-executable", BINARIES / "authority", cls.python], check=True)

    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.container = pathlib.Path(directory.name) / "container"

    def command(self):
        return [self.python, "-B", SOURCE / "docs/examples/host.py", "--container", self.container, LAUNCH_URL]

    def start(self):
        host = subprocess.Popen(self.command())
        self.addCleanup(host.wait)
        self.addCleanup(host.kill)
        while host.poll() is None:
            try:
                self.connected().close()
                return host
            except OSError:
                pass
        self.fail(f"the host ended with status {host.returncode}")

    def run_to_its_end(self):
        return subprocess.run(self.command(), stderr=subprocess.PIPE, text=True, timeout=60)

    def connected(self):
        client = socket.socket(socket.AF_UNIX)
        self.addCleanup(client.close)
        client.connect(str(self.container / "acp.sock"))
        return client

    def answer_to(self, body):
        with self.connected() as client, client.makefile("rb") as stream:
            client.sendall(len(body).to_bytes(4, "big") + body)
            answer = stream.read()
            self.assertEqual(int.from_bytes(answer[:4], "big"), len(answer) - 4)
            return plistlib.loads(answer[4:], fmt=plistlib.FMT_BINARY)

    def answer(self, **request):
        return self.answer_to(plistlib.dumps(request, fmt=plistlib.FMT_BINARY))

    def register(self, **more):
        request = {"type": "registration", "allowsUserInteraction": True, "conditional": False,
                   "relyingPartyIdentifier": "example.com", "userName": "alice", "userHandle": b"1",
                   "clientDataHash": bytes(32), "supportedAlgorithms": [-7], "excludedCredentials": [],
                   "userVerificationPreference": "preferred", "recordIdentifier": ""}
        return self.answer(**{**request, **more})

    def sign_in(self, **more):
        request = {"type": "assertion", "allowsUserInteraction": False, "clientDataHash": bytes(32),
                   "relyingPartyIdentifier": "example.com", "userVerificationPreference": "preferred",
                   "recordIdentifier": "", "credentialID": b"", "allowedCredentials": []}
        return self.answer(**{**request, **more})

    def lab(self, *arguments):
        lab = [BINARIES / "lab/korvan-lab", *arguments, "--container", self.container, "--host-application", "none"]
        return subprocess.run(lab, stdout=subprocess.PIPE, text=True)

    def test_web_site_accepts_its_passkeys(self):
        self.start()
        for options in ([], ["--conditional"]):
            with self.subTest(options):
                lab = self.lab("register", *options)
                self.assertEqual(lab.returncode, 0, lab.stdout)

    def test_signs_with_the_passkey_that_is_asked_for(self):
        self.start()
        first, second = (self.register(userHandle=user)["credentialID"] for user in (b"1", b"2"))
        for wanted in ({"credentialID": first}, {"allowedCredentials": [first]}):
            self.assertEqual(self.sign_in(**wanted)["credentialID"], first)
        self.assertEqual(self.sign_in()["credentialID"], second)
        for wanted in ({"credentialID": b"?"}, {"allowedCredentials": [b"?"]}, {"recordIdentifier": "?"},
                       {"credentialID": first, "relyingPartyIdentifier": "other.example"}):
            self.assertEqual(self.sign_in(**wanted)["errorCode"], "credentialNotFound")

    def test_refuses_what_it_cannot_do(self):
        self.start()
        known = self.register()["credentialID"]
        for code, more in (("failed", {"supportedAlgorithms": [-257]}),
                           ("matchedExcludedCredential", {"excludedCredentials": [b"?", known]}),
                           ("userInteractionRequired", {"allowsUserInteraction": False,
                                                        "userVerificationPreference": "required"})):
            answer = self.register(**more)
            self.assertEqual((answer["ok"], answer["errorCode"]), (False, code))
        self.assertEqual(self.sign_in()["credentialID"], known)

    def test_refuses_what_is_no_request_and_serves_the_next(self):
        self.start()
        for body in (b"", b"?", plistlib.dumps([], fmt=plistlib.FMT_BINARY),
                     plistlib.dumps({"type": "?"}, fmt=plistlib.FMT_BINARY)):
            self.assertEqual(self.answer_to(body)["errorCode"], "failed")
        self.assertEqual(self.answer(type="synchronize", allowsUserInteraction=True), {"ok": True})

    def test_heeds_reports(self):
        self.start()
        first, second, third = (self.register(userHandle=user)["credentialID"] for user in (b"1", b"2", b"3"))
        site = {"relyingPartyIdentifier": "example.com", "allowsUserInteraction": False}
        for report in ({"type": "removeUnknownCredential", "credentialID": first},
                       {"type": "acceptedCredentials", "userHandle": b"2", "acceptedCredentialIDs": []},
                       {"type": "acceptedCredentials", "userHandle": b"3", "acceptedCredentialIDs": [b"?", third]},
                       {"type": "updateUserName", "userHandle": b"3", "userName": "Zoë"}):
            self.assertEqual(self.answer(**site, **report), {"ok": True})
        for gone in (first, second):
            self.assertEqual(self.sign_in(credentialID=gone)["errorCode"], "credentialNotFound")
        self.assertEqual(self.sign_in(credentialID=third)["userHandle"], b"3")
        vault = plistlib.loads((self.container / "vault.plist").read_bytes())
        self.assertEqual([passkey["userName"] for passkey in vault], ["Zoë"])

    def test_client_that_is_silent_holds_up_nobody(self):
        self.start()
        silent = self.connected()
        self.assertEqual(self.answer(type="synchronize", allowsUserInteraction=True), {"ok": True})
        silent.setblocking(False)
        self.assertRaises(BlockingIOError, silent.recv, 1)  # and nobody gave it up

    def test_second_host_leaves_the_first_alone(self):
        self.start()
        second = self.run_to_its_end()
        self.assertEqual((second.returncode, second.stderr), (1, f"Another host runs in {self.container}.\n"))
        self.assertTrue(self.register()["ok"])

    def test_keeps_its_passkeys_whatever_ends_it(self):
        passkeys = []
        for end, status, refusal in ((signal.SIGTERM, 0, FileNotFoundError),
                                     (signal.SIGKILL, -signal.SIGKILL, ConnectionRefusedError)):
            host = self.start()
            passkeys.append(self.register(userHandle=end.name.encode())["credentialID"])
            host.send_signal(end)
            self.assertEqual(host.wait(), status)
            self.assertRaises(refusal, self.connected)
        self.start()
        for passkey in passkeys:
            self.assertEqual(self.sign_in(credentialID=passkey)["credentialID"], passkey)

    def test_container_that_others_may_read_is_refused(self):
        self.container.mkdir(mode=0o750)
        host = self.run_to_its_end()
        self.assertEqual((host.returncode, host.stderr),
                         (1, f"Others may read {self.container}; its mode must be 0700.\n"))


if __name__ == "__main__":
    unittest.main()
