"""Three nodes with an sshd each, and a simulated array, in a network of this process's own."""

import json
import os
import pathlib
import re
import subprocess
import sys
import time
import urllib.request

HERE = pathlib.Path(__file__).resolve().parent
TREE = HERE.parent.parent

ARRAY, SERVICE, OWN = "10.20.0.1", "10.20.0.5", "10.20.0.9"
NODES = {f"node{n}": f"10.20.0.{10 + n}" for n in (1, 2, 3)}
KINDS = ("host", "hostgroup", "lungroup", "mappingview")


def run(*command, **options):
    return subprocess.run([str(word) for word in command], check=True, **options)


class Array:
    """zavsim, and the iSCSI target on its service address."""

    def __init__(self, programs, work):
        self.programs, self.work = programs, work
        self.process = None
        for address in (ARRAY, SERVICE, OWN):
            run("ip", "address", "add", f"{address}/24", "dev", "array0")
        run(programs / "zavsim-target", "start", "--folder", work / "targets", SERVICE, stdout=subprocess.DEVNULL)

    def start(self, password):
        """With a password for admin; objects are those of before. Returns when clients can connect."""
        secret = self.work / "array-password"
        secret.write_text(password + "\n")
        with open(self.work / "zavsim.log", "w", encoding="utf-8") as log:
            self.process = subprocess.Popen(
                [self.programs / "zavsim", "--listen", f"https://{ARRAY}:8088", "--listen", "http://127.0.0.1:8089",
                 "--service", SERVICE, "--serial", "2102350000", "--ca", self.work / "ca", "--state", self.work / "state",
                 "--user", "admin", "--password-file", secret], stdout=subprocess.PIPE, stderr=log, text=True)
        for _ in range(2):
            if "listening on" not in self.process.stdout.readline():
                raise RuntimeError((self.work / "zavsim.log").read_text())

    def stop(self):
        if self.process is not None:
            self.process.terminate()
            if self.process.wait() != 0:
                raise RuntimeError((self.work / "zavsim.log").read_text())
            self.process = None

    def end(self):
        self.stop()
        run(self.programs / "zavsim-target", "stop", "--folder", self.work / "targets")

    @staticmethod
    def steer(what, method="GET"):
        request = urllib.request.Request(f"http://127.0.0.1:8089/zavsim/{what}", method=method)
        with urllib.request.urlopen(request) as answer:
            return json.load(answer)

    def objects(self):
        """Of each kind that a node makes, id to object."""
        found = self.steer("objects")
        return {kind: {each["id"]: each for each in found.get(kind, [])} for kind in KINDS}

    def requests(self):
        """What nodes asked since the last call, each as (node, method, target)."""
        names = {address: name for name, address in NODES.items()}
        journal = self.steer("journal")
        self.steer("journal", "DELETE")
        return [(names[entry["peer"]], entry["method"], entry["target"]) for entry in journal["entries"]
                if entry["peer"] in names]


def changes(requests):
    """Those that changed something: all but reading, logging in and out."""
    return [request for request in requests if request[1] != "GET" and "/sessions" not in request[2]]


class Node:
    def __init__(self, name, keys, system):
        self.name, self.system = name, system
        system.mkdir()
        self.initiator = f"iqn.2020-01.example.fleet:{name}"
        self.log = open(system.with_suffix(".log"), "w+", encoding="utf-8")
        self.process = subprocess.Popen(
            ["unshare", "--net", "--mount", "--pid", "--uts", "--fork", "--kill-child", "--", HERE / "node", name,
             NODES[name], self.initiator, keys, system], stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=self.log)
        self.process.stdout.readline() # it has its namespaces
        run("ip", "link", "add", name, "type", "veth", "peer", "name", "node0", "netns", self.process.pid)
        run("ip", "link", "set", name, "master", "array0", "up")
        self.process.stdin.close()

    def wait(self):
        """Until it takes connections."""
        for _ in range(300):
            if "Server listening" in pathlib.Path(self.log.name).read_text():
                return
            if self.process.poll() is not None:
                break
            time.sleep(0.1)
        raise RuntimeError(f"{self.name}: {pathlib.Path(self.log.name).read_text()}")

    def enter(self, *command, **options):
        """Runs it in the node's namespaces."""
        pid = self.process.pid
        daemon = pathlib.Path(f"/proc/{pid}/task/{pid}/children").read_text(encoding="ascii").split()[0]
        return run("nsenter", f"--target={daemon}", "--mount", "--net", "--uts", "--pid", "--", *command,
                   stdout=subprocess.PIPE, text=True, **options).stdout

    def do(self, script):
        """What a script prints there."""
        return self.enter("chroot", self.system / "root", "/bin/bash", "-euc", script)

    def files_with(self, text):
        """The files that it wrote with this text in them."""
        return self.enter("/bin/bash", "-c", 'grep -rlaF -e "$@" || true', "grep", text, self.system / "changed",
                          self.system / "root/run", self.system / "root/tmp").split()

    def end(self):
        self.process.kill() # and with it all that runs in its namespaces
        self.process.wait()


