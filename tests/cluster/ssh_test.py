#!/usr/bin/python3 -B
"""Runs the command of docs/cluster.md for GNU parallel over SSH, and kills the work of one login midway.

Usage: ssh_test.py ZEVA SOURCE

The three logins lead to this machine, to an SSH server of the test's own on the loopback interface, with keys of its
own; every file is in a temporary folder. The script ends only what it started. It needs root, openssh-server and
parallel; it says what is missing and is skipped otherwise.
"""

import os
import pathlib
import re
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time

from shared_list import SharedList, fail, judge, page, skip

SHARDS = 9
LOGINS = ("node1", "node2", "node3")
PICTURES, WIDTH = 90, 8

SERVER = """
Port {port}
ListenAddress 127.0.0.1
HostKey {folder}/host-key
AuthorizedKeysFile {folder}/login-key.pub
PidFile none
StrictModes no
PasswordAuthentication no
PermitRootLogin yes
SetEnv PATH={folder}/bin:/usr/bin:/bin {sanitizers}
MaxStartups 30
"""
CLIENT = """
Host {logins}
  HostName 127.0.0.1
  Port {port}
  IdentityFile {folder}/login-key
  IdentitiesOnly yes
  StrictHostKeyChecking no
  UserKnownHostsFile {folder}/known-hosts
  LogLevel ERROR
"""


def free_port():
    with socket.socket() as attempt:
        attempt.bind(("127.0.0.1", 0))
        return attempt.getsockname()[1]


def start_server(folder):
    """Starts the server and returns it, with the command that connects to it."""
    port = free_port()
    for key in ("host-key", "login-key"):
        subprocess.run(["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", folder / key], check=True)
    sanitizers = " ".join(f"{name}={value}" for name, value in os.environ.items() if name.endswith("SAN_OPTIONS"))
    (folder / "server").write_text(SERVER.format(port=port, folder=folder, sanitizers=sanitizers))
    (folder / "client").write_text(CLIENT.format(port=port, folder=folder, logins=" ".join(LOGINS)))
    os.makedirs("/run/sshd", exist_ok=True)  # the server needs this empty folder
    log = (folder / "server.log").open("wb")
    server = subprocess.Popen(["/usr/sbin/sshd", "-D", "-e", "-f", folder / "server"], stdout=log, stderr=log)
    for _ in range(100):
        with socket.socket() as attempt:
            if attempt.connect_ex(("127.0.0.1", port)) == 0:
                return server, f"ssh -F {folder / 'client'}"
        if server.poll() is not None:
            break
        time.sleep(0.05)
    fail(f"the server does not start: {(folder / 'server.log').read_text()}")


def kill_one(zeva, work):
    """Kills a process that does a shard; its children end with it."""
    for _ in range(2000):
        for entry in pathlib.Path("/proc").glob("[0-9]*"):
            try:
                words = (entry / "cmdline").read_bytes().split(b"\0")
                is_shard = b"--shard" in words and os.readlink(entry / "cwd") == str(work)
                if is_shard and os.readlink(entry / "exe") == zeva:
                    os.kill(int(entry.name), signal.SIGKILL)
                    return True
            except OSError:
                continue  # it has ended meanwhile
        time.sleep(0.005)
    return False


def prove(folder, zeva, source):
    work = folder / "work"
    work.mkdir()
    (folder / "bin").mkdir()
    (folder / "bin/zeva").symlink_to(zeva)
    pictures = SharedList(work, zeva, PICTURES, WIDTH)
    script = re.search(r"```\n(seq .*?\n)zeva report.*?```", page(source), re.S)[1]
    pictures.run_alone(script)

    server, connect = start_server(folder)
    try:
        environment = os.environ | {"PARALLEL_SSH": connect, "HOME": str(folder)}
        with (work / "parallel.out").open("wb") as output:
            run = subprocess.Popen(["bash", "-c", script], cwd=work, env=environment, stdout=output, stderr=output)
        while pictures.noted() < PICTURES // 3 and run.poll() is None:
            time.sleep(0.005)
        was_killed = kill_one(zeva, work)
        at_kill = pictures.noted()
        status = run.wait(timeout=300)
    finally:
        server.terminate()
        server.wait()
    sessions = len(re.findall(r"Accepted publickey", (folder / "server.log").read_text()))
    judge(
        [
            ("pictures", PICTURES, ""),
            ("pictures done when a shard was killed", at_kill, was_killed and at_kill < PICTURES),
            ("sessions of the server, one for a shard and one for its repetition", sessions, sessions > SHARDS),
            ("exit status of GNU parallel", status, status == 0),
            *pictures.rows(SHARDS),
        ]
    )


def main():
    zeva, source = os.path.realpath(sys.argv[1]), pathlib.Path(sys.argv[2])
    for program, package in (("sshd", "openssh-server"), ("ssh", "openssh-client"), ("parallel", "parallel")):
        if shutil.which(program, path=os.environ["PATH"] + ":/usr/sbin") is None:
            skip(f"{program} is not installed, tools/setup cluster installs {package}")
    if os.geteuid() != 0:
        skip("only root can start a server that lets root in")
    with tempfile.TemporaryDirectory(prefix="zeva-ssh-") as name:
        prove(pathlib.Path(name), zeva, source)


if __name__ == "__main__":
    main()