class Fleet:
    """All of it, and a copy of examples/ansible as its operator would have it."""

    def __init__(self, build, work):
        self.work = work
        self.examples = work / "ansible"
        run("cp", "-r", TREE / "examples/ansible", self.examples)
        run("ip", "link", "set", "lo", "up")
        run("ip", "link", "add", "array0", "type", "bridge")
        run("ip", "link", "set", "array0", "up")
        keys = work / "keys"
        keys.mkdir()
        for name in ("user", *(f"{node}.key" for node in NODES)):
            run("ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-C", name, "-f", keys / name)
        (keys / "known_hosts").write_text(
            "".join(f"{address} {(keys / f'{name}.key.pub').read_text()}" for name, address in NODES.items()))
        self.array = Array(build / "bin", work)
        self.nodes = {name: Node(name, keys, work / name) for name in NODES}
        for node in self.nodes.values():
            node.wait()
        self.vault = work / "vault-password"
        self.vault.write_text("what opens the vault\n")
        self.environment = {
            **os.environ, "HOME": str(work), "LC_ALL": "C.UTF-8", "ANSIBLE_HOME": str(work / ".ansible"),
            "ANSIBLE_ROLES_PATH": str(self.examples / "roles"),
            "ANSIBLE_VAULT_PASSWORD_FILE": str(self.vault), "ANSIBLE_PRIVATE_KEY_FILE": str(keys / "user"),
            "ANSIBLE_SSH_ARGS": f"-F none -o ControlMaster=auto -o ControlPersist=60s -o ServerAliveInterval=1 "
                                f"-o StrictHostKeyChecking=yes -o UserKnownHostsFile={keys / 'known_hosts'}"}
        self.said = "" # by all commands
        self.repository = None

    def end(self):
        if self.repository is not None:
            self.repository.terminate()
            self.repository.wait()
        for node in self.nodes.values():
            node.end()
        self.array.end()

    def serve_packages(self, files):
        """The address of a repository that has them."""
        repository = self.work / "repository"
        repository.mkdir()
        run("cp", *files, repository)
        with open(repository / "Packages", "w", encoding="utf-8") as index:
            run("dpkg-scanpackages", "--multiversion", ".", cwd=repository, stdout=index, stderr=subprocess.DEVNULL)
        self.repository = subprocess.Popen([sys.executable, "-m", "http.server", "--bind", OWN, "8000"], cwd=repository,
                                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        return f"http://{OWN}:8000"

    def command(self, line):
        """What a shell's line prints in the folder of the examples, and how it ends."""
        ended = subprocess.run(["/bin/bash", "-c", line], cwd=self.examples, env=self.environment, text=True,
                               stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        self.said += ended.stdout
        return ended.returncode, ended.stdout

    def open_vault(self, line, password):
        """Runs a line that opens the vault in an editor, on a terminal, as an operator does; what he leaves there is the password."""
        text = self.work / "vault-text"
        text.write_text(f"vault_product_storage_password: {json.dumps(password)}\n")
        run("script", "--quiet", "--return", "--command", line, "/dev/null", cwd=self.examples,
            env={**self.environment, "EDITOR": f"cp {text}"}, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
        text.unlink()


def recap(output):
    """What a playbook's last lines tell: node to its counts."""
    lines = re.findall(r"^(node\d) +: (.*)$", output.partition("PLAY RECAP")[2], re.MULTILINE)
    return {name: {key: int(value) for key, value in re.findall(r"(\w+)=(\d+)", counts)} for name, counts in lines}
